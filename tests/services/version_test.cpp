// Version information read from a resource-only DLL under a name beyond ASCII,
// and files found and installed by wide names.
#include <cstring>
#include <functional>
#include <string>
#include <vector>

#include "harness/harness.h"

using namespace harness;
using std::string;
using std::wstring;

namespace
{

class VersionTest : public TorwenTest
{
protected:
    void SetUp() override
    {
        TorwenTest::SetUp();
        char exe[MAX_PATH], temp[MAX_PATH];
        GetModuleFileNameA(nullptr, exe, MAX_PATH);
        string resource = exe;
        resource.replace(resource.rfind('\\') + 1, string::npos, "versioned.dll");
        GetTempPathA(MAX_PATH, temp);
        dir = FromAnsi(temp);
        // Wine cannot make a name that its Unix locale cannot hold.
        for (const wstring& name : { L"tw " + NonAsciiText() + L".dll", wstring(L"tw.dll") }) {
            fileName = name;
            file = dir + name;
            if (CopyFileA(resource.c_str(), ToAnsi(file).c_str(), FALSE))
                break;
        }
        ASSERT_NE(GetFileAttributesA(ToAnsi(file).c_str()), INVALID_FILE_ATTRIBUTES);
    }
    void TearDown() override
    {
        DeleteFileA(ToAnsi(file).c_str());
        TorwenTest::TearDown();
    }

