// Menus and accelerator tables: building, changing and reading menu items, and
// loading menus and tables by name.
#include "core/core.h"
#include "torwen.h"
#include "user/user.h"

AT_SYSTEM_FUNCTION(user32, AppendMenuW, FALSE)
AT_SYSTEM_FUNCTION(user32, AppendMenuA, FALSE)
AT_SYSTEM_FUNCTION(user32, InsertMenuW, FALSE)
AT_SYSTEM_FUNCTION(user32, InsertMenuA, FALSE)
AT_SYSTEM_FUNCTION(user32, ModifyMenuW, FALSE)
AT_SYSTEM_FUNCTION(user32, ModifyMenuA, FALSE)
AT_SYSTEM_FUNCTION(user32, InsertMenuItemW, FALSE)
AT_SYSTEM_FUNCTION(user32, InsertMenuItemA, FALSE)
AT_SYSTEM_FUNCTION(user32, SetMenuItemInfoW, FALSE)
AT_SYSTEM_FUNCTION(user32, SetMenuItemInfoA, FALSE)
AT_SYSTEM_FUNCTION(user32, GetMenuItemInfoW, FALSE)
AT_SYSTEM_FUNCTION(user32, GetMenuItemInfoA, FALSE)
AT_SYSTEM_FUNCTION(user32, GetMenuStringW, 0)
AT_SYSTEM_FUNCTION(user32, GetMenuStringA, 0)
AT_SYSTEM_FUNCTION(user32, LoadMenuW, 0)
AT_SYSTEM_FUNCTION(user32, LoadMenuA, 0)
AT_SYSTEM_FUNCTION(user32, LoadMenuIndirectW, 0)
AT_SYSTEM_FUNCTION(user32, LoadMenuIndirectA, 0)
AT_SYSTEM_FUNCTION(user32, LoadAcceleratorsW, 0)
AT_SYSTEM_FUNCTION(user32, LoadAcceleratorsA, 0)
AT_SYSTEM_FUNCTION(user32, CopyAcceleratorTableW, 0)
AT_SYSTEM_FUNCTION(user32, CopyAcceleratorTableA, 0)
AT_SYSTEM_FUNCTION(user32, CreateAcceleratorTableW, 0)
AT_SYSTEM_FUNCTION(user32, CreateAcceleratorTableA, 0)

