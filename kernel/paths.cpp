// Path names: the system's directories, the current directory, and the full,
// short, searched and temporary names of files.
#include "kernel/files.h"

AT_SYSTEM_FUNCTION(kernel32, GetSystemDirectoryW, 0)
AT_SYSTEM_FUNCTION(kernel32, GetWindowsDirectoryW, 0)
AT_SYSTEM_FUNCTION(kernel32, GetTempPathW, 0)
AT_SYSTEM_FUNCTION(kernel32, GetCurrentDirectoryW, 0)
AT_SYSTEM_FUNCTION(kernel32, SetCurrentDirectoryW, FALSE)
AT_SYSTEM_FUNCTION(kernel32, GetShortPathNameW, 0)
AT_SYSTEM_FUNCTION(kernel32, GetFullPathNameW, 0)
AT_SYSTEM_FUNCTION(kernel32, SearchPathW, 0)
AT_SYSTEM_FUNCTION(kernel32, GetTempFileNameW, 0)

namespace {

// The directory getters tell the A function the caller's count and answer the
// converted length without the terminator. When the buffer is null or empty the
// A function's own answer, in ANSI bytes, reaches the caller.
template <typename CallA>
DWORD DirectoryInto(AtSavedError& err, LPWSTR buf, DWORD n, CallA callA)
{
    AtStringSlot bufA;
    AtAllocEmptyAnsiOut(bufA, n);
    DWORD r = err.keep(callA(static_cast<char*>(bufA)));
    if (r && n && buf)
        r = AtCountWithoutTerminator(AtAnsiToWideOut(bufA, buf, n));
    return r;
}

}  // namespace

UINT WINAPI GetSystemDirectoryW(LPWSTR buf, UINT n)
{
    return AtExport(Sys::GetSystemDirectoryW, buf, n).orAnsi(0u, [=](AtSavedError& err) {
        return DirectoryInto(err, buf, n, [&](LPSTR bufA) { return GetSystemDirectoryA(bufA, n); });
    });
}

UINT WINAPI GetWindowsDirectoryW(LPWSTR buf, UINT n)
{
    return AtExport(Sys::GetWindowsDirectoryW, buf, n).orAnsi(0u, [=](AtSavedError& err) {
        return DirectoryInto(err, buf, n, [&](LPSTR bufA) { return GetWindowsDirectoryA(bufA, n); });
    });
}

DWORD WINAPI GetTempPathW(DWORD n, LPWSTR buf)
{
    return AtExport(Sys::GetTempPathW, n, buf).orAnsi(0ul, [=](AtSavedError& err) {
        return DirectoryInto(err, buf, n, [&](LPSTR bufA) { return GetTempPathA(n, bufA); });
    });
}

DWORD WINAPI GetCurrentDirectoryW(DWORD n, LPWSTR buf)
{
    return AtExport(Sys::GetCurrentDirectoryW, n, buf).orAnsi(0ul, [=](AtSavedError& err) {
        return DirectoryInto(err, buf, n, [&](LPSTR bufA) { return GetCurrentDirectoryA(n, bufA); });
    });
}

BOOL WINAPI SetCurrentDirectoryW(LPCWSTR path)
{
    return AtExport(Sys::SetCurrentDirectoryW, path).orAnsi(FALSE, [=](AtSavedError& err) {
        return err.keep(SetCurrentDirectoryA(AtAnsiTemp(path)));
    });
}

// The A function is told the buffer's heap size: n characters may take
// n * AtMaxCharSize bytes. Its answer excludes the terminator, so exactly that
// many bytes are converted back; a buffer too small answers the size needed.
DWORD WINAPI GetShortPathNameW(LPCWSTR longPath, LPWSTR buf, DWORD n)
{
    return AtExport(Sys::GetShortPathNameW, longPath, buf, n).orAnsi(0ul, [=](AtSavedError& err) {
        AtStringSlot pathA, bufA;
        AtWideToAnsiTemp(pathA, longPath);
        AtAllocAnsiOut(bufA, n);
        DWORD r = err.keep(GetShortPathNameA(pathA, bufA, AtHeapSize(bufA)));
        if (r && n && buf && !AtAnsiBufferTooSmall(bufA, r))
            r = AtCountWithoutTerminator(AtAnsiToWideOutN(bufA, buf, n, r));
        return r;
    });
}

