/* A program with the C runtime that also calls one of torwen's own exports,
 * declared by torwen.h. */
#include <stdio.h>
#include <torwen.h>

void WINAPI Probe(void);

int main(void)
{
    if (!GetProcAddressW(GetModuleHandleW(L"kernel32.dll"), L"GetVersionExA")) {
        puts("GetProcAddressW failed");
        return 1;
    }
    fflush(stdout);
    Probe();
    return 0;
}
