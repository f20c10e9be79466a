// Members of the window manager that pass their call on untouched.
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
