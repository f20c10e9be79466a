// Files: creating, finding, copying, moving and deleting them, and their attributes.
#include <cstddef>
#include <cstring>
#include <cwchar>

#include "kernel/files.h"

AT_SYSTEM_FUNCTION(kernel32, CreateFileW, -1)
AT_SYSTEM_FUNCTION(kernel32, GetFileAttributesW, -1)
AT_SYSTEM_FUNCTION(kernel32, SetFileAttributesW, FALSE)
AT_SYSTEM_FUNCTION(kernel32, DeleteFileW, FALSE)
AT_SYSTEM_FUNCTION(kernel32, CopyFileW, FALSE)
AT_SYSTEM_FUNCTION(kernel32, MoveFileExW, FALSE)
AT_SYSTEM_FUNCTION(kernel32, CreateDirectoryExW, FALSE)
AT_SYSTEM_FUNCTION(kernel32, FindFirstFileW, -1)
AT_SYSTEM_FUNCTION(kernel32, FindNextFileW, FALSE)
AT_SYSTEM_FUNCTION(advapi32, GetFileSecurityW, FALSE)
// Bound on first use too: MoveFileExA is not among what Windows 95's kernel32
// implements, and GetFileSecurityA lives in advapi32.
AT_SYSTEM_FUNCTION(kernel32, MoveFileExA, FALSE)
AT_SYSTEM_FUNCTION(advapi32, GetFileSecurityA, FALSE)

namespace {

// The fields ahead of the names (attributes, three times, size, two reserved
// words) have the same layout in both records and are copied as they stand.
constexpr std::size_t FindDataHead = offsetof(WIN32_FIND_DATAA, cFileName);
static_assert(FindDataHead == 11 * sizeof(DWORD));
static_assert(offsetof(WIN32_FIND_DATAW, cFileName) == FindDataHead);

// The whole fixed name fields are converted, terminator and what follows it
// included, so a name of any length fits without a length query.
void FindDataAToW(const WIN32_FIND_DATAA& a, WIN32_FIND_DATAW& w)
{
    std::memcpy(&w, &a, FindDataHead);
    MultiByteToWideChar(CP_ACP, 0, a.cFileName, MAX_PATH, w.cFileName, MAX_PATH);
    MultiByteToWideChar(CP_ACP, 0, a.cAlternateFileName, 14, w.cAlternateFileName, 14);
}

// A name field that holds no NUL is read no further than its end.
void FindDataWToA(const WIN32_FIND_DATAW& w, WIN32_FIND_DATAA& a)
{
    std::memcpy(&a, &w, FindDataHead);
    WideCharToMultiByte(CP_ACP, 0, w.cFileName, int(wcsnlen(w.cFileName, MAX_PATH - 1) + 1),
                        a.cFileName, MAX_PATH, nullptr, nullptr);
    WideCharToMultiByte(CP_ACP, 0, w.cAlternateFileName,
                        int(wcsnlen(w.cAlternateFileName, 13) + 1), a.cAlternateFileName, 14,
                        nullptr, nullptr);
}

}  // namespace

// A failure caught on the ANSI path answers a null handle, not INVALID_HANDLE_VALUE.
HANDLE WINAPI CreateFileW(LPCWSTR name, DWORD access, DWORD share, LPSECURITY_ATTRIBUTES sa,
                          DWORD disposition, DWORD flags, HANDLE templateFile)
{
    return AtExport(Sys::CreateFileW, name, access, share, sa, disposition, flags, templateFile)
        .orAnsi(nullptr, [=](AtSavedError& err) {
            return err.keep(
                CreateFileA(AtAnsiTemp(name), access, share, sa, disposition, flags, templateFile));
        });
}

DWORD WINAPI GetFileAttributesW(LPCWSTR name)
{
    return AtExport(Sys::GetFileAttributesW, name)
        .orAnsi(INVALID_FILE_ATTRIBUTES,
            [=](AtSavedError& err) { return err.keep(GetFileAttributesA(AtAnsiTemp(name))); });
}

BOOL WINAPI SetFileAttributesW(LPCWSTR name, DWORD attributes)
{
    return AtExport(Sys::SetFileAttributesW, name, attributes)
        .orAnsi(FALSE, [=](AtSavedError& err) {
            return err.keep(SetFileAttributesA(AtAnsiTemp(name), attributes));
        });
}

