// Version information read from a resource-only DLL under a name beyond ASCII,
// and files found and installed by wide names.
#include <cstring>
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

// The reader of the file restores the A function's error after its clean-up.
TEST_F(VersionTest, ErrorOfAnAbsentFile)
{
    const wstring absent = dir + L"absent " + NonAsciiText() + L".dll";
    DWORD handle;
    SetLastError(0);
    GetFileVersionInfoSizeA(ToAnsi(absent).c_str(), &handle);
    const DWORD expected = GetLastError();
    SetLastError(1234);
    EXPECT_EQ(0u, GetFileVersionInfoSizeW(absent.c_str(), &handle));
    EXPECT_EQ(GetLastError(), expected);
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

// The directories come back with lengths that count their terminator on the ANSI path.
TEST_F(VersionTest, FindFileLengths)
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
}

} // namespace
