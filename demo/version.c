#include <stdio.h>

#include "demo.h"

static void ShowVersion(DWORD size)
{
    OSVERSIONINFOEXW info;
    BOOL ok;

    ZeroMemory(&info, sizeof info);
    info.dwOSVersionInfoSize = size;
    SetLastError(0);
    ok = GetVersionExW((OSVERSIONINFOW *)&info);
    printf("GetVersionExW(dwOSVersionInfoSize = %lu) -> %d", size, ok);
    if (!ok) {
        printf(", last error %lu\n", GetLastError());
        return;
    }
    printf("\n    Windows %lu.%lu build %lu, platform %lu: %s\n", info.dwMajorVersion,
           info.dwMinorVersion, info.dwBuildNumber & 0xFFFF, info.dwPlatformId,
           info.dwPlatformId == VER_PLATFORM_WIN32_NT ? "torwen calls the W functions"
                                                      : "torwen converts to the ANSI code page");
    DemoPrint("    service pack ", info.szCSDVersion);
}

void DemoVersion(void)
{
    ShowVersion(sizeof(OSVERSIONINFOW));
    ShowVersion(sizeof(OSVERSIONINFOEXW));
}
