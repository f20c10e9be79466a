// The registry: keys and values by wide names, with string data converted.
//
// These functions answer with an error code, not through the last error: a
// failure inside torwen (memory, a count too large) answers ERROR_OUTOFMEMORY.
// Only REG_SZ and REG_MULTI_SZ data is text to them; REG_EXPAND_SZ and every
// other type travels as the caller's bytes, so a wide REG_EXPAND_SZ value is
// stored as UTF-16 on the ANSI platforms.
#include "services/services.h"

AT_SYSTEM_FUNCTION(advapi32, RegCreateKeyExW, ERROR_CALL_NOT_IMPLEMENTED)
AT_SYSTEM_FUNCTION(advapi32, RegCreateKeyExA, ERROR_CALL_NOT_IMPLEMENTED)
AT_SYSTEM_FUNCTION(advapi32, RegOpenKeyExW, ERROR_CALL_NOT_IMPLEMENTED)
AT_SYSTEM_FUNCTION(advapi32, RegOpenKeyExA, ERROR_CALL_NOT_IMPLEMENTED)
AT_SYSTEM_FUNCTION(advapi32, RegDeleteKeyW, ERROR_CALL_NOT_IMPLEMENTED)
AT_SYSTEM_FUNCTION(advapi32, RegDeleteKeyA, ERROR_CALL_NOT_IMPLEMENTED)
AT_SYSTEM_FUNCTION(advapi32, RegDeleteValueW, ERROR_CALL_NOT_IMPLEMENTED)
AT_SYSTEM_FUNCTION(advapi32, RegDeleteValueA, ERROR_CALL_NOT_IMPLEMENTED)
AT_SYSTEM_FUNCTION(advapi32, RegEnumKeyExW, ERROR_CALL_NOT_IMPLEMENTED)
AT_SYSTEM_FUNCTION(advapi32, RegEnumKeyExA, ERROR_CALL_NOT_IMPLEMENTED)
AT_SYSTEM_FUNCTION(advapi32, RegEnumValueW, ERROR_CALL_NOT_IMPLEMENTED)
AT_SYSTEM_FUNCTION(advapi32, RegEnumValueA, ERROR_CALL_NOT_IMPLEMENTED)
AT_SYSTEM_FUNCTION(advapi32, RegQueryInfoKeyW, ERROR_CALL_NOT_IMPLEMENTED)
AT_SYSTEM_FUNCTION(advapi32, RegQueryInfoKeyA, ERROR_CALL_NOT_IMPLEMENTED)
AT_SYSTEM_FUNCTION(advapi32, RegQueryValueExW, ERROR_CALL_NOT_IMPLEMENTED)
AT_SYSTEM_FUNCTION(advapi32, RegQueryValueExA, ERROR_CALL_NOT_IMPLEMENTED)
AT_SYSTEM_FUNCTION(advapi32, RegSetValueExW, ERROR_CALL_NOT_IMPLEMENTED)
AT_SYSTEM_FUNCTION(advapi32, RegSetValueExA, ERROR_CALL_NOT_IMPLEMENTED)

namespace
{

constexpr LONG CaughtFailure = ERROR_OUTOFMEMORY;

bool IsText(DWORD type)
{
    return type == REG_SZ || type == REG_MULTI_SZ;
}

// ANSI data of `bytes` bytes into the caller's `size` bytes: text is converted
// (all or nothing: 0 when it does not fit), other types copied. Answers the byte
// count delivered. Data the A function reports but did not put in the buffer
// (it found the buffer too small) is not read.
DWORD DataInto(DWORD type, const AtStringSlot& dataA, DWORD bytes, LPBYTE data, DWORD size)
{
    if (bytes > AtHeapSize(dataA))
        return 0;
    if (IsText(type)) {
        DWORD room = size / 2; // no room asks the converter for a size: nothing is written
        return room ? 2
                * MultiByteToWideChar(
                    CP_ACP, 0, dataA, int(bytes), reinterpret_cast<LPWSTR>(data), int(room))
                    : 0;
    }
    memcpy(data, dataA, bytes);
    return bytes;
}

// The wide size of ANSI data, as a size query answers it: text is taken to need
// two bytes for each ANSI byte.
DWORD EstimatedWideSize(DWORD type, DWORD bytes)
{
    return IsText(type) ? 2 * bytes : bytes;
}

// A name or class converted back: the characters written without the terminator,
// 0 when nothing was.
DWORD NameInto(const AtStringSlot& nameA, LPWSTR name, DWORD n)
{
    return AtCountWithoutTerminator(AtBoundedAnsiToWideOut(nameA, name, n));
}

} // namespace

