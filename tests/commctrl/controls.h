// Real common controls for the tests, made through torwen under a headless parent.
#pragma once

#include <string>

#include "torwen.h"  // with <windows.h> and <commctrl.h>
#include "user/test_window.h"

// The controls' records grow with each version of the platform headers: the tests
// name the leading fields they use and let the rest be zero.
#pragma GCC diagnostic ignored "-Wmissing-field-initializers"

// comctl32's classes, registered once: the test programs do not import comctl32.
inline void InitControls()
{
    static const bool done = [] {
        auto init
            = reinterpret_cast<BOOL(WINAPI*)(const INITCOMMONCONTROLSEX*)>(reinterpret_cast<void*>(
                GetProcAddress(LoadLibraryA("comctl32.dll"), "InitCommonControlsEx")));
        INITCOMMONCONTROLSEX icc = { sizeof icc, 0x3FFF };
        return init && init(&icc);
    }();
    (void)done;
}

// A control of `cls` as the child of `parent`, with an id of 1.
inline HWND Control(HWND parent, LPCWSTR cls, DWORD style = 0)
{
    InitControls();
    return CreateWindowExW(0, cls, L"", WS_CHILD | WS_VISIBLE | style, 0, 0, 300, 200, parent,
        reinterpret_cast<HMENU>(1), GetModuleHandleW(nullptr), nullptr);
}

// Bytes per character of the ANSI buffers torwen makes.
inline int MaxCharSize()
{
    return harness::CodePage() == 932 ? 2 : 1;
}

// The heap size of a block of the process heap, 0 for anything else.
inline SIZE_T HeapSizeOf(const void* p)
{
    if (!p || IS_INTRESOURCE(p) || p == LPSTR_TEXTCALLBACKA)
        return 0;
    SIZE_T n = HeapSize(GetProcessHeap(), 0, p);
    return n == SIZE_T(-1) ? 0 : n;
}
