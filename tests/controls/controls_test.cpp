// The static, edit, list-box and combo-box helpers on real controls: positions in
// characters and texts in wide characters on both paths.
#include "torwen.h"
#include "user/test_resources.h"
#include "user/test_window.h"

namespace {

class ControlsTest : public harness::TorwenTest {
protected:
    void SetUp() override
    {
        TorwenTest::SetUp();
        dialog = CreateControlsDialog();
        list = GetDlgItem(dialog, IDC_LIST);
        combo = GetDlgItem(dialog, IDC_COMBO);
        edit = GetDlgItem(dialog, IDC_EDIT);
        label = GetDlgItem(dialog, IDC_LABEL);
    }
    void TearDown() override
    {
        DestroyWindow(dialog);
        TorwenTest::TearDown();
    }

    HWND dialog, list, combo, edit, label;
};

DWORD Sel(int start, int end)
{
    return MAKELONG(start, end);
}

// The selection of a real control. On the ANSI path the end is not used: the caret
// goes to the start. Select-all and no-selection pass as they are.
TEST_F(ControlsTest, EditSelection)
{
    if (DoubleBytePath())
        GTEST_SKIP() << "Wine's edit control counts characters, not bytes, also in an ANSI "
                        "window; the byte mapping is tested with the control's answers given";
    SetWindowTextW(edit, (MixedText() + L"cd").c_str());
    SendMessageW(edit, EM_SETSEL, 1, 2);
    EXPECT_EQ(AtEdit_GetSelW(edit), Sel(1, 2));
    AtEdit_SetSelW(edit, 2, 4);
    EXPECT_EQ(AtEdit_GetSelW(edit), harness::AnsiPath() ? Sel(2, 2) : Sel(2, 4));
    AtEdit_SetSelW(edit, 0, -1);
    EXPECT_EQ(AtEdit_GetSelW(edit), Sel(0, 5));
    AtEdit_SetSelW(edit, -1, 0);
    EXPECT_EQ(HIWORD(AtEdit_GetSelW(edit)), LOWORD(AtEdit_GetSelW(edit)));
    SetWindowTextW(edit, L"");
    AtEdit_SetSelW(edit, 3, 3);
    EXPECT_EQ(AtEdit_GetSelW(edit), 0u);
}

// Byte positions as an ANSI control answers them, mapped to characters, and the byte
// positions sent for characters: a lead and its trail byte are one character, also
// when a position falls between them; a position past the text counts the text's
// characters. A failed allocation sends nothing.
TEST_F(ControlsTest, EditSelectionBytesAndCharacters)
{
    if (!harness::AnsiPath())
        GTEST_SKIP() << "the W path passes the control's answer on";
    SetWindowTextW(edit, (MixedText() + L"cd").c_str());  // a X b c d
    AtEdit_GetSelW(edit);                                 // binds SendMessageA
    const int x = DoubleBytePath() ? 1 : 0;               // X's second byte
    DWORD answer = 0, sent = 0;
    TW_HOOK(hook, SendMessageA, [&](HWND h, UINT msg, WPARAM w, LPARAM l) -> LRESULT {
        if (msg == EM_GETSEL)
            return answer;
        if (msg == EM_SETSEL)
            sent = MAKELONG(w, l);
        return hook.real(h, msg, w, l);
    });
    const DWORD gets[][2] = {{Sel(1, 2 + x), Sel(1, 2)}, {Sel(2, 2), Sel(2, 2)},
                             {Sel(3 + x, 5 + x), Sel(3, 5)}, {Sel(0, 400), Sel(0, 5)},
                             {0, 0}, {DWORD(-1), DWORD(-1)}};
    for (const auto& g : gets) {
        answer = g[0];
        EXPECT_EQ(AtEdit_GetSelW(edit), g[1]) << std::hex << g[0];
    }
    const struct { int start, end; DWORD bytes; } sets[] = {
        {2, 4, Sel(2 + x, 2 + x)}, {9, 9, Sel(5 + x, 5 + x)}, {0, -1, Sel(0, -1)},
        {-1, 3, Sel(-1, 3)}};
    for (const auto& t : sets) {
        AtEdit_SetSelW(edit, t.start, t.end);
        EXPECT_EQ(sent, t.bytes) << t.start << ", " << t.end;
    }
    answer = Sel(1, 2);
    sent = 0;
    harness::FailHeapAllocAt(1);
    AtEdit_SetSelW(edit, 2, 2);
    harness::FailHeapAllocAt(0);
    EXPECT_EQ(sent, 0u);
}

// Lines counted in characters, without a NUL after them; the replacement text and the
// password character go in converted, the upper half of code page 1252 sign-extended.
TEST_F(ControlsTest, EditLinesTextAndPassword)
{
    HWND multi = CreateWindowExW(0, L"EDIT", L"", WS_CHILD | ES_MULTILINE, 0, 0, 200, 100,
                                 dialog, nullptr, nullptr, nullptr);
    const std::wstring first = MixedText();
    SetWindowTextW(multi, (first + L"\r\nsecond line").c_str());
    WCHAR buf[16];
    std::fill(std::begin(buf), std::end(buf), L'#');
    EXPECT_EQ(AtEdit_GetLineW(multi, 0, buf, 16), 3);
    EXPECT_EQ(std::wstring(buf, 3), first);
    if (harness::AnsiPath()) {
        EXPECT_EQ(buf[3], L'#');  // Wine's wide control writes a NUL where there is room
    }
    EXPECT_EQ(AtEdit_GetLineW(multi, 1, buf, 16), 11);
    EXPECT_EQ(AtEdit_GetLineW(multi, 1, buf, 0), 0);
    EXPECT_EQ(AtEdit_GetLineW(multi, 7, buf, 16), 0);

    SetWindowTextW(multi, L"abcdef");
    SendMessageW(multi, EM_SETSEL, 1, 3);
    AtEdit_ReplaceSelW(multi, first.c_str());
    EXPECT_EQ(TextOf(multi), L"a" + first + L"def");
    DestroyWindow(multi);

    AtEdit_SetPasswordCharW(edit, L'*');
    EXPECT_EQ(SendMessageW(edit, EM_GETPASSWORDCHAR, 0, 0), '*');
    AtEdit_SetPasswordCharW(edit, 0);
    EXPECT_EQ(SendMessageW(edit, EM_GETPASSWORDCHAR, 0, 0), 0);
    if (harness::AnsiPath() && harness::CodePage() == 1252) {
        WPARAM seen = 0;
        TW_HOOK(hook, SendMessageA, [&](HWND h, UINT msg, WPARAM w, LPARAM l) {
            seen = msg == EM_SETPASSWORDCHAR ? w : seen;
            return hook.real(h, msg, w, l);
        });
        AtEdit_SetPasswordCharW(edit, 0x00D7);
        EXPECT_EQ(seen, 0xFFFFFFD7u);
    }
}

// The list and combo helpers through one table: the same answers for the same items;
// lengths in characters where the control counts bytes.
struct ListHelpers {
    bool isCombo;
    int(WINAPI* add)(HWND, LPCWSTR);
    int(WINAPI* insert)(HWND, int, LPCWSTR);
    int(WINAPI* find)(HWND, int, LPCWSTR);
    int(WINAPI* findExact)(HWND, int, LPCWSTR);
    int(WINAPI* select)(HWND, int, LPCWSTR);
    int(WINAPI* getText)(HWND, int, LPWSTR);
    int(WINAPI* getTextLen)(HWND, int);
};

TEST_F(ControlsTest, ListAndComboItems)
{
    const ListHelpers families[] = {
        {false, AtListBox_AddStringW, AtListBox_InsertStringW, AtListBox_FindStringW,
         AtListBox_FindStringExactW, AtListBox_SelectStringW, AtListBox_GetTextW,
         AtListBox_GetTextLenW},
        {true, AtComboBox_AddStringW, AtComboBox_InsertStringW, AtComboBox_FindStringW,
         AtComboBox_FindStringExactW, AtComboBox_SelectStringW, AtComboBox_GetLBTextW,
         AtComboBox_GetLBTextLenW},
    };
    const std::wstring item = harness::NonAsciiText();
    for (const ListHelpers& h : families) {
        HWND hwnd = h.isCombo ? combo : list;
        SCOPED_TRACE(h.isCombo ? "combo box" : "list box");
        EXPECT_EQ(h.add(hwnd, L"first"), 0);
        EXPECT_EQ(h.add(hwnd, item.c_str()), 1);
        EXPECT_EQ(h.insert(hwnd, 1, L"between"), 1);
        EXPECT_EQ(h.find(hwnd, -1, item.substr(0, 2).c_str()), 2);
        EXPECT_EQ(h.findExact(hwnd, -1, item.c_str()), 2);
        EXPECT_EQ(h.findExact(hwnd, -1, item.substr(0, 2).c_str()), -1);
        EXPECT_EQ(h.select(hwnd, -1, L"betw"), 1);
        WCHAR buf[64] = L"";
        EXPECT_EQ(h.getText(hwnd, 2, buf), int(item.size()));
        EXPECT_EQ(std::wstring(buf), item);
        EXPECT_EQ(h.getTextLen(hwnd, 2), int(item.size()));
        EXPECT_EQ(h.getText(hwnd, 9, buf), -1);
        EXPECT_EQ(h.getTextLen(hwnd, 9), -1);
    }
    const std::wstring text = L"Static " + item;
    EXPECT_TRUE(AtStatic_SetTextW(label, text.c_str()));
    WCHAR buf[64];
    EXPECT_EQ(AtStatic_GetTextW(label, buf, 64), int(text.size()));
    EXPECT_EQ(std::wstring(buf), text);
}

}  // namespace
