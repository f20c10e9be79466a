// Static and edit controls: their text, lines, password character and selection.
// On the ANSI platforms the controls hold ANSI text and count positions in bytes;
// these helpers count in characters on every platform.
#include "core/core.h"

// Without SendMessage the static and edit helpers answer 0.
AT_SYSTEM_FUNCTION(user32, SendMessageW, 0)
AT_SYSTEM_FUNCTION(user32, SendMessageA, 0)
#include "controls/controls.h"

AT_SYSTEM_FUNCTION(user32, GetWindowTextW, 0)
AT_SYSTEM_FUNCTION(user32, GetWindowTextA, 0)
AT_SYSTEM_FUNCTION(user32, SetWindowTextW, FALSE)
AT_SYSTEM_FUNCTION(user32, SetWindowTextA, FALSE)
AT_SYSTEM_FUNCTION(user32, GetWindowTextLengthA, 0)

namespace
{

// The control's ANSI text, read into a block of the process heap that the helper
// owns. A failed allocation leaves it empty: the selection helpers then answer
// without asking the control, rather than failing as the other helpers do.
class ControlText
{
public:
    explicit ControlText(HWND hwnd)
        : length(Sys::GetWindowTextLengthA(hwnd))
    {
        if (length <= 0)
            return;
        text = static_cast<char*>(HeapAlloc(AtModuleState.processHeap, 0, length + 1));
        if (!text)
            return;
        size = Sys::GetWindowTextA(hwnd, text, length + 1);
        if (size < 0)
            size = 0;
        text[size] = '\0';
    }
    ~ControlText()
    {
        if (text)
            HeapFree(AtModuleState.processHeap, 0, text);
    }
    ControlText(const ControlText&) = delete;
    ControlText& operator=(const ControlText&) = delete;

    // No text to read, or no memory to read it into.
    bool empty() const { return !text; }
    bool hasLength() const { return length > 0; }

    // Characters in the first `bytes` bytes: a lead byte and its trail byte are one
    // character, also when the position falls between them. A position past the
    // text counts the text's characters.
    int charsIn(int bytes) const
    {
        int chars = 0;
        for (int i = 0; i < bytes && i < size; ++chars) {
            if (IsDBCSLeadByte(static_cast<BYTE>(text[i])))
                ++i;
            ++i;
        }
        return chars;
    }

    // Bytes taken by the first `chars` characters.
    int bytesIn(int chars) const
    {
        int bytes = 0;
        for (int i = 0; i < chars && bytes < size; ++i) {
            if (IsDBCSLeadByte(static_cast<BYTE>(text[bytes])) && bytes + 1 < size)
                ++bytes;
            ++bytes;
        }
        return bytes;
    }

private:
    int length;
    char* text = nullptr;
    int size = 0;
};

// EM_GETLINE finds the buffer's capacity in the buffer's first bytes. A buffer too
// small for 32 bits takes it in the 16 bits the control reads.
bool StoreCapacity(void* buf, SIZE_T bufBytes, DWORD capacity)
{
    if (bufBytes >= sizeof(DWORD))
        *static_cast<DWORD*>(buf) = capacity;
    else if (bufBytes >= sizeof(WORD))
        *static_cast<WORD*>(buf) = static_cast<WORD>(capacity);
    else
        return false;
    return true;
}

} // namespace

int WINAPI AtStatic_GetTextW(HWND hwnd, LPWSTR buf, int n)
{
    return AtExport(Sys::GetWindowTextW, hwnd, buf, n).orAnsiWithoutSavedError(0, [=] {
        AtStringSlot bufA;
        AtAllocEmptyAnsiOut(bufA, n);
        Sys::GetWindowTextA(hwnd, bufA, AtHeapSize(bufA));
        return AtCountWithoutTerminator(AtAnsiToWideOut(bufA, buf, n));
    });
}

