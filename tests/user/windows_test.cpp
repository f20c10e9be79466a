// Window classes, windows, dialogs and window procedures, on real headless windows.
#include <string>
#include <vector>

#include "user/test_window.h"

namespace {

HINSTANCE Self()
{
    return GetModuleHandleW(nullptr);
}

LRESULT CALLBACK PlainProc(HWND hwnd, UINT msg, WPARAM wParam, LPARAM lParam)
{
    return DefWindowProcW(hwnd, msg, wParam, lParam);
}

WNDCLASSEXW ClassRecord(LPCWSTR name, LPCWSTR menu = nullptr)
{
    WNDCLASSEXW wc = {};
    wc.cbSize = sizeof wc;
    wc.style = CS_DBLCLKS;
    wc.lpfnWndProc = PlainProc;
    wc.hInstance = Self();
    wc.lpszMenuName = menu;
    wc.lpszClassName = name;
    return wc;
}

class WindowsTest : public harness::TorwenTest {};

// A class found again by name and by atom; its windows run the caller's own procedure.
TEST_F(WindowsTest, ClassesByNameAndByAtom)
{
    const std::wstring name = L"Class " + harness::NonAsciiText();
    WNDCLASSEXW wc = ClassRecord(name.c_str(), MAKEINTRESOURCEW(7));
    ATOM atom = RegisterClassExW(&wc);
    ASSERT_NE(atom, 0);
    HWND hwnd = CreateWindowExW(0, MAKEINTATOM(atom), L"By atom", 0, 0, 0, 10, 10, nullptr,
                                nullptr, Self(), nullptr);
    ASSERT_TRUE(hwnd);
    EXPECT_EQ(GetWindowLongW(hwnd, GWL_WNDPROC), LONG(PlainProc)) << "no procedure is wrapped";
    EXPECT_EQ(GetClassLongW(hwnd, GCW_ATOM), DWORD(atom));
    WCHAR buf[64];
    EXPECT_EQ(GetClassNameW(hwnd, buf, 64), int(name.size()));
    EXPECT_EQ(std::wstring(buf), name);
    EXPECT_EQ(FindWindowW(MAKEINTATOM(atom), L"By atom"), hwnd);
    EXPECT_EQ(FindWindowExW(nullptr, nullptr, name.c_str(), nullptr), hwnd);
    DestroyWindow(hwnd);

    for (LPCWSTR key : {name.c_str(), LPCWSTR(MAKEINTATOM(atom))}) {
        WNDCLASSEXW info = {};
        info.cbSize = sizeof info;
        ASSERT_TRUE(GetClassInfoExW(Self(), key, &info));
        EXPECT_EQ(info.lpfnWndProc, PlainProc);
        EXPECT_EQ(info.style, UINT(CS_DBLCLKS));
        if (harness::AnsiPath()) {
            EXPECT_EQ(info.lpszMenuName, nullptr) << "the names do not come back";
            EXPECT_EQ(info.lpszClassName, nullptr);
        }
    }
    EXPECT_TRUE(UnregisterClassW(MAKEINTATOM(atom), Self()));
    EXPECT_FALSE(UnregisterClassW(MAKEINTATOM(atom), Self())) << "the system answers";
}

// The ANSI platforms know one record size only, and name a wrong one with an error of
// their own. A name with no room is answered at once, the buffer and error untouched.
TEST_F(WindowsTest, RecordSizesAndShortCutsOfTheAnsiPath)
{
    if (!harness::AnsiPath())
        GTEST_SKIP() << "the W path leaves these to the system";
    WNDCLASSEXW wc = ClassRecord(L"Sized");
    wc.cbSize = 40;
    SetLastError(0);
    EXPECT_EQ(RegisterClassExW(&wc), 0);
    EXPECT_EQ(GetLastError(), DWORD(ERROR_OUT_OF_STRUCTURES));
    SetLastError(0);
    EXPECT_FALSE(GetClassInfoExW(Self(), TestWindow::className, nullptr));
    EXPECT_EQ(GetLastError(), DWORD(ERROR_OUT_OF_STRUCTURES));

    TestWindow window;
    WCHAR buf[4] = L"##";
    GetClassNameW(window.hwnd, buf, 4);  // binds GetClassNameA before the hook
    TW_HOOK(hook, GetClassNameA, [&](HWND h, LPSTR b, int n) { return hook.real(h, b, n); });
    buf[0] = L'#';
    SetLastError(1234);
    EXPECT_EQ(GetClassNameW(window.hwnd, buf, 1), 0);
    EXPECT_EQ(GetClassNameW(window.hwnd, buf, 0), 0);
    EXPECT_EQ(hook.calls, 0);
    EXPECT_EQ(buf[0], L'#');
    EXPECT_EQ(GetLastError(), 1234u);
}

TEST_F(WindowsTest, WindowText)
{
    const std::wstring title = L"Title " + harness::NonAsciiText();
    LPVOID paramSeen = nullptr;
    TestWindow::handler = [&](HWND hwnd, UINT msg, WPARAM wParam, LPARAM lParam) {
        if (msg == WM_CREATE)
            paramSeen = reinterpret_cast<CREATESTRUCTW*>(lParam)->lpCreateParams;
        return DefWindowProcW(hwnd, msg, wParam, lParam);
    };
    TestWindow window(title.c_str(), reinterpret_cast<LPVOID>(0x12345678));
    ASSERT_TRUE(window.hwnd);
    EXPECT_EQ(paramSeen, reinterpret_cast<LPVOID>(0x12345678)) << "lpParam travels untouched";
    EXPECT_EQ(TextOf(window.hwnd), title);
    // Counted in ANSI bytes on the ANSI path: enough room for the wide text.
    EXPECT_EQ(GetWindowTextLengthW(window.hwnd),
              int(harness::AnsiPath() ? harness::ToAnsi(title).size() : title.size()));

    // Longer than the buffer: cut by the A function on a single-byte code page; on a
    // double-byte one it copies more characters than the buffer takes, and the answer is 0.
    WCHAR buf[5];
    ASSERT_TRUE(SetWindowTextW(window.hwnd, L"abcdefgh"));
    EXPECT_EQ(GetWindowTextW(window.hwnd, buf, 5), DoubleBytePath() ? 0 : 4);
    EXPECT_EQ(GetClassNameW(window.hwnd, buf, 5), DoubleBytePath() ? 0 : 4);
    if (!DoubleBytePath()) {
        EXPECT_EQ(std::wstring(buf), L"Torw");
    }

    buf[0] = L'#';
    EXPECT_EQ(GetWindowTextW(window.hwnd, buf, 0), 0);
    EXPECT_EQ(buf[0], L'#') << "no room, nothing written";
    ASSERT_TRUE(SetWindowTextW(window.hwnd, nullptr));
    EXPECT_EQ(GetWindowTextW(window.hwnd, buf, 1), 0);
    EXPECT_EQ(buf[0], L'\0');
    EXPECT_EQ(GetWindowTextLengthW(window.hwnd), 0);
}

TEST_F(WindowsTest, PropertiesAndRegisteredNames)
{
    TestWindow window;
    const std::wstring name = L"Torwen " + harness::NonAsciiText();
    ATOM atom = GlobalAddAtomW(L"TorwenProperty");
    ASSERT_TRUE(SetPropW(window.hwnd, name.c_str(), HANDLE(1)));
    ASSERT_TRUE(SetPropW(window.hwnd, MAKEINTATOM(atom), HANDLE(2)));
    EXPECT_EQ(GetPropA(window.hwnd, harness::ToAnsi(name).c_str()), HANDLE(1)) << "one property";
    EXPECT_EQ(RemovePropW(window.hwnd, L"TorwenProperty"), HANDLE(2));
    EXPECT_EQ(RemovePropW(window.hwnd, name.c_str()), HANDLE(1));
    EXPECT_EQ(GetPropW(window.hwnd, name.c_str()), nullptr);
    GlobalDeleteAtom(atom);

    EXPECT_EQ(RegisterWindowMessageW(name.c_str()),
              RegisterWindowMessageA(harness::ToAnsi(name).c_str()));
    char back[64] = "";
    GetClipboardFormatNameA(RegisterClipboardFormatW(name.c_str()), back, 64);
    EXPECT_EQ(std::string(back), harness::ToAnsi(name));
}

// What RegisterClassExA is handed: the names converted (the menu name first, freed
// last), integers passed as they are.
TEST_F(WindowsTest, WhatRegisterClassExAReceives)
{
    if (!harness::AnsiPath())
        GTEST_SKIP() << "the W path passes the record through";
    const std::wstring name = L"Named " + harness::NonAsciiText();
    const std::wstring menu = L"Menu " + harness::NonAsciiText();
    WNDCLASSEXW wc = ClassRecord(MAKEINTATOM(0xBEEF), MAKEINTRESOURCEW(7));
    if (ATOM atom = RegisterClassExW(&wc))  // binds RegisterClassExA before the hook
        UnregisterClassW(MAKEINTATOM(atom), Self());
    std::vector<std::pair<LPCSTR, std::string>> seen;
    TW_HOOK(hook, RegisterClassExA, [&](const WNDCLASSEXA* a) {
        EXPECT_EQ(a->cbSize, sizeof(WNDCLASSEXA));
        EXPECT_EQ(a->lpfnWndProc, PlainProc);
        for (LPCSTR s : {a->lpszMenuName, a->lpszClassName})
            seen.emplace_back(s, IS_INTRESOURCE(s) ? "" : s);
        return hook.real(a);
    });
    if (ATOM atom = RegisterClassExW(&wc))
        UnregisterClassW(MAKEINTATOM(atom), Self());
    EXPECT_EQ(seen.at(0).first, MAKEINTRESOURCEA(7));
    EXPECT_EQ(seen.at(1).first, MAKEINTRESOURCEA(0xBEEF));

    wc = ClassRecord(name.c_str(), menu.c_str());
    {
        harness::HeapLog log;
        ASSERT_NE(RegisterClassExW(&wc), 0);
        EXPECT_EQ(log.allocationSizes(), (std::vector<SIZE_T>{harness::ToAnsi(menu).size() + 1,
                                                              harness::ToAnsi(name).size() + 1}));
        EXPECT_TRUE(log.freedInReverseOrder());
    }
    UnregisterClassW(name.c_str(), Self());
    EXPECT_EQ(seen.at(2).second, harness::ToAnsi(menu));
    EXPECT_EQ(seen.at(3).second, harness::ToAnsi(name));
}

// ---- dialogs

// A dialog template in memory: the header, no menu, the dialog class, the title, and
// one static control. Its strings are wide for the A functions too.
std::vector<WORD> DialogTemplate(const std::wstring& title, const std::wstring& text)
{
    std::vector<WORD> t = {LOWORD(WS_POPUP | WS_CAPTION), HIWORD(WS_POPUP | WS_CAPTION), 0, 0,
                           1, 0, 0, 100, 50, 0, 0};
    t.insert(t.end(), title.c_str(), title.c_str() + title.size() + 1);
    if (t.size() % 2)
        t.push_back(0);  // items start on a DWORD
    DWORD style = WS_CHILD | WS_VISIBLE | SS_LEFT;
    t.insert(t.end(), {LOWORD(style), HIWORD(style), 0, 0, 0, 0, 80, 10, 101, 0xFFFF, 0x0082});
    t.insert(t.end(), text.c_str(), text.c_str() + text.size() + 1);
    t.push_back(0);  // no creation data
    return t;
}

LPARAM initParam;

INT_PTR CALLBACK DialogProc(HWND dialog, UINT msg, WPARAM, LPARAM lParam)
{
    if (msg != WM_INITDIALOG)
        return FALSE;
    initParam = lParam;
    if (lParam == 42)
        EndDialog(dialog, 4242);
    return TRUE;
}

TEST_F(WindowsTest, DialogsFromTemplatesInMemoryAndInResources)
{
    const std::wstring title = L"Dialog " + harness::NonAsciiText();
    const std::wstring text = L"Item " + harness::NonAsciiText();
    std::vector<WORD> t = DialogTemplate(title, text);
    auto memory = reinterpret_cast<LPCDLGTEMPLATEW>(t.data());
    HWND dialog = CreateDialogIndirectParamW(Self(), memory, nullptr, DialogProc, 7);
    ASSERT_TRUE(dialog);
    EXPECT_EQ(initParam, 7);
    EXPECT_EQ(TextOf(dialog), title);
    EXPECT_EQ(TextOf(GetDlgItem(dialog, 101)), text);
    EXPECT_EQ(SendDlgItemMessageW(dialog, 101, WM_GETTEXTLENGTH, 0, 0),
              LRESULT(harness::AnsiPath() ? harness::ToAnsi(text).size() : text.size()));
    DestroyWindow(dialog);
    EXPECT_EQ(DialogBoxIndirectParamW(Self(), memory, nullptr, DialogProc, 42), 4242);

    // Templates that Wine ships: user32's by name, comdlg32's by number.
    HMODULE user32 = GetModuleHandleW(L"user32.dll");
    HMODULE comdlg32 = LoadLibraryW(L"comdlg32.dll");
    if (!FindResourceA(user32, "MSGBOX", MAKEINTRESOURCEA(5)) ||
        !FindResourceA(comdlg32, MAKEINTRESOURCEA(1540), MAKEINTRESOURCEA(5)))
        GTEST_SKIP() << "the system ships no such dialog templates";
    DestroyWindow(CreateDialogParamW(comdlg32, MAKEINTRESOURCEW(1540), nullptr, DialogProc, 9));
    EXPECT_EQ(initParam, 9);
    EXPECT_EQ(DialogBoxParamW(user32, L"MSGBOX", nullptr, DialogProc, 42), 4242);
    EXPECT_EQ(DialogBoxParamW(Self(), MAKEINTRESOURCEW(4242), nullptr, DialogProc, 0),
              DialogBoxParamA(Self(), MAKEINTRESOURCEA(4242), nullptr, DialogProc, 0));
    FreeLibrary(comdlg32);
}

TEST_F(WindowsTest, MDIChildWithAWideTitle)
{
    MdiClient client;
    ASSERT_TRUE(client.hwnd);
    const std::wstring title = L"Child " + harness::NonAsciiText();
    HWND child = CreateMDIWindowW(MdiClient::childClass, title.c_str(), 0, CW_USEDEFAULT,
                                  CW_USEDEFAULT, CW_USEDEFAULT, CW_USEDEFAULT, client.hwnd, Self(),
                                  0);
    ASSERT_TRUE(child);
    EXPECT_EQ(GetParent(child), client.hwnd);
    EXPECT_EQ(TextOf(child), title);
}

// ---- procedures and messages

// A class registered through torwen makes ANSI windows on the ANSI path: the system
// hands their procedures ANSI text, and torwen's message functions pass every
// parameter on as it is.
TEST_F(WindowsTest, MessagesPassUntouchedToTheProcedure)
{
    std::vector<std::pair<UINT, LPARAM>> seen;
    TestWindow::handler = [&](HWND hwnd, UINT msg, WPARAM wParam, LPARAM lParam) -> LRESULT {
        if (msg == WM_CHAR || msg == WM_SETTEXT || msg >= WM_APP)
            seen.emplace_back(msg, msg == WM_CHAR ? LPARAM(wParam & 0xFFFF) : lParam);
        return msg >= WM_APP ? 0x77 : DefWindowProcW(hwnd, msg, wParam, lParam);
    };
    TestWindow window;
    EXPECT_EQ(IsWindowUnicode(window.hwnd), !harness::AnsiPath());

    // The system's own SendMessageW converts for an ANSI window: é, or ｱ under 932.
    auto systemSendMessageW = reinterpret_cast<decltype(&SendMessageW)>(
        reinterpret_cast<void*>(GetProcAddress(GetModuleHandleW(L"user32.dll"), "SendMessageW")));
    const WCHAR ch = harness::CodePage() == 932 ? 0xFF71 : 0x00E9;
    systemSendMessageW(window.hwnd, WM_CHAR, ch, 1);
    EXPECT_EQ(seen.at(0).second, !harness::AnsiPath() ? ch : ch == 0xFF71 ? 0xB1 : 0xE9);

    // torwen's converts nothing: the text a procedure gets is the pointer sent, and
    // DefWindowProcW reads it as ANSI text on the ANSI path.
    const std::string ansi = harness::ToAnsi(harness::NonAsciiText());
    const std::wstring wide = harness::NonAsciiText();
    LPARAM text = harness::AnsiPath() ? LPARAM(ansi.c_str()) : LPARAM(wide.c_str());
    ASSERT_TRUE(SendMessageW(window.hwnd, WM_SETTEXT, 0, text));
    EXPECT_EQ(seen.at(1).second, text);
    EXPECT_EQ(TextOf(window.hwnd), wide);

    DWORD_PTR result = 0;
    EXPECT_EQ(SendMessageW(window.hwnd, WM_APP, 1, -1), 0x77);
    EXPECT_TRUE(SendMessageTimeoutW(window.hwnd, WM_APP, 2, -2, SMTO_NORMAL, 1000, &result));
    EXPECT_EQ(result, 0x77u);
    EXPECT_TRUE(SendNotifyMessageW(window.hwnd, WM_APP, 3, -3));
    EXPECT_EQ(CallWindowProcW(TestWindow::Proc, window.hwnd, WM_APP, 4, -4), 0x77);
    ASSERT_TRUE(PostMessageW(window.hwnd, WM_APP, 5, -5));
    ASSERT_TRUE(PostThreadMessageW(GetCurrentThreadId(), WM_APP + 1, 6, -6));
    MSG msg;
    ASSERT_TRUE(PeekMessageW(&msg, window.hwnd, WM_APP, WM_APP, PM_REMOVE));
    EXPECT_EQ(DispatchMessageW(&msg), 0x77);
    ASSERT_EQ(GetMessageW(&msg, nullptr, WM_APP + 1, WM_APP + 1), TRUE);
    EXPECT_EQ(msg.lParam, -6);
    using Seen = std::vector<std::pair<UINT, LPARAM>>;
    const Seen expected = {{WM_APP, -1}, {WM_APP, -2}, {WM_APP, -3}, {WM_APP, -4}, {WM_APP, -5}};
    EXPECT_EQ(Seen(seen.begin() + 2, seen.end()), expected);
}

// Members that keep the A call's error leave 0 when the failure came before it; the
// others leave the allocator's 14.
TEST_F(WindowsTest, AllocationFailures)
{
    if (!harness::AnsiPath())
        GTEST_SKIP() << "the W path allocates nothing";
    const std::wstring name = L"Swept " + harness::NonAsciiText();
    TestWindow window(name.c_str());
    WNDCLASSEXW wc = ClassRecord(name.c_str(), L"Menu");
    WCHAR buf[64];
    struct Member {
        const char* name;
        std::function<bool()> call;
        DWORD error;
        int allocations;
    };
    const Member members[] = {
        {"RegisterClassExW", [&] { return RegisterClassExW(&wc) != 0; }, 0, 2},
        {"GetClassNameW", [&] { return GetClassNameW(window.hwnd, buf, 64) != 0; }, 0, 1},
        {"GetWindowTextW", [&] { return GetWindowTextW(window.hwnd, buf, 64) != 0; }, 0, 1},
        {"SetWindowTextW", [&] { return SetWindowTextW(window.hwnd, name.c_str()) != 0; }, 0, 1},
        {"FindWindowW", [&] { return FindWindowW(TestWindow::className, name.c_str()) != nullptr; },
         0, 2},
        {"RegisterClipboardFormatW", [&] { return RegisterClipboardFormatW(name.c_str()) != 0; },
         0, 1},
        {"CreateWindowExW",
         [&] {
             HWND h = CreateWindowExW(0, TestWindow::className, name.c_str(), 0, 0, 0, 1, 1,
                                      nullptr, nullptr, Self(), nullptr);
             return h && DestroyWindow(h);
         },
         ERROR_OUTOFMEMORY, 2},
        {"SetPropW", [&] { return SetPropW(window.hwnd, name.c_str(), HANDLE(1)) != 0; },
         ERROR_OUTOFMEMORY, 1},
        {"RegisterWindowMessageW", [&] { return RegisterWindowMessageW(name.c_str()) != 0; },
         ERROR_OUTOFMEMORY, 1},
    };
    for (const Member& m : members) {
        EXPECT_EQ(harness::SweepAllocationFailures([&](int k) {
            SetLastError(1234);
            bool ok = m.call();
            if (harness::HeapAllocCalls() < k) {
                EXPECT_TRUE(ok) << m.name;
                return;
            }
            EXPECT_FALSE(ok) << m.name;
            EXPECT_EQ(GetLastError(), m.error) << m.name;
        }), m.allocations) << m.name;
    }
    UnregisterClassW(name.c_str(), Self());
    RemovePropW(window.hwnd, name.c_str());
}

}  // namespace
