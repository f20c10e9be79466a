// Atoms and initialisation files through torwen, on both paths and both code pages.
#include <windows.h>

#include <algorithm>
#include <string>

#include "harness/harness.h"

namespace {

using namespace std::string_literals;

class ProfileTest : public harness::TorwenTest {
protected:
    void SetUp() override
    {
        harness::TorwenTest::SetUp();
        WCHAR dir[MAX_PATH];
        GetTempPathW(MAX_PATH, dir);
        std::string test = testing::UnitTest::GetInstance()->current_test_info()->name();
        file = dir + L"torwen-"s + std::wstring(test.begin(), test.end()) + L".ini";
    }
    void TearDown() override
    {
        WritePrivateProfileStringW(nullptr, nullptr, nullptr, file.c_str());  // flush the cache
        DeleteFileW(file.c_str());
        harness::TorwenTest::TearDown();
    }
    LPWSTR Filled()
    {
        std::fill(std::begin(buf), std::end(buf), WCHAR(0xFFFF));
        return buf;
    }

    const std::wstring text = harness::NonAsciiText(), section = L"section " + text;
    std::wstring file;
    WCHAR buf[64];
};

// List readers: on the ANSI path the final terminator is not delivered (the buffer
// keeps its 0xFFFF) and the count is one less.
void ExpectList(const std::wstring& list, DWORD count, const WCHAR* buf)
{
    bool ansi = harness::AnsiPath();
    EXPECT_EQ(list.size() - (ansi ? 2 : 1), count);
    EXPECT_EQ(ansi ? list.substr(0, list.size() - 1) + L'\xFFFF' : list,
              std::wstring(buf, list.size()));
}

// String readers asked for names: the whole list on the W path, its first name
// on the ANSI path.
void ExpectFirstNameOnly(const std::wstring& list, DWORD count, const WCHAR* buf)
{
    std::wstring expected = harness::AnsiPath() ? list.c_str() + L"\0"s : list;
    EXPECT_EQ(expected.size() - 1, count);
    EXPECT_EQ(expected, std::wstring(buf, expected.size()));
}

TEST_F(ProfileTest, ReadsBackKeysListsAndStructs)
{
    const std::wstring key = L"k" + text, value = L"v " + text;
    const std::wstring keys = key + L"=" + value + L'\0' + L"n=42" + L'\0' + L'\0';
    const std::wstring names = section + L'\0' + L"other" + L'\0' + L'\0';
    const BYTE data[5] = {0, 0x7F, 0x80, 0xE9, 0xFF};
    BYTE back[5] = {};
    ASSERT_TRUE(WritePrivateProfileSectionW(section.c_str(), keys.c_str(), file.c_str()));
    ASSERT_TRUE(WritePrivateProfileStringW(L"other", L"x", text.c_str(), file.c_str()));
    ASSERT_TRUE(WritePrivateProfileStructW(L"other", L"s", LPVOID(data), 5, file.c_str()));

    EXPECT_EQ(value.size(), GetPrivateProfileStringW(section.c_str(), key.c_str(), L"", buf, 64,
                                                     file.c_str()));
    EXPECT_EQ(value, buf);
    EXPECT_EQ(text.size(), GetPrivateProfileStringW(L"other", L"x", L"", buf, 64, file.c_str()));
    EXPECT_EQ(text, buf);
    EXPECT_EQ(42u, GetPrivateProfileIntW(section.c_str(), L"n", 7, file.c_str()));
    EXPECT_TRUE(GetPrivateProfileStructW(L"other", L"s", back, 5, file.c_str()));
    EXPECT_EQ(0, memcmp(data, back, 5));

    ExpectList(keys, GetPrivateProfileSectionW(section.c_str(), Filled(), 64, file.c_str()), buf);
    ExpectList(names, GetPrivateProfileSectionNamesW(Filled(), 64, file.c_str()), buf);
    ExpectFirstNameOnly(key + L'\0' + L"n" + L'\0' + L'\0',
                        GetPrivateProfileStringW(section.c_str(), nullptr, L"", buf, 64,
                                                 file.c_str()),
                        buf);
    ExpectFirstNameOnly(names, GetPrivateProfileStringW(nullptr, nullptr, L"", buf, 64,
                                                        file.c_str()),
                        buf);
}

TEST_F(ProfileTest, AtomsKeepNonAsciiNamesAndPassIntegersThrough)
{
    struct {
        ATOM(WINAPI* add)(LPCWSTR);
        ATOM(WINAPI* find)(LPCWSTR);
        UINT(WINAPI* name)(ATOM, LPWSTR, int);
        ATOM(WINAPI* remove)(ATOM);
    } tables[] = {{AddAtomW, FindAtomW, GetAtomNameW, DeleteAtom},
                  {GlobalAddAtomW, GlobalFindAtomW, GlobalGetAtomNameW, GlobalDeleteAtom}};
    const std::wstring name = L"torwen " + text;
    for (auto& table : tables) {
        ATOM atom = table.add(name.c_str());
        EXPECT_EQ(atom, table.find(name.c_str()));
        EXPECT_EQ(name.size(), table.name(atom, buf, 64));
        EXPECT_EQ(name, buf);
        table.remove(atom);
        EXPECT_EQ(5, table.find(MAKEINTATOM(5)));  // no string: nothing to convert
    }
}

// Readers keep no saved error: a failure inside torwen leaves the helper's 14 (or
// 87 for a count). The others restore the A function's error, 0 when it was not
// called yet.
TEST_F(ProfileTest, CaughtFailuresAnswerZero)
{
    ASSERT_TRUE(WritePrivateProfileStringW(section.c_str(), L"k", text.c_str(), file.c_str()));
    auto failEach = [](DWORD error, const std::function<DWORD()>& call) {
        return harness::SweepAllocationFailures([&](int k) {
            SetLastError(1234);
            DWORD r = call();
            if (harness::HeapAllocCalls() >= k) {
                EXPECT_EQ(std::make_pair(0ul, error), std::make_pair(r, GetLastError()));
            }
        });
    };
    const int ansi = harness::AnsiPath();
    EXPECT_EQ(5 * ansi, failEach(ERROR_OUTOFMEMORY, [&] {
        return GetPrivateProfileStringW(section.c_str(), L"k", L"", buf, 64, file.c_str());
    }));
    EXPECT_EQ(3 * ansi, failEach(ERROR_SUCCESS, [&] {
        return WritePrivateProfileSectionW(section.c_str(), L"a=1\0", file.c_str());
    }));
    EXPECT_EQ(ansi, failEach(ERROR_SUCCESS, [&] { return GlobalGetAtomNameW(5, buf, 64); }));
    if (ansi) {
        // A buffer for 0x80000000 characters is beyond the heap in either code page.
        EXPECT_EQ(0u, GetPrivateProfileStringW(section.c_str(), L"k", L"", buf, 0x80000000,
                                               file.c_str()));
        EXPECT_EQ(14u, GetLastError());
    }
}

}  // namespace
