// The shell: programs started and found, dropped files, icons, paths of item
// lists and the folder browser.
#include <shlobj.h>

#include <cstring>
#include <functional>
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

// Starts cmd.exe and hands back its process; the same record also reaches
// ShellExecuteExA, converted, on the NT family.
TEST_F(ShellTest, ShellExecuteExStartsAProgram)
{
    SHELLEXECUTEINFOW info = {};
    info.cbSize = sizeof info;
    info.fMask = SEE_MASK_NOCLOSEPROCESS | SEE_MASK_FLAG_NO_UI;
    info.lpFile = L"cmd.exe";
    info.lpParameters = L"/c exit 7";
    info.nShow = SW_HIDE;
    ASSERT_TRUE(ShellExecuteExW(&info));
    EXPECT_EQ(info.cbSize, 60u);
    ASSERT_NE(info.hProcess, nullptr);
    EXPECT_EQ(WaitForSingleObject(info.hProcess, 20000), WAIT_OBJECT_0);
    DWORD code = 0;
    GetExitCodeProcess(info.hProcess, &code);
    EXPECT_EQ(code, 7u);
    CloseHandle(info.hProcess);

    // What the A function sees, and what comes back. A class name that the mask
    // does not announce is not read: here it points at memory that cannot be.
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

    EXPECT_GT(SweepAllocationFailures([&](int k) {
        BOOL r = ShellExecuteExW(&info);
        EXPECT_TRUE(HeapAllocCalls() < k || !r) << k;
    }),
        0)
        << "converted on every platform";
}

// A drop handle as the ANSI platforms make it: ANSI names after a DROPFILES.
HDROP MakeDrop(const string& names)
{
    HGLOBAL h = GlobalAlloc(GMEM_MOVEABLE | GMEM_ZEROINIT, sizeof(DROPFILES) + names.size() + 2);
    auto* drop = static_cast<DROPFILES*>(GlobalLock(h));
    drop->pFiles = sizeof(DROPFILES);
    memcpy(drop + 1, names.data(), names.size());
    GlobalUnlock(h);
    return static_cast<HDROP>(h);
}

TEST_F(ShellTest, DroppedFiles)
{
    const wstring first = L"C:\\" + text + L".txt";
    HDROP drop = MakeDrop(ToAnsi(first) + '\0' + "C:\\b.txt" + '\0');
    EXPECT_EQ(2u, DragQueryFileW(drop, 0xFFFFFFFF, nullptr, 0));
    EXPECT_EQ(DragQueryFileW(drop, 0, nullptr, 0), ansi ? ToAnsi(first).size() : first.size())
        << "a length query counts ANSI bytes on the ANSI path";
    wchar_t name[MAX_PATH];
    EXPECT_EQ(first.size(), DragQueryFileW(drop, 0, name, MAX_PATH));
    EXPECT_EQ(name, first);
    EXPECT_EQ(8u, DragQueryFileW(drop, 1, name, MAX_PATH));
    EXPECT_EQ(wstring(name), L"C:\\b.txt");
    EXPECT_EQ(0u, DragQueryFileW(drop, 2, name, MAX_PATH));
    EXPECT_EQ(ansi, 0 < SweepAllocationFailures([&](int k) {
        UINT r = DragQueryFileW(drop, 0, name, MAX_PATH);
        EXPECT_TRUE(HeapAllocCalls() < k || r == 0) << k;
    }));
    GlobalFree(drop);
}

// The program for a document, and the icons of a file.
TEST_F(ShellTest, ProgramsAndIcons)
{
    char temp[MAX_PATH];
    GetTempPathA(MAX_PATH, temp);
    const string document = string(temp) + "tw " + ToAnsi(text) + ".txt";
    CloseHandle(
        CreateFileA(document.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS, 0, nullptr));
    char programA[MAX_PATH] = {};
    const bool found = INT_PTR(FindExecutableA(document.c_str(), nullptr, programA)) > 32;
    wchar_t program[MAX_PATH] = {};
    EXPECT_EQ(found, INT_PTR(FindExecutableW(FromAnsi(document).c_str(), nullptr, program)) > 32);
    EXPECT_EQ(Lower(program), Lower(FromAnsi(programA)));
    EXPECT_LE(INT_PTR(FindExecutableW(L"C:\\absent.txt", nullptr, program)), 32);
    DeleteFileA(document.c_str());

    HICON icon = ExtractIconW(GetModuleHandleW(nullptr), L"shell32.dll", 0);
    EXPECT_NE(icon, nullptr);
    DestroyIcon(icon);
    EXPECT_GT(UINT_PTR(ExtractIconW(GetModuleHandleW(nullptr), L"shell32.dll", UINT(-1))), 1u)
        << "the count";
    EXPECT_EQ(ExtractIconW(GetModuleHandleW(nullptr), L"C:\\absent.dll", 0), nullptr);

    const std::function<UINT_PTR()> calls[] = {
        [&] { return UINT_PTR(FindExecutableW(FromAnsi(document).c_str(), nullptr, program)); },
        [&] { return UINT_PTR(ExtractIconW(GetModuleHandleW(nullptr), L"shell32.dll", UINT(-1))); },
        [&] {
            return UINT_PTR(
                ShellExecuteW(nullptr, L"open", L"C:\\absent.exe", nullptr, nullptr, SW_HIDE));
        },
    };
    for (const auto& call : calls) {
        EXPECT_EQ(ansi, 0 < SweepAllocationFailures([&](int k) {
            UINT_PTR r = call();
            EXPECT_TRUE(HeapAllocCalls() < k || r == 0) << k;
        }));
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
    CoTaskMemFree(list);
    ASSERT_EQ(S_OK, SHGetSpecialFolderLocation(nullptr, CSIDL_DRIVES, &list));
    EXPECT_FALSE(SHGetPathFromIDListW(list, path));
    EXPECT_GT(SweepAllocationFailures([&](int k) {
        BOOL r = SHGetPathFromIDListW(list, path);
        EXPECT_TRUE(HeapAllocCalls() < k || !r) << k;
    }),
        0);
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
    ASSERT_TRUE(SHGetPathFromIDListW(list, path));
    EXPECT_EQ(Lower(path), Lower(windows));
    EXPECT_NE(Lower(displayName).find(L"windows"), wstring::npos)
        << "Wine names the folder by its path";
    CoTaskMemFree(list);
}

} // namespace
