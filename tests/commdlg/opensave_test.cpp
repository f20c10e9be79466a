// The open and save dialogs through torwen: run for real, driven by a hook that
// types a name and presses a button, and seen through the interception harness.
#include <cstring>
#include <functional>
#include <string>
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

// What the hook does once the dialog is up: type `name` and press `button`. At the
// press of OK it reads the dialog back through torwen's query helpers.
struct Script {
    explicit Script(wstring name, int button = IDOK) : name(std::move(name)), button(button) {}
    wstring name;
    int button;
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
        PostMessageW(dialog, WM_COMMAND, script->button, 0);
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
    CloseHandle(CreateFileA(ToAnsi(path).c_str(), GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS, 0, nullptr));
}

// The number of ANSI bytes a wide text takes (its length on the A side).
int AnsiBytes(const wstring& s)
{
    return int(ToAnsi(s).size());
}

class OpenSaveTest : public TorwenTest {
protected:
    void SetUp() override
    {
        TorwenTest::SetUp();
        char temp[MAX_PATH];
        GetTempPathA(MAX_PATH, temp);
        for (const wstring& name : {L"tw " + NonAsciiText(), wstring(L"tw dialogs")}) {
            RemoveFolder(ToAnsi(dir = FromAnsi(temp) + name));
            if (CreateDirectoryA(ToAnsi(dir).c_str(), nullptr))
                break;
            nonAsciiNames = false;
        }
        file = (nonAsciiNames ? NonAsciiText() : wstring(L"plain")) + L".txt";
        Touch(dir + L"\\" + file);
        Touch(dir + L"\\b.txt");
    }
    void TearDown() override
    {
        RemoveFolder(ToAnsi(dir));
        TorwenTest::TearDown();
    }

    OPENFILENAMEW Record(Script& script, DWORD flags = 0)
    {
        OPENFILENAMEW ofn = {};
        ofn.lStructSize = sizeof ofn;  // the larger record is accepted
        ofn.lpstrFilter = filter;
        ofn.nFilterIndex = 1;
        ofn.lpstrFile = buf;
        ofn.nMaxFile = MAX_PATH;
        ofn.lpstrFileTitle = title;
        ofn.nMaxFileTitle = MAX_PATH;
        ofn.lpstrInitialDir = dir.c_str();
        ofn.Flags = OFN_EXPLORER | OFN_ENABLEHOOK | flags;
        ofn.lCustData = reinterpret_cast<LPARAM>(&script);
        ofn.lpfnHook = Hook;
        return ofn;
    }

    const wchar_t* filter = L"Text\0*.txt\0All\0*.*\0";
    wchar_t buf[MAX_PATH] = {}, title[MAX_PATH] = {};
    wstring dir, file;
    bool nonAsciiNames = true;
};

TEST_F(OpenSaveTest, OpenCopiesTheChoiceBackInCharacters)
{
    Script script(file);
    OPENFILENAMEW ofn = Record(script, OFN_FILEMUSTEXIST);
    ASSERT_EQ(GetOpenFileNameW(&ofn), TRUE) << std::hex << CommDlgExtendedError();
    const wstring path = dir + L"\\" + file;
    EXPECT_EQ(std::tuple(wstring(buf), ofn.nFileOffset, ofn.nFileExtension, wstring(title)),
              std::tuple(path, WORD(dir.size() + 1), WORD(path.size() - 3), file));
    // The queries answer the message's count, not a count of characters: on the
    // ANSI path the path's count is in bytes. (Wine's ANSI dialog counts the fileName
    // and the folder in characters; the helpers hand on whatever it answers.)
    EXPECT_EQ(std::tuple(script.path, script.fileName, script.folder), std::tuple(path, file, dir));
    EXPECT_EQ(std::tuple(script.pathCount, script.fileNameCount, script.folderCount),
              AnsiPath() ? std::tuple(AnsiBytes(path) + 1, script.ansiCounts[0], script.ansiCounts[2])
                         : std::tuple(int(path.size()) + 1, int(file.size()) + 1, int(dir.size()) + 1));
}

