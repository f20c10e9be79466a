// Property sheets with wide pages and a wide page callback, on the real comctl32, and
// the A header and pages the system receives.
#include <functional>
#include <tuple>

#include "commctrl/controls.h"

namespace
{

using harness::AnsiPath;
using harness::NonAsciiText;

// An empty child dialog in memory.
struct Template {
    DLGTEMPLATE t;
    WORD menu, cls, title;
};
const Template emptyPage = { { WS_CHILD | WS_VISIBLE, 0, 0, 0, 0, 100, 50 }, 0, 0, 0 };

struct CallbackCall {
    UINT msg;
    LPARAM lParam;
    std::wstring title;
    DWORD size;
};
std::vector<CallbackCall> callbacks;

UINT CALLBACK WideCallback(HWND, UINT msg, LPPROPSHEETPAGEW page)
{
    callbacks.push_back({ msg, page->lParam, page->pszTitle ? page->pszTitle : L"", page->dwSize });
    return 1;
}

INT_PTR CALLBACK PageProc(HWND, UINT, WPARAM, LPARAM)
{
    return FALSE;
}

class PropSheetTest : public harness::TorwenTest
{
protected:
    void SetUp() override
    {
        harness::TorwenTest::SetUp();
        InitControls();
        callbacks.clear();
        for (int i = 0; i < 2; ++i) {
            pages[i] = {};
            pages[i].dwSize = sizeof(PROPSHEETPAGEW_V2) + 20 * i; // read at 48 bytes whatever
            pages[i].dwFlags = PSP_DLGINDIRECT | PSP_USETITLE;
            pages[i].pResource = &emptyPage.t;
            pages[i].pszTitle = titles[i].c_str();
            pages[i].pfnDlgProc = PageProc;
            pages[i].lParam = 1000 + i;
        }
        pages[0].dwFlags |= PSP_USECALLBACK;
        pages[0].pfnCallback = WideCallback;
        header = {};
        header.dwSize = sizeof header;
        header.dwFlags = PSH_MODELESS | PSH_PROPSHEETPAGE | PSH_NOAPPLYNOW;
        header.hwndParent = parent.hwnd;
        header.pszCaption = caption.c_str();
        header.nPages = 2;
        header.ppsp = reinterpret_cast<LPCPROPSHEETPAGEW>(pages);
    }

    static BOOL DestroyPage(HPROPSHEETPAGE page)
    {
        static auto destroy
            = reinterpret_cast<BOOL(WINAPI*)(HPROPSHEETPAGE)>(reinterpret_cast<void*>(
                GetProcAddress(GetModuleHandleA("comctl32.dll"), "DestroyPropertySheetPage")));
        return destroy(page);
    }

