/* A wide-character program, written once for every Windows: linked with torwen it
 * runs the same on the NT family and on Windows 95, 98 and Me. */
#include <stdio.h>

#include "demo.h"

void DemoPrint(const char *label, const WCHAR *text)
{
    char utf8[4096];
    if (!WideCharToMultiByte(CP_UTF8, 0, text, -1, utf8, sizeof utf8, NULL, NULL))
        utf8[0] = '\0';
    printf("%s\"%s\"\n", label, utf8);
}

int main(void)
{
    printf("torwen demo, ANSI code page %u\n", GetACP());
    DemoVersion();
    DemoFiles();
    DemoProcess();
    DemoProfile();
    DemoFormat();
    DemoWindow();
    DemoGdi();
    DemoCommonControls();
    DemoControls();
    DemoOpenDialog();
    DemoServices();
    DemoBeyond();
    return 0;
}
