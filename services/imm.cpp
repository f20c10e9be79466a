// Input methods: composition strings, candidate and conversion lists, the input
// method's description and file, registered words and the composition font.
//
// On the ANSI platforms the input method counts in bytes: composition strings,
// their attributes (one per byte), clause offsets and the cursor position are
// turned into characters, and candidate lists are rebuilt with wide strings.
#include "services/services.h"

#include <imm.h>

#include "core/records.h"
#include "torwen.h"

AT_SYSTEM_FUNCTION(imm32, ImmGetCompositionStringW, IMM_ERROR_GENERAL)
AT_SYSTEM_FUNCTION(imm32, ImmGetCompositionStringA, IMM_ERROR_GENERAL)
AT_SYSTEM_FUNCTION(imm32, ImmSetCompositionStringW, FALSE)
AT_SYSTEM_FUNCTION(imm32, ImmSetCompositionStringA, FALSE)
AT_SYSTEM_FUNCTION(imm32, ImmGetCandidateListW, 0)
AT_SYSTEM_FUNCTION(imm32, ImmGetCandidateListA, 0)
AT_SYSTEM_FUNCTION(imm32, ImmGetCandidateListCountW, 0)
AT_SYSTEM_FUNCTION(imm32, ImmGetCandidateListCountA, 0)
AT_SYSTEM_FUNCTION(imm32, ImmGetConversionListW, 0)
AT_SYSTEM_FUNCTION(imm32, ImmGetConversionListA, 0)
AT_SYSTEM_FUNCTION(imm32, ImmGetDescriptionW, 0)
AT_SYSTEM_FUNCTION(imm32, ImmGetDescriptionA, 0)
AT_SYSTEM_FUNCTION(imm32, ImmGetIMEFileNameW, 0)
AT_SYSTEM_FUNCTION(imm32, ImmGetIMEFileNameA, 0)
AT_SYSTEM_FUNCTION(imm32, ImmRegisterWordW, FALSE)
AT_SYSTEM_FUNCTION(imm32, ImmRegisterWordA, FALSE)
AT_SYSTEM_FUNCTION(imm32, ImmUnregisterWordW, FALSE)
AT_SYSTEM_FUNCTION(imm32, ImmUnregisterWordA, FALSE)
AT_SYSTEM_FUNCTION(imm32, ImmGetRegisterWordStyleW, 0)
AT_SYSTEM_FUNCTION(imm32, ImmGetRegisterWordStyleA, 0)
AT_SYSTEM_FUNCTION(imm32, ImmEnumRegisterWordW, 0)
AT_SYSTEM_FUNCTION(imm32, ImmEnumRegisterWordA, 0)
AT_SYSTEM_FUNCTION(imm32, ImmGetCompositionFontW, FALSE)
AT_SYSTEM_FUNCTION(imm32, ImmGetCompositionFontA, FALSE)
AT_SYSTEM_FUNCTION(imm32, ImmSetCompositionFontW, FALSE)
AT_SYSTEM_FUNCTION(imm32, ImmSetCompositionFontA, FALSE)

