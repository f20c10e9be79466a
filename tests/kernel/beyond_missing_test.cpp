// The A functions that Windows 95 lacks are bound on first use: without them the
// export answers its failure value and ERROR_CALL_NOT_IMPLEMENTED. Its own
// program, since torwen binds each function once.
#include "harness/harness.h"

#include <tlhelp32.h>

namespace {

TEST(KernelBeyondMissingTest, AnswersNotImplemented)
{
    const bool ansi = harness::AnsiPath();
    for (const char* name : {"GetDiskFreeSpaceExA", "GetLongPathNameA", "CopyFileExA", "GetCPInfoExA",
                             "Process32First", "GetDiskFreeSpaceExW", "GetLongPathNameW", "CopyFileExW",
                             "GetCPInfoExW", "Process32FirstW"})
        harness::MakeMissing(name);
    ULARGE_INTEGER total;
    WCHAR buf[MAX_PATH];
    CPINFOEXW info;
    PROCESSENTRY32W entry = {};
    entry.dwSize = sizeof entry;
    const DWORD results[] = {
        DWORD(GetDiskFreeSpaceExW(L"C:\\", nullptr, &total, nullptr)),
        GetLongPathNameW(L"C:\\", buf, MAX_PATH),
        DWORD(CopyFileExW(L"C:\\a", L"C:\\b", nullptr, nullptr, nullptr, 0)),
        DWORD(GetCPInfoExW(CP_ACP, 0, &info)),
        DWORD(Process32FirstW(nullptr, &entry)),
    };
    for (DWORD r : results)
        EXPECT_EQ(r, 0u);
    SetLastError(0);
    GetLongPathNameW(L"C:\\", buf, MAX_PATH);
    EXPECT_EQ(GetLastError(), DWORD(ERROR_CALL_NOT_IMPLEMENTED)) << (ansi ? "ANSI" : "W");
}

}  // namespace
