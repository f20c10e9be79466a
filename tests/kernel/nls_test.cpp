// Comparison, locale information and time and date formats through torwen.
#include <windows.h>

#include <cwchar>
#include <string>

#include "harness/harness.h"

namespace {

using namespace std::string_literals;

class NlsTest : public harness::TorwenTest {
protected:
    const std::wstring text = harness::NonAsciiText();
    WCHAR buf[64];
};

// The W functions count the terminator of what they deliver; the ANSI path
// answers one less.
int Delivered(const std::wstring& s)
{
    return int(s.size()) + (harness::AnsiPath() ? 0 : 1);
}

TEST_F(NlsTest, ComparesCaseAndAccents)
{
    struct {
        const wchar_t *first, *second;
        DWORD flags;
        int expected;
    } rows[] = {
        {L"abc", L"ABC", 0, CSTR_LESS_THAN},
        {L"abc", L"ABC", NORM_IGNORECASE, CSTR_EQUAL},
        {L"r\u00e9sum\u00e9", L"resume", 0, CSTR_GREATER_THAN},
        {L"R\u00c9SUM\u00c9", L"resume", NORM_IGNORECASE | NORM_IGNORENONSPACE, CSTR_EQUAL},
    };
    for (auto& row : rows) {
        // Code page 932 has no accented letters: the ANSI path would compare others.
        if (harness::AnsiPath() && harness::FromAnsi(harness::ToAnsi(row.first)) != row.first)
            continue;
        std::wstring longer = row.first + L"tail"s;  // compared only as far as counted
        EXPECT_EQ(row.expected, CompareStringW(LOCALE_USER_DEFAULT, row.flags, longer.c_str(),
                                               int(wcslen(row.first)), row.second, -1));
    }
}

TEST_F(NlsTest, CompareStringAGetsByteCounts)
{
    if (!harness::AnsiPath()) {
        // The system takes any negative count for a terminated string.
        EXPECT_EQ(CSTR_EQUAL, CompareStringW(LOCALE_USER_DEFAULT, 0, L"a", -2, L"a", -1));
        return;
    }
    std::string first;
    int counts[2] = {};
    TW_HOOK(hook, CompareStringA, [&](LCID lcid, DWORD flags, LPCSTR a, int ca, LPCSTR b, int cb) {
        first = ca ? std::string(a, ca < 0 ? strlen(a) : ca) : "";
        counts[0] = ca, counts[1] = cb;
        return hook.real(lcid, flags, a, ca, b, cb);
    });
    const std::wstring longer = text + L"abc";
    EXPECT_EQ(CSTR_EQUAL, CompareStringW(LOCALE_USER_DEFAULT, 0, longer.c_str(), int(text.size()),
                                         text.c_str(), -1));
    EXPECT_EQ(harness::ToAnsi(text), first);
    EXPECT_EQ(int(first.size()), counts[0]);
    EXPECT_EQ(-1, counts[1]);

    harness::HeapLog log;  // empty counts: nothing allocated, nothing converted
    CompareStringW(LOCALE_USER_DEFAULT, 0, text.c_str(), 0, text.c_str(), 0);
    EXPECT_TRUE(log.events().empty());
    EXPECT_EQ(0, counts[0] | counts[1]);

    // -2 asks for an impossible buffer: the A function is not reached.
    hook.calls = 0;
    SetLastError(1234);
    EXPECT_EQ(0, CompareStringW(LOCALE_USER_DEFAULT, 0, L"a", -2, L"a", -1));
    EXPECT_EQ(0u, GetLastError());
    EXPECT_EQ(0, hook.calls);
}

// Today, with wide formats whose literal text is beyond ASCII, and a time marker
// set through torwen.
TEST_F(NlsTest, FormatsTodayAndLocaleSettings)
{
    SYSTEMTIME now;
    GetLocalTime(&now);
    now.wHour = 13, now.wMinute = 5;
    WCHAR expected[64];
    swprintf(expected, 64, L"%04u%ls%02u-%02u", now.wYear, text.c_str(), now.wMonth, now.wDay);
    EXPECT_EQ(Delivered(expected), GetDateFormatW(LOCALE_USER_DEFAULT, 0, &now,
                                                  (L"yyyy'" + text + L"'MM'-'dd").c_str(), buf, 64));
    EXPECT_STREQ(expected, buf);

    WCHAR saved[32];
    GetLocaleInfoW(LOCALE_USER_DEFAULT, LOCALE_S2359, saved, 32);
    ASSERT_TRUE(SetLocaleInfoW(LOCALE_USER_DEFAULT, LOCALE_S2359, text.c_str()));
    EXPECT_EQ(Delivered(text), GetLocaleInfoW(LOCALE_USER_DEFAULT, LOCALE_S2359, buf, 64));
    EXPECT_EQ(text, buf);
    const std::wstring format = L"HH'" + text + L"'mm tt", time = L"13" + text + L"05 " + text;
    EXPECT_EQ(Delivered(time), GetTimeFormatW(LOCALE_USER_DEFAULT, 0, &now, format.c_str(), buf, 64));
    EXPECT_EQ(time, buf);
    // Without a buffer the size needed comes back, in ANSI bytes on the ANSI path.
    EXPECT_EQ(int(harness::AnsiPath() ? harness::ToAnsi(time).size() : time.size()) + 1,
              GetTimeFormatW(LOCALE_USER_DEFAULT, 0, &now, format.c_str(), nullptr, 0));
    SetLocaleInfoW(LOCALE_USER_DEFAULT, LOCALE_S2359, saved);
}

// The frame restores the A function's error: 0 when an allocation failed before it.
TEST_F(NlsTest, CaughtFailuresAnswerZeroWithNoError)
{
    SYSTEMTIME time = {2024, 2, 0, 29, 13, 5, 9, 0};
    for (auto call : std::initializer_list<std::function<int()>>{
             [&] { return CompareStringW(LOCALE_USER_DEFAULT, 0, text.c_str(), int(text.size()), L"b", -1); },
             [&] { return GetTimeFormatW(LOCALE_USER_DEFAULT, 0, &time, L"HH", buf, 64); }}) {
        EXPECT_EQ(harness::AnsiPath() ? 2 : 0, harness::SweepAllocationFailures([&](int k) {
            SetLastError(1234);
            int r = call();
            if (harness::HeapAllocCalls() >= k) {
                EXPECT_EQ(std::make_pair(0, 0ul), std::make_pair(r, GetLastError()));
            }
        }));
    }
}

}  // namespace
