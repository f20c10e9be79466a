/* A window with a menu built through torwen, an edit control and a list box driven
 * by torwen's control helpers. On Windows 95, 98 and Me the controls hold ANSI text
 * and count bytes; the helpers give wide text and character positions either way. */
#include <stdio.h>

#include "demo.h"
#include "torwen.h"

/* Kanji under 932, accented letters elsewhere; the first character takes two
 * bytes under 932. */
static const WCHAR *ControlsText(void)
{
    return GetACP() == 932 ? L"\x65E5\x672C\x8A9E abc" : L"\x00E9t\x00E9 abc";
}

void DemoControls(void)
{
    HWND frame, edit, list;
    HMENU bar, file;
    WCHAR buf[MAX_PATH];
    DWORD sel;
    int n, i;

    bar = CreateMenu();
    file = CreatePopupMenu();
    AppendMenuW(file, MF_STRING, 1, ControlsText());
    AppendMenuW(file, MF_SEPARATOR, 0, NULL);
    AppendMenuW(file, MF_STRING, 2, L"E&xit");
    AppendMenuW(bar, MF_STRING | MF_POPUP, (UINT_PTR)file, L"&File");
    n = GetMenuStringW(file, 1, buf, 64, MF_BYCOMMAND);
    printf("AppendMenuW, GetMenuStringW -> %d ", n);
    DemoPrint("", buf);

    frame = CreateWindowExW(0, L"STATIC", L"torwen controls", WS_OVERLAPPEDWINDOW, 0, 0, 300,
                            200, NULL, bar, GetModuleHandleW(NULL), NULL);
    edit = CreateWindowExW(0, L"EDIT", L"", WS_CHILD | ES_AUTOHSCROLL, 0, 0, 200, 20, frame,
                           NULL, GetModuleHandleW(NULL), NULL);
    list = CreateWindowExW(0, L"LISTBOX", L"", WS_CHILD | LBS_HASSTRINGS, 0, 30, 200, 150,
                           frame, NULL, GetModuleHandleW(NULL), NULL);
    printf("a window with a menu, an edit control and a list box -> %s\n",
           frame && edit && list ? "made" : "not made");
    if (!frame || !edit || !list)
        return;

    SetWindowTextW(edit, ControlsText());
    AtEdit_SetSelW(edit, 1, 3);
    sel = AtEdit_GetSelW(edit);
    printf("AtEdit_SetSelW(1, 3), AtEdit_GetSelW -> (%d, %d) (an empty selection at 1 on "
           "Windows 95, 98 and Me)\n", LOWORD(sel), HIWORD(sel));
    AtEdit_SetSelW(edit, 0, -1);
    AtEdit_ReplaceSelW(edit, L"replaced ");
    AtEdit_SetSelW(edit, 0, 0);
    AtEdit_ReplaceSelW(edit, ControlsText());
    n = AtEdit_GetLineW(edit, 0, buf, 64);
    buf[n >= 0 && n < 64 ? n : 0] = 0;
    printf("AtEdit_ReplaceSelW, AtEdit_GetLineW -> %d ", n);
    DemoPrint("", buf);

    GetCurrentDirectoryW(MAX_PATH, buf);
    n = AtListBox_DirW(list, DDL_DIRECTORY | DDL_DRIVES, L"*.*");
    printf("AtListBox_DirW(\"*.*\") in the current directory -> %d; the first entries:\n", n);
    for (i = 0; i < 5 && i <= n; ++i) {
        AtListBox_GetTextW(list, i, buf);
        DemoPrint("    ", buf);
    }
    AtListBox_AddStringW(list, ControlsText());
    n = AtListBox_FindStringExactW(list, -1, ControlsText());
    printf("AtListBox_AddStringW, AtListBox_FindStringExactW -> %d, AtListBox_GetTextLenW -> %d\n",
           n, AtListBox_GetTextLenW(list, n));

    DestroyWindow(frame);
}
