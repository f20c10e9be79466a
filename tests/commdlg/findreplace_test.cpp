// The modeless find and replace dialogs: the owner hears of every button through
// FINDMSGSTRING with the caller's own wide record, its texts and options filled in.
#include <string>
#include <vector>

#include "harness/harness.h"

#include <dlgs.h>

using namespace harness;
using std::wstring;

namespace {

struct Report {
    LPARAM record;
    DWORD flags;
    wstring findWhat, replaceWith;
};
std::vector<Report> reports;
UINT findMessage;

LRESULT CALLBACK OwnerProc(HWND hwnd, UINT msg, WPARAM wp, LPARAM lp)
{
    if (msg == findMessage && findMessage) {
        auto w = reinterpret_cast<LPFINDREPLACEW>(lp);
        reports.push_back({lp, w->Flags, w->lpstrFindWhat, w->lpstrReplaceWith ? w->lpstrReplaceWith : L""});
        return 0;
    }
    return DefWindowProcA(hwnd, msg, wp, lp);
}

class FindReplaceTest : public TorwenTest {
protected:
    void SetUp() override
    {
        TorwenTest::SetUp();
        findMessage = RegisterWindowMessageA(FINDMSGSTRINGA);
        WNDCLASSA wc = {};
        wc.lpfnWndProc = OwnerProc;
        wc.hInstance = GetModuleHandleA(nullptr);
        wc.lpszClassName = "twb find owner";
        RegisterClassA(&wc);
        owner = CreateWindowA("twb find owner", "", WS_OVERLAPPEDWINDOW, 0, 0, 100, 100, nullptr, nullptr,
                              wc.hInstance, nullptr);
        reports.clear();
    }
    void TearDown() override
    {
        DestroyWindow(owner);
        TorwenTest::TearDown();
    }
    void Click(HWND dialog, int id) { SendMessageA(dialog, WM_COMMAND, MAKEWPARAM(id, BN_CLICKED), 0); }

    HWND owner = nullptr;
};

TEST_F(FindReplaceTest, OwnerReceivesTheWideRecord)
{
    const wstring text = NonAsciiText();
    for (bool replace : {false, true}) {
        SCOPED_TRACE(replace ? "ReplaceTextW" : "FindTextW");
        reports.clear();
        WCHAR findWhat[32] = L"old", replaceWith[32] = L"new";
        FINDREPLACEW fr = {};
        fr.lStructSize = sizeof fr;
        fr.hwndOwner = owner;
        fr.Flags = FR_DOWN;
        fr.lpstrFindWhat = findWhat;
        fr.wFindWhatLen = sizeof findWhat;
        fr.lpstrReplaceWith = replace ? replaceWith : nullptr;
        fr.wReplaceWithLen = replace ? sizeof replaceWith : 0;
        HWND dialog = replace ? ReplaceTextW(&fr) : FindTextW(&fr);
        ASSERT_NE(dialog, nullptr);
        char shown[64] = "";
        GetDlgItemTextA(dialog, edt1, shown, sizeof shown);
        EXPECT_STREQ(shown, "old");
        SetDlgItemTextA(dialog, edt1, ToAnsi(text + L"x").c_str());
        CheckDlgButton(dialog, chx2, BST_CHECKED);
        if (replace)
            SetDlgItemTextA(dialog, edt2, ToAnsi(L"y" + text).c_str());
        Click(dialog, IDOK);
        if (replace)
            Click(dialog, psh2);
        Click(dialog, IDCANCEL);
        EXPECT_FALSE(IsWindow(dialog));
        ASSERT_EQ(reports.size(), replace ? 3u : 2u);
        for (const Report& r : reports)
            EXPECT_EQ(r.record, reinterpret_cast<LPARAM>(&fr));
        EXPECT_TRUE(reports[0].flags & FR_FINDNEXT);
        EXPECT_TRUE(reports[0].flags & FR_MATCHCASE);
        EXPECT_EQ(reports[0].findWhat, text + L"x");
        if (replace) {
            EXPECT_TRUE(reports[1].flags & FR_REPLACEALL);
            EXPECT_EQ(reports[1].replaceWith, L"y" + text);
        }
        EXPECT_TRUE(reports.back().flags & FR_DIALOGTERM);
    }
}

// A record of the wrong size is refused; a template the module lacks fails with the
// dialog's own error.
TEST_F(FindReplaceTest, RefusedRecords)
{
    WCHAR findWhat[8] = L"a";
    FINDREPLACEW fr = {};
    fr.lStructSize = sizeof fr - 1;
    fr.hwndOwner = owner;
    fr.lpstrFindWhat = findWhat;
    fr.wFindWhatLen = sizeof findWhat;
    EXPECT_EQ(FindTextW(&fr), nullptr);
    fr.lStructSize = sizeof fr;
    fr.Flags = FR_ENABLETEMPLATE;
    fr.hInstance = LoadLibraryA("comdlg32.dll");
    fr.lpTemplateName = L"NO SUCH TEMPLATE";
    EXPECT_EQ(FindTextW(&fr), nullptr);
    EXPECT_EQ(CommDlgExtendedError(), DWORD(CDERR_FINDRESFAILURE));
}

}  // namespace
