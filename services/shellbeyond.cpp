// Shell and network functions that wide programs import besides the families
// above: file operations on lists of names, file information and icons, special
// folders, notification icons, the about box, and the network's last error.
#include "services/services.h"

#include <shlobj.h>
#include <winnetwk.h>

AT_SYSTEM_FUNCTION(shell32, SHFileOperationW, ERROR_CALL_NOT_IMPLEMENTED)
AT_SYSTEM_FUNCTION(shell32, SHFileOperationA, ERROR_CALL_NOT_IMPLEMENTED)
AT_SYSTEM_FUNCTION(shell32, SHGetFileInfoW, 0)
AT_SYSTEM_FUNCTION(shell32, SHGetFileInfoA, 0)
AT_SYSTEM_FUNCTION(shell32, SHGetSpecialFolderPathW, FALSE)
AT_SYSTEM_FUNCTION(shell32, SHGetSpecialFolderPathA, FALSE)
AT_SYSTEM_FUNCTION(shell32, Shell_NotifyIconW, FALSE)
AT_SYSTEM_FUNCTION(shell32, Shell_NotifyIconA, FALSE)
AT_SYSTEM_FUNCTION(shell32, ShellAboutW, FALSE)
AT_SYSTEM_FUNCTION(shell32, ShellAboutA, FALSE)
AT_SYSTEM_FUNCTION(shell32, ExtractIconExW, 0)
AT_SYSTEM_FUNCTION(shell32, ExtractIconExA, 0)
// The result is the error: a system without the function answers that.
AT_SYSTEM_FUNCTION(mpr, WNetGetLastErrorW, ERROR_CALL_NOT_IMPLEMENTED)
AT_SYSTEM_FUNCTION(mpr, WNetGetLastErrorA, ERROR_CALL_NOT_IMPLEMENTED)

namespace {

// A list of names, each ended by a NUL, the list by an empty one. A list that
// lacks its final NUL and ends where readable memory ends is taken to end there:
// the character after each NUL is probed before it is read.
int ListLength(LPCWSTR list)
{
    int i = 0;
    for (;;) {
        while (list[i])
            ++i;
        ++i;
        if (IsBadReadPtr(list + i, sizeof *list) || !list[i])
            return i;
    }
}

// The list in the ANSI code page, always ended by two NULs.
void AnsiList(AtStringSlot& slot, LPCWSTR list)
{
    if (!list) {
        slot.value = nullptr;
        return;
    }
    const int n = ListLength(list);
    const SIZE_T size = SIZE_T(n) * AtMaxCharSize;
    AtAllocBuffer(slot, size + 2);
    char* a = slot;
    const int bytes = WideCharToMultiByte(CP_ACP, 0, list, n, a, int(size), nullptr, nullptr);
    a[bytes] = a[bytes + 1] = '\0';
}

// The text of a wide field into the ANSI field of the same `size` (characters on
// the wide side, bytes on the ANSI side). The wide field is read no further than
// its size: the caller's text may fill it without a terminator. A text whose bytes
// do not fit is cut after its last whole character that does, as the shell cuts a
// wide text at its field's end.
void FieldToAnsi(LPSTR field, LPCWSTR text, int size)
{
    char whole[2 * 256];  // the widest field's characters take two bytes at most
    int length = 0;
    while (length < size && text[length])
        ++length;
    const int n = length ? WideCharToMultiByte(CP_ACP, 0, text, length, whole, sizeof whole, nullptr, nullptr) : 0;
    int kept = 0;
    while (kept < n) {
        const int step = IsDBCSLeadByte(static_cast<BYTE>(whole[kept])) && kept + 1 < n ? 2 : 1;
        if (kept + step >= size)
            break;
        kept += step;
    }
    memcpy(field, whole, kept);
    field[kept] = '\0';
}

void FieldToWide(LPWSTR field, int chars, LPCSTR text)
{
    if (!MultiByteToWideChar(CP_ACP, 0, text, -1, field, chars))
        field[0] = L'\0';
}

}  // namespace

// Mapping handles, when asked for, hold the A function's ANSI names.
int WINAPI SHFileOperationW(LPSHFILEOPSTRUCTW op)
{
    return AtExport(Sys::SHFileOperationW, op).orAnsi(ERROR_OUTOFMEMORY, [=](AtSavedError& err) -> int {
        if (!op)
            return ERROR_INVALID_PARAMETER;
        SHFILEOPSTRUCTA a = {};
        AtStringSlot fromA, toA, titleA;
        AnsiList(fromA, op->pFrom);
        AnsiList(toA, op->pTo);
        if (op->fFlags & FOF_SIMPLEPROGRESS)
            AtWideToAnsiTemp(titleA, op->lpszProgressTitle);
        a.hwnd = op->hwnd;
        a.wFunc = op->wFunc;
        a.pFrom = fromA;
        a.pTo = toA;
        a.fFlags = op->fFlags;
        a.lpszProgressTitle = titleA;
        int r = err.keep(Sys::SHFileOperationA(&a));
        op->fAnyOperationsAborted = a.fAnyOperationsAborted;
        op->hNameMappings = a.hNameMappings;
        return r;
    });
}