    const bool ansi = AnsiPath();
    wstring dir, file, fileName;
};

TEST_F(VersionTest, ReadsTheResource)
{
    DWORD handle = 1;
    const DWORD size = GetFileVersionInfoSizeW(file.c_str(), &handle);
    ASSERT_GT(size, 0u);
    std::vector<BYTE> block(size);
    ASSERT_TRUE(GetFileVersionInfoW(file.c_str(), handle, size, block.data()));

    VS_FIXEDFILEINFO* fixed = nullptr;
    UINT length = 0;
    ASSERT_TRUE(VerQueryValueW(block.data(), L"\\", reinterpret_cast<void**>(&fixed), &length));
    EXPECT_EQ(length, sizeof *fixed);
    EXPECT_EQ(fixed->dwSignature, 0xFEEF04BDu);
    EXPECT_EQ(fixed->dwFileVersionMS, 0x00010002u);
    EXPECT_EQ(fixed->dwProductVersionLS, 0x00070008u);
    DWORD* translation = nullptr;
    ASSERT_TRUE(VerQueryValueW(block.data(), L"\\VarFileInfo\\Translation",
        reinterpret_cast<void**>(&translation), &length));
    EXPECT_EQ(*translation, DWORD(MAKELONG(0x409, 1200)));

    // A string value: ANSI text inside the ANSI block, as the A function finds it.
    void* value = nullptr;
    ASSERT_TRUE(VerQueryValueW(
        block.data(), L"\\StringFileInfo\\040904b0\\FileDescription", &value, &length));
    if (ansi) {
        void* valueA = nullptr;
        UINT lengthA = 0;
        ASSERT_TRUE(VerQueryValueA(
            block.data(), "\\StringFileInfo\\040904b0\\FileDescription", &valueA, &lengthA));
        EXPECT_EQ(value, valueA);
        EXPECT_EQ(length, lengthA);
        EXPECT_STREQ(static_cast<char*>(value), "torwen test resource");
    } else {
        EXPECT_STREQ(static_cast<wchar_t*>(value), L"torwen test resource");
    }
    EXPECT_FALSE(
        VerQueryValueW(block.data(), L"\\StringFileInfo\\040904b0\\Absent", &value, &length));
}

// The readers of the file restore the A function's error after their clean-up, 0
// when torwen failed before calling it.
TEST_F(VersionTest, ErrorsAndCaughtFailures)
{
    const wstring absent = dir + L"absent " + NonAsciiText() + L".dll";
    DWORD handle;
    SetLastError(0);
    GetFileVersionInfoSizeA(ToAnsi(absent).c_str(), &handle);
    const DWORD expected = GetLastError();
    SetLastError(1234);
    EXPECT_EQ(0u, GetFileVersionInfoSizeW(absent.c_str(), &handle));
    EXPECT_EQ(GetLastError(), expected);

    std::vector<BYTE> block(GetFileVersionInfoSizeW(file.c_str(), &handle));
    void* value;
    UINT length;
    wchar_t name[64];
    const std::pair<DWORD, std::function<DWORD()>> rows[] = {
        { 0, [&] { return GetFileVersionInfoSizeW(file.c_str(), &handle); } },
        { 0,
            [&] {
                return DWORD(
                    GetFileVersionInfoW(file.c_str(), 0, DWORD(block.size()), block.data()));
            } },
        { ERROR_OUTOFMEMORY,
            [&] { return DWORD(VerQueryValueW(block.data(), L"\\", &value, &length)); } },
        { ERROR_OUTOFMEMORY, [&] { return VerLanguageNameW(0x409, name, 64); } },
    };
    ASSERT_TRUE(GetFileVersionInfoW(file.c_str(), 0, DWORD(block.size()), block.data()));
    for (const auto& [error, call] : rows) {
        EXPECT_EQ(ansi, 0 < SweepAllocationFailures([&](int k) {
            SetLastError(1234);
            DWORD r = call();
            EXPECT_TRUE(HeapAllocCalls() < k || (r == 0 && GetLastError() == error)) << k;
        }));
    }
}

TEST_F(VersionTest, LanguageNames)
{
    wchar_t name[64] = {};
    char nameA[64] = {};
    const DWORD n = VerLanguageNameW(0x409, name, 64), nA = VerLanguageNameA(0x409, nameA, 64);
    EXPECT_EQ(wstring(name), FromAnsi(nameA));
    if (ansi) { // Wine's own W function counts the terminator
        EXPECT_EQ(n, wcslen(name));
        EXPECT_EQ(VerLanguageNameW(0x409, nullptr, 0), nA) << "without a buffer, the ANSI length";
    }
}

// The directories come back with lengths that count their terminator (on the
// ANSI path), and never beyond the length the caller gave.
TEST_F(VersionTest, FindsAndInstallsFiles)
{
    wchar_t windows[MAX_PATH];
    GetWindowsDirectoryW(windows, MAX_PATH);
    wchar_t cur[MAX_PATH + 1], dest[MAX_PATH + 1];
    UINT curLength = MAX_PATH, destLength = MAX_PATH;
    VerFindFileW(0, const_cast<wchar_t*>(fileName.c_str()), windows,
        const_cast<wchar_t*>(dir.c_str()), cur, &curLength, dest, &destLength);
    if (ansi) {
        EXPECT_EQ(curLength, wcslen(cur) + 1);
        EXPECT_EQ(destLength, wcslen(dest) + 1);
    }

    std::fill(std::begin(cur), std::end(cur), L'#');
    curLength = 2; // too small for any directory
    destLength = MAX_PATH;
    VerFindFileW(0, const_cast<wchar_t*>(fileName.c_str()), windows,
        const_cast<wchar_t*>(dir.c_str()), cur, &curLength, dest, &destLength);
    EXPECT_EQ(cur[2], L'#') << "written past the length given";

    // Installing the resource DLL into a folder of its own.
    const wstring target = dir + L"tw install";
    CreateDirectoryW(target.c_str(), nullptr);
    wchar_t tmp[MAX_PATH] = {};
    UINT tmpLength = MAX_PATH;
    const DWORD r = VerInstallFileW(0, const_cast<wchar_t*>(fileName.c_str()),
        const_cast<wchar_t*>(L"tw.dll"), const_cast<wchar_t*>(dir.c_str()),
        const_cast<wchar_t*>(target.c_str()), const_cast<wchar_t*>(L""), tmp, &tmpLength);
    EXPECT_EQ(r, 0u);
    const string installed = ToAnsi(target + L"\\tw.dll");
    EXPECT_NE(GetFileAttributesA(installed.c_str()), INVALID_FILE_ATTRIBUTES);
    DeleteFileA(installed.c_str());
    RemoveDirectoryW(target.c_str());
}

} // namespace
