/* A wide-character program, written once for every Windows: linked with
 * torwen, it prints what it called and what came back. */
#include <stdio.h>
#include <windows.h>

#include <torwen.h>

static void ShowVersion(DWORD size)
{
    OSVERSIONINFOEXW info;
    BOOL ok;
    char csd[3 * 128];

    ZeroMemory(&info, sizeof info);
    info.dwOSVersionInfoSize = size;
    SetLastError(0);
    ok = GetVersionExW((OSVERSIONINFOW *)&info);
    printf("GetVersionExW(dwOSVersionInfoSize = %lu) -> %d", size, ok);
    if (!ok) {
        printf(", last error %lu\n", GetLastError());
        return;
    }
    WideCharToMultiByte(CP_UTF8, 0, info.szCSDVersion, -1, csd, sizeof csd, NULL, NULL);
    printf("\n    Windows %lu.%lu, build %lu, platform %lu (%s), service pack \"%s\"\n",
           info.dwMajorVersion, info.dwMinorVersion, info.dwBuildNumber & 0xFFFF,
           info.dwPlatformId,
           info.dwPlatformId == VER_PLATFORM_WIN32_NT ? "NT: torwen calls the W functions"
                                                      : "95/98/Me: torwen converts to ANSI",
           csd);
}

int main(void)
{
    printf("torwen demo, ANSI code page %u\n", GetACP());
    ShowVersion(sizeof(OSVERSIONINFOW));
    ShowVersion(sizeof(OSVERSIONINFOEXW));
    return 0;
}
