// Windows and dialogs: creation, finding, window text, properties and window data.
#include "core/core.h"
#include "user/user.h"

AT_SYSTEM_FUNCTION(user32, CreateWindowExW, 0)
AT_SYSTEM_FUNCTION(user32, CreateWindowExA, 0)
AT_SYSTEM_FUNCTION(user32, CreateMDIWindowW, 0)
AT_SYSTEM_FUNCTION(user32, CreateMDIWindowA, 0)
AT_SYSTEM_FUNCTION(user32, CreateDialogParamW, 0)
AT_SYSTEM_FUNCTION(user32, CreateDialogParamA, 0)
AT_SYSTEM_FUNCTION(user32, CreateDialogIndirectParamW, 0)
AT_SYSTEM_FUNCTION(user32, CreateDialogIndirectParamA, 0)
AT_SYSTEM_FUNCTION(user32, DialogBoxParamW, -1)
AT_SYSTEM_FUNCTION(user32, DialogBoxParamA, -1)
AT_SYSTEM_FUNCTION(user32, DialogBoxIndirectParamW, -1)
AT_SYSTEM_FUNCTION(user32, DialogBoxIndirectParamA, -1)
AT_SYSTEM_FUNCTION(user32, FindWindowW, 0)
AT_SYSTEM_FUNCTION(user32, FindWindowA, 0)
AT_SYSTEM_FUNCTION(user32, FindWindowExW, 0)
AT_SYSTEM_FUNCTION(user32, FindWindowExA, 0)
AT_SYSTEM_FUNCTION(user32, GetWindowTextW, 0)
AT_SYSTEM_FUNCTION(user32, GetWindowTextA, 0)
AT_SYSTEM_FUNCTION(user32, GetWindowTextLengthW, 0)
AT_SYSTEM_FUNCTION(user32, GetWindowTextLengthA, 0)
AT_SYSTEM_FUNCTION(user32, SetWindowTextW, FALSE)
AT_SYSTEM_FUNCTION(user32, SetWindowTextA, FALSE)
AT_SYSTEM_FUNCTION(user32, GetPropW, 0)
AT_SYSTEM_FUNCTION(user32, GetPropA, 0)
AT_SYSTEM_FUNCTION(user32, SetPropW, FALSE)
AT_SYSTEM_FUNCTION(user32, SetPropA, FALSE)
AT_SYSTEM_FUNCTION(user32, RemovePropW, 0)
AT_SYSTEM_FUNCTION(user32, RemovePropA, 0)
AT_SYSTEM_FUNCTION(user32, GetWindowLongW, 0)
AT_SYSTEM_FUNCTION(user32, GetWindowLongA, 0)
AT_SYSTEM_FUNCTION(user32, SetWindowLongW, 0)
AT_SYSTEM_FUNCTION(user32, SetWindowLongA, 0)

// lpParam reaches WM_CREATE as it is; an MDI child's record behind it stays wide.
HWND WINAPI CreateWindowExW(DWORD exStyle, LPCWSTR className, LPCWSTR windowName, DWORD style,
                            int x, int y, int width, int height, HWND parent, HMENU menu,
                            HINSTANCE instance, LPVOID param)
{
    return AtExport(Sys::CreateWindowExW, exStyle, className, windowName, style, x, y, width,
                    height, parent, menu, instance, param)
        .orAnsiWithoutSavedError(nullptr, [=] {
            AtStringSlot classA, nameA;
            AtWideToAnsiTemp(classA, className);
            AtWideToAnsiTemp(nameA, windowName);
            return Sys::CreateWindowExA(exStyle, classA, nameA, style, x, y, width, height,
                                        parent, menu, instance, param);
        });
}

HWND WINAPI CreateMDIWindowW(LPCWSTR className, LPCWSTR windowName, DWORD style, int x, int y,
                             int width, int height, HWND parent, HINSTANCE instance,
                             LPARAM param)
{
    return AtExport(Sys::CreateMDIWindowW, className, windowName, style, x, y, width, height,
                    parent, instance, param)
        .orAnsiWithoutSavedError(nullptr, [=] {
            AtStringSlot classA, nameA;
            AtWideToAnsiTemp(classA, className);
            AtWideToAnsiTemp(nameA, windowName);
            return Sys::CreateMDIWindowA(classA, nameA, style, x, y, width, height, parent,
                                         instance, param);
        });
}

HWND WINAPI CreateDialogParamW(HINSTANCE instance, LPCWSTR templateName, HWND parent,
                               DLGPROC proc, LPARAM param)
{
    return AtExport(Sys::CreateDialogParamW, instance, templateName, parent, proc, param)
        .orAnsiWithoutSavedError(nullptr, [=] {
            return Sys::CreateDialogParamA(instance, AtAnsiTemp(templateName), parent, proc, param);
        });
}