namespace
{

// Everything the A function holds for one index, read into a buffer of its own.
// An answer below zero (an error) leaves it empty.
template <typename Read> LONG ReadAll(AtStringSlot& buf, Read read)
{
    LONG size = read(nullptr, 0);
    if (size <= 0)
        return size;
    AtAllocBuffer(buf, DWORD(size));
    LONG got = read(AtBytes(buf), DWORD(size));
    return got < 0 ? got : std::min(got, size);
}

// The number of characters in the first `bytes` bytes of an ANSI text.
LONG CharsIn(const AtStringSlot& text, LONG textBytes, LONG bytes)
{
    bytes = std::clamp<LONG>(bytes, 0, textBytes);
    return bytes ? MultiByteToWideChar(CP_ACP, 0, text, bytes, nullptr, 0) : 0;
}

// The composition string the attributes, clauses and positions of `index` count in.
DWORD TextIndexOf(DWORD index)
{
    switch (index) {
    case GCS_COMPREADATTR:
    case GCS_COMPREADCLAUSE:
        return GCS_COMPREADSTR;
    case GCS_RESULTCLAUSE:
        return GCS_RESULTSTR;
    case GCS_RESULTREADCLAUSE:
        return GCS_RESULTREADSTR;
    default:
        return GCS_COMPSTR;
    }
}

// Hands `bytes` bytes of `data` to the caller: the size needed for a buffer of 0
// bytes, else all of it or, when it does not fit, 0.
LONG DeliverBytes(const void* data, LONG bytes, LPVOID buf, DWORD size)
{
    if (!size)
        return bytes;
    if (!buf || DWORD(bytes) > size)
        return 0;
    memcpy(buf, data, bytes);
    return bytes;
}

// A candidate list rebuilt with wide strings: the same header and offsets table,
// each string converted. Strings are read no further than the A list's own size.
DWORD WideCandidateListSize(const CANDIDATELIST* a, DWORD sizeA)
{
    DWORD size = DWORD(offsetof(CANDIDATELIST, dwOffset)) + a->dwCount * sizeof(DWORD);
    for (DWORD i = 0; i < a->dwCount; ++i) {
        DWORD offset = a->dwOffset[i];
        int chars = 0;
        if (offset < sizeA) {
            const char* s = reinterpret_cast<const char*>(a) + offset;
            int len = int(strnlen(s, sizeA - offset));
            chars = MultiByteToWideChar(CP_ACP, 0, s, len, nullptr, 0);
        }
        // A string outside the list is rebuilt as an empty one: its terminator
        // still takes room.
        size += 2 * (chars + 1);
    }
    return size;
}

void WideCandidateList(const CANDIDATELIST* a, DWORD sizeA, CANDIDATELIST* w, DWORD sizeW)
{
    w->dwSize = sizeW;
    w->dwStyle = a->dwStyle;
    w->dwCount = a->dwCount;
    w->dwSelection = a->dwSelection;
    w->dwPageStart = a->dwPageStart;
    w->dwPageSize = a->dwPageSize;
    DWORD at = DWORD(offsetof(CANDIDATELIST, dwOffset)) + a->dwCount * sizeof(DWORD);
    for (DWORD i = 0; i < a->dwCount; ++i) {
        w->dwOffset[i] = at;
        auto* to = reinterpret_cast<LPWSTR>(reinterpret_cast<BYTE*>(w) + at);
        DWORD offset = a->dwOffset[i];
        int n = 0;
        if (offset < sizeA) {
            const char* s = reinterpret_cast<const char*>(a) + offset;
            int len = int(strnlen(s, sizeA - offset));
            n = len ? MultiByteToWideChar(CP_ACP, 0, s, len, to, int((sizeW - at) / 2)) : 0;
        }
        to[n] = L'\0';
        at += 2 * (n + 1);
    }
}

// A list the A function produced, into the caller's buffer: the wide size for a
// buffer of 0 bytes, 0 when it does not fit.
DWORD DeliverCandidateList(const AtStringSlot& listA, DWORD sizeA, LPCANDIDATELIST list, DWORD size)
{
    if (!sizeA || sizeA < sizeof(CANDIDATELIST))
        return 0;
    auto* a = static_cast<const CANDIDATELIST*>(listA.value);
    if (a->dwCount > (sizeA - offsetof(CANDIDATELIST, dwOffset)) / sizeof(DWORD))
        return 0; // a table longer than the list
    DWORD sizeW = WideCandidateListSize(a, sizeA);
    if (!size)
        return sizeW;
    if (!list || size < sizeW)
        return 0;
    WideCandidateList(a, sizeA, list, sizeW);
    return sizeW;
}

// The ANSI text of a composition or reading string, from `bytes` wide bytes.
void AnsiFromWideBytes(AtStringSlot& slot, LPVOID text, DWORD bytes, DWORD& bytesA)
{
    bytesA = 0;
    if (!text || bytes < 2)
        return;
    int chars = int(bytes / 2);
    auto* w = static_cast<LPCWSTR>(text);
    int size = WideCharToMultiByte(CP_ACP, 0, w, chars, nullptr, 0, nullptr, nullptr);
    AtAllocBuffer(slot, size);
    bytesA = DWORD(WideCharToMultiByte(CP_ACP, 0, w, chars, slot, size, nullptr, nullptr));
}

} // namespace

