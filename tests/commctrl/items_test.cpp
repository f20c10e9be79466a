// List views, tree views, headers and tab controls filled and read through the
// helpers, on real controls; and what the ANSI controls receive.
#include <cstddef>
#include <cstring>
#include <tuple>

#include "commctrl/controls.h"

namespace
{

using harness::AnsiPath;
using harness::NonAsciiText;

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

// Report mode: columns, items, sub-items and searches, all with text beyond ASCII.
TEST_F(ItemsTest, ListView)
{
    HWND lv = Control(parent.hwnd, WC_LISTVIEWW, LVS_REPORT);
    ASSERT_TRUE(lv);
    const std::wstring title = L"Spalte " + NonAsciiText(), sub = L"Sub " + NonAsciiText();
    LVCOLUMNW col = { LVCF_TEXT | LVCF_WIDTH, 0, 100, Text(title) };
    EXPECT_EQ(AtListView_InsertColumnW(lv, 0, &col), 0);
    EXPECT_EQ(AtListView_InsertColumnW(lv, 1, &col), 1);
    col.cx = 70;
    col.pszText = Text(sub);
    EXPECT_TRUE(AtListView_SetColumnW(lv, 1, &col));
    LVCOLUMNW got = { LVCF_TEXT | LVCF_WIDTH, 0, 0, buf, 64 };
    EXPECT_TRUE(AtListView_GetColumnW(lv, 1, &got));
    EXPECT_EQ(std::tuple(std::wstring(buf), got.cx), std::tuple(sub, 70));

    LVITEMW item = { LVIF_TEXT | LVIF_PARAM, 0, 0, 0, 0, Text(text), 0, 0, 42 };
    EXPECT_EQ(AtListView_InsertItemW(lv, &item), 0);
    item = { LVIF_TEXT | LVIF_PARAM, 1, 0, 0, 0, zwei, 0, 0, 43 };
    EXPECT_EQ(AtListView_InsertItemW(lv, &item), 1);
    AtListView_SetItemTextW(lv, 0, 1, sub.c_str());
    Clear();
    AtListView_GetItemTextW(lv, 0, 1, buf, 64);
    EXPECT_EQ(std::wstring(buf), sub);
    LVITEMW read = { LVIF_TEXT | LVIF_PARAM, 0, 0, 0, 0, buf, 64 };
    Clear();
    EXPECT_TRUE(AtListView_GetItemW(lv, &read));
    EXPECT_EQ(std::tuple(std::wstring(buf), read.lParam), std::tuple(text, LPARAM(42)));
    item = { LVIF_TEXT, 1, 0, 0, 0, Text(other) };
    EXPECT_TRUE(AtListView_SetItemW(lv, &item));
    read.iItem = 1;
    EXPECT_TRUE(AtListView_GetItemW(lv, &read));
    EXPECT_EQ(std::wstring(buf), other);

    // Without the text bit the caller's buffer is left alone; a failed get copies nothing.
    Clear();
    read = { LVIF_PARAM, 0, 0, 0, 0, buf, 64 };
    EXPECT_TRUE(AtListView_GetItemW(lv, &read));
    EXPECT_EQ(std::tuple(buf[0], read.lParam), std::tuple(L'#', LPARAM(42)));
    read = { LVIF_PARAM | LVIF_TEXT, 99, 0, 0, 0, buf, 64, 0, 7 };
    EXPECT_FALSE(AtListView_GetItemW(lv, &read));
    EXPECT_EQ(std::tuple(buf[0], read.lParam), std::tuple(L'#', LPARAM(7)));

    const std::pair<LVFINDINFOW, int> finds[] = { { { LVFI_STRING, other.c_str() }, 1 },
        { { LVFI_PARTIAL | LVFI_STRING, L"Zeile" }, 0 }, { { LVFI_PARAM, nullptr, 42 }, 0 } };
    for (const auto& [find, index] : finds)
        EXPECT_EQ(AtListView_FindItemW(lv, -1, &find), index) << find.flags;
    EXPECT_LT(AtListView_GetStringWidthW(lv, L"ii"), AtListView_GetStringWidthW(lv, L"WWWW"));
}

TEST_F(ItemsTest, TreeView)
{
    HWND tv = Control(parent.hwnd, WC_TREEVIEWW);
    ASSERT_TRUE(tv);
    TVINSERTSTRUCTW ins = { TVI_ROOT, TVI_LAST };
    ins.item.mask = TVIF_TEXT | TVIF_PARAM;
    ins.item.pszText = Text(text);
    ins.item.lParam = 5;
    HTREEITEM root = AtTreeView_InsertItemW(tv, &ins);
    ASSERT_TRUE(root);
    ins.hParent = root;
    HTREEITEM child = AtTreeView_InsertItemW(tv, &ins);
    ASSERT_TRUE(child);

    TVITEMW item
        = { TVIF_TEXT | TVIF_HANDLE | TVIF_PARAM | TVIF_CHILDREN, root, 0, 0, buf, 64 };
    Clear();
    EXPECT_TRUE(AtTreeView_GetItemW(tv, &item));
    EXPECT_EQ(std::tuple(std::wstring(buf), item.lParam, item.cChildren, item.hItem),
        std::tuple(text, LPARAM(5), 1, root));
    TVITEMW set = { TVIF_TEXT | TVIF_HANDLE, child, 0, 0, Text(other) };
    EXPECT_TRUE(AtTreeView_SetItemW(tv, &set));
    item.hItem = child;
    EXPECT_TRUE(AtTreeView_GetItemW(tv, &item));
    EXPECT_EQ(std::wstring(buf), other);
}

// The header's get reads into a copy of what the caller's buffer held, so a text comes
// back no longer than that on the ANSI path.
TEST_F(ItemsTest, HeaderAndTabControl)
{
    HWND hd = Control(parent.hwnd, WC_HEADERW);
    ASSERT_TRUE(hd);
    HDITEMW item = { HDI_TEXT | HDI_WIDTH | HDI_LPARAM, 80, Text(text) };
    item.lParam = 9;
    EXPECT_EQ(AtHeader_InsertItemW(hd, 0, &item), 0);
    item.pszText = zwei;
    EXPECT_EQ(AtHeader_InsertItemW(hd, 1, &item), 1);
    item.pszText = Text(other);
    EXPECT_TRUE(AtHeader_SetItemW(hd, 1, &item));
    HDITEMW got = { HDI_TEXT | HDI_WIDTH | HDI_LPARAM, 0, buf, nullptr, 64 };
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
        TCITEMW r = { TCIF_TEXT | TCIF_PARAM, 0, 0, buf, 64 };
        Clear();
        EXPECT_TRUE(AtTabCtrl_GetItemW(tab, i, &r));
        EXPECT_EQ(std::tuple(std::wstring(buf), r.lParam), std::tuple(expected, LPARAM(3)));
    }
}

