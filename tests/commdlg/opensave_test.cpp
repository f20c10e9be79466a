// The open and save dialogs through torwen: run for real, driven by a hook that
// types a name and presses a button, and seen through the interception harness.
#include <cstring>
#include <functional>
#include <string>
#include <tuple>
#include <vector>

#include "harness/harness.h"
#include "torwen.h"

#include <dlgs.h>
#include <vfw.h>

using namespace harness;
using std::wstring;

namespace {

OPENFILENAMEW Blank()
{
    OPENFILENAMEW ofn = {};
    ofn.lStructSize = sizeof ofn;
    return ofn;
}

// What the hook does once the dialog is up: type `name` and press OK. At the press
// it reads the dialog back through torwen's query helpers.
struct Script {
    explicit Script(wstring name) : name(std::move(name)) {}
    wstring name;
    int pathCount = 0, fileNameCount = 0, folderCount = 0;
    int ansiCounts[3] = {};  // what CDM_GETSPEC, _GETFILEPATH and _GETFOLDERPATH answer in ANSI
    wstring path, fileName, folder;
};

UINT_PTR CALLBACK Hook(HWND child, UINT msg, WPARAM, LPARAM lParam)
{
    static Script* script;
    HWND dialog = GetParent(child);
    if (msg == WM_INITDIALOG) {
        // The record the hook sees is the one the running dialog holds; lCustData
        // is the caller's on both paths.
        script = reinterpret_cast<Script*>(reinterpret_cast<OPENFILENAMEA*>(lParam)->lCustData);
        return TRUE;
    }
    if (msg != WM_NOTIFY)
        return 0;
    switch (reinterpret_cast<NMHDR*>(lParam)->code) {
    case CDN_INITDONE:
        AtCommDlg_OpenSave_SetControlTextW(dialog, edt1, script->name.c_str());
        AtCommDlg_OpenSave_SetControlTextW(dialog, cmb13, script->name.c_str());
        PostMessageW(dialog, WM_COMMAND, IDOK, 0);
        break;
    case CDN_FILEOK: {
        wchar_t buf[MAX_PATH] = {};
        script->pathCount = AtCommDlg_OpenSave_GetFilePathW(dialog, buf, MAX_PATH);
        script->path = buf;
        script->fileNameCount = AtCommDlg_OpenSave_GetSpecW(dialog, buf, MAX_PATH);
        script->fileName = buf;
        script->folderCount = AtCommDlg_OpenSave_GetFolderPathW(dialog, buf, MAX_PATH);
        script->folder = buf;
        if (AnsiPath()) {
            char bufA[MAX_PATH * 2];
            for (UINT m : {CDM_GETFILEPATH, CDM_GETSPEC, CDM_GETFOLDERPATH})
                script->ansiCounts[m - CDM_GETSPEC] = int(SendMessageA(dialog, m, sizeof bufA, LPARAM(bufA)));
        }
        break;
    }
    }
    return 0;
}

void RemoveFolder(const std::string& path)
{
    WIN32_FIND_DATAA data;
    HANDLE find = FindFirstFileA((path + "\\*").c_str(), &data);
    for (BOOL more = find != INVALID_HANDLE_VALUE; more; more = FindNextFileA(find, &data))
        DeleteFileA((path + "\\" + data.cFileName).c_str());
    FindClose(find);
    RemoveDirectoryA(path.c_str());
}

void Touch(const wstring& path)
{
    HANDLE h = CreateFileA(ToAnsi(path).c_str(), GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS, 0, nullptr);
    CloseHandle(h);
}

// The number of ANSI bytes a wide text takes (its length on the A side).
int AnsiBytes(const wstring& s)
{
    return int(ToAnsi(s).size());
}

// The strings of a list that ends at an empty one.
std::vector<wstring> Strings(const wchar_t* p)
{
    std::vector<wstring> list;
    for (; *p; p += wcslen(p) + 1)
        list.push_back(p);
    return list;
}

// A folder (of a non-ASCII name where the platform allows) with one file in it.
class OpenSaveTest : public TorwenTest {
protected:
    void SetUp() override
    {
        TorwenTest::SetUp();
        char temp[MAX_PATH];
        GetTempPathA(MAX_PATH, temp);
        bool nonAsciiNames = true;
        for (const wstring& name : {L"tw " + NonAsciiText(), wstring(L"tw dialogs")}) {
            RemoveFolder(ToAnsi(dir = FromAnsi(temp) + name));
            if (CreateDirectoryA(ToAnsi(dir).c_str(), nullptr))
                break;
            nonAsciiNames = false;
        }
        file = (nonAsciiNames ? NonAsciiText() : wstring(L"plain")) + L".txt";
        Touch(dir + L"\\" + file);
    }
    void TearDown() override
    {
        RemoveFolder(ToAnsi(dir));
        TorwenTest::TearDown();
    }

