// The print and page-setup dialogs through torwen: the platform's default printer
// where it has one, and the device-mode and device-names objects seen through the
// interception harness.
#include <cstring>
#include <functional>
#include <set>
#include <string>
#include <tuple>
#include <vector>

#include "harness/harness.h"

using namespace harness;
using std::string;
using std::wstring;

namespace {

PRINTDLGW Print(DWORD flags)
{
    PRINTDLGW pd = {};
    pd.lStructSize = sizeof pd;
    pd.Flags = flags;
    return pd;
}

PAGESETUPDLGW PageSetup(DWORD flags)
{
    PAGESETUPDLGW psd = {};
    psd.lStructSize = sizeof psd;
    psd.Flags = flags;
    return psd;
}

bool PlatformHasPrinters()
{
    DWORD needed = 0, count = 0;
    EnumPrintersA(PRINTER_ENUM_LOCAL, nullptr, 2, nullptr, 0, &needed, &count);
    return needed > 0;
}

// The default printer's settings come back wide, as the ANSI dialog made them.
TEST(PrintDialogs, TheDefaultPrinter)
{
    if (!PlatformHasPrinters())
        GTEST_SKIP() << "Wine without a printer ends the process in PrintDlg(PD_RETURNDEFAULT)";
    PRINTDLGA a = {};
    a.lStructSize = sizeof a;
    a.Flags = PD_RETURNDEFAULT;
    const BOOL expected = PrintDlgA(&a);
    const DWORD expectedError = CommDlgExtendedError();
    GlobalFree(a.hDevMode);
    GlobalFree(a.hDevNames);
    PRINTDLGW pd = Print(PD_RETURNDEFAULT);
    EXPECT_EQ(PrintDlgW(&pd), expected);
    EXPECT_EQ(CommDlgExtendedError(), expectedError);
    if (expected) {
        EXPECT_GE(GlobalSize(pd.hDevMode), 212u);
        auto* names = static_cast<DEVNAMES*>(GlobalLock(pd.hDevNames));
        EXPECT_NE(reinterpret_cast<wchar_t*>(names)[names->wDeviceOffset], L'\0');
        GlobalUnlock(pd.hDevNames);
    }
    GlobalFree(pd.hDevMode);
    GlobalFree(pd.hDevNames);
    PAGESETUPDLGW psd = PageSetup(PSD_RETURNDEFAULT);
    EXPECT_EQ(PageSetupDlgW(&psd), expected);
    GlobalFree(psd.hDevMode);
    GlobalFree(psd.hDevNames);
}

// ---- through the harness

// Global objects in either character set, built and read by the tests.
HGLOBAL DevModeObject(bool wide, const wstring& device, WORD copies, WORD extra)
{
    const SIZE_T size = (wide ? 212 : 148) + extra;
    HGLOBAL h = GlobalAlloc(GMEM_MOVEABLE | GMEM_ZEROINIT, size);
    BYTE* p = static_cast<BYTE*>(GlobalLock(h));
    auto fill = [&](auto* dm) {
        dm->dmSize = WORD(size - extra);
        dm->dmCopies = copies;
        dm->dmDriverExtra = extra;
    };
    if (wide) {
        wcscpy(reinterpret_cast<DEVMODEW*>(p)->dmDeviceName, device.c_str());
        fill(reinterpret_cast<DEVMODEW*>(p));
    } else {
        strcpy(reinterpret_cast<char*>(reinterpret_cast<DEVMODEA*>(p)->dmDeviceName), ToAnsi(device).c_str());
        fill(reinterpret_cast<DEVMODEA*>(p));
    }
    memset(p + size - extra, 0xA5, extra);
    GlobalUnlock(h);
    return h;
}

HGLOBAL DevNamesObject(bool wide, const std::vector<wstring>& names, WORD isDefault)
{
    const SIZE_T unit = wide ? 2 : 1;
    std::vector<std::string> ansi;
    SIZE_T size = 8;
    for (const wstring& n : names) {
        ansi.push_back(ToAnsi(n));
        size += ((wide ? n.size() : ansi.back().size()) + 1) * unit;
    }
    HGLOBAL h = GlobalAlloc(GMEM_MOVEABLE | GMEM_ZEROINIT, size);
    auto* dn = static_cast<DEVNAMES*>(GlobalLock(h));
    WORD* offsets = &dn->wDriverOffset;
    WORD at = WORD(8 / unit);
    for (int i = 0; i < 3; ++i) {
        offsets[i] = at;
        if (wide)
            wcscpy(reinterpret_cast<wchar_t*>(dn) + at, names[i].c_str());
        else
            strcpy(reinterpret_cast<char*>(dn) + at, ansi[i].c_str());
        at += WORD((wide ? names[i].size() : ansi[i].size()) + 1);
    }
    dn->wDefault = isDefault;
    GlobalUnlock(h);
    return h;
}

struct Names {
    std::vector<wstring> names;
    std::vector<WORD> offsets;
    WORD isDefault;
};

Names ReadDevNames(HGLOBAL h, bool wide)
{
    auto* dn = static_cast<DEVNAMES*>(GlobalLock(h));
    Names r{{}, {dn->wDriverOffset, dn->wDeviceOffset, dn->wOutputOffset}, dn->wDefault};
    for (WORD o : r.offsets)
        r.names.push_back(wide ? wstring(reinterpret_cast<wchar_t*>(dn) + o) : FromAnsi(reinterpret_cast<char*>(dn) + o));
    GlobalUnlock(h);
    return r;
}

// Torwen's global objects: each it makes must be freed by it or handed to the caller.
class GlobalLog {
public:
    GlobalLog()
        : alloc("GlobalAlloc",
                [this](UINT flags, SIZE_T size) {
                    HGLOBAL h = alloc.real(flags, size);
                    live.insert(h);
                    made.push_back({flags, size});
                    return h;
                }),
          release("GlobalFree", [this](HGLOBAL h) {
              live.erase(h);
              return release.real(h);
          })
    {
    }

