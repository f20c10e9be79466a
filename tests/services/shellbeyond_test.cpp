// Shell and network functions that wide programs import besides the families
// above: lists of names with their double terminator, file information, icons,
// special folders and the network's last error, compared with the A functions.
#include <string>

#include "harness/harness.h"

#include <shlobj.h>
#include <winnetwk.h>

using namespace harness;
using std::wstring;

namespace {

class ShellBeyondTest : public TorwenTest {
protected:
    void SetUp() override
    {
        TorwenTest::SetUp();
        char temp[MAX_PATH];
        GetTempPathA(MAX_PATH, temp);
        dir = FromAnsi(temp) + L"twsb " + NonAsciiText();
        if (!CreateDirectoryA(ToAnsi(dir).c_str(), nullptr) && GetLastError() != ERROR_ALREADY_EXISTS) {
            dir = FromAnsi(temp) + L"twsb";  // the host lacks a Unix locale for this code page
            CreateDirectoryA(ToAnsi(dir).c_str(), nullptr);
        }
        for (const wstring& name : {first(), second()}) {
            HANDLE h = CreateFileA(ToAnsi(name).c_str(), GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS, 0, nullptr);
            CloseHandle(h);
        }
    }
    void TearDown() override
    {
        for (const wstring& name : {first(), second(), copied(first()), copied(second())})
            DeleteFileA(ToAnsi(name).c_str());
        RemoveDirectoryA(ToAnsi(dir + L"\\to").c_str());
        RemoveDirectoryA(ToAnsi(dir).c_str());
        TorwenTest::TearDown();
    }
    wstring first() const { return dir + L"\\" + NonAsciiText() + L"1.txt"; }
    wstring second() const { return dir + L"\\b.txt"; }
    wstring copied(const wstring& name) const { return dir + L"\\to" + name.substr(name.rfind(L'\\')); }

    wstring dir;
};

TEST_F(ShellBeyondTest, FileOperationsTakeListsOfNames)
{
    const wstring from = first() + L'\0' + second() + L'\0' + L'\0', to = dir + L"\\to" + L'\0' + L'\0';
    SHFILEOPSTRUCTW op = {};
    op.wFunc = FO_COPY;
    op.pFrom = from.c_str();
    op.pTo = to.c_str();
    op.fFlags = FOF_SILENT | FOF_NOCONFIRMATION | FOF_NOERRORUI | FOF_NOCONFIRMMKDIR;
    ASSERT_EQ(SHFileOperationW(&op), 0);
    EXPECT_FALSE(op.fAnyOperationsAborted);
    for (const wstring& name : {first(), second()})
        EXPECT_NE(GetFileAttributesA(ToAnsi(copied(name)).c_str()), INVALID_FILE_ATTRIBUTES);

    const wstring gone = copied(first()) + L'\0' + copied(second()) + L'\0' + L'\0';
    op.wFunc = FO_DELETE;
    op.pFrom = gone.c_str();
    op.pTo = nullptr;
    EXPECT_EQ(SHFileOperationW(&op), 0);
    EXPECT_EQ(GetFileAttributesA(ToAnsi(copied(first())).c_str()), INVALID_FILE_ATTRIBUTES);

    if (!AnsiPath())
        return;  // the system's W function reads on past the list
    // A list whose last name ends at unreadable memory without its final NUL
    // ends there: the A function gets it with both NULs.
    std::string seen;
    TW_HOOK(hook, SHFileOperationA, [&](LPSHFILEOPSTRUCTA a) {
        const char* p = a->pFrom;
        while (*p)
            p += strlen(p) + 1;
        seen.assign(a->pFrom, p);
        return 0;
    });
    GuardPage guard;
    const wstring unended = second() + L'\0';
    op.pFrom = guard.Copy(unended.c_str(), unended.size());
    EXPECT_EQ(SHFileOperationW(&op), 0);
    EXPECT_EQ(seen, ToAnsi(second()) + '\0');
    int runs = SweepAllocationFailures([&](int k) {
        SetLastError(1234);
        const int r = SHFileOperationW(&op);
        EXPECT_TRUE(HeapAllocCalls() < k || (r == ERROR_OUTOFMEMORY && GetLastError() == 0)) << k;
    });
    EXPECT_EQ(runs, 1);
}

TEST_F(ShellBeyondTest, InformationIconsAndFolders)
{
    SHFILEINFOW info = {};
    SHFILEINFOA infoA = {};
    ASSERT_NE(SHGetFileInfoW(first().c_str(), 0, &info, sizeof info, SHGFI_DISPLAYNAME | SHGFI_TYPENAME), 0u);
    ASSERT_NE(SHGetFileInfoA(ToAnsi(first()).c_str(), 0, &infoA, sizeof infoA, SHGFI_DISPLAYNAME | SHGFI_TYPENAME), 0u);
    EXPECT_EQ(wstring(info.szDisplayName), FromAnsi(infoA.szDisplayName));
    EXPECT_EQ(wstring(info.szTypeName), FromAnsi(infoA.szTypeName));

    for (int folder : {CSIDL_APPDATA, CSIDL_PERSONAL, CSIDL_WINDOWS}) {
        WCHAR path[MAX_PATH];
        char pathA[MAX_PATH];
        ASSERT_TRUE(SHGetSpecialFolderPathW(nullptr, path, folder, FALSE)) << folder;
        ASSERT_TRUE(SHGetSpecialFolderPathA(nullptr, pathA, folder, FALSE)) << folder;
        EXPECT_EQ(wstring(path), FromAnsi(pathA)) << folder;
    }

    char system[MAX_PATH];
    GetSystemDirectoryA(system, MAX_PATH);
    const std::string shell = std::string(system) + "\\shell32.dll";
    const UINT count = ExtractIconExA(shell.c_str(), -1, nullptr, nullptr, 0);
    EXPECT_GT(count, 0u);
    EXPECT_EQ(ExtractIconExW(FromAnsi(shell).c_str(), -1, nullptr, nullptr, 0), count);
    HICON large = nullptr;
    EXPECT_EQ(ExtractIconExW(FromAnsi(shell).c_str(), 0, &large, nullptr, 1), 1u);
    EXPECT_NE(large, nullptr);
    DestroyIcon(large);

    // Wine has no network: both answer ERROR_NO_NETWORK there.
    DWORD error = 1234, errorA = 1234;
    WCHAR text[64] = L"", provider[64] = L"";
    char textA[64] = "", providerA[64] = "";
    const DWORD r = WNetGetLastErrorW(&error, text, 64, provider, 64);
    auto lastErrorA = reinterpret_cast<decltype(&WNetGetLastErrorA)>(
        reinterpret_cast<void*>(GetProcAddress(LoadLibraryA("mpr.dll"), "WNetGetLastErrorA")));
    ASSERT_NE(lastErrorA, nullptr);
    EXPECT_EQ(r, lastErrorA(&errorA, textA, 64, providerA, 64));
    EXPECT_EQ(error, errorA);
    EXPECT_EQ(wstring(text), FromAnsi(textA));
    EXPECT_EQ(wstring(provider), FromAnsi(providerA));
}

}  // namespace
