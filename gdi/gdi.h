// What the members of the graphics family share.
#pragma once

#include "core/core.h"
#include "core/records.h"
#include "torwen.h"

// A member whose temporaries cannot be had leaves the caller ERROR_OUTOFMEMORY, as
// the allocator set it; once the A function has run, its own error is the one the
// caller sees after the temporaries are freed. Every allocation of such a member
// comes before its A call.
template <typename Body> auto AtOutOfMemoryUntilCalled(Body body)
{
    return [=](AtSavedError& err) {
        err.value = ERROR_OUTOFMEMORY;
        return body(err);
    };
}

// A device mode for the A functions: 148 bytes and the driver's private bytes, freed
// with the slot. No device mode gives none.
inline void AtDevModeTemp(AtStringSlot& slot, const DEVMODEW* devMode)
{
    if (!devMode)
        return;
    AtAllocBuffer(slot, devMode->dmDriverExtra + AtDevModeASize);
    AtDevModeWToA(static_cast<DEVMODEA*>(slot.value), devMode);
}
