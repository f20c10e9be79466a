// What the tests of the window manager and the controls share: the resource-only
// DLL, text the running code page can hold, and the allocation sweep of members.
#pragma once

#include <windows.h>

#include <functional>
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

// Each member of the ANSI path with its 1st, 2nd, ... allocation failing: a run that
// meets the failure answers `failure` with the last error `error` (0 for members that
// keep the A call's error, 14 for the others), a run without one answers otherwise.
struct SweptMember {
    const char* name;
    std::function<LONG_PTR()> call;
    LONG_PTR failure;
    DWORD error;
};

inline void SweepMembers(std::initializer_list<SweptMember> members)
{
    for (const SweptMember& m : members)
        harness::SweepAllocationFailures([&](int k) {
            SetLastError(1234);
            LONG_PTR r = m.call();
            if (harness::HeapAllocCalls() < k) {
                EXPECT_NE(r, m.failure) << m.name;
                return;
            }
            EXPECT_EQ(r, m.failure) << m.name << ", allocation " << k;
            EXPECT_EQ(GetLastError(), m.error) << m.name << ", allocation " << k;
        });
}
