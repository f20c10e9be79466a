// Character and text messages moved across the wide/ANSI boundary: a forwarder on
// one side, a procedure cracking with the handlers on the other.
#include <functional>
#include <string>
#include <vector>

#include "harness/harness.h"
#include "torwen.h"
#include "user/test_window.h"

namespace {

struct Call {
    UINT msg;
    WPARAM wParam;
    LPARAM lParam;
};

// What the forwarding function received, and what it answers.
std::vector<Call> calls;
LRESULT answer;

LRESULT CALLBACK Record(HWND, UINT msg, WPARAM wParam, LPARAM lParam)
{
    calls.push_back({msg, wParam, lParam});
    return answer;
}

// What the wide handlers received.
std::vector<std::pair<WCHAR, int>> chars;
std::wstring textSeen;
bool textWasNull;
int capacitySeen;
std::wstring textToGive;  // what the WM_GETTEXT and WM_ASKCBFORMATNAME handlers write
int handled;              // calls of any handler

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
    ++handled;
    capacitySeen = cchMax;
    textSeen = name;
    lstrcpynW(name, textToGive.c_str(), lstrlenW(name) + 1);
}

// A receiving procedure as a wide program writes it: every text message through a cracker.
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
        return AtHANDLE_WM_SETTEXTW(hwnd, wParam, lParam, OnText);
    case WM_WININICHANGE:
        return AtHANDLE_WM_WININICHANGEW(hwnd, wParam, lParam, OnText);
    case WM_DEVMODECHANGE:
        return AtHANDLE_WM_DEVMODECHANGEW(hwnd, wParam, lParam, OnText);
    case WM_ASKCBFORMATNAME:
        return AtHANDLE_WM_ASKCBFORMATNAMEW(hwnd, wParam, lParam, OnAskName);
    }
    return DefWindowProcW(hwnd, msg, wParam, lParam);
}

using CharForwarder = void(WINAPI*)(HWND, WCHAR, int, WNDPROC);
using CharHandler = LRESULT(WINAPI*)(HWND, WPARAM, LPARAM, AtCharHandlerW);
struct CharMessage {
    UINT msg;
    CharForwarder forward;
    CharHandler handle;
};
const CharMessage charMessages[] = {
    {WM_CHAR, AtFORWARD_WM_CHARW, AtHANDLE_WM_CHARW},
    {WM_DEADCHAR, AtFORWARD_WM_DEADCHARW, AtHANDLE_WM_DEADCHARW},
    {WM_SYSCHAR, AtFORWARD_WM_SYSCHARW, AtHANDLE_WM_SYSCHARW},
    {WM_SYSDEADCHAR, AtFORWARD_WM_SYSDEADCHARW, AtHANDLE_WM_SYSDEADCHARW},
};

using StringForwarder = void(WINAPI*)(HWND, LPCWSTR, WNDPROC);
struct StringMessage {
    UINT msg;
    StringForwarder forward;
};
const StringMessage stringMessages[] = {
    {WM_SETTEXT, AtFORWARD_WM_SETTEXTW},
    {WM_WININICHANGE, AtFORWARD_WM_WININICHANGEW},
    {WM_DEVMODECHANGE, AtFORWARD_WM_DEVMODECHANGEW},
};

// A procedure of the ANSI path copying a text of its own, answering its length in bytes.
LRESULT CALLBACK GiveAnsiText(HWND, UINT msg, WPARAM wParam, LPARAM lParam)
{
    calls.push_back({msg, wParam, lParam});
    std::string s = harness::ToAnsi(textToGive);
    lstrcpynA(reinterpret_cast<LPSTR>(lParam), s.c_str(), int(wParam));
    return LRESULT(s.size());
}

// A procedure writing a name in the platform's character set.
LRESULT CALLBACK GiveName(HWND, UINT msg, WPARAM wParam, LPARAM lParam)
{
    calls.push_back({msg, wParam, lParam});
    if (harness::AnsiPath())
        lstrcpynA(reinterpret_cast<LPSTR>(lParam), harness::ToAnsi(textToGive).c_str(),
                  int(wParam));
    else
        lstrcpynW(reinterpret_cast<LPWSTR>(lParam), textToGive.c_str(), int(wParam));
    return 0;
}

