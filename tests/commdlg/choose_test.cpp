// The colour and font dialogs through torwen: run for real and driven by their
// hooks, and seen through the interception harness.
#include <cstring>
#include <functional>
#include <string>
#include <tuple>

#include "harness/harness.h"

#include <colordlg.h>

using namespace harness;
using std::wstring;

namespace {

// Types a colour into the dialog's red, green and blue fields and presses the
// button in lCustData.
UINT_PTR CALLBACK ColourHook(HWND dialog, UINT msg, WPARAM, LPARAM lParam)
{
    if (msg != WM_INITDIALOG)
        return 0;
    const int button = int(reinterpret_cast<CHOOSECOLORA*>(lParam)->lCustData);
    if (button == IDOK) {
        SetDlgItemInt(dialog, COLOR_RED, 12, FALSE);
        SetDlgItemInt(dialog, COLOR_GREEN, 34, FALSE);
        SetDlgItemInt(dialog, COLOR_BLUE, 56, FALSE);
    }
    PostMessageW(dialog, WM_COMMAND, button, 0);
    return TRUE;
}

UINT_PTR CALLBACK FontHook(HWND dialog, UINT msg, WPARAM, LPARAM lParam)
{
    if (msg == WM_INITDIALOG)
        PostMessageW(dialog, WM_COMMAND, reinterpret_cast<CHOOSEFONTA*>(lParam)->lCustData, 0);
    return 0;
}

CHOOSECOLORW Colour(COLORREF* custom, int button)
{
    CHOOSECOLORW cc = {};
    cc.lStructSize = sizeof cc;
    cc.rgbResult = RGB(1, 2, 3);
    cc.lpCustColors = custom;
    cc.Flags = CC_RGBINIT | CC_FULLOPEN | CC_ENABLEHOOK;
    cc.lCustData = button;
    cc.lpfnHook = ColourHook;
    return cc;
}

CHOOSEFONTW Font(LOGFONTW* font, LPWSTR style, int button)
{
    CHOOSEFONTW cf = {};
    cf.lStructSize = sizeof cf;
    cf.lpLogFont = font;
    cf.lpszStyle = style;
    cf.Flags = CF_SCREENFONTS | CF_INITTOLOGFONTSTRUCT | CF_USESTYLE | CF_ENABLEHOOK;
    cf.lCustData = button;
    cf.lpfnHook = FontHook;
    return cf;
}

int CALLBACK FirstFace(const LOGFONTW* font, const TEXTMETRICW*, DWORD type, LPARAM face)
{
    if (!(type & TRUETYPE_FONTTYPE) || font->lfFaceName[0] == L'@')
        return 1;
    wcscpy(reinterpret_cast<wchar_t*>(face), font->lfFaceName);
    return 0;
}

// A bold face of the platform's first TrueType family.
LOGFONTW SomeFont()
{
    LOGFONTW font = {};
    HDC dc = GetDC(nullptr);
    EnumFontFamiliesW(dc, nullptr, FirstFace, LPARAM(font.lfFaceName));
    ReleaseDC(nullptr, dc);
    font.lfHeight = -16;
    font.lfWeight = FW_BOLD;
    return font;
}

class ChooseTest : public TorwenTest {};

TEST_F(ChooseTest, AChosenColour)
{
    COLORREF custom[16] = {};
    CHOOSECOLORW cc = Colour(custom, IDOK);
    ASSERT_TRUE(ChooseColorW(&cc)) << std::hex << CommDlgExtendedError();
    EXPECT_EQ(cc.rgbResult, RGB(12, 34, 56));
    // Cancelled, the colour comes back as it went in.
    cc = Colour(custom, IDCANCEL);
    EXPECT_FALSE(ChooseColorW(&cc));
    EXPECT_EQ(cc.rgbResult, RGB(1, 2, 3));
}

TEST_F(ChooseTest, AChosenFontWithItsStyle)
{
    LOGFONTW font = SomeFont();
    const wstring face = font.lfFaceName;
    wchar_t style[LF_FACESIZE] = L"#";
    CHOOSEFONTW cf = Font(&font, style, IDOK);
    ASSERT_TRUE(ChooseFontW(&cf)) << std::hex << CommDlgExtendedError();
    EXPECT_EQ(font.lfFaceName, face);
    EXPECT_EQ(font.lfWeight, FW_BOLD);
    // Wine's dialog leaves the style as given; the hooked test below has one written.
    EXPECT_EQ(style, wstring(L"#"));
    EXPECT_GT(cf.iPointSize, 0);
    // Cancelled: nothing comes back. (Wine's W dialog writes the font even then.)
    if (!AnsiPath())
        return;
    LOGFONTW kept = {};
    wcscpy(kept.lfFaceName, L"kept");
    wcscpy(style, L"kept");
    cf = Font(&kept, style, IDCANCEL);
    cf.Flags &= ~CF_INITTOLOGFONTSTRUCT;
    EXPECT_FALSE(ChooseFontW(&cf));
    EXPECT_EQ(std::tuple(wstring(kept.lfFaceName), wstring(style)), std::tuple(L"kept", L"kept"));
}

// ---- through the harness

// Binds the A dialogs (a template that cannot be found fails before any window).
void BindAnsiDialogs()
{
    CHOOSECOLORW cc = {};
    cc.lStructSize = sizeof cc;
    cc.Flags = CC_ENABLETEMPLATE;
    cc.hInstance = HWND(GetModuleHandleW(nullptr));
    cc.lpTemplateName = L"no such template";
    ChooseColorW(&cc);
    LOGFONTW font = {};
    CHOOSEFONTW cf = {};
    cf.lStructSize = sizeof cf;
    cf.lpLogFont = &font;
    cf.Flags = CF_ENABLETEMPLATE | CF_SCREENFONTS;
    cf.hInstance = GetModuleHandleW(nullptr);
    cf.lpTemplateName = L"no such template";
    ChooseFontW(&cf);
}

class ChooseAnsiTest : public TorwenTest {
protected:
    void SetUp() override
    {
        TorwenTest::SetUp();
        if (!AnsiPath())
            GTEST_SKIP() << "the W path hands the record through";
        BindAnsiDialogs();
    }
};

TEST_F(ChooseAnsiTest, TheColourRecord)
{
    CHOOSECOLORA seen = {};
    std::string templateSeen;
    TW_HOOK(choose, ChooseColorA, [&](LPCHOOSECOLORA a) {
        seen = *a;
        if (!IS_INTRESOURCE(a->lpTemplateName))
            templateSeen = a->lpTemplateName;
        a->rgbResult = RGB(9, 9, 9);
        return FALSE;
    });
    COLORREF custom[16] = {};
    CHOOSECOLORW cc = Colour(custom, IDOK);
    cc.lpTemplateName = L"not enabled";
    EXPECT_FALSE(ChooseColorW(&cc));
    EXPECT_EQ(std::tuple(seen.lStructSize, seen.lpCustColors, seen.lpTemplateName, seen.lCustData),
              std::tuple(36u, custom, LPCSTR(nullptr), LPARAM(IDOK)));
    EXPECT_EQ(cc.rgbResult, RGB(9, 9, 9)) << "the colour comes back whatever the result";
    const wstring name = NonAsciiText();
    cc.Flags |= CC_ENABLETEMPLATE;
    cc.lpTemplateName = name.c_str();
    ChooseColorW(&cc);
    EXPECT_EQ(templateSeen, ToAnsi(NonAsciiText()));
}

// The style buffer holds at least 33 characters' bytes; what comes back stays within
// the caller's buffer.
TEST_F(ChooseAnsiTest, TheFontRecordAndItsStyle)
{
    CHOOSEFONTA seen = {};
    LOGFONTA fontSeen = {};
    SIZE_T styleSize = 0;
    std::string styleSeen, styleBack = "Bold " + ToAnsi(NonAsciiText());
    BOOL result = TRUE;
    TW_HOOK(choose, ChooseFontA, [&](LPCHOOSEFONTA a) {
        seen = *a;
        fontSeen = *a->lpLogFont;
        styleSize = a->lpszStyle ? HeapSize(GetProcessHeap(), 0, a->lpszStyle) : 0;
        styleSeen = a->lpszStyle ? a->lpszStyle : "(none)";
        if (a->lpszStyle)
            strcpy(a->lpszStyle, styleBack.c_str());
        strcpy(a->lpLogFont->lfFaceName, ToAnsi(NonAsciiText()).c_str());
        a->iPointSize = 140;
        a->nFontType = BOLD_FONTTYPE;
        return result;
    });
    LOGFONTW font = SomeFont();
    wchar_t style[LF_FACESIZE + 1];
    style[LF_FACESIZE] = L'#';
    wcscpy(style, L"It");
    CHOOSEFONTW cf = Font(&font, style, IDOK);
    EXPECT_TRUE(ChooseFontW(&cf));
    EXPECT_EQ(std::tuple(seen.lStructSize, fontSeen.lfWeight, FromAnsi(fontSeen.lfFaceName)),
              std::tuple(60u, LONG(FW_BOLD), wstring(SomeFont().lfFaceName)));
    EXPECT_EQ(std::tuple(styleSize, styleSeen), std::tuple(SIZE_T(66), std::string("It")));
    EXPECT_EQ(std::tuple(wstring(style), wstring(font.lfFaceName), cf.iPointSize, cf.nFontType),
              std::tuple(FromAnsi(styleBack), NonAsciiText(), 140, WORD(BOLD_FONTTYPE)));
    // A style too long for the caller's buffer is cut at the buffer's end.
    styleBack = std::string(40, 'x');
    EXPECT_TRUE(ChooseFontW(&cf));
    EXPECT_EQ(style[LF_FACESIZE], L'#');
    // A dialog answering 0 copies nothing back.
    result = FALSE;
    styleBack = "not copied";
    wcscpy(style, L"kept");
    cf.iPointSize = 1;
    EXPECT_FALSE(ChooseFontW(&cf));
    EXPECT_EQ(std::tuple(wstring(style), cf.iPointSize), std::tuple(wstring(L"kept"), 1));
    // Without the flags, no style buffer and no font read in.
    result = TRUE;
    cf.Flags &= ~(CF_USESTYLE | CF_INITTOLOGFONTSTRUCT);
    EXPECT_TRUE(ChooseFontW(&cf));
    EXPECT_EQ(std::tuple(seen.lpszStyle, fontSeen.lfWeight), std::tuple(LPSTR(nullptr), 0L));
}

}  // namespace
