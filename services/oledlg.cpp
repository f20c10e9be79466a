// The OLE user-interface dialogs: insert object, paste special, change icon,
// convert and busy, and the verb menu of an object.
//
// On the ANSI platforms each dialog gets an ANSI record built from the caller's:
// its strings converted in, and what the dialog chose copied back. A hook
// procedure receives the ANSI dialog's messages, and WM_INITDIALOG brings it the
// ANSI record.
#include "services/services.h"

#include <oledlg.h>

// Without the dialog library a call answers what a failed allocation answers: the
// one failure value callers test for.
AT_SYSTEM_FUNCTION(oledlg, OleUIInsertObjectW, OLEUI_ERR_GLOBALMEMALLOC)
AT_SYSTEM_FUNCTION(oledlg, OleUIInsertObjectA, OLEUI_ERR_GLOBALMEMALLOC)
AT_SYSTEM_FUNCTION(oledlg, OleUIPasteSpecialW, OLEUI_ERR_GLOBALMEMALLOC)
AT_SYSTEM_FUNCTION(oledlg, OleUIPasteSpecialA, OLEUI_ERR_GLOBALMEMALLOC)
AT_SYSTEM_FUNCTION(oledlg, OleUIChangeIconW, OLEUI_ERR_GLOBALMEMALLOC)
AT_SYSTEM_FUNCTION(oledlg, OleUIChangeIconA, OLEUI_ERR_GLOBALMEMALLOC)
AT_SYSTEM_FUNCTION(oledlg, OleUIConvertW, OLEUI_ERR_GLOBALMEMALLOC)
AT_SYSTEM_FUNCTION(oledlg, OleUIConvertA, OLEUI_ERR_GLOBALMEMALLOC)
AT_SYSTEM_FUNCTION(oledlg, OleUIBusyW, OLEUI_ERR_GLOBALMEMALLOC)
AT_SYSTEM_FUNCTION(oledlg, OleUIBusyA, OLEUI_ERR_GLOBALMEMALLOC)
AT_SYSTEM_FUNCTION(oledlg, OleUIAddVerbMenuW, FALSE)
AT_SYSTEM_FUNCTION(oledlg, OleUIAddVerbMenuA, FALSE)

