/* A wide window procedure on every Windows. On Windows 95, 98 and Me the window is
 * an ANSI window and its messages carry ANSI text: the procedure reads them through
 * torwen's AtHANDLE_ crackers and sends text through the AtFORWARD_ forwarders, so
 * it sees wide characters and wide text either way. */
#include <stdio.h>

#include "demo.h"
#include "torwen.h"

static WCHAR demoText[64];    /* the window keeps its own text */
static WCHAR demoTyped[16];   /* characters as the procedure received them */
static int demoTypedCount;

static void CALLBACK OnChar(HWND hwnd, WCHAR ch, int cRepeat)
{
    (void)hwnd;
    (void)cRepeat;
    if (demoTypedCount < 15)
        demoTyped[demoTypedCount++] = ch;
}

static void CALLBACK OnSetText(HWND hwnd, LPCWSTR text)
{
    (void)hwnd;
    lstrcpynW(demoText, text ? text : L"", 64);
}

static int CALLBACK OnGetText(HWND hwnd, int cchTextMax, LPWSTR text)
{
    (void)hwnd;
    if (cchTextMax <= 0)
        return 0;
    lstrcpynW(text, demoText, cchTextMax);
    return lstrlenW(text);
}

static BOOL CALLBACK OnCreate(HWND hwnd, LPCREATESTRUCTW cs)
{
    (void)hwnd;
    DemoPrint("    WM_CREATE: window name ", cs->lpszName);
    return TRUE;
}

static LRESULT CALLBACK DemoProc(HWND hwnd, UINT msg, WPARAM wParam, LPARAM lParam)
{
    switch (msg) {
    case WM_CREATE:
        return AtHANDLE_WM_CREATEW(hwnd, wParam, lParam, OnCreate);
    case WM_CHAR:
        return AtHANDLE_WM_CHARW(hwnd, wParam, lParam, OnChar);
    case WM_SETTEXT:
        AtHANDLE_WM_SETTEXTW(hwnd, wParam, lParam, OnSetText);
        break;
    case WM_GETTEXT:
        return AtHANDLE_WM_GETTEXTW(hwnd, wParam, lParam, OnGetText);
    }
    return DefWindowProcW(hwnd, msg, wParam, lParam);
}

/* Text the ANSI code page can hold: kanji under 932, accented letters elsewhere.
 * Its first character takes two bytes under 932. */
static const WCHAR *DemoText(void)
{
    return GetACP() == 932 ? L"\x672C\x65E5\x6674\x308C" : L"\x00E9t\x00E9 \x00E0 Z\x00FCrich";
}

void DemoWindow(void)
{
    WNDCLASSEXW wc;
    ATOM atom;
    HWND hwnd;
    WCHAR buf[64];
    const WCHAR *text = DemoText();
    MSG msg;
    int n, i;

    ZeroMemory(&wc, sizeof wc);
    wc.cbSize = sizeof wc;
    wc.lpfnWndProc = DemoProc;
    wc.hInstance = GetModuleHandleW(NULL);
    wc.lpszClassName = L"TorwenDemoWindow";
    atom = RegisterClassExW(&wc);
    printf("RegisterClassExW(\"TorwenDemoWindow\") -> atom %s\n", atom ? "registered" : "0");
    if (!atom)
        return;

    hwnd = CreateWindowExW(0, L"TorwenDemoWindow", text, WS_OVERLAPPEDWINDOW, 0, 0, 200, 100,
                           NULL, NULL, wc.hInstance, NULL);
    printf("CreateWindowExW -> %s\n", hwnd ? "a window" : "no window");
    if (!hwnd)
        return;

    n = GetClassNameW(hwnd, buf, 64);
    printf("GetClassNameW -> %d ", n);
    DemoPrint("", buf);

    /* A character that takes two bytes in code page 932 reaches the procedure as
     * one wide character: the lead byte is sent, the trail byte queued. */
    AtFORWARD_WM_CHARW(hwnd, L'A', 1, SendMessageW);
    AtFORWARD_WM_CHARW(hwnd, text[0], 1, SendMessageW);
    while (PeekMessageW(&msg, hwnd, 0, 0, PM_REMOVE))
        DispatchMessageW(&msg);
    printf("AtFORWARD_WM_CHARW(\"A\"), AtFORWARD_WM_CHARW(U+%04X) -> procedure got %d:",
           text[0], demoTypedCount);
    for (i = 0; i < demoTypedCount; ++i)
        printf(" U+%04X", demoTyped[i]);
    printf("\n");

    printf("SetWindowTextW -> %d\n", SetWindowTextW(hwnd, text));
    DemoPrint("    the procedure's WM_SETTEXT handler got ", demoText);
    n = GetWindowTextW(hwnd, buf, 64);
    printf("GetWindowTextW -> %d ", n);
    DemoPrint("", buf);
    printf("GetWindowTextLengthW -> %d (ANSI bytes on Windows 95, 98 and Me)\n",
           GetWindowTextLengthW(hwnd));
    n = AtFORWARD_WM_GETTEXTW(hwnd, 64, buf, SendMessageW);
    printf("AtFORWARD_WM_GETTEXTW(SendMessageW) -> %d ", n);
    DemoPrint("", buf);

    DestroyWindow(hwnd);
    UnregisterClassW(L"TorwenDemoWindow", wc.hInstance);
}
