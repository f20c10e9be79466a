// Menus and accelerator tables built through torwen and read back.
#include <optional>
#include <vector>

#include "user/test_resources.h"
#include "user/test_window.h"

namespace {

class MenusTest : public harness::TorwenTest {
protected:
    void SetUp() override
    {
        TorwenTest::SetUp();
        AppendMenuW(menu, MF_STRING, 1, text.c_str());  // binds AppendMenuA
    }
    void TearDown() override
    {
        DestroyMenu(menu);
        TorwenTest::TearDown();
    }

    std::wstring MenuString(UINT id)
    {
        WCHAR buf[64] = L"#";
        int n = GetMenuStringW(menu, id, buf, 64, MF_BYCOMMAND);
        return n == lstrlenW(buf) ? buf : L"<answered " + std::to_wstring(n) + L">";
    }

    const std::wstring text = L"Item " + harness::NonAsciiText();
    HMENU menu = CreatePopupMenu();
};

MENUITEMINFOW Info(UINT mask, UINT type, LPCWSTR data = nullptr, UINT cch = 0)
{
    return {44, mask, type, 0, 0, nullptr, nullptr, nullptr, 0, const_cast<LPWSTR>(data), cch,
            nullptr};
}

// Only a string item's text is converted: a bitmap handle, owner-drawn data and a
// separator's null reach the A function as they are, and come back so.
TEST_F(MenusTest, ItemKinds)
{
    HBITMAP bitmap = CreateBitmap(8, 8, 1, 1, nullptr);
    HMENU sub = CreatePopupMenu();
    std::vector<const void*> seen;
    std::optional<harness::Hook<decltype(&AppendMenuA)>> hook;
    if (harness::AnsiPath())
        hook.emplace("AppendMenuA", [&](HMENU m, UINT flags, UINT_PTR id, LPCSTR item) {
            seen.push_back(flags & MF_POPUP ? nullptr : item);
            return hook->real(m, flags, id, item);
        });
    const LPCWSTR data = reinterpret_cast<LPCWSTR>(0x12345678);
    EXPECT_TRUE(AppendMenuW(menu, MF_SEPARATOR, 0, nullptr));
    EXPECT_TRUE(AppendMenuW(menu, MF_BITMAP, 2, reinterpret_cast<LPCWSTR>(bitmap)));
    EXPECT_TRUE(AppendMenuW(menu, MF_OWNERDRAW, 3, data));
    EXPECT_TRUE(AppendMenuW(menu, MF_STRING | MF_POPUP, UINT_PTR(sub), text.c_str()));
    if (harness::AnsiPath()) {
        EXPECT_EQ(seen, (std::vector<const void*>{nullptr, bitmap, data, nullptr}));
    }
    EXPECT_EQ(MenuString(UINT_PTR(sub)), text);
    MENUITEMINFOW mii = Info(MIIM_TYPE | MIIM_DATA, MFT_BITMAP);
    ASSERT_TRUE(GetMenuItemInfoW(menu, 2, FALSE, &mii));
    EXPECT_EQ(mii.dwTypeData, reinterpret_cast<LPWSTR>(bitmap));
    EXPECT_EQ(mii.cch, 0u);
    ASSERT_TRUE(GetMenuItemInfoW(menu, 3, FALSE, &mii));
    EXPECT_EQ(mii.dwItemData, 0x12345678u);
    DeleteObject(bitmap);
}

// Inserting and modifying, and the length query, which counts ANSI bytes on the ANSI
// path. A text longer than the buffer is cut by the A function on a single-byte code
// page; on a double-byte one it does not fit the conversion and the answer is 0.
TEST_F(MenusTest, Strings)
{
    ASSERT_TRUE(InsertMenuW(menu, 0, MF_BYPOSITION | MF_STRING, 9, text.c_str()));
    ASSERT_TRUE(ModifyMenuW(menu, 1, MF_BYCOMMAND | MF_STRING, 1, L"Changed"));
    EXPECT_EQ(MenuString(9), text);
    EXPECT_EQ(MenuString(1), L"Changed");
    EXPECT_EQ(GetMenuStringW(menu, 9, nullptr, 0, MF_BYCOMMAND),
              int(harness::AnsiPath() ? harness::ToAnsi(text).size() : text.size()));
    WCHAR small[4];
    EXPECT_EQ(GetMenuStringW(menu, 9, small, 4, MF_BYCOMMAND), DoubleBytePath() ? 0 : 3);
    EXPECT_EQ(GetMenuStringW(menu, 77, small, 4, MF_BYCOMMAND), 0);
}

// The ANSI platforms' 44-byte record: InsertMenuItemW alone tests its size, and a
// read leaves cch at the caller's capacity, 0 for a separator asked for as a string.
TEST_F(MenusTest, ItemRecords)
{
    WCHAR buf[64];
    MENUITEMINFOW mii = Info(MIIM_TYPE | MIIM_ID, MFT_STRING, text.c_str());
    mii.wID = 5;
    ASSERT_TRUE(InsertMenuItemW(menu, 0, TRUE, &mii));
    AppendMenuW(menu, MF_SEPARATOR, 6, nullptr);
    mii = Info(MIIM_TYPE, MFT_STRING, buf, 64);
    mii.cbSize = sizeof mii;
    ASSERT_TRUE(GetMenuItemInfoW(menu, 5, FALSE, &mii));
    EXPECT_EQ(std::wstring(buf), text);
    EXPECT_EQ(mii.cbSize, harness::AnsiPath() ? 44u : sizeof mii);
    EXPECT_EQ(mii.cch, harness::AnsiPath() ? 64u : text.size());
    mii = Info(MIIM_TYPE, 0, buf, 64);
    ASSERT_TRUE(GetMenuItemInfoW(menu, 6, FALSE, &mii));
    EXPECT_TRUE(mii.fType & MFT_SEPARATOR);
    EXPECT_EQ(mii.cch, 0u);
    if (!harness::AnsiPath())
        return;

    mii = Info(MIIM_TYPE, MFT_STRING, L"Set");
    SetMenuItemInfoW(menu, 5, FALSE, &mii);  // binds SetMenuItemInfoA
    UINT sizeSeen = 0, cchSeen = 0;
    TW_HOOK(hook, SetMenuItemInfoA, [&](HMENU m, UINT item, BOOL pos, LPCMENUITEMINFOA a) {
        sizeSeen = a->cbSize;
        cchSeen = a->cch;
        return hook.real(m, item, pos, a);
    });
    mii.cbSize = 40;  // too short to insert with, not to change with
    EXPECT_TRUE(SetMenuItemInfoW(menu, 5, FALSE, &mii));
    EXPECT_EQ(sizeSeen, 44u);
    EXPECT_EQ(cchSeen, 4u) << "the converted text's heap size";
    SetLastError(1234);
    EXPECT_FALSE(InsertMenuItemW(menu, 0, TRUE, &mii));
    EXPECT_EQ(GetLastError(), 1234u);
    // A record too short for what a read writes is refused; nothing past it changes.
    mii = Info(MIIM_TYPE, 0, buf, 64);
    mii.cbSize = 40;
    EXPECT_FALSE(GetMenuItemInfoW(menu, 5, FALSE, &mii));
    EXPECT_EQ(GetLastError(), DWORD(ERROR_INVALID_PARAMETER));
    EXPECT_EQ(mii.cch, 64u);
}

// Resources by name and by number; character keys of accelerator tables stay as they are.
TEST_F(MenusTest, ResourcesAndAccelerators)
{
    HMODULE res = TestResources();
    HMENU named = LoadMenuW(res, L"MAINMENU");
    WCHAR buf[16];
    EXPECT_EQ(GetMenuStringW(GetSubMenu(named, 0), IDM_EXIT, buf, 16, MF_BYCOMMAND), 5);
    EXPECT_STREQ(buf, L"E&xit");
    DestroyMenu(named);
    EXPECT_TRUE(DestroyMenu(LoadMenuW(res, MAKEINTRESOURCEW(IDR_MENU))));
    EXPECT_TRUE(LoadAcceleratorsW(res, MAKEINTRESOURCEW(IDR_ACCEL)));

    ACCEL made[] = {{FVIRTKEY, VK_F2, 7}, {0, 'q', 8}};
    const struct { HACCEL table; WORD key; } tables[] = {
        {LoadAcceleratorsW(res, L"ACCELS"), 'x'}, {CreateAcceleratorTableW(made, 2), 'q'}};
    for (const auto& t : tables) {
        ACCEL entries[4] = {};
        EXPECT_EQ(CopyAcceleratorTableW(t.table, entries, 4), 2) << t.key;
        EXPECT_EQ(entries[1].key, t.key);
        DestroyAcceleratorTable(t.table);
    }
}

}  // namespace
