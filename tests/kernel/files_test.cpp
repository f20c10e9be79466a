// Files, directories and volumes through torwen, in a folder whose name holds
// characters of the ANSI code page beyond ASCII.
#include <cstring>
#include <functional>
#include <set>
#include <string>
#include <vector>

#include "harness/harness.h"

using harness::AnsiPath;
using harness::NonAsciiText;
using harness::ToAnsi;
using std::wstring;

namespace {

const SIZE_T MaxCharSize = harness::CodePage() == 932 ? 2 : 1;
const char* const NoLocale = "Wine cannot store names of this code page: the host lacks its Unix locale";

// Removes a folder and what it holds, through the system's A functions.
void RemoveTree(const std::string& path)
{
    WIN32_FIND_DATAA data;
    HANDLE find = FindFirstFileA((path + "\\*").c_str(), &data);
    for (BOOL more = find != INVALID_HANDLE_VALUE; more; more = FindNextFileA(find, &data)) {
        const std::string name = path + "\\" + data.cFileName;
        SetFileAttributesA(name.c_str(), FILE_ATTRIBUTE_NORMAL);
        if (!(data.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY))
            DeleteFileA(name.c_str());
        else if (data.cFileName[0] != '.')
            RemoveTree(name);
    }
    FindClose(find);
    RemoveDirectoryA(path.c_str());
}

class FilesTest : public harness::TorwenTest {
protected:
    void SetUp() override
    {
        harness::TorwenTest::SetUp();
        char temp[MAX_PATH];
        GetTempPathA(MAX_PATH, temp);
        // Made by the system itself. Wine stores such names only when the host has
        // a Unix locale for the code page; the tests that need them skip otherwise.
        for (const wstring& name : {L"tw " + NonAsciiText(), wstring(L"tw")}) {
            dir = harness::FromAnsi(temp) + name;
            RemoveTree(ToAnsi(dir));
            if (CreateDirectoryA(ToAnsi(dir).c_str(), nullptr))
                break;
            nonAsciiNames = false;
        }
    }
    void TearDown() override
    {
        RemoveTree(ToAnsi(dir));
        harness::TorwenTest::TearDown();
    }
    wstring Path(const wstring& name) const { return dir + L"\\" + name; }
    void Create(const wstring& path, const char* content = "")
    {
        HANDLE file = CreateFileW(path.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_NEW, 0, nullptr);
        ASSERT_NE(file, INVALID_HANDLE_VALUE);
        DWORD written;
        WriteFile(file, content, DWORD(std::strlen(content)), &written, nullptr);
        CloseHandle(file);
    }