namespace
{

constexpr UINT CaughtFailure = OLEUI_ERR_GLOBALMEMALLOC;

// Apart from the dialogs' inline icon path, the records differ only in the type of
// their string pointers.
static_assert(sizeof(OLEUIINSERTOBJECTA) == sizeof(OLEUIINSERTOBJECTW));
static_assert(sizeof(OLEUIPASTESPECIALA) == sizeof(OLEUIPASTESPECIALW));
static_assert(sizeof(OLEUICONVERTA) == sizeof(OLEUICONVERTW));
static_assert(sizeof(OLEUIBUSYA) == sizeof(OLEUIBUSYW));
static_assert(sizeof(OLEUIPASTEENTRYA) == sizeof(OLEUIPASTEENTRYW));

// The record is refused, as the system refuses it, unless it is the wide record.
template <typename W> UINT RecordError(const W* w)
{
    if (!w)
        return OLEUI_ERR_STRUCTURENULL;
    return w->cbStruct == sizeof(W) ? OLEUI_SUCCESS : OLEUI_ERR_CBSTRUCTINCORRECT;
}

// The fields every dialog record starts with; the caption and the template (or
// its identifier) converted.
struct HeaderStrings {
    AtStringSlot caption, dialogTemplate;
};

template <typename A, typename W> void HeaderWToA(A& a, const W& w, HeaderStrings& strings)
{
    a.cbStruct = sizeof(A);
    a.dwFlags = w.dwFlags;
    a.hWndOwner = w.hWndOwner;
    AtWideToAnsiTemp(strings.caption, w.lpszCaption);
    a.lpszCaption = strings.caption;
    a.lpfnHook = w.lpfnHook;
    a.lCustData = w.lCustData;
    a.hInstance = w.hInstance;
    AtWideToAnsiTemp(strings.dialogTemplate, w.lpszTemplate);
    a.lpszTemplate = strings.dialogTemplate;
    a.hResource = w.hResource;
}

// A record of the same layout, copied whole before its strings are replaced.
template <typename A, typename W> void CopyRecord(A& a, const W& w, HeaderStrings& strings)
{
    memcpy(&a, &w, sizeof a);
    HeaderWToA(a, w, strings);
}

// An in-out file name of the caller's n characters in an ANSI buffer of as many,
// read no further than those n characters and always terminated.
int FileNameWToA(AtStringSlot& slot, LPCWSTR name, UINT n)
{
    AtAllocEmptyAnsiOut(slot, n);
    int size = int(AtHeapSize(slot));
    if (name && size) {
        int len = int(wcsnlen(name, n));
        int bytes = WideCharToMultiByte(CP_ACP, 0, name, len, slot, size - 1, nullptr, nullptr);
        static_cast<char*>(slot)[bytes] = '\0';
    }
    return size;
}

// The paste entries with their format names and result texts, in one block: the
// ANSI entries first, then their strings.
OLEUIPASTEENTRYA* PasteEntriesWToA(AtStringSlot& block, const OLEUIPASTEENTRYW* w, int count)
{
    if (!w || count <= 0)
        return nullptr;
    auto bytesOf = [](LPCWSTR s) {
        return AtIsIntegerValue(s)
            ? 0
            : WideCharToMultiByte(CP_ACP, 0, s, -1, nullptr, 0, nullptr, nullptr);
    };
    SIZE_T size = SIZE_T(count) * sizeof(OLEUIPASTEENTRYA);
    for (int i = 0; i < count; ++i)
        size += bytesOf(w[i].lpstrFormatName) + bytesOf(w[i].lpstrResultText);
    AtAllocBuffer(block, size);
    auto* a = static_cast<OLEUIPASTEENTRYA*>(block.value);
    char* text = reinterpret_cast<char*>(a + count);
    auto convert = [&](LPCWSTR s) -> LPCSTR {
        if (AtIsIntegerValue(s))
            return reinterpret_cast<LPCSTR>(s);
        char* at = text;
        text += WideCharToMultiByte(CP_ACP, 0, s, -1, at, bytesOf(s), nullptr, nullptr);
        return at;
    };
    for (int i = 0; i < count; ++i) {
        a[i].fmtetc = w[i].fmtetc;
        a[i].lpstrFormatName = convert(w[i].lpstrFormatName);
        a[i].lpstrResultText = convert(w[i].lpstrResultText);
        a[i].dwFlags = w[i].dwFlags;
        a[i].dwScratchSpace = w[i].dwScratchSpace;
    }
    return a;
}

} // namespace

// The file name is in and out: the caller's text goes in, the chosen file comes
// back into the caller's cchFile characters.
UINT WINAPI OleUIInsertObjectW(LPOLEUIINSERTOBJECTW w)
{
    return AtExport(Sys::OleUIInsertObjectW, w).orAnsiWithoutSavedError(CaughtFailure, [=] {
        if (UINT error = RecordError(w); error != OLEUI_SUCCESS)
            return error;
        OLEUIINSERTOBJECTA a;
        HeaderStrings strings;
        CopyRecord(a, *w, strings);
        AtStringSlot file;
        a.cchFile = FileNameWToA(file, w->lpszFile, w->cchFile);
        a.lpszFile = file;
        UINT r = Sys::OleUIInsertObjectA(&a);
        w->dwFlags = a.dwFlags;
        w->clsid = a.clsid;
        w->sc = a.sc;
        w->hMetaPict = a.hMetaPict;
        if (w->lpszFile && w->cchFile)
            AtBoundedAnsiToWideOut(file, w->lpszFile, w->cchFile);
        return r;
    });
}

