// The window-manager functions that wide programs import besides the families
// above: window classes, character case and classes, keys, formatted text,
// message boxes, display settings and devices, and broadcast messages.
#include <cstdarg>
#include <cstring>

#include "user/user.h"
#include "core/records.h"

AT_SYSTEM_FUNCTION(user32, RegisterClassW, 0)
AT_SYSTEM_FUNCTION(user32, RegisterClassA, 0)
AT_SYSTEM_FUNCTION(user32, CharLowerW, 0)
AT_SYSTEM_FUNCTION(user32, CharLowerA, 0)
AT_SYSTEM_FUNCTION(user32, CharUpperW, 0)
AT_SYSTEM_FUNCTION(user32, CharUpperA, 0)
AT_SYSTEM_FUNCTION(user32, IsCharAlphaW, FALSE)
AT_SYSTEM_FUNCTION(user32, IsCharAlphaNumericW, FALSE)
AT_SYSTEM_FUNCTION(user32, MapVirtualKeyW, 0)
AT_SYSTEM_FUNCTION(user32, MapVirtualKeyA, 0)
AT_SYSTEM_FUNCTION(user32, wvsprintfW, -1)
AT_SYSTEM_FUNCTION(user32, MessageBoxIndirectW, 0)
AT_SYSTEM_FUNCTION(user32, MessageBoxIndirectA, 0)
AT_SYSTEM_FUNCTION(user32, EnumDisplaySettingsExW, FALSE)
AT_SYSTEM_FUNCTION(user32, EnumDisplaySettingsExA, FALSE)
AT_SYSTEM_FUNCTION(user32, ChangeDisplaySettingsExW, DISP_CHANGE_FAILED)
AT_SYSTEM_FUNCTION(user32, ChangeDisplaySettingsExA, DISP_CHANGE_FAILED)
AT_SYSTEM_FUNCTION(user32, EnumDisplayDevicesW, FALSE)
AT_SYSTEM_FUNCTION(user32, EnumDisplayDevicesA, FALSE)
AT_SYSTEM_FUNCTION(user32, BroadcastSystemMessageW, -1)
AT_SYSTEM_FUNCTION(user32, BroadcastSystemMessageA, -1)

namespace {

// The character classes of the code page: the type of one wide character as the
// ANSI text it converts to; 0 for a character the code page cannot hold.
WORD AnsiCharType(WCHAR c)
{
    char a[4];
    BOOL usedDefault = FALSE;
    int n = WideCharToMultiByte(CP_ACP, 0, &c, 1, a, sizeof a, nullptr, &usedDefault);
    WORD types[4] = {};
    if (!n || usedDefault || !GetStringTypeA(LOCALE_USER_DEFAULT, CT_CTYPE1, a, n, types))
        return 0;
    return types[0];
}

// A value whose upper 16 bits are zero is one character, mapped and answered in
// the same way; anything else is a string mapped where it is. The A function maps
// the whole ANSI string, so a double-byte character keeps its trail byte; a
// character of one byte is mapped alone. Characters the code page lacks, and a
// string whose mapping would change its wide length, stay as they are.
template <typename MapA>
LPWSTR MapCase(LPWSTR s, MapA mapA)
{
    if (AtIsIntegerValue(s)) {
        WCHAR c = WCHAR(reinterpret_cast<UINT_PTR>(s));
        char a[4];
        BOOL usedDefault = FALSE;
        if (WideCharToMultiByte(CP_ACP, 0, &c, 1, a, sizeof a, nullptr, &usedDefault) == 1 && !usedDefault) {
            a[0] = char(reinterpret_cast<UINT_PTR>(mapA(reinterpret_cast<LPSTR>(UINT_PTR(BYTE(a[0]))))));
            MultiByteToWideChar(CP_ACP, 0, a, 1, &c, 1);
        }
        return reinterpret_cast<LPWSTR>(UINT_PTR(c));
    }
    AtStringSlot textA;
    AtWideToAnsiTemp(textA, s);
    // Without the A function (it answers null) the string stays as it was.
    if (!mapA(static_cast<char*>(textA)))
        return nullptr;
    int length = int(wcslen(s)) + 1;
    if (MultiByteToWideChar(CP_ACP, 0, textA, -1, nullptr, 0) == length)
        MultiByteToWideChar(CP_ACP, 0, textA, -1, s, length);
    return s;
}

// The formatter behind wvsprintfW, on a platform without one. It writes at most
// Limit - 1 characters and the terminator, as the system's does: callers size
// their buffer for that limit.
class WideFormatter {
public:
    static constexpr int Limit = 1024;

    WideFormatter(LPWSTR out) : out(out) {}

