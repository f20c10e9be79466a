#pragma once

#include "core/win32.h"

// The one exception the library throws. Every export's frame catches it and
// answers with the export's failure value.
class CAtException {
public:
    enum : DWORD {
        OutOfMemory = 0,
        CountTooLarge = 1,  // a count above 0x7FFFFFFF
    };

    explicit CAtException(DWORD value) : value(value) {}

    DWORD value;
};
