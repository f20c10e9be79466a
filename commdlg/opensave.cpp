// The open and save dialogs, their preview forms, file titles, and the messages
// that query and set an open or save dialog from its hook.
#include <algorithm>
#include <cstring>

#include "core/core.h"
#include "torwen.h"

#include <vfw.h>  // the preview dialogs

AT_SYSTEM_FUNCTION(comdlg32, GetOpenFileNameW, FALSE)
AT_SYSTEM_FUNCTION(comdlg32, GetOpenFileNameA, FALSE)
AT_SYSTEM_FUNCTION(comdlg32, GetSaveFileNameW, FALSE)
AT_SYSTEM_FUNCTION(comdlg32, GetSaveFileNameA, FALSE)
AT_SYSTEM_FUNCTION(msvfw32, GetOpenFileNamePreviewW, FALSE)
AT_SYSTEM_FUNCTION(msvfw32, GetOpenFileNamePreviewA, FALSE)
AT_SYSTEM_FUNCTION(msvfw32, GetSaveFileNamePreviewW, FALSE)
AT_SYSTEM_FUNCTION(msvfw32, GetSaveFileNamePreviewA, FALSE)
AT_SYSTEM_FUNCTION(comdlg32, GetFileTitleW, -1)
AT_SYSTEM_FUNCTION(comdlg32, GetFileTitleA, -1)
AT_SYSTEM_FUNCTION(user32, SendMessageW, 0)
AT_SYSTEM_FUNCTION(user32, SendMessageA, 0)

namespace {

// The record the ANSI dialog runs on, with the strings and buffers it owns. The
// dialog is given the size of the record without the fields that later systems
// appended (pvReserved, dwReserved, FlagsEx): every system knows that size, and the
// later fields are never carried.
class AtOpenFileNameA {
public:
    static constexpr DWORD Size = 76;

    explicit AtOpenFileNameA(const OPENFILENAMEW* w)
    {
        a.lStructSize = Size;
        a.hwndOwner = w->hwndOwner;
        a.hInstance = w->hInstance;
        // The filter list travels whole, double NUL and all.
        AtWideToAnsiTempList(filter, w->lpstrFilter, AtListOfStrings);
        a.lpstrFilter = filter;
        // The whole custom-filter buffer goes in, so that the saved pair and whatever
        // follows it reach the dialog.
        if (w->lpstrCustomFilter) {
            AtAllocAnsiOut(customFilter, w->nMaxCustFilter);
            a.nMaxCustFilter = AtHeapSize(customFilter);
            if (a.nMaxCustFilter)
                WideCharToMultiByte(CP_ACP, 0, w->lpstrCustomFilter, w->nMaxCustFilter,
                                    customFilter, a.nMaxCustFilter, nullptr, nullptr);
            a.lpstrCustomFilter = customFilter;
        }
        a.nFilterIndex = w->nFilterIndex;
        fileIn(w);
        if (w->lpstrFileTitle) {
            AtAllocAnsiOut(fileTitle, w->nMaxFileTitle);
            a.lpstrFileTitle = fileTitle;
            a.nMaxFileTitle = AtHeapSize(fileTitle);
        }
        AtWideToAnsiTemp(initialDir, w->lpstrInitialDir);
        a.lpstrInitialDir = initialDir;
        AtWideToAnsiTemp(title, w->lpstrTitle);
        a.lpstrTitle = title;
        a.Flags = w->Flags;
        AtWideToAnsiTemp(defExt, w->lpstrDefExt);
        a.lpstrDefExt = defExt;
        a.lCustData = w->lCustData;
        a.lpfnHook = w->lpfnHook;
        AtWideToAnsiTemp(templateName, w->lpTemplateName);
        a.lpTemplateName = templateName;
    }

    void copyBack(OPENFILENAMEW* w) const
    {
        w->hwndOwner = a.hwndOwner;
        w->hInstance = a.hInstance;
        if (a.lpstrCustomFilter && a.nMaxCustFilter)
            MultiByteToWideChar(CP_ACP, 0, a.lpstrCustomFilter, a.nMaxCustFilter,
                                w->lpstrCustomFilter, w->nMaxCustFilter);
        w->nFilterIndex = a.nFilterIndex;
        fileOut(w);
        if (w->lpstrFileTitle && a.lpstrFileTitle)
            MultiByteToWideChar(CP_ACP, 0, a.lpstrFileTitle, -1, w->lpstrFileTitle,
                                w->nMaxFileTitle);
        w->Flags = a.Flags;
    }

