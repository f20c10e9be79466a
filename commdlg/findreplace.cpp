// The modeless find and replace dialogs.
//
// On the ANSI platforms the dialog keeps an A record and its text buffers for as
// long as it lives, and tells its owner about every button by sending
// FINDMSGSTRING with a pointer to its record. A wide owner expects its own wide
// record there. So torwen gives the dialog an A record in a block of its own that
// lives until the dialog is destroyed, installs a hook of its
// own, and answers the buttons in that hook: it copies the texts and options into
// the caller's wide record and sends the owner FINDMSGSTRING with that record,
// as the dialog would with its own. The caller keeps its wide record and buffers
// alive while the dialog lives, as on the NT family.
#include <algorithm>
#include <cstring>

#include "core/core.h"

#include <dlgs.h>

AT_SYSTEM_FUNCTION(comdlg32, FindTextW, 0)
AT_SYSTEM_FUNCTION(comdlg32, FindTextA, 0)
AT_SYSTEM_FUNCTION(comdlg32, ReplaceTextW, 0)
AT_SYSTEM_FUNCTION(comdlg32, ReplaceTextA, 0)
AT_SYSTEM_FUNCTION(user32, SetPropA, FALSE)
AT_SYSTEM_FUNCTION(user32, GetPropA, 0)
AT_SYSTEM_FUNCTION(user32, RemovePropA, 0)
AT_SYSTEM_FUNCTION(user32, GetDlgItemTextA, 0)
AT_SYSTEM_FUNCTION(user32, IsDlgButtonChecked, 0)
AT_SYSTEM_FUNCTION(user32, SendMessageA, 0)
AT_SYSTEM_FUNCTION(user32, DestroyWindow, FALSE)
AT_SYSTEM_FUNCTION(user32, RegisterWindowMessageA, 0)

