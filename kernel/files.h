// Helpers shared by the file and path functions of the kernel family.
#pragma once

#include "core/core.h"

// Two input names (existing and new, template and new), converted in argument
// order and freed in reverse: two AtAnsiTemp arguments of one call would be
// converted in whichever order the compiler evaluates them.
struct AnsiNamePair {
    AnsiNamePair(LPCWSTR first, LPCWSTR second)
    {
        AtWideToAnsiTemp(this->first, first);
        AtWideToAnsiTemp(this->second, second);
    }

    AtStringSlot first, second;
};
