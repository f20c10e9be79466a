#include "sweep/sweep.h"

#include <tlhelp32.h>
#include <torwen.h>

namespace sweep {

namespace {

std::string A(const std::wstring& s)
{
    return harness::ToAnsi(s);
}

const std::wstring& File()
{
    static const std::wstring path = MakeFile(L"kernel.txt");
    return path;
}

// A path below a file, which no folder can be: nothing is made or removed there,
// but the name is converted all the same.
LPCWSTR Absent(Fuzz& f)
{
    return f.Copy(File() + L"\\" + f.Text());
}

// At most `most` characters of a fuzzed string, where Wine cannot take more: it
// overruns its stack on number separators over three characters and on date and
// time formats of a few hundred, and ends the process in GetLongPathNameW and
// CreateProcessW on a path of thousands.
LPWSTR Clipped(Fuzz& f, int most)
{
    return f.Copy(f.Text().substr(0, most));
}

// A profile file named by a fuzzed string: Wine's profile functions lose track of a
// name longer than MAX_PATH and corrupt the heap sooner or later. One written to
// lies below a file, where it cannot be made.
LPCWSTR ProfileFile(Fuzz& f, bool makeable = true)
{
    return f.Copy((makeable ? PathIn(L"") : File() + L"\\") + f.Text().substr(0, 150));
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

LPCWSTR IniOr(Fuzz& f)
{
    return f.Pick(2) ? Ini().c_str() : ProfileFile(f);
}

// The file the writers write, and the system profile's section they write to.
LPCWSTR Written()
{
    static const std::wstring path = PathIn(L"written.ini");
    return path.c_str();
}

// Wine's profile readers write two characters into a buffer of fewer, and one
// before it when a list of names or keys does not fit.
const int SectionLeast = 2;

void ForgetWritten(Result = 0)
{
    WritePrivateProfileStringA("written", nullptr, nullptr, A(Written()).c_str());
}

void ForgetWinIni(Result = 0)
{
    WriteProfileStringA("torwen-sweep", nullptr, nullptr);
}

// A section of the system profile the readers find.
LPCWSTR WinIniSection()
{
    static bool made = WriteProfileStringA("torwen-sweep-read", "key", "value");
    (void)made;
    return L"torwen-sweep-read";
}

// The atoms the finders find and the readers read.
const ATOM TheGlobalAtom = GlobalAddAtomA("torwen sweep global");
const ATOM TheLocalAtom = AddAtomA("torwen sweep local");

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

void Unload(Result module)
{
    FreeLibrary(HMODULE(module));
}

// An Undo that removes the file or folder a valid call made.
std::function<void(Result)> Remove(const wchar_t* name, BOOL(WINAPI* remove)(LPCSTR) = DeleteFileA)
{
    return [name, remove](Result) { remove(A(PathIn(name)).c_str()); };
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

// A named object: made under a name of the row's own, then under fuzzed names.
Row Named(const char* name, HANDLE (*make)(LPCWSTR), Fuzz::Nulls nulls = Fuzz::NullOk)
{
    return Row(name, 0)
        .Call([=] { return R(make(harness::FromAnsi(name).c_str())); })
        .Undo(Close)
        .Fuzz([=](Fuzz& f) { Close(R(make(f.Str(nulls)))); });
}

// The snapshot walkers. Fuzzing walks one snapshot, made once (making one takes
// milliseconds), with entries of sizes from too small to too large.
Row Walker(const char* name, BOOL(WINAPI* walk)(HANDLE, LPPROCESSENTRY32W))
{
    return Row(name, FALSE)
        .Call([walk] {
            HANDLE snapshot = CreateToolhelp32Snapshot(TH32CS_SNAPPROCESS, 0);
            auto* entry = Room<PROCESSENTRY32W>();
            entry->dwSize = sizeof *entry;
            BOOL r = walk(snapshot, entry);
            CloseHandle(snapshot);
            return R(r);
        })
        .Fuzz([walk](Fuzz& f) {
            static HANDLE snapshot = CreateToolhelp32Snapshot(TH32CS_SNAPPROCESS, 0);
            const int sizes[] = {4, sizeof(PROCESSENTRY32W) - 1, sizeof(PROCESSENTRY32W),
                                 sizeof(PROCESSENTRY32W) + 64};
            int size = sizes[f.Pick(4)];
            auto* entry = reinterpret_cast<LPPROCESSENTRY32W>(f.Out<BYTE>(size));
            entry->dwSize = size;
            walk(snapshot, entry);
        });
}

// Readers of a directory or path into a counted buffer, whose A function tells
// the text's length.
template <typename Read>
Row PathReader(const char* name, Read read, UINT (*readA)(LPSTR, UINT))
{
    return Row(name, 0).Call([read] { return R(read(Room(), MAX_PATH)); }).Fuzz([read, readA](Fuzz& f) {
        char a[MAX_PATH];
        Buffer b(f, int(harness::FromAnsi(std::string(a, readA(a, MAX_PATH))).size()));
        DWORD r = read(b.p, b.n);
        if (r < DWORD(b.n)) {
            EXPECT_EQ(b.p[r], 0) << "a text that fits ends with its terminator";
        }
    });
}

// A process started suspended and ended at once.
void End(const PROCESS_INFORMATION& info)
{
    TerminateProcess(info.hProcess, 0);
    CloseHandle(info.hThread);
    CloseHandle(info.hProcess);
}

}  // namespace

std::vector<Row> KernelRows()
{
    std::vector<Row> rows = {
        // ---- version
        Row("GetVersionExW", FALSE)
            .Call([] {
                auto* info = Room<OSVERSIONINFOW>();
                info->dwOSVersionInfoSize = sizeof *info;
                return R(GetVersionExW(info));
            })
            .Fuzz([](Fuzz& f) {
                const DWORD sizes[] = {sizeof(OSVERSIONINFOW), sizeof(OSVERSIONINFOEXW), 4};
                DWORD size = sizes[f.Pick(3)];
                auto* info = reinterpret_cast<OSVERSIONINFOW*>(f.Out<BYTE>(size));
                info->dwOSVersionInfoSize = size;
                GetVersionExW(info);
            }),

        // ---- atoms
        Row("GlobalAddAtomW", [] { return R(GlobalAddAtomW(L"torwen sweep")); }, 0)
            .Undo([](Result atom) { GlobalDeleteAtom(ATOM(atom)); })
            .Fuzz([](Fuzz& f) { GlobalDeleteAtom(GlobalAddAtomW(f.Str(Fuzz::NullOk))); }),
        Row("GlobalFindAtomW", [] { return R(GlobalFindAtomW(L"torwen sweep global")); }, 0)
            .Fuzz([](Fuzz& f) { GlobalFindAtomW(f.Str()); }),
        Row("GlobalGetAtomNameW", [] { return R(GlobalGetAtomNameW(TheGlobalAtom, Room(), 64)); }, 0)
            .Fuzz([](Fuzz& f) {
                Buffer b(f, 19);
                EXPECT_LE(GlobalGetAtomNameW(TheGlobalAtom, b.p, b.n), UINT(b.n));
            }),
        Row("AddAtomW", [] { return R(AddAtomW(L"torwen sweep")); }, 0)
            .Undo([](Result atom) { DeleteAtom(ATOM(atom)); })
            .Fuzz([](Fuzz& f) { DeleteAtom(AddAtomW(f.Str())); }),
        Row("FindAtomW", [] { return R(FindAtomW(L"torwen sweep local")); }, 0)
            .Fuzz([](Fuzz& f) { FindAtomW(f.Str()); }),
        Row("GetAtomNameW", [] { return R(GetAtomNameW(TheLocalAtom, Room(), 64)); }, 0)
            .Fuzz([](Fuzz& f) {
                Buffer b(f, 18);
                EXPECT_LE(GetAtomNameW(TheLocalAtom, b.p, b.n), UINT(b.n));
            }),

        // ---- profile files (readers keep no saved error)
        Row("GetProfileIntW", [] { return R(GetProfileIntW(L"torwen-sweep-none", L"key", 7)); }, 0,
            Error::AsLeft)
            .Fuzz([](Fuzz& f) { GetProfileIntW(f.Str(Fuzz::NullOk), f.Str(Fuzz::NullOk), 7); }),
        Row("GetPrivateProfileIntW",
            [] { return R(GetPrivateProfileIntW(L"section", L"key", 0, Ini().c_str())); }, 0,
            Error::AsLeft)
            .Ok(5)
            .Fuzz([](Fuzz& f) { GetPrivateProfileIntW(f.Str(), f.Str(), 7, IniOr(f)); }),
        Row("GetProfileStringW",
            [] { return R(GetProfileStringW(L"torwen-sweep-none", L"key", L"default", Room(), 64)); },
            0, Error::AsLeft)
            .Fuzz([](Fuzz& f) {
                LPCWSTR section = f.Pick(2) ? WinIniSection() : f.Str(Fuzz::NullOk);
                LPCWSTR key = f.Str(Fuzz::NullOk), def = f.Str(Fuzz::NullOk);
                Buffer b(f, 5, SectionLeast);
                EXPECT_LE(GetProfileStringW(section, key, def, b.p, b.n), DWORD(b.n));
            }),
        Row("GetPrivateProfileStringW",
            [] { return R(GetPrivateProfileStringW(L"section", L"key", L"", Room(), 64, Ini().c_str())); },
            0, Error::AsLeft)
            .Fuzz([](Fuzz& f) {
                LPCWSTR section = f.Pick(2) ? L"section" : f.Str(Fuzz::NullOk);
                LPCWSTR key = f.Str(Fuzz::NullOk), def = f.Str(Fuzz::NullOk), file = IniOr(f);
                Buffer b(f, 3, SectionLeast);
                EXPECT_LE(GetPrivateProfileStringW(section, key, def, b.p, b.n, file), DWORD(b.n));
            }),
        Row("WriteProfileStringW", [] { return R(WriteProfileStringW(L"torwen-sweep", L"key", L"value")); },
            FALSE)
            .Undo(ForgetWinIni)
            .Fuzz([](Fuzz& f) {
                WriteProfileStringW(L"torwen-sweep", f.Str(), f.Str(Fuzz::NullOk));
                WriteProfileStringW(f.Str(), nullptr, nullptr);
                ForgetWinIni();
            }),
        Row("WritePrivateProfileStringW",
            [] { return R(WritePrivateProfileStringW(L"written", L"key", L"value", Written())); }, FALSE)
            .Undo(ForgetWritten)
            .Fuzz([](Fuzz& f) {
                WritePrivateProfileStringW(L"written", f.Str(), f.Str(Fuzz::NullOk), Written());
                WritePrivateProfileStringW(f.Str(), nullptr, nullptr, ProfileFile(f, false));
                ForgetWritten();
            }),
        Row("GetProfileSectionW", [] { return R(GetProfileSectionW(WinIniSection(), Room(), 64)); }, 0,
            Error::AsLeft)
            .Fuzz([](Fuzz& f) {
                LPCWSTR section = f.Pick(2) ? WinIniSection() : f.Str();
                Buffer b(f, 10, SectionLeast);
                EXPECT_LE(GetProfileSectionW(section, b.p, b.n), DWORD(b.n));
            }),
        Row("GetPrivateProfileSectionW",
            [] { return R(GetPrivateProfileSectionW(L"section", Room(), 64, Ini().c_str())); }, 0,
            Error::AsLeft)
            .Fuzz([](Fuzz& f) {
                LPCWSTR section = f.Pick(2) ? L"section" : f.Str(), file = IniOr(f);
                Buffer b(f, 30, SectionLeast);
                EXPECT_LE(GetPrivateProfileSectionW(section, b.p, b.n, file), DWORD(b.n));
            }),
        Row("GetPrivateProfileSectionNamesW",
            [] { return R(GetPrivateProfileSectionNamesW(Room(), 64, Ini().c_str())); }, 0, Error::AsLeft)
            .Fuzz([](Fuzz& f) {
                LPCWSTR file = IniOr(f);
                Buffer b(f, 8);
                EXPECT_LE(GetPrivateProfileSectionNamesW(b.p, b.n, file), DWORD(b.n));
            }),
        // A section's list of strings ends in two NULs.
        Row("WriteProfileSectionW", [] { return R(WriteProfileSectionW(L"torwen-sweep", L"key=value\0")); },
            FALSE)
            .Undo(ForgetWinIni)
            .Fuzz([](Fuzz& f) {
                WriteProfileSectionW(L"torwen-sweep", f.Copy(L"key=" + f.Text(), 2));
                ForgetWinIni();
            }),
        Row("WritePrivateProfileSectionW",
            [] { return R(WritePrivateProfileSectionW(L"written", L"key=value\0", Written())); }, FALSE)
            .Undo(ForgetWritten)
            .Fuzz([](Fuzz& f) {
                WritePrivateProfileSectionW(L"written", f.Copy(L"key=" + f.Text(), 2), Written());
                WritePrivateProfileSectionW(f.Str(), L"\0", ProfileFile(f, false));
                ForgetWritten();
            }),
        Row("GetPrivateProfileStructW",
            [] { return R(GetPrivateProfileStructW(L"section", L"struct", Room(), 4, Ini().c_str())); },
            FALSE, Error::AsLeft)
            .Fuzz([](Fuzz& f) {
                LPCWSTR key = f.Pick(2) ? L"struct" : f.Str();
                UINT size = f.Count(4);
                GetPrivateProfileStructW(f.Str(), key, f.Out<BYTE>(size), size, Ini().c_str());
            }),
        Row("WritePrivateProfileStructW",
            [] { return R(WritePrivateProfileStructW(L"written", L"struct", Room(), 4, Written())); }, FALSE)
            .Undo(ForgetWritten)
            .Fuzz([](Fuzz& f) {
                WritePrivateProfileStructW(L"written", f.Str(), Room(), 4, Written());
                ForgetWritten();
            }),

        // ---- national-language functions
        Row("CompareStringW",
            [] { return R(CompareStringW(LOCALE_USER_DEFAULT, 0, L"abc", -1, L"abd", 2)); }, 0)
            .Fuzz([](Fuzz& f) {
                Counted a(f), b(f);
                CompareStringW(LOCALE_USER_DEFAULT, NORM_IGNORECASE, a.s, a.n, b.s, b.n);
            }),
        Row("GetLocaleInfoW",
            [] { return R(GetLocaleInfoW(LOCALE_USER_DEFAULT, LOCALE_SDAYNAME1, Room(), 64)); }, 0)
            .Fuzz([](Fuzz& f) {
                Buffer b(f, 6);
                EXPECT_LE(GetLocaleInfoW(LOCALE_USER_DEFAULT, LOCALE_SDAYNAME1, b.p, b.n), b.n ? b.n : 64);
            }),
        // The morning's designator the user has now, set again.
        Row("SetLocaleInfoW", FALSE)
            .Call([] {
                char* am = Room<char>();
                GetLocaleInfoA(LOCALE_USER_DEFAULT, LOCALE_S1159, am, 32);
                return R(SetLocaleInfoW(LOCALE_USER_DEFAULT, LOCALE_S1159, harness::FromAnsi(am).c_str()));
            })
            .Fuzz([](Fuzz& f) {
                char am[32] = "";
                GetLocaleInfoA(LOCALE_USER_DEFAULT, LOCALE_S1159, am, 32);
                SetLocaleInfoW(LOCALE_USER_DEFAULT, LOCALE_S1159, f.Str());
                SetLocaleInfoA(LOCALE_USER_DEFAULT, LOCALE_S1159, am);
            }),
        Row("GetTimeFormatW",
            [] { return R(GetTimeFormatW(LOCALE_USER_DEFAULT, 0, nullptr, L"HH:mm", Room(), 64)); }, 0)
            .Fuzz([](Fuzz& f) {
                LPCWSTR format = f.Pick(8) ? Clipped(f, 80) : nullptr;
                Buffer b(f, f.Len(format));
                GetTimeFormatW(LOCALE_USER_DEFAULT, 0, nullptr, format, b.p, b.n);
            }),
        Row("GetDateFormatW",
            [] { return R(GetDateFormatW(LOCALE_USER_DEFAULT, 0, nullptr, L"yyyy-MM-dd", Room(), 64)); }, 0)
            .Fuzz([](Fuzz& f) {
                LPCWSTR format = f.Pick(8) ? Clipped(f, 80) : nullptr;
                Buffer b(f, f.Len(format));
                GetDateFormatW(LOCALE_USER_DEFAULT, 0, nullptr, format, b.p, b.n);
            }),

        // ---- message formatting
        Row("FormatMessageW", 0)
            .Call([] {
                DWORD_PTR inserts[] = {DWORD_PTR(L"sweep"), DWORD_PTR(L'x')};
                return R(FormatMessageW(FORMAT_MESSAGE_FROM_STRING | FORMAT_MESSAGE_ARGUMENT_ARRAY,
                                        L"%1 %2!c!", 0, 0, Room(), 64, reinterpret_cast<va_list*>(inserts)));
            })
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
        Row("CreateFileW", std::nullopt)
            .Call([] {
                return R(CreateFileW(PathIn(L"created.txt").c_str(), GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS,
                                     FILE_ATTRIBUTE_NORMAL, nullptr));
            })
            .Ok(IsSuccessHandle)
            .Undo([](Result file) {
                Close(file);
                DeleteFileA(A(PathIn(L"created.txt")).c_str());
            })
            .Fuzz([](Fuzz& f) {
                HANDLE file = CreateFileW(f.Path(), GENERIC_READ, FILE_SHARE_READ, nullptr, OPEN_EXISTING, 0,
                                          nullptr);
                if (IsSuccessHandle(R(file)))
                    CloseHandle(file);
            }),
        Row("GetFileAttributesW", [] { return R(GetFileAttributesW(File().c_str())); },
            INVALID_FILE_ATTRIBUTES)
            .Fuzz([](Fuzz& f) { GetFileAttributesW(f.Path()); }),
        Row("SetFileAttributesW", [] { return R(SetFileAttributesW(File().c_str(), FILE_ATTRIBUTE_NORMAL)); },
            FALSE)
            .Fuzz([](Fuzz& f) { SetFileAttributesW(Absent(f), FILE_ATTRIBUTE_NORMAL); }),
        Row("GetFileAttributesExW", FALSE)
            .Call([] {
                return R(GetFileAttributesExW(File().c_str(), GetFileExInfoStandard,
                                              Room<WIN32_FILE_ATTRIBUTE_DATA>()));
            })
            .Fuzz([](Fuzz& f) {
                auto* data = f.Out<WIN32_FILE_ATTRIBUTE_DATA>(1);
                GetFileAttributesExW(f.Path(), GetFileExInfoStandard, data);
            }),
        Row("DeleteFileW", [] { return R(DeleteFileW(MakeFile(L"deleted.txt").c_str())); }, FALSE)
            .Fuzz([](Fuzz& f) { DeleteFileW(Absent(f)); }),
        Row("CopyFileW", [] { return R(CopyFileW(File().c_str(), PathIn(L"copied.txt").c_str(), FALSE)); },
            FALSE)
            .Undo(Remove(L"copied.txt"))
            .Fuzz([](Fuzz& f) { CopyFileW(f.Path(), Absent(f), FALSE); }),
        Row("MoveFileExW", FALSE)
            .Call([] {
                return R(MoveFileExW(MakeFile(L"move-from.txt").c_str(), PathIn(L"move-to.txt").c_str(),
                                     MOVEFILE_REPLACE_EXISTING));
            })
            .Undo(Remove(L"move-to.txt"))
            .Fuzz([](Fuzz& f) { MoveFileExW(Absent(f), Absent(f), 0); }),
        Row("CreateDirectoryExW",
            [] { return R(CreateDirectoryExW(Folder().c_str(), PathIn(L"made-ex").c_str(), nullptr)); },
            FALSE)
            .Undo(Remove(L"made-ex", RemoveDirectoryA))
            .Fuzz([](Fuzz& f) { CreateDirectoryExW(f.Path(), Absent(f), nullptr); }),
        // advapi32's: the one row of this family that kernel32 alone does not answer.
        Row("GetFileSecurityW", FALSE)
            .Call([] {
                DWORD needed = 0;
                return R(GetFileSecurityW(File().c_str(), OWNER_SECURITY_INFORMATION, Room<BYTE>(), 1024,
                                          &needed));
            })
            .Fuzz([](Fuzz& f) {
                DWORD size = f.Count(64), needed = 0;
                GetFileSecurityW(f.Pick(2) ? File().c_str() : f.Path(), OWNER_SECURITY_INFORMATION,
                                 f.Out<BYTE>(size), size, &needed);
            }),
        Row("FindFirstFileW",
            [] { return R(FindFirstFileW(PathIn(L"*").c_str(), Room<WIN32_FIND_DATAW>())); },
            R(INVALID_HANDLE_VALUE))
            .Undo([](Result find) { FindClose(HANDLE(find)); })
            .Fuzz([](Fuzz& f) {
                HANDLE find = FindFirstFileW(f.Path(), f.Out<WIN32_FIND_DATAW>(1));
                if (find != INVALID_HANDLE_VALUE)
                    FindClose(find);
            }),
        // The caller's record is converted before the call, whatever its names hold.
        Row("FindNextFileW", FALSE)
            .Call([] {
                File();
                HANDLE find = FindFirstFileA(A(PathIn(L"*")).c_str(), Room<WIN32_FIND_DATAA>());
                BOOL r = FindNextFileW(find, Room<WIN32_FIND_DATAW>());
                FindClose(find);
                return R(r);
            })
            .Fuzz([](Fuzz& f) {
                HANDLE find = FindFirstFileA(A(PathIn(L"*")).c_str(), Room<WIN32_FIND_DATAA>());
                FindNextFileW(find, f.Out<WIN32_FIND_DATAW>(1));
                FindClose(find);
            }),
        PathReader("GetSystemDirectoryW", [](LPWSTR p, int n) { return DWORD(GetSystemDirectoryW(p, n)); },
                   [](LPSTR p, UINT n) { return GetSystemDirectoryA(p, n); }),
        PathReader("GetWindowsDirectoryW", [](LPWSTR p, int n) { return DWORD(GetWindowsDirectoryW(p, n)); },
                   [](LPSTR p, UINT n) { return GetWindowsDirectoryA(p, n); }),
        PathReader("GetTempPathW", [](LPWSTR p, int n) { return GetTempPathW(n, p); },
                   [](LPSTR p, UINT n) { return UINT(GetTempPathA(n, p)); }),
        PathReader("GetCurrentDirectoryW", [](LPWSTR p, int n) { return GetCurrentDirectoryW(n, p); },
                   [](LPSTR p, UINT n) { return UINT(GetCurrentDirectoryA(n, p)); }),
        Row("SetCurrentDirectoryW", [] { return R(SetCurrentDirectoryW(CurrentDirectory().c_str())); }, FALSE)
            .Fuzz([](Fuzz& f) {
                std::string dir = A(CurrentDirectory());
                SetCurrentDirectoryW(f.Path());
                SetCurrentDirectoryA(dir.c_str());
            }),
        Row("GetShortPathNameW", [] { return R(GetShortPathNameW(File().c_str(), Room(), MAX_PATH)); }, 0)
            .Fuzz([](Fuzz& f) {
                LPCWSTR path = f.Pick(2) ? File().c_str() : f.Path();
                Buffer b(f, f.Len(path));
                GetShortPathNameW(path, b.p, b.n);
            }),
        Row("GetFullPathNameW", 0)
            .Call([] {
                LPWSTR part = nullptr;
                return R(GetFullPathNameW(L"kernel.txt", MAX_PATH, Room(), &part));
            })
            .Fuzz([](Fuzz& f) {
                LPCWSTR name = f.Str();
                Buffer b(f, f.Len(name) + int(CurrentDirectory().size()) + 1);
                LPWSTR part = nullptr;
                if (GetFullPathNameW(name, b.n, b.p, &part) && part) {
                    ExpectInside(part, b);
                }
            }),
        Row("SearchPathW", 0)
            .Call([] {
                File();
                LPWSTR part = nullptr;
                return R(SearchPathW(Folder().c_str(), L"kernel", L".txt", MAX_PATH, Room(), &part));
            })
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
        Row("GetTempFileNameW", [] { return R(GetTempFileNameW(Folder().c_str(), L"tw", 0x1234, Room())); },
            0)
            .Fuzz([](Fuzz& f) {
                LPCWSTR path = f.Pick(2) ? Folder().c_str() : f.Path();
                GetTempFileNameW(path, f.Str(), 0x1234, f.Out<WCHAR>(MAX_PATH));
            }),
        Row("GetDriveTypeW", [] { return R(GetDriveTypeW(L"C:\\")); }, DRIVE_UNKNOWN, Error::AsLeft)
            .Fuzz([](Fuzz& f) { GetDriveTypeW(f.Str(Fuzz::NullOk)); }),
        Row("GetDiskFreeSpaceW", FALSE)
            .Call([] {
                DWORD* n = Room<DWORD>();
                return R(GetDiskFreeSpaceW(L"C:\\", n, n + 1, n + 2, n + 3));
            })
            .Fuzz([](Fuzz& f) {
                DWORD* n = Room<DWORD>();
                GetDiskFreeSpaceW(f.Str(Fuzz::NullOk), n, n + 1, n + 2, n + 3);
            }),
        Row("GetVolumeInformationW", FALSE)
            .Call([] {
                WCHAR name[MAX_PATH], system[MAX_PATH];
                DWORD* n = Room<DWORD>();
                return R(GetVolumeInformationW(L"C:\\", name, MAX_PATH, n, n + 1, n + 2, system, MAX_PATH));
            })
            .Fuzz([](Fuzz& f) {
                LPCWSTR root = f.Pick(2) ? L"C:\\" : f.Str(Fuzz::NullOk);
                static const int labelLength = int(Label().size());
                Buffer name(f, labelLength), system(f, 4);
                DWORD* n = Room<DWORD>();
                GetVolumeInformationW(root, name.p, name.n, n, n + 1, n + 2, system.p, system.n);
            }),

        // ---- processes, modules, environment and named objects
        // The test program itself, started suspended and ended at once.
        Row("CreateProcessW", FALSE)
            .Call([] {
                char self[MAX_PATH];
                GetModuleFileNameA(nullptr, self, MAX_PATH);
                std::wstring command = L"sweep --gtest_list_tests";
                auto* startup = Room<STARTUPINFOW>();
                startup->cb = sizeof *startup;
                PROCESS_INFORMATION info = {};
                BOOL r = CreateProcessW(harness::FromAnsi(self).c_str(), command.data(), nullptr, nullptr,
                                        FALSE, CREATE_SUSPENDED, nullptr, nullptr, startup, &info);
                if (r)
                    End(info);
                return R(r);
            })
            .Fuzz([](Fuzz& f) {
                auto* startup = Room<STARTUPINFOW>();
                startup->cb = sizeof *startup;
                startup->lpTitle = const_cast<LPWSTR>(f.Str(Fuzz::NullOk));
                startup->lpDesktop = const_cast<LPWSTR>(f.Str(Fuzz::NullOk));
                PROCESS_INFORMATION info = {};
                LPCWSTR command = f.Str();
                LPVOID env = f.Copy(L"A=" + f.Text(), 2);
                LPCWSTR program = f.Copy(File() + L"\\" + Clipped(f, 200)), dir = f.Str(Fuzz::NullOk);
                LPWSTR line = f.Copy(command);
                // The program does not exist: nothing starts.
                const DWORD flags = CREATE_SUSPENDED | CREATE_UNICODE_ENVIRONMENT;
                if (CreateProcessW(program, line, nullptr, nullptr, FALSE, flags, env, dir, startup, &info))
                    End(info);
            }),
        Row("GetProcAddressW",
            [] { return R(GetProcAddressW(GetModuleHandleA("kernel32.dll"), L"GetTickCount")); }, 0)
            .ConvertsOnWPath()
            .WorksWhenMissing()
            .Fuzz([](Fuzz& f) { GetProcAddressW(GetModuleHandleA("kernel32.dll"), f.Str()); }),
        Row("LoadLibraryExW", [] { return R(LoadLibraryExW(L"kernel32.dll", nullptr, 0)); }, 0)
            .Undo(Unload)
            .Fuzz([](Fuzz& f) {
                Unload(R(LoadLibraryExW(Absent(f), nullptr, LOAD_LIBRARY_AS_DATAFILE)));
            }),
        // The test program's own start-up code calls it, so it is bound before any
        // function can be made absent.
        Row("GetModuleHandleW", [] { return R(GetModuleHandleW(L"kernel32.dll")); }, 0)
            .WorksWhenMissing()
            .Fuzz([](Fuzz& f) { GetModuleHandleW(f.Str(Fuzz::NullOk)); }),
        Row("GetModuleFileNameW", [] { return R(GetModuleFileNameW(nullptr, Room(), MAX_PATH)); }, 0)
            .Fuzz([](Fuzz& f) {
                char self[MAX_PATH];
                std::string name(self, GetModuleFileNameA(nullptr, self, MAX_PATH));
                Buffer b(f, int(harness::FromAnsi(name).size()));
                EXPECT_LE(GetModuleFileNameW(nullptr, b.p, b.n), DWORD(b.n));
            }),
        Row("FindResourceExW",
            [] { return R(FindResourceExW(harness::Torwen(), RT_VERSION, MAKEINTRESOURCEW(1), 0)); }, 0)
            .Fuzz([](Fuzz& f) { FindResourceExW(harness::Torwen(), f.Str(), f.Str(), 0); }),
        Row::Void("OutputDebugStringW", [] { OutputDebugStringW(L"torwen sweep\n"); }, Error::AsLeft)
            .Fuzz([](Fuzz& f) { OutputDebugStringW(f.Str(Fuzz::NullOk)); }),
        // Only torwen knows how to free the block it made.
        Row("GetEnvironmentStringsW", [] { return R(GetEnvironmentStringsW()); }, 0, Error::AsLeft)
            .Undo([](Result block) { FreeEnvironmentStringsW(LPWCH(block)); }),
        Row("FreeEnvironmentStringsW", FALSE, Error::AsLeft)
            .Call([] {
                LPWCH block = GetEnvironmentStringsW();
                return R(block ? FreeEnvironmentStringsW(block) : FALSE);
            }),
        Row("GetEnvironmentVariableW", 0, Error::AsLeft)
            .Call([] {
                SetEnvironmentVariableA("TORWEN_SWEEP_READ", "value");
                return R(GetEnvironmentVariableW(L"TORWEN_SWEEP_READ", Room(), 64));
            })
            .Fuzz([](Fuzz& f) {
                SetEnvironmentVariableA("TORWEN_SWEEP_READ", "value");
                LPCWSTR name = f.Pick(2) ? L"TORWEN_SWEEP_READ" : f.Str();
                Buffer b(f, 5);
                GetEnvironmentVariableW(name, b.p, b.n);
            }),
        Row("SetEnvironmentVariableW",
            [] { return R(SetEnvironmentVariableW(L"TORWEN_SWEEP_SET", L"value")); }, FALSE)
            .Undo([](Result) { SetEnvironmentVariableA("TORWEN_SWEEP_SET", nullptr); })
            .Fuzz([](Fuzz& f) {
                SetEnvironmentVariableW(L"TORWEN_SWEEP_SET", f.Str(Fuzz::NullOk));
                SetEnvironmentVariableA("TORWEN_SWEEP_SET", nullptr);
                SetEnvironmentVariableW(f.Str(), nullptr);
            }),
        Row("GetLogicalDriveStringsW", [] { return R(GetLogicalDriveStringsW(256, Room())); }, 0)
            .Fuzz([](Fuzz& f) {
                static const int length = int(GetLogicalDriveStringsA(0, nullptr));
                Buffer b(f, length);
                GetLogicalDriveStringsW(b.n, b.p);
            }),
        Named("CreateMutexW", [](LPCWSTR name) { return CreateMutexW(nullptr, FALSE, name); }),
        Named("CreateEventW", [](LPCWSTR name) { return CreateEventW(nullptr, TRUE, FALSE, name); }),
        Named("CreateSemaphoreW", [](LPCWSTR name) { return CreateSemaphoreW(nullptr, 0, 1, name); }),
        Named("CreateFileMappingW",
              [](LPCWSTR name) {
                  return CreateFileMappingW(INVALID_HANDLE_VALUE, nullptr, PAGE_READWRITE, 0, 4096, name);
              }),
        // The event it opens is made under the row's name.
        Named("OpenEventW",
              [](LPCWSTR name) {
                  static HANDLE event = CreateEventA(nullptr, TRUE, FALSE, "OpenEventW");
                  (void)event;
                  return OpenEventW(SYNCHRONIZE, FALSE, name);
              },
              Fuzz::NoNull),

        // ---- beyond the families above
        Row("CreateDirectoryW", [] { return R(CreateDirectoryW(PathIn(L"made").c_str(), nullptr)); }, FALSE)
            .Undo(Remove(L"made", RemoveDirectoryA))
            .Fuzz([](Fuzz& f) { CreateDirectoryW(Absent(f), nullptr); }),
        Row("RemoveDirectoryW", FALSE)
            .Call([] {
                CreateDirectoryA(A(PathIn(L"removed")).c_str(), nullptr);
                return R(RemoveDirectoryW(PathIn(L"removed").c_str()));
            })
            .Fuzz([](Fuzz& f) { RemoveDirectoryW(Absent(f)); }),
        Row("MoveFileW",
            [] { return R(MoveFileW(MakeFile(L"moved-from.txt").c_str(), PathIn(L"moved-to.txt").c_str())); },
            FALSE)
            .Undo(Remove(L"moved-to.txt"))
            .Fuzz([](Fuzz& f) { MoveFileW(Absent(f), Absent(f)); }),
        Row("CopyFileExW", FALSE)
            .Call([] {
                return R(CopyFileExW(File().c_str(), PathIn(L"copied-ex.txt").c_str(), nullptr, nullptr,
                                     nullptr, 0));
            })
            .Undo(Remove(L"copied-ex.txt"))
            .Fuzz([](Fuzz& f) { CopyFileExW(f.Path(), Absent(f), nullptr, nullptr, nullptr, 0); }),
        Row("GetDiskFreeSpaceExW", FALSE)
            .Call([] {
                auto* n = Room<ULARGE_INTEGER>();
                return R(GetDiskFreeSpaceExW(Folder().c_str(), n, n + 1, n + 2));
            })
            .Fuzz([](Fuzz& f) {
                auto* n = Room<ULARGE_INTEGER>();
                GetDiskFreeSpaceExW(f.Str(Fuzz::NullOk), n, n + 1, n + 2);
            }),
        Row("GetLongPathNameW", [] { return R(GetLongPathNameW(File().c_str(), Room(), MAX_PATH)); }, 0)
            .Fuzz([](Fuzz& f) {
                LPCWSTR path = f.Pick(2) ? File().c_str() : f.Copy(PathIn(Clipped(f, 200)));
                Buffer b(f, f.Len(path));
                DWORD r = GetLongPathNameW(path, b.p, b.n);
                if (r && r < DWORD(b.n)) {
                    EXPECT_EQ(b.p[r], 0);
                }
            }),
        // The label C: has now, set again.
        Row("SetVolumeLabelW", [] { return R(SetVolumeLabelW(L"C:\\", Label().c_str())); }, FALSE)
            .Fuzz([](Fuzz& f) {
                std::string label = A(Label());
                // Wine faults on a null label, which would remove it.
                SetVolumeLabelW(f.Pick(2) ? L"C:\\" : Absent(f), f.Str());
                SetVolumeLabelA("C:\\", label.c_str());
            }),
        Row("ExpandEnvironmentStringsW",
            [] { return R(ExpandEnvironmentStringsW(L"%TEMP%\\sweep", Room(), MAX_PATH)); }, 0)
            .Fuzz([](Fuzz& f) {
                LPCWSTR source = f.Str();
                Buffer b(f, f.Len(source) + 1);
                DWORD r = ExpandEnvironmentStringsW(source, b.p, b.n);
                if (r && r <= DWORD(b.n)) {
                    EXPECT_EQ(b.p[r - 1], 0);
                }
            }),
        Row("GetComputerNameW", FALSE)
            .Call([] {
                DWORD n = MAX_COMPUTERNAME_LENGTH + 1;
                return R(GetComputerNameW(Room(), &n));
            })
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
                      auto* info = Room<STARTUPINFOW>();
                      info->cb = sizeof *info;
                      GetStartupInfoW(info);
                  })
            .Fuzz([](Fuzz& f) { GetStartupInfoW(f.Out<STARTUPINFOW>(1)); }),
        Row("GetCPInfoExW", [] { return R(GetCPInfoExW(CP_ACP, 0, Room<CPINFOEXW>())); }, FALSE)
            .Fuzz([](Fuzz& f) {
                const UINT pages[] = {CP_ACP, CP_OEMCP, 932, 1252, 65001, 12345};
                GetCPInfoExW(pages[f.Pick(6)], 0, f.Out<CPINFOEXW>(1));
            }),
        Row("GetNumberFormatW",
            [] { return R(GetNumberFormatW(LOCALE_USER_DEFAULT, 0, L"1234.5", nullptr, Room(), 64)); }, 0)
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
        Row("LCMapStringW",
            [] { return R(LCMapStringW(LOCALE_USER_DEFAULT, LCMAP_UPPERCASE, L"sweep", -1, Room(), 64)); }, 0)
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
        Row("lstrcmpW", [] { return R(lstrcmpW(L"a", L"b")); }, 0)
            .Fuzz([](Fuzz& f) { lstrcmpW(f.Str(Fuzz::NullOk), f.Str(Fuzz::NullOk)); }),
        Row("lstrcmpiW", [] { return R(lstrcmpiW(L"a", L"B")); }, 0)
            .Fuzz([](Fuzz& f) { lstrcmpiW(f.Str(Fuzz::NullOk), f.Str(Fuzz::NullOk)); }),
        Row("LoadLibraryW", [] { return R(LoadLibraryW(L"kernel32.dll")); }, 0)
            .Undo(Unload)
            .Fuzz([](Fuzz& f) { Unload(R(LoadLibraryW(Absent(f)))); }),
        Row("IsBadStringPtrW", [] { return R(IsBadStringPtrW(L"sweep", 100)); }, std::nullopt)
            .Ok(FALSE)
            .Fuzz([](Fuzz& f) {
                LPCWSTR s = f.Str();
                EXPECT_FALSE(IsBadStringPtrW(s, f.Count(f.Len(s) + 1)));
            }),
        Walker("Process32FirstW", Process32FirstW),
        Walker("Process32NextW", Process32NextW),
    };
    // Every row here but GetFileSecurityW's calls kernel32 alone on the ANSI path.
    for (Row& row : rows)
        if (row.name != "GetFileSecurityW")
            row.Kernel();
    return rows;
}

}  // namespace sweep
