// Text drawing and measuring, case, dialog text, keys, resources and display settings.
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

// The A functions get the converted text's byte count (-1 stays -1); nothing is
// copied back, also with DT_MODIFYSTRING, whose ellipsis the ANSI copy has room for.
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
    GetTabbedTextExtentW(dc, s, 3, 0, nullptr);  // binds the A function
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
    for (const auto& [count, expected] : {std::pair{3, bytes}, {2, bytes - 1}, {-1, -1}}) {
        DrawTextW(dc, s, count, &rect, DT_CALCRECT);
        EXPECT_EQ(seen, expected) << "DrawTextW " << count;
        GetTabbedTextExtentW(dc, s, count, 0, nullptr);
        EXPECT_EQ(seen, expected) << "GetTabbedTextExtentW " << count;
    }
}

// Exactly cchLength characters change, read without looking for a NUL. On a
// double-byte code page as many bytes as the count come back, so fewer characters.
TEST_F(TextTest, CaseOfCountedBuffers)
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
}

// Dialog-item text and the string table: texts cut to what fits with their NUL, and
// no pointer into the resource for a capacity of 0. Numbered and predefined resources
// pass as they are; a missing one keeps the A call's error.
TEST_F(TextTest, DialogTextAndResources)
{
    HWND dialog = CreateControlsDialog();
    const std::wstring label = L"Label " + harness::NonAsciiText();
    ASSERT_TRUE(SetDlgItemTextW(dialog, IDC_LABEL, label.c_str()));
    WCHAR buf[64];
    EXPECT_EQ(GetDlgItemTextW(dialog, IDC_LABEL, buf, 64), label.size());
    EXPECT_EQ(std::wstring(buf), label);
    EXPECT_EQ(GetDlgItemTextW(dialog, 999, buf, 64), 0u);
    DestroyWindow(dialog);

    HMODULE res = TestResources();
    const bool kanji = harness::CodePage() == 932;
    const UINT id = kanji ? IDS_KANJI : IDS_LATIN;
    const std::wstring text = kanji ? L"\u65E5\u672C\u8A9E\u30C6\u30AD\u30B9\u30C8"
                                    : L"Caf\u00E9 \u00FCber";
    EXPECT_EQ(LoadStringW(res, id, buf, 64), int(text.size()));
    EXPECT_EQ(std::wstring(buf), text);
    EXPECT_EQ(LoadStringW(res, id, buf, 4), 3);
    EXPECT_EQ(std::wstring(buf), text.substr(0, 3));
    EXPECT_EQ(LoadStringW(res, IDS_EMPTY, buf, 64), 0);
    if (harness::AnsiPath()) {
        EXPECT_EQ(LoadStringW(res, id, buf, 0), 0);
    }

    EXPECT_TRUE(LoadIconW(res, MAKEINTRESOURCEW(IDR_ICON)));
    EXPECT_TRUE(LoadIconW(nullptr, IDI_APPLICATION));
    EXPECT_TRUE(LoadCursorW(nullptr, IDC_ARROW));
    EXPECT_TRUE(LoadBitmapW(res, MAKEINTRESOURCEW(IDR_BITMAP)));
    SetLastError(0);
    EXPECT_FALSE(LoadIconW(res, L"NOSUCHICON"));
    EXPECT_NE(GetLastError(), 0u);
}

// Key names as the A function names them; key scans by the character's first byte.
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
    const LPARAM wide = reinterpret_cast<LPARAM>(L"Text");
    DrawStateW(dc, nullptr, nullptr, wide, 4, 0, 0, 0, 0, DST_TEXT);  // binds the A function
    if (!harness::AnsiPath())
        GTEST_SKIP() << "the W path hands its arguments through";
    DEVMODEW mode = {}, second = {};
    mode.dmSize = second.dmSize = sizeof mode;
    ASSERT_TRUE(EnumDisplaySettingsW(nullptr, ENUM_CURRENT_SETTINGS, &mode));
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

}  // namespace
