/* An open dialog, run for real and closed by its own hook: the hook types a name,
 * presses Open, and the program prints what came back. On Windows 95, 98 and Me
 * the hook runs against the ANSI dialog, so it sets the dialog's text through
 * torwen's helpers rather than by sending CDM_SETCONTROLTEXT itself. */
#include <stdio.h>

#include "demo.h"
#include "torwen.h"

#include <dlgs.h>

static UINT_PTR CALLBACK CloseWithAName(HWND child, UINT msg, WPARAM wParam, LPARAM lParam)
{
    HWND dialog = GetParent(child);
    (void)wParam;
    if (msg == WM_NOTIFY && ((NMHDR *)lParam)->code == CDN_INITDONE) {
        AtCommDlg_OpenSave_SetControlTextW(dialog, edt1, L"caf\x00e9 \x65e5\x672c.txt");
        AtCommDlg_OpenSave_SetControlTextW(dialog, cmb13, L"caf\x00e9 \x65e5\x672c.txt");
        PostMessageW(dialog, WM_COMMAND, IDOK, 0);
    }
    return 0;
}

void DemoOpenDialog(void)
{
    WCHAR file[MAX_PATH] = L"", title[MAX_PATH] = L"";
    OPENFILENAMEW ofn;
    BOOL chosen;

    ZeroMemory(&ofn, sizeof ofn);
    ofn.lStructSize = sizeof ofn;
    ofn.lpstrFilter = L"Text files\0*.txt\0All files\0*.*\0";
    ofn.nFilterIndex = 2;
    ofn.lpstrFile = file;
    ofn.nMaxFile = MAX_PATH;
    ofn.lpstrFileTitle = title;
    ofn.nMaxFileTitle = MAX_PATH;
    ofn.Flags = OFN_EXPLORER | OFN_ENABLEHOOK;
    ofn.lpfnHook = CloseWithAName;
    chosen = GetOpenFileNameW(&ofn);
    printf("GetOpenFileNameW -> %d, CommDlgExtendedError %lu\n", chosen, CommDlgExtendedError());
    if (chosen) {
        DemoPrint("    lpstrFile      ", file);
        DemoPrint("    lpstrFileTitle ", title);
        printf("    nFileOffset %u, nFileExtension %u (in characters)\n", ofn.nFileOffset, ofn.nFileExtension);
    }
}
