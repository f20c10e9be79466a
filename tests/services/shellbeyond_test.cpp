// Shell and network functions that wide programs import besides the families
// above: lists of names with their double terminator, file information, icons,
// special folders and the network's last error, compared with the A functions.
#include <algorithm>
#include <cstring>
#include <optional>
#include <string>
#include <vector>

#include "harness/harness.h"

#include <shlobj.h>
#include <winnetwk.h>

using namespace harness;
using std::wstring;

namespace {

class ShellBeyondTest : public TorwenTest {
protected:
    void SetUp() override
    {
        TorwenTest::SetUp();
        char temp[MAX_PATH];
        GetTempPathA(MAX_PATH, temp);
        dir = FromAnsi(temp) + L"twsb " + NonAsciiText();
        if (!CreateDirectoryA(ToAnsi(dir).c_str(), nullptr) && GetLastError() != ERROR_ALREADY_EXISTS) {
            dir = FromAnsi(temp) + L"twsb";  // the host lacks a Unix locale for this code page
            CreateDirectoryA(ToAnsi(dir).c_str(), nullptr);
        }
        for (const wstring& name : {first(), second()}) {
            HANDLE h = CreateFileA(ToAnsi(name).c_str(), GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS, 0, nullptr);
            CloseHandle(h);
        }
    }
    void TearDown() override
    {
        for (const wstring& name : {first(), second(), copied(first()), copied(second())})
            DeleteFileA(ToAnsi(name).c_str());
        RemoveDirectoryA(ToAnsi(dir + L"\\to").c_str());
        RemoveDirectoryA(ToAnsi(dir).c_str());
        TorwenTest::TearDown();
    }
    wstring first() const { return dir + L"\\" + NonAsciiText() + L"1.txt"; }
    wstring second() const { return dir + L"\\b.txt"; }
    wstring copied(const wstring& name) const { return dir + L"\\to" + name.substr(name.rfind(L'\\')); }

