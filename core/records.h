// Converters of the records that several families hand across the character-set
// boundary: font descriptions, font metrics and device modes. The ANSI record
// always comes first and the wide record second, whichever is the source. None of
// them allocates or fails: the caller supplies and owns both records.
#pragma once

#include "core/win32.h"

// The device modes as the library converts them: the layout that ends with
// dmReserved2, without the panning fields of later layouts. A driver's private
// bytes (dmDriverExtra of them) follow right after these sizes, so a buffer for a
// converted device mode holds the size plus the source's dmDriverExtra.
constexpr DWORD AtDevModeASize = 148;
constexpr DWORD AtDevModeWSize = 212;

LOGFONTA* AtLogFontWToA(LOGFONTA* dst, const LOGFONTW* src);
// Answers its source, unlike its siblings.
const LOGFONTA* AtLogFontAToW(const LOGFONTA* src, LOGFONTW* dst);
TEXTMETRICW* AtTextMetricAToW(const TEXTMETRICA* src, TEXTMETRICW* dst);
NEWTEXTMETRICW* AtNewTextMetricAToW(const NEWTEXTMETRICA* src, NEWTEXTMETRICW* dst);
NEWTEXTMETRICEXW* AtNewTextMetricExAToW(const NEWTEXTMETRICEXA* src, NEWTEXTMETRICEXW* dst);
ENUMLOGFONTEXW* AtEnumLogFontExAToW(const ENUMLOGFONTEXA* src, ENUMLOGFONTEXW* dst);
DEVMODEA* AtDevModeWToA(DEVMODEA* dst, const DEVMODEW* src);
// Copies a caller's DEVMODEW into a whole record: an older, shorter one only as far
// as its dmSize (its header, which states that size, always), its missing fields as
// zero, as the system's W functions take them.
void AtWholeDevModeW(DEVMODEW* whole, const DEVMODEW* src);
DEVMODEW* AtDevModeAToW(const DEVMODEA* src, DEVMODEW* dst);
