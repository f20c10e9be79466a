/* A wide program with no C runtime: it calls a kernel32 and a user32 W function
 * and reports whether the linker bound them to torwen.dll (exit status 0) or to
 * the system (1). The address an import resolves to is the one torwen.dll exports
 * under the decorated name when torwen's import library came first. */
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

static BOOL FromTorwen(FARPROC imported, const char* decorated)
{
    return imported == GetProcAddress(GetModuleHandleA("torwen.dll"), decorated);
}

void WINAPI Probe(void)
{
    OSVERSIONINFOW info;
    info.dwOSVersionInfoSize = sizeof info;
    BOOL called = GetVersionExW(&info) && RegisterWindowMessageW(L"torwen probe") != 0;
    BOOL kernel = FromTorwen((FARPROC)GetVersionExW, "_GetVersionExW@4");
    BOOL user = FromTorwen((FARPROC)RegisterWindowMessageW, "_RegisterWindowMessageW@4");
    Say(called ? "calls answered; " : "a call failed; ");
    Say(kernel ? "GetVersionExW from torwen; " : "GetVersionExW from the system; ");
    Say(user ? "RegisterWindowMessageW from torwen\r\n"
             : "RegisterWindowMessageW from the system\r\n");
    ExitProcess(called && kernel && user ? 0 : 1);
}
