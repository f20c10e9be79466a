#include "bench.h"

#include "torwen.h"

namespace {

// A window with the default procedure, made through torwen: an ANSI window on the
// ANSI path, as the application's windows are.
HWND BenchWindow()
{
    static HWND hwnd = [] {
        WNDCLASSEXW wc = {};
        wc.cbSize = sizeof wc;
        wc.lpfnWndProc = DefWindowProcW;
        wc.hInstance = GetModuleHandleW(nullptr);
        wc.lpszClassName = L"TorwenBenchWindow";
        RegisterClassExW(&wc);
        return CreateWindowExW(0, L"TorwenBenchWindow", L"", WS_OVERLAPPEDWINDOW, 0, 0, 100, 100,
                               nullptr, nullptr, wc.hInstance, nullptr);
    }();
    return hwnd;
}

template <typename Fn>
Fn System(const char* name)
{
    return reinterpret_cast<Fn>(reinterpret_cast<void*>(BenchSystemFunction("user32.dll", name)));
}

}  // namespace

TORWEN_BENCH(Window)
{
    static HWND hwnd = BenchWindow();
    static const wchar_t text[] = L"A window title of some forty characters";
    static char textA[64];
    WideCharToMultiByte(CP_ACP, 0, text, -1, textA, sizeof textA, nullptr, nullptr);
    static wchar_t buf[64];
    static char bufA[128];
    SetWindowTextW(hwnd, text);

    if (bench.unicodePlatform) {
        static auto sendW = System<decltype(&SendMessageW)>("SendMessageW");
        static auto setW = System<decltype(&SetWindowTextW)>("SetWindowTextW");
        bench.compare("AtFORWARD_WM_GETTEXTW(SendMessageW)",
                      [] { AtFORWARD_WM_GETTEXTW(hwnd, 64, buf, SendMessageW); },
                      "SendMessageW(WM_GETTEXT) (system)",
                      [] { sendW(hwnd, WM_GETTEXT, 64, reinterpret_cast<LPARAM>(buf)); });
        bench.compare("SetWindowTextW", [] { SetWindowTextW(hwnd, text); },
                      "SetWindowTextW (system)", [] { setW(hwnd, text); });
    } else {
        bench.compare("AtFORWARD_WM_GETTEXTW(SendMessageW)",
                      [] { AtFORWARD_WM_GETTEXTW(hwnd, 64, buf, SendMessageW); },
                      "SendMessageA(WM_GETTEXT)",
                      [] {
                          SendMessageA(hwnd, WM_GETTEXT, sizeof bufA,
                                       reinterpret_cast<LPARAM>(bufA));
                      });
        bench.compare("SetWindowTextW", [] { SetWindowTextW(hwnd, text); }, "SetWindowTextA",
                      [] { SetWindowTextA(hwnd, textA); });
    }
}
