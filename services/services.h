// What the members of the system-services family share.
#pragma once

// The multimedia, automation and RPC headers declare their functions as imports
// unless told that this module implements them; torwen defines its exports
// against those declarations, as it does for the other system libraries.
#define _WINMM_
#define _OLEAUT32_
#define _RPCRT4_

#include <algorithm>
#include <cstring>

#include "core/core.h"

// The count a caller's pointer holds, 0 for no pointer: a null count is the A
// function's to refuse, not a reason to fault here.
inline DWORD AtCountAt(const DWORD* p)
{
    return p ? *p : 0;
}

// Converts the ANSI text of an out buffer into the caller's n characters, as
// AtAnsiToWideOut does, but reading no further than the buffer's own block: an A
// function that fails or runs out of room may leave it without a terminator.
// A text that does not fit leaves the caller's buffer empty: the ANSI buffer
// holds n characters of up to AtMaxCharSize bytes, so the A function may succeed
// with more characters than the caller has room for, and the converter stops
// without a terminator when it runs out of room.
inline int AtBoundedAnsiToWideOut(const AtStringSlot& slot, LPWSTR buf, DWORD n)
{
    SIZE_T size = AtHeapSize(slot);
    SIZE_T len = size ? strnlen(static_cast<const char*>(slot), size) : 0;
    if (len < size)
        ++len; // the terminator, counted as the unbounded conversion counts it
    int converted = AtAnsiToWideOutN(slot, buf, n, DWORD(len));
    if (!converted && buf && n)
        buf[0] = L'\0';
    return converted;
}

// A buffer slot as the byte pointer the data functions take.
inline BYTE* AtBytes(const AtStringSlot& slot)
{
    return static_cast<BYTE*>(slot.value);
}
