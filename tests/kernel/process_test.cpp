// Processes, modules, environment and named objects, through torwen's exports.
#include <sstream>
#include <string>
#include <vector>

#include "harness/harness.h"
#include "torwen.h"

#undef GetEnvironmentStrings  // the A function's own name, not the W function

namespace {

using harness::AnsiPath;
using harness::NonAsciiText;
using harness::ToAnsi;

class ProcessTest : public harness::TorwenTest {};

// What torwen hands to the A functions: only the ANSI path calls them.
class ProcessAnsiTest : public harness::TorwenTest {
protected:
    void SetUp() override
    {
        harness::TorwenTest::SetUp();
        if (!AnsiPath())
            GTEST_SKIP() << "the W path passes the call to the system's W function";
    }
};

// ---- a child process

constexpr DWORD ChildExitCode = 42;

// Run only as a child of the tests below: writes what it was given, as the A
// functions see it, to report.txt in its current folder.
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
    si.cb = sizeof si;
    GetStartupInfoA(&si);
    std::string out = std::string(GetCommandLineA()) + "\n" + text + "\n" + si.lpTitle + "\n" +
                      dir + "\n" + std::to_string(si.wShowWindow);
    HANDLE f = CreateFileA("report.txt", GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS, 0, nullptr);
    DWORD written;
    WriteFile(f, out.data(), out.size(), &written, nullptr);
    CloseHandle(f);
    ExitProcess(ChildExitCode);
}

struct Child {
    std::wstring folder, cmd, title = L"torwen " + NonAsciiText();
    DWORD exitCode = 0;
    std::vector<std::string> report;  // command line, TW_TEXT, title, folder, show state

    // Starts this program as the child, in a new folder, and reads its report.
    BOOL run(DWORD flags, LPVOID env)
    {
        WCHAR buf[MAX_PATH];
        GetTempPathW(MAX_PATH, buf);
        folder = buf + (L"tw-process-" + std::to_wstring(GetCurrentProcessId()));
        // Wine cannot make a file name that its Unix locale cannot hold.
        if (CreateDirectoryW((folder + NonAsciiText()).c_str(), nullptr))
            folder += NonAsciiText();
        else
            CreateDirectoryW(folder.c_str(), nullptr);
        GetModuleFileNameW(nullptr, buf, MAX_PATH);
        cmd = L"\"" + std::wstring(buf) +
              L"\" --gtest_filter=ProcessChild.* --gtest_also_run_disabled_tests " + NonAsciiText();
        std::wstring line = cmd;

        STARTUPINFOW si = {};
        si.cb = sizeof si;
        si.lpTitle = title.data();
        si.dwFlags = STARTF_USESHOWWINDOW | STARTF_USESTDHANDLES;
        si.wShowWindow = SW_SHOWMINNOACTIVE;
        // The child's GoogleTest output goes nowhere rather than into this test's.
        SECURITY_ATTRIBUTES inherit = {sizeof inherit, nullptr, TRUE};
        si.hStdOutput = CreateFileA("NUL", GENERIC_WRITE, 0, &inherit, OPEN_EXISTING, 0, nullptr);
        PROCESS_INFORMATION pi;
        BOOL ok = CreateProcessW(nullptr, line.data(), nullptr, nullptr, TRUE, flags, env,
                                 folder.c_str(), &si, &pi);
        CloseHandle(si.hStdOutput);
        if (ok) {
            WaitForSingleObject(pi.hProcess, 30000);
            GetExitCodeProcess(pi.hProcess, &exitCode);
            CloseHandle(pi.hThread);
            CloseHandle(pi.hProcess);
        }
        std::string path = ToAnsi(folder + L"\\report.txt"), text(4096, '\0');
        HANDLE f = CreateFileA(path.c_str(), GENERIC_READ, 0, nullptr, OPEN_EXISTING, 0, nullptr);
        DWORD read = 0;
        ReadFile(f, text.data(), text.size(), &read, nullptr);
        CloseHandle(f);
        DeleteFileA(path.c_str());
        RemoveDirectoryW(folder.c_str());
        std::istringstream lines(text.substr(0, read));
        for (std::string s; std::getline(lines, s);)
            report.push_back(s);
        return ok;
    }
};

