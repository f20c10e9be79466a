// Comparison, locale information and time and date formats.
#include "harness/harness.h"

namespace {

class NlsTest : public harness::TorwenTest {
protected:
    const std::wstring text = harness::NonAsciiText();
    const bool ansi = harness::AnsiPath();
    const LCID lcid = LOCALE_USER_DEFAULT;
    const SYSTEMTIME time = {2024, 2, 0, 29, 13, 5, 9, 0};
    WCHAR buf[64];
};

TEST_F(NlsTest, ComparesAsFarAsCountedAndGivesCompareStringAByteCounts)
{
    std::pair<int, int> counts;
    TW_HOOK(hook, CompareStringA, [&](LCID l, DWORD flags, LPCSTR a, int ca, LPCSTR b, int cb) {
        counts = {ca, cb};
        return hook.real(l, flags, a, ca, b, cb);
    });
    EXPECT_EQ(CSTR_EQUAL, CompareStringW(lcid, 0, (text + L"abc").c_str(), int(text.size()),
                                         text.c_str(), -1));
    EXPECT_EQ(std::make_pair(ansi ? int(harness::ToAnsi(text).size()) : 0, -int(ansi)), counts);

    CompareStringW(lcid, 0, text.c_str(), 0, text.c_str(), 0);  // empty: nothing to convert
    EXPECT_EQ(std::make_pair(0, 0), counts);
    // -2: a terminated string to the system, an impossible buffer to the ANSI path.
    EXPECT_EQ(ansi ? 0 : CSTR_EQUAL, CompareStringW(lcid, 0, L"a", -2, L"a", -1));
    EXPECT_EQ(2 * ansi, hook.calls);
}

// The W functions count the terminator of what they deliver; the ANSI path
// answers one less, and without a buffer the size in ANSI bytes.
TEST_F(NlsTest, FormatsCountLikeTheirAnsiFunctions)
{
    std::wstring format = L"HH'" + text + L"'mm", expected = L"13" + text + L"05";
    EXPECT_EQ(int(expected.size()) + !ansi, GetTimeFormatW(lcid, 0, &time, &format[0], buf, 64));
    EXPECT_EQ(expected, buf);
    EXPECT_EQ(int((ansi ? harness::ToAnsi(expected).size() : expected.size()) + 1),
              GetTimeFormatW(lcid, 0, &time, format.c_str(), nullptr, 0));
}

}  // namespace
