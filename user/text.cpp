// Text drawing and measuring, case changes and string steps, dialog-item text, key
// names, resources loaded by name, directory lists in dialogs, display settings and
// the help engine.
#include <cstring>

#include "core/core.h"
#include "core/records.h"
#include "torwen.h"
#include "user/user.h"

// DrawTextW answers -1 whenever it cannot draw, also without the system function.
AT_SYSTEM_FUNCTION(user32, DrawTextW, -1)
AT_SYSTEM_FUNCTION(user32, DrawTextA, -1)
AT_SYSTEM_FUNCTION(user32, DrawTextExW, 0)
AT_SYSTEM_FUNCTION(user32, DrawTextExA, 0)
AT_SYSTEM_FUNCTION(user32, TabbedTextOutW, 0)
AT_SYSTEM_FUNCTION(user32, TabbedTextOutA, 0)
AT_SYSTEM_FUNCTION(user32, GetTabbedTextExtentW, 0)
AT_SYSTEM_FUNCTION(user32, GetTabbedTextExtentA, 0)
AT_SYSTEM_FUNCTION(user32, GrayStringW, FALSE)
AT_SYSTEM_FUNCTION(user32, GrayStringA, FALSE)
AT_SYSTEM_FUNCTION(user32, DrawStateW, FALSE)
AT_SYSTEM_FUNCTION(user32, DrawStateA, FALSE)
AT_SYSTEM_FUNCTION(user32, CharLowerBuffW, 0)
AT_SYSTEM_FUNCTION(user32, CharLowerBuffA, 0)
AT_SYSTEM_FUNCTION(user32, CharUpperBuffW, 0)
AT_SYSTEM_FUNCTION(user32, CharUpperBuffA, 0)
AT_SYSTEM_FUNCTION(user32, CharNextW, 0)
AT_SYSTEM_FUNCTION(user32, CharPrevW, 0)
AT_SYSTEM_FUNCTION(user32, GetDlgItemTextW, 0)
AT_SYSTEM_FUNCTION(user32, GetDlgItemTextA, 0)
AT_SYSTEM_FUNCTION(user32, SetDlgItemTextW, FALSE)
AT_SYSTEM_FUNCTION(user32, SetDlgItemTextA, FALSE)
AT_SYSTEM_FUNCTION(user32, GetKeyNameTextW, 0)
AT_SYSTEM_FUNCTION(user32, GetKeyNameTextA, 0)
AT_SYSTEM_FUNCTION(user32, VkKeyScanW, -1)
AT_SYSTEM_FUNCTION(user32, VkKeyScanA, -1)
AT_SYSTEM_FUNCTION(user32, VkKeyScanExW, -1)
AT_SYSTEM_FUNCTION(user32, VkKeyScanExA, -1)
AT_SYSTEM_FUNCTION(user32, LoadStringW, 0)
AT_SYSTEM_FUNCTION(user32, LoadStringA, 0)
AT_SYSTEM_FUNCTION(user32, LoadIconW, 0)
AT_SYSTEM_FUNCTION(user32, LoadIconA, 0)
AT_SYSTEM_FUNCTION(user32, LoadCursorW, 0)
AT_SYSTEM_FUNCTION(user32, LoadCursorA, 0)
AT_SYSTEM_FUNCTION(user32, LoadCursorFromFileW, 0)
AT_SYSTEM_FUNCTION(user32, LoadCursorFromFileA, 0)
AT_SYSTEM_FUNCTION(user32, LoadBitmapW, 0)
AT_SYSTEM_FUNCTION(user32, LoadBitmapA, 0)
AT_SYSTEM_FUNCTION(user32, LoadImageW, 0)
AT_SYSTEM_FUNCTION(user32, LoadImageA, 0)
AT_SYSTEM_FUNCTION(user32, DlgDirListComboBoxW, 0)
AT_SYSTEM_FUNCTION(user32, DlgDirListComboBoxA, 0)
AT_SYSTEM_FUNCTION(user32, DlgDirSelectExW, FALSE)
AT_SYSTEM_FUNCTION(user32, DlgDirSelectExA, FALSE)
AT_SYSTEM_FUNCTION(user32, DlgDirSelectComboBoxExW, FALSE)
AT_SYSTEM_FUNCTION(user32, DlgDirSelectComboBoxExA, FALSE)
AT_SYSTEM_FUNCTION(user32, EnumDisplaySettingsW, FALSE)
AT_SYSTEM_FUNCTION(user32, EnumDisplaySettingsA, FALSE)
AT_SYSTEM_FUNCTION(user32, WinHelpW, FALSE)
AT_SYSTEM_FUNCTION(user32, WinHelpA, FALSE)

