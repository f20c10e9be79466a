// Comparison, locale information and time and date formats through torwen.
#include <windows.h>

#include <cwchar>
#include <string>
#include <vector>

#include "harness/harness.h"

namespace {

using namespace std::string_literals;

class NlsTest : public harness::TorwenTest {};

// Whether the ANSI code page holds every character of s (else the ANSI path
// compares or formats something else, and no agreement is to be had).
bool CodePageHolds(const std::wstring& s)
{
    return harness::FromAnsi(harness::ToAnsi(s)) == s;
}

// The W functions count the terminator of what they deliver; the ANSI path
// answers one less.
int Delivered(const std::wstring& s)
{
    return int(s.size()) + (harness::AnsiPath() ? 0 : 1);
}

bool AllocationFailed(int k)
{
    return harness::HeapAllocCalls() >= k;
}

TEST_F(NlsTest, ComparesCaseAndAccentsLikeTheSystem)
{
    struct Row {
        const wchar_t* first;
        const wchar_t* second;
        DWORD flags;
        int expected;
    } rows[] = {
        {L"abc", L"abc", 0, CSTR_EQUAL},
        {L"abc", L"abd", 0, CSTR_LESS_THAN},
        {L"abc", L"ABC", 0, CSTR_LESS_THAN},
        {L"abc", L"ABC", NORM_IGNORECASE, CSTR_EQUAL},
        {L"r\u00e9sum\u00e9", L"resume", 0, CSTR_GREATER_THAN},
        {L"r\u00e9sum\u00e9", L"resume", NORM_IGNORENONSPACE, CSTR_EQUAL},
        {L"\u00c9T\u00c9", L"\u00e9t\u00e9", 0, CSTR_GREATER_THAN},
        {L"\u00c9T\u00c9", L"\u00e9t\u00e9", NORM_IGNORECASE, CSTR_EQUAL},
        {L"\u00c9T\u00c9", L"ete", NORM_IGNORECASE | NORM_IGNORENONSPACE, CSTR_EQUAL},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(testing::Message() << "row " << (&row - rows));
        if (harness::AnsiPath() && !CodePageHolds(row.first))
            continue;
        EXPECT_EQ(row.expected,
                  CompareStringW(LOCALE_USER_DEFAULT, row.flags, row.first, -1, row.second, -1));
        // Counted strings compare the same, and only as far as counted.
        std::wstring first = row.first + L"tail"s, second = row.second + L"other"s;
        EXPECT_EQ(row.expected,
                  CompareStringW(LOCALE_USER_DEFAULT, row.flags, first.c_str(),
                                 int(wcslen(row.first)), second.c_str(), int(wcslen(row.second))));
    }
    const std::wstring text = harness::NonAsciiText();
    EXPECT_EQ(CSTR_EQUAL, CompareStringW(LOCALE_USER_DEFAULT, 0, text.c_str(), int(text.size()),
                                         (text + L"x").c_str(), int(text.size())));
    EXPECT_EQ(CSTR_LESS_THAN, CompareStringW(LOCALE_USER_DEFAULT, 0, text.c_str(), -1,
                                             (text + L"x").c_str(), -1));
}

// A counted string reaches CompareStringA as exactly its bytes, with their count.
TEST_F(NlsTest, CompareStringAReceivesByteCounts)
{
    if (!harness::AnsiPath())
        GTEST_SKIP() << "the W path calls no A function";
    struct Seen {
        std::string first, second;
        int firstCount, secondCount;
    } seen = {};
    TW_HOOK(compare, CompareStringA, [&](LCID lcid, DWORD flags, LPCSTR a, int ca, LPCSTR b, int cb) {
        seen = {ca < 0 ? std::string(a) : std::string(a, ca),
                cb < 0 ? std::string(b) : std::string(b, cb), ca, cb};
        return compare.real(lcid, flags, a, ca, b, cb);
    });
    const std::wstring text = harness::NonAsciiText(), longer = text + L"abc";
    const std::string ansi = harness::ToAnsi(text);

    EXPECT_EQ(CSTR_EQUAL, CompareStringW(0, 0, longer.c_str(), int(text.size()), text.c_str(), -1));
    EXPECT_EQ(int(ansi.size()), seen.firstCount);
    EXPECT_EQ(ansi, seen.first);
    EXPECT_EQ(-1, seen.secondCount);
    EXPECT_EQ(ansi, seen.second);

    // Empty counts allocate and convert nothing: the A function gets no strings.
    LPCSTR firstSeen = "", secondSeen = "";
    TW_HOOK(empty, CompareStringA, [&](LCID, DWORD, LPCSTR a, int ca, LPCSTR b, int cb) {
        firstSeen = a, secondSeen = b;
        seen.firstCount = ca, seen.secondCount = cb;
        return 0;
    });
    harness::HeapLog log;
    CompareStringW(0, 0, text.c_str(), 0, text.c_str(), 0);
    EXPECT_EQ(nullptr, firstSeen);
    EXPECT_EQ(nullptr, secondSeen);
    EXPECT_EQ(0, seen.firstCount);
    EXPECT_EQ(0, seen.secondCount);
    EXPECT_TRUE(log.events().empty());
}

// Any negative count but -1 asks the ANSI path for an impossible buffer; the
// system's W function takes it for a terminated string.
TEST_F(NlsTest, CountOfMinusTwo)
{
    SetLastError(1234);
    int r = CompareStringW(LOCALE_USER_DEFAULT, 0, L"same", -2, L"same", -1);
    if (harness::AnsiPath()) {
        EXPECT_EQ(0, r);
        EXPECT_EQ(DWORD(ERROR_SUCCESS), GetLastError());
    } else {
        EXPECT_EQ(CSTR_EQUAL, r);
    }
}

TEST_F(NlsTest, FailedAllocationGivesZeroAndNoError)
{
    const std::wstring text = harness::NonAsciiText();
    int runs = harness::SweepAllocationFailures([&](int k) {
        SetLastError(1234);
        int r = CompareStringW(LOCALE_USER_DEFAULT, 0, text.c_str(), int(text.size()), L"abc", -1);
        if (AllocationFailed(k)) {
            EXPECT_EQ(0, r);
            EXPECT_EQ(DWORD(ERROR_SUCCESS), GetLastError());
        } else {
            EXPECT_NE(0, r);
        }
    });
    EXPECT_EQ(harness::AnsiPath() ? 2 : 0, runs);

    SYSTEMTIME time = {2024, 2, 0, 29, 13, 5, 9, 0};
    runs = harness::SweepAllocationFailures([&](int k) {
        WCHAR buf[64];
        SetLastError(1234);
        int r = GetTimeFormatW(LOCALE_USER_DEFAULT, 0, &time, L"HH':'mm", buf, 64);
        if (AllocationFailed(k)) {
            EXPECT_EQ(0, r);
            EXPECT_EQ(DWORD(ERROR_SUCCESS), GetLastError());
        } else {
            EXPECT_EQ(L"13:05"s, buf);
        }
    });
    EXPECT_EQ(harness::AnsiPath() ? 2 : 0, runs);
}

TEST_F(NlsTest, LocaleInfoAgreesButSizesInBytesOnTheAnsiPath)
{
    WCHAR buf[128];
    int n = GetLocaleInfoW(LOCALE_USER_DEFAULT, LOCALE_IDEFAULTANSICODEPAGE, buf, 128);
    EXPECT_EQ(std::to_wstring(harness::CodePage()), buf);
    EXPECT_EQ(Delivered(buf), n);

    // The native language name is in the locale's own script.
    n = GetLocaleInfoW(LOCALE_USER_DEFAULT, LOCALE_SNATIVELANGNAME, buf, 128);
    ASSERT_GT(n, 0);
    const std::wstring name = buf;
    EXPECT_EQ(Delivered(name), n);
    int needed = GetLocaleInfoW(LOCALE_USER_DEFAULT, LOCALE_SNATIVELANGNAME, nullptr, 0);
    if (harness::AnsiPath())
        EXPECT_EQ(int(harness::ToAnsi(name).size() + 1), needed);
    else
        EXPECT_EQ(int(name.size() + 1), needed);

    EXPECT_EQ(0, GetLocaleInfoW(LOCALE_USER_DEFAULT, 0xFFFF, buf, 128));
}

// A user setting written through torwen is what the locale then answers, also in
// the formats that use it.
TEST_F(NlsTest, SetLocaleInfoChangesTheTimeMarker)
{
    WCHAR saved[32];
    ASSERT_GT(GetLocaleInfoW(LOCALE_USER_DEFAULT, LOCALE_S2359, saved, 32), 0);
    const std::wstring marker = L"pm" + harness::NonAsciiText();
    ASSERT_TRUE(SetLocaleInfoW(LOCALE_USER_DEFAULT, LOCALE_S2359, marker.c_str()));

    WCHAR buf[64];
    EXPECT_EQ(Delivered(marker), GetLocaleInfoW(LOCALE_USER_DEFAULT, LOCALE_S2359, buf, 64));
    EXPECT_EQ(marker, buf);
    SYSTEMTIME time = {2024, 2, 0, 29, 13, 5, 9, 0};
    EXPECT_EQ(Delivered(L"1 " + marker),
              GetTimeFormatW(LOCALE_USER_DEFAULT, 0, &time, L"h tt", buf, 64));
    EXPECT_EQ(L"1 " + marker, buf);

    EXPECT_TRUE(SetLocaleInfoW(LOCALE_USER_DEFAULT, LOCALE_S2359, saved));
}

// Today, formatted with wide format strings whose literal text is beyond ASCII.
TEST_F(NlsTest, FormatsTodayWithAWideFormat)
{
    const std::wstring text = harness::NonAsciiText();
    SYSTEMTIME now;
    GetLocalTime(&now);
    now.wHour = 13, now.wMinute = 5, now.wSecond = 9;
    WCHAR expected[64], buf[64];

    const std::wstring dateFormat = L"yyyy'" + text + L"'MM'-'dd";
    swprintf(expected, 64, L"%04u%ls%02u-%02u", now.wYear, text.c_str(), now.wMonth, now.wDay);
    int r = GetDateFormatW(LOCALE_USER_DEFAULT, 0, &now, dateFormat.c_str(), buf, 64);
    EXPECT_EQ(Delivered(expected), r);
    EXPECT_STREQ(expected, buf);

    const std::wstring timeFormat = L"HH'" + text + L"'mm':'ss";
    swprintf(expected, 64, L"13%ls05:09", text.c_str());
    r = GetTimeFormatW(LOCALE_USER_DEFAULT, 0, &now, timeFormat.c_str(), buf, 64);
    EXPECT_EQ(Delivered(expected), r);
    EXPECT_STREQ(expected, buf);

    // Without a buffer the size comes back: in ANSI bytes on the ANSI path.
    r = GetTimeFormatW(LOCALE_USER_DEFAULT, 0, &now, timeFormat.c_str(), nullptr, 0);
    if (harness::AnsiPath())
        EXPECT_EQ(int(harness::ToAnsi(expected).size() + 1), r);
    else
        EXPECT_EQ(int(wcslen(expected) + 1), r);

    // A null format is the locale's own, and a buffer too small fails on both paths.
    EXPECT_GT(GetDateFormatW(LOCALE_USER_DEFAULT, DATE_SHORTDATE, &now, nullptr, buf, 64), 0);
    EXPECT_EQ(0, GetDateFormatW(LOCALE_USER_DEFAULT, 0, &now, dateFormat.c_str(), buf, 3));
    EXPECT_EQ(DWORD(ERROR_INSUFFICIENT_BUFFER), GetLastError());
}

}  // namespace
