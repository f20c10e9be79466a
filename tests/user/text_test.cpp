// Text drawing and measuring, case changes, dialog text, keys and resources.
#include <functional>
#include <optional>

#include "user/test_resources.h"
#include "user/test_window.h"

namespace
{

class TextTest : public harness::TorwenTest
{
protected:
    void SetUp() override
    {
        TorwenTest::SetUp();
        dc = CreateCompatibleDC(nullptr);
    }
    void TearDown() override
    {
        DeleteDC(dc);
        TorwenTest::TearDown();
    }

    HDC dc = nullptr;
};

// Wide characters at the very end of a page that cannot be read: a conversion that
// read past them would fault.
class GuardedText
{
public:
    explicit GuardedText(const std::wstring& text)
    {
        base = static_cast<BYTE*>(
            VirtualAlloc(nullptr, 8192, MEM_RESERVE | MEM_COMMIT, PAGE_READWRITE));
        DWORD old;
        VirtualProtect(base + 4096, 4096, PAGE_NOACCESS, &old);
        chars = reinterpret_cast<WCHAR*>(base + 4096) - text.size();
        text.copy(chars, text.size());
    }
    ~GuardedText() { VirtualFree(base, 0, MEM_RELEASE); }
    WCHAR* chars;

private:
    BYTE* base;
};

// The count the A functions receive: bytes for a counted text, -1 for a text up to
// its NUL. Nothing is copied back.
TEST_F(TextTest, CountedTextIn)
{
    const std::wstring text = MixedText(); // its middle character takes two bytes under 932
    RECT rect = { 0, 0, 200, 50 };
    const int drawn = DrawTextW(dc, text.c_str(), 3, &rect, DT_CALCRECT);
    EXPECT_GT(drawn, 0);
    EXPECT_EQ(DrawTextW(dc, text.c_str(), -1, &rect, DT_CALCRECT), drawn);
    EXPECT_NE(GetTabbedTextExtentW(dc, text.c_str(), 3, 0, nullptr), 0u);
    if (!harness::AnsiPath())
        return;
    const int bytes = int(harness::ToAnsi(text).size());
    TabbedTextOutW(dc, 0, 0, text.c_str(), 3, 0, nullptr, 0); // binds TabbedTextOutA
    DrawTextExW(dc, const_cast<LPWSTR>(text.c_str()), 3, &rect, DT_CALCRECT, nullptr);
    int seen = 0;
    std::string seenText;
    TW_HOOK(draw, DrawTextA, [&](HDC h, LPCSTR s, int n, LPRECT r, UINT f) {
        seen = n;
        seenText = n < 0 ? s : std::string(s, n);
        return draw.real(h, s, n, r, f);
    });
    TW_HOOK(ex, DrawTextExA, [&](HDC h, LPSTR s, int n, LPRECT r, UINT f, LPDRAWTEXTPARAMS p) {
        seen = n;
        return ex.real(h, s, n, r, f, p);
    });
    TW_HOOK(tabbed, TabbedTextOutA,
        [&](HDC h, int x, int y, LPCSTR s, int n, int t, const INT* tabs, int o) {
            seen = n;
            return tabbed.real(h, x, y, s, n, t, tabs, o);
        });
    TW_HOOK(extent, GetTabbedTextExtentA, [&](HDC h, LPCSTR s, int n, int t, const INT* tabs) {
        seen = n;
        return extent.real(h, s, n, t, tabs);
    });
    WCHAR buf[8];
    text.copy(buf, 3);
    buf[3] = 0;
    const struct {
        const char* name;
        std::function<void(int)> call;
    } members[] = {
        { "DrawTextW", [&](int n) { DrawTextW(dc, buf, n, &rect, DT_CALCRECT); } },
        { "DrawTextExW", [&](int n) { DrawTextExW(dc, buf, n, &rect, DT_CALCRECT, nullptr); } },
        { "TabbedTextOutW", [&](int n) { TabbedTextOutW(dc, 0, 0, buf, n, 0, nullptr, 0); } },
        { "GetTabbedTextExtentW", [&](int n) { GetTabbedTextExtentW(dc, buf, n, 0, nullptr); } },
    };
    for (const auto& m : members) {
        m.call(3);
        EXPECT_EQ(seen, bytes) << m.name;
        m.call(2);
        EXPECT_EQ(seen, bytes - 1) << m.name;
        m.call(-1);
        EXPECT_EQ(seen, -1) << m.name;
    }
    DrawTextW(dc, buf, 3, &rect, DT_CALCRECT);
    EXPECT_EQ(seenText, harness::ToAnsi(text));

    // DT_MODIFYSTRING changes the ANSI copy only; the copy has room for the ellipsis.
    WCHAR longText[] = L"A rather long text to be cut";
    RECT narrow = { 0, 0, 20, 20 };
    DrawTextW(dc, longText, -1, &narrow, DT_MODIFYSTRING | DT_END_ELLIPSIS | DT_SINGLELINE);
    DrawTextW(dc, longText, 6, &narrow, DT_MODIFYSTRING | DT_END_ELLIPSIS | DT_SINGLELINE);
    EXPECT_STREQ(longText, L"A rather long text to be cut");
}

// Only the first cchLength characters change, read exactly: a buffer without a NUL at
// the end of readable memory is safe. On a double-byte code page the case functions
// read back as many bytes as the caller's count, so a two-byte character shortens
// what is written.
TEST_F(TextTest, CaseAndSteps)
{
    const std::wstring text = MixedText();
    GuardedText guarded(text);
    EXPECT_EQ(CharUpperBuffW(guarded.chars, 3), DoubleBytePath() ? 2u : 3u);
    std::wstring upper(guarded.chars, 3);
    EXPECT_EQ(upper[0], L'A');
    EXPECT_EQ(upper[2], DoubleBytePath() ? L'b' : L'B');
    WCHAR buf[] = L"ABC def";
    EXPECT_EQ(CharLowerBuffW(buf, 2), 2u);
    EXPECT_STREQ(buf, L"abC def");
    EXPECT_EQ(CharLowerBuffW(buf, 0), 0u);

    // One UTF-16 unit per step, none past the ends.
    const WCHAR* s = L"x\u65E5";
    EXPECT_EQ(CharNextW(s), s + 1);
    EXPECT_EQ(CharNextW(s + 1), s + 2);
    EXPECT_EQ(CharNextW(s + 2), s + 2);
    EXPECT_EQ(CharPrevW(s, s + 2), s + 1);
    EXPECT_EQ(CharPrevW(s, s), s);
}

// Dialog-item text through a dialog of the resource DLL, and strings of its table.
TEST_F(TextTest, DialogTextAndStrings)
{
    HWND dialog = CreateControlsDialog();
    ASSERT_TRUE(dialog);
    const std::wstring text = L"Label " + harness::NonAsciiText();
    ASSERT_TRUE(SetDlgItemTextW(dialog, IDC_LABEL, text.c_str()));
    WCHAR buf[64] = L"#";
    EXPECT_EQ(GetDlgItemTextW(dialog, IDC_LABEL, buf, 64), text.size());
    EXPECT_EQ(std::wstring(buf), text);
    buf[0] = L'#';
    EXPECT_EQ(GetDlgItemTextW(dialog, IDC_LABEL, buf, 0), 0u);
    EXPECT_EQ(buf[0], L'#');
    EXPECT_EQ(GetDlgItemTextW(dialog, 999, buf, 64), 0u);
    DestroyWindow(dialog);

    const UINT id = harness::CodePage() == 932 ? IDS_KANJI : IDS_LATIN;
    const std::wstring expected
        = id == IDS_KANJI ? L"\u65E5\u672C\u8A9E\u30C6\u30AD\u30B9\u30C8" : L"Caf\u00E9 \u00FCber";
    EXPECT_EQ(LoadStringW(TestResources(), id, buf, 64), int(expected.size()));
    EXPECT_EQ(std::wstring(buf), expected);
    EXPECT_EQ(LoadStringW(TestResources(), IDS_EMPTY, buf, 64), 0);
    EXPECT_EQ(LoadStringW(TestResources(), 999, buf, 64), 0);
    // Too small: cut to what fits with its NUL.
    EXPECT_EQ(LoadStringW(TestResources(), id, buf, 4), 3);
    EXPECT_EQ(std::wstring(buf), expected.substr(0, 3));
    if (harness::AnsiPath()) {
        EXPECT_EQ(LoadStringW(TestResources(), id, buf, 0), 0) << "no pointer into the resource";
    }
}

// Names of resources: wide names and integer identifiers, the predefined ones too.
TEST_F(TextTest, ResourcesByNameAndNumber)
{
    HMODULE res = TestResources();
    const struct {
        const char* what;
        std::function<HANDLE()> load;
    } loads[] = {
        { "icon by name", [&] { return LoadIconW(res, L"TESTICON"); } },
        { "icon by number", [&] { return LoadIconW(res, MAKEINTRESOURCEW(IDR_ICON)); } },
        { "system icon", [&] { return LoadIconW(nullptr, IDI_APPLICATION); } },
        { "cursor by name", [&] { return LoadCursorW(res, L"TESTCURSOR"); } },
        { "system cursor", [&] { return LoadCursorW(nullptr, IDC_ARROW); } },
        { "bitmap by name", [&] { return LoadBitmapW(res, L"TESTBITMAP"); } },
        { "bitmap by number", [&] { return LoadBitmapW(res, MAKEINTRESOURCEW(IDR_BITMAP)); } },
        { "image", [&] { return LoadImageW(res, L"TESTBITMAP", IMAGE_BITMAP, 0, 0, 0); } },
        { "image icon", [&] { return LoadImageW(res, L"TESTICON", IMAGE_ICON, 16, 16, 0); } },
    };
    for (const auto& l : loads)
        EXPECT_TRUE(l.load()) << l.what;
    SetLastError(0);
    EXPECT_FALSE(LoadIconW(res, L"NOSUCHICON"));
    EXPECT_NE(GetLastError(), 0u) << "the A call's error is kept";
    const std::wstring missing = L"missing " + harness::NonAsciiText() + L".cur";
    EXPECT_FALSE(LoadCursorFromFileW(missing.c_str()));
}

// Key names and key scans: a character's first ANSI byte is what is looked up.
TEST_F(TextTest, Keys)
{
    WCHAR buf[32];
    char bufA[32];
    const LONG keyA = MapVirtualKeyW('A', 0) << 16;
    int n = GetKeyNameTextA(keyA, bufA, 32);
    EXPECT_EQ(GetKeyNameTextW(keyA, buf, 32), n);
    EXPECT_EQ(std::wstring(buf), harness::FromAnsi(bufA));
    EXPECT_EQ(VkKeyScanW(L'a'), VkKeyScanA('a'));
    if (!harness::AnsiPath())
        return;
    VkKeyScanW(L'b'); // binds VkKeyScanA
    CHAR seen = 0;
    TW_HOOK(hook, VkKeyScanA, [&](CHAR c) {
        seen = c;
        return hook.real(c);
    });
    const std::wstring text = MixedText();
    VkKeyScanW(text[1]);
    EXPECT_EQ(seen, harness::ToAnsi(text)[1]);
}

// What reaches the display settings: the primary display's modes whatever name is
// given, and no more of the caller's record than it declares.
TEST_F(TextTest, DisplaySettingsAndForwards)
{
    DEVMODEW mode = {};
    mode.dmSize = sizeof mode;
    ASSERT_TRUE(EnumDisplaySettingsW(nullptr, ENUM_CURRENT_SETTINGS, &mode));
    EXPECT_GT(mode.dmPelsWidth, 0u);
    if (harness::AnsiPath()) {
        DEVMODEW second = {};
        second.dmSize = sizeof second;
        EXPECT_TRUE(EnumDisplaySettingsW(L"\\\\.\\DISPLAY2", ENUM_CURRENT_SETTINGS, &second));
        EXPECT_EQ(second.dmPelsWidth, mode.dmPelsWidth);
        struct {
            BYTE record[156];
            DWORD canary;
        } small = { {}, 0xC0FFEE };
        reinterpret_cast<DEVMODEW*>(small.record)->dmSize = 156;
        EXPECT_TRUE(EnumDisplaySettingsW(
            nullptr, ENUM_CURRENT_SETTINGS, reinterpret_cast<DEVMODEW*>(small.record)));
        EXPECT_EQ(small.canary, 0xC0FFEEu);
    }
    // The help engine and the drawing of states get their data as it is.
    EXPECT_TRUE(
        DrawStateW(dc, nullptr, nullptr, reinterpret_cast<LPARAM>(L"Text"), 4, 0, 0, 0, 0, DST_TEXT)
        || true);
    if (!harness::AnsiPath())
        return;
    LPARAM seen = 0;
    TW_HOOK(hook, DrawStateA,
        [&](HDC h, HBRUSH b, DRAWSTATEPROC p, LPARAM l, WPARAM w, int x, int y, int cx, int cy,
            UINT f) {
            seen = l;
            return hook.real(h, b, p, l, w, x, y, cx, cy, f);
        });
    const WCHAR* wide = L"Text";
    DrawStateW(dc, nullptr, nullptr, reinterpret_cast<LPARAM>(wide), 4, 0, 0, 0, 0, DST_TEXT);
    EXPECT_EQ(seen, reinterpret_cast<LPARAM>(wide));
}

TEST_F(TextTest, AllocationFailures)
{
    if (!harness::AnsiPath())
        GTEST_SKIP() << "the W path allocates nothing";
    const std::wstring text = L"Text " + harness::NonAsciiText();
    const LPCWSTR s = text.c_str();
    HMODULE res = TestResources();
    TestWindow window;
    CreateWindowExW(
        0, L"STATIC", L"", WS_CHILD, 0, 0, 9, 9, window.hwnd, HMENU(5), nullptr, nullptr);
    RECT rect = { 0, 0, 100, 20 };
    WCHAR buf[64];
    // The failure value, and the error: 0 for a member that keeps the A call's own.
    const struct {
        const char* name;
        std::function<LONG_PTR()> call;
        LONG_PTR failure;
        DWORD error;
    } members[] = {
        { "DrawTextW", [&] { return LONG_PTR(DrawTextW(dc, s, 4, &rect, DT_CALCRECT)); }, -1,
            ERROR_OUTOFMEMORY },
        { "DrawTextW -1", [&] { return LONG_PTR(DrawTextW(dc, s, -1, &rect, DT_CALCRECT)); }, -1,
            ERROR_OUTOFMEMORY },
        { "DrawTextExW",
            [&] {
                return LONG_PTR(
                    DrawTextExW(dc, const_cast<LPWSTR>(s), 4, &rect, DT_CALCRECT, nullptr));
            },
            0, ERROR_OUTOFMEMORY },
        { "GetTabbedTextExtentW",
            [&] { return LONG_PTR(GetTabbedTextExtentW(dc, s, 4, 0, nullptr)); }, 0,
            ERROR_OUTOFMEMORY },
        { "CharUpperBuffW",
            [&] {
                lstrcpyW(buf, s);
                return LONG_PTR(CharUpperBuffW(buf, 4));
            },
            0, ERROR_OUTOFMEMORY },
        { "LoadStringW", [&] { return LONG_PTR(LoadStringW(res, IDS_ASCII, buf, 64)); }, 0, 0 },
        { "LoadIconW", [&] { return LONG_PTR(LoadIconW(res, L"TESTICON")); }, 0, 0 },
        { "LoadBitmapW",
            [&] {
                HBITMAP b = LoadBitmapW(res, L"TESTBITMAP");
                return LONG_PTR(b && DeleteObject(b));
            },
            0, ERROR_OUTOFMEMORY },
        { "SetDlgItemTextW", [&] { return LONG_PTR(SetDlgItemTextW(window.hwnd, 5, s)); }, 0, 0 },
    };
    for (const auto& m : members) {
        harness::SweepAllocationFailures([&](int k) {
            SetLastError(1234);
            LONG_PTR r = m.call();
            if (harness::HeapAllocCalls() >= k) {
                EXPECT_EQ(r, m.failure) << m.name << " with allocation " << k << " failing";
                EXPECT_EQ(GetLastError(), m.error) << m.name;
            } else {
                EXPECT_NE(r, m.failure) << m.name;
            }
        });
    }
}

} // namespace
