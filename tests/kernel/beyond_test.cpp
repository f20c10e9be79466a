// The kernel functions that wide programs import besides the families above. Both
// paths must answer as the system's W function does: counts in wide characters,
// its terminator rules, a buffer too small told the size it needs and left alone.
#include <algorithm>
#include <cstring>
#include <cwchar>
#include <functional>
#include <string>
#include <vector>

#include "harness/harness.h"

#include <tlhelp32.h>

using namespace harness;
using std::wstring;

namespace {

class KernelBeyondTest : public TorwenTest {
protected:
    void SetUp() override
    {
        TorwenTest::SetUp();
        char temp[MAX_PATH];
        GetTempPathA(MAX_PATH, temp);
        base = FromAnsi(temp);
        // Wine cannot make a name that its Unix locale cannot hold.
        name = L"twb " + NonAsciiText();
        RemoveDirectoryA(ToAnsi(base + name).c_str());
        if (!CreateDirectoryA(ToAnsi(base + name).c_str(), nullptr))
            name = L"twb";
        RemoveDirectoryA(ToAnsi(base + name).c_str());
    }

    wstring base, name;
};

// Folders and files by names beyond ASCII, as the demo and real programs use them.
TEST_F(KernelBeyondTest, FoldersAndFilesRoundTrip)
{
    const wstring dir = base + name, moved = dir + L"~", file = moved + L"\\" + NonAsciiText() + L".txt";
    ASSERT_TRUE(CreateDirectoryW(dir.c_str(), nullptr));
    EXPECT_FALSE(CreateDirectoryW(dir.c_str(), nullptr));
    EXPECT_EQ(GetLastError(), DWORD(ERROR_ALREADY_EXISTS));
    EXPECT_NE(GetFileAttributesA(ToAnsi(dir).c_str()), INVALID_FILE_ATTRIBUTES);
    ASSERT_TRUE(MoveFileW(dir.c_str(), moved.c_str()));

    HANDLE h = CreateFileA(ToAnsi(file).c_str(), GENERIC_WRITE, 0, nullptr, CREATE_NEW, 0, nullptr);
    DWORD written;
    ASSERT_TRUE(WriteFile(h, "abc", 3, &written, nullptr) && CloseHandle(h));
    int progressCalls = 0;  // Wine calls the routine for large files only
    struct Progress {
        static DWORD CALLBACK Count(LARGE_INTEGER, LARGE_INTEGER, LARGE_INTEGER, LARGE_INTEGER, DWORD, DWORD, HANDLE,
                                    HANDLE, LPVOID data)
        {
            ++*static_cast<int*>(data);
            return PROGRESS_CONTINUE;
        }
    };
    LPPROGRESS_ROUTINE progress = &Progress::Count;
    const wstring copy = file + L"2";
    ASSERT_TRUE(CopyFileExW(file.c_str(), copy.c_str(), progress, &progressCalls, nullptr, COPY_FILE_FAIL_IF_EXISTS));
    EXPECT_FALSE(CopyFileExW(file.c_str(), copy.c_str(), nullptr, nullptr, nullptr, COPY_FILE_FAIL_IF_EXISTS));
    EXPECT_EQ(GetLastError(), DWORD(ERROR_FILE_EXISTS));

    WCHAR longName[MAX_PATH];
    EXPECT_EQ(GetLongPathNameW(copy.c_str(), longName, MAX_PATH), copy.size());
    EXPECT_EQ(wstring(longName), copy);
    ULARGE_INTEGER available{}, total{}, free{};
    EXPECT_TRUE(GetDiskFreeSpaceExW(moved.c_str(), &available, &total, &free));
    EXPECT_GT(total.QuadPart, 0u);

    EXPECT_FALSE(RemoveDirectoryW(moved.c_str()));  // not empty
    DeleteFileA(ToAnsi(file).c_str());
    DeleteFileA(ToAnsi(copy).c_str());
    EXPECT_TRUE(RemoveDirectoryW(moved.c_str()));
    EXPECT_EQ(GetFileAttributesA(ToAnsi(moved).c_str()), INVALID_FILE_ATTRIBUTES);
    EXPECT_FALSE(RemoveDirectoryW(moved.c_str()));
    EXPECT_EQ(GetLastError(), DWORD(ERROR_FILE_NOT_FOUND));
}

// A text getter called with a count: `expected` is the whole text; the getter
// answers as its W function does for a buffer that fits exactly, one too small,
// and none at all. Every buffer ends at a no-access page.
struct TextGetter {
    const char* name;
    std::function<wstring()> expected;
    std::function<DWORD(LPWSTR buf, DWORD n)> call;
    enum Kind {
        LengthOrNeeded,    // fits: length without NUL; too small: size with NUL, not written
        SizeAlways,        // size with NUL, fitting or not; too small: not written
        SizeOrZero,        // fits: size with NUL; too small: 0, ERROR_INSUFFICIENT_BUFFER; 0: size
    } kind;
};

TEST_F(KernelBeyondTest, TextGettersCountWideCharacters)
{
    const wstring text = NonAsciiText() + L"z" + NonAsciiText();
    SetEnvironmentVariableA("TWB_VALUE", ToAnsi(text).c_str());
    const wstring dir = base + name, mixed = L"aBc" + NonAsciiText() + L"d";
    ASSERT_TRUE(CreateDirectoryA(ToAnsi(dir).c_str(), nullptr));
    const std::vector<TextGetter> getters = {
        {"ExpandEnvironmentStringsW", [&] { return L"<" + text + L">"; },
         [](LPWSTR b, DWORD n) { return ExpandEnvironmentStringsW(L"<%TWB_VALUE%>", b, n); }, TextGetter::SizeAlways},
        {"GetLongPathNameW", [&] { return dir; },
         [&](LPWSTR b, DWORD n) { return GetLongPathNameW(dir.c_str(), b, n); }, TextGetter::LengthOrNeeded},
        {"GetNumberFormatW",
         [] {
             char a[64];
             GetNumberFormatA(LOCALE_USER_DEFAULT, 0, "-1234567.25", nullptr, a, 64);
             return FromAnsi(a);
         },
         [](LPWSTR b, DWORD n) { return DWORD(GetNumberFormatW(LOCALE_USER_DEFAULT, 0, L"-1234567.25", nullptr, b, n)); },
         TextGetter::SizeOrZero},
        {"GetNumberFormatW with a format",
         [] {
             const wstring sep = NonAsciiText().substr(0, 1);
             return L"1" + sep + L"234" + sep + L"50";
         },
         [&](LPWSTR b, DWORD n) {
             wstring sep = NonAsciiText().substr(0, 1);
             NUMBERFMTW f = {2, 0, 3, sep.data(), sep.data(), 1};
             return DWORD(GetNumberFormatW(LOCALE_USER_DEFAULT, 0, L"1234.5", &f, b, n));
         },
         TextGetter::SizeOrZero},
        {"LCMapStringW",
         [&] {
             char a[64];
             LCMapStringA(LOCALE_USER_DEFAULT, LCMAP_UPPERCASE, ToAnsi(mixed).c_str(), -1, a, 64);
             return FromAnsi(a);
         },
         [&](LPWSTR b, DWORD n) {
             return DWORD(LCMapStringW(LOCALE_USER_DEFAULT, LCMAP_UPPERCASE, mixed.c_str(), -1, b, n));
         },
         TextGetter::SizeOrZero},
    };
    GuardPage guard;
    for (const TextGetter& g : getters) {
        SCOPED_TRACE(g.name);
        const wstring want = g.expected();
        const DWORD size = DWORD(want.size() + 1);
        WCHAR* buf = guard.End<WCHAR>(size, L'#');
        SetLastError(0);
        DWORD r = g.call(buf, size);
        EXPECT_TRUE(r) << "error " << GetLastError();
        EXPECT_EQ(r, g.kind == TextGetter::LengthOrNeeded ? size - 1 : size);
        EXPECT_EQ(wstring(buf), want);

        buf = guard.End<WCHAR>(size - 1, L'#');
        SetLastError(0);
        r = g.call(buf, size - 1);
        if (g.kind == TextGetter::SizeOrZero) {
            EXPECT_EQ(r, 0u);
            EXPECT_EQ(GetLastError(), DWORD(ERROR_INSUFFICIENT_BUFFER));
        } else {
            EXPECT_EQ(r, size);
        }
        if (g.kind == TextGetter::LengthOrNeeded) {
            EXPECT_EQ(buf[0], L'#') << "a buffer too small is not written";
        }
        EXPECT_EQ(g.call(nullptr, 0), size) << "a count of 0 asks for the size";
    }
    RemoveDirectoryA(ToAnsi(dir).c_str());

    // An explicit count: no terminator read or written, and NULs inside are kept.
    WCHAR out[8] = {L'#', L'#', L'#', L'#', L'#', L'#', L'#', L'#'};
    EXPECT_EQ(LCMapStringW(LOCALE_USER_DEFAULT, LCMAP_UPPERCASE, L"ab\0cd", 4, out, 8), 4);
    EXPECT_EQ(wstring(out, 5), wstring(L"AB\0C#", 5));
    EXPECT_EQ(LCMapStringW(LOCALE_USER_DEFAULT, LCMAP_LOWERCASE, L"AB", 2, nullptr, 0), 2);
    if (AnsiPath()) {  // Wine's W function writes through the null buffer
        SetLastError(0);
        EXPECT_EQ(LCMapStringW(LOCALE_USER_DEFAULT, LCMAP_LOWERCASE, L"AB", 2, nullptr, 4), 0);
        EXPECT_EQ(GetLastError(), DWORD(ERROR_INVALID_PARAMETER));
    }
    BYTE key[64] = {};
    EXPECT_GT(LCMapStringW(LOCALE_USER_DEFAULT, LCMAP_SORTKEY, L"abc", -1, reinterpret_cast<LPWSTR>(key), 64), 0);
    EXPECT_NE(key[0], 0);

    // The environment: a count of 0 writes nothing and answers the size.
    GuardPage empty;
    EXPECT_EQ(ExpandEnvironmentStringsW(L"%TWB_VALUE%", empty.End<WCHAR>(0), 0), text.size() + 1);
    EXPECT_EQ(ExpandEnvironmentStringsW(L"%TWB_UNSET%", out, 8), 12u);
    SetEnvironmentVariableA("TWB_VALUE", nullptr);
}

TEST_F(KernelBeyondTest, NamesOfTheMachineAndTheProcess)
{
    char a[MAX_COMPUTERNAME_LENGTH + 1];
    DWORD sizeA = sizeof a;
    ASSERT_TRUE(GetComputerNameA(a, &sizeA));
    const wstring computer = FromAnsi(a);
    WCHAR w[MAX_COMPUTERNAME_LENGTH + 1];
    DWORD size = DWORD(computer.size());  // one short: the size needed comes back
    SetLastError(0);
    EXPECT_FALSE(GetComputerNameW(w, &size));
    EXPECT_EQ(GetLastError(), DWORD(ERROR_BUFFER_OVERFLOW));
    EXPECT_EQ(size, computer.size() + 1);
    EXPECT_TRUE(GetComputerNameW(w, &size));
    EXPECT_EQ(size, computer.size());
    EXPECT_EQ(wstring(w), computer);

    STARTUPINFOA sa = {};
    sa.cb = sizeof sa;
    GetStartupInfoA(&sa);
    STARTUPINFOW sw = {};
    GetStartupInfoW(&sw);
    EXPECT_EQ(sw.cb, sizeof sw);
    EXPECT_EQ(sw.dwFlags, sa.dwFlags);
    EXPECT_EQ(sw.wShowWindow, sa.wShowWindow);
    EXPECT_EQ(sw.hStdOutput, sa.hStdOutput);
    if (sa.lpTitle && sw.lpTitle) {
        EXPECT_EQ(wstring(sw.lpTitle), FromAnsi(sa.lpTitle));
    }

    CPINFOEXW info;
    ASSERT_TRUE(GetCPInfoExW(CP_ACP, 0, &info));
    EXPECT_EQ(info.CodePage, CodePage());
    EXPECT_EQ(info.MaxCharSize, CodePage() == 932 ? 2u : 1u);
    CPINFOEXA infoA;
    ASSERT_TRUE(GetCPInfoExA(CP_ACP, 0, &infoA));
    EXPECT_EQ(wstring(info.CodePageName), FromAnsi(infoA.CodePageName));
    EXPECT_FALSE(GetCPInfoExW(CP_ACP, 0, nullptr));
    EXPECT_EQ(GetLastError(), DWORD(ERROR_INVALID_PARAMETER));

    // The running program is among the processes of a snapshot.
    char exe[MAX_PATH];
    GetModuleFileNameA(nullptr, exe, MAX_PATH);
    const wstring exeName = FromAnsi(std::strrchr(exe, '\\') + 1);
    HANDLE snapshot = CreateToolhelp32Snapshot(TH32CS_SNAPPROCESS, 0);
    PROCESSENTRY32W entry = {};
    entry.dwSize = sizeof entry - 1;
    EXPECT_FALSE(Process32FirstW(snapshot, &entry));
    entry.dwSize = sizeof entry;
    bool found = false;
    for (BOOL more = Process32FirstW(snapshot, &entry); more; more = Process32NextW(snapshot, &entry)) {
        EXPECT_EQ(entry.dwSize, sizeof entry);
        if (entry.th32ProcessID == GetCurrentProcessId()) {
            found = true;
            EXPECT_EQ(_wcsicmp(entry.szExeFile, exeName.c_str()), 0) << FromAnsi(exe).c_str();
        }
    }
    EXPECT_EQ(GetLastError(), DWORD(ERROR_NO_MORE_FILES));
    EXPECT_TRUE(found);
    CloseHandle(snapshot);
}

TEST_F(KernelBeyondTest, ComparisonsModulesAndObjects)
{
    struct Case {
        const wchar_t *a, *b;
        int cmp, cmpi;  // signs
    };
    const Case cases[] = {
        {L"abc", L"abc", 0, 0},  {L"abc", L"ABC", -1, 0}, {L"abc", L"abd", -1, -1},
        {L"b", L"abc", 1, 1},    {L"", L"a", -1, -1},     {nullptr, L"a", -1, -1},
        {L"a", nullptr, 1, 1},   {nullptr, nullptr, 0, 0}, {L"a", L"B", -1, -1},
    };
    auto sign = [](int v) { return (v > 0) - (v < 0); };
    for (const Case& c : cases) {
        EXPECT_EQ(sign(lstrcmpW(c.a, c.b)), c.cmp) << (c.a ? c.a : L"(null)") << " " << (c.b ? c.b : L"(null)");
        EXPECT_EQ(sign(lstrcmpiW(c.a, c.b)), c.cmpi) << (c.a ? c.a : L"(null)") << " " << (c.b ? c.b : L"(null)");
    }

    HMODULE module = LoadLibraryW(L"version.dll");
    EXPECT_EQ(module, GetModuleHandleA("version.dll"));
    FreeLibrary(module);
    EXPECT_EQ(LoadLibraryW(L"no such module.dll"), nullptr);
    EXPECT_EQ(GetLastError(), AnsiPath() ? DWORD(ERROR_DLL_NOT_FOUND) : DWORD(ERROR_MOD_NOT_FOUND))
        << "the A function's error is kept";

    const wstring semaphoreName = L"twb " + NonAsciiText();
    HANDLE s = CreateSemaphoreW(nullptr, 1, 2, semaphoreName.c_str());
    ASSERT_NE(s, nullptr);
    HANDLE same = OpenSemaphoreA(SEMAPHORE_ALL_ACCESS, FALSE, ToAnsi(semaphoreName).c_str());
    EXPECT_NE(same, nullptr);
    EXPECT_EQ(CreateSemaphoreW(nullptr, 3, 2, nullptr), nullptr);
    EXPECT_EQ(GetLastError(), DWORD(ERROR_INVALID_PARAMETER));
    CloseHandle(same);
    CloseHandle(s);

    // Probed up to the terminator or the count: a string at the end of readable
    // memory is bad only when the count reaches past it.
    GuardPage guard;
    EXPECT_FALSE(IsBadStringPtrW(guard.Copy(L"ab\0", 3), 100));
    const WCHAR* unterminated = guard.End<WCHAR>(3, L'x');
    EXPECT_FALSE(IsBadStringPtrW(unterminated, 3));
    EXPECT_TRUE(IsBadStringPtrW(unterminated, 4));
    EXPECT_TRUE(IsBadStringPtrW(nullptr, 1));
    EXPECT_FALSE(IsBadStringPtrW(unterminated, 0));
}

// What reaches the A functions, and a failed allocation at each point: the failure
// value with last error 0, nothing left allocated.
TEST_F(KernelBeyondTest, AnsiPathConvertsAndFailsCleanly)
{
    if (!AnsiPath())
        GTEST_SKIP() << "the W path converts nothing";
    std::string seen;
    {
        TW_HOOK(hook, ExpandEnvironmentStringsA, [&](LPCSTR s, LPSTR b, DWORD n) {
            seen = s;
            return hook.real(s, b, n);
        });
        WCHAR buf[16];
        ExpandEnvironmentStringsW((L"x" + NonAsciiText()).c_str(), buf, 16);
    }
    EXPECT_EQ(seen, ToAnsi(L"x" + NonAsciiText()));

    const wstring dir = base + name;
    struct Sweep {
        const char* name;
        std::function<DWORD()> call;
        DWORD failure;
    };
    WCHAR buf[64];
    DWORD size = 64;
    const std::vector<Sweep> sweeps = {
        {"CreateDirectoryW", [&] { return DWORD(CreateDirectoryW(dir.c_str(), nullptr)); }, 0},
        {"MoveFileW", [&] { return DWORD(MoveFileW((dir + L"\\a").c_str(), (dir + L"\\b").c_str())); }, 0},
        {"RemoveDirectoryW", [&] { return DWORD(RemoveDirectoryW((dir + L"\\a").c_str())); }, 0},
        {"ExpandEnvironmentStringsW", [&] { return ExpandEnvironmentStringsW(L"%PATH%", buf, 64); }, 0},
        {"GetLongPathNameW", [&] { return GetLongPathNameW(dir.c_str(), buf, 64); }, 0},
        {"GetComputerNameW", [&] { return DWORD(GetComputerNameW(buf, &(size = 64))); }, 0},
        {"GetNumberFormatW", [&] { return DWORD(GetNumberFormatW(0, 0, L"12", nullptr, buf, 64)); }, 0},
        {"LCMapStringW", [&] { return DWORD(LCMapStringW(0, LCMAP_UPPERCASE, L"ab", 2, buf, 64)); }, 0},
        {"lstrcmpiW", [&] { return DWORD(lstrcmpiW(L"a", L"b")); }, 0},
        {"CreateSemaphoreW",
         [&] {
             HANDLE h = CreateSemaphoreW(nullptr, 0, 1, L"twb");
             const DWORD error = GetLastError();
             if (h)
                 CloseHandle(h);
             SetLastError(error);
             return DWORD(h != nullptr);
         },
         0},
    };
    for (const Sweep& s : sweeps) {
        int runs = SweepAllocationFailures([&](int k) {
            SetLastError(1234);
            const DWORD r = s.call(), error = GetLastError();
            EXPECT_TRUE(HeapAllocCalls() < k || (r == s.failure && error == 0))
                << s.name << ", allocation " << k << ": " << r << ", error " << error;
        });
        EXPECT_GT(runs, 0) << s.name;
    }
    RemoveDirectoryA(ToAnsi(dir).c_str());
}

// A drive's label. The test relabels no real drive, since other programs of the
// run read the labels: a drive the machine lacks is refused on both paths as the
// A function refuses it, and on the ANSI path a stand-in for the A function sees
// the converted root and label and answers for the export.
TEST_F(KernelBeyondTest, VolumeLabelsReachTheAnsiFunction)
{
    const DWORD drives = GetLogicalDrives();
    WCHAR absent[] = L"?:\\";
    for (WCHAR letter = L'Z'; letter >= L'D' && absent[0] == L'?'; --letter)
        if (!(drives & (1u << (letter - L'A'))))
            absent[0] = letter;
    ASSERT_NE(absent[0], L'?');
    SetLastError(0);
    EXPECT_FALSE(SetVolumeLabelW(absent, name.c_str()));
    const DWORD error = GetLastError();
    SetLastError(0);
    EXPECT_FALSE(SetVolumeLabelA(ToAnsi(absent).c_str(), ToAnsi(name).c_str()));
    EXPECT_EQ(error, GetLastError());

    if (!AnsiPath())
        return;
    std::string root, label;
    BOOL answer = FALSE;
    DWORD answerError = 0;
    auto shown = [](LPCSTR s) { return s ? std::string(s) : std::string("(null)"); };
    TW_HOOK(hook, SetVolumeLabelA, [&](LPCSTR r, LPCSTR l) {
        root = shown(r);
        label = shown(l);
        SetLastError(answerError);
        return answer;
    });
    struct Case {
        const wchar_t* root;
        const wchar_t* label;
        BOOL answer;
        DWORD error;
    };
    const wstring folder = L"C:\\" + name + L"\\";
    // Wine itself faults on a null label (Windows removes the label): only the
    // stand-in sees one here.
    const Case cases[] = {{L"C:\\", name.c_str(), TRUE, 0},
                          {nullptr, name.c_str(), FALSE, ERROR_ACCESS_DENIED},
                          {folder.c_str(), nullptr, TRUE, ERROR_ALREADY_EXISTS},
                          {L"C:\\", L"", FALSE, ERROR_INVALID_NAME}};
    for (const Case& c : cases) {
        answer = c.answer;
        answerError = c.error;
        SetLastError(1234);
        EXPECT_EQ(SetVolumeLabelW(c.root, c.label), c.answer);
        EXPECT_EQ(GetLastError(), c.error);
        EXPECT_EQ(root, c.root ? ToAnsi(c.root) : "(null)");
        EXPECT_EQ(label, c.label ? ToAnsi(c.label) : "(null)");
    }
    answer = TRUE;
    int runs = SweepAllocationFailures([&](int k) {
        SetLastError(1234);
        const BOOL r = SetVolumeLabelW(folder.c_str(), name.c_str());
        EXPECT_TRUE(HeapAllocCalls() < k || (!r && GetLastError() == 0)) << k;
    });
    EXPECT_EQ(runs, 2);
}

}  // namespace
