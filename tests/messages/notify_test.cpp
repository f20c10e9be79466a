// Common-control notifications carried between their W and A forms: by real controls
// notifying a wide parent procedure, and record by record through both exports.
#include <cstring>
#include <string>
#include <tuple>

#include "commctrl/controls.h"

namespace
{

using harness::AnsiPath;
using harness::NonAsciiText;
using harness::ToAnsi;

// What the wide handler of the parent saw, and the text it answers with.
struct Seen {
    std::vector<UINT> codes;
    std::wstring text;
    NMHDR* record = nullptr;
};
Seen seen;
std::wstring answer;

LRESULT CALLBACK OnNotify(HWND, int, NMHDR* nm)
{
    seen.codes.push_back(nm->code);
    seen.record = nm;
    switch (nm->code) {
    case LVN_GETDISPINFOW: {
        auto* di = reinterpret_cast<NMLVDISPINFOW*>(nm);
        if (di->item.mask & LVIF_TEXT)
            lstrcpynW(di->item.pszText, (answer + std::to_wstring(di->item.iItem)).c_str(),
                di->item.cchTextMax);
        break;
    }
    case TVN_GETDISPINFOW: {
        static std::wstring own;
        own = answer + L"T";
        reinterpret_cast<NMTVDISPINFOW*>(nm)->item.pszText = own.data(); // its own string
        break;
    }
    case HDN_ITEMCHANGINGW: {
        auto* h = reinterpret_cast<NMHEADERW*>(nm);
        if (h->pitem && (h->pitem->mask & HDI_TEXT))
            seen.text = h->pitem->pszText;
        break;
    }
    case TVN_SELCHANGEDW:
    case TVN_DELETEITEMW:
        seen.text = std::to_wstring(reinterpret_cast<NMTREEVIEWW*>(nm)->itemNew.lParam
            + reinterpret_cast<NMTREEVIEWW*>(nm)->itemOld.lParam);
        break;
    }
    return 0;
}

LRESULT CALLBACK Parent(HWND hwnd, UINT msg, WPARAM wParam, LPARAM lParam)
{
    if (msg == WM_NOTIFY)
        return AtHANDLE_WM_NOTIFYW(hwnd, wParam, lParam, OnNotify);
    return DefWindowProcW(hwnd, msg, wParam, lParam);
}

class NotifyTest : public harness::TorwenTest
{
protected:
    void SetUp() override
    {
        harness::TorwenTest::SetUp();
        seen = {};
        answer = L"Antwort " + NonAsciiText();
        SetWindowLongW(parent.hwnd, GWL_WNDPROC, LONG(Parent));
    }
    TestWindow parent;
    WCHAR buf[100];
};

// The controls ask a wide parent for their texts, in A form on the ANSI path, and show
// what it answered; the handler sees W codes either way.
TEST_F(NotifyTest, RealControlsNotifyAWideParent)
{
    HWND lv = Control(parent.hwnd, WC_LISTVIEWW, LVS_REPORT);
    LVCOLUMNW col = { LVCF_TEXT | LVCF_WIDTH, 0, 100, const_cast<LPWSTR>(L"c") };
    AtListView_InsertColumnW(lv, 0, &col);
    LVITEMW item = { LVIF_TEXT, 0, 0, 0, 0, LPSTR_TEXTCALLBACKW };
    ASSERT_EQ(AtListView_InsertItemW(lv, &item), 0);
    item.iItem = 1;
    ASSERT_EQ(AtListView_InsertItemW(lv, &item), 1);
    AtListView_GetItemTextW(lv, 1, 0, buf, 100);
    EXPECT_EQ(std::wstring(buf), answer + L"1");
    EXPECT_EQ(seen.codes.back(), UINT(LVN_GETDISPINFOW));

    HWND tv = Control(parent.hwnd, WC_TREEVIEWW);
    TVINSERTSTRUCTW ins = { TVI_ROOT, TVI_LAST };
    ins.item.mask = TVIF_TEXT | TVIF_PARAM;
    ins.item.pszText = LPSTR_TEXTCALLBACKW;
    ins.item.lParam = 40;
    HTREEITEM first = AtTreeView_InsertItemW(tv, &ins);
    ins.item.lParam = 2;
    HTREEITEM second = AtTreeView_InsertItemW(tv, &ins);
    TVITEMW get = { TVIF_TEXT | TVIF_HANDLE, first, 0, 0, buf, 100 };
    ASSERT_TRUE(AtTreeView_GetItemW(tv, &get));
    EXPECT_EQ(std::wstring(buf), answer + L"T");
    SendMessageW(tv, TVM_SELECTITEM, TVGN_CARET, LPARAM(first));
    seen.codes.clear();
    SendMessageW(tv, TVM_SELECTITEM, TVGN_CARET, LPARAM(second));
    EXPECT_EQ(seen.codes, (std::vector<UINT> { TVN_SELCHANGINGW, TVN_SELCHANGEDW }));
    EXPECT_EQ(seen.text, L"42") << "old and new item's lParam";

    // Codes without text reach the handler as they are.
    HWND tb = Control(parent.hwnd, TOOLBARCLASSNAMEW, TBSTYLE_FLAT);
    SendMessageW(tb, TB_BUTTONSTRUCTSIZE, sizeof(TBBUTTON), 0);
    TBBUTTON button = { 0, 10, TBSTATE_ENABLED, BTNS_BUTTON, {}, 0, 0 };
    ToolBar_AddButtons(tb, 1, &button);
    seen.codes.clear();
    SendMessageW(tb, TB_SETHOTITEM, 0, 0);
    EXPECT_EQ(seen.codes, std::vector<UINT> { UINT(TBN_HOTITEMCHANGE) });

    HWND hd = Control(parent.hwnd, WC_HEADERW);
    HDITEMW hi = {};
    hi.mask = HDI_TEXT;
    hi.pszText = const_cast<LPWSTR>(L"a");
    AtHeader_InsertItemW(hd, 0, &hi);
    hi.pszText = answer.data();
    seen.codes.clear();
    AtHeader_SetItemW(hd, 0, &hi);
    EXPECT_EQ(seen.codes, (std::vector<UINT> { HDN_ITEMCHANGINGW, HDN_ITEMCHANGEDW }));
    EXPECT_EQ(seen.text, answer);
}

// An ANSI procedure that records what it received and answers like a control's parent.
struct Received {
    UINT code;
    LPARAM record;
    std::vector<BYTE> copy;
};
std::vector<Received> received;
const char* ansiAnswer;

template <typename T> const T& Last()
{
    return *reinterpret_cast<const T*>(received.back().copy.data());
}

LRESULT CALLBACK AnsiProc(HWND, UINT, WPARAM, LPARAM lParam)
{
    auto* nm = reinterpret_cast<NMHDR*>(lParam);
    received.push_back({ nm->code, lParam,
        std::vector<BYTE>(
            reinterpret_cast<BYTE*>(lParam), reinterpret_cast<BYTE*>(lParam) + 100) });
    switch (nm->code) {
    case LVN_GETDISPINFOA:
    case LVN_ENDLABELEDITA: {
        auto* di = reinterpret_cast<NMLVDISPINFOA*>(nm);
        if (di->item.mask & LVIF_TEXT)
            lstrcpynA(di->item.pszText, ansiAnswer, di->item.cchTextMax);
        di->item.lParam = 77;
        break;
    }
    case TTN_NEEDTEXTA: {
        auto* tt = reinterpret_cast<NMTTDISPINFOA*>(nm);
        tt->lpszText = const_cast<LPSTR>(ansiAnswer);
        tt->uFlags = 5;
        break;
    }
    case HDN_ITEMCHANGINGA: { // edits in place, within the stated capacity
        HDITEMA* item = reinterpret_cast<NMHEADERA*>(nm)->pitem;
        memset(item->pszText, 'e', item->cchTextMax - 1);
        item->pszText[item->cchTextMax - 1] = '\0';
        break;
    }
    case TBN_GETBUTTONINFOA: {
        auto* tb = reinterpret_cast<NMTOOLBARA*>(nm);
        lstrcpynA(tb->pszText, ansiAnswer, tb->cchText);
        tb->iItem = 3;
        tb->tbButton.idCommand = 300;
        return TRUE;
    }
    }
    return 11;
}

// Forwarding a W record: the A code and record reach the procedure, the answer comes back
// into the caller's record, and the W code is restored.
TEST_F(NotifyTest, ForwardedRecords)
{
    received.clear();
    const std::string a = ToAnsi(answer);
    ansiAnswer = a.c_str();
    // Codes without text, and text codes of no converted kind, pass with the caller's record.
    NMHDR click = { parent.hwnd, 1, UINT(NM_CLICK) };
    EXPECT_EQ(AtFORWARD_WM_NOTIFYW(parent.hwnd, 1, &click, AnsiProc), 11);
    NMLVFINDITEMW find = { { parent.hwnd, 1, UINT(LVN_ODFINDITEMW) } };
    AtFORWARD_WM_NOTIFYW(parent.hwnd, 1, &find.hdr, AnsiProc);
    EXPECT_EQ(received.at(0).record, LPARAM(&click));
    EXPECT_EQ(received.at(1).record, LPARAM(&find));

    NMTREEVIEWW sel = { { parent.hwnd, 1, UINT(TVN_SELCHANGEDW) }, TVC_BYMOUSE };
    sel.itemNew.pszText = answer.data();
    sel.itemNew.lParam = 9;
    AtFORWARD_WM_NOTIFYW(parent.hwnd, 1, &sel.hdr, AnsiProc);
    EXPECT_EQ(sel.hdr.code, UINT(TVN_SELCHANGEDW));
    if (!AnsiPath()) {
        EXPECT_EQ(received.back().record, LPARAM(&sel));
        return;
    }
    harness::GuardedHeapBlocks guard; // the copies an edit in place writes into
    EXPECT_EQ(received.back().code, UINT(TVN_SELCHANGEDA));
    EXPECT_EQ(Last<NMTREEVIEWA>().itemNew.pszText, reinterpret_cast<LPSTR>(answer.data()));
    EXPECT_EQ(Last<NMTREEVIEWA>().itemNew.lParam, 9);

    // List-view display info: a buffer of the caller's capacity, only with LVIF_TEXT.
    NMLVDISPINFOW di = { { parent.hwnd, 1, UINT(LVN_GETDISPINFOW) } };
    di.item = { LVIF_TEXT | LVIF_PARAM, 4, 0, 0, 0, buf, 50 };
    EXPECT_EQ(AtFORWARD_WM_NOTIFYW(parent.hwnd, 1, &di.hdr, AnsiProc), 11);
    EXPECT_EQ(received.back().code, UINT(LVN_GETDISPINFOA));
    EXPECT_EQ(Last<NMLVDISPINFOA>().item.cchTextMax, 50 * MaxCharSize());
    EXPECT_EQ(std::tuple(std::wstring(buf), di.item.lParam, di.item.iItem, di.hdr.code),
        std::tuple(answer, LPARAM(77), 4, UINT(LVN_GETDISPINFOW)));
    lstrcpyW(buf, L"alt");
    di.item = { LVIF_PARAM, 4, 0, 0, 0, buf, 50 };
    AtFORWARD_WM_NOTIFYW(parent.hwnd, 1, &di.hdr, AnsiProc);
    EXPECT_EQ(Last<NMLVDISPINFOA>().item.pszText, reinterpret_cast<LPSTR>(buf));
    EXPECT_EQ(std::wstring(buf), L"alt");
    // An ended edit gets an empty buffer, and nothing comes back.
    di.hdr.code = LVN_ENDLABELEDITW;
    di.item.mask = LVIF_TEXT;
    AtFORWARD_WM_NOTIFYW(parent.hwnd, 1, &di.hdr, AnsiProc);
    EXPECT_EQ(std::tuple(received.back().code, std::wstring(buf)),
        std::tuple(UINT(LVN_ENDLABELEDITA), std::wstring(L"alt")));

    // The header's display info keeps its W code; a changing item's text is the
    // receiver's to edit in place within its capacity, and nothing comes back.
    NMHDDISPINFOW hdi = { { parent.hwnd, 1, UINT(HDN_GETDISPINFOW) }, 0, HDI_TEXT, buf, 50 };
    AtFORWARD_WM_NOTIFYW(parent.hwnd, 1, &hdi.hdr, AnsiProc);
    EXPECT_EQ(received.back().code, UINT(HDN_GETDISPINFOW));
    WCHAR wide[] = L"ab";
    HDITEMW item = { HDI_TEXT, 0, wide, nullptr, 30 };
    NMHEADERW hd = { { parent.hwnd, 1, UINT(HDN_ITEMCHANGINGW) }, 0, 0, &item };
    AtFORWARD_WM_NOTIFYW(parent.hwnd, 1, &hd.hdr, AnsiProc);
    EXPECT_EQ(std::wstring(wide), L"ab");

    // The button's index is not passed in, but comes back with the button and its text.
    NMTOOLBARW tb = { { parent.hwnd, 1, UINT(TBN_GETBUTTONINFOW) }, 7, { 0, 100 }, 50, buf };
    EXPECT_EQ(AtFORWARD_WM_NOTIFYW(parent.hwnd, 1, &tb.hdr, AnsiProc), TRUE);
    EXPECT_EQ(std::tuple(Last<NMTOOLBARA>().iItem, Last<NMTOOLBARA>().tbButton.idCommand,
                  Last<NMTOOLBARA>().cchText),
        std::tuple(0, 100, 50 * MaxCharSize()));
    EXPECT_EQ(
        std::tuple(tb.iItem, tb.tbButton.idCommand, std::wstring(buf)), std::tuple(3, 300, answer));

    // Tooltip text arrives in szText, cut to 80 bytes, and lpszText stays the caller's.
    NMTTDISPINFOW tt = { { parent.hwnd, 1, UINT(TTN_NEEDTEXTW) }, buf, L"vorher" };
    AtFORWARD_WM_NOTIFYW(parent.hwnd, 1, &tt.hdr, AnsiProc);
    EXPECT_EQ(
        std::tuple(std::wstring(tt.szText), tt.lpszText, tt.uFlags), std::tuple(answer, buf, 5u));
    const std::string longA(100, 'x');
    ansiAnswer = longA.c_str();
    AtFORWARD_WM_NOTIFYW(parent.hwnd, 1, &tt.hdr, AnsiProc);
    EXPECT_EQ(std::wstring(tt.szText, 80), std::wstring(80, L'x'));
}

// Handling an A record: the wide handler's answers, in each of their forms, land in the
// control's record.
LRESULT CALLBACK WideAnswers(HWND hwnd, int, NMHDR* nm)
{
    seen.codes.push_back(nm->code);
    seen.record = nm;
    static std::wstring own;
    own = answer;
    if (nm->code == TTN_NEEDTEXTW) {
        auto* tt = reinterpret_cast<NMTTDISPINFOW*>(nm);
        seen.text = tt->szText;
        if (answer == L"resource") {
            tt->hinst = HINSTANCE(GetWindowLongW(hwnd, GWL_HINSTANCE));
            tt->lpszText = MAKEINTRESOURCEW(12);
        } else if (answer == L"szText") {
            lstrcpyW(tt->szText, L"im Feld");
        } else {
            tt->lpszText = own.data();
        }
    } else if (nm->code == LVN_GETDISPINFOW) {
        reinterpret_cast<NMLVDISPINFOW*>(nm)->item.pszText = own.data();
    } else if (nm->code == LVN_BEGINLABELEDITW) { // edits in place, within the stated capacity
        auto& item = reinterpret_cast<NMLVDISPINFOW*>(nm)->item;
        wmemset(item.pszText, L'e', item.cchTextMax - 1);
        item.pszText[item.cchTextMax - 1] = L'\0';
    } else if (nm->code == HDN_ITEMCHANGINGW) {
        seen.text = reinterpret_cast<NMHEADERW*>(nm)->pitem ? L"item" : L"null";
    }
    return 1;
}

TEST_F(NotifyTest, HandledRecords)
{
    NMHDR custom = { parent.hwnd, 1, UINT(NM_CUSTOMDRAW) };
    EXPECT_EQ(AtHANDLE_WM_NOTIFYW(parent.hwnd, 1, LPARAM(&custom), WideAnswers), 1);
    EXPECT_EQ(seen.record, &custom);
    if (!AnsiPath())
        GTEST_SKIP() << "the W path passes every record as it is";
    harness::GuardedHeapBlocks guard; // the copies an edit in place writes into

    NMTTDISPINFOA tt = { { parent.hwnd, 1, UINT(TTN_NEEDTEXTA) }, nullptr, "vorher" };
    tt.lpszText = tt.szText;
    AtHANDLE_WM_NOTIFYW(parent.hwnd, 1, LPARAM(&tt), WideAnswers);
    EXPECT_EQ(std::tuple(seen.codes.back(), seen.text, std::string(tt.szText)),
        std::tuple(UINT(TTN_NEEDTEXTW), std::wstring(L"vorher"), ToAnsi(answer)));
    EXPECT_EQ(tt.lpszText, tt.szText);
    EXPECT_EQ(tt.hdr.code, UINT(TTN_NEEDTEXTA));
    answer = L"szText";
    AtHANDLE_WM_NOTIFYW(parent.hwnd, 1, LPARAM(&tt), WideAnswers);
    EXPECT_EQ(std::string(tt.szText), "im Feld");
    answer = L"resource";
    AtHANDLE_WM_NOTIFYW(parent.hwnd, 1, LPARAM(&tt), WideAnswers);
    EXPECT_EQ(tt.lpszText, MAKEINTRESOURCEA(12));
    answer = std::wstring(100, L'y');
    tt.lpszText = tt.szText;
    tt.hinst = nullptr;
    memset(tt.szText, 'z', 80);
    AtHANDLE_WM_NOTIFYW(parent.hwnd, 1, LPARAM(&tt), WideAnswers);
    EXPECT_LT(strnlen(tt.szText, 80), 80u) << "too long a text still ends within szText";

    answer = L"Eigen " + NonAsciiText();
    char text[40] = "";
    NMLVDISPINFOA di = { { parent.hwnd, 1, UINT(LVN_GETDISPINFOA) } };
    di.item = { LVIF_TEXT, 0, 0, 0, 0, text, 40 };
    AtHANDLE_WM_NOTIFYW(parent.hwnd, 1, LPARAM(&di), WideAnswers);
    EXPECT_EQ(std::string(text), ToAnsi(answer));
    EXPECT_EQ(di.item.pszText, text);
    di.hdr.code = LVN_BEGINLABELEDITA;
    AtHANDLE_WM_NOTIFYW(parent.hwnd, 1, LPARAM(&di), WideAnswers);
    EXPECT_EQ(std::string(text), std::string(39, 'e')) << "an edit comes back";

    NMHEADERA hd = { { parent.hwnd, 1, UINT(HDN_ITEMCHANGINGA) }, 0, 0, nullptr };
    AtHANDLE_WM_NOTIFYW(parent.hwnd, 1, LPARAM(&hd), WideAnswers);
    EXPECT_EQ(seen.text, L"null");
}

} // namespace