LONG WINAPI RegCreateKeyExW(HKEY key, LPCWSTR subKey, DWORD reserved, LPWSTR keyClass,
    DWORD options, REGSAM access, LPSECURITY_ATTRIBUTES security, PHKEY result, LPDWORD disposition)
{
    return AtExport(Sys::RegCreateKeyExW, key, subKey, reserved, keyClass, options, access,
        security, result, disposition)
        .orAnsiWithoutSavedError(CaughtFailure, [=] {
            AtStringSlot subKeyA, classA;
            AtWideToAnsiTemp(subKeyA, subKey);
            AtWideToAnsiTemp(classA, keyClass);
            return Sys::RegCreateKeyExA(
                key, subKeyA, reserved, classA, options, access, security, result, disposition);
        });
}

LONG WINAPI RegOpenKeyExW(HKEY key, LPCWSTR subKey, DWORD options, REGSAM access, PHKEY result)
{
    return AtExport(Sys::RegOpenKeyExW, key, subKey, options, access, result)
        .orAnsiWithoutSavedError(CaughtFailure,
            [=] { return Sys::RegOpenKeyExA(key, AtAnsiTemp(subKey), options, access, result); });
}

LONG WINAPI RegDeleteKeyW(HKEY key, LPCWSTR subKey)
{
    return AtExport(Sys::RegDeleteKeyW, key, subKey).orAnsiWithoutSavedError(CaughtFailure, [=] {
        return Sys::RegDeleteKeyA(key, AtAnsiTemp(subKey));
    });
}

LONG WINAPI RegDeleteValueW(HKEY key, LPCWSTR name)
{
    return AtExport(Sys::RegDeleteValueW, key, name).orAnsiWithoutSavedError(CaughtFailure, [=] {
        return Sys::RegDeleteValueA(key, AtAnsiTemp(name));
    });
}

// Text is converted cbData / 2 characters at a time, so the caller's terminating
// NULs are stored when cbData counts them. The buffer is sized for the worst case
// twice over (AtMaxCharSize bytes per byte of input), which costs only memory.
LONG WINAPI RegSetValueExW(
    HKEY key, LPCWSTR name, DWORD reserved, DWORD type, const BYTE* data, DWORD cbData)
{
    return AtExport(Sys::RegSetValueExW, key, name, reserved, type, data, cbData)
        .orAnsiWithoutSavedError(CaughtFailure, [=] {
            AtStringSlot nameA, textA;
            AtWideToAnsiTemp(nameA, name);
            if (!IsText(type))
                return Sys::RegSetValueExA(key, nameA, reserved, type, data, cbData);
            DWORD chars;
            if (__builtin_mul_overflow(AtMaxCharSize, cbData, &chars))
                chars = ~DWORD(0); // beyond the address space: the allocation fails
            AtAllocAnsiOut(textA, chars);
            int bytes = WideCharToMultiByte(CP_ACP, 0, reinterpret_cast<LPCWSTR>(data),
                int(cbData / 2), textA, int(AtHeapSize(textA)), nullptr, nullptr);
            return Sys::RegSetValueExA(key, nameA, reserved, type, AtBytes(textA), DWORD(bytes));
        });
}

// A size query (no data buffer) and a buffer too small both answer the wide size
// estimated from the ANSI one. A buffer too small for the converted text answers
// success with the size 0.
LONG WINAPI RegQueryValueExW(
    HKEY key, LPCWSTR name, LPDWORD reserved, LPDWORD type, LPBYTE data, LPDWORD size)
{
    return AtExport(Sys::RegQueryValueExW, key, name, reserved, type, data, size)
        .orAnsiWithoutSavedError(CaughtFailure, [=]() -> LONG {
            if (data && !size)
                return ERROR_INVALID_PARAMETER; // a buffer of unknown size is not handed on
            AtStringSlot nameA, dataA;
            AtWideToAnsiTemp(nameA, name);
            if (data)
                AtAllocBuffer(dataA, *size);
            DWORD bytes = DWORD(AtHeapSize(dataA)), typeA = REG_NONE;
            LONG r = Sys::RegQueryValueExA(
                key, nameA, reserved, &typeA, AtBytes(dataA), size ? &bytes : nullptr);
            if (type)
                *type = typeA;
            DWORD newSize = EstimatedWideSize(typeA, bytes);
            if (r != ERROR_MORE_DATA && data) {
                if (r != ERROR_SUCCESS)
                    return r;
                if (!IsText(typeA) && bytes > *size)
                    r = ERROR_MORE_DATA; // the heap's block outgrew the caller's buffer
                else
                    newSize = DataInto(typeA, dataA, bytes, data, *size);
            }
            if (size)
                *size = newSize;
            return r;
        });
}

