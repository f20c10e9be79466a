// Fonts and text: font resources and creation, font enumeration, character widths,
// text metrics and extents, face names and text output.
#include "gdi/gdi.h"

AT_SYSTEM_FUNCTION(gdi32, AddFontResourceW, 0)
AT_SYSTEM_FUNCTION(gdi32, AddFontResourceA, 0)
AT_SYSTEM_FUNCTION(gdi32, RemoveFontResourceW, FALSE)
AT_SYSTEM_FUNCTION(gdi32, RemoveFontResourceA, FALSE)
AT_SYSTEM_FUNCTION(gdi32, CreateScalableFontResourceW, FALSE)
AT_SYSTEM_FUNCTION(gdi32, CreateScalableFontResourceA, FALSE)
AT_SYSTEM_FUNCTION(gdi32, CreateFontW, 0)
AT_SYSTEM_FUNCTION(gdi32, CreateFontA, 0)
AT_SYSTEM_FUNCTION(gdi32, CreateFontIndirectW, 0)
AT_SYSTEM_FUNCTION(gdi32, CreateFontIndirectA, 0)
AT_SYSTEM_FUNCTION(gdi32, EnumFontFamiliesW, 0)
AT_SYSTEM_FUNCTION(gdi32, EnumFontFamiliesA, 0)
AT_SYSTEM_FUNCTION(gdi32, EnumFontFamiliesExW, 0)
AT_SYSTEM_FUNCTION(gdi32, EnumFontFamiliesExA, 0)
AT_SYSTEM_FUNCTION(gdi32, GetCharABCWidthsW, FALSE)
AT_SYSTEM_FUNCTION(gdi32, GetCharABCWidthsA, FALSE)
AT_SYSTEM_FUNCTION(gdi32, GetCharABCWidthsFloatW, FALSE)
AT_SYSTEM_FUNCTION(gdi32, GetCharABCWidthsFloatA, FALSE)
AT_SYSTEM_FUNCTION(gdi32, GetCharWidth32W, FALSE)
AT_SYSTEM_FUNCTION(gdi32, GetCharWidth32A, FALSE)
AT_SYSTEM_FUNCTION(gdi32, GetCharWidthFloatW, FALSE)
AT_SYSTEM_FUNCTION(gdi32, GetCharWidthFloatA, FALSE)
AT_SYSTEM_FUNCTION(gdi32, GetGlyphOutlineW, -1)
AT_SYSTEM_FUNCTION(gdi32, GetGlyphOutlineA, -1)
AT_SYSTEM_FUNCTION(gdi32, GetKerningPairsW, 0)
AT_SYSTEM_FUNCTION(gdi32, GetKerningPairsA, 0)
AT_SYSTEM_FUNCTION(gdi32, GetObjectW, 0)
AT_SYSTEM_FUNCTION(gdi32, GetObjectA, 0)
AT_SYSTEM_FUNCTION(gdi32, GetObjectType, 0)
AT_SYSTEM_FUNCTION(gdi32, GetTextExtentExPointW, FALSE)
AT_SYSTEM_FUNCTION(gdi32, GetTextExtentExPointA, FALSE)
AT_SYSTEM_FUNCTION(gdi32, GetTextFaceW, 0)
AT_SYSTEM_FUNCTION(gdi32, GetTextFaceA, 0)
AT_SYSTEM_FUNCTION(gdi32, GetTextMetricsW, FALSE)
AT_SYSTEM_FUNCTION(gdi32, GetTextMetricsA, FALSE)
AT_SYSTEM_FUNCTION(gdi32, PolyTextOutW, FALSE)
AT_SYSTEM_FUNCTION(gdi32, PolyTextOutA, FALSE)
AT_SYSTEM_FUNCTION(user32, CopyRect, FALSE)

