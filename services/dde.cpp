// DDE management: instances and string handles by wide text.
//
// On the ANSI platforms the caller's callback is registered with the ANSI DDE
// library as it is, so the string handles it receives are ANSI handles.
#include "services/services.h"

AT_SYSTEM_FUNCTION(user32, DdeInitializeW, DMLERR_SYS_ERROR)
AT_SYSTEM_FUNCTION(user32, DdeInitializeA, DMLERR_SYS_ERROR)
AT_SYSTEM_FUNCTION(user32, DdeCreateStringHandleW, 0)
AT_SYSTEM_FUNCTION(user32, DdeCreateStringHandleA, 0)
AT_SYSTEM_FUNCTION(user32, DdeQueryStringW, 0)
AT_SYSTEM_FUNCTION(user32, DdeQueryStringA, 0)

namespace
{

// The ANSI DDE library knows no Unicode strings: a wide request asks for ANSI ones.
int AnsiCodePage(int codePage)
{
    return codePage == CP_WINUNICODE ? CP_WINANSI : codePage;
}

} // namespace

UINT WINAPI DdeInitializeW(LPDWORD instance, PFNCALLBACK callback, DWORD commands, DWORD reserved)
{
    return AtExport(Sys::DdeInitializeW, instance, callback, commands, reserved)
        .orAnsiUnconverted(Sys::DdeInitializeA);
}

HSZ WINAPI DdeCreateStringHandleW(DWORD instance, LPCWSTR text, int codePage)
{
    return AtExport(Sys::DdeCreateStringHandleW, instance, text, codePage)
        .orAnsiWithoutSavedError(nullptr, [=] {
            return Sys::DdeCreateStringHandleA(instance, AtAnsiTemp(text), AnsiCodePage(codePage));
        });
}

// Asked for Unicode text, the string comes back converted and counted in wide
// characters without the terminator. Asked for any other code page, the caller's
// buffer receives the ANSI text itself, at most n bytes of it.
DWORD WINAPI DdeQueryStringW(DWORD instance, HSZ hsz, LPWSTR buf, DWORD n, int codePage)
{
    return AtExport(Sys::DdeQueryStringW, instance, hsz, buf, n, codePage)
        .orAnsiWithoutSavedError(0ul, [=] {
            AtStringSlot bufA;
            AtAllocEmptyAnsiOut(bufA, n);
            if (codePage != CP_WINUNICODE)
                return Sys::DdeQueryStringA(
                    instance, hsz, reinterpret_cast<LPSTR>(buf), n, CP_WINANSI);
            DWORD r
                = Sys::DdeQueryStringA(instance, hsz, bufA, DWORD(AtHeapSize(bufA)), CP_WINANSI);
            if (r && n && buf)
                r = AtCountWithoutTerminator(AtBoundedAnsiToWideOut(bufA, buf, n));
            return r;
        });
}
