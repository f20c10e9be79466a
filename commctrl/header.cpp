// Header controls and tab controls: their items.
#include <cwchar>

#include "commctrl/commctrl.h"

namespace
{

HDITEMA FieldsOf(const HDITEMW* item)
{
    HDITEMA a = {};
    a.mask = item->mask;
    a.cxy = item->cxy;
    a.hbm = item->hbm;
    a.cchTextMax = item->cchTextMax;
    a.fmt = item->fmt;
    a.lParam = item->lParam;
    a.iImage = item->iImage;
    a.iOrder = item->iOrder;
    return a;
}

// A header item keeps the caller's capacity beside its converted text; without the
// text bit both are 0. A header that asks its parent for the text (HDN_GETDISPINFO)
// is given the marker, which is no string to convert.
void HeaderItemIn(const HDITEMW* item, HDITEMA& a, AtStringSlot& text)
{
    a = FieldsOf(item);
    if (item->mask & HDI_TEXT) {
        int heapSize;
        AtTextIn(text, item->pszText, item->cchTextMax, a.pszText, heapSize, true);
    } else {
        a.cchTextMax = 0;
    }
}

// The header's get starts from what the caller's buffer holds, not from an empty
// buffer, and the control may answer no longer a text than that. Only the caller's
// cchTextMax characters are read: a buffer without a NUL among them is taken as
// that many characters.
void CopyOfBuffer(AtStringSlot& slot, LPCWSTR buf, int cch)
{
    if (AtIsIntegerValue(buf) || (cch > 0 && std::wmemchr(buf, L'\0', cch))) {
        AtWideToAnsiTemp(slot, buf);
        return;
    }
    int len = cch > 0 ? cch : 0;
    int size = WideCharToMultiByte(CP_ACP, 0, buf, len, nullptr, 0, nullptr, nullptr);
    slot.value = AtAlloc(size + 1);
    WideCharToMultiByte(CP_ACP, 0, buf, len, slot, size, nullptr, nullptr);
    static_cast<char*>(slot)[size] = '\0';
}

bool HasTabText(UINT mask)
{
    return mask & (TCIF_TEXT | TCIF_RTLREADING);
}

TCITEMA FieldsOf(const TCITEMW* item)
{
    return { item->mask, item->dwState, item->dwStateMask, nullptr, 0, item->iImage, item->lParam };
}

// A tab item with TCIF_TEXT keeps the caller's capacity; one with only
// TCIF_RTLREADING is told the heap size of its converted text.
void TabItemIn(const TCITEMW* item, TCITEMA& a, AtStringSlot& text)
{
    a = FieldsOf(item);
    if (HasTabText(item->mask)) {
        AtWideToAnsiTemp(text, item->pszText);
        a.pszText = text;
        a.cchTextMax = (item->mask & TCIF_TEXT) ? item->cchTextMax : int(AtHeapSize(text));
    }
}

} // namespace

// Header items come back whatever the message answered: mask, width and the other
// fields always, the text only with HDI_TEXT (without it the caller's text pointer
// and capacity become 0).
BOOL WINAPI AtHeader_GetItemW(HWND hwnd, int i, HDITEMW* item)
{
    return AtControlMessage(hwnd, HDM_GETITEMW, i, item, 0, [=] {
        HDITEMA a = FieldsOf(item);
        AtStringSlot text;
        if (item->mask & HDI_TEXT) {
            CopyOfBuffer(text, item->pszText, item->cchTextMax);
            a.pszText = text;
            a.cchTextMax = static_cast<int>(AtHeapSize(text));
        }
        LRESULT r = Sys::SendMessageA(hwnd, HDM_GETITEMA, i, AtParam(&a));
        item->mask = a.mask;
        item->cxy = a.cxy;
        if (item->mask & HDI_TEXT) {
            AtTextBack(a.pszText, item->pszText, item->cchTextMax);
        } else {
            item->pszText = nullptr;
            item->cchTextMax = 0;
        }
        item->hbm = a.hbm;
        item->fmt = a.fmt;
        item->lParam = a.lParam;
        item->iImage = a.iImage;
        item->iOrder = a.iOrder;
        return r;
    });
}

int WINAPI AtHeader_InsertItemW(HWND hwnd, int i, const HDITEMW* item)
{
    return AtControlMessage(hwnd, HDM_INSERTITEMW, i, item, -1, [=] {
        HDITEMA a;
        AtStringSlot text;
        HeaderItemIn(item, a, text);
        return Sys::SendMessageA(hwnd, HDM_INSERTITEMA, i, AtParam(&a));
    });
}

BOOL WINAPI AtHeader_SetItemW(HWND hwnd, int i, const HDITEMW* item)
{
    return AtControlMessage(hwnd, HDM_SETITEMW, i, item, 0, [=] {
        HDITEMA a;
        AtStringSlot text;
        HeaderItemIn(item, a, text);
        return Sys::SendMessageA(hwnd, HDM_SETITEMA, i, AtParam(&a));
    });
}

BOOL WINAPI AtTabCtrl_GetItemW(HWND hwnd, int i, TCITEMW* item)
{
    return AtControlMessage(hwnd, TCM_GETITEMW, i, item, 0, [=] {
        TCITEMA a = FieldsOf(item);
        AtStringSlot text;
        if (HasTabText(item->mask))
            AtTextOut(text, item->cchTextMax, a.pszText, a.cchTextMax);
        LRESULT r = Sys::SendMessageA(hwnd, TCM_GETITEMA, i, AtParam(&a));
        item->dwState = a.dwState;
        item->dwStateMask = a.dwStateMask;
        if (HasTabText(item->mask))
            AtTextBack(a.pszText, item->pszText, item->cchTextMax);
        if (item->mask & TCIF_IMAGE)
            item->iImage = a.iImage;
        if (item->mask & TCIF_PARAM)
            item->lParam = a.lParam;
        return r;
    });
}

BOOL WINAPI AtTabCtrl_SetItemW(HWND hwnd, int i, const TCITEMW* item)
{
    return AtControlMessage(hwnd, TCM_SETITEMW, i, item, 0, [=] {
        TCITEMA a;
        AtStringSlot text;
        TabItemIn(item, a, text);
        return Sys::SendMessageA(hwnd, TCM_SETITEMA, i, AtParam(&a));
    });
}

int WINAPI AtTabCtrl_InsertItemW(HWND hwnd, int i, const TCITEMW* item)
{
    return AtControlMessage(hwnd, TCM_INSERTITEMW, i, item, -1, [=] {
        TCITEMA a;
        AtStringSlot text;
        TabItemIn(item, a, text);
        return Sys::SendMessageA(hwnd, TCM_INSERTITEMA, i, AtParam(&a));
    });
}
