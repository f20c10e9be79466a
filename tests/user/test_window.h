// Headless windows for the tests, made through torwen.
#pragma once

#include <windows.h>

#include <string>

#include "harness/harness.h"

// A window of the tests' own class, which runs DefWindowProcW.
struct TestWindow {
    static constexpr const wchar_t* className = L"TorwenTestWindow";

    explicit TestWindow(const wchar_t* title = L"")
    {
        [[maybe_unused]] static ATOM registered = [] {
            WNDCLASSEXW wc = {sizeof wc, 0, DefWindowProcW, 0, 0, GetModuleHandleW(nullptr),
                              0, 0, 0, 0, className, 0};
            return RegisterClassExW(&wc);
        }();
        hwnd = CreateWindowExW(0, className, title, WS_OVERLAPPEDWINDOW, 0, 0, 100, 100, nullptr,
                               nullptr, GetModuleHandleW(nullptr), nullptr);
    }
    ~TestWindow()
    {
        DestroyWindow(hwnd);
        MSG msg;
        while (PeekMessageW(&msg, nullptr, 0, 0, PM_REMOVE)) {
        }
    }

    HWND hwnd;
};

// The window's text through GetWindowTextW, whose answer must be the text's length.
inline std::wstring TextOf(HWND hwnd)
{
    WCHAR buf[64] = L"";
    int n = GetWindowTextW(hwnd, buf, 64);
    return n == lstrlenW(buf) ? buf : L"<GetWindowTextW answered " + std::to_wstring(n) + L">";
}

// Two bytes a character: the ANSI path under code page 932.
inline bool DoubleBytePath()
{
    return harness::AnsiPath() && harness::CodePage() == 932;
}
