// Directory listings in list and combo boxes and the dialog's directory lists,
// compared entry by entry with the system's own listing of the same directory: the A
// message and DlgDirListA on the ANSI path, the W message on the W path.
#include <tuple>

#include "torwen.h"
#include "user/test_resources.h"
#include "user/test_window.h"

namespace {

std::wstring Home()
{
    WCHAR temp[MAX_PATH];
    GetTempPathW(MAX_PATH, temp);
    return std::wstring(temp) + L"torwen-directories";
}

class DirectoriesTest : public harness::TorwenTest {
protected:
    // Files of every attribute the flags name, directories, a hidden one, and names
    // beyond ASCII (two bytes a character under 932).
    static void SetUpTestSuite()
    {
        const std::wstring home = Home(), wide = harness::NonAsciiText();
        for (const std::wstring& dir : {home, home + L"\\Sub", home + L"\\another",
                                        home + L"\\" + wide + L" dir", home + L"\\hidden"})
            CreateDirectoryW(dir.c_str(), nullptr);
        SetFileAttributesW((home + L"\\hidden").c_str(), FILE_ATTRIBUTE_HIDDEN);
        const DWORD ro = FILE_ATTRIBUTE_READONLY, archive = FILE_ATTRIBUTE_ARCHIVE;
        const std::pair<std::wstring, DWORD> files[] = {
            {L"A.TXT", archive}, {L"b.txt", archive}, {wide + L".txt", archive},
            {L"ro.dat", ro | archive}, {L"hid.dat", FILE_ATTRIBUTE_HIDDEN | archive},
            {L"sys.dat", FILE_ATTRIBUTE_SYSTEM | archive}, {L"ro-hid.dat", ro | FILE_ATTRIBUTE_HIDDEN},
            {L"Sub\\in.txt", archive}, {L"Sub\\" + wide + L".dat", archive}};
        for (const auto& [name, attributes] : files) {
            const std::wstring path = home + L"\\" + name;
            SetFileAttributesW(path.c_str(), FILE_ATTRIBUTE_NORMAL);
            CloseHandle(CreateFileW(path.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS, 0,
                                    nullptr));
            SetFileAttributesW(path.c_str(), attributes);
        }
    }

    void SetUp() override
    {
        TorwenTest::SetUp();
        GetCurrentDirectoryW(MAX_PATH, previous);
        SetCurrentDirectoryW(Home().c_str());
        dialog = CreateControlsDialog();
        mine = GetDlgItem(dialog, IDC_LIST);
        combo = GetDlgItem(dialog, IDC_COMBO);
        system = CreateWindowExW(0, L"LISTBOX", L"", WS_CHILD | LBS_HASSTRINGS, 0, 0, 9, 9,
                                 dialog, nullptr, nullptr, nullptr);
        systemCombo = CreateWindowExW(0, L"COMBOBOX", L"", WS_CHILD | CBS_DROPDOWN | CBS_HASSTRINGS,
                                      0, 0, 9, 9, dialog, nullptr, nullptr, nullptr);
    }
    void TearDown() override
    {
        DestroyWindow(dialog);
        SetCurrentDirectoryW(previous);
        TorwenTest::TearDown();
    }

