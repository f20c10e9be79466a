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

// The characters of a double-NUL list up to and including its final NUL (just
// the one NUL of a list that starts with it). Nothing beyond is read: a list may
// end exactly where the caller's memory does.
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
    return i + 1;
}

// The list converted with one byte more than it needs, a NUL: the block keeps the
// size it has always had for a list followed by a one-byte character, and the A
// functions stop at the double NUL before it.
void ListToAnsiTemp(AtStringSlot& slot, LPCWSTR s)
{
    int len = ListLength(s);
    int size = WideToAnsi(s, len, nullptr, 0) + 1;
    slot.value = AtAlloc(size);
    char* a = slot;
    int converted = WideToAnsi(s, len, a, size);
    a[converted] = '\0';
}

// The bytes of an ANSI out buffer that a conversion back may read: never more than
// the block holds, whatever count an A function reported (its required size, when
// the buffer was too small). An integer value is no block and has no such limit.
DWORD BlockLimit(const AtStringSlot& slot, DWORD len)
{
    if (AtIsIntegerValue(slot))
        return len;
    SIZE_T size = AtHeapSize(slot);
    return size < len ? DWORD(size) : len;
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

void AtWideToAnsiTempN(AtStringSlot& slot, LPCWSTR s, DWORD n)
{
    if (AtIsIntegerValue(s)) {
        slot.value = const_cast<WCHAR*>(s);
        return;
    }
    int len = 0;
    while (DWORD(len) < n && len < 0x7FFFFFFF && s[len])
        ++len;
    int size = WideToAnsi(s, len, nullptr, 0) + 1;
    slot.value = AtAlloc(size);
    char* a = slot;
    a[len ? WideToAnsi(s, len, a, size) : 0] = '\0';
}

void AtWideToAnsiTempList(AtStringSlot& slot, LPCWSTR s, int mode)
{
    if (mode != AtListOfStrings || AtIsIntegerValue(s)) {
        AtWideToAnsiTemp(slot, s);
        return;
    }
    ListToAnsiTemp(slot, s);
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

// A text that the A function (or a window procedure) left without a terminator
// inside the block ends where the block does: it is converted and terminated as if
// its NUL stood there, so the conversion never runs on into the heap.
template <typename From, typename To, typename Convert>
int ConvertInsideBlock(const AtStringSlot& slot, To* buf, DWORD n, Convert convert)
{
    const From* text = static_cast<const From*>(slot.value);
    if (AtIsIntegerValue(text))
        return convert(text, -1, buf, n);
    DWORD size = BlockLimit(slot, 0xFFFFFFFF) / sizeof(From);
    DWORD len = 0;
    while (len < size && text[len])
        ++len;
    if (len < size)
        return convert(text, len + 1, buf, n);
    int converted = convert(text, len, buf, n);
    if (len && !converted)
        return 0;
    if (n == 0)
        return converted + 1;
    if (DWORD(converted) >= n || !buf)
        return 0;  // no room left for the terminator: all or nothing
    buf[converted] = To(0);
    return converted + 1;
}

int AtAnsiToWideOut(const AtStringSlot& slot, LPWSTR buf, DWORD n)
{
    CheckCount(n);
    return ConvertInsideBlock<char>(slot, buf, n, AnsiToWide);
}

int AtAnsiToWideOutN(const AtStringSlot& slot, LPWSTR buf, DWORD n, DWORD len)
{
    CheckCount(n);
    CheckCount(len);
    return AnsiToWide(slot, BlockLimit(slot, len), buf, n);
}

int AtWideToAnsiOut(const AtStringSlot& slot, LPSTR buf, DWORD n)
{
    CheckCount(n);
    return ConvertInsideBlock<WCHAR>(slot, buf, n, WideToAnsi);
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