    int run(LPCWSTR fmt, va_list args);

private:
    bool put(WCHAR c)
    {
        if (length >= Limit - 1)
            return false;
        out[length++] = c;
        return true;
    }
    bool putPadding(int count, WCHAR c)
    {
        for (int i = 0; i < count; ++i)
            if (!put(c))
                return false;
        return true;
    }
    bool field(const WCHAR* text, int n, int width, bool left, WCHAR pad);

    LPWSTR out;
    int length = 0;
};

bool WideFormatter::field(const WCHAR* text, int n, int width, bool left, WCHAR pad)
{
    int padding = width > n ? width - n : 0;
    if (!left && !putPadding(padding, pad))
        return false;
    for (int i = 0; i < n; ++i)
        if (!put(text[i]))
            return false;
    return !left || putPadding(padding, L' ');
}

int WideFormatter::run(LPCWSTR fmt, va_list args)
{
    bool complete = true;
    while (*fmt && complete) {
        if (*fmt != L'%') {
            complete = put(*fmt++);
            continue;
        }
        ++fmt;
        if (*fmt == L'%') {
            complete = put(*fmt++);
            continue;
        }
        bool left = false, prefix = false, zero = false;
        for (;; ++fmt) {
            if (*fmt == L'-')
                left = true;
            else if (*fmt == L'#')
                prefix = true;
            else if (*fmt == L'0')
                zero = true;
            else
                break;
        }
        int width = 0, precision = -1;
        while (*fmt >= L'0' && *fmt <= L'9')
            width = width * 10 + (*fmt++ - L'0');
        if (*fmt == L'.') {
            precision = 0;
            for (++fmt; *fmt >= L'0' && *fmt <= L'9';)
                precision = precision * 10 + (*fmt++ - L'0');
        }
        enum { Default, Short, Long, Wide64 } size = Default;
        if (*fmt == L'h') {
            size = Short;
            ++fmt;
        } else if (*fmt == L'l' || *fmt == L'w') {
            size = Long;
            ++fmt;
        } else if (fmt[0] == L'I' && fmt[1] == L'6' && fmt[2] == L'4') {
            size = Wide64;
            fmt += 3;
        }
        const WCHAR type = *fmt;
        if (!type)
            break;
        ++fmt;
        // The text of one argument: room for every character of the bytes read.
        WCHAR text[2 * Limit + 32];
        int n = 0;
        WCHAR pad = zero && !left ? L'0' : L' ';
        switch (type) {
        case L'c':
        case L'C':
            if ((type == L'c') == (size != Short)) {
                text[n++] = WCHAR(va_arg(args, int));
            } else {
                char a = char(va_arg(args, int));
                n = MultiByteToWideChar(CP_ACP, 0, &a, 1, text, 1);
            }
            complete = field(text, n, width, left, pad);
            break;
        case L's':
        case L'S': {
            const bool wide = (type == L's') == (size != Short) || (type == L'S' && size == Long);
            const void* p = va_arg(args, const void*);
            if (!p) {
                n = 6;
                std::memcpy(text, L"(null)", 6 * sizeof(WCHAR));
            } else if (wide) {
                const WCHAR* w = static_cast<const WCHAR*>(p);
                while (n < Limit && w[n] && (precision < 0 || n < precision))
                    ++n;
                complete = field(w, n, width, left, pad);
                break;
            } else {
                // Bytes enough for every character that can show.
                const char* a = static_cast<const char*>(p);
                int bytes = 0;
                while (bytes < 2 * Limit && a[bytes])
                    ++bytes;
                n = bytes ? MultiByteToWideChar(CP_ACP, 0, a, bytes, text, 2 * Limit) : 0;
            }
            if (precision >= 0 && n > precision)
                n = precision;
            complete = field(text, n, width, left, pad);
            break;
        }
        case L'd':
        case L'i':
        case L'u':
        case L'x':
        case L'X':
        case L'p': {
            unsigned long long value;
            bool negative = false;
            if (type == L'p')
                value = reinterpret_cast<UINT_PTR>(va_arg(args, void*));
            else if (size == Wide64)
                value = va_arg(args, unsigned long long);
            else if (type == L'd' || type == L'i')
                value = static_cast<unsigned long long>(static_cast<long long>(va_arg(args, int)));
            else
                value = va_arg(args, unsigned int);
            if ((type == L'd' || type == L'i') && static_cast<long long>(value) < 0) {
                negative = true;
                value = 0 - value;
            }
            const bool hex = type == L'x' || type == L'X' || type == L'p';
            const WCHAR* digits = type == L'x' ? L"0123456789abcdef" : L"0123456789ABCDEF";
            WCHAR reversed[32];
            int count = 0;
            do {
                reversed[count++] = digits[hex ? value % 16 : value % 10];
                value = hex ? value / 16 : value / 10;
            } while (value);
            int minimum = type == L'p' ? 8 : precision;
            if (negative)
                text[n++] = L'-';
            if (prefix && (type == L'x' || type == L'X')) {
                text[n++] = L'0';
                text[n++] = type;
            }
            // Zero padding goes between the sign or prefix and the digits.
            if (pad == L'0' && precision < 0 && width > n + count)
                minimum = width - n;
            for (int i = count; i < minimum && n < Limit; ++i)
                text[n++] = L'0';
            while (count && n < 2 * Limit + 32)
                text[n++] = reversed[--count];
            complete = field(text, n, width, left, L' ');
            break;
        }
        default:  // an unknown type shows as itself
            complete = field(&type, 1, width, left, pad);
            break;
        }
    }
    out[length] = L'\0';
    return complete && !*fmt ? length : Limit;
}

// A record of one of the display functions: the fields after the size are the
// caller's to read only as far as its size says.
DWORD CallersSize(DWORD stated, DWORD full)
{
    return stated < full ? stated : full;
}

}  // namespace

