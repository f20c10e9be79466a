// The OLE user-interface dialogs: the records their A functions receive, and what
// comes back into the caller's records.
#include <oledlg.h>

#include <cstring>
#include <string>

#include "harness/harness.h"

using namespace harness;
using std::string;
using std::wstring;

namespace
{

class DialogsTest : public TorwenTest
{
protected:
    const bool ansi = AnsiPath();
    const wstring text = NonAsciiText();
};

// A record with the common header: an owner no dialog can be made for.
template <typename T> T Record(LPCWSTR caption)
{
    T r = {};
    r.cbStruct = sizeof r;
    r.hWndOwner = HWND(0x1234);
    r.lpszCaption = caption;
    return r;
}

// Records of another size, or none, are refused before any dialog is made.
TEST_F(DialogsTest, RecordsAreChecked)
{
    if (!ansi)
        GTEST_SKIP() << "the W path hands the records to Wine's own functions";
    OLEUIINSERTOBJECTW insert = {};
    insert.cbStruct = sizeof(OLEUIINSERTOBJECTA) - 4;
    OLEUIBUSYW busy = {};
    busy.cbStruct = sizeof busy + 4;
    EXPECT_EQ(UINT(OLEUI_ERR_CBSTRUCTINCORRECT), OleUIInsertObjectW(&insert));
    EXPECT_EQ(UINT(OLEUI_ERR_CBSTRUCTINCORRECT), OleUIBusyW(&busy));
    EXPECT_EQ(UINT(OLEUI_ERR_STRUCTURENULL), OleUIConvertW(nullptr));
    EXPECT_EQ(UINT(OLEUI_ERR_STRUCTURENULL), OleUIChangeIconW(nullptr));
    EXPECT_EQ(UINT(OLEUI_ERR_STRUCTURENULL), OleUIPasteSpecialW(nullptr));
}

// What the A functions receive, played by the test: strings converted, the ANSI
// size; and the dialog's choices copied back.
TEST_F(DialogsTest, RecordsConvertBothWays)
{
    if (!ansi)
        GTEST_SKIP() << "the W path hands the records through";
    const wstring caption = L"tw " + text;
    const string captionA = ToAnsi(caption);

    auto insert = Record<OLEUIINSERTOBJECTW>(caption.c_str());
    wchar_t file[16] = L"a.txt";
    insert.lpszFile = file;
    insert.cchFile = 16;
    OleUIInsertObjectW(&insert); // bound before it is hooked
    TW_HOOK(insertHook, OleUIInsertObjectA, [&](LPOLEUIINSERTOBJECTA a) -> UINT {
        EXPECT_EQ(a->cbStruct, sizeof *a);
        EXPECT_EQ(string(a->lpszCaption), captionA);
        if (insertHook.calls == 1) {
            EXPECT_EQ(string(a->lpszFile), "a.txt");
        }
        EXPECT_GE(a->cchFile, 16u);
        strcpy(a->lpszFile, captionA.c_str());
        a->clsid.Data1 = 77;
        a->sc = 5;
        return OLEUI_OK;
    });
    EXPECT_EQ(UINT(OLEUI_OK), OleUIInsertObjectW(&insert));
    EXPECT_EQ(wstring(file), caption.size() < 16 ? caption : L"a.txt") << "all of it, or nothing";
    EXPECT_EQ(insert.clsid.Data1, 77u);
    EXPECT_EQ(insert.sc, 5);

    OLEUIPASTEENTRYW entries[2]
        = { { {}, L"first", text.c_str(), 1, 0 }, { {}, text.c_str(), L"second", 2, 0 } };
    auto paste = Record<OLEUIPASTESPECIALW>(nullptr);
    paste.arrPasteEntries = entries;
    paste.cPasteEntries = 2;
    OleUIPasteSpecialW(&paste);
    TW_HOOK(pasteHook, OleUIPasteSpecialA, [&](LPOLEUIPASTESPECIALA a) -> UINT {
        EXPECT_EQ(string(a->arrPasteEntries[0].lpstrResultText), ToAnsi(text));
        EXPECT_EQ(string(a->arrPasteEntries[1].lpstrFormatName), ToAnsi(text));
        EXPECT_EQ(string(a->arrPasteEntries[1].lpstrResultText), "second");
        EXPECT_EQ(a->arrPasteEntries[1].dwFlags, 2u);
        a->nSelectedIndex = 1;
        a->fLink = TRUE;
        return OLEUI_OK;
    });
    EXPECT_EQ(UINT(OLEUI_OK), OleUIPasteSpecialW(&paste));
    EXPECT_EQ(paste.nSelectedIndex, 1);
    EXPECT_TRUE(paste.fLink);

    auto icon = Record<OLEUICHANGEICONW>(caption.c_str());
    wcscpy(icon.szIconExe, caption.c_str());
    OleUIChangeIconW(&icon);
    TW_HOOK(iconHook, OleUIChangeIconA, [&](LPOLEUICHANGEICONA a) -> UINT {
        if (iconHook.calls == 1) {
            EXPECT_EQ(string(a->szIconExe), captionA);
        }
        strcpy(a->szIconExe, "C:\\icons.dll");
        return OLEUI_OK;
    });
    EXPECT_EQ(UINT(OLEUI_OK), OleUIChangeIconW(&icon));
    EXPECT_EQ(wstring(icon.szIconExe), L"C:\\icons.dll");

    auto convert = Record<OLEUICONVERTW>(nullptr);
    convert.lpszUserType = const_cast<wchar_t*>(caption.c_str());
    OleUIConvertW(&convert);
    TW_HOOK(convertHook, OleUIConvertA, [&](LPOLEUICONVERTA a) -> UINT {
        EXPECT_EQ(string(a->lpszUserType), captionA);
        EXPECT_EQ(a->lpszDefLabel, nullptr);
        a->clsidNew.Data1 = 9;
        a->dvAspect = DVASPECT_ICON;
        return OLEUI_OK;
    });
    EXPECT_EQ(UINT(OLEUI_OK), OleUIConvertW(&convert));
    EXPECT_EQ(convert.clsidNew.Data1, 9u);
    EXPECT_EQ(convert.dvAspect, DWORD(DVASPECT_ICON));

    auto busy = Record<OLEUIBUSYW>(caption.c_str());
    OleUIBusyW(&busy);
    TW_HOOK(busyHook, OleUIBusyA, [&](LPOLEUIBUSYA a) -> UINT {
        EXPECT_EQ(string(a->lpszCaption), captionA);
        a->dwFlags = 0x40;
        return OLEUI_BZ_SWITCHTOSELECTED;
    });
    EXPECT_EQ(UINT(OLEUI_BZ_SWITCHTOSELECTED), OleUIBusyW(&busy));
    EXPECT_EQ(busy.dwFlags, 0x40u);
}

} // namespace
