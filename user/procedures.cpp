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
    return AtForward(Sys::CallWindowProcW, Sys::CallWindowProcA, proc, hwnd, msg, wParam, lParam);
}

LRESULT WINAPI DefWindowProcW(HWND hwnd, UINT msg, WPARAM wParam, LPARAM lParam)
{
    return AtForward(Sys::DefWindowProcW, Sys::DefWindowProcA, hwnd, msg, wParam, lParam);
}

LRESULT WINAPI DefDlgProcW(HWND hwnd, UINT msg, WPARAM wParam, LPARAM lParam)
{
    return AtForward(Sys::DefDlgProcW, Sys::DefDlgProcA, hwnd, msg, wParam, lParam);
}

LRESULT WINAPI DefFrameProcW(HWND hwnd, HWND client, UINT msg, WPARAM wParam, LPARAM lParam)
{
    return AtForward(Sys::DefFrameProcW, Sys::DefFrameProcA, hwnd, client, msg, wParam, lParam);
}

LRESULT WINAPI DefMDIChildProcW(HWND hwnd, UINT msg, WPARAM wParam, LPARAM lParam)
{
    return AtForward(Sys::DefMDIChildProcW, Sys::DefMDIChildProcA, hwnd, msg, wParam, lParam);
}

LRESULT WINAPI SendMessageW(HWND hwnd, UINT msg, WPARAM wParam, LPARAM lParam)
{
    return AtForward(Sys::SendMessageW, Sys::SendMessageA, hwnd, msg, wParam, lParam);
}

BOOL WINAPI SendMessageCallbackW(HWND hwnd, UINT msg, WPARAM wParam, LPARAM lParam,
                                 SENDASYNCPROC callback, ULONG_PTR data)
{
    return AtForward(Sys::SendMessageCallbackW, Sys::SendMessageCallbackA, hwnd, msg, wParam,
                     lParam, callback, data);
}

LRESULT WINAPI SendMessageTimeoutW(HWND hwnd, UINT msg, WPARAM wParam, LPARAM lParam, UINT flags,
                                   UINT timeout, PDWORD_PTR result)
{
    return AtForward(Sys::SendMessageTimeoutW, Sys::SendMessageTimeoutA, hwnd, msg, wParam, lParam,
                     flags, timeout, result);
}

BOOL WINAPI SendNotifyMessageW(HWND hwnd, UINT msg, WPARAM wParam, LPARAM lParam)
{
    return AtForward(Sys::SendNotifyMessageW, Sys::SendNotifyMessageA, hwnd, msg, wParam, lParam);
}

LRESULT WINAPI SendDlgItemMessageW(HWND dialog, int item, UINT msg, WPARAM wParam, LPARAM lParam)
{
    return AtForward(Sys::SendDlgItemMessageW, Sys::SendDlgItemMessageA, dialog, item, msg, wParam,
                     lParam);
}

BOOL WINAPI PostMessageW(HWND hwnd, UINT msg, WPARAM wParam, LPARAM lParam)
{
    return AtForward(Sys::PostMessageW, Sys::PostMessageA, hwnd, msg, wParam, lParam);
}

BOOL WINAPI PostThreadMessageW(DWORD thread, UINT msg, WPARAM wParam, LPARAM lParam)
{
    return AtForward(Sys::PostThreadMessageW, Sys::PostThreadMessageA, thread, msg, wParam,
                     lParam);
}

BOOL WINAPI GetMessageW(LPMSG msg, HWND hwnd, UINT first, UINT last)
{
    return AtForward(Sys::GetMessageW, Sys::GetMessageA, msg, hwnd, first, last);
}

BOOL WINAPI PeekMessageW(LPMSG msg, HWND hwnd, UINT first, UINT last, UINT remove)
{
    return AtForward(Sys::PeekMessageW, Sys::PeekMessageA, msg, hwnd, first, last, remove);
}

LRESULT WINAPI DispatchMessageW(const MSG* msg)
{
    return AtForward(Sys::DispatchMessageW, Sys::DispatchMessageA, msg);
}

BOOL WINAPI IsDialogMessageW(HWND dialog, LPMSG msg)
{
    return AtForward(Sys::IsDialogMessageW, Sys::IsDialogMessageA, dialog, msg);
}

int WINAPI TranslateAcceleratorW(HWND hwnd, HACCEL table, LPMSG msg)
{
    return AtForward(Sys::TranslateAcceleratorW, Sys::TranslateAcceleratorA, hwnd, table, msg);
}

BOOL WINAPI CallMsgFilterW(LPMSG msg, int code)
{
    return AtForward(Sys::CallMsgFilterW, Sys::CallMsgFilterA, msg, code);
}

// The hook procedure is installed as it is: on the ANSI path it sees ANSI messages.
HHOOK WINAPI SetWindowsHookExW(int id, HOOKPROC proc, HINSTANCE module, DWORD thread)
{
    return AtForward(Sys::SetWindowsHookExW, Sys::SetWindowsHookExA, id, proc, module, thread);
}
