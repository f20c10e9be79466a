// The shell: dropped files, icons, the program for a document, starting programs
// and the folder browser.
//
// ShellExecuteExW, SHBrowseForFolderW and SHGetPathFromIDListW go through the A
// functions on every platform, the NT family included: a name with characters
// beyond the ANSI code page cannot pass through them. None of these functions
// restores the last error after its clean-up.
#include "services/services.h"

#include <shlobj.h>

AT_SYSTEM_FUNCTION(shell32, DragQueryFileW, 0)
AT_SYSTEM_FUNCTION(shell32, DragQueryFileA, 0)
AT_SYSTEM_FUNCTION(shell32, ExtractIconW, 0)
AT_SYSTEM_FUNCTION(shell32, ExtractIconA, 0)
AT_SYSTEM_FUNCTION(shell32, FindExecutableW, 0)
AT_SYSTEM_FUNCTION(shell32, FindExecutableA, 0)
AT_SYSTEM_FUNCTION(shell32, ShellExecuteW, 0)
AT_SYSTEM_FUNCTION(shell32, ShellExecuteA, 0)
AT_SYSTEM_FUNCTION(shell32, ShellExecuteExA, FALSE)
AT_SYSTEM_FUNCTION(shell32, SHBrowseForFolderA, 0)
AT_SYSTEM_FUNCTION(shell32, SHGetPathFromIDListA, FALSE)

namespace
{

// The members that take the ANSI path on every platform.
template <typename R, typename Body> R AlwaysAnsi(R failure, Body body)
{
    return AtAnsiFrameWithoutSavedError<R>(failure, body);
}

// The string fields travel in slots freed after the call; the caller's string
// pointers are never written back.
struct ShellExecuteInfoA : SHELLEXECUTEINFOA {
    AtStringSlot verb, file, parameters, directory, className;
};

// A class name that the mask does not announce is not read: callers leave that
// field as it happens to be.
void AtShellExecuteInfoWToA(ShellExecuteInfoA& a, const SHELLEXECUTEINFOW& w)
{
    a.cbSize = sizeof(SHELLEXECUTEINFOA);
    a.fMask = w.fMask;
    a.hwnd = w.hwnd;
    AtWideToAnsiTemp(a.verb, w.lpVerb);
    AtWideToAnsiTemp(a.file, w.lpFile);
    AtWideToAnsiTemp(a.parameters, w.lpParameters);
    AtWideToAnsiTemp(a.directory, w.lpDirectory);
    a.lpVerb = a.verb;
    a.lpFile = a.file;
    a.lpParameters = a.parameters;
    a.lpDirectory = a.directory;
    a.nShow = w.nShow;
    a.hInstApp = w.hInstApp;
    a.lpIDList = w.lpIDList;
    if (w.fMask & SEE_MASK_CLASSNAME)
        AtWideToAnsiTemp(a.className, w.lpClass);
    a.lpClass = a.className;
    a.hkeyClass = w.hkeyClass;
    a.dwHotKey = w.dwHotKey;
    a.hIcon = w.hIcon;
    a.hProcess = w.hProcess;
}

void AtShellExecuteInfoAToW(const SHELLEXECUTEINFOA& a, SHELLEXECUTEINFOW& w)
{
    w.cbSize = sizeof(SHELLEXECUTEINFOA);
    w.fMask = a.fMask;
    w.hwnd = a.hwnd;
    w.nShow = a.nShow;
    w.hInstApp = a.hInstApp;
    w.lpIDList = a.lpIDList;
    w.hkeyClass = a.hkeyClass;
    w.dwHotKey = a.dwHotKey;
    w.hIcon = a.hIcon;
    w.hProcess = a.hProcess;
}

// The display name and path buffers of the shell hold MAX_PATH characters.
constexpr DWORD ShellPathChars = MAX_PATH;

} // namespace

// A count query (iFile 0xFFFFFFFF) answers the number of files; a length query
// (no buffer) the name's length in ANSI bytes.
UINT WINAPI DragQueryFileW(HDROP drop, UINT index, LPWSTR file, UINT cch)
{
    return AtExport(Sys::DragQueryFileW, drop, index, file, cch).orAnsiWithoutSavedError(0u, [=] {
        AtStringSlot fileA;
        AtAllocEmptyAnsiOut(fileA, cch);
        UINT r = Sys::DragQueryFileA(drop, index, fileA, UINT(AtHeapSize(fileA)));
        if (r > 0 && cch && file)
            r = AtCountWithoutTerminator(AtBoundedAnsiToWideOut(fileA, file, cch));
        return r;
    });
}