TEST_F(ProcessTest, ChildGetsCommandLineStartupRecordAndUnicodeEnvironment)
{
    Child child;
    std::wstring env = L"TW_TEXT=" + NonAsciiText() + L'\0' + L'\0';
    ASSERT_TRUE(child.run(CREATE_UNICODE_ENVIRONMENT, env.data())) << GetLastError();
    EXPECT_EQ(child.exitCode, ChildExitCode);
    std::vector<std::string> expected = {ToAnsi(child.cmd), ToAnsi(NonAsciiText()),
                                         ToAnsi(child.title), ToAnsi(child.folder),
                                         std::to_string(SW_SHOWMINNOACTIVE)};
    EXPECT_EQ(child.report, expected);
}

// Without CREATE_UNICODE_ENVIRONMENT the ANSI path drops the caller's block: the
// child inherits this process's environment. The system's W function uses the block.
TEST_F(ProcessTest, ChildInheritsEnvironmentWhenBlockIsNotMarkedUnicode)
{
    Child child;
    char block[] = "TW_TEXT=block\0";
    SetEnvironmentVariableW(L"TW_TEXT", L"inherited");
    BOOL ok = child.run(0, block);
    SetEnvironmentVariableW(L"TW_TEXT", nullptr);
    ASSERT_TRUE(ok) << GetLastError();
    ASSERT_EQ(child.report.size(), 5u);
    EXPECT_EQ(child.report[1], AnsiPath() ? "inherited" : "block");
}

TEST_F(ProcessAnsiTest, CreateProcessHandsAnsiRecordAndEnvironmentList)
{
    STARTUPINFOA seen;
    std::string app, cmd, dir, desktop, title, env;
    DWORD flags = 0;
    LPVOID envBlock = nullptr;
    TW_HOOK(hook, CreateProcessA,
            [&](LPCSTR a, LPSTR c, LPSECURITY_ATTRIBUTES, LPSECURITY_ATTRIBUTES, BOOL, DWORD f,
                LPVOID e, LPCSTR d, LPSTARTUPINFOA si, LPPROCESS_INFORMATION) {
                auto text = [](LPCSTR p) { return std::string(p ? p : "(null)"); };
                app = text(a), cmd = c, dir = text(d), flags = f, envBlock = e, seen = *si;
                desktop = si->lpDesktop, title = si->lpTitle;
                for (auto p = static_cast<const char*>(e); p && *p; p += strlen(p) + 1)
                    env += std::string(p) + '|';
                SetLastError(ERROR_ACCESS_DENIED);
                return FALSE;
            });
    std::wstring text = NonAsciiText(), line = L"child " + text,
                 block = L"A=" + text + L'\0' + L"B=2" + L'\0' + L'\0';
    STARTUPINFOW si = {};  // a wrong cb is not passed on
    si.lpDesktop = const_cast<LPWSTR>(L"winsta0\\default");
    si.lpTitle = text.data();
    si.dwX = 1, si.dwYSize = 2, si.dwFillAttribute = 3, si.wShowWindow = 4;
    si.hStdError = reinterpret_cast<HANDLE>(5);
    PROCESS_INFORMATION pi;
    harness::HeapLog log;
    EXPECT_FALSE(CreateProcessW(text.c_str(), line.data(), nullptr, nullptr, FALSE,
                                CREATE_UNICODE_ENVIRONMENT | CREATE_SUSPENDED, block.data(),
                                text.c_str(), &si, &pi));
    EXPECT_EQ(GetLastError(), DWORD(ERROR_ACCESS_DENIED));
    EXPECT_EQ(app, ToAnsi(text));
    EXPECT_EQ(cmd, ToAnsi(line));
    EXPECT_EQ(dir, ToAnsi(text));
    EXPECT_EQ(flags, DWORD(CREATE_SUSPENDED));
    EXPECT_EQ(env, "A=" + ToAnsi(text) + "|B=2|");
    EXPECT_EQ(seen.cb, sizeof(STARTUPINFOA));
    EXPECT_EQ(seen.lpReserved, nullptr);
    EXPECT_EQ(desktop, "winsta0\\default");
    EXPECT_EQ(title, ToAnsi(text));
    EXPECT_EQ(seen.dwX + seen.dwYSize + seen.dwFillAttribute + seen.wShowWindow, 10u);
    EXPECT_EQ(seen.hStdError, si.hStdError);
    // desktop, title, application, command line, folder, environment
    EXPECT_EQ(log.allocationSizes().size(), 6u);
    EXPECT_TRUE(log.freedInReverseOrder());

    // An ANSI block from the caller is not passed on.
    CreateProcessW(nullptr, line.data(), nullptr, nullptr, FALSE, 0, block.data(), nullptr, &si,
                   &pi);
    EXPECT_EQ(envBlock, nullptr);
}

