// Process-wide state: written once by the entry point, read by every export.
#pragma once

#include "core/win32.h"

struct AtModuleStateRecord {
    HINSTANCE moduleHandle;
    HANDLE processHeap;        // every temporary lives here
    BOOL AtIsUnicodePlatform;  // 1 on the NT family: exports call the W functions
};

extern AtModuleStateRecord AtModuleState;

// Bytes per character of the ANSI code page. 2 before attach and after detach,
// so sizes computed from it are safe for a double-byte code page.
extern UINT AtMaxCharSize;

BOOL AtProcessAttach(HINSTANCE hinst);
void AtProcessDetach();

