// Version information: files' version resources, language names, and finding
// and installing files.
//
// On the ANSI platforms only the names that go in are converted. The version
// block is the one the A functions make and read, so VerQueryValueW hands back
// string values as ANSI text inside that block, with their ANSI lengths.
#include "services/services.h"

AT_SYSTEM_FUNCTION(version, GetFileVersionInfoSizeW, 0)
AT_SYSTEM_FUNCTION(version, GetFileVersionInfoSizeA, 0)
AT_SYSTEM_FUNCTION(version, GetFileVersionInfoW, FALSE)
AT_SYSTEM_FUNCTION(version, GetFileVersionInfoA, FALSE)
AT_SYSTEM_FUNCTION(version, VerQueryValueW, FALSE)
AT_SYSTEM_FUNCTION(version, VerQueryValueA, FALSE)
AT_SYSTEM_FUNCTION(version, VerLanguageNameW, 0)
AT_SYSTEM_FUNCTION(version, VerLanguageNameA, 0)
AT_SYSTEM_FUNCTION(version, VerFindFileW, VFF_BUFFTOOSMALL)
AT_SYSTEM_FUNCTION(version, VerFindFileA, VFF_BUFFTOOSMALL)
AT_SYSTEM_FUNCTION(version, VerInstallFileW, VIF_OUTOFMEMORY)
AT_SYSTEM_FUNCTION(version, VerInstallFileA, VIF_OUTOFMEMORY)

namespace
{

// A directory or file name that the A function returns into a MAX_PATH buffer of
// torwen's. The A function is told the caller's count (which it reads as bytes),
// but never more than that buffer holds.
class PathOut
{
public:
    explicit PathOut(PUINT length)
        : length(length)
    {
        AtAllocEmptyAnsiOut(bufA, MAX_PATH);
        stated = length ? *length : 0;
        capacityA = std::min<UINT>(stated, UINT(AtHeapSize(bufA)));
    }
    LPSTR buffer() const { return bufA; }
    PUINT lengthA() { return length ? &capacityA : nullptr; }

    // The caller's buffer is taken to hold MAX_PATH characters, but no more than it
    // says it holds. Its length receives the characters converted, terminator
    // included, or, for a name that did not fit, the A function's count of bytes.
    void into(LPWSTR buf)
    {
        int converted = AtBoundedAnsiToWideOut(bufA, buf, std::min<UINT>(stated, MAX_PATH));
        if (length)
            *length = converted ? UINT(converted) : capacityA;
    }

private:
    PUINT length;
    AtStringSlot bufA;
    UINT stated, capacityA;
};

} // namespace

DWORD WINAPI GetFileVersionInfoSizeW(LPCWSTR name, LPDWORD handle)
{
    return AtExport(Sys::GetFileVersionInfoSizeW, name, handle).orAnsi(0ul, [=](AtSavedError& err) {
        return err.keep(Sys::GetFileVersionInfoSizeA(AtAnsiTemp(name), handle));
    });
}

// The caller's buffer receives the ANSI block.
BOOL WINAPI GetFileVersionInfoW(LPCWSTR name, DWORD handle, DWORD size, LPVOID block)
{
    return AtExport(Sys::GetFileVersionInfoW, name, handle, size, block)
        .orAnsi(FALSE, [=](AtSavedError& err) {
            return err.keep(Sys::GetFileVersionInfoA(AtAnsiTemp(name), handle, size, block));
        });
}

BOOL WINAPI VerQueryValueW(LPCVOID block, LPCWSTR subBlock, LPVOID* value, PUINT length)
{
    return AtExport(Sys::VerQueryValueW, block, subBlock, value, length)
        .orAnsiWithoutSavedError(
            FALSE, [=] { return Sys::VerQueryValueA(block, AtAnsiTemp(subBlock), value, length); });
}

// With a buffer, the wide length without the terminator; without one, the ANSI
// length.
DWORD WINAPI VerLanguageNameW(DWORD language, LPWSTR name, DWORD count)
{
    return AtExport(Sys::VerLanguageNameW, language, name, count).orAnsiWithoutSavedError(0ul, [=] {
        AtStringSlot nameA;
        AtAllocEmptyAnsiOut(nameA, count);
        DWORD r = Sys::VerLanguageNameA(language, nameA, DWORD(AtHeapSize(nameA)));
        if (r && count && name)
            r = AtCountWithoutTerminator(AtBoundedAnsiToWideOut(nameA, name, count));
        return r;
    });
}

// Both directory lengths come back counting the terminator, whatever the result.
DWORD WINAPI VerFindFileW(DWORD flags, LPWSTR file, LPWSTR windowsDir, LPWSTR appDir, LPWSTR curDir,
    PUINT curDirLength, LPWSTR destDir, PUINT destDirLength)
{
    return AtExport(Sys::VerFindFileW, flags, file, windowsDir, appDir, curDir, curDirLength,
        destDir, destDirLength)
        .orAnsiWithoutSavedError(0ul, [=] {
            AtStringSlot fileA, windowsA, appA;
            AtWideToAnsiTemp(fileA, file);
            AtWideToAnsiTemp(windowsA, windowsDir);
            AtWideToAnsiTemp(appA, appDir);
            PathOut cur(curDirLength), dest(destDirLength);
            DWORD r = Sys::VerFindFileA(flags, fileA, windowsA, appA, cur.buffer(), cur.lengthA(),
                dest.buffer(), dest.lengthA());
            cur.into(curDir);
            dest.into(destDir);
            return r;
        });
}

DWORD WINAPI VerInstallFileW(DWORD flags, LPWSTR srcFile, LPWSTR destFile, LPWSTR srcDir,
    LPWSTR destDir, LPWSTR curDir, LPWSTR tmpFile, PUINT tmpFileLength)
{
    return AtExport(Sys::VerInstallFileW, flags, srcFile, destFile, srcDir, destDir, curDir,
        tmpFile, tmpFileLength)
        .orAnsiWithoutSavedError(0ul, [=] {
            AtStringSlot srcFileA, destFileA, srcDirA, destDirA, curDirA;
            AtWideToAnsiTemp(srcFileA, srcFile);
            AtWideToAnsiTemp(destFileA, destFile);
            AtWideToAnsiTemp(srcDirA, srcDir);
            AtWideToAnsiTemp(destDirA, destDir);
            AtWideToAnsiTemp(curDirA, curDir);
            PathOut tmp(tmpFileLength);
            DWORD r = Sys::VerInstallFileA(flags, srcFileA, destFileA, srcDirA, destDirA, curDirA,
                tmp.buffer(), tmp.lengthA());
            tmp.into(tmpFile);
            return r;
        });
}
