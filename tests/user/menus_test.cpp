// Menus and accelerator tables, built through torwen and read back, and what the A
// functions receive on the ANSI path.
#include <cstring>
#include <optional>

#include "user/test_resources.h"
#include "user/test_window.h"

namespace
{

class MenusTest : public harness::TorwenTest
{
protected:
    void SetUp() override
    {
        TorwenTest::SetUp();
        menu = CreatePopupMenu();
        ASSERT_TRUE(AppendMenuW(menu, MF_STRING, 1, text.c_str())); // binds AppendMenuA
    }
    void TearDown() override
    {
        DestroyMenu(menu);
        TorwenTest::TearDown();
    }

    MENUITEMINFOW Info(UINT mask, UINT type, LPWSTR buf = nullptr, UINT cch = 0)
    {
        MENUITEMINFOW mii = {};
        mii.cbSize = 44;
        mii.fMask = mask;
        mii.fType = type;
        mii.dwTypeData = buf;
        mii.cch = cch;
        return mii;
    }

    std::wstring MenuString(UINT id)
    {
        WCHAR buf[64] = L"#";
        int n = GetMenuStringW(menu, id, buf, 64, MF_BYCOMMAND);
        return n == lstrlenW(buf) ? buf : L"<answered " + std::to_wstring(n) + L">";
    }