namespace {

constexpr char SessionProperty[] = "torwen find session";

// What the dialog needs for as long as it lives: its A record with the text
// buffers, and the caller's wide record and hook.
struct FindSession {
    FINDREPLACEA a;
    LPFINDREPLACEW w;
    char* findWhat;
    char* replaceWith;
    bool closing;  // the Cancel button ends the dialog and then frees the block
};

// A wide text into the session's ANSI buffer of `bytes`; a text that does not
// fit is left out.
void TextToAnsi(char* to, WORD bytes, LPCWSTR from)
{
    if (!bytes)
        return;
    if (!from || !WideCharToMultiByte(CP_ACP, 0, from, -1, to, bytes, nullptr, nullptr))
        to[0] = '\0';
}

// A control's text into the caller's wide buffer of `bytes`.
void ControlToWide(HWND dialog, int control, LPWSTR to, WORD bytes)
{
    const int chars = bytes / sizeof(WCHAR);
    if (!to || !chars)
        return;
    char text[1024] = "";
    Sys::GetDlgItemTextA(dialog, control, text, sizeof text);
    if (!MultiByteToWideChar(CP_ACP, 0, text, -1, to, chars))
        to[0] = L'\0';
}

void FreeSession(HWND dialog, FindSession* session)
{
    Sys::RemovePropA(dialog, SessionProperty);
    AtFree(session->replaceWith);
    AtFree(session->findWhat);
    AtFree(session);
}

// Answers a button as the dialog would, with the caller's wide record.
void Report(HWND dialog, FindSession* session, DWORD what)
{
    LPFINDREPLACEW w = session->w;
    DWORD flags = w->Flags & ~(FR_FINDNEXT | FR_REPLACE | FR_REPLACEALL | FR_DIALOGTERM | FR_DOWN | FR_MATCHCASE |
                               FR_WHOLEWORD);
    if (what != FR_DIALOGTERM) {
        ControlToWide(dialog, edt1, w->lpstrFindWhat, w->wFindWhatLen);
        if (session->a.lpstrReplaceWith)
            ControlToWide(dialog, edt2, w->lpstrReplaceWith, w->wReplaceWithLen);
        if (Sys::IsDlgButtonChecked(dialog, rad2) == BST_CHECKED)
            flags |= FR_DOWN;
        if (Sys::IsDlgButtonChecked(dialog, chx1) == BST_CHECKED)
            flags |= FR_WHOLEWORD;
        if (Sys::IsDlgButtonChecked(dialog, chx2) == BST_CHECKED)
            flags |= FR_MATCHCASE;
    }
    w->Flags = flags | what;
    static UINT message = Sys::RegisterWindowMessageA(FINDMSGSTRINGA);
    Sys::SendMessageA(w->hwndOwner, message, 0, reinterpret_cast<LPARAM>(w));
}

UINT_PTR CALLBACK FindHook(HWND dialog, UINT msg, WPARAM wp, LPARAM lp)
{
    if (msg == WM_INITDIALOG) {
        auto session = reinterpret_cast<FindSession*>(lp);
        Sys::SetPropA(dialog, SessionProperty, session);
        LPFINDREPLACEW w = session->w;
        if ((w->Flags & FR_ENABLEHOOK) && w->lpfnHook)
            return w->lpfnHook(dialog, msg, wp, reinterpret_cast<LPARAM>(w));
        return TRUE;
    }
    auto session = static_cast<FindSession*>(Sys::GetPropA(dialog, SessionProperty));
    if (!session)
        return FALSE;
    LPFINDREPLACEW w = session->w;
    if ((w->Flags & FR_ENABLEHOOK) && w->lpfnHook && w->lpfnHook(dialog, msg, wp, lp))
        return TRUE;
    if (msg == WM_COMMAND && HIWORD(wp) == BN_CLICKED) {
        switch (LOWORD(wp)) {
        case IDOK:
            Report(dialog, session, FR_FINDNEXT);
            return TRUE;
        case psh1:
            Report(dialog, session, FR_REPLACE);
            return TRUE;
        case psh2:
            Report(dialog, session, FR_REPLACEALL);
            return TRUE;
        case IDCANCEL:
            Report(dialog, session, FR_DIALOGTERM);
            session->closing = true;
            Sys::DestroyWindow(dialog);
            FreeSession(dialog, session);
            return TRUE;
        }
    }
    // A dialog ended otherwise (with its owner) gives up its block as it goes.
    if (msg == WM_DESTROY && !session->closing)
        FreeSession(dialog, session);
    return FALSE;
}

// The block for the dialog's life, and the call. The hook frees the block when
// the dialog ends; a dialog that is not created leaves it to be freed here.
template <typename CallA>
HWND OpenDialog(AtSavedError& err, LPFINDREPLACEW w, bool replace, CallA callA)
{
    if (!w || w->lStructSize != sizeof(FINDREPLACEW)) {
        err.value = ERROR_INVALID_PARAMETER;
        return nullptr;
    }
    AtStringSlot block, findWhat, replaceWith, templateName;
    AtAllocBuffer(block, sizeof(FindSession));
    const WORD findBytes = WORD(std::min<DWORD>(0xFFFF, w->wFindWhatLen / sizeof(WCHAR) * AtMaxCharSize));
    const WORD replaceBytes = WORD(std::min<DWORD>(0xFFFF, w->wReplaceWithLen / sizeof(WCHAR) * AtMaxCharSize));
    AtAllocBuffer(findWhat, findBytes + 1);
    AtAllocBuffer(replaceWith, replaceBytes + 1);
    auto session = static_cast<FindSession*>(block.value);
    std::memset(session, 0, sizeof *session);
    session->w = w;
    session->findWhat = findWhat;
    session->replaceWith = replaceWith;
    FINDREPLACEA& a = session->a;
    a.lStructSize = sizeof a;
    a.hwndOwner = w->hwndOwner;
    a.hInstance = w->hInstance;
    a.Flags = w->Flags | FR_ENABLEHOOK;
    TextToAnsi(session->findWhat, findBytes, w->lpstrFindWhat);
    a.lpstrFindWhat = session->findWhat;
    a.wFindWhatLen = findBytes;
    if (replace) {
        TextToAnsi(session->replaceWith, replaceBytes, w->lpstrReplaceWith);
        a.lpstrReplaceWith = session->replaceWith;
        a.wReplaceWithLen = replaceBytes;
    }
    a.lCustData = reinterpret_cast<LPARAM>(session);
    a.lpfnHook = FindHook;
    // The dialog looks its template up as it is made: the name need not outlive the call.
    if (w->Flags & FR_ENABLETEMPLATE)
        AtWideToAnsiTemp(templateName, w->lpTemplateName);
    a.lpTemplateName = templateName;
    HWND dialog = err.keep(callA(&a));
    if (dialog) {  // the dialog owns the block now
        block.value = findWhat.value = replaceWith.value = nullptr;
    }
    return dialog;
}

}  // namespace

HWND WINAPI FindTextW(LPFINDREPLACEW w)
{
    return AtExport(Sys::FindTextW, w).orAnsi(nullptr, [=](AtSavedError& err) {
        return OpenDialog(err, w, false, [](LPFINDREPLACEA a) { return Sys::FindTextA(a); });
    });
}

HWND WINAPI ReplaceTextW(LPFINDREPLACEW w)
{
    return AtExport(Sys::ReplaceTextW, w).orAnsi(nullptr, [=](AtSavedError& err) {
        return OpenDialog(err, w, true, [](LPFINDREPLACEA a) { return Sys::ReplaceTextA(a); });
    });
}
