// The shell: programs started and found, dropped files, icons, item lists, the folder
// browser, file operations on lists of names, file information, special folders, the
// notification area and the about box.
#include <shlobj.h>

#include <algorithm>
#include <cstring>
#include <string>

#include "harness/harness.h"

using namespace harness;
using std::string;
using std::wstring;

namespace
{

class ShellTest : public TorwenTest
{
protected:
    const bool ansi = AnsiPath();
    const wstring text = NonAsciiText();
};

wstring Lower(wstring s)
{
    CharLowerBuffW(s.data(), DWORD(s.size()));
    return s;
}

// What ShellExecuteExA sees and what comes back, on the NT family too: a class name
// that the mask does not announce is not read (here it points at memory that
// cannot be), and the record's size is the A record's whatever the caller said.
TEST_F(ShellTest, ShellExecuteExConvertsOnEveryPath)
{
    SHELLEXECUTEINFOW info = {};
    info.cbSize = sizeof info;
    info.fMask = SEE_MASK_FLAG_NO_UI;
    info.lpFile = L"C:\\absent.exe";
    ShellExecuteExW(&info); // binds the A function before it is hooked
    void* noAccess = VirtualAlloc(nullptr, 4096, MEM_COMMIT, PAGE_NOACCESS);
    const wstring parameters = L"/c echo " + text;
    string seenParameters;
    const char* seenClass = "unset";
    TW_HOOK(hook, ShellExecuteExA, [&](SHELLEXECUTEINFOA* a) {
        EXPECT_EQ(a->cbSize, 60u);
        seenParameters = a->lpParameters;
        seenClass = a->lpClass;
        EXPECT_EQ(a->lpVerb, nullptr);
        a->hInstApp = HINSTANCE(42);
        a->hProcess = HANDLE(77);
        return TRUE;
    });
    info = {};
    info.cbSize = 1234;
    info.lpFile = L"cmd.exe";
    info.lpParameters = parameters.c_str();
    info.lpClass = static_cast<LPCWSTR>(noAccess);
    ASSERT_TRUE(ShellExecuteExW(&info));
    EXPECT_EQ(seenParameters, ToAnsi(parameters));
    EXPECT_EQ(seenClass, nullptr);
    EXPECT_EQ(info.cbSize, 60u);
    EXPECT_EQ(info.hInstApp, HINSTANCE(42));
    EXPECT_EQ(info.hProcess, HANDLE(77));
    EXPECT_EQ(info.lpParameters, parameters.c_str()) << "the caller's strings stay";
    VirtualFree(noAccess, 0, MEM_RELEASE);
    info.lpClass = nullptr;
    // The sweep fails allocations on the ANSI path alone: this converts on both.
    EXPECT_GT(SweepAllocationFailures([&](int k) {
        BOOL r = ShellExecuteExW(&info);
        EXPECT_TRUE(HeapAllocCalls() < k || !r) << k;
    }),
        0);
}

// A drop handle as the ANSI platforms make it: ANSI names after a DROPFILES.
TEST_F(ShellTest, DroppedFiles)
{
    const wstring first = L"C:\\" + text + L".txt";
    const string names = ToAnsi(first) + '\0' + "C:\\b.txt" + '\0';
    HGLOBAL h = GlobalAlloc(GMEM_MOVEABLE | GMEM_ZEROINIT, sizeof(DROPFILES) + names.size() + 2);
    auto* dropFiles = static_cast<DROPFILES*>(GlobalLock(h));
    dropFiles->pFiles = sizeof(DROPFILES);
    memcpy(dropFiles + 1, names.data(), names.size());
    GlobalUnlock(h);
    HDROP drop = static_cast<HDROP>(h);

    EXPECT_EQ(2u, DragQueryFileW(drop, 0xFFFFFFFF, nullptr, 0));
    EXPECT_EQ(DragQueryFileW(drop, 0, nullptr, 0), ansi ? ToAnsi(first).size() : first.size())
        << "a length query counts ANSI bytes on the ANSI path";
    wchar_t name[MAX_PATH];
    EXPECT_EQ(first.size(), DragQueryFileW(drop, 0, name, MAX_PATH));
    EXPECT_EQ(name, first);
    EXPECT_EQ(8u, DragQueryFileW(drop, 1, name, MAX_PATH));
    EXPECT_EQ(wstring(name), L"C:\\b.txt");
    EXPECT_EQ(0u, DragQueryFileW(drop, 2, name, MAX_PATH));
    GlobalFree(h);
}

// The program for a document, its information and the icons of a file, and special
// folders, as the A functions find them.
TEST_F(ShellTest, WhatTheAFunctionsFind)
{
    char temp[MAX_PATH];
    GetTempPathA(MAX_PATH, temp);
    const string document = string(temp) + "tw " + ToAnsi(text) + ".txt";
    const wstring documentW = FromAnsi(document);
    CloseHandle(
        CreateFileA(document.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS, 0, nullptr));
    char programA[MAX_PATH] = {};
    const bool found = INT_PTR(FindExecutableA(document.c_str(), nullptr, programA)) > 32;
    wchar_t program[MAX_PATH] = {};
    EXPECT_EQ(found, INT_PTR(FindExecutableW(documentW.c_str(), nullptr, program)) > 32);
    EXPECT_EQ(Lower(program), Lower(FromAnsi(programA)));
    SHFILEINFOW info = {};
    SHFILEINFOA infoA = {};
    const UINT flags = SHGFI_DISPLAYNAME | SHGFI_TYPENAME;
    ASSERT_NE(SHGetFileInfoW(documentW.c_str(), 0, &info, sizeof info, flags), 0u);
    ASSERT_NE(SHGetFileInfoA(document.c_str(), 0, &infoA, sizeof infoA, flags), 0u);
    EXPECT_EQ(wstring(info.szDisplayName), FromAnsi(infoA.szDisplayName));
    EXPECT_EQ(wstring(info.szTypeName), FromAnsi(infoA.szTypeName));
    DeleteFileA(document.c_str());

    char system[MAX_PATH];
    GetSystemDirectoryA(system, MAX_PATH);
    const wstring shell = FromAnsi(system) + L"\\shell32.dll";
    const UINT count = ExtractIconExA(ToAnsi(shell).c_str(), -1, nullptr, nullptr, 0);
    EXPECT_GT(count, 1u);
    EXPECT_EQ(ExtractIconExW(shell.c_str(), -1, nullptr, nullptr, 0), count);
    EXPECT_EQ(UINT_PTR(ExtractIconW(GetModuleHandleW(nullptr), shell.c_str(), UINT(-1))), count);

    for (int folder : { CSIDL_APPDATA, CSIDL_PERSONAL, CSIDL_WINDOWS }) {
        WCHAR path[MAX_PATH];
        char pathA[MAX_PATH];
        ASSERT_TRUE(SHGetSpecialFolderPathW(nullptr, path, folder, FALSE)) << folder;
        ASSERT_TRUE(SHGetSpecialFolderPathA(nullptr, pathA, folder, FALSE)) << folder;
        EXPECT_EQ(wstring(path), FromAnsi(pathA)) << folder;
    }
}

string selection;
int initialized;

int CALLBACK PickSelection(HWND hwnd, UINT message, LPARAM, LPARAM)
{
    if (message == BFFM_INITIALIZED) {
        ++initialized;
        SendMessageA(hwnd, BFFM_SETSELECTIONA, TRUE, LPARAM(selection.c_str()));
        PostMessageA(hwnd, WM_COMMAND, IDOK, 0);
    }
    return 0;
}

// Item lists: a folder's path, a virtual folder's none; and the browser, whose
// callback receives the ANSI messages.
TEST_F(ShellTest, ItemListsAndTheFolderBrowser)
{
    wchar_t windows[MAX_PATH], path[MAX_PATH];
    GetWindowsDirectoryW(windows, MAX_PATH);
    PIDLIST_ABSOLUTE list = nullptr;
    ASSERT_EQ(S_OK, SHGetSpecialFolderLocation(nullptr, CSIDL_WINDOWS, &list));
    ASSERT_TRUE(SHGetPathFromIDListW(list, path));
    EXPECT_EQ(Lower(path), Lower(windows));
    EXPECT_GT(SweepAllocationFailures([&](int k) {
        BOOL r = SHGetPathFromIDListW(list, path);
        EXPECT_TRUE(HeapAllocCalls() < k || !r) << k << ", on either path";
    }),
        0);
    CoTaskMemFree(list);
    ASSERT_EQ(S_OK, SHGetSpecialFolderLocation(nullptr, CSIDL_DRIVES, &list));
    EXPECT_FALSE(SHGetPathFromIDListW(list, path));
    CoTaskMemFree(list);

    // The browser, told to pick the Windows folder and closed by its callback.
    selection = ToAnsi(windows);
    initialized = 0;
    wchar_t displayName[MAX_PATH] = L"#";
    const wstring title = L"tw " + text;
    BROWSEINFOW info = {};
    info.pszDisplayName = displayName;
    info.lpszTitle = title.c_str();
    info.ulFlags = BIF_RETURNONLYFSDIRS;
    info.lpfn = PickSelection;
    list = SHBrowseForFolderW(&info);
    EXPECT_EQ(initialized, 1);
    if (!list)
        GTEST_SKIP() << "Wine's browser did not take the selection";
    EXPECT_NE(Lower(displayName).find(L"windows"), wstring::npos)
        << "Wine names the folder by its path";
    CoTaskMemFree(list);
}

// Lists of names reach the A function with their double NUL, and one that ends at
// unreadable memory without its final NUL ends there.
TEST_F(ShellTest, FileOperationLists)
{
    if (!ansi)
        GTEST_SKIP() << "the W path hands the lists through";
    SHFILEOPSTRUCTW op = {};
    op.wFunc = FO_DELETE;
    op.pFrom = L"\0";
    op.fFlags = FOF_SILENT | FOF_NOCONFIRMATION | FOF_NOERRORUI;
    SHFileOperationW(&op); // binds the A function before it is hooked
    auto list = [](const char* p) {
        const char* end = p;
        while (*end)
            end += strlen(end) + 1;
        return string(p, end + 1);
    };
    string from, to;
    TW_HOOK(hook, SHFileOperationA, [&](LPSHFILEOPSTRUCTA a) {
        from = list(a->pFrom);
        to = a->pTo ? list(a->pTo) : "none";
        a->fAnyOperationsAborted = TRUE;
        return 0;
    });
    const wstring names = text + L'\0' + L"b.txt" + L'\0' + L'\0';
    const string namesA = ToAnsi(text) + '\0' + "b.txt" + '\0' + '\0';
    op.pFrom = op.pTo = names.c_str();
    EXPECT_EQ(SHFileOperationW(&op), 0);
    EXPECT_EQ(from, namesA);
    EXPECT_EQ(to, namesA);
    EXPECT_TRUE(op.fAnyOperationsAborted);
    GuardPage guard;
    const wstring unended = text + L'\0';
    op.pFrom = guard.Copy(unended.c_str(), unended.size());
    op.pTo = nullptr;
    EXPECT_EQ(SHFileOperationW(&op), 0);
    EXPECT_EQ(from, ToAnsi(text) + '\0' + '\0');
    EXPECT_EQ(to, "none");
}

// The A function sees the record converted at the size the caller's record has: a
// record of the balloon's time or later goes as the balloon's record, since the
// shells of Windows 95, 98 and Me know no later one. A tip of more bytes than the
// ANSI field holds is cut after a whole character.
TEST_F(ShellTest, NotificationIconSizes)
{
    if (!ansi)
        GTEST_SKIP() << "the W path hands the record through";
    wstring tip;  // 127 characters: more bytes than the ANSI field holds under 932
    while (tip.size() < 127)
        tip += L"tw " + text;
    tip.resize(127);
    // What an ANSI field of `bytes` gets of a wide field of `chars`: whole characters.
    auto cut = [&](size_t chars, size_t bytes) {
        wstring t = tip.substr(0, chars);
        while (ToAnsi(t).size() >= bytes)
            t.pop_back();
        return ToAnsi(t);
    };
    NOTIFYICONDATAW data = {};
    data.cbSize = sizeof data;
    data.hWnd = HWND(0x1234);
    data.uID = 7;
    data.uFlags = NIF_TIP | NIF_ICON | NIF_MESSAGE;
    data.uCallbackMessage = WM_APP + 1;
    wcscpy(data.szTip, tip.c_str());
    wcscpy(data.szInfo, L"info");
    Shell_NotifyIconW(NIM_DELETE, &data); // binds the A function before it is hooked
    NOTIFYICONDATAA seen = {};
    TW_HOOK(hook, Shell_NotifyIconA, [&](DWORD, PNOTIFYICONDATAA a) {
        memcpy(&seen, a, std::min<DWORD>(a->cbSize, sizeof seen));
        return TRUE;
    });
    const struct {
        DWORD message, size, sizeA;
    } cases[] = { { NIM_ADD, sizeof data, NOTIFYICONDATAA_V2_SIZE },
        { NIM_MODIFY, NOTIFYICONDATAW_V1_SIZE, NOTIFYICONDATAA_V1_SIZE },
        { NIM_DELETE, NOTIFYICONDATAW_V2_SIZE, NOTIFYICONDATAA_V2_SIZE } };
    for (const auto& c : cases) {
        seen = {};
        data.cbSize = c.size;
        const int allocations = HeapAllocCalls();
        EXPECT_TRUE(Shell_NotifyIconW(c.message, &data));
        EXPECT_EQ(HeapAllocCalls(), allocations) << "the record lives on the stack";
        EXPECT_EQ(seen.cbSize, c.sizeA) << c.message;
        EXPECT_EQ(seen.hWnd, data.hWnd);
        EXPECT_EQ(seen.uID, 7u);
        EXPECT_EQ(seen.uFlags, data.uFlags);
        EXPECT_EQ(seen.uCallbackMessage, UINT(WM_APP + 1));
        const size_t field = c.sizeA == NOTIFYICONDATAA_V2_SIZE ? 128 : 64;
        EXPECT_EQ(seen.szTip, cut(field, field)) << c.message;
        EXPECT_EQ(string(seen.szInfo), c.sizeA == NOTIFYICONDATAA_V2_SIZE ? "info" : "");
    }
}

TEST_F(ShellTest, AboutBoxTexts)
{
    if (!ansi)
        GTEST_SKIP() << "the W path hands the texts through";
    ShellAboutW(HWND(0x1234), L"", L"", nullptr); // binds the A function: no box for no owner
    string appA, otherA;
    TW_HOOK(hook, ShellAboutA, [&](HWND, LPCSTR a, LPCSTR o, HICON) {
        appA = a;
        otherA = o;
        return TRUE;
    });
    const wstring app = L"tw " + text, other = L"other " + text;
    EXPECT_TRUE(ShellAboutW(nullptr, app.c_str(), other.c_str(), nullptr));
    EXPECT_EQ(appA, ToAnsi(app));
    EXPECT_EQ(otherA, ToAnsi(other));
}

} // namespace