    TestWindow parent;
    const std::wstring caption = L"Blatt " + NonAsciiText();
    const std::wstring titles[2] = { L"Seite " + NonAsciiText(), L"Zwei" };
    PROPSHEETPAGEW_V2 pages[2];
    PROPSHEETHEADERW header;
};

// A modeless sheet of two pages: the wide callback sees its own page (60 bytes of it on
// the ANSI path), the sheet takes a new title, and the release comes when it closes.
TEST_F(PropSheetTest, ModelessSheetWithAWideCallback)
{
    HWND sheet = HWND(PropertySheetW(&header));
    ASSERT_TRUE(sheet);
    ASSERT_FALSE(callbacks.empty());
    EXPECT_EQ(std::tuple(callbacks.back().msg, callbacks.back().lParam, callbacks.back().title),
        std::tuple(UINT(PSPCB_CREATE), LPARAM(1000), titles[0]));
    EXPECT_EQ(callbacks.back().size, AnsiPath() ? 60u : sizeof(PROPSHEETPAGEW_V2));
    WCHAR text[64];
    GetWindowTextW(sheet, text, 64);
    EXPECT_NE(std::wstring(text).find(caption), std::wstring::npos) << std::wstring(text);
    const std::wstring title = L"Titel " + NonAsciiText();
    AtPropSheet_SetTitleW(sheet, 0, title.c_str());
    GetWindowTextW(sheet, text, 64);
    EXPECT_NE(std::wstring(text).find(title), std::wstring::npos) << std::wstring(text);

    SendMessageW(sheet, PSM_PRESSBUTTON, PSBTN_CANCEL, 0);
    EXPECT_EQ(SendMessageW(sheet, PSM_GETCURRENTPAGEHWND, 0, 0), 0);
    DestroyWindow(sheet);
    EXPECT_EQ(std::tuple(callbacks.back().msg, callbacks.back().lParam),
        std::tuple(UINT(PSPCB_RELEASE), LPARAM(1000)));
}

// A page made alone keeps its callback's pair until the system releases the page.
TEST_F(PropSheetTest, PageMadeAloneCallsBackAfterTheExportReturned)
{
    HPROPSHEETPAGE page = CreatePropertySheetPageW(reinterpret_cast<LPCPROPSHEETPAGEW>(&pages[0]));
    ASSERT_TRUE(page);
    callbacks.clear();
    EXPECT_TRUE(DestroyPage(page));
    ASSERT_EQ(callbacks.size(), 1u);
    EXPECT_EQ(std::tuple(callbacks[0].msg, callbacks[0].lParam, callbacks[0].title),
        std::tuple(UINT(PSPCB_RELEASE), LPARAM(1000), titles[0]));
}

// What PropertySheetA receives: the 52-byte header, 68-byte pages read from the caller's
// 48-byte steps, the adapter only where the caller has a callback, an identifier as
// caption, no icon without an icon flag.
TEST_F(PropSheetTest, WhatTheAnsiSystemReceives)
{
    if (!AnsiPath())
        GTEST_SKIP() << "the W path passes the caller's header";
    header.pszCaption = MAKEINTRESOURCEW(7);
    header.hIcon = HICON(0x1234);
    pages[1].dwFlags |= PSP_USECALLBACK; // without a callback: nothing to adapt
    PROPSHEETHEADERA seen = {};
    std::vector<PROPSHEETPAGEA_V2> seenPages;
    std::vector<std::string> seenTitles;
    bool reached = false;
    TW_HOOK(sheetA, PropertySheetA, [&](LPCPROPSHEETHEADERA h) {
        reached = true;
        seen = *h;
        auto* p = reinterpret_cast<const BYTE*>(h->ppsp);
        for (UINT i = 0; i < h->nPages; ++i) {
            seenPages.push_back(*reinterpret_cast<const PROPSHEETPAGEA_V2*>(p + 68 * i));
            seenTitles.push_back(seenPages.back().pszTitle);
            if (seenPages.back().pfnCallback == fnAtPropertySheetA)
                fnAtPropertySheetA(
                    nullptr, PSPCB_RELEASE, LPPROPSHEETPAGEA(const_cast<BYTE*>(p + 68 * i)));
        }
        return INT_PTR(0);
    });
    std::vector<SIZE_T> sizes;
    std::vector<harness::HeapEvent> events;
    {
        harness::HeapLog log;
        EXPECT_EQ(PropertySheetW(&header), 0);
        sizes = log.allocationSizes();
        events = log.events();
    }
    // The page array (the caption is an identifier), then each page's title and the
    // first page's pair; the titles are freed before the array, which goes last.
    sizes.resize(4);
    EXPECT_EQ(sizes, (std::vector<SIZE_T> { 136, harness::ToAnsi(titles[0]).size() + 1, 8, 5 }));
    EXPECT_EQ(events.back().kind, harness::HeapEvent::Free);
    EXPECT_EQ(events.back().block, events.front().block);
    EXPECT_EQ(std::tuple(seen.dwSize, seen.pszCaption, seen.hIcon, seen.nPages),
        std::tuple(DWORD(52), MAKEINTRESOURCEA(7), HICON(nullptr), 2u));
    ASSERT_EQ(seenPages.size(), 2u);
    EXPECT_EQ(std::tuple(seenPages[0].dwSize, seenPages[0].pfnCallback, seenTitles[0]),
        std::tuple(DWORD(68), LPFNPSPCALLBACKA(fnAtPropertySheetA), harness::ToAnsi(titles[0])));
    EXPECT_NE(seenPages[0].lParam, 1000);
    EXPECT_EQ(std::tuple(seenPages[1].dwSize, seenPages[1].pfnCallback, seenPages[1].lParam,
                  seenTitles[1]),
        std::tuple(DWORD(68), LPFNPSPCALLBACKA(nullptr), LPARAM(1001), std::string("Zwei")));
    EXPECT_EQ(callbacks.size(), 1u) << "the release reached the wide callback";

    // A failed allocation answers -1 with last error 0 and frees what was made, also the
    // pairs; one in the adapter skips the wide callback, and still frees the pair.
    EXPECT_GE(harness::SweepAllocationFailures([&](int) {
        SetLastError(1234);
        header.pszCaption = caption.c_str();
        reached = false;
        INT_PTR r = PropertySheetW(&header);
        if (!reached) {
            EXPECT_EQ(std::tuple(r, GetLastError()), std::tuple(INT_PTR(-1), DWORD(0)));
        }
        HPROPSHEETPAGE page
            = CreatePropertySheetPageW(reinterpret_cast<LPCPROPSHEETPAGEW>(&pages[0]));
        if (page)
            DestroyPage(page);
    }),
        3);
}

TEST_F(PropSheetTest, MessagesOfTheAnsiPath)
{
    if (!AnsiPath())
        GTEST_SKIP() << "the W path sends the W messages with the caller's text";
    std::vector<std::pair<UINT, std::string>> sent;
    TW_HOOK(sendA, SendMessageA, [&](HWND, UINT m, WPARAM, LPARAM l) {
        sent.push_back({ m, LPCSTR(l) });
        return LRESULT(0);
    });
    const std::wstring text = L"Fertig " + NonAsciiText();
    AtPropSheet_SetTitleW(parent.hwnd, 0, text.c_str());
    AtPropSheet_SetFinishTextW(parent.hwnd, text.c_str());
    const std::string textA = harness::ToAnsi(text);
    EXPECT_EQ(
        sent, (std::vector<std::pair<UINT, std::string>> { { 0x46F, textA }, { 0x479, textA } }));
}

} // namespace
