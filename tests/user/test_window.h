// Headless windows for the tests, made through torwen: a window of the test's own class,
// whose wide procedure hands every message to `TestWindow::handler`, and an MDI client.
#pragma once

#include <windows.h>

#include <functional>
#include <string>

#include "harness/harness.h"

inline bool RegisterTestClass(const wchar_t* name, WNDPROC proc)
{
    WNDCLASSEXW wc = {};
    wc.cbSize = sizeof wc;
    wc.lpfnWndProc = proc;
    wc.hInstance = GetModuleHandleW(nullptr);
    wc.lpszClassName = name;
    return RegisterClassExW(&wc) != 0;
}

class TestWindow {
public:
    // What every TestWindow's procedure does with a message; DefWindowProcW when empty.
    static inline std::function<LRESULT(HWND, UINT, WPARAM, LPARAM)> handler;
    static constexpr const wchar_t* className = L"TorwenTestWindow";

    explicit TestWindow(const wchar_t* title = L"", LPVOID param = nullptr)
    {
        static bool registered = RegisterTestClass(className, Proc);
        (void)registered;
        hwnd = CreateWindowExW(0, className, title, WS_OVERLAPPEDWINDOW, 0, 0, 100, 100, nullptr,
                               nullptr, GetModuleHandleW(nullptr), param);
    }
    ~TestWindow()
    {
        handler = nullptr;
        DestroyWindow(hwnd);
        MSG msg;
        while (PeekMessageW(&msg, nullptr, 0, 0, PM_REMOVE)) {
        }
    }
    TestWindow(const TestWindow&) = delete;
    TestWindow& operator=(const TestWindow&) = delete;

    static LRESULT CALLBACK Proc(HWND hwnd, UINT msg, WPARAM wParam, LPARAM lParam)
    {
        return handler ? handler(hwnd, msg, wParam, lParam) : DefWindowProcW(hwnd, msg, wParam, lParam);
    }

    HWND hwnd;
};

// An MDI client in a TestWindow frame; its children's class runs DefMDIChildProcW.
struct MdiClient {
    static constexpr const wchar_t* childClass = L"TorwenTestMdiChild";

    MdiClient()
    {
        static bool registered = RegisterTestClass(childClass, DefMDIChildProcW);
        (void)registered;
        CLIENTCREATESTRUCT ccs = {nullptr, 100};
        hwnd = CreateWindowExW(0, L"MDICLIENT", nullptr, WS_CHILD, 0, 0, 100, 100, frame.hwnd,
                               nullptr, GetModuleHandleW(nullptr), &ccs);
    }
    ~MdiClient() { DestroyWindow(hwnd); }

    TestWindow frame;
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