HICON WINAPI ExtractIconW(HINSTANCE instance, LPCWSTR file, UINT index)
{
    return AtExport(Sys::ExtractIconW, instance, file, index).orAnsiWithoutSavedError(nullptr, [=] {
        return Sys::ExtractIconA(instance, AtAnsiTemp(file), index);
    });
}

// The caller's result buffer holds MAX_PATH characters, as the system takes it.
HINSTANCE WINAPI FindExecutableW(LPCWSTR file, LPCWSTR directory, LPWSTR result)
{
    return AtExport(Sys::FindExecutableW, file, directory, result)
        .orAnsiWithoutSavedError(nullptr, [=] {
            AtStringSlot fileA, directoryA, resultA;
            AtWideToAnsiTemp(fileA, file);
            AtWideToAnsiTemp(directoryA, directory);
            AtAllocEmptyAnsiOut(resultA, ShellPathChars);
            HINSTANCE r = Sys::FindExecutableA(fileA, directoryA, resultA);
            AtBoundedAnsiToWideOut(resultA, result, ShellPathChars);
            return r;
        });
}

HINSTANCE WINAPI ShellExecuteW(
    HWND hwnd, LPCWSTR verb, LPCWSTR file, LPCWSTR parameters, LPCWSTR directory, INT show)
{
    return AtExport(Sys::ShellExecuteW, hwnd, verb, file, parameters, directory, show)
        .orAnsiWithoutSavedError(nullptr, [=] {
            AtStringSlot verbA, fileA, parametersA, directoryA;
            AtWideToAnsiTemp(verbA, verb);
            AtWideToAnsiTemp(fileA, file);
            AtWideToAnsiTemp(parametersA, parameters);
            AtWideToAnsiTemp(directoryA, directory);
            return Sys::ShellExecuteA(hwnd, verbA, fileA, parametersA, directoryA, show);
        });
}

// The caller's record is handed back with its cbSize set to the ANSI record's
// size (the same on 32-bit Windows) and its handles filled in.
BOOL WINAPI ShellExecuteExW(SHELLEXECUTEINFOW* info)
{
    return AlwaysAnsi(FALSE, [=] {
        ShellExecuteInfoA a;
        AtShellExecuteInfoWToA(a, *info);
        BOOL r = Sys::ShellExecuteExA(&a);
        AtShellExecuteInfoAToW(a, *info);
        return r;
    });
}

// The caller's callback receives the ANSI browse messages; the image index is not
// handed back.
PIDLIST_ABSOLUTE WINAPI SHBrowseForFolderW(LPBROWSEINFOW info)
{
    return AlwaysAnsi(PIDLIST_ABSOLUTE(nullptr), [=] {
        AtStringSlot displayName, title;
        AtAllocEmptyAnsiOut(displayName, 2 * ShellPathChars);
        AtWideToAnsiTemp(title, info->lpszTitle);
        BROWSEINFOA a;
        a.hwndOwner = info->hwndOwner;
        a.pidlRoot = info->pidlRoot;
        a.pszDisplayName = displayName;
        a.lpszTitle = title;
        a.ulFlags = info->ulFlags;
        a.lpfn = info->lpfn;
        a.lParam = info->lParam;
        a.iImage = info->iImage;
        PIDLIST_ABSOLUTE r = Sys::SHBrowseForFolderA(&a);
        AtBoundedAnsiToWideOut(displayName, info->pszDisplayName, ShellPathChars);
        return r;
    });
}

// The path is converted whatever the A function answered: callers test the
// result before they use it.
BOOL WINAPI SHGetPathFromIDListW(PCIDLIST_ABSOLUTE list, LPWSTR path)
{
    return AlwaysAnsi(FALSE, [=] {
        AtStringSlot pathA;
        AtAllocEmptyAnsiOut(pathA, 2 * ShellPathChars);
        BOOL r = Sys::SHGetPathFromIDListA(list, pathA);
        AtBoundedAnsiToWideOut(pathA, path, ShellPathChars);
        return r;
    });
}