// Strings come back in wide bytes, attributes one per character (the attribute of
// its first byte), clause offsets and positions in characters.
LONG WINAPI ImmGetCompositionStringW(HIMC himc, DWORD index, LPVOID buf, DWORD size)
{
    return AtExport(Sys::ImmGetCompositionStringW, himc, index, buf, size)
        .orAnsiWithoutSavedError(LONG(IMM_ERROR_GENERAL), [=]() -> LONG {
            auto readA = [&](DWORD what) {
                return [=](LPVOID to, DWORD n) {
                    return Sys::ImmGetCompositionStringA(himc, what, to, n);
                };
            };
            AtStringSlot text, data;
            switch (index) {
            case GCS_COMPSTR:
            case GCS_COMPREADSTR:
            case GCS_RESULTSTR:
            case GCS_RESULTREADSTR: {
                LONG bytes = ReadAll(text, readA(index));
                if (bytes <= 0)
                    return bytes;
                int chars = MultiByteToWideChar(CP_ACP, 0, text, bytes, nullptr, 0);
                if (!size)
                    return 2 * chars;
                if (!buf || DWORD(2 * chars) > size)
                    return 0;
                return 2
                    * MultiByteToWideChar(CP_ACP, 0, text, bytes, static_cast<LPWSTR>(buf), chars);
            }
            case GCS_COMPATTR:
            case GCS_COMPREADATTR: {
                LONG textBytes = ReadAll(text, readA(TextIndexOf(index)));
                LONG bytes = ReadAll(data, readA(index));
                if (bytes <= 0)
                    return bytes;
                // One attribute per character: the second byte's of a double-byte
                // character is dropped, in place.
                auto* attributes = static_cast<BYTE*>(data.value);
                const char* s = text;
                LONG count = 0;
                for (LONG i = 0; i < bytes; ++i) {
                    attributes[count++] = attributes[i];
                    if (i < textBytes && IsDBCSLeadByte(BYTE(s[i])))
                        ++i;
                }
                return DeliverBytes(attributes, count, buf, size);
            }
            case GCS_COMPCLAUSE:
            case GCS_COMPREADCLAUSE:
            case GCS_RESULTCLAUSE:
            case GCS_RESULTREADCLAUSE: {
                LONG textBytes = ReadAll(text, readA(TextIndexOf(index)));
                LONG bytes = ReadAll(data, readA(index));
                if (bytes <= 0)
                    return bytes;
                auto* offsets = reinterpret_cast<DWORD*>(data.value);
                for (LONG i = 0; i < bytes / 4; ++i)
                    offsets[i] = DWORD(CharsIn(text, textBytes, LONG(offsets[i])));
                return DeliverBytes(offsets, bytes & ~3, buf, size);
            }
            case GCS_CURSORPOS:
            case GCS_DELTASTART: {
                LONG textBytes = ReadAll(text, readA(GCS_COMPSTR));
                LONG position = Sys::ImmGetCompositionStringA(himc, index, nullptr, 0);
                return position < 0 ? position : CharsIn(text, textBytes, position);
            }
            default:
                return Sys::ImmGetCompositionStringA(himc, index, buf, size);
            }
        });
}

// Only SCS_SETSTR carries text; the attribute and clause requests pass unchanged.
BOOL WINAPI ImmSetCompositionStringW(
    HIMC himc, DWORD index, LPVOID comp, DWORD compBytes, LPVOID read, DWORD readBytes)
{
    return AtExport(Sys::ImmSetCompositionStringW, himc, index, comp, compBytes, read, readBytes)
        .orAnsiWithoutSavedError(FALSE, [=] {
            if (index != SCS_SETSTR)
                return Sys::ImmSetCompositionStringA(himc, index, comp, compBytes, read, readBytes);
            AtStringSlot compA, readA;
            DWORD compBytesA, readBytesA;
            AnsiFromWideBytes(compA, comp, compBytes, compBytesA);
            AnsiFromWideBytes(readA, read, readBytes, readBytesA);
            return Sys::ImmSetCompositionStringA(himc, index, compA, compBytesA, readA, readBytesA);
        });
}

