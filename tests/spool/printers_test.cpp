// The spooler's packed records re-laid out from ANSI buffers the tests build (Wine
// offers no printer), and the records and sizes the A functions are handed.
#include <cstring>
#include <string>
#include <utility>
#include <vector>

#include "harness/harness.h"

#include <winspool.h>

using namespace harness;
using std::string;
using std::wstring;

namespace {

// Records packed the way the spooler packs them: the records first, then their
// strings and device modes, each member pointing into the same buffer.
class AnsiPack {
public:
    AnsiPack(DWORD recordSize, int count) : bytes(recordSize * count), recordSize(recordSize) {}

    void value(int record, int member, DWORD v) { memcpy(&bytes[at(record, member)], &v, 4); }
    void text(int record, int member, const string& s) { append(record, member, s.c_str(), s.size() + 1); }
    void devMode(int record, int member, const DEVMODEA& dm, const std::vector<BYTE>& extra)
    {
        size_t start = bytes.size();
        append(record, member, &dm, 148);
        bytes.insert(bytes.end(), extra.begin(), extra.end());
        reinterpret_cast<DEVMODEA*>(&bytes[start])->dmDriverExtra = WORD(extra.size());
    }
    DWORD size() const { return DWORD(bytes.size()); }

    // Copies the pack into the spooler's buffer, pointing each member at its copy.
    BOOL into(BYTE* buf, DWORD cb, DWORD* needed) const
    {
        *needed = size();
        if (cb < size()) {
            SetLastError(ERROR_INSUFFICIENT_BUFFER);
            return FALSE;
        }
        memcpy(buf, bytes.data(), size());
        for (auto [member, offset] : pointers) {
            DWORD p = DWORD(UINT_PTR(buf + offset));
            memcpy(buf + member, &p, 4);
        }
        return TRUE;
    }

private:
    size_t at(int record, int member) const { return record * recordSize + member * 4; }
    void append(int record, int member, const void* p, size_t n)
    {
        pointers.push_back({at(record, member), bytes.size()});
        auto* b = static_cast<const BYTE*>(p);
        bytes.insert(bytes.end(), b, b + n);
    }