// ---- results the ANSI path forms differently

TEST_F(ProcessTest, CountsOfModuleFileNameEnvironmentVariableAndDriveStrings)
{
    const DWORD extra = AnsiPath() ? 1 : 0;
    WCHAR buf[MAX_PATH];
    char a[MAX_PATH];
    // The module's file name: the ANSI path counts the terminator.
    DWORD len = GetModuleFileNameA(nullptr, a, MAX_PATH);
    EXPECT_EQ(GetModuleFileNameW(nullptr, buf, MAX_PATH), len + extra);
    EXPECT_EQ(buf, harness::FromAnsi(a));
    SetLastError(0);
    EXPECT_EQ(GetModuleFileNameW(nullptr, buf, 4), AnsiPath() ? 0u : 4u);
    EXPECT_EQ(GetLastError(), DWORD(ERROR_INSUFFICIENT_BUFFER));

    // A variable's value: the ANSI path converts it without its terminator and
    // counts one character less. Without a buffer it counts ANSI bytes. (Wine's
    // GetEnvironmentVariableA counts a double-byte value in characters.)
    std::wstring value = L"value" + (harness::CodePage() == 1252 ? NonAsciiText() : L"");
    ASSERT_TRUE(SetEnvironmentVariableW(L"TW_VALUE", value.c_str()));
    std::fill(std::begin(buf), std::end(buf), L'#');
    EXPECT_EQ(GetEnvironmentVariableW(L"TW_VALUE", buf, MAX_PATH), value.size() - extra);
    EXPECT_EQ(std::wstring(buf, value.size() + 1), value + (AnsiPath() ? L'#' : L'\0'));
    EXPECT_EQ(GetEnvironmentVariableW(L"TW_VALUE", nullptr, 0),
              (AnsiPath() ? ToAnsi(value).size() : value.size()) + 1);
    EXPECT_EQ(GetEnvironmentVariableW(L"TW_VALUE", buf, 1), AnsiPath() ? 0 : value.size() + 1);
    ASSERT_TRUE(SetEnvironmentVariableW(L"TW_VALUE", nullptr));
    SetLastError(0);
    EXPECT_EQ(GetEnvironmentVariableW(L"TW_VALUE", buf, MAX_PATH), 0u);
    EXPECT_EQ(GetLastError(), DWORD(ERROR_ENVVAR_NOT_FOUND));

    // The drive list: the ANSI path counts its final terminator.
    len = GetLogicalDriveStringsA(MAX_PATH, a);
    ASSERT_GT(len, 0u);
    EXPECT_EQ(GetLogicalDriveStringsW(MAX_PATH, buf), len + extra);
    EXPECT_EQ(std::wstring(buf, len + 1), std::wstring(a, a + len + 1));  // drive names are ASCII
    EXPECT_EQ(GetLogicalDriveStringsW(0, nullptr), len + 1);
}

// ---- named objects, modules and resources

