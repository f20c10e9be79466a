// The kernel functions that wide programs import besides the families above:
// directories, volumes, environment expansion, names of the machine, code pages,
// number formats and case mapping, string comparison, modules, semaphores and
// process snapshots.
//
// Each of them answers with the W function's own conventions on both paths:
// counts in wide characters, the W function's terminator rules, a buffer too
// small told the wide size it needs. So the ANSI path first obtains the whole
// ANSI text and decides from its converted length.
#include <cstddef>
#include <cstring>

#include "kernel/files.h"

#include <tlhelp32.h>

AT_SYSTEM_FUNCTION(kernel32, CreateDirectoryW, FALSE)
AT_SYSTEM_FUNCTION(kernel32, RemoveDirectoryW, FALSE)
AT_SYSTEM_FUNCTION(kernel32, MoveFileW, FALSE)
AT_SYSTEM_FUNCTION(kernel32, CopyFileExW, FALSE)
AT_SYSTEM_FUNCTION(kernel32, CopyFileExA, FALSE)
AT_SYSTEM_FUNCTION(kernel32, GetDiskFreeSpaceExW, FALSE)
AT_SYSTEM_FUNCTION(kernel32, GetDiskFreeSpaceExA, FALSE)
AT_SYSTEM_FUNCTION(kernel32, GetLongPathNameW, 0)
AT_SYSTEM_FUNCTION(kernel32, GetLongPathNameA, 0)
AT_SYSTEM_FUNCTION(kernel32, SetVolumeLabelW, FALSE)
AT_SYSTEM_FUNCTION(kernel32, ExpandEnvironmentStringsW, 0)
AT_SYSTEM_FUNCTION(kernel32, GetComputerNameW, FALSE)
AT_SYSTEM_FUNCTION(kernel32, GetStartupInfoW, 0)
AT_SYSTEM_FUNCTION(kernel32, GetCPInfoExW, FALSE)
AT_SYSTEM_FUNCTION(kernel32, GetCPInfoExA, FALSE)
AT_SYSTEM_FUNCTION(kernel32, GetNumberFormatW, 0)
AT_SYSTEM_FUNCTION(kernel32, LCMapStringW, 0)
AT_SYSTEM_FUNCTION(kernel32, lstrcmpW, 0)
AT_SYSTEM_FUNCTION(kernel32, lstrcmpiW, 0)
AT_SYSTEM_FUNCTION(kernel32, LoadLibraryW, 0)
AT_SYSTEM_FUNCTION(kernel32, CreateSemaphoreW, 0)
AT_SYSTEM_FUNCTION(kernel32, IsBadStringPtrW, TRUE)
AT_SYSTEM_FUNCTION(kernel32, Process32FirstW, FALSE)
AT_SYSTEM_FUNCTION(kernel32, Process32NextW, FALSE)
AT_SYSTEM_FUNCTION(kernel32, Process32First, FALSE)
AT_SYSTEM_FUNCTION(kernel32, Process32Next, FALSE)

namespace {

// An A function that answers the size it needs, terminator included, when its
// buffer is too small is called again with that size, until the whole text is at
// hand. One byte beyond what the A function may write stays NUL, so the text is
// terminated whatever the A function did. Answers the A function's last result,
// or 0.
template <typename CallA>
DWORD WholeAnsiText(AtSavedError& err, AtStringSlot& bufA, CallA callA)
{
    DWORD size = MAX_PATH * AtMaxCharSize;
    for (int attempt = 0; attempt < 4; ++attempt) {
        AtFreeString(bufA);
        AtAllocBuffer(bufA, size + 1);
        char* text = bufA;
        text[0] = text[size] = '\0';
        DWORD r = err.keep(callA(text, size));
        if (r <= size)
            return r;
        size = r;
    }
    return 0;
}

// Wide characters of a terminated ANSI text, its terminator included.
DWORD WideLength(LPCSTR text)
{
    return MultiByteToWideChar(CP_ACP, 0, text, -1, nullptr, 0);
}

// Copies a terminated ANSI text that is known to fit; answers the wide characters
// written, terminator included.
DWORD WideCopy(LPCSTR text, LPWSTR buf, DWORD n)
{
    return MultiByteToWideChar(CP_ACP, 0, text, -1, buf, n);
}

// The national-language functions: a count of 0 asks for the size needed, a
// buffer too small answers 0 with ERROR_INSUFFICIENT_BUFFER and is not written.
// The A function gets a buffer it can fill whatever the caller's count (grown
// while it answers ERROR_INSUFFICIENT_BUFFER), so that its whole answer is
// converted and measured in wide characters. Its size query is not used: some
// systems answer it in characters of another measure than the bytes it writes.
template <typename CallA>
int NlsTextInto(AtSavedError& err, LPWSTR buf, int n, CallA callA)
{
    if (n < 0 || (n && !buf)) {
        err.value = ERROR_INVALID_PARAMETER;
        return 0;
    }
    AtStringSlot bufA;
    int r = 0;
    for (SIZE_T size = 256 + SIZE_T(n) * AtMaxCharSize; size <= 0x100000; size *= 16) {
        AtFreeString(bufA);
        AtAllocBuffer(bufA, size);
        r = err.keep(callA(static_cast<char*>(bufA), int(size)));
        if (r > 0 || err.value != ERROR_INSUFFICIENT_BUFFER)
            break;
    }
    if (r <= 0)
        return 0;
    int wide = MultiByteToWideChar(CP_ACP, 0, bufA, r, nullptr, 0);
    if (!n)
        return wide;
    if (wide > n) {
        err.value = ERROR_INSUFFICIENT_BUFFER;
        return 0;
    }
    return MultiByteToWideChar(CP_ACP, 0, bufA, r, buf, n);
}

// A source string with its count: -1 for a terminated one; otherwise exactly
// that many characters, which may hold NULs and need no terminator.
struct CountedAnsi {
    CountedAnsi(LPCWSTR s, int n)
    {
        if (n < 0 || !s) {
            AtWideToAnsiTemp(text, s);
            length = n;
            return;
        }
        SIZE_T size = SIZE_T(n) * AtMaxCharSize;
        AtAllocBuffer(text, size + 1);
        char* a = text;
        length = n ? WideCharToMultiByte(CP_ACP, 0, s, n, a, int(size), nullptr, nullptr) : 0;
        a[length] = '\0';
    }

