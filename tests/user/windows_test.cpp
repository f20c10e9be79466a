// Window classes and windows, and the monitor functions with the system's present.
#include <cstring>

#include "torwen.h"
#include "user/test_window.h"

namespace {

HINSTANCE Self()
{
    return GetModuleHandleW(nullptr);
}

WNDCLASSEXW ClassRecord(LPCWSTR name, LPCWSTR menu)
{
    return {sizeof(WNDCLASSEXW), CS_DBLCLKS, DefWindowProcW, 0, 0, Self(), 0, 0, 0, menu, name, 0};
}

class WindowsTest : public harness::TorwenTest {};

// A class is found by its name and by its atom. On the ANSI path a lookup hands back no
// names, and a failed one a cleared record.
TEST_F(WindowsTest, Classes)
{
    const std::wstring name = L"Class " + harness::NonAsciiText();
    const std::wstring menu = L"Menu " + harness::NonAsciiText();
    WNDCLASSEXW wc = ClassRecord(name.c_str(), menu.c_str());
    ATOM atom = RegisterClassExW(&wc);
    ASSERT_NE(atom, 0);
    HWND hwnd = CreateWindowExW(0, MAKEINTATOM(atom), L"By atom", 0, 0, 0, 10, 10, nullptr,
                                nullptr, Self(), nullptr);
    WCHAR buf[64];
    EXPECT_EQ(GetClassNameW(hwnd, buf, 64), int(name.size()));
    EXPECT_EQ(std::wstring(buf), name);
    DestroyWindow(hwnd);
    WNDCLASSEXA infoA = {sizeof infoA, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0};
    ASSERT_TRUE(GetClassInfoExA(Self(), harness::ToAnsi(name).c_str(), &infoA));
    EXPECT_EQ(std::string(infoA.lpszMenuName), harness::ToAnsi(menu));

    WNDCLASSEXW info = {sizeof info, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0};
    ASSERT_TRUE(GetClassInfoExW(Self(), name.c_str(), &info));
    EXPECT_EQ(info.lpfnWndProc, DefWindowProcW) << "no procedure is wrapped";
    EXPECT_TRUE(UnregisterClassW(MAKEINTATOM(atom), Self()));
    if (!harness::AnsiPath())
        return;
    EXPECT_TRUE(!info.lpszMenuName && !info.lpszClassName);
    EXPECT_FALSE(GetClassInfoExW(Self(), name.c_str(), &info));
    EXPECT_TRUE(!info.lpfnWndProc && !info.style);
}

// The ANSI platforms know one record size only, and name a wrong one with an error of
// their own. A buffer with no room for a name is answered at once, the buffer and the
// error untouched.
TEST_F(WindowsTest, RecordSizesAndShortCutsOfTheAnsiPath)
{
    if (!harness::AnsiPath())
        GTEST_SKIP() << "the W path leaves these to the system";
    WNDCLASSEXW wc = ClassRecord(L"Sized", nullptr);
    wc.cbSize = 40;
    SetLastError(0);
    EXPECT_EQ(RegisterClassExW(&wc), 0);
    EXPECT_EQ(GetLastError(), DWORD(ERROR_OUT_OF_STRUCTURES));

    TestWindow window;
    WCHAR buf[4] = L"#";
    SetLastError(1234);
    EXPECT_EQ(GetClassNameW(window.hwnd, buf, 1) + GetClassNameW(window.hwnd, buf, 0), 0);
    EXPECT_EQ(GetWindowTextW(window.hwnd, buf, 0), 0);
    EXPECT_EQ(buf[0], L'#');
    EXPECT_EQ(GetLastError(), 1234u);
}

// Windows of classes registered through torwen are ANSI windows on the ANSI path.
TEST_F(WindowsTest, WindowText)
{
    const std::wstring title = L"Title " + harness::NonAsciiText();
    TestWindow window(title.c_str());
    EXPECT_EQ(IsWindowUnicode(window.hwnd), !harness::AnsiPath());
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
    ASSERT_TRUE(SetWindowTextW(window.hwnd, nullptr));
    EXPECT_EQ(GetWindowTextW(window.hwnd, buf, 1), 0);
    EXPECT_EQ(buf[0], L'\0');
}

template <typename Fn>
Fn SystemFunction(const char* name)
{
    return reinterpret_cast<Fn>(
        reinterpret_cast<void*>(GetProcAddress(GetModuleHandleA("user32.dll"), name)));
}

BOOL CALLBACK Count(HMONITOR, HDC, LPRECT, LPARAM calls)
{
    ++*reinterpret_cast<int*>(calls);
    return TRUE;
}

// The monitor functions answer as the system's, looked up once and not again.
TEST_F(WindowsTest, MonitorsAnswerAsTheSystem)
{
    xGetSystemMetrics(SM_CMONITORS);
    int lookups = 0;
    TW_HOOK(hook, GetProcAddress, [&](HMODULE m, LPCSTR name) {
        lookups += !IS_INTRESOURCE(name) && strstr(name, "Monitor");
        return hook.real(m, name);
    });
    auto fromPoint = SystemFunction<decltype(&MonitorFromPoint)>("MonitorFromPoint");
    auto metrics = SystemFunction<decltype(&GetSystemMetrics)>("GetSystemMetrics");
    EXPECT_EQ(xGetSystemMetrics(SM_CMONITORS), metrics(SM_CMONITORS));
    for (POINT pt : {POINT{0, 0}, POINT{-5000, 0}})
        for (DWORD flags : {0, 1, 2})
            EXPECT_EQ(xMonitorFromPoint(pt, flags), fromPoint(pt, flags)) << pt.x << " " << flags;
    RECT r = {10, 10, 20, 20};
    EXPECT_EQ(xMonitorFromRect(&r, 0), fromPoint({10, 10}, 0));
    TestWindow window;
    EXPECT_TRUE(xMonitorFromWindow(window.hwnd, MONITOR_DEFAULTTOPRIMARY));
    int calls = 0;
    EXPECT_TRUE(xEnumDisplayMonitors(nullptr, nullptr, Count, reinterpret_cast<LPARAM>(&calls)));
    EXPECT_EQ(calls, metrics(SM_CMONITORS));
    EXPECT_EQ(lookups, 0);
}

// The device name converted into the wide record; on the ANSI path the record's size
// reads as the ANSI record's, and a record below 40 bytes is refused with error 0.
TEST_F(WindowsTest, MonitorInfo)
{
    HMONITOR monitor = xMonitorFromPoint({0, 0}, MONITOR_DEFAULTTOPRIMARY);
    MONITORINFOEXW expected = {}, info = {};
    expected.cbSize = info.cbSize = sizeof info;
    ASSERT_TRUE(SystemFunction<decltype(&GetMonitorInfoW)>("GetMonitorInfoW")(monitor, &expected));
    ASSERT_TRUE(xGetMonitorInfo(monitor, &info));
    EXPECT_STREQ(info.szDevice, expected.szDevice);
    EXPECT_TRUE(EqualRect(&info.rcWork, &expected.rcWork));
    EXPECT_EQ(info.cbSize, harness::AnsiPath() ? 72u : sizeof info);
    if (!harness::AnsiPath())
        return;
    DWORD sizeSeen = 0;
    TW_HOOK(hook, GetMonitorInfoA, [&](HMONITOR m, LPMONITORINFO a) {
        sizeSeen = a->cbSize;
        return hook.real(m, a);
    });
    info.cbSize = 103;  // below the wide record: the short ANSI record
    ASSERT_TRUE(xGetMonitorInfo(monitor, &info));
    EXPECT_EQ(sizeSeen, 40u);
    EXPECT_EQ(info.cbSize, 40u);
    struct { MONITORINFO mi; DWORD canary; } small = {{39, {}, {}, 0}, 0xC0FFEE};
    SetLastError(1234);
    EXPECT_FALSE(xGetMonitorInfo(monitor, &small.mi));
    EXPECT_EQ(GetLastError(), 0u);
    EXPECT_EQ(small.canary, 0xC0FFEEu);
}

}  // namespace
