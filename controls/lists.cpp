// List boxes and combo boxes: adding, finding and reading their strings.
#include "core/core.h"

// Without SendMessage a list or combo box helper answers LB_ERR (CB_ERR is the
// same value), as when the control refuses.
AT_SYSTEM_FUNCTION(user32, SendMessageW, LB_ERR)
AT_SYSTEM_FUNCTION(user32, SendMessageA, LB_ERR)
#include "controls/controls.h"

namespace
{

// An item's text, fetched whole into an ANSI buffer sized from the item's length in
// bytes. Answers LB_ERR (which CB_ERR equals) when the control does.
LRESULT ItemTextA(AtStringSlot& text, HWND hwnd, UINT getText, WPARAM index, LRESULT bytes)
{
    AtAllocEmptyAnsiOut(text, static_cast<DWORD>(bytes + 1));
    return AtSendA(hwnd, getText, index, reinterpret_cast<LPARAM>(text.value));
}

// Wide characters of a NUL-terminated ANSI text, the NUL included.
int WideLength(const AtStringSlot& text)
{
    return text.value ? MultiByteToWideChar(CP_ACP, 0, text, -1, nullptr, 0) : 0;
}

// The caller's buffer must hold the whole text, as for the message itself.
int GetItemText(HWND hwnd, UINT getTextLen, UINT getText, int index, LPWSTR buf)
{
    return AtExport(Sys::SendMessageW, hwnd, getText, WPARAM(index), reinterpret_cast<LPARAM>(buf))
        .orAnsiWithoutSavedError(LB_ERR, [=]() -> LRESULT {
            LRESULT bytes = AtSendA(hwnd, getTextLen, index, 0);
            if (bytes == LB_ERR)
                return LB_ERR;
            AtStringSlot text;
            if (ItemTextA(text, hwnd, getText, index, bytes) == LB_ERR)
                return LB_ERR;
            return AtCountWithoutTerminator(AtAnsiToWideOut(text, buf, WideLength(text)));
        });
}

// The length in wide characters, found by fetching and measuring the text: a byte
// count scaled by the code page would overstate it.
int GetItemTextLength(HWND hwnd, UINT getTextLen, UINT getText, int index, bool testLength)
{
    return AtExport(Sys::SendMessageW, hwnd, getTextLen, WPARAM(index), LPARAM(0))
        .orAnsiWithoutSavedError(LB_ERR, [=]() -> LRESULT {
            LRESULT bytes = AtSendA(hwnd, getTextLen, index, 0);
            if (testLength && bytes == LB_ERR)
                return LB_ERR;
            AtStringSlot text;
            if (ItemTextA(text, hwnd, getText, index, bytes) == LB_ERR)
                return LB_ERR;
            return AtCountWithoutTerminator(WideLength(text));
        });
}

} // namespace

int WINAPI AtListBox_AddStringW(HWND hwnd, LPCWSTR text)
{
    return AtSendText(hwnd, LB_ADDSTRING, 0, text, LB_ERR);
}

int WINAPI AtListBox_InsertStringW(HWND hwnd, int index, LPCWSTR text)
{
    return AtSendText(hwnd, LB_INSERTSTRING, index, text, LB_ERR);
}

int WINAPI AtListBox_FindStringW(HWND hwnd, int start, LPCWSTR text)
{
    return AtSendText(hwnd, LB_FINDSTRING, start, text, LB_ERR);
}

int WINAPI AtListBox_FindStringExactW(HWND hwnd, int start, LPCWSTR text)
{
    return AtSendText(hwnd, LB_FINDSTRINGEXACT, start, text, LB_ERR);
}

int WINAPI AtListBox_SelectStringW(HWND hwnd, int start, LPCWSTR text)
{
    return AtSendText(hwnd, LB_SELECTSTRING, start, text, LB_ERR);
}

int WINAPI AtListBox_GetTextW(HWND hwnd, int index, LPWSTR buf)
{
    return GetItemText(hwnd, LB_GETTEXTLEN, LB_GETTEXT, index, buf);
}

// An index the list does not have reaches LB_GETTEXT, which refuses it.
int WINAPI AtListBox_GetTextLenW(HWND hwnd, int index)
{
    return GetItemTextLength(hwnd, LB_GETTEXTLEN, LB_GETTEXT, index, false);
}

int WINAPI AtListBox_AddFileW(HWND hwnd, LPCWSTR file)
{
    return AtSendText(hwnd, LB_ADDFILE, 0, file, LB_ERR);
}

int WINAPI AtComboBox_AddStringW(HWND hwnd, LPCWSTR text)
{
    return AtSendText(hwnd, CB_ADDSTRING, 0, text, CB_ERR);
}

int WINAPI AtComboBox_InsertStringW(HWND hwnd, int index, LPCWSTR text)
{
    return AtSendText(hwnd, CB_INSERTSTRING, index, text, CB_ERR);
}

int WINAPI AtComboBox_FindStringW(HWND hwnd, int start, LPCWSTR text)
{
    return AtSendText(hwnd, CB_FINDSTRING, start, text, CB_ERR);
}

int WINAPI AtComboBox_FindStringExactW(HWND hwnd, int start, LPCWSTR text)
{
    return AtSendText(hwnd, CB_FINDSTRINGEXACT, start, text, CB_ERR);
}

int WINAPI AtComboBox_SelectStringW(HWND hwnd, int start, LPCWSTR text)
{
    return AtSendText(hwnd, CB_SELECTSTRING, start, text, CB_ERR);
}

int WINAPI AtComboBox_GetLBTextW(HWND hwnd, int index, LPWSTR buf)
{
    return GetItemText(hwnd, CB_GETLBTEXTLEN, CB_GETLBTEXT, index, buf);
}

int WINAPI AtComboBox_GetLBTextLenW(HWND hwnd, int index)
{
    return GetItemTextLength(hwnd, CB_GETLBTEXTLEN, CB_GETLBTEXT, index, true);
}
