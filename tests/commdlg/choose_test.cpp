// The colour and font dialogs through torwen, seen through the interception harness:
// the A records the dialogs receive and what comes back to the caller. (The sweep
// runs the real dialogs on both paths.)
#include <cstring>
#include <string>
#include <tuple>

#include "harness/harness.h"

using namespace harness;
using std::wstring;

namespace {

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
    CHOOSECOLORW cc = {};
    cc.lStructSize = sizeof cc;
    cc.lpCustColors = custom;
    cc.Flags = CC_RGBINIT | CC_FULLOPEN;
    cc.lCustData = 5;
    cc.lpTemplateName = L"not enabled";
    EXPECT_FALSE(ChooseColorW(&cc));
    EXPECT_EQ(std::tuple(seen.lStructSize, seen.lpCustColors, seen.lpTemplateName, seen.lCustData),
              std::tuple(36u, custom, LPCSTR(nullptr), LPARAM(5)));
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
    LOGFONTW font = {};
    font.lfWeight = FW_BOLD;
    const wstring face = L"In " + NonAsciiText();
    wcscpy(font.lfFaceName, face.c_str());
    wchar_t style[LF_FACESIZE + 1];
    style[LF_FACESIZE] = L'#';
    wcscpy(style, L"It");
    CHOOSEFONTW cf = {};
    cf.lStructSize = sizeof cf;
    cf.lpLogFont = &font;
    cf.lpszStyle = style;
    cf.Flags = CF_SCREENFONTS | CF_INITTOLOGFONTSTRUCT | CF_USESTYLE;
    EXPECT_TRUE(ChooseFontW(&cf));
    EXPECT_EQ(std::tuple(seen.lStructSize, fontSeen.lfWeight, FromAnsi(fontSeen.lfFaceName)),
              std::tuple(60u, LONG(FW_BOLD), face));
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
    wcscpy(font.lfFaceName, L"kept");
    cf.iPointSize = 1;
    EXPECT_FALSE(ChooseFontW(&cf));
    EXPECT_EQ(std::tuple(wstring(style), wstring(font.lfFaceName), cf.iPointSize),
              std::tuple(wstring(L"kept"), wstring(L"kept"), 1));
    // Without the flags, no style buffer and no font read in.
    result = TRUE;
    cf.Flags &= ~(CF_USESTYLE | CF_INITTOLOGFONTSTRUCT);
    EXPECT_TRUE(ChooseFontW(&cf));
    EXPECT_EQ(std::tuple(seen.lpszStyle, fontSeen.lfWeight), std::tuple(LPSTR(nullptr), 0L));
}

}  // namespace