TEST_F(ProcessTest, NamedObjectsReportExistingObjectsAndClashes)
{
    std::wstring name = L"tw-object-" + NonAsciiText();
    HANDLE event = CreateEventW(nullptr, TRUE, FALSE, name.c_str());
    // A success that opened an existing object says so in the last error.
    HANDLE again = CreateEventW(nullptr, TRUE, FALSE, name.c_str());
    EXPECT_EQ(GetLastError(), DWORD(ERROR_ALREADY_EXISTS));
    HANDLE opened = OpenEventW(EVENT_ALL_ACCESS, FALSE, name.c_str());
    SetEvent(opened);
    EXPECT_EQ(WaitForSingleObject(event, 0), WAIT_OBJECT_0);
    EXPECT_EQ(CreateMutexW(nullptr, FALSE, name.c_str()), nullptr);
    EXPECT_EQ(GetLastError(), DWORD(ERROR_INVALID_HANDLE));
    EXPECT_EQ(
        CreateFileMappingW(INVALID_HANDLE_VALUE, nullptr, PAGE_READWRITE, 0, 64, name.c_str()),
        nullptr);
    EXPECT_EQ(GetLastError(), DWORD(ERROR_INVALID_HANDLE));
    for (HANDLE h : {event, again, opened})
        CloseHandle(h);
    EXPECT_EQ(OpenEventW(EVENT_ALL_ACCESS, FALSE, name.c_str()), nullptr);
    EXPECT_EQ(GetLastError(), DWORD(ERROR_FILE_NOT_FOUND));

    // Names that the code page cannot hold (an unpaired surrogate, a Thai letter)
    // become '?' on the ANSI path: distinct wide names, one object.
    HANDLE first = CreateMutexW(nullptr, FALSE, L"tw-mutex-\xD800");
    HANDLE second = CreateMutexW(nullptr, FALSE, L"tw-mutex-\x0E01");
    EXPECT_EQ(GetLastError(), AnsiPath() ? DWORD(ERROR_ALREADY_EXISTS) : 0u);
    EXPECT_TRUE(first && second);
    CloseHandle(second);
    CloseHandle(first);
    // A name too long for the A function is refused as it refuses it.
    if (AnsiPath()) {
        std::wstring longName(400, L'n');
        EXPECT_EQ(CreateMutexW(nullptr, FALSE, longName.c_str()), nullptr);
        DWORD error = GetLastError();
        EXPECT_EQ(CreateMutexA(nullptr, FALSE, ToAnsi(longName).c_str()), nullptr);
        EXPECT_EQ(error, GetLastError());
    }
}

TEST_F(ProcessTest, ModulesProceduresAndResourcesAnswerAsTheAnsiFunctions)
{
    HMODULE kernel = GetModuleHandleW(L"KERNEL32.DLL");
    EXPECT_EQ(kernel, GetModuleHandleA("kernel32.dll"));
    EXPECT_EQ(GetModuleHandleW(nullptr), GetModuleHandleA(nullptr));
    auto pid = reinterpret_cast<DWORD(WINAPI*)()>(GetProcAddressW(kernel, L"GetCurrentProcessId"));
    ASSERT_NE(pid, nullptr);
    EXPECT_EQ(pid(), GetCurrentProcessId());
    EXPECT_EQ(GetProcAddressW(kernel, (L"GetVersion" + NonAsciiText()).c_str()), nullptr);

    std::wstring missing = L"tw-missing-" + NonAsciiText() + L".dll";
    EXPECT_EQ(GetModuleHandleW(missing.c_str()), nullptr);
    EXPECT_EQ(LoadLibraryExW(missing.c_str(), nullptr, 0), nullptr);
    DWORD error = GetLastError();
    EXPECT_EQ(LoadLibraryExA(ToAnsi(missing).c_str(), nullptr, 0), nullptr);
    EXPECT_EQ(error, GetLastError());

    // A named and a numbered resource; the types are numbered.
    HMODULE user = LoadLibraryExW(L"user32.dll", nullptr, 0);
    ASSERT_NE(user, nullptr);
    EXPECT_EQ(FindResourceExW(user, RT_DIALOG, L"msgbox", 0),
              FindResourceExA(user, MAKEINTRESOURCEA(5), "MSGBOX", 0));
    HRSRC version = FindResourceExW(kernel, RT_VERSION, MAKEINTRESOURCEW(1), 0);
    EXPECT_NE(version, nullptr);
    EXPECT_EQ(version, FindResourceExA(kernel, MAKEINTRESOURCEA(16), MAKEINTRESOURCEA(1), 0));
    EXPECT_EQ(FindResourceExW(user, RT_DIALOG, (L"msgbox" + NonAsciiText()).c_str(), 0), nullptr);
    error = GetLastError();
    FindResourceExA(user, MAKEINTRESOURCEA(5), ToAnsi(L"msgbox" + NonAsciiText()).c_str(), 0);
    EXPECT_EQ(error, GetLastError());
    FreeLibrary(user);
}

