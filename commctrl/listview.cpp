// List views: items, columns, searches and labels.
#include "commctrl/commctrl.h"

namespace
{

// Every field but the text, in the platform's order; without the text bit the
// control gets no text pointer and no capacity.
LVITEMA FieldsOf(const LVITEMW* item)
{
    LVITEMA a = {};
    a.mask = item->mask;
    a.iItem = item->iItem;
    a.iSubItem = item->iSubItem;
    a.state = item->state;
    a.stateMask = item->stateMask;
    a.iImage = item->iImage;
    a.lParam = item->lParam;
    a.iIndent = item->iIndent;
    return a;
}

LVCOLUMNA FieldsOf(const LVCOLUMNW* col)
{
    return { col->mask, col->fmt, col->cx, nullptr, 0, col->iSubItem, col->iImage, col->iOrder };
}

// A record going in, with its text converted.
void ItemIn(const LVITEMW* item, LVITEMA& a, AtStringSlot& text)
{
    a = FieldsOf(item);
    if (item->mask & LVIF_TEXT)
        AtTextIn(text, item->pszText, item->cchTextMax, a.pszText, a.cchTextMax, true);
}

void ColumnIn(const LVCOLUMNW* col, LVCOLUMNA& a, AtStringSlot& text)
{
    a = FieldsOf(col);
    if (col->mask & LVCF_TEXT)
        AtTextIn(text, col->pszText, col->cchTextMax, a.pszText, a.cchTextMax, true);
}

// What a control answered, copied into the caller's record as far as the mask asks.
void ItemBack(const LVITEMA& a, LVITEMW* item)
{
    item->iItem = a.iItem;
    item->iSubItem = a.iSubItem;
    if (item->mask & LVIF_STATE) {
        item->state = a.state;
        item->stateMask = a.stateMask;
    }
    if (item->mask & LVIF_TEXT)
        AtTextBack(a.pszText, item->pszText, item->cchTextMax);
    if (item->mask & LVIF_IMAGE)
        item->iImage = a.iImage;
    if (item->mask & LVIF_PARAM)
        item->lParam = a.lParam;
    if (item->mask & LVIF_INDENT)
        item->iIndent = a.iIndent;
}

void ColumnBack(const LVCOLUMNA& a, LVCOLUMNW* col)
{
    if (col->mask & LVCF_FMT)
        col->fmt = a.fmt;
    if (col->mask & LVCF_SUBITEM)
        col->iSubItem = a.iSubItem;
    if (col->mask & LVCF_TEXT)
        AtTextBack(a.pszText, col->pszText, col->cchTextMax);
    if (col->mask & LVCF_WIDTH)
        col->cx = a.cx;
    if (col->mask & LVCF_IMAGE)
        col->iImage = a.iImage;
    if (col->mask & LVCF_ORDER)
        col->iOrder = a.iOrder;
}

} // namespace

int WINAPI AtListView_InsertItemW(HWND hwnd, const LVITEMW* item)
{
    return AtControlMessage(hwnd, LVM_INSERTITEMW, 0, item, -1, [=] {
        LVITEMA a;
        AtStringSlot text;
        ItemIn(item, a, text);
        return Sys::SendMessageA(hwnd, LVM_INSERTITEMA, 0, AtParam(&a));
    });
}

BOOL WINAPI AtListView_GetItemW(HWND hwnd, LVITEMW* item)
{
    return AtControlMessage(hwnd, LVM_GETITEMW, 0, item, 0, [=] {
        LVITEMA a = FieldsOf(item);
        AtStringSlot text;
        if (item->mask & LVIF_TEXT)
            AtTextOut(text, item->cchTextMax, a.pszText, a.cchTextMax);
        LRESULT r = Sys::SendMessageA(hwnd, LVM_GETITEMA, 0, AtParam(&a));
        if (r)
            ItemBack(a, item);
        return r;
    });
}

BOOL WINAPI AtListView_SetItemW(HWND hwnd, const LVITEMW* item)
{
    return AtControlMessage(hwnd, LVM_SETITEMW, 0, item, 0, [=] {
        LVITEMA a;
        AtStringSlot text;
        ItemIn(item, a, text);
        return Sys::SendMessageA(hwnd, LVM_SETITEMA, 0, AtParam(&a));
    });
}

// Only a search by text carries a string; the other searches pass the record as it is.
int WINAPI AtListView_FindItemW(HWND hwnd, int iStart, const LVFINDINFOW* info)
{
    return AtControlMessage(hwnd, LVM_FINDITEMW, iStart, info, -1, [=] {
        LVFINDINFOA a = { info->flags, reinterpret_cast<LPCSTR>(info->psz), info->lParam, info->pt,
            info->vkDirection };
        AtStringSlot text;
        if (info->flags & (LVFI_STRING | LVFI_PARTIAL)) {
            AtWideToAnsiTemp(text, info->psz);
            a.psz = text;
        }
        return Sys::SendMessageA(hwnd, LVM_FINDITEMA, iStart, AtParam(&a));
    });
}