namespace
{

constexpr int LogFontSizeW = sizeof(LOGFONTW);
constexpr int LogFontSizeA = sizeof(LOGFONTA);
static_assert(LogFontSizeW == 92 && LogFontSizeA == 60);
static_assert(sizeof(POLYTEXTA) == 40);

// The wide callback and its lParam, on the enumerating member's stack while the
// ANSI enumeration runs; its address is the ANSI enumeration's lParam.
struct FontEnumContext {
    FONTENUMPROCW callback;
    LPARAM lParam;
};

// A character range becomes the ANSI range between the two converted codes. When
// that range holds more entries than the wide one (two characters of the range
// whose ANSI codes lie far apart), the caller's array, sized for the wide range,
// could not take them: each character is then asked for on its own, into its own
// entry, as the W function answers. A wide range that runs backwards answers
// ERROR_INVALID_PARAMETER without filling anything.
template <typename T, typename CallA> BOOL CharRange(UINT first, UINT last, T* buf, CallA callA)
{
    UINT firstA = AtWideCharToAnsiChar(first), lastA = AtWideCharToAnsiChar(last);
    bool fits = lastA < firstA || lastA - firstA <= last - first;
    if (last >= first && fits)
        return callA(firstA, lastA, buf);
    if (last < first) {
        SetLastError(ERROR_INVALID_PARAMETER);
        return FALSE;
    }
    for (UINT i = 0;; ++i) {
        UINT c = AtWideCharToAnsiChar(first + i);
        if (!callA(c, c, buf + i))
            return FALSE;
        if (i == last - first)  // the range may end at the largest code
            return TRUE;
    }
}

// The bytes of the ANSI character that starts at `text`.
int CharBytes(const char* text)
{
    return IsDBCSLeadByte(static_cast<BYTE>(*text)) ? 2 : 1;
}

// The characters of a string up to its NUL, or up to where readable memory ends: the
// measurement covers the whole NUL-terminated string, whatever the count, but a
// counted string need not be terminated, and reading on past it must not fault.
// Each page is probed as the walk enters it.
DWORD ReadableLength(LPCWSTR s)
{
    const UINT_PTR page = 4096;
    for (DWORD n = 0;; ++n) {
        const UINT_PTR at = reinterpret_cast<UINT_PTR>(s + n);
        const bool entersPage = n == 0 || (at + 1) / page != (at - 1) / page;
        if ((entersPage && IsBadReadPtr(s + n, sizeof *s)) || !s[n])
            return n;
    }
}

} // namespace

int WINAPI AddFontResourceW(LPCWSTR file)
{
    return AtExport(Sys::AddFontResourceW, file)
        .orAnsiOutOfMemoryUntilCalled(0, [=](AtSavedError& err) {
            return err.keep(Sys::AddFontResourceA(AtAnsiTemp(file)));
        });
}

BOOL WINAPI RemoveFontResourceW(LPCWSTR file)
{
    return AtExport(Sys::RemoveFontResourceW, file)
        .orAnsiOutOfMemoryUntilCalled(FALSE, [=](AtSavedError& err) {
            return err.keep(Sys::RemoveFontResourceA(AtAnsiTemp(file)));
        });
}

// Exported under this name, without the final W, as it always has been.
BOOL WINAPI CreateScalableFontResource(
    DWORD hidden, LPCWSTR resourceFile, LPCWSTR fontFile, LPCWSTR currentPath)
{
    return AtExport(Sys::CreateScalableFontResourceW, hidden, resourceFile, fontFile, currentPath)
        .orAnsiOutOfMemoryUntilCalled(FALSE, [=](AtSavedError& err) {
            AtStringSlot resourceA, fontA, pathA;
            AtWideToAnsiTemp(resourceA, resourceFile);
            AtWideToAnsiTemp(fontA, fontFile);
            AtWideToAnsiTemp(pathA, currentPath);
            return err.keep(Sys::CreateScalableFontResourceA(hidden, resourceA, fontA, pathA));
        });
}

HFONT WINAPI CreateFontW(int height, int width, int escapement, int orientation, int weight,
    DWORD italic, DWORD underline, DWORD strikeOut, DWORD charSet, DWORD outPrecision,
    DWORD clipPrecision, DWORD quality, DWORD pitchAndFamily, LPCWSTR face)
{
    return AtExport(Sys::CreateFontW, height, width, escapement, orientation, weight, italic,
        underline, strikeOut, charSet, outPrecision, clipPrecision, quality, pitchAndFamily, face)
        .orAnsiOutOfMemoryUntilCalled(nullptr, [=](AtSavedError& err) {
            return err.keep(Sys::CreateFontA(height, width, escapement, orientation, weight, italic,
                underline, strikeOut, charSet, outPrecision, clipPrecision, quality, pitchAndFamily,
                AtAnsiTemp(face)));
        });
}

HFONT WINAPI CreateFontIndirectW(const LOGFONTW* font)
{
    return AtExport(Sys::CreateFontIndirectW, font).orAnsiUnguarded([=] {
        if (!font)
            return Sys::CreateFontIndirectA(nullptr);
        LOGFONTA fontA;
        AtLogFontWToA(&fontA, font);
        return Sys::CreateFontIndirectA(&fontA);
    });
}

// The system hands each font as the extended records, whichever enumeration asked.
int CALLBACK AtEnumFontProcFromAToW(
    const LOGFONTA* font, const TEXTMETRICA* metrics, DWORD type, LPARAM context)
{
    ENUMLOGFONTEXW fontW;
    NEWTEXTMETRICEXW metricsW;
    AtEnumLogFontExAToW(reinterpret_cast<const ENUMLOGFONTEXA*>(font), &fontW);
    AtNewTextMetricExAToW(reinterpret_cast<const NEWTEXTMETRICEXA*>(metrics), &metricsW);
    auto* wide = reinterpret_cast<const FontEnumContext*>(context);
    return wide->callback(
        &fontW.elfLogFont, reinterpret_cast<const TEXTMETRICW*>(&metricsW), type, wide->lParam);
}

