// What a family file includes: the state, the frame, the slots and conversions,
// and the declaration of system functions bound on first use.
#pragma once

#include "core/convert.h"
#include "core/frame.h"
#include "core/imports.h"
#include "core/memory.h"
#include "core/state.h"
