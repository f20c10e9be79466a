// The print and page-setup dialogs through torwen: the platform's default printer
// where it has one, and the device-mode and device-names objects seen through the
// interception harness.
#include <cstring>
#include <functional>
#include <set>
#include <string>
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
                [this](UINT flags, SIZE_T size) -> HGLOBAL {
                    if (++calls == failAt)
                        return nullptr;
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
    int calls = 0, failAt = 0;
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
    EXPECT_EQ(seen.lStructSize, 66u);
    EXPECT_EQ(seen.hDevMode, nullptr);
    EXPECT_EQ(seen.hDevNames, nullptr);
    EXPECT_EQ(globals.made, (std::vector<std::pair<UINT, SIZE_T>>{
                                {0x42, 212 + 16},
                                {0x42, (names[0].size() + names[1].size() + names[2].size() + 3 + 8) * 2 + 1}}));
    EXPECT_EQ(globals.live, (std::set<HGLOBAL>{pd.hDevMode, pd.hDevNames})) << "the ANSI objects are freed";
    auto* dm = static_cast<DEVMODEW*>(GlobalLock(pd.hDevMode));
    EXPECT_EQ(dm->dmDeviceName, NonAsciiText());
    EXPECT_EQ(dm->dmSize, 212);
    EXPECT_EQ(dm->dmCopies, 3);
    EXPECT_EQ(reinterpret_cast<BYTE*>(dm)[212 + 15], 0xA5);
    GlobalUnlock(pd.hDevMode);
    const Names back = ReadDevNames(pd.hDevNames, true);
    EXPECT_EQ(back.names, names);
    EXPECT_EQ(back.offsets, (std::vector<WORD>{4, WORD(4 + 9), WORD(4 + 9 + names[1].size() + 1)}));
    EXPECT_EQ(back.isDefault, DN_DEFAULTPRN);
    EXPECT_EQ(pd.nCopies, 3);
    EXPECT_TRUE(pd.Flags & PD_COLLATE);
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
        EXPECT_EQ(modeSize, 148u + 8);
        EXPECT_EQ(copiesSeen, 2);
        EXPECT_EQ(namesSeen.names, names);
        EXPECT_EQ(namesSeen.offsets[0], 8);
        EXPECT_EQ(namesSeen.offsets[2], 8 + 9 + ToAnsi(names[1]).size() + 1);
        EXPECT_EQ(pd.hDevMode, mode);
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

// The page-setup record goes out at 84 bytes with the caller's device mode; the
// margins come back.
// A device-mode object too short to hold its own count of private bytes is read no
// further than it reaches: whatever lies behind it counts no private bytes.
TEST_F(PrintAnsiTest, AShortDeviceModeIsReadWithinItsObject)
{
    HGLOBAL mode = GlobalAlloc(GMEM_MOVEABLE, 80);
    memset(GlobalLock(mode), 0xFF, 80);
    GlobalUnlock(mode);
    mode = GlobalReAlloc(mode, 64, 0);
    ASSERT_EQ(GlobalSize(mode), 64u);
    SIZE_T sizeA = 0;
    WORD extraA = 1;
    TW_HOOK(print, PrintDlgA, [&](LPPRINTDLGA a) {
        sizeA = GlobalSize(a->hDevMode);
        extraA = static_cast<DEVMODEA*>(GlobalLock(a->hDevMode))->dmDriverExtra;
        GlobalUnlock(a->hDevMode);
        return FALSE;
    });
    PRINTDLGW pd = Print(0);
    pd.hDevMode = mode;
    EXPECT_FALSE(PrintDlgW(&pd));
    EXPECT_EQ(std::pair(sizeA, extraA), std::pair(SIZE_T(148), WORD(0)));
    GlobalFree(mode);
}

// So is a device-names object shorter than its header: the values it lacks are 0.
TEST_F(PrintAnsiTest, AShortDeviceNamesObjectIsReadWithinItsObject)
{
    HGLOBAL names = GlobalAlloc(GMEM_MOVEABLE, 80);
    memset(GlobalLock(names), 0x11, 80);
    GlobalUnlock(names);
    names = GlobalReAlloc(names, 4, 0);
    ASSERT_EQ(GlobalSize(names), 4u);
    Names seen;
    TW_HOOK(print, PrintDlgA, [&](LPPRINTDLGA a) {
        seen = ReadDevNames(a->hDevNames, false);
        return FALSE;
    });
    PRINTDLGW pd = Print(0);
    pd.hDevNames = names;
    EXPECT_FALSE(PrintDlgW(&pd));
    EXPECT_EQ(seen.names, (std::vector<wstring>{L"", L"", L""}));
    EXPECT_EQ(seen.isDefault, 0);
    GlobalFree(names);
}

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

TEST_F(PrintAnsiTest, EachAllocationFailureAnswersTheFailureValue)
{
    TW_HOOK(print, PrintDlgA, [](LPPRINTDLGA) { return TRUE; });
    const std::vector<wstring> names = {L"a", L"b", L"c"};
    for (int k = 1;; ++k) {
        PRINTDLGW pd = Print(PD_ENABLEPRINTTEMPLATE);
        pd.lpPrintTemplateName = L"T";
        pd.hDevMode = DevModeObject(true, L"p", 1, 0);
        pd.hDevNames = DevNamesObject(true, names, 0);
        BOOL r;
        int calls;
        std::set<HGLOBAL> left;
        {
            GlobalLog globals;
            globals.failAt = k;
            SetLastError(1234);
            r = PrintDlgW(&pd);
            calls = globals.calls;
            left = globals.live;
        }
        if (calls < k) {
            EXPECT_TRUE(r);
            EXPECT_EQ(k, 3) << "the device mode and names, in and out; the mode comes back in place";
            break;
        }
        EXPECT_FALSE(r) << "global allocation " << k;
        EXPECT_EQ(GetLastError(), DWORD(ERROR_OUTOFMEMORY)) << "global allocation " << k;
        EXPECT_TRUE(left.empty()) << "global allocation " << k;
        GlobalFree(pd.hDevMode);
        GlobalFree(pd.hDevNames);
    }
    PRINTDLGW pd = Print(PD_ENABLEPRINTTEMPLATE);
    pd.lpPrintTemplateName = L"T";
    pd.hDevNames = DevNamesObject(true, names, 0);
    int runs = SweepAllocationFailures([&](int k) {
        SetLastError(1234);
        const BOOL r = PrintDlgW(&pd);
        EXPECT_TRUE(HeapAllocCalls() < k || (!r && GetLastError() == ERROR_OUTOFMEMORY)) << k;
    });
    EXPECT_EQ(runs, 7) << "three names in, the template, three names out";
    GlobalFree(pd.hDevNames);
}

}  // namespace
