// Property sheets: the sheet, its pages, the pages' callbacks, and two messages.
#include "commctrl/commctrl.h"

AT_SYSTEM_FUNCTION(comctl32, PropertySheetW, -1)
AT_SYSTEM_FUNCTION(comctl32, PropertySheetA, -1)
AT_SYSTEM_FUNCTION(comctl32, CreatePropertySheetPageW, 0)
AT_SYSTEM_FUNCTION(comctl32, CreatePropertySheetPageA, 0)

namespace
{

// The caller's wide callback and lParam, which the page's callback adapter hands
// back to it. The page's lParam designates a heap copy of the pair that lives as
// long as the page: the system calls the adapter with PSPCB_RELEASE when it destroys
// the page, and the adapter frees it then.
struct SavedPair {
    LPFNPSPCALLBACKW pfnCallback;
    LPARAM lParam;
};

// The page as the system receives it, 68 bytes: the page, its three converted
// strings (template, icon, title) and the saved pair. The system is told the whole
// size, and walks an array of them at that stride.
struct PageA {
    PROPSHEETPAGEA_V2 page;
    void* strings[3];
    SavedPair pair;
};
static_assert(sizeof(PageA) == 68);

// Callers' pages are read at the stride of the page records they were written for,
// whatever each page's dwSize says.
constexpr size_t callerPageStride = 48;
static_assert(sizeof(PROPSHEETPAGEW_V2) == callerPageStride);

// The wide page that a wide callback receives: 60 bytes, the page and its strings.
struct PageW {
    PROPSHEETPAGEW_V2 page;
    AtStringSlot strings[3];
};

void FreeStrings(void* (&strings)[3])
{
    for (void*& s : strings) {
        AtStringSlot slot;
        slot.value = s;
        s = nullptr;
    }
}

// Converts into slots and keeps the results in the record, whose strings are then
// released with FreeStrings.
template <typename T> T KeepConverted(void*& kept, LPCWSTR s)
{
    AtStringSlot slot;
    AtWideToAnsiTemp(slot, s);
    kept = slot.value;
    slot.value = nullptr;
    return static_cast<T>(kept);
}

bool UsesAdapter(const PROPSHEETPAGEW_V2* w)
{
    return (w->dwFlags & PSP_USECALLBACK) && w->pfnCallback;
}

// A page W to A. A page without PSP_USECALLBACK (or without a callback) keeps its
// own callback and lParam.
void PageToA(const PROPSHEETPAGEW_V2* w, PageA& a)
{
    a = {};
    a.page.dwSize = sizeof(PageA);
    a.page.dwFlags = w->dwFlags;
    a.page.hInstance = w->hInstance;
    if (!(w->dwFlags & PSP_DLGINDIRECT) && !AtIsIntegerValue(w->pszTemplate))
        a.page.pszTemplate = KeepConverted<LPCSTR>(a.strings[0], w->pszTemplate);
    else
        a.page.pResource = w->pResource;
    if (w->dwFlags & PSP_USEHICON)
        a.page.hIcon = w->hIcon;
    else if (w->dwFlags & PSP_USEICONID)
        a.page.pszIcon = KeepConverted<LPCSTR>(a.strings[1], w->pszIcon);
    if (!AtIsIntegerValue(w->pszTitle))
        a.page.pszTitle = KeepConverted<LPCSTR>(a.strings[2], w->pszTitle);
    else
        a.page.pszTitle = reinterpret_cast<LPCSTR>(w->pszTitle);
    a.page.pfnDlgProc = w->pfnDlgProc;
    a.page.lParam = w->lParam;
    a.page.pfnCallback = reinterpret_cast<LPFNPSPCALLBACKA>(w->pfnCallback);
    a.page.pcRefParent = w->pcRefParent;
    if (UsesAdapter(w)) {
        a.pair = { w->pfnCallback, w->lParam };
        auto* kept = static_cast<SavedPair*>(AtAlloc(sizeof(SavedPair)));
        *kept = a.pair;
        a.page.pfnCallback = fnAtPropertySheetA;
        a.page.lParam = reinterpret_cast<LPARAM>(kept);
    }
}

SavedPair* KeptPair(const PageA& a)
{
    return a.page.pfnCallback == fnAtPropertySheetA ? reinterpret_cast<SavedPair*>(a.page.lParam)
                                                    : nullptr;
}

// A converted page that the system has not taken: its strings and its pair.
void ReleaseUntaken(PageA& a)
{
    if (SavedPair* pair = KeptPair(a)) {
        AtFree(pair);
        a.page.pfnCallback = nullptr;
    }
    FreeStrings(a.strings);
}

// The pages of PropertySheetW. Until the system has them, this owns their strings
// and pairs; afterwards only their strings and the array.
class PageArray
{
public:
    explicit PageArray(UINT n)
    {
        SIZE_T bytes;
        if (__builtin_mul_overflow(SIZE_T(n), sizeof(PageA), &bytes))
            bytes = ~SIZE_T(0);
        pages = static_cast<PageA*>(AtAlloc(bytes));
    }
    ~PageArray()
    {
        for (UINT i = count; i-- > 0;) {
            if (taken)
                FreeStrings(pages[i].strings);
            else
                ReleaseUntaken(pages[i]);
        }
        AtFree(pages);
    }
    PageArray(const PageArray&) = delete;
    PageArray& operator=(const PageArray&) = delete;

    void add(const PROPSHEETPAGEW_V2* w)
    {
        pages[count].strings[0] = pages[count].strings[1] = pages[count].strings[2] = nullptr;
        pages[count].page.pfnCallback = nullptr;
        ++count;
        PageToA(w, pages[count - 1]);
    }

    PageA* pages;
    UINT count = 0;
    bool taken = false;
};

} // namespace

