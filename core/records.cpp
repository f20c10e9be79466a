#include "core/records.h"

#include <cstddef>
#include <cstring>
#include <cwchar>

namespace
{

// A fixed-size name field is read only within its record: a name that fills the
// field without a terminator is converted as the characters it holds. A
// terminated name converts exactly as a NUL-terminated string does. The result is
// not examined: a name that does not fit leaves what the conversion wrote.
template <size_t N> void NameWToA(char (&dst)[N], const WCHAR (&src)[N])
{
    size_t len = wcsnlen(src, N);
    if (len < N) {
        WideCharToMultiByte(CP_ACP, 0, src, int(len + 1), dst, int(N), nullptr, nullptr);
    } else {
        // No terminator in the field: the A function would read past the record,
        // so the name keeps what fits before a terminator, as the W functions
        // take at most N - 1 characters of it.
        int n = WideCharToMultiByte(CP_ACP, 0, src, int(N - 1), dst, int(N - 1), nullptr, nullptr);
        dst[n] = '\0';
    }
}

template <size_t N> void NameAToW(WCHAR (&dst)[N], const char (&src)[N])
{
    size_t len = strnlen(src, N);
    MultiByteToWideChar(CP_ACP, 0, src, int(len < N ? len + 1 : N), dst, int(N));
}

void CharAToW(BYTE c, WCHAR& w)
{
    MultiByteToWideChar(CP_ACP, 0, reinterpret_cast<const char*>(&c), 1, &w, 1);
}

// The fields both device modes share, in their order: the 16-bit words from
// dmOrientation through dmCollate (the display reading of that union passes as
// raw words), then dmLogPixels, then the 32-bit values dmBitsPerPel through
// dmDitherType. dmSize is the caller's, and dmReserved1/dmReserved2 stay unwritten.
template <typename To, typename From> void DevModeFields(To* dst, const From* src)
{
    dst->dmSpecVersion = src->dmSpecVersion;
    dst->dmDriverVersion = src->dmDriverVersion;
    dst->dmDriverExtra = src->dmDriverExtra;
    dst->dmFields = src->dmFields;
    static_assert(offsetof(From, dmCollate) - offsetof(From, dmOrientation) == 12 * sizeof(WORD));
    memcpy(&dst->dmOrientation, &src->dmOrientation, 13 * sizeof(WORD));
}

template <typename To, typename From> void DevModeTail(To* dst, const From* src)
{
    dst->dmLogPixels = src->dmLogPixels;
    static_assert(offsetof(From, dmDitherType) - offsetof(From, dmBitsPerPel) == 8 * sizeof(DWORD));
    memcpy(&dst->dmBitsPerPel, &src->dmBitsPerPel, 9 * sizeof(DWORD));
}

} // namespace

LOGFONTA* AtLogFontWToA(LOGFONTA* dst, const LOGFONTW* src)
{
    // lfHeight through lfWeight, then the eight byte fields: the same layout on
    // both sides up to the face name.
    static_assert(offsetof(LOGFONTA, lfFaceName) == offsetof(LOGFONTW, lfFaceName));
    memcpy(dst, src, offsetof(LOGFONTA, lfFaceName));
    NameWToA(dst->lfFaceName, src->lfFaceName);
    return dst;
}

const LOGFONTA* AtLogFontAToW(const LOGFONTA* src, LOGFONTW* dst)
{
    memcpy(dst, src, offsetof(LOGFONTA, lfFaceName));
    NameAToW(dst->lfFaceName, src->lfFaceName);
    return src;
}

TEXTMETRICW* AtTextMetricAToW(const TEXTMETRICA* src, TEXTMETRICW* dst)
{
    // tmHeight through tmDigitizedAspectY.
    memcpy(dst, src, offsetof(TEXTMETRICA, tmFirstChar));
    // One byte each: a lead byte of a double-byte code page does not convert on
    // its own and leaves the wide field as it was.
    CharAToW(src->tmFirstChar, dst->tmFirstChar);
    CharAToW(src->tmLastChar, dst->tmLastChar);
    CharAToW(src->tmDefaultChar, dst->tmDefaultChar);
    CharAToW(src->tmBreakChar, dst->tmBreakChar);
    dst->tmItalic = src->tmItalic;
    dst->tmUnderlined = src->tmUnderlined;
    dst->tmStruckOut = src->tmStruckOut;
    dst->tmPitchAndFamily = src->tmPitchAndFamily;
    dst->tmCharSet = src->tmCharSet;
    return dst;
}

