// The kernel functions that wide programs import besides the families above. Both
// paths must answer as the system's W function does: counts in wide characters,
// its terminator rules, a buffer too small told the size it needs and left alone.
#include <cstring>
#include <cwchar>
#include <functional>
#include <string>
#include <tuple>
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
    ASSERT_TRUE(MoveFileW(dir.c_str(), moved.c_str()));

    HANDLE h = CreateFileA(ToAnsi(file).c_str(), GENERIC_WRITE, 0, nullptr, CREATE_NEW, 0, nullptr);
    DWORD written;
    ASSERT_TRUE(WriteFile(h, "abc", 3, &written, nullptr) && CloseHandle(h));
    const wstring copy = file + L"2";
    ASSERT_TRUE(CopyFileExW(file.c_str(), copy.c_str(), nullptr, nullptr, nullptr, COPY_FILE_FAIL_IF_EXISTS));
    EXPECT_FALSE(CopyFileExW(file.c_str(), copy.c_str(), nullptr, nullptr, nullptr, COPY_FILE_FAIL_IF_EXISTS));
    EXPECT_EQ(GetLastError(), DWORD(ERROR_FILE_EXISTS));

    ULARGE_INTEGER available{}, total{}, free{};
    EXPECT_TRUE(GetDiskFreeSpaceExW(moved.c_str(), &available, &total, &free));
    EXPECT_GT(total.QuadPart, 0u);

    EXPECT_FALSE(RemoveDirectoryW(moved.c_str()));  // not empty
    DeleteFileA(ToAnsi(file).c_str());
    DeleteFileA(ToAnsi(copy).c_str());
    EXPECT_TRUE(RemoveDirectoryW(moved.c_str()));
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
        LengthOrNeeded,  // fits: length without NUL; too small: size with NUL, not written
        SizeAlways,      // size with NUL, fitting or not; too small: not written
        SizeOrZero,      // fits: size with NUL; too small: 0, ERROR_INSUFFICIENT_BUFFER; 0: size
    } kind;
};