UINT WINAPI OleUIPasteSpecialW(LPOLEUIPASTESPECIALW w)
{
    return AtExport(Sys::OleUIPasteSpecialW, w).orAnsiWithoutSavedError(CaughtFailure, [=] {
        if (UINT error = RecordError(w); error != OLEUI_SUCCESS)
            return error;
        OLEUIPASTESPECIALA a;
        HeaderStrings strings;
        CopyRecord(a, *w, strings);
        AtStringSlot entries;
        a.arrPasteEntries = PasteEntriesWToA(entries, w->arrPasteEntries, w->cPasteEntries);
        UINT r = Sys::OleUIPasteSpecialA(&a);
        w->dwFlags = a.dwFlags;
        w->nSelectedIndex = a.nSelectedIndex;
        w->fLink = a.fLink;
        w->hMetaPict = a.hMetaPict;
        w->sizel = a.sizel;
        return r;
    });
}

// The icon's file name lives inside the record, MAX_PATH characters of it.
UINT WINAPI OleUIChangeIconW(LPOLEUICHANGEICONW w)
{
    return AtExport(Sys::OleUIChangeIconW, w).orAnsiWithoutSavedError(CaughtFailure, [=] {
        if (UINT error = RecordError(w); error != OLEUI_SUCCESS)
            return error;
        OLEUICHANGEICONA a = {};
        HeaderStrings strings;
        HeaderWToA(a, *w, strings);
        a.hMetaPict = w->hMetaPict;
        a.clsid = w->clsid;
        int len = int(wcsnlen(w->szIconExe, MAX_PATH));
        WideCharToMultiByte(
            CP_ACP, 0, w->szIconExe, len, a.szIconExe, MAX_PATH - 1, nullptr, nullptr);
        a.cchIconExe = MAX_PATH;
        UINT r = Sys::OleUIChangeIconA(&a);
        w->dwFlags = a.dwFlags;
        w->hMetaPict = a.hMetaPict;
        int c = MultiByteToWideChar(CP_ACP, 0, a.szIconExe, int(strnlen(a.szIconExe, MAX_PATH)),
            w->szIconExe, MAX_PATH - 1);
        w->szIconExe[c] = L'\0';
        return r;
    });
}

UINT WINAPI OleUIConvertW(LPOLEUICONVERTW w)
{
    return AtExport(Sys::OleUIConvertW, w).orAnsiWithoutSavedError(CaughtFailure, [=] {
        if (UINT error = RecordError(w); error != OLEUI_SUCCESS)
            return error;
        OLEUICONVERTA a;
        HeaderStrings strings;
        CopyRecord(a, *w, strings);
        AtStringSlot userType, defaultLabel;
        AtWideToAnsiTemp(userType, w->lpszUserType);
        AtWideToAnsiTemp(defaultLabel, w->lpszDefLabel);
        a.lpszUserType = userType;
        a.lpszDefLabel = defaultLabel;
        UINT r = Sys::OleUIConvertA(&a);
        w->dwFlags = a.dwFlags;
        w->clsidNew = a.clsidNew;
        w->dvAspect = a.dvAspect;
        w->hMetaPict = a.hMetaPict;
        w->fObjectsIconChanged = a.fObjectsIconChanged;
        return r;
    });
}

UINT WINAPI OleUIBusyW(LPOLEUIBUSYW w)
{
    return AtExport(Sys::OleUIBusyW, w).orAnsiWithoutSavedError(CaughtFailure, [=] {
        if (UINT error = RecordError(w); error != OLEUI_SUCCESS)
            return error;
        OLEUIBUSYA a;
        HeaderStrings strings;
        CopyRecord(a, *w, strings);
        UINT r = Sys::OleUIBusyA(&a);
        w->dwFlags = a.dwFlags;
        return r;
    });
}

BOOL WINAPI OleUIAddVerbMenuW(LPOLEOBJECT object, LPCWSTR shortType, HMENU menu, UINT position,
    UINT firstVerb, UINT lastVerb, BOOL addConvert, UINT convertId, HMENU* popup)
{
    return AtExport(Sys::OleUIAddVerbMenuW, object, shortType, menu, position, firstVerb, lastVerb,
        addConvert, convertId, popup)
        .orAnsiWithoutSavedError(FALSE, [=] {
            return Sys::OleUIAddVerbMenuA(object, AtAnsiTemp(shortType), menu, position, firstVerb,
                lastVerb, addConvert, convertId, popup);
        });
}