// A handler that claims a text without writing one.
int CALLBACK ClaimText(HWND, int, LPWSTR)
{
    ++handled;
    return 1;
}

UINT MaxCharSize()
{
    CPINFO info;
    GetCPInfo(CP_ACP, &info);
    return info.MaxCharSize;
}

// Under code page 932: 本 is 96 7B, 漢 is 8A BF (a trail byte of 0x80 or more that is
// not itself a lead byte). Round trips through the queue use 本: Wine's PostMessageA
// reads the high bits of a sign-extended byte as a lead byte, where Windows 98 queues
// wParam as it is.
const WCHAR hon = 0x672C;
const WCHAR kan = 0x6F22;

bool DoubleBytePath()
{
    return harness::AnsiPath() && harness::CodePage() == 932;
}

class TextMessagesTest : public harness::TorwenTest {
protected:
    void SetUp() override
    {
        harness::TorwenTest::SetUp();
        calls.clear();
        answer = 0;
        chars.clear();
        textSeen.clear();
        textWasNull = false;
        capacitySeen = -1;
        textToGive.clear();
        handled = 0;
        ASSERT_TRUE(window.hwnd);
    }

    TestWindow window;
};

TEST_F(TextMessagesTest, CharacterForwardersBuildTheMessageFromTheRepeatCountAlone)
{
    for (const CharMessage& m : charMessages) {
        calls.clear();
        m.forward(window.hwnd, L'a', 0x12345, Record);
        ASSERT_EQ(calls.size(), 1u) << m.msg;
        EXPECT_EQ(calls[0].msg, m.msg);
        EXPECT_EQ(calls[0].wParam, WPARAM('a'));
        EXPECT_EQ(calls[0].lParam, 0x2345) << "scan code and flags are not forwarded";
    }
    EXPECT_FALSE(CharQueued(window.hwnd));
}

TEST_F(TextMessagesTest, CharacterHandlersSignExtendTheRepeatField)
{
    for (const CharMessage& m : charMessages) {
        chars.clear();
        EXPECT_EQ(m.handle(window.hwnd, L'a', 0x00FF8000, OnChar), 0);
        ASSERT_EQ(chars.size(), 1u) << m.msg;
        EXPECT_EQ(chars[0].first, L'a');
        EXPECT_EQ(chars[0].second, -32768);
    }
}

// The receiver gets, as a wide character, what the sender forwarded: one byte or two
// on the ANSI path, the character itself on the W path.
TEST_F(TextMessagesTest, CharactersReachTheHandlerAsTheyWereForwarded)
{
    const WCHAR nonAscii = harness::CodePage() == 932 ? hon : harness::NonAsciiText()[0];
    const std::wstring sample = {L'a', L'~', nonAscii};
    for (WCHAR ch : sample) {
        chars.clear();
        AtFORWARD_WM_CHARW(window.hwnd, ch, 3, Receiver);
        ASSERT_EQ(chars.size(), 1u) << int(ch);
        EXPECT_EQ(chars[0].first, ch);
        EXPECT_EQ(chars[0].second, 3);
        EXPECT_FALSE(CharQueued(window.hwnd)) << "the trail byte was taken from the queue";
    }
    for (const CharMessage& m : charMessages) {
        if (m.msg == WM_CHAR)
            continue;
        chars.clear();
        // One byte each way: a character of two bytes does not pass.
        const WCHAR ch = harness::CodePage() == 932 ? L'~' : nonAscii;
        m.forward(window.hwnd, ch, 1, Receiver);
        ASSERT_EQ(chars.size(), 1u);
        EXPECT_EQ(chars[0].first, ch);
    }
}

