// Text drawing and measuring, case changes, dialog text, keys, resources and display
// settings.
#include "user/test_resources.h"
#include "user/test_window.h"

namespace {

class TextTest : public harness::TorwenTest {
protected:
    void TearDown() override
    {
        DeleteDC(dc);
        TorwenTest::TearDown();
    }

    HDC dc = CreateCompatibleDC(nullptr);
};

// The count the A functions receive is the converted text's bytes, or -1 for a text
// up to its NUL; nothing is copied back, also with DT_MODIFYSTRING, whose ellipsis
// the ANSI copy has room for.
TEST_F(TextTest, CountedTextIn)
{
    const std::wstring text = MixedText();
    RECT rect = {0, 0, 200, 50};
    const int height = DrawTextW(dc, text.c_str(), 3, &rect, DT_CALCRECT);
    EXPECT_GT(height, 0);
    EXPECT_EQ(DrawTextW(dc, text.c_str(), -1, &rect, DT_CALCRECT), height);
    if (!harness::AnsiPath())
        return;
    WCHAR cut[] = L"A rather long text to be cut";
    RECT narrow = {0, 0, 20, 20};
    for (int n : {-1, 6})
        DrawTextW(dc, cut, n, &narrow, DT_MODIFYSTRING | DT_END_ELLIPSIS | DT_SINGLELINE);
    EXPECT_STREQ(cut, L"A rather long text to be cut");
    LPWSTR s = const_cast<LPWSTR>(text.c_str());
    const struct { const char* name; std::function<void(int)> call; } members[] = {
        {"DrawTextW", [&](int n) { DrawTextW(dc, s, n, &rect, DT_CALCRECT); }},
        {"GetTabbedTextExtentW", [&](int n) { GetTabbedTextExtentW(dc, s, n, 0, nullptr); }},
    };
    for (const auto& m : members)
        m.call(3);  // binds the A functions
    int seen = 0;
    TW_HOOK(draw, DrawTextA, [&](HDC h, LPCSTR t, int n, LPRECT r, UINT f) {
        seen = n;
        return draw.real(h, t, n, r, f);
    });
    TW_HOOK(extent, GetTabbedTextExtentA, [&](HDC h, LPCSTR t, int n, int c, const INT* tabs) {
        seen = n;
        return extent.real(h, t, n, c, tabs);
    });
    const int bytes = int(harness::ToAnsi(text).size());
    for (const auto& m : members)
        for (const auto& [count, expected] : {std::pair{3, bytes}, {2, bytes - 1}, {-1, -1}}) {
            m.call(count);
            EXPECT_EQ(seen, expected) << m.name << " " << count;
        }
}

// Exactly cchLength characters change, read without looking for a NUL: a buffer at
// the end of readable memory is safe. On a double-byte code page as many bytes as
// the count are read back, so a two-byte character shortens what is written.
TEST_F(TextTest, CaseAndSteps)
{
    harness::GuardPage guard;
    WCHAR* end = guard.End<WCHAR>(3);
    MixedText().copy(end, 3);
    EXPECT_EQ(CharUpperBuffW(end, 3), DoubleBytePath() ? 2u : 3u);
    EXPECT_EQ(end[0], L'A');
    EXPECT_EQ(end[2], DoubleBytePath() ? L'b' : L'B');
    WCHAR buf[] = L"ABC def";
    EXPECT_EQ(CharLowerBuffW(buf, 2), 2u);
    EXPECT_STREQ(buf, L"abC def");

    const WCHAR* s = L"x\u65E5";  // one UTF-16 unit a step, none past the ends
    EXPECT_EQ(CharNextW(s + 1), s + 2);
    EXPECT_EQ(CharNextW(s + 2), s + 2);
    EXPECT_EQ(CharPrevW(s, s + 2), s + 1);
    EXPECT_EQ(CharPrevW(s, s), s);
}

// Dialog-item text and the resource DLL's string table: texts cut to what fits with
// their NUL, and no pointer into the resource for a capacity of 0.
TEST_F(TextTest, DialogTextAndStrings)
{
    HWND dialog = CreateControlsDialog();
    const std::wstring text = L"Label " + harness::NonAsciiText();
    ASSERT_TRUE(SetDlgItemTextW(dialog, IDC_LABEL, text.c_str()));
    WCHAR buf[64] = L"#";
    EXPECT_EQ(GetDlgItemTextW(dialog, IDC_LABEL, buf, 0), 0u);
    EXPECT_EQ(buf[0], L'#');
    EXPECT_EQ(GetDlgItemTextW(dialog, IDC_LABEL, buf, 64), text.size());
    EXPECT_EQ(std::wstring(buf), text);
    EXPECT_EQ(GetDlgItemTextW(dialog, 999, buf, 64), 0u);
    DestroyWindow(dialog);

    const bool kanji = harness::CodePage() == 932;
    const std::wstring expected = kanji ? L"\u65E5\u672C\u8A9E\u30C6\u30AD\u30B9\u30C8"
                                        : L"Caf\u00E9 \u00FCber";
    const UINT id = kanji ? IDS_KANJI : IDS_LATIN;
    EXPECT_EQ(LoadStringW(TestResources(), id, buf, 64), int(expected.size()));
    EXPECT_EQ(std::wstring(buf), expected);
    EXPECT_EQ(LoadStringW(TestResources(), id, buf, 4), 3);
    EXPECT_EQ(std::wstring(buf), expected.substr(0, 3));
    EXPECT_EQ(LoadStringW(TestResources(), IDS_EMPTY, buf, 64), 0);
    if (harness::AnsiPath()) {
        EXPECT_EQ(LoadStringW(TestResources(), id, buf, 0), 0);
    }
}

// Resources by wide name, by number and predefined; the A call's error is kept.
TEST_F(TextTest, ResourcesByNameAndNumber)
{
    HMODULE res = TestResources();
    EXPECT_TRUE(LoadIconW(res, L"TESTICON"));
    EXPECT_TRUE(LoadIconW(res, MAKEINTRESOURCEW(IDR_ICON)));
    EXPECT_TRUE(LoadIconW(nullptr, IDI_APPLICATION));
    EXPECT_TRUE(LoadCursorW(res, L"TESTCURSOR"));
    EXPECT_TRUE(LoadCursorW(nullptr, IDC_ARROW));
    EXPECT_TRUE(LoadBitmapW(res, L"TESTBITMAP"));
    EXPECT_TRUE(LoadBitmapW(res, MAKEINTRESOURCEW(IDR_BITMAP)));
    EXPECT_TRUE(LoadImageW(res, L"TESTICON", IMAGE_ICON, 16, 16, 0));
    SetLastError(0);
    EXPECT_FALSE(LoadIconW(res, L"NOSUCHICON"));
    EXPECT_NE(GetLastError(), 0u);
    EXPECT_FALSE(LoadCursorFromFileW((harness::NonAsciiText() + L".cur").c_str()));
}

// Key names, and key scans by the character's first ANSI byte.
TEST_F(TextTest, Keys)
{
    WCHAR buf[32];
    char bufA[32];
    const LONG keyA = MapVirtualKeyW('A', 0) << 16;
    EXPECT_EQ(GetKeyNameTextW(keyA, buf, 32), GetKeyNameTextA(keyA, bufA, 32));
    EXPECT_EQ(std::wstring(buf), harness::FromAnsi(bufA));
    EXPECT_EQ(VkKeyScanW(L'a'), VkKeyScanA('a'));
    if (!harness::AnsiPath())
        return;
    CHAR seen = 0;
    TW_HOOK(hook, VkKeyScanA, [&](CHAR c) {
        seen = c;
        return hook.real(c);
    });
    VkKeyScanW(MixedText()[1]);
    EXPECT_EQ(seen, harness::ToAnsi(MixedText())[1]);
}

// The primary display's modes whatever name is given, and no more of the caller's
// record than it declares; data for DrawStateW passes as it is.
TEST_F(TextTest, DisplaySettingsAndStates)
{
    DEVMODEW mode = {};
    mode.dmSize = sizeof mode;
    ASSERT_TRUE(EnumDisplaySettingsW(nullptr, ENUM_CURRENT_SETTINGS, &mode));
    EXPECT_GT(mode.dmPelsWidth, 0u);
    const LPARAM wide = reinterpret_cast<LPARAM>(L"Text");
    DrawStateW(dc, nullptr, nullptr, wide, 4, 0, 0, 0, 0, DST_TEXT);
    if (!harness::AnsiPath())
        return;
    DEVMODEW second = {};
    second.dmSize = sizeof second;
    EXPECT_TRUE(EnumDisplaySettingsW(L"\\\\.\\DISPLAY2", ENUM_CURRENT_SETTINGS, &second));
    EXPECT_EQ(second.dmPelsWidth, mode.dmPelsWidth);
    struct { BYTE record[156]; DWORD canary; } small = {{}, 0xC0FFEE};
    reinterpret_cast<DEVMODEW*>(small.record)->dmSize = 156;
    EXPECT_TRUE(EnumDisplaySettingsW(nullptr, 0, reinterpret_cast<DEVMODEW*>(small.record)));
    EXPECT_EQ(small.canary, 0xC0FFEEu);
    LPARAM seen = 0;
    TW_HOOK(hook, DrawStateA, [&](HDC h, HBRUSH b, DRAWSTATEPROC p, LPARAM l, WPARAM w, int x,
                                  int y, int cx, int cy, UINT f) {
        seen = l;
        return hook.real(h, b, p, l, w, x, y, cx, cy, f);
    });
    DrawStateW(dc, nullptr, nullptr, wide, 4, 0, 0, 0, 0, DST_TEXT);
    EXPECT_EQ(seen, wide);
}

TEST_F(TextTest, AllocationFailures)
{
    if (!harness::AnsiPath())
        GTEST_SKIP() << "the W path allocates nothing";
    const std::wstring text = L"Text " + harness::NonAsciiText();
    LPWSTR s = const_cast<LPWSTR>(text.c_str());
    HMODULE res = TestResources();
    TestWindow window;
    CreateWindowExW(0, L"STATIC", L"", WS_CHILD, 0, 0, 9, 9, window.hwnd, HMENU(5), nullptr,
                    nullptr);
    RECT rect = {0, 0, 100, 20};
    WCHAR buf[64];
    SweepMembers({
        {"DrawTextW", [&] { return LONG_PTR(DrawTextW(dc, s, 4, &rect, DT_CALCRECT)); }, -1,
         ERROR_OUTOFMEMORY},
        {"DrawTextW -1", [&] { return LONG_PTR(DrawTextW(dc, s, -1, &rect, DT_CALCRECT)); }, -1,
         ERROR_OUTOFMEMORY},
        {"DrawTextExW", [&] { return LONG_PTR(DrawTextExW(dc, s, 4, &rect, DT_CALCRECT, 0)); }, 0,
         ERROR_OUTOFMEMORY},
        {"GetTabbedTextExtentW", [&] { return LONG_PTR(GetTabbedTextExtentW(dc, s, 4, 0, 0)); },
         0, ERROR_OUTOFMEMORY},
        {"CharUpperBuffW", [&] { return LONG_PTR(CharUpperBuffW(lstrcpyW(buf, s), 4)); }, 0,
         ERROR_OUTOFMEMORY},
        {"LoadStringW", [&] { return LONG_PTR(LoadStringW(res, IDS_ASCII, buf, 64)); }, 0, 0},
        {"LoadIconW", [&] { return LONG_PTR(LoadIconW(res, L"TESTICON")); }, 0, 0},
        {"LoadBitmapW", [&] { return LONG_PTR(LoadBitmapW(res, L"TESTBITMAP")); }, 0,
         ERROR_OUTOFMEMORY},
        {"SetDlgItemTextW", [&] { return LONG_PTR(SetDlgItemTextW(window.hwnd, 5, s)); }, 0, 0},
    });
}

}  // namespace
