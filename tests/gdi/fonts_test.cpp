// Fonts and text through torwen, drawn and measured in a memory device context.
#include <algorithm>
#include <cstring>
#include <functional>
#include <optional>
#include <set>
#include <string>
#include <tuple>
#include <vector>

#include "harness/harness.h"
#include "torwen.h"

using namespace harness;
using std::string;
using std::wstring;

namespace
{

template <typename Fn> Fn SystemGdi(const char* name)
{
    return reinterpret_cast<Fn>(
        reinterpret_cast<void*>(GetProcAddress(GetModuleHandleA("gdi32.dll"), name)));
}

// A 24-bit memory bitmap with a font of the platform selected.
class FontsTest : public TorwenTest
{
protected:
    void SetUp() override
    {
        TorwenTest::SetUp();
        dc = CreateCompatibleDC(nullptr);
        BITMAPINFO info {};
        info.bmiHeader = { sizeof(BITMAPINFOHEADER), Width, -Height, 1, 32, BI_RGB, 0, 0, 0, 0, 0 };
        bitmap = CreateDIBSection(
            dc, &info, DIB_RGB_COLORS, reinterpret_cast<void**>(&pixels), nullptr, 0);
        SelectObject(dc, bitmap);
        font = CreateFontA(-16, 0, 0, 0, FW_NORMAL, 0, 0, 0, DEFAULT_CHARSET, 0, 0,
            NONANTIALIASED_QUALITY, 0, "DejaVu Sans");
        SelectObject(dc, font);
    }
    void TearDown() override
    {
        DeleteDC(dc);
        DeleteObject(bitmap);
        DeleteObject(font);
        TorwenTest::TearDown();
    }
    std::vector<DWORD> Pixels() const
    {
        return std::vector<DWORD>(pixels, pixels + Width * Height);
    }
    void Clear() { PatBlt(dc, 0, 0, Width, Height, WHITENESS); }

