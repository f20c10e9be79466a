// The process's environment: its block, its variables, and the list of its drives.
#include <cstring>

#include "core/core.h"

AT_SYSTEM_FUNCTION(kernel32, GetEnvironmentStringsW, 0)
AT_SYSTEM_FUNCTION(kernel32, FreeEnvironmentStringsW, FALSE)
AT_SYSTEM_FUNCTION(kernel32, GetEnvironmentVariableW, 0)
AT_SYSTEM_FUNCTION(kernel32, SetEnvironmentVariableW, FALSE)
AT_SYSTEM_FUNCTION(kernel32, GetLogicalDriveStringsW, 0)

namespace {

// Bytes of an ANSI environment block with both terminators; an empty block,
// which is just its final NUL, counts 1.
size_t AnsiBlockSize(const char* block)
{
    size_t i = 0;
    while (block[i])
        i += std::strlen(block + i) + 1;
    return i + 1;
}

}  // namespace

// The wide block is torwen's own heap block: the caller hands it back to
// FreeEnvironmentStringsW. The last error is left as the calls left it.
LPWCH WINAPI GetEnvironmentStringsW()
{
    return AtExport(Sys::GetEnvironmentStringsW).orAnsiWithoutSavedError(nullptr, [=]() -> LPWCH {
        LPCH a = GetEnvironmentStrings();
        if (!a)
            return nullptr;
        // The ANSI block is handed back on every path, also when the wide one
        // cannot be allocated.
        struct AnsiBlock {
            LPCH p;
            ~AnsiBlock() { FreeEnvironmentStringsA(p); }
        } block{a};
        size_t size = AnsiBlockSize(a);
        auto w = static_cast<LPWCH>(AtAlloc(2 * size));
        MultiByteToWideChar(CP_ACP, 0, a, size, w, AtHeapSize(w) / 2);
        return w;
    });
}

BOOL WINAPI FreeEnvironmentStringsW(LPWCH block)
{
    return AtExport(Sys::FreeEnvironmentStringsW, block).orAnsiUnguarded([=] {
        AtFree(block);
        return TRUE;
    });
}

// Only the value's bytes are converted, without their terminator: the wide text
// is not terminated and the count returned is one less than its length. A value
// too long for the buffer answers the size it needs, and the buffer is not
// written. The last error is left as the calls left it.
DWORD WINAPI GetEnvironmentVariableW(LPCWSTR name, LPWSTR buf, DWORD n)
{
    return AtExport(Sys::GetEnvironmentVariableW, name, buf, n).orAnsiWithoutSavedError(0, [=] {
        AtStringSlot nameA, bufA;
        AtWideToAnsiTemp(nameA, name);
        AtAllocAnsiOut(bufA, n);
        DWORD r = GetEnvironmentVariableA(nameA, bufA, AtHeapSize(bufA));
        if (r && n && buf && !AtAnsiBufferTooSmall(bufA, r)) {
            r = AtAnsiToWideOutN(bufA, buf, n, r);
            if (r)
                --r;
        }
        return r;
    });
}

BOOL WINAPI SetEnvironmentVariableW(LPCWSTR name, LPCWSTR value)
{
    return AtExport(Sys::SetEnvironmentVariableW, name, value)
        .orAnsi(FALSE, [=](AtSavedError& err) {
            AtStringSlot nameA, valueA;
            AtWideToAnsiTemp(nameA, name);
            AtWideToAnsiTemp(valueA, value);
            return err.keep(SetEnvironmentVariableA(nameA, valueA));
        });
}

// The list's final terminator is converted and counted too, so the count returned
// is one more than the list's length without it.
DWORD WINAPI GetLogicalDriveStringsW(DWORD n, LPWSTR buf)
{
    return AtExport(Sys::GetLogicalDriveStringsW, n, buf).orAnsi(0, [=](AtSavedError& err) {
        AtStringSlot bufA;
        AtAllocAnsiOut(bufA, n);
        DWORD r = err.keep(GetLogicalDriveStringsA(AtHeapSize(bufA), bufA));
        if (r && n && buf && !AtAnsiBufferTooSmall(bufA, r))
            r = AtAnsiToWideOutN(bufA, buf, n, r + 1);
        return r;
    });
}
