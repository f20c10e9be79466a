// Creation messages: WM_CREATE, WM_NCCREATE, WM_MDICREATE. Their records carry two
// strings in the character set of the procedure that reads them; the other fields
// are copied as they are, lpCreateParams and an MDI child's lParam included.
#include "core/core.h"
#include "torwen.h"

namespace {

// The record converted into a copy of the caller's: fields in the records' own
// order, the two strings through temporaries, a class atom passing as it is.
template <typename To, typename From>
void CopyCreateFields(To& to, const From& from)
{
    to.lpCreateParams = from.lpCreateParams;
    to.hInstance = from.hInstance;
    to.hMenu = from.hMenu;
    to.hwndParent = from.hwndParent;
    to.cy = from.cy;
    to.cx = from.cx;
    to.y = from.y;
    to.x = from.x;
    to.style = from.style;
    to.dwExStyle = from.dwExStyle;
}

template <typename To, typename From>
void CopyMDICreateFields(To& to, const From& from)
{
    to.hOwner = from.hOwner;
    to.x = from.x;
    to.y = from.y;
    to.cx = from.cx;
    to.cy = from.cy;
    to.style = from.style;
    to.lParam = from.lParam;
}

LPARAM RecordParam(const void* record)
{
    return reinterpret_cast<LPARAM>(record);
}

// Nothing is copied back: what the procedure changes in the ANSI copy is lost.
// A missing record has nothing to convert and goes on as it is, on both paths.
LRESULT ForwardCreate(HWND hwnd, UINT msg, LPCREATESTRUCTW cs, WNDPROC fn)
{
    if (AtWidePath() || !cs)
        return fn(hwnd, msg, 0, RecordParam(cs));
    return AtTranslate<LRESULT>(0, [&] {
        AtStringSlot nameA, classA;
        AtWideToAnsiTemp(nameA, cs->lpszName);
        AtWideToAnsiTemp(classA, cs->lpszClass);
        CREATESTRUCTA a;
        CopyCreateFields(a, *cs);
        a.lpszName = nameA;
        a.lpszClass = classA;
        return fn(hwnd, msg, 0, RecordParam(&a));
    });
}

// The handler's answer as it comes back, before the message's own mapping.
BOOL HandleCreate(HWND hwnd, LPARAM lParam, AtCreateHandlerW fn, BOOL failure)
{
    if (AtWidePath() || !lParam)
        return fn(hwnd, reinterpret_cast<LPCREATESTRUCTW>(lParam));
    return AtTranslate<BOOL>(failure, [&] {
        auto a = reinterpret_cast<const CREATESTRUCTA*>(lParam);
        AtStringSlot name, className;
        AtAnsiToWideTemp(name, a->lpszName);
        AtAnsiToWideTemp(className, a->lpszClass);
        CREATESTRUCTW w;
        CopyCreateFields(w, *a);
        w.lpszName = name;
        w.lpszClass = className;
        return fn(hwnd, &w);
    });
}

}  // namespace

LRESULT WINAPI AtFORWARD_WM_CREATEW(HWND hwnd, LPCREATESTRUCTW lpCreateStruct, WNDPROC fn)
{
    return ForwardCreate(hwnd, WM_CREATE, lpCreateStruct, fn);
}

LRESULT WINAPI AtFORWARD_WM_NCCREATEW(HWND hwnd, LPCREATESTRUCTW lpCreateStruct, WNDPROC fn)
{
    return ForwardCreate(hwnd, WM_NCCREATE, lpCreateStruct, fn);
}

LRESULT WINAPI AtFORWARD_WM_MDICREATEW(HWND hwnd, LPMDICREATESTRUCTW lpmcs, WNDPROC fn)
{
    if (AtWidePath() || !lpmcs)
        return fn(hwnd, WM_MDICREATE, 0, RecordParam(lpmcs));
    return AtTranslate<LRESULT>(0, [&] {
        AtStringSlot classA, titleA;
        AtWideToAnsiTemp(classA, lpmcs->szClass);
        AtWideToAnsiTemp(titleA, lpmcs->szTitle);
        MDICREATESTRUCTA a;
        a.szClass = classA;
        a.szTitle = titleA;
        CopyMDICreateFields(a, *lpmcs);
        return fn(hwnd, WM_MDICREATE, 0, RecordParam(&a));
    });
}

// The window manager goes on creating on 0 and stops on -1; a failure to convert
// stops it too.
LRESULT WINAPI AtHANDLE_WM_CREATEW(HWND hwnd, WPARAM, LPARAM lParam, AtCreateHandlerW fn)
{
    return HandleCreate(hwnd, lParam, fn, FALSE) ? 0 : -1;
}

LRESULT WINAPI AtHANDLE_WM_NCCREATEW(HWND hwnd, WPARAM, LPARAM lParam, AtCreateHandlerW fn)
{
    return HandleCreate(hwnd, lParam, fn, FALSE) ? 1 : 0;
}

// The new child's handle goes back bit for bit.
LRESULT WINAPI AtHANDLE_WM_MDICREATEW(HWND hwnd, WPARAM, LPARAM lParam, AtMDICreateHandlerW fn)
{
    if (AtWidePath() || !lParam)
        return reinterpret_cast<LRESULT>(fn(hwnd, reinterpret_cast<LPMDICREATESTRUCTW>(lParam)));
    HWND child = AtTranslate<HWND>(nullptr, [&] {
        auto a = reinterpret_cast<const MDICREATESTRUCTA*>(lParam);
        AtStringSlot className, title;
        AtAnsiToWideTemp(className, a->szClass);
        AtAnsiToWideTemp(title, a->szTitle);
        MDICREATESTRUCTW w;
        w.szClass = className;
        w.szTitle = title;
        CopyMDICreateFields(w, *a);
        return fn(hwnd, &w);
    });
    return reinterpret_cast<LRESULT>(child);
}