DWORD WINAPI ImmGetCandidateListW(HIMC himc, DWORD index, LPCANDIDATELIST list, DWORD size)
{
    return AtExport(Sys::ImmGetCandidateListW, himc, index, list, size)
        .orAnsiWithoutSavedError(0ul, [=] {
            AtStringSlot listA;
            LONG sizeA = ReadAll(listA, [=](LPVOID to, DWORD n) {
                return LONG(
                    Sys::ImmGetCandidateListA(himc, index, static_cast<LPCANDIDATELIST>(to), n));
            });
            return DeliverCandidateList(listA, DWORD(std::max(sizeA, 0L)), list, size);
        });
}

// The size of a buffer for all the lists in wide form.
DWORD WINAPI ImmGetCandidateListCountW(HIMC himc, LPDWORD count)
{
    return AtExport(Sys::ImmGetCandidateListCountW, himc, count).orAnsiWithoutSavedError(0ul, [=] {
        DWORD lists = 0;
        DWORD sizeA = Sys::ImmGetCandidateListCountA(himc, &lists);
        if (count)
            *count = lists;
        if (!sizeA)
            return 0ul;
        DWORD size = 0;
        for (DWORD i = 0; i < lists; ++i)
            size += ImmGetCandidateListW(himc, i, nullptr, 0);
        return size;
    });
}

DWORD WINAPI ImmGetConversionListW(
    HKL layout, HIMC himc, LPCWSTR source, LPCANDIDATELIST list, DWORD size, UINT flag)
{
    return AtExport(Sys::ImmGetConversionListW, layout, himc, source, list, size, flag)
        .orAnsiWithoutSavedError(0ul, [=] {
            AtStringSlot sourceA, listA;
            AtWideToAnsiTemp(sourceA, source);
            LONG sizeA = ReadAll(listA, [&](LPVOID to, DWORD n) {
                return LONG(Sys::ImmGetConversionListA(
                    layout, himc, sourceA, static_cast<LPCANDIDATELIST>(to), n, flag));
            });
            return DeliverCandidateList(listA, DWORD(std::max(sizeA, 0L)), list, size);
        });
}

// The description and the file name follow the usual out-buffer rule: characters
// without the terminator, or the A function's bytes when there is no buffer.
UINT WINAPI ImmGetDescriptionW(HKL layout, LPWSTR buf, UINT n)
{
    return AtExport(Sys::ImmGetDescriptionW, layout, buf, n).orAnsiWithoutSavedError(0u, [=] {
        AtStringSlot bufA;
        AtAllocEmptyAnsiOut(bufA, n);
        UINT r = Sys::ImmGetDescriptionA(layout, bufA, UINT(AtHeapSize(bufA)));
        if (r && n && buf)
            r = AtCountWithoutTerminator(AtBoundedAnsiToWideOut(bufA, buf, n));
        return r;
    });
}

UINT WINAPI ImmGetIMEFileNameW(HKL layout, LPWSTR buf, UINT n)
{
    return AtExport(Sys::ImmGetIMEFileNameW, layout, buf, n).orAnsiWithoutSavedError(0u, [=] {
        AtStringSlot bufA;
        AtAllocEmptyAnsiOut(bufA, n);
        UINT r = Sys::ImmGetIMEFileNameA(layout, bufA, UINT(AtHeapSize(bufA)));
        if (r && n && buf)
            r = AtCountWithoutTerminator(AtBoundedAnsiToWideOut(bufA, buf, n));
        return r;
    });
}

BOOL WINAPI ImmRegisterWordW(HKL layout, LPCWSTR reading, DWORD style, LPCWSTR word)
{
    return AtExport(Sys::ImmRegisterWordW, layout, reading, style, word)
        .orAnsiWithoutSavedError(FALSE, [=] {
            AtStringSlot readingA, wordA;
            AtWideToAnsiTemp(readingA, reading);
            AtWideToAnsiTemp(wordA, word);
            return Sys::ImmRegisterWordA(layout, readingA, style, wordA);
        });
}

