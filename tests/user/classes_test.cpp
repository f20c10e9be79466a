// Window classes: registration and lookup, class names, class data, registered
// messages and clipboard formats.
#include <string>

#include "harness/harness.h"
#include "user/test_window.h"

namespace {

HINSTANCE Instance()
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
    wc.cbWndExtra = 8;
    wc.hInstance = Instance();
    wc.lpszMenuName = menu;
    wc.lpszClassName = name;
    return wc;
}

class ClassesTest : public harness::TorwenTest {
protected:
    void TearDown() override
    {
        for (const std::wstring& name : registered)
            UnregisterClassW(name.c_str(), Instance());
        harness::TorwenTest::TearDown();
    }

    ATOM Register(const WNDCLASSEXW& wc)
    {
        ATOM atom = RegisterClassExW(&wc);
        if (atom && !IS_INTRESOURCE(wc.lpszClassName))
            registered.push_back(wc.lpszClassName);
        return atom;
    }

    std::vector<std::wstring> registered;
};

// A class with a name beyond ASCII, found again by name and by atom; its windows run
// the caller's own procedure.
TEST_F(ClassesTest, RegisteredClassIsFoundByNameAndByAtom)
{
    const std::wstring name = L"Class " + harness::NonAsciiText();
    ATOM atom = Register(ClassRecord(name.c_str()));
    ASSERT_NE(atom, 0);

    HWND hwnd = CreateWindowExW(0, MAKEINTATOM(atom), L"", 0, 0, 0, 10, 10, nullptr, nullptr,
                                Instance(), nullptr);
    ASSERT_TRUE(hwnd);
    EXPECT_EQ(GetWindowLongW(hwnd, GWL_WNDPROC), LONG(PlainProc)) << "no procedure is wrapped";
    EXPECT_EQ(GetClassLongW(hwnd, GCW_ATOM), DWORD(atom));
    EXPECT_EQ(GetClassLongW(hwnd, GCL_STYLE), DWORD(CS_DBLCLKS));
    WCHAR buf[64];
    EXPECT_EQ(GetClassNameW(hwnd, buf, 64), int(name.size()));
    EXPECT_EQ(std::wstring(buf), name);
    DestroyWindow(hwnd);

    WNDCLASSEXW byName = {}, byAtom = {};
    byName.cbSize = byAtom.cbSize = sizeof(WNDCLASSEXW);
    ASSERT_TRUE(GetClassInfoExW(Instance(), name.c_str(), &byName));
    ASSERT_TRUE(GetClassInfoExW(Instance(), MAKEINTATOM(atom), &byAtom));
    for (const WNDCLASSEXW* wc : {&byName, &byAtom}) {
        EXPECT_EQ(wc->cbSize, sizeof(WNDCLASSEXW));
        EXPECT_EQ(wc->lpfnWndProc, PlainProc);
        EXPECT_EQ(wc->style, UINT(CS_DBLCLKS));
        EXPECT_EQ(wc->cbWndExtra, 8);
    }
    EXPECT_TRUE(UnregisterClassW(MAKEINTATOM(atom), Instance()));
    EXPECT_FALSE(GetClassInfoExW(Instance(), name.c_str(), &byName));
}

