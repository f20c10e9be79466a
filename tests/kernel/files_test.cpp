// Files, directories and volumes through torwen, in a folder whose name holds
// characters of the ANSI code page beyond ASCII.
#include <cstring>
#include <functional>
#include <set>
#include <string>
#include <vector>

#include "harness/harness.h"

using namespace harness;
using std::wstring;

namespace {

void RemoveFolder(const std::string& path)
{
    WIN32_FIND_DATAA data;
    HANDLE find = FindFirstFileA((path + "\\*").c_str(), &data);
    for (BOOL more = find != INVALID_HANDLE_VALUE; more; more = FindNextFileA(find, &data))
        DeleteFileA((path + "\\" + data.cFileName).c_str());
    FindClose(find);
    RemoveDirectoryA(path.c_str());
}

class FilesTest : public TorwenTest {
protected:
    void SetUp() override
    {
        TorwenTest::SetUp();
        char temp[MAX_PATH];
        GetTempPathA(MAX_PATH, temp);
        // Wine cannot make a name that its Unix locale cannot hold.
        for (const wstring& name : {L"tw " + NonAsciiText(), wstring(L"tw")}) {
            RemoveFolder(ToAnsi(dir = FromAnsi(temp) + name));
            if (CreateDirectoryA(ToAnsi(dir).c_str(), nullptr))
                break;
            nonAsciiNames = false;
        }
    }
    void TearDown() override
    {
        RemoveFolder(ToAnsi(dir));
        TorwenTest::TearDown();
    }