namespace
{

// DT_MODIFYSTRING lets DrawText write up to four characters more than the text it
// was given ("..." and the NUL): the ANSI copy has room for them.
constexpr DWORD ModifiedStringRoom = 4;

DWORD RoomFor(UINT format)
{
    return (format & DT_MODIFYSTRING) ? ModifiedStringRoom : 0;
}

// Counted text for the A function: a count of -1 is a NUL-terminated text and stays
// -1; any other count of characters becomes the count of bytes they convert to.
int CountedTextIn(AtStringSlot& slot, LPCWSTR text, int count, DWORD room = 0)
{
    if (count == -1) {
        if (!room) {
            AtWideToAnsiTemp(slot, text);
            return -1;
        }
        count = lstrlenW(text);
        AtAllocAnsiOut(slot, count + room);
        char* bytes = slot;
        bytes[WideCharToMultiByte(
            CP_ACP, 0, text, count, bytes, AtHeapSize(slot), nullptr, nullptr)]
            = '\0';
        return -1;
    }
    AtAllocAnsiOut(slot, static_cast<DWORD>(count) + (count >= 0 ? room : 0));
    return WideCharToMultiByte(CP_ACP, 0, text, count, slot, AtHeapSize(slot), nullptr, nullptr);
}

// The caller's buffer of n characters, converted exactly: callers hand counted
// buffers without a NUL to the case functions, and the conversion must not read past
// them. Every character takes at least one byte, so the first n bytes of the copy
// are there to be read back.
template <typename ChangeCaseA> DWORD ChangeCase(LPWSTR text, DWORD n, ChangeCaseA changeCaseA)
{
    AtStringSlot textA;
    AtAllocAnsiOut(textA, n);
    int bytes = WideCharToMultiByte(CP_ACP, 0, text, n, textA, AtHeapSize(textA), nullptr, nullptr);
    // A text the A function changed none of (it is missing) is left as it was.
    if (bytes > 0 && !changeCaseA(static_cast<char*>(textA), bytes))
        return 0;
    if (static_cast<DWORD>(bytes) < n)
        n = bytes;
    return AtAnsiToWideOutN(textA, text, n, n);
}

// A resource or file name: integer identifiers pass through unchanged.
template <typename LoadA> auto NamedIn(LPCWSTR name, LoadA loadA)
{
    return loadA(static_cast<LPCSTR>(AtAnsiTemp(name)));
}

} // namespace

int WINAPI DrawTextW(HDC dc, LPCWSTR text, int count, LPRECT rect, UINT format)
{
    return AtExport(Sys::DrawTextW, dc, text, count, rect, format).orAnsiWithoutSavedError(-1, [=] {
        AtStringSlot textA;
        int bytes = CountedTextIn(textA, text, count, RoomFor(format));
        return Sys::DrawTextA(dc, textA, bytes, rect, format);
    });
}

// The DRAWTEXTPARAMS go to the A function as they are: uiLengthDrawn counts bytes.
int WINAPI DrawTextExW(
    HDC dc, LPWSTR text, int count, LPRECT rect, UINT format, LPDRAWTEXTPARAMS params)
{
    return AtExport(Sys::DrawTextExW, dc, text, count, rect, format, params)
        .orAnsiWithoutSavedError(0, [=] {
            AtStringSlot textA;
            int bytes = CountedTextIn(textA, text, count, RoomFor(format));
            return Sys::DrawTextExA(dc, textA, bytes, rect, format, params);
        });
}