namespace
{

// The record the ANSI platforms know: MENUITEMINFOA up to cch, without hbmpItem.
constexpr UINT MenuItemInfoSizeA = 44;
// The fields up to dwTypeData, all that a change of an item reads.
constexpr UINT MenuItemInfoFieldsIn = offsetof(MENUITEMINFOW, cch);

// An item's text argument is a string only for a string item: for the other kinds
// the same argument carries a bitmap handle or the application's data.
bool AtIsStringMenuItem(UINT typeFlags)
{
    return !(typeFlags & (MF_BITMAP | MF_OWNERDRAW | MF_SEPARATOR));
}

void AtMenuItemInfoWToA(const MENUITEMINFOW& w, MENUITEMINFOA& a)
{
    a.cbSize = MenuItemInfoSizeA;
    a.fMask = w.fMask;
    a.fType = w.fType;
    a.fState = w.fState;
    a.wID = w.wID;
    a.hSubMenu = w.hSubMenu;
    a.hbmpChecked = w.hbmpChecked;
    a.hbmpUnchecked = w.hbmpUnchecked;
    a.dwItemData = w.dwItemData;
    if (!AtIsStringMenuItem(w.fType)) {
        a.dwTypeData = reinterpret_cast<LPSTR>(w.dwTypeData);
        a.cch = 0;
    }
}

// The caller's cbSize is overwritten with the size the ANSI platforms know. A
// string item keeps the caller's own text pointer and capacity.
void AtMenuItemInfoAToW(const MENUITEMINFOA& a, MENUITEMINFOW& w)
{
    w.cbSize = MenuItemInfoSizeA;
    w.fMask = a.fMask;
    w.fType = a.fType;
    w.fState = a.fState;
    w.wID = a.wID;
    w.hSubMenu = a.hSubMenu;
    w.hbmpChecked = a.hbmpChecked;
    w.hbmpUnchecked = a.hbmpUnchecked;
    w.dwItemData = a.dwItemData;
    if (!AtIsStringMenuItem(a.fType)) {
        w.dwTypeData = reinterpret_cast<LPWSTR>(a.dwTypeData);
        w.cch = 0;
    }
}

// The item text argument of AppendMenu, InsertMenu and ModifyMenu, converted only
// for a string item; otherwise the caller's handle or data as it is.
LPCSTR ItemTextIn(AtStringSlot& slot, UINT flags, LPCWSTR item)
{
    if (!AtIsStringMenuItem(flags))
        return reinterpret_cast<LPCSTR>(item);
    AtWideToAnsiTemp(slot, item);
    return slot;
}

// A record too short to hold the fields read is refused as the system refuses a
// record of an unknown size.
bool RecordHolds(const MENUITEMINFOW* mii, UINT size, AtSavedError& err)
{
    if (mii && mii->cbSize >= size)
        return true;
    err.value = ERROR_INVALID_PARAMETER;
    return false;
}

// InsertMenuItemW and SetMenuItemInfoW: the record goes in with its text converted.
// `textSizeAsCch` gives the A record the converted text's heap size as cch (the
// system ignores cch when inserting).
template <typename CallA>
BOOL MenuItemIn(const MENUITEMINFOW& mii, bool textSizeAsCch, AtSavedError& err, CallA callA)
{
    MENUITEMINFOA a = {};
    if (!AtIsStringMenuItem(mii.fType)) {
        AtMenuItemInfoWToA(mii, a);
        return err.keep(callA(&a));
    }
    AtStringSlot text;
    AtWideToAnsiTemp(text, mii.dwTypeData);
    AtMenuItemInfoWToA(mii, a);
    a.dwTypeData = text;
    if (textSizeAsCch)
        a.cch = AtHeapSize(text);
    return err.keep(callA(&a));
}

} // namespace

BOOL WINAPI AppendMenuW(HMENU menu, UINT flags, UINT_PTR id, LPCWSTR item)
{
    return AtExport(Sys::AppendMenuW, menu, flags, id, item).orAnsi(FALSE, [=](AtSavedError& err) {
        AtStringSlot itemA;
        return err.keep(Sys::AppendMenuA(menu, flags, id, ItemTextIn(itemA, flags, item)));
    });
}

BOOL WINAPI InsertMenuW(HMENU menu, UINT position, UINT flags, UINT_PTR id, LPCWSTR item)
{
    return AtExport(Sys::InsertMenuW, menu, position, flags, id, item)
        .orAnsi(FALSE, [=](AtSavedError& err) {
            AtStringSlot itemA;
            return err.keep(
                Sys::InsertMenuA(menu, position, flags, id, ItemTextIn(itemA, flags, item)));
        });
}

BOOL WINAPI ModifyMenuW(HMENU menu, UINT position, UINT flags, UINT_PTR id, LPCWSTR item)
{
    return AtExport(Sys::ModifyMenuW, menu, position, flags, id, item)
        .orAnsi(FALSE, [=](AtSavedError& err) {
            AtStringSlot itemA;
            return err.keep(
                Sys::ModifyMenuA(menu, position, flags, id, ItemTextIn(itemA, flags, item)));
        });
}

// A record shorter than the ANSI platforms' own is refused without an error.
BOOL WINAPI InsertMenuItemW(HMENU menu, UINT item, BOOL byPosition, LPCMENUITEMINFOW mii)
{
    return AtExport(Sys::InsertMenuItemW, menu, item, byPosition, mii)
        .orAnsi(FALSE, [=](AtSavedError& err) {
            if (!RecordHolds(mii, 0, err))
                return FALSE;
            if (mii->cbSize < MenuItemInfoSizeA) {
                err.value = GetLastError();
                return FALSE;
            }
            return MenuItemIn(*mii, false, err, [&](LPCMENUITEMINFOA a) {
                return Sys::InsertMenuItemA(menu, item, byPosition, a);
            });
        });
}

