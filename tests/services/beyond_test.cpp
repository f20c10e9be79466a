// Registry and account functions that wide programs import besides the families
// above: counts in wide characters (or bytes of wide text), as the W functions
// answer on both paths.
#include <functional>
#include <string>
#include <vector>

#include "harness/harness.h"

#include <lmcons.h>

using namespace harness;
using std::wstring;

namespace {

class ServicesBeyondTest : public TorwenTest {
protected:
    void SetUp() override
    {
        TorwenTest::SetUp();
        RegDeleteKeyA(HKEY_CURRENT_USER, ToAnsi(root + L"\\" + child).c_str());
        RegDeleteKeyA(HKEY_CURRENT_USER, ToAnsi(root).c_str());
    }
    void TearDown() override
    {
        RegDeleteKeyA(HKEY_CURRENT_USER, ToAnsi(root + L"\\" + child).c_str());
        RegDeleteKeyA(HKEY_CURRENT_USER, ToAnsi(root).c_str());
        TorwenTest::TearDown();
    }

    const wstring root = L"Software\\torwen beyond", child = L"key " + NonAsciiText();
};

TEST_F(ServicesBeyondTest, KeysOfTheOldInterface)
{
    HKEY key = nullptr, sub = nullptr;
    ASSERT_EQ(RegCreateKeyW(HKEY_CURRENT_USER, root.c_str(), &key), ERROR_SUCCESS);
    ASSERT_EQ(RegCreateKeyW(key, child.c_str(), &sub), ERROR_SUCCESS);
    RegCloseKey(sub);
    const wstring value = L"value " + NonAsciiText();
    const std::string valueA = ToAnsi(value);
    ASSERT_EQ(RegSetValueA(key, ToAnsi(child).c_str(), REG_SZ, valueA.c_str(), DWORD(valueA.size())), ERROR_SUCCESS);

    ASSERT_EQ(RegOpenKeyW(key, child.c_str(), &sub), ERROR_SUCCESS);
    RegCloseKey(sub);
    EXPECT_EQ(RegOpenKeyW(key, L"none", &sub), ERROR_FILE_NOT_FOUND);

    GuardPage guard;
    WCHAR* name = guard.End<WCHAR>(child.size() + 1, L'#');
    EXPECT_EQ(RegEnumKeyW(key, 0, name, DWORD(child.size() + 1)), ERROR_SUCCESS);
    EXPECT_EQ(wstring(name), child);
    name = guard.End<WCHAR>(child.size(), L'#');
    EXPECT_EQ(RegEnumKeyW(key, 0, name, DWORD(child.size())), ERROR_MORE_DATA);
    EXPECT_EQ(RegEnumKeyW(key, 1, name, DWORD(child.size())), ERROR_NO_MORE_ITEMS);

    // Bytes of wide text with the terminator, whatever the ANSI size.
    const LONG needed = LONG((value.size() + 1) * sizeof(WCHAR));
    LONG bytes = 0;
    EXPECT_EQ(RegQueryValueW(key, child.c_str(), nullptr, &bytes), ERROR_SUCCESS);
    EXPECT_EQ(bytes, needed);
    WCHAR* text = guard.End<WCHAR>(value.size() + 1, L'#');
    EXPECT_EQ(RegQueryValueW(key, child.c_str(), text, &bytes), ERROR_SUCCESS);
    EXPECT_EQ(wstring(text), value);
    EXPECT_EQ(bytes, needed);
    bytes = needed - 2;
    text = guard.End<WCHAR>(value.size(), L'#');
    EXPECT_EQ(RegQueryValueW(key, child.c_str(), text, &bytes), ERROR_MORE_DATA);
    EXPECT_EQ(bytes, needed);
    EXPECT_EQ(RegQueryValueW(key, L"none", nullptr, &bytes), ERROR_FILE_NOT_FOUND);

    if (AnsiPath()) {  // a failed allocation answers ERROR_OUTOFMEMORY, nothing left behind
        const std::vector<std::function<LONG()>> calls = {
            [&] { return RegOpenKeyW(key, L"none", &sub); },
            [&] { return RegEnumKeyW(key, 0, guard.End<WCHAR>(64), 64); },
            [&] { return RegQueryValueW(key, child.c_str(), guard.End<WCHAR>(64), &(bytes = 128)); },
        };
        for (const auto& call : calls) {
            int runs = SweepAllocationFailures([&](int k) {
                const LONG r = call();
                EXPECT_TRUE(HeapAllocCalls() < k || r == ERROR_OUTOFMEMORY) << k << ": " << r;
            });
            EXPECT_GT(runs, 0);
        }
    }
    RegCloseKey(key);
}

TEST_F(ServicesBeyondTest, UserName)
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

}  // namespace
