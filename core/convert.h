// Conversions between the caller's UTF-16 and the ANSI code page. All of them use
// CP_ACP with flags 0 and no default character.
#pragma once

#include "core/memory.h"

// Into temporaries owned by a slot. A value whose upper 16 bits are zero passes
// through unchanged. A failed conversion leaves an empty string, never an
// unterminated one.
void AtWideToAnsiTemp(AtStringSlot& slot, LPCWSTR s);
void AtAnsiToWideTemp(AtStringSlot& slot, LPCSTR s);
// The same for a buffer of n characters that may hold no NUL: at most n characters
// are read, and the temporary is always terminated.
void AtWideToAnsiTempN(AtStringSlot& slot, LPCWSTR s, DWORD n);

// One wide input converted where the A function takes it:
//     return err.keep(DeleteFileA(AtAnsiTemp(name)));
// The temporary lives to the end of the full expression, so it is freed after the
// A call's error has been kept. (Two of them in one call would be converted in
// whichever order the compiler evaluates arguments: convert those into slots.)
class AtAnsiTemp : public AtStringSlot
{
public:
    explicit AtAnsiTemp(LPCWSTR s) { AtWideToAnsiTemp(*this, s); }
};

// Mode 1 converts a list of NUL-terminated strings ended by an empty one
// (environment blocks, filters, profile sections); any other mode is
// AtWideToAnsiTemp.
enum : int { AtListOfStrings = 1 };
void AtWideToAnsiTempList(AtStringSlot& slot, LPCWSTR s, int mode);

// Into the caller's buffers; all or nothing, as the system converters are. A count
// above 0x7FFFFFFF sets ERROR_INVALID_PARAMETER and throws CAtException(1).
int AtAnsiToWideOut(const AtStringSlot& slot, LPWSTR buf, DWORD n);
int AtAnsiToWideOutN(const AtStringSlot& slot, LPWSTR buf, DWORD n, DWORD len);
int AtWideToAnsiOut(const AtStringSlot& slot, LPSTR buf, DWORD n);

int AtWideCharToAnsiChar(DWORD c);

// An A function that found its buffer too small answers the size it needs, more
// than the buffer holds: there is then nothing in the buffer to convert back.
inline bool AtAnsiBufferTooSmall(const AtStringSlot& slot, DWORD result)
{
    return result > AtHeapSize(slot);
}

// Most exports answer with the count of characters they delivered without the
// terminator: one less than a non-zero conversion result.
inline int AtCountWithoutTerminator(int converted)
{
    return converted ? converted - 1 : 0;
}
