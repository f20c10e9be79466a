// The platform's version.
#include "core/core.h"

AT_SYSTEM_FUNCTION(kernel32, GetVersionExW, FALSE)

BOOL WINAPI GetVersionExW(LPOSVERSIONINFOW info)
{
    return AtExport(Sys::GetVersionExW, info).orAnsiUnguarded([=]() -> BOOL {
        // Only the plain record is known to the ANSI platforms; the extended one is
        // refused like a wrong size.
        if (!info || info->dwOSVersionInfoSize != sizeof(OSVERSIONINFOW)) {
            SetLastError(ERROR_OUT_OF_STRUCTURES);
            return FALSE;
        }
        OSVERSIONINFOA a;
        a.dwOSVersionInfoSize = sizeof a;
        BOOL result = GetVersionExA(&a);
        info->dwMajorVersion = a.dwMajorVersion;
        info->dwMinorVersion = a.dwMinorVersion;
        info->dwBuildNumber = a.dwBuildNumber;
        info->dwPlatformId = a.dwPlatformId;
        MultiByteToWideChar(CP_ACP, 0, a.szCSDVersion, -1, info->szCSDVersion,
                            ARRAYSIZE(info->szCSDVersion));
        return result;
    });
}