    static constexpr int Width = 160, Height = 60;
    HDC dc = nullptr;
    HBITMAP bitmap = nullptr;
    HFONT font = nullptr;
    DWORD* pixels = nullptr;
};

// Face names beyond ASCII round-trip; GetObjectW answers a whole LOGFONTW for a font.
TEST_F(FontsTest, FontsRoundTripTheirFaceNames)
{
    LOGFONTW lf {};
    lf.lfHeight = -14;
    lf.lfWeight = FW_BOLD;
    lf.lfCharSet = DEFAULT_CHARSET;
    const wstring face = NonAsciiText() + L" Sans";
    wcscpy(lf.lfFaceName, face.c_str());
    const HFONT fonts[] = { CreateFontIndirectW(&lf),
        CreateFontW(-14, 0, 0, 0, FW_BOLD, 0, 0, 0, DEFAULT_CHARSET, 0, 0, 0, 0, face.c_str()) };
    for (HFONT f : fonts) {
        ASSERT_NE(f, nullptr);
        struct {
            LOGFONTW lf;
            BYTE more[8];
        } back;
        memset(&back, 0xCC, sizeof back);
        EXPECT_EQ(GetObjectW(f, sizeof back, &back), 92);
        EXPECT_EQ(back.lf.lfHeight, -14);
        EXPECT_EQ(back.lf.lfWeight, FW_BOLD);
        EXPECT_EQ(wstring(back.lf.lfFaceName), face);
        EXPECT_EQ(back.more[0], 0xCC);
        EXPECT_EQ(GetObjectW(f, 0, nullptr), 92);
        if (AnsiPath()) {
            TW_HOOK(getA, GetObjectA, [&](HANDLE h, int n, LPVOID p) { return getA.real(h, n, p); });
            EXPECT_EQ(GetObjectW(f, 0, nullptr), 92);
            EXPECT_EQ(getA.calls, 0);
            SetLastError(0);
            EXPECT_EQ(GetObjectW(f, 91, &back), 0);
            EXPECT_EQ(GetLastError(), 84u);
        }
        DeleteObject(f);
    }
    // Anything but a font is the A function's business.
    BITMAP bm;
    EXPECT_EQ(GetObjectW(bitmap, sizeof bm, &bm), int(sizeof bm));
    EXPECT_EQ(bm.bmWidth, Width);
    EXPECT_EQ(CreateFontIndirectW(nullptr), nullptr);

    // A face name that fills the record: the ANSI path keeps 31 characters of it.
    wmemset(lf.lfFaceName, L'F', 32);
    HFONT f = CreateFontIndirectW(&lf);
    LOGFONTW back;
    ASSERT_EQ(GetObjectW(f, sizeof back, &back), 92);
    EXPECT_EQ(wstring(back.lfFaceName, AnsiPath() ? 31 : 32), wstring(AnsiPath() ? 31 : 32, L'F'));
    DeleteObject(f);
}

struct Seen {
    std::set<wstring> names;
    int calls = 0, stopAfter = 0;
    bool ownLParam = true;
};

int CALLBACK Collect(const LOGFONTW* lf, const TEXTMETRICW* tm, DWORD, LPARAM lParam)
{
    auto* seen = reinterpret_cast<Seen*>(lParam);
    seen->names.insert(lf->lfFaceName);
    seen->ownLParam = seen->ownLParam && tm->tmHeight > 0;
    return ++seen->calls != seen->stopAfter;
}

// The wide callback gets its lParam and the system's families; a 0 from it ends the list.
TEST_F(FontsTest, EnumerationsCallTheWideCallback)
{
    auto systemEx = SystemGdi<decltype(&EnumFontFamiliesExW)>("EnumFontFamiliesExW");
    LOGFONTW filter {};
    filter.lfCharSet = DEFAULT_CHARSET;
    Seen expected, ex, families, stopped;
    systemEx(dc, &filter, Collect, LPARAM(&expected), 0);
    ASSERT_GE(expected.names.size(), 3u);
    EXPECT_EQ(EnumFontFamiliesExW(dc, &filter, Collect, LPARAM(&ex), 0), 1);
    EXPECT_EQ(ex.names, expected.names);
    EXPECT_TRUE(ex.ownLParam);
    EXPECT_EQ(EnumFontFamiliesW(dc, nullptr, Collect, LPARAM(&families)), 1);
    EXPECT_EQ(families.names, expected.names);
    stopped.stopAfter = 1;
    EXPECT_EQ(EnumFontFamiliesExW(dc, &filter, Collect, LPARAM(&stopped), 0), 0);
    EXPECT_EQ(stopped.calls, 1);
    stopped.calls = 0;
    EXPECT_EQ(EnumFontFamiliesW(dc, L"DejaVu Sans", Collect, LPARAM(&stopped)), 0);
    EXPECT_EQ(stopped.calls, 1);
}

// Fit and extents count characters: a two-byte character ends where its second byte does.
TEST_F(FontsTest, ExtentsCountCharacters)
{
    auto systemW = SystemGdi<decltype(&GetTextExtentExPointW)>("GetTextExtentExPointW");
    std::vector<int> byteExtents;
    auto hookA = [&](HDC h, LPCSTR s, int n, int max, LPINT fit, LPINT ext, LPSIZE size) {
        BOOL r = SystemGdi<decltype(&GetTextExtentExPointA)>("GetTextExtentExPointA")(
            h, s, n, max, fit, ext, size);
        byteExtents.assign(ext, ext + *fit);
        return r;
    };
    SIZE warm;
    GetTextExtentExPointW(dc, L"a", 1, 0, nullptr, nullptr, &warm); // binds the A function
    std::optional<harness::Hook<decltype(&GetTextExtentExPointA)>> hook;
    if (AnsiPath())
        hook.emplace("GetTextExtentExPointA", hookA);
    const wstring text = L"ab" + NonAsciiText() + L"cd";
    const string textA = ToAnsi(text);
    struct {
        int count, maxExtent;
    } cases[] = { { int(text.size()), 1000 }, { 3, 1000 }, { int(text.size()), 25 }, { 0, 1000 } };
    for (const auto& c : cases) {
        int fit = -1, extents[16], fitW = -1, extentsW[16];
        SIZE size {}, sizeW {};
        ASSERT_TRUE(
            GetTextExtentExPointW(dc, text.c_str(), c.count, c.maxExtent, &fit, extents, &size));
        systemW(dc, text.c_str(), c.count, c.maxExtent, &fitW, extentsW, &sizeW);
        EXPECT_LE(fit, c.count);
        if (!AnsiPath())
            continue;
        // The whole string is measured, whatever the count.
        SIZE whole;
        GetTextExtentPoint32A(dc, textA.c_str(), int(textA.size()), &whole);
        EXPECT_EQ(size.cx, whole.cx);
        // Each extent is the A function's at the character's last byte.
        for (int i = 0, b = 0; i < fit; ++i) {
            b += IsDBCSLeadByte(BYTE(textA[b])) ? 2 : 1;
            EXPECT_EQ(extents[i], byteExtents[b - 1]) << "character " << i;
        }
        if (CodePage() == 1252) { // one byte a character: the same answer as the W function's
            EXPECT_EQ(fit, fitW);
            EXPECT_EQ(std::vector<int>(extents, extents + fit),
                std::vector<int>(extentsW, extentsW + fitW));
        } else {
            // Wine measures ANSI text in the font's code page (1252): only the fit agrees.
            EXPECT_EQ(fit, c.maxExtent == 1000 ? fitW : fit);
        }
    }
    int fit = 0;
    SIZE size;
    EXPECT_TRUE(GetTextExtentExPointW(dc, L"abc", 3, 1000, nullptr, nullptr, &size));
    EXPECT_TRUE(GetTextExtentExPointW(dc, L"abc", 3, 1000, &fit, nullptr, &size));
    EXPECT_EQ(fit, 3);
}

// A counted string with no NUL, ending where readable memory does: the ANSI path
// measures up to there (all of it, as it measures a terminated string) and does
// not fault; the extents stay within the count.
TEST_F(FontsTest, AnUnterminatedStringIsReadNoFurtherThanReadableMemory)
{
    SYSTEM_INFO info;
    GetSystemInfo(&info);
    const DWORD page = info.dwPageSize;
    auto* block = static_cast<BYTE*>(VirtualAlloc(nullptr, 2 * page, MEM_COMMIT, PAGE_READWRITE));
    DWORD old;
    VirtualProtect(block + page, page, PAGE_NOACCESS, &old);
    auto* text = reinterpret_cast<wchar_t*>(block + page) - 3;
    memcpy(text, L"abc", 3 * sizeof *text);
    int fit = -1, extents[3] = { -1, -1, -1 };
    SIZE size {}, expected {};
    EXPECT_TRUE(GetTextExtentExPointW(dc, text, 2, 1000, &fit, extents, &size));
    GetTextExtentPoint32A(dc, "abc", AnsiPath() ? 3 : 2, &expected);
    EXPECT_EQ(std::tuple(fit, extents[2], size.cx), std::tuple(2, -1, expected.cx));
    VirtualFree(block, 0, MEM_RELEASE);
}

// Character codes reach the A functions sign-extended; PolyTextOutW's strings one byte short.
TEST_F(FontsTest, WhatTheAFunctionsReceive)
{
    if (!AnsiPath())
        GTEST_SKIP() << "the W path hands its arguments through";
    int warm[4];
    ABC warmAbc[4];
    GetCharWidth32W(dc, 'a', 'a', warm);
    GetCharABCWidthsW(dc, 'a', 'a', warmAbc);
    POLYTEXTW one = { 0, 0, 1, L"a", 0, {}, nullptr };
    PolyTextOutW(dc, &one, 1);
    std::vector<UINT> codes;
    // Wine refuses sign-extended codes: the hooks answer alone, seeing every code.
    TW_HOOK(widthA, GetCharWidth32A, [&](HDC, UINT a, UINT b, LPINT) {
        codes.insert(codes.end(), { a, b });
        return TRUE;
    });
    TW_HOOK(abcA, GetCharABCWidthsA, [&](HDC, UINT a, UINT b, LPABC) {
        codes.insert(codes.end(), { a, b });
        return TRUE;
    });
    const bool western = CodePage() == 1252;
    const struct {
        UINT first, last;
        std::vector<UINT> seen; // the codes the A function was asked for
    } cases[] = {
        { 'a', 'c', { 'a', 'c' } },
        { 0xE9, 0xE9,
            western ? std::vector<UINT> { 0xFFFFFFE9, 0xFFFFFFE9 }
                    : std::vector<UINT> { 'e', 'e' } },
        // Cyrillic: the default character of 1252, two bytes (so 0) in 932.
        { 0x0416, 0x0416, western ? std::vector<UINT> { '?', '?' } : std::vector<UINT> { 0, 0 } },
        // Two wide characters whose bytes lie 16 apart: asked for one by one.
        { 0x0152, 0x0153,
            western ? std::vector<UINT> { 0xFFFFFF8C, 0xFFFFFF8C, 0xFFFFFF9C, 0xFFFFFF9C }
                    : std::vector<UINT> { '?', '?' } },
    };
    for (const auto& c : cases) {
        int widths[4];
        ABC abc[4];
        codes.clear();
        GetCharWidth32W(dc, c.first, c.last, widths);
        EXPECT_EQ(codes, c.seen) << c.first;
        codes.clear();
        GetCharABCWidthsW(dc, c.first, c.last, abc);
        EXPECT_EQ(codes, c.seen) << c.first;
    }
    SetLastError(0);
    int widths[2];
    EXPECT_FALSE(GetCharWidth32W(dc, 'c', 'a', widths));
    EXPECT_EQ(GetLastError(), DWORD(ERROR_INVALID_PARAMETER));

    std::vector<std::string> strings;
    TW_HOOK(polyA, PolyTextOutA, [&](HDC h, const POLYTEXTA* t, int n) {
        for (int k = 0; k < n; ++k)
            strings.emplace_back(t[k].lpstr, t[k].n);
        return polyA.real(h, t, n);
    });
    const wstring second = NonAsciiText() + L"yz";
    POLYTEXTW texts[3] = { { 0, 0, 3, L"abc", 0, {}, nullptr },
        { 0, 20, UINT(second.size()), second.c_str(), 0, {}, nullptr },
        { 0, 40, 0, L"", 0, {}, nullptr } };
    HeapLog log;
    EXPECT_TRUE(PolyTextOutW(dc, texts, 3));
    const string secondA = ToAnsi(second);
    EXPECT_EQ(
        strings, (std::vector<std::string> { "ab", secondA.substr(0, secondA.size() - 1), "" }));
    EXPECT_EQ(log.allocationSizes(),
        (std::vector<SIZE_T> { 120, (3 + second.size()) * SIZE_T(CodePage() == 932 ? 2 : 1) + 3 }));
    EXPECT_EQ(polyA.calls, 1);
    EXPECT_FALSE(PolyTextOutW(dc, texts, 0));
    EXPECT_FALSE(PolyTextOutW(dc, texts, -1));
    EXPECT_EQ(polyA.calls, 1);

    // Without a buffer the face name's length is counted in ANSI bytes.
    LOGFONTW lf {};
    lf.lfHeight = -12;
    wcscpy(lf.lfFaceName, L"DejaVu Serif");
    HFONT f = CreateFontIndirectW(&lf);
    HGDIOBJ old = SelectObject(dc, f);
    WCHAR face[32];
    EXPECT_EQ(GetTextFaceW(dc, 0, nullptr), 13);
    EXPECT_EQ(GetTextFaceW(dc, 32, face), 12);
    EXPECT_STREQ(face, L"DejaVu Serif");
    TEXTMETRICW tm;
    memset(&tm, 0, sizeof tm);
    EXPECT_TRUE(GetTextMetricsW(dc, &tm));
    EXPECT_EQ(tm.tmBreakChar, L' ');
    EXPECT_GT(tm.tmHeight, 10);
    SelectObject(dc, old);
    DeleteObject(f);
}

// PolyTextOutW draws what TextOutW draws, on the ANSI path each string one character short.
TEST_F(FontsTest, PolyTextOutDrawsLikeTextOut)
{
    // Wine draws ANSI text in the font's code page (1252): under 932 the words are ASCII.
    const wstring words[]
        = { L"Hello", (CodePage() == 1252 ? NonAsciiText() : L"Wide ") + L"World" };
    POLYTEXTW texts[2];
    for (int k = 0; k < 2; ++k)
        texts[k] = { 4, 4 + 28 * k, UINT(words[k].size()), words[k].c_str(), 0, {}, nullptr };
    Clear();
    ASSERT_TRUE(PolyTextOutW(dc, texts, 2));
    const std::vector<DWORD> drawn = Pixels();
    Clear();
    for (int k = 0; k < 2; ++k)
        TextOutW(dc, texts[k].x, texts[k].y, words[k].c_str(),
            int(words[k].size()) - (AnsiPath() ? 1 : 0));
    const std::vector<DWORD> expected = Pixels();
    EXPECT_TRUE(drawn == expected);
    EXPECT_NE(std::count(drawn.begin(), drawn.end(), 0u), 0) << "something was drawn";
}

// PolyTextOutW catches nothing: a failed allocation ends the caller's process.
TEST(PolyTextOutDeathTest, AFailedAllocationIsNotCaught)
{
    if (!AnsiPath())
        GTEST_SKIP() << "the W path allocates nothing";
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    POLYTEXTW text = { 0, 0, 3, L"abc", 0, {}, nullptr };
    EXPECT_DEATH(
        {
            HDC dc = CreateCompatibleDC(nullptr);
            FailHeapAllocAt(2);
            PolyTextOutW(dc, &text, 1);
        },
        "CAtException");
}

} // namespace