LONG WINAPI TabbedTextOutW(
    HDC dc, int x, int y, LPCWSTR text, int count, int tabs, const INT* tabStops, int origin)
{
    return AtExport(Sys::TabbedTextOutW, dc, x, y, text, count, tabs, tabStops, origin)
        .orAnsiWithoutSavedError(0l, [=] {
            AtStringSlot textA;
            int bytes = CountedTextIn(textA, text, count);
            return Sys::TabbedTextOutA(dc, x, y, textA, bytes, tabs, tabStops, origin);
        });
}

DWORD WINAPI GetTabbedTextExtentW(HDC dc, LPCWSTR text, int count, int tabs, const INT* tabStops)
{
    return AtExport(Sys::GetTabbedTextExtentW, dc, text, count, tabs, tabStops)
        .orAnsiWithoutSavedError(0ul, [=] {
            AtStringSlot textA;
            int bytes = CountedTextIn(textA, text, count);
            return Sys::GetTabbedTextExtentA(dc, textA, bytes, tabs, tabStops);
        });
}

// lpData reaches the output function as it is: callers draw their wide text there.
BOOL WINAPI GrayStringW(HDC dc, HBRUSH brush, GRAYSTRINGPROC output, LPARAM data, int count, int x,
    int y, int width, int height)
{
    return AtExport(Sys::GrayStringW, dc, brush, output, data, count, x, y, width, height)
        .orAnsiUnconverted(Sys::GrayStringA);
}

BOOL WINAPI DrawStateW(HDC dc, HBRUSH brush, DRAWSTATEPROC output, LPARAM data, WPARAM wData, int x,
    int y, int width, int height, UINT flags)
{
    return AtExport(Sys::DrawStateW, dc, brush, output, data, wData, x, y, width, height, flags)
        .orAnsiUnconverted(Sys::DrawStateA);
}

DWORD WINAPI CharLowerBuffW(LPWSTR text, DWORD n)
{
    return AtExport(Sys::CharLowerBuffW, text, n).orAnsiWithoutSavedError(0ul, [=] {
        return ChangeCase(text, n, [](LPSTR s, DWORD bytes) { return Sys::CharLowerBuffA(s, bytes); });
    });
}

DWORD WINAPI CharUpperBuffW(LPWSTR text, DWORD n)
{
    return AtExport(Sys::CharUpperBuffW, text, n).orAnsiWithoutSavedError(0ul, [=] {
        return ChangeCase(text, n, [](LPSTR s, DWORD bytes) { return Sys::CharUpperBuffA(s, bytes); });
    });
}

// Every UTF-16 unit is one character here: no system function is asked.
LPWSTR WINAPI CharNextW(LPCWSTR s)
{
    return AtExport(Sys::CharNextW, s).orAnsiUnguarded([=] {
        return const_cast<LPWSTR>(*s ? s + 1 : s);
    });
}

LPWSTR WINAPI CharPrevW(LPCWSTR start, LPCWSTR current)
{
    return AtExport(Sys::CharPrevW, start, current).orAnsiUnguarded([=] {
        return const_cast<LPWSTR>(start == current ? current : current - 1);
    });
}

UINT WINAPI GetDlgItemTextW(HWND dialog, int id, LPWSTR buf, int n)
{
    return AtExport(Sys::GetDlgItemTextW, dialog, id, buf, n).orAnsiWithoutSavedError(0u, [=] {
        if (n == 0)
            return 0u;
        AtSavedError unused;
        return static_cast<UINT>(AtReadTextOut(buf, n, unused,
            [&](LPSTR bufA, int size) { return Sys::GetDlgItemTextA(dialog, id, bufA, size); }));
    });
}

BOOL WINAPI SetDlgItemTextW(HWND dialog, int id, LPCWSTR text)
{
    return AtExport(Sys::SetDlgItemTextW, dialog, id, text).orAnsi(FALSE, [=](AtSavedError& err) {
        return err.keep(Sys::SetDlgItemTextA(dialog, id, AtAnsiTemp(text)));
    });
}

