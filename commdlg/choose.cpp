// The colour and font dialogs.
#include <algorithm>
#include <cwchar>

#include "core/core.h"
#include "core/records.h"

AT_SYSTEM_FUNCTION(comdlg32, ChooseColorW, FALSE)
AT_SYSTEM_FUNCTION(comdlg32, ChooseColorA, FALSE)
AT_SYSTEM_FUNCTION(comdlg32, ChooseFontW, FALSE)
AT_SYSTEM_FUNCTION(comdlg32, ChooseFontA, FALSE)

namespace {

// The style buffer the font dialog writes: room for the caller's style, and never
// less than a face name's 32 characters. The dialog may write twice as many bytes,
// as a double-byte style needs.
class FontStyle {
public:
    explicit FontStyle(LPCWSTR style)
    {
        if (!style)
            return;
        length = std::max<size_t>(wcslen(style), LF_FACESIZE);
        AtAllocBuffer(buf, (length + 1) * 2);
        *static_cast<char*>(buf) = '\0';
        WideCharToMultiByte(CP_ACP, 0, style, -1, buf, int((length + 1) * 2), nullptr, nullptr);
    }

    // A style shorter than a face name may sit in a buffer of just LF_FACESIZE
    // characters, the least the dialog asks for: that is all it is given back.
    void copyBack(LPWSTR style, size_t callerLength) const
    {
        if (!buf.value)
            return;
        size_t room = std::max<size_t>(callerLength + 1, LF_FACESIZE);
        MultiByteToWideChar(CP_ACP, 0, buf, -1, style, int(std::min(length + 1, room)));
    }

    LPSTR ansi() const { return static_cast<char*>(buf.value); }

private:
    size_t length = 0;
    AtStringSlot buf;
};

}  // namespace

// The colour comes back whatever the dialog answers: a cancelled dialog leaves the
// one it was given.
BOOL WINAPI ChooseColorW(LPCHOOSECOLORW cc)
{
    return AtExport(Sys::ChooseColorW, cc).orAnsiWithoutSavedError(FALSE, [=] {
        if (!cc)
            return Sys::ChooseColorA(nullptr);
        CHOOSECOLORA a = {};
        a.lStructSize = sizeof a;
        a.hwndOwner = cc->hwndOwner;
        a.hInstance = cc->hInstance;
        a.rgbResult = cc->rgbResult;
        a.lpCustColors = cc->lpCustColors;  // the caller's 16 colours, shared
        a.Flags = cc->Flags;
        a.lCustData = cc->lCustData;
        a.lpfnHook = cc->lpfnHook;
        AtStringSlot templateA;
        if (cc->Flags & CC_ENABLETEMPLATE)
            AtWideToAnsiTemp(templateA, cc->lpTemplateName);
        a.lpTemplateName = templateA;
        BOOL r = Sys::ChooseColorA(&a);
        cc->rgbResult = a.rgbResult;
        return r;
    });
}

BOOL WINAPI ChooseFontW(LPCHOOSEFONTW cf)
{
    return AtExport(Sys::ChooseFontW, cf).orAnsiWithoutSavedError(FALSE, [=] {
        if (!cf)
            return Sys::ChooseFontA(nullptr);
        LOGFONTA font = {};
        if ((cf->Flags & CF_INITTOLOGFONTSTRUCT) && cf->lpLogFont)
            AtLogFontWToA(&font, cf->lpLogFont);
        CHOOSEFONTA a = {};
        a.lStructSize = sizeof a;
        a.hwndOwner = cf->hwndOwner;
        a.hDC = cf->hDC;
        a.lpLogFont = &font;
        a.iPointSize = cf->iPointSize;
        a.Flags = cf->Flags;
        a.rgbColors = cf->rgbColors;
        a.lCustData = cf->lCustData;
        a.lpfnHook = cf->lpfnHook;
        const bool useStyle = cf->Flags & CF_USESTYLE;
        const size_t styleLength = useStyle && cf->lpszStyle ? wcslen(cf->lpszStyle) : 0;
        FontStyle style(useStyle ? cf->lpszStyle : nullptr);
        a.lpszStyle = style.ansi();
        AtStringSlot templateA;
        if (cf->Flags & CF_ENABLETEMPLATE)
            AtWideToAnsiTemp(templateA, cf->lpTemplateName);
        a.lpTemplateName = templateA;
        a.hInstance = cf->hInstance;
        a.nFontType = cf->nFontType;
        a.nSizeMin = cf->nSizeMin;
        a.nSizeMax = cf->nSizeMax;
        BOOL r = Sys::ChooseFontA(&a);
        if (r) {
            if (cf->lpLogFont)
                AtLogFontAToW(&font, cf->lpLogFont);
            if (useStyle)
                style.copyBack(cf->lpszStyle, styleLength);
            cf->iPointSize = a.iPointSize;
            cf->Flags = a.Flags;
            cf->rgbColors = a.rgbColors;
            cf->nFontType = a.nFontType;
        }
        return r;
    });
}