NEWTEXTMETRICW* AtNewTextMetricAToW(const NEWTEXTMETRICA* src, NEWTEXTMETRICW* dst)
{
    AtTextMetricAToW(
        reinterpret_cast<const TEXTMETRICA*>(src), reinterpret_cast<TEXTMETRICW*>(dst));
    dst->ntmFlags = src->ntmFlags;
    dst->ntmSizeEM = src->ntmSizeEM;
    dst->ntmCellHeight = src->ntmCellHeight;
    dst->ntmAvgWidth = src->ntmAvgWidth;
    return dst;
}

NEWTEXTMETRICEXW* AtNewTextMetricExAToW(const NEWTEXTMETRICEXA* src, NEWTEXTMETRICEXW* dst)
{
    AtNewTextMetricAToW(&src->ntmTm, &dst->ntmTm);
    memcpy(dst->ntmFontSig.fsUsb, src->ntmFontSig.fsUsb, sizeof src->ntmFontSig.fsUsb);
    memcpy(dst->ntmFontSig.fsCsb, src->ntmFontSig.fsCsb, sizeof src->ntmFontSig.fsCsb);
    return dst;
}

ENUMLOGFONTEXW* AtEnumLogFontExAToW(const ENUMLOGFONTEXA* src, ENUMLOGFONTEXW* dst)
{
    AtLogFontAToW(&src->elfLogFont, &dst->elfLogFont);
    NameAToW(dst->elfFullName, reinterpret_cast<const char(&)[LF_FULLFACESIZE]>(src->elfFullName));
    NameAToW(dst->elfStyle, reinterpret_cast<const char(&)[LF_FACESIZE]>(src->elfStyle));
    NameAToW(dst->elfScript, reinterpret_cast<const char(&)[LF_FACESIZE]>(src->elfScript));
    return dst;
}

void AtWholeDevModeW(DEVMODEW* whole, const DEVMODEW* src)
{
    size_t n = src->dmSize < offsetof(DEVMODEW, dmFields) ? offsetof(DEVMODEW, dmFields) : src->dmSize;
    memset(whole, 0, sizeof *whole);
    memcpy(whole, src, n < AtDevModeWSize ? n : AtDevModeWSize);
}

DEVMODEA* AtDevModeWToA(DEVMODEA* dst, const DEVMODEW* src)
{
    // An older, shorter record ends at its dmSize, with its private bytes right
    // after it: nothing past that is the caller's to read.
    DEVMODEW whole;
    const BYTE* extra = reinterpret_cast<const BYTE*>(src) + AtDevModeWSize;
    if (src->dmSize < AtDevModeWSize) {
        AtWholeDevModeW(&whole, src);
        extra = reinterpret_cast<const BYTE*>(src) + src->dmSize;
        src = &whole;
    }
    NameWToA(reinterpret_cast<char(&)[CCHDEVICENAME]>(dst->dmDeviceName), src->dmDeviceName);
    DevModeFields(dst, src);
    // The record this library hands to the A functions, whatever the caller's layout.
    dst->dmSize = AtDevModeASize;
    NameWToA(reinterpret_cast<char(&)[CCHFORMNAME]>(dst->dmFormName), src->dmFormName);
    DevModeTail(dst, src);
    if (src->dmDriverExtra)
        memcpy(reinterpret_cast<BYTE*>(dst) + AtDevModeASize, extra, src->dmDriverExtra);
    return dst;
}

DEVMODEW* AtDevModeAToW(const DEVMODEA* src, DEVMODEW* dst)
{
    NameAToW(dst->dmDeviceName, reinterpret_cast<const char(&)[CCHDEVICENAME]>(src->dmDeviceName));
    DevModeFields(dst, src);
    dst->dmSize = AtDevModeWSize;
    NameAToW(dst->dmFormName, reinterpret_cast<const char(&)[CCHFORMNAME]>(src->dmFormName));
    DevModeTail(dst, src);
    if (src->dmDriverExtra)
        memcpy(reinterpret_cast<BYTE*>(dst) + AtDevModeWSize,
            reinterpret_cast<const BYTE*>(src) + AtDevModeASize, src->dmDriverExtra);
    return dst;
}
