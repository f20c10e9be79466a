// Messages moved across the wide/ANSI boundary: a forwarder on one side, a procedure
// cracking them with the handlers on the other.
#include <cstddef>
#include <cstring>
#include <tuple>
#include <vector>

#include "commctrl/controls.h"

namespace {

using Chars = std::vector<std::pair<WCHAR, int>>;

// Under code page 932 本 is 96 7B, and ｱ the one byte B1.
const WCHAR hon = 0x672C, katakanaA = 0xFF71;

// A name of a creation record, an atom as "#number".
std::wstring Name(LPCWSTR s)
{
    return (!s ? L"<null>" : IS_INTRESOURCE(s) ? L"#" + std::to_wstring(UINT_PTR(s)) : s) + L";";
}

class MessagesTest : public harness::TorwenTest {
protected:
    void SetUp() override
    {
        harness::TorwenTest::SetUp();
        calls.clear();
        chars.clear();
        handled = 0;
        createAnswer = TRUE;
    }

    // What a forwarder's procedure and the wide handlers received, and what they give.
    static inline std::vector<MSG> calls;
    static inline Chars chars;
    static inline int handled, capacity;
    static inline std::wstring seen, toGive;
    static inline CREATESTRUCTW record;
    static inline MDICREATESTRUCTW mdiRecord;
    static inline BOOL createAnswer;

    static void CALLBACK OnChar(HWND, WCHAR ch, int n) { ++handled, chars.push_back({ch, n}); }
    static void CALLBACK OnText(HWND, LPCWSTR s) { ++handled, seen = s ? s : L"<null>"; }
    static void CALLBACK OnAskName(HWND, int n, LPWSTR s) { capacity = n, seen = s, *s = L'!'; }
    static int CALLBACK OnGetText(HWND, int n, LPWSTR s)
    {
        ++handled, capacity = n;
        return lstrlenW(lstrcpynW(s, toGive.c_str(), n));
    }
    static BOOL CALLBACK OnCreate(HWND, LPCREATESTRUCTW cs)
    {
        ++handled, record = *cs, seen = Name(cs->lpszName) + Name(cs->lpszClass);
        return createAnswer;
    }
    static HWND CALLBACK OnMDICreate(HWND, LPMDICREATESTRUCTW mcs)
    {
        ++handled, mdiRecord = *mcs, seen = Name(mcs->szTitle) + Name(mcs->szClass);
        return reinterpret_cast<HWND>(0xFFFFFFFE);
    }
    static LRESULT CALLBACK Record(HWND hwnd, UINT msg, WPARAM wParam, LPARAM lParam)
    {
        calls.push_back({hwnd, msg, wParam, lParam, 0, {}});
        return 0;
    }
    // A procedure of the ANSI path naming a clipboard format.
    static LRESULT CALLBACK NameFormat(HWND, UINT, WPARAM wParam, LPARAM lParam)
    {
        lstrcpynA(LPSTR(lParam), harness::ToAnsi(toGive).c_str(), int(wParam));
        return 0;
    }
    static LRESULT CALLBACK Receiver(HWND hwnd, UINT msg, WPARAM wParam, LPARAM lParam);
    // Answers WM_GETTEXT with four characters and no terminator.
    static LRESULT CALLBACK Unterminated(HWND hwnd, UINT msg, WPARAM wParam, LPARAM lParam)
    {
        if (msg != WM_GETTEXT)
            return DefWindowProcW(hwnd, msg, wParam, lParam);
        if (harness::AnsiPath())
            memcpy(LPSTR(lParam), "abcd", 4);
        else
            memcpy(LPWSTR(lParam), L"abcd", 8);
        return 4;
    }
    static int CALLBACK NoText(HWND, int, LPWSTR) { return ++handled, 0; }
    static BOOL CALLBACK NoRecord(HWND, LPCREATESTRUCTW cs) { return ++handled, !cs; }
    static HWND CALLBACK NoMDIRecord(HWND, LPMDICREATESTRUCTW mcs) { return ++handled, HWND(mcs); }
    static LRESULT CALLBACK OnNotify(HWND, int, NMHDR*) { return ++handled, 1; }