int WINAPI EnumFontFamiliesW(HDC hdc, LPCWSTR family, FONTENUMPROCW callback, LPARAM lParam)
{
    return AtExport(Sys::EnumFontFamiliesW, hdc, family, callback, lParam)
        .orAnsiWithoutSavedError(-1, [=] {
            FontEnumContext context { callback, lParam };
            return Sys::EnumFontFamiliesA(
                hdc, AtAnsiTemp(family), AtEnumFontProcFromAToW, LPARAM(&context));
        });
}

int WINAPI EnumFontFamiliesExW(
    HDC hdc, LPLOGFONTW filter, FONTENUMPROCW callback, LPARAM lParam, DWORD flags)
{
    return AtExport(Sys::EnumFontFamiliesExW, hdc, filter, callback, lParam, flags)
        .orAnsiUnguarded([=] {
            FontEnumContext context { callback, lParam };
            LOGFONTA filterA;
            if (filter)
                AtLogFontWToA(&filterA, filter);
            return Sys::EnumFontFamiliesExA(
                hdc, filter ? &filterA : nullptr, AtEnumFontProcFromAToW, LPARAM(&context), flags);
        });
}

BOOL WINAPI GetCharABCWidthsW(HDC hdc, UINT first, UINT last, LPABC widths)
{
    return AtExport(Sys::GetCharABCWidthsW, hdc, first, last, widths).orAnsiUnguarded([=] {
        return CharRange(first, last, widths,
            [=](UINT a, UINT b, LPABC out) { return Sys::GetCharABCWidthsA(hdc, a, b, out); });
    });
}

BOOL WINAPI GetCharABCWidthsFloatW(HDC hdc, UINT first, UINT last, LPABCFLOAT widths)
{
    return AtExport(Sys::GetCharABCWidthsFloatW, hdc, first, last, widths).orAnsiUnguarded([=] {
        return CharRange(first, last, widths, [=](UINT a, UINT b, LPABCFLOAT out) {
            return Sys::GetCharABCWidthsFloatA(hdc, a, b, out);
        });
    });
}

BOOL WINAPI GetCharWidth32W(HDC hdc, UINT first, UINT last, LPINT widths)
{
    return AtExport(Sys::GetCharWidth32W, hdc, first, last, widths).orAnsiUnguarded([=] {
        return CharRange(first, last, widths,
            [=](UINT a, UINT b, LPINT out) { return Sys::GetCharWidth32A(hdc, a, b, out); });
    });
}

BOOL WINAPI GetCharWidthFloatW(HDC hdc, UINT first, UINT last, PFLOAT widths)
{
    return AtExport(Sys::GetCharWidthFloatW, hdc, first, last, widths).orAnsiUnguarded([=] {
        return CharRange(first, last, widths,
            [=](UINT a, UINT b, PFLOAT out) { return Sys::GetCharWidthFloatA(hdc, a, b, out); });
    });
}

// The character code reaches the A function as it is.
DWORD WINAPI GetGlyphOutlineW(HDC hdc, UINT c, UINT format, LPGLYPHMETRICS metrics, DWORD size,
    LPVOID buf, const MAT2* matrix)
{
    return AtExport(Sys::GetGlyphOutlineW, hdc, c, format, metrics, size, buf, matrix)
        .orAnsiUnconverted(Sys::GetGlyphOutlineA);
}

// Exported under this name, as it always has been; the pairs come back as the A
// function gives them.
DWORD WINAPI GetKerningParisW(HDC hdc, DWORD count, LPKERNINGPAIR pairs)
{
    return AtExport(Sys::GetKerningPairsW, hdc, count, pairs)
        .orAnsiUnconverted(Sys::GetKerningPairsA);
}

// Only a font is converted. Its answer is a whole LOGFONTW whatever room the caller
// offered beyond it, and no call is needed to tell its size.
int WINAPI GetObjectW(HANDLE object, int size, LPVOID buf)
{
    return AtExport(Sys::GetObjectW, object, size, buf).orAnsiUnguarded([=] {
        if (Sys::GetObjectType(object) != OBJ_FONT)
            return Sys::GetObjectA(object, size, buf);
        if (!buf)
            return LogFontSizeW;
        if (size < LogFontSizeW) {
            SetLastError(ERROR_OUT_OF_STRUCTURES); // 84, what callers of this member test for
            return 0;
        }
        LOGFONTA fontA;
        if (!Sys::GetObjectA(object, LogFontSizeA, &fontA))
            return 0;
        AtLogFontAToW(&fontA, static_cast<LOGFONTW*>(buf));
        return LogFontSizeW;
    });
}