    AtStringSlot text;
    int length;
};

// The process snapshots: the A entry, with the A size, carries everything but the
// executable's name as the wide entry does.
template <typename CallA>
BOOL ProcessEntryInto(AtSavedError& err, LPPROCESSENTRY32W entry, CallA callA)
{
    if (entry && entry->dwSize < sizeof(PROCESSENTRY32W)) {
        err.value = ERROR_INSUFFICIENT_BUFFER;
        return FALSE;
    }
    PROCESSENTRY32 a{};
    a.dwSize = sizeof a;
    BOOL ok = err.keep(callA(entry ? &a : nullptr));
    if (!ok)
        return FALSE;
    DWORD size = entry->dwSize;
    std::memcpy(entry, &a, offsetof(PROCESSENTRY32W, szExeFile));
    entry->dwSize = size;
    if (!WideCopy(a.szExeFile, entry->szExeFile, MAX_PATH))
        entry->szExeFile[0] = L'\0';
    return TRUE;
}

// The startup texts of the process, converted into storage of the module's own
// that lives as long as the process: the caller keeps the pointers.
LPWSTR StartupText(WCHAR (&storage)[1024], LPCSTR text)
{
    if (!text)
        return nullptr;
    if (!WideCopy(text, storage, 1024))
        storage[0] = L'\0';
    return storage;
}

WCHAR startupDesktop[1024], startupTitle[1024];

}  // namespace

BOOL WINAPI CreateDirectoryW(LPCWSTR path, LPSECURITY_ATTRIBUTES sa)
{
    return AtExport(Sys::CreateDirectoryW, path, sa).orAnsi(FALSE, [=](AtSavedError& err) {
        return err.keep(CreateDirectoryA(AtAnsiTemp(path), sa));
    });
}

BOOL WINAPI RemoveDirectoryW(LPCWSTR path)
{
    return AtExport(Sys::RemoveDirectoryW, path).orAnsi(FALSE, [=](AtSavedError& err) {
        return err.keep(RemoveDirectoryA(AtAnsiTemp(path)));
    });
}

BOOL WINAPI MoveFileW(LPCWSTR existing, LPCWSTR newName)
{
    return AtExport(Sys::MoveFileW, existing, newName).orAnsi(FALSE, [=](AtSavedError& err) {
        AnsiNamePair names(existing, newName);
        return err.keep(MoveFileA(names.first, names.second));
    });
}

// The progress routine receives no text: it is handed on as it is.
BOOL WINAPI CopyFileExW(LPCWSTR existing, LPCWSTR newName, LPPROGRESS_ROUTINE progress, LPVOID data,
                        LPBOOL cancel, DWORD flags)
{
    return AtExport(Sys::CopyFileExW, existing, newName, progress, data, cancel, flags)
        .orAnsi(FALSE, [=](AtSavedError& err) {
            AnsiNamePair names(existing, newName);
            return err.keep(Sys::CopyFileExA(names.first, names.second, progress, data, cancel, flags));
        });
}

