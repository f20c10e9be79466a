#include <stdio.h>

#include "demo.h"

/* Writes a registry value with a name beyond ASCII under HKEY_CURRENT_USER, reads
 * it back (its size first), removes the key, and turns a UUID into its string and
 * back. */
void DemoServices(void)
{
    static const WCHAR path[] = L"Software\\torwen demo";
    static const WCHAR name[] = L"caf\u00e9";
    static const WCHAR data[] = L"cr\u00e8me br\u00fbl\u00e9e";
    static const WCHAR uuidText[] = L"6b29fc40-ca47-1067-b31d-00dd010662da";
    WCHAR buf[64];
    DWORD type = 0, size = 0;
    HKEY key;
    UUID uuid;
    RPC_WSTR text = NULL;
    LONG r;

    r = RegCreateKeyExW(HKEY_CURRENT_USER, path, 0, NULL, 0, KEY_ALL_ACCESS, NULL, &key, NULL);
    printf("RegCreateKeyExW(HKEY_CURRENT_USER, \"Software\\torwen demo\") -> %ld\n", r);
    if (r == ERROR_SUCCESS) {
        r = RegSetValueExW(key, name, 0, REG_SZ, (const BYTE *)data, sizeof data);
        printf("RegSetValueExW(\"caf\xc3\xa9\", REG_SZ, %u bytes) -> %ld\n", (unsigned)sizeof data, r);
        r = RegQueryValueExW(key, name, NULL, &type, NULL, &size);
        printf("RegQueryValueExW(size query) -> %ld, type %lu, %lu bytes\n", r, type, size);
        size = sizeof buf;
        r = RegQueryValueExW(key, name, NULL, &type, (BYTE *)buf, &size);
        printf("RegQueryValueExW -> %ld, %lu bytes, ", r, size);
        DemoPrint("", r == ERROR_SUCCESS ? buf : L"");
        RegCloseKey(key);
        printf("RegDeleteKeyW -> %ld\n", RegDeleteKeyW(HKEY_CURRENT_USER, path));
    }

    printf("UuidFromStringW -> %ld\n", UuidFromStringW((RPC_WSTR)uuidText, &uuid));
    printf("UuidToStringW -> %ld, ", UuidToStringW(&uuid, &text));
    DemoPrint("", text ? (const WCHAR *)text : L"");
    printf("RpcStringFreeW -> %ld\n", RpcStringFreeW(&text));
}
