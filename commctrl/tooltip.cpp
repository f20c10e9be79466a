// Tooltips: tools added, changed, removed and read back.
#include <algorithm>

#include "commctrl/commctrl.h"

namespace
{

// The size of the records torwen sends: a TOOLINFOA with lParam and nothing after.
constexpr UINT toolInfoSize = 44;

// A caller's record of the oldest size (40 bytes) has no lParam: it is neither read
// nor written.
bool HasParam(const TTTOOLINFOW* ti)
{
    return ti->cbSize >= toolInfoSize;
}

void ToolToA(const TTTOOLINFOW* w, TTTOOLINFOA& a)
{
    a.cbSize = toolInfoSize;
    a.uFlags = w->uFlags;
    a.hwnd = w->hwnd;
    a.uId = w->uId;
    a.rect = w->rect;
    a.hinst = w->hinst;
    if (w->lpszText == LPSTR_TEXTCALLBACKW)
        a.lpszText = LPSTR_TEXTCALLBACKA;
    else
        a.lpszText = reinterpret_cast<LPSTR>(w->lpszText);
    a.lParam = HasParam(w) ? w->lParam : 0;
}

void ToolToW(const TTTOOLINFOA& a, TTTOOLINFOW* w)
{
    if (HasParam(w)) {
        w->cbSize = toolInfoSize;
        w->lParam = a.lParam;
    }
    w->uFlags = a.uFlags;
    w->hwnd = a.hwnd;
    w->uId = a.uId;
    w->rect = a.rect;
    w->hinst = a.hinst;
    if (a.lpszText == LPSTR_TEXTCALLBACKA)
        w->lpszText = LPSTR_TEXTCALLBACKW;
    else
        w->lpszText = reinterpret_cast<LPWSTR>(a.lpszText);
}

// A tool's text: converted unless the tool asks its parent; a string resource's
// identifier (with hinst) passes as it is.
LRESULT SendTool(HWND hwnd, UINT msgA, WPARAM wParam, const TTTOOLINFOW* ti)
{
    TTTOOLINFOA a = {};
    ToolToA(ti, a);
    AtStringSlot text;
    if (ti->lpszText != LPSTR_TEXTCALLBACKW) {
        AtWideToAnsiTemp(text, ti->lpszText);
        a.lpszText = text;
    }
    return Sys::SendMessageA(hwnd, msgA, wParam, AtParam(&a));
}

// An ANSI tooltip copies up to this many bytes of a tool's text into a query's
// buffer, whatever the buffer's size.
constexpr UINT controlsTextBytes = 1024;

// The text queries: the control writes the tool's text into a buffer of 255
// characters (or as many bytes as the control may write, if that is more), and the
// answer, at most 255 characters, comes back into the caller's record. The caller's
// lpszText keeps designating the caller's own buffer, which receives the text;
// a tool that asks its parent for its text, or has a string resource, answers
// LPSTR_TEXTCALLBACKW or the identifier there instead.
template <typename Build>
LRESULT QueryTool(
    HWND hwnd, UINT msgA, WPARAM wParam, TTTOOLINFOW* ti, TTTOOLINFOA& a, void* record, Build build)
{
    AtStringSlot buf;
    AtAllocEmptyAnsiOut(buf, std::max<UINT>(255, controlsTextBytes / AtMaxCharSize));
    build();
    a.lpszText = buf;
    LRESULT r = Sys::SendMessageA(hwnd, msgA, wParam, AtParam(record));
    if (!r)
        return r;
    LPWSTR callersText = ti->lpszText;
    ToolToW(a, ti);
    if (a.lpszText == static_cast<char*>(buf)) {
        ti->lpszText = callersText;
        if (callersText && callersText != LPSTR_TEXTCALLBACKW)
            AtAnsiToWideOut(buf, callersText, 255);
    }
    return r;
}

} // namespace

BOOL WINAPI ToolTips_AddTool(HWND hwnd, TTTOOLINFOW* ti)
{
    return AtControlMessage(
        hwnd, TTM_ADDTOOLW, 0, ti, 0, [=] { return SendTool(hwnd, TTM_ADDTOOLA, 0, ti); });
}

