// Directory listings in list and combo boxes and the dialog's directory list,
// compared entry by entry with the system's own listing of the same directory: the
// A message on the ANSI path, the W message on the W path.
#include <functional>
#include <string>
#include <vector>

#include "torwen.h"
#include "user/test_resources.h"
#include "user/test_window.h"

namespace
{

std::wstring TempDirectory()
{
    WCHAR temp[MAX_PATH];
    GetTempPathW(MAX_PATH, temp);
    return std::wstring(temp) + L"torwen-directories";
}

void MakeFile(const std::wstring& name, DWORD attributes)
{
    SetFileAttributesW(name.c_str(), FILE_ATTRIBUTE_NORMAL);
    CloseHandle(CreateFileW(name.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS, 0, nullptr));
    SetFileAttributesW(name.c_str(), attributes);
}

class DirectoriesTest : public harness::TorwenTest
{
protected:
    static void SetUpTestSuite()
    {
        WCHAR previous[MAX_PATH];
        GetCurrentDirectoryW(MAX_PATH, previous);
        const std::wstring dir = TempDirectory();
        CreateDirectoryW(dir.c_str(), nullptr);
        SetCurrentDirectoryW(dir.c_str());
        const std::wstring wide = harness::NonAsciiText();
        for (const std::wstring& sub :
            std::vector<std::wstring> { L"Sub", L"another", wide + L" dir", L"hidden" })
            CreateDirectoryW(sub.c_str(), nullptr);
        SetFileAttributesW(L"hidden", FILE_ATTRIBUTE_DIRECTORY | FILE_ATTRIBUTE_HIDDEN);
        const struct {
            std::wstring name;
            DWORD attributes;
        } files[] = {
            { L"A.TXT", FILE_ATTRIBUTE_ARCHIVE },
            { L"b.txt", FILE_ATTRIBUTE_ARCHIVE },
            { wide + L".txt", FILE_ATTRIBUTE_ARCHIVE },
            { L"ro.dat", FILE_ATTRIBUTE_READONLY | FILE_ATTRIBUTE_ARCHIVE },
            { L"hid.dat", FILE_ATTRIBUTE_HIDDEN | FILE_ATTRIBUTE_ARCHIVE },
            { L"sys.dat", FILE_ATTRIBUTE_SYSTEM | FILE_ATTRIBUTE_ARCHIVE },
            { L"ro-hid.dat", FILE_ATTRIBUTE_READONLY | FILE_ATTRIBUTE_HIDDEN },
            { L"Sub\\in.txt", FILE_ATTRIBUTE_ARCHIVE },
            { L"Sub\\" + wide + L".dat", FILE_ATTRIBUTE_ARCHIVE },
        };
        for (const auto& f : files)
            MakeFile(f.name, f.attributes);
        SetCurrentDirectoryW(previous);
    }

    void SetUp() override
    {
        TorwenTest::SetUp();
        GetCurrentDirectoryW(MAX_PATH, previous);
        SetCurrentDirectoryW(TempDirectory().c_str());
        dialog = CreateControlsDialog();
        ASSERT_TRUE(dialog);
        mine = GetDlgItem(dialog, IDC_LIST);
        combo = GetDlgItem(dialog, IDC_COMBO);
        system = CreateWindowExW(0, L"LISTBOX", L"", WS_CHILD | LBS_HASSTRINGS, 0, 0, 9, 9, dialog,
            nullptr, nullptr, nullptr);
        systemCombo = CreateWindowExW(0, L"COMBOBOX", L"", WS_CHILD | CBS_DROPDOWN | CBS_HASSTRINGS,
            0, 0, 9, 9, dialog, nullptr, nullptr, nullptr);
    }
    void TearDown() override
    {
        DestroyWindow(dialog);
        SetCurrentDirectoryW(previous);
        TorwenTest::TearDown();
    }

    // The system's own answer to the directory message, on the path's own side.
    LRESULT SystemDir(HWND hwnd, UINT msg, UINT attrs, const std::wstring& spec)
    {
        if (!harness::AnsiPath())
            return SendMessageW(hwnd, msg, attrs, reinterpret_cast<LPARAM>(spec.c_str()));
        std::string specA = harness::ToAnsi(spec);
        return SendMessageA(hwnd, msg, attrs, reinterpret_cast<LPARAM>(specA.c_str()));
    }