// The whole string is measured, up to its NUL (or the end of readable memory), so
// `size` is the extent of all of it; the fit and the partial extents count
// characters: a double-byte character counts one and ends where its second byte does.
BOOL WINAPI GetTextExtentExPointW(
    HDC hdc, LPCWSTR text, int count, int maxExtent, LPINT fit, LPINT extents, LPSIZE size)
{
    return AtExport(Sys::GetTextExtentExPointW, hdc, text, count, maxExtent, fit, extents, size)
        .orAnsi(FALSE, [=](AtSavedError& err) {
            AtStringSlot textA, extentsA;
            AtWideToAnsiTempN(textA, text, ReadableLength(text));
            const char* bytes = textA;
            const int length = bytes ? int(strlen(bytes)) : 0;
            extentsA.value = AtAlloc(length * sizeof(int));
            int* byteExtents = static_cast<int*>(extentsA.value);
            int fitBytes = 0;
            BOOL r = err.keep(Sys::GetTextExtentExPointA(
                hdc, textA, length, maxExtent, &fitBytes, byteExtents, size));
            int i = 0;
            for (int b = 0; i < count && b < fitBytes && b < length;) {
                b += CharBytes(bytes + b);
                int e = byteExtents[(b < length ? b : length) - 1]; // at the character's last byte
                if (e > maxExtent)
                    break;
                if (extents)
                    extents[i] = e;
                ++i;
            }
            if (fit)
                *fit = i;
            return r;
        });
}

// Without a buffer the A function's answer, in ANSI bytes, reaches the caller. The
// A function is told the heap size of its buffer; the count returned excludes the
// terminator.
int WINAPI GetTextFaceW(HDC hdc, int count, LPWSTR name)
{
    return AtExport(Sys::GetTextFaceW, hdc, count, name)
        .orAnsiOutOfMemoryUntilCalled(0, [=](AtSavedError& err) {
            if (!name)
                return err.keep(Sys::GetTextFaceA(hdc, count, nullptr));
            AtStringSlot nameA;
            AtAllocEmptyAnsiOut(nameA, count);
            err.keep(Sys::GetTextFaceA(hdc, int(AtHeapSize(nameA)), nameA));
            return AtCountWithoutTerminator(AtAnsiToWideOut(nameA, name, count));
        });
}

// The metrics are converted even when the A function failed, into whatever the
// caller's record held.
BOOL WINAPI GetTextMetricsW(HDC hdc, LPTEXTMETRICW metrics)
{
    return AtExport(Sys::GetTextMetricsW, hdc, metrics).orAnsi(FALSE, [=](AtSavedError& err) {
        TEXTMETRICA metricsA {};
        BOOL r = err.keep(Sys::GetTextMetricsA(hdc, metrics ? &metricsA : nullptr));
        if (metrics)
            AtTextMetricAToW(&metricsA, metrics);
        return r;
    });
}

// Each string is handed on one byte short of what it converted to, and the next
// string starts on that last byte; callers draw through this on the ANSI platforms
// and see exactly that. There is no catch: a failed allocation leaves the call with
// ERROR_OUTOFMEMORY set and torwen's exception unhandled.
BOOL WINAPI PolyTextOutW(HDC hdc, const POLYTEXTW* texts, int count)
{
    return AtExport(Sys::PolyTextOutW, hdc, texts, count).orAnsiUnguarded([=] {
        if (count < 1)
            return FALSE;
        AtStringSlot recordsA, area;
        AtAllocBuffer(recordsA, SIZE_T(count) * sizeof(POLYTEXTA));
        auto* textsA = static_cast<POLYTEXTA*>(recordsA.value);
        SIZE_T characters = 0;
        for (int k = 0; k < count; ++k) {
            textsA[k].x = texts[k].x;
            textsA[k].y = texts[k].y;
            textsA[k].uiFlags = texts[k].uiFlags;
            Sys::CopyRect(&textsA[k].rcl, &texts[k].rcl);
            textsA[k].pdx = texts[k].pdx;
            characters += texts[k].n;
        }
        // One byte a character and one a string; a double-byte code page gets room
        // for two bytes a character, so that no string is written past the area.
        AtAllocBuffer(area, characters * AtMaxCharSize + count);
        char* p = area;
        for (int k = 0; k < count; ++k) {
            const int n = int(texts[k].n);
            int room
                = WideCharToMultiByte(CP_ACP, 0, texts[k].lpstr, n, nullptr, 0, nullptr, nullptr);
            int converted
                = WideCharToMultiByte(CP_ACP, 0, texts[k].lpstr, n, p, room, nullptr, nullptr);
            textsA[k].lpstr = p;
            textsA[k].n = converted > 0 ? converted - 1 : converted;
            p += textsA[k].n;
        }
        return Sys::PolyTextOutA(hdc, textsA, count);
    });
}