// The system has no GetProcAddressW: torwen converts the name on the W path too,
// and passes an ordinal as it is.
TEST_F(ProcessTest, GetProcAddressConvertsOnEveryPlatform)
{
    HMODULE kernel = GetModuleHandleA("kernel32.dll");
    int failures = harness::SweepAllocationFailures([&](int k) {
        SetLastError(0xBAD);
        FARPROC p = GetProcAddressW(kernel, L"GetVersion");
        if (harness::HeapAllocCalls() >= k) {
            EXPECT_EQ(p, nullptr);
            EXPECT_EQ(GetLastError(), 0u);
        }
    });
    EXPECT_EQ(failures, 1);
    harness::HeapLog log;
    EXPECT_EQ(GetProcAddressW(kernel, MAKEINTRESOURCEW(5)),
              GetProcAddress(kernel, MAKEINTRESOURCEA(5)));
    EXPECT_TRUE(log.events().empty());
}

// ---- what the A functions receive, and failing allocations

TEST_F(ProcessAnsiTest, AFunctionsGetHeapSizeOrCallersCount)
{
    CPINFO cp;
    GetCPInfo(CP_ACP, &cp);
    DWORD envSize = 0, driveSize = 0, moduleSize = 0;
    TW_HOOK(env, GetEnvironmentVariableA, [&](LPCSTR name, LPSTR buf, DWORD n) {
        envSize = n;
        return env.real(name, buf, n);
    });
    TW_HOOK(drives, GetLogicalDriveStringsA, [&](DWORD n, LPSTR buf) {
        driveSize = n;
        memcpy(buf, "A:\\\0B:\\\0", 9);
        return DWORD(8);
    });
    TW_HOOK(module, GetModuleFileNameA, [&](HMODULE, LPSTR buf, DWORD n) {
        moduleSize = n;
        lstrcpyA(buf, "C:\\x.exe");
        SetLastError(777);
        return DWORD(8);
    });
    WCHAR buf[20];
    GetEnvironmentVariableW(L"PATH", buf, 20);
    EXPECT_EQ(envSize, 20 * cp.MaxCharSize);
    EXPECT_EQ(GetLogicalDriveStringsW(20, buf), 9u);
    EXPECT_EQ(driveSize, 20 * cp.MaxCharSize);
    EXPECT_EQ(std::wstring(buf, 9), std::wstring(L"A:\\\0B:\\\0", 9));
    EXPECT_EQ(GetModuleFileNameW(nullptr, buf, 20), 9u);
    EXPECT_EQ(moduleSize, 20u);
    EXPECT_EQ(GetLastError(), 777u);
    // The error is taken after the conversion back, which fails without a buffer.
    EXPECT_EQ(GetModuleFileNameW(nullptr, nullptr, 20), 0u);
    EXPECT_EQ(GetLastError(), DWORD(ERROR_INVALID_PARAMETER));
}

TEST_F(ProcessAnsiTest, EnvironmentBlockIsCopiedIntoTorwensHeap)
{
    static char block[] = "A=1\0";  // with the literal's own NUL: A=1, NUL, NUL
    LPCH released = nullptr;
    TW_HOOK(get, GetEnvironmentStrings, [&] { return block; });
    TW_HOOK(release, FreeEnvironmentStringsA, [&](LPCH p) {
        released = p;
        return TRUE;
    });
    harness::HeapLog log;
    LPWCH w = GetEnvironmentStringsW();
    ASSERT_NE(w, nullptr);
    EXPECT_EQ(std::wstring(w, 5), std::wstring(L"A=1\0\0", 5));
    EXPECT_EQ(log.allocationSizes(), std::vector<SIZE_T>{10});
    EXPECT_EQ(released, block);
    EXPECT_TRUE(FreeEnvironmentStringsW(w));

    // Without the wide block the ANSI block is kept; the error is the allocation's.
    released = nullptr;
    harness::FailHeapAllocAt(1);
    EXPECT_EQ(GetEnvironmentStringsW(), nullptr);
    EXPECT_EQ(GetLastError(), DWORD(ERROR_OUTOFMEMORY));
    harness::FailHeapAllocAt(0);
    EXPECT_EQ(released, nullptr);
}

bool Succeeded(HANDLE h)
{
    if (h)
        CloseHandle(h);
    return h != nullptr;
}