    OPENFILENAMEA a{};

private:
    // The dialog gets a buffer of the caller's size in characters, holding the
    // caller's initial name; the offsets into it are counted in bytes.
    void fileIn(const OPENFILENAMEW* w)
    {
        AtAllocAnsiOut(file, w->nMaxFile);
        a.lpstrFile = file;
        a.nMaxFile = AtHeapSize(file);
        if (!w->nMaxFile || !w->lpstrFile)
            return;
        a.nFileOffset = BytesAhead(w->lpstrFile, w->nFileOffset, w->nMaxFile, file);
        a.nFileExtension = BytesAhead(w->lpstrFile, w->nFileExtension, w->nMaxFile, file);
        // Read no further than the caller's buffer, and keep the dialog's copy
        // terminated even when the caller's name fills that buffer.
        int length = int(wcsnlen(w->lpstrFile, w->nMaxFile));
        int written = length ? WideCharToMultiByte(CP_ACP, 0, w->lpstrFile, length, file,
                                                   a.nMaxFile - 1, nullptr, nullptr)
                             : 0;
        static_cast<char*>(file)[written] = '\0';
    }

    // The whole buffer comes back, not just its first string: a multiple selection
    // (the folder, a NUL, each name with its NUL, a final NUL) arrives whole, and
    // the offsets, turned into characters, point into it as they did in bytes.
    void fileOut(OPENFILENAMEW* w) const
    {
        if (!w->nMaxFile || !w->lpstrFile) {
            w->nFileOffset = w->nFileExtension = 0;
            return;
        }
        w->nFileOffset = CharactersAhead(a.lpstrFile, a.nFileOffset, a.nMaxFile);
        w->nFileExtension = CharactersAhead(a.lpstrFile, a.nFileExtension, a.nMaxFile);
        memset(w->lpstrFile, 0, w->nMaxFile * sizeof(WCHAR));
        MultiByteToWideChar(CP_ACP, 0, a.lpstrFile, a.nMaxFile, w->lpstrFile, w->nMaxFile);
    }

    // An offset beyond the caller's buffer counts only what the buffer holds.
    static WORD BytesAhead(LPCWSTR s, WORD offset, DWORD n, char* scratch)
    {
        if (!offset)
            return 0;
        int bytes = WideCharToMultiByte(CP_ACP, 0, s, int(std::min<DWORD>(offset, n)), scratch,
                                        int(AtHeapSize(scratch)), nullptr, nullptr);
        return WORD(bytes);
    }

    static WORD CharactersAhead(LPCSTR s, WORD offset, DWORD n)
    {
        if (!offset)
            return 0;
        return WORD(MultiByteToWideChar(CP_ACP, 0, s, int(std::min<DWORD>(offset, n)), nullptr, 0));
    }

    // Freed in the reverse order of their making.
    AtStringSlot filter, customFilter, file, fileTitle, initialDir, title, defExt, templateName;
};

// Builds the ANSI record, runs the dialog, and copies the results back when
// `accepted` says the result is a choice; a cancelled or failed dialog leaves the
// caller's record and buffers as they were.
template <typename Dialog, typename Accepted>
BOOL RunFileDialog(LPOPENFILENAMEW w, Dialog dialogA, Accepted accepted)
{
    if (!w)
        return dialogA(nullptr);
    AtOpenFileNameA ansi(w);
    BOOL r = dialogA(&ansi.a);
    if (accepted(r))
        ansi.copyBack(w);
    return r;
}

bool ExactlyOne(BOOL r)
{
    return r == 1;
}

bool NonZero(BOOL r)
{
    return r != 0;
}

// A text the A side wrote into `bufA`, into the caller's n characters. A dialog
// that found the buffer too small may have left it unterminated: the conversion
// then stops at the buffer's end.
int TextBack(const AtStringSlot& bufA, LPWSTR buf, DWORD n)
{
    SIZE_T size = AtHeapSize(bufA);
    SIZE_T length = strnlen(bufA, size);
    return AtAnsiToWideOutN(bufA, buf, n, DWORD(length < size ? length + 1 : length));
}

// The three queries answer the ANSI message's count, in bytes with the terminator.
int Query(HWND dialog, UINT msg, LPWSTR buf, int n)
{
    if (AtWidePath())
        return int(Sys::SendMessageW(dialog, msg, n, reinterpret_cast<LPARAM>(buf)));
    return AtTranslate<int>(0, [&] {
        AtStringSlot bufA;
        AtAllocEmptyAnsiOut(bufA, n);
        int r = int(Sys::SendMessageA(dialog, msg, AtHeapSize(bufA), reinterpret_cast<LPARAM>(bufA.value)));
        if (r > 0 && n > 0 && buf)
            TextBack(bufA, buf, n);
        return r;
    });
}

void SetText(HWND dialog, UINT msg, WPARAM wParam, LPCWSTR text)
{
    if (AtWidePath()) {
        Sys::SendMessageW(dialog, msg, wParam, reinterpret_cast<LPARAM>(text));
        return;
    }
    AtTranslate<LRESULT>(0, [&] {
        AtStringSlot textA;
        AtWideToAnsiTemp(textA, text);
        return Sys::SendMessageA(dialog, msg, wParam, reinterpret_cast<LPARAM>(textA.value));
    });
}

}  // namespace

