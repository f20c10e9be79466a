// Status bars: their windows, texts and drawing.
#include "commctrl/commctrl.h"

AT_SYSTEM_FUNCTION(comctl32, DrawStatusTextW, 0)
AT_SYSTEM_FUNCTION(comctl32, CreateStatusWindowW, 0)

namespace
{

// The comctl32 of Windows 95 exports these two A functions by ordinal only. Where
// the ordinal is missing, the stand-in answers as every function the system lacks.
template <typename Fn> Fn ByOrdinal(WORD ordinal, Fn missing)
{
    auto fn = reinterpret_cast<Fn>(
        AtBindSystemFunction("comctl32.dll", reinterpret_cast<LPCSTR>(UINT_PTR(ordinal))));
    return fn ? fn : missing;
}

void WINAPI DrawStatusTextMissing(HDC, LPCRECT, LPCSTR, UINT)
{
    SetLastError(ERROR_CALL_NOT_IMPLEMENTED);
}

HWND WINAPI CreateStatusWindowMissing(LONG, LPCSTR, HWND, UINT)
{
    SetLastError(ERROR_CALL_NOT_IMPLEMENTED);
    return nullptr;
}

decltype(&DrawStatusTextA) DrawStatusTextByOrdinal()
{
    static const auto fn = ByOrdinal<decltype(&DrawStatusTextA)>(5, DrawStatusTextMissing);
    return fn;
}

decltype(&CreateStatusWindowA) CreateStatusWindowByOrdinal()
{
    static const auto fn = ByOrdinal<decltype(&CreateStatusWindowA)>(6, CreateStatusWindowMissing);
    return fn;
}

} // namespace

void WINAPI DrawStatusTextW(HDC hdc, LPCRECT rect, LPCWSTR text, UINT flags)
{
    AtExport(Sys::DrawStatusTextW, hdc, rect, text, flags)
        .orAnsiWithoutSavedError(AtNoResult {},
            [=] { DrawStatusTextByOrdinal()(hdc, rect, AtAnsiTemp(text), flags); });
}

HWND WINAPI CreateStatusWindowW(LONG style, LPCWSTR text, HWND parent, UINT id)
{
    return AtExport(Sys::CreateStatusWindowW, style, text, parent, id)
        .orAnsi(nullptr, [=](AtSavedError& err) {
            return err.keep(CreateStatusWindowByOrdinal()(style, AtAnsiTemp(text), parent, id));
        });
}

// An owner-drawn part carries the owner's value, not a text: it goes as it is.
BOOL WINAPI AtStatusBar_SetTextW(HWND hwnd, int iPart, LPCWSTR text)
{
    return AtControlMessage(hwnd, SB_SETTEXTW, iPart, text, 0, [=] {
        if (iPart & SBT_OWNERDRAW)
            return Sys::SendMessageA(hwnd, SB_SETTEXTA, iPart, AtParam(text));
        return Sys::SendMessageA(hwnd, SB_SETTEXTA, iPart, AtParam(AtAnsiTemp(text).value));
    });
}

// The answer is the A message's: the text's length in bytes in the low word, its
// drawing type in the high word. An empty part leaves the buffer untouched. The ANSI
// buffer is generous (twice the length and 2 more characters); the text is converted
// as far as the returned length and its NUL.
DWORD WINAPI AtStatusBar_GetTextW(HWND hwnd, int iPart, LPWSTR buf)
{
    return AtControlMessage(hwnd, SB_GETTEXTW, iPart, buf, 0, [=] {
        LRESULT r = Sys::SendMessageA(hwnd, SB_GETTEXTLENGTHA, iPart, 0);
        DWORD len = LOWORD(r);
        if (!len)
            return r;
        AtStringSlot bufA;
        AtAllocEmptyAnsiOut(bufA, 2 * len + 2);
        r = Sys::SendMessageA(hwnd, SB_GETTEXTA, iPart, AtParam(bufA.value));
        if (LOWORD(r) && buf)
            AtAnsiToWideOut(bufA, buf, LOWORD(r) + 1);
        return r;
    });
}