int WINAPI GetKeyNameTextW(LONG key, LPWSTR buf, int n)
{
    return AtExport(Sys::GetKeyNameTextW, key, buf, n).orAnsiWithoutSavedError(0, [=] {
        // Without room there is no buffer to hand on: the A function would write its
        // NUL through a null pointer.
        if (n <= 0)
            return 0;
        AtStringSlot bufA;
        AtAllocEmptyAnsiOut(bufA, n);
        int r = Sys::GetKeyNameTextA(key, bufA, AtHeapSize(bufA));
        AtEndWithinBuffer(bufA);
        if (r > 0)
            r = AtCountWithoutTerminator(AtAnsiToWideOut(bufA, buf, n));
        return r;
    });
}

// A double-byte character is looked up by its lead byte.
SHORT WINAPI VkKeyScanW(WCHAR ch)
{
    return AtExport(Sys::VkKeyScanW, ch).orAnsiUnguarded([=] {
        char bytes[2] = { 0, 0 };
        WideCharToMultiByte(CP_ACP, 0, &ch, 1, bytes, 2, nullptr, nullptr);
        return Sys::VkKeyScanA(bytes[0]);
    });
}

SHORT WINAPI VkKeyScanExW(WCHAR ch, HKL layout)
{
    return AtExport(Sys::VkKeyScanExW, ch, layout).orAnsiUnguarded([=] {
        char bytes[2] = { 0, 0 };
        WideCharToMultiByte(CP_ACP, 0, &ch, 1, bytes, 2, nullptr, nullptr);
        return Sys::VkKeyScanExA(bytes[0], layout);
    });
}

// No short cut for a capacity of 0: the caller gets 0, never a pointer into the
// resource.
int WINAPI LoadStringW(HINSTANCE instance, UINT id, LPWSTR buf, int n)
{
    return AtExport(Sys::LoadStringW, instance, id, buf, n).orAnsi(0, [=](AtSavedError& err) {
        AtStringSlot bufA;
        AtAllocEmptyAnsiOut(bufA, n);
        err.keep(Sys::LoadStringA(instance, id, bufA, AtHeapSize(bufA)));
        AtEndWithinBuffer(bufA);
        return AtCountWithoutTerminator(AtAnsiToWideOut(bufA, buf, n));
    });
}

HICON WINAPI LoadIconW(HINSTANCE instance, LPCWSTR name)
{
    return AtExport(Sys::LoadIconW, instance, name).orAnsi(nullptr, [=](AtSavedError& err) {
        return err.keep(
            NamedIn(name, [&](LPCSTR nameA) { return Sys::LoadIconA(instance, nameA); }));
    });
}

HCURSOR WINAPI LoadCursorW(HINSTANCE instance, LPCWSTR name)
{
    return AtExport(Sys::LoadCursorW, instance, name).orAnsi(nullptr, [=](AtSavedError& err) {
        return err.keep(
            NamedIn(name, [&](LPCSTR nameA) { return Sys::LoadCursorA(instance, nameA); }));
    });
}

HCURSOR WINAPI LoadCursorFromFileW(LPCWSTR file)
{
    return AtExport(Sys::LoadCursorFromFileW, file).orAnsi(nullptr, [=](AtSavedError& err) {
        return err.keep(
            NamedIn(file, [&](LPCSTR fileA) { return Sys::LoadCursorFromFileA(fileA); }));
    });
}

HBITMAP WINAPI LoadBitmapW(HINSTANCE instance, LPCWSTR name)
{
    return AtExport(Sys::LoadBitmapW, instance, name).orAnsiWithoutSavedError(nullptr, [=] {
        return NamedIn(name, [&](LPCSTR nameA) { return Sys::LoadBitmapA(instance, nameA); });
    });
}

HANDLE WINAPI LoadImageW(HINSTANCE instance, LPCWSTR name, UINT type, int cx, int cy, UINT flags)
{
    return AtExport(Sys::LoadImageW, instance, name, type, cx, cy, flags)
        .orAnsiWithoutSavedError(nullptr, [=] {
            return NamedIn(name, [&](LPCSTR nameA) {
                return Sys::LoadImageA(instance, nameA, type, cx, cy, flags);
            });
        });
}

