#include "bench.h"

#include "torwen.h"

namespace {

template <typename Fn>
Fn System(const char* name)
{
    return reinterpret_cast<Fn>(reinterpret_cast<void*>(BenchSystemFunction("user32.dll", name)));
}

// An edit control made through torwen, holding a text with a selection in it: an
// ANSI control on the ANSI path, whose positions the helper maps to characters.
HWND BenchEdit()
{
    static HWND hwnd = [] {
        HWND edit = CreateWindowExW(0, L"EDIT", L"", ES_AUTOHSCROLL, 0, 0, 200, 20, nullptr,
                                    nullptr, GetModuleHandleW(nullptr), nullptr);
        SetWindowTextW(edit, L"An edit control's text of some forty chars");
        SendMessageW(edit, EM_SETSEL, 10, 20);
        return edit;
    }();
    return hwnd;
}

}  // namespace

TORWEN_BENCH(Controls)
{
    static HWND edit = BenchEdit();
    static HDC dc = CreateCompatibleDC(nullptr);
    static RECT rect = {0, 0, 300, 40};
    static const wchar_t text[] = L"A line of text to be measured, forty long";
    static char textA[64];
    WideCharToMultiByte(CP_ACP, 0, text, -1, textA, sizeof textA, nullptr, nullptr);

    if (bench.unicodePlatform) {
        static auto drawW = System<decltype(&DrawTextW)>("DrawTextW");
        static auto sendW = System<decltype(&SendMessageW)>("SendMessageW");
        bench.compare("DrawTextW(DT_CALCRECT)", [] { DrawTextW(dc, text, -1, &rect, DT_CALCRECT); },
                      "DrawTextW (system)", [] { drawW(dc, text, -1, &rect, DT_CALCRECT); });
        bench.compare("AtEdit_GetSelW", [] { AtEdit_GetSelW(edit); },
                      "SendMessageW(EM_GETSEL) (system)", [] { sendW(edit, EM_GETSEL, 0, 0); });
    } else {
        bench.compare("DrawTextW(DT_CALCRECT)", [] { DrawTextW(dc, text, -1, &rect, DT_CALCRECT); },
                      "DrawTextA", [] { DrawTextA(dc, textA, -1, &rect, DT_CALCRECT); });
        bench.compare("AtEdit_GetSelW", [] { AtEdit_GetSelW(edit); },
                      "SendMessageA(EM_GETSEL)", [] { SendMessageA(edit, EM_GETSEL, 0, 0); });
    }
}
