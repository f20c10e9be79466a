// Toolbars: strings, button texts, buttons and saved states.
#include "commctrl/commctrl.h"

// A list of strings, each ended by a NUL and the list by an empty one, or a string
// resource's identifier when hinst names the module.
int WINAPI ToolBar_AddString(HWND hwnd, HINSTANCE hinst, LPCWSTR strings)
{
    return AtControlMessage(hwnd, TB_ADDSTRINGW, reinterpret_cast<WPARAM>(hinst), strings, -1, [=] {
        AtStringSlot list;
        AtWideToAnsiTempList(list, strings, AtListOfStrings);
        return Sys::SendMessageA(
            hwnd, TB_ADDSTRINGA, reinterpret_cast<WPARAM>(hinst), AtParam(list.value));
    });
}

// The A message is told no capacity and writes the whole text: the buffer is made
// large enough for it whatever the caller's count, and what does not fit the
// caller's cch characters gives 0.
int WINAPI ToolBar_GetButtonText(HWND hwnd, int idButton, LPWSTR buf, int cch)
{
    return AtControlMessage(hwnd, TB_GETBUTTONTEXTW, idButton, buf, -1, [=] {
        LRESULT len = Sys::SendMessageA(hwnd, TB_GETBUTTONTEXTA, idButton, 0);
        DWORD chars = static_cast<DWORD>(cch);
        if (len >= 0 && static_cast<DWORD>(len) >= chars * AtMaxCharSize)
            chars = static_cast<DWORD>(len) + 1;
        AtStringSlot bufA;
        AtAllocEmptyAnsiOut(bufA, chars);
        Sys::SendMessageA(hwnd, TB_GETBUTTONTEXTA, idButton, AtParam(bufA.value));
        int n = AtAnsiToWideOut(bufA, buf, cch);
        return n > 0 ? n - 1 : n;
    });
}

void WINAPI ToolBar_SaveRestore(HWND hwnd, BOOL fSave, TBSAVEPARAMSW* params)
{
    AtControlMessage(hwnd, TB_SAVERESTOREW, fSave, params, 0, [=] {
        AtStringSlot subKey, valueName;
        AtWideToAnsiTemp(subKey, params->pszSubKey);
        AtWideToAnsiTemp(valueName, params->pszValueName);
        TBSAVEPARAMSA a = { params->hkr, subKey, valueName };
        return Sys::SendMessageA(hwnd, TB_SAVERESTOREA, fSave, AtParam(&a));
    });
}

// The buttons go as they are: a button whose iString is a string hands the ANSI
// control a wide pointer. Give the strings with ToolBar_AddString and index them.
BOOL WINAPI ToolBar_AddButtons(HWND hwnd, UINT n, LPTBBUTTON buttons)
{
    return AtExport(Sys::SendMessageW, hwnd, UINT(TB_ADDBUTTONSW), WPARAM(n), AtParam(buttons))
        .orAnsiUnguarded(
            [=] { return Sys::SendMessageA(hwnd, TB_ADDBUTTONSA, n, AtParam(buttons)); });
}

BOOL WINAPI ToolBar_InsertButton(HWND hwnd, int i, LPTBBUTTON button)
{
    return AtExport(Sys::SendMessageW, hwnd, UINT(TB_INSERTBUTTONW), WPARAM(i), AtParam(button))
        .orAnsiUnguarded(
            [=] { return Sys::SendMessageA(hwnd, TB_INSERTBUTTONA, i, AtParam(button)); });
}
