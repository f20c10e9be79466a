// Window procedures and messages. Every member passes the caller's arguments to
// the A function untouched: see AtForward.
#include "core/core.h"
#include "user/user.h"

AT_SYSTEM_FUNCTION(user32, CallWindowProcW, 0)
AT_SYSTEM_FUNCTION(user32, CallWindowProcA, 0)
AT_SYSTEM_FUNCTION(user32, DefWindowProcW, 0)
AT_SYSTEM_FUNCTION(user32, DefWindowProcA, 0)
AT_SYSTEM_FUNCTION(user32, DefDlgProcW, 0)
AT_SYSTEM_FUNCTION(user32, DefDlgProcA, 0)
AT_SYSTEM_FUNCTION(user32, DefFrameProcW, 0)
AT_SYSTEM_FUNCTION(user32, DefFrameProcA, 0)
AT_SYSTEM_FUNCTION(user32, DefMDIChildProcW, 0)
AT_SYSTEM_FUNCTION(user32, DefMDIChildProcA, 0)
AT_SYSTEM_FUNCTION(user32, SendMessageW, 0)
AT_SYSTEM_FUNCTION(user32, SendMessageA, 0)
AT_SYSTEM_FUNCTION(user32, SendMessageCallbackW, FALSE)
AT_SYSTEM_FUNCTION(user32, SendMessageCallbackA, FALSE)
AT_SYSTEM_FUNCTION(user32, SendMessageTimeoutW, 0)
AT_SYSTEM_FUNCTION(user32, SendMessageTimeoutA, 0)
AT_SYSTEM_FUNCTION(user32, SendNotifyMessageW, FALSE)
AT_SYSTEM_FUNCTION(user32, SendNotifyMessageA, FALSE)
AT_SYSTEM_FUNCTION(user32, SendDlgItemMessageW, 0)
AT_SYSTEM_FUNCTION(user32, SendDlgItemMessageA, 0)
AT_SYSTEM_FUNCTION(user32, PostMessageW, FALSE)
AT_SYSTEM_FUNCTION(user32, PostMessageA, FALSE)
AT_SYSTEM_FUNCTION(user32, PostThreadMessageW, FALSE)
AT_SYSTEM_FUNCTION(user32, PostThreadMessageA, FALSE)
AT_SYSTEM_FUNCTION(user32, GetMessageW, -1)
AT_SYSTEM_FUNCTION(user32, GetMessageA, -1)
AT_SYSTEM_FUNCTION(user32, PeekMessageW, FALSE)
AT_SYSTEM_FUNCTION(user32, PeekMessageA, FALSE)
AT_SYSTEM_FUNCTION(user32, DispatchMessageW, 0)
AT_SYSTEM_FUNCTION(user32, DispatchMessageA, 0)
AT_SYSTEM_FUNCTION(user32, IsDialogMessageW, FALSE)
AT_SYSTEM_FUNCTION(user32, IsDialogMessageA, FALSE)
AT_SYSTEM_FUNCTION(user32, TranslateAcceleratorW, 0)
AT_SYSTEM_FUNCTION(user32, TranslateAcceleratorA, 0)
AT_SYSTEM_FUNCTION(user32, CallMsgFilterW, FALSE)
AT_SYSTEM_FUNCTION(user32, CallMsgFilterA, FALSE)
AT_SYSTEM_FUNCTION(user32, SetWindowsHookExW, 0)
AT_SYSTEM_FUNCTION(user32, SetWindowsHookExA, 0)

LRESULT WINAPI CallWindowProcW(WNDPROC proc, HWND hwnd, UINT msg, WPARAM wParam, LPARAM lParam)
{
    return AtExport(Sys::CallWindowProcW, proc, hwnd, msg, wParam, lParam)
        .orAnsiUnconverted(Sys::CallWindowProcA);
}

LRESULT WINAPI DefWindowProcW(HWND hwnd, UINT msg, WPARAM wParam, LPARAM lParam)
{
    return AtExport(Sys::DefWindowProcW, hwnd, msg, wParam, lParam)
        .orAnsiUnconverted(Sys::DefWindowProcA);
}

LRESULT WINAPI DefDlgProcW(HWND hwnd, UINT msg, WPARAM wParam, LPARAM lParam)
{
    return AtExport(Sys::DefDlgProcW, hwnd, msg, wParam, lParam)
        .orAnsiUnconverted(Sys::DefDlgProcA);
}

LRESULT WINAPI DefFrameProcW(HWND hwnd, HWND client, UINT msg, WPARAM wParam, LPARAM lParam)
{
    return AtExport(Sys::DefFrameProcW, hwnd, client, msg, wParam, lParam)
        .orAnsiUnconverted(Sys::DefFrameProcA);
}

