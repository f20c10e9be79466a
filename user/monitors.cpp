// Multiple-monitor functions on every platform: the system's own where its user
// library has them, otherwise answers for one monitor, the primary display, whose
// area is the whole screen.
#include "core/core.h"
#include "torwen.h"

AT_SYSTEM_FUNCTION(user32, GetSystemMetrics, 0)
AT_SYSTEM_FUNCTION(user32, SystemParametersInfoA, FALSE)
AT_SYSTEM_FUNCTION(user32, IsIconic, FALSE)
AT_SYSTEM_FUNCTION(user32, GetWindowPlacement, FALSE)
AT_SYSTEM_FUNCTION(user32, GetWindowRect, FALSE)
AT_SYSTEM_FUNCTION(user32, IntersectRect, FALSE)
AT_SYSTEM_FUNCTION(user32, OffsetRect, FALSE)
AT_SYSTEM_FUNCTION(gdi32, GetClipBox, ERROR)
AT_SYSTEM_FUNCTION(gdi32, GetDCOrgEx, FALSE)

namespace
{

// The one monitor of a system without monitor functions.
const HMONITOR PrimaryMonitor = reinterpret_cast<HMONITOR>(0x12340042);
constexpr DWORD MonitorInfoSize = sizeof(MONITORINFO); // 40
constexpr DWORD MonitorInfoExSizeA = sizeof(MONITORINFOEXA); // 72
constexpr DWORD MonitorInfoExSizeW = sizeof(MONITORINFOEXW); // 104

// Written once, by the first call of any of the functions. Two threads making that
// call together store the same values.
struct MultiMonitorFunctions {
    int(WINAPI* getSystemMetrics)(int);
    HMONITOR(WINAPI* monitorFromWindow)(HWND, DWORD);
    HMONITOR(WINAPI* monitorFromRect)(LPCRECT, DWORD);
    HMONITOR(WINAPI* monitorFromPoint)(POINT, DWORD);
    BOOL(WINAPI* getMonitorInfo)(HMONITOR, LPMONITORINFO);
    BOOL(WINAPI* enumDisplayMonitors)(HDC, LPCRECT, MONITORENUMPROC, LPARAM);
};
MultiMonitorFunctions AtMultiMon;
volatile LONG AtMultiMonInitDone = 0;

template <typename Fn> bool Find(HMODULE user32, const char* name, Fn& fn)
{
    fn = reinterpret_cast<Fn>(reinterpret_cast<void*>(GetProcAddress(user32, name)));
    return fn != nullptr;
}

// Whether the system's monitor functions are there. The look-ups run on the first
// call only, also when they fail.
bool AtInitMultipleMonitors()
{
    if (AtMultiMonInitDone)
        return AtMultiMon.getMonitorInfo != nullptr;
    HMODULE user32 = GetModuleHandleA("USER32");
    MultiMonitorFunctions& f = AtMultiMon;
    if (user32 && Find(user32, "GetSystemMetrics", f.getSystemMetrics)
        && Find(user32, "MonitorFromWindow", f.monitorFromWindow)
        && Find(user32, "MonitorFromRect", f.monitorFromRect)
        && Find(user32, "MonitorFromPoint", f.monitorFromPoint)
        && Find(user32, "EnumDisplayMonitors", f.enumDisplayMonitors)) {
        // The wide function where the platform has it; the ANSI one is bridged.
        if ((AtModuleState.AtIsUnicodePlatform && Find(user32, "GetMonitorInfoW", f.getMonitorInfo))
            || Find(user32, "GetMonitorInfoA", f.getMonitorInfo)) {
            AtMultiMonInitDone = 1;
            return true;
        }
    }
    f = {};
    AtMultiMonInitDone = 1;
    return false;
}

int ScreenWidth()
{
    return Sys::GetSystemMetrics(SM_CXSCREEN);
}

int ScreenHeight()
{
    return Sys::GetSystemMetrics(SM_CYSCREEN);
}

bool EitherDefault(DWORD flags)
{
    return flags & (MONITOR_DEFAULTTOPRIMARY | MONITOR_DEFAULTTONEAREST);
}

// The wide record through the ANSI function: its first 40 bytes as they come, the
// device name converted.
BOOL MonitorInfoFromAnsi(HMONITOR monitor, LPMONITORINFO info)
{
    return AtAnsiFrame<BOOL>(FALSE, [=](AtSavedError& err) {
        MONITORINFOEXA a = {};
        if (info->cbSize < MonitorInfoSize)
            return FALSE;  // with last error 0
        a.cbSize = info->cbSize < MonitorInfoExSizeW ? MonitorInfoSize : MonitorInfoExSizeA;
        BOOL ok = err.keep(AtMultiMon.getMonitorInfo(monitor, &a));
        if (ok) {
            memcpy(info, &a, MonitorInfoSize);
            if (a.cbSize >= MonitorInfoExSizeA)
                MultiByteToWideChar(CP_ACP, 0, a.szDevice, -1,
                    reinterpret_cast<MONITORINFOEXW*>(info)->szDevice, CCHDEVICENAME);
        }
        return ok;
    });
}

} // namespace

