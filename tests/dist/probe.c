/* A wide program with no C runtime: it calls a kernel32 and a user32 W function
 * and the C-call wsprintfW, and reports whether the linker bound them to
 * torwen.dll (exit status 0) or to the system (1). The address an import resolves
 * to is the one torwen.dll exports under the decorated name (wsprintfW: the plain
 * name) when torwen's import library came first. */
#ifndef UNICODE
#define UNICODE
#endif
#define WIN32_LEAN_AND_MEAN
#include <windows.h>

static void Say(const char* text)
{
    DWORD written;
    WriteFile(GetStdHandle(STD_OUTPUT_HANDLE), text, lstrlenA(text), &written, NULL);
}

static BOOL FromTorwen(const void* imported, const char* decorated)
{
    return imported == (const void*)GetProcAddress(GetModuleHandleA("torwen.dll"), decorated);
}

void WINAPI Probe(void)
{
    OSVERSIONINFOW info;
    info.dwOSVersionInfoSize = sizeof info;
    WCHAR text[16];
    BOOL called = GetVersionExW(&info) && RegisterWindowMessageW(L"torwen probe") != 0 &&
                  wsprintfW(text, L"%d%s", 4, L"2") == 2 && text[0] == L'4' && text[1] == L'2';
    BOOL kernel = FromTorwen((const void*)GetVersionExW, "_GetVersionExW@4");
    BOOL user = FromTorwen((const void*)RegisterWindowMessageW, "_RegisterWindowMessageW@4");
    BOOL format = FromTorwen((const void*)wsprintfW, "wsprintfW");
    Say(called ? "calls answered; " : "a call failed; ");
    Say(kernel ? "GetVersionExW from torwen; " : "GetVersionExW from the system; ");
    Say(user ? "RegisterWindowMessageW from torwen; " : "RegisterWindowMessageW from the system; ");
    Say(format ? "wsprintfW from torwen\r\n" : "wsprintfW from the system\r\n");
    ExitProcess(called && kernel && user && format ? 0 : 1);
}
