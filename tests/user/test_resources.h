// What the tests of the window manager and the controls share: the resource-only
// DLL and text the running code page can hold.
#pragma once

#include <windows.h>

#include <string>

#include "harness/harness.h"
#include "resources/resources.h"

inline HMODULE TestResources()
{
    static HMODULE dll = LoadLibraryW(L"test-resources.dll");
    return dll;
}

inline INT_PTR CALLBACK QuietDialogProc(HWND, UINT, WPARAM, LPARAM)
{
    return FALSE;
}

// The resource DLL's dialog: a list box, a label, a combo box and an edit control.
inline HWND CreateControlsDialog()
{
    return CreateDialogParamW(TestResources(), L"CONTROLS", nullptr, QuietDialogProc, 0);
}

// "a", a character of two bytes under 932 (of one under 1252), "b".
inline std::wstring MixedText()
{
    return harness::CodePage() == 932 ? L"a\u65E5b" : L"a\u00E9b";
}
