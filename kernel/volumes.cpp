// Drives and volumes: their type, free space and names.
#include "kernel/files.h"

AT_SYSTEM_FUNCTION(kernel32, GetDriveTypeW, DRIVE_UNKNOWN)
AT_SYSTEM_FUNCTION(kernel32, GetDiskFreeSpaceW, FALSE)
AT_SYSTEM_FUNCTION(kernel32, GetVolumeInformationW, FALSE)

// No saved error: the caller sees what the A function left, or ERROR_OUTOFMEMORY
// when the root could not be converted.
UINT WINAPI GetDriveTypeW(LPCWSTR root)
{
    return AtExport(Sys::GetDriveTypeW, root).orAnsiWithoutSavedError(UINT(DRIVE_UNKNOWN), [=] {
        return GetDriveTypeA(AtAnsiTemp(root));
    });
}

// The four counts are not text and pass through.
BOOL WINAPI GetDiskFreeSpaceW(LPCWSTR root, LPDWORD sectorsPerCluster, LPDWORD bytesPerSector,
                              LPDWORD freeClusters, LPDWORD totalClusters)
{
    return AtExport(Sys::GetDiskFreeSpaceW, root, sectorsPerCluster, bytesPerSector, freeClusters,
        totalClusters)
        .orAnsi(FALSE, [=](AtSavedError& err) {
            return err.keep(GetDiskFreeSpaceA(
                AtAnsiTemp(root), sectorsPerCluster, bytesPerSector, freeClusters, totalClusters));
        });
}

BOOL WINAPI GetVolumeInformationW(LPCWSTR root, LPWSTR volName, DWORD volSize, LPDWORD serial,
                                  LPDWORD maxLength, LPDWORD flags, LPWSTR fsName, DWORD fsSize)
{
    return AtExport(Sys::GetVolumeInformationW, root, volName, volSize, serial, maxLength, flags,
                    fsName, fsSize)
        .orAnsi(FALSE, [=](AtSavedError& err) {
            AtStringSlot rootA, volA, fsA;
            AtWideToAnsiTemp(rootA, root);
            // The name buffers are first converted as if they held input text, read
            // no further than their size, then each is replaced by an out buffer of
            // that size.
            AtWideToAnsiTempN(volA, volName, volSize);
            AtWideToAnsiTempN(fsA, fsName, fsSize);
            if (volName) {
                AtFreeString(volA);
                AtAllocAnsiOut(volA, volSize);
            }
            if (fsName) {
                AtFreeString(fsA);
                AtAllocAnsiOut(fsA, fsSize);
            }
            BOOL r = err.keep(GetVolumeInformationA(rootA, volA, AtHeapSize(volA), serial, maxLength,
                                                    flags, fsA, AtHeapSize(fsA)));
            if (r == TRUE) {
                if (volName)
                    AtAnsiToWideOut(volA, volName, volSize);
                if (fsName)
                    AtAnsiToWideOut(fsA, fsName, fsSize);
            }
            return r;
        });
}
