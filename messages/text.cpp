// Messages that carry characters or one string: WM_CHAR and its dead-key and
// system-key forms, WM_GETTEXT, WM_SETTEXT, WM_ASKCBFORMATNAME, WM_WININICHANGE,
// WM_DEVMODECHANGE.
#include <cstring>

#include "core/core.h"
#include "torwen.h"

AT_SYSTEM_FUNCTION(user32, PostMessageA, FALSE)
AT_SYSTEM_FUNCTION(user32, PeekMessageA, FALSE)

namespace {

// The repeat count is all of lParam that is forwarded: scan code, extended-key and
// context bits are not.
LPARAM RepeatOnly(int cRepeat)
{
    return static_cast<WORD>(cRepeat);
}

// A byte goes out as a signed char would through the cracker's (WPARAM)(TCHAR)
// cast; receivers use only the low byte.
WPARAM CharParam(char byte)
{
    return static_cast<WPARAM>(static_cast<signed char>(byte));
}

int RepeatOf(LPARAM lParam)
{
    return static_cast<short>(LOWORD(lParam));
}

// One byte each way for the dead-key and system-key messages: a character that
// needs two bytes does not fit, and the byte passed on is then what the buffer held.
void ForwardOneByte(HWND hwnd, UINT msg, WCHAR ch, int cRepeat, WNDPROC fn)
{
    if (AtWidePath()) {
        fn(hwnd, msg, ch, RepeatOnly(cRepeat));
        return;
    }
    AtTranslate<LRESULT>(0, [&] {
        AtStringSlot buf;
        AtAllocAnsiOut(buf, 1);
        WideCharToMultiByte(CP_ACP, 0, &ch, 1, buf, 1, nullptr, nullptr);
        return fn(hwnd, msg, CharParam(*static_cast<char*>(buf)), RepeatOnly(cRepeat));
    });
}

LRESULT HandleOneByte(HWND hwnd, WPARAM wParam, LPARAM lParam, AtCharHandlerW fn)
{
    if (AtWidePath()) {
        fn(hwnd, static_cast<WCHAR>(wParam), RepeatOf(lParam));
        return 0;
    }
    return AtTranslate<LRESULT>(0, [&] {
        AtStringSlot wbuf;
        AtAllocWideOut(wbuf, 1);
        MultiByteToWideChar(CP_ACP, 0, reinterpret_cast<LPCSTR>(&wParam), 1, wbuf, 1);
        fn(hwnd, *static_cast<WCHAR*>(wbuf), RepeatOf(lParam));
        return 0;
    });
}

void ForwardString(HWND hwnd, UINT msg, LPCWSTR s, WNDPROC fn)
{
    if (AtWidePath()) {
        fn(hwnd, msg, 0, reinterpret_cast<LPARAM>(s));
        return;
    }
    AtTranslate<LRESULT>(0, [&] {
        AtStringSlot sA;
        AtWideToAnsiTemp(sA, s);
        return fn(hwnd, msg, 0, reinterpret_cast<LPARAM>(sA.value));
    });
}

LRESULT HandleString(HWND hwnd, LPARAM lParam, AtTextHandlerW fn)
{
    if (AtWidePath()) {
        fn(hwnd, reinterpret_cast<LPCWSTR>(lParam));
        return 0;
    }
    return AtTranslate<LRESULT>(0, [&] {
        AtStringSlot s;
        AtAnsiToWideTemp(s, reinterpret_cast<LPCSTR>(lParam));
        fn(hwnd, s);
        return 0;
    });
}

}  // namespace

// A double-byte character leaves as two WM_CHAR messages, in the order the ANSI
// system itself delivers them: the lead byte now, the trail byte through the
// window's queue, where AtHANDLE_WM_CHARW of the receiving procedure finds it.
void WINAPI AtFORWARD_WM_CHARW(HWND hwnd, WCHAR ch, int cRepeat, WNDPROC fn)
{
    if (AtWidePath()) {
        fn(hwnd, WM_CHAR, ch, RepeatOnly(cRepeat));
        return;
    }
    AtTranslate<LRESULT>(0, [&] {
        AtStringSlot buf;
        AtAllocAnsiOut(buf, 2);
        char* bytes = buf;
        WideCharToMultiByte(CP_ACP, 0, &ch, 1, bytes, 2, nullptr, nullptr);
        if (IsDBCSLeadByte(bytes[0]))
            Sys::PostMessageA(hwnd, WM_CHAR, CharParam(bytes[1]), RepeatOnly(cRepeat));
        return fn(hwnd, WM_CHAR, CharParam(bytes[0]), RepeatOnly(cRepeat));
    });
}