    wstring dir, file;
};

// The choice comes back in characters. The queries answer the message's count, not a
// count of characters: on the ANSI path the path's count is in bytes. (Wine's ANSI
// dialog counts the name and the folder in characters; the helpers hand on its answer.)
TEST_F(OpenSaveTest, OpenCopiesTheChoiceBackInCharacters)
{
    Script script(file);
    wchar_t buf[MAX_PATH] = {}, title[MAX_PATH] = {};
    OPENFILENAMEW ofn = Blank();
    ofn.lpstrFilter = L"Text\0*.txt\0All\0*.*\0";
    ofn.nFilterIndex = 1;
    ofn.lpstrFile = buf;
    ofn.nMaxFile = MAX_PATH;
    ofn.lpstrFileTitle = title;
    ofn.nMaxFileTitle = MAX_PATH;
    ofn.lpstrInitialDir = dir.c_str();
    ofn.Flags = OFN_EXPLORER | OFN_ENABLEHOOK | OFN_FILEMUSTEXIST;
    ofn.lCustData = reinterpret_cast<LPARAM>(&script);
    ofn.lpfnHook = Hook;
    ASSERT_EQ(GetOpenFileNameW(&ofn), TRUE) << std::hex << CommDlgExtendedError();
    const wstring path = dir + L"\\" + file;
    EXPECT_EQ(std::tuple(wstring(buf), ofn.nFileOffset, ofn.nFileExtension, wstring(title)),
              std::tuple(path, WORD(dir.size() + 1), WORD(path.size() - 3), file));
    EXPECT_EQ(std::tuple(script.path, script.fileName, script.folder), std::tuple(path, file, dir));
    const auto counts = std::tuple(script.pathCount, script.fileNameCount, script.folderCount);
    if (AnsiPath()) {
        EXPECT_EQ(counts,
                  std::tuple(AnsiBytes(path) + 1, script.ansiCounts[0], script.ansiCounts[2]));
    } else {
        EXPECT_EQ(counts, std::tuple(int(path.size()) + 1, int(file.size()) + 1,
                                     int(dir.size()) + 1));
    }
}

// ---- through the harness: what the ANSI dialog is given, and what comes back

// Binds the A dialogs for the hooks (a missing template fails before any window).
void BindAnsiDialogs()
{
    OPENFILENAMEW ofn = Blank();
    ofn.Flags = OFN_ENABLETEMPLATE;
    ofn.lpTemplateName = L"no such template";
    GetOpenFileNameW(&ofn);
    GetSaveFileNameW(&ofn);
    GetOpenFileNamePreviewW(&ofn);
    GetSaveFileNamePreviewW(&ofn);
}

class OpenSaveAnsiTest : public TorwenTest {
protected:
    void SetUp() override
    {
        TorwenTest::SetUp();
        if (!AnsiPath())
            GTEST_SKIP() << "the W path hands the record through";
        BindAnsiDialogs();
    }
};

TEST_F(OpenSaveAnsiTest, TheDialogGetsAnAnsiRecordOfHeapSizedBuffers)
{
    const SIZE_T m = CodePage() == 932 ? 2 : 1;
    const wstring name = NonAsciiText() + L"\\x.txt";
    wchar_t file[40], custom[20] = L"Mine\0*.my\0", fileTitle[30];
    wcscpy(file, name.c_str());
    OPENFILENAMEW ofn = Blank();  // 88 bytes: the dialog still gets 76
    ofn.lpstrFilter = L"Text\0*.txt\0All\0*.*\0";
    ofn.lpstrCustomFilter = custom;
    ofn.nMaxCustFilter = 20;
    ofn.lpstrFile = file;
    ofn.nMaxFile = 40;
    ofn.nFileOffset = WORD(NonAsciiText().size() + 1);
    ofn.nFileExtension = WORD(name.size() - 3);
    ofn.lpstrFileTitle = fileTitle;
    ofn.nMaxFileTitle = 30;
    ofn.lpstrTitle = L"T\u00E9";
    ofn.lpstrDefExt = L"txt";
    ofn.lpTemplateName = MAKEINTRESOURCEW(7);
    ofn.Flags = OFN_ALLOWMULTISELECT;
    ofn.FlagsEx = OFN_EX_NOPLACESBAR;
    ofn.lCustData = 1234;
    OPENFILENAMEA seen;
    std::string filterSeen, customSeen, fileSeen, titleSeen, extSeen;
    TW_HOOK(open, GetOpenFileNameA, [&](LPOPENFILENAMEA a) {
        seen = *a;
        filterSeen.assign(a->lpstrFilter, 20);
        customSeen.assign(a->lpstrCustomFilter, 11);
        fileSeen = a->lpstrFile;
        titleSeen = a->lpstrTitle;
        extSeen = a->lpstrDefExt;
        return FALSE;
    });
    HeapLog log;
    EXPECT_EQ(GetOpenFileNameW(&ofn), FALSE);
    EXPECT_EQ(std::tuple(seen.lStructSize, filterSeen, customSeen, fileSeen, titleSeen, extSeen),
              std::tuple(76u, std::string("Text\0*.txt\0All\0*.*\0\0", 20),
                         std::string("Mine\0*.my\0", 11), ToAnsi(name), ToAnsi(L"T\u00E9"),
                         std::string("txt")));
    // Capacities in bytes of the code page's widest character, offsets in bytes.
    EXPECT_EQ(std::tuple(seen.nMaxCustFilter, seen.nMaxFile, seen.nMaxFileTitle, seen.nFileOffset,
                         seen.nFileExtension),
              std::tuple(DWORD(20 * m), DWORD(40 * m), DWORD(30 * m),
                         WORD(AnsiBytes(NonAsciiText()) + 1), WORD(ToAnsi(name).size() - 3)));
    EXPECT_EQ(std::tuple(seen.lpTemplateName, seen.Flags, seen.lCustData, seen.lpstrInitialDir),
              std::tuple(MAKEINTRESOURCEA(7), DWORD(OFN_ALLOWMULTISELECT), LPARAM(1234),
                         LPCSTR(nullptr)));
    EXPECT_TRUE(log.freedInReverseOrder());
    EXPECT_EQ(file, name) << "a failed dialog copies nothing back";
}

// A dialog answering a multiple selection in bytes: the caller gets the whole list
// and offsets in characters; the title and flags come back too. The dialogs copy
// back on a result of exactly 1, their preview forms on any other than 0; a failed
// or cancelled dialog leaves the caller's buffers and record as they were.
TEST_F(OpenSaveAnsiTest, ResultsComeBackInCharacters)
{
    const wstring folder = L"C:\\" + NonAsciiText(), title = NonAsciiText() + L".txt";
    const std::string folderA = ToAnsi(folder), titleA = ToAnsi(title);
    std::string list = folderA + '\0' + titleA + '\0' + "b.txt" + '\0' + '\0';
    struct {
        const char* what;
        BOOL(WINAPI* dialog)(LPOPENFILENAMEW);
        BOOL result;
        bool copied;
    } cases[] = {
        {"open", GetOpenFileNameW, TRUE, true},
        {"save", GetSaveFileNameW, TRUE, true},
        {"open, cancelled", GetOpenFileNameW, FALSE, false},
        {"open, result 2", GetOpenFileNameW, 2, false},
        {"open with preview", GetOpenFileNamePreviewW, TRUE, true},
        {"save with preview, result 2", GetSaveFileNamePreviewW, 2, true},
    };
    for (const auto& c : cases) {
        auto answer = [&](LPOPENFILENAMEA a) {
            memcpy(a->lpstrFile, list.data(), list.size());
            a->nFileOffset = WORD(folderA.size() + 1);
            a->nFileExtension = WORD(folderA.size() + titleA.size() - 2);
            strcpy(a->lpstrFileTitle, titleA.c_str());
            a->Flags |= OFN_READONLY;
            a->nFilterIndex = 2;
            return c.result;
        };
        TW_HOOK(open, GetOpenFileNameA, answer);
        TW_HOOK(save, GetSaveFileNameA, answer);
        TW_HOOK(openPreview, GetOpenFileNamePreviewA, answer);
        TW_HOOK(savePreview, GetSaveFileNamePreviewA, answer);
        wchar_t file[60], fileTitle[30] = L"";
        std::fill(std::begin(file), std::end(file), L'#');
        file[0] = 0;
        OPENFILENAMEW ofn = Blank();
        ofn.lpstrFile = file;
        ofn.nMaxFile = 60;
        ofn.lpstrFileTitle = fileTitle;
        ofn.nMaxFileTitle = 30;
        ofn.Flags = OFN_ALLOWMULTISELECT | OFN_EXPLORER;
        EXPECT_EQ(c.dialog(&ofn), c.result) << c.what;
        if (!c.copied) {
            EXPECT_EQ(std::tuple(file[1], ofn.nFilterIndex, ofn.nFileOffset, fileTitle[0]),
                      std::tuple(L'#', DWORD(0), WORD(0), L'\0'))
                << c.what;
            continue;
        }
        EXPECT_EQ(Strings(file), (std::vector<wstring>{folder, title, L"b.txt"})) << c.what;
        EXPECT_EQ(std::tuple(ofn.nFileOffset, wstring(file + ofn.nFileExtension), wstring(fileTitle)),
                  std::tuple(WORD(folder.size() + 1), wstring(L"txt"), title))
            << c.what;
        EXPECT_EQ(std::tuple(ofn.Flags & OFN_READONLY, ofn.nFilterIndex),
                  std::tuple(DWORD(OFN_READONLY), DWORD(2)))
            << c.what;
    }
}

// A null file buffer with a size: the dialog gets a buffer of that many characters,
// zero offsets, and nothing is written to the caller's null.
TEST_F(OpenSaveAnsiTest, ANullFileBufferGetsOneOfItsSize)
{
    const SIZE_T m = CodePage() == 932 ? 2 : 1;
    DWORD maxSeen = 0;
    TW_HOOK(open, GetOpenFileNameA, [&](LPOPENFILENAMEA a) {
        maxSeen = a->nMaxFile;
        EXPECT_NE(a->lpstrFile, nullptr);
        EXPECT_EQ(a->nFileOffset, 0);
        strcpy(a->lpstrFile, "C:\\x.txt");
        a->nFileOffset = 3;
        return TRUE;
    });
    OPENFILENAMEW ofn = Blank();
    ofn.nMaxFile = 50;
    ofn.nFileOffset = 9;
    EXPECT_EQ(GetOpenFileNameW(&ofn), TRUE);
    EXPECT_EQ(std::tuple(maxSeen, ofn.nFileOffset), std::tuple(DWORD(50 * m), WORD(0)));
}

// ---- file titles

TEST_F(OpenSaveTest, FileTitles)
{
    const wstring name = NonAsciiText() + L".txt", path = L"C:\\dir\\" + name;
    wchar_t buf[40] = L"#";
    EXPECT_EQ(GetFileTitleW(path.c_str(), buf, 40), 0);
    EXPECT_EQ(buf, name);
    // With no room: the size needed, terminator included, as the ANSI function counts it.
    char bufA[2];
    EXPECT_EQ(GetFileTitleW(path.c_str(), buf, 0),
              AnsiPath() ? GetFileTitleA(ToAnsi(path).c_str(), bufA, 0) : short(name.size() + 1));
    if (AnsiPath() && AnsiBytes(name) >= int(name.size()) + 2) {
        // Room for the characters but not for their bytes: the ANSI function is told
        // the bytes of the buffer, the title fits, and comes back whole.
        wchar_t small[20];
        EXPECT_EQ(GetFileTitleW(path.c_str(), small, WORD(name.size() + 1)), 0);
        EXPECT_EQ(small, name);
    }
}

}  // namespace