    wstring dir;
    bool nonAsciiNames = true;
};

TEST_F(FilesTest, NonAsciiFilesAreCreatedListedCopiedMovedAndDeleted)
{
    if (!nonAsciiNames)
        GTEST_SKIP() << NoLocale;
    const wstring a = NonAsciiText() + L"a.txt", c = NonAsciiText() + L"c.txt";
    const wstring pathA = Path(a), pathB = Path(NonAsciiText() + L"b.txt"), pathC = Path(c);
    Create(pathA, "12345");
    EXPECT_EQ(GetFileAttributesW(pathA.c_str()), DWORD(FILE_ATTRIBUTE_ARCHIVE));
    EXPECT_TRUE(SetFileAttributesW(pathA.c_str(), FILE_ATTRIBUTE_READONLY));
    const DWORD readOnly = GetFileAttributesA(ToAnsi(pathA).c_str());
    EXPECT_TRUE(readOnly & FILE_ATTRIBUTE_READONLY);

    EXPECT_TRUE(CopyFileW(pathA.c_str(), pathB.c_str(), TRUE));
    EXPECT_FALSE(CopyFileW(pathA.c_str(), pathB.c_str(), TRUE));
    EXPECT_EQ(GetLastError(), DWORD(ERROR_FILE_EXISTS));
    EXPECT_TRUE(MoveFileExW(pathB.c_str(), pathC.c_str(), 0));
    std::set<wstring> names;
    WIN32_FIND_DATAW data;
    HANDLE find = FindFirstFileW(Path(L"*").c_str(), &data);
    for (BOOL more = find != INVALID_HANDLE_VALUE; more; more = FindNextFileW(find, &data))
        names.insert(data.cFileName);
    FindClose(find);
    EXPECT_EQ(names, (std::set<wstring>{L".", L"..", a, c}));

    WIN32_FILE_ATTRIBUTE_DATA info;
    ASSERT_TRUE(GetFileAttributesExW(pathC.c_str(), GetFileExInfoStandard, &info));
    EXPECT_EQ(info.dwFileAttributes, readOnly);
    EXPECT_EQ(info.nFileSizeLow, 5u);
    EXPECT_TRUE(SetFileAttributesW(pathC.c_str(), FILE_ATTRIBUTE_NORMAL));
    EXPECT_TRUE(DeleteFileW(pathC.c_str()));
    EXPECT_FALSE(DeleteFileW(pathC.c_str()));
    EXPECT_EQ(GetLastError(), DWORD(ERROR_FILE_NOT_FOUND));
    EXPECT_EQ(GetFileAttributesW(pathC.c_str()), INVALID_FILE_ATTRIBUTES);
}

// Offsets and lengths count wide characters, though the A functions count bytes.
TEST_F(FilesTest, PathsOfNonAsciiNamesCountWideCharacters)
{
    if (!nonAsciiNames)
        GTEST_SKIP() << NoLocale;
    const wstring sub = Path(NonAsciiText()), file = sub + L"\\" + NonAsciiText() + L".txt";
    ASSERT_TRUE(CreateDirectoryExW(dir.c_str(), sub.c_str(), nullptr));
    EXPECT_FALSE(CreateDirectoryExW(dir.c_str(), sub.c_str(), nullptr));
    EXPECT_EQ(GetLastError(), DWORD(ERROR_ALREADY_EXISTS));
    Create(file);

    wchar_t buf[MAX_PATH] = {}, saved[MAX_PATH], *part = nullptr;
    GetCurrentDirectoryW(MAX_PATH, saved);
    ASSERT_TRUE(SetCurrentDirectoryW(sub.c_str()));
    EXPECT_EQ(GetCurrentDirectoryW(MAX_PATH, buf), sub.size());
    EXPECT_EQ(buf, sub);
    EXPECT_EQ(GetFullPathNameW(L"x.txt", MAX_PATH, buf, &part), sub.size() + 6);
    EXPECT_EQ(part, buf + sub.size() + 1);
    SetCurrentDirectoryW(saved);

    EXPECT_EQ(SearchPathW(sub.c_str(), NonAsciiText().c_str(), L".txt", MAX_PATH, buf, &part), file.size());
    EXPECT_EQ(buf, file);
    EXPECT_EQ(part, buf + sub.size() + 1);
    // Too small a buffer: the wide size needed, terminator included, and the buffer untouched.
    buf[0] = L'#';
    EXPECT_EQ(SearchPathW(sub.c_str(), NonAsciiText().c_str(), L".txt", 4, buf, &part), file.size() + 1);
    EXPECT_EQ(buf[0], L'#');

    // The ANSI path converts exactly the bytes the A function counted, without
    // their terminator, and answers one less than it wrote.
    std::fill(std::begin(buf), std::end(buf), L'\0');
    const DWORD shortLength = GetShortPathNameW(file.c_str(), buf, MAX_PATH);
    EXPECT_EQ(shortLength, std::wcslen(buf) - (AnsiPath() ? 1 : 0));
    EXPECT_EQ(GetFileAttributesW(buf), DWORD(FILE_ATTRIBUTE_ARCHIVE));

    ASSERT_NE(GetTempFileNameW(sub.c_str(), L"tw", 0, buf), 0u);
    EXPECT_EQ(wstring(buf).substr(0, sub.size() + 3), sub + L"\\tw");
    EXPECT_TRUE(DeleteFileW(buf));
}

TEST_F(FilesTest, OddResultsArePinned)
{
    wchar_t buf[MAX_PATH], *part = nullptr;
    // A directory has no file part: the ANSI path points at the buffer's start.
    EXPECT_EQ(GetFullPathNameW(L"C:\\dir\\", MAX_PATH, buf, &part), 7u);
    EXPECT_EQ(part, AnsiPath() ? buf : nullptr);
    // Without a buffer the A function's byte count reaches the caller.
    const wstring name = Path(L"x");
    part = buf + 1;
    EXPECT_EQ(GetFullPathNameW(name.c_str(), 0, nullptr, &part), (AnsiPath() ? ToAnsi(name).size() : name.size()) + 1);
    if (AnsiPath()) {
        EXPECT_EQ(part, buf + 1);
    }

    WIN32_FILE_ATTRIBUTE_DATA info;
    SetLastError(1234);
    EXPECT_FALSE(GetFileAttributesExW(dir.c_str(), GET_FILEEX_INFO_LEVELS(1), &info));
    EXPECT_FALSE(GetFileAttributesExW(dir.c_str(), GetFileExInfoStandard, nullptr));
    EXPECT_EQ(GetLastError(), 1234u);
    // The attributes come from a search: a wildcard answers for its first match,
    // a root directory is not found.
    EXPECT_TRUE(GetFileAttributesExW((dir + L"*").c_str(), GetFileExInfoStandard, &info));
    EXPECT_FALSE(GetFileAttributesExW(L"C:\\", GetFileExInfoStandard, &info));
}

// The whole fixed name field is converted, what follows the terminator included;
// FindNextFileA gets the caller's record, which comes back only with exactly TRUE.
TEST_F(FilesTest, FindRecordsConvertTheWholeNameFields)
{
    if (!AnsiPath())
        GTEST_SKIP() << "the W path hands the records through";
    const HANDLE fake = reinterpret_cast<HANDLE>(0x1234);
    const std::string name = ToAnsi(NonAsciiText());
    BOOL answer = 2;
    std::string seen;
    TW_HOOK(first, FindFirstFileA, [&](LPCSTR, LPWIN32_FIND_DATAA a) {
        std::memset(a, 0, sizeof *a);
        a->dwReserved1 = 7;
        std::strcpy(std::strcpy(a->cFileName, name.c_str()) + name.size() + 1, "tail");
        return fake;
    });
    TW_HOOK(next, FindNextFileA, [&](HANDLE, LPWIN32_FIND_DATAA a) {
        seen = a->cFileName + std::to_string(a->dwReserved1);
        std::strcpy(a->cFileName, "next");
        return answer;
    });
    WIN32_FIND_DATAW w;
    ASSERT_EQ(FindFirstFileW(L"x", &w), fake);
    EXPECT_EQ(w.dwReserved1, 7u);
    EXPECT_EQ(w.cFileName + NonAsciiText().size() + 1, wstring(L"tail"));
    EXPECT_EQ(FindNextFileW(fake, &w), 2);
    EXPECT_EQ(seen, name + "7");
    EXPECT_EQ(w.cFileName, NonAsciiText());
    answer = TRUE;
    EXPECT_TRUE(FindNextFileW(fake, &w));
    EXPECT_EQ(w.cFileName, wstring(L"next"));
}

TEST_F(FilesTest, AFunctionsGetTheCallersCountOrTheBuffersHeapSize)
{
    if (!AnsiPath())
        GTEST_SKIP() << "the W path hands the sizes through";
    const SIZE_T m = MaxCharSize;
    wchar_t buf[MAX_PATH], *part;
    std::vector<SIZE_T> seen;
    TW_HOOK(sys, GetSystemDirectoryA, [&](LPSTR b, UINT n) { seen.push_back(n); return sys.real(b, n); });
    TW_HOOK(cur, GetCurrentDirectoryA, [&](DWORD n, LPSTR b) { seen.push_back(n); return cur.real(n, b); });
    TW_HOOK(sh, GetShortPathNameA, [&](LPCSTR s, LPSTR b, DWORD n) { seen.push_back(n); return sh.real(s, b, n); });
    TW_HOOK(full, GetFullPathNameA, [&](LPCSTR s, DWORD n, LPSTR b, LPSTR* p) {
        seen.push_back(n);
        return full.real(s, n, b, p);
    });
    TW_HOOK(search, SearchPathA, [&](LPCSTR p, LPCSTR f, LPCSTR e, DWORD n, LPSTR b, LPSTR* fp) {
        seen.push_back(n);
        return search.real(p, f, e, n, b, fp);
    });
    TW_HOOK(vol, GetVolumeInformationA, [&](LPCSTR r, LPSTR v, DWORD vn, LPDWORD s, LPDWORD l, LPDWORD f, LPSTR fs, DWORD fsn) {
        seen.insert(seen.end(), {vn, fsn, SIZE_T(!v), SIZE_T(!fs)});
        return vol.real(r, v, vn, s, l, f, fs, fsn);
    });
    GetSystemDirectoryW(buf, 50);
    GetCurrentDirectoryW(50, buf);
    GetShortPathNameW(dir.c_str(), buf, 50);
    GetFullPathNameW(L"x", 50, buf, &part);
    SearchPathW(nullptr, L"x", nullptr, 5, buf, &part);
    GetVolumeInformationW(L"C:\\", buf, 20, nullptr, nullptr, nullptr, buf + 20, 30);
    GetVolumeInformationW(L"C:\\", nullptr, 20, nullptr, nullptr, nullptr, nullptr, 30);
    EXPECT_EQ(seen, (std::vector<SIZE_T>{50, 50, 50 * m, 50 * m, MAX_PATH, 20 * m, 30 * m, 0, 0, 0, 0, 1, 1}));

    harness::HeapLog log;
    GetTempFileNameW(dir.c_str(), L"tw", 1, buf);
    EXPECT_EQ(log.allocationSizes().back(), MAX_PATH * m);
}

// The name buffers are converted like input text first, and each temporary is
// freed before the out buffer that replaces it is allocated.
TEST_F(FilesTest, VolumeNameBuffersAreReadBeforeTheyAreReplaced)
{
    wchar_t vol[20] = L"abc", fs[30] = L"";
    char fsA[30];
    harness::HeapLog log;
    ASSERT_TRUE(GetVolumeInformationW(L"C:\\", vol, 20, nullptr, nullptr, nullptr, fs, 30));
    GetVolumeInformationA("C:\\", nullptr, 0, nullptr, nullptr, nullptr, fsA, sizeof fsA);
    EXPECT_EQ(fs, harness::FromAnsi(fsA));
    if (!AnsiPath())
        return;
    EXPECT_EQ(log.allocationSizes(), (std::vector<SIZE_T>{4, 4, 1, 20 * MaxCharSize, 30 * MaxCharSize}));
    std::string order;
    for (const auto& event : log.events())
        order += event.kind == harness::HeapEvent::Alloc ? 'A' : 'F';
    EXPECT_EQ(order, "AAAFAFAFFF");
}

TEST_F(FilesTest, EachAllocationFailureAnswersTheFailureValue)
{
    const wstring file = Path(L"f.txt"), missing = Path(L"missing");
    Create(file);
    const wchar_t* f = file.c_str();
    wchar_t buf[MAX_PATH], vol[20] = L"", fs[20] = L"", *part;
    WIN32_FIND_DATAW data;
    WIN32_FILE_ATTRIBUTE_DATA info;
    DWORD n[4];
    auto handle = [](HANDLE h, BOOL(WINAPI * close)(HANDLE)) {
        if (h && h != INVALID_HANDLE_VALUE)
            close(h);
        return DWORD(UINT_PTR(h));
    };
    struct Case {
        const char* name;
        int allocations;
        DWORD failure, error;
        std::function<DWORD()> call;
    };
    const DWORD minus1 = DWORD(-1);
    const Case cases[] = {
        {"CreateFileW", 1, 0, 0, [&] { return handle(CreateFileW(f, 0, 0, nullptr, OPEN_EXISTING, 0, nullptr), CloseHandle); }},
        {"FindFirstFileW", 1, minus1, 0, [&] { return handle(FindFirstFileW(f, &data), FindClose); }},
        {"GetFileAttributesExW", 1, 0, 0, [&] { return DWORD(GetFileAttributesExW(f, GetFileExInfoStandard, &info)); }},
        {"GetFileAttributesW", 1, minus1, 0, [&] { return GetFileAttributesW(f); }},
        {"SetFileAttributesW", 1, 0, 0, [&] { return DWORD(SetFileAttributesW(f, 0)); }},
        {"DeleteFileW", 1, 0, 0, [&] { return DWORD(DeleteFileW(missing.c_str())); }},
        {"CopyFileW", 2, 0, 0, [&] { return DWORD(CopyFileW(missing.c_str(), f, TRUE)); }},
        {"MoveFileExW", 2, 0, 0, [&] { return DWORD(MoveFileExW(missing.c_str(), f, 0)); }},
        {"CreateDirectoryExW", 2, 0, 0, [&] { return DWORD(CreateDirectoryExW(missing.c_str(), f, nullptr)); }},
        {"GetFileSecurityW", 1, 0, 0, [&] { return DWORD(GetFileSecurityW(f, OWNER_SECURITY_INFORMATION, nullptr, 0, n)); }},
        {"SetCurrentDirectoryW", 1, 0, 0, [&] { return DWORD(SetCurrentDirectoryW(L".")); }},
        {"GetSystemDirectoryW", 1, 0, 0, [&] { return GetSystemDirectoryW(buf, MAX_PATH); }},
        {"GetWindowsDirectoryW", 1, 0, 0, [&] { return GetWindowsDirectoryW(buf, MAX_PATH); }},
        {"GetTempPathW", 1, 0, 0, [&] { return GetTempPathW(MAX_PATH, buf); }},
        {"GetCurrentDirectoryW", 1, 0, 0, [&] { return GetCurrentDirectoryW(MAX_PATH, buf); }},
        {"GetShortPathNameW", 2, 0, 0, [&] { return GetShortPathNameW(f, buf, MAX_PATH); }},
        {"GetFullPathNameW", 2, 0, 0, [&] { return GetFullPathNameW(f, MAX_PATH, buf, &part); }},
        {"SearchPathW", 5, 0, 0, [&] { return SearchPathW(dir.c_str(), L"f", L".txt", MAX_PATH, buf, &part); }},
        {"GetTempFileNameW", 3, 0, 0, [&] { return GetTempFileNameW(dir.c_str(), L"tw", 1, buf); }},
        {"GetDriveTypeW", 1, 0, ERROR_OUTOFMEMORY, [&] { return GetDriveTypeW(L"C:\\"); }},
        {"GetDiskFreeSpaceW", 1, 0, 0, [&] { return DWORD(GetDiskFreeSpaceW(L"C:\\", n, n + 1, n + 2, n + 3)); }},
        {"GetVolumeInformationW", 5, 0, 0, [&] { return DWORD(GetVolumeInformationW(L"C:\\", vol, 20, 0, 0, 0, fs, 20)); }},
    };
    for (const Case& c : cases) {
        int runs = harness::SweepAllocationFailures([&](int k) {
            SetLastError(1234);
            DWORD r = c.call();
            if (harness::HeapAllocCalls() < k)
                return;  // fewer allocations than k: the call ran through
            EXPECT_EQ(r, c.failure) << c.name << ", allocation " << k;
            EXPECT_EQ(GetLastError(), c.error) << c.name << ", allocation " << k;
        });
        EXPECT_EQ(runs, AnsiPath() ? c.allocations : 0) << c.name;
    }
}

// The caller sees the A function's error, not what the clean-up leaves, except
// where no saved error is kept.
TEST_F(FilesTest, TheAFunctionsErrorOutlivesTheCleanUp)
{
    if (!AnsiPath())
        GTEST_SKIP() << "the W path frees nothing";
    TW_HOOK(heapFree, HeapFree, [&](HANDLE heap, DWORD flags, LPVOID p) {
        BOOL r = heapFree.real(heap, flags, p);
        SetLastError(777);
        return r;
    });
    wchar_t buf[MAX_PATH], *part;
    EXPECT_FALSE(DeleteFileW(Path(L"missing").c_str()));
    EXPECT_EQ(GetLastError(), DWORD(ERROR_FILE_NOT_FOUND));
    EXPECT_EQ(GetDriveTypeW(L"C:\\"), UINT(DRIVE_FIXED));
    EXPECT_EQ(GetLastError(), 777u);

    Create(Path(L"f.txt"));
    harness::HeapLog log;
    EXPECT_EQ(SearchPathW(dir.c_str(), L"missing", nullptr, MAX_PATH, buf, &part), 0u);
    EXPECT_EQ(GetLastError(), 777u);
    EXPECT_EQ(SearchPathW(dir.c_str(), L"f.txt", nullptr, 3, buf, &part), Path(L"f.txt").size() + 1);
    EXPECT_EQ(GetLastError(), 777u);
    EXPECT_TRUE(log.freedInReverseOrder());
}

TEST_F(FilesTest, BadNamesAnswerAsTheAFunctionDoesWithTheConvertedText)
{
    // Too long, an unpaired surrogate, a character of neither code page.
    for (const wstring& name : {wstring(300, L'a'), wstring(L"x\xD800y"), wstring(L"\x0E01")}) {
        const wstring path = Path(name);
        // What the code page cannot hold turns into '?', a wildcard for the A function.
        WIN32_FIND_DATAW data;
        WIN32_FIND_DATAA dataA;
        HANDLE find = FindFirstFileW(path.c_str(), &data), findA = FindFirstFileA(ToAnsi(path).c_str(), &dataA);
        EXPECT_EQ(find != INVALID_HANDLE_VALUE, AnsiPath() && findA != INVALID_HANDLE_VALUE);
        FindClose(find);
        FindClose(findA);
        EXPECT_EQ(CreateFileW(path.c_str(), 0, 0, nullptr, OPEN_EXISTING, 0, nullptr), INVALID_HANDLE_VALUE);
        SetLastError(0);
        EXPECT_EQ(GetFileAttributesW(path.c_str()), INVALID_FILE_ATTRIBUTES);
        const DWORD error = GetLastError();
        if (AnsiPath()) {
            GetFileAttributesA(ToAnsi(path).c_str());
            EXPECT_EQ(error, GetLastError());
        }
    }
    // The A functions take a null root as the current drive's.
    DWORD n[4];
    EXPECT_EQ(GetDriveTypeW(nullptr), GetDriveTypeA(nullptr));
    EXPECT_TRUE(GetDiskFreeSpaceW(nullptr, n, n + 1, n + 2, n + 3));
    EXPECT_TRUE(GetVolumeInformationW(nullptr, nullptr, 0, nullptr, nullptr, nullptr, nullptr, 0));
    EXPECT_EQ(GetFileAttributesW(nullptr), INVALID_FILE_ATTRIBUTES);
    // A count whose byte size wraps around is refused before the A function writes.
    wchar_t buf[MAX_PATH];
    if (AnsiPath()) {
        EXPECT_EQ(GetCurrentDirectoryW(0x80000000, buf), 0u);
    }
}

}  // namespace
