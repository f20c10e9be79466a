#include <stdio.h>

#include "demo.h"

/* Lists the folder's files, as FindFirstFileW and FindNextFileW report them. */
static void ListFolder(const WCHAR *folder)
{
    WCHAR pattern[MAX_PATH];
    WIN32_FIND_DATAW data;
    HANDLE find;

    wsprintfW(pattern, L"%s\\*", folder);
    find = FindFirstFileW(pattern, &data);
    DemoPrint("FindFirstFileW ", pattern);
    if (find == INVALID_HANDLE_VALUE) {
        printf("    -> INVALID_HANDLE_VALUE, last error %lu\n", GetLastError());
        return;
    }
    do {
        printf("    %s %8lu bytes  ", data.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY ? "dir " : "file",
               data.nFileSizeLow);
        DemoPrint("", data.cFileName);
    } while (FindNextFileW(find, &data));
    printf("    FindNextFileW -> FALSE, last error %lu (ERROR_NO_MORE_FILES is %lu)\n", GetLastError(),
           ERROR_NO_MORE_FILES);
    FindClose(find);
}

static void ShowFullPath(const WCHAR *name)
{
    WCHAR full[MAX_PATH];
    WCHAR *filePart = NULL;
    DWORD n = GetFullPathNameW(name, MAX_PATH, full, &filePart);

    DemoPrint("GetFullPathNameW ", name);
    printf("    -> %lu\n", n);
    if (n) {
        DemoPrint("    path      ", full);
        DemoPrint("    file part ", filePart ? filePart : L"(none)");
    }
}

void DemoFiles(void)
{
    static const WCHAR *names[] = { L"readme.txt", L"caf\x00e9.txt", L"\x65e5\x672c.txt" };
    WCHAR temp[MAX_PATH], folder[MAX_PATH], name[MAX_PATH];
    size_t i;

    GetTempPathW(MAX_PATH, temp);
    wsprintfW(folder, L"%storwen-demo-%lu", temp, GetCurrentProcessId());
    printf("CreateDirectoryExW -> %d\n", CreateDirectoryExW(temp, folder, NULL));
    for (i = 0; i < sizeof names / sizeof names[0]; ++i) {
        HANDLE file;
        DWORD written;

        wsprintfW(name, L"%s\\%s", folder, names[i]);
        file = CreateFileW(name, GENERIC_WRITE, 0, NULL, CREATE_ALWAYS, 0, NULL);
        if (file == INVALID_HANDLE_VALUE) {
            /* A name the ANSI code page cannot hold does not reach the file system
             * on Windows 95, 98 and Me. */
            DemoPrint("CreateFileW failed for ", names[i]);
            continue;
        }
        WriteFile(file, "torwen", (DWORD)(6 * (i + 1)), &written, NULL);
        CloseHandle(file);
    }
    ListFolder(folder);

    SetCurrentDirectoryW(folder);
    ShowFullPath(L"readme.txt");
    ShowFullPath(L"..\\");
    SetCurrentDirectoryW(temp);

    for (i = 0; i < sizeof names / sizeof names[0]; ++i) {
        wsprintfW(name, L"%s\\%s", folder, names[i]);
        DeleteFileW(name);
    }
    RemoveDirectoryW(folder);
}