INT_PTR WINAPI PropertySheetW(LPCPROPSHEETHEADERW header)
{
    return AtExport(Sys::PropertySheetW, header).orAnsi(-1, [=](AtSavedError& err) -> INT_PTR {
        PROPSHEETHEADERA a = {};
        AtStringSlot icon, caption, startPage;
        a.dwSize = 52; // with the watermark and header bitmaps, which stay empty
        a.dwFlags = header->dwFlags;
        a.hwndParent = header->hwndParent;
        a.hInstance = header->hInstance;
        if (header->dwFlags & PSH_USEHICON) {
            a.hIcon = header->hIcon;
        } else if (header->dwFlags & PSH_USEICONID) {
            AtWideToAnsiTemp(icon, header->pszIcon);
            a.pszIcon = icon;
        }
        AtWideToAnsiTemp(caption, header->pszCaption);
        a.pszCaption = caption;
        a.nPages = header->nPages;
        if ((header->dwFlags & PSH_USEPSTARTPAGE) && !AtIsIntegerValue(header->pStartPage)) {
            AtWideToAnsiTemp(startPage, header->pStartPage);
            a.pStartPage = startPage;
        } else {
            a.nStartPage = header->nStartPage;
        }
        a.pfnCallback = header->pfnCallback;
        if (!(header->dwFlags & PSH_PROPSHEETPAGE)) {
            a.phpage = header->phpage;
            return err.keep(Sys::PropertySheetA(&a));
        }
        PageArray pages(header->nPages);
        auto* callers = reinterpret_cast<const BYTE*>(header->ppsp);
        for (UINT i = 0; i < header->nPages; ++i)
            pages.add(reinterpret_cast<const PROPSHEETPAGEW_V2*>(callers + callerPageStride * i));
        a.ppsp = reinterpret_cast<LPCPROPSHEETPAGEA>(pages.pages);
        INT_PTR r = err.keep(Sys::PropertySheetA(&a));
        // A system that lacks the function never took the pages: their pairs are
        // still ours to free.
        pages.taken = !AtFoundMissing<Sys::PropertySheetA>();
        return r;
    });
}

HPROPSHEETPAGE WINAPI CreatePropertySheetPageW(LPCPROPSHEETPAGEW page)
{
    return AtExport(Sys::CreatePropertySheetPageW, page).orAnsi(nullptr, [=](AtSavedError& err) {
        PageA a = {};
        struct Release {
            PageA& a;
            bool taken = false;
            ~Release() { taken ? FreeStrings(a.strings) : ReleaseUntaken(a); }
        } release { a };
        PageToA(reinterpret_cast<const PROPSHEETPAGEW_V2*>(page), a);
        HPROPSHEETPAGE r
            = err.keep(Sys::CreatePropertySheetPageA(reinterpret_cast<LPCPROPSHEETPAGEA>(&a.page)));
        release.taken = r != nullptr;
        return r;
    });
}

// The system calls this for pages whose wide callback it cannot call: it builds the
// wide page from the A page and the saved pair, so the callback sees its own
// lParam. After PSPCB_RELEASE the page is gone, and so is its pair.
UINT CALLBACK fnAtPropertySheetA(HWND hwnd, UINT msg, LPPROPSHEETPAGEA ppsp)
{
    auto* pair = reinterpret_cast<SavedPair*>(ppsp->lParam);
    UINT r = AtTranslate<UINT>(0, [=] {
        PageW w = {};
        w.page.dwSize = sizeof(PageW);
        w.page.dwFlags = ppsp->dwFlags;
        w.page.hInstance = ppsp->hInstance;
        if (!(ppsp->dwFlags & PSP_DLGINDIRECT) && !AtIsIntegerValue(ppsp->pszTemplate)) {
            AtAnsiToWideTemp(w.strings[0], ppsp->pszTemplate);
            w.page.pszTemplate = w.strings[0];
        } else {
            w.page.pResource = ppsp->pResource;
        }
        if (ppsp->dwFlags & PSP_USEHICON) {
            w.page.hIcon = ppsp->hIcon;
        } else if (ppsp->dwFlags & PSP_USEICONID) {
            AtAnsiToWideTemp(w.strings[1], ppsp->pszIcon);
            w.page.pszIcon = w.strings[1];
        }
        AtAnsiToWideTemp(w.strings[2], ppsp->pszTitle);
        w.page.pszTitle = w.strings[2];
        w.page.pfnDlgProc = ppsp->pfnDlgProc;
        w.page.lParam = pair->lParam;
        w.page.pfnCallback = pair->pfnCallback;
        w.page.pcRefParent = ppsp->pcRefParent;
        return pair->pfnCallback(hwnd, msg, reinterpret_cast<LPPROPSHEETPAGEW>(&w.page));
    });
    if (msg == PSPCB_RELEASE)
        AtFree(pair);
    return r;
}

void WINAPI AtPropSheet_SetTitleW(HWND hDlg, DWORD style, LPCWSTR text)
{
    AtControlMessage(hDlg, PSM_SETTITLEW, style, text, 0, [=] {
        return Sys::SendMessageA(hDlg, PSM_SETTITLEA, style, AtParam(AtAnsiTemp(text).value));
    });
}

// Both platforms are sent PSM_SETFINISHTEXTW (0x479); Windows 95, 98 and Me with the
// ANSI text.
void WINAPI AtPropSheet_SetFinishTextW(HWND hDlg, LPCWSTR text)
{
    AtControlMessage(hDlg, PSM_SETFINISHTEXTW, 0, text, 0, [=] {
        return Sys::SendMessageA(hDlg, PSM_SETFINISHTEXTW, 0, AtParam(AtAnsiTemp(text).value));
    });
}