// What RegisterClassExA receives: the names converted, integers passed as they are.
TEST_F(ClassesTest, RegistrationHandsConvertedNamesAndIntegersToTheAFunction)
{
    if (!harness::AnsiPath())
        GTEST_SKIP() << "the W path passes the record through";
    std::string menuSeen, classSeen;
    LPCSTR menuValue = nullptr, classValue = nullptr;
    UINT sizeSeen = 0;
    Register(ClassRecord(L"Bound first"));  // the hook replaces what torwen has bound
    TW_HOOK(hook, RegisterClassExA, [&](const WNDCLASSEXA* wc) {
        sizeSeen = wc->cbSize;
        menuValue = wc->lpszMenuName;
        classValue = wc->lpszClassName;
        if (!IS_INTRESOURCE(wc->lpszMenuName))
            menuSeen = wc->lpszMenuName;
        if (!IS_INTRESOURCE(wc->lpszClassName))
            classSeen = wc->lpszClassName;
        return hook.real(wc);
    });
    const std::wstring name = L"Menu class " + harness::NonAsciiText();
    const std::wstring menu = L"Menu " + harness::NonAsciiText();
    {
        harness::HeapLog log;
        ASSERT_NE(Register(ClassRecord(name.c_str(), menu.c_str())), 0);
        // The menu name is converted first and freed last.
        EXPECT_EQ(log.allocationSizes(), (std::vector<SIZE_T>{harness::ToAnsi(menu).size() + 1,
                                                              harness::ToAnsi(name).size() + 1}));
        EXPECT_TRUE(log.freedInReverseOrder());
    }
    EXPECT_EQ(sizeSeen, sizeof(WNDCLASSEXA));
    EXPECT_EQ(menuSeen, harness::ToAnsi(menu));
    EXPECT_EQ(classSeen, harness::ToAnsi(name));

    ASSERT_NE(Register(ClassRecord(L"Numbered menu", MAKEINTRESOURCEW(7))), 0);
    EXPECT_EQ(menuValue, MAKEINTRESOURCEA(7));

    // An atom as the class name is passed on; the system decides what it means.
    WNDCLASSEXW byAtom = ClassRecord(MAKEINTATOM(0xBEEF));
    if (ATOM atom = RegisterClassExW(&byAtom))
        UnregisterClassW(MAKEINTATOM(atom), Instance());
    EXPECT_EQ(classValue, MAKEINTRESOURCEA(0xBEEF));
}

// The ANSI platforms know one record size only, and report others with an error of
// their own; the names do not come back from a lookup.
TEST_F(ClassesTest, RecordSizeAndNamesOnTheAnsiPath)
{
    if (!harness::AnsiPath())
        GTEST_SKIP() << "the W path leaves the record to the system";
    WNDCLASSEXW wc = ClassRecord(L"Sized class", MAKEINTRESOURCEW(3));
    wc.cbSize = 40;
    SetLastError(0);
    EXPECT_EQ(RegisterClassExW(&wc), 0);
    EXPECT_EQ(GetLastError(), DWORD(ERROR_OUT_OF_STRUCTURES));
    SetLastError(0);
    EXPECT_EQ(RegisterClassExW(nullptr), 0);
    EXPECT_EQ(GetLastError(), DWORD(ERROR_OUT_OF_STRUCTURES));

    wc.cbSize = sizeof wc;
    ASSERT_NE(Register(wc), 0);
    WNDCLASSEXW info;
    info.cbSize = sizeof info + 4;
    SetLastError(0);
    EXPECT_FALSE(GetClassInfoExW(Instance(), L"Sized class", &info));
    EXPECT_EQ(GetLastError(), DWORD(ERROR_OUT_OF_STRUCTURES));

    info.cbSize = sizeof info;
    info.lpszMenuName = info.lpszClassName = L"untouched";
    ASSERT_TRUE(GetClassInfoExW(Instance(), L"Sized class", &info));
    EXPECT_EQ(info.lpszMenuName, nullptr) << "even though the class has a menu name";
    EXPECT_EQ(info.lpszClassName, nullptr);
    EXPECT_EQ(info.lpfnWndProc, PlainProc);

    // A failed lookup still copies the record's fields, as the A function left them.
    info.lpszClassName = L"untouched";
    EXPECT_FALSE(GetClassInfoExW(Instance(), L"No such class", &info));
    EXPECT_EQ(info.lpszClassName, nullptr);
    EXPECT_EQ(info.cbSize, sizeof info);
}

// No room for a name: answered at once, the buffer untouched.
TEST_F(ClassesTest, ClassNameIntoSmallBuffers)
{
    TestWindow window;
    WCHAR buf[8] = {L'#', L'#', L'#', L'#', L'#', L'#', L'#', L'#'};
    if (harness::AnsiPath()) {
        GetClassNameW(window.hwnd, buf, 8);  // binds GetClassNameA before the hook
        buf[0] = L'#';
        TW_HOOK(hook, GetClassNameA, [&](HWND h, LPSTR b, int n) { return hook.real(h, b, n); });
        SetLastError(1234);
        EXPECT_EQ(GetClassNameW(window.hwnd, buf, 1), 0);
        EXPECT_EQ(GetClassNameW(window.hwnd, buf, 0), 0);
        EXPECT_EQ(hook.calls, 0);
        EXPECT_EQ(buf[0], L'#');
        EXPECT_EQ(GetLastError(), 1234u);
    }
    // Cut by the A function on a single-byte code page; on a double-byte one the
    // bytes it copies may be more characters than the buffer holds.
    int n = GetClassNameW(window.hwnd, buf, 5);
    if (harness::AnsiPath() && harness::CodePage() == 932) {
        EXPECT_EQ(n, 0);
    } else {
        EXPECT_EQ(n, 4);
        EXPECT_EQ(std::wstring(buf), L"Torw");
    }
}