// A path given as an item list (SHGFI_PIDL) passes as it is.
DWORD_PTR WINAPI SHGetFileInfoW(LPCWSTR path, DWORD attributes, SHFILEINFOW* info, UINT size, UINT flags)
{
    return AtExport(Sys::SHGetFileInfoW, path, attributes, info, size, flags)
        .orAnsi(DWORD_PTR(0), [=](AtSavedError& err) -> DWORD_PTR {
            AtStringSlot pathA;
            if (flags & SHGFI_PIDL)
                pathA.value = nullptr;
            else
                AtWideToAnsiTemp(pathA, path);
            SHFILEINFOA a = {};
            LPCSTR p = (flags & SHGFI_PIDL) ? reinterpret_cast<LPCSTR>(path) : static_cast<LPCSTR>(pathA);
            DWORD_PTR r = err.keep(Sys::SHGetFileInfoA(p, attributes, info ? &a : nullptr, info ? sizeof a : 0, flags));
            if (r && info && size >= sizeof *info) {
                info->hIcon = a.hIcon;
                info->iIcon = a.iIcon;
                info->dwAttributes = a.dwAttributes;
                FieldToWide(info->szDisplayName, MAX_PATH, a.szDisplayName);
                FieldToWide(info->szTypeName, 80, a.szTypeName);
            }
            return r;
        });
}

// The caller's buffer holds MAX_PATH characters.
BOOL WINAPI SHGetSpecialFolderPathW(HWND hwnd, LPWSTR path, int folder, BOOL create)
{
    return AtExport(Sys::SHGetSpecialFolderPathW, hwnd, path, folder, create).orAnsi(FALSE, [=](AtSavedError& err) {
        AtStringSlot pathA;
        AtAllocEmptyAnsiOut(pathA, MAX_PATH);
        if (!err.keep(Sys::SHGetSpecialFolderPathA(hwnd, pathA, folder, create)))
            return FALSE;
        if (path && !AtAnsiToWideOut(pathA, path, MAX_PATH))
            path[0] = L'\0';
        return TRUE;
    });
}

// The record's size tells its layout: the first one (a tip of 64 characters) or
// the later one with 128 and the balloon's texts, sent with the A sizes.
BOOL WINAPI Shell_NotifyIconW(DWORD message, PNOTIFYICONDATAW data)
{
    return AtExport(Sys::Shell_NotifyIconW, message, data).orAnsi(FALSE, [=](AtSavedError& err) -> BOOL {
        if (!data) {
            err.value = ERROR_INVALID_PARAMETER;
            return FALSE;
        }
        NOTIFYICONDATAA a = {};
        const bool later = data->cbSize >= NOTIFYICONDATAW_V2_SIZE;
        a.cbSize = later ? NOTIFYICONDATAA_V2_SIZE : NOTIFYICONDATAA_V1_SIZE;
        a.hWnd = data->hWnd;
        a.uID = data->uID;
        a.uFlags = data->uFlags;
        a.uCallbackMessage = data->uCallbackMessage;
        a.hIcon = data->hIcon;
        FieldToAnsi(a.szTip, data->szTip, later ? 128 : 64);
        if (later) {
            a.dwState = data->dwState;
            a.dwStateMask = data->dwStateMask;
            FieldToAnsi(a.szInfo, data->szInfo, 256);
            a.uTimeout = data->uTimeout;
            FieldToAnsi(a.szInfoTitle, data->szInfoTitle, 64);
            a.dwInfoFlags = data->dwInfoFlags;
        }
        return err.keep(Sys::Shell_NotifyIconA(message, &a));
    });
}

int WINAPI ShellAboutW(HWND hwnd, LPCWSTR app, LPCWSTR other, HICON icon)
{
    return AtExport(Sys::ShellAboutW, hwnd, app, other, icon).orAnsi(FALSE, [=](AtSavedError& err) {
        AtStringSlot appA, otherA;
        AtWideToAnsiTemp(appA, app);
        AtWideToAnsiTemp(otherA, other);
        return err.keep(Sys::ShellAboutA(hwnd, appA, otherA, icon));
    });
}

UINT WINAPI ExtractIconExW(LPCWSTR file, int index, HICON* large, HICON* small, UINT n)
{
    return AtExport(Sys::ExtractIconExW, file, index, large, small, n).orAnsi(0u, [=](AtSavedError& err) {
        return err.keep(Sys::ExtractIconExA(AtAnsiTemp(file), index, large, small, n));
    });
}

// A text that does not fit its buffer comes back empty.
DWORD WINAPI WNetGetLastErrorW(LPDWORD error, LPWSTR errorBuf, DWORD errorSize, LPWSTR nameBuf, DWORD nameSize)
{
    return AtExport(Sys::WNetGetLastErrorW, error, errorBuf, errorSize, nameBuf, nameSize)
        .orAnsi(DWORD(ERROR_OUTOFMEMORY), [=](AtSavedError& err) -> DWORD {
            AtStringSlot errorA, nameA;
            AtAllocEmptyAnsiOut(errorA, errorSize);
            AtAllocEmptyAnsiOut(nameA, nameSize);
            DWORD r = err.keep(Sys::WNetGetLastErrorA(error, errorA, AtHeapSize(errorA), nameA, AtHeapSize(nameA)));
            if (r != NO_ERROR)
                return r;
            auto back = [](const AtStringSlot& a, LPWSTR w, DWORD n) {
                if (w && n && !AtAnsiToWideOut(a, w, n))
                    w[0] = L'\0';
            };
            back(errorA, errorBuf, errorSize);
            back(nameA, nameBuf, nameSize);
            return r;
        });
}