// Each allocation can fail: the member answers its failure value with last error
// 0 (the A function was not called yet) or, for the members that keep no saved
// error, the allocation's own.
TEST_F(ProcessAnsiTest, AllocationFailuresAnswerFailureValue)
{
    std::wstring name = L"tw-sweep-" + NonAsciiText(), text = L"tw " + NonAsciiText();
    std::wstring block = L"A=" + text + L'\0' + L'\0';
    HANDLE event = CreateEventA(nullptr, TRUE, FALSE, ToAnsi(name).c_str());
    HMODULE user = LoadLibraryA("user32.dll");
    int debugOutput = 0;
    TW_HOOK(debug, OutputDebugStringA, [&](LPCSTR) { ++debugOutput; });
    TW_HOOK(create, CreateProcessA, [](auto...) { return TRUE; });
    STARTUPINFOW si = {};
    si.lpTitle = text.data();
    PROCESS_INFORMATION pi;
    WCHAR buf[MAX_PATH];
    struct Member {
        const char* name;
        DWORD failureError;
        std::function<bool()> call;
    } members[] = {
        {"CreateMutexW", 0, [&] { return Succeeded(CreateMutexW(nullptr, FALSE, L"tw-sweep")); }},
        {"CreateEventW", 0,
         [&] { return Succeeded(CreateEventW(nullptr, TRUE, FALSE, name.c_str())); }},
        {"OpenEventW", 0,
         [&] { return Succeeded(OpenEventW(EVENT_ALL_ACCESS, FALSE, name.c_str())); }},
        {"CreateFileMappingW", 0,
         [&] {
             return Succeeded(CreateFileMappingW(INVALID_HANDLE_VALUE, nullptr, PAGE_READWRITE, 0,
                                                 64, L"tw-sweep-map"));
         }},
        {"LoadLibraryExW", 0,
         [&] { return LoadLibraryExW(L"user32.dll", nullptr, 0) && FreeLibrary(user); }},
        {"GetModuleHandleW", 0, [&] { return GetModuleHandleW(L"user32.dll") != nullptr; }},
        {"GetModuleFileNameW", 0, [&] { return GetModuleFileNameW(nullptr, buf, MAX_PATH) != 0; }},
        {"FindResourceExW", 0,
         [&] { return FindResourceExW(user, RT_DIALOG, L"MSGBOX", 0) != nullptr; }},
        {"SetEnvironmentVariableW", 0,
         [&] { return SetEnvironmentVariableW(L"TW_SWEEP", text.c_str()) != 0; }},
        {"GetLogicalDriveStringsW", 0, [&] { return GetLogicalDriveStringsW(MAX_PATH, buf) != 0; }},
        {"CreateProcessW", 0,
         [&] {
             return CreateProcessW(text.c_str(), text.data(), nullptr, nullptr, FALSE,
                                   CREATE_UNICODE_ENVIRONMENT, block.data(), text.c_str(), &si,
                                   &pi) != 0;
         }},
        {"GetEnvironmentVariableW", ERROR_OUTOFMEMORY,
         [&] { return GetEnvironmentVariableW(L"TW_SWEEP", buf, MAX_PATH) != 0; }},
        {"GetEnvironmentStringsW", ERROR_OUTOFMEMORY,
         [&] {
             LPWCH env = GetEnvironmentStringsW();
             return env && FreeEnvironmentStringsW(env);
         }},
        {"OutputDebugStringW", ERROR_OUTOFMEMORY,
         [&] {
             int before = debugOutput;
             OutputDebugStringW(text.c_str());
             return debugOutput > before;
         }},
    };
    for (const Member& member : members) {
        SCOPED_TRACE(member.name);
        int failures = harness::SweepAllocationFailures([&](int k) {
            SetLastError(0xBAD);
            bool ok = member.call();
            DWORD error = GetLastError();
            if (harness::HeapAllocCalls() < k) {
                EXPECT_TRUE(ok);  // nothing failed in this run
            } else {
                EXPECT_FALSE(ok);
                EXPECT_EQ(error, member.failureError);
            }
        });
        EXPECT_GE(failures, 1);
    }
    SetEnvironmentVariableW(L"TW_SWEEP", nullptr);
    FreeLibrary(user);
    CloseHandle(event);
}

}  // namespace
