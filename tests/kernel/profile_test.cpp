// Atoms and initialisation files through torwen, on both paths and both code pages.
#include <windows.h>

#include <algorithm>
#include <string>

#include "harness/harness.h"

namespace {

using namespace std::string_literals;

// A fresh private profile file per test, in the temporary folder, with a name the
// code page must carry too where the platform can make such a name (Wine cannot
// without the Japanese locale installed on the host).
class ProfileTest : public harness::TorwenTest {
protected:
    void SetUp() override
    {
        harness::TorwenTest::SetUp();
        WCHAR dir[MAX_PATH];
        ASSERT_TRUE(GetTempPathW(MAX_PATH, dir));
        std::string test = ::testing::UnitTest::GetInstance()->current_test_info()->name();
        file = dir + L"torwen "s + std::wstring(test.begin(), test.end());
        HANDLE h = CreateFileW((file + text).c_str(), GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS,
                               0, nullptr);
        if (h != INVALID_HANDLE_VALUE) {
            CloseHandle(h);
            file += text;
        }
        file += L".ini";
        DeleteFileW(file.c_str());
    }
    void TearDown() override
    {
        // Profile writes may be cached: flush before removing the file.
        WritePrivateProfileStringW(nullptr, nullptr, nullptr, file.c_str());
        DeleteFileW(file.c_str());
        harness::TorwenTest::TearDown();
    }

    void Write(const std::wstring& section, const std::wstring& key, const std::wstring& value)
    {
        ASSERT_TRUE(WritePrivateProfileStringW(section.c_str(), key.c_str(), value.c_str(),
                                               file.c_str()));
    }

