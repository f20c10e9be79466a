// The multiple-monitor functions with the system's monitor functions present: they
// answer as the system does, and the wide record is bridged on the ANSI path.
#include <cstring>

#include "torwen.h"
#include "user/test_window.h"

namespace {

class MonitorsTest : public harness::TorwenTest {};

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

// The look-ups run on the first call only.
TEST_F(MonitorsTest, LooksUpOnceAndAnswersAsTheSystem)
{
    int lookups = 0;
    {
        TW_HOOK(hook, GetProcAddress, [&](HMODULE m, LPCSTR name) {
            lookups += !IS_INTRESOURCE(name) && strstr(name, "Monitor");
            return hook.real(m, name);
        });
        xGetSystemMetrics(SM_CMONITORS);
        xMonitorFromPoint({0, 0}, 0);
    }
    EXPECT_EQ(lookups, 5) << "four monitor functions and one GetMonitorInfo";

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
}

// The device name converted into the wide record; on the ANSI path the record's size
// reads as the ANSI record's, and a record below 40 bytes is refused with error 0.
TEST_F(MonitorsTest, MonitorInfo)
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
    struct { MONITORINFO mi; DWORD canary; } small = {};
    small.mi.cbSize = 39;
    small.canary = 0xC0FFEE;
    SetLastError(1234);
    EXPECT_FALSE(xGetMonitorInfo(monitor, &small.mi));
    EXPECT_EQ(GetLastError(), 0u);
    EXPECT_EQ(small.canary, 0xC0FFEEu);
}

}  // namespace
