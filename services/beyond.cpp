// Registry and account functions that wide programs import besides the families
// above: the keys of the 16-bit interface and the user's name. Their counts are
// the W functions' own, in wide characters or in bytes of wide text.
#include "services/services.h"

#include <lmcons.h>

AT_SYSTEM_FUNCTION(advapi32, RegCreateKeyW, ERROR_CALL_NOT_IMPLEMENTED)
AT_SYSTEM_FUNCTION(advapi32, RegCreateKeyA, ERROR_CALL_NOT_IMPLEMENTED)
AT_SYSTEM_FUNCTION(advapi32, RegOpenKeyW, ERROR_CALL_NOT_IMPLEMENTED)
AT_SYSTEM_FUNCTION(advapi32, RegOpenKeyA, ERROR_CALL_NOT_IMPLEMENTED)
AT_SYSTEM_FUNCTION(advapi32, RegEnumKeyW, ERROR_CALL_NOT_IMPLEMENTED)
AT_SYSTEM_FUNCTION(advapi32, RegEnumKeyA, ERROR_CALL_NOT_IMPLEMENTED)
AT_SYSTEM_FUNCTION(advapi32, RegQueryValueW, ERROR_CALL_NOT_IMPLEMENTED)
AT_SYSTEM_FUNCTION(advapi32, RegQueryValueA, ERROR_CALL_NOT_IMPLEMENTED)
AT_SYSTEM_FUNCTION(advapi32, GetUserNameW, FALSE)
AT_SYSTEM_FUNCTION(advapi32, GetUserNameA, FALSE)

namespace {

// Registry functions answer an error code: a failed allocation answers this one.
constexpr LONG CaughtFailure = ERROR_OUTOFMEMORY;

// Wide characters of a terminated ANSI text, its terminator included.
DWORD WideLength(LPCSTR text)
{
    return MultiByteToWideChar(CP_ACP, 0, text, -1, nullptr, 0);
}

// An ANSI buffer of `bytes` that stays terminated whatever the A function writes.
void TerminatedBuffer(AtStringSlot& slot, DWORD bytes)
{
    AtAllocBuffer(slot, bytes + 1);
    char* text = slot;
    text[0] = text[bytes] = '\0';
}

}  // namespace

LONG WINAPI RegCreateKeyW(HKEY key, LPCWSTR subKey, PHKEY result)
{
    return AtExport(Sys::RegCreateKeyW, key, subKey, result).orAnsiWithoutSavedError(CaughtFailure, [=] {
        return Sys::RegCreateKeyA(key, AtAnsiTemp(subKey), result);
    });
}

LONG WINAPI RegOpenKeyW(HKEY key, LPCWSTR subKey, PHKEY result)
{
    return AtExport(Sys::RegOpenKeyW, key, subKey, result).orAnsiWithoutSavedError(CaughtFailure, [=] {
        return Sys::RegOpenKeyA(key, AtAnsiTemp(subKey), result);
    });
}

// A key's name has at most 255 characters: the A function gets room for any, and
// a name longer than the caller's count answers ERROR_MORE_DATA unwritten.
LONG WINAPI RegEnumKeyW(HKEY key, DWORD index, LPWSTR name, DWORD n)
{
    return AtExport(Sys::RegEnumKeyW, key, index, name, n).orAnsiWithoutSavedError(CaughtFailure, [=]() -> LONG {
        AtStringSlot nameA;
        const DWORD bytes = 256 * AtMaxCharSize;
        TerminatedBuffer(nameA, bytes);
        LONG r = Sys::RegEnumKeyA(key, index, nameA, bytes);
        if (r != ERROR_SUCCESS)
            return r;
        if (!name || WideLength(nameA) > n)
            return ERROR_MORE_DATA;
        MultiByteToWideChar(CP_ACP, 0, nameA, -1, name, n);
        return ERROR_SUCCESS;
    });
}

// *bytes counts bytes of wide text with its terminator, as the caller sizes its
// buffer: without a buffer it receives the size needed; a buffer too small
// answers ERROR_MORE_DATA with that size, unwritten.
LONG WINAPI RegQueryValueW(HKEY key, LPCWSTR subKey, LPWSTR value, PLONG bytes)
{
    return AtExport(Sys::RegQueryValueW, key, subKey, value, bytes)
        .orAnsiWithoutSavedError(CaughtFailure, [=]() -> LONG {
            AtStringSlot subKeyA, valueA;
            AtWideToAnsiTemp(subKeyA, subKey);
            if (!bytes)
                return value ? ERROR_INVALID_PARAMETER : Sys::RegQueryValueA(key, subKeyA, nullptr, nullptr);
            LONG sizeA = 0;
            LONG r = Sys::RegQueryValueA(key, subKeyA, nullptr, &sizeA);
            if (r != ERROR_SUCCESS)
                return r;
            TerminatedBuffer(valueA, sizeA);
            r = Sys::RegQueryValueA(key, subKeyA, valueA, &sizeA);
            if (r != ERROR_SUCCESS)
                return r;
            const LONG needed = LONG(WideLength(valueA) * sizeof(WCHAR));
            const LONG room = *bytes;
            *bytes = needed;
            if (!value)
                return ERROR_SUCCESS;
            if (needed > room)
                return ERROR_MORE_DATA;
            MultiByteToWideChar(CP_ACP, 0, valueA, -1, value, room / sizeof(WCHAR));
            return ERROR_SUCCESS;
        });
}

// *size holds the caller's count; it receives the length with the terminator, or
// for a buffer too small the size needed (ERROR_INSUFFICIENT_BUFFER), unwritten.
BOOL WINAPI GetUserNameW(LPWSTR buf, LPDWORD size)
{
    return AtExport(Sys::GetUserNameW, buf, size).orAnsi(FALSE, [=](AtSavedError& err) {
        if (!size) {
            err.value = ERROR_INVALID_PARAMETER;
            return FALSE;
        }
        AtStringSlot bufA;
        DWORD sizeA = (UNLEN + 1) * AtMaxCharSize;
        TerminatedBuffer(bufA, sizeA);
        if (!err.keep(Sys::GetUserNameA(bufA, &sizeA)))
            return FALSE;
        const DWORD needed = WideLength(bufA);
        if (!buf || needed > *size) {
            *size = needed;
            err.value = ERROR_INSUFFICIENT_BUFFER;
            return FALSE;
        }
        *size = MultiByteToWideChar(CP_ACP, 0, bufA, -1, buf, *size);
        return TRUE;
    });
}
