// Processes, modules, environment and named objects, through torwen's exports.
#include <fstream>
#include <iterator>
#include <tuple>

#include "harness/harness.h"
#include "torwen.h"

#undef GetEnvironmentStrings  // the A function's own name, not the W function

namespace {

using namespace harness;

class ProcessTest : public harness::TorwenTest {};

// Run only as the child of the test below: writes what it was given to report.txt.
TEST(ProcessChild, DISABLED_Report)
{
    // From the block: Wine's GetEnvironmentVariableA cuts double-byte values short.
    std::string text, dir(MAX_PATH, '\0');
    LPCH block = GetEnvironmentStrings();
    for (const char* p = block; *p; p += strlen(p) + 1)
        if (!strncmp(p, "TW_TEXT=", 8))
            text = p + 8;
    FreeEnvironmentStringsA(block);
    dir.resize(GetCurrentDirectoryA(MAX_PATH, dir.data()));
    STARTUPINFOA si = {};
    GetStartupInfoA(&si);
    std::ofstream("report.txt", std::ios::binary)
        << GetCommandLineA() << '\n' << text << '\n' << si.lpTitle << '\n' << dir;
    ExitProcess(42);
}

TEST_F(ProcessTest, ChildGetsCommandLineStartupRecordAndUnicodeEnvironment)
{
    const std::wstring text = NonAsciiText(), title = L"torwen " + text;
    WCHAR buf[MAX_PATH];
    GetTempPathW(MAX_PATH, buf);
    std::wstring folder = buf + (L"tw-process-" + std::to_wstring(GetCurrentProcessId()));
    // Wine cannot make a file name that its Unix locale cannot hold.
    folder += CreateDirectoryW((folder + text).c_str(), nullptr) ? text : L"";
    CreateDirectoryW(folder.c_str(), nullptr);
    GetModuleFileNameW(nullptr, buf, MAX_PATH);
    const std::wstring cmd = L'"' + std::wstring(buf) + L"\" --gtest_also_run_disabled_tests "
                             L"--gtest_brief=1 --gtest_filter=ProcessChild.* " + text;
    std::wstring line = cmd, env = L"TW_TEXT=" + text + L'\0' + L'\0';
    STARTUPINFOW si = {};
    si.cb = sizeof si, si.lpTitle = const_cast<LPWSTR>(title.c_str());
    PROCESS_INFORMATION pi;
    ASSERT_TRUE(CreateProcessW(nullptr, line.data(), nullptr, nullptr, FALSE,
                               CREATE_UNICODE_ENVIRONMENT, env.data(), folder.c_str(), &si, &pi))
        << GetLastError();
    WaitForSingleObject(pi.hProcess, 30000);
    DWORD exitCode = 0;
    GetExitCodeProcess(pi.hProcess, &exitCode);
    CloseHandle(pi.hThread);
    CloseHandle(pi.hProcess);
    const std::string path = ToAnsi(folder + L"\\report.txt");
    const std::string report{
        std::istreambuf_iterator<char>(std::ifstream(path, std::ios::binary).rdbuf()), {}};
    DeleteFileA(path.c_str());
    RemoveDirectoryW(folder.c_str());
    EXPECT_EQ(exitCode, 42u);
    EXPECT_EQ(report, ToAnsi(cmd + L'\n' + text + L'\n' + title + L'\n' + folder));
}

// The ANSI path counts the module name's terminator and the drive list's final one,
// and a variable's value one short, unterminated (its ANSI bytes without a buffer).
TEST_F(ProcessTest, OddCountsOfModuleFileNameDriveStringsAndEnvironmentVariable)
{
    const DWORD extra = AnsiPath() ? 1 : 0;
    WCHAR buf[MAX_PATH];
    char a[MAX_PATH];
    DWORD len = GetModuleFileNameA(nullptr, a, MAX_PATH);
    EXPECT_EQ(GetModuleFileNameW(nullptr, buf, MAX_PATH), len + extra);
    EXPECT_EQ(GetModuleFileNameW(nullptr, buf, 4), AnsiPath() ? 0u : 4u);
    EXPECT_EQ(GetLastError(), DWORD(ERROR_INSUFFICIENT_BUFFER));
    len = GetLogicalDriveStringsA(MAX_PATH, a);
    EXPECT_EQ(GetLogicalDriveStringsW(MAX_PATH, buf), len + extra);

    // Wine's GetEnvironmentVariableA counts a double-byte value in characters.
    std::wstring value = L"value" + (CodePage() == 1252 ? NonAsciiText() : L"");
    ASSERT_TRUE(SetEnvironmentVariableW(L"TW_VALUE", value.c_str()));
    DWORD size = 0;  // what the A function is given: the whole ANSI buffer
    TW_HOOK(variable, GetEnvironmentVariableA,
            [&](LPCSTR s, LPSTR b, DWORD n) { return size = n, variable.real(s, b, n); });
    std::fill(std::begin(buf), std::end(buf), L'#');
    EXPECT_EQ(GetEnvironmentVariableW(L"TW_VALUE", buf, MAX_PATH), value.size() - extra);
    EXPECT_EQ(size, AnsiPath() ? MAX_PATH * (CodePage() == 932 ? 2u : 1u) : 0u);
    EXPECT_EQ(std::wstring(buf, value.size() + 1), value + (AnsiPath() ? L'#' : L'\0'));
    EXPECT_EQ(GetEnvironmentVariableW(L"TW_VALUE", nullptr, 0),
              (AnsiPath() ? ToAnsi(value).size() : value.size()) + 1);
    SetEnvironmentVariableW(L"TW_VALUE", nullptr);
}

// The A function's answers (a required size, a name filling the buffer without its
// terminator) lead no conversion past torwen's blocks or the caller's buffer.
TEST_F(ProcessTest, ConversionsBackStayInsideTheBuffers)
{
    GuardPage guard;
    ASSERT_TRUE(SetEnvironmentVariableW(L"TW_VALUE", L"thirteen char"));
    GuardedHeapBlocks guarded;
    WCHAR* buf = guard.End<WCHAR>(13, L'#');
    // Too small by its terminator: the size needed, except where 13 characters get
    // 26 bytes and the value fits (its count one short, as ever).
    EXPECT_EQ(GetEnvironmentVariableW(L"TW_VALUE", buf, 13), AnsiPath() && CodePage() == 932 ? 12u : 14u);

    TW_HOOK(name, GetModuleFileNameA, [](HMODULE, LPSTR b, DWORD n) { return memset(b, 'x', n), n; });
    buf = guard.End<WCHAR>(8, L'#');
    SetLastError(0);
    DWORD r = GetModuleFileNameW(nullptr, buf, 8);
    EXPECT_EQ(r, AnsiPath() ? 0u : 8u) << "eight characters and a terminator do not fit";
    SetEnvironmentVariableW(L"TW_VALUE", nullptr);
}

TEST_F(ProcessTest, WhatTheAnsiFunctionsReceive)
{
    if (!AnsiPath())
        GTEST_SKIP() << "the W path passes the calls on";
    // The A record has its own size whatever the caller's says. A block not marked
    // Unicode is dropped, so the child inherits this process's environment.
    STARTUPINFOA seen = {};
    TW_HOOK(create, CreateProcessA,
            [&](auto, auto, auto, auto, auto, auto, LPVOID env, auto, LPSTARTUPINFOA si, auto) {
                return seen = *si, env == nullptr;
            });
    STARTUPINFOW si = {};  // cb 0
    si.dwX = 1, si.dwYSize = 2, si.dwFillAttribute = 3, si.wShowWindow = 4;
    EXPECT_TRUE(CreateProcessW(nullptr, nullptr, 0, 0, 0, 0, LPVOID(L"A=1\0"), 0, &si, nullptr));
    EXPECT_EQ(seen.cb, sizeof(STARTUPINFOA));
    EXPECT_EQ(seen.dwX + seen.dwYSize + seen.dwFillAttribute + seen.wShowWindow, 10u);

    // 5 ANSI bytes "A=1", NUL, NUL become a 10-byte block of torwen's heap.
    static char ansiBlock[] = "A=1\0";
    TW_HOOK(get, GetEnvironmentStrings, [&] { return ansiBlock; });
    TW_HOOK(release, FreeEnvironmentStringsA, [&](LPCH p) { return p == ansiBlock; });
    HeapLog log;
    LPWCH w = GetEnvironmentStringsW();
    EXPECT_EQ(std::wstring(w, 5), std::wstring(L"A=1\0\0", 5));
    EXPECT_EQ(log.allocationSizes(), std::vector<SIZE_T>{10});
    EXPECT_EQ(release.calls, 1);
    EXPECT_TRUE(FreeEnvironmentStringsW(w));
    // The ANSI block goes back also when the wide one cannot be had.
    FailHeapAllocAt(1);
    EXPECT_EQ(GetEnvironmentStringsW(), nullptr);
    EXPECT_EQ(release.calls, 2);
}

}  // namespace