BOOL WINAPI AtStatic_SetTextW(HWND hwnd, LPCWSTR text)
{
    return AtExport(Sys::SetWindowTextW, hwnd, text).orAnsiWithoutSavedError(FALSE, [=] {
        return Sys::SetWindowTextA(hwnd, AtAnsiTemp(text));
    });
}

// The line comes without a NUL, and none is written after it.
int WINAPI AtEdit_GetLineW(HWND hwnd, int line, LPWSTR buf, int n)
{
    if (!buf || n <= 0)
        return 0;
    if (AtWidePath()) {
        StoreCapacity(buf, n * sizeof(WCHAR), n);
        return static_cast<int>(AtSend(hwnd, EM_GETLINE, line, reinterpret_cast<LPARAM>(buf)));
    }
    return AtTranslate<int>(0, [=] {
        AtStringSlot bufA;
        AtAllocAnsiOut(bufA, n < 2 ? 2 : n);
        StoreCapacity(bufA, AtHeapSize(bufA), AtHeapSize(bufA));
        int r = static_cast<int>(
            AtSendA(hwnd, EM_GETLINE, line, reinterpret_cast<LPARAM>(bufA.value)));
        if (r > 0)
            r = AtAnsiToWideOutN(bufA, buf, n, r);
        return r;
    });
}

// The can-undo flag is always off.
void WINAPI AtEdit_ReplaceSelW(HWND hwnd, LPCWSTR text)
{
    AtSendText(hwnd, EM_REPLACESEL, 0, text, 0);
}

// The byte goes out sign-extended, as a char widened to the message's parameter: a
// character of the code page's upper half arrives as a negative value. A character
// that takes two bytes has no one-byte form and sends 0, which removes the password
// character.
void WINAPI AtEdit_SetPasswordCharW(HWND hwnd, WCHAR ch)
{
    if (AtWidePath()) {
        AtSend(hwnd, EM_SETPASSWORDCHAR, ch, 0);
        return;
    }
    AtTranslate<int>(0, [=] {
        AtStringSlot byte;
        AtAllocEmptyAnsiOut(byte, 1);
        WideCharToMultiByte(CP_ACP, 0, &ch, 1, byte, 1, nullptr, nullptr);
        signed char c = *static_cast<char*>(byte);
        AtSendA(hwnd, EM_SETPASSWORDCHAR, static_cast<WPARAM>(static_cast<LONG>(c)), 0);
        return 0;
    });
}

// Start in the low word, end in the high word, both in characters.
DWORD WINAPI AtEdit_GetSelW(HWND hwnd)
{
    if (AtWidePath())
        return static_cast<DWORD>(AtSend(hwnd, EM_GETSEL, 0, 0));
    DWORD r = static_cast<DWORD>(AtSendA(hwnd, EM_GETSEL, 0, 0));
    if (r == 0 || r == DWORD(-1))
        return r;
    ControlText text(hwnd);
    if (!text.hasLength())
        return r;
    if (text.empty())
        return 0;
    int start = text.charsIn(LOWORD(r));
    int end = text.charsIn(HIWORD(r));
    return (static_cast<DWORD>(end) << 16) | (start & 0xFFFF);
}

// On the ANSI platforms the end position is not used: the caret goes to the start
// with an empty selection. Selecting all (0, -1) and removing the selection
// (-1, any) need no text.
void WINAPI AtEdit_SetSelW(HWND hwnd, int start, int end)
{
    if (AtWidePath()) {
        AtSend(hwnd, EM_SETSEL, start, end);
        return;
    }
    if ((start == 0 && end == -1) || start == -1) {
        AtSendA(hwnd, EM_SETSEL, start, end);
        return;
    }
    ControlText text(hwnd);
    if (text.empty())
        return;
    int startByte = text.bytesIn(start);
    int caret = text.bytesIn(start);
    AtSendA(hwnd, EM_SETSEL, startByte, caret);
}
