// Window procedures and messages: passed on untouched, to the W functions on the NT
// family and to the A functions on the ANSI path.
#include <string>
#include <tuple>
#include <type_traits>
#include <vector>

#include "harness/harness.h"
#include "user/test_window.h"

namespace {

template <typename R>
R Sentinel()
{
    if constexpr (std::is_pointer_v<R>)
        return reinterpret_cast<R>(0x5A5A);
    else
        return R(0x5A5A);
}

// `wide(args)` reaches the system function `target` once, with exactly `args`, and
// answers what it answered.
#define EXPECT_REACHES(wide, target, ...)                                               \
    do {                                                                               \
        auto expected = std::make_tuple(__VA_ARGS__);                                  \
        TW_HOOK(hook, target, [&](auto... got) {                                       \
            EXPECT_TRUE(std::make_tuple(got...) == expected) << #target;               \
            return Sentinel<decltype(::target(got...))>();                             \
        });                                                                            \
        EXPECT_EQ(wide(__VA_ARGS__), Sentinel<decltype(::target(__VA_ARGS__))>()) << #wide; \
        EXPECT_EQ(hook.calls, 1) << #target;                                           \
    } while (0)

#define EXPECT_FORWARDS(wide, ansi, ...)                 \
    do {                                                 \
        if (harness::AnsiPath())                         \
            EXPECT_REACHES(wide, ansi, __VA_ARGS__);     \
        else                                             \
            EXPECT_REACHES(wide, wide, __VA_ARGS__);     \
    } while (0)

LRESULT CALLBACK SomeProc(HWND, UINT, WPARAM, LPARAM)
{
    return 0;
}

INT_PTR CALLBACK SomeDialogProc(HWND, UINT, WPARAM, LPARAM)
{
    return 0;
}

LRESULT CALLBACK SomeHook(int, WPARAM, LPARAM)
{
    return 0;
}

void CALLBACK SomeCallback(HWND, UINT, ULONG_PTR, LRESULT) {}

INT_PTR CALLBACK EndingDialogProc(HWND dialog, UINT msg, WPARAM, LPARAM)
{
    if (msg == WM_INITDIALOG)
        EndDialog(dialog, 1);
    return FALSE;
}

// A dialog template with no items and no title.
struct EmptyDialog {
    DLGTEMPLATE header;
    WORD menuClassTitle[3];
};

// Hooks replace what torwen has bound, and torwen binds on first use: one call of
// each forwarding member first, each answered by the system at once.
void BindForwardingMembers()
{
    const HWND none = reinterpret_cast<HWND>(0x1111);
    MSG msg = {};
    DWORD_PTR result;
    EmptyDialog empty = {};
    CallWindowProcW(SomeProc, none, WM_NULL, 0, 0);
    DefWindowProcW(none, WM_NULL, 0, 0);
    DefDlgProcW(none, WM_NULL, 0, 0);
    DefFrameProcW(none, nullptr, WM_NULL, 0, 0);
    DefMDIChildProcW(none, WM_NULL, 0, 0);
    SendMessageW(none, WM_NULL, 0, 0);
    SendMessageCallbackW(none, WM_NULL, 0, 0, SomeCallback, 0);
    SendMessageTimeoutW(none, WM_NULL, 0, 0, SMTO_NORMAL, 0, &result);
    SendNotifyMessageW(none, WM_NULL, 0, 0);
    SendDlgItemMessageW(none, 1, WM_NULL, 0, 0);
    PostMessageW(none, WM_NULL, 0, 0);
    PostThreadMessageW(GetCurrentThreadId(), WM_APP, 0, 0);
    GetMessageW(&msg, nullptr, WM_APP, WM_APP);
    PeekMessageW(&msg, none, 0, 0, PM_NOREMOVE);
    DispatchMessageW(&msg);
    IsDialogMessageW(none, &msg);
    TranslateAcceleratorW(none, nullptr, &msg);
    CallMsgFilterW(&msg, 0);
    if (HHOOK hook = SetWindowsHookExW(WH_GETMESSAGE, SomeHook, nullptr, GetCurrentThreadId()))
        UnhookWindowsHookEx(hook);
    GetClassLongW(none, GCL_STYLE);
    SetClassLongW(none, GCL_STYLE, 0);
    GetWindowLongW(none, GWL_STYLE);
    SetWindowLongW(none, GWL_STYLE, 0);
    GetWindowTextLengthW(none);
    DestroyWindow(CreateDialogIndirectParamW(nullptr, &empty.header, nullptr, EndingDialogProc, 0));
    DialogBoxIndirectParamW(nullptr, &empty.header, nullptr, EndingDialogProc, 0);
}

class ProceduresTest : public harness::TorwenTest {};

// Every forwarding member with values that the hooked system function only compares:
// nothing is converted, nothing reordered, the answer comes back as it is.
TEST_F(ProceduresTest, ForwardingMembersPassTheirArgumentsAndAnswer)
{
    const HWND h = reinterpret_cast<HWND>(0x1111), h2 = reinterpret_cast<HWND>(0x2222);
    const UINT m = WM_SETTEXT;
    const WPARAM w = 0x3333;
    const LPARAM l = reinterpret_cast<LPARAM>(L"wide text stays wide");
    MSG msg = {};
    DWORD_PTR result = 0;
    DLGTEMPLATE dialogTemplate = {};
    BindForwardingMembers();
    EXPECT_FORWARDS(CallWindowProcW, CallWindowProcA, SomeProc, h, m, w, l);
    EXPECT_FORWARDS(DefWindowProcW, DefWindowProcA, h, m, w, l);
    EXPECT_FORWARDS(DefDlgProcW, DefDlgProcA, h, m, w, l);
    EXPECT_FORWARDS(DefFrameProcW, DefFrameProcA, h, h2, m, w, l);
    EXPECT_FORWARDS(DefMDIChildProcW, DefMDIChildProcA, h, m, w, l);
    EXPECT_FORWARDS(SendMessageW, SendMessageA, h, m, w, l);
    EXPECT_FORWARDS(SendMessageCallbackW, SendMessageCallbackA, h, m, w, l, SomeCallback,
                    ULONG_PTR(9));
    EXPECT_FORWARDS(SendMessageTimeoutW, SendMessageTimeoutA, h, m, w, l, UINT(SMTO_BLOCK),
                    UINT(100), &result);
    EXPECT_FORWARDS(SendNotifyMessageW, SendNotifyMessageA, h, m, w, l);
    EXPECT_FORWARDS(SendDlgItemMessageW, SendDlgItemMessageA, h, 12, m, w, l);
    EXPECT_FORWARDS(PostMessageW, PostMessageA, h, m, w, l);
    EXPECT_FORWARDS(PostThreadMessageW, PostThreadMessageA, DWORD(77), m, w, l);
    EXPECT_FORWARDS(GetMessageW, GetMessageA, &msg, h, UINT(1), UINT(2));
    EXPECT_FORWARDS(PeekMessageW, PeekMessageA, &msg, h, UINT(1), UINT(2), UINT(PM_REMOVE));
    EXPECT_FORWARDS(DispatchMessageW, DispatchMessageA, static_cast<const MSG*>(&msg));
    EXPECT_FORWARDS(IsDialogMessageW, IsDialogMessageA, h, &msg);
    EXPECT_FORWARDS(TranslateAcceleratorW, TranslateAcceleratorA, h, reinterpret_cast<HACCEL>(0x44),
                    &msg);
    EXPECT_FORWARDS(CallMsgFilterW, CallMsgFilterA, &msg, 5);
    EXPECT_FORWARDS(SetWindowsHookExW, SetWindowsHookExA, int(WH_GETMESSAGE), SomeHook,
                    HINSTANCE(nullptr), DWORD(77));
    EXPECT_FORWARDS(GetClassLongW, GetClassLongA, h, int(GCL_STYLE));
    EXPECT_FORWARDS(SetClassLongW, SetClassLongA, h, int(GCL_STYLE), LONG(3));
    EXPECT_FORWARDS(GetWindowLongW, GetWindowLongA, h, int(GWL_WNDPROC));
    EXPECT_FORWARDS(SetWindowLongW, SetWindowLongA, h, int(GWL_WNDPROC),
                    reinterpret_cast<LONG>(SomeProc));
    EXPECT_FORWARDS(GetWindowTextLengthW, GetWindowTextLengthA, h);
    EXPECT_FORWARDS(CreateDialogIndirectParamW, CreateDialogIndirectParamA, HINSTANCE(nullptr),
                    static_cast<LPCDLGTEMPLATEW>(&dialogTemplate), h, SomeDialogProc, LPARAM(6));
    EXPECT_FORWARDS(DialogBoxIndirectParamW, DialogBoxIndirectParamA, HINSTANCE(nullptr),
                    static_cast<LPCDLGTEMPLATEW>(&dialogTemplate), h, SomeDialogProc, LPARAM(6));
}

// A class registered through torwen makes ANSI windows on the ANSI path: the system
// hands their procedures ANSI characters and text.
TEST_F(ProceduresTest, WideProcedureOfTheAnsiPathGetsAnsiMessages)
{
    std::vector<WPARAM> chars;
    LPARAM textSeen = 0;
    TestWindow::handler = [&](HWND hwnd, UINT msg, WPARAM wParam, LPARAM lParam) {
        if (msg == WM_CHAR)
            chars.push_back(wParam);
        if (msg == WM_SETTEXT)
            textSeen = lParam;
        return DefWindowProcW(hwnd, msg, wParam, lParam);
    };
    TestWindow window;
    ASSERT_TRUE(window.hwnd);
    EXPECT_EQ(IsWindowUnicode(window.hwnd), !harness::AnsiPath());

    // The system's own W function, past torwen: it converts for an ANSI window.
    auto systemSendMessageW = reinterpret_cast<decltype(&SendMessageW)>(
        reinterpret_cast<void*>(GetProcAddress(GetModuleHandleW(L"user32.dll"), "SendMessageW")));
    const WCHAR ch = harness::CodePage() == 932 ? 0xFF71 : 0x00E9;  // ｱ (B1) or é (E9)
    systemSendMessageW(window.hwnd, WM_CHAR, ch, 1);
    ASSERT_EQ(chars.size(), 1u);
    EXPECT_EQ(chars[0] & 0xFFFF, harness::AnsiPath() ? WPARAM(ch == 0xFF71 ? 0xB1 : 0xE9) : ch);

    // torwen's SendMessageW converts nothing: a wide text reaches the procedure as the
    // same pointer, which DefWindowProcW on the ANSI path reads as ANSI text.
    const std::string ansi = harness::ToAnsi(harness::NonAsciiText());
    const std::wstring wide = harness::NonAsciiText();
    LPARAM text = harness::AnsiPath() ? reinterpret_cast<LPARAM>(ansi.c_str())
                                      : reinterpret_cast<LPARAM>(wide.c_str());
    ASSERT_TRUE(SendMessageW(window.hwnd, WM_SETTEXT, 0, text));
    EXPECT_EQ(textSeen, text);
    WCHAR buf[16];
    EXPECT_EQ(GetWindowTextW(window.hwnd, buf, 16), int(wide.size()));
    EXPECT_EQ(std::wstring(buf), wide);
}

TEST_F(ProceduresTest, PostedAndSentMessagesReachTheProcedure)
{
    std::vector<std::tuple<UINT, WPARAM, LPARAM>> seen;
    TestWindow::handler = [&](HWND hwnd, UINT msg, WPARAM wParam, LPARAM lParam) -> LRESULT {
        if (msg >= WM_APP) {
            seen.emplace_back(msg, wParam, lParam);
            return 0x77;
        }
        return DefWindowProcW(hwnd, msg, wParam, lParam);
    };
    TestWindow window;
    EXPECT_EQ(SendMessageW(window.hwnd, WM_APP, 1, -1), 0x77);
    DWORD_PTR result = 0;
    EXPECT_TRUE(SendMessageTimeoutW(window.hwnd, WM_APP + 1, 2, -2, SMTO_NORMAL, 1000, &result));
    EXPECT_EQ(result, 0x77u);
    EXPECT_TRUE(SendNotifyMessageW(window.hwnd, WM_APP + 2, 3, -3));

    ASSERT_TRUE(PostMessageW(window.hwnd, WM_APP + 3, 4, -4));
    ASSERT_TRUE(PostThreadMessageW(GetCurrentThreadId(), WM_APP + 4, 5, -5));
    MSG msg;
    ASSERT_TRUE(PeekMessageW(&msg, window.hwnd, WM_APP + 3, WM_APP + 3, PM_REMOVE));
    EXPECT_EQ(DispatchMessageW(&msg), 0x77);
    ASSERT_EQ(GetMessageW(&msg, nullptr, WM_APP + 4, WM_APP + 4), TRUE);
    EXPECT_EQ(msg.hwnd, nullptr);
    EXPECT_EQ(msg.wParam, 5u);
    EXPECT_EQ(msg.lParam, -5);

    using Seen = std::tuple<UINT, WPARAM, LPARAM>;
    EXPECT_EQ(seen, (std::vector<Seen>{{WM_APP, 1, -1}, {WM_APP + 1, 2, -2}, {WM_APP + 2, 3, -3},
                                       {WM_APP + 3, 4, -4}}));
    EXPECT_EQ(CallWindowProcW(TestWindow::Proc, window.hwnd, WM_APP + 5, 6, -6), 0x77);
    EXPECT_EQ(seen.back(), Seen(WM_APP + 5, 6, -6));
}

// Hooks are installed as they are and see the messages of the thread.
LRESULT CALLBACK MessageHook(int code, WPARAM wParam, LPARAM lParam);
std::vector<std::pair<int, UINT>> hooked;
HHOOK hook;

LRESULT CALLBACK MessageHook(int code, WPARAM wParam, LPARAM lParam)
{
    hooked.emplace_back(code, reinterpret_cast<MSG*>(lParam)->message);
    return CallNextHookEx(hook, code, wParam, lParam);
}

TEST_F(ProceduresTest, HooksSeeTheThreadsMessages)
{
    hooked.clear();
    hook = SetWindowsHookExW(WH_MSGFILTER, MessageHook, nullptr, GetCurrentThreadId());
    ASSERT_TRUE(hook);
    MSG msg = {};
    msg.message = WM_APP + 9;
    CallMsgFilterW(&msg, 0x33);
    UnhookWindowsHookEx(hook);
    ASSERT_EQ(hooked.size(), 1u);
    EXPECT_EQ(hooked[0], std::make_pair(0x33, UINT(WM_APP + 9)));
}

}  // namespace
