// Helpers shared by the file and path functions of the kernel family.
#pragma once

#include "core/core.h"

// One input file name on the ANSI path, converted where it is used:
//     err.keep(DeleteFileA(AnsiName(name)))
// The temporary lives to the end of the full expression, so it is freed after
// the A call's error has been kept.
class AnsiName : public AtStringSlot {
public:
    explicit AnsiName(LPCWSTR name) { AtWideToAnsiTemp(*this, name); }
};

// Two input names (existing and new, template and new), converted in argument
// order and freed in reverse: two AnsiName arguments of one call would be
// converted in whichever order the compiler evaluates them.
struct AnsiNamePair {
    AnsiNamePair(LPCWSTR first, LPCWSTR second)
    {
        AtWideToAnsiTemp(this->first, first);
        AtWideToAnsiTemp(this->second, second);
    }

    AtStringSlot first, second;
};
