// What the members of the graphics family share.
#pragma once

#include "core/core.h"
#include "core/records.h"
#include "torwen.h"

// A device mode for the A functions: 148 bytes and the driver's private bytes, freed
// with the slot. No device mode gives none.
inline void AtDevModeTemp(AtStringSlot& slot, const DEVMODEW* devMode)
{
    if (!devMode)
        return;
    AtAllocBuffer(slot, devMode->dmDriverExtra + AtDevModeASize);
    AtDevModeWToA(static_cast<DEVMODEA*>(slot.value), devMode);
}
