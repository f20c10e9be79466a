// List views, tree views, headers and tab controls filled and read through the
// helpers, on real controls; and what the ANSI controls receive.
#include <cstring>
#include <functional>
#include <tuple>

#include "commctrl/controls.h"

namespace
{

using harness::AnsiPath;
using harness::NonAsciiText;
using harness::ToAnsi;

class ItemsTest : public harness::TorwenTest
{
protected:
    TestWindow parent;
    const std::wstring text = L"Zeile " + NonAsciiText(), other = L"Neu " + NonAsciiText();
    WCHAR buf[64];
    WCHAR zwei[8] = L"Zwei";

    LPWSTR Text(const std::wstring& s) { return const_cast<LPWSTR>(s.c_str()); }
    void Clear() { wmemset(buf, L'#', 64), buf[63] = 0; }
};

// Report mode: columns, items, sub-items, searches, edits, all with text beyond ASCII.
TEST_F(ItemsTest, ListView)
{
    HWND lv = Control(parent.hwnd, WC_LISTVIEWW, LVS_REPORT);
    ASSERT_TRUE(lv);
    const std::wstring title = L"Spalte " + NonAsciiText(), sub = L"Sub " + NonAsciiText();
    LVCOLUMNW col = { LVCF_TEXT | LVCF_WIDTH, 0, 100, Text(title), 0, 0, 0, 0 };
    EXPECT_EQ(AtListView_InsertColumnW(lv, 0, &col), 0);
    EXPECT_EQ(AtListView_InsertColumnW(lv, 1, &col), 1);
    col.cx = 70;
    col.pszText = Text(sub);
    EXPECT_TRUE(AtListView_SetColumnW(lv, 1, &col));
    LVCOLUMNW got = { LVCF_TEXT | LVCF_WIDTH, 0, 0, buf, 64, 0, 0, 0 };
    EXPECT_TRUE(AtListView_GetColumnW(lv, 1, &got));
    EXPECT_EQ(std::tuple(std::wstring(buf), got.cx), std::tuple(sub, 70));

    LVITEMW item = { LVIF_TEXT | LVIF_PARAM, 0, 0, 0, 0, Text(text), 0, 0, 42, 0 };
    EXPECT_EQ(AtListView_InsertItemW(lv, &item), 0);
    item = { LVIF_TEXT | LVIF_PARAM, 1, 0, 0, 0, zwei, 0, 0, 43, 0 };
    EXPECT_EQ(AtListView_InsertItemW(lv, &item), 1);
    AtListView_SetItemTextW(lv, 0, 1, sub.c_str());
    Clear();
    AtListView_GetItemTextW(lv, 0, 1, buf, 64);
    EXPECT_EQ(std::wstring(buf), sub);

    LVITEMW read = { LVIF_TEXT | LVIF_PARAM, 0, 0, 0, 0, buf, 64, 0, 0, 0 };
    Clear();
    EXPECT_TRUE(AtListView_GetItemW(lv, &read));
    EXPECT_EQ(std::tuple(std::wstring(buf), read.lParam), std::tuple(text, LPARAM(42)));
    item = { LVIF_TEXT, 1, 0, 0, 0, Text(other), 0, 0, 0, 0 };
    EXPECT_TRUE(AtListView_SetItemW(lv, &item));
    read.iItem = 1;
    EXPECT_TRUE(AtListView_GetItemW(lv, &read));
    EXPECT_EQ(std::wstring(buf), other);

    // Without the text bit the caller's buffer is left alone; a failed get copies nothing.
    Clear();
    read = { LVIF_PARAM, 0, 0, 0, 0, buf, 64, 0, 0, 0 };
    EXPECT_TRUE(AtListView_GetItemW(lv, &read));
    EXPECT_EQ(std::tuple(buf[0], read.lParam), std::tuple(L'#', LPARAM(42)));
    read = { LVIF_PARAM | LVIF_TEXT, 99, 0, 0, 0, buf, 64, 0, 7, 0 };
    EXPECT_FALSE(AtListView_GetItemW(lv, &read));
    EXPECT_EQ(std::tuple(buf[0], read.lParam), std::tuple(L'#', LPARAM(7)));

    LVFINDINFOW find = { LVFI_STRING, other.c_str(), 0, {}, 0 };
    EXPECT_EQ(AtListView_FindItemW(lv, -1, &find), 1);
    find = { LVFI_PARTIAL | LVFI_STRING, L"Zeile", 0, {}, 0 };
    EXPECT_EQ(AtListView_FindItemW(lv, -1, &find), 0);
    find = { LVFI_PARAM, nullptr, 42, {}, 0 };
    EXPECT_EQ(AtListView_FindItemW(lv, -1, &find), 0);
    EXPECT_LT(AtListView_GetStringWidthW(lv, L"ii"), AtListView_GetStringWidthW(lv, L"WWWW"));
    EXPECT_GT(AtListView_GetStringWidthW(lv, text.c_str()), 0);

    HWND edit = AtListView_EditLabelW(lv, 0);
    EXPECT_EQ(edit != nullptr, (GetWindowLongW(lv, GWL_STYLE) & LVS_EDITLABELS) != 0);
    EXPECT_EQ(AtListView_GetISearchStringW(lv, buf), 0);
}

TEST_F(ItemsTest, TreeView)
{
    HWND tv = Control(parent.hwnd, WC_TREEVIEWW);
    ASSERT_TRUE(tv);
    TVINSERTSTRUCTW ins = {};
    ins.hParent = TVI_ROOT;
    ins.hInsertAfter = TVI_LAST;
    ins.item.mask = TVIF_TEXT | TVIF_PARAM;
    ins.item.pszText = Text(text);
    ins.item.lParam = 5;
    HTREEITEM root = AtTreeView_InsertItemW(tv, &ins);
    ASSERT_TRUE(root);
    ins.hParent = root;
    ins.item.pszText = Text(other);
    HTREEITEM child = AtTreeView_InsertItemW(tv, &ins);
    ASSERT_TRUE(child);

    TVITEMW item
        = { TVIF_TEXT | TVIF_HANDLE | TVIF_PARAM | TVIF_CHILDREN, root, 0, 0, buf, 64, 0, 0, 0, 0 };
    Clear();
    EXPECT_TRUE(AtTreeView_GetItemW(tv, &item));
    EXPECT_EQ(std::tuple(std::wstring(buf), item.lParam, item.cChildren, item.hItem),
        std::tuple(text, LPARAM(5), 1, root));
    TVITEMW set = { TVIF_TEXT | TVIF_HANDLE, child, 0, 0, Text(other), 0 };
    EXPECT_TRUE(AtTreeView_SetItemW(tv, &set));
    item.hItem = child;
    EXPECT_TRUE(AtTreeView_GetItemW(tv, &item));
    EXPECT_EQ(std::wstring(buf), other);
    EXPECT_EQ(AtTreeView_GetISearchStringW(tv, buf), 0);
    EXPECT_EQ(AtTreeView_EditLabelW(tv, root), nullptr) << "without TVS_EDITLABELS";
}

// The header's get reads into a copy of what the caller's buffer held, so a text comes
// back no longer than that on the ANSI path.
TEST_F(ItemsTest, HeaderAndTabControl)
{
    HWND hd = Control(parent.hwnd, WC_HEADERW);
    ASSERT_TRUE(hd);
    HDITEMW item = {};
    item.mask = HDI_TEXT | HDI_WIDTH | HDI_LPARAM;
    item.pszText = Text(text);
    item.cxy = 80;
    item.lParam = 9;
    EXPECT_EQ(AtHeader_InsertItemW(hd, 0, &item), 0);
    item.pszText = zwei;
    EXPECT_EQ(AtHeader_InsertItemW(hd, 1, &item), 1);
    item.pszText = Text(other);
    EXPECT_TRUE(AtHeader_SetItemW(hd, 1, &item));
    HDITEMW got = {};
    got.mask = HDI_TEXT | HDI_WIDTH | HDI_LPARAM;
    got.pszText = buf;
    got.cchTextMax = 64;
    Clear();
    EXPECT_TRUE(AtHeader_GetItemW(hd, 1, &got));
    EXPECT_EQ(std::tuple(std::wstring(buf), got.cxy, got.lParam), std::tuple(other, 80, LPARAM(9)));
    lstrcpyW(buf, L"ab");
    EXPECT_TRUE(AtHeader_GetItemW(hd, 1, &got));
    EXPECT_EQ(std::wstring(buf), AnsiPath() ? L"Ne" : other);
    got.mask = HDI_WIDTH;
    EXPECT_TRUE(AtHeader_GetItemW(hd, 1, &got));
    if (AnsiPath()) {
        EXPECT_TRUE(!got.pszText && !got.cchTextMax);
    }

    HWND tab = Control(parent.hwnd, WC_TABCONTROLW);
    ASSERT_TRUE(tab);
    TCITEMW t = { TCIF_TEXT | TCIF_PARAM, 0, 0, Text(text), 0, 0, 3 };
    EXPECT_EQ(AtTabCtrl_InsertItemW(tab, 0, &t), 0);
    t.pszText = zwei;
    EXPECT_EQ(AtTabCtrl_InsertItemW(tab, 1, &t), 1);
    t.pszText = Text(other);
    EXPECT_TRUE(AtTabCtrl_SetItemW(tab, 1, &t));
    for (auto [i, expected] : { std::pair(0, text), std::pair(1, other) }) {
        TCITEMW r = { TCIF_TEXT | TCIF_PARAM, 0, 0, buf, 64, 0, 0 };
        Clear();
        EXPECT_TRUE(AtTabCtrl_GetItemW(tab, i, &r));
        EXPECT_EQ(std::tuple(std::wstring(buf), r.lParam), std::tuple(expected, LPARAM(3)));
    }
}

// The A records as the controls receive them: converted texts with their heap sizes,
// empty buffers of the caller's capacity, the callback marker with the caller's.
TEST_F(ItemsTest, WhatTheAnsiControlsReceive)
{
    if (!AnsiPath())
        GTEST_SKIP() << "the W path sends the caller's records";
    HWND lv = Control(parent.hwnd, WC_LISTVIEWW, LVS_REPORT);
    HWND hd = Control(parent.hwnd, WC_HEADERW);
    HWND tab = Control(parent.hwnd, WC_TABCONTROLW);
    HWND tv = Control(parent.hwnd, WC_TREEVIEWW);
    std::vector<SentA> sent;
    TW_HOOK(sendA, SendMessageA, [&](HWND h, UINT m, WPARAM w, LPARAM l) {
        SentA s = { m, w,
            std::vector<BYTE>(reinterpret_cast<BYTE*>(l), reinterpret_cast<BYTE*>(l) + 40), "", 0 };
        sent.push_back(s);
        return sendA.real(h, m, w, l);
    });
    const std::string textA = ToAnsi(text);
    const int n = int(textA.size()) + 1;
    LPWSTR marker = LPSTR_TEXTCALLBACKW;
    struct Case {
        const char* name;
        std::function<void()> call;
        UINT msg;
        std::function<std::tuple<const char*, int>(const SentA&)> textOf; // pszText, cchTextMax
        const char* pszText; // expected: nullptr, the marker, or "" for "the converted text"
        int cchTextMax;
    };
    auto lvItem = [](const SentA& s) {
        return std::tuple<const char*, int>(s.as<LVITEMA>().pszText, s.as<LVITEMA>().cchTextMax);
    };
    auto lvCol = [](const SentA& s) {
        return std::tuple<const char*, int>(
            s.as<LVCOLUMNA>().pszText, s.as<LVCOLUMNA>().cchTextMax);
    };
    auto hdItem = [](const SentA& s) {
        return std::tuple<const char*, int>(s.as<HDITEMA>().pszText, s.as<HDITEMA>().cchTextMax);
    };
    auto tcItem = [](const SentA& s) {
        return std::tuple<const char*, int>(s.as<TCITEMA>().pszText, s.as<TCITEMA>().cchTextMax);
    };
    auto tvIns = [](const SentA& s) {
        auto& i = s.as<TVINSERTSTRUCTA>().item;
        return std::tuple<const char*, int>(i.pszText, i.cchTextMax);
    };
    const char* converted = "";
    const char* markerA = LPSTR_TEXTCALLBACKA;
    const Case cases[] = {
        { "list item",
            [&] {
                LVITEMW i = { LVIF_TEXT, 0, 0, 0, 0, Text(text), 77 };
                AtListView_InsertItemW(lv, &i);
            },
            LVM_INSERTITEMA, lvItem, converted, n },
        { "list item, marker",
            [&] {
                LVITEMW i = { LVIF_TEXT, 0, 0, 0, 0, marker, 77 };
                AtListView_SetItemW(lv, &i);
            },
            LVM_SETITEMA, lvItem, markerA, 77 },
        { "list item, no text bit",
            [&] {
                LVITEMW i = { LVIF_PARAM, 0, 0, 0, 0, Text(text), 77 };
                AtListView_SetItemW(lv, &i);
            },
            LVM_SETITEMA, lvItem, nullptr, 0 },
        { "list item get",
            [&] {
                LVITEMW i = { LVIF_TEXT, 0, 0, 0, 0, buf, 10 };
                AtListView_GetItemW(lv, &i);
            },
            LVM_GETITEMA, lvItem, converted, 10 * MaxCharSize() },
        { "item text get", [&] { AtListView_GetItemTextW(lv, 0, 0, buf, 10); }, LVM_GETITEMTEXTA,
            lvItem, converted, 20 },
        { "column, marker",
            [&] {
                LVCOLUMNW c = { LVCF_TEXT, 0, 0, marker, 5 };
                AtListView_InsertColumnW(lv, 0, &c);
            },
            LVM_INSERTCOLUMNA, lvCol, markerA, 5 },
        { "column get",
            [&] {
                LVCOLUMNW c = { LVCF_TEXT, 0, 0, buf, 7 };
                AtListView_GetColumnW(lv, 0, &c);
            },
            LVM_GETCOLUMNA, lvCol, converted, 7 * MaxCharSize() },
        { "tree item, marker",
            [&] {
                TVINSERTSTRUCTW t = {};
                t.item = { TVIF_TEXT, 0, 0, 0, marker, 9 };
                AtTreeView_InsertItemW(tv, &t);
            },
            TVM_INSERTITEMA, tvIns, markerA, 9 },
        { "header item keeps the capacity",
            [&] {
                HDITEMW h = {};
                h.mask = HDI_TEXT;
                h.pszText = Text(text);
                h.cchTextMax = 3;
                AtHeader_InsertItemW(hd, 0, &h);
            },
            HDM_INSERTITEMA, hdItem, converted, 3 },
        { "header item, marker",
            [&] {
                HDITEMW h = {};
                h.mask = HDI_TEXT | HDI_WIDTH;
                h.pszText = marker;
                h.cchTextMax = 3;
                AtHeader_SetItemW(hd, 0, &h);
            },
            HDM_SETITEMA, hdItem, markerA, 3 },
        { "tab item keeps the capacity",
            [&] {
                TCITEMW t = { TCIF_TEXT, 0, 0, Text(text), 4 };
                AtTabCtrl_InsertItemW(tab, 0, &t);
            },
            TCM_INSERTITEMA, tcItem, converted, 4 },
        { "tab item, right to left only",
            [&] {
                TCITEMW t = { TCIF_RTLREADING, 0, 0, Text(text), 4 };
                AtTabCtrl_SetItemW(tab, 0, &t);
            },
            TCM_SETITEMA, tcItem, converted, n },
        { "tab item get",
            [&] {
                TCITEMW t = { TCIF_TEXT, 0, 0, buf, 6 };
                AtTabCtrl_GetItemW(tab, 0, &t);
            },
            TCM_GETITEMA, tcItem, converted, 6 * MaxCharSize() },
    };
    for (const auto& c : cases) {
        sent.clear();
        c.call();
        ASSERT_FALSE(sent.empty()) << c.name;
        EXPECT_EQ(sent.back().msg, c.msg) << c.name;
        auto [p, cch] = c.textOf(sent.back());
        EXPECT_EQ(cch, c.cchTextMax) << c.name;
        if (c.pszText == converted)
            EXPECT_TRUE(p && p != markerA) << c.name;
        else
            EXPECT_EQ(p, c.pszText) << c.name;
    }
    // A search without text passes the caller's pointer as it is.
    LVFINDINFOW find = { LVFI_PARAM, L"x", 1, {}, 0 };
    AtListView_FindItemW(lv, -1, &find);
    EXPECT_EQ(sent.back().as<LVFINDINFOA>().psz, reinterpret_cast<LPCSTR>(find.psz));
}

// Texts larger than the caller's buffer: nothing is written past it, and a header buffer
// without a NUL is read no further than its capacity.
TEST_F(ItemsTest, NoWriteOrReadPastTheCallersBuffer)
{
    HWND lv = Control(parent.hwnd, WC_LISTVIEWW, LVS_REPORT);
    HWND hd = Control(parent.hwnd, WC_HEADERW);
    const std::wstring longText = L"Eine lange Zeile " + NonAsciiText() + NonAsciiText();
    LVCOLUMNW col = { LVCF_TEXT | LVCF_WIDTH, 0, 100, Text(longText), 0, 0, 0, 0 };
    AtListView_InsertColumnW(lv, 0, &col);
    LVITEMW item = { LVIF_TEXT, 0, 0, 0, 0, Text(longText), 0 };
    AtListView_InsertItemW(lv, &item);
    HDITEMW hi = {};
    hi.mask = HDI_TEXT;
    hi.pszText = Text(longText);
    AtHeader_InsertItemW(hd, 0, &hi);

    // A page whose last four characters are the caller's buffer, and a guard page behind.
    BYTE* page = static_cast<BYTE*>(VirtualAlloc(nullptr, 8192, MEM_COMMIT, PAGE_READWRITE));
    DWORD old;
    VirtualProtect(page + 4096, 4096, PAGE_NOACCESS, &old);
    LPWSTR edge = reinterpret_cast<LPWSTR>(page + 4096) - 4;
    const std::function<void()> calls[] = {
        [&] { AtListView_GetItemTextW(lv, 0, 0, edge, 4); },
        [&] {
            LVITEMW g = { LVIF_TEXT, 0, 0, 0, 0, edge, 4 };
            AtListView_GetItemW(lv, &g);
        },
        [&] {
            LVCOLUMNW g = { LVCF_TEXT, 0, 0, edge, 4 };
            AtListView_GetColumnW(lv, 0, &g);
        },
        [&] {
            wmemset(edge, L'x', 4);
            HDITEMW g = {};
            g.mask = HDI_TEXT;
            g.pszText = edge;
            g.cchTextMax = 4;
            AtHeader_GetItemW(hd, 0, &g);
        },
    };
    for (const auto& call : calls)
        call();
    SUCCEED() << "no access beyond the guard";
    VirtualFree(page, 0, MEM_RELEASE);
}

} // namespace
