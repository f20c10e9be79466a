// Character and text messages moved across the wide/ANSI boundary: a forwarder on one
// side, a procedure cracking them with the handlers on the other.
#include <string>
#include <vector>

#include "torwen.h"
#include "user/test_window.h"

namespace {

struct Call {
    UINT msg;
    WPARAM wParam;
    LPARAM lParam;
};
std::vector<Call> calls;  // what a forwarding function received

// What the wide handlers received, and what they give.
std::vector<std::pair<WCHAR, int>> chars;
std::wstring textSeen;
bool textWasNull;
int capacitySeen;
int handled;
std::wstring textToGive;

void CALLBACK OnChar(HWND, WCHAR ch, int cRepeat)
{
    ++handled;
    chars.push_back({ch, cRepeat});
}

void CALLBACK OnText(HWND, LPCWSTR text)
{
    ++handled;
    textWasNull = !text;
    textSeen = text ? text : L"";
}

int CALLBACK OnGetText(HWND, int cchTextMax, LPWSTR text)
{
    ++handled;
    capacitySeen = cchTextMax;
    lstrcpynW(text, textToGive.c_str(), cchTextMax);
    return lstrlenW(text);
}

void CALLBACK OnAskName(HWND, int cchMax, LPWSTR name)
{
    capacitySeen = cchMax;
    textSeen = name;
    lstrcpynW(name, textToGive.c_str(), lstrlenW(name) + 1);
}

LRESULT CALLBACK Record(HWND, UINT msg, WPARAM wParam, LPARAM lParam)
{
    calls.push_back({msg, wParam, lParam});
    return 0;
}

// A receiving procedure as a wide program writes it: every text message cracked.
LRESULT CALLBACK Receiver(HWND hwnd, UINT msg, WPARAM wParam, LPARAM lParam)
{
    calls.push_back({msg, wParam, lParam});
    switch (msg) {
    case WM_CHAR:
        return AtHANDLE_WM_CHARW(hwnd, wParam, lParam, OnChar);
    case WM_DEADCHAR:
        return AtHANDLE_WM_DEADCHARW(hwnd, wParam, lParam, OnChar);
    case WM_SYSCHAR:
        return AtHANDLE_WM_SYSCHARW(hwnd, wParam, lParam, OnChar);
    case WM_SYSDEADCHAR:
        return AtHANDLE_WM_SYSDEADCHARW(hwnd, wParam, lParam, OnChar);
    case WM_GETTEXT:
        return AtHANDLE_WM_GETTEXTW(hwnd, wParam, lParam, OnGetText);
    case WM_SETTEXT:
        AtHANDLE_WM_SETTEXTW(hwnd, wParam, lParam, OnText);
        return TRUE;  // as a window procedure answers a text it took
    case WM_WININICHANGE:
        return AtHANDLE_WM_WININICHANGEW(hwnd, wParam, lParam, OnText);
    case WM_DEVMODECHANGE:
        return AtHANDLE_WM_DEVMODECHANGEW(hwnd, wParam, lParam, OnText);
    }
    return DefWindowProcW(hwnd, msg, wParam, lParam);
}

// A procedure of the ANSI path answering with a text in bytes.
LRESULT CALLBACK GiveAnsiText(HWND, UINT msg, WPARAM wParam, LPARAM lParam)
{
    calls.push_back({msg, wParam, lParam});
    std::string s = harness::ToAnsi(textToGive);
    lstrcpynA(reinterpret_cast<LPSTR>(lParam), s.c_str(), int(wParam));
    return LRESULT(s.size());
}

struct CharMessage {
    UINT msg;
    void(WINAPI* forward)(HWND, WCHAR, int, WNDPROC);
    LRESULT(WINAPI* handle)(HWND, WPARAM, LPARAM, AtCharHandlerW);
};
const CharMessage charMessages[] = {
    {WM_CHAR, AtFORWARD_WM_CHARW, AtHANDLE_WM_CHARW},
    {WM_DEADCHAR, AtFORWARD_WM_DEADCHARW, AtHANDLE_WM_DEADCHARW},
    {WM_SYSCHAR, AtFORWARD_WM_SYSCHARW, AtHANDLE_WM_SYSCHARW},
    {WM_SYSDEADCHAR, AtFORWARD_WM_SYSDEADCHARW, AtHANDLE_WM_SYSDEADCHARW},
};

// Under code page 932 本 is 96 7B and 漢 8A BF. Round trips through the queue use 本:
// Wine's PostMessageA reads a sign-extended byte's high bits as a lead byte, where
// Windows 98 queues wParam as it is.
const WCHAR hon = 0x672C, kan = 0x6F22;

bool CharQueued(HWND hwnd)
{
    MSG msg;
    return PeekMessageW(&msg, hwnd, WM_CHAR, WM_CHAR, PM_NOREMOVE) != 0;
}

class TextMessagesTest : public harness::TorwenTest {
protected:
    void SetUp() override
    {
        harness::TorwenTest::SetUp();
        calls.clear();
        chars.clear();
        textSeen.clear();
        textToGive.clear();
        handled = 0;
        ASSERT_TRUE(window.hwnd);
    }

