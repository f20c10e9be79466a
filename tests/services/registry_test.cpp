// Registry keys and values under HKEY_CURRENT_USER, by names and data beyond ASCII, and
// the user's name.
#include <lmcons.h>

#include <cstring>
#include <map>
#include <string>

#include "harness/harness.h"

using namespace harness;
using std::wstring;

namespace
{

class RegistryTest : public TorwenTest
{
protected:
    void SetUp() override
    {
        TorwenTest::SetUp();
        ASSERT_EQ(0,
            RegCreateKeyExW(HKEY_CURRENT_USER, path.c_str(), 0, nullptr, 0, KEY_ALL_ACCESS, nullptr,
                &key, nullptr));
    }
    void TearDown() override
    {
        RegCloseKey(key);
        RegDeleteKeyW(HKEY_CURRENT_USER, (path + L"\\" + text).c_str());
        RegDeleteKeyW(HKEY_CURRENT_USER, path.c_str());
        TorwenTest::TearDown();
    }
    LONG Set(const wstring& name, DWORD type, const wstring& data, DWORD bytes)
    {
        return RegSetValueExW(
            key, name.c_str(), 0, type, reinterpret_cast<const BYTE*>(data.data()), bytes);
    }

    const bool ansi = AnsiPath();
    const wstring text = NonAsciiText(), path = L"Software\\torwen test " + text;
    HKEY key = nullptr;
};

// The ANSI bytes of a text with embedded NULs.
std::size_t AnsiBytes(const wstring& s)
{
    return WideCharToMultiByte(CP_ACP, 0, s.data(), int(s.size()), nullptr, 0, nullptr, nullptr);
}

// Every value comes back as it was stored, by the readers and the enumeration.
// A size query answers the wide size; the ANSI path estimates it as twice the
// ANSI bytes of a text.
TEST_F(RegistryTest, ValuesRoundTrip)
{
    const DWORD number = 0x12345678;
    const struct Value {
        wstring name;
        DWORD type;
        wstring data; // what the caller stores, terminators included
    } values[] = {
        { text, REG_SZ, L"v " + text + L'\0' },
        { L"multi", REG_MULTI_SZ, text + L'\0' + L"b" + L'\0' + L'\0' },
        { L"expand", REG_EXPAND_SZ, L"%TEMP%\\" + text + L'\0' },
        { L"number", REG_DWORD, wstring(reinterpret_cast<const wchar_t*>(&number), 2) },
        { L"empty", REG_SZ, wstring(1, L'\0') },
    };
    std::map<wstring, std::pair<DWORD, wstring>> seen, stored;
    for (const Value& v : values) {
        ASSERT_EQ(0, Set(v.name, v.type, v.data, DWORD(2 * v.data.size()))) << v.type;
        stored[v.name] = { v.type, v.data };
    }
    HKEY sub;
    ASSERT_EQ(0,
        RegCreateKeyExW(key, text.c_str(), 0, nullptr, 0, KEY_ALL_ACCESS, nullptr, &sub, nullptr));
    RegCloseKey(sub);

    for (const Value& v : values) {
        DWORD type = 0, size = 0;
        ASSERT_EQ(0, RegQueryValueExW(key, v.name.c_str(), nullptr, &type, nullptr, &size));
        EXPECT_EQ(type, v.type);
        const bool text = v.type == REG_SZ || v.type == REG_MULTI_SZ;
        EXPECT_EQ(size, 2 * (ansi && text ? AnsiBytes(v.data) : v.data.size())) << v.type;
        wchar_t buf[64];
        size = sizeof buf;
        ASSERT_EQ(0,
            RegQueryValueExW(
                key, v.name.c_str(), nullptr, &type, reinterpret_cast<BYTE*>(buf), &size));
        EXPECT_EQ(wstring(buf, size / 2), v.data);
    }
    // The same through the enumeration (Wine enumerates in the order of the names).
    for (DWORD i = 0;; ++i) {
        wchar_t name[32], data[64];
        DWORD n = 32, type = 0, size = sizeof data;
        LONG r
            = RegEnumValueW(key, i, name, &n, nullptr, &type, reinterpret_cast<BYTE*>(data), &size);
        if (r == ERROR_NO_MORE_ITEMS)
            break;
        ASSERT_EQ(r, 0);
        seen[wstring(name, n)] = { type, wstring(data, size / 2) };
    }
    EXPECT_EQ(seen, stored);
    wchar_t name[32], keyClass[8];
    DWORD n = 32, classN = 8;
    ASSERT_EQ(0, RegEnumKeyExW(key, 0, name, &n, nullptr, keyClass, &classN, nullptr));
    EXPECT_EQ(wstring(name, n), text);
    EXPECT_EQ(classN, 0u);

    DWORD subKeys = 0, valueCount = 0, maxName = 0, maxValueName = 0, maxValue = 0;
    ASSERT_EQ(0,
        RegQueryInfoKeyW(key, nullptr, nullptr, nullptr, &subKeys, &maxName, nullptr, &valueCount,
            &maxValueName, &maxValue, nullptr, nullptr));
    EXPECT_EQ(subKeys, 1u);
    EXPECT_EQ(valueCount, std::size(values));
    DWORD maxNameA = 0, maxValueA = 0; // the A function's own count
    RegQueryInfoKeyA(key, nullptr, nullptr, nullptr, nullptr, &maxNameA, nullptr, nullptr, nullptr,
        &maxValueA, nullptr, nullptr);
    EXPECT_EQ(maxName, ansi ? maxNameA : text.size()) << "as the A function counts it";
    EXPECT_EQ(maxValue, ansi ? 2 * maxValueA : 2 * values[2].data.size())
        << "twice the A function's bytes";
}

// What RegSetValueExA is handed: text converted cbData / 2 characters at a time,
// every other type (REG_EXPAND_SZ too) the caller's own bytes.
TEST_F(RegistryTest, WhatRegSetValueExAStores)
{
    if (!ansi)
        GTEST_SKIP() << "the W path hands the data through";
    std::string seen;
    const BYTE* seenData = nullptr;
    TW_HOOK(hook, RegSetValueExA,
        [&](HKEY k, LPCSTR name, DWORD r, DWORD type, const BYTE* data, DWORD cb) {
            seen.assign(reinterpret_cast<const char*>(data), cb);
            seenData = data;
            return hook.real(k, name, r, type, data, cb);
        });
    const wstring abc = L"abc"; // a terminator follows in the string's storage
    const struct {
        DWORD type, bytes;
        std::string stored;
    } rows[] = {
        { REG_SZ, 8, std::string("abc", 4) },
        { REG_SZ, 7, "abc" }, // an odd count: the last byte is not a character
        { REG_SZ, 6, "abc" }, // no terminator: none is added
        { REG_MULTI_SZ, 2, "a" },
        { REG_EXPAND_SZ, 8, std::string(reinterpret_cast<const char*>(abc.c_str()), 8) },
        { REG_BINARY, 3, std::string(reinterpret_cast<const char*>(abc.c_str()), 3) },
    };
    for (const auto& row : rows) {
        ASSERT_EQ(0, Set(L"v", row.type, abc, row.bytes)) << row.type << " " << row.bytes;
        EXPECT_EQ(seen, row.stored) << row.type << " " << row.bytes;
        EXPECT_EQ(seenData == reinterpret_cast<const BYTE*>(abc.c_str()),
            !(row.type == REG_SZ || row.type == REG_MULTI_SZ));
    }
    const wstring kanji = text + L'\0'; // all of it fits, whatever the code page
    ASSERT_EQ(0, Set(L"v", REG_SZ, kanji, DWORD(2 * kanji.size())));
    EXPECT_EQ(seen, ToAnsi(text) + '\0');
}

// Reading into buffers that are too small, without a size, or without a buffer.
TEST_F(RegistryTest, SmallAndMissingBuffers)
{
    const wstring value = text + text + L'\0';
    ASSERT_EQ(0, Set(L"s", REG_SZ, value, DWORD(2 * value.size())));
    ASSERT_EQ(0, Set(L"b", REG_BINARY, L"\x0201\x0403\x0605", 6));
    DWORD type = 0, size = DWORD(ToAnsi(text + text).size() + 1);
    wchar_t buf[16] = {};
    BYTE* bytes = reinterpret_cast<BYTE*>(buf);
    // The ANSI buffer of that many bytes holds the text, but the wide one does not:
    // the ANSI path answers success with the size 0.
    EXPECT_EQ(RegQueryValueExW(key, L"s", nullptr, &type, bytes, &size),
        ansi ? ERROR_SUCCESS : ERROR_MORE_DATA);
    EXPECT_EQ(size, ansi ? 0u : 2 * value.size());
    // Binary data one byte short: too small on both paths, the size needed reported.
    size = 5;
    EXPECT_EQ(ERROR_MORE_DATA, RegQueryValueExW(key, L"b", nullptr, &type, bytes, &size));
    EXPECT_EQ(size, 6u);
    // A buffer without a size is refused as the system refuses it; no size, no buffer
    // asks for the type alone.
    EXPECT_EQ(ERROR_INVALID_PARAMETER, RegQueryValueExW(key, L"b", nullptr, &type, bytes, nullptr));
    type = 0;
    EXPECT_EQ(0, RegQueryValueExW(key, L"s", nullptr, &type, nullptr, nullptr));
    EXPECT_EQ(type, DWORD(REG_SZ));

    ASSERT_EQ(0, RegDeleteValueW(key, L"b"));
    wchar_t name[4];
    DWORD n = 4;
    size = 0;
    EXPECT_EQ(0, RegEnumValueW(key, 0, name, &n, nullptr, &type, nullptr, &size));
    EXPECT_EQ(wstring(name, n), L"s");
    EXPECT_EQ(size, ansi ? AnsiBytes(value) : 2 * value.size())
        << "the enumeration's size query is in ANSI bytes";
    n = 4;
    EXPECT_EQ(
        ERROR_INVALID_PARAMETER, RegEnumValueW(key, 1, name, &n, nullptr, &type, bytes, nullptr));
}

// The heap may round a block up (Windows 95 does): binary data the A function put
// in the slack is not copied past the caller's buffer.
TEST_F(RegistryTest, RoundedHeapBlocksDoNotOverrunTheCaller)
{
    if (!ansi)
        GTEST_SKIP() << "the W path reads into the caller's buffer itself";
    ASSERT_EQ(0, Set(L"b", REG_BINARY, L"\x0201\x0403\x0605", 6));
    TW_HOOK(hook, HeapSize, [&](HANDLE heap, DWORD flags, LPCVOID p) {
        return hook.real(heap, flags, p) + 1; // Wine's blocks have room for that byte
    });
    BYTE buf[8];
    memset(buf, 0xEE, sizeof buf);
    DWORD type, size = 5;
    EXPECT_EQ(ERROR_MORE_DATA, RegQueryValueExW(key, L"b", nullptr, &type, buf, &size));
    EXPECT_EQ(size, 6u);
    EXPECT_EQ(buf[5], 0xEE);
    wchar_t name[4];
    DWORD n = 4;
    size = 5;
    EXPECT_EQ(ERROR_MORE_DATA, RegEnumValueW(key, 0, name, &n, nullptr, &type, buf, &size));
    EXPECT_EQ(size, 6u);
    EXPECT_EQ(buf[5], 0xEE);
}

// The old interface counts as the W functions do: a key's name in characters, a
// default value in bytes of wide text with its terminator, whatever its ANSI size.
TEST_F(RegistryTest, TheOldInterfaceCountsWideCharacters)
{
    HKEY sub = nullptr;
    ASSERT_EQ(0, RegCreateKeyW(key, text.c_str(), &sub));
    RegCloseKey(sub);
    const wstring value = L"value " + text;
    const std::string valueA = ToAnsi(value);
    ASSERT_EQ(
        0, RegSetValueA(key, ToAnsi(text).c_str(), REG_SZ, valueA.c_str(), DWORD(valueA.size())));

    GuardPage guard;
    WCHAR* name = guard.End<WCHAR>(text.size() + 1, L'#');
    EXPECT_EQ(0, RegEnumKeyW(key, 0, name, DWORD(text.size() + 1)));
    EXPECT_EQ(wstring(name), text);
    name = guard.End<WCHAR>(text.size(), L'#');
    EXPECT_EQ(ERROR_MORE_DATA, RegEnumKeyW(key, 0, name, DWORD(text.size())));

    const LONG needed = LONG((value.size() + 1) * sizeof(WCHAR));
    LONG bytes = 0;
    EXPECT_EQ(0, RegQueryValueW(key, text.c_str(), nullptr, &bytes));
    EXPECT_EQ(bytes, needed);
    WCHAR* data = guard.End<WCHAR>(value.size() + 1, L'#');
    EXPECT_EQ(0, RegQueryValueW(key, text.c_str(), data, &bytes));
    EXPECT_EQ(wstring(data), value);
    EXPECT_EQ(bytes, needed);
    bytes = needed - 2;
    data = guard.End<WCHAR>(value.size(), L'#');
    EXPECT_EQ(ERROR_MORE_DATA, RegQueryValueW(key, text.c_str(), data, &bytes));
    EXPECT_EQ(bytes, needed);
}

using UserTest = TorwenTest;

// The name's length counts its terminator, in characters, on both paths.
TEST_F(UserTest, UserName)
{
    char a[UNLEN + 1];
    DWORD sizeA = sizeof a;
    ASSERT_TRUE(GetUserNameA(a, &sizeA));
    const wstring user = FromAnsi(a);
    WCHAR w[UNLEN + 1];
    DWORD size = DWORD(user.size());
    SetLastError(0);
    EXPECT_FALSE(GetUserNameW(w, &size));
    EXPECT_EQ(GetLastError(), DWORD(ERROR_INSUFFICIENT_BUFFER));
    EXPECT_EQ(size, user.size() + 1);
    EXPECT_TRUE(GetUserNameW(w, &size));
    EXPECT_EQ(size, user.size() + 1);
    EXPECT_EQ(wstring(w), user);
}

} // namespace