DWORD WINAPI GetFullPathNameW(LPCWSTR name, DWORD n, LPWSTR buf, LPWSTR* filePart)
{
    return AtExport(Sys::GetFullPathNameW, name, n, buf, filePart).orAnsi(0ul, [=](AtSavedError& err) {
        AtStringSlot nameA, bufA;
        AtWideToAnsiTemp(nameA, name);
        AtAllocEmptyAnsiOut(bufA, n);
        LPSTR filePartA = nullptr;
        DWORD r = err.keep(GetFullPathNameA(nameA, AtHeapSize(bufA), bufA, &filePartA));
        if (!r || !n || !buf)
            return r;  // in ANSI bytes; *filePart is left alone
        r = AtCountWithoutTerminator(AtAnsiToWideOut(bufA, buf, n));
        // The file part is found by counting the characters ahead of it. A name
        // ending in a separator has none, and an A function that found the buffer
        // too small may point past what it wrote: the pointer then marks the
        // buffer's start.
        char* start = bufA;
        SIZE_T bytesAhead = filePartA > start ? filePartA - start : 0;
        int ahead = 0;
        if (bytesAhead && bytesAhead < AtHeapSize(bufA))
            ahead = MultiByteToWideChar(CP_ACP, 0, start, int(bytesAhead), nullptr, 0);
        // A path that did not fit the caller's count may put the file part beyond
        // it: the pointer never leaves the caller's buffer.
        if (DWORD(ahead) >= n)
            ahead = 0;
        if (filePart)
            *filePart = buf + ahead;
        return r;
    });
}

// The A function always gets a buffer of MAX_PATH: the wide length of what it
// found decides whether the caller's buffer is big enough, and when it is not the
// caller is told that length, terminator included, and its buffer is not written.
DWORD WINAPI SearchPathW(LPCWSTR path, LPCWSTR file, LPCWSTR ext, DWORD n, LPWSTR buf,
                         LPWSTR* filePart)
{
    return AtExport(Sys::SearchPathW, path, file, ext, n, buf, filePart)
        .orAnsi(0ul, [=](AtSavedError& err) -> DWORD {
            AtStringSlot bufA, scratch, pathA, fileA, extA;
            AtAllocAnsiOut(bufA, MAX_PATH);
            AtAllocWideOut(scratch, MAX_PATH);
            LPSTR filePartA = nullptr;
            AtWideToAnsiTemp(pathA, path);
            AtWideToAnsiTemp(fileA, file);
            AtWideToAnsiTemp(extA, ext);
            DWORD r = err.keep(SearchPathA(pathA, fileA, extA, MAX_PATH, bufA, &filePartA));
            // Nothing found, or a buffer too small: the caller sees the last error as
            // the clean-up leaves it, not the A call's.
            auto answerAfterCleanUp = [&](DWORD result) {
                AtFreeString(extA);
                AtFreeString(fileA);
                AtFreeString(pathA);
                AtFreeString(scratch);
                AtFreeString(bufA);
                return err.keep(result);
            };
            if (!r)
                return answerAfterCleanUp(0);
            DWORD needed = AtAnsiToWideOut(bufA, scratch, MAX_PATH);
            if (needed > n)
                return answerAfterCleanUp(needed);
            int filePartLength = MultiByteToWideChar(CP_ACP, 0, filePartA, -1, scratch, MAX_PATH);
            int written = AtAnsiToWideOut(bufA, buf, n);
            // A file part the conversion could not measure marks the buffer's start.
            int ahead = written - filePartLength;
            if (filePart)
                *filePart = buf + (ahead >= 0 && ahead < written ? ahead : 0);
            return AtCountWithoutTerminator(written);
        });
}

// The caller's buffer is taken to hold MAX_PATH characters, as the system's
// function takes it. The last error is the one left after converting the name.
UINT WINAPI GetTempFileNameW(LPCWSTR path, LPCWSTR prefix, UINT unique, LPWSTR out)
{
    return AtExport(Sys::GetTempFileNameW, path, prefix, unique, out).orAnsi(0u, [=](AtSavedError& err) {
        AtStringSlot pathA, prefixA, outA;
        AtWideToAnsiTemp(pathA, path);
        AtWideToAnsiTemp(prefixA, prefix);
        AtAllocAnsiOut(outA, MAX_PATH);
        UINT r = GetTempFileNameA(pathA, prefixA, unique, outA);
        if (r)
            AtAnsiToWideOut(outA, out, MAX_PATH);
        return err.keep(r);
    });
}