BOOL WINAPI DeleteFileW(LPCWSTR name)
{
    return AtExport(Sys::DeleteFileW, name).orAnsi(FALSE, [=](AtSavedError& err) {
        return err.keep(DeleteFileA(AtAnsiTemp(name)));
    });
}

BOOL WINAPI CopyFileW(LPCWSTR existing, LPCWSTR newName, BOOL failIfExists)
{
    return AtExport(Sys::CopyFileW, existing, newName, failIfExists).orAnsi(FALSE, [=](AtSavedError& err) {
        AnsiNamePair names(existing, newName);
        return err.keep(CopyFileA(names.first, names.second, failIfExists));
    });
}

BOOL WINAPI MoveFileExW(LPCWSTR existing, LPCWSTR newName, DWORD flags)
{
    return AtExport(Sys::MoveFileExW, existing, newName, flags).orAnsi(FALSE, [=](AtSavedError& err) {
        AnsiNamePair names(existing, newName);
        return err.keep(Sys::MoveFileExA(names.first, names.second, flags));
    });
}

BOOL WINAPI CreateDirectoryExW(LPCWSTR templateDir, LPCWSTR newDir, LPSECURITY_ATTRIBUTES sa)
{
    return AtExport(Sys::CreateDirectoryExW, templateDir, newDir, sa).orAnsi(FALSE, [=](AtSavedError& err) {
        AnsiNamePair names(templateDir, newDir);
        return err.keep(CreateDirectoryExA(names.first, names.second, sa));
    });
}

// The security descriptor is not text: only the name is converted.
BOOL WINAPI GetFileSecurityW(LPCWSTR name, SECURITY_INFORMATION requested,
                             PSECURITY_DESCRIPTOR descriptor, DWORD size, LPDWORD needed)
{
    return AtExport(Sys::GetFileSecurityW, name, requested, descriptor, size, needed)
        .orAnsi(FALSE, [=](AtSavedError& err) {
            return err.keep(
                Sys::GetFileSecurityA(AtAnsiTemp(name), requested, descriptor, size, needed));
        });
}

HANDLE WINAPI FindFirstFileW(LPCWSTR name, LPWIN32_FIND_DATAW data)
{
    return AtExport(Sys::FindFirstFileW, name, data)
        .orAnsi(INVALID_HANDLE_VALUE, [=](AtSavedError& err) {
            WIN32_FIND_DATAA a{};
            HANDLE find = err.keep(FindFirstFileA(AtAnsiTemp(name), &a));
            if (find != INVALID_HANDLE_VALUE)
                FindDataAToW(a, *data);
            return find;
        });
}

// The caller's record goes to the A function too, converted, and comes back
// only when the A function reports exactly TRUE.
BOOL WINAPI FindNextFileW(HANDLE find, LPWIN32_FIND_DATAW data)
{
    return AtExport(Sys::FindNextFileW, find, data).orAnsi(FALSE, [=](AtSavedError& err) {
        WIN32_FIND_DATAA a;
        FindDataWToA(*data, a);
        BOOL r = err.keep(FindNextFileA(find, &a));
        if (r == TRUE)
            FindDataAToW(a, *data);
        return r;
    });
}

// The same on every platform: the attributes, times and size come from the first
// match of this library's FindFirstFileW, so a name with wildcards answers for the
// first file it matches and a root directory is not found.
BOOL WINAPI GetFileAttributesExW(LPCWSTR name, GET_FILEEX_INFO_LEVELS level, LPVOID info)
{
    if (!info || level != GetFileExInfoStandard)
        return FALSE;
    WIN32_FIND_DATAW data;
    HANDLE find = FindFirstFileW(name, &data);
    if (find == INVALID_HANDLE_VALUE)
        return FALSE;
    FindClose(find);
    static_assert(sizeof(WIN32_FILE_ATTRIBUTE_DATA) == 9 * sizeof(DWORD));
    std::memcpy(info, &data, sizeof(WIN32_FILE_ATTRIBUTE_DATA));
    return TRUE;
}