TEST_F(OpenSaveTest, MultipleSelectionArrivesWhole)
{
    Script script(L"\"" + file + L"\" \"b.txt\"");
    OPENFILENAMEW ofn = Record(script, OFN_ALLOWMULTISELECT | OFN_FILEMUSTEXIST);
    ASSERT_EQ(GetOpenFileNameW(&ofn), TRUE) << std::hex << CommDlgExtendedError();
    ASSERT_EQ(ofn.nFileOffset, dir.size() + 1);
    EXPECT_EQ(wstring(buf), dir);
    std::vector<wstring> names;
    for (const wchar_t* p = buf + ofn.nFileOffset; *p; p += wcslen(p) + 1)
        names.push_back(p);
    EXPECT_EQ(names, (std::vector<wstring>{file, L"b.txt"}));
}

TEST_F(OpenSaveTest, SaveAddsTheDefaultExtension)
{
    Script script(L"new " + NonAsciiText());
    OPENFILENAMEW ofn = Record(script);
    ofn.lpstrDefExt = L"dat";
    ofn.nFilterIndex = 2;  // "*.*": a filter's own extension would win over the default
    ASSERT_EQ(GetSaveFileNameW(&ofn), TRUE) << std::hex << CommDlgExtendedError();
    const wstring path = dir + L"\\new " + NonAsciiText() + L".dat";
    EXPECT_EQ(buf, path);
    EXPECT_EQ(wstring(buf + ofn.nFileExtension), L"dat");
    EXPECT_EQ(title, L"new " + NonAsciiText() + L".dat");
}

// A cancelled dialog and one whose buffer is too small copy nothing back: the
// caller's buffers and record keep what they held.
TEST_F(OpenSaveTest, AFailedDialogCopiesNothingBack)
{
    struct { const char* what; int button; DWORD maxFile, error; } cases[] = {
        {"cancel", IDCANCEL, MAX_PATH, 0},
        {"buffer too small", IDOK, 4, FNERR_BUFFERTOOSMALL},
    };
    for (const auto& c : cases) {
        Script script(file, c.button);
        OPENFILENAMEW ofn = Record(script);
        ofn.nMaxFile = c.maxFile;
        ofn.nFileOffset = 77;
        wcscpy(buf, L"kept");
        wcscpy(title, L"kept too");
        EXPECT_EQ(GetOpenFileNameW(&ofn), FALSE) << c.what;
        EXPECT_EQ(CommDlgExtendedError(), c.error) << c.what;
        // (The W dialog stores the size it needs at the start of a buffer too small.)
        if (AnsiPath() || !c.error) {
            EXPECT_EQ(buf, wstring(L"kept")) << c.what;
        }
        EXPECT_EQ(title, wstring(L"kept too")) << c.what;
        EXPECT_EQ(ofn.nFileOffset, 77) << c.what;
    }
}

// ---- through the harness: what the ANSI dialog is given, and what comes back

// Binds the A dialogs (a template that cannot be found fails before any window),
// so that the harness can hook them.
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
// back on a result of exactly 1, their preview forms on any other than 0.
TEST_F(OpenSaveAnsiTest, ResultsComeBackInCharacters)
{
    const wstring folder = L"C:\\" + NonAsciiText();
    const std::string folderA = ToAnsi(folder), titleA = ToAnsi(NonAsciiText() + L".txt");
    std::string list = folderA + '\0' + titleA + '\0' + "b.txt" + '\0' + '\0';
    struct { const char* what; BOOL (WINAPI *dialog)(LPOPENFILENAMEW); BOOL result; bool copied; } cases[] = {
        {"open", GetOpenFileNameW, TRUE, true},
        {"save", GetSaveFileNameW, TRUE, true},
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
            EXPECT_EQ(file[1], L'#') << c.what;
            EXPECT_EQ(ofn.nFilterIndex, 0u) << c.what;
            continue;
        }
        EXPECT_EQ(wstring(file), folder) << c.what;
        EXPECT_EQ(ofn.nFileOffset, folder.size() + 1) << c.what;
        EXPECT_EQ(wstring(file + ofn.nFileOffset), NonAsciiText() + L".txt") << c.what;
        EXPECT_EQ(wstring(file + ofn.nFileExtension), L"txt") << c.what;
        EXPECT_EQ(wstring(file + ofn.nFileOffset + NonAsciiText().size() + 5), L"b.txt") << c.what;
        EXPECT_EQ(fileTitle, NonAsciiText() + L".txt") << c.what;
        EXPECT_TRUE(ofn.Flags & OFN_READONLY) << c.what;
        EXPECT_EQ(ofn.nFilterIndex, 2u) << c.what;
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
    EXPECT_EQ(maxSeen, 50 * m);
    EXPECT_EQ(ofn.nFileOffset, 0);
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
