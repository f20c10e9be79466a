#include <stdarg.h>
#include <stdio.h>

#include "demo.h"

/* A template with a string, a number and a character, expanded from a variable
 * argument list into a buffer that torwen allocates. */
static void ShowFormatV(const WCHAR *tmpl, ...)
{
    va_list args;
    WCHAR *text = NULL;
    DWORD r;

    va_start(args, tmpl);
    r = FormatMessageW(FORMAT_MESSAGE_FROM_STRING | FORMAT_MESSAGE_ALLOCATE_BUFFER, tmpl, 0, 0,
                       (WCHAR *)&text, 0, &args);
    va_end(args);
    printf("FormatMessageW(FROM_STRING | ALLOCATE_BUFFER, va_list) -> %lu\n", r);
    if (text) {
        DemoPrint("    ", text);
        LocalFree(text);
    }
}

void DemoFormat(void)
{
    WCHAR text[256];
    DWORD_PTR args[3];
    DWORD r;

    r = FormatMessageW(FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS, NULL,
                       ERROR_FILE_NOT_FOUND, 0, text, 256, NULL);
    printf("FormatMessageW(FROM_SYSTEM, error %lu) -> %lu", (DWORD)ERROR_FILE_NOT_FOUND, r);
    if (r)
        DemoPrint(": ", text);
    else
        printf(", last error %lu\n", GetLastError());

    args[0] = (DWORD_PTR)L"report.txt";
    args[1] = 42;
    args[2] = (DWORD_PTR)L"drive D:";
    r = FormatMessageW(FORMAT_MESSAGE_FROM_STRING | FORMAT_MESSAGE_ARGUMENT_ARRAY,
                       L"%1 has %2!d! pages on %3!s!.", 0, 0, text, 256, (va_list *)args);
    printf("FormatMessageW(FROM_STRING | ARGUMENT_ARRAY, \"%%1 has %%2!d! pages on %%3!s!.\")"
           " -> %lu", r);
    if (r)
        DemoPrint(": ", text);
    else
        printf(", last error %lu\n", GetLastError());

    ShowFormatV(L"%1!s! scored %2!u! (grade %3!c!)", L"Ada", 97u, (unsigned)L'A');
}
