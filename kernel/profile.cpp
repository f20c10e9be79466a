// Atom tables and initialisation files (the system profile and private profiles).
//
// The readers of profile files keep no saved error: the caller sees the last error
// that the A function left, or after a caught failure the one the helper set (14
// or 87). Atom functions and the writers restore the A function's error.
#include "core/core.h"

AT_SYSTEM_FUNCTION(kernel32, GlobalAddAtomW, 0)
AT_SYSTEM_FUNCTION(kernel32, GlobalFindAtomW, 0)
AT_SYSTEM_FUNCTION(kernel32, GlobalGetAtomNameW, 0)
AT_SYSTEM_FUNCTION(kernel32, AddAtomW, 0)
AT_SYSTEM_FUNCTION(kernel32, FindAtomW, 0)
AT_SYSTEM_FUNCTION(kernel32, GetAtomNameW, 0)
AT_SYSTEM_FUNCTION(kernel32, GetProfileIntW, 0)
AT_SYSTEM_FUNCTION(kernel32, GetPrivateProfileIntW, 0)
AT_SYSTEM_FUNCTION(kernel32, GetProfileStringW, 0)
AT_SYSTEM_FUNCTION(kernel32, GetPrivateProfileStringW, 0)
AT_SYSTEM_FUNCTION(kernel32, WriteProfileStringW, FALSE)
AT_SYSTEM_FUNCTION(kernel32, WritePrivateProfileStringW, FALSE)
AT_SYSTEM_FUNCTION(kernel32, GetProfileSectionW, 0)
AT_SYSTEM_FUNCTION(kernel32, GetPrivateProfileSectionW, 0)
AT_SYSTEM_FUNCTION(kernel32, GetPrivateProfileSectionNamesW, 0)
AT_SYSTEM_FUNCTION(kernel32, WriteProfileSectionW, FALSE)
AT_SYSTEM_FUNCTION(kernel32, WritePrivateProfileSectionW, FALSE)
AT_SYSTEM_FUNCTION(kernel32, GetPrivateProfileStructW, FALSE)
AT_SYSTEM_FUNCTION(kernel32, WritePrivateProfileStructW, FALSE)

namespace {

ATOM AtomOfName(ATOM(WINAPI* callA)(LPCSTR), LPCWSTR name, AtSavedError& err)
{
    return err.keep(callA(AtAnsiTemp(name)));
}

// Atom names: the A function is told the heap size of the buffer, since n
// characters may take n * AtMaxCharSize bytes.
UINT ReadAtomName(UINT(WINAPI* readA)(ATOM, LPSTR, int), ATOM atom, LPWSTR buf, int n,
                  AtSavedError& err)
{
    AtStringSlot bufA;
    AtAllocAnsiOut(bufA, n);
    UINT r = err.keep(readA(atom, bufA, AtHeapSize(bufA)));
    if (r && n && buf)
        r = AtCountWithoutTerminator(AtAnsiToWideOut(bufA, buf, n));
    return r;
}

// String readers convert up to the first terminator, even when the A function
// found nothing (its buffer then holds an empty string). A null section or key
// asks for a list of names, so the caller receives the first name only.
DWORD StringResult(const AtStringSlot& bufA, LPWSTR buf, DWORD n, DWORD r)
{
    if (n && buf)
        r = AtCountWithoutTerminator(AtAnsiToWideOut(bufA, buf, n));
    return r;
}

// Section readers convert exactly the bytes the A function counted: the list
// without its final terminator. The wide list therefore ends after its last inner
// terminator and the count is one less than the list's length.
DWORD SectionResult(const AtStringSlot& bufA, LPWSTR buf, DWORD n, DWORD r)
{
    if (r && n && buf)
        r = AtCountWithoutTerminator(AtAnsiToWideOutN(bufA, buf, n, r));
    return r;
}

}  // namespace

// ---- atoms (a name whose upper 16 bits are zero is an integer atom and passes through)

ATOM WINAPI GlobalAddAtomW(LPCWSTR name)
{
    return AtExport(Sys::GlobalAddAtomW, name).orAnsi(ATOM(0), [=](AtSavedError& err) {
        return AtomOfName(GlobalAddAtomA, name, err);
    });
}

ATOM WINAPI GlobalFindAtomW(LPCWSTR name)
{
    return AtExport(Sys::GlobalFindAtomW, name).orAnsi(ATOM(0), [=](AtSavedError& err) {
        return AtomOfName(GlobalFindAtomA, name, err);
    });
}

UINT WINAPI GlobalGetAtomNameW(ATOM atom, LPWSTR buf, int n)
{
    return AtExport(Sys::GlobalGetAtomNameW, atom, buf, n).orAnsi(0u, [=](AtSavedError& err) {
        return ReadAtomName(GlobalGetAtomNameA, atom, buf, n, err);
    });
}

