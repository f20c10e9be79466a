// System parameters: the records that carry fonts and strings, read through torwen
// and compared with the A function's, and what the A function receives for them.
#include <cstring>
#include <functional>
#include <optional>

#include "user/test_window.h"

namespace
{

class SysParamsTest : public harness::TorwenTest
{
protected:
    void SetUp() override
    {
        TorwenTest::SetUp();
        RECT r;
        SystemParametersInfoW(SPI_GETWORKAREA, 0, &r, 0); // binds the A function
    }
};

std::wstring Face(const LOGFONTA& a)
{
    return harness::FromAnsi(a.lfFaceName);
}

bool SameFont(const LOGFONTW& w, const LOGFONTA& a)
{
    return w.lfHeight == a.lfHeight && w.lfWeight == a.lfWeight && w.lfCharSet == a.lfCharSet
        && std::wstring(w.lfFaceName) == Face(a);
}

// The records read through torwen hold what the A function reads (the system's W
// function on the W path reads the same values).
TEST_F(SysParamsTest, ReadRecordsWithFonts)
{
    NONCLIENTMETRICSW ncm = {};
    ncm.cbSize = sizeof ncm;
    ASSERT_TRUE(SystemParametersInfoW(SPI_GETNONCLIENTMETRICS, sizeof ncm, &ncm, 0));
    NONCLIENTMETRICSA ncmA = {};
    ncmA.cbSize = sizeof ncmA;
    ASSERT_TRUE(SystemParametersInfoA(SPI_GETNONCLIENTMETRICS, sizeof ncmA, &ncmA, 0));
    EXPECT_EQ(ncm.cbSize, harness::AnsiPath() ? 500u : sizeof ncm);
    EXPECT_EQ(ncm.iCaptionHeight, ncmA.iCaptionHeight);
    EXPECT_EQ(ncm.iMenuHeight, ncmA.iMenuHeight);
    EXPECT_TRUE(SameFont(ncm.lfCaptionFont, ncmA.lfCaptionFont));
    EXPECT_TRUE(SameFont(ncm.lfMessageFont, ncmA.lfMessageFont));

    ICONMETRICSW im = {};
    im.cbSize = sizeof im;
    ASSERT_TRUE(SystemParametersInfoW(SPI_GETICONMETRICS, sizeof im, &im, 0));
    ICONMETRICSA imA = {};
    imA.cbSize = sizeof imA;
    ASSERT_TRUE(SystemParametersInfoA(SPI_GETICONMETRICS, sizeof imA, &imA, 0));
    EXPECT_EQ(im.cbSize, sizeof im);
    EXPECT_EQ(im.iHorzSpacing, imA.iHorzSpacing);
    EXPECT_TRUE(SameFont(im.lfFont, imA.lfFont));

    LOGFONTW lf = {};
    ASSERT_TRUE(SystemParametersInfoW(SPI_GETICONTITLELOGFONT, sizeof lf, &lf, 0));
    LOGFONTA lfA = {};
    ASSERT_TRUE(SystemParametersInfoA(SPI_GETICONTITLELOGFONT, sizeof lfA, &lfA, 0));
    EXPECT_TRUE(SameFont(lf, lfA));

    WCHAR scheme[260] = L"#";
    HIGHCONTRASTW hc = { sizeof hc, 0, scheme };
    HIGHCONTRASTA hcA = { sizeof hcA, 0, nullptr };
    char schemeA[260] = "";
    hcA.lpszDefaultScheme = schemeA;
    EXPECT_EQ(SystemParametersInfoW(SPI_GETHIGHCONTRAST, 0, &hc, 0),
        SystemParametersInfoA(SPI_GETHIGHCONTRAST, 0, &hcA, 0));
    EXPECT_EQ(hc.dwFlags, hcA.dwFlags);

    RECT work, workA;
    ASSERT_TRUE(SystemParametersInfoW(SPI_GETWORKAREA, 0, &work, 0));
    SystemParametersInfoA(SPI_GETWORKAREA, 0, &workA, 0);
    EXPECT_TRUE(EqualRect(&work, &workA));
}

// Records declaring less than the wide size are refused without asking the system
// and without an error; the icon title font needs uiParam 4 and gets 60 bytes' worth.
TEST_F(SysParamsTest, SizesOfTheAnsiPath)
{
    if (!harness::AnsiPath())
        GTEST_SKIP() << "the W path leaves the sizes to the system";
    int calls = 0;
    UINT paramSeen = 0, sizeSeen = 0;
    TW_HOOK(hook, SystemParametersInfoA, [&](UINT action, UINT param, PVOID pv, UINT ini) {
        ++calls;
        paramSeen = param;
        if (pv && action != SPI_GETICONTITLELOGFONT && action != SPI_SETICONTITLELOGFONT)
            sizeSeen = *static_cast<UINT*>(pv);
        return hook.real(action, param, pv, ini);
    });
    NONCLIENTMETRICSW ncm = {};
    ncm.cbSize = 340;
    ICONMETRICSW im = {};
    im.cbSize = 76;
    HIGHCONTRASTW hc = { 11, 0, nullptr };
    SOUNDSENTRYW ss = {};
    ss.cbSize = 47;
    LOGFONTW lf = {};
    const struct {
        UINT action, param;
        void* pv;
    } refused[] = {
        { SPI_GETNONCLIENTMETRICS, 340, &ncm },
        { SPI_GETICONMETRICS, 76, &im },
        { SPI_SETICONMETRICS, 76, &im },
        { SPI_GETHIGHCONTRAST, 0, &hc },
        { SPI_SETHIGHCONTRAST, 0, &hc },
        { SPI_GETSOUNDSENTRY, 0, &ss },
        { SPI_GETICONTITLELOGFONT, 3, &lf },
        { SPI_SETICONTITLELOGFONT, 0, &lf },
    };
    for (const auto& r : refused) {
        SetLastError(1234);
        EXPECT_FALSE(SystemParametersInfoW(r.action, r.param, r.pv, 0)) << r.action;
        EXPECT_EQ(GetLastError(), 1234u) << r.action;
    }
    EXPECT_EQ(calls, 0);

    EXPECT_TRUE(SystemParametersInfoW(SPI_GETICONTITLELOGFONT, 4, &lf, 0));
    EXPECT_EQ(paramSeen, 60u);
    ncm.cbSize = 500;
    EXPECT_TRUE(SystemParametersInfoW(SPI_GETNONCLIENTMETRICS, 500, &ncm, 0));
    EXPECT_EQ(sizeSeen, 340u);
    EXPECT_EQ(ncm.cbSize, 500u);
    // No more of the font than uiParam bytes is written.
    struct {
        BYTE font[60];
        DWORD canary;
    } guarded = { {}, 0xC0FFEE };
    EXPECT_TRUE(SystemParametersInfoW(SPI_GETICONTITLELOGFONT, 60, guarded.font, 0));
    EXPECT_EQ(guarded.canary, 0xC0FFEEu);
}

// What the setters hand to the A function, seen by a hook that stands in for it (the
// system keeps its settings).
TEST_F(SysParamsTest, RecordsTheSettersPass)
{
    if (!harness::AnsiPath())
        GTEST_SKIP() << "the W path passes the records as they are";
    std::string text;
    UINT param = 0, size = 0;
    std::function<void(PVOID)> look;
    TW_HOOK(hook, SystemParametersInfoA, [&](UINT, UINT p, PVOID pv, UINT) {
        param = p;
        if (look)
            look(pv);
        return TRUE;
    });
    const std::wstring name = L"Name " + harness::NonAsciiText();
    const std::string nameA = harness::ToAnsi(name);
    LOGFONTW font = {};
    font.lfHeight = -13;
    name.substr(0, 20).copy(font.lfFaceName, 20);

    NONCLIENTMETRICSW ncm = {};
    ncm.cbSize = 12; // the setter tests no size
    ncm.iMenuHeight = 19;
    ncm.lfStatusFont = font;
    look = [&](PVOID pv) {
        auto* a = static_cast<NONCLIENTMETRICSA*>(pv);
        size = a->cbSize;
        EXPECT_EQ(a->iMenuHeight, 19);
        text = a->lfStatusFont.lfFaceName;
    };
    EXPECT_TRUE(SystemParametersInfoW(SPI_SETNONCLIENTMETRICS, 500, &ncm, 0));
    EXPECT_EQ(size, 340u);
    EXPECT_EQ(param, 500u);
    EXPECT_EQ(text, harness::ToAnsi(name.substr(0, 20)));

    look = [&](PVOID pv) { text = static_cast<LOGFONTA*>(pv)->lfFaceName; };
    EXPECT_TRUE(SystemParametersInfoW(SPI_SETICONTITLELOGFONT, sizeof font, &font, 0));
    EXPECT_EQ(param, 60u);
    EXPECT_EQ(text, harness::ToAnsi(name.substr(0, 20)));

    HIGHCONTRASTW hc = { sizeof hc, HCF_HIGHCONTRASTON, const_cast<LPWSTR>(name.c_str()) };
    look = [&](PVOID pv) {
        auto* a = static_cast<HIGHCONTRASTA*>(pv);
        size = a->cbSize;
        text = a->lpszDefaultScheme;
    };
    EXPECT_TRUE(SystemParametersInfoW(SPI_SETHIGHCONTRAST, 0, &hc, 0));
    EXPECT_EQ(text, nameA);
    EXPECT_EQ(size, 12u);

    SOUNDSENTRYW ss = {};
    ss.cbSize = sizeof ss;
    ss.iWindowsEffectMSec = 77;
    ss.lpszWindowsEffectDLL = const_cast<LPWSTR>(name.c_str());
    ss.iWindowsEffectOrdinal = 3;
    look = [&](PVOID pv) {
        auto* a = static_cast<SOUNDSENTRYA*>(pv);
        EXPECT_EQ(a->iWindowsEffectMSec, 77u);
        EXPECT_EQ(a->iWindowsEffectOrdinal, 3u);
        text = a->lpszWindowsEffectDLL;
    };
    EXPECT_TRUE(SystemParametersInfoW(SPI_SETSOUNDSENTRY, 0, &ss, 0));
    EXPECT_EQ(text, nameA);

    SERIALKEYSW sk
        = { sizeof sk, 1, const_cast<LPWSTR>(L"COM1"), const_cast<LPWSTR>(L"COM2"), 9600, 2, 0 };
    look = [&](PVOID pv) {
        auto* a = static_cast<SERIALKEYSA*>(pv);
        EXPECT_EQ(a->lpszPort, nullptr);
        EXPECT_EQ(a->iBaudRate, 9600u);
        text = a->lpszActivePort;
    };
    EXPECT_TRUE(SystemParametersInfoW(SPI_SETSERIALKEYS, 0, &sk, 0));
    EXPECT_EQ(text, "COM1");

    look = [&](PVOID pv) { text = static_cast<const char*>(pv); };
    EXPECT_TRUE(
        SystemParametersInfoW(SPI_SETDESKWALLPAPER, 0, const_cast<LPWSTR>(name.c_str()), 0));
    EXPECT_EQ(text, nameA);
    look = [&](PVOID pv) { text = pv ? "pointer" : "null"; };
    EXPECT_TRUE(SystemParametersInfoW(SPI_SETDESKWALLPAPER, 0, nullptr, 0));
    EXPECT_EQ(text, "null");
}

// What the getters give back from the A function's records: the sound sentry's
// ordinal reads 0, and the scheme name is converted with room for its bytes without
// the NUL, so a single-byte name does not fit.
TEST_F(SysParamsTest, RecordsTheGettersReturn)
{
    if (!harness::AnsiPath())
        GTEST_SKIP() << "the W path returns the system's records";
    const std::wstring name = harness::NonAsciiText();
    const std::string nameA = harness::ToAnsi(name);
    TW_HOOK(hook, SystemParametersInfoA, [&](UINT action, UINT, PVOID pv, UINT) {
        switch (action) {
        case SPI_GETSOUNDSENTRY: {
            auto* a = static_cast<SOUNDSENTRYA*>(pv);
            a->iWindowsEffect = 4;
            a->iWindowsEffectOrdinal = 9;
            lstrcpyA(a->lpszWindowsEffectDLL, nameA.c_str());
            return TRUE;
        }
        case SPI_GETHIGHCONTRAST: {
            auto* a = static_cast<HIGHCONTRASTA*>(pv);
            a->dwFlags = HCF_AVAILABLE;
            lstrcpyA(a->lpszDefaultScheme, nameA.c_str());
            return TRUE;
        }
        case SPI_LANGDRIVER:
            lstrcpyA(static_cast<char*>(pv), nameA.c_str());
            return TRUE;
        }
        return FALSE;
    });
    WCHAR dll[260] = L"";
    SOUNDSENTRYW ss = {};
    ss.cbSize = 200;
    ss.lpszWindowsEffectDLL = dll;
    ss.iWindowsEffectOrdinal = 5;
    EXPECT_TRUE(SystemParametersInfoW(SPI_GETSOUNDSENTRY, 0, &ss, 0));
    EXPECT_EQ(ss.cbSize, 48u);
    EXPECT_EQ(ss.iWindowsEffect, 4u);
    EXPECT_EQ(ss.iWindowsEffectOrdinal, 0u);
    EXPECT_EQ(std::wstring(dll), name);

    WCHAR scheme[260];
    std::fill(std::begin(scheme), std::end(scheme), L'#');
    HIGHCONTRASTW hc = { 12, 0, scheme };
    EXPECT_TRUE(SystemParametersInfoW(SPI_GETHIGHCONTRAST, 0, &hc, 0));
    EXPECT_EQ(hc.dwFlags, DWORD(HCF_AVAILABLE));
    // Fits only where the name's bytes outnumber its characters by one or more.
    if (nameA.size() > name.size()) {
        EXPECT_EQ(std::wstring(scheme), name);
    } else {
        EXPECT_NE(scheme[name.size()], L'\0');
    }

    WCHAR driver[260] = L"";
    EXPECT_TRUE(SystemParametersInfoW(SPI_LANGDRIVER, 0, driver, 0));
    EXPECT_EQ(std::wstring(driver), name);
}

TEST_F(SysParamsTest, AllocationFailures)
{
    if (!harness::AnsiPath())
        GTEST_SKIP() << "the W path allocates nothing";
    WCHAR scheme[260];
    HIGHCONTRASTW hc = { 12, 0, scheme };
    SOUNDSENTRYW ss = {};
    ss.cbSize = 48;
    ss.lpszWindowsEffectDLL = scheme;
    const std::wstring name = harness::NonAsciiText();
    TW_HOOK(hook, SystemParametersInfoA, [&](UINT, UINT, PVOID, UINT) { return TRUE; });
    const struct {
        const char* name;
        UINT action;
        PVOID pv;
    } actions[] = {
        { "SPI_GETHIGHCONTRAST", SPI_GETHIGHCONTRAST, &hc },
        { "SPI_GETSOUNDSENTRY", SPI_GETSOUNDSENTRY, &ss },
        { "SPI_SETDESKWALLPAPER", SPI_SETDESKWALLPAPER, const_cast<LPWSTR>(name.c_str()) },
        { "SPI_LANGDRIVER", SPI_LANGDRIVER, scheme },
    };
    for (const auto& a : actions) {
        EXPECT_EQ(harness::SweepAllocationFailures([&](int k) {
            SetLastError(1234);
            BOOL ok = SystemParametersInfoW(a.action, 0, a.pv, 0);
            EXPECT_EQ(ok, harness::HeapAllocCalls() < k) << a.name;
            if (!ok) {
                EXPECT_EQ(GetLastError(), 0u) << a.name;
            }
        }),
            1)
            << a.name;
    }
}

} // namespace