// The A function's result is not tested before the name and data are converted
// back: past the last value the counts are those of whatever the buffers held.
LONG WINAPI RegEnumValueW(HKEY key, DWORD index, LPWSTR name, LPDWORD cchName, LPDWORD reserved,
    LPDWORD type, LPBYTE data, LPDWORD cbData)
{
    return AtExport(Sys::RegEnumValueW, key, index, name, cchName, reserved, type, data, cbData)
        .orAnsiWithoutSavedError(CaughtFailure, [=]() -> LONG {
            if (data && !cbData)
                return ERROR_INVALID_PARAMETER; // a buffer of unknown size is not handed on
            const DWORD n = AtCountAt(cchName), size = AtCountAt(cbData);
            AtStringSlot nameA, dataA;
            AtAllocEmptyAnsiOut(nameA, n);
            AtAllocBuffer(dataA, size);
            DWORD nameBytes = DWORD(AtHeapSize(nameA)), bytes = DWORD(AtHeapSize(dataA)),
                  typeA = REG_NONE;
            LONG r = Sys::RegEnumValueA(key, index, nameA, cchName ? &nameBytes : nullptr, reserved,
                &typeA, AtBytes(dataA), cbData ? &bytes : nullptr);
            DWORD chars = NameInto(nameA, name, n);
            if (cchName)
                *cchName = chars;
            if (type)
                *type = typeA;
            DWORD newSize = bytes;
            if (data) {
                // Data that did not reach the buffer, or would not fit the caller's,
                // is not read: the caller is told the size it needs.
                bool overrun
                    = IsText(typeA) ? dataA.value && bytes > AtHeapSize(dataA) : bytes > size;
                if (!overrun) {
                    newSize = DataInto(typeA, dataA, bytes, data, size);
                } else {
                    newSize = EstimatedWideSize(typeA, bytes);
                    if (r == ERROR_SUCCESS)
                        r = ERROR_MORE_DATA; // the heap's block outgrew the caller's buffer
                }
            }
            if (cbData)
                *cbData = newSize;
            return r;
        });
}

LONG WINAPI RegEnumKeyExW(HKEY key, DWORD index, LPWSTR name, LPDWORD cchName, LPDWORD reserved,
    LPWSTR keyClass, LPDWORD cchClass, PFILETIME lastWrite)
{
    return AtExport(
        Sys::RegEnumKeyExW, key, index, name, cchName, reserved, keyClass, cchClass, lastWrite)
        .orAnsiWithoutSavedError(CaughtFailure, [=] {
            const DWORD n = AtCountAt(cchName), classN = AtCountAt(cchClass);
            AtStringSlot nameA, classA;
            AtAllocEmptyAnsiOut(nameA, n);
            AtAllocEmptyAnsiOut(classA, classN);
            DWORD nameBytes = DWORD(AtHeapSize(nameA)), classBytes = DWORD(AtHeapSize(classA));
            LONG r = Sys::RegEnumKeyExA(key, index, nameA, cchName ? &nameBytes : nullptr, reserved,
                classA, cchClass ? &classBytes : nullptr, lastWrite);
            DWORD chars = NameInto(nameA, name, n);
            if (cchName)
                *cchName = chars;
            DWORD classChars = keyClass ? NameInto(classA, keyClass, classN) : 0;
            if (cchClass)
                *cchClass = classChars;
            return r;
        });
}

// The longest names are reported in ANSI bytes, never fewer than their wide
// characters; the longest data as twice its ANSI size, as a size query estimates it.
LONG WINAPI RegQueryInfoKeyW(HKEY key, LPWSTR keyClass, LPDWORD cchClass, LPDWORD reserved,
    LPDWORD subKeys, LPDWORD maxSubKeyLen, LPDWORD maxClassLen, LPDWORD values,
    LPDWORD maxValueNameLen, LPDWORD maxValueLen, LPDWORD securityDescriptor, PFILETIME lastWrite)
{
    return AtExport(Sys::RegQueryInfoKeyW, key, keyClass, cchClass, reserved, subKeys, maxSubKeyLen,
        maxClassLen, values, maxValueNameLen, maxValueLen, securityDescriptor, lastWrite)
        .orAnsiWithoutSavedError(CaughtFailure, [=] {
            const DWORD classN = AtCountAt(cchClass);
            AtStringSlot classA;
            AtAllocEmptyAnsiOut(classA, classN);
            DWORD classBytes = DWORD(AtHeapSize(classA)), subKeyLen = 0, classLen = 0,
                  valueNameLen = 0, valueLen = 0;
            LONG r = Sys::RegQueryInfoKeyA(key, classA, cchClass ? &classBytes : nullptr, reserved,
                subKeys, &subKeyLen, &classLen, values, &valueNameLen, &valueLen,
                securityDescriptor, lastWrite);
            if (r != ERROR_MORE_DATA && keyClass && cchClass)
                *cchClass = NameInto(classA, keyClass, classN);
            auto store = [](LPDWORD to, DWORD value) {
                if (to)
                    *to = value;
            };
            store(maxSubKeyLen, subKeyLen);
            store(maxClassLen, classLen);
            store(maxValueNameLen, valueNameLen);
            store(maxValueLen, 2 * valueLen);
            return r;
        });
}
