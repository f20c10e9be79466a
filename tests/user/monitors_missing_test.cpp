// Without the system's monitor functions (MonitorFromPoint made missing), every
// function answers for one monitor covering the screen.
#include <cstring>

#include "torwen.h"
#include "user/test_window.h"

namespace {

const HMONITOR Primary = reinterpret_cast<HMONITOR>(0x12340042);

class MonitorsMissingTest : public harness::TorwenTest {
protected:
    static void SetUpTestSuite() { harness::MakeMissing("MonitorFromPoint"); }

    const int width = GetSystemMetrics(SM_CXSCREEN), height = GetSystemMetrics(SM_CYSCREEN);
};

// The look-ups stop at the first missing function, and are not tried again.
TEST_F(MonitorsMissingTest, LooksUpOnce)
{
    int lookups = 0;
    TW_HOOK(hook, GetProcAddress, [&](HMODULE m, LPCSTR name) {
        lookups += !IS_INTRESOURCE(name) && strstr(name, "Monitor");
        return hook.real(m, name);
    });
    EXPECT_EQ(xGetSystemMetrics(SM_CMONITORS), 1);
    EXPECT_EQ(lookups, 3) << "MonitorFromWindow, MonitorFromRect, then the missing one";
    xMonitorFromPoint({0, 0}, 0);
    EXPECT_EQ(lookups, 3);
}

TEST_F(MonitorsMissingTest, MetricsPointsRectanglesAndWindows)
{
    const int metrics[][2] = {{SM_XVIRTUALSCREEN, 0}, {SM_YVIRTUALSCREEN, 0},
                              {SM_CXVIRTUALSCREEN, width}, {SM_CYVIRTUALSCREEN, height},
                              {SM_CMONITORS, 1}, {SM_SAMEDISPLAYFORMAT, 1}, {SM_CXSCREEN, width}};
    for (const auto& m : metrics)
        EXPECT_EQ(xGetSystemMetrics(m[0]), m[1]) << m[0];
    const struct { POINT pt; DWORD flags; HMONITOR expected; } points[] = {
        {{0, 0}, 0, Primary}, {{-1, 0}, 0, nullptr}, {{-1, 0}, MONITOR_DEFAULTTONEAREST, Primary},
        {{-1, 0}, MONITOR_DEFAULTTOPRIMARY, Primary}, {{width, 0}, 0, nullptr},
        {{0, height}, 0, nullptr}, {{width - 1, height - 1}, 0, Primary}};
    for (const auto& p : points)
        EXPECT_EQ(xMonitorFromPoint(p.pt, p.flags), p.expected) << p.pt.x << "," << p.pt.y;
    const struct { RECT rect; DWORD flags; HMONITOR expected; } rects[] = {
        {{0, 0, 0, 0}, 0, nullptr}, {{0, 0, 0, 0}, MONITOR_DEFAULTTONEAREST, Primary},
        {{-10, -10, 1, 1}, 0, Primary}, {{width, 0, width + 5, 5}, 0, nullptr},
        {{0, height, 5, height + 5}, 0, nullptr}};
    for (const auto& r : rects)
        EXPECT_EQ(xMonitorFromRect(&r.rect, r.flags), r.expected) << r.rect.left;
    TestWindow window;
    EXPECT_EQ(xMonitorFromWindow(window.hwnd, 0), Primary);
    SetWindowPos(window.hwnd, nullptr, -500, -500, 10, 10, SWP_NOZORDER);
    EXPECT_EQ(xMonitorFromWindow(window.hwnd, 0), nullptr);
    EXPECT_EQ(xMonitorFromWindow(window.hwnd, MONITOR_DEFAULTTONEAREST), Primary);
    EXPECT_EQ(xMonitorFromWindow(nullptr, 0), nullptr);
}

struct Seen {
    int calls = 0;
    HMONITOR monitor = nullptr;
    RECT rect = {};
};

BOOL CALLBACK Record(HMONITOR monitor, HDC, LPRECT rect, LPARAM data)
{
    Seen* seen = reinterpret_cast<Seen*>(data);
    ++seen->calls;
    seen->monitor = monitor;
    seen->rect = *rect;
    return 7;
}

// The one monitor is called back with the screen, unless the clip rectangle leaves
// nothing of it; the callback's answer is the answer.
TEST_F(MonitorsMissingTest, Enumeration)
{
    Seen seen;
    EXPECT_EQ(xEnumDisplayMonitors(nullptr, nullptr, Record, LPARAM(&seen)), 7);
    const RECT screen = {0, 0, width, height};
    EXPECT_TRUE(seen.calls == 1 && seen.monitor == Primary && EqualRect(&seen.rect, &screen));
    const RECT outside = {-20, -20, -10, -10};
    EXPECT_EQ(xEnumDisplayMonitors(nullptr, &outside, Record, LPARAM(&seen)), TRUE);
    EXPECT_EQ(xEnumDisplayMonitors(nullptr, nullptr, nullptr, 0), FALSE);
    HDC dc = GetDC(nullptr);
    EXPECT_EQ(xEnumDisplayMonitors(dc, nullptr, Record, LPARAM(&seen)), 7);
    ReleaseDC(nullptr, dc);
    EXPECT_EQ(seen.calls, 2);
}

// The primary display's record: the work area, and the device name as ANSI bytes in a
// record of 72 bytes or more; other handles and short records fail.
TEST_F(MonitorsMissingTest, MonitorInfo)
{
    MONITORINFOEXW info = {};
    info.cbSize = 72;
    ASSERT_TRUE(xGetMonitorInfo(Primary, &info));
    RECT work, screen = {0, 0, width, height};
    SystemParametersInfoA(SPI_GETWORKAREA, 0, &work, 0);
    EXPECT_TRUE(EqualRect(&info.rcWork, &work) && EqualRect(&info.rcMonitor, &screen));
    EXPECT_EQ(info.dwFlags, DWORD(MONITORINFOF_PRIMARY));
    EXPECT_STREQ(reinterpret_cast<const char*>(info.szDevice), "DISPLAY");
    MONITORINFOEXW plain = {};
    plain.cbSize = 71;
    ASSERT_TRUE(xGetMonitorInfo(Primary, &plain));
    EXPECT_EQ(plain.szDevice[0], 0);
    plain.cbSize = 39;
    EXPECT_FALSE(xGetMonitorInfo(Primary, &plain));
    EXPECT_FALSE(xGetMonitorInfo(reinterpret_cast<HMONITOR>(0x12340043), &info));
    EXPECT_FALSE(xGetMonitorInfo(Primary, nullptr));
}

}  // namespace
