// Window classes: registration, lookup, class names and class data; registered
// messages and clipboard formats.
#include "core/core.h"
#include "user/user.h"

AT_SYSTEM_FUNCTION(user32, RegisterClassExW, 0)
AT_SYSTEM_FUNCTION(user32, RegisterClassExA, 0)
AT_SYSTEM_FUNCTION(user32, GetClassInfoExW, FALSE)
AT_SYSTEM_FUNCTION(user32, GetClassInfoExA, FALSE)
AT_SYSTEM_FUNCTION(user32, UnregisterClassW, FALSE)
AT_SYSTEM_FUNCTION(user32, UnregisterClassA, FALSE)
AT_SYSTEM_FUNCTION(user32, GetClassLongW, 0)
AT_SYSTEM_FUNCTION(user32, GetClassLongA, 0)
AT_SYSTEM_FUNCTION(user32, SetClassLongW, 0)
AT_SYSTEM_FUNCTION(user32, SetClassLongA, 0)
AT_SYSTEM_FUNCTION(user32, GetClassNameW, 0)
AT_SYSTEM_FUNCTION(user32, GetClassNameA, 0)
AT_SYSTEM_FUNCTION(user32, RegisterWindowMessageW, 0)
AT_SYSTEM_FUNCTION(user32, RegisterWindowMessageA, 0)
AT_SYSTEM_FUNCTION(user32, RegisterClipboardFormatW, 0)
AT_SYSTEM_FUNCTION(user32, RegisterClipboardFormatA, 0)

namespace {

// The fields that mean the same in both records; the names are handled apart.
template <typename To, typename From>
void CopyClassFields(To& to, const From& from)
{
    to.style = from.style;
    to.lpfnWndProc = from.lpfnWndProc;
    to.cbClsExtra = from.cbClsExtra;
    to.cbWndExtra = from.cbWndExtra;
    to.hInstance = from.hInstance;
    to.hIcon = from.hIcon;
    to.hCursor = from.hCursor;
    to.hbrBackground = from.hbrBackground;
    to.hIconSm = from.hIconSm;
}

// The ANSI platforms know only this record; any other size is refused with the
// error the platforms give for an unknown record.
bool IsClassRecord(const WNDCLASSEXW* wc, AtSavedError& err)
{
    if (wc && wc->cbSize == sizeof(WNDCLASSEXW))
        return true;
    err.value = ERROR_OUT_OF_STRUCTURES;
    return false;
}

}  // namespace

// The class keeps the caller's own procedure: its windows are ANSI windows.
ATOM WINAPI RegisterClassExW(const WNDCLASSEXW* wc)
{
    return AtExport(Sys::RegisterClassExW, wc).orAnsi(0, [=](AtSavedError& err) -> ATOM {
        if (!IsClassRecord(wc, err))
            return 0;
        WNDCLASSEXA a;
        a.cbSize = sizeof a;
        CopyClassFields(a, *wc);
        AtStringSlot menuA, classA;
        AtWideToAnsiTemp(menuA, wc->lpszMenuName);
        AtWideToAnsiTemp(classA, wc->lpszClassName);
        a.lpszMenuName = menuA;
        a.lpszClassName = classA;
        return err.keep(Sys::RegisterClassExA(&a));
    });
}

// The names are not converted back: a caller on the ANSI path gets null names, and
// the other fields even when the lookup failed.
BOOL WINAPI GetClassInfoExW(HINSTANCE instance, LPCWSTR name, LPWNDCLASSEXW wc)
{
    return AtExport(Sys::GetClassInfoExW, instance, name, wc).orAnsi(FALSE, [=](AtSavedError& err) {
        if (!IsClassRecord(wc, err))
            return FALSE;
        AtStringSlot nameA;
        AtWideToAnsiTemp(nameA, name);
        WNDCLASSEXA a = {};  // what a failed lookup hands back
        a.cbSize = sizeof a;
        BOOL found = err.keep(Sys::GetClassInfoExA(instance, nameA, &a));
        CopyClassFields(*wc, a);
        wc->lpszMenuName = nullptr;
        wc->lpszClassName = nullptr;
        return found;
    });
}

BOOL WINAPI UnregisterClassW(LPCWSTR name, HINSTANCE instance)
{
    return AtExport(Sys::UnregisterClassW, name, instance).orAnsi(FALSE, [=](AtSavedError& err) {
        return err.keep(Sys::UnregisterClassA(AtAnsiTemp(name), instance));
    });
}

DWORD WINAPI GetClassLongW(HWND hwnd, int index)
{
    return AtExport(Sys::GetClassLongW, hwnd, index).orAnsiUnconverted(Sys::GetClassLongA);
}

DWORD WINAPI SetClassLongW(HWND hwnd, int index, LONG value)
{
    return AtExport(Sys::SetClassLongW, hwnd, index, value).orAnsiUnconverted(Sys::SetClassLongA);
}

int WINAPI GetClassNameW(HWND hwnd, LPWSTR buf, int n)
{
    return AtExport(Sys::GetClassNameW, hwnd, buf, n).orAnsi(0, [=](AtSavedError& err) {
        // No room for a name: answer at once, leaving the buffer and the caller's
        // error as they are.
        if (n == 0 || n == 1) {
            err.value = GetLastError();
            return 0;
        }
        return AtReadTextOut(buf, n, err, [&](LPSTR bufA, int size) {
            return Sys::GetClassNameA(hwnd, bufA, size);
        });
    });
}

UINT WINAPI RegisterWindowMessageW(LPCWSTR name)
{
    return AtExport(Sys::RegisterWindowMessageW, name).orAnsiWithoutSavedError(0, [=] {
        return Sys::RegisterWindowMessageA(AtAnsiTemp(name));
    });
}

UINT WINAPI RegisterClipboardFormatW(LPCWSTR name)
{
    return AtExport(Sys::RegisterClipboardFormatW, name).orAnsi(0, [=](AtSavedError& err) {
        return err.keep(Sys::RegisterClipboardFormatA(AtAnsiTemp(name)));
    });
}