TEST_F(TextMessagesTest, DoubleByteCharacterIsALeadByteNowAndATrailByteQueued)
{
    if (!DoubleBytePath())
        GTEST_SKIP() << "two bytes a character only on the ANSI path under code page 932";
    AtFORWARD_WM_CHARW(window.hwnd, hon, 0x10002, Record);
    ASSERT_EQ(calls.size(), 1u);
    EXPECT_EQ(calls[0].msg, UINT(WM_CHAR));
    EXPECT_EQ(calls[0].wParam, WPARAM(0xFFFFFF96)) << "the lead byte goes out sign-extended";
    EXPECT_EQ(calls[0].lParam, 2);

    MSG trail;
    ASSERT_TRUE(PeekMessageW(&trail, window.hwnd, WM_CHAR, WM_CHAR, PM_REMOVE));
    EXPECT_EQ(trail.wParam & 0xFF, 0x7Bu);
    EXPECT_EQ(trail.lParam, 2);
    EXPECT_FALSE(CharQueued(window.hwnd)) << "exactly one message queued";

    // What the posted message carries, before the system reads it.
    std::vector<Call> posted;
    TW_HOOK(post, PostMessageA, [&](HWND hwnd, UINT msg, WPARAM wParam, LPARAM lParam) {
        EXPECT_EQ(hwnd, window.hwnd);
        posted.push_back({msg, wParam, lParam});
        return TRUE;
    });
    calls.clear();
    AtFORWARD_WM_CHARW(window.hwnd, kan, 1, Record);
    ASSERT_EQ(posted.size(), 1u);
    EXPECT_EQ(posted[0].msg, UINT(WM_CHAR));
    EXPECT_EQ(posted[0].wParam, WPARAM(0xFFFFFFBF)) << "the trail byte is sign-extended too";
    EXPECT_EQ(posted[0].lParam, 1);
    ASSERT_EQ(calls.size(), 1u);
    EXPECT_EQ(calls[0].wParam, WPARAM(0xFFFFFF8A));
}

TEST_F(TextMessagesTest, DeadAndSystemKeyFormsCarryOneByteAndLeaveTheQueueAlone)
{
    if (!DoubleBytePath())
        GTEST_SKIP() << "two bytes a character only on the ANSI path under code page 932";
    for (const CharMessage& m : charMessages) {
        if (m.msg == WM_CHAR)
            continue;
        calls.clear();
        m.forward(window.hwnd, hon, 1, Record);
        EXPECT_EQ(calls.size(), 1u);
        EXPECT_FALSE(CharQueued(window.hwnd)) << m.msg << ": nothing is posted";

        // A lead byte is converted alone; the WM_CHAR waiting is not taken.
        PostMessageW(window.hwnd, WM_CHAR, 0x7B, 1);
        chars.clear();
        WCHAR alone = 0;
        MultiByteToWideChar(CP_ACP, 0, "\x96", 1, &alone, 1);
        EXPECT_EQ(m.handle(window.hwnd, 0x96, 1, OnChar), 0);
        ASSERT_EQ(chars.size(), 1u);
        EXPECT_EQ(chars[0].first, alone);
        EXPECT_TRUE(CharQueued(window.hwnd));
        MSG msg;
        PeekMessageW(&msg, window.hwnd, WM_CHAR, WM_CHAR, PM_REMOVE);
    }
}

TEST_F(TextMessagesTest, LeadByteWithNothingQueuedIsConvertedAlone)
{
    if (!DoubleBytePath())
        GTEST_SKIP() << "lead bytes only on the ANSI path under code page 932";
    WCHAR alone = 0;
    MultiByteToWideChar(CP_ACP, 0, "\x96", 1, &alone, 1);
    EXPECT_EQ(AtHANDLE_WM_CHARW(window.hwnd, 0xFFFFFF96, 1, OnChar), 0);
    ASSERT_EQ(chars.size(), 1u);
    EXPECT_EQ(chars[0].first, alone);
}

TEST_F(TextMessagesTest, TextRoundTripsThroughForwarderAndHandler)
{
    const std::wstring text = L"x" + harness::NonAsciiText() + L"y";
    textToGive = text;
    WCHAR buf[32];
    EXPECT_EQ(AtFORWARD_WM_GETTEXTW(window.hwnd, 32, buf, Receiver), int(text.size()));
    EXPECT_EQ(std::wstring(buf), text);
    ASSERT_EQ(calls.size(), 1u);
    // The procedure is told the ANSI buffer's size in bytes, the handler its own
    // capacity in characters.
    EXPECT_EQ(calls[0].wParam, harness::AnsiPath() ? 32u * MaxCharSize() : 32u);
    EXPECT_EQ(capacitySeen, harness::AnsiPath() ? int(32 * MaxCharSize()) : 32);

    for (const StringMessage& m : stringMessages) {
        calls.clear();
        m.forward(window.hwnd, text.c_str(), Receiver);
        ASSERT_EQ(calls.size(), 1u);
        EXPECT_EQ(calls[0].msg, m.msg);
        EXPECT_EQ(calls[0].wParam, 0u);
        EXPECT_EQ(textSeen, text);

        m.forward(window.hwnd, nullptr, Receiver);
        EXPECT_EQ(calls[1].lParam, 0);
        EXPECT_TRUE(textWasNull);
    }
}

