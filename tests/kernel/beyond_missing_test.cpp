// The A functions that Windows 95 lacks are bound on first use: without them the
// export answers its failure value and ERROR_CALL_NOT_IMPLEMENTED. Its own
// program, since torwen binds each function once.
#include <functional>
#include <utility>

#include "harness/harness.h"

#include <tlhelp32.h>

namespace {

TEST(KernelBeyondMissingTest, AnswersNotImplemented)
{
    for (const char* name : {"GetDiskFreeSpaceExA", "GetLongPathNameA", "CopyFileExA", "GetCPInfoExA",
                             "Process32First", "GetDiskFreeSpaceExW", "GetLongPathNameW", "CopyFileExW",
                             "GetCPInfoExW", "Process32FirstW"})
        harness::MakeMissing(name);
    ULARGE_INTEGER total;
    WCHAR buf[MAX_PATH];
    CPINFOEXW info;
    PROCESSENTRY32W entry = {};
    entry.dwSize = sizeof entry;
    const std::pair<const char*, std::function<BOOL()>> calls[] = {
        {"GetDiskFreeSpaceExW", [&] { return GetDiskFreeSpaceExW(L"C:\\", nullptr, &total, nullptr); }},
        {"GetLongPathNameW", [&] { return BOOL(GetLongPathNameW(L"C:\\", buf, MAX_PATH)); }},
        {"CopyFileExW", [] { return CopyFileExW(L"C:\\a", L"C:\\b", nullptr, nullptr, nullptr, 0); }},
        {"GetCPInfoExW", [&] { return GetCPInfoExW(CP_ACP, 0, &info); }},
        {"Process32FirstW", [&] { return Process32FirstW(nullptr, &entry); }},
    };
    for (const auto& [name, call] : calls) {
        SetLastError(0);
        EXPECT_EQ(call(), 0) << name;
        EXPECT_EQ(GetLastError(), DWORD(ERROR_CALL_NOT_IMPLEMENTED)) << name;
    }
}

}  // namespace
