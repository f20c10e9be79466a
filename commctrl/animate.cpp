// Animation controls and image lists.
#include "commctrl/commctrl.h"

AT_SYSTEM_FUNCTION(user32, CreateWindowExW, 0)
AT_SYSTEM_FUNCTION(user32, CreateWindowExA, 0)
AT_SYSTEM_FUNCTION(comctl32, ImageList_LoadImageW, 0)
AT_SYSTEM_FUNCTION(comctl32, ImageList_LoadImageA, 0)

// A child of no size at the parent's origin; the caller places it.
HWND WINAPI AtAnimate_CreateW(HWND parent, UINT id, DWORD style, HINSTANCE hinst)
{
    HMENU idMenu = reinterpret_cast<HMENU>(UINT_PTR(id));
    return AtExport(Sys::CreateWindowExW, DWORD(0), L"SysAnimate32", LPCWSTR(nullptr), style, 0, 0,
        0, 0, parent, idMenu, hinst, LPVOID(nullptr))
        .orAnsiUnguarded([=] {
            return Sys::CreateWindowExA(
                0, "SysAnimate32", nullptr, style, 0, 0, 0, 0, parent, idMenu, hinst, nullptr);
        });
}

// Both platforms are sent ACM_OPENA (0x464), the NT family with the caller's wide
// name: no ACM_OPENW is ever sent. A resource identifier passes as it is.
BOOL WINAPI AtAnimate_OpenW(HWND hwnd, LPCWSTR name)
{
    return AtControlMessage(hwnd, ACM_OPENA, 0, name, 0,
        [=] { return Sys::SendMessageA(hwnd, ACM_OPENA, 0, AtParam(AtAnsiTemp(name).value)); });
}

HIMAGELIST WINAPI ImageList_LoadImageW(
    HINSTANCE hinst, LPCWSTR name, int cx, int cGrow, COLORREF crMask, UINT type, UINT flags)
{
    return AtExport(Sys::ImageList_LoadImageW, hinst, name, cx, cGrow, crMask, type, flags)
        .orAnsi(nullptr, [=](AtSavedError& err) {
            return err.keep(
                Sys::ImageList_LoadImageA(hinst, AtAnsiTemp(name), cx, cGrow, crMask, type, flags));
        });
}