// On a double-byte code page the procedure's room in bytes holds more characters than
// the caller's buffer: the copy back fails instead of cutting the text.
TEST_F(TextMessagesTest, TextLongerThanTheBufferIsCutOrRefused)
{
    textToGive = L"abcdefgh";
    WCHAR buf[4] = {L'#', L'#', L'#', L'#'};
    int n = AtFORWARD_WM_GETTEXTW(window.hwnd, 3, buf, Receiver);
    if (DoubleBytePath()) {
        EXPECT_EQ(n, 0);
    } else {
        EXPECT_EQ(n, 2);
        EXPECT_EQ(std::wstring(buf), L"ab");
    }
}

TEST_F(TextMessagesTest, GetTextAnswersWideCharactersAndWritesAnEmptyTextForNothing)
{
    if (!harness::AnsiPath())
        GTEST_SKIP() << "the W path passes the procedure's answer through";
    const std::string ansi = harness::ToAnsi(harness::NonAsciiText());
    WCHAR buf[32] = {L'#'};

    // A procedure that copies nothing: an empty text, and no buffer for no room.
    EXPECT_EQ(AtFORWARD_WM_GETTEXTW(window.hwnd, 0, buf, Record), 0);
    EXPECT_EQ(calls[0].wParam, 0u);
    EXPECT_EQ(calls[0].lParam, 0);
    EXPECT_EQ(buf[0], L'\0');

    // A procedure answering bytes: the caller gets characters.
    textToGive = harness::NonAsciiText();
    EXPECT_EQ(AtFORWARD_WM_GETTEXTW(window.hwnd, 32, buf, GiveAnsiText),
              int(harness::NonAsciiText().size()));
    EXPECT_EQ(std::wstring(buf), harness::NonAsciiText());

    // A handler that gives nothing leaves one zero byte in the system's buffer.
    char out[32] = "#######";
    textToGive.clear();
    EXPECT_EQ(AtHANDLE_WM_GETTEXTW(window.hwnd, 32, LPARAM(out), OnGetText), 0);
    EXPECT_EQ(out[0], '\0');
    EXPECT_EQ(out[1], '#');

    // The system gets the ANSI byte count without the NUL.
    textToGive = harness::NonAsciiText();
    EXPECT_EQ(AtHANDLE_WM_GETTEXTW(window.hwnd, 32, LPARAM(out), OnGetText), LRESULT(ansi.size()));
    EXPECT_EQ(std::string(out), ansi);
}

// The forwarder copies the name back; the handler hands its handler a copy and keeps
// what the handler writes from the system's buffer.
TEST_F(TextMessagesTest, FormatNameComesBackWhenForwardedButNotWhenHandled)
{
    WCHAR name[16] = L"old";
    textToGive = harness::NonAsciiText();
    AtFORWARD_WM_ASKCBFORMATNAMEW(window.hwnd, 16, name, GiveName);
    ASSERT_EQ(calls.size(), 1u);
    EXPECT_EQ(calls[0].msg, UINT(WM_ASKCBFORMATNAME));
    EXPECT_EQ(std::wstring(name), textToGive);

    textToGive = L"new";
    if (harness::AnsiPath()) {
        char ansi[16] = "old";
        EXPECT_EQ(AtHANDLE_WM_ASKCBFORMATNAMEW(window.hwnd, 16, LPARAM(ansi), OnAskName), 0);
        EXPECT_EQ(textSeen, L"old");
        EXPECT_EQ(capacitySeen, 16) << "the message's own capacity";
        EXPECT_STREQ(ansi, "old") << "nothing is copied back";
    } else {
        WCHAR wide[16] = L"old";
        EXPECT_EQ(AtHANDLE_WM_ASKCBFORMATNAMEW(window.hwnd, 16, LPARAM(wide), OnAskName), 0);
        EXPECT_EQ(std::wstring(wide), L"new");
    }
}

