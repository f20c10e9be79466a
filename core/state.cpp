#include "core/state.h"

AtModuleStateRecord AtModuleState;
UINT AtMaxCharSize = 2;

BOOL AtProcessAttach(HINSTANCE hinst)
{
    AtModuleState.moduleHandle = hinst;
    AtModuleState.processHeap = GetProcessHeap();

    OSVERSIONINFOA version;
    version.dwOSVersionInfoSize = sizeof version;
    if (!GetVersionExA(&version))
        return FALSE;
    AtModuleState.AtIsUnicodePlatform = version.dwPlatformId == VER_PLATFORM_WIN32_NT;

    // Without code-page information the double-byte-safe default stays.
    CPINFO info;
    if (GetCPInfo(CP_ACP, &info))
        AtMaxCharSize = info.MaxCharSize;
    return TRUE;
}

void AtProcessDetach()
{
    AtMaxCharSize = 2;
    AtModuleState.AtIsUnicodePlatform = FALSE;
    AtModuleState.processHeap = nullptr;
    AtModuleState.moduleHandle = nullptr;
}
