// Device contexts, documents, metafiles and colour profiles through torwen.
#include <cstring>
#include <functional>
#include <string>
#include <vector>

#include "harness/harness.h"
#include "torwen.h"

using namespace harness;
using std::string;
using std::wstring;

namespace
{

class DcTest : public TorwenTest
{
};

// A metafile's description keeps both parts on the W path, the application's alone on ANSI.
TEST_F(DcTest, EnhancedMetafileKeepsItsDescription)
{
    char temp[MAX_PATH];
    GetTempPathA(MAX_PATH, temp);
    const wstring file = FromAnsi(temp) + L"tw-gdi.emf", app = L"tw " + NonAsciiText();
    const wstring description = app + L'\0' + L"Picture" + L'\0' + L'\0';
    HDC dc = CreateEnhMetaFileW(nullptr, file.c_str(), nullptr, description.c_str());
    ASSERT_NE(dc, nullptr);
    DeleteEnhMetaFile(CloseEnhMetaFile(dc));
    HENHMETAFILE emf = GetEnhMetaFileW(file.c_str());
    ASSERT_NE(emf, nullptr);
    // What the A function recorded, NULs and all, exactly as it counts it.
    char bytes[64];
    const UINT count = GetEnhMetaFileDescriptionA(emf, 64, bytes);
    WCHAR converted[64];
    const int length = MultiByteToWideChar(CP_ACP, 0, bytes, int(count), converted, 64);
    const wstring recorded = AnsiPath() ? wstring(converted, length) : description;
    if (AnsiPath()) {
        EXPECT_EQ(recorded.substr(0, app.size() + 2), app + L'\0' + L'\0') << "an empty title";
    }
    WCHAR buf[64];
    wmemset(buf, L'#', 64);
    EXPECT_EQ(GetEnhMetaFileDescriptionW(emf, 64, buf), recorded.size());
    EXPECT_EQ(wstring(buf, recorded.size()), recorded);
    // Without a buffer the size counts ANSI bytes on the ANSI path.
    EXPECT_EQ(GetEnhMetaFileDescriptionW(emf, 0, nullptr), AnsiPath() ? count : recorded.size());
    DeleteEnhMetaFile(emf);
    DeleteFileW(file.c_str());
}

// No output name reaches the system; a device mode goes as 148 bytes plus the private bytes.
TEST_F(DcTest, DeviceContextsGetAConvertedDeviceMode)
{
    DeleteDC(CreateICW(L"DISPLAY", nullptr, nullptr, nullptr)); // binds the A functions
    DeleteDC(CreateDCW(L"DISPLAY", nullptr, nullptr, nullptr));
    std::vector<string> seen;
    if (!AnsiPath()) {
        TW_HOOK(dcW, CreateDCW, [&](LPCWSTR d, LPCWSTR dev, LPCWSTR out, const DEVMODEW*) {
            seen.push_back(out ? "output" : "(null)");
            return dcW.real(d, dev, out, nullptr);
        });
        DeleteDC(CreateDCW(L"DISPLAY", nullptr, L"ignored", nullptr));
        EXPECT_EQ(seen, std::vector<string> { "(null)" });
        return;
    }
    auto record = [&](LPCSTR output, const DEVMODEA* dm) {
        seen.push_back(output ? output : "(null)");
        seen.push_back(string(reinterpret_cast<const char*>(dm->dmDeviceName)) + " "
            + std::to_string(dm->dmSize) + " " + std::to_string(dm->dmDriverExtra) + " "
            + string(reinterpret_cast<const char*>(dm) + 148, dm->dmDriverExtra).substr(0, 3));
    };
    TW_HOOK(dcA, CreateDCA, [&](LPCSTR d, LPCSTR dev, LPCSTR out, const DEVMODEA* m) {
        record(out, m);
        return dcA.real(d, dev, out, nullptr);
    });
    TW_HOOK(icA, CreateICA, [&](LPCSTR d, LPCSTR dev, LPCSTR out, const DEVMODEA* m) {
        record(out, m);
        return icA.real(d, dev, out, nullptr);
    });
    for (int extra : { 0, 3, 4000 }) {
        std::vector<BYTE> block(212 + extra + 16, 0);
        auto* dm = reinterpret_cast<DEVMODEW*>(block.data());
        wcscpy(reinterpret_cast<WCHAR*>(dm->dmDeviceName), L"Screen");
        dm->dmSize = 212;
        dm->dmDriverExtra = WORD(extra);
        memcpy(block.data() + 212, "xyz", extra < 3 ? extra : 3);
        seen.clear();
        HeapLog log;
        DeleteDC(CreateDCW(L"DISPLAY", nullptr, L"ignored", dm));
        DeleteDC(CreateICW(L"DISPLAY", nullptr, L"ignored", dm));
        EXPECT_EQ(log.allocationSizes(),
            (std::vector<SIZE_T> { 8, SIZE_T(148 + extra), 8, SIZE_T(148 + extra) }));
        const string converted = "Screen 148 " + std::to_string(extra) + " "
            + string("xyz", extra < 3 ? extra : 3);
        EXPECT_EQ(seen, (std::vector<string> { "(null)", converted, "(null)", converted }));
    }
}

// StartDocW hands cbSize on as given and the three names converted.
TEST_F(DcTest, DocumentsGoAsAnsiRecords)
{
    if (!AnsiPath())
        GTEST_SKIP() << "the W path hands the record through";
    HDC dc = CreateCompatibleDC(nullptr);
    StartDocW(dc, nullptr); // binds the A function
    std::vector<string> seen;
    TW_HOOK(startA, StartDocA, [&](HDC, const DOCINFOA* doc) {
        seen = { std::to_string(doc->cbSize), doc->lpszDocName,
            doc->lpszOutput ? doc->lpszOutput : "(null)",
            doc->lpszDatatype ? doc->lpszDatatype : "(null)", std::to_string(doc->fwType) };
        SetLastError(77);
        return 7;
    });
    const wstring name = L"Doc " + NonAsciiText();
    DOCINFOW doc = { 20, name.c_str(), nullptr, L"RAW", 1 };
    EXPECT_EQ(StartDocW(dc, &doc), 7);
    EXPECT_EQ(GetLastError(), 77u);
    EXPECT_EQ(seen, (std::vector<string> { "20", ToAnsi(name), "(null)", "RAW", "1" }));
    doc.cbSize = 12; // the layout without data type and flags
    EXPECT_EQ(StartDocW(dc, &doc), 7);
    EXPECT_EQ(seen, (std::vector<string> { "12", ToAnsi(name), "(null)", "(null)", "0" }));
    DeleteDC(dc);
}

struct Profiles {
    std::vector<wstring> names;
    int stopAfter = 0;
};

int CALLBACK CollectProfile(LPWSTR name, LPARAM lParam)
{
    auto* seen = reinterpret_cast<Profiles*>(lParam);
    seen->names.push_back(name);
    return int(seen->names.size()) != seen->stopAfter;
}

// Profile names reach the wide callback with its lParam; a 0 from it ends the enumeration.
TEST_F(DcTest, ProfileEnumerationCallsTheWideCallback)
{
    const string names[] = { "a.icm", ToAnsi(NonAsciiText() + L".icm"), "c.icm" };
    const std::vector<wstring> wide = { L"a.icm", NonAsciiText() + L".icm", L"c.icm" };
    Profiles direct;
    struct {
        ICMENUMPROCW callback;
        LPARAM lParam;
    } context = { CollectProfile, LPARAM(&direct) };
    for (const string& n : names)
        AtICMEnumFuncFromAToW(const_cast<LPSTR>(n.c_str()), LPARAM(&context));
    EXPECT_EQ(direct.names, wide);
    if (!AnsiPath())
        return;

    HDC dc = CreateCompatibleDC(nullptr);
    Profiles all;
    EnumICMProfilesW(dc, CollectProfile, LPARAM(&all)); // binds the A function
    all.names.clear();
    TW_HOOK(enumA, EnumICMProfilesA, [&](HDC, ICMENUMPROCA callback, LPARAM lParam) {
        int r = 1;
        for (const string& n : names)
            if (!(r = callback(const_cast<LPSTR>(n.c_str()), lParam)))
                break;
        return r;
    });
    EXPECT_EQ(EnumICMProfilesW(dc, CollectProfile, LPARAM(&all)), 1);
    EXPECT_EQ(all.names, wide);
    Profiles stopped;
    stopped.stopAfter = 2;
    EXPECT_EQ(EnumICMProfilesW(dc, CollectProfile, LPARAM(&stopped)), 0);
    EXPECT_EQ(stopped.names.size(), 2u);

    // The profile's name: the A function is told the heap size; the caller's size stays.
    WCHAR file[8];
    DWORD size = 8;
    GetICMProfileW(dc, &size, file); // binds the A function
    std::vector<DWORD> told;
    TW_HOOK(getA, GetICMProfileA, [&](HDC, LPDWORD n, LPSTR buf) {
        told.push_back(*n);
        strcpy(buf, "p.icm");
        *n = 6;
        return TRUE;
    });
    EXPECT_TRUE(GetICMProfileW(dc, &size, file));
    EXPECT_STREQ(file, L"p.icm");
    EXPECT_EQ(size, 8u);
    EXPECT_EQ(told, std::vector<DWORD> { 8u * (CodePage() == 932 ? 2 : 1) });
    DeleteDC(dc);
}

} // namespace