int WINAPI xGetSystemMetrics(int index)
{
    if (AtInitMultipleMonitors())
        return AtMultiMon.getSystemMetrics(index);
    switch (index) {
    case SM_XVIRTUALSCREEN:
    case SM_YVIRTUALSCREEN:
        return 0;
    case SM_CXVIRTUALSCREEN:
        return ScreenWidth();
    case SM_CYVIRTUALSCREEN:
        return ScreenHeight();
    case SM_CMONITORS:
    case SM_SAMEDISPLAYFORMAT:
        return 1;
    default:
        return Sys::GetSystemMetrics(index);
    }
}

HMONITOR WINAPI xMonitorFromPoint(POINT pt, DWORD flags)
{
    if (AtInitMultipleMonitors())
        return AtMultiMon.monitorFromPoint(pt, flags);
    if (EitherDefault(flags))
        return PrimaryMonitor;
    if (pt.x < 0 || pt.x >= ScreenWidth() || pt.y < 0 || pt.y >= ScreenHeight())
        return nullptr;
    return PrimaryMonitor;
}

HMONITOR WINAPI xMonitorFromRect(LPCRECT rect, DWORD flags)
{
    if (AtInitMultipleMonitors())
        return AtMultiMon.monitorFromRect(rect, flags);
    if (EitherDefault(flags))
        return PrimaryMonitor;
    if (rect->right < 1 || rect->bottom < 1 || rect->left >= ScreenWidth()
        || rect->top >= ScreenHeight())
        return nullptr;
    return PrimaryMonitor;
}

// A minimized window is placed by where it would be restored to.
HMONITOR WINAPI xMonitorFromWindow(HWND hwnd, DWORD flags)
{
    if (AtInitMultipleMonitors())
        return AtMultiMon.monitorFromWindow(hwnd, flags);
    if (EitherDefault(flags))
        return PrimaryMonitor;
    WINDOWPLACEMENT placement;
    placement.length = sizeof placement;
    RECT rect;
    BOOL found;
    if (Sys::IsIconic(hwnd)) {
        found = Sys::GetWindowPlacement(hwnd, &placement);
        rect = placement.rcNormalPosition;
    } else {
        found = Sys::GetWindowRect(hwnd, &rect);
    }
    return found ? xMonitorFromRect(&rect, flags) : nullptr;
}

// Without monitor functions the one monitor is called back when the screen, seen
// through the device context and the clip rectangle, is not empty.
BOOL WINAPI xEnumDisplayMonitors(HDC dc, LPCRECT clip, MONITORENUMPROC fn, LPARAM data)
{
    if (AtInitMultipleMonitors())
        return AtMultiMon.enumDisplayMonitors(dc, clip, fn, data);
    if (!fn)
        return FALSE;
    RECT screen = { 0, 0, ScreenWidth(), ScreenHeight() };
    RECT common;
    if (dc) {
        RECT box;
        switch (Sys::GetClipBox(dc, &box)) {
        case ERROR:
            return FALSE;
        case NULLREGION:
            return TRUE;
        }
        POINT origin;
        if (!Sys::GetDCOrgEx(dc, &origin))
            return FALSE;
        Sys::OffsetRect(&screen, -origin.x, -origin.y);
        if (!Sys::IntersectRect(&common, &screen, &box))
            return TRUE;
    }
    if (clip && !Sys::IntersectRect(&common, &screen, clip))
        return TRUE;
    return fn(PrimaryMonitor, dc, &screen, data);
}

// Without monitor functions the record of the one monitor is filled as the ANSI
// record would be: the device name "DISPLAY" in ANSI bytes, for a record of at
// least the ANSI record's size.
BOOL WINAPI xGetMonitorInfo(HMONITOR monitor, LPMONITORINFO info)
{
    if (AtInitMultipleMonitors()) {
        if (AtModuleState.AtIsUnicodePlatform)
            return AtMultiMon.getMonitorInfo(monitor, info);
        return MonitorInfoFromAnsi(monitor, info);
    }
    RECT work;
    if (monitor != PrimaryMonitor || !info || info->cbSize < MonitorInfoSize
        || !Sys::SystemParametersInfoA(SPI_GETWORKAREA, 0, &work, 0))
        return FALSE;
    info->rcMonitor = { 0, 0, ScreenWidth(), ScreenHeight() };
    info->rcWork = work;
    info->dwFlags = MONITORINFOF_PRIMARY;
    if (info->cbSize >= MonitorInfoExSizeA)
        lstrcpyA(
            reinterpret_cast<LPSTR>(reinterpret_cast<MONITORINFOEXW*>(info)->szDevice), "DISPLAY");
    return TRUE;
}
