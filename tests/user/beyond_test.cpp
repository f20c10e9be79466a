// Window-manager functions beyond the families, answered as the system's W functions.
#include <cstdarg>
#include <string>

#include "harness/harness.h"

using namespace harness;
using std::wstring;

namespace {

class UserBeyondTest : public TorwenTest {};

// wsprintfW takes its arguments, wvsprintfW a list of them.
int FormatV(LPWSTR buf, LPCWSTR fmt, ...)
{
    va_list args;
    va_start(args, fmt);
    int r = wvsprintfW(buf, fmt, args);
    va_end(args);
    return r;
}

using Formatter = int(__cdecl*)(LPWSTR, LPCWSTR, ...);
const Formatter formatters[] = {FormatV, wsprintfW};

std::string Named(Formatter format)
{
    return format == FormatV ? "wvsprintfW" : "wsprintfW";
}

// A C caller's wsprintfW binds to torwen's plain-named export, not to the system's.
TEST_F(UserBeyondTest, FormatterIsTorwens)
{
    EXPECT_EQ(reinterpret_cast<void*>(wsprintfW), reinterpret_cast<void*>(GetProcAddress(Torwen(), "wsprintfW")));
}

// Wide and ANSI arguments by type and size prefix, flags, widths and precisions.
TEST_F(UserBeyondTest, FormatsAsTheSystemDoes)
{
    for (Formatter Format : formatters) {
        SCOPED_TRACE(Named(Format));
        WCHAR buf[1024];
        const struct { int result; const wchar_t* expected; } cases[] = {
            {Format(buf, L"[%5.2s|%-4c|%C|%S|%hs|%ls|%#x|%05d|%.3d|%lu|%q|%%|%08X|%-6S|]", L"abc", L'w', 'A', "ansi",
                    "hs", L"ls", 255, -42, 7, 3000000000u, 0xbeef, "r"),
             L"[   ab|w   |A|ansi|hs|ls|0xff|-0042|007|3000000000|q|%|0000BEEF|r     |]"},
            {Format(buf, L"%s|%S|%d|%i|%x", nullptr, nullptr, 0, -2147483647 - 1, 0u),
             L"(null)|(null)|0|-2147483648|0"},
            {Format(buf, L"%I64d|%p|%hc|%lc|%-5d|%3S", 5LL, reinterpret_cast<void*>(0x1234), 'x', L'y', 3, "abcd"),
             L"5|00001234|x|y|3    |abcd"},
        };
        for (const auto& c : cases)
            EXPECT_EQ(c.result, int(wcslen(c.expected))) << c.expected;
        // Each call above reused the buffer; the last one shows in it.
        EXPECT_EQ(wstring(buf), cases[2].expected);

        // The code page's characters, passed as ANSI and as wide text.
        const wstring text = NonAsciiText();
        const std::string ansi = ToAnsi(text);
        EXPECT_EQ(Format(buf, L"%s-%S-%hs-%ls-%C-%c", text.c_str(), ansi.c_str(), ansi.c_str(), text.c_str(), 'e',
                         text[0]),
                  int(4 * text.size() + 7));
        EXPECT_EQ(wstring(buf), text + L"-" + text + L"-" + text + L"-" + text + L"-e-" + text[0]);
        // A NUL character is written and counted.
        EXPECT_EQ(Format(buf, L"a%cb", 0), 3);
    }
}

// A cut output answers 1,024: 1,023 characters and the NUL, however long the input.
TEST_F(UserBeyondTest, FormattingStopsAtItsLimit)
{
    GuardPage guard;
    const wstring longText(1500, L'x');
    const std::string longAnsi(3000, 'y');
    const struct { const wchar_t* fmt; const void* arg; } cases[] = {{longText.c_str(), nullptr}, {L"%s", longText.c_str()}, {L"%S", longAnsi.c_str()},
                          {L"%2000d", nullptr}};
    for (Formatter Format : formatters)
        for (const auto& c : cases) {
            WCHAR* buf = guard.End<WCHAR>(1024, L'#');
            EXPECT_EQ(Format(buf, c.fmt, c.arg), 1024) << Named(Format) << ' ' << (&c - cases);
            EXPECT_EQ(wcslen(buf), 1023u);
        }
}

// Case changes in place and of one character in the low word; character classes.
TEST_F(UserBeyondTest, CharacterCaseAndClasses)
{
    const wstring text = NonAsciiText();
    std::string upperA = ToAnsi(text);
    CharUpperA(upperA.data());
    wstring upper = L"abc" + text, lower = L"ABC" + text;
    CharUpperW(upper.data());
    EXPECT_EQ(upper, L"ABC" + FromAnsi(upperA));
    CharLowerW(lower.data());
    EXPECT_EQ(lower, L"abc" + text);
    const struct { LPWSTR(WINAPI* map)(LPWSTR); UINT_PTR c, expected; } chars[] = {
        {CharUpperW, 'q', 'Q'}, {CharLowerW, 'Q', 'q'}, {CharUpperW, 0xE9, 0xC9}};
    for (const auto& c : chars)
        if (c.c < 0x80 || CodePage() == 1252) {
            EXPECT_EQ(UINT_PTR(c.map(reinterpret_cast<LPWSTR>(c.c))), c.expected) << c.c;
        }

    const struct { WCHAR c; BOOL alpha, alphaNumeric; } classes[] = {
        {L'a', TRUE, TRUE},  {L'Z', TRUE, TRUE},   {L'5', FALSE, TRUE},
        {L' ', FALSE, FALSE}, {L'-', FALSE, FALSE}, {text[0], TRUE, TRUE}};
    for (const auto& c : classes) {
        EXPECT_EQ(IsCharAlphaW(c.c), c.alpha) << int(c.c);
        EXPECT_EQ(IsCharAlphaNumericW(c.c), c.alphaNumeric) << int(c.c);
    }
    EXPECT_EQ(MapVirtualKeyW('A', MAPVK_VK_TO_CHAR), UINT('A'));
    EXPECT_EQ(MapVirtualKeyW(VK_SHIFT, MAPVK_VK_TO_VSC), MapVirtualKeyA(VK_SHIFT, MAPVK_VK_TO_VSC));
}

// Classes by converted name; display records as the A functions fill them.
TEST_F(UserBeyondTest, ClassesDisplaysAndBoxes)
{
    const wstring name = L"twb class " + NonAsciiText();
    WNDCLASSW wc = {0, DefWindowProcA, 0, 0, GetModuleHandleA(nullptr), 0, 0, 0, 0, name.c_str()};
    const ATOM atom = RegisterClassW(&wc);
    ASSERT_NE(atom, 0);
    EXPECT_EQ(RegisterClassW(&wc), 0);
    EXPECT_EQ(GetLastError(), DWORD(ERROR_CLASS_ALREADY_EXISTS));
    WNDCLASSA found;
    EXPECT_EQ(GetClassInfoA(wc.hInstance, ToAnsi(name).c_str(), &found), BOOL(atom));
    EXPECT_TRUE(UnregisterClassA(ToAnsi(name).c_str(), wc.hInstance));

    DEVMODEW mode = {};
    mode.dmSize = sizeof mode;
    ASSERT_TRUE(EnumDisplaySettingsExW(nullptr, ENUM_CURRENT_SETTINGS, &mode, 0));
    EXPECT_EQ(mode.dmPelsWidth, DWORD(GetSystemMetrics(SM_CXSCREEN)));
    DISPLAY_DEVICEW device = {sizeof device, {}, {}, 0, {}, {}};
    DISPLAY_DEVICEA deviceA = {sizeof deviceA, {}, {}, 0, {}, {}};
    ASSERT_TRUE(EnumDisplayDevicesW(nullptr, 0, &device, 0));
    ASSERT_TRUE(EnumDisplayDevicesA(nullptr, 0, &deviceA, 0));
    EXPECT_EQ(wstring(device.DeviceName), FromAnsi(deviceA.DeviceName));
    EXPECT_EQ(wstring(device.DeviceString), FromAnsi(deviceA.DeviceString));
    EXPECT_FALSE(EnumDisplayDevicesW(nullptr, 99, &device, 0));
    if (AnsiPath()) {  // the W path would show the box
        EXPECT_EQ(MessageBoxIndirectW(nullptr), 0);
    }
}

// A broadcast reaches the A function as the caller made it, and allocates nothing.
TEST_F(UserBeyondTest, BroadcastsPassAsTheyAre)
{
    if (!AnsiPath())
        GTEST_SKIP() << "the W path hands its arguments through";
    const UINT message = RegisterWindowMessageA("twb broadcast");
    DWORD recipients = BSM_APPLICATIONS;  // binds the A function before the hook replaces it
    BroadcastSystemMessageW(BSF_IGNORECURRENTTASK | BSF_POSTMESSAGE, &recipients, message, 0, 0);
    struct Seen {
        DWORD flags, recipients;
        LPDWORD where;
        UINT message;
        WPARAM wp;
        LPARAM lp;
        bool operator==(const Seen&) const = default;
    } seen = {};
    TW_HOOK(hook, BroadcastSystemMessageA, [&](DWORD f, LPDWORD to, UINT m, WPARAM wp, LPARAM lp) {
        seen = {f, *to, to, m, wp, lp};
        return LONG(7);
    });
    for (DWORD flags : {DWORD(BSF_IGNORECURRENTTASK | BSF_NOHANG), DWORD(BSF_POSTMESSAGE)}) {
        const int allocations = HeapAllocCalls();
        EXPECT_EQ(BroadcastSystemMessageW(flags, &recipients, message, flags, 6), 7);
        EXPECT_EQ(HeapAllocCalls(), allocations);
        EXPECT_TRUE(seen == (Seen{flags, BSM_APPLICATIONS, &recipients, message, flags, 6}));
    }
}

}  // namespace
