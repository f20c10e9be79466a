/* Common controls from a wide program on every Windows: a list view and a tree view
 * filled with wide text through torwen's helpers. One list item takes its text
 * from the parent, which answers the control's display-info notification through
 * AtHANDLE_WM_NOTIFYW: on Windows 95, 98 and Me the control asks in ANSI, and the
 * wide handler still sees LVN_GETDISPINFOW and answers with wide text. */
#include <stdio.h>

#include "demo.h"
#include "torwen.h"

static const WCHAR demoAnswer[] = L"asked for: gr\x00FC\x00DF Gott";

static LRESULT CALLBACK OnNotify(HWND hwnd, int idFrom, NMHDR* nm)
{
    (void)hwnd;
    (void)idFrom;
    if (nm->code == LVN_GETDISPINFOW) {
        NMLVDISPINFOW* di = (NMLVDISPINFOW*)nm;
        if (di->item.mask & LVIF_TEXT)
            lstrcpynW(di->item.pszText, demoAnswer, di->item.cchTextMax);
    }
    return 0;
}

static LRESULT CALLBACK ParentProc(HWND hwnd, UINT msg, WPARAM wParam, LPARAM lParam)
{
    if (msg == WM_NOTIFY)
        return AtHANDLE_WM_NOTIFYW(hwnd, wParam, lParam, OnNotify);
    return DefWindowProcW(hwnd, msg, wParam, lParam);
}

/* The demo does not import comctl32: its classes are registered through the
 * function looked up at run time. */
static BOOL InitControls(void)
{
    typedef BOOL(WINAPI * InitEx)(const INITCOMMONCONTROLSEX*);
    INITCOMMONCONTROLSEX icc = { sizeof icc, ICC_LISTVIEW_CLASSES | ICC_TREEVIEW_CLASSES };
    InitEx init
        = (InitEx)(void*)GetProcAddress(LoadLibraryW(L"comctl32.dll"), "InitCommonControlsEx");
    return init && init(&icc);
}

void DemoCommonControls(void)
{
    WNDCLASSEXW wc = { sizeof wc, 0, ParentProc, 0, 0, GetModuleHandleW(NULL), 0, 0, 0, 0,
        L"TorwenDemoControls", 0 };
    HWND parent, lv, tv;
    LVCOLUMNW col;
    LVITEMW item;
    TVINSERTSTRUCTW ins;
    HTREEITEM root;
    WCHAR buf[64];
    TVITEMW read = { TVIF_TEXT | TVIF_HANDLE, 0, 0, 0, buf, 64, 0, 0, 0, 0 };

    printf("common controls:\n");
    if (!InitControls()) {
        printf("    comctl32 is not available\n");
        return;
    }
    ZeroMemory(&col, sizeof col);
    col.mask = LVCF_TEXT | LVCF_WIDTH;
    col.cx = 120;
    col.pszText = L"Name";
    ZeroMemory(&item, sizeof item);
    item.mask = LVIF_TEXT;
    item.pszText = L"Stra\x00DF"
                   L"e";
    RegisterClassExW(&wc);
    parent = CreateWindowExW(0, wc.lpszClassName, L"", WS_OVERLAPPEDWINDOW, 0, 0, 300, 200, NULL,
        NULL, wc.hInstance, NULL);
    lv = CreateWindowExW(0, WC_LISTVIEWW, L"", WS_CHILD | LVS_REPORT, 0, 0, 300, 100, parent,
        (HMENU)1, wc.hInstance, NULL);
    AtListView_InsertColumnW(lv, 0, &col);
    AtListView_InsertItemW(lv, &item);
    item.iItem = 1;
    item.pszText = LPSTR_TEXTCALLBACKW;
    AtListView_InsertItemW(lv, &item);
    AtListView_GetItemTextW(lv, 0, 0, buf, 64);
    DemoPrint("    list view item 0: ", buf);
    AtListView_GetItemTextW(lv, 1, 0, buf, 64);
    DemoPrint("    list view item 1 (LVN_GETDISPINFO): ", buf);

    tv = CreateWindowExW(
        0, WC_TREEVIEWW, L"", WS_CHILD, 0, 100, 300, 100, parent, (HMENU)2, wc.hInstance, NULL);
    ZeroMemory(&ins, sizeof ins);
    ins.hParent = TVI_ROOT;
    ins.hInsertAfter = TVI_LAST;
    ins.item.mask = TVIF_TEXT;
    ins.item.pszText = L"Wurzel \x00C4";
    root = AtTreeView_InsertItemW(tv, &ins);
    ins.hParent = root;
    ins.item.pszText = L"Zweig \x00D6";
    read.hItem = AtTreeView_InsertItemW(tv, &ins);
    AtTreeView_GetItemW(tv, &read);
    DemoPrint("    tree view child: ", buf);
    DestroyWindow(parent);
}
