// Registry keys and values under HKEY_CURRENT_USER, by names and data beyond ASCII.
#include <cstring>
#include <functional>
#include <map>
#include <string>
#include <vector>

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

struct Value {
    wstring name;
    DWORD type;
    wstring data; // what the caller stores, terminators included
};

// Every value comes back as it was stored, by the readers and the enumeration.
// A size query answers the wide size; the ANSI path estimates it as twice the
// ANSI bytes of a text.
TEST_F(RegistryTest, ValuesRoundTrip)
{
    const DWORD number = 0x12345678;
    const std::vector<Value> values = {
        { text, REG_SZ, L"v " + text + L'\0' },
        { L"multi", REG_MULTI_SZ, text + L'\0' + L"b" + L'\0' + L'\0' },
        { L"expand", REG_EXPAND_SZ, L"%TEMP%\\" + text + L'\0' },
        { L"number", REG_DWORD, wstring(reinterpret_cast<const wchar_t*>(&number), 2) },
        { L"empty", REG_SZ, wstring(1, L'\0') },
    };
    for (const Value& v : values)
        ASSERT_EQ(0, Set(v.name, v.type, v.data, DWORD(2 * v.data.size()))) << v.type;
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
    std::map<wstring, std::pair<DWORD, wstring>> seen, stored;
    for (const Value& v : values)
        stored[v.name] = { v.type, v.data };
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
    n = 32;
    EXPECT_EQ(
        ERROR_NO_MORE_ITEMS, RegEnumKeyExW(key, 1, name, &n, nullptr, nullptr, nullptr, nullptr));

    DWORD subKeys = 0, valueCount = 0, maxName = 0, maxValueName = 0, maxValue = 0;
    ASSERT_EQ(0,
        RegQueryInfoKeyW(key, nullptr, nullptr, nullptr, &subKeys, &maxName, nullptr, &valueCount,
            &maxValueName, &maxValue, nullptr, nullptr));
    EXPECT_EQ(subKeys, 1u);
    EXPECT_EQ(valueCount, values.size());
    DWORD maxNameA = 0, maxValueA = 0; // the A function's own count
    RegQueryInfoKeyA(key, nullptr, nullptr, nullptr, nullptr, &maxNameA, nullptr, nullptr, nullptr,
        &maxValueA, nullptr, nullptr);
    EXPECT_EQ(maxName, ansi ? maxNameA : text.size()) << "as the A function counts it";
    EXPECT_EQ(maxValue, ansi ? 2 * maxValueA : 2 * values[2].data.size())
        << "twice the A function's bytes";
    HKEY opened;
    ASSERT_EQ(0, RegOpenKeyExW(key, text.c_str(), 0, KEY_READ, &opened));
    RegCloseKey(opened);
    EXPECT_EQ(0, RegDeleteKeyW(key, text.c_str()));
    EXPECT_EQ(0, RegDeleteValueW(key, text.c_str()));
    EXPECT_EQ(ERROR_FILE_NOT_FOUND, RegDeleteValueW(key, text.c_str()));
    EXPECT_EQ(ERROR_FILE_NOT_FOUND, RegOpenKeyExW(key, text.c_str(), 0, KEY_READ, &opened));
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
    // The ANSI buffer of that many bytes holds the text, but the wide one does not:
    // the ANSI path answers success with the size 0.
    LONG r = RegQueryValueExW(key, L"s", nullptr, &type, reinterpret_cast<BYTE*>(buf), &size);
    if (ansi) {
        EXPECT_EQ(r, 0);
        EXPECT_EQ(size, 0u);
    } else {
        EXPECT_EQ(r, ERROR_MORE_DATA);
        EXPECT_EQ(size, 2 * value.size());
    }
    // Binary data one byte short: too small on both paths, the size needed reported.
    size = 5;
    EXPECT_EQ(ERROR_MORE_DATA,
        RegQueryValueExW(key, L"b", nullptr, &type, reinterpret_cast<BYTE*>(buf), &size));
    EXPECT_EQ(size, 6u);
    // A buffer without a size is refused as the system refuses it; no size, no buffer
    // asks for the type alone.
    EXPECT_EQ(ERROR_INVALID_PARAMETER,
        RegQueryValueExW(key, L"b", nullptr, &type, reinterpret_cast<BYTE*>(buf), nullptr));
    type = 0;
    EXPECT_EQ(0, RegQueryValueExW(key, L"s", nullptr, &type, nullptr, nullptr));
    EXPECT_EQ(type, DWORD(REG_SZ));
    EXPECT_EQ(ERROR_FILE_NOT_FOUND, RegQueryValueExW(key, L"none", nullptr, &type, nullptr, &size));

    ASSERT_EQ(0, RegDeleteValueW(key, L"b"));
    wchar_t name[4];
    DWORD n = 4;
    size = 0;
    r = RegEnumValueW(key, 0, name, &n, nullptr, &type, nullptr, &size);
    EXPECT_EQ(r, 0);
    EXPECT_EQ(wstring(name, n), L"s");
    EXPECT_EQ(size, ansi ? AnsiBytes(value) : 2 * value.size())
        << "the enumeration's size query is in ANSI bytes";
    n = 4;
    EXPECT_EQ(ERROR_INVALID_PARAMETER,
        RegEnumValueW(key, 1, name, &n, nullptr, &type, reinterpret_cast<BYTE*>(buf), nullptr));
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

// Every member answers ERROR_OUTOFMEMORY when torwen runs out of memory, and frees
// what it holds.
TEST_F(RegistryTest, CaughtFailuresAnswerOutOfMemory)
{
    ASSERT_EQ(0, Set(text, REG_SZ, text + L'\0', DWORD(2 * text.size() + 2)));
    wchar_t name[32], data[32], keyClass[8];
    DWORD n, size, type, classN;
    HKEY sub;
    const std::function<LONG()> calls[] = {
        [&] { return Set(text, REG_SZ, text + L'\0', DWORD(2 * text.size() + 2)); },
        [&] { return Set(text, REG_MULTI_SZ, text + L'\0' + L'\0', DWORD(2 * text.size() + 4)); },
        [&] {
            size = sizeof data;
            return RegQueryValueExW(
                key, text.c_str(), nullptr, &type, reinterpret_cast<BYTE*>(data), &size);
        },
        [&] {
            n = 32, size = sizeof data;
            return RegEnumValueW(
                key, 0, name, &n, nullptr, &type, reinterpret_cast<BYTE*>(data), &size);
        },
        [&] {
            n = 32, classN = 8;
            return RegEnumKeyExW(
                HKEY_CURRENT_USER, 0, name, &n, nullptr, keyClass, &classN, nullptr);
        },
        [&] {
            classN = 8;
            return RegQueryInfoKeyW(key, keyClass, &classN, nullptr, nullptr, nullptr, nullptr,
                nullptr, nullptr, nullptr, nullptr, nullptr);
        },
        [&] {
            LONG r = RegCreateKeyExW(
                key, text.c_str(), 0, keyClass, 0, KEY_ALL_ACCESS, nullptr, &sub, nullptr);
            if (!r)
                RegCloseKey(sub);
            return r;
        },
        [&] {
            LONG r = RegOpenKeyExW(HKEY_CURRENT_USER, path.c_str(), 0, KEY_READ, &sub);
            if (!r)
                RegCloseKey(sub);
            return r;
        },
        [&] { return RegDeleteKeyW(key, text.c_str()); },
        [&] { return RegDeleteValueW(key, L"absent"); },
    };
    keyClass[0] = L'\0';
    for (const auto& call : calls) {
        EXPECT_EQ(ansi, 0 < SweepAllocationFailures([&](int k) {
            LONG r = call();
            EXPECT_TRUE(HeapAllocCalls() < k || r == ERROR_OUTOFMEMORY) << k << " " << r;
        }));
    }
}

} // namespace
