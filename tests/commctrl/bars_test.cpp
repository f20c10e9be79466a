// Toolbars, tooltips, status bars and animation controls: real controls filled and
// read through the helpers, and what the ANSI controls receive.
#include <cstring>
#include <tuple>

#include "commctrl/controls.h"

namespace
{

using harness::AnsiPath;
using harness::NonAsciiText;
using harness::ToAnsi;

class BarsTest : public harness::TorwenTest
{
protected:
    TestWindow parent;
    const std::wstring text = L"Knopf " + NonAsciiText();
    WCHAR buf[256];
};

// A tool of the parent window with an id and a rectangle.
TTTOOLINFOW Tool(HWND owner, UINT_PTR id, LPWSTR text, UINT size = sizeof(TTTOOLINFOW))
{
    TTTOOLINFOW ti = { size, 0, owner, id, { 10 * LONG(id), 0, 10 * LONG(id) + 10, 10 } };
    ti.lpszText = text;
    ti.lParam = 100 + id;
    return ti;
}

TEST_F(BarsTest, Toolbar)
{
    HWND tb = Control(parent.hwnd, TOOLBARCLASSNAMEW);
    ASSERT_TRUE(tb);
    SendMessageW(tb, TB_BUTTONSTRUCTSIZE, sizeof(TBBUTTON), 0);
    const std::wstring list = L"Eins" + std::wstring(1, L'\0') + text + std::wstring(2, L'\0');
    EXPECT_EQ(ToolBar_AddString(tb, nullptr, list.c_str()), 0);
    TBBUTTON buttons[] = { { 0, 10, TBSTATE_ENABLED, BTNS_BUTTON, {}, 0, 0 },
        { 0, 11, TBSTATE_ENABLED, BTNS_BUTTON, {}, 0, 1 } };
    EXPECT_TRUE(ToolBar_AddButtons(tb, 2, buttons));
    TBBUTTON third = { 0, 12, TBSTATE_ENABLED, BTNS_BUTTON, {}, 0, 0 };
    EXPECT_TRUE(ToolBar_InsertButton(tb, 0, &third));
    EXPECT_EQ(SendMessageW(tb, TB_BUTTONCOUNT, 0, 0), 3);

    EXPECT_EQ(ToolBar_GetButtonText(tb, 11, buf, 256), int(text.size()));
    EXPECT_EQ(std::wstring(buf), text);
    EXPECT_EQ(ToolBar_GetButtonText(tb, 12, buf, 256), 4);
    EXPECT_EQ(std::wstring(buf), L"Eins");
    if (AnsiPath()) {
        EXPECT_EQ(ToolBar_GetButtonText(tb, 11, buf, 3), 0) << "all or nothing";
    }
}

TEST_F(BarsTest, Tooltips)
{
    HWND tt = Control(parent.hwnd, TOOLTIPS_CLASSW, 0);
    ASSERT_TRUE(tt);
    TTTOOLINFOW one = Tool(parent.hwnd, 1, const_cast<LPWSTR>(text.c_str()));
    TTTOOLINFOW two = Tool(parent.hwnd, 2, LPSTR_TEXTCALLBACKW);
    EXPECT_TRUE(ToolTips_AddTool(tt, &one));
    EXPECT_TRUE(ToolTips_AddTool(tt, &two));
    EXPECT_EQ(SendMessageW(tt, TTM_GETTOOLCOUNT, 0, 0), 2);

    // The queries fill the caller's buffer and leave lpszText designating it.
    WCHAR mine[256];
    TTTOOLINFOW got = Tool(parent.hwnd, 1, mine);
    got.lParam = 0;
    ASSERT_TRUE(ToolTips_GetToolInfo(tt, &got));
    EXPECT_EQ(std::tuple(std::wstring(mine), got.lpszText, got.lParam, got.rect.right),
        std::tuple(text, LPWSTR(mine), LPARAM(101), 20L));
    TTTOOLINFOW e = Tool(nullptr, 0, mine);
    ASSERT_TRUE(ToolTips_EnumTools(tt, 1, &e));
    EXPECT_EQ(std::tuple(e.uId, e.lpszText, e.lParam),
        std::tuple(UINT_PTR(2), LPSTR_TEXTCALLBACKW, LPARAM(102)));
    EXPECT_FALSE(ToolTips_EnumTools(tt, 2, &e));
    TTHITTESTINFOW hit = { parent.hwnd, { 15, 5 } };
    hit.ti = Tool(nullptr, 0, mine);
    mine[0] = 0;
    ASSERT_TRUE(ToolTips_HitTest(tt, &hit));
    EXPECT_EQ(std::tuple(hit.ti.uId, std::wstring(mine)), std::tuple(UINT_PTR(1), text));
    hit.pt = { 95, 5 };
    EXPECT_FALSE(ToolTips_HitTest(tt, &hit));
    EXPECT_FALSE(ToolTips_GetCurrentTool(tt, nullptr));

    // Changes of text and place, then removal by window and id alone.
    const std::wstring changed = L"Neu " + NonAsciiText();
    one.lpszText = const_cast<LPWSTR>(changed.c_str());
    ToolTips_UpdateTipText(tt, &one);
    ASSERT_TRUE(ToolTips_GetToolInfo(tt, &got));
    EXPECT_EQ(std::wstring(mine), changed);
    one.rect = { 50, 0, 60, 10 };
    ToolTips_NewToolRect(tt, &one);
    one.uFlags = TTF_CENTERTIP;
    ToolTips_SetToolInfo(tt, &one);
    ASSERT_TRUE(ToolTips_GetToolInfo(tt, &got));
    EXPECT_EQ(std::tuple(got.rect.left, got.uFlags, std::wstring(mine)),
        std::tuple(50L, UINT(TTF_CENTERTIP), changed));
    TTTOOLINFOW del = Tool(parent.hwnd, 2, nullptr, TTTOOLINFOW_V1_SIZE);
    ToolTips_DelTool(tt, &del);
    EXPECT_EQ(SendMessageW(tt, TTM_GETTOOLCOUNT, 0, 0), 1);
}

// Parts set and read: the length word counts what the control holds (bytes on the
// ANSI path); an empty part answers 0 and leaves the buffer alone.
TEST_F(BarsTest, StatusBar)
{
    HWND sb = CreateStatusWindowW(WS_CHILD, text.c_str(), parent.hwnd, 5);
    ASSERT_TRUE(sb);
    EXPECT_EQ(GetDlgCtrlID(sb), 5);
    int parts[] = { 100, 200, -1 };
    SendMessageW(sb, SB_SETPARTS, 3, LPARAM(parts));
    EXPECT_TRUE(AtStatusBar_SetTextW(sb, 1 | SBT_POPOUT, text.c_str()));
    const int length = AnsiPath() ? int(ToAnsi(text).size()) : int(text.size());
    EXPECT_EQ(AtStatusBar_GetTextW(sb, 1, buf), DWORD(MAKELONG(length, SBT_POPOUT)));
    EXPECT_EQ(std::wstring(buf), text);
    EXPECT_EQ(LOWORD(AtStatusBar_GetTextW(sb, 0, buf)), length) << "the window's text";
    lstrcpyW(buf, L"unberührt");
    EXPECT_EQ(AtStatusBar_GetTextW(sb, 2, buf), 0u);
    EXPECT_EQ(std::wstring(buf), L"unberührt");
    EXPECT_TRUE(AtStatusBar_SetTextW(sb, 2 | SBT_OWNERDRAW, LPCWSTR(0x1234)));
}

// The control is made empty, of its class and id; a named clip goes to ACM_OPENA as
// ANSI text.
TEST_F(BarsTest, Animation)
{
    InitControls();
    HWND anim = AtAnimate_CreateW(parent.hwnd, 7, WS_CHILD, GetModuleHandleW(nullptr));
    ASSERT_TRUE(anim);
    RECT r;
    GetWindowRect(anim, &r);
    WCHAR cls[32];
    GetClassNameW(anim, cls, 32);
    EXPECT_EQ(std::tuple(std::wstring(cls), GetDlgCtrlID(anim), r.right - r.left),
        std::tuple(std::wstring(L"SysAnimate32"), 7, 0L));
    const std::wstring name = L"fehlt " + NonAsciiText() + L".avi";
    if (!AnsiPath()) {
        EXPECT_FALSE(AtAnimate_OpenW(anim, name.c_str()));
        return;
    }
    std::vector<std::pair<UINT, std::string>> sent;
    TW_HOOK(sendA, SendMessageA, [&](HWND h, UINT m, WPARAM w, LPARAM l) {
        sent.push_back({ m, l ? LPCSTR(l) : "" });
        return sendA.real(h, m, w, l);
    });
    EXPECT_FALSE(AtAnimate_OpenW(anim, name.c_str()));
    EXPECT_EQ(sent, (std::vector<std::pair<UINT, std::string>> { { 0x464, ToAnsi(name) } }));
}

// What the ANSI controls receive: 44-byte tool records, the callback marker as it is,
// string lists and identifiers, buttons unconverted.
TEST_F(BarsTest, WhatTheAnsiControlsReceive)
{
    if (!AnsiPath())
        GTEST_SKIP() << "the W path sends the caller's records";
    HWND tt = Control(parent.hwnd, TOOLTIPS_CLASSW, 0);
    HWND tb = Control(parent.hwnd, TOOLBARCLASSNAMEW);
    SendMessageW(tb, TB_BUTTONSTRUCTSIZE, sizeof(TBBUTTON), 0);
    UINT msg = 0;
    LPARAM lParam = 0;
    TTTOOLINFOA ti = {};
    std::string sentText; // "#n" for an identifier or the marker
    SIZE_T heapSize = 0;
    TW_HOOK(sendA, SendMessageA, [&](HWND h, UINT m, WPARAM w, LPARAM l) {
        msg = m;
        lParam = l;
        if (m >= TTM_ADDTOOLA && m <= TTM_GETCURRENTTOOLA && l) {
            ti = *reinterpret_cast<TTTOOLINFOA*>(l);
            heapSize = HeapSizeOf(ti.lpszText);
            if (IS_INTRESOURCE(ti.lpszText) || ti.lpszText == LPSTR_TEXTCALLBACKA)
                sentText = "#" + std::to_string(UINT_PTR(ti.lpszText));
            else
                sentText = ti.lpszText;
        } else if (m == TB_ADDSTRINGA && !IS_INTRESOURCE(l)) {
            LPCSTR second = LPCSTR(l) + strlen(LPCSTR(l)) + 1;
            sentText.assign(LPCSTR(l), second + strlen(second) + 1);
        }
        return sendA.real(h, m, w, l);
    });
    TTTOOLINFOW tool = Tool(parent.hwnd, 1, const_cast<LPWSTR>(text.c_str()), TTTOOLINFOW_V1_SIZE);
    ToolTips_AddTool(tt, &tool);
    EXPECT_EQ(std::tuple(ti.cbSize, ti.lParam, sentText), std::tuple(44u, LPARAM(0), ToAnsi(text)));
    tool = Tool(parent.hwnd, 2, LPSTR_TEXTCALLBACKW);
    ToolTips_AddTool(tt, &tool);
    EXPECT_EQ(std::tuple(ti.cbSize, ti.lParam, sentText),
        std::tuple(44u, LPARAM(102), "#" + std::to_string(UINT_PTR(-1))));
    tool.hinst = GetModuleHandleW(nullptr);
    tool.lpszText = MAKEINTRESOURCEW(17);
    ToolTips_SetToolInfo(tt, &tool);
    EXPECT_EQ(std::tuple(msg, sentText), std::tuple(UINT(TTM_SETTOOLINFOA), std::string("#17")));
    // A query's buffer holds as much as an ANSI tooltip may copy into it.
    WCHAR mine[256];
    TTTOOLINFOW got = Tool(parent.hwnd, 1, mine);
    ToolTips_GetToolInfo(tt, &got);
    EXPECT_EQ(msg, UINT(TTM_GETTOOLINFOA));
    EXPECT_GE(heapSize, 1024u);
    TTTOOLINFOW del = Tool(parent.hwnd, 2, const_cast<LPWSTR>(L"x"), 40);
    ToolTips_DelTool(tt, &del);
    EXPECT_EQ(std::tuple(msg, ti.cbSize, ti.uId, ti.rect.right, sentText),
        std::tuple(UINT(TTM_DELTOOLA), 44u, UINT_PTR(2), 0L, std::string("#0")));

    EXPECT_EQ(ToolBar_AddString(tb, nullptr, L"a\0b\0"), 0);
    EXPECT_EQ(sentText, std::string("a\0b\0", 4));
    ToolBar_AddString(tb, GetModuleHandleW(nullptr), MAKEINTRESOURCEW(33));
    EXPECT_EQ(lParam, 33);
    TBBUTTON button = { 0, 10, TBSTATE_ENABLED, BTNS_BUTTON, {}, 0, INT_PTR(L"wide") };
    ToolBar_AddButtons(tb, 1, &button);
    EXPECT_EQ(std::tuple(msg, lParam), std::tuple(UINT(TB_ADDBUTTONSA), LPARAM(&button)));
}

} // namespace
