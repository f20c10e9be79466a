// The static, edit, list-box and combo-box helpers on real controls: positions in
// characters and texts in wide characters on both paths.
#include <functional>
#include <optional>

#include "torwen.h"
#include "user/test_resources.h"
#include "user/test_window.h"

namespace
{

class ControlsTest : public harness::TorwenTest
{
protected:
    void SetUp() override
    {
        TorwenTest::SetUp();
        dialog = CreateControlsDialog();
        ASSERT_TRUE(dialog);
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

    // The selection as the control itself counts it: bytes on the ANSI path.
    void SelectNative(int start, int end)
    {
        if (harness::AnsiPath())
            SendMessageA(edit, EM_SETSEL, start, end);
        else
            SendMessageW(edit, EM_SETSEL, start, end);
    }
    DWORD NativeSel()
    {
        return harness::AnsiPath() ? SendMessageA(edit, EM_GETSEL, 0, 0)
                                   : SendMessageW(edit, EM_GETSEL, 0, 0);
    }

    HWND dialog = nullptr, list = nullptr, combo = nullptr, edit = nullptr, label = nullptr;
};

DWORD Sel(int start, int end)
{
    return MAKELONG(start, end);
}

// The selection on a real control, counted in characters either way.
TEST_F(ControlsTest, EditSelection)
{
    if (DoubleBytePath())
        GTEST_SKIP() << "Wine's edit control counts characters, not bytes, also in an ANSI "
                        "window; the byte mapping is tested with the control's answers given";
    const std::wstring text = MixedText() + L"cd";
    SetWindowTextW(edit, text.c_str());
    SelectNative(1, 2);
    EXPECT_EQ(AtEdit_GetSelW(edit), Sel(1, 2));
    SelectNative(0, 0);
    EXPECT_EQ(AtEdit_GetSelW(edit), 0u);
    // On the ANSI path the end is not used: the caret goes to the start.
    AtEdit_SetSelW(edit, 2, 4);
    EXPECT_EQ(AtEdit_GetSelW(edit), harness::AnsiPath() ? Sel(2, 2) : Sel(2, 4));
    AtEdit_SetSelW(edit, 0, -1);
    EXPECT_EQ(AtEdit_GetSelW(edit), Sel(0, 5));
    AtEdit_SetSelW(edit, -1, 0);
    EXPECT_EQ(HIWORD(AtEdit_GetSelW(edit)), LOWORD(AtEdit_GetSelW(edit)));
    SetWindowTextW(edit, L"");
    EXPECT_EQ(AtEdit_GetSelW(edit), 0u);
    AtEdit_SetSelW(edit, 3, 3); // nothing to walk: nothing is sent
    EXPECT_EQ(AtEdit_GetSelW(edit), 0u);
}

// Byte positions as an ANSI control answers them, mapped to characters, and the byte
// positions sent for characters: a lead byte and its trail byte are one character,
// also when a position falls between them; a position past the text counts the
// text's characters.
TEST_F(ControlsTest, EditSelectionBytesAndCharacters)
{
    if (!harness::AnsiPath())
        GTEST_SKIP() << "the W path passes the control's answer on";
    SetWindowTextW(edit, (MixedText() + L"cd").c_str()); // a X b c d
    AtEdit_GetSelW(edit); // binds SendMessageA
    const int x = DoubleBytePath() ? 1 : 0; // the second byte of X
    DWORD answer = 0, sent = 0;
    TW_HOOK(hook, SendMessageA, [&](HWND h, UINT msg, WPARAM w, LPARAM l) -> LRESULT {
        if (msg == EM_GETSEL)
            return answer;
        if (msg == EM_SETSEL)
            sent = MAKELONG(w, l);
        return hook.real(h, msg, w, l);
    });
    const struct {
        DWORD bytes, chars;
    } gets[] = {
        { Sel(1, 2 + x), Sel(1, 2) },
        { Sel(2, 2), Sel(2, 2) },
        { Sel(3 + x, 5 + x), Sel(3, 5) },
        { Sel(0, 400), Sel(0, 5) },
        { 0, 0 },
        { DWORD(-1), DWORD(-1) },
    };
    for (const auto& g : gets) {
        answer = g.bytes;
        EXPECT_EQ(AtEdit_GetSelW(edit), g.chars) << std::hex << g.bytes;
    }
    const struct {
        int start, end;
        DWORD bytes;
    } sets[] = {
        { 2, 4, Sel(2 + x, 2 + x) },
        { 1, 1, Sel(1, 1) },
        { 9, 9, Sel(5 + x, 5 + x) },
        { 0, -1, Sel(0, -1) },
        { -1, 3, Sel(-1, 3) },
    };
    for (const auto& t : sets) {
        AtEdit_SetSelW(edit, t.start, t.end);
        EXPECT_EQ(sent, t.bytes) << t.start << ", " << t.end;
    }
}

// A failed allocation answers 0 or sends nothing.
TEST_F(ControlsTest, EditSelectionEdges)
{
    if (!harness::AnsiPath())
        GTEST_SKIP() << "the W path passes the control's answer on";
    SetWindowTextW(edit, MixedText().c_str());
    SelectNative(1, 1);
    harness::FailHeapAllocAt(1);
    AtEdit_SetSelW(edit, 2, 2);
    EXPECT_EQ(NativeSel(), Sel(1, 1));
    harness::FailHeapAllocAt(1);
    EXPECT_EQ(AtEdit_GetSelW(edit), 0u);
    harness::FailHeapAllocAt(0);
}

// Lines come back counted in characters and without a NUL; the replacement text and
// the password character go in converted.
TEST_F(ControlsTest, EditLinesTextAndPassword)
{
    HWND multi = CreateWindowExW(0, L"EDIT", L"", WS_CHILD | ES_MULTILINE, 0, 0, 200, 100, dialog,
        nullptr, nullptr, nullptr);
    const std::wstring first = MixedText();
    SetWindowTextW(multi, (first + L"\r\nsecond line").c_str());
    WCHAR buf[16];
    std::fill(std::begin(buf), std::end(buf), L'#');
    EXPECT_EQ(AtEdit_GetLineW(multi, 0, buf, 16), 3);
    EXPECT_EQ(std::wstring(buf, 3), first);
    if (harness::AnsiPath()) {
        EXPECT_EQ(buf[3], L'#') << "no NUL after the line"; // Wine's W control writes one
    }
    EXPECT_EQ(AtEdit_GetLineW(multi, 1, buf, 16), 11);
    EXPECT_EQ(std::wstring(buf, 11), L"second line");
    EXPECT_EQ(AtEdit_GetLineW(multi, 1, buf, 0), 0);
    EXPECT_EQ(AtEdit_GetLineW(multi, 7, buf, 16), 0);
    // Room for 1 character: the control writes at most what fits.
    struct {
        WCHAR one;
        WCHAR canary;
    } guarded = { 0, 0x55AA };
    AtEdit_GetLineW(multi, 0, &guarded.one, 1);
    EXPECT_EQ(guarded.canary, 0x55AA);

    SetWindowTextW(multi, L"abcdef");
    SendMessageW(multi, EM_SETSEL, 1, 3);
    AtEdit_ReplaceSelW(multi, first.c_str());
    WCHAR all[32];
    GetWindowTextW(multi, all, 32);
    EXPECT_EQ(std::wstring(all), L"a" + first + L"def");
    EXPECT_FALSE(SendMessageW(multi, EM_CANUNDO, 0, 0) && harness::AnsiPath());

    AtEdit_SetPasswordCharW(edit, L'*');
    EXPECT_EQ(SendMessageW(edit, EM_GETPASSWORDCHAR, 0, 0), '*');
    AtEdit_SetPasswordCharW(edit, 0);
    EXPECT_EQ(SendMessageW(edit, EM_GETPASSWORDCHAR, 0, 0), 0);
    if (harness::AnsiPath() && harness::CodePage() == 1252) {
        // The upper half of the code page goes out sign-extended.
        WPARAM seen = 0;
        TW_HOOK(hook, SendMessageA, [&](HWND h, UINT msg, WPARAM w, LPARAM l) {
            if (msg == EM_SETPASSWORDCHAR)
                seen = w;
            return hook.real(h, msg, w, l);
        });
        AtEdit_SetPasswordCharW(edit, 0x00D7);
        EXPECT_EQ(seen, 0xFFFFFFD7u);
    }
    DestroyWindow(multi);
}

// The list and combo helpers, through one table: what each family's helpers answer
// for the same items.
struct ListHelpers {
    const char* family;
    int(WINAPI* add)(HWND, LPCWSTR);
    int(WINAPI* insert)(HWND, int, LPCWSTR);
    int(WINAPI* find)(HWND, int, LPCWSTR);
    int(WINAPI* findExact)(HWND, int, LPCWSTR);
    int(WINAPI* select)(HWND, int, LPCWSTR);
    int(WINAPI* getText)(HWND, int, LPWSTR);
    int(WINAPI* getTextLen)(HWND, int);
    UINT getTextLenMessage;
};

const ListHelpers listHelpers[] = {
    { "list box", AtListBox_AddStringW, AtListBox_InsertStringW, AtListBox_FindStringW,
        AtListBox_FindStringExactW, AtListBox_SelectStringW, AtListBox_GetTextW,
        AtListBox_GetTextLenW, LB_GETTEXTLEN },
    { "combo box", AtComboBox_AddStringW, AtComboBox_InsertStringW, AtComboBox_FindStringW,
        AtComboBox_FindStringExactW, AtComboBox_SelectStringW, AtComboBox_GetLBTextW,
        AtComboBox_GetLBTextLenW, CB_GETLBTEXTLEN },
};

TEST_F(ControlsTest, ListAndComboItems)
{
    const std::wstring item = harness::NonAsciiText();
    for (const ListHelpers& h : listHelpers) {
        SCOPED_TRACE(h.family);
        HWND hwnd = h.getTextLenMessage == LB_GETTEXTLEN ? list : combo;
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
        // The control itself counts bytes on the ANSI path.
        if (harness::AnsiPath()) {
            EXPECT_EQ(SendMessageA(hwnd, h.getTextLenMessage, 2, 0),
                LRESULT(harness::ToAnsi(item).size()));
        }
        EXPECT_EQ(h.getText(hwnd, 9, buf), -1);
        EXPECT_EQ(h.getTextLen(hwnd, 9), -1);
    }
    const std::wstring file = L"file " + harness::NonAsciiText() + L".txt";
    SendMessageW(list, LB_RESETCONTENT, 0, 0);
    EXPECT_EQ(AtListBox_AddFileW(list, file.c_str()), 0);
    WCHAR buf[64];
    EXPECT_EQ(AtListBox_GetTextW(list, 0, buf), int(file.size()));

    const std::wstring text = L"Static " + harness::NonAsciiText();
    EXPECT_TRUE(AtStatic_SetTextW(label, text.c_str()));
    EXPECT_EQ(AtStatic_GetTextW(label, buf, 64), int(text.size()));
    EXPECT_EQ(std::wstring(buf), text);
}

TEST_F(ControlsTest, AllocationFailures)
{
    if (!harness::AnsiPath())
        GTEST_SKIP() << "the W path allocates nothing";
    const std::wstring item = harness::NonAsciiText();
    const LPCWSTR s = item.c_str();
    AtListBox_AddStringW(list, s);
    AtComboBox_AddStringW(combo, s);
    SetWindowTextW(edit, s);
    WCHAR buf[64];
    const struct {
        const char* name;
        std::function<int()> call;
        int failure;
    } members[] = {
        { "AtListBox_AddStringW", [&] { return AtListBox_AddStringW(list, s); }, -1 },
        { "AtListBox_FindStringExactW", [&] { return AtListBox_FindStringExactW(list, -1, s); },
            -1 },
        { "AtListBox_GetTextW", [&] { return AtListBox_GetTextW(list, 0, buf); }, -1 },
        { "AtListBox_GetTextLenW", [&] { return AtListBox_GetTextLenW(list, 0); }, -1 },
        { "AtComboBox_InsertStringW", [&] { return AtComboBox_InsertStringW(combo, 0, s); }, -1 },
        { "AtComboBox_GetLBTextW", [&] { return AtComboBox_GetLBTextW(combo, 0, buf); }, -1 },
        { "AtComboBox_GetLBTextLenW", [&] { return AtComboBox_GetLBTextLenW(combo, 0); }, -1 },
        { "AtStatic_SetTextW", [&] { return AtStatic_SetTextW(label, s) ? 1 : 0; }, 0 },
        { "AtStatic_GetTextW", [&] { return AtStatic_GetTextW(label, buf, 64); }, 0 },
        { "AtEdit_GetLineW", [&] { return AtEdit_GetLineW(edit, 0, buf, 64); }, 0 },
    };
    for (const auto& m : members) {
        EXPECT_EQ(harness::SweepAllocationFailures([&](int k) {
            SetLastError(1234);
            int r = m.call();
            if (harness::HeapAllocCalls() >= k) {
                EXPECT_EQ(r, m.failure) << m.name;
                EXPECT_EQ(GetLastError(), DWORD(ERROR_OUTOFMEMORY)) << m.name;
            } else {
                EXPECT_NE(r, m.failure) << m.name;
            }
        }),
            1)
            << m.name;
    }
}

} // namespace