// The control finds a tool by its window and identifier: only those travel.
void WINAPI ToolTips_DelTool(HWND hwnd, TTTOOLINFOW* ti)
{
    AtExport(Sys::SendMessageW, hwnd, UINT(TTM_DELTOOLW), WPARAM(0), AtParam(ti))
        .orAnsiUnguarded([=] {
            TTTOOLINFOA a = {};
            a.cbSize = toolInfoSize;
            a.hwnd = ti->hwnd;
            a.uId = ti->uId;
            return Sys::SendMessageA(hwnd, TTM_DELTOOLA, 0, AtParam(&a));
        });
}

void WINAPI ToolTips_NewToolRect(HWND hwnd, TTTOOLINFOW* ti)
{
    AtExport(Sys::SendMessageW, hwnd, UINT(TTM_NEWTOOLRECTW), WPARAM(0), AtParam(ti))
        .orAnsiUnguarded([=] {
            TTTOOLINFOA a = {};
            a.cbSize = toolInfoSize;
            a.hwnd = ti->hwnd;
            a.uId = ti->uId;
            a.rect = ti->rect;
            return Sys::SendMessageA(hwnd, TTM_NEWTOOLRECTA, 0, AtParam(&a));
        });
}

// The control is told the caller's record size.
BOOL WINAPI ToolTips_GetToolInfo(HWND hwnd, TTTOOLINFOW* ti)
{
    return AtControlMessage(hwnd, TTM_GETTOOLINFOW, 0, ti, 0, [=] {
        TTTOOLINFOA a = {};
        return QueryTool(hwnd, TTM_GETTOOLINFOA, 0, ti, a, &a, [&] {
            a.cbSize = ti->cbSize;
            a.hwnd = ti->hwnd;
            a.uId = ti->uId;
        });
    });
}

void WINAPI ToolTips_SetToolInfo(HWND hwnd, TTTOOLINFOW* ti)
{
    AtControlMessage(
        hwnd, TTM_SETTOOLINFOW, 0, ti, 0, [=] { return SendTool(hwnd, TTM_SETTOOLINFOA, 0, ti); });
}

// The tool found at the point comes back in ti.
BOOL WINAPI ToolTips_HitTest(HWND hwnd, TTHITTESTINFOW* hit)
{
    return AtControlMessage(hwnd, TTM_HITTESTW, 0, hit, 0, [=] {
        TTHITTESTINFOA a = {};
        return QueryTool(hwnd, TTM_HITTESTA, 0, &hit->ti, a.ti, &a, [&] {
            a.hwnd = hit->hwnd;
            a.pt = hit->pt;
            a.ti.cbSize = toolInfoSize;
        });
    });
}

void WINAPI ToolTips_UpdateTipText(HWND hwnd, TTTOOLINFOW* ti)
{
    AtControlMessage(hwnd, TTM_UPDATETIPTEXTW, 0, ti, 0,
        [=] { return SendTool(hwnd, TTM_UPDATETIPTEXTA, 0, ti); });
}

BOOL WINAPI ToolTips_EnumTools(HWND hwnd, UINT iTool, TTTOOLINFOW* ti)
{
    return AtControlMessage(hwnd, TTM_ENUMTOOLSW, iTool, ti, 0, [=] {
        TTTOOLINFOA a = {};
        return QueryTool(hwnd, TTM_ENUMTOOLSA, iTool, ti, a, &a, [&] { ToolToA(ti, a); });
    });
}

// Read back like the other queries: the current tool's fields and text. Without a
// record the control only answers whether there is a current tool.
BOOL WINAPI ToolTips_GetCurrentTool(HWND hwnd, TTTOOLINFOW* ti)
{
    return AtControlMessage(hwnd, TTM_GETCURRENTTOOLW, 0, ti, 0, [=] {
        if (!ti)
            return Sys::SendMessageA(hwnd, TTM_GETCURRENTTOOLA, 0, 0);
        TTTOOLINFOA a = {};
        return QueryTool(hwnd, TTM_GETCURRENTTOOLA, 0, ti, a, &a, [&] { ToolToA(ti, a); });
    });
}
