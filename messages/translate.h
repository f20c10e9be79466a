// The frame of the message translators (AtFORWARD_..., AtHANDLE_...).
#pragma once

#include "core/core.h"
#include "torwen.h"

// The caller's procedure or handler stands where an export's W function would, so an
// export writes its wide path itself, ahead of this frame: one flag test and a call
// with the message's own values. The ANSI body runs here; a caught failure answers
// `failure` without calling on, and the last error is the one the failing helper set
// (14 for memory, 87 for a count too large).
template <typename R, typename Body>
[[gnu::always_inline]] inline R AtTranslate(R failure, Body&& body)
{
    return AtAnsiFrameWithoutSavedError<R>(failure, body);
}

inline bool AtWidePath()
{
    return AtModuleState.AtIsUnicodePlatform;
}