    wstring dir;
};

TEST_F(ShellBeyondTest, FileOperationsTakeListsOfNames)
{
    const wstring from = first() + L'\0' + second() + L'\0' + L'\0', to = dir + L"\\to" + L'\0' + L'\0';
    SHFILEOPSTRUCTW op = {};
    op.wFunc = FO_COPY;
    op.pFrom = from.c_str();
    op.pTo = to.c_str();
    op.fFlags = FOF_SILENT | FOF_NOCONFIRMATION | FOF_NOERRORUI | FOF_NOCONFIRMMKDIR;
    ASSERT_EQ(SHFileOperationW(&op), 0);
    EXPECT_FALSE(op.fAnyOperationsAborted);
    for (const wstring& name : {first(), second()})
        EXPECT_NE(GetFileAttributesA(ToAnsi(copied(name)).c_str()), INVALID_FILE_ATTRIBUTES);

    const wstring gone = copied(first()) + L'\0' + copied(second()) + L'\0' + L'\0';
    op.wFunc = FO_DELETE;
    op.pFrom = gone.c_str();
    op.pTo = nullptr;
    EXPECT_EQ(SHFileOperationW(&op), 0);
    EXPECT_EQ(GetFileAttributesA(ToAnsi(copied(first())).c_str()), INVALID_FILE_ATTRIBUTES);

    if (!AnsiPath())
        return;  // the system's W function reads on past the list
    // A list whose last name ends at unreadable memory without its final NUL
    // ends there: the A function gets it with both NULs.
    std::string seen;
    TW_HOOK(hook, SHFileOperationA, [&](LPSHFILEOPSTRUCTA a) {
        const char* p = a->pFrom;
        while (*p)
            p += strlen(p) + 1;
        seen.assign(a->pFrom, p);
        return 0;
    });
    GuardPage guard;
    const wstring unended = second() + L'\0';
    op.pFrom = guard.Copy(unended.c_str(), unended.size());
    EXPECT_EQ(SHFileOperationW(&op), 0);
    EXPECT_EQ(seen, ToAnsi(second()) + '\0');
    int runs = SweepAllocationFailures([&](int k) {
        SetLastError(1234);
        const int r = SHFileOperationW(&op);
        EXPECT_TRUE(HeapAllocCalls() < k || (r == ERROR_OUTOFMEMORY && GetLastError() == 0)) << k;
    });
    EXPECT_EQ(runs, 1);
}

TEST_F(ShellBeyondTest, InformationIconsAndFolders)
{
    SHFILEINFOW info = {};
    SHFILEINFOA infoA = {};
    ASSERT_NE(SHGetFileInfoW(first().c_str(), 0, &info, sizeof info, SHGFI_DISPLAYNAME | SHGFI_TYPENAME), 0u);
    ASSERT_NE(SHGetFileInfoA(ToAnsi(first()).c_str(), 0, &infoA, sizeof infoA, SHGFI_DISPLAYNAME | SHGFI_TYPENAME), 0u);
    EXPECT_EQ(wstring(info.szDisplayName), FromAnsi(infoA.szDisplayName));
    EXPECT_EQ(wstring(info.szTypeName), FromAnsi(infoA.szTypeName));

    for (int folder : {CSIDL_APPDATA, CSIDL_PERSONAL, CSIDL_WINDOWS}) {
        WCHAR path[MAX_PATH];
        char pathA[MAX_PATH];
        ASSERT_TRUE(SHGetSpecialFolderPathW(nullptr, path, folder, FALSE)) << folder;
        ASSERT_TRUE(SHGetSpecialFolderPathA(nullptr, pathA, folder, FALSE)) << folder;
        EXPECT_EQ(wstring(path), FromAnsi(pathA)) << folder;
    }

    char system[MAX_PATH];
    GetSystemDirectoryA(system, MAX_PATH);
    const std::string shell = std::string(system) + "\\shell32.dll";
    const UINT count = ExtractIconExA(shell.c_str(), -1, nullptr, nullptr, 0);
    EXPECT_GT(count, 0u);
    EXPECT_EQ(ExtractIconExW(FromAnsi(shell).c_str(), -1, nullptr, nullptr, 0), count);
    HICON large = nullptr;
    EXPECT_EQ(ExtractIconExW(FromAnsi(shell).c_str(), 0, &large, nullptr, 1), 1u);
    EXPECT_NE(large, nullptr);
    DestroyIcon(large);

    // Wine has no network: both answer ERROR_NO_NETWORK there.
    DWORD error = 1234, errorA = 1234;
    WCHAR text[64] = L"", provider[64] = L"";
    char textA[64] = "", providerA[64] = "";
    const DWORD r = WNetGetLastErrorW(&error, text, 64, provider, 64);
    auto lastErrorA = reinterpret_cast<decltype(&WNetGetLastErrorA)>(
        reinterpret_cast<void*>(GetProcAddress(LoadLibraryA("mpr.dll"), "WNetGetLastErrorA")));
    ASSERT_NE(lastErrorA, nullptr);
    EXPECT_EQ(r, lastErrorA(&errorA, textA, 64, providerA, 64));
    EXPECT_EQ(error, errorA);
    EXPECT_EQ(wstring(text), FromAnsi(textA));
    EXPECT_EQ(wstring(provider), FromAnsi(providerA));
}

// Whether `blob` holds `text` as wide characters or in the code page.
bool Carries(const std::vector<BYTE>& blob, const wstring& text)
{
    const std::string ansi = ToAnsi(text);
    const auto* wide = reinterpret_cast<const BYTE*>(text.c_str());
    return std::search(blob.begin(), blob.end(), wide, wide + text.size() * sizeof(WCHAR)) != blob.end() ||
           std::search(blob.begin(), blob.end(), ansi.begin(), ansi.end()) != blob.end();
}

// The notification area is a window of the shell's that the system hands each
// icon's record in a WM_COPYDATA message. Wine's headless desktop has none, so the
// test provides it: each call then reaches it with the tip beyond ASCII, and the A
// function sees the record converted at the size the caller's record has.
TEST_F(ShellBeyondTest, NotificationIconsReachTheTray)
{
    static std::vector<std::vector<BYTE>> received;
    received.clear();
    struct Tray {
        static LRESULT CALLBACK Proc(HWND hwnd, UINT msg, WPARAM wp, LPARAM lp)
        {
            if (msg != WM_COPYDATA)
                return DefWindowProcA(hwnd, msg, wp, lp);
            auto* data = reinterpret_cast<const COPYDATASTRUCT*>(lp);
            const BYTE* bytes = static_cast<const BYTE*>(data->lpData);
            received.emplace_back(bytes, bytes + data->cbData);
            return TRUE;
        }
    };
    WNDCLASSA wc = {};
    wc.lpfnWndProc = Tray::Proc;
    wc.hInstance = GetModuleHandleA(nullptr);
    wc.lpszClassName = "Shell_TrayWnd";
    if (FindWindowA(wc.lpszClassName, nullptr))
        GTEST_SKIP() << "the desktop has a notification area of its own, which the test cannot watch";
    ASSERT_NE(RegisterClassA(&wc), 0);
    HWND tray = CreateWindowExA(0, wc.lpszClassName, "", WS_POPUP, 0, 0, 1, 1, nullptr, nullptr, wc.hInstance,
                                nullptr);
    HWND owner = CreateWindowExA(0, "STATIC", "", WS_POPUP, 0, 0, 1, 1, nullptr, nullptr, nullptr, nullptr);

    const wstring tip = L"tw " + NonAsciiText();
    NOTIFYICONDATAW data = {};
    data.hWnd = owner;
    data.uID = 7;
    data.uFlags = NIF_TIP | NIF_ICON | NIF_MESSAGE;
    data.uCallbackMessage = WM_APP + 1;
    data.hIcon = LoadIconW(nullptr, IDI_APPLICATION);
    wcscpy(data.szTip, tip.c_str());
    wcscpy(data.szInfo, L"info");

    NOTIFYICONDATAA seen = {};
    std::optional<Hook<decltype(&Shell_NotifyIconA)>> hook;
    if (AnsiPath()) {
        data.cbSize = sizeof data;
        Shell_NotifyIconW(NIM_DELETE, &data);  // torwen binds the A function on its first call
        hook.emplace("Shell_NotifyIconA", [&](DWORD message, PNOTIFYICONDATAA a) {
            std::memcpy(&seen, a, std::min<DWORD>(a->cbSize, sizeof seen));
            return hook->real(message, a);
        });
    }
    struct Case {
        DWORD message, size, sizeA;
    };
    // A record of the balloon's time or later goes as the balloon's record: the
    // shells of Windows 95, 98 and Me know no later one.
    const Case cases[] = {{NIM_ADD, sizeof data, NOTIFYICONDATAA_V2_SIZE},
                          {NIM_MODIFY, NOTIFYICONDATAW_V1_SIZE, NOTIFYICONDATAA_V1_SIZE},
                          {NIM_DELETE, NOTIFYICONDATAW_V2_SIZE, NOTIFYICONDATAA_V2_SIZE}};
    for (const Case& c : cases) {
        received.clear();
        seen = {};
        data.cbSize = c.size;
        const int allocations = HeapAllocCalls();
        SetLastError(1234);
        const BOOL r = Shell_NotifyIconW(c.message, &data);
        EXPECT_EQ(HeapAllocCalls(), allocations);  // the record lives on the stack
        EXPECT_TRUE(r) << c.message << ", error " << GetLastError();
        ASSERT_EQ(received.size(), 1u) << c.message;
        if (c.message != NIM_DELETE) {
            EXPECT_TRUE(Carries(received[0], tip)) << c.message;
        }
        if (AnsiPath()) {
            EXPECT_EQ(seen.cbSize, c.sizeA);
            EXPECT_EQ(seen.hWnd, owner);
            EXPECT_EQ(seen.uID, 7u);
            EXPECT_EQ(seen.uFlags, data.uFlags);
            EXPECT_EQ(seen.uCallbackMessage, UINT(WM_APP + 1));
            EXPECT_EQ(seen.szTip, ToAnsi(tip));
            EXPECT_EQ(std::string(seen.szInfo), c.sizeA == NOTIFYICONDATAA_V2_SIZE ? "info" : "");
        }
    }
    DestroyWindow(owner);
    DestroyWindow(tray);
    UnregisterClassA(wc.lpszClassName, wc.hInstance);
}

// The about box is a modal dialog: a timer of the test's thread closes it, after
// reading its title, which names the application.
TEST_F(ShellBeyondTest, AboutBoxShowsTheApplication)
{
    static std::wstring title;
    title.clear();
    struct Closer {
        static BOOL CALLBACK Close(HWND hwnd, LPARAM)
        {
            char cls[16];
            if (GetClassNameA(hwnd, cls, sizeof cls) && !strcmp(cls, "#32770")) {
                WCHAR text[256];
                GetWindowTextW(hwnd, text, 256);
                title = text;
                PostMessageA(hwnd, WM_COMMAND, IDOK, 0);
            }
            return TRUE;
        }
        static void CALLBACK Tick(HWND, UINT, UINT_PTR, DWORD) { EnumThreadWindows(GetCurrentThreadId(), Close, 0); }
    };
    const wstring app = L"tw " + NonAsciiText(), other = L"other " + NonAsciiText();
    std::string appA = "(none)", otherA = "(none)";
    std::optional<Hook<decltype(&ShellAboutA)>> hook;
    const UINT_PTR timer = SetTimer(nullptr, 0, 50, Closer::Tick);
    auto about = [&] { return ShellAboutW(nullptr, app.c_str(), other.c_str(), nullptr); };
    // torwen binds the A function on its first call, which the hook then watches.
    ASSERT_TRUE(about());
    if (AnsiPath()) {
        hook.emplace("ShellAboutA", [&](HWND hwnd, LPCSTR a, LPCSTR o, HICON icon) {
            appA = a;
            otherA = o;
            return hook->real(hwnd, a, o, icon);
        });
    }
    ASSERT_TRUE(about());
    KillTimer(nullptr, timer);
    EXPECT_NE(title.find(app), wstring::npos) << "title: " << ToAnsi(title);
    if (!AnsiPath())
        return;
    EXPECT_EQ(appA, ToAnsi(app));
    EXPECT_EQ(otherA, ToAnsi(other));

    // A failed allocation answers FALSE with last error 0, and shows no box.
    hook.reset();
    TW_HOOK(stand, ShellAboutA, [](HWND, LPCSTR, LPCSTR, HICON) { return TRUE; });
    int runs = SweepAllocationFailures([&](int k) {
        SetLastError(1234);
        const int r = ShellAboutW(nullptr, app.c_str(), other.c_str(), nullptr);
        EXPECT_TRUE(HeapAllocCalls() < k || (!r && GetLastError() == 0)) << k;
    });
    EXPECT_EQ(runs, 2);
}

}  // namespace