void WINAPI AtFORWARD_WM_DEADCHARW(HWND hwnd, WCHAR ch, int cRepeat, WNDPROC fn)
{
    ForwardOneByte(hwnd, WM_DEADCHAR, ch, cRepeat, fn);
}

void WINAPI AtFORWARD_WM_SYSCHARW(HWND hwnd, WCHAR ch, int cRepeat, WNDPROC fn)
{
    ForwardOneByte(hwnd, WM_SYSCHAR, ch, cRepeat, fn);
}

void WINAPI AtFORWARD_WM_SYSDEADCHARW(HWND hwnd, WCHAR ch, int cRepeat, WNDPROC fn)
{
    ForwardOneByte(hwnd, WM_SYSDEADCHAR, ch, cRepeat, fn);
}

// A lead byte is joined with the next WM_CHAR waiting for this window, which holds
// its trail byte. With none waiting the lead byte is converted alone, and a trail
// byte that comes later is a character of its own.
LRESULT WINAPI AtHANDLE_WM_CHARW(HWND hwnd, WPARAM wParam, LPARAM lParam, AtCharHandlerW fn)
{
    if (AtWidePath()) {
        fn(hwnd, static_cast<WCHAR>(wParam), RepeatOf(lParam));
        return 0;
    }
    return AtTranslate<LRESULT>(0, [&] {
        AtStringSlot wbuf;
        AtAllocWideOut(wbuf, 1);
        char bytes[3] = {static_cast<char>(LOBYTE(wParam)), 0, 0};
        MSG trail;
        if (IsDBCSLeadByte(bytes[0]) &&
            Sys::PeekMessageA(&trail, hwnd, WM_CHAR, WM_CHAR, PM_REMOVE))
            bytes[1] = static_cast<char>(LOBYTE(trail.wParam));
        // A zero byte converts nothing: the handler then gets what the buffer held.
        MultiByteToWideChar(CP_ACP, 0, bytes, static_cast<int>(std::strlen(bytes)), wbuf, 1);
        fn(hwnd, *static_cast<WCHAR*>(wbuf), RepeatOf(lParam));
        return 0;
    });
}

LRESULT WINAPI AtHANDLE_WM_DEADCHARW(HWND hwnd, WPARAM wParam, LPARAM lParam, AtCharHandlerW fn)
{
    return HandleOneByte(hwnd, wParam, lParam, fn);
}

LRESULT WINAPI AtHANDLE_WM_SYSCHARW(HWND hwnd, WPARAM wParam, LPARAM lParam, AtCharHandlerW fn)
{
    return HandleOneByte(hwnd, wParam, lParam, fn);
}

LRESULT WINAPI AtHANDLE_WM_SYSDEADCHARW(HWND hwnd, WPARAM wParam, LPARAM lParam,
                                        AtCharHandlerW fn)
{
    return HandleOneByte(hwnd, wParam, lParam, fn);
}

// The procedure is told the ANSI buffer's heap size in bytes: cchTextMax characters
// may take cchTextMax * AtMaxCharSize of them. The answer counts the wide
// characters stored, and is 0 when the text does not fit.
int WINAPI AtFORWARD_WM_GETTEXTW(HWND hwnd, int cchTextMax, LPWSTR lpszText, WNDPROC fn)
{
    if (AtWidePath())
        return static_cast<int>(
            fn(hwnd, WM_GETTEXT, cchTextMax, reinterpret_cast<LPARAM>(lpszText)));
    return AtTranslate<int>(0, [&] {
        AtStringSlot buf;
        AtAllocEmptyAnsiOut(buf, cchTextMax);
        if (!fn(hwnd, WM_GETTEXT, AtHeapSize(buf), reinterpret_cast<LPARAM>(buf.value))) {
            // An empty answer, where there is room for one.
            if (lpszText && cchTextMax > 0)
                lpszText[0] = L'\0';
            return 0;
        }
        return AtCountWithoutTerminator(AtAnsiToWideOut(buf, lpszText, cchTextMax));
    });
}

