// System parameters with records of fonts and strings, and what the A function sees.
#include "user/test_resources.h"

namespace {

class SysParamsTest : public harness::TorwenTest {
protected:
    void SetUp() override
    {
        TorwenTest::SetUp();
        RECT r;
        SystemParametersInfoW(SPI_GETWORKAREA, 0, &r, 0);  // binds the A function
    }
};

bool SameFont(const LOGFONTW& w, const LOGFONTA& a)
{
    return w.lfHeight == a.lfHeight && w.lfWeight == a.lfWeight &&
           std::wstring(w.lfFaceName) == harness::FromAnsi(a.lfFaceName);
}

template <typename Record>
Record Sized(UINT size)
{
    Record r = {};
    r.cbSize = size;
    return r;
}

// What torwen reads is what the A function reads.
TEST_F(SysParamsTest, ReadRecordsWithFonts)
{
    auto ncm = Sized<NONCLIENTMETRICSW>(sizeof(NONCLIENTMETRICSW));
    auto ncmA = Sized<NONCLIENTMETRICSA>(sizeof(NONCLIENTMETRICSA));
    ASSERT_TRUE(SystemParametersInfoW(SPI_GETNONCLIENTMETRICS, sizeof ncm, &ncm, 0));
    ASSERT_TRUE(SystemParametersInfoA(SPI_GETNONCLIENTMETRICS, sizeof ncmA, &ncmA, 0));
    EXPECT_EQ(ncm.cbSize, harness::AnsiPath() ? 500u : sizeof ncm);
    EXPECT_EQ(ncm.iMenuHeight, ncmA.iMenuHeight);
    EXPECT_TRUE(SameFont(ncm.lfCaptionFont, ncmA.lfCaptionFont));
    EXPECT_TRUE(SameFont(ncm.lfMessageFont, ncmA.lfMessageFont));
    auto im = Sized<ICONMETRICSW>(sizeof(ICONMETRICSW));
    auto imA = Sized<ICONMETRICSA>(sizeof(ICONMETRICSA));
    ASSERT_TRUE(SystemParametersInfoW(SPI_GETICONMETRICS, sizeof im, &im, 0));
    ASSERT_TRUE(SystemParametersInfoA(SPI_GETICONMETRICS, sizeof imA, &imA, 0));
    EXPECT_TRUE(im.iVertSpacing == imA.iVertSpacing && SameFont(im.lfFont, imA.lfFont));
    LOGFONTW lf = {};
    LOGFONTA lfA = {};
    ASSERT_TRUE(SystemParametersInfoW(SPI_GETICONTITLELOGFONT, sizeof lf, &lf, 0));
    ASSERT_TRUE(SystemParametersInfoA(SPI_GETICONTITLELOGFONT, sizeof lfA, &lfA, 0));
    EXPECT_TRUE(SameFont(lf, lfA));
}

// Records declaring less than the wide size are refused without asking the system
// and without an error; the icon title font needs uiParam 4 and asks for 60 bytes,
// and no more than uiParam bytes of it are written.
TEST_F(SysParamsTest, SizesOfTheAnsiPath)
{
    if (!harness::AnsiPath())
        GTEST_SKIP() << "the W path leaves the sizes to the system";
    int calls = 0;
    UINT paramSeen = 0;
    TW_HOOK(hook, SystemParametersInfoA, [&](UINT action, UINT param, PVOID pv, UINT ini) {
        ++calls;
        paramSeen = param;
        return hook.real(action, param, pv, ini);
    });
    auto ncm = Sized<NONCLIENTMETRICSW>(340);
    auto im = Sized<ICONMETRICSW>(76);
    auto ss = Sized<SOUNDSENTRYW>(47);
    HIGHCONTRASTW hc = {11, 0, nullptr};
    LOGFONTW lf = {};
    const struct { UINT action, param; void* pv; } refused[] = {
        {SPI_GETNONCLIENTMETRICS, 340, &ncm}, {SPI_GETICONMETRICS, 76, &im},
        {SPI_SETICONMETRICS, 76, &im},        {SPI_GETHIGHCONTRAST, 0, &hc},
        {SPI_SETHIGHCONTRAST, 0, &hc},        {SPI_GETSOUNDSENTRY, 0, &ss},
        {SPI_GETICONTITLELOGFONT, 3, &lf},    {SPI_SETICONTITLELOGFONT, 0, &lf},
    };
    for (const auto& r : refused) {
        SetLastError(1234);
        EXPECT_FALSE(SystemParametersInfoW(r.action, r.param, r.pv, 0)) << r.action;
        EXPECT_EQ(GetLastError(), 1234u) << r.action;
    }
    EXPECT_EQ(calls, 0);
    EXPECT_TRUE(SystemParametersInfoW(SPI_GETICONTITLELOGFONT, 4, &lf, 0));
    EXPECT_EQ(paramSeen, 60u);
    struct { BYTE font[60]; DWORD canary; } guarded = {{}, 0xC0FFEE};
    EXPECT_TRUE(SystemParametersInfoW(SPI_GETICONTITLELOGFONT, 60, guarded.font, 0));
    EXPECT_EQ(guarded.canary, 0xC0FFEEu);
}

// What the setters hand to the A function, seen by a hook standing in for it.
TEST_F(SysParamsTest, RecordsTheSettersPass)
{
    if (!harness::AnsiPath())
        GTEST_SKIP() << "the W path passes the records as they are";
    std::string seen;
    UINT param = 0;
    std::function<std::string(PVOID)> look;
    TW_HOOK(hook, SystemParametersInfoA, [&](UINT, UINT p, PVOID pv, UINT) {
        param = p;
        seen = look(pv);
        return TRUE;
    });
    const std::wstring name = L"Name " + harness::NonAsciiText();
    const std::string nameA = harness::ToAnsi(name);
    const LPWSTR s = const_cast<LPWSTR>(name.c_str());
    LOGFONTW font = {};
    name.copy(font.lfFaceName, 20);
    const std::string faceA = harness::ToAnsi(name.substr(0, 20));
    auto ncm = Sized<NONCLIENTMETRICSW>(12);  // the setter tests no size
    ncm.lfStatusFont = font;
    HIGHCONTRASTW hc = {sizeof hc, HCF_HIGHCONTRASTON, s};
    auto ss = Sized<SOUNDSENTRYW>(sizeof(SOUNDSENTRYW));
    ss.lpszWindowsEffectDLL = s;
    ss.iWindowsEffectOrdinal = 3;
    const struct { UINT action, param; PVOID pv; std::function<std::string(PVOID)> look;
                   std::string expected; UINT paramSeen; } setters[] = {
        {SPI_SETNONCLIENTMETRICS, 500, &ncm, [](PVOID pv) {
             auto* a = static_cast<NONCLIENTMETRICSA*>(pv);
             return std::to_string(a->cbSize) + a->lfStatusFont.lfFaceName;
         }, "340" + faceA, 500},
        {SPI_SETICONTITLELOGFONT, sizeof font, &font,
         [](PVOID pv) { return std::string(static_cast<LOGFONTA*>(pv)->lfFaceName); }, faceA, 60},
        {SPI_SETHIGHCONTRAST, 0, &hc, [](PVOID pv) {
             auto* a = static_cast<HIGHCONTRASTA*>(pv);
             return std::to_string(a->cbSize) + a->lpszDefaultScheme;
         }, "12" + nameA, 0},
        {SPI_SETSOUNDSENTRY, 0, &ss, [](PVOID pv) {
             auto* a = static_cast<SOUNDSENTRYA*>(pv);
             return std::to_string(a->iWindowsEffectOrdinal) + a->lpszWindowsEffectDLL;
         }, "3" + nameA, 0},
        {SPI_SETDESKWALLPAPER, 0, s, [](PVOID pv) { return std::string(static_cast<char*>(pv)); },
         nameA, 0},
        {SPI_SETDESKWALLPAPER, 0, nullptr, [](PVOID pv) { return pv ? "pointer" : "null"; },
         "null", 0},
    };
    for (const auto& t : setters) {
        look = t.look;
        EXPECT_TRUE(SystemParametersInfoW(t.action, t.param, t.pv, 0)) << t.action;
        EXPECT_EQ(seen, t.expected) << t.action;
        EXPECT_EQ(param, t.paramSeen) << t.action;
    }
}

// What the getters give back: the sound sentry's ordinal reads 0, and the scheme name
// is converted with room for its bytes without the NUL, so a single-byte name does
// not fit.
TEST_F(SysParamsTest, RecordsTheGettersReturn)
{
    if (!harness::AnsiPath())
        GTEST_SKIP() << "the W path returns the system's records";
    const std::wstring name = harness::NonAsciiText();
    const std::string nameA = harness::ToAnsi(name);
    TW_HOOK(hook, SystemParametersInfoA, [&](UINT action, UINT, PVOID pv, UINT) {
        if (action == SPI_GETSOUNDSENTRY) {
            auto* a = static_cast<SOUNDSENTRYA*>(pv);
            a->iWindowsEffect = 4;
            a->iWindowsEffectOrdinal = 9;
            lstrcpyA(a->lpszWindowsEffectDLL, nameA.c_str());
        } else if (action == SPI_GETHIGHCONTRAST) {
            static_cast<HIGHCONTRASTA*>(pv)->dwFlags = HCF_AVAILABLE;
            lstrcpyA(static_cast<HIGHCONTRASTA*>(pv)->lpszDefaultScheme, nameA.c_str());
        } else {
            lstrcpyA(static_cast<char*>(pv), nameA.c_str());
        }
        return TRUE;
    });
    WCHAR dll[260] = L"";
    auto ss = Sized<SOUNDSENTRYW>(200);
    ss.lpszWindowsEffectDLL = dll;
    ss.iWindowsEffectOrdinal = 5;
    EXPECT_TRUE(SystemParametersInfoW(SPI_GETSOUNDSENTRY, 0, &ss, 0));
    EXPECT_EQ(ss.cbSize, 48u);
    EXPECT_EQ(ss.iWindowsEffect, 4u);
    EXPECT_EQ(ss.iWindowsEffectOrdinal, 0u);
    EXPECT_EQ(std::wstring(dll), name);
    WCHAR scheme[260];
    std::fill(std::begin(scheme), std::end(scheme), L'#');
    HIGHCONTRASTW hc = {12, 0, scheme};
    EXPECT_TRUE(SystemParametersInfoW(SPI_GETHIGHCONTRAST, 0, &hc, 0));
    EXPECT_EQ(hc.dwFlags, DWORD(HCF_AVAILABLE));
    EXPECT_EQ(scheme[name.size()], nameA.size() > name.size() ? L'\0' : L'#');
    WCHAR driver[260] = L"";
    EXPECT_TRUE(SystemParametersInfoW(SPI_LANGDRIVER, 0, driver, 0));
    EXPECT_EQ(std::wstring(driver), name);
}

// Conversions beyond a high-contrast read: a failed allocation fails with error 0.
TEST_F(SysParamsTest, AllocationFailures)
{
    if (!harness::AnsiPath())
        GTEST_SKIP() << "the W path allocates nothing";
    TW_HOOK(hook, SystemParametersInfoA, [&](UINT, UINT, PVOID, UINT) { return TRUE; });
    WCHAR name[260] = L"name";
    auto ss = Sized<SOUNDSENTRYW>(48);
    ss.lpszWindowsEffectDLL = name;
    const struct { UINT action; PVOID pv; } calls[] = {
        {SPI_SETSOUNDSENTRY, &ss}, {SPI_SETDESKWALLPAPER, name}, {SPI_LANGDRIVER, name}};
    for (const auto& c : calls)
        harness::SweepAllocationFailures([&](int k) {
            SetLastError(1234);
            BOOL r = SystemParametersInfoW(c.action, 0, c.pv, 0);
            if (harness::HeapAllocCalls() < k) {
                EXPECT_TRUE(r) << c.action;
                return;
            }
            EXPECT_FALSE(r) << c.action << ", allocation " << k;
            EXPECT_EQ(GetLastError(), 0u) << c.action << ", allocation " << k;
        });
}

}  // namespace