ATOM WINAPI RegisterClassW(const WNDCLASSW* wc)
{
    return AtExport(Sys::RegisterClassW, wc).orAnsi(0, [=](AtSavedError& err) -> ATOM {
        if (!wc) {
            err.value = ERROR_INVALID_PARAMETER;
            return 0;
        }
        WNDCLASSA a;
        static_assert(sizeof a == sizeof *wc);
        std::memcpy(&a, wc, sizeof a);
        AtStringSlot menuA, classA;
        AtWideToAnsiTemp(menuA, wc->lpszMenuName);
        AtWideToAnsiTemp(classA, wc->lpszClassName);
        a.lpszMenuName = menuA;
        a.lpszClassName = classA;
        return err.keep(Sys::RegisterClassA(&a));
    });
}

LPWSTR WINAPI CharLowerW(LPWSTR s)
{
    return AtExport(Sys::CharLowerW, s).orAnsiWithoutSavedError(nullptr, [=] { return MapCase(s, Sys::CharLowerA); });
}

LPWSTR WINAPI CharUpperW(LPWSTR s)
{
    return AtExport(Sys::CharUpperW, s).orAnsiWithoutSavedError(nullptr, [=] { return MapCase(s, Sys::CharUpperA); });
}

BOOL WINAPI IsCharAlphaW(WCHAR c)
{
    return AtExport(Sys::IsCharAlphaW, c).orAnsiUnguarded([=]() -> BOOL { return (AnsiCharType(c) & C1_ALPHA) != 0; });
}

BOOL WINAPI IsCharAlphaNumericW(WCHAR c)
{
    return AtExport(Sys::IsCharAlphaNumericW, c).orAnsiUnguarded([=]() -> BOOL {
        return (AnsiCharType(c) & (C1_ALPHA | C1_DIGIT)) != 0;
    });
}

// A key's character comes back in the low word, converted; the high bit that
// marks a dead key is kept.
UINT WINAPI MapVirtualKeyW(UINT code, UINT type)
{
    return AtExport(Sys::MapVirtualKeyW, code, type).orAnsiUnguarded([=]() -> UINT {
        UINT r = Sys::MapVirtualKeyA(code, type);
        if (type != MAPVK_VK_TO_CHAR || !(r & 0xFFFF))
            return r;
        char a = char(r & 0xFF);
        WCHAR w = 0;
        if (!MultiByteToWideChar(CP_ACP, 0, &a, 1, &w, 1))
            w = WCHAR(r & 0xFF);
        return (r & 0x80000000u) | w;
    });
}

// The ANSI platforms have no wide formatter: torwen formats itself, with the
// system's types, flags and limit. Nothing is allocated and no A function called.
int WINAPI wvsprintfW(LPWSTR buf, LPCWSTR fmt, va_list args)
{
    return AtExport(Sys::wvsprintfW, buf, fmt, args).orAnsiUnguarded([=]() -> int {
        if (!buf || !fmt) {
            SetLastError(ERROR_INVALID_PARAMETER);
            return -1;
        }
        WideFormatter formatter(buf);
        return formatter.run(fmt, args);
    });
}

// The one export with a variable argument list, and so a C call: the caller
// pops its arguments. The system's wsprintfW cannot be handed a va_list, so both
// paths format through wvsprintfW.
extern "C" int WINAPIV wsprintfW(LPWSTR buf, LPCWSTR fmt, ...)
{
    va_list args;
    va_start(args, fmt);
    int r = wvsprintfW(buf, fmt, args);
    va_end(args);
    return r;
}

