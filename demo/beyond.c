#include <stdio.h>

#include "demo.h"

static LRESULT CALLBACK DemoProc(HWND hwnd, UINT msg, WPARAM wParam, LPARAM lParam)
{
    return DefWindowProcW(hwnd, msg, wParam, lParam);
}

/* Functions that wide programs import besides the common families: a folder with
 * a name beyond ASCII made, renamed and removed, a window class registered with
 * RegisterClassW, and text formatted with wsprintfW. */
void DemoBeyond(void)
{
    /* A name the ANSI code page can hold: on Windows 95, 98 and Me it travels as ANSI. */
    const WCHAR *word = GetACP() == 932 ? L"\x65e5\x672c" : L"caf\x00e9";
    WCHAR temp[MAX_PATH], folder[MAX_PATH], moved[MAX_PATH], expanded[MAX_PATH];
    WNDCLASSW wc = {0};
    ATOM atom;

    GetTempPathW(MAX_PATH, temp);
    wsprintfW(folder, L"%storwen demo %s", temp, word);
    wsprintfW(moved, L"%s~", folder);
    printf("CreateDirectoryW -> %d\n", CreateDirectoryW(folder, NULL));
    DemoPrint("    ", folder);
    printf("MoveFileW -> %d\n", MoveFileW(folder, moved));
    printf("RemoveDirectoryW -> %d\n", RemoveDirectoryW(moved));
    printf("    folder still there: %s\n", GetFileAttributesW(moved) != INVALID_FILE_ATTRIBUTES ? "yes" : "no");

    wc.lpfnWndProc = DemoProc;
    wc.hInstance = GetModuleHandleW(NULL);
    wc.lpszClassName = L"torwen demo class";
    atom = RegisterClassW(&wc);
    printf("RegisterClassW -> atom %u\n", atom);
    printf("UnregisterClassW -> %d\n", UnregisterClassW(wc.lpszClassName, wc.hInstance));

    printf("ExpandEnvironmentStringsW -> %lu\n", ExpandEnvironmentStringsW(L"%SystemRoot%", expanded, MAX_PATH));
    DemoPrint("    ", expanded);
}