    HWND dialog, mine, combo, system, systemCombo;
    WCHAR previous[MAX_PATH];
};

// The system's answer to the directory message, on the path's own side.
LRESULT SystemDir(HWND hwnd, UINT msg, UINT attrs, const std::wstring& pattern)
{
    if (!harness::AnsiPath())
        return SendMessageW(hwnd, msg, attrs, reinterpret_cast<LPARAM>(pattern.c_str()));
    return SendMessageA(hwnd, msg, attrs, reinterpret_cast<LPARAM>(harness::ToAnsi(pattern).c_str()));
}

// The entries in order, as one string.
std::string Entries(HWND hwnd, bool isCombo)
{
    std::string entries;
    int n = SendMessageW(hwnd, isCombo ? CB_GETCOUNT : LB_GETCOUNT, 0, 0);
    for (int i = 0; i < n; ++i) {
        WCHAR buf[MAX_PATH + 3] = L"";
        (isCombo ? AtComboBox_GetLBTextW : AtListBox_GetTextW)(hwnd, i, buf);
        entries += harness::ToAnsi(buf) + "|";
    }
    return entries;
}

void Fill(HWND hwnd, bool isCombo, const std::vector<std::wstring>& items)
{
    SendMessageW(hwnd, isCombo ? CB_RESETCONTENT : LB_RESETCONTENT, 0, 0);
    for (const auto& item : items)
        (isCombo ? AtComboBox_AddStringW : AtListBox_AddStringW)(hwnd, item.c_str());
}

// Every combination of the attribute flags (DDL_DRIVES with a few only: the drive
// letters are slow), in list and combo boxes, empty or not: the system's entries and answer.
TEST_F(DirectoriesTest, ListingsAsTheSystemLists)
{
    const UINT flags[] = {DDL_READONLY, DDL_HIDDEN, DDL_SYSTEM, DDL_ARCHIVE, DDL_DIRECTORY,
                          DDL_EXCLUSIVE};
    std::vector<UINT> every, some = {0, DDL_DIRECTORY, DDL_EXCLUSIVE | DDL_ARCHIVE,
                                     DDL_EXCLUSIVE | DDL_DIRECTORY | DDL_HIDDEN};
    for (UINT bits = 0; bits < 64; ++bits) {
        UINT attrs = 0;
        for (int i = 0; i < 6; ++i)
            attrs |= bits & (1u << i) ? flags[i] : 0;
        every.push_back(attrs);
    }
    const std::wstring dbcs = L"*" + harness::NonAsciiText().substr(0, 2) + L"*";
    const std::vector<std::wstring> none, held = {L"m.txt", L"[zzz]", L"[-q-]", L"ZZ.TXT"};
    const struct { bool isCombo; std::wstring pattern; std::vector<UINT> attrs;
                   std::vector<std::wstring> before; } cases[] = {
        {false, L"*.*", every, none},
        {false, L"*.*", some, held},
        {false, L"*.*", {DDL_DRIVES, DDL_DRIVES | DDL_EXCLUSIVE, DDL_DRIVES | DDL_DIRECTORY}, held},
        {false, dbcs, some, none},
        {false, L"*.txt", some, held},
        {false, L"Sub\\*.*", some, none},
        {false, L"nomatch*.xyz", {0, DDL_DRIVES | DDL_DIRECTORY}, none},
        {false, L"nodir\\*.*", {0, DDL_DRIVES}, held},
        {true, L"*.*", some, held},
        {true, L"*.*", {DDL_DRIVES | DDL_DIRECTORY | DDL_EXCLUSIVE}, none},
        {true, dbcs, some, none},
    };
    for (const auto& c : cases) {
        HWND ours = c.isCombo ? combo : mine, theirs = c.isCombo ? systemCombo : system;
        for (UINT attrs : c.attrs) {
            Fill(ours, c.isCombo, c.before);
            Fill(theirs, c.isCombo, c.before);
            int r = (c.isCombo ? AtComboBox_DirW : AtListBox_DirW)(ours, attrs, c.pattern.c_str());
            const std::string what = harness::ToAnsi(c.pattern) + " " + std::to_string(attrs) +
                                     (c.isCombo ? " combo" : " list") + " after " +
                                     std::to_string(c.before.size());
            EXPECT_EQ(r, SystemDir(theirs, c.isCombo ? CB_DIR : LB_DIR, attrs, c.pattern)) << what;
            EXPECT_EQ(Entries(ours, c.isCombo), Entries(theirs, c.isCombo)) << what;
        }
    }
}

// The updated pattern, the current directory, the static control's path and the
// list, as DlgDirListA and DlgDirListComboBoxA leave them. A list box listing with
// nothing in it fails on the ANSI path and leaves the pattern as it was.
TEST_F(DirectoriesTest, DialogDirectoryLists)
{
    const std::wstring patterns[] = {L"*.txt", L"Sub\\*.txt", L"Sub", L"Sub\\", L".", L"", L"*.*",
                                     L"Sub/*.*", L"Sub\\..\\*.dat", L"?.txt",
                                     harness::NonAsciiText() + L" dir", L"nodir\\*.*", L"A.TXT"};
    const UINT flags[] = {0, DDL_DIRECTORY, DDL_DIRECTORY | DDL_EXCLUSIVE,
                          DDL_ARCHIVE | DDL_EXCLUSIVE, DDL_DRIVES, DDL_DRIVES | DDL_DIRECTORY};
    const struct {
        int id;
        decltype(&DlgDirListA) ansi;
        decltype(&DlgDirListW) wide;
    } forms[] = {{IDC_LIST, DlgDirListA, DlgDirListW},
                 {IDC_COMBO, DlgDirListComboBoxA, DlgDirListComboBoxW}};
    for (const auto& form : forms)
        for (UINT attrs : flags)
            for (const auto& pattern : patterns) {
                if ((attrs & DDL_DRIVES) && pattern != L"Sub\\*.txt")
                    continue;  // the drive letters take their time
                const bool isCombo = form.id == IDC_COMBO;
                const std::string what = harness::ToAnsi(pattern) + " " + std::to_string(attrs) +
                                         (isCombo ? " combo" : " list");
                HWND list = GetDlgItem(dialog, form.id);
                char patternA[MAX_PATH], currentA[MAX_PATH], labelA[MAX_PATH];
                lstrcpyA(patternA, harness::ToAnsi(pattern).c_str());
                SetCurrentDirectoryW(Home().c_str());
                SetDlgItemTextA(dialog, IDC_LABEL, "?");
                int expected = form.ansi(dialog, patternA, form.id, IDC_LABEL, attrs);
                GetCurrentDirectoryA(MAX_PATH, currentA);
                GetDlgItemTextA(dialog, IDC_LABEL, labelA, MAX_PATH);
                const std::string listed = Entries(list, isCombo);

                WCHAR buf[MAX_PATH], current[MAX_PATH], label[MAX_PATH];
                lstrcpyW(buf, pattern.c_str());
                SetCurrentDirectoryW(Home().c_str());
                SendMessageW(list, isCombo ? CB_RESETCONTENT : LB_RESETCONTENT, 0, 0);
                SetDlgItemTextW(dialog, IDC_LABEL, L"?");
                int r = form.wide(dialog, buf, form.id, IDC_LABEL, attrs);
                GetCurrentDirectoryW(MAX_PATH, current);
                GetDlgItemTextW(dialog, IDC_LABEL, label, MAX_PATH);
                if (expected && listed.empty() && harness::AnsiPath() && !isCombo) {
                    EXPECT_EQ(std::tuple(r, std::wstring(buf)), std::tuple(0, pattern)) << what;
                    continue;
                }
                EXPECT_EQ(std::tuple(r, harness::ToAnsi(buf), harness::ToAnsi(current),
                                     harness::ToAnsi(label)),
                          std::tuple(expected, std::string(patternA), std::string(currentA),
                                     std::string(labelA)))
                    << what;
                if (expected) {
                    EXPECT_EQ(Entries(list, isCombo), listed) << what;
                }
            }
}

// The selections read back from both forms.
TEST_F(DirectoriesTest, Selections)
{
    WCHAR buf[MAX_PATH] = L"*.*";
    ASSERT_TRUE(DlgDirListW(dialog, buf, IDC_LIST, 0, DDL_DIRECTORY));
    const std::wstring dir = harness::NonAsciiText() + L" dir";
    const std::tuple<std::wstring, BOOL, std::wstring> picks[] = {
        {L"[" + dir + L"]", TRUE, dir + L"\\"}, {L"b.txt", FALSE, L"b.txt"}};
    for (const auto& [entry, isDirectory, text] : picks) {
        SendMessageW(mine, LB_SETCURSEL, AtListBox_FindStringExactW(mine, -1, entry.c_str()), 0);
        WCHAR selected[MAX_PATH] = L"";
        EXPECT_EQ(DlgDirSelectExW(dialog, selected, MAX_PATH, IDC_LIST), isDirectory);
        EXPECT_EQ(std::wstring(selected), text);
    }
    lstrcpyW(buf, L"Sub\\*.*");
    ASSERT_TRUE(DlgDirListComboBoxW(dialog, buf, IDC_COMBO, 0, DDL_DIRECTORY));
    SendMessageW(combo, CB_SETCURSEL, 0, 0);
    WCHAR selected[MAX_PATH] = L"";
    char selectedA[MAX_PATH] = "";
    EXPECT_EQ(DlgDirSelectComboBoxExW(dialog, selected, MAX_PATH, IDC_COMBO),
              DlgDirSelectComboBoxExA(dialog, selectedA, MAX_PATH, IDC_COMBO));
    EXPECT_EQ(harness::ToAnsi(selected), selectedA);
}

// A listing with directories, whose allocations the sweep's file-only row does not
// reach: a failure answers LB_ERR, and every search is closed, also after one.
TEST_F(DirectoriesTest, AllocationFailures)
{
    if (!harness::AnsiPath())
        GTEST_SKIP() << "the W path allocates nothing";
    int searches = 0;
    TW_HOOK(first, FindFirstFileA, [&](LPCSTR pattern, LPWIN32_FIND_DATAA found) {
        HANDLE h = first.real(pattern, found);
        searches += h != INVALID_HANDLE_VALUE;
        return h;
    });
    TW_HOOK(close, FindClose, [&](HANDLE h) {
        --searches;
        return close.real(h);
    });
    harness::SweepAllocationFailures([&](int k) {
        SendMessageA(mine, LB_RESETCONTENT, 0, 0);
        SendMessageA(mine, LB_ADDSTRING, 0, reinterpret_cast<LPARAM>("m.txt"));
        int r = AtListBox_DirW(mine, DDL_DIRECTORY, L"*.*");
        if (harness::HeapAllocCalls() >= k) {
            EXPECT_EQ(std::pair(r, GetLastError()), std::pair(LB_ERR, DWORD(ERROR_OUTOFMEMORY)))
                << k;
        }
    });
    EXPECT_EQ(searches, 0);
}

}  // namespace