int WINAPI MessageBoxIndirectW(const MSGBOXPARAMSW* params)
{
    return AtExport(Sys::MessageBoxIndirectW, params).orAnsi(0, [=](AtSavedError& err) -> int {
        if (!params) {
            err.value = ERROR_INVALID_PARAMETER;
            return 0;
        }
        MSGBOXPARAMSA a;
        static_assert(sizeof a == sizeof *params);
        std::memcpy(&a, params, sizeof a);
        a.cbSize = sizeof a;
        AtStringSlot textA, captionA, iconA;
        AtWideToAnsiTemp(textA, params->lpszText);
        AtWideToAnsiTemp(captionA, params->lpszCaption);
        AtWideToAnsiTemp(iconA, params->lpszIcon);
        a.lpszText = textA;
        a.lpszCaption = captionA;
        a.lpszIcon = iconA;
        return err.keep(Sys::MessageBoxIndirectA(&a));
    });
}

// The mode comes back without driver bytes, and only as far as the caller's
// record reaches.
BOOL WINAPI EnumDisplaySettingsExW(LPCWSTR device, DWORD mode, LPDEVMODEW devMode, DWORD flags)
{
    return AtExport(Sys::EnumDisplaySettingsExW, device, mode, devMode, flags).orAnsi(FALSE, [=](AtSavedError& err) {
        if (!devMode) {
            err.value = ERROR_INVALID_PARAMETER;
            return FALSE;
        }
        AtStringSlot deviceA;
        AtWideToAnsiTemp(deviceA, device);
        DEVMODEA a = {};
        a.dmSize = AtDevModeASize;
        if (!err.keep(Sys::EnumDisplaySettingsExA(deviceA, mode, &a, flags)))
            return FALSE;
        a.dmDriverExtra = 0;
        DEVMODEW w;
        AtDevModeAToW(&a, &w);
        DWORD size = CallersSize(devMode->dmSize, AtDevModeWSize);
        w.dmSize = WORD(size);
        w.dmDriverExtra = 0;
        std::memcpy(devMode, &w, size);
        return TRUE;
    });
}

// The mode travels with its driver bytes, which follow the converted record.
LONG WINAPI ChangeDisplaySettingsExW(LPCWSTR device, LPDEVMODEW devMode, HWND hwnd, DWORD flags, LPVOID param)
{
    return AtExport(Sys::ChangeDisplaySettingsExW, device, devMode, hwnd, flags, param)
        .orAnsi(DISP_CHANGE_FAILED, [=](AtSavedError& err) -> LONG {
            AtStringSlot deviceA, modeA;
            AtWideToAnsiTemp(deviceA, device);
            if (devMode) {
                AtAllocBuffer(modeA, AtDevModeASize + devMode->dmDriverExtra);
                AtDevModeWToA(static_cast<DEVMODEA*>(modeA.value), devMode);
            }
            return err.keep(Sys::ChangeDisplaySettingsExA(deviceA, static_cast<DEVMODEA*>(modeA.value), hwnd,
                                                          flags, param));
        });
}

// The four names come back as far as the caller's record reaches.
BOOL WINAPI EnumDisplayDevicesW(LPCWSTR device, DWORD index, PDISPLAY_DEVICEW dd, DWORD flags)
{
    return AtExport(Sys::EnumDisplayDevicesW, device, index, dd, flags).orAnsi(FALSE, [=](AtSavedError& err) {
        if (!dd || dd->cb < offsetof(DISPLAY_DEVICEW, DeviceID)) {
            err.value = ERROR_INVALID_PARAMETER;
            return FALSE;
        }
        AtStringSlot deviceA;
        AtWideToAnsiTemp(deviceA, device);
        DISPLAY_DEVICEA a = {};
        a.cb = sizeof a;
        if (!err.keep(Sys::EnumDisplayDevicesA(deviceA, index, &a, flags)))
            return FALSE;
        auto name = [](const char* from, WCHAR* to, int n) {
            if (!MultiByteToWideChar(CP_ACP, 0, from, -1, to, n))
                to[0] = L'\0';
        };
        name(a.DeviceName, dd->DeviceName, 32);
        name(a.DeviceString, dd->DeviceString, 128);
        dd->StateFlags = a.StateFlags;
        if (dd->cb >= offsetof(DISPLAY_DEVICEW, DeviceKey))
            name(a.DeviceID, dd->DeviceID, 128);
        if (dd->cb >= sizeof(DISPLAY_DEVICEW))
            name(a.DeviceKey, dd->DeviceKey, 128);
        return TRUE;
    });
}

// Messages are never translated: the A function broadcasts the caller's values.
LONG WINAPI BroadcastSystemMessageW(DWORD flags, LPDWORD recipients, UINT msg, WPARAM wp, LPARAM lp)
{
    return AtExport(Sys::BroadcastSystemMessageW, flags, recipients, msg, wp, lp)
        .orAnsiUnconverted(Sys::BroadcastSystemMessageA);
}