    TestWindow window;
};

// Only the repeat count travels, cut to 16 bits; the handler reads it sign-extended.
// A character comes back as the one forwarded: one byte or two on the ANSI path.
TEST_F(TextMessagesTest, CharactersRoundTrip)
{
    for (const CharMessage& m : charMessages) {
        calls.clear();
        m.forward(window.hwnd, L'a', 0x18001, Record);
        ASSERT_EQ(calls.size(), 1u);
        EXPECT_EQ(calls[0].msg, m.msg);
        EXPECT_EQ(calls[0].wParam, WPARAM('a'));
        EXPECT_EQ(calls[0].lParam, 0x8001);
        chars.clear();
        EXPECT_EQ(m.handle(window.hwnd, L'a', 0x00FF8001, OnChar), 0);
        EXPECT_EQ(chars.at(0), std::make_pair(WCHAR('a'), -32767));

        // The dead-key and system-key forms carry one byte: no double-byte character.
        WCHAR ch = harness::CodePage() != 932 ? harness::NonAsciiText()[3]
                   : m.msg == WM_CHAR             ? hon
                                                  : 0xFF71;  // ｱ, one byte
        chars.clear();
        m.forward(window.hwnd, ch, 3, Receiver);
        EXPECT_EQ(chars.at(0), std::make_pair(ch, 3)) << m.msg;
        EXPECT_FALSE(CharQueued(window.hwnd));
    }
}

TEST_F(TextMessagesTest, DoubleByteCharacterIsALeadByteNowAndATrailByteQueued)
{
    if (!DoubleBytePath())
        GTEST_SKIP() << "two bytes a character only on the ANSI path under code page 932";
    AtFORWARD_WM_CHARW(window.hwnd, hon, 2, Record);
    ASSERT_EQ(calls.size(), 1u);
    EXPECT_EQ(calls[0].wParam, WPARAM(0xFFFFFF96)) << "the lead byte goes out sign-extended";
    MSG trail;
    ASSERT_TRUE(PeekMessageW(&trail, window.hwnd, WM_CHAR, WM_CHAR, PM_REMOVE));
    EXPECT_EQ(trail.wParam & 0xFF, 0x7Bu);
    EXPECT_EQ(trail.lParam, 2);
    EXPECT_FALSE(CharQueued(window.hwnd)) << "exactly one message queued";

    // The dead-key and system-key forms neither post nor take a trail byte.
    WCHAR alone = 0;
    MultiByteToWideChar(CP_ACP, 0, "\x96", 1, &alone, 1);
    for (const CharMessage& m : charMessages) {
        if (m.msg == WM_CHAR)
            continue;
        calls.clear();
        m.forward(window.hwnd, hon, 1, Record);
        EXPECT_EQ(calls.size(), 1u);
        EXPECT_FALSE(CharQueued(window.hwnd)) << m.msg;
        PostMessageW(window.hwnd, WM_CHAR, 0x7B, 1);
        chars.clear();
        m.handle(window.hwnd, 0x96, 1, OnChar);
        EXPECT_EQ(chars.at(0).first, alone);
        EXPECT_TRUE(PeekMessageW(&trail, window.hwnd, WM_CHAR, WM_CHAR, PM_REMOVE));
    }
    // A lead byte with nothing queued is converted alone.
    chars.clear();
    EXPECT_EQ(AtHANDLE_WM_CHARW(window.hwnd, 0xFFFFFF96, 1, OnChar), 0);
    EXPECT_EQ(chars.at(0).first, alone);

    // What the post carries before the system reads it: the trail byte sign-extended.
    std::vector<Call> posted;
    TW_HOOK(post, PostMessageA, [&](HWND hwnd, UINT msg, WPARAM wParam, LPARAM lParam) {
        EXPECT_EQ(hwnd, window.hwnd);
        posted.push_back({msg, wParam, lParam});
        return TRUE;
    });
    AtFORWARD_WM_CHARW(window.hwnd, kan, 1, Record);
    ASSERT_EQ(posted.size(), 1u);
    EXPECT_EQ(posted[0].msg, UINT(WM_CHAR));
    EXPECT_EQ(posted[0].wParam, WPARAM(0xFFFFFFBF));
    EXPECT_EQ(posted[0].lParam, 1);
}

TEST_F(TextMessagesTest, TextRoundTrips)
{
    const std::wstring text = L"x " + harness::NonAsciiText();
    textToGive = text;
    WCHAR buf[32];
    EXPECT_EQ(AtFORWARD_WM_GETTEXTW(window.hwnd, 32, buf, Receiver), int(text.size()));
    EXPECT_EQ(std::wstring(buf), text);
    // The procedure is told the ANSI buffer's size in bytes; the handler gets as many
    // characters.
    CPINFO cp;
    GetCPInfo(CP_ACP, &cp);
    const UINT room = harness::AnsiPath() ? 32 * cp.MaxCharSize : 32;
    EXPECT_EQ(calls.at(0).wParam, room);
    EXPECT_EQ(capacitySeen, int(room));

    // Longer than the buffer: cut on a single-byte code page, refused on a double-byte one.
    textToGive = L"abcdefgh";
    EXPECT_EQ(AtFORWARD_WM_GETTEXTW(window.hwnd, 3, buf, Receiver), DoubleBytePath() ? 0 : 2);

    for (auto forward : {AtFORWARD_WM_SETTEXTW, AtFORWARD_WM_WININICHANGEW,
                         AtFORWARD_WM_DEVMODECHANGEW}) {
        calls.clear();
        forward(window.hwnd, text.c_str(), Receiver);
        EXPECT_EQ(calls.at(0).wParam, 0u);
        EXPECT_EQ(textSeen, text);
        forward(window.hwnd, nullptr, Receiver);
        EXPECT_EQ(calls.at(1).lParam, 0);
        EXPECT_TRUE(textWasNull);
    }
}

// A wide procedure of a real window, reading what the window manager sends it.
TEST_F(TextMessagesTest, WindowProcedureSeesWideCharactersAndText)
{
    TestWindow::handler = Receiver;
    const std::wstring text = harness::NonAsciiText() + L" text";
    ASSERT_TRUE(SetWindowTextW(window.hwnd, text.c_str()));
    EXPECT_EQ(textSeen, text);
    textToGive = L"given " + harness::NonAsciiText();
    EXPECT_EQ(TextOf(window.hwnd), textToGive);
    WCHAR buf[32];
    EXPECT_EQ(AtFORWARD_WM_GETTEXTW(window.hwnd, 32, buf, SendMessageW), int(textToGive.size()));
    EXPECT_EQ(std::wstring(buf), textToGive);

    WCHAR ch = harness::CodePage() == 932 ? hon : harness::NonAsciiText()[3];
    AtFORWARD_WM_CHARW(window.hwnd, ch, 1, SendMessageW);
    MSG msg;
    while (PeekMessageW(&msg, window.hwnd, 0, 0, PM_REMOVE))
        DispatchMessageW(&msg);
    ASSERT_EQ(chars.size(), 1u);
    EXPECT_EQ(chars[0].first, ch);
}

TEST_F(TextMessagesTest, EdgesOfTheAnsiPath)
{
    if (!harness::AnsiPath())
        GTEST_SKIP() << "the W path passes the values through";
    // No room: no buffer, and an empty text for a procedure that copies nothing.
    WCHAR buf[32] = L"#";
    EXPECT_EQ(AtFORWARD_WM_GETTEXTW(window.hwnd, 0, buf, Record), 0);
    EXPECT_EQ(calls.at(0).wParam, 0u);
    EXPECT_EQ(calls.at(0).lParam, 0);
    EXPECT_EQ(buf[0], L'\0');
    // A procedure answers bytes, the caller gets characters; and the other way round.
    textToGive = harness::NonAsciiText();
    const std::string ansi = harness::ToAnsi(textToGive);
    EXPECT_EQ(AtFORWARD_WM_GETTEXTW(window.hwnd, 32, buf, GiveAnsiText), int(textToGive.size()));
    EXPECT_EQ(std::wstring(buf), textToGive);
    char out[32] = "#######";
    EXPECT_EQ(AtHANDLE_WM_GETTEXTW(window.hwnd, 32, LPARAM(out), OnGetText), LRESULT(ansi.size()));
    EXPECT_EQ(std::string(out), ansi);
    // A handler that gives nothing leaves one zero byte.
    lstrcpyA(out, "###");
    textToGive.clear();
    EXPECT_EQ(AtHANDLE_WM_GETTEXTW(window.hwnd, 32, LPARAM(out), OnGetText), 0);
    EXPECT_EQ(std::string(out, 3), std::string("\0##", 3));

    // A format name comes back when forwarded, but not when handled: the handler
    // writes into a wide copy of what the buffer held.
    textToGive = harness::NonAsciiText();
    AtFORWARD_WM_ASKCBFORMATNAMEW(window.hwnd, 32, buf, GiveAnsiText);
    EXPECT_EQ(calls.back().msg, UINT(WM_ASKCBFORMATNAME));
    EXPECT_EQ(std::wstring(buf), textToGive);
    lstrcpyA(out, "old");
    textToGive = L"new";
    EXPECT_EQ(AtHANDLE_WM_ASKCBFORMATNAMEW(window.hwnd, 32, LPARAM(out), OnAskName), 0);
    EXPECT_EQ(textSeen, L"old");
    EXPECT_EQ(capacitySeen, 32) << "the message's own capacity";
    EXPECT_STREQ(out, "old");
}

// A translator that cannot allocate calls nothing, answers 0 and leaves the error of
// the helper that failed.
TEST_F(TextMessagesTest, FailuresCallNothing)
{
    if (!harness::AnsiPath())
        GTEST_SKIP() << "the W path allocates nothing";
    const std::wstring text = harness::NonAsciiText();
    char ansiText[16] = "abc";
    const LPARAM ansi = reinterpret_cast<LPARAM>(ansiText);
    WCHAR buf[16];
    const std::function<LRESULT()> members[] = {
        [&] { return AtFORWARD_WM_GETTEXTW(window.hwnd, 16, buf, Record); },
        [&] { return (AtFORWARD_WM_CHARW(window.hwnd, text[0], 1, Record), 0); },
        [&] { return (AtFORWARD_WM_SETTEXTW(window.hwnd, text.c_str(), Record), 0); },
        [&] { return AtHANDLE_WM_GETTEXTW(window.hwnd, 16, ansi, OnGetText); },
        [&] { return AtHANDLE_WM_CHARW(window.hwnd, 'a', 1, OnChar); },
        [&] { return AtHANDLE_WM_SETTEXTW(window.hwnd, 0, ansi, OnText); },
    };
    for (const auto& call : members) {
        EXPECT_EQ(harness::SweepAllocationFailures([&](int k) {
            calls.clear();
            handled = 0;
            SetLastError(0);
            LRESULT result = call();
            if (harness::HeapAllocCalls() < k)
                return;
            EXPECT_EQ(result, 0);
            EXPECT_TRUE(calls.empty() && handled == 0) << "nothing is called";
            EXPECT_EQ(GetLastError(), DWORD(ERROR_OUTOFMEMORY));
        }), 1);
    }
    // A buffer beyond the address space fails as an allocation does.
    SetLastError(0);
    handled = 0;
    EXPECT_EQ(AtHANDLE_WM_GETTEXTW(window.hwnd, 0x80000000, ansi, OnGetText), 0);
    EXPECT_EQ(handled, 0);
    EXPECT_EQ(GetLastError(), DWORD(ERROR_OUTOFMEMORY));
}

}  // namespace