// A wide procedure of a real window, reading what the window manager sends it.
TEST_F(TextMessagesTest, WindowProcedureSeesWideTextOnBothPaths)
{
    // A window's procedure answers TRUE for a text it took.
    TestWindow::handler = [](HWND hwnd, UINT msg, WPARAM wParam, LPARAM lParam) {
        LRESULT r = Receiver(hwnd, msg, wParam, lParam);
        return msg == WM_SETTEXT ? TRUE : r;
    };
    const std::wstring text = harness::NonAsciiText() + L" text";
    ASSERT_TRUE(SetWindowTextW(window.hwnd, text.c_str()));
    EXPECT_EQ(textSeen, text);

    textToGive = L"given " + harness::NonAsciiText();
    WCHAR buf[32];
    EXPECT_EQ(GetWindowTextW(window.hwnd, buf, 32), int(textToGive.size()));
    EXPECT_EQ(std::wstring(buf), textToGive);
    EXPECT_EQ(AtFORWARD_WM_GETTEXTW(window.hwnd, 32, buf, SendMessageW), int(textToGive.size()));
    EXPECT_EQ(std::wstring(buf), textToGive);

    textSeen.clear();
    AtFORWARD_WM_SETTEXTW(window.hwnd, text.c_str(), SendMessageW);
    EXPECT_EQ(textSeen, text);

    chars.clear();
    WCHAR ch = harness::CodePage() == 932 ? hon : harness::NonAsciiText()[0];
    AtFORWARD_WM_CHARW(window.hwnd, ch, 1, SendMessageW);
    MSG msg;
    while (PeekMessageW(&msg, window.hwnd, 0, 0, PM_REMOVE))
        DispatchMessageW(&msg);
    ASSERT_EQ(chars.size(), 1u);
    EXPECT_EQ(chars[0].first, ch);
}

TEST_F(TextMessagesTest, AllocationFailureCallsNothingAndLeavesTheHelpersError)
{
    if (!harness::AnsiPath())
        GTEST_SKIP() << "the W path allocates nothing";
    const std::wstring text = harness::NonAsciiText();
    textToGive = text;
    auto failed = [](int k) { return harness::HeapAllocCalls() >= k; };
    auto sweep = [&](const std::function<LRESULT()>& call) {
        return harness::SweepAllocationFailures([&](int k) {
            calls.clear();
            handled = 0;
            SetLastError(0);
            LRESULT result = call();
            if (!failed(k))
                return;
            EXPECT_EQ(result, 0);
            EXPECT_TRUE(calls.empty()) << "the procedure is not called";
            EXPECT_EQ(handled, 0) << "the handler is not called";
            EXPECT_EQ(GetLastError(), DWORD(ERROR_OUTOFMEMORY));
        });
    };
    WCHAR buf[16];
    char ansiText[16] = "abc";
    const LPARAM ansi = reinterpret_cast<LPARAM>(ansiText);
    EXPECT_GT(sweep([&] { return AtFORWARD_WM_GETTEXTW(window.hwnd, 16, buf, Record); }), 0);
    EXPECT_GT(sweep([&] {
        AtFORWARD_WM_CHARW(window.hwnd, text[0], 1, Record);
        return 0;
    }), 0);
    EXPECT_GT(sweep([&] {
        AtFORWARD_WM_SETTEXTW(window.hwnd, text.c_str(), Record);
        return 0;
    }), 0);
    EXPECT_GT(sweep([&] { return AtHANDLE_WM_GETTEXTW(window.hwnd, 16, ansi, OnGetText); }), 0);
    EXPECT_GT(sweep([&] { return AtHANDLE_WM_CHARW(window.hwnd, 'a', 1, OnChar); }), 0);
    EXPECT_GT(sweep([&] { return AtHANDLE_WM_SETTEXTW(window.hwnd, 0, ansi, OnText); }), 0);

    // A buffer size above 0x7FFFFFFF is refused by the copy back, after the handler.
    lstrcpyA(ansiText, "abc");
    SetLastError(0);
    EXPECT_EQ(AtHANDLE_WM_GETTEXTW(window.hwnd, 0x80000000, ansi, ClaimText), 0);
    EXPECT_EQ(GetLastError(), DWORD(ERROR_INVALID_PARAMETER));
    EXPECT_STREQ(ansiText, "abc");
}

}  // namespace