ATOM WINAPI AddAtomW(LPCWSTR name)
{
    return AtExport(Sys::AddAtomW, name).orAnsi(ATOM(0), [=](AtSavedError& err) {
        return AtomOfName(AddAtomA, name, err);
    });
}

ATOM WINAPI FindAtomW(LPCWSTR name)
{
    return AtExport(Sys::FindAtomW, name).orAnsi(ATOM(0), [=](AtSavedError& err) {
        return AtomOfName(FindAtomA, name, err);
    });
}

UINT WINAPI GetAtomNameW(ATOM atom, LPWSTR buf, int n)
{
    return AtExport(Sys::GetAtomNameW, atom, buf, n).orAnsi(0u, [=](AtSavedError& err) {
        return ReadAtomName(GetAtomNameA, atom, buf, n, err);
    });
}

// ---- profile readers: no saved error

UINT WINAPI GetProfileIntW(LPCWSTR section, LPCWSTR key, INT def)
{
    return AtExport(Sys::GetProfileIntW, section, key, def).orAnsiWithoutSavedError(0u, [=] {
        AtStringSlot sectionA, keyA;
        AtWideToAnsiTemp(sectionA, section);
        AtWideToAnsiTemp(keyA, key);
        return GetProfileIntA(sectionA, keyA, def);
    });
}

UINT WINAPI GetPrivateProfileIntW(LPCWSTR section, LPCWSTR key, INT def, LPCWSTR file)
{
    return AtExport(Sys::GetPrivateProfileIntW, section, key, def, file)
        .orAnsiWithoutSavedError(0u, [=] {
            AtStringSlot sectionA, keyA, fileA;
            AtWideToAnsiTemp(sectionA, section);
            AtWideToAnsiTemp(keyA, key);
            AtWideToAnsiTemp(fileA, file);
            return GetPrivateProfileIntA(sectionA, keyA, def, fileA);
        });
}

DWORD WINAPI GetProfileStringW(LPCWSTR section, LPCWSTR key, LPCWSTR def, LPWSTR buf, DWORD n)
{
    return AtExport(Sys::GetProfileStringW, section, key, def, buf, n)
        .orAnsiWithoutSavedError(DWORD(0), [=] {
            AtStringSlot sectionA, keyA, defA, bufA;
            AtWideToAnsiTemp(sectionA, section);
            AtWideToAnsiTemp(keyA, key);
            AtWideToAnsiTemp(defA, def);
            AtAllocAnsiOut(bufA, n);
            DWORD r = GetProfileStringA(sectionA, keyA, defA, bufA, AtHeapSize(bufA));
            return StringResult(bufA, buf, n, r);
        });
}

DWORD WINAPI GetPrivateProfileStringW(LPCWSTR section, LPCWSTR key, LPCWSTR def, LPWSTR buf,
                                      DWORD n, LPCWSTR file)
{
    return AtExport(Sys::GetPrivateProfileStringW, section, key, def, buf, n, file)
        .orAnsiWithoutSavedError(DWORD(0), [=] {
            AtStringSlot sectionA, keyA, defA, bufA, fileA;
            AtWideToAnsiTemp(sectionA, section);
            AtWideToAnsiTemp(keyA, key);
            AtWideToAnsiTemp(defA, def);
            AtAllocAnsiOut(bufA, n);
            AtWideToAnsiTemp(fileA, file);
            DWORD r = GetPrivateProfileStringA(sectionA, keyA, defA, bufA, AtHeapSize(bufA), fileA);
            return StringResult(bufA, buf, n, r);
        });
}

DWORD WINAPI GetProfileSectionW(LPCWSTR section, LPWSTR buf, DWORD n)
{
    return AtExport(Sys::GetProfileSectionW, section, buf, n)
        .orAnsiWithoutSavedError(DWORD(0), [=] {
            AtStringSlot sectionA, bufA;
            AtWideToAnsiTemp(sectionA, section);
            AtAllocAnsiOut(bufA, n);
            DWORD r = GetProfileSectionA(sectionA, bufA, AtHeapSize(bufA));
            return SectionResult(bufA, buf, n, r);
        });
}

DWORD WINAPI GetPrivateProfileSectionW(LPCWSTR section, LPWSTR buf, DWORD n, LPCWSTR file)
{
    return AtExport(Sys::GetPrivateProfileSectionW, section, buf, n, file)
        .orAnsiWithoutSavedError(DWORD(0), [=] {
            AtStringSlot sectionA, bufA, fileA;
            AtWideToAnsiTemp(sectionA, section);
            AtAllocAnsiOut(bufA, n);
            AtWideToAnsiTemp(fileA, file);
            DWORD r = GetPrivateProfileSectionA(sectionA, bufA, AtHeapSize(bufA), fileA);
            return SectionResult(bufA, buf, n, r);
        });
}

