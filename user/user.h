// What the members of the window-manager family share.
#pragma once

#include "core/core.h"

// On the ANSI path no window procedure is wrapped and no message parameter is
// converted: the A function receives exactly the caller's arguments, and a wide
// procedure translates the messages that carry text itself (AtHANDLE_..., AtFORWARD_...).
// Either way the member is the flag test and one call.
template <typename Wide, typename Ansi, typename... A>
[[gnu::always_inline]] inline typename Wide::Result AtForward(const Wide& wide, const Ansi& ansi,
                                                              A... args)
{
    if (AtModuleState.AtIsUnicodePlatform)
        return wide(args...);
    return ansi(args...);
}

// Reads a window's text or class name into the caller's n characters through the A
// function `read(buffer, bytes)`. The A function is told the heap size of its buffer:
// n characters may take n * AtMaxCharSize bytes. Its answer is not needed, since the
// conversion counts the characters; and the conversion is all or nothing, so on a
// double-byte code page a text of more than n characters gives 0 rather than a cut
// text. The buffer starts empty: a window the A function cannot read yields an empty
// text, never the heap's contents.
template <typename Read>
int AtReadTextOut(LPWSTR buf, int n, AtSavedError& err, Read read)
{
    AtStringSlot bufA;
    AtAllocAnsiOut(bufA, n);
    *static_cast<char*>(bufA) = '\0';
    err.keep(read(static_cast<char*>(bufA), static_cast<int>(AtHeapSize(bufA))));
    return AtCountWithoutTerminator(AtAnsiToWideOut(bufA, buf, n));
}
