// What the members of the window-manager family share.
#pragma once

#include "core/core.h"

// Reads a window's text or class name into the caller's n characters through the A
// function `read(buffer, bytes)`. The A function is told the heap size of its buffer:
// n characters may take n * AtMaxCharSize bytes. Its answer is not needed, since the
// conversion counts the characters; and the conversion is all or nothing, so on a
// double-byte code page a text of more than n characters gives 0 rather than a cut
// text. The buffer starts empty, so a window the A function cannot read yields an
// empty text.
template <typename Read>
int AtReadTextOut(LPWSTR buf, int n, AtSavedError& err, Read read)
{
    AtStringSlot bufA;
    AtAllocEmptyAnsiOut(bufA, n);
    err.keep(read(static_cast<char*>(bufA), static_cast<int>(AtHeapSize(bufA))));
    return AtCountWithoutTerminator(AtAnsiToWideOut(bufA, buf, n));
}