    std::vector<BYTE> bytes;
    DWORD recordSize;
    std::vector<std::pair<size_t, size_t>> pointers;
};

// Binds the A functions, with calls the spooler refuses at once, so that the
// harness can hook them.
void BindSpooler()
{
    static bool bound = false;
    if (std::exchange(bound, true))
        return;
    HANDLE h;
    DWORD n, c;
    OpenPrinterW(const_cast<LPWSTR>(L"no such printer"), &h, nullptr);
    GetPrinterW(nullptr, 1, nullptr, 0, &n);
    EnumPrintersW(PRINTER_ENUM_NAME, const_cast<LPWSTR>(L"none"), 1, nullptr, 0, &n, &c);
    DocumentPropertiesW(nullptr, nullptr, nullptr, nullptr, nullptr, 0);
    DeviceCapabilitiesW(nullptr, nullptr, DC_BINS, nullptr, nullptr);
}

class SpoolerAnsiTest : public TorwenTest {
protected:
    void SetUp() override
    {
        TorwenTest::SetUp();
        if (!AnsiPath())
            GTEST_SKIP() << "the W path hands the records through";
        BindSpooler();
    }
};

DEVMODEA SomeDevMode()
{
    DEVMODEA dm = {};
    strcpy(reinterpret_cast<char*>(dm.dmDeviceName), ToAnsi(NonAsciiText()).c_str());
    dm.dmSize = 148;
    dm.dmFields = DM_ORIENTATION | DM_COPIES;
    dm.dmOrientation = DMORIENT_LANDSCAPE;
    dm.dmCopies = 3;
    strcpy(reinterpret_cast<char*>(dm.dmFormName), "A4");
    return dm;
}

// One level-2 record whose device mode carries private bytes: the strings after
// the device mode start 212 bytes after it, over those bytes.
TEST_F(SpoolerAnsiTest, ALevelTwoRecordIsRebuiltWithItsDeviceMode)
{
    const string n = ToAnsi(NonAsciiText());
    AnsiPack pack(84, 1);
    for (int m = 0; m < 7; ++m)
        pack.text(0, m, n + char('0' + m));
    pack.devMode(0, 7, SomeDevMode(), std::vector<BYTE>(40, 0xAB));
    pack.text(0, 8, "sep");
    for (int m = 9; m < 12; ++m)
        pack.text(0, m, string(1, char('a' + m)));
    for (int m = 12; m < 21; ++m)
        pack.value(0, m, 1000 + m);
    TW_HOOK(get, GetPrinterA, [&](HANDLE, DWORD, LPBYTE b, DWORD cb, LPDWORD needed) { return pack.into(b, cb, needed); });
    std::vector<BYTE> buf(pack.size() * 2 + 4, 0xCD);
    const DWORD cb = pack.size() * 2;
    DWORD needed = 0;
    ASSERT_TRUE(GetPrinterW(HANDLE(1), 2, buf.data(), cb, &needed));
    EXPECT_EQ(needed, cb);
    auto* info = reinterpret_cast<PRINTER_INFO_2W*>(buf.data());
    EXPECT_EQ(LPBYTE(info->pServerName), buf.data() + 84);
    EXPECT_EQ(info->pServerName, NonAsciiText() + L"0");
    EXPECT_EQ(info->pLocation, NonAsciiText() + L"6");
    EXPECT_EQ(LPBYTE(info->pDevMode), LPBYTE(info->pLocation) + 2 * (NonAsciiText().size() + 2));
    EXPECT_EQ(info->pDevMode->dmSize, 212);
    EXPECT_EQ(info->pDevMode->dmDriverExtra, 40);
    EXPECT_EQ(info->pDevMode->dmDeviceName, NonAsciiText());
    EXPECT_EQ(info->pDevMode->dmFormName, wstring(L"A4"));
    EXPECT_EQ(info->pDevMode->dmCopies, 3);
    EXPECT_EQ(LPBYTE(info->pSepFile), LPBYTE(info->pDevMode) + 212);
    EXPECT_EQ(info->pSepFile, wstring(L"sep"));
    EXPECT_EQ(info->pParameters, wstring(L"l"));
    EXPECT_EQ(info->Attributes, 1013u);
    EXPECT_EQ(info->AveragePPM, 1020u);
    EXPECT_EQ(buf[cb], 0xCD) << "nothing written past the caller's size";
}

// Levels 1 and 5, one record and an array: strings packed record by record; the
// array form keeps each level-1 Flags as the caller's buffer held it.
TEST_F(SpoolerAnsiTest, RecordsAndArraysOfLevelsOneAndFive)
{
    const struct { DWORD level, size; int members; bool array; } cases[] = {
        {1, 16, 4, false}, {1, 16, 4, true}, {5, 20, 5, false}, {5, 20, 5, true},
    };
    for (const auto& c : cases) {
        const int count = c.array ? 2 : 1;
        auto isText = [&](int m) { return c.level == 1 ? m > 0 : m < 2; };
        AnsiPack pack(c.size, count);
        for (int r = 0; r < count; ++r)
            for (int m = 0; m < c.members; ++m)
                isText(m) ? pack.text(r, m, ToAnsi(NonAsciiText()) + char('a' + r * 10 + m))
                          : pack.value(r, m, 100 * r + m + 1);
        TW_HOOK(get, GetPrinterA, [&](HANDLE, DWORD, LPBYTE b, DWORD cb, LPDWORD n) { return pack.into(b, cb, n); });
        TW_HOOK(enumerate, EnumPrintersA, [&](DWORD, LPSTR, DWORD, LPBYTE b, DWORD cb, LPDWORD n, LPDWORD returned) {
            *returned = count;
            return pack.into(b, cb, n);
        });
        std::vector<DWORD> buf(pack.size() / 2, 0x77);
        DWORD needed = 0, returned = 0;
        const DWORD cb = DWORD(buf.size() * 4);
        const BOOL r = c.array ? EnumPrintersW(PRINTER_ENUM_LOCAL, nullptr, c.level, LPBYTE(buf.data()), cb, &needed, &returned)
                               : GetPrinterW(HANDLE(1), c.level, LPBYTE(buf.data()), cb, &needed);
        ASSERT_TRUE(r) << c.level << c.array;
        EXPECT_EQ(needed, cb);
        EXPECT_EQ(returned, c.array ? 2u : 0u);
        auto* p = reinterpret_cast<BYTE*>(buf.data()) + c.size * count;
        for (int rec = 0; rec < count; ++rec) {
            const DWORD* members = buf.data() + rec * c.members;
            for (int m = 0; m < c.members; ++m) {
                if (isText(m)) {
                    const wstring expected = NonAsciiText() + wchar_t('a' + rec * 10 + m);
                    EXPECT_EQ(members[m], DWORD(UINT_PTR(p))) << c.level << " record " << rec << " member " << m;
                    EXPECT_EQ(reinterpret_cast<LPCWSTR>(members[m]), expected);
                    p += 2 * (expected.size() + 1);
                } else {
                    const DWORD expected = c.level == 1 && c.array ? 0x77 : DWORD(100 * rec + m + 1);
                    EXPECT_EQ(members[m], expected) << c.level << " record " << rec << " member " << m;
                }
            }
        }
    }
}

// Level 4 succeeds untouched; the spooler's failure comes with twice its need; and
// wide records that would not fit where the ANSI ones did are answered as the W
// function answers a buffer too small, without writing past it.
TEST_F(SpoolerAnsiTest, SizesTheCallerIsTold)
{
    AnsiPack pack(16, 1);
    pack.value(0, 0, 1);
    for (int m = 1; m < 4; ++m)
        pack.text(0, m, "printer name " + std::to_string(m));
    TW_HOOK(get, GetPrinterA, [&](HANDLE, DWORD, LPBYTE b, DWORD cb, LPDWORD needed) { return pack.into(b, cb, needed); });
    std::vector<BYTE> buf(400, 0xCD);
    DWORD needed = 0;
    EXPECT_TRUE(GetPrinterW(HANDLE(1), 4, buf.data(), 300, &needed));
    EXPECT_EQ(needed, 300u);
    EXPECT_EQ(buf[0], 0xCD);
    SetLastError(0);
    EXPECT_FALSE(GetPrinterW(HANDLE(1), 1, buf.data(), 10, &needed));
    EXPECT_EQ(GetLastError(), DWORD(ERROR_INSUFFICIENT_BUFFER));
    EXPECT_EQ(needed, 2 * pack.size());
    EXPECT_EQ(buf[0], 0xCD);
    EXPECT_FALSE(GetPrinterW(HANDLE(1), 1, buf.data(), pack.size(), &needed));
    EXPECT_EQ(GetLastError(), DWORD(ERROR_INSUFFICIENT_BUFFER));
    EXPECT_EQ(needed, 16 + 2 * (pack.size() - 16));
    EXPECT_EQ(buf[0], 0xCD);
    EXPECT_TRUE(GetPrinterW(HANDLE(1), 1, buf.data(), needed, &needed));
    EXPECT_EQ(buf[needed], 0xCD);
}

TEST_F(SpoolerAnsiTest, OpenPrinterHandsOnTheDefaultsWithoutPrivateBytes)
{
    std::vector<BYTE> dmBytes(212 + 32, 0xEE);
    auto* dm = reinterpret_cast<DEVMODEW*>(dmBytes.data());
    memset(dm, 0, 212);
    wcscpy(dm->dmDeviceName, NonAsciiText().c_str());
    dm->dmSize = 212;
    dm->dmDriverExtra = 32;
    dm->dmCopies = 2;
    PRINTER_DEFAULTSW defaults = {const_cast<LPWSTR>(L"RAW"), dm, PRINTER_ACCESS_USE};
    string nameSeen, datatypeSeen;
    DEVMODEA dmSeen = {};
    DWORD accessSeen = 0;
    TW_HOOK(open, OpenPrinterA, [&](LPSTR name, LPHANDLE h, LPPRINTER_DEFAULTSA d) {
        nameSeen = name;
        datatypeSeen = d->pDatatype;
        dmSeen = *d->pDevMode;
        accessSeen = d->DesiredAccess;
        *h = HANDLE(5);
        SetLastError(77);
        return TRUE;
    });
    HANDLE h = nullptr;
    EXPECT_TRUE(OpenPrinterW(const_cast<LPWSTR>(NonAsciiText().c_str()), &h, &defaults));
    EXPECT_EQ(GetLastError(), 77u);
    EXPECT_EQ(h, HANDLE(5));
    EXPECT_EQ(nameSeen, ToAnsi(NonAsciiText()));
    EXPECT_EQ(datatypeSeen, "RAW");
    EXPECT_EQ(accessSeen, DWORD(PRINTER_ACCESS_USE));
    EXPECT_EQ(dmSeen.dmSize, 148);
    EXPECT_EQ(dmSeen.dmDriverExtra, 0);
    EXPECT_EQ(dmSeen.dmCopies, 2);
    EXPECT_EQ(reinterpret_cast<char*>(dmSeen.dmDeviceName), ToAnsi(NonAsciiText()));
}

TEST_F(SpoolerAnsiTest, DocumentProperties)
{
    LONG sizeA = 148 + 20;
    const DEVMODEA* outSeen = nullptr;
    TW_HOOK(props, DocumentPropertiesA, [&](HWND, HANDLE, LPSTR, PDEVMODEA out, PDEVMODEA in, DWORD mode) -> LONG {
        if (!mode)
            return sizeA;
        EXPECT_EQ(in, nullptr);
        outSeen = out;
        EXPECT_EQ(out->dmCopies, 4);
        out->dmCopies = 9;
        out->dmDriverExtra = 20;
        return IDOK;
    });
    wchar_t name[] = L"printer";
    EXPECT_EQ(DocumentPropertiesW(nullptr, HANDLE(1), name, nullptr, nullptr, 0), 2 * sizeA);
    std::vector<BYTE> outBytes(2 * sizeA, 0);
    auto* out = reinterpret_cast<DEVMODEW*>(outBytes.data());
    out->dmCopies = 4;
    out->dmDriverExtra = 0xFFFF;  // an out record not yet filled: believed only as far as its size
    HeapLog log;
    EXPECT_EQ(DocumentPropertiesW(nullptr, HANDLE(1), name, out, nullptr, DM_OUT_BUFFER), IDOK);
    EXPECT_EQ(log.allocationSizes(), (std::vector<SIZE_T>{8, 0xFFFF + SIZE_T(sizeA)}));
    EXPECT_EQ(out->dmCopies, 9);
    EXPECT_EQ(out->dmSize, 212);
    EXPECT_EQ(out->dmDriverExtra, 20);
    sizeA = -1;
    EXPECT_EQ(DocumentPropertiesW(nullptr, HANDLE(1), name, out, nullptr, DM_OUT_BUFFER), -2);
}

TEST_F(SpoolerAnsiTest, DeviceCapabilities)
{
    int bins = 2, papers = 3;
    TW_HOOK(caps, DeviceCapabilitiesA, [&](LPCSTR, LPCSTR, WORD cap, LPSTR out, const DEVMODEA* dm) -> int {
        EXPECT_EQ(dm, nullptr);
        switch (cap) {
        case DC_BINS:
            if (out)
                reinterpret_cast<WORD*>(out)[0] = 7, reinterpret_cast<WORD*>(out)[1] = 8;
            return bins;
        case DC_BINNAMES:
            if (out) {
                memcpy(out, "exactly twenty-four char", 24);  // no terminator
                strcpy(out + 24, ToAnsi(NonAsciiText()).c_str());
            }
            return bins;
        case DC_PAPERS:
            if (out)
                for (int i = 0; i < papers; ++i)
                    reinterpret_cast<WORD*>(out)[i] = WORD(i + 1);
            return papers;
        case DC_PAPERNAMES:
            if (out)
                for (int i = 0; i < papers; ++i)
                    strcpy(out + 64 * i, "Letter");
            return papers;
        }
        return -1;
    });
    wchar_t names[2 * 24 + 1];
    names[48] = L'#';
    EXPECT_EQ(DeviceCapabilitiesW(L"d", L"p", DC_BINNAMES, names, nullptr), 2);
    EXPECT_EQ(wstring(names, 24), L"exactly twenty-four char");
    EXPECT_EQ(wstring(names + 24), NonAsciiText());
    EXPECT_EQ(names[48], L'#');
    WORD words[4] = {0, 0, 0, 0xCDCD};
    EXPECT_EQ(DeviceCapabilitiesW(L"d", L"p", DC_BINS, LPWSTR(words), nullptr), 2);
    EXPECT_EQ(words[1], 8);
    EXPECT_EQ(DeviceCapabilitiesW(L"d", L"p", DC_PAPERS, LPWSTR(words), nullptr), 3);
    EXPECT_EQ(words[2], 3);
    EXPECT_EQ(words[3], 0xCDCD);
    EXPECT_EQ(DeviceCapabilitiesW(L"d", L"p", DC_PAPERNAMES, nullptr, nullptr), 3);
    wchar_t paperNames[3 * 64];
    EXPECT_EQ(DeviceCapabilitiesW(L"d", L"p", DC_PAPERNAMES, paperNames, nullptr), 0) << "more papers than bins";
    papers = 2;
    EXPECT_EQ(DeviceCapabilitiesW(L"d", L"p", DC_PAPERNAMES, paperNames, nullptr), 2);
    EXPECT_EQ(wstring(paperNames), L"Letter");
    bins = 0;
    EXPECT_EQ(DeviceCapabilitiesW(L"d", L"p", DC_BINNAMES, names, nullptr), 0);
}

}  // namespace