    const std::wstring text = harness::NonAsciiText();
    const std::wstring section = L"section " + text;
    std::wstring file;
};

// A buffer whose untouched characters can be told from written ones.
struct Buffer {
    Buffer() { std::fill(std::begin(chars), std::end(chars), WCHAR(0xFFFF)); }
    operator LPWSTR() { return chars; }
    std::wstring prefix(size_t n) const { return std::wstring(chars, n); }
    WCHAR chars[128];
};

// True when the sweep's k-th allocation failed in the run just made.
bool AllocationFailed(int k)
{
    return harness::HeapAllocCalls() >= k;
}

TEST_F(ProfileTest, KeysReadBackWithTheirNonAsciiText)
{
    const std::wstring key = L"key " + text, value = L"value " + text;
    Write(section, key, value);
    Write(section, L"number", L"42");

    Buffer buf;
    EXPECT_EQ(value.size(), GetPrivateProfileStringW(section.c_str(), key.c_str(), L"", buf, 128,
                                                     file.c_str()));
    EXPECT_EQ(value, buf.chars);
    EXPECT_EQ(text.size(), GetPrivateProfileStringW(section.c_str(), L"missing", text.c_str(), buf,
                                                    128, file.c_str()));
    EXPECT_EQ(text, buf.chars);
    EXPECT_EQ(42u, GetPrivateProfileIntW(section.c_str(), L"number", 7, file.c_str()));
    EXPECT_EQ(7u, GetPrivateProfileIntW(section.c_str(), L"missing", 7, file.c_str()));

    // A null value deletes the key; a null key deletes the section.
    ASSERT_TRUE(WritePrivateProfileStringW(section.c_str(), key.c_str(), nullptr, file.c_str()));
    EXPECT_EQ(0u, GetPrivateProfileStringW(section.c_str(), key.c_str(), L"", buf, 128,
                                           file.c_str()));
    ASSERT_TRUE(WritePrivateProfileStringW(section.c_str(), nullptr, nullptr, file.c_str()));
    EXPECT_EQ(7u, GetPrivateProfileIntW(section.c_str(), L"number", 7, file.c_str()));
}

// With a null key or section the A function answers a list of names; the ANSI path
// converts up to the first terminator only.
TEST_F(ProfileTest, NullKeyOrSectionGivesTheListOnlyOnTheWidePath)
{
    const std::wstring first = L"first " + text, second = L"second";
    Write(section, first, L"1");
    Write(section, second, L"2");
    Write(L"other", L"k", L"v");

    Buffer keys, sections;
    DWORD keyCount = GetPrivateProfileStringW(section.c_str(), nullptr, L"", keys, 128,
                                              file.c_str());
    DWORD sectionCount = GetPrivateProfileStringW(nullptr, L"ignored", L"", sections, 128,
                                                  file.c_str());
    if (harness::AnsiPath()) {
        EXPECT_EQ(first.size(), keyCount);
        EXPECT_EQ(first, keys.chars);
        EXPECT_EQ(section.size(), sectionCount);
        EXPECT_EQ(section, sections.chars);
    } else {
        const std::wstring keyList = first + L'\0' + second + L'\0' + L'\0';
        EXPECT_EQ(keyList.size() - 1, keyCount);
        EXPECT_EQ(keyList, keys.prefix(keyList.size()));
        const std::wstring sectionList = section + L'\0' + L"other" + L'\0' + L'\0';
        EXPECT_EQ(sectionList.size() - 1, sectionCount);
        EXPECT_EQ(sectionList, sections.prefix(sectionList.size()));
    }
    // A null section and key together are no crash either.
    GetPrivateProfileStringW(nullptr, nullptr, L"", keys, 128, file.c_str());
    GetPrivateProfileIntW(nullptr, nullptr, 0, file.c_str());
}

// Section readers convert the list without its final terminator: on the ANSI path
// the count is one short and the last character is left as it was.
TEST_F(ProfileTest, SectionsReadBackOneShortOnTheAnsiPath)
{
    const std::wstring list = L"a=1\0b="s + text + L'\0' + L'\0';
    ASSERT_TRUE(WritePrivateProfileSectionW(section.c_str(), list.c_str(), file.c_str()));
    Write(L"other", L"k", L"v");
    const std::wstring names = section + L'\0' + L"other" + L'\0' + L'\0';

    Buffer keys, sections;
    DWORD keyCount = GetPrivateProfileSectionW(section.c_str(), keys, 128, file.c_str());
    DWORD sectionCount = GetPrivateProfileSectionNamesW(sections, 128, file.c_str());

    // Everything up to the last inner terminator arrives on both paths.
    EXPECT_EQ(list.substr(0, list.size() - 1), keys.prefix(list.size() - 1));
    EXPECT_EQ(names.substr(0, names.size() - 1), sections.prefix(names.size() - 1));
    if (harness::AnsiPath()) {
        EXPECT_EQ(list.size() - 2, keyCount);
        EXPECT_EQ(WCHAR(0xFFFF), keys.chars[list.size() - 1]);
        EXPECT_EQ(names.size() - 2, sectionCount);
        EXPECT_EQ(WCHAR(0xFFFF), sections.chars[names.size() - 1]);
    } else {
        EXPECT_EQ(list.size() - 1, keyCount);
        EXPECT_EQ(L'\0', keys.chars[list.size() - 1]);
        EXPECT_EQ(names.size() - 1, sectionCount);
        EXPECT_EQ(L'\0', sections.chars[names.size() - 1]);
    }
    EXPECT_EQ(42u, GetPrivateProfileIntW(section.c_str(), L"missing", 42, file.c_str()));
    EXPECT_EQ(1u, GetPrivateProfileIntW(section.c_str(), L"a", 42, file.c_str()));
}

TEST_F(ProfileTest, StructsReadBackOnlyWithTheirOwnSize)
{
    const BYTE written[13] = {0, 1, 0x7F, 0x80, 0xE9, 0xFF, 'a', '=', '[', ']', ';', 0, 9};
    BYTE read[13] = {};
    const std::wstring key = L"struct " + text;
    ASSERT_TRUE(WritePrivateProfileStructW(section.c_str(), key.c_str(), LPVOID(written),
                                           sizeof written, file.c_str()));
    EXPECT_TRUE(GetPrivateProfileStructW(section.c_str(), key.c_str(), read, sizeof read,
                                         file.c_str()));
    EXPECT_EQ(0, memcmp(written, read, sizeof read));
    EXPECT_FALSE(GetPrivateProfileStructW(section.c_str(), key.c_str(), read, sizeof read - 1,
                                          file.c_str()));
    EXPECT_FALSE(GetPrivateProfileStructW(section.c_str(), L"missing", read, sizeof read,
                                          file.c_str()));
}

// The system's own profile (win.ini) goes through the same conversions.
TEST_F(ProfileTest, SystemProfileReadsBackAndForgets)
{
    const std::wstring mine = L"torwen test " + text, value = L"value " + text;
    ASSERT_TRUE(WriteProfileStringW(mine.c_str(), L"key", value.c_str()));
    ASSERT_TRUE(WriteProfileStringW(mine.c_str(), L"n", L"5"));
    Buffer buf;
    EXPECT_EQ(value.size(), GetProfileStringW(mine.c_str(), L"key", L"", buf, 128));
    EXPECT_EQ(value, buf.chars);
    EXPECT_EQ(5u, GetProfileIntW(mine.c_str(), L"n", 0));

    const std::wstring list = L"key=" + value + L'\0' + L"n=5" + L'\0' + L'\0';
    Buffer keys;
    DWORD count = GetProfileSectionW(mine.c_str(), keys, 128);
    EXPECT_EQ(list.size() - (harness::AnsiPath() ? 2 : 1), count);
    EXPECT_EQ(list.substr(0, list.size() - 1), keys.prefix(list.size() - 1));

    ASSERT_TRUE(WriteProfileStringW(mine.c_str(), nullptr, nullptr));
    EXPECT_EQ(0u, GetProfileStringW(mine.c_str(), L"key", L"", buf, 128));
    EXPECT_EQ(L""s, buf.chars);

    const std::wstring written = L"m=" + text + L'\0' + L'\0';
    EXPECT_TRUE(WriteProfileSectionW(mine.c_str(), written.c_str()));
    if (!GetProfileSectionW(mine.c_str(), keys, 128))
        GTEST_SKIP() << "Wine keeps no section written whole to win.ini";
    EXPECT_EQ(written.substr(0, written.size() - 1), keys.prefix(written.size() - 1));
    WriteProfileStringW(mine.c_str(), nullptr, nullptr);
}

// Readers keep no saved error: a failure inside torwen leaves the helper's code,
// 14 for the heap and 87 for a count. Writers restore the A function's error, which
// is 0 when an allocation failed before it was called.
TEST_F(ProfileTest, FailuresLeaveTheHelpersErrorOnlyInReaders)
{
    const std::wstring key = L"key " + text, value = L"value " + text;
    Write(section, key, value);

    int runs = harness::SweepAllocationFailures([&](int k) {
        Buffer buf;
        DWORD r = GetPrivateProfileStringW(section.c_str(), key.c_str(), L"default", buf, 128,
                                           file.c_str());
        if (AllocationFailed(k)) {
            EXPECT_EQ(0u, r);
            EXPECT_EQ(DWORD(ERROR_OUTOFMEMORY), GetLastError());
        } else {
            EXPECT_EQ(value, buf.chars);
        }
    });
    EXPECT_EQ(harness::AnsiPath() ? 5 : 0, runs);

    runs = harness::SweepAllocationFailures([&](int k) {
        SetLastError(1234);
        BOOL ok = WritePrivateProfileStringW(section.c_str(), L"other", value.c_str(),
                                             file.c_str());
        if (AllocationFailed(k)) {
            EXPECT_FALSE(ok);
            EXPECT_EQ(DWORD(ERROR_SUCCESS), GetLastError());
        } else {
            EXPECT_TRUE(ok);
        }
    });
    EXPECT_EQ(harness::AnsiPath() ? 4 : 0, runs);

    runs = harness::SweepAllocationFailures([&](int k) {
        Buffer buf;
        DWORD r = GetPrivateProfileSectionW(section.c_str(), buf, 128, file.c_str());
        if (AllocationFailed(k)) {
            EXPECT_EQ(0u, r);
            EXPECT_EQ(DWORD(ERROR_OUTOFMEMORY), GetLastError());
        }
    });
    EXPECT_EQ(harness::AnsiPath() ? 3 : 0, runs);

    runs = harness::SweepAllocationFailures([&](int k) {
        const std::wstring list = L"x=1\0"s + L'\0';
        BOOL ok = WritePrivateProfileSectionW(L"listed", list.c_str(), file.c_str());
        if (AllocationFailed(k)) {
            EXPECT_FALSE(ok);
            EXPECT_EQ(DWORD(ERROR_SUCCESS), GetLastError());
        }
    });
    EXPECT_EQ(harness::AnsiPath() ? 3 : 0, runs);
}

// A count above 0x7FFFFFFF: under 1252 the buffer of that many bytes cannot be had
// (14); under 932 its byte size wraps to 0, the A function runs, and converting
// back refuses the count (87).
TEST_F(ProfileTest, HugeCountFailsWithTheHelpersError)
{
    if (!harness::AnsiPath())
        GTEST_SKIP() << "the system's W function would write past the buffer";
    Write(section, L"key", L"value");
    Buffer buf;
    SetLastError(1234);
    EXPECT_EQ(0u, GetPrivateProfileStringW(section.c_str(), L"key", L"", buf, 0x80000000,
                                           file.c_str()));
    EXPECT_EQ(harness::CodePage() == 932 ? DWORD(ERROR_INVALID_PARAMETER)
                                         : DWORD(ERROR_OUTOFMEMORY),
              GetLastError());
    EXPECT_EQ(WCHAR(0xFFFF), buf.chars[0]);
}

TEST_F(ProfileTest, LastErrorIsTheAFunctions)
{
    if (!harness::AnsiPath())
        GTEST_SKIP() << "the W path calls no A function";
    TW_HOOK(readInt, GetProfileIntA, [&](LPCSTR, LPCSTR, INT) -> UINT {
        SetLastError(1234);
        return 3;
    });
    TW_HOOK(write, WritePrivateProfileStringA, [&](LPCSTR, LPCSTR, LPCSTR, LPCSTR) -> BOOL {
        SetLastError(ERROR_ACCESS_DENIED);
        return FALSE;
    });
    EXPECT_EQ(3u, GetProfileIntW(section.c_str(), L"key", 0));
    EXPECT_EQ(1234u, GetLastError());
    EXPECT_FALSE(WritePrivateProfileStringW(section.c_str(), L"key", L"v", file.c_str()));
    EXPECT_EQ(DWORD(ERROR_ACCESS_DENIED), GetLastError());
}

// ---- atoms

struct AtomTable {
    const char* name;
    ATOM(WINAPI* add)(LPCWSTR);
    ATOM(WINAPI* find)(LPCWSTR);
    UINT(WINAPI* getName)(ATOM, LPWSTR, int);
    ATOM(WINAPI* remove)(ATOM);
};

const AtomTable atomTables[] = {
    {"local", AddAtomW, FindAtomW, GetAtomNameW, DeleteAtom},
    {"global", GlobalAddAtomW, GlobalFindAtomW, GlobalGetAtomNameW, GlobalDeleteAtom},
};

class AtomTest : public harness::TorwenTest {};

TEST_F(AtomTest, NonAsciiNamesRoundTrip)
{
    const std::wstring name = L"torwen atom " + harness::NonAsciiText();
    for (const AtomTable& table : atomTables) {
        SCOPED_TRACE(table.name);
        ATOM atom = table.add(name.c_str());
        ASSERT_NE(0, atom);
        EXPECT_EQ(atom, table.find(name.c_str()));
        Buffer buf;
        EXPECT_EQ(name.size(), table.getName(atom, buf, 128));
        EXPECT_EQ(name, buf.chars);
        table.remove(atom);
        EXPECT_EQ(0, table.find(name.c_str()));
    }
}

// MAKEINTATOM values are not strings: they reach the A function unchanged.
TEST_F(AtomTest, IntegerAtomsPassThrough)
{
    for (const AtomTable& table : atomTables) {
        SCOPED_TRACE(table.name);
        EXPECT_EQ(5, table.add(MAKEINTATOM(5)));
        EXPECT_EQ(5, table.find(MAKEINTATOM(5)));
        Buffer buf;
        EXPECT_EQ(2u, table.getName(5, buf, 128));
        EXPECT_EQ(L"#5"s, buf.chars);
    }
    if (!harness::AnsiPath())
        return;
    LPCSTR seen = nullptr;
    TW_HOOK(add, GlobalAddAtomA, [&](LPCSTR name) {
        seen = name;
        return add.real(name);
    });
    harness::HeapLog log;
    EXPECT_EQ(5, GlobalAddAtomW(MAKEINTATOM(5)));
    EXPECT_EQ(reinterpret_cast<LPCSTR>(5), seen);
    EXPECT_TRUE(log.events().empty());
}

// The atom readers restore the A function's error: an allocation failure before
// it leaves 0.
TEST_F(AtomTest, FailedAllocationGivesZeroAndNoError)
{
    const std::wstring name = L"torwen sweep " + harness::NonAsciiText();
    ATOM atom = GlobalAddAtomW(name.c_str());
    ASSERT_NE(0, atom);
    int runs = harness::SweepAllocationFailures([&](int k) {
        Buffer buf;
        SetLastError(1234);
        UINT r = GlobalGetAtomNameW(atom, buf, 128);
        if (AllocationFailed(k)) {
            EXPECT_EQ(0u, r);
            EXPECT_EQ(DWORD(ERROR_SUCCESS), GetLastError());
        } else {
            EXPECT_EQ(name.size(), r);
        }
    });
    EXPECT_EQ(harness::AnsiPath() ? 1 : 0, runs);
    GlobalDeleteAtom(atom);
}

}  // namespace