int WINAPI AtListView_GetStringWidthW(HWND hwnd, LPCWSTR psz)
{
    return AtControlMessage(hwnd, LVM_GETSTRINGWIDTHW, 0, psz, -1, [=] {
        return Sys::SendMessageA(hwnd, LVM_GETSTRINGWIDTHA, 0, AtParam(AtAnsiTemp(psz).value));
    });
}

HWND WINAPI AtListView_EditLabelW(HWND hwnd, int i)
{
    return reinterpret_cast<HWND>(
        AtExport(Sys::SendMessageW, hwnd, UINT(LVM_EDITLABELW), WPARAM(i), LPARAM(0))
            .orAnsiUnguarded([=] { return Sys::SendMessageA(hwnd, LVM_EDITLABELA, i, 0); }));
}

// The buffer starts as an empty string here too: a column without text is read as "".
BOOL WINAPI AtListView_GetColumnW(HWND hwnd, int iCol, LVCOLUMNW* col)
{
    return AtControlMessage(hwnd, LVM_GETCOLUMNW, iCol, col, 0, [=] {
        LVCOLUMNA a = FieldsOf(col);
        AtStringSlot text;
        if (col->mask & LVCF_TEXT)
            AtTextOut(text, col->cchTextMax, a.pszText, a.cchTextMax);
        LRESULT r = Sys::SendMessageA(hwnd, LVM_GETCOLUMNA, iCol, AtParam(&a));
        if (r)
            ColumnBack(a, col);
        return r;
    });
}

BOOL WINAPI AtListView_SetColumnW(HWND hwnd, int iCol, const LVCOLUMNW* col)
{
    return AtControlMessage(hwnd, LVM_SETCOLUMNW, iCol, col, 0, [=] {
        LVCOLUMNA a;
        AtStringSlot text;
        ColumnIn(col, a, text);
        return Sys::SendMessageA(hwnd, LVM_SETCOLUMNA, iCol, AtParam(&a));
    });
}

int WINAPI AtListView_InsertColumnW(HWND hwnd, int iCol, const LVCOLUMNW* col)
{
    return AtControlMessage(hwnd, LVM_INSERTCOLUMNW, iCol, col, -1, [=] {
        LVCOLUMNA a;
        AtStringSlot text;
        ColumnIn(col, a, text);
        return Sys::SendMessageA(hwnd, LVM_INSERTCOLUMNA, iCol, AtParam(&a));
    });
}

// The control is told twice the caller's count. On a single-byte code page that is
// more than cch characters take, so the buffer is made that large (2 * cch bytes).
void WINAPI AtListView_GetItemTextW(HWND hwnd, int i, int iSubItem, LPWSTR psz, int cch)
{
    if (AtWidePath()) {
        LVITEMW item = {};
        item.iSubItem = iSubItem;
        item.pszText = psz;
        item.cchTextMax = cch;
        Sys::SendMessageW(hwnd, LVM_GETITEMTEXTW, i, AtParam(&item));
        return;
    }
    AtTranslate<LRESULT>(0, [=] {
        AtStringSlot buf;
        AtAllocEmptyAnsiOut(buf, static_cast<DWORD>(AtMaxCharSize == 1 ? 2 * cch : cch));
        LVITEMA item = {};
        item.iSubItem = iSubItem;
        item.pszText = buf;
        item.cchTextMax = 2 * cch;
        Sys::SendMessageA(hwnd, LVM_GETITEMTEXTA, i, AtParam(&item));
        AtTextBack(buf, psz, cch);
        return 0;
    });
}

void WINAPI AtListView_SetItemTextW(HWND hwnd, int i, int iSubItem, LPCWSTR psz)
{
    if (AtWidePath()) {
        LVITEMW item = {};
        item.iSubItem = iSubItem;
        item.pszText = const_cast<LPWSTR>(psz);
        Sys::SendMessageW(hwnd, LVM_SETITEMTEXTW, i, AtParam(&item));
        return;
    }
    AtTranslate<LRESULT>(0, [=] {
        AtStringSlot text;
        AtWideToAnsiTemp(text, psz);
        LVITEMA item = {};
        item.iSubItem = iSubItem;
        item.pszText = text;
        return Sys::SendMessageA(hwnd, LVM_SETITEMTEXTA, i, AtParam(&item));
    });
}

int WINAPI AtListView_GetISearchStringW(HWND hwnd, LPWSTR psz)
{
    return AtControlMessage(hwnd, LVM_GETISEARCHSTRINGW, 0, psz, 0,
        [=] { return AtSearchStringInto(hwnd, LVM_GETISEARCHSTRINGA, psz); });
}