BOOL WINAPI GetDiskFreeSpaceExW(LPCWSTR dir, PULARGE_INTEGER available, PULARGE_INTEGER total,
                                PULARGE_INTEGER free)
{
    return AtExport(Sys::GetDiskFreeSpaceExW, dir, available, total, free)
        .orAnsi(FALSE, [=](AtSavedError& err) {
            return err.keep(Sys::GetDiskFreeSpaceExA(AtAnsiTemp(dir), available, total, free));
        });
}

// Success answers the length without the terminator; a buffer too small answers
// the wide size needed with it, and is not written.
DWORD WINAPI GetLongPathNameW(LPCWSTR shortPath, LPWSTR buf, DWORD n)
{
    return AtExport(Sys::GetLongPathNameW, shortPath, buf, n).orAnsi(0ul, [=](AtSavedError& err) -> DWORD {
        AtStringSlot pathA, bufA;
        AtWideToAnsiTemp(pathA, shortPath);
        if (!WholeAnsiText(err, bufA, [&](LPSTR b, DWORD size) { return Sys::GetLongPathNameA(pathA, b, size); }))
            return 0;
        DWORD needed = WideLength(bufA);
        if (needed > n || !buf)
            return needed;
        return WideCopy(bufA, buf, n) - 1;
    });
}

BOOL WINAPI SetVolumeLabelW(LPCWSTR root, LPCWSTR name)
{
    return AtExport(Sys::SetVolumeLabelW, root, name).orAnsi(FALSE, [=](AtSavedError& err) {
        AnsiNamePair names(root, name);
        return err.keep(SetVolumeLabelA(names.first, names.second));
    });
}

// Answers the wide size of the expansion, terminator included, whether or not it
// fit; a buffer too small (a count of 0 among them) is not written.
DWORD WINAPI ExpandEnvironmentStringsW(LPCWSTR src, LPWSTR buf, DWORD n)
{
    return AtExport(Sys::ExpandEnvironmentStringsW, src, buf, n).orAnsi(0ul, [=](AtSavedError& err) -> DWORD {
        AtStringSlot srcA, bufA;
        AtWideToAnsiTemp(srcA, src);
        if (!WholeAnsiText(err, bufA, [&](LPSTR b, DWORD size) { return ExpandEnvironmentStringsA(srcA, b, size); }))
            return 0;
        DWORD needed = WideLength(bufA);
        if (needed > n || !buf)
            return needed;
        return WideCopy(bufA, buf, n);
    });
}

// *size holds the caller's count; it receives the length without the terminator,
// or, for a buffer too small, the size needed with it (ERROR_BUFFER_OVERFLOW).
BOOL WINAPI GetComputerNameW(LPWSTR buf, LPDWORD size)
{
    return AtExport(Sys::GetComputerNameW, buf, size).orAnsi(FALSE, [=](AtSavedError& err) {
        AtStringSlot bufA;
        AtAllocEmptyAnsiOut(bufA, MAX_COMPUTERNAME_LENGTH + 1);
        DWORD sizeA = AtHeapSize(bufA) - 1;
        if (!err.keep(GetComputerNameA(bufA, size ? &sizeA : nullptr)))
            return FALSE;
        DWORD needed = WideLength(bufA);
        if (needed > *size || !buf) {
            *size = needed;
            err.value = ERROR_BUFFER_OVERFLOW;
            return FALSE;
        }
        *size = WideCopy(bufA, buf, *size) - 1;
        return TRUE;
    });
}

// The desktop and title point into storage that lives as long as the process.
void WINAPI GetStartupInfoW(LPSTARTUPINFOW info)
{
    return AtExport(Sys::GetStartupInfoW, info).orAnsiUnguarded([=] {
        STARTUPINFOA a{};
        a.cb = sizeof a;
        GetStartupInfoA(&a);
        static_assert(sizeof a == sizeof *info);
        std::memcpy(info, &a, sizeof a);
        info->lpReserved = nullptr;
        info->lpDesktop = StartupText(startupDesktop, a.lpDesktop);
        info->lpTitle = StartupText(startupTitle, a.lpTitle);
    });
}

BOOL WINAPI GetCPInfoExW(UINT codePage, DWORD flags, LPCPINFOEXW info)
{
    return AtExport(Sys::GetCPInfoExW, codePage, flags, info).orAnsi(FALSE, [=](AtSavedError& err) {
        if (!info) {  // the A function may write through it
            err.value = ERROR_INVALID_PARAMETER;
            return FALSE;
        }
        CPINFOEXA a{};
        if (!err.keep(Sys::GetCPInfoExA(codePage, flags, &a)))
            return FALSE;
        info->MaxCharSize = a.MaxCharSize;
        std::memcpy(info->DefaultChar, a.DefaultChar, sizeof a.DefaultChar);
        std::memcpy(info->LeadByte, a.LeadByte, sizeof a.LeadByte);
        info->UnicodeDefaultChar = a.UnicodeDefaultChar;
        info->CodePage = a.CodePage;
        if (!WideCopy(a.CodePageName, info->CodePageName, MAX_PATH))
            info->CodePageName[0] = L'\0';
        return TRUE;
    });
}

