#include "core/convert.h"

namespace {

int WideToAnsi(LPCWSTR s, int len, LPSTR out, int n)
{
    return WideCharToMultiByte(CP_ACP, 0, s, len, out, n, nullptr, nullptr);
}

int AnsiToWide(LPCSTR s, int len, LPWSTR out, int n)
{
    return MultiByteToWideChar(CP_ACP, 0, s, len, out, n);
}

void CheckCount(DWORD n)
{
    if (n > 0x7FFFFFFF) {
        SetLastError(ERROR_INVALID_PARAMETER);
        throw CAtException(CAtException::CountTooLarge);
    }
}

// Query, allocate, convert, and clear on failure, in that order: a size query that
// fails gives a zero-byte block, which the cleared first byte then lands in.
void WideToAnsiTemp(AtStringSlot& slot, LPCWSTR s, int len)
{
    int size = WideToAnsi(s, len, nullptr, 0);
    slot.value = AtAlloc(size);
    if (!WideToAnsi(s, len, slot, size))
        *static_cast<char*>(slot) = '\0';
}

// The length of a double-NUL list as the converter counts it: one character past
// the final NUL (the A functions stop at the double NUL and never see it), or 2
// for a list that starts with its terminator.
int ListLength(LPCWSTR s)
{
    int i = 0;
    if (s[0]) {
        do {
            while (s[i])
                ++i;
            ++i;
        } while (s[i]);
    }
    return i + 2;
}

}  // namespace

void AtWideToAnsiTemp(AtStringSlot& slot, LPCWSTR s)
{
    if (AtIsIntegerValue(s)) {
        slot.value = const_cast<WCHAR*>(s);
        return;
    }
    WideToAnsiTemp(slot, s, -1);
}

void AtWideToAnsiTempList(AtStringSlot& slot, LPCWSTR s, int mode)
{
    if (mode != AtListOfStrings || AtIsIntegerValue(s)) {
        AtWideToAnsiTemp(slot, s);
        return;
    }
    WideToAnsiTemp(slot, s, ListLength(s));
}

void AtAnsiToWideTemp(AtStringSlot& slot, LPCSTR s)
{
    if (AtIsIntegerValue(s)) {
        slot.value = const_cast<char*>(s);
        return;
    }
    int count = AnsiToWide(s, -1, nullptr, 0);
    slot.value = AtAlloc(2 * count);
    if (!AnsiToWide(s, -1, slot, count))
        *static_cast<WCHAR*>(slot) = L'\0';
}

int AtAnsiToWideOut(const AtStringSlot& slot, LPWSTR buf, DWORD n)
{
    CheckCount(n);
    return AnsiToWide(slot, -1, buf, n);
}

int AtAnsiToWideOutN(const AtStringSlot& slot, LPWSTR buf, DWORD n, DWORD len)
{
    CheckCount(n);
    CheckCount(len);
    return AnsiToWide(slot, len, buf, n);
}

int AtWideToAnsiOut(const AtStringSlot& slot, LPSTR buf, DWORD n)
{
    CheckCount(n);
    return WideToAnsi(slot, -1, buf, n);
}

// The byte is the top byte of the argument's own 32-bit value, so when the
// conversion writes nothing the answer is that byte: 0 for a plain character.
int AtWideCharToAnsiChar(DWORD c)
{
    WCHAR ch = LOWORD(c);
    char b = static_cast<char>(c >> 24);
    WideToAnsi(&ch, 1, &b, 1);
    return static_cast<signed char>(b);
}