    const std::wstring text = L"Item " + harness::NonAsciiText();
    HMENU menu = nullptr;
};

// Only a string item's text is converted: a bitmap handle, owner-drawn data and a
// separator's null reach the A function as they are, high word or not.
TEST_F(MenusTest, ItemKindsAndWhatTheAFunctionReceives)
{
    HBITMAP bitmap = CreateBitmap(8, 8, 1, 1, nullptr);
    HMENU sub = CreatePopupMenu();
    std::vector<std::pair<std::string, const void*>> seen;
    std::optional<harness::Hook<decltype(&AppendMenuA)>> hook;
    if (harness::AnsiPath())
        hook.emplace("AppendMenuA", [&](HMENU m, UINT flags, UINT_PTR id, LPCSTR item) {
            bool string = !(flags & (MF_BITMAP | MF_OWNERDRAW | MF_SEPARATOR));
            seen.push_back({ string ? item : "", item });
            return hook->real(m, flags, id, item);
        });
    const struct {
        UINT flags;
        UINT_PTR id;
        LPCWSTR item;
        bool string;
    } items[] = {
        { MF_SEPARATOR, 0, nullptr, false },
        { MF_BITMAP, 2, reinterpret_cast<LPCWSTR>(bitmap), false },
        { MF_OWNERDRAW, 3, reinterpret_cast<LPCWSTR>(0x12345678), false },
        { MF_STRING | MF_POPUP, reinterpret_cast<UINT_PTR>(sub), text.c_str(), true },
    };
    for (const auto& item : items)
        EXPECT_TRUE(AppendMenuW(menu, item.flags, item.id, item.item)) << item.flags;
    EXPECT_EQ(GetMenuItemCount(menu), 5);
    if (harness::AnsiPath()) {
        ASSERT_EQ(seen.size(), std::size(items));
        for (size_t i = 0; i < seen.size(); ++i) {
            if (items[i].string)
                EXPECT_EQ(seen[i].first, harness::ToAnsi(text));
            else
                EXPECT_EQ(seen[i].second, items[i].item) << i;
        }
    }
    // Read back: the bitmap item's handle and the owner-drawn item's data.
    MENUITEMINFOW mii = Info(MIIM_TYPE | MIIM_DATA, MFT_BITMAP);
    ASSERT_TRUE(GetMenuItemInfoW(menu, 2, FALSE, &mii));
    EXPECT_EQ(mii.dwTypeData, reinterpret_cast<LPWSTR>(bitmap));
    EXPECT_EQ(mii.cch, 0u);
    mii = Info(MIIM_TYPE | MIIM_DATA, MFT_OWNERDRAW);
    ASSERT_TRUE(GetMenuItemInfoW(menu, 3, FALSE, &mii));
    EXPECT_EQ(mii.dwItemData, 0x12345678u);
    EXPECT_EQ(GetSubMenu(menu, 4), sub);
    EXPECT_EQ(MenuString(reinterpret_cast<UINT_PTR>(sub)), text);
    DeleteObject(bitmap);
}

// Insert and modify by position and command, and the length query, which counts
// ANSI bytes on the ANSI path.
TEST_F(MenusTest, InsertModifyAndReadStrings)
{
    const std::wstring other = L"Other " + harness::NonAsciiText();
    ASSERT_TRUE(InsertMenuW(menu, 0, MF_BYPOSITION | MF_STRING, 9, other.c_str()));
    EXPECT_EQ(MenuString(9), other);
    ASSERT_TRUE(ModifyMenuW(menu, 1, MF_BYCOMMAND | MF_STRING, 1, L"Changed"));
    EXPECT_EQ(MenuString(1), L"Changed");
    EXPECT_EQ(GetMenuStringW(menu, 9, nullptr, 0, MF_BYCOMMAND),
        int(harness::AnsiPath() ? harness::ToAnsi(other).size() : other.size()));
    // Longer than the buffer: cut by the A function on a single-byte code page; on a
    // double-byte one the conversion does not fit and the answer is 0.
    WCHAR small[4];
    EXPECT_EQ(GetMenuStringW(menu, 9, small, 4, MF_BYCOMMAND), DoubleBytePath() ? 0 : 3);
    EXPECT_EQ(GetMenuStringW(menu, 77, small, 4, MF_BYCOMMAND), 0);
    ASSERT_TRUE(ModifyMenuW(menu, 1, MF_BYCOMMAND | MF_SEPARATOR, 1, nullptr));
    MENUITEMINFOW mii = Info(MIIM_FTYPE, 0);
    ASSERT_TRUE(GetMenuItemInfoW(menu, 1, FALSE, &mii));
    EXPECT_TRUE(mii.fType & MFT_SEPARATOR);
}

// The item records: the ANSI platforms' 44 bytes, the size test of InsertMenuItemW
// only, and a cch that keeps the caller's capacity after a read.
TEST_F(MenusTest, ItemRecords)
{
    WCHAR buf[64];
    MENUITEMINFOW mii = Info(MIIM_TYPE | MIIM_ID, MFT_STRING, const_cast<LPWSTR>(text.c_str()));
    mii.wID = 5;
    mii.cbSize = sizeof mii;
    ASSERT_TRUE(InsertMenuItemW(menu, 0, TRUE, &mii));
    mii = Info(MIIM_TYPE, MFT_STRING, buf, 64);
    mii.cbSize = sizeof mii;
    ASSERT_TRUE(GetMenuItemInfoW(menu, 5, FALSE, &mii));
    EXPECT_EQ(std::wstring(buf), text);
    EXPECT_EQ(mii.cbSize, harness::AnsiPath() ? 44u : sizeof mii);
    EXPECT_EQ(mii.cch, harness::AnsiPath() ? 64u : text.size());

    // A separator asked for as a string item: the system's answer, with cch 0.
    AppendMenuW(menu, MF_SEPARATOR, 6, nullptr);
    mii = Info(MIIM_TYPE, 0, buf, 64);
    ASSERT_TRUE(GetMenuItemInfoW(menu, 6, FALSE, &mii));
    EXPECT_TRUE(mii.fType & MFT_SEPARATOR);
    EXPECT_EQ(mii.cch, 0u);

    if (!harness::AnsiPath())
        return;
    // What the A functions receive: 44 bytes, and the converted text's heap size.
    UINT sizeSeen = 0, cchSeen = 0;
    mii = Info(MIIM_TYPE, MFT_STRING, const_cast<LPWSTR>(L"Set"));
    SetMenuItemInfoW(menu, 5, FALSE, &mii); // binds SetMenuItemInfoA
    TW_HOOK(hook, SetMenuItemInfoA, [&](HMENU m, UINT item, BOOL pos, LPCMENUITEMINFOA a) {
        sizeSeen = a->cbSize;
        cchSeen = a->cch;
        return hook.real(m, item, pos, a);
    });
    mii.cbSize = 40; // too short to insert with, not to change with
    EXPECT_TRUE(SetMenuItemInfoW(menu, 5, FALSE, &mii));
    EXPECT_EQ(sizeSeen, 44u);
    EXPECT_EQ(cchSeen, 4u);
    EXPECT_EQ(MenuString(5), L"Set");
    SetLastError(1234);
    EXPECT_FALSE(InsertMenuItemW(menu, 0, TRUE, &mii));
    EXPECT_EQ(GetLastError(), 1234u);

    // A record too short for the fields a read writes is refused, and nothing past
    // its size is written.
    struct {
        MENUITEMINFOW mii;
        DWORD canary;
    } guarded = { Info(MIIM_TYPE, 0, buf, 64), 0xC0FFEE };
    guarded.mii.cbSize = 40;
    EXPECT_FALSE(GetMenuItemInfoW(menu, 5, FALSE, &guarded.mii));
    EXPECT_EQ(GetLastError(), DWORD(ERROR_INVALID_PARAMETER));
    EXPECT_EQ(guarded.mii.cch, 64u);
}

// Menus and tables from the resource DLL, by name and by number; tables made and
// copied with their character keys as they are.
TEST_F(MenusTest, ResourcesAndAccelerators)
{
    HMODULE res = TestResources();
    ASSERT_TRUE(res);
    for (LPCWSTR name : { LPCWSTR(L"MAINMENU"), LPCWSTR(MAKEINTRESOURCEW(IDR_MENU)) }) {
        HMENU loaded = LoadMenuW(res, name);
        ASSERT_TRUE(loaded);
        EXPECT_GT(GetMenuItemCount(loaded), 0);
        DestroyMenu(loaded);
    }
    HMENU file = GetSubMenu(LoadMenuW(res, L"MAINMENU"), 0);
    WCHAR buf[16];
    EXPECT_EQ(GetMenuStringW(file, IDM_EXIT, buf, 16, MF_BYCOMMAND), 5);
    EXPECT_STREQ(buf, L"E&xit");
    EXPECT_FALSE(LoadMenuW(res, L"NOSUCHMENU"));

    HACCEL named = LoadAcceleratorsW(res, L"ACCELS");
    HACCEL numbered = LoadAcceleratorsW(res, MAKEINTRESOURCEW(IDR_ACCEL));
    ASSERT_TRUE(named && numbered);
    ACCEL entries[4] = {};
    ASSERT_EQ(CopyAcceleratorTableW(named, entries, 4), 2);
    EXPECT_EQ(entries[0].cmd, IDM_OPEN);
    EXPECT_EQ(entries[1].key, 'x');
    ACCEL made[] = { { FVIRTKEY, VK_F2, 7 }, { 0, 'q', 8 } };
    HACCEL table = CreateAcceleratorTableW(made, 2);
    ASSERT_EQ(CopyAcceleratorTableW(table, entries, 4), 2);
    EXPECT_EQ(entries[1].key, 'q');
    EXPECT_EQ(entries[1].cmd, 8);
    DestroyAcceleratorTable(table);
    DestroyAcceleratorTable(named);
    DestroyAcceleratorTable(numbered);
}

TEST_F(MenusTest, AllocationFailures)
{
    if (!harness::AnsiPath())
        GTEST_SKIP() << "the W path allocates nothing";
    const LPCWSTR s = text.c_str();
    WCHAR buf[64];
    MENUITEMINFOW mii = Info(MIIM_TYPE, MFT_STRING, const_cast<LPWSTR>(s));
    MENUITEMINFOW read = Info(MIIM_TYPE, MFT_STRING, buf, 64);
    HMODULE res = TestResources();
    // The error is 0 for a member that keeps the A call's own, 14 for the others.
    const struct {
        const char* name;
        std::function<bool()> call;
        DWORD error;
    } members[] = {
        { "AppendMenuW", [&] { return AppendMenuW(menu, MF_STRING, 3, s) != 0; }, 0 },
        { "InsertMenuW", [&] { return InsertMenuW(menu, 0, MF_BYPOSITION, 3, s) != 0; }, 0 },
        { "ModifyMenuW", [&] { return ModifyMenuW(menu, 1, MF_BYCOMMAND, 1, s) != 0; }, 0 },
        { "InsertMenuItemW", [&] { return InsertMenuItemW(menu, 0, TRUE, &mii) != 0; }, 0 },
        { "SetMenuItemInfoW", [&] { return SetMenuItemInfoW(menu, 1, FALSE, &mii) != 0; }, 0 },
        { "GetMenuItemInfoW", [&] { return GetMenuItemInfoW(menu, 1, FALSE, &read) != 0; }, 0 },
        { "GetMenuStringW", [&] { return GetMenuStringW(menu, 1, buf, 64, 0) != 0; },
            ERROR_OUTOFMEMORY },
        { "LoadMenuW",
            [&] {
                HMENU m = LoadMenuW(res, L"MAINMENU");
                return m && DestroyMenu(m);
            },
            0 },
        { "LoadAcceleratorsW", [&] { return LoadAcceleratorsW(res, L"ACCELS") != nullptr; },
            ERROR_OUTOFMEMORY },
    };
    for (const auto& m : members) {
        EXPECT_EQ(harness::SweepAllocationFailures([&](int k) {
            SetLastError(1234);
            bool ok = m.call();
            EXPECT_EQ(ok, harness::HeapAllocCalls() < k) << m.name;
            if (!ok) {
                EXPECT_EQ(GetLastError(), m.error) << m.name;
            }
        }),
            1)
            << m.name;
    }
}

} // namespace
