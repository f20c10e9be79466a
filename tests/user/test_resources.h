// The resource-only DLL of the tests, and text the running code page can hold.
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

// A wide text whose first character takes two bytes under code page 932 and one
// under 1252, and one ASCII character.
inline std::wstring MixedText()
{
    return harness::CodePage() == 932 ? L"a\u65E5b" : L"a\u00E9b";
}

inline INT_PTR CALLBACK QuietDialogProc(HWND, UINT, WPARAM, LPARAM)
{
    return FALSE;
}

// The resource DLL's dialog with a list box, a label, a combo box and an edit
// control, made through torwen and hidden.
inline HWND CreateControlsDialog()
{
    return CreateDialogParamW(TestResources(), L"CONTROLS", nullptr, QuietDialogProc, 0);
}
