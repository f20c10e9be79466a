// WM_NOTIFY from the common controls: the notifications whose records carry text,
// carried across between their W and A codes and records. Every other code passes
// with the caller's own record.
#include <cstring>
#include <cwchar>

#include "core/core.h"

#include <commctrl.h>

#include "torwen.h"

AT_SYSTEM_FUNCTION(user32, GetWindowLongA, 0)

namespace
{

struct CodePair {
    UINT w, a;
};

// The header codes of the two sides. HDN_GETDISPINFO is converted like the others
// but its code is not in this map, so it travels with the code it came with.
constexpr CodePair codeMap[] = {
    { LVN_BEGINLABELEDITW, LVN_BEGINLABELEDITA },
    { LVN_ENDLABELEDITW, LVN_ENDLABELEDITA },
    { LVN_GETDISPINFOW, LVN_GETDISPINFOA },
    { LVN_SETDISPINFOW, LVN_SETDISPINFOA },
    { HDN_ITEMCHANGINGW, HDN_ITEMCHANGINGA },
    { HDN_ITEMCHANGEDW, HDN_ITEMCHANGEDA },
    { HDN_ITEMCLICKW, HDN_ITEMCLICKA },
    { HDN_ITEMDBLCLICKW, HDN_ITEMDBLCLICKA },
    { HDN_DIVIDERDBLCLICKW, HDN_DIVIDERDBLCLICKA },
    { HDN_BEGINTRACKW, HDN_BEGINTRACKA },
    { HDN_ENDTRACKW, HDN_ENDTRACKA },
    { HDN_TRACKW, HDN_TRACKA },
    { TVN_SELCHANGINGW, TVN_SELCHANGINGA },
    { TVN_SELCHANGEDW, TVN_SELCHANGEDA },
    { TVN_GETDISPINFOW, TVN_GETDISPINFOA },
    { TVN_SETDISPINFOW, TVN_SETDISPINFOA },
    { TVN_ITEMEXPANDINGW, TVN_ITEMEXPANDINGA },
    { TVN_ITEMEXPANDEDW, TVN_ITEMEXPANDEDA },
    { TVN_BEGINDRAGW, TVN_BEGINDRAGA },
    { TVN_BEGINRDRAGW, TVN_BEGINRDRAGA },
    { TVN_DELETEITEMW, TVN_DELETEITEMA },
    { TVN_BEGINLABELEDITW, TVN_BEGINLABELEDITA },
    { TVN_ENDLABELEDITW, TVN_ENDLABELEDITA },
    { TTN_NEEDTEXTW, TTN_NEEDTEXTA },
    { TBN_GETBUTTONINFOW, TBN_GETBUTTONINFOA },
};

void HeaderToA(const NMHDR& w, NMHDR& a)
{
    a.hwndFrom = w.hwndFrom;
    a.idFrom = w.idFrom;
    a.code = w.code;
    for (const auto& c : codeMap)
        if (c.w == w.code)
            a.code = c.a;
}

void HeaderToW(const NMHDR& a, NMHDR& w)
{
    w.hwndFrom = a.hwndFrom;
    w.idFrom = a.idFrom;
    w.code = a.code;
    for (const auto& c : codeMap)
        if (c.a == a.code)
            w.code = c.w;
}

// A text pointer that designates no string: null, the callback marker, or a
// resource identifier.
bool IsString(const void* p)
{
    return !AtIsIntegerValue(p) && p != LPSTR_TEXTCALLBACKA;
}

// in: the target points at a converted copy; the marker and identifiers pass as
// they are. The copy holds at least the item's stated capacity (in elements of the
// target's character set): a receiver may edit the text in place within
// cchTextMax, as it could in the control's own buffer.
LPSTR AnsiIn(AtStringSlot& slot, LPCWSTR s, int capacity)
{
    if (!IsString(s))
        return reinterpret_cast<LPSTR>(const_cast<LPWSTR>(s));
    int needed = WideCharToMultiByte(CP_ACP, 0, s, -1, nullptr, 0, nullptr, nullptr);
    if (capacity <= needed) {
        AtWideToAnsiTemp(slot, s);
        return slot;
    }
    AtAllocEmptyAnsiOut(slot, static_cast<DWORD>(capacity));
    WideCharToMultiByte(CP_ACP, 0, s, -1, slot, capacity, nullptr, nullptr);
    return slot;
}

LPWSTR WideIn(AtStringSlot& slot, LPCSTR s, int capacity)
{
    if (!IsString(s))
        return reinterpret_cast<LPWSTR>(const_cast<LPSTR>(s));
    int needed = MultiByteToWideChar(CP_ACP, 0, s, -1, nullptr, 0);
    if (capacity <= needed) {
        AtAnsiToWideTemp(slot, s);
        return slot;
    }
    AtAllocWideOut(slot, static_cast<DWORD>(capacity));
    if (!MultiByteToWideChar(CP_ACP, 0, s, -1, slot, capacity))
        *static_cast<WCHAR*>(slot) = L'\0';
    return slot;
}

// out: an empty buffer of the source's capacity. The ANSI target is told the heap
// size of its block, the wide one the source's count.
LPSTR AnsiOut(AtStringSlot& slot, int cch, int& cchA)
{
    AtAllocEmptyAnsiOut(slot, static_cast<DWORD>(cch));
    cchA = static_cast<int>(AtHeapSize(slot));
    return slot;
}

LPWSTR WideOut(AtStringSlot& slot, int cch)
{
    AtAllocWideOut(slot, static_cast<DWORD>(cch));
    if (slot.value)
        *static_cast<WCHAR*>(slot) = L'\0';
    return slot;
}

// back: from wherever the target's pointer now is into the source's own buffer.
void BackToWide(LPCSTR from, LPWSTR to, int cch)
{
    if (IsString(from) && IsString(to))
        MultiByteToWideChar(CP_ACP, 0, from, -1, to, cch);
}

void BackToAnsi(LPCWSTR from, LPSTR to, int cch)
{
    if (IsString(from) && IsString(to))
        WideCharToMultiByte(CP_ACP, 0, from, -1, to, cch, nullptr, nullptr);
}

// The non-text fields of the items, as many as the oldest records have: a control
// of an older library sends no more.
template <typename To, typename From> void CopyListItem(To& to, const From& from)
{
    to.mask = from.mask;
    to.iItem = from.iItem;
    to.iSubItem = from.iSubItem;
    to.state = from.state;
    to.stateMask = from.stateMask;
    to.cchTextMax = from.cchTextMax;
    to.iImage = from.iImage;
    to.lParam = from.lParam;
    to.iIndent = from.iIndent;
}

template <typename To, typename From> void CopyTreeItem(To& to, const From& from)
{
    to.mask = from.mask;
    to.hItem = from.hItem;
    to.state = from.state;
    to.stateMask = from.stateMask;
    to.cchTextMax = from.cchTextMax;
    to.iImage = from.iImage;
    to.iSelectedImage = from.iSelectedImage;
    to.cChildren = from.cChildren;
    to.lParam = from.lParam;
}

template <typename To, typename From> void CopyHeaderItem(To& to, const From& from)
{
    to.mask = from.mask;
    to.cxy = from.cxy;
    to.hbm = from.hbm;
    to.cchTextMax = from.cchTextMax;
    to.fmt = from.fmt;
    to.lParam = from.lParam;
    to.iImage = from.iImage;
    to.iOrder = from.iOrder;
}

template <typename To, typename From> void CopyDispInfo(To& to, const From& from)
{
    to.iItem = from.iItem;
    to.mask = from.mask;
    to.cchTextMax = from.cchTextMax;
    to.iImage = from.iImage;
    to.lParam = from.lParam;
}

template <typename To, typename From> void CopyMovedItem(To& to, const From& from)
{
    to.action = from.action;
    to.itemNew.hItem = from.itemNew.hItem;
    to.itemNew.state = from.itemNew.state;
    to.itemNew.lParam = from.itemNew.lParam;
    to.ptDrag = from.ptDrag;
}

template <typename To, typename From> void CopyTipFields(To& to, const From& from)
{
    to.hinst = from.hinst;
    to.uFlags = from.uFlags;
    to.lParam = from.lParam;
}

bool IsExpandOrDrag(UINT codeW)
{
    return codeW == TVN_ITEMEXPANDINGW || codeW == TVN_ITEMEXPANDEDW || codeW == TVN_BEGINDRAGW
        || codeW == TVN_BEGINRDRAGW;
}

// ---- forwarding: the caller's W record, an A record for the procedure

LRESULT Send(WNDPROC fn, HWND hwnd, int idFrom, void* recordA)
{
    return fn(hwnd, WM_NOTIFY, idFrom, reinterpret_cast<LPARAM>(recordA));
}

enum TextTreatment { OutAndBackWithMask, OutAndBack, OutOnly };

template <typename RecW, typename RecA, typename CopyItem>
LRESULT ForwardItem(
    HWND hwnd, int idFrom, RecW* w, WNDPROC fn, TextTreatment text, CopyItem copyItem)
{
    RecA a = {};
    HeaderToA(w->hdr, a.hdr);
    copyItem(a.item, w->item);
    a.item.pszText = reinterpret_cast<LPSTR>(w->item.pszText);
    AtStringSlot buf;
    bool made = text != OutAndBackWithMask || (w->item.mask & 1);
    if (made)
        a.item.pszText = AnsiOut(buf, w->item.cchTextMax, a.item.cchTextMax);
    LRESULT r = Send(fn, hwnd, idFrom, &a);
    HeaderToW(a.hdr, w->hdr);
    LPWSTR callersText = w->item.pszText;
    int callersCount = w->item.cchTextMax;
    copyItem(w->item, a.item);
    w->item.cchTextMax = callersCount;
    if (made && text != OutOnly)
        BackToWide(a.item.pszText, callersText, callersCount);
    return r;
}

LRESULT ForwardHeaderDispInfo(HWND hwnd, int idFrom, NMHDDISPINFOW* w, WNDPROC fn)
{
    NMHDDISPINFOA a = {};
    a.hdr = w->hdr; // this code keeps its W value
    CopyDispInfo(a, *w);
    AtStringSlot buf;
    a.pszText = AnsiOut(buf, w->cchTextMax, a.cchTextMax);
    LRESULT r = Send(fn, hwnd, idFrom, &a);
    int callersCount = w->cchTextMax;
    w->hdr = a.hdr;
    CopyDispInfo(*w, a);
    w->cchTextMax = callersCount;
    BackToWide(a.pszText, w->pszText, callersCount);
    return r;
}

// The receiver is not told which button: iItem goes back, but does not go in.
LRESULT ForwardButtonInfo(HWND hwnd, int idFrom, NMTOOLBARW* w, WNDPROC fn)
{
    NMTOOLBARA a = {};
    HeaderToA(w->hdr, a.hdr);
    a.tbButton = w->tbButton;
    AtStringSlot buf;
    a.pszText = AnsiOut(buf, w->cchText, a.cchText);
    LRESULT r = Send(fn, hwnd, idFrom, &a);
    HeaderToW(a.hdr, w->hdr);
    w->iItem = a.iItem;
    w->tbButton = a.tbButton;
    BackToWide(a.pszText, w->pszText, w->cchText);
    return r;
}

// The record goes as it is, text pointers included: the tree view's own strings.
LRESULT ForwardTreeView(HWND hwnd, int idFrom, NMTREEVIEWW* w, WNDPROC fn)
{
    NMTREEVIEWA a;
    std::memcpy(&a, w, sizeof a);
    HeaderToA(w->hdr, a.hdr);
    LRESULT r = Send(fn, hwnd, idFrom, &a);
    HeaderToW(a.hdr, w->hdr);
    if (IsExpandOrDrag(w->hdr.code))
        CopyMovedItem(*w, a);
    return r;
}

LRESULT ForwardTreeSetDispInfo(HWND hwnd, int idFrom, NMTVDISPINFOW* w, WNDPROC fn)
{
    NMTVDISPINFOA a;
    std::memcpy(&a, w, sizeof a);
    HeaderToA(w->hdr, a.hdr);
    return Send(fn, hwnd, idFrom, &a);
}

// Header changes: a converted copy of the header item goes; nothing comes back.
LRESULT ForwardHeader(HWND hwnd, int idFrom, NMHEADERW* w, WNDPROC fn)
{
    NMHEADERA a = {};
    HeaderToA(w->hdr, a.hdr);
    a.iItem = w->iItem;
    a.iButton = w->iButton;
    HDITEMA item = {};
    AtStringSlot text;
    if (w->pitem) {
        CopyHeaderItem(item, *w->pitem);
        if (w->pitem->mask & HDI_TEXT)
            item.pszText = AnsiIn(text, w->pitem->pszText, w->pitem->cchTextMax);
        a.pitem = &item;
    }
    return Send(fn, hwnd, idFrom, &a);
}

// The tip's text always arrives in the caller's szText. A receiver that points
// lpszText at a string of its own has it read up to its NUL (at most 80 bytes); one
// that answers with a resource identifier has the identifier stored in the
// caller's lpszText, beside the hinst it set.
LRESULT ForwardTipText(HWND hwnd, int idFrom, NMTTDISPINFOW* w, WNDPROC fn)
{
    NMTTDISPINFOA a = {};
    HeaderToA(w->hdr, a.hdr);
    a.lpszText = a.szText;
    CopyTipFields(a, *w);
    WideCharToMultiByte(CP_ACP, 0, w->szText, 80, a.szText, 80, nullptr, nullptr);
    LRESULT r = Send(fn, hwnd, idFrom, &a);
    HeaderToW(a.hdr, w->hdr);
    if (a.lpszText == a.szText) {
        MultiByteToWideChar(CP_ACP, 0, a.szText, 80, w->szText, 80);
    } else if (IsString(a.lpszText)) {
        int len = static_cast<int>(strnlen(a.lpszText, 80));
        MultiByteToWideChar(CP_ACP, 0, a.lpszText, len < 80 ? len + 1 : 80, w->szText, 80);
    } else if (a.lpszText) {
        w->lpszText = reinterpret_cast<LPWSTR>(a.lpszText);
    }
    CopyTipFields(*w, a);
    return r;
}

LRESULT Forward(HWND hwnd, int idFrom, NMHDR* pnmh, WNDPROC fn)
{
    switch (pnmh->code) {
    case LVN_GETDISPINFOW:
    case LVN_BEGINLABELEDITW:
    case LVN_SETDISPINFOW:
    case LVN_ENDLABELEDITW: {
        UINT code = pnmh->code;
        TextTreatment text = code == LVN_SETDISPINFOW ? OutAndBack
            : code == LVN_ENDLABELEDITW               ? OutOnly
                                                      : OutAndBackWithMask;
        return ForwardItem<NMLVDISPINFOW, NMLVDISPINFOA>(hwnd, idFrom,
            reinterpret_cast<NMLVDISPINFOW*>(pnmh), fn, text,
            [](auto& to, const auto& from) { CopyListItem(to, from); });
    }
    case TVN_GETDISPINFOW:
    case TVN_BEGINLABELEDITW:
    case TVN_ENDLABELEDITW:
        return ForwardItem<NMTVDISPINFOW, NMTVDISPINFOA>(hwnd, idFrom,
            reinterpret_cast<NMTVDISPINFOW*>(pnmh), fn,
            pnmh->code == TVN_ENDLABELEDITW ? OutOnly : OutAndBackWithMask,
            [](auto& to, const auto& from) { CopyTreeItem(to, from); });
    case HDN_GETDISPINFOW:
        return ForwardHeaderDispInfo(hwnd, idFrom, reinterpret_cast<NMHDDISPINFOW*>(pnmh), fn);
    case TBN_GETBUTTONINFOW:
        return ForwardButtonInfo(hwnd, idFrom, reinterpret_cast<NMTOOLBARW*>(pnmh), fn);
    case TVN_SELCHANGINGW:
    case TVN_SELCHANGEDW:
    case TVN_ITEMEXPANDINGW:
    case TVN_ITEMEXPANDEDW:
    case TVN_BEGINDRAGW:
    case TVN_BEGINRDRAGW:
    case TVN_DELETEITEMW:
        return ForwardTreeView(hwnd, idFrom, reinterpret_cast<NMTREEVIEWW*>(pnmh), fn);
    case TVN_SETDISPINFOW:
        return ForwardTreeSetDispInfo(hwnd, idFrom, reinterpret_cast<NMTVDISPINFOW*>(pnmh), fn);
    case HDN_ITEMCHANGINGW:
    case HDN_ITEMCHANGEDW:
    case HDN_ITEMCLICKW:
    case HDN_ITEMDBLCLICKW:
    case HDN_DIVIDERDBLCLICKW:
    case HDN_BEGINTRACKW:
    case HDN_ENDTRACKW:
    case HDN_TRACKW:
        return ForwardHeader(hwnd, idFrom, reinterpret_cast<NMHEADERW*>(pnmh), fn);
    case TTN_NEEDTEXTW:
        return ForwardTipText(hwnd, idFrom, reinterpret_cast<NMTTDISPINFOW*>(pnmh), fn);
    }
    return Send(fn, hwnd, idFrom, pnmh);
}

// ---- handling: the received A record, a W record for the wide handler

LRESULT Call(AtNotifyHandlerW fn, HWND hwnd, WPARAM wParam, NMHDR* recordW)
{
    return fn(hwnd, static_cast<int>(wParam), recordW);
}

enum Handling { InAndBackWithMask, InOnly, OutAndBackIfMasked, InAndBack };

LRESULT HandleListItem(
    HWND hwnd, WPARAM wParam, NMLVDISPINFOA* a, AtNotifyHandlerW fn, Handling how)
{
    NMLVDISPINFOW w = {};
    HeaderToW(a->hdr, w.hdr);
    CopyListItem(w.item, a->item);
    w.item.pszText = reinterpret_cast<LPWSTR>(a->item.pszText);
    AtStringSlot text;
    bool textBit = a->item.mask & LVIF_TEXT;
    if (how == InOnly || how == InAndBack || (how == InAndBackWithMask && textBit))
        w.item.pszText = WideIn(text, a->item.pszText, w.item.cchTextMax);
    else if (how == OutAndBackIfMasked && textBit)
        w.item.pszText = WideOut(text, a->item.cchTextMax);
    LRESULT r = Call(fn, hwnd, wParam, &w.hdr);
    HeaderToA(w.hdr, a->hdr);
    LPSTR controlsText = a->item.pszText;
    int controlsCount = a->item.cchTextMax;
    CopyListItem(a->item, w.item);
    a->item.cchTextMax = controlsCount;
    bool back = how == InAndBack || (how == InAndBackWithMask && (w.item.mask & LVIF_TEXT))
        || (how == OutAndBackIfMasked && textBit);
    if (back)
        BackToAnsi(w.item.pszText, controlsText, controlsCount);
    return r;
}

LRESULT HandleTreeDispInfo(HWND hwnd, WPARAM wParam, NMTVDISPINFOA* a, AtNotifyHandlerW fn)
{
    NMTVDISPINFOW w = {};
    HeaderToW(a->hdr, w.hdr);
    CopyTreeItem(w.item, a->item);
    w.item.pszText = reinterpret_cast<LPWSTR>(a->item.pszText);
    AtStringSlot text;
    bool textBit = a->item.mask & TVIF_TEXT;
    if (textBit)
        w.item.pszText = WideOut(text, a->item.cchTextMax);
    LRESULT r = Call(fn, hwnd, wParam, &w.hdr);
    HeaderToA(w.hdr, a->hdr);
    LPSTR controlsText = a->item.pszText;
    int controlsCount = a->item.cchTextMax;
    CopyTreeItem(a->item, w.item);
    a->item.cchTextMax = controlsCount;
    if (textBit)
        BackToAnsi(w.item.pszText, controlsText, controlsCount);
    return r;
}

// Label edits of a tree view: the handler sees the item's handle, state, lParam and
// text; what it changes is not copied back.
LRESULT HandleTreeLabel(HWND hwnd, WPARAM wParam, NMTVDISPINFOA* a, AtNotifyHandlerW fn)
{
    NMTVDISPINFOW w = {};
    HeaderToW(a->hdr, w.hdr);
    w.item.hItem = a->item.hItem;
    w.item.state = a->item.state;
    w.item.lParam = a->item.lParam;
    AtStringSlot text;
    w.item.pszText = WideIn(text, a->item.pszText, w.item.cchTextMax);
    return Call(fn, hwnd, wParam, &w.hdr);
}

LRESULT HandleTreeView(HWND hwnd, WPARAM wParam, NMTREEVIEWA* a, AtNotifyHandlerW fn)
{
    NMTREEVIEWW w = {};
    HeaderToW(a->hdr, w.hdr);
    if (IsExpandOrDrag(w.hdr.code)) {
        CopyMovedItem(w, *a);
    } else {
        w.action = a->action;
        for (auto [to, from] :
            { std::pair(&w.itemOld, &a->itemOld), std::pair(&w.itemNew, &a->itemNew) }) {
            to->hItem = from->hItem;
            to->state = from->state;
            to->lParam = from->lParam;
        }
        w.ptDrag = a->ptDrag;
    }
    return Call(fn, hwnd, wParam, &w.hdr);
}

LRESULT HandleTreeSetDispInfo(HWND hwnd, WPARAM wParam, NMTVDISPINFOA* a, AtNotifyHandlerW fn)
{
    NMTVDISPINFOW w = {};
    HeaderToW(a->hdr, w.hdr);
    w.item.hItem = a->item.hItem;
    w.item.lParam = a->item.lParam;
    return Call(fn, hwnd, wParam, &w.hdr);
}

LRESULT HandleHeaderDispInfo(HWND hwnd, WPARAM wParam, NMHDDISPINFOA* a, AtNotifyHandlerW fn)
{
    NMHDDISPINFOW w = {};
    w.hdr = a->hdr; // this code keeps its A value
    CopyDispInfo(w, *a);
    w.pszText = reinterpret_cast<LPWSTR>(a->pszText);
    AtStringSlot text;
    bool textBit = a->mask & HDI_TEXT;
    if (textBit)
        w.pszText = WideOut(text, a->cchTextMax);
    LRESULT r = Call(fn, hwnd, wParam, &w.hdr);
    int controlsCount = a->cchTextMax;
    a->hdr = w.hdr;
    CopyDispInfo(*a, w);
    a->cchTextMax = controlsCount;
    if (textBit)
        BackToAnsi(w.pszText, a->pszText, controlsCount);
    return r;
}

// Header changes and tracking: a wide copy of the header item (none when the control
// sends none); nothing comes back. Clicks carry the control's item pointer as it is.
LRESULT HandleHeader(HWND hwnd, WPARAM wParam, NMHEADERA* a, AtNotifyHandlerW fn, bool convert)
{
    NMHEADERW w = {};
    HeaderToW(a->hdr, w.hdr);
    w.iItem = a->iItem;
    w.iButton = a->iButton;
    w.pitem = reinterpret_cast<HDITEMW*>(a->pitem);
    HDITEMW item = {};
    AtStringSlot text;
    if (convert && a->pitem) {
        CopyHeaderItem(item, *a->pitem);
        if (a->pitem->mask & HDI_TEXT)
            item.pszText = WideIn(text, a->pitem->pszText, a->pitem->cchTextMax);
        w.pitem = &item;
    }
    return Call(fn, hwnd, wParam, &w.hdr);
}

LRESULT HandleButtonInfo(HWND hwnd, WPARAM wParam, NMTOOLBARA* a, AtNotifyHandlerW fn)
{
    NMTOOLBARW w = {};
    HeaderToW(a->hdr, w.hdr);
    w.iItem = a->iItem;
    w.tbButton = a->tbButton;
    w.cchText = a->cchText;
    AtStringSlot text;
    w.pszText = WideOut(text, a->cchText);
    LRESULT r = Call(fn, hwnd, wParam, &w.hdr);
    HeaderToA(w.hdr, a->hdr);
    a->iItem = w.iItem;
    a->tbButton = w.tbButton;
    BackToAnsi(w.pszText, a->pszText, a->cchText);
    return r;
}

// The handler's answer goes into the control's record by the first rule that fits:
// a string resource of the notified window's module passes as its identifier (so
// does one of another module: an identifier is no string to convert); a string of
// the handler's own is converted into szText; otherwise szText is. szText always
// ends with a NUL within its 80 bytes.
LRESULT HandleTipText(HWND hwnd, WPARAM wParam, NMTTDISPINFOA* a, AtNotifyHandlerW fn)
{
    NMTTDISPINFOW w = {};
    HeaderToW(a->hdr, w.hdr);
    w.lpszText = w.szText;
    MultiByteToWideChar(CP_ACP, 0, a->szText, 80, w.szText, 80);
    CopyTipFields(w, *a);
    LRESULT r = Call(fn, hwnd, wParam, &w.hdr);
    HeaderToA(w.hdr, a->hdr);
    HINSTANCE own = reinterpret_cast<HINSTANCE>(Sys::GetWindowLongA(hwnd, GWL_HINSTANCE));
    if ((w.hinst && w.hinst == own) || (w.hinst && AtIsIntegerValue(w.lpszText))) {
        a->lpszText = reinterpret_cast<LPSTR>(w.lpszText);
    } else if (w.lpszText && IsString(w.lpszText)) {
        if (!WideCharToMultiByte(CP_ACP, 0, w.lpszText, int(wcslen(w.lpszText)) + 1, a->szText, 80,
                nullptr, nullptr))
            a->szText[79] = '\0';
    } else {
        WideCharToMultiByte(CP_ACP, 0, w.szText, 80, a->szText, 80, nullptr, nullptr);
    }
    CopyTipFields(*a, w);
    return r;
}

LRESULT Handle(HWND hwnd, WPARAM wParam, NMHDR* pnmh, AtNotifyHandlerW fn)
{
    auto lv = reinterpret_cast<NMLVDISPINFOA*>(pnmh);
    auto tv = reinterpret_cast<NMTVDISPINFOA*>(pnmh);
    auto hd = reinterpret_cast<NMHEADERA*>(pnmh);
    switch (pnmh->code) {
    case LVN_BEGINLABELEDITA:
        return HandleListItem(hwnd, wParam, lv, fn, InAndBackWithMask);
    case LVN_ENDLABELEDITA:
        return HandleListItem(hwnd, wParam, lv, fn, InOnly);
    case LVN_GETDISPINFOA:
        return HandleListItem(hwnd, wParam, lv, fn, OutAndBackIfMasked);
    case LVN_SETDISPINFOA:
        return HandleListItem(hwnd, wParam, lv, fn, InAndBack);
    case TVN_GETDISPINFOA:
        return HandleTreeDispInfo(hwnd, wParam, tv, fn);
    case TVN_BEGINLABELEDITA:
    case TVN_ENDLABELEDITA:
        return HandleTreeLabel(hwnd, wParam, tv, fn);
    case TVN_SETDISPINFOA:
        return HandleTreeSetDispInfo(hwnd, wParam, tv, fn);
    case TVN_SELCHANGINGA:
    case TVN_SELCHANGEDA:
    case TVN_DELETEITEMA:
    case TVN_ITEMEXPANDINGA:
    case TVN_ITEMEXPANDEDA:
    case TVN_BEGINDRAGA:
    case TVN_BEGINRDRAGA:
        return HandleTreeView(hwnd, wParam, reinterpret_cast<NMTREEVIEWA*>(pnmh), fn);
    case HDN_GETDISPINFOA:
        return HandleHeaderDispInfo(hwnd, wParam, reinterpret_cast<NMHDDISPINFOA*>(pnmh), fn);
    case HDN_ITEMCHANGINGA:
    case HDN_ITEMCHANGEDA:
    case HDN_DIVIDERDBLCLICKA:
    case HDN_BEGINTRACKA:
    case HDN_ENDTRACKA:
    case HDN_TRACKA:
        return HandleHeader(hwnd, wParam, hd, fn, true);
    case HDN_ITEMCLICKA:
    case HDN_ITEMDBLCLICKA:
        return HandleHeader(hwnd, wParam, hd, fn, false);
    case TBN_GETBUTTONINFOA:
        return HandleButtonInfo(hwnd, wParam, reinterpret_cast<NMTOOLBARA*>(pnmh), fn);
    case TTN_NEEDTEXTA:
        return HandleTipText(hwnd, wParam, reinterpret_cast<NMTTDISPINFOA*>(pnmh), fn);
    }
    return Call(fn, hwnd, wParam, pnmh);
}

} // namespace

LRESULT WINAPI AtFORWARD_WM_NOTIFYW(HWND hwnd, int idFrom, NMHDR* pnmh, WNDPROC fn)
{
    if (AtWidePath())
        return fn(hwnd, WM_NOTIFY, idFrom, reinterpret_cast<LPARAM>(pnmh));
    return AtTranslate<LRESULT>(0, [=] { return Forward(hwnd, idFrom, pnmh, fn); });
}

LRESULT WINAPI AtHANDLE_WM_NOTIFYW(HWND hwnd, WPARAM wParam, LPARAM lParam, AtNotifyHandlerW fn)
{
    if (AtWidePath())
        return fn(hwnd, static_cast<int>(wParam), reinterpret_cast<NMHDR*>(lParam));
    return AtTranslate<LRESULT>(
        0, [=] { return Handle(hwnd, wParam, reinterpret_cast<NMHDR*>(lParam), fn); });
}