    Hook<decltype(&::GlobalAlloc)> alloc;
    Hook<decltype(&::GlobalFree)> release;
    std::set<HGLOBAL> live;
    std::vector<std::pair<UINT, SIZE_T>> made;
};

// Binds the A dialogs: a null record is refused at once. (Under Wine a print
// dialog that looks for a printer where there is none ends the process.)
void BindAnsiDialogs()
{
    PrintDlgW(nullptr);
    PageSetupDlgW(nullptr);
}

class PrintAnsiTest : public TorwenTest {
protected:
    void SetUp() override
    {
        TorwenTest::SetUp();
        if (!AnsiPath())
            GTEST_SKIP() << "the W path hands the record through";
        BindAnsiDialogs();
    }
};

// With no objects and PD_RETURNDEFAULT the dialog makes them; the caller gets new
// wide ones: a device mode of 212 + private bytes, names packed behind the header.
TEST_F(PrintAnsiTest, NewObjectsComeBackWide)
{
    const std::vector<wstring> names = {L"winspool", NonAsciiText(), L"LPT1:"};
    PRINTDLGA seen = {};
    TW_HOOK(print, PrintDlgA, [&](LPPRINTDLGA a) {
        seen = *a;
        a->hDevMode = DevModeObject(false, NonAsciiText(), 3, 16);
        a->hDevNames = DevNamesObject(false, names, DN_DEFAULTPRN);
        a->nCopies = 3;
        a->Flags |= PD_COLLATE;
        return TRUE;
    });
    GlobalLog globals;
    PRINTDLGW pd = Print(PD_RETURNDEFAULT);
    ASSERT_TRUE(PrintDlgW(&pd));
    EXPECT_EQ(std::tuple(seen.lStructSize, seen.hDevMode, seen.hDevNames),
              std::tuple(66u, HGLOBAL(nullptr), HGLOBAL(nullptr)));
    EXPECT_EQ(globals.made, (std::vector<std::pair<UINT, SIZE_T>>{
                                {0x42, 212 + 16},
                                {0x42, (names[0].size() + names[1].size() + names[2].size() + 3 + 8) * 2 + 1}}));
    EXPECT_EQ(globals.live, (std::set<HGLOBAL>{pd.hDevMode, pd.hDevNames})) << "the ANSI objects are freed";
    auto* dm = static_cast<DEVMODEW*>(GlobalLock(pd.hDevMode));
    EXPECT_EQ(std::tuple(wstring(dm->dmDeviceName), dm->dmSize, dm->dmCopies,
                         reinterpret_cast<BYTE*>(dm)[212 + 15]),
              std::tuple(NonAsciiText(), WORD(212), short(3), BYTE(0xA5)));
    GlobalUnlock(pd.hDevMode);
    const Names back = ReadDevNames(pd.hDevNames, true);
    EXPECT_EQ(std::tuple(back.names, back.offsets, back.isDefault),
              std::tuple(names, std::vector<WORD>{4, WORD(4 + 9), WORD(4 + 9 + names[1].size() + 1)},
                         WORD(DN_DEFAULTPRN)));
    EXPECT_EQ(std::tuple(pd.nCopies, pd.Flags & PD_COLLATE), std::tuple(WORD(3), DWORD(PD_COLLATE)));
    GlobalFree(pd.hDevMode);
    GlobalFree(pd.hDevNames);
}

// The caller's objects go in as new ANSI ones. A dialog that keeps them has its
// changes written into the caller's own objects, which keep their size; one that
// replaces them has the caller's replaced; a cancelled one changes nothing.
TEST_F(PrintAnsiTest, TheCallersObjectsGoInAndComeBack)
{
    const std::vector<wstring> names = {L"winspool", L"Printer " + NonAsciiText(), L"LPT1:"};
    enum { Keep, Replace, Cancel };
    for (int what : {Keep, Replace, Cancel}) {
        Names namesSeen;
        SIZE_T modeSize = 0;
        WORD copiesSeen = 0;
        HGLOBAL freedByDialog = nullptr;
        TW_HOOK(print, PrintDlgA, [&](LPPRINTDLGA a) {
            modeSize = GlobalSize(a->hDevMode);
            auto* dm = static_cast<DEVMODEA*>(GlobalLock(a->hDevMode));
            copiesSeen = dm->dmCopies;
            dm->dmCopies = 7;
            GlobalUnlock(a->hDevMode);
            namesSeen = ReadDevNames(a->hDevNames, false);
            if (what == Replace) {
                HGLOBAL given = a->hDevNames;
                a->hDevNames = DevNamesObject(false, {L"d", L"new", L"o"}, 0);
                GlobalFree(freedByDialog = given);
            } else {
                auto* dn = static_cast<DEVNAMES*>(GlobalLock(a->hDevNames));
                strcpy(reinterpret_cast<char*>(dn) + dn->wDeviceOffset, "P");
                GlobalUnlock(a->hDevNames);
            }
            return what != Cancel;
        });
        PRINTDLGW pd = Print(0);
        HGLOBAL mode = pd.hDevMode = DevModeObject(true, NonAsciiText(), 2, 8);
        HGLOBAL devNames = pd.hDevNames = DevNamesObject(true, names, 0);
        const SIZE_T namesSize = GlobalSize(devNames);
        GlobalLog globals;
        EXPECT_EQ(PrintDlgW(&pd), what != Cancel);
        EXPECT_EQ(std::tuple(modeSize, copiesSeen, namesSeen.names, namesSeen.offsets[0],
                             namesSeen.offsets[2], pd.hDevMode),
                  std::tuple(SIZE_T(148 + 8), WORD(2), names, WORD(8),
                             WORD(8 + 9 + ToAnsi(names[1]).size() + 1), mode));
        EXPECT_EQ(static_cast<DEVMODEW*>(GlobalLock(mode))->dmCopies, what == Cancel ? 2 : 7);
        GlobalUnlock(mode);
        if (what == Replace) {
            EXPECT_EQ(ReadDevNames(pd.hDevNames, true).names, (std::vector<wstring>{L"d", L"new", L"o"}));
        } else {
            EXPECT_EQ(pd.hDevNames, devNames);
            EXPECT_EQ(GlobalSize(devNames), namesSize);
            EXPECT_EQ(ReadDevNames(devNames, true).names[1], what == Cancel ? names[1] : L"P");
        }
        globals.live.erase(freedByDialog);
        EXPECT_EQ(globals.live, what == Replace ? std::set<HGLOBAL>{pd.hDevNames} : std::set<HGLOBAL>{});
        GlobalFree(pd.hDevMode);
        GlobalFree(pd.hDevNames);
    }
}

// Objects shorter than their own header or count of private bytes are read no further
// than they reach: what they lack counts as 0.
TEST_F(PrintAnsiTest, ShortObjectsAreReadWithinThemselves)
{
    auto shortened = [](SIZE_T size, BYTE fill) {
        HGLOBAL h = GlobalAlloc(GMEM_MOVEABLE, 80);
        memset(GlobalLock(h), fill, 80);
        GlobalUnlock(h);
        return GlobalReAlloc(h, size, 0);
    };
    SIZE_T sizeA = 0;
    WORD extraA = 1;
    Names seen;
    TW_HOOK(print, PrintDlgA, [&](LPPRINTDLGA a) {
        sizeA = GlobalSize(a->hDevMode);
        extraA = static_cast<DEVMODEA*>(GlobalLock(a->hDevMode))->dmDriverExtra;
        GlobalUnlock(a->hDevMode);
        seen = ReadDevNames(a->hDevNames, false);
        return FALSE;
    });
    PRINTDLGW pd = Print(0);
    pd.hDevMode = shortened(64, 0xFF);
    pd.hDevNames = shortened(4, 0x11);
    ASSERT_EQ(std::pair(GlobalSize(pd.hDevMode), GlobalSize(pd.hDevNames)),
              std::pair(SIZE_T(64), SIZE_T(4)));
    EXPECT_FALSE(PrintDlgW(&pd));
    EXPECT_EQ(std::tuple(sizeA, extraA, seen.names, seen.isDefault),
              std::tuple(SIZE_T(148), WORD(0), std::vector<wstring>{L"", L"", L""}, WORD(0)));
    GlobalFree(pd.hDevMode);
    GlobalFree(pd.hDevNames);
}

// The page-setup record goes out at 84 bytes with the caller's device mode; the
// margins come back.
TEST_F(PrintAnsiTest, PageSetup)
{
    PAGESETUPDLGA seen = {};
    TW_HOOK(setup, PageSetupDlgA, [&](LPPAGESETUPDLGA a) {
        seen = *a;
        a->rtMargin = {1, 2, 3, 4};
        return TRUE;
    });
    PAGESETUPDLGW psd = PageSetup(PSD_MARGINS);
    psd.hDevMode = DevModeObject(true, L"p", 1, 0);
    ASSERT_TRUE(PageSetupDlgW(&psd));
    EXPECT_EQ(seen.lStructSize, 84u);
    EXPECT_NE(seen.hDevMode, nullptr);
    EXPECT_EQ(psd.rtMargin.left, 1);
    GlobalFree(psd.hDevMode);
}

}  // namespace
