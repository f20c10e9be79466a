// Named kernel objects: mutexes, events and file mappings.
#include "core/core.h"

AT_SYSTEM_FUNCTION(kernel32, CreateMutexW, 0)
AT_SYSTEM_FUNCTION(kernel32, CreateEventW, 0)
AT_SYSTEM_FUNCTION(kernel32, OpenEventW, 0)
AT_SYSTEM_FUNCTION(kernel32, CreateFileMappingW, 0)

// The last error matters after a success too: ERROR_ALREADY_EXISTS tells the
// caller that it opened an existing object.
HANDLE WINAPI CreateMutexW(LPSECURITY_ATTRIBUTES sa, BOOL initialOwner, LPCWSTR name)
{
    return AtExport(Sys::CreateMutexW, sa, initialOwner, name)
        .orAnsi(nullptr, [=](AtSavedError& err) {
            return err.keep(CreateMutexA(sa, initialOwner, AtAnsiTemp(name)));
        });
}

HANDLE WINAPI CreateEventW(LPSECURITY_ATTRIBUTES sa, BOOL manualReset, BOOL initialState,
                           LPCWSTR name)
{
    return AtExport(Sys::CreateEventW, sa, manualReset, initialState, name)
        .orAnsi(nullptr, [=](AtSavedError& err) {
            return err.keep(CreateEventA(sa, manualReset, initialState, AtAnsiTemp(name)));
        });
}

HANDLE WINAPI OpenEventW(DWORD access, BOOL inherit, LPCWSTR name)
{
    return AtExport(Sys::OpenEventW, access, inherit, name).orAnsi(nullptr, [=](AtSavedError& err) {
        return err.keep(OpenEventA(access, inherit, AtAnsiTemp(name)));
    });
}

HANDLE WINAPI CreateFileMappingW(HANDLE file, LPSECURITY_ATTRIBUTES sa, DWORD protect,
                                 DWORD sizeHigh, DWORD sizeLow, LPCWSTR name)
{
    return AtExport(Sys::CreateFileMappingW, file, sa, protect, sizeHigh, sizeLow, name)
        .orAnsi(nullptr, [=](AtSavedError& err) {
            return err.keep(
                CreateFileMappingA(file, sa, protect, sizeHigh, sizeLow, AtAnsiTemp(name)));
        });
}
