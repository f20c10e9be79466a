// A headless window of the test program's own class, registered through torwen, whose
// wide procedure hands every message to the test's `TestWindow::handler`.
#pragma once

#include <windows.h>

#include <functional>

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
    using Handler = std::function<LRESULT(HWND, UINT, WPARAM, LPARAM)>;

    // What the procedure of every TestWindow does with a message; DefWindowProcW when empty.
    static inline Handler handler;

    static constexpr const wchar_t* className = L"TorwenTestWindow";

    explicit TestWindow(const wchar_t* title = L"", LPVOID param = nullptr)
    {
        Register();
        hwnd = CreateWindowExW(0, className, title, WS_OVERLAPPEDWINDOW, 0, 0, 100, 100, nullptr,
                               nullptr, GetModuleHandleW(nullptr), param);
    }
    ~TestWindow()
    {
        handler = nullptr;
        if (hwnd)
            DestroyWindow(hwnd);
        MSG msg;
        while (PeekMessageW(&msg, nullptr, 0, 0, PM_REMOVE)) {
        }
    }
    TestWindow(const TestWindow&) = delete;
    TestWindow& operator=(const TestWindow&) = delete;

    static LRESULT CALLBACK Proc(HWND hwnd, UINT msg, WPARAM wParam, LPARAM lParam)
    {
        if (handler)
            return handler(hwnd, msg, wParam, lParam);
        return DefWindowProcW(hwnd, msg, wParam, lParam);
    }

    HWND hwnd;

private:
    static void Register()
    {
        static bool registered = RegisterTestClass(className, Proc);
        (void)registered;
    }
};

// Whether a WM_CHAR waits in the queue of `hwnd` (left there).
inline bool CharQueued(HWND hwnd)
{
    MSG msg;
    return PeekMessageW(&msg, hwnd, WM_CHAR, WM_CHAR, PM_NOREMOVE) != 0;
}

// An MDI client window in a TestWindow frame, and a class for its children whose
// procedure is DefMDIChildProcW.
class MdiClient {
public:
    static constexpr const wchar_t* childClass = L"TorwenTestMdiChild";

    MdiClient()
    {
        static bool registered = RegisterTestClass(childClass, DefMDIChildProcW);
        (void)registered;
        CLIENTCREATESTRUCT ccs = {nullptr, 100};
        hwnd = CreateWindowExW(0, L"MDICLIENT", nullptr, WS_CHILD | WS_CLIPCHILDREN, 0, 0, 100,
                               100, frame.hwnd, nullptr, GetModuleHandleW(nullptr), &ccs);
    }
    ~MdiClient()
    {
        if (hwnd)
            DestroyWindow(hwnd);
    }
    MdiClient(const MdiClient&) = delete;
    MdiClient& operator=(const MdiClient&) = delete;

    TestWindow frame;
    HWND hwnd;
};