TEST_F(ClassesTest, NamesReachTheAFunctionsConverted)
{
    if (!harness::AnsiPath())
        GTEST_SKIP() << "the W path passes the names through";
    const std::wstring name = L"Torwen " + harness::NonAsciiText();
    std::string seen;
    RegisterWindowMessageW(L"Bound first");  // the hooks replace what torwen has bound
    RegisterClipboardFormatW(L"Bound first");
    TW_HOOK(message, RegisterWindowMessageA, [&](LPCSTR s) {
        seen = s;
        return message.real(s);
    });
    UINT msg = RegisterWindowMessageW(name.c_str());
    EXPECT_GE(msg, 0xC000u);
    EXPECT_EQ(seen, harness::ToAnsi(name));
    EXPECT_EQ(RegisterWindowMessageW(name.c_str()), msg);

    TW_HOOK(format, RegisterClipboardFormatA, [&](LPCSTR s) {
        seen = s;
        return format.real(s);
    });
    UINT cf = RegisterClipboardFormatW(name.c_str());
    EXPECT_GE(cf, 0xC000u);
    EXPECT_EQ(seen, harness::ToAnsi(name));
    char back[64];
    ASSERT_GT(GetClipboardFormatNameA(cf, back, 64), 0);
    EXPECT_EQ(std::string(back), harness::ToAnsi(name));
}

TEST_F(ClassesTest, RegisteredNamesAgreeBetweenWideAndAnsiCallers)
{
    const std::wstring name = L"Torwen message " + harness::NonAsciiText();
    UINT msg = RegisterWindowMessageW(name.c_str());
    ASSERT_NE(msg, 0u);
    EXPECT_EQ(RegisterWindowMessageA(harness::ToAnsi(name).c_str()), msg);
    UINT cf = RegisterClipboardFormatW(name.c_str());
    ASSERT_NE(cf, 0u);
    EXPECT_EQ(RegisterClipboardFormatA(harness::ToAnsi(name).c_str()), cf);
}

// Members that keep the A call's error leave 0 when the failure came before it; the
// others leave the allocator's 14.
TEST_F(ClassesTest, AllocationFailures)
{
    if (!harness::AnsiPath())
        GTEST_SKIP() << "the W path allocates nothing";
    const std::wstring name = L"Swept " + harness::NonAsciiText();
    WNDCLASSEXW wc = ClassRecord(name.c_str(), L"Menu");
    auto failed = [](int k) { return harness::HeapAllocCalls() >= k; };
    EXPECT_EQ(harness::SweepAllocationFailures([&](int k) {
        SetLastError(1234);
        ATOM atom = RegisterClassExW(&wc);
        if (!failed(k)) {
            EXPECT_NE(atom, 0);
            return;
        }
        EXPECT_EQ(atom, 0);
        EXPECT_EQ(GetLastError(), 0u);
    }), 2);
    registered.push_back(name);

    TestWindow window;
    WCHAR buf[64];
    EXPECT_EQ(harness::SweepAllocationFailures([&](int k) {
        SetLastError(1234);
        int n = GetClassNameW(window.hwnd, buf, 64);
        if (failed(k)) {
            EXPECT_EQ(n, 0);
            EXPECT_EQ(GetLastError(), 0u);
        }
    }), 1);

    harness::SweepAllocationFailures([&](int k) {
        SetLastError(1234);
        UINT msg = RegisterWindowMessageW(name.c_str());
        if (failed(k)) {
            EXPECT_EQ(msg, 0u);
            EXPECT_EQ(GetLastError(), DWORD(ERROR_OUTOFMEMORY)) << "this member keeps no error";
        }
    });
    harness::SweepAllocationFailures([&](int k) {
        SetLastError(1234);
        UINT cf = RegisterClipboardFormatW(name.c_str());
        if (failed(k)) {
            EXPECT_EQ(cf, 0u);
            EXPECT_EQ(GetLastError(), 0u);
        }
    });
}

}  // namespace