    wstring dir;
    bool nonAsciiNames = true;
};

// Lengths and file parts count wide characters, though the A functions count bytes.
TEST_F(FilesTest, NonAsciiNamesRoundTrip)
{
    if (!nonAsciiNames)
        GTEST_SKIP() << "the host lacks a Unix locale for this code page";
    const wstring name = NonAsciiText() + L"b.txt", a = dir + L"\\" + NonAsciiText(), b = dir + L"\\" + name;
    HANDLE h = CreateFileW(a.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_NEW, 0, nullptr);
    DWORD written;
    ASSERT_TRUE(WriteFile(h, "12345", 5, &written, nullptr) && CloseHandle(h));
    ASSERT_TRUE(CopyFileW(a.c_str(), (a + L"~").c_str(), TRUE) && MoveFileExW((a + L"~").c_str(), b.c_str(), 0));
    ASSERT_TRUE(DeleteFileW(a.c_str()) && SetFileAttributesW(b.c_str(), FILE_ATTRIBUTE_HIDDEN));
    WIN32_FILE_ATTRIBUTE_DATA info;
    ASSERT_TRUE(GetFileAttributesExW(b.c_str(), GetFileExInfoStandard, &info));
    EXPECT_EQ(info.dwFileAttributes, GetFileAttributesA(ToAnsi(b).c_str()));
    EXPECT_TRUE(info.dwFileAttributes & FILE_ATTRIBUTE_HIDDEN);
    EXPECT_EQ(info.nFileSizeLow, 5u);
    std::set<wstring> names;
    WIN32_FIND_DATAW data;
    HANDLE find = FindFirstFileW((dir + L"\\*").c_str(), &data);
    for (BOOL more = find != INVALID_HANDLE_VALUE; more; more = FindNextFileW(find, &data))
        names.insert(data.cFileName);
    EXPECT_TRUE(FindClose(find));
    EXPECT_EQ(names, (std::set<wstring>{L".", L"..", name}));

    wchar_t buf[MAX_PATH] = {}, *part = nullptr;
    ASSERT_TRUE(SetCurrentDirectoryW(dir.c_str()));
    EXPECT_EQ(wstring(buf, GetCurrentDirectoryW(MAX_PATH, buf)), dir);
    EXPECT_EQ(wstring(buf, GetFullPathNameW(name.c_str(), MAX_PATH, buf, &part)), b);
    EXPECT_EQ(part, buf + dir.size() + 1);
    SetCurrentDirectoryW(L"..");
    EXPECT_EQ(wstring(buf, SearchPathW(dir.c_str(), name.c_str(), nullptr, MAX_PATH, buf, &part)), b);
    EXPECT_EQ(part, buf + dir.size() + 1);
    buf[0] = L'#';  // too small: the size needed, terminator included; the buffer untouched
    EXPECT_EQ(SearchPathW(dir.c_str(), name.c_str(), nullptr, DWORD(b.size()), buf, &part), b.size() + 1);
    EXPECT_EQ(buf[0], L'#');
    std::fill(std::begin(buf), std::end(buf), L'\0');
    const DWORD shortLength = GetShortPathNameW(b.c_str(), buf, MAX_PATH);
    EXPECT_EQ(shortLength, std::wcslen(buf) - (AnsiPath() ? 1 : 0)) << "the ANSI path answers one less";
    EXPECT_EQ(GetFileAttributesW(buf), info.dwFileAttributes);
}

TEST_F(FilesTest, OddResultsArePinned)
{
    wchar_t buf[MAX_PATH], *part = nullptr;
    // A directory has no file part: the ANSI path points at the buffer's start.
    EXPECT_EQ(GetFullPathNameW(L"C:\\dir\\", MAX_PATH, buf, &part), 7u);
    EXPECT_EQ(part, AnsiPath() ? buf : nullptr);
    // Without a buffer the A function's byte count reaches the caller, the file part untouched.
    EXPECT_EQ(GetFullPathNameW(dir.c_str(), 0, nullptr, &part), (AnsiPath() ? ToAnsi(dir).size() : dir.size()) + 1);
    EXPECT_EQ(part, AnsiPath() ? buf : nullptr);
    // Found by a search: a wildcard answers for its first match, a root is not found.
    WIN32_FILE_ATTRIBUTE_DATA info;
    EXPECT_TRUE(GetFileAttributesExW((dir + L"*").c_str(), GetFileExInfoStandard, &info));
    EXPECT_FALSE(GetFileAttributesExW(L"C:\\", GetFileExInfoStandard, &info));
    SetLastError(1234);
    EXPECT_FALSE(GetFileAttributesExW(dir.c_str(), GET_FILEEX_INFO_LEVELS(1), &info));
    EXPECT_FALSE(GetFileAttributesExW(dir.c_str(), GetFileExInfoStandard, nullptr));
    EXPECT_EQ(GetLastError(), 1234u);
    if (AnsiPath()) {  // a count whose byte size wraps around is refused before the A call
        EXPECT_EQ(GetCurrentDirectoryW(0x80000000, buf), 0u);
    }
}

// The A function's answer may place the file part beyond the caller's count, or
// leave it unset: the pointer handed back stays inside the caller's buffer or is
// not set. The search GetFileAttributesExW makes is ended as a search.
TEST_F(FilesTest, FilePartsStayInTheBufferAndSearchesAreClosed)
{
    GuardPage guard;
    const char* path = "C:\\directory\\f.txt";
    TW_HOOK(full, GetFullPathNameA, [&](LPCSTR, DWORD n, LPSTR b, LPSTR* part) -> DWORD {
        DWORD length = lstrlenA(path);
        if (n <= length)
            return length + 1;
        *part = lstrcpyA(b, path) + 13;
        return length;
    });
    TW_HOOK(search, SearchPathA, [](LPCSTR, LPCSTR, LPCSTR, DWORD, LPSTR b, LPSTR* filePart) {
        *filePart = nullptr;
        return DWORD(lstrlenA(lstrcpyA(b, "C:\\dir\\")));
    });
    auto inside = [](LPCWSTR part, LPCWSTR buf, int n) { return !part || (part >= buf && part < buf + n); };
    WCHAR* buf = guard.End<WCHAR>(10, L'#');
    LPWSTR part = nullptr;
    GetFullPathNameW(L"C:\\directory\\f.txt", 10, buf, &part);
    EXPECT_TRUE(inside(part, buf, 10)) << part - buf;
    buf = guard.End<WCHAR>(8, L'#');
    part = nullptr;
    SearchPathW(L"C:\\", L"tw-none", nullptr, 8, buf, &part);
    EXPECT_TRUE(inside(part, buf, 8)) << part - buf;
    TW_HOOK(close, FindClose, [&](HANDLE h) { return close.real(h); });
    WIN32_FILE_ATTRIBUTE_DATA info;
    EXPECT_TRUE(GetFileAttributesExW(dir.c_str(), GetFileExInfoStandard, &info));
    EXPECT_EQ(close.calls, 1);
}

// The A functions get the caller's count, the heap size of a buffer of that many characters,
// or 0 for no buffer. The volume's name buffers are read as input text, then replaced.
TEST_F(FilesTest, WhatTheAFunctionsAreTold)
{
    if (!AnsiPath())
        GTEST_SKIP() << "the W path hands the sizes through";
    std::vector<SIZE_T> seen;
    TW_HOOK(cur, GetCurrentDirectoryA, [&](DWORD n, LPSTR b) { seen.push_back(n); return cur.real(n, b); });
    TW_HOOK(sh, GetShortPathNameA, [&](LPCSTR s, LPSTR b, DWORD n) { seen.push_back(n); return sh.real(s, b, n); });
    TW_HOOK(vol, GetVolumeInformationA, [&](LPCSTR r, LPSTR v, DWORD vn, LPDWORD s, LPDWORD l, LPDWORD f, LPSTR fs, DWORD fsn) {
        seen.insert(seen.end(), {vn, fsn});
        return vol.real(r, v, vn, s, l, f, fs, fsn);
    });
    wchar_t buf[50], volName[20] = L"abc", fsName[30] = L"";
    char fsA[30];
    GetCurrentDirectoryW(50, buf);
    GetShortPathNameW(dir.c_str(), buf, 50);
    GetVolumeInformationW(L"C:\\", nullptr, 20, nullptr, nullptr, nullptr, nullptr, 30);
    HeapLog log;
    GetVolumeInformationW(L"C:\\", volName, 20, nullptr, nullptr, nullptr, fsName, 30);
    const SIZE_T m = CodePage() == 932 ? 2 : 1;
    EXPECT_EQ(seen, (std::vector<SIZE_T>{50, 50 * m, 0, 0, 20 * m, 30 * m}));
    EXPECT_EQ(log.allocationSizes(), (std::vector<SIZE_T>{4, 4, 1, 20 * m, 30 * m}));
    GetVolumeInformationA("C:\\", nullptr, 0, nullptr, nullptr, nullptr, fsA, sizeof fsA);
    EXPECT_EQ(fsName, FromAnsi(fsA));
}

}  // namespace