BOOL WINAPI ImmUnregisterWordW(HKL layout, LPCWSTR reading, DWORD style, LPCWSTR word)
{
    return AtExport(Sys::ImmUnregisterWordW, layout, reading, style, word)
        .orAnsiWithoutSavedError(FALSE, [=] {
            AtStringSlot readingA, wordA;
            AtWideToAnsiTemp(readingA, reading);
            AtWideToAnsiTemp(wordA, word);
            return Sys::ImmUnregisterWordA(layout, readingA, style, wordA);
        });
}

// A count of 0 asks how many styles there are.
UINT WINAPI ImmGetRegisterWordStyleW(HKL layout, UINT n, LPSTYLEBUFW styles)
{
    return AtExport(Sys::ImmGetRegisterWordStyleW, layout, n, styles)
        .orAnsiWithoutSavedError(0u, [=] {
            AtStringSlot stylesA;
            SIZE_T bytes;
            if (__builtin_mul_overflow(SIZE_T(n), sizeof(STYLEBUFA), &bytes))
                bytes = ~SIZE_T(0); // beyond the address space: the allocation fails
            AtAllocBuffer(stylesA, bytes);
            UINT r
                = Sys::ImmGetRegisterWordStyleA(layout, n, static_cast<LPSTYLEBUFA>(stylesA.value));
            if (!n || !styles)
                return r;
            auto* a = static_cast<const STYLEBUFA*>(stylesA.value);
            for (UINT i = 0; i < std::min(r, n); ++i) {
                styles[i].dwStyle = a[i].dwStyle;
                int len = int(strnlen(a[i].szDescription, STYLE_DESCRIPTION_SIZE));
                int c = MultiByteToWideChar(CP_ACP, 0, a[i].szDescription, len,
                    styles[i].szDescription, STYLE_DESCRIPTION_SIZE - 1);
                styles[i].szDescription[c] = L'\0';
            }
            return r;
        });
}

// Takes the place of the caller's wide procedure in the ANSI enumeration: the
// reading and the word reach the procedure as wide text. A conversion that fails
// for want of memory ends the enumeration.
int CALLBACK AtfnEnumRegisterWordProcA(LPCSTR reading, DWORD style, LPCSTR word, LPVOID data)
{
    auto* context = static_cast<AtEnumRegisterWordContextW*>(data);
    return AtAnsiFrameWithoutSavedError<int>(0, [=] {
        AtStringSlot readingW, wordW;
        AtAnsiToWideTemp(readingW, reading);
        AtAnsiToWideTemp(wordW, word);
        return context->lpfnEnumProc(readingW, style, wordW, context->lpData);
    });
}

UINT WINAPI ImmEnumRegisterWordW(
    HKL layout, REGISTERWORDENUMPROCW proc, LPCWSTR reading, DWORD style, LPCWSTR word, LPVOID data)
{
    return AtExport(Sys::ImmEnumRegisterWordW, layout, proc, reading, style, word, data)
        .orAnsiWithoutSavedError(0u, [=] {
            AtEnumRegisterWordContextW context { proc, data };
            AtStringSlot readingA, wordA;
            AtWideToAnsiTemp(readingA, reading);
            AtWideToAnsiTemp(wordA, word);
            return Sys::ImmEnumRegisterWordA(layout, proc ? AtfnEnumRegisterWordProcA : nullptr,
                readingA, style, wordA, &context);
        });
}

BOOL WINAPI ImmGetCompositionFontW(HIMC himc, LPLOGFONTW font)
{
    return AtExport(Sys::ImmGetCompositionFontW, himc, font).orAnsiUnguarded([=] {
        LOGFONTA a;
        BOOL r = Sys::ImmGetCompositionFontA(himc, font ? &a : nullptr);
        if (r && font)
            AtLogFontAToW(&a, font);
        return r;
    });
}

BOOL WINAPI ImmSetCompositionFontW(HIMC himc, LPLOGFONTW font)
{
    return AtExport(Sys::ImmSetCompositionFontW, himc, font).orAnsiUnguarded([=] {
        LOGFONTA a;
        if (font)
            AtLogFontWToA(&a, font);
        return Sys::ImmSetCompositionFontA(himc, font ? &a : nullptr);
    });
}
