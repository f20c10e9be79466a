// Tree views: items, labels and searches.
#include "commctrl/commctrl.h"

namespace
{

// Every field but the text, in the platform's order.
TVITEMA FieldsOf(const TVITEMW* item)
{
    return { item->mask, item->hItem, item->state, item->stateMask, nullptr, 0, item->iImage,
        item->iSelectedImage, item->cChildren, item->lParam };
}

void ItemIn(const TVITEMW* item, TVITEMA& a, AtStringSlot& text)
{
    a = FieldsOf(item);
    if (item->mask & TVIF_TEXT)
        AtTextIn(text, item->pszText, item->cchTextMax, a.pszText, a.cchTextMax, true);
}

void ItemBack(const TVITEMA& a, TVITEMW* item)
{
    if (item->mask & TVIF_HANDLE)
        item->hItem = a.hItem;
    if (item->mask & TVIF_STATE) {
        item->state = a.state;
        item->stateMask = a.stateMask;
    }
    if (item->mask & TVIF_TEXT)
        AtTextBack(a.pszText, item->pszText, item->cchTextMax);
    if (item->mask & TVIF_IMAGE)
        item->iImage = a.iImage;
    if (item->mask & TVIF_SELECTEDIMAGE)
        item->iSelectedImage = a.iSelectedImage;
    if (item->mask & TVIF_CHILDREN)
        item->cChildren = a.cChildren;
    if (item->mask & TVIF_PARAM)
        item->lParam = a.lParam;
}

} // namespace

HTREEITEM WINAPI AtTreeView_InsertItemW(HWND hwnd, const TVINSERTSTRUCTW* ins)
{
    return reinterpret_cast<HTREEITEM>(AtControlMessage(hwnd, TVM_INSERTITEMW, 0, ins, 0, [=] {
        TVINSERTSTRUCTA a = {};
        a.hParent = ins->hParent;
        a.hInsertAfter = ins->hInsertAfter;
        AtStringSlot text;
        ItemIn(&ins->item, a.item, text);
        return Sys::SendMessageA(hwnd, TVM_INSERTITEMA, 0, AtParam(&a));
    }));
}

BOOL WINAPI AtTreeView_GetItemW(HWND hwnd, TVITEMW* item)
{
    return AtControlMessage(hwnd, TVM_GETITEMW, 0, item, 0, [=] {
        TVITEMA a = FieldsOf(item);
        AtStringSlot text;
        if (item->mask & TVIF_TEXT)
            AtTextOut(text, item->cchTextMax, a.pszText, a.cchTextMax);
        LRESULT r = Sys::SendMessageA(hwnd, TVM_GETITEMA, 0, AtParam(&a));
        if (r)
            ItemBack(a, item);
        return r;
    });
}

// A failed conversion answers -1, although the message itself reports failure as 0.
BOOL WINAPI AtTreeView_SetItemW(HWND hwnd, const TVITEMW* item)
{
    return AtControlMessage(hwnd, TVM_SETITEMW, 0, item, -1, [=] {
        TVITEMA a;
        AtStringSlot text;
        ItemIn(item, a, text);
        return Sys::SendMessageA(hwnd, TVM_SETITEMA, 0, AtParam(&a));
    });
}

HWND WINAPI AtTreeView_EditLabelW(HWND hwnd, HTREEITEM hItem)
{
    return reinterpret_cast<HWND>(
        AtExport(Sys::SendMessageW, hwnd, UINT(TVM_EDITLABELW), WPARAM(0), AtParam(hItem))
            .orAnsiUnguarded(
                [=] { return Sys::SendMessageA(hwnd, TVM_EDITLABELA, 0, AtParam(hItem)); }));
}

int WINAPI AtTreeView_GetISearchStringW(HWND hwnd, LPWSTR psz)
{
    return AtControlMessage(hwnd, TVM_GETISEARCHSTRINGW, 0, psz, 0,
        [=] { return AtSearchStringInto(hwnd, TVM_GETISEARCHSTRINGA, psz); });
}