// The format's separators are converted with the value, in argument order.
int WINAPI GetNumberFormatW(LCID lcid, DWORD flags, LPCWSTR value, const NUMBERFMTW* format, LPWSTR buf,
                            int n)
{
    return AtExport(Sys::GetNumberFormatW, lcid, flags, value, format, buf, n).orAnsi(0, [=](AtSavedError& err) {
        AtStringSlot valueA, decimalA, thousandA;
        AtWideToAnsiTemp(valueA, value);
        NUMBERFMTA formatA{};
        if (format) {
            AtWideToAnsiTemp(decimalA, format->lpDecimalSep);
            AtWideToAnsiTemp(thousandA, format->lpThousandSep);
            formatA = {format->NumDigits, format->LeadingZero, format->Grouping, decimalA, thousandA,
                       format->NegativeOrder};
        }
        return NlsTextInto(err, buf, n, [&](LPSTR b, int size) {
            return GetNumberFormatA(lcid, flags, valueA, format ? &formatA : nullptr, b, size);
        });
    });
}

// A sort key is bytes, not text: the A function writes it into the caller's
// buffer with the caller's byte count.
int WINAPI LCMapStringW(LCID lcid, DWORD flags, LPCWSTR src, int srcCount, LPWSTR dst, int dstCount)
{
    return AtExport(Sys::LCMapStringW, lcid, flags, src, srcCount, dst, dstCount)
        .orAnsi(0, [=](AtSavedError& err) {
            CountedAnsi srcA(src, srcCount);
            if (flags & LCMAP_SORTKEY)
                return err.keep(LCMapStringA(lcid, flags, srcA.text, srcA.length, reinterpret_cast<LPSTR>(dst),
                                             dstCount));
            return NlsTextInto(err, dst, dstCount, [&](LPSTR b, int size) {
                return LCMapStringA(lcid, flags, srcA.text, srcA.length, b, size);
            });
        });
}

int WINAPI lstrcmpW(LPCWSTR first, LPCWSTR second)
{
    return AtExport(Sys::lstrcmpW, first, second).orAnsi(0, [=](AtSavedError& err) {
        AnsiNamePair texts(first, second);
        return err.keep(lstrcmpA(texts.first, texts.second));
    });
}

int WINAPI lstrcmpiW(LPCWSTR first, LPCWSTR second)
{
    return AtExport(Sys::lstrcmpiW, first, second).orAnsi(0, [=](AtSavedError& err) {
        AnsiNamePair texts(first, second);
        return err.keep(lstrcmpiA(texts.first, texts.second));
    });
}

HMODULE WINAPI LoadLibraryW(LPCWSTR name)
{
    return AtExport(Sys::LoadLibraryW, name).orAnsi(nullptr, [=](AtSavedError& err) {
        return err.keep(LoadLibraryA(AtAnsiTemp(name)));
    });
}

HANDLE WINAPI CreateSemaphoreW(LPSECURITY_ATTRIBUTES sa, LONG initial, LONG maximum, LPCWSTR name)
{
    return AtExport(Sys::CreateSemaphoreW, sa, initial, maximum, name).orAnsi(nullptr, [=](AtSavedError& err) {
        return err.keep(CreateSemaphoreA(sa, initial, maximum, AtAnsiTemp(name)));
    });
}

// Nothing to convert: the characters are probed one by one up to the terminator
// or the count, whichever comes first.
BOOL WINAPI IsBadStringPtrW(LPCWSTR s, UINT_PTR max)
{
    return AtExport(Sys::IsBadStringPtrW, s, max).orAnsiUnguarded([=]() -> BOOL {
        for (UINT_PTR i = 0; i < max; ++i) {
            if (IsBadReadPtr(s + i, sizeof *s))
                return TRUE;
            if (!s[i])
                break;
        }
        return FALSE;
    });
}

BOOL WINAPI Process32FirstW(HANDLE snapshot, LPPROCESSENTRY32W entry)
{
    return AtExport(Sys::Process32FirstW, snapshot, entry).orAnsi(FALSE, [=](AtSavedError& err) {
        return ProcessEntryInto(err, entry, [&](LPPROCESSENTRY32 a) { return Sys::Process32First(snapshot, a); });
    });
}

BOOL WINAPI Process32NextW(HANDLE snapshot, LPPROCESSENTRY32W entry)
{
    return AtExport(Sys::Process32NextW, snapshot, entry).orAnsi(FALSE, [=](AtSavedError& err) {
        return ProcessEntryInto(err, entry, [&](LPPROCESSENTRY32 a) { return Sys::Process32Next(snapshot, a); });
    });
}