BOOL WINAPI SetMenuItemInfoW(HMENU menu, UINT item, BOOL byPosition, LPCMENUITEMINFOW mii)
{
    return AtExport(Sys::SetMenuItemInfoW, menu, item, byPosition, mii)
        .orAnsi(FALSE, [=](AtSavedError& err) {
            if (!RecordHolds(mii, MenuItemInfoFieldsIn, err))
                return FALSE;
            return MenuItemIn(*mii, true, err, [&](LPCMENUITEMINFOA a) {
                return Sys::SetMenuItemInfoA(menu, item, byPosition, a);
            });
        });
}

// The caller's cch is the capacity of its buffer before the call and stays so after
// it: the text's length is not reported back.
BOOL WINAPI GetMenuItemInfoW(HMENU menu, UINT item, BOOL byPosition, LPMENUITEMINFOW mii)
{
    return AtExport(Sys::GetMenuItemInfoW, menu, item, byPosition, mii)
        .orAnsi(FALSE, [=](AtSavedError& err) {
            if (!RecordHolds(mii, MenuItemInfoSizeA, err))
                return FALSE;
            MENUITEMINFOA a = {};
            if (!AtIsStringMenuItem(mii->fType)) {
                AtMenuItemInfoWToA(*mii, a);
                BOOL ok = err.keep(Sys::GetMenuItemInfoA(menu, item, byPosition, &a));
                AtMenuItemInfoAToW(a, *mii);
                return ok;
            }
            AtStringSlot text;
            AtAllocEmptyAnsiOut(text, mii->cch);
            AtMenuItemInfoWToA(*mii, a);
            a.dwTypeData = text;
            a.cch = AtHeapSize(text);
            BOOL ok = err.keep(Sys::GetMenuItemInfoA(menu, item, byPosition, &a));
            AtMenuItemInfoAToW(a, *mii);
            AtEndWithinBuffer(text);
            if (text.value)
                AtAnsiToWideOut(text, mii->dwTypeData, mii->cch);
            return ok;
        });
}

// A length query (no buffer) answers the A function's count: ANSI bytes.
int WINAPI GetMenuStringW(HMENU menu, UINT id, LPWSTR buf, int n, UINT flags)
{
    return AtExport(Sys::GetMenuStringW, menu, id, buf, n, flags).orAnsiWithoutSavedError(0, [=] {
        AtStringSlot bufA;
        AtAllocEmptyAnsiOut(bufA, n);
        int r = Sys::GetMenuStringA(menu, id, bufA, AtHeapSize(bufA), flags);
        AtEndWithinBuffer(bufA);
        if (n && buf)
            r = AtCountWithoutTerminator(AtAnsiToWideOut(bufA, buf, n));
        return r;
    });
}

HMENU WINAPI LoadMenuW(HINSTANCE instance, LPCWSTR name)
{
    return AtExport(Sys::LoadMenuW, instance, name).orAnsi(nullptr, [=](AtSavedError& err) {
        return err.keep(Sys::LoadMenuA(instance, AtAnsiTemp(name)));
    });
}

// The template is the same record for both functions.
HMENU WINAPI LoadMenuIndirectW(const MENUTEMPLATEW* menuTemplate)
{
    return AtExport(Sys::LoadMenuIndirectW, menuTemplate).orAnsiUnconverted(Sys::LoadMenuIndirectA);
}

HACCEL WINAPI LoadAcceleratorsW(HINSTANCE instance, LPCWSTR name)
{
    return AtExport(Sys::LoadAcceleratorsW, instance, name).orAnsiWithoutSavedError(nullptr, [=] {
        return Sys::LoadAcceleratorsA(instance, AtAnsiTemp(name));
    });
}

// The entries, character keys included, are those of the A function as it fills
// and reads them.
int WINAPI CopyAcceleratorTableW(HACCEL table, LPACCEL entries, int n)
{
    return AtExport(Sys::CopyAcceleratorTableW, table, entries, n)
        .orAnsiUnconverted(Sys::CopyAcceleratorTableA);
}

HACCEL WINAPI CreateAcceleratorTableW(LPACCEL entries, int n)
{
    return AtExport(Sys::CreateAcceleratorTableW, entries, n)
        .orAnsiUnconverted(Sys::CreateAcceleratorTableA);
}