BOOL WINAPI GetOpenFileNameW(LPOPENFILENAMEW ofn)
{
    return AtExport(Sys::GetOpenFileNameW, ofn).orAnsiWithoutSavedError(FALSE, [=] {
        return RunFileDialog(ofn, Sys::GetOpenFileNameA, ExactlyOne);
    });
}

BOOL WINAPI GetSaveFileNameW(LPOPENFILENAMEW ofn)
{
    return AtExport(Sys::GetSaveFileNameW, ofn).orAnsiWithoutSavedError(FALSE, [=] {
        return RunFileDialog(ofn, Sys::GetSaveFileNameA, ExactlyOne);
    });
}

BOOL WINAPI GetOpenFileNamePreviewW(LPOPENFILENAMEW ofn)
{
    return AtExport(Sys::GetOpenFileNamePreviewW, ofn).orAnsiWithoutSavedError(FALSE, [=] {
        return RunFileDialog(ofn, Sys::GetOpenFileNamePreviewA, NonZero);
    });
}

BOOL WINAPI GetSaveFileNamePreviewW(LPOPENFILENAMEW ofn)
{
    return AtExport(Sys::GetSaveFileNamePreviewW, ofn).orAnsiWithoutSavedError(FALSE, [=] {
        return RunFileDialog(ofn, Sys::GetSaveFileNamePreviewA, NonZero);
    });
}

// `size` counts characters in 16 bits. A non-zero answer (an error, or the size a
// title needs, then in ANSI bytes) reaches the caller unchanged; a title that does
// not fit the caller's buffer answers -1.
short WINAPI GetFileTitleW(LPCWSTR file, LPWSTR title, WORD size)
{
    return AtExport(Sys::GetFileTitleW, file, title, size).orAnsiWithoutSavedError(short(-1), [=] {
        AtStringSlot fileA, bufA;
        AtWideToAnsiTemp(fileA, file);
        AtAllocAnsiOut(bufA, size);
        // The A function counts in 16 bits too: a buffer larger than that is
        // announced as the largest size it can be told.
        WORD bytes = WORD(std::min<SIZE_T>(AtHeapSize(bufA), 0xFFFF));
        short r = Sys::GetFileTitleA(fileA, bufA, bytes);
        if (r == 0 && size > 0 && title && !TextBack(bufA, title, size))
            r = -1;
        return r;
    });
}

int WINAPI AtCommDlg_OpenSave_GetSpecW(HWND dialog, LPWSTR buf, int n)
{
    return Query(dialog, CDM_GETSPEC, buf, n);
}

int WINAPI AtCommDlg_OpenSave_GetFilePathW(HWND dialog, LPWSTR buf, int n)
{
    return Query(dialog, CDM_GETFILEPATH, buf, n);
}

int WINAPI AtCommDlg_OpenSave_GetFolderPathW(HWND dialog, LPWSTR buf, int n)
{
    return Query(dialog, CDM_GETFOLDERPATH, buf, n);
}

void WINAPI AtCommDlg_OpenSave_SetControlTextW(HWND dialog, int id, LPCWSTR text)
{
    SetText(dialog, CDM_SETCONTROLTEXT, id, text);
}

void WINAPI AtCommDlg_OpenSave_SetDefExtW(HWND dialog, LPCWSTR ext)
{
    SetText(dialog, CDM_SETDEFEXT, 0, ext);
}
