#include <stdio.h>

#include "demo.h"

/* Starts a child through torwen with a Unicode environment: the child's exit code
 * is the value of a variable that only that environment holds. */
void DemoProcess(void)
{
    WCHAR cmd[] = L"cmd.exe /c exit %TORWEN_DEMO%";
    WCHAR env[] = L"TORWEN_DEMO=7\0"; /* the literal adds the list's final NUL */
    STARTUPINFOW si = {0};
    PROCESS_INFORMATION pi;
    DWORD code = 0;

    si.cb = sizeof si;
    DemoPrint("CreateProcessW ", cmd);
    DemoPrint("  environment ", env);
    if (!CreateProcessW(NULL, cmd, NULL, NULL, FALSE, CREATE_UNICODE_ENVIRONMENT, env, NULL, &si,
                        &pi)) {
        printf("  -> FALSE, last error %lu\n", GetLastError());
        return;
    }
    WaitForSingleObject(pi.hProcess, 30000);
    GetExitCodeProcess(pi.hProcess, &code);
    CloseHandle(pi.hThread);
    CloseHandle(pi.hProcess);
    printf("  -> TRUE, process %lu exited with %lu\n", pi.dwProcessId, code);
}