LRESULT WINAPI DefMDIChildProcW(HWND hwnd, UINT msg, WPARAM wParam, LPARAM lParam)
{
    return AtExport(Sys::DefMDIChildProcW, hwnd, msg, wParam, lParam)
        .orAnsiUnconverted(Sys::DefMDIChildProcA);
}

LRESULT WINAPI SendMessageW(HWND hwnd, UINT msg, WPARAM wParam, LPARAM lParam)
{
    return AtExport(Sys::SendMessageW, hwnd, msg, wParam, lParam)
        .orAnsiUnconverted(Sys::SendMessageA);
}

BOOL WINAPI SendMessageCallbackW(HWND hwnd, UINT msg, WPARAM wParam, LPARAM lParam,
                                 SENDASYNCPROC callback, ULONG_PTR data)
{
    return AtExport(Sys::SendMessageCallbackW, hwnd, msg, wParam, lParam, callback, data)
        .orAnsiUnconverted(Sys::SendMessageCallbackA);
}

LRESULT WINAPI SendMessageTimeoutW(HWND hwnd, UINT msg, WPARAM wParam, LPARAM lParam, UINT flags,
                                   UINT timeout, PDWORD_PTR result)
{
    return AtExport(Sys::SendMessageTimeoutW, hwnd, msg, wParam, lParam, flags, timeout, result)
        .orAnsiUnconverted(Sys::SendMessageTimeoutA);
}

BOOL WINAPI SendNotifyMessageW(HWND hwnd, UINT msg, WPARAM wParam, LPARAM lParam)
{
    return AtExport(Sys::SendNotifyMessageW, hwnd, msg, wParam, lParam)
        .orAnsiUnconverted(Sys::SendNotifyMessageA);
}

LRESULT WINAPI SendDlgItemMessageW(HWND dialog, int item, UINT msg, WPARAM wParam, LPARAM lParam)
{
    return AtExport(Sys::SendDlgItemMessageW, dialog, item, msg, wParam, lParam)
        .orAnsiUnconverted(Sys::SendDlgItemMessageA);
}

BOOL WINAPI PostMessageW(HWND hwnd, UINT msg, WPARAM wParam, LPARAM lParam)
{
    return AtExport(Sys::PostMessageW, hwnd, msg, wParam, lParam)
        .orAnsiUnconverted(Sys::PostMessageA);
}

BOOL WINAPI PostThreadMessageW(DWORD thread, UINT msg, WPARAM wParam, LPARAM lParam)
{
    return AtExport(Sys::PostThreadMessageW, thread, msg, wParam, lParam)
        .orAnsiUnconverted(Sys::PostThreadMessageA);
}

BOOL WINAPI GetMessageW(LPMSG msg, HWND hwnd, UINT first, UINT last)
{
    return AtExport(Sys::GetMessageW, msg, hwnd, first, last).orAnsiUnconverted(Sys::GetMessageA);
}

BOOL WINAPI PeekMessageW(LPMSG msg, HWND hwnd, UINT first, UINT last, UINT remove)
{
    return AtExport(Sys::PeekMessageW, msg, hwnd, first, last, remove)
        .orAnsiUnconverted(Sys::PeekMessageA);
}

LRESULT WINAPI DispatchMessageW(const MSG* msg)
{
    return AtExport(Sys::DispatchMessageW, msg).orAnsiUnconverted(Sys::DispatchMessageA);
}

BOOL WINAPI IsDialogMessageW(HWND dialog, LPMSG msg)
{
    return AtExport(Sys::IsDialogMessageW, dialog, msg).orAnsiUnconverted(Sys::IsDialogMessageA);
}

int WINAPI TranslateAcceleratorW(HWND hwnd, HACCEL table, LPMSG msg)
{
    return AtExport(Sys::TranslateAcceleratorW, hwnd, table, msg)
        .orAnsiUnconverted(Sys::TranslateAcceleratorA);
}

BOOL WINAPI CallMsgFilterW(LPMSG msg, int code)
{
    return AtExport(Sys::CallMsgFilterW, msg, code).orAnsiUnconverted(Sys::CallMsgFilterA);
}

// The hook procedure is installed as it is: on the ANSI path it sees ANSI messages.
HHOOK WINAPI SetWindowsHookExW(int id, HOOKPROC proc, HINSTANCE module, DWORD thread)
{
    return AtExport(Sys::SetWindowsHookExW, id, proc, module, thread)
        .orAnsiUnconverted(Sys::SetWindowsHookExA);
}