    TestWindow window;
    MSG queued;
};

const struct {
    UINT msg;
    void(WINAPI* forward)(HWND, WCHAR, int, WNDPROC);
    LRESULT(WINAPI* handle)(HWND, WPARAM, LPARAM, AtCharHandlerW);
} charMessages[] = {
    {WM_CHAR, AtFORWARD_WM_CHARW, AtHANDLE_WM_CHARW},
    {WM_DEADCHAR, AtFORWARD_WM_DEADCHARW, AtHANDLE_WM_DEADCHARW},
    {WM_SYSCHAR, AtFORWARD_WM_SYSCHARW, AtHANDLE_WM_SYSCHARW},
    {WM_SYSDEADCHAR, AtFORWARD_WM_SYSDEADCHARW, AtHANDLE_WM_SYSDEADCHARW},
};

LRESULT CALLBACK MessagesTest::Receiver(HWND hwnd, UINT msg, WPARAM wParam, LPARAM lParam)
{
    Record(hwnd, msg, wParam, lParam);
    for (const auto& m : charMessages)
        if (m.msg == msg)
            return m.handle(hwnd, wParam, lParam, OnChar);
    switch (msg) {
    case WM_SETTEXT:
        AtHANDLE_WM_SETTEXTW(hwnd, wParam, lParam, OnText);
        break;
    case WM_GETTEXT:
        return AtHANDLE_WM_GETTEXTW(hwnd, wParam, lParam, OnGetText);
    case WM_CREATE:
        return AtHANDLE_WM_CREATEW(hwnd, wParam, lParam, OnCreate);
    case WM_NCCREATE:
        return AtHANDLE_WM_NCCREATEW(hwnd, wParam, lParam, OnCreate);
    case WM_MDICREATE:
        return AtHANDLE_WM_MDICREATEW(hwnd, wParam, lParam, OnMDICreate);
    }
    return DefWindowProcW(hwnd, msg, wParam, lParam);
}

// Only the repeat count travels, cut to 16 bits, and comes back sign-extended. Under 932
// 本 round-trips as a lead byte sent now and a trail byte queued; the other forms take ｱ.
TEST_F(MessagesTest, CharactersRoundTrip)
{
    for (const auto& m : charMessages) {
        chars.clear();
        m.forward(window.hwnd, L'a', 0x18001, Record);
        EXPECT_EQ(std::tuple(calls.back().message, calls.back().wParam, calls.back().lParam),
                  std::tuple(m.msg, WPARAM('a'), LPARAM(0x8001)));
        EXPECT_EQ(m.handle(window.hwnd, L'a', 0x00FF8001, OnChar), 0);
        WCHAR ch = harness::CodePage() != 932 ? 0xE9 : m.msg == WM_CHAR ? hon : katakanaA;
        m.forward(window.hwnd, ch, 3, Receiver);
        EXPECT_EQ(chars, (Chars{{'a', -32767}, {ch, 3}})) << m.msg;
        EXPECT_FALSE(PeekMessageW(&queued, window.hwnd, 0, 0, PM_NOREMOVE));
    }
}

// The lead byte goes out sign-extended, as a char cast to WPARAM. The one-byte forms
// queue nothing and leave a waiting trail byte alone, as WM_CHAR does when none waits.
TEST_F(MessagesTest, DoubleByteCharacterIsALeadByteNowAndATrailByteQueued)
{
    if (!DoubleBytePath())
        GTEST_SKIP() << "two bytes a character only on the ANSI path under code page 932";
    for (const auto& m : charMessages)
        m.forward(window.hwnd, hon, 2, Record);
    EXPECT_EQ(calls.at(0).wParam, WPARAM(0xFFFFFF96));
    ASSERT_TRUE(PeekMessageW(&queued, window.hwnd, 0, 0, PM_REMOVE));
    EXPECT_EQ(std::tuple(queued.message, queued.wParam & 0xFF, queued.lParam),
              std::tuple(UINT(WM_CHAR), WPARAM(0x7B), LPARAM(2)));
    EXPECT_FALSE(PeekMessageW(&queued, window.hwnd, 0, 0, PM_REMOVE));

    WCHAR alone = 0;
    MultiByteToWideChar(CP_ACP, 0, "\x96", 1, &alone, 1);
    for (const auto& m : charMessages) {
        PostMessageW(window.hwnd, WM_CHAR, 0x7B, 1);
        m.handle(window.hwnd, 0xFFFFFF96, 1, OnChar);
        EXPECT_EQ(PeekMessageW(&queued, window.hwnd, 0, 0, PM_REMOVE), m.msg != WM_CHAR);
    }
    AtHANDLE_WM_CHARW(window.hwnd, 0x96, 1, OnChar);
    EXPECT_EQ(chars, (Chars{{hon, 1}, {alone, 1}, {alone, 1}, {alone, 1}, {alone, 1}}));
}

// The procedure is told the ANSI buffer's size in bytes, the handler as many characters.
// A text longer than the buffer is cut on a single-byte code page, refused on 932.
TEST_F(MessagesTest, TextsRoundTrip)
{
    toGive = L"x " + harness::NonAsciiText();
    WCHAR buf[32];
    EXPECT_EQ(AtFORWARD_WM_GETTEXTW(window.hwnd, 32, buf, Receiver), int(toGive.size()));
    EXPECT_EQ(std::wstring(buf), toGive);
    EXPECT_EQ(calls.at(0).wParam, DoubleBytePath() ? 64u : 32u);
    EXPECT_EQ(capacity, int(calls[0].wParam));
    AtFORWARD_WM_SETTEXTW(window.hwnd, nullptr, Receiver);
    EXPECT_EQ(seen, L"<null>");
    AtFORWARD_WM_SETTEXTW(window.hwnd, buf, Receiver);
    EXPECT_EQ(seen, toGive);
    EXPECT_EQ(AtFORWARD_WM_GETTEXTW(window.hwnd, 32, buf, DefWindowProcW), int(toGive.size()));
    EXPECT_EQ(AtFORWARD_WM_GETTEXTW(window.hwnd, 3, buf, DefWindowProcW), DoubleBytePath() ? 0 : 2);

    // The system's own text messages reach a wide procedure the same way.
    SetWindowLongW(window.hwnd, GWL_WNDPROC, LONG(Receiver));
    ASSERT_TRUE(SetWindowTextW(window.hwnd, L"y"));
    EXPECT_EQ(seen, L"y");
    EXPECT_EQ(TextOf(window.hwnd), toGive);

    // A format name comes back when forwarded, but not when handled: the handler writes
    // into a wide copy of what the buffer held, told the message's own capacity.
    if (!harness::AnsiPath())
        return;
    AtFORWARD_WM_ASKCBFORMATNAMEW(window.hwnd, 32, buf, NameFormat);
    EXPECT_EQ(std::wstring(buf), toGive);
    char name[32] = "old";
    EXPECT_EQ(AtHANDLE_WM_ASKCBFORMATNAMEW(window.hwnd, 32, LPARAM(name), OnAskName), 0);
    EXPECT_EQ(std::tuple(seen, capacity, std::string(name)), std::tuple(L"old", 32, "old"));
}

// A buffer of no size is not written, yet the handler is asked; a text written
// without its terminator ends where its writer stopped.
TEST_F(MessagesTest, TextTranslatorsStayInsideTheirBuffers)
{
    const HWND w = window.hwnd;
    harness::GuardPage guard;
    EXPECT_EQ(AtFORWARD_WM_GETTEXTW(w, 0, nullptr, Record), 0);
    EXPECT_EQ(AtHANDLE_WM_GETTEXTW(w, 0, 0, NoText), 0);
    EXPECT_EQ(handled, 1);

    LPWSTR text = guard.End<WCHAR>(8, L'#');
    EXPECT_EQ(AtFORWARD_WM_GETTEXTW(w, 8, text, Unterminated), 4);
    EXPECT_EQ(std::wstring(text, 4), L"abcd");
    SetWindowLongW(w, GWL_WNDPROC, LONG(Unterminated));
    WCHAR buf[8];
    EXPECT_EQ(GetWindowTextW(w, buf, 8), 4);
    EXPECT_EQ(std::wstring(buf, 4), L"abcd");
    SetWindowLongW(w, GWL_WNDPROC, LONG(DefWindowProcW));

    if (!harness::AnsiPath())
        return;
    // A name buffer that holds no NUL: the handler's copy has the buffer's capacity
    // and holds what fits of it.
    LPSTR name = guard.End<char>(8, 'n');
    EXPECT_EQ(AtHANDLE_WM_ASKCBFORMATNAMEW(w, 8, LPARAM(name), OnAskName), 0);
    EXPECT_EQ(std::tuple(seen, capacity), std::tuple(L"nnnnnnn", 8));
}

// Every field arrives, an atom and a null name as they are. WM_CREATE goes on at 0 and
// stops at -1, WM_NCCREATE at 1 and 0; WM_MDICREATE gives the child's handle bit for bit.
TEST_F(MessagesTest, CreationRecordsRoundTrip)
{
    const std::wstring name = L"Name " + harness::NonAsciiText();
    CREATESTRUCTW cs = {LPVOID(0xC0FFEE), HINSTANCE(0x1001), HMENU(0x1002), HWND(0x1003), 11, 12,
                        13, 14, 0x50000000, name.c_str(), L"Class", 0x20};
    EXPECT_EQ(AtFORWARD_WM_CREATEW(nullptr, &cs, Receiver), 0);
    EXPECT_EQ(seen, name + L";Class;");
    EXPECT_EQ(memcmp(&record, &cs, offsetof(CREATESTRUCTW, lpszName)), 0);
    EXPECT_EQ(record.dwExStyle, cs.dwExStyle);
    cs.lpszName = nullptr;
    cs.lpszClass = MAKEINTATOM(0xC123);
    for (BOOL answer : {5, FALSE}) {
        createAnswer = answer;
        EXPECT_EQ(AtFORWARD_WM_CREATEW(nullptr, &cs, Receiver), answer ? 0 : -1);
        EXPECT_EQ(AtFORWARD_WM_NCCREATEW(nullptr, &cs, Receiver), answer ? 1 : 0);
        EXPECT_EQ(seen, L"<null>;#49443;");
    }
    // No record: each passes on null, as it is.
    calls.clear();
    AtFORWARD_WM_CREATEW(nullptr, nullptr, Record);
    AtFORWARD_WM_MDICREATEW(nullptr, nullptr, Record);
    EXPECT_EQ(std::tuple(calls.size(), calls[0].lParam, calls[1].lParam), std::tuple(2u, 0, 0));
    handled = 0;
    EXPECT_EQ(AtHANDLE_WM_NCCREATEW(nullptr, 0, 0, NoRecord), 1);
    EXPECT_EQ(AtHANDLE_WM_MDICREATEW(nullptr, 0, 0, NoMDIRecord), 0);
    EXPECT_EQ(handled, 2);
    MDICREATESTRUCTW mcs = {MAKEINTATOM(0xC124), name.c_str(), HANDLE(0x2001), 21, 22, 23, 24,
                            0x00CF0000, 0x2005};
    EXPECT_EQ(AtFORWARD_WM_MDICREATEW(nullptr, &mcs, Receiver), LRESULT(0xFFFFFFFE));
    EXPECT_EQ(seen, name + L";#49444;");
    EXPECT_EQ(memcmp(&mdiRecord.hOwner, &mcs.hOwner, sizeof mcs - 2 * sizeof(LPCWSTR)), 0);
}

// A translator that cannot allocate calls nothing and answers its failure value.
TEST_F(MessagesTest, AllocationFailuresCallNothing)
{
    if (!harness::AnsiPath())
        GTEST_SKIP() << "the W path allocates nothing";
    const HWND w = window.hwnd;
    CREATESTRUCTW cs = {nullptr, nullptr, nullptr, nullptr, 0, 0, 0, 0, 0, L"Name", L"Class", 0};
    CREATESTRUCTA csA = {nullptr, nullptr, nullptr, nullptr, 0, 0, 0, 0, 0, "Name", "Class", 0};
    MDICREATESTRUCTA mcsA = {"Class", "Title", nullptr, 0, 0, 0, 0, 0, 0};
    WCHAR buf[16];
    char text[16] = "abc";
    NMLVDISPINFOW di = {{w, 1, UINT(LVN_GETDISPINFOW)}, {LVIF_TEXT, 0, 0, 0, 0, buf, 16}};
    NMLVDISPINFOA da = {{w, 1, UINT(LVN_SETDISPINFOA)}, {LVIF_TEXT, 0, 0, 0, 0, text, 16}};
    const struct {
        int allocations;
        LRESULT failure;
        std::function<LRESULT()> call;
    } members[] = {
        {1, 0, [&] { return AtFORWARD_WM_GETTEXTW(w, 16, buf, Record); }},
        {1, 0, [&] { return AtFORWARD_WM_CHARW(w, hon, 1, Record), 0; }},
        {1, 0, [&] { return AtHANDLE_WM_GETTEXTW(w, 16, LPARAM(buf), OnGetText); }},
        {1, 0, [&] { return AtHANDLE_WM_CHARW(w, 'a', 1, OnChar); }},
        {2, 0, [&] { return AtFORWARD_WM_CREATEW(w, &cs, Record); }},
        {2, -1, [&] { return AtHANDLE_WM_CREATEW(w, 0, LPARAM(&csA), OnCreate); }},
        {2, 0, [&] { return AtHANDLE_WM_NCCREATEW(w, 0, LPARAM(&csA), OnCreate); }},
        {2, 0, [&] { return AtHANDLE_WM_MDICREATEW(w, 0, LPARAM(&mcsA), OnMDICreate); }},
        {1, 0, [&] { return AtFORWARD_WM_NOTIFYW(w, 1, &di.hdr, Record); }},
        {1, 0, [&] { return AtHANDLE_WM_NOTIFYW(w, 1, LPARAM(&da), OnNotify); }},
    };
    for (const auto& m : members) {
        EXPECT_EQ(harness::SweepAllocationFailures([&](int k) {
            calls.clear();
            handled = 0;
            SetLastError(0);
            LRESULT result = m.call();
            if (harness::HeapAllocCalls() < k)
                return;
            EXPECT_EQ(result, m.failure);
            EXPECT_TRUE(calls.empty() && handled == 0) << "nothing is called";
            EXPECT_EQ(GetLastError(), DWORD(ERROR_OUTOFMEMORY));
        }), m.allocations);
    }
    // A buffer beyond the address space fails as an allocation does.
    SetLastError(0);
    handled = 0;
    EXPECT_EQ(AtHANDLE_WM_GETTEXTW(w, 0x80000000, LPARAM(buf), OnGetText), 0);
    EXPECT_EQ(handled, 0);
    EXPECT_EQ(GetLastError(), DWORD(ERROR_OUTOFMEMORY));
}

}  // namespace