    HWND dialog = nullptr, mine = nullptr, combo = nullptr, system = nullptr, systemCombo = nullptr;
    WCHAR previous[MAX_PATH];
};

std::vector<std::wstring> Entries(HWND hwnd, bool isCombo)
{
    std::vector<std::wstring> entries;
    int n = SendMessageW(hwnd, isCombo ? CB_GETCOUNT : LB_GETCOUNT, 0, 0);
    for (int i = 0; i < n; ++i) {
        WCHAR buf[MAX_PATH + 3] = L"";
        if (isCombo)
            AtComboBox_GetLBTextW(hwnd, i, buf);
        else
            AtListBox_GetTextW(hwnd, i, buf);
        entries.push_back(buf);
    }
    return entries;
}

std::string Show(const std::vector<std::wstring>& entries)
{
    std::string s;
    for (const auto& e : entries)
        s += harness::ToAnsi(e) + "|";
    return s;
}

void Fill(HWND hwnd, bool isCombo, const std::vector<std::wstring>& items)
{
    SendMessageW(hwnd, isCombo ? CB_RESETCONTENT : LB_RESETCONTENT, 0, 0);
    for (const auto& item : items) {
        if (isCombo)
            AtComboBox_AddStringW(hwnd, item.c_str());
        else
            AtListBox_AddStringW(hwnd, item.c_str());
    }
}

// What one list and the system's list of the same kind hold after the same call.
struct Comparison {
    HWND ours, theirs;
    bool isCombo;
};

// Every combination of the attribute flags (with DDL_DRIVES only a few: the system
// takes a tenth of a second to look at every drive letter), for list boxes and
// combo boxes, in empty lists and in lists that hold entries already: the same
// entries in the same order, and the same answer.
TEST_F(DirectoriesTest, ListingsAsTheSystemLists)
{
    const UINT flags[]
        = { DDL_READONLY, DDL_HIDDEN, DDL_SYSTEM, DDL_ARCHIVE, DDL_DIRECTORY, DDL_EXCLUSIVE };
    std::vector<UINT> every,
        some = { 0, DDL_DIRECTORY, DDL_EXCLUSIVE | DDL_ARCHIVE,
            DDL_EXCLUSIVE | DDL_DIRECTORY | DDL_HIDDEN };
    for (UINT bits = 0; bits < 64; ++bits) {
        UINT attrs = 0;
        for (int i = 0; i < 6; ++i)
            if (bits & (1u << i))
                attrs |= flags[i];
        every.push_back(attrs);
    }
    const std::wstring dbcs = L"*" + harness::NonAsciiText().substr(0, 2) + L"*";
    const std::vector<std::wstring> none, held = { L"m.txt", L"[zzz]", L"[-q-]", L"ZZ.TXT" };
    const struct {
        bool isCombo;
        std::wstring spec;
        std::vector<UINT> attrs;
        std::vector<std::wstring> before;
    } cases[] = {
        { false, L"*.*", every, none },
        { false, L"*.*", some, held },
        { false, L"*.*", { DDL_DRIVES, DDL_DRIVES | DDL_EXCLUSIVE, DDL_DRIVES | DDL_DIRECTORY },
            held },
        { false, dbcs, some, none },
        { false, L"*.txt", some, held },
        { false, L"Sub\\*.*", some, none },
        { false, L"nomatch*.xyz", { 0, DDL_DRIVES | DDL_DIRECTORY }, none },
        { false, L"nodir\\*.*", { 0, DDL_DRIVES }, held },
        { true, L"*.*", some, held },
        { true, L"*.*", { DDL_DRIVES | DDL_DIRECTORY | DDL_EXCLUSIVE }, none },
        { true, dbcs, some, none },
    };
    for (const auto& c : cases) {
        HWND ours = c.isCombo ? combo : mine, theirs = c.isCombo ? systemCombo : system;
        for (UINT attrs : c.attrs) {
            const std::string what = harness::ToAnsi(c.spec) + (c.isCombo ? " combo " : " list ")
                + std::to_string(attrs) + " after " + std::to_string(c.before.size());
            Fill(ours, c.isCombo, c.before);
            Fill(theirs, c.isCombo, c.before);
            int r = c.isCombo ? AtComboBox_DirW(ours, attrs, c.spec.c_str())
                              : AtListBox_DirW(ours, attrs, c.spec.c_str());
            EXPECT_EQ(r, SystemDir(theirs, c.isCombo ? CB_DIR : LB_DIR, attrs, c.spec)) << what;
            EXPECT_EQ(Show(Entries(ours, c.isCombo)), Show(Entries(theirs, c.isCombo))) << what;
        }
    }
}

// The dialog's directory list: the updated specification, the current directory,
// the static control's path and the list, as the system's DlgDirListA leaves them.
TEST_F(DirectoriesTest, DialogDirectoryList)
{
    const std::wstring wide = harness::NonAsciiText();
    const std::wstring specs[] = { L"*.txt", L"Sub\\*.txt", L"Sub", L"Sub\\", L".", L"", L"*.*",
        L"Sub/*.*", L"Sub\\..\\*.dat", L"?.txt", wide + L" dir", L"x:\\nothing\\*.*", L"nodir\\*.*",
        L"A.TXT", L"*.TxT" };
    const UINT flags[]
        = { 0, DDL_DIRECTORY, DDL_DIRECTORY | DDL_EXCLUSIVE, DDL_ARCHIVE | DDL_EXCLUSIVE,
              DDL_HIDDEN | DDL_DIRECTORY, DDL_DRIVES, DDL_DRIVES | DDL_DIRECTORY };
    const std::wstring home = TempDirectory();
    for (UINT attrs : flags)
        for (const auto& spec : specs) {
            if ((attrs & DDL_DRIVES) && spec != L"Sub\\*.txt" && spec != L"")
                continue; // every drive letter takes its time
            const std::string what = harness::ToAnsi(spec) + " " + std::to_string(attrs);
            SetCurrentDirectoryW(home.c_str());
            char specA[MAX_PATH];
            lstrcpyA(specA, harness::ToAnsi(spec).c_str());
            SetDlgItemTextA(dialog, IDC_LABEL, "?");
            int expected = DlgDirListA(dialog, specA, IDC_LIST, IDC_LABEL, attrs);
            char currentA[MAX_PATH], labelA[MAX_PATH];
            GetCurrentDirectoryA(MAX_PATH, currentA);
            GetDlgItemTextA(dialog, IDC_LABEL, labelA, MAX_PATH);
            auto listed = Entries(mine, false);
            if (!expected)
                continue; // a failure leaves the list as it was; compared below

            SetCurrentDirectoryW(home.c_str());
            SendMessageW(mine, LB_RESETCONTENT, 0, 0);
            WCHAR buf[MAX_PATH];
            lstrcpyW(buf, spec.c_str());
            SetDlgItemTextW(dialog, IDC_LABEL, L"?");
            int r = DlgDirListW(dialog, buf, IDC_LIST, IDC_LABEL, attrs);
            if (harness::AnsiPath() && listed.empty()) {
                // Nothing listed is a failed listing here: the specification stays.
                EXPECT_EQ(r, 0) << what;
                EXPECT_EQ(std::wstring(buf), spec) << what;
                continue;
            }
            EXPECT_EQ(r, expected) << what;
            WCHAR current[MAX_PATH], label[MAX_PATH];
            GetCurrentDirectoryW(MAX_PATH, current);
            GetDlgItemTextW(dialog, IDC_LABEL, label, MAX_PATH);
            EXPECT_EQ(harness::ToAnsi(buf), specA) << what;
            EXPECT_EQ(harness::ToAnsi(current), currentA) << what;
            EXPECT_EQ(harness::ToAnsi(label), labelA) << what;
            EXPECT_EQ(Show(Entries(mine, false)), Show(listed)) << what;
        }
    // A directory that does not exist: 0, the specification and directory unchanged.
    for (LPCWSTR bad : { L"nodir\\*.*", L"A.TXT" }) {
        SetCurrentDirectoryW(home.c_str());
        WCHAR buf[MAX_PATH];
        lstrcpyW(buf, bad);
        EXPECT_EQ(DlgDirListW(dialog, buf, IDC_LIST, IDC_LABEL, DDL_DIRECTORY), 0);
        EXPECT_STREQ(buf, bad);
        WCHAR current[MAX_PATH];
        GetCurrentDirectoryW(MAX_PATH, current);
        EXPECT_EQ(std::wstring(current), home);
    }
}

// The combo box form and the selections read back from both.
TEST_F(DirectoriesTest, ComboListAndSelections)
{
    const std::wstring home = TempDirectory();
    WCHAR buf[MAX_PATH] = L"Sub\\*.*";
    char bufA[MAX_PATH] = "Sub\\*.*";
    int expected = DlgDirListComboBoxA(dialog, bufA, IDC_COMBO, IDC_LABEL, DDL_DIRECTORY);
    auto listed = Entries(combo, true);
    SetCurrentDirectoryW(home.c_str());
    EXPECT_EQ(DlgDirListComboBoxW(dialog, buf, IDC_COMBO, IDC_LABEL, DDL_DIRECTORY), expected);
    EXPECT_EQ(harness::ToAnsi(buf), bufA);
    EXPECT_EQ(Show(Entries(combo, true)), Show(listed));
    // "." grows into a pattern longer than itself.
    SetCurrentDirectoryW(home.c_str());
    WCHAR dot[MAX_PATH] = L".";
    EXPECT_TRUE(DlgDirListComboBoxW(dialog, dot, IDC_COMBO, 0, 0));

    SetCurrentDirectoryW(home.c_str());
    lstrcpyW(buf, L"*.*");
    ASSERT_TRUE(DlgDirListW(dialog, buf, IDC_LIST, 0, DDL_DIRECTORY));
    const std::wstring dirEntry = L"[" + harness::NonAsciiText() + L" dir]";
    for (const auto& [entry, isDirectory, text] :
        { std::tuple { dirEntry, TRUE, dirEntry.substr(1, dirEntry.size() - 2) + L"\\" },
            std::tuple { std::wstring(L"b.txt"), FALSE, std::wstring(L"b.txt") } }) {
        int index = AtListBox_FindStringExactW(mine, -1, entry.c_str());
        ASSERT_GE(index, 0) << harness::ToAnsi(entry);
        SendMessageW(mine, LB_SETCURSEL, index, 0);
        WCHAR selected[MAX_PATH] = L"";
        EXPECT_EQ(DlgDirSelectExW(dialog, selected, MAX_PATH, IDC_LIST), isDirectory);
        EXPECT_EQ(std::wstring(selected), text);
    }
    SendMessageW(combo, CB_SETCURSEL, 0, 0);
    WCHAR selected[MAX_PATH] = L"";
    char selectedA[MAX_PATH] = "";
    EXPECT_EQ(DlgDirSelectComboBoxExW(dialog, selected, MAX_PATH, IDC_COMBO),
        DlgDirSelectComboBoxExA(dialog, selectedA, MAX_PATH, IDC_COMBO));
    EXPECT_EQ(harness::ToAnsi(selected), selectedA);
}

TEST_F(DirectoriesTest, AllocationFailures)
{
    if (!harness::AnsiPath())
        GTEST_SKIP() << "the W path allocates nothing";
    for (UINT attrs : { 0u, UINT(DDL_DIRECTORY) }) {
        harness::SweepAllocationFailures([&](int k) {
            SendMessageA(mine, LB_RESETCONTENT, 0, 0);
            SendMessageA(mine, LB_ADDSTRING, 0, reinterpret_cast<LPARAM>("m.txt"));
            SetLastError(1234);
            int r = AtListBox_DirW(mine, attrs, L"*.*");
            if (harness::HeapAllocCalls() >= k) {
                EXPECT_EQ(r, LB_ERR);
                EXPECT_EQ(GetLastError(), DWORD(ERROR_OUTOFMEMORY));
            } else {
                EXPECT_GT(r, 0);
            }
        });
    }
}

} // namespace