// The text and capacity of the A record that the control received.
template <typename T>
std::pair<LPCSTR, int> TextOf(const BYTE* record)
{
    const T& r = *reinterpret_cast<const T*>(record);
    return { r.pszText, r.cchTextMax };
}

std::pair<LPCSTR, int> TreeTextOf(const BYTE* record)
{
    return TextOf<TVITEMA>(record + offsetof(TVINSERTSTRUCTA, item));
}

// The A records as the controls receive them: converted texts, empty buffers of the
// caller's capacity, the callback marker with the caller's capacity.
TEST_F(ItemsTest, WhatTheAnsiControlsReceive)
{
    if (!AnsiPath())
        GTEST_SKIP() << "the W path sends the caller's records";
    HWND lv = Control(parent.hwnd, WC_LISTVIEWW, LVS_REPORT);
    HWND hd = Control(parent.hwnd, WC_HEADERW);
    HWND tab = Control(parent.hwnd, WC_TABCONTROLW);
    HWND tv = Control(parent.hwnd, WC_TREEVIEWW);
    UINT msg = 0;
    BYTE record[48];
    TW_HOOK(sendA, SendMessageA, [&](HWND h, UINT m, WPARAM w, LPARAM l) {
        msg = m;
        if (l)
            memcpy(record, reinterpret_cast<const void*>(l), sizeof record);
        return sendA.real(h, m, w, l);
    });
    // Whether the last message was `expected` with the text `pszText` (nullptr, the
    // marker, or `converted` for any converted text) and the capacity `cch`.
    const LPCSTR converted = "", markerA = LPSTR_TEXTCALLBACKA;
    auto expect = [&](const char* name, UINT expected, std::pair<LPCSTR, int> (*textOf)(const BYTE*),
                      LPCSTR pszText, int cch) {
        EXPECT_EQ(msg, expected) << name;
        auto [p, n] = textOf(record);
        EXPECT_EQ(n, cch) << name;
        if (pszText == converted)
            EXPECT_TRUE(p && p != markerA) << name;
        else
            EXPECT_EQ(p, pszText) << name;
    };
    const int n = int(harness::ToAnsi(text).size()) + 1;
    const LPWSTR marker = LPSTR_TEXTCALLBACKW;

    LVITEMW li = { LVIF_TEXT, 0, 0, 0, 0, Text(text), 77 };
    AtListView_InsertItemW(lv, &li);
    expect("list item", LVM_INSERTITEMA, TextOf<LVITEMA>, converted, n);
    li.pszText = marker;
    AtListView_SetItemW(lv, &li);
    expect("list item, marker", LVM_SETITEMA, TextOf<LVITEMA>, markerA, 77);
    li = { LVIF_PARAM, 0, 0, 0, 0, Text(text), 77 };
    AtListView_SetItemW(lv, &li);
    expect("list item, no text bit", LVM_SETITEMA, TextOf<LVITEMA>, nullptr, 0);
    li = { LVIF_TEXT, 0, 0, 0, 0, buf, 10 };
    AtListView_GetItemW(lv, &li);
    expect("list item get", LVM_GETITEMA, TextOf<LVITEMA>, converted, 10 * MaxCharSize());
    AtListView_GetItemTextW(lv, 0, 0, buf, 10);
    expect("item text get", LVM_GETITEMTEXTA, TextOf<LVITEMA>, converted, 20);
    LVCOLUMNW lc = { LVCF_TEXT, 0, 0, marker, 5 };
    AtListView_InsertColumnW(lv, 0, &lc);
    expect("column, marker", LVM_INSERTCOLUMNA, TextOf<LVCOLUMNA>, markerA, 5);
    lc = { LVCF_TEXT, 0, 0, buf, 7 };
    AtListView_GetColumnW(lv, 0, &lc);
    expect("column get", LVM_GETCOLUMNA, TextOf<LVCOLUMNA>, converted, 7 * MaxCharSize());
    TVINSERTSTRUCTW ti = {};
    ti.item = { TVIF_TEXT, 0, 0, 0, marker, 9 };
    AtTreeView_InsertItemW(tv, &ti);
    expect("tree item, marker", TVM_INSERTITEMA, TreeTextOf, markerA, 9);
    HDITEMW hi = { HDI_TEXT, 0, Text(text), nullptr, 3 };
    AtHeader_InsertItemW(hd, 0, &hi);
    expect("header item keeps the capacity", HDM_INSERTITEMA, TextOf<HDITEMA>, converted, 3);
    hi = { HDI_TEXT | HDI_WIDTH, 0, marker, nullptr, 3 };
    AtHeader_SetItemW(hd, 0, &hi);
    expect("header item, marker", HDM_SETITEMA, TextOf<HDITEMA>, markerA, 3);
    TCITEMW tc = { TCIF_TEXT, 0, 0, Text(text), 4 };
    AtTabCtrl_InsertItemW(tab, 0, &tc);
    expect("tab item keeps the capacity", TCM_INSERTITEMA, TextOf<TCITEMA>, converted, 4);
    tc.mask = TCIF_RTLREADING;
    AtTabCtrl_SetItemW(tab, 0, &tc);
    expect("tab item, right to left only", TCM_SETITEMA, TextOf<TCITEMA>, converted, n);
    tc = { TCIF_TEXT, 0, 0, buf, 6 };
    AtTabCtrl_GetItemW(tab, 0, &tc);
    expect("tab item get", TCM_GETITEMA, TextOf<TCITEMA>, converted, 6 * MaxCharSize());

    // A search without text passes the caller's pointer as it is.
    LVFINDINFOW find = { LVFI_PARAM, L"x", 1 };
    AtListView_FindItemW(lv, -1, &find);
    EXPECT_EQ(reinterpret_cast<LVFINDINFOA*>(record)->psz, reinterpret_cast<LPCSTR>(find.psz));
}

} // namespace
