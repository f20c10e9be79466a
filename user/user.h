// What the members of the window-manager family share.
#pragma once

#include <cstring>

#include "core/core.h"

// Reads a window's text or class name into the caller's n characters through the A
// function `read(buffer, bytes)`. The A function is told the heap size of its buffer:
// n characters may take n * AtMaxCharSize bytes. Its answer is not needed, since the
// conversion counts the characters; and the conversion is all or nothing, so on a
// double-byte code page a text of more than n characters gives 0 rather than a cut
// text. The buffer starts empty, so a window the A function cannot read yields an
// empty text.
template <typename Read> int AtReadTextOut(LPWSTR buf, int n, AtSavedError& err, Read read)
{
    AtStringSlot bufA;
    AtAllocEmptyAnsiOut(bufA, n);
    err.keep(read(static_cast<char*>(bufA), static_cast<int>(AtHeapSize(bufA))));
    return AtCountWithoutTerminator(AtAnsiToWideOut(bufA, buf, n));
}

// Some A functions fill a buffer that is too small to the last byte and leave out the
// NUL. The text converted back then ends within the buffer, cut one byte short, as
// the A functions that do terminate cut it.
inline void AtEndWithinBuffer(AtStringSlot& bufA)
{
    SIZE_T size = AtHeapSize(bufA);
    char* text = bufA;
    if (size && !memchr(text, '\0', size))
        text[size - 1] = '\0';
}