// A template in memory is the same record for both functions: its wide strings are
// read by the system either way.
HWND WINAPI CreateDialogIndirectParamW(HINSTANCE instance, LPCDLGTEMPLATEW dialog, HWND parent,
                                       DLGPROC proc, LPARAM param)
{
    return AtExport(Sys::CreateDialogIndirectParamW, instance, dialog, parent, proc, param)
        .orAnsiUnconverted(Sys::CreateDialogIndirectParamA);
}

INT_PTR WINAPI DialogBoxParamW(HINSTANCE instance, LPCWSTR templateName, HWND parent,
                               DLGPROC proc, LPARAM param)
{
    return AtExport(Sys::DialogBoxParamW, instance, templateName, parent, proc, param)
        .orAnsiWithoutSavedError(0, [=] {
            return Sys::DialogBoxParamA(instance, AtAnsiTemp(templateName), parent, proc, param);
        });
}

INT_PTR WINAPI DialogBoxIndirectParamW(HINSTANCE instance, LPCDLGTEMPLATEW dialog, HWND parent,
                                       DLGPROC proc, LPARAM param)
{
    return AtExport(Sys::DialogBoxIndirectParamW, instance, dialog, parent, proc, param)
        .orAnsiUnconverted(Sys::DialogBoxIndirectParamA);
}

HWND WINAPI FindWindowW(LPCWSTR className, LPCWSTR windowName)
{
    return AtExport(Sys::FindWindowW, className, windowName)
        .orAnsi(nullptr, [=](AtSavedError& err) {
            AtStringSlot classA, nameA;
            AtWideToAnsiTemp(classA, className);
            AtWideToAnsiTemp(nameA, windowName);
            return err.keep(Sys::FindWindowA(classA, nameA));
        });
}

HWND WINAPI FindWindowExW(HWND parent, HWND childAfter, LPCWSTR className, LPCWSTR windowName)
{
    return AtExport(Sys::FindWindowExW, parent, childAfter, className, windowName)
        .orAnsi(nullptr, [=](AtSavedError& err) {
            AtStringSlot classA, nameA;
            AtWideToAnsiTemp(classA, className);
            AtWideToAnsiTemp(nameA, windowName);
            return err.keep(Sys::FindWindowExA(parent, childAfter, classA, nameA));
        });
}

int WINAPI GetWindowTextW(HWND hwnd, LPWSTR buf, int n)
{
    return AtExport(Sys::GetWindowTextW, hwnd, buf, n).orAnsi(0, [=](AtSavedError& err) {
        if (n == 0) {
            err.value = GetLastError();  // nothing is called, nothing changes
            return 0;
        }
        return AtReadTextOut(buf, n, err, [&](LPSTR bufA, int size) {
            return Sys::GetWindowTextA(hwnd, bufA, size);
        });
    });
}

// Counted in ANSI bytes: callers size their buffer from it, and a double-byte
// character never needs more wide characters than bytes.
int WINAPI GetWindowTextLengthW(HWND hwnd)
{
    return AtExport(Sys::GetWindowTextLengthW, hwnd).orAnsiUnconverted(Sys::GetWindowTextLengthA);
}

BOOL WINAPI SetWindowTextW(HWND hwnd, LPCWSTR text)
{
    return AtExport(Sys::SetWindowTextW, hwnd, text).orAnsi(FALSE, [=](AtSavedError& err) {
        return err.keep(Sys::SetWindowTextA(hwnd, AtAnsiTemp(text)));
    });
}

HANDLE WINAPI GetPropW(HWND hwnd, LPCWSTR name)
{
    return AtExport(Sys::GetPropW, hwnd, name).orAnsiWithoutSavedError(nullptr, [=] {
        return Sys::GetPropA(hwnd, AtAnsiTemp(name));
    });
}

BOOL WINAPI SetPropW(HWND hwnd, LPCWSTR name, HANDLE data)
{
    return AtExport(Sys::SetPropW, hwnd, name, data).orAnsiWithoutSavedError(FALSE, [=] {
        return Sys::SetPropA(hwnd, AtAnsiTemp(name), data);
    });
}

HANDLE WINAPI RemovePropW(HWND hwnd, LPCWSTR name)
{
    return AtExport(Sys::RemovePropW, hwnd, name).orAnsiWithoutSavedError(nullptr, [=] {
        return Sys::RemovePropA(hwnd, AtAnsiTemp(name));
    });
}

LONG WINAPI GetWindowLongW(HWND hwnd, int index)
{
    return AtExport(Sys::GetWindowLongW, hwnd, index).orAnsiUnconverted(Sys::GetWindowLongA);
}

// A new window procedure is installed as it is: the window stays an ANSI window.
LONG WINAPI SetWindowLongW(HWND hwnd, int index, LONG value)
{
    return AtExport(Sys::SetWindowLongW, hwnd, index, value).orAnsiUnconverted(Sys::SetWindowLongA);
}
