// Windows and dialogs: creation, window text, finding windows, properties.
#include <functional>
#include <string>
#include <vector>

#include "harness/harness.h"
#include "user/test_window.h"

namespace {

const HWND noSuchWindow = reinterpret_cast<HWND>(0x4242);

UINT MaxCharSize()
{
    CPINFO info;
    GetCPInfo(CP_ACP, &info);
    return info.MaxCharSize;
}

bool DoubleBytePath()
{
    return harness::AnsiPath() && harness::CodePage() == 932;
}

class WindowsTest : public harness::TorwenTest {};

TEST_F(WindowsTest, CreationPassesTheNameAndTheParameterToTheProcedure)
{
    const std::wstring title = L"Title " + harness::NonAsciiText();
    LPVOID param = reinterpret_cast<LPVOID>(0x12345678);
    LPVOID paramSeen = nullptr;
    bool sawCreate = false;
    TestWindow::handler = [&](HWND hwnd, UINT msg, WPARAM wParam, LPARAM lParam) {
        if (msg == WM_CREATE) {
            sawCreate = true;
            paramSeen = reinterpret_cast<CREATESTRUCTW*>(lParam)->lpCreateParams;
        }
        return DefWindowProcW(hwnd, msg, wParam, lParam);
    };
    TestWindow window(title.c_str(), param);
    ASSERT_TRUE(window.hwnd);
    EXPECT_TRUE(sawCreate);
    EXPECT_EQ(paramSeen, param) << "lpParam travels untouched";

    WCHAR buf[64];
    EXPECT_EQ(GetWindowTextW(window.hwnd, buf, 64), int(title.size()));
    EXPECT_EQ(std::wstring(buf), title);
    // Counted in ANSI bytes on the ANSI path: enough room for the wide text.
    EXPECT_EQ(GetWindowTextLengthW(window.hwnd),
              harness::AnsiPath() ? int(harness::ToAnsi(title).size()) : int(title.size()));
}

TEST_F(WindowsTest, WindowTextRoundTripsAndIsRefusedRatherThanCut)
{
    TestWindow window;
    ASSERT_TRUE(window.hwnd);
    const std::wstring text = harness::NonAsciiText() + L" and " + harness::NonAsciiText();
    ASSERT_TRUE(SetWindowTextW(window.hwnd, text.c_str()));
    WCHAR buf[64];
    EXPECT_EQ(GetWindowTextW(window.hwnd, buf, 64), int(text.size()));
    EXPECT_EQ(std::wstring(buf), text);

    // Longer than the buffer: cut by the A function on a single-byte code page; on a
    // double-byte one the bytes it copies are more characters than the buffer takes.
    ASSERT_TRUE(SetWindowTextW(window.hwnd, L"abcdefghij"));
    int n = GetWindowTextW(window.hwnd, buf, 5);
    if (DoubleBytePath()) {
        EXPECT_EQ(n, 0);
    } else {
        EXPECT_EQ(n, 4);
        EXPECT_EQ(std::wstring(buf), L"abcd");
    }

    // No room: nothing is called and nothing written; room for the NUL alone.
    buf[0] = L'#';
    EXPECT_EQ(GetWindowTextW(window.hwnd, buf, 0), 0);
    EXPECT_EQ(buf[0], L'#');
    ASSERT_TRUE(SetWindowTextW(window.hwnd, L""));
    EXPECT_EQ(GetWindowTextW(window.hwnd, buf, 1), 0);
    EXPECT_EQ(buf[0], L'\0');

    // A null text empties the window.
    ASSERT_TRUE(SetWindowTextW(window.hwnd, L"x"));
    EXPECT_TRUE(SetWindowTextW(window.hwnd, nullptr));
    EXPECT_EQ(GetWindowTextLengthW(window.hwnd), 0);
}

TEST_F(WindowsTest, TextHandedToTheAFunctions)
{
    if (!harness::AnsiPath())
        GTEST_SKIP() << "the W path passes the text through";
    TestWindow window;
    const std::wstring text = L"Text " + harness::NonAsciiText();
    std::string setSeen;
    WCHAR buf[10];
    SetWindowTextW(window.hwnd, L"");  // the hooks replace what torwen has bound
    GetWindowTextW(window.hwnd, buf, 10);
    TW_HOOK(set, SetWindowTextA, [&](HWND hwnd, LPCSTR s) {
        setSeen = s;
        return set.real(hwnd, s);
    });
    ASSERT_TRUE(SetWindowTextW(window.hwnd, text.c_str()));
    EXPECT_EQ(setSeen, harness::ToAnsi(text));

    // The A function is told the buffer's room in bytes.
    int roomSeen = 0;
    TW_HOOK(get, GetWindowTextA, [&](HWND hwnd, LPSTR s, int n) {
        roomSeen = n;
        return get.real(hwnd, s, n);
    });
    GetWindowTextW(window.hwnd, buf, 10);
    EXPECT_EQ(roomSeen, int(10 * MaxCharSize()));
}

TEST_F(WindowsTest, WindowsAreFoundByClassAndTitle)
{
    const std::wstring title = L"Find me " + harness::NonAsciiText();
    TestWindow parent(title.c_str());
    ASSERT_TRUE(parent.hwnd);
    HWND child = CreateWindowExW(0, TestWindow::className, title.c_str(), WS_CHILD, 0, 0, 10, 10,
                                 parent.hwnd, nullptr, GetModuleHandleW(nullptr), nullptr);
    ASSERT_TRUE(child);

    EXPECT_EQ(FindWindowW(TestWindow::className, title.c_str()), parent.hwnd);
    ATOM atom = ATOM(GetClassLongW(parent.hwnd, GCW_ATOM));
    EXPECT_EQ(FindWindowW(MAKEINTATOM(atom), title.c_str()), parent.hwnd);
    EXPECT_EQ(FindWindowExW(parent.hwnd, nullptr, TestWindow::className, nullptr), child);
    EXPECT_EQ(FindWindowExW(parent.hwnd, nullptr, MAKEINTATOM(atom), title.c_str()), child);
    EXPECT_EQ(FindWindowExW(parent.hwnd, child, nullptr, nullptr), nullptr);

    SetLastError(1234);
    EXPECT_EQ(FindWindowW(L"No such class", nullptr), nullptr);
    EXPECT_EQ(FindWindowW(TestWindow::className, L"No such title"), nullptr);
}

TEST_F(WindowsTest, PropertiesByNameAndByAtom)
{
    TestWindow window;
    const std::wstring name = L"Property " + harness::NonAsciiText();
    HANDLE data = reinterpret_cast<HANDLE>(0x5151);
    ASSERT_TRUE(SetPropW(window.hwnd, name.c_str(), data));
    EXPECT_EQ(GetPropW(window.hwnd, name.c_str()), data);
    // The A and W names meet in one property.
    EXPECT_EQ(GetPropA(window.hwnd, harness::ToAnsi(name).c_str()), data);

    ATOM atom = GlobalAddAtomW(L"TorwenProperty");
    ASSERT_NE(atom, 0);
    ASSERT_TRUE(SetPropW(window.hwnd, MAKEINTATOM(atom), data));
    EXPECT_EQ(GetPropW(window.hwnd, L"TorwenProperty"), data);
    EXPECT_EQ(RemovePropW(window.hwnd, MAKEINTATOM(atom)), data);
    EXPECT_EQ(RemovePropW(window.hwnd, name.c_str()), data);
    EXPECT_EQ(GetPropW(window.hwnd, name.c_str()), nullptr);
    GlobalDeleteAtom(atom);
}

TEST_F(WindowsTest, MDIChildWithAWideTitle)
{
    MdiClient client;
    ASSERT_TRUE(client.hwnd);
    const std::wstring title = L"Child " + harness::NonAsciiText();
    HWND child = CreateMDIWindowW(MdiClient::childClass, title.c_str(), 0, CW_USEDEFAULT,
                                  CW_USEDEFAULT, CW_USEDEFAULT, CW_USEDEFAULT, client.hwnd,
                                  GetModuleHandleW(nullptr), 0);
    ASSERT_TRUE(child);
    EXPECT_EQ(GetParent(child), client.hwnd);
    WCHAR buf[64];
    EXPECT_EQ(GetWindowTextW(child, buf, 64), int(title.size()));
    EXPECT_EQ(std::wstring(buf), title);
}

// Handles that name no window, atoms that name no class and null names are passed on,
// and the system answers.
TEST_F(WindowsTest, BadInputIsAnsweredByTheSystem)
{
    WCHAR buf[16] = L"untouched";
    EXPECT_EQ(GetWindowTextW(noSuchWindow, buf, 16), 0);
    EXPECT_EQ(GetClassNameW(noSuchWindow, buf, 16), 0);
    EXPECT_EQ(GetWindowTextLengthW(noSuchWindow), 0);
    EXPECT_FALSE(SetWindowTextW(noSuchWindow, L"x"));
    EXPECT_FALSE(SetPropW(noSuchWindow, L"x", reinterpret_cast<HANDLE>(1)));
    EXPECT_EQ(GetPropW(noSuchWindow, L"x"), nullptr);
    EXPECT_EQ(CreateWindowExW(0, L"No such class", L"", 0, 0, 0, 1, 1, nullptr, nullptr,
                              GetModuleHandleW(nullptr), nullptr),
              nullptr);
    EXPECT_EQ(CreateWindowExW(0, MAKEINTATOM(0xBEEF), L"", 0, 0, 0, 1, 1, nullptr, nullptr,
                              GetModuleHandleW(nullptr), nullptr),
              nullptr);
    EXPECT_FALSE(UnregisterClassW(MAKEINTATOM(0xBEEF), GetModuleHandleW(nullptr)));
    WNDCLASSEXW wc = {};
    wc.cbSize = sizeof wc;
    EXPECT_FALSE(GetClassInfoExW(GetModuleHandleW(nullptr), MAKEINTATOM(0xBEEF), &wc));
    EXPECT_EQ(RegisterWindowMessageW(nullptr), 0u);
    EXPECT_EQ(FindWindowW(L"No such class", nullptr), nullptr);
    TestWindow window;
    EXPECT_EQ(GetPropW(window.hwnd, nullptr), nullptr);
}

// ---- dialogs

const int itemId = 101;

// A dialog template in memory: the header, no menu, the default class, the title, and
// one static control. Its strings are wide for the A functions too.
std::vector<WORD> DialogTemplate(const std::wstring& title, const std::wstring& text)
{
    std::vector<WORD> t;
    auto dword = [&](DWORD d) {
        t.push_back(LOWORD(d));
        t.push_back(HIWORD(d));
    };
    auto string = [&](const std::wstring& s) {
        t.insert(t.end(), s.begin(), s.end());
        t.push_back(0);
    };
    dword(WS_POPUP | WS_CAPTION);
    dword(0);
    t.insert(t.end(), {1, 0, 0, 100, 50});  // one item; x, y, cx, cy
    t.insert(t.end(), {0, 0});              // no menu, the dialog class
    string(title);
    if (t.size() % 2)
        t.push_back(0);  // items start on a DWORD
    dword(WS_CHILD | WS_VISIBLE | SS_LEFT);
    dword(0);
    t.insert(t.end(), {0, 0, 80, 10, WORD(itemId), 0xFFFF, 0x0082});  // a static control
    string(text);
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

class DialogsTest : public harness::TorwenTest {
protected:
    void SetUp() override
    {
        harness::TorwenTest::SetUp();
        initParam = 0;
    }
};

TEST_F(DialogsTest, DialogFromATemplateInMemory)
{
    const std::wstring title = L"Dialog " + harness::NonAsciiText();
    const std::wstring text = L"Item " + harness::NonAsciiText();
    std::vector<WORD> t = DialogTemplate(title, text);
    auto dialogTemplate = reinterpret_cast<LPCDLGTEMPLATEW>(t.data());

    HWND dialog = CreateDialogIndirectParamW(GetModuleHandleW(nullptr), dialogTemplate, nullptr,
                                             DialogProc, 7);
    ASSERT_TRUE(dialog);
    EXPECT_EQ(initParam, 7);
    WCHAR buf[64];
    EXPECT_EQ(GetWindowTextW(dialog, buf, 64), int(title.size()));
    EXPECT_EQ(std::wstring(buf), title);
    HWND item = GetDlgItem(dialog, itemId);
    EXPECT_EQ(GetWindowTextW(item, buf, 64), int(text.size()));
    EXPECT_EQ(std::wstring(buf), text);
    EXPECT_EQ(SendDlgItemMessageW(dialog, itemId, WM_GETTEXTLENGTH, 0, 0),
              LRESULT(harness::AnsiPath() ? harness::ToAnsi(text).size() : text.size()));
    DestroyWindow(dialog);

    EXPECT_EQ(DialogBoxIndirectParamW(GetModuleHandleW(nullptr), dialogTemplate, nullptr,
                                      DialogProc, 42),
              4242);
}

// Templates that the system ships as resources (Wine's user32 and comdlg32): by name
// and by number.
TEST_F(DialogsTest, DialogFromAResourceByNameAndByNumber)
{
    HMODULE user32 = GetModuleHandleW(L"user32.dll");
    HMODULE comdlg32 = LoadLibraryW(L"comdlg32.dll");
    if (!FindResourceA(user32, "MSGBOX", MAKEINTRESOURCEA(5)) ||
        !FindResourceA(comdlg32, MAKEINTRESOURCEA(1540), MAKEINTRESOURCEA(5)))
        GTEST_SKIP() << "the system ships no such dialog templates";
    HWND byName = CreateDialogParamW(user32, L"MSGBOX", nullptr, DialogProc, 8);
    ASSERT_TRUE(byName);
    EXPECT_EQ(initParam, 8);
    DestroyWindow(byName);
    HWND byNumber = CreateDialogParamW(comdlg32, MAKEINTRESOURCEW(1540), nullptr, DialogProc, 9);
    ASSERT_TRUE(byNumber);
    EXPECT_EQ(initParam, 9);
    DestroyWindow(byNumber);
    EXPECT_EQ(DialogBoxParamW(user32, L"MSGBOX", nullptr, DialogProc, 42), 4242);
    FreeLibrary(comdlg32);
}

TEST_F(DialogsTest, TemplateNamesHandedToTheAFunctions)
{
    if (!harness::AnsiPath())
        GTEST_SKIP() << "the W path passes the names through";
    HINSTANCE self = GetModuleHandleW(nullptr);
    // The hooks replace what torwen has bound.
    CreateDialogParamW(self, MAKEINTRESOURCEW(4242), nullptr, DialogProc, 0);
    DialogBoxParamW(self, MAKEINTRESOURCEW(4242), nullptr, DialogProc, 0);
    std::vector<LPCSTR> values;
    std::vector<std::string> names;
    auto seen = [&](LPCSTR name) {
        values.push_back(name);
        names.push_back(IS_INTRESOURCE(name) ? std::string() : std::string(name));
    };
    TW_HOOK(create, CreateDialogParamA, [&](HINSTANCE h, LPCSTR name, HWND p, DLGPROC f, LPARAM l) {
        seen(name);
        return create.real(h, name, p, f, l);
    });
    TW_HOOK(box, DialogBoxParamA, [&](HINSTANCE h, LPCSTR name, HWND p, DLGPROC f, LPARAM l) {
        seen(name);
        return box.real(h, name, p, f, l);
    });
    const std::wstring name = L"Dialog " + harness::NonAsciiText();
    // Neither exists: the system answers.
    EXPECT_EQ(CreateDialogParamW(self, MAKEINTRESOURCEW(4242), nullptr, DialogProc, 0), nullptr);
    EXPECT_EQ(CreateDialogParamW(self, name.c_str(), nullptr, DialogProc, 0), nullptr);
    EXPECT_EQ(DialogBoxParamW(self, MAKEINTRESOURCEW(4242), nullptr, DialogProc, 0),
              DialogBoxParamA(self, MAKEINTRESOURCEA(4242), nullptr, DialogProc, 0));
    ASSERT_EQ(values.size(), 3u);
    EXPECT_EQ(values[0], MAKEINTRESOURCEA(4242));
    EXPECT_EQ(names[1], harness::ToAnsi(name));
    EXPECT_EQ(values[2], MAKEINTRESOURCEA(4242));
}

// Creation keeps no saved error: a failure before the A call leaves the allocator's
// 14. Text members keep theirs and leave 0.
TEST_F(WindowsTest, AllocationFailures)
{
    if (!harness::AnsiPath())
        GTEST_SKIP() << "the W path allocates nothing";
    auto failed = [](int k) { return harness::HeapAllocCalls() >= k; };
    const std::wstring title = L"Swept " + harness::NonAsciiText();
    EXPECT_EQ(harness::SweepAllocationFailures([&](int k) {
        SetLastError(1234);
        HWND hwnd = CreateWindowExW(0, TestWindow::className, title.c_str(), 0, 0, 0, 10, 10,
                                    nullptr, nullptr, GetModuleHandleW(nullptr), nullptr);
        if (!failed(k)) {
            DestroyWindow(hwnd);
            return;
        }
        EXPECT_EQ(hwnd, nullptr);
        EXPECT_EQ(GetLastError(), DWORD(ERROR_OUTOFMEMORY));
    }), 2);

    TestWindow window(title.c_str());
    WCHAR buf[64];
    auto sweep = [&](const std::function<bool()>& call, DWORD error) {
        return harness::SweepAllocationFailures([&](int k) {
            SetLastError(1234);
            bool ok = call();
            if (failed(k)) {
                EXPECT_FALSE(ok);
                EXPECT_EQ(GetLastError(), error);
            }
        });
    };
    EXPECT_EQ(sweep([&] { return GetWindowTextW(window.hwnd, buf, 64) != 0; }, 0), 1);
    EXPECT_EQ(sweep([&] { return SetWindowTextW(window.hwnd, title.c_str()) != 0; }, 0), 1);
    EXPECT_EQ(sweep([&] { return FindWindowW(TestWindow::className, title.c_str()) != nullptr; },
                    0),
              2);
    EXPECT_EQ(sweep([&] { return SetPropW(window.hwnd, title.c_str(), HANDLE(1)) != 0; },
                    ERROR_OUTOFMEMORY),
              1);
    RemovePropW(window.hwnd, title.c_str());
}

}  // namespace
