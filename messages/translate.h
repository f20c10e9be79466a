// The frame of the message translators (AtFORWARD_..., AtHANDLE_...).
#pragma once

#include "core/core.h"
#include "torwen.h"

// The caller's procedure or handler stands where an export's W function would, so
// each export writes its wide path itself: a call with the message's own values,
// no conversion and no allocation. On the ANSI path a caught failure answers
// `failure` without calling on, and the last error is the one the failing helper
// set (14 for memory, 87 for a count too large).
template <typename R, typename Wide, typename Body>
[[gnu::always_inline]] inline R AtTranslate(R failure, Wide&& wide, Body&& body)
{
    if (AtModuleState.AtIsUnicodePlatform)
        return wide();
    return AtAnsiFrameWithoutSavedError<R>(failure, body);
}