DWORD WINAPI GetPrivateProfileSectionNamesW(LPWSTR buf, DWORD n, LPCWSTR file)
{
    return AtExport(Sys::GetPrivateProfileSectionNamesW, buf, n, file)
        .orAnsiWithoutSavedError(DWORD(0), [=] {
            AtStringSlot bufA, fileA;
            AtAllocAnsiOut(bufA, n);
            AtWideToAnsiTemp(fileA, file);
            DWORD r = GetPrivateProfileSectionNamesA(bufA, AtHeapSize(bufA), fileA);
            return SectionResult(bufA, buf, n, r);
        });
}

// The structure is binary data: it passes through, as does its size.
BOOL WINAPI GetPrivateProfileStructW(LPCWSTR section, LPCWSTR key, LPVOID data, UINT size,
                                     LPCWSTR file)
{
    return AtExport(Sys::GetPrivateProfileStructW, section, key, data, size, file)
        .orAnsiWithoutSavedError(FALSE, [=] {
            AtStringSlot sectionA, keyA, fileA;
            AtWideToAnsiTemp(sectionA, section);
            AtWideToAnsiTemp(keyA, key);
            AtWideToAnsiTemp(fileA, file);
            return GetPrivateProfileStructA(sectionA, keyA, data, size, fileA);
        });
}

// ---- profile writers: the A function's error is restored

BOOL WINAPI WriteProfileStringW(LPCWSTR section, LPCWSTR key, LPCWSTR value)
{
    return AtExport(Sys::WriteProfileStringW, section, key, value)
        .orAnsi(FALSE, [=](AtSavedError& err) {
            AtStringSlot sectionA, keyA, valueA;
            AtWideToAnsiTemp(sectionA, section);
            AtWideToAnsiTemp(keyA, key);
            AtWideToAnsiTemp(valueA, value);
            return err.keep(WriteProfileStringA(sectionA, keyA, valueA));
        });
}

BOOL WINAPI WritePrivateProfileStringW(LPCWSTR section, LPCWSTR key, LPCWSTR value, LPCWSTR file)
{
    return AtExport(Sys::WritePrivateProfileStringW, section, key, value, file)
        .orAnsi(FALSE, [=](AtSavedError& err) {
            AtStringSlot sectionA, keyA, valueA, fileA;
            AtWideToAnsiTemp(sectionA, section);
            AtWideToAnsiTemp(keyA, key);
            AtWideToAnsiTemp(valueA, value);
            AtWideToAnsiTemp(fileA, file);
            return err.keep(WritePrivateProfileStringA(sectionA, keyA, valueA, fileA));
        });
}

// A section's keys come as a double-NUL list of "key=value" strings.
BOOL WINAPI WriteProfileSectionW(LPCWSTR section, LPCWSTR keys)
{
    return AtExport(Sys::WriteProfileSectionW, section, keys)
        .orAnsi(FALSE, [=](AtSavedError& err) {
            AtStringSlot sectionA, keysA;
            AtWideToAnsiTemp(sectionA, section);
            AtWideToAnsiTempList(keysA, keys, AtListOfStrings);
            return err.keep(WriteProfileSectionA(sectionA, keysA));
        });
}

BOOL WINAPI WritePrivateProfileSectionW(LPCWSTR section, LPCWSTR keys, LPCWSTR file)
{
    return AtExport(Sys::WritePrivateProfileSectionW, section, keys, file)
        .orAnsi(FALSE, [=](AtSavedError& err) {
            AtStringSlot sectionA, keysA, fileA;
            AtWideToAnsiTemp(sectionA, section);
            AtWideToAnsiTempList(keysA, keys, AtListOfStrings);
            AtWideToAnsiTemp(fileA, file);
            return err.keep(WritePrivateProfileSectionA(sectionA, keysA, fileA));
        });
}

BOOL WINAPI WritePrivateProfileStructW(LPCWSTR section, LPCWSTR key, LPVOID data, UINT size,
                                       LPCWSTR file)
{
    return AtExport(Sys::WritePrivateProfileStructW, section, key, data, size, file)
        .orAnsi(FALSE, [=](AtSavedError& err) {
            AtStringSlot sectionA, keyA, fileA;
            AtWideToAnsiTemp(sectionA, section);
            AtWideToAnsiTemp(keyA, key);
            AtWideToAnsiTemp(fileA, file);
            return err.keep(WritePrivateProfileStructA(sectionA, keyA, data, size, fileA));
        });
}