TEST_F(KernelBeyondTest, TextGettersCountWideCharacters)
{
    const wstring text = NonAsciiText() + L"z" + NonAsciiText();
    SetEnvironmentVariableA("TWB_VALUE", ToAnsi(text).c_str());
    const wstring dir = base + name, mixed = L"aBc" + NonAsciiText() + L"d", source = NonAsciiText() + L"<%TWB_VALUE%>";
    ASSERT_TRUE(CreateDirectoryA(ToAnsi(dir).c_str(), nullptr));
    wstring sep = NonAsciiText().substr(0, 1);
    const NUMBERFMTW format = {2, 0, 3, sep.data(), sep.data(), 1};
    auto ansiAnswer = [](std::function<void(char*)> fill) {
        char a[64];
        fill(a);
        return FromAnsi(a);
    };
    const std::vector<TextGetter> getters = {
        {"ExpandEnvironmentStringsW", [&] { return NonAsciiText() + L"<" + text + L">"; },
         [&](LPWSTR b, DWORD n) { return ExpandEnvironmentStringsW(source.c_str(), b, n); }, TextGetter::SizeAlways},
        {"GetLongPathNameW", [&] { return dir; },
         [&](LPWSTR b, DWORD n) { return GetLongPathNameW(dir.c_str(), b, n); }, TextGetter::LengthOrNeeded},
        {"GetNumberFormatW",
         [&] { return ansiAnswer([](char* a) { GetNumberFormatA(LOCALE_USER_DEFAULT, 0, "-1234567.25", nullptr, a, 64); }); },
         [](LPWSTR b, DWORD n) { return DWORD(GetNumberFormatW(LOCALE_USER_DEFAULT, 0, L"-1234567.25", nullptr, b, n)); },
         TextGetter::SizeOrZero},
        {"GetNumberFormatW with a format", [&] { return L"1" + sep + L"234" + sep + L"50"; },
         [&](LPWSTR b, DWORD n) { return DWORD(GetNumberFormatW(LOCALE_USER_DEFAULT, 0, L"1234.5", &format, b, n)); },
         TextGetter::SizeOrZero},
        {"LCMapStringW",
         [&] {
             return ansiAnswer([&](char* a) {
                 LCMapStringA(LOCALE_USER_DEFAULT, LCMAP_UPPERCASE, ToAnsi(mixed).c_str(), -1, a, 64);
             });
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
        EXPECT_EQ(r, g.kind == TextGetter::LengthOrNeeded ? size - 1 : size) << "error " << GetLastError();
        EXPECT_EQ(wstring(buf), want);

        buf = guard.End<WCHAR>(size - 1, L'#');
        SetLastError(0);
        r = g.call(buf, size - 1);
        EXPECT_EQ(r, g.kind == TextGetter::SizeOrZero ? 0 : size);
        if (g.kind == TextGetter::SizeOrZero) {
            EXPECT_EQ(GetLastError(), DWORD(ERROR_INSUFFICIENT_BUFFER));
        }
        if (g.kind == TextGetter::LengthOrNeeded) {
            EXPECT_EQ(buf[0], L'#') << "a buffer too small is not written";
        }
        EXPECT_EQ(g.call(guard.End<WCHAR>(0), 0), size) << "a count of 0 asks for the size";
    }
    RemoveDirectoryA(ToAnsi(dir).c_str());
    SetEnvironmentVariableA("TWB_VALUE", nullptr);

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
    EXPECT_EQ(ExpandEnvironmentStringsW(L"%TWB_UNSET%", out, 8), 12u);
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
    EXPECT_EQ(std::make_tuple(sw.dwFlags, sw.wShowWindow, sw.hStdOutput),
              std::make_tuple(sa.dwFlags, sa.wShowWindow, sa.hStdOutput));
    if (sa.lpTitle && sw.lpTitle) {
        EXPECT_EQ(wstring(sw.lpTitle), FromAnsi(sa.lpTitle));
    }

    CPINFOEXW info;
    CPINFOEXA infoA;
    ASSERT_TRUE(GetCPInfoExW(CP_ACP, 0, &info) && GetCPInfoExA(CP_ACP, 0, &infoA));
    EXPECT_EQ(info.CodePage, CodePage());
    EXPECT_EQ(info.MaxCharSize, CodePage() == 932 ? 2u : 1u);
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
    HANDLE same = OpenSemaphoreA(SEMAPHORE_ALL_ACCESS, FALSE, ToAnsi(semaphoreName).c_str());
    EXPECT_NE(same, nullptr);
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
    const wstring folder = L"C:\\" + name + L"\\";
    // Wine itself faults on a null label (Windows removes the label): only the
    // stand-in sees one here.
    const struct {
        const wchar_t *root, *label;
        BOOL answer;
        DWORD error;
    } cases[] = {{L"C:\\", name.c_str(), TRUE, 0},
                 {nullptr, name.c_str(), FALSE, ERROR_ACCESS_DENIED},
                 {folder.c_str(), nullptr, TRUE, ERROR_ALREADY_EXISTS},
                 {L"C:\\", L"", FALSE, ERROR_INVALID_NAME}};
    auto shown = [](auto s) { return s ? ToAnsi(s) : std::string("(null)"); };
    for (const auto& c : cases) {
        std::string root, label;
        TW_HOOK(hook, SetVolumeLabelA, [&](LPCSTR r, LPCSTR l) {
            root = r ? r : "(null)";
            label = l ? l : "(null)";
            SetLastError(c.error);
            return c.answer;
        });
        SetLastError(1234);
        EXPECT_EQ(SetVolumeLabelW(c.root, c.label), c.answer);
        EXPECT_EQ(GetLastError(), c.error);
        EXPECT_EQ(std::tie(root, label), std::make_tuple(shown(c.root), shown(c.label)));
    }
}

}  // namespace
