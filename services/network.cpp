// Network connections by wide names.
#include "services/services.h"

// The result is the error code: a system without the function answers that it has none.
AT_SYSTEM_FUNCTION(mpr, WNetGetConnectionW, ERROR_CALL_NOT_IMPLEMENTED)
AT_SYSTEM_FUNCTION(mpr, WNetGetConnectionA, ERROR_CALL_NOT_IMPLEMENTED)

// On success the remote name is converted and *length is left alone; on failure
// the remote name is emptied and *length receives the A function's count, in ANSI
// bytes (the size needed when the buffer was too small).
DWORD WINAPI WNetGetConnectionW(LPCWSTR local, LPWSTR remote, LPDWORD length)
{
    return AtExport(Sys::WNetGetConnectionW, local, remote, length)
        .orAnsi(DWORD(ERROR_OUTOFMEMORY), [=](AtSavedError& err) {
            const DWORD n = AtCountAt(length);
            AtStringSlot remoteA;
            AtAllocAnsiOut(remoteA, n);
            AtAnsiTemp localA(local);
            DWORD lengthA = DWORD(AtHeapSize(remoteA));
            DWORD r
                = err.keep(Sys::WNetGetConnectionA(localA, remoteA, length ? &lengthA : nullptr));
            if (r == NO_ERROR) {
                // The ANSI buffer holds n characters of up to AtMaxCharSize bytes, so a
                // name can fit it and still have more characters than the caller's
                // n: that is reported as the W function reports it, never as success
                // with a truncated name that has no terminator (the converter leaves
                // the caller's buffer empty then).
                if (!AtBoundedAnsiToWideOut(remoteA, remote, n) && remote) {
                    *length = DWORD(AtBoundedAnsiToWideOut(remoteA, nullptr, 0));
                    err.value = r = ERROR_MORE_DATA;
                }
            } else {
                if (remote && n)
                    remote[0] = L'\0';
                if (length)
                    *length = lengthA;
            }
            return r;
        });
}

// The same function under a name of torwen's own.
extern "C" DWORD WINAPI AtWNetGetConnectionW(LPCWSTR local, LPWSTR remote, LPDWORD length)
    __attribute__((alias("WNetGetConnectionW@12")));
