// Helpers shared by the file and path functions of the kernel family.
#pragma once

#include "core/core.h"

// One input file name on the ANSI path, converted where it is used:
//     err.keep(DeleteFileA(AnsiName(name)))
// The temporary lives to the end of the full expression, so it is freed after
// the A call's error has been kept. Exports with two names declare their slots
// one by one instead, since the order in which arguments are evaluated is open.
class AnsiName : public AtStringSlot {
public:
    explicit AnsiName(LPCWSTR name) { AtWideToAnsiTemp(*this, name); }
};

// The count of a conversion into the caller's buffer without its terminator.
inline int WithoutTerminator(int converted)
{
    return converted ? converted - 1 : 0;
}