// The handler fills a wide buffer as long as the message's; the system gets the
// ANSI byte count without the NUL, or 0 when the text does not fit wParam bytes.
LRESULT WINAPI AtHANDLE_WM_GETTEXTW(HWND hwnd, WPARAM wParam, LPARAM lParam,
                                    AtGetTextHandlerW fn)
{
    if (AtWidePath())
        return fn(hwnd, static_cast<int>(wParam), reinterpret_cast<LPWSTR>(lParam));
    return AtTranslate<LRESULT>(0, [&]() -> LRESULT {
        AtStringSlot wbuf;
        AtAllocWideOut(wbuf, wParam);
        LPSTR out = reinterpret_cast<LPSTR>(lParam);
        if (!fn(hwnd, static_cast<int>(AtHeapSize(wbuf) / sizeof(WCHAR)), wbuf)) {
            // An empty answer, where there is room for one.
            if (out && wParam)
                out[0] = '\0';
            return 0;
        }
        return AtCountWithoutTerminator(AtWideToAnsiOut(wbuf, out, wParam));
    });
}

void WINAPI AtFORWARD_WM_SETTEXTW(HWND hwnd, LPCWSTR lpszText, WNDPROC fn)
{
    ForwardString(hwnd, WM_SETTEXT, lpszText, fn);
}

void WINAPI AtFORWARD_WM_WININICHANGEW(HWND hwnd, LPCWSTR lpszSectionName, WNDPROC fn)
{
    ForwardString(hwnd, WM_WININICHANGE, lpszSectionName, fn);
}

void WINAPI AtFORWARD_WM_DEVMODECHANGEW(HWND hwnd, LPCWSTR lpszDeviceName, WNDPROC fn)
{
    ForwardString(hwnd, WM_DEVMODECHANGE, lpszDeviceName, fn);
}

LRESULT WINAPI AtHANDLE_WM_SETTEXTW(HWND hwnd, WPARAM, LPARAM lParam, AtTextHandlerW fn)
{
    return HandleString(hwnd, lParam, fn);
}

LRESULT WINAPI AtHANDLE_WM_WININICHANGEW(HWND hwnd, WPARAM, LPARAM lParam, AtTextHandlerW fn)
{
    return HandleString(hwnd, lParam, fn);
}

LRESULT WINAPI AtHANDLE_WM_DEVMODECHANGEW(HWND hwnd, WPARAM, LPARAM lParam, AtTextHandlerW fn)
{
    return HandleString(hwnd, lParam, fn);
}

// The name is copied back whatever the procedure answered. The buffer starts empty,
// so a procedure that writes nothing yields an empty name.
void WINAPI AtFORWARD_WM_ASKCBFORMATNAMEW(HWND hwnd, int cchMax, LPWSTR rgchName, WNDPROC fn)
{
    if (AtWidePath()) {
        fn(hwnd, WM_ASKCBFORMATNAME, cchMax, reinterpret_cast<LPARAM>(rgchName));
        return;
    }
    AtTranslate<LRESULT>(0, [&] {
        AtStringSlot buf;
        AtAllocEmptyAnsiOut(buf, cchMax);
        LRESULT r = fn(hwnd, WM_ASKCBFORMATNAME, AtHeapSize(buf),
                       reinterpret_cast<LPARAM>(buf.value));
        AtAnsiToWideOut(buf, rgchName, cchMax);
        return r;
    });
}

// The handler gets a wide copy of the buffer as it arrived, with the message's own
// capacity; what it writes there is not copied back into the ANSI buffer. The copy
// holds that capacity in characters, so the handler may fill it, and reads no more
// of the buffer than its capacity in bytes.
LRESULT WINAPI AtHANDLE_WM_ASKCBFORMATNAMEW(HWND hwnd, WPARAM wParam, LPARAM lParam,
                                            AtNameBufferHandlerW fn)
{
    if (AtWidePath()) {
        fn(hwnd, static_cast<int>(wParam), reinterpret_cast<LPWSTR>(lParam));
        return 0;
    }
    return AtTranslate<LRESULT>(0, [&] {
        LPCSTR name = reinterpret_cast<LPCSTR>(lParam);
        if (!name) {
            fn(hwnd, static_cast<int>(wParam), nullptr);
            return 0;
        }
        AtStringSlot copy;
        AtAllocWideOut(copy, wParam ? wParam : 1);
        int length = 0;
        while (DWORD(length) < wParam && name[length])
            ++length;
        int capacity = AtHeapSize(copy) / 2;
        int converted = MultiByteToWideChar(CP_ACP, 0, name, length, copy, capacity);
        static_cast<WCHAR*>(copy)[converted < capacity ? converted : capacity - 1] = L'\0';
        fn(hwnd, static_cast<int>(wParam), copy);
        return 0;
    });
}
