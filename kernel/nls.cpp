// National-language functions: comparison, locale information, time and date
// formatting. Locale identifiers and SYSTEMTIME records pass through unchanged.
#include "core/core.h"

AT_SYSTEM_FUNCTION(kernel32, CompareStringW, 0)
AT_SYSTEM_FUNCTION(kernel32, GetLocaleInfoW, 0)
AT_SYSTEM_FUNCTION(kernel32, SetLocaleInfoW, FALSE)
AT_SYSTEM_FUNCTION(kernel32, GetTimeFormatW, 0)
AT_SYSTEM_FUNCTION(kernel32, GetDateFormatW, 0)

namespace {

// A string given with a count is converted exactly as counted, with no terminator
// written or needed; the bytes the conversion produces are the count that
// CompareStringA receives. Any negative count other than -1 asks for an
// impossible buffer, so the comparison fails.
int CountedToAnsi(AtStringSlot& slot, LPCWSTR s, int count)
{
    if (count == -1) {
        AtWideToAnsiTemp(slot, s);
        return -1;
    }
    AtAllocAnsiOut(slot, count);
    if (!count)
        return 0;
    return WideCharToMultiByte(CP_ACP, 0, s, count, slot, AtHeapSize(slot), nullptr, nullptr);
}

// Time and date formats share the protocol; the signed tests let a negative
// count or a failed call (0) through as the A function's own result. Like
// GetLocaleInfoW, the count delivered excludes the terminator: one less than the
// system's W function answers. That is the library's established result, kept on
// purpose.
template <typename FormatCall>
int FormatTimeOrDate(FormatCall callA, LCID lcid, DWORD flags, const SYSTEMTIME* time,
                     LPCWSTR format, LPWSTR buf, int n, AtSavedError& err)
{
    AtStringSlot formatA, bufA;
    AtWideToAnsiTemp(formatA, format);
    AtAllocAnsiOut(bufA, n);
    int r = err.keep(callA(lcid, flags, time, formatA, bufA, AtHeapSize(bufA)));
    if (r > 0 && n > 0 && buf) {
        r = AtCountWithoutTerminator(AtAnsiToWideOut(bufA, buf, n));
    }
    return r;
}

}  // namespace

int WINAPI CompareStringW(LCID lcid, DWORD flags, PCNZWCH first, int firstCount, PCNZWCH second,
                          int secondCount)
{
    return AtExport(Sys::CompareStringW, lcid, flags, first, firstCount, second, secondCount)
        .orAnsi(0, [=](AtSavedError& err) {
            AtStringSlot firstA, secondA;
            int firstCountA = CountedToAnsi(firstA, first, firstCount);
            int secondCountA = CountedToAnsi(secondA, second, secondCount);
            return err.keep(CompareStringA(lcid, flags, firstA, firstCountA, secondA, secondCountA));
        });
}

// Numeric locale types come back as text too and are converted like any other.
int WINAPI GetLocaleInfoW(LCID lcid, LCTYPE type, LPWSTR buf, int n)
{
    return AtExport(Sys::GetLocaleInfoW, lcid, type, buf, n).orAnsi(0, [=](AtSavedError& err) {
        AtStringSlot bufA;
        AtAllocAnsiOut(bufA, n);
        int r = err.keep(GetLocaleInfoA(lcid, type, bufA, AtHeapSize(bufA)));
        if (r && n && buf)
            r = AtCountWithoutTerminator(AtAnsiToWideOut(bufA, buf, n));
        return r;
    });
}

BOOL WINAPI SetLocaleInfoW(LCID lcid, LCTYPE type, LPCWSTR value)
{
    return AtExport(Sys::SetLocaleInfoW, lcid, type, value).orAnsi(FALSE, [=](AtSavedError& err) {
        return err.keep(SetLocaleInfoA(lcid, type, AtAnsiTemp(value)));
    });
}

int WINAPI GetTimeFormatW(LCID lcid, DWORD flags, const SYSTEMTIME* time, LPCWSTR format,
                          LPWSTR buf, int n)
{
    return AtExport(Sys::GetTimeFormatW, lcid, flags, time, format, buf, n)
        .orAnsi(0, [=](AtSavedError& err) {
            return FormatTimeOrDate(GetTimeFormatA, lcid, flags, time, format, buf, n, err);
        });
}

int WINAPI GetDateFormatW(LCID lcid, DWORD flags, const SYSTEMTIME* date, LPCWSTR format,
                          LPWSTR buf, int n)
{
    return AtExport(Sys::GetDateFormatW, lcid, flags, date, format, buf, n)
        .orAnsi(0, [=](AtSavedError& err) {
            return FormatTimeOrDate(GetDateFormatA, lcid, flags, date, format, buf, n, err);
        });
}