// The A function writes the file pattern back over the path, which may be longer
// than the path given ("." becomes "*.*"): its copy has room for a whole path.
int WINAPI DlgDirListComboBoxW(HWND dialog, LPWSTR pathSpec, int comboId, int staticId, UINT types)
{
    return AtExport(Sys::DlgDirListComboBoxW, dialog, pathSpec, comboId, staticId, types)
        .orAnsi(0, [=](AtSavedError& err) {
            AtStringSlot pathA;
            LPSTR path = nullptr;
            if (pathSpec) {
                int size
                    = WideCharToMultiByte(CP_ACP, 0, pathSpec, -1, nullptr, 0, nullptr, nullptr);
                AtAllocBuffer(pathA, size > MAX_PATH ? size : MAX_PATH);
                path = pathA;
                if (!WideCharToMultiByte(
                        CP_ACP, 0, pathSpec, -1, path, AtHeapSize(pathA), nullptr, nullptr))
                    path[0] = '\0';
            }
            int r = err.keep(Sys::DlgDirListComboBoxA(dialog, path, comboId, staticId, types));
            if (path)
                AtAnsiToWideOut(pathA, pathSpec, MAX_PATH);
            return r;
        });
}

BOOL WINAPI DlgDirSelectExW(HWND dialog, LPWSTR buf, int n, int listId)
{
    return AtExport(Sys::DlgDirSelectExW, dialog, buf, n, listId)
        .orAnsi(FALSE, [=](AtSavedError& err) {
            AtStringSlot bufA;
            AtAllocEmptyAnsiOut(bufA, n);
            BOOL r = err.keep(Sys::DlgDirSelectExA(dialog, bufA, AtHeapSize(bufA), listId));
            AtEndWithinBuffer(bufA);
            AtAnsiToWideOut(bufA, buf, n);
            return r;
        });
}

BOOL WINAPI DlgDirSelectComboBoxExW(HWND dialog, LPWSTR buf, int n, int comboId)
{
    return AtExport(Sys::DlgDirSelectComboBoxExW, dialog, buf, n, comboId)
        .orAnsi(FALSE, [=](AtSavedError& err) {
            AtStringSlot bufA;
            AtAllocEmptyAnsiOut(bufA, n);
            BOOL r
                = err.keep(Sys::DlgDirSelectComboBoxExA(dialog, bufA, AtHeapSize(bufA), comboId));
            AtEndWithinBuffer(bufA);
            AtAnsiToWideOut(bufA, buf, n);
            return r;
        });
}

// dwData goes on as it is, also for the commands whose data is a keyword or macro.
BOOL WINAPI WinHelpW(HWND window, LPCWSTR helpFile, UINT command, ULONG_PTR data)
{
    return AtExport(Sys::WinHelpW, window, helpFile, command, data)
        .orAnsiWithoutSavedError(
            FALSE, [=] { return Sys::WinHelpA(window, AtAnsiTemp(helpFile), command, data); });
}

// The primary display's modes, whatever device is named: the ANSI platforms have one
// display.
BOOL WINAPI EnumDisplaySettingsW(LPCWSTR device, DWORD mode, LPDEVMODEW devMode)
{
    return AtExport(Sys::EnumDisplaySettingsW, device, mode, devMode).orAnsiUnguarded([=] {
        DEVMODEA a = {};
        a.dmSize = AtDevModeASize;
        BOOL ok = Sys::EnumDisplaySettingsA(nullptr, mode, &a);
        if (ok) {
            a.dmDriverExtra = 0; // no driver bytes follow the local record
            DEVMODEW w;
            AtDevModeAToW(&a, &w);
            DWORD size = devMode->dmSize < AtDevModeWSize ? devMode->dmSize : AtDevModeWSize;
            w.dmSize = static_cast<WORD>(size);
            w.dmDriverExtra = 0;
            memcpy(devMode, &w, size);
        }
        return ok;
    });
}
