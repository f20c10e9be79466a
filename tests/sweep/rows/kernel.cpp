#include "sweep/sweep.h"

#include <algorithm>

#include <tlhelp32.h>
#include <torwen.h>

namespace sweep {

namespace {

std::string A(const std::wstring& s)
{
    return harness::ToAnsi(s);
}

// A copy that ends at a no-access page, like every string the fuzzer draws.
LPWSTR Copy(Fuzz& f, const std::wstring& s)
{
    WCHAR* p = f.Out<WCHAR>(int(s.size() + 1));
    memcpy(p, s.c_str(), (s.size() + 1) * sizeof(WCHAR));
    return p;
}

const std::wstring& File();

// A path below a file, which no folder can be: nothing is created or removed
// there, but the name is converted all the same.
LPCWSTR Absent(Fuzz& f)
{
    LPCWSTR s = f.Str();
    return Copy(f, File() + L"\\" + std::wstring(s, f.Len(s)));
}

// At most `most` characters of a fuzzed string, for the arguments whose length
// Wine cannot take: it overruns its stack on number separators longer than the
// three characters the system allows, and on date and time formats of a few
// hundred characters, and ends the process in GetLongPathNameW and CreateProcessW
// on a path of thousands.
LPWSTR Clipped(Fuzz& f, int most)
{
    LPCWSTR s = f.Str();
    return Copy(f, std::wstring(s, std::min(f.Len(s), most)));
}

// A profile file named by a fuzzed string: Wine's profile functions lose track
// of a file name longer than MAX_PATH and corrupt the heap sooner or later. One
// that is written to lies below a file, where it cannot be made.
LPCWSTR ProfileFile(Fuzz& f)
{
    return Copy(f, PathIn(Clipped(f, 150)));
}

LPCWSTR UnwritableProfileFile(Fuzz& f)
{
    return Copy(f, File() + L"\\" + Clipped(f, 150));
}

// A list of strings that ends in two NULs, made of one fuzzed string.
LPCWSTR List(Fuzz& f, const std::wstring& prefix = L"")
{
    LPCWSTR s = f.Str();
    std::wstring text = prefix + std::wstring(s, f.Len(s));
    WCHAR* p = f.Out<WCHAR>(int(text.size() + 2));
    memcpy(p, text.data(), text.size() * sizeof(WCHAR));
    p[text.size()] = p[text.size() + 1] = 0;
    return p;
}


// A fuzzed count (at least `least`) and a buffer of exactly that many characters.
struct Buffer {
    Buffer(Fuzz& f, int length, int least = 0) : n(std::max(f.Count(length), least)), p(f.Out<WCHAR>(n)) {}
    int n;
    WCHAR* p;
};

void ExpectInside(LPCWSTR part, const Buffer& b)
{
    EXPECT_TRUE(part >= b.p && part < b.p + b.n) << "the file part points outside the buffer";
}

// A string and a count that stays within it (-1: up to its terminator).
struct Counted {
    explicit Counted(Fuzz& f) : s(f.Str()), n(f.Pick(2) ? -1 : f.Len(s)) {}
    LPCWSTR s;
    int n;
};

const std::wstring& File()
{
    static const std::wstring path = MakeFile(L"kernel.txt");
    return path;
}

// An initialisation file the readers read: [section] key=5, and a 4-byte record.
const std::wstring& Ini()
{
    static const std::wstring path = [] {
        std::wstring p = PathIn(L"kernel.ini");
        WritePrivateProfileStringA("section", "key", "5", A(p).c_str());
        DWORD data = 0x12345678;
        WritePrivateProfileStructA("section", "struct", &data, sizeof data, A(p).c_str());
        return p;
    }();
    return path;
}

// The file the writers write, and the system profile's section they write to.
const std::wstring& Written()
{
    static const std::wstring path = PathIn(L"written.ini");
    return path;
}
const char* const WinIniSection = "torwen-sweep";

// Wine's profile readers write two characters into a buffer of fewer, and one
// before it when a list of names or keys does not fit.
const int SectionLeast = 2;

void ForgetWritten()
{
    WritePrivateProfileStringA("written", nullptr, nullptr, A(Written()).c_str());
}

void ForgetWinIni()
{
    WriteProfileStringA(WinIniSection, nullptr, nullptr);
}

// A section of the system profile the readers find.
void WinIniSectionExists()
{
    static bool made = WriteProfileStringA("torwen-sweep-read", "key", "value");
    (void)made;
}

ATOM TheGlobalAtom()
{
    static ATOM atom = GlobalAddAtomA("torwen sweep global");
    return atom;
}

ATOM TheLocalAtom()
{
    static ATOM atom = AddAtomA("torwen sweep local");
    return atom;
}

std::wstring CurrentDirectory()
{
    char dir[MAX_PATH];
    GetCurrentDirectoryA(MAX_PATH, dir);
    return harness::FromAnsi(dir);
}

void Close(Result handle)
{
    CloseHandle(HANDLE(handle));
}

void RemoveFile(const std::wstring& path)
{
    DeleteFileA(A(path).c_str());
}

std::wstring Label()
{
    char label[MAX_PATH] = "";
    GetVolumeInformationA("C:\\", label, MAX_PATH, nullptr, nullptr, nullptr, nullptr, 0);
    return harness::FromAnsi(label);
}

bool IsSuccessHandle(Result r)
{
    return r != 0 && HANDLE(r) != INVALID_HANDLE_VALUE;
}

// A process entry of `size` bytes that ends at a no-access page.
LPPROCESSENTRY32W Entry(Fuzz& f)
{
    const int sizes[] = {4, sizeof(PROCESSENTRY32W) - 1, sizeof(PROCESSENTRY32W),
                         sizeof(PROCESSENTRY32W) + 64};
    int size = sizes[f.Pick(4)];
    auto* entry = reinterpret_cast<LPPROCESSENTRY32W>(f.Out<BYTE>(size));
    entry->dwSize = size;
    return entry;
}

Result WalkProcesses(BOOL(WINAPI* walk)(HANDLE, LPPROCESSENTRY32W))
{
    HANDLE snapshot = CreateToolhelp32Snapshot(TH32CS_SNAPPROCESS, 0);
    PROCESSENTRY32W entry = {};
    entry.dwSize = sizeof entry;
    BOOL r = walk(snapshot, &entry);
    CloseHandle(snapshot);
    return R(r);
}

// Fuzzing walks one snapshot, made once: making one takes milliseconds.
void WalkWith(Fuzz& f, BOOL(WINAPI* walk)(HANDLE, LPPROCESSENTRY32W))
{
    static HANDLE snapshot = CreateToolhelp32Snapshot(TH32CS_SNAPPROCESS, 0);
    walk(snapshot, Entry(f));
}

// A row whose ANSI path calls kernel32 alone.
Row KernelRow(const char* name, std::function<Result()> call, Result failure)
{
    return Row(name, std::move(call), failure).Kernel();
}

// Readers of a directory or path into a counted buffer: (count, buffer) or
// (buffer, count), whose text is `length` characters long.
template <typename Read>
Row PathReader(const char* name, Read read, std::function<int()> length)
{
    return Row(name, [read] {
               WCHAR buf[MAX_PATH];
               return R(read(buf, MAX_PATH));
           }, 0)
        .Kernel()
        .Fuzz([read, length](Fuzz& f) {
            Buffer b(f, length());
            DWORD r = read(b.p, b.n);
            if (r < DWORD(b.n)) {
                EXPECT_EQ(b.p[r], 0) << "a text that fits ends with its terminator";
            }
        });
}

int LengthOf(UINT (*readA)(LPSTR, UINT))
{
    char buf[MAX_PATH];
    return int(harness::FromAnsi(std::string(buf, readA(buf, MAX_PATH))).size());
}

UINT SystemDirectoryA(LPSTR buf, UINT n)
{
    return GetSystemDirectoryA(buf, n);
}
UINT WindowsDirectoryA(LPSTR buf, UINT n)
{
    return GetWindowsDirectoryA(buf, n);
}
UINT TempPathA(LPSTR buf, UINT n)
{
    return GetTempPathA(n, buf);
}
UINT CurrentDirectoryA(LPSTR buf, UINT n)
{
    return GetCurrentDirectoryA(n, buf);
}

}  // namespace

std::vector<Row> KernelRows()
{
    return {
        // ---- version
        Row("GetVersionExW",
            [] {
                OSVERSIONINFOW info = {};
                info.dwOSVersionInfoSize = sizeof info;
                return R(GetVersionExW(&info));
            },
            FALSE)
            .Kernel()
            .Fuzz([](Fuzz& f) {
                const DWORD sizes[] = {sizeof(OSVERSIONINFOW), sizeof(OSVERSIONINFOEXW), 4};
                DWORD size = sizes[f.Pick(3)];
                auto* info = reinterpret_cast<OSVERSIONINFOW*>(f.Out<BYTE>(size));
                info->dwOSVersionInfoSize = size;
                GetVersionExW(info);
            }),

        // ---- atoms
        Row("GlobalAddAtomW", [] { return R(GlobalAddAtomW(L"torwen sweep")); }, 0)
            .Kernel()
            .Undo([](Result atom) { GlobalDeleteAtom(ATOM(atom)); })
            .Fuzz([](Fuzz& f) { GlobalDeleteAtom(GlobalAddAtomW(f.Str(Fuzz::NullOk))); }),
        Row("GlobalFindAtomW",
            [] {
                TheGlobalAtom();
                return R(GlobalFindAtomW(L"torwen sweep global"));
            },
            0)
            .Kernel()
            .Fuzz([](Fuzz& f) { GlobalFindAtomW(f.Str()); }),
        Row("GlobalGetAtomNameW",
            [] {
                WCHAR name[64];
                return R(GlobalGetAtomNameW(TheGlobalAtom(), name, 64));
            },
            0)
            .Kernel()
            .Fuzz([](Fuzz& f) {
                Buffer b(f, 19);
                EXPECT_LE(GlobalGetAtomNameW(TheGlobalAtom(), b.p, b.n), UINT(b.n));
            }),
        Row("AddAtomW", [] { return R(AddAtomW(L"torwen sweep")); }, 0)
            .Kernel()
            .Undo([](Result atom) { DeleteAtom(ATOM(atom)); })
            .Fuzz([](Fuzz& f) { DeleteAtom(AddAtomW(f.Str())); }),
        Row("FindAtomW",
            [] {
                TheLocalAtom();
                return R(FindAtomW(L"torwen sweep local"));
            },
            0)
            .Kernel()
            .Fuzz([](Fuzz& f) { FindAtomW(f.Str()); }),
        Row("GetAtomNameW",
            [] {
                WCHAR name[64];
                return R(GetAtomNameW(TheLocalAtom(), name, 64));
            },
            0)
            .Kernel()
            .Fuzz([](Fuzz& f) {
                Buffer b(f, 18);
                EXPECT_LE(GetAtomNameW(TheLocalAtom(), b.p, b.n), UINT(b.n));
            }),

        // ---- profile files (readers keep no saved error)
        Row("GetProfileIntW", [] { return R(GetProfileIntW(L"torwen-sweep-none", L"key", 7)); }, 0,
            Error::AsLeft)
            .Kernel()
            .Fuzz([](Fuzz& f) { GetProfileIntW(f.Str(Fuzz::NullOk), f.Str(Fuzz::NullOk), 7); }),
        Row("GetPrivateProfileIntW",
            [] { return R(GetPrivateProfileIntW(L"section", L"key", 0, Ini().c_str())); }, 0,
            Error::AsLeft)
            .Kernel()
            .Ok(5)
            .Fuzz([](Fuzz& f) {
                GetPrivateProfileIntW(f.Str(), f.Str(), 7, f.Pick(2) ? Ini().c_str() : ProfileFile(f));
            }),
        Row("GetProfileStringW",
            [] {
                WCHAR buf[64];
                return R(GetProfileStringW(L"torwen-sweep-none", L"key", L"default", buf, 64));
            },
            0, Error::AsLeft)
            .Kernel()
            .Fuzz([](Fuzz& f) {
                WinIniSectionExists();
                LPCWSTR section = f.Pick(2) ? L"torwen-sweep-read" : f.Str(Fuzz::NullOk);
                LPCWSTR key = f.Str(Fuzz::NullOk), def = f.Str(Fuzz::NullOk);
                Buffer b(f, 5, SectionLeast);
                DWORD r = GetProfileStringW(section, key, def, b.p, b.n);
                EXPECT_LE(r, DWORD(b.n));
            }),
        Row("GetPrivateProfileStringW",
            [] {
                WCHAR buf[64];
                return R(GetPrivateProfileStringW(L"section", L"key", L"", buf, 64, Ini().c_str()));
            },
            0, Error::AsLeft)
            .Kernel()
            .Fuzz([](Fuzz& f) {
                LPCWSTR section = f.Pick(2) ? L"section" : f.Str(Fuzz::NullOk);
                LPCWSTR key = f.Str(Fuzz::NullOk), def = f.Str(Fuzz::NullOk);
                LPCWSTR file = f.Pick(2) ? Ini().c_str() : ProfileFile(f);
                Buffer b(f, 3, SectionLeast);
                EXPECT_LE(GetPrivateProfileStringW(section, key, def, b.p, b.n, file), DWORD(b.n));
            }),
        Row("WriteProfileStringW", [] { return R(WriteProfileStringW(L"torwen-sweep", L"key", L"value")); },
            FALSE)
            .Kernel()
            .Undo([](Result) { ForgetWinIni(); })
            .Fuzz([](Fuzz& f) {
                WriteProfileStringW(L"torwen-sweep", f.Str(), f.Str(Fuzz::NullOk));
                WriteProfileStringW(f.Str(), nullptr, nullptr);
                ForgetWinIni();
            }),
        Row("WritePrivateProfileStringW",
            [] { return R(WritePrivateProfileStringW(L"written", L"key", L"value", Written().c_str())); },
            FALSE)
            .Kernel()
            .Undo([](Result) { ForgetWritten(); })
            .Fuzz([](Fuzz& f) {
                WritePrivateProfileStringW(L"written", f.Str(), f.Str(Fuzz::NullOk), Written().c_str());
                WritePrivateProfileStringW(f.Str(), nullptr, nullptr, UnwritableProfileFile(f));
                ForgetWritten();
            }),
        Row("GetProfileSectionW",
            [] {
                WinIniSectionExists();
                WCHAR buf[64];
                return R(GetProfileSectionW(L"torwen-sweep-read", buf, 64));
            },
            0, Error::AsLeft)
            .Kernel()
            .Fuzz([](Fuzz& f) {
                WinIniSectionExists();
                LPCWSTR section = f.Pick(2) ? L"torwen-sweep-read" : f.Str();
                Buffer b(f, 10, SectionLeast);
                EXPECT_LE(GetProfileSectionW(section, b.p, b.n), DWORD(b.n));
            }),
        Row("GetPrivateProfileSectionW",
            [] {
                WCHAR buf[64];
                return R(GetPrivateProfileSectionW(L"section", buf, 64, Ini().c_str()));
            },
            0, Error::AsLeft)
            .Kernel()
            .Fuzz([](Fuzz& f) {
                LPCWSTR section = f.Pick(2) ? L"section" : f.Str();
                LPCWSTR file = f.Pick(2) ? Ini().c_str() : ProfileFile(f);
                Buffer b(f, 30, SectionLeast);
                EXPECT_LE(GetPrivateProfileSectionW(section, b.p, b.n, file), DWORD(b.n));
            }),
        Row("GetPrivateProfileSectionNamesW",
            [] {
                WCHAR buf[64];
                return R(GetPrivateProfileSectionNamesW(buf, 64, Ini().c_str()));
            },
            0, Error::AsLeft)
            .Kernel()
            .Fuzz([](Fuzz& f) {
                LPCWSTR file = f.Pick(2) ? Ini().c_str() : ProfileFile(f);
                Buffer b(f, 8);
                EXPECT_LE(GetPrivateProfileSectionNamesW(b.p, b.n, file), DWORD(b.n));
            }),
        Row("WriteProfileSectionW", [] { return R(WriteProfileSectionW(L"torwen-sweep", L"key=value\0")); },
            FALSE)
            .Kernel()
            .Undo([](Result) { ForgetWinIni(); })
            .Fuzz([](Fuzz& f) {
                WriteProfileSectionW(L"torwen-sweep", List(f, L"key="));
                ForgetWinIni();
            }),
        Row("WritePrivateProfileSectionW",
            [] { return R(WritePrivateProfileSectionW(L"written", L"key=value\0", Written().c_str())); },
            FALSE)
            .Kernel()
            .Undo([](Result) { ForgetWritten(); })
            .Fuzz([](Fuzz& f) {
                WritePrivateProfileSectionW(L"written", List(f, L"key="), Written().c_str());
                WritePrivateProfileSectionW(f.Str(), L"\0", UnwritableProfileFile(f));
                ForgetWritten();
            }),
        Row("GetPrivateProfileStructW",
            [] {
                DWORD data = 0;
                return R(GetPrivateProfileStructW(L"section", L"struct", &data, sizeof data,
                                                  Ini().c_str()));
            },
            FALSE, Error::AsLeft)
            .Kernel()
            .Fuzz([](Fuzz& f) {
                LPCWSTR key = f.Pick(2) ? L"struct" : f.Str();
                UINT size = f.Count(4);
                GetPrivateProfileStructW(f.Str(), key, f.Out<BYTE>(size), size, Ini().c_str());
            }),
        Row("WritePrivateProfileStructW",
            [] {
                DWORD data = 1;
                return R(WritePrivateProfileStructW(L"written", L"struct", &data, sizeof data,
                                                    Written().c_str()));
            },
            FALSE)
            .Kernel()
            .Undo([](Result) { ForgetWritten(); })
            .Fuzz([](Fuzz& f) {
                DWORD data = 1;
                WritePrivateProfileStructW(L"written", f.Str(), &data, sizeof data, Written().c_str());
                ForgetWritten();
            }),

        // ---- national-language functions
        Row("CompareStringW",
            [] { return R(CompareStringW(LOCALE_USER_DEFAULT, 0, L"abc", -1, L"abd", 2)); }, 0)
            .Kernel()
            .Fuzz([](Fuzz& f) {
                Counted a(f), b(f);
                CompareStringW(LOCALE_USER_DEFAULT, NORM_IGNORECASE, a.s, a.n, b.s, b.n);
            }),
        Row("GetLocaleInfoW",
            [] {
                WCHAR buf[64];
                return R(GetLocaleInfoW(LOCALE_USER_DEFAULT, LOCALE_SDAYNAME1, buf, 64));
            },
            0)
            .Kernel()
            .Fuzz([](Fuzz& f) {
                Buffer b(f, 6);
                EXPECT_LE(GetLocaleInfoW(LOCALE_USER_DEFAULT, LOCALE_SDAYNAME1, b.p, b.n), b.n ? b.n : 64);
            }),
        Row("SetLocaleInfoW",
            [] {
                char am[32] = "";
                GetLocaleInfoA(LOCALE_USER_DEFAULT, LOCALE_S1159, am, 32);
                return R(SetLocaleInfoW(LOCALE_USER_DEFAULT, LOCALE_S1159, harness::FromAnsi(am).c_str()));
            },
            FALSE)
            .Kernel()
            .Fuzz([](Fuzz& f) {
                char am[32] = "";
                GetLocaleInfoA(LOCALE_USER_DEFAULT, LOCALE_S1159, am, 32);
                SetLocaleInfoW(LOCALE_USER_DEFAULT, LOCALE_S1159, f.Str());
                SetLocaleInfoA(LOCALE_USER_DEFAULT, LOCALE_S1159, am);
            }),
        Row("GetTimeFormatW",
            [] {
                WCHAR buf[64];
                return R(GetTimeFormatW(LOCALE_USER_DEFAULT, 0, nullptr, L"HH:mm", buf, 64));
            },
            0)
            .Kernel()
            .Fuzz([](Fuzz& f) {
                LPCWSTR format = f.Pick(8) ? Clipped(f, 80) : nullptr;
                Buffer b(f, f.Len(format));
                GetTimeFormatW(LOCALE_USER_DEFAULT, 0, nullptr, format, b.p, b.n);
            }),
        Row("GetDateFormatW",
            [] {
                WCHAR buf[64];
                return R(GetDateFormatW(LOCALE_USER_DEFAULT, 0, nullptr, L"yyyy-MM-dd", buf, 64));
            },
            0)
            .Kernel()
            .Fuzz([](Fuzz& f) {
                LPCWSTR format = f.Pick(8) ? Clipped(f, 80) : nullptr;
                Buffer b(f, f.Len(format));
                GetDateFormatW(LOCALE_USER_DEFAULT, 0, nullptr, format, b.p, b.n);
            }),

        // ---- message formatting
        Row("FormatMessageW",
            [] {
                WCHAR buf[64];
                DWORD_PTR inserts[] = {DWORD_PTR(L"sweep"), DWORD_PTR(L'x')};
                return R(FormatMessageW(FORMAT_MESSAGE_FROM_STRING | FORMAT_MESSAGE_ARGUMENT_ARRAY,
                                        L"%1 %2!c!", 0, 0, buf, 64, reinterpret_cast<va_list*>(inserts)));
            },
            0)
            .Kernel()
            .Fuzz([](Fuzz& f) {
                // Inserts of each width and kind the ANSI path converts; %1 is the
                // fuzzed string, %2 the character 'x'.
                static const LPCWSTR templates[] = {L"<%1> %2!c!", L"%1!12s!|%2!C!", L"%1!.4s!%2!d!%%%n",
                                                    L"%2!5c!%1!-20s!", L"%1!S!", nullptr};
                LPCWSTR insert = f.Str();
                DWORD_PTR inserts[] = {DWORD_PTR(insert), DWORD_PTR(L'x')};
                auto* args = reinterpret_cast<va_list*>(inserts);
                LPCWSTR source = templates[f.Pick(6)];
                if (!source)
                    source = f.Str();
                DWORD flags = FORMAT_MESSAGE_FROM_STRING | FORMAT_MESSAGE_ARGUMENT_ARRAY;
                LPWSTR text = nullptr;
                DWORD length = FormatMessageW(flags | FORMAT_MESSAGE_ALLOCATE_BUFFER, source, 0, 0,
                                              LPWSTR(&text), 0, args);
                LocalFree(text);
                // Wine's FormatMessageW writes past a buffer too small for the message.
                Buffer b(f, int(length) + 1, harness::AnsiPath() ? 0 : int(length) + 1);
                DWORD r = FormatMessageW(flags, source, 0, 0, b.p, b.n, args);
                EXPECT_LT(r, DWORD(b.n ? b.n : 1));
                if (r) {
                    EXPECT_EQ(b.p[r], 0);
                }
            }),

        // ---- files, directories and volumes
        // A failed allocation answers NULL, a failed open INVALID_HANDLE_VALUE.
        Row("CreateFileW",
            [] {
                return R(CreateFileW(PathIn(L"created.txt").c_str(), GENERIC_WRITE, 0, nullptr,
                                     CREATE_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr));
            },
            std::nullopt)
            .Kernel()
            .Ok(IsSuccessHandle)
            .Undo([](Result file) {
                Close(file);
                RemoveFile(PathIn(L"created.txt"));
            })
            .Fuzz([](Fuzz& f) {
                HANDLE file = CreateFileW(f.Path(), GENERIC_READ, FILE_SHARE_READ, nullptr,
                                          OPEN_EXISTING, 0, nullptr);
                if (IsSuccessHandle(R(file)))
                    CloseHandle(file);
            }),
        KernelRow("GetFileAttributesW", [] { return R(GetFileAttributesW(File().c_str())); },
                  INVALID_FILE_ATTRIBUTES)
            .Fuzz([](Fuzz& f) { GetFileAttributesW(f.Path()); }),
        KernelRow("SetFileAttributesW",
                  [] { return R(SetFileAttributesW(File().c_str(), FILE_ATTRIBUTE_NORMAL)); }, FALSE)
            .Fuzz([](Fuzz& f) { SetFileAttributesW(Absent(f), FILE_ATTRIBUTE_NORMAL); }),
        KernelRow("GetFileAttributesExW",
                  [] {
                      WIN32_FILE_ATTRIBUTE_DATA data;
                      return R(GetFileAttributesExW(File().c_str(), GetFileExInfoStandard, &data));
                  },
                  FALSE)
            .Fuzz([](Fuzz& f) {
                auto* data = f.Out<WIN32_FILE_ATTRIBUTE_DATA>(1);
                GetFileAttributesExW(f.Path(), GetFileExInfoStandard, data);
            }),
        KernelRow("DeleteFileW",
                  [] { return R(DeleteFileW(MakeFile(L"deleted.txt").c_str())); }, FALSE)
            .Fuzz([](Fuzz& f) { DeleteFileW(Absent(f)); }),
        KernelRow("CopyFileW",
                  [] { return R(CopyFileW(File().c_str(), PathIn(L"copied.txt").c_str(), FALSE)); }, FALSE)
            .Undo([](Result) { RemoveFile(PathIn(L"copied.txt")); })
            .Fuzz([](Fuzz& f) { CopyFileW(f.Path(), Absent(f), FALSE); }),
        KernelRow("MoveFileExW",
                  [] {
                      return R(MoveFileExW(MakeFile(L"move-from.txt").c_str(), PathIn(L"move-to.txt").c_str(),
                                           MOVEFILE_REPLACE_EXISTING));
                  },
                  FALSE)
            .Undo([](Result) { RemoveFile(PathIn(L"move-to.txt")); })
            .Fuzz([](Fuzz& f) { MoveFileExW(Absent(f), Absent(f), 0); }),
        KernelRow("CreateDirectoryExW",
                  [] { return R(CreateDirectoryExW(Folder().c_str(), PathIn(L"made-ex").c_str(), nullptr)); },
                  FALSE)
            .Undo([](Result) { RemoveDirectoryA(A(PathIn(L"made-ex")).c_str()); })
            .Fuzz([](Fuzz& f) { CreateDirectoryExW(f.Path(), Absent(f), nullptr); }),
        Row("GetFileSecurityW",
            [] {
                alignas(8) BYTE sd[1024];
                DWORD needed = 0;
                return R(GetFileSecurityW(File().c_str(), OWNER_SECURITY_INFORMATION, sd, sizeof sd,
                                          &needed));
            },
            FALSE)
            .Fuzz([](Fuzz& f) {
                DWORD size = f.Count(64), needed = 0;
                GetFileSecurityW(f.Pick(2) ? File().c_str() : f.Path(), OWNER_SECURITY_INFORMATION,
                                 f.Out<BYTE>(size), size, &needed);
            }),
        KernelRow("FindFirstFileW",
                  [] {
                      WIN32_FIND_DATAW data;
                      return R(FindFirstFileW(PathIn(L"*").c_str(), &data));
                  },
                  R(INVALID_HANDLE_VALUE))
            .Undo([](Result find) { FindClose(HANDLE(find)); })
            .Fuzz([](Fuzz& f) {
                HANDLE find = FindFirstFileW(f.Path(), f.Out<WIN32_FIND_DATAW>(1));
                if (find != INVALID_HANDLE_VALUE)
                    FindClose(find);
            }),
        // The caller's record is converted before the call, whatever its names hold.
        KernelRow("FindNextFileW",
                  [] {
                      File();
                      WIN32_FIND_DATAA first;
                      HANDLE find = FindFirstFileA(A(PathIn(L"*")).c_str(), &first);
                      WIN32_FIND_DATAW data = {};
                      BOOL r = FindNextFileW(find, &data);
                      FindClose(find);
                      return R(r);
                  },
                  FALSE)
            .Fuzz([](Fuzz& f) {
                WIN32_FIND_DATAA first;
                HANDLE find = FindFirstFileA(A(PathIn(L"*")).c_str(), &first);
                FindNextFileW(find, f.Out<WIN32_FIND_DATAW>(1));
                FindClose(find);
            }),
        PathReader("GetSystemDirectoryW",
                   [](LPWSTR buf, int n) { return DWORD(GetSystemDirectoryW(buf, n)); },
                   [] { return LengthOf(SystemDirectoryA); }),
        PathReader("GetWindowsDirectoryW",
                   [](LPWSTR buf, int n) { return DWORD(GetWindowsDirectoryW(buf, n)); },
                   [] { return LengthOf(WindowsDirectoryA); }),
        PathReader("GetTempPathW", [](LPWSTR buf, int n) { return GetTempPathW(n, buf); },
                   [] { return LengthOf(TempPathA); }),
        PathReader("GetCurrentDirectoryW", [](LPWSTR buf, int n) { return GetCurrentDirectoryW(n, buf); },
                   [] { return LengthOf(CurrentDirectoryA); }),
        KernelRow("SetCurrentDirectoryW",
                  [] { return R(SetCurrentDirectoryW(CurrentDirectory().c_str())); },
                  FALSE)
            .Fuzz([](Fuzz& f) {
                std::string dir = A(CurrentDirectory());
                SetCurrentDirectoryW(f.Path());
                SetCurrentDirectoryA(dir.c_str());
            }),
        KernelRow("GetShortPathNameW",
                  [] {
                      WCHAR buf[MAX_PATH];
                      return R(GetShortPathNameW(File().c_str(), buf, MAX_PATH));
                  },
                  0)
            .Fuzz([](Fuzz& f) {
                LPCWSTR path = f.Pick(2) ? File().c_str() : f.Path();
                Buffer b(f, f.Len(path));
                GetShortPathNameW(path, b.p, b.n);
            }),
        KernelRow("GetFullPathNameW",
                  [] {
                      WCHAR buf[MAX_PATH];
                      LPWSTR part = nullptr;
                      return R(GetFullPathNameW(L"kernel.txt", MAX_PATH, buf, &part));
                  },
                  0)
            .Fuzz([](Fuzz& f) {
                LPCWSTR name = f.Str();
                Buffer b(f, f.Len(name) + int(CurrentDirectory().size()) + 1);
                LPWSTR part = nullptr;
                if (GetFullPathNameW(name, b.n, b.p, &part) && part) {
                    ExpectInside(part, b);
                }
            }),
        KernelRow("SearchPathW",
                  [] {
                      File();
                      WCHAR buf[MAX_PATH];
                      LPWSTR part = nullptr;
                      return R(SearchPathW(Folder().c_str(), L"kernel", L".txt", MAX_PATH, buf, &part));
                  },
                  0)
            .Fuzz([](Fuzz& f) {
                LPCWSTR path = f.Pick(2) ? Folder().c_str() : f.Str(Fuzz::NullOk);
                LPCWSTR name = f.Pick(2) ? L"kernel" : f.Str(), ext = f.Str(Fuzz::NullOk);
                Buffer b(f, int(File().size()));
                LPWSTR part = nullptr;
                DWORD r = SearchPathW(path, name, ext, b.n, b.p, &part);
                if (r && r < DWORD(b.n) && part) {
                    ExpectInside(part, b);
                }
            }),
        // A unique number of the caller's own makes a name without creating the file.
        Row("GetTempFileNameW",
            [] {
                WCHAR name[MAX_PATH];
                return R(GetTempFileNameW(Folder().c_str(), L"tw", 0x1234, name));
            },
            0)
            .Kernel()
            .Fuzz([](Fuzz& f) {
                LPCWSTR path = f.Pick(2) ? Folder().c_str() : f.Path();
                GetTempFileNameW(path, f.Str(), 0x1234, f.Out<WCHAR>(MAX_PATH));
            }),
        Row("GetDriveTypeW", [] { return R(GetDriveTypeW(L"C:\\")); }, DRIVE_UNKNOWN, Error::AsLeft)
            .Kernel()
            .Fuzz([](Fuzz& f) { GetDriveTypeW(f.Str(Fuzz::NullOk)); }),
        KernelRow("GetDiskFreeSpaceW",
                  [] {
                      DWORD a, b, c, d;
                      return R(GetDiskFreeSpaceW(L"C:\\", &a, &b, &c, &d));
                  },
                  FALSE)
            .Fuzz([](Fuzz& f) {
                DWORD a, b, c, d;
                GetDiskFreeSpaceW(f.Str(Fuzz::NullOk), &a, &b, &c, &d);
            }),
        KernelRow("GetVolumeInformationW",
                  [] {
                      WCHAR name[MAX_PATH], system[MAX_PATH];
                      DWORD serial, length, flags;
                      return R(GetVolumeInformationW(L"C:\\", name, MAX_PATH, &serial, &length, &flags,
                                                     system, MAX_PATH));
                  },
                  FALSE)
            .Fuzz([](Fuzz& f) {
                LPCWSTR root = f.Pick(2) ? L"C:\\" : f.Str(Fuzz::NullOk);
                static const int labelLength = int(Label().size());
                Buffer name(f, labelLength), system(f, 4);
                DWORD serial, length, flags;
                GetVolumeInformationW(root, name.p, name.n, &serial, &length, &flags, system.p, system.n);
            }),

        // ---- processes, modules, environment and named objects
        // The test program itself, started suspended and ended at once.
        KernelRow("CreateProcessW",
                  [] {
                      char self[MAX_PATH];
                      GetModuleFileNameA(nullptr, self, MAX_PATH);
                      std::wstring command = L"sweep --gtest_list_tests";
                      STARTUPINFOW startup = {};
                      startup.cb = sizeof startup;
                      PROCESS_INFORMATION info = {};
                      BOOL r = CreateProcessW(harness::FromAnsi(self).c_str(), command.data(), nullptr,
                                              nullptr, FALSE, CREATE_SUSPENDED, nullptr, nullptr, &startup,
                                              &info);
                      if (r) {
                          TerminateProcess(info.hProcess, 0);
                          CloseHandle(info.hThread);
                          CloseHandle(info.hProcess);
                      }
                      return R(r);
                  },
                  FALSE)
            .Fuzz([](Fuzz& f) {
                STARTUPINFOW startup = {};
                    startup.cb = sizeof startup;
                startup.lpTitle = const_cast<LPWSTR>(f.Str(Fuzz::NullOk));
                startup.lpDesktop = const_cast<LPWSTR>(f.Str(Fuzz::NullOk));
                PROCESS_INFORMATION info = {};
                LPCWSTR command = f.Str();
                LPVOID env = const_cast<LPWSTR>(List(f, L"A="));
                LPCWSTR program = Copy(f, File() + L"\\" + Clipped(f, 200)), dir = f.Str(Fuzz::NullOk);
                LPWSTR line = Copy(f, std::wstring(command, f.Len(command)));
                // The program does not exist: nothing starts.
                const DWORD flags = CREATE_SUSPENDED | CREATE_UNICODE_ENVIRONMENT;
                if (CreateProcessW(program, line, nullptr, nullptr, FALSE, flags, env, dir, &startup,
                                   &info)) {
                    TerminateProcess(info.hProcess, 0);
                    CloseHandle(info.hThread);
                    CloseHandle(info.hProcess);
                }
            }),
        KernelRow("GetProcAddressW",
                  [] { return R(GetProcAddressW(GetModuleHandleA("kernel32.dll"), L"GetTickCount")); }, 0)
            .ConvertsOnWPath()
            .WorksWhenMissing()
            .Fuzz([](Fuzz& f) { GetProcAddressW(GetModuleHandleA("kernel32.dll"), f.Str()); }),
        KernelRow("LoadLibraryExW", [] { return R(LoadLibraryExW(L"kernel32.dll", nullptr, 0)); }, 0)
            .Undo([](Result module) { FreeLibrary(HMODULE(module)); })
            .Fuzz([](Fuzz& f) {
                if (HMODULE module = LoadLibraryExW(Absent(f), nullptr, LOAD_LIBRARY_AS_DATAFILE))
                    FreeLibrary(module);
            }),
        // The test program's own start-up code calls it, so it is bound before any
        // function can be made absent.
        KernelRow("GetModuleHandleW", [] { return R(GetModuleHandleW(L"kernel32.dll")); }, 0)
            .WorksWhenMissing()
            .Fuzz([](Fuzz& f) { GetModuleHandleW(f.Str(Fuzz::NullOk)); }),
        KernelRow("GetModuleFileNameW",
                  [] {
                      WCHAR buf[MAX_PATH];
                      return R(GetModuleFileNameW(nullptr, buf, MAX_PATH));
                  },
                  0)
            .Fuzz([](Fuzz& f) {
                char self[MAX_PATH];
                std::string name(self, GetModuleFileNameA(nullptr, self, MAX_PATH));
                Buffer b(f, int(harness::FromAnsi(name).size()));
                EXPECT_LE(GetModuleFileNameW(nullptr, b.p, b.n), DWORD(b.n));
            }),
        KernelRow("FindResourceExW",
                  [] { return R(FindResourceExW(harness::Torwen(), RT_VERSION, MAKEINTRESOURCEW(1), 0)); },
                  0)
            .Fuzz([](Fuzz& f) { FindResourceExW(harness::Torwen(), f.Str(), f.Str(), 0); }),
        Row::Void("OutputDebugStringW", [] { OutputDebugStringW(L"torwen sweep\n"); }, Error::AsLeft)
            .Kernel()
            .Fuzz([](Fuzz& f) { OutputDebugStringW(f.Str(Fuzz::NullOk)); }),
        Row("GetEnvironmentStringsW", [] { return R(GetEnvironmentStringsW()); }, 0, Error::AsLeft)
            .Kernel()
            // Only torwen knows how to free the block it made.
            .Undo([](Result block) { FreeEnvironmentStringsW(LPWCH(block)); }),
        // The block to free is torwen's own.
        Row("FreeEnvironmentStringsW",
            [] {
                LPWCH block = GetEnvironmentStringsW();
                return R(block ? FreeEnvironmentStringsW(block) : FALSE);
            },
            FALSE, Error::AsLeft)
            .Kernel(),
        Row("GetEnvironmentVariableW",
            [] {
                SetEnvironmentVariableA("TORWEN_SWEEP_READ", "value");
                WCHAR buf[64];
                return R(GetEnvironmentVariableW(L"TORWEN_SWEEP_READ", buf, 64));
            },
            0, Error::AsLeft)
            .Kernel()
            .Fuzz([](Fuzz& f) {
                SetEnvironmentVariableA("TORWEN_SWEEP_READ", "value");
                LPCWSTR name = f.Pick(2) ? L"TORWEN_SWEEP_READ" : f.Str();
                Buffer b(f, 5);
                GetEnvironmentVariableW(name, b.p, b.n);
            }),
        KernelRow("SetEnvironmentVariableW",
                  [] { return R(SetEnvironmentVariableW(L"TORWEN_SWEEP_SET", L"value")); }, FALSE)
            .Undo([](Result) { SetEnvironmentVariableA("TORWEN_SWEEP_SET", nullptr); })
            .Fuzz([](Fuzz& f) {
                SetEnvironmentVariableW(L"TORWEN_SWEEP_SET", f.Str(Fuzz::NullOk));
                SetEnvironmentVariableA("TORWEN_SWEEP_SET", nullptr);
                SetEnvironmentVariableW(f.Str(), nullptr);
            }),
        KernelRow("GetLogicalDriveStringsW",
                  [] {
                      WCHAR buf[256];
                      return R(GetLogicalDriveStringsW(256, buf));
                  },
                  0)
            .Fuzz([](Fuzz& f) {
                static const int length = int(GetLogicalDriveStringsA(0, nullptr));
                Buffer b(f, length);
                GetLogicalDriveStringsW(b.n, b.p);
            }),
        KernelRow("CreateMutexW", [] { return R(CreateMutexW(nullptr, FALSE, L"torwen-sweep-mutex")); }, 0)
            .Undo(Close)
            .Fuzz([](Fuzz& f) { Close(R(CreateMutexW(nullptr, FALSE, f.Str(Fuzz::NullOk)))); }),
        KernelRow("CreateEventW",
                  [] { return R(CreateEventW(nullptr, TRUE, FALSE, L"torwen-sweep-event")); }, 0)
            .Undo(Close)
            .Fuzz([](Fuzz& f) { Close(R(CreateEventW(nullptr, TRUE, FALSE, f.Str(Fuzz::NullOk)))); }),
        KernelRow("OpenEventW",
                  [] {
                      static HANDLE event = CreateEventA(nullptr, TRUE, FALSE, "torwen-sweep-open");
                      (void)event;
                      return R(OpenEventW(SYNCHRONIZE, FALSE, L"torwen-sweep-open"));
                  },
                  0)
            .Undo(Close)
            .Fuzz([](Fuzz& f) { Close(R(OpenEventW(SYNCHRONIZE, FALSE, f.Str()))); }),
        KernelRow("CreateFileMappingW",
                  [] {
                      return R(CreateFileMappingW(INVALID_HANDLE_VALUE, nullptr, PAGE_READWRITE, 0, 4096,
                                                  L"torwen-sweep-mapping"));
                  },
                  0)
            .Undo(Close)
            .Fuzz([](Fuzz& f) {
                Close(R(CreateFileMappingW(INVALID_HANDLE_VALUE, nullptr, PAGE_READWRITE, 0, 4096,
                                           f.Str(Fuzz::NullOk))));
            }),

        // ---- beyond the families above
        KernelRow("CreateDirectoryW",
                  [] { return R(CreateDirectoryW(PathIn(L"made").c_str(), nullptr)); }, FALSE)
            .Undo([](Result) { RemoveDirectoryA(A(PathIn(L"made")).c_str()); })
            .Fuzz([](Fuzz& f) { CreateDirectoryW(Absent(f), nullptr); }),
        KernelRow("RemoveDirectoryW",
                  [] {
                      CreateDirectoryA(A(PathIn(L"removed")).c_str(), nullptr);
                      return R(RemoveDirectoryW(PathIn(L"removed").c_str()));
                  },
                  FALSE)
            .Fuzz([](Fuzz& f) { RemoveDirectoryW(Absent(f)); }),
        KernelRow("MoveFileW",
                  [] {
                      std::wstring from = MakeFile(L"moved-from.txt");
                      return R(MoveFileW(from.c_str(), PathIn(L"moved-to.txt").c_str()));
                  },
                  FALSE)
            .Undo([](Result) { RemoveFile(PathIn(L"moved-to.txt")); })
            .Fuzz([](Fuzz& f) { MoveFileW(Absent(f), Absent(f)); }),
        KernelRow("CopyFileExW",
                  [] {
                      return R(CopyFileExW(File().c_str(), PathIn(L"copied-ex.txt").c_str(), nullptr, nullptr,
                                           nullptr, 0));
                  },
                  FALSE)
            .Undo([](Result) { RemoveFile(PathIn(L"copied-ex.txt")); })
            .Fuzz([](Fuzz& f) { CopyFileExW(f.Path(), Absent(f), nullptr, nullptr, nullptr, 0); }),
        KernelRow("GetDiskFreeSpaceExW",
                  [] {
                      ULARGE_INTEGER a, b, c;
                      return R(GetDiskFreeSpaceExW(Folder().c_str(), &a, &b, &c));
                  },
                  FALSE)
            .Fuzz([](Fuzz& f) {
                ULARGE_INTEGER a, b, c;
                GetDiskFreeSpaceExW(f.Str(Fuzz::NullOk), &a, &b, &c);
            }),
        KernelRow("GetLongPathNameW",
                  [] {
                      WCHAR buf[MAX_PATH];
                      return R(GetLongPathNameW(File().c_str(), buf, MAX_PATH));
                  },
                  0)
            .Fuzz([](Fuzz& f) {
                LPCWSTR path = f.Pick(2) ? File().c_str() : Copy(f, PathIn(Clipped(f, 200)));
                Buffer b(f, f.Len(path));
                DWORD r = GetLongPathNameW(path, b.p, b.n);
                if (r && r < DWORD(b.n)) {
                    EXPECT_EQ(b.p[r], 0);
                }
            }),
        // The label C: has now, set again.
        KernelRow("SetVolumeLabelW", [] { return R(SetVolumeLabelW(L"C:\\", Label().c_str())); }, FALSE)
            .Fuzz([](Fuzz& f) {
                std::string label = A(Label());
                // Wine faults on a null label, which would remove it.
                SetVolumeLabelW(f.Pick(2) ? L"C:\\" : Absent(f), f.Str());
                SetVolumeLabelA("C:\\", label.c_str());
            }),
        KernelRow("ExpandEnvironmentStringsW",
                  [] {
                      WCHAR buf[MAX_PATH];
                      return R(ExpandEnvironmentStringsW(L"%TEMP%\\sweep", buf, MAX_PATH));
                  },
                  0)
            .Fuzz([](Fuzz& f) {
                LPCWSTR source = f.Str();
                Buffer b(f, f.Len(source) + 1);
                DWORD r = ExpandEnvironmentStringsW(source, b.p, b.n);
                if (r && r <= DWORD(b.n)) {
                    EXPECT_EQ(b.p[r - 1], 0);
                }
            }),
        KernelRow("GetComputerNameW",
                  [] {
                      WCHAR buf[MAX_COMPUTERNAME_LENGTH + 1];
                      DWORD n = MAX_COMPUTERNAME_LENGTH + 1;
                      return R(GetComputerNameW(buf, &n));
                  },
                  FALSE)
            .Fuzz([](Fuzz& f) {
                char name[MAX_COMPUTERNAME_LENGTH + 1];
                DWORD length = sizeof name;
                GetComputerNameA(name, &length);
                Buffer b(f, int(length) + 1);
                DWORD n = b.n;
                if (GetComputerNameW(b.p, &n)) {
                    EXPECT_LT(n, DWORD(b.n));
                }
            }),
        Row::Void("GetStartupInfoW",
                  [] {
                      STARTUPINFOW info = {};
                      info.cb = sizeof info;
                      GetStartupInfoW(&info);
                  })
            .Kernel()
            .Fuzz([](Fuzz& f) { GetStartupInfoW(f.Out<STARTUPINFOW>(1)); }),
        KernelRow("GetCPInfoExW",
                  [] {
                      CPINFOEXW info;
                      return R(GetCPInfoExW(CP_ACP, 0, &info));
                  },
                  FALSE)
            .Fuzz([](Fuzz& f) {
                const UINT pages[] = {CP_ACP, CP_OEMCP, 932, 1252, 65001, 12345};
                GetCPInfoExW(pages[f.Pick(6)], 0, f.Out<CPINFOEXW>(1));
            }),
        KernelRow("GetNumberFormatW",
                  [] {
                      WCHAR buf[64];
                      return R(GetNumberFormatW(LOCALE_USER_DEFAULT, 0, L"1234.5", nullptr, buf, 64));
                  },
                  0)
            .Fuzz([](Fuzz& f) {
                WCHAR decimal[] = L".", thousand[] = L",";
                NUMBERFMTW format = {2, 1, 3, decimal, thousand, 1};
                if (f.Pick(2)) {
                    format.lpDecimalSep = Clipped(f, 3);
                    format.lpThousandSep = Clipped(f, 3);
                }
                LPCWSTR value = f.Pick(2) ? L"-1234567.891" : f.Str();
                Buffer b(f, 14);
                const NUMBERFMTW* chosen = f.Pick(2) ? &format : nullptr;
                int r = GetNumberFormatW(LOCALE_USER_DEFAULT, 0, value, chosen, b.p, b.n);
                if (b.n) {
                    EXPECT_LE(r, b.n);
                }
            }),
        KernelRow("LCMapStringW",
                  [] {
                      WCHAR buf[64];
                      return R(LCMapStringW(LOCALE_USER_DEFAULT, LCMAP_UPPERCASE, L"sweep", -1, buf, 64));
                  },
                  0)
            .Fuzz([](Fuzz& f) {
                Counted source(f);
                DWORD flags = f.Pick(2) ? LCMAP_UPPERCASE : LCMAP_SORTKEY;
                Buffer b(f, f.Len(source.s) + 1);
                int r = LCMapStringW(LOCALE_USER_DEFAULT, flags, source.s, source.n, b.p, b.n);
                if (b.n) {
                    EXPECT_LE(r, flags == LCMAP_SORTKEY ? int(b.n * sizeof(WCHAR)) : b.n);
                }
            }),
        // Their failure value is also what equal strings answer.
        KernelRow("lstrcmpW", [] { return R(lstrcmpW(L"a", L"b")); }, 0)
            .Fuzz([](Fuzz& f) { lstrcmpW(f.Str(Fuzz::NullOk), f.Str(Fuzz::NullOk)); }),
        KernelRow("lstrcmpiW", [] { return R(lstrcmpiW(L"a", L"B")); }, 0)
            .Fuzz([](Fuzz& f) { lstrcmpiW(f.Str(Fuzz::NullOk), f.Str(Fuzz::NullOk)); }),
        KernelRow("LoadLibraryW", [] { return R(LoadLibraryW(L"kernel32.dll")); }, 0)
            .Undo([](Result module) { FreeLibrary(HMODULE(module)); })
            .Fuzz([](Fuzz& f) {
                if (HMODULE module = LoadLibraryW(Absent(f)))
                    FreeLibrary(module);
            }),
        KernelRow("CreateSemaphoreW",
                  [] { return R(CreateSemaphoreW(nullptr, 0, 1, L"torwen-sweep-semaphore")); }, 0)
            .Undo(Close)
            .Fuzz([](Fuzz& f) { Close(R(CreateSemaphoreW(nullptr, 0, 1, f.Str(Fuzz::NullOk)))); }),
        Row("IsBadStringPtrW", [] { return R(IsBadStringPtrW(L"sweep", 100)); }, std::nullopt)
            .Kernel()
            .Ok(FALSE)
            .Fuzz([](Fuzz& f) {
                LPCWSTR s = f.Str();
                EXPECT_FALSE(IsBadStringPtrW(s, f.Count(f.Len(s) + 1)));
            }),
        KernelRow("Process32FirstW", [] { return WalkProcesses(Process32FirstW); }, FALSE)
            .Fuzz([](Fuzz& f) { WalkWith(f, Process32FirstW); }),
        KernelRow("Process32NextW", [] { return WalkProcesses(Process32NextW); }, FALSE)
            .Fuzz([](Fuzz& f) { WalkWith(f, Process32NextW); }),
    };
}

}  // namespace sweep
