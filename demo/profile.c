#include <stdio.h>

#include "demo.h"

/* Writes a private profile file with a key, a whole section and a structure, reads
 * each back, and removes the file. */
void DemoProfile(void)
{
    static const WCHAR keys[] = L"colour=blau\0size=42\0";
    const POINT origin = {12, -3};
    POINT point = {0, 0};
    WCHAR file[MAX_PATH], buf[128];
    const WCHAR *p;
    DWORD n;
    BOOL ok;

    GetTempPathW(MAX_PATH, file);
    lstrcatW(file, L"torwen-demo.ini");

    ok = WritePrivateProfileStringW(L"caf\u00e9", L"name", L"cr\u00e8me br\u00fbl\u00e9e", file);
    printf("WritePrivateProfileStringW(\"caf\xc3\xa9\", \"name\", ...) -> %d\n", ok);
    n = GetPrivateProfileStringW(L"caf\u00e9", L"name", L"(none)", buf, 128, file);
    printf("GetPrivateProfileStringW -> %lu, ", n);
    DemoPrint("", buf);

    ok = WritePrivateProfileSectionW(L"settings", keys, file);
    printf("WritePrivateProfileSectionW(\"settings\", colour=blau, size=42) -> %d\n", ok);
    /* The list may arrive without its final terminator: start from a zeroed buffer. */
    ZeroMemory(buf, sizeof buf);
    n = GetPrivateProfileSectionW(L"settings", buf, 128, file);
    printf("GetPrivateProfileSectionW -> %lu:\n", n);
    for (p = buf; *p; p += lstrlenW(p) + 1)
        DemoPrint("    ", p);
    printf("GetPrivateProfileIntW(\"settings\", \"size\") -> %u\n",
           GetPrivateProfileIntW(L"settings", L"size", 0, file));

    ok = WritePrivateProfileStructW(L"settings", L"origin", (LPVOID)&origin, sizeof origin, file);
    printf("WritePrivateProfileStructW(origin = {12, -3}) -> %d\n", ok);
    ok = GetPrivateProfileStructW(L"settings", L"origin", &point, sizeof point, file);
    printf("GetPrivateProfileStructW -> %d, {%ld, %ld}\n", ok, point.x, point.y);

    ZeroMemory(buf, sizeof buf);
    n = GetPrivateProfileSectionNamesW(buf, 128, file);
    printf("GetPrivateProfileSectionNamesW -> %lu:\n", n);
    for (p = buf; *p; p += lstrlenW(p) + 1)
        DemoPrint("    ", p);

    /* Flush the cached file before removing it. */
    WritePrivateProfileStringW(NULL, NULL, NULL, file);
    DeleteFileW(file);
}
