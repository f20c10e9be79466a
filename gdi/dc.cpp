// Device contexts, documents, metafiles and colour profiles: the members that name
// devices, documents, files and profiles.
#include "gdi/gdi.h"

AT_SYSTEM_FUNCTION(gdi32, CreateDCW, 0)
AT_SYSTEM_FUNCTION(gdi32, CreateDCA, 0)
AT_SYSTEM_FUNCTION(gdi32, CreateICW, 0)
AT_SYSTEM_FUNCTION(gdi32, CreateICA, 0)
AT_SYSTEM_FUNCTION(gdi32, ResetDCW, 0)
AT_SYSTEM_FUNCTION(gdi32, ResetDCA, 0)
AT_SYSTEM_FUNCTION(gdi32, StartDocW, 0)
AT_SYSTEM_FUNCTION(gdi32, StartDocA, 0)
AT_SYSTEM_FUNCTION(gdi32, CopyMetaFileW, 0)
AT_SYSTEM_FUNCTION(gdi32, CopyMetaFileA, 0)
AT_SYSTEM_FUNCTION(gdi32, CopyEnhMetaFileW, 0)
AT_SYSTEM_FUNCTION(gdi32, CopyEnhMetaFileA, 0)
AT_SYSTEM_FUNCTION(gdi32, GetMetaFileW, 0)
AT_SYSTEM_FUNCTION(gdi32, GetMetaFileA, 0)
AT_SYSTEM_FUNCTION(gdi32, GetEnhMetaFileW, 0)
AT_SYSTEM_FUNCTION(gdi32, GetEnhMetaFileA, 0)
AT_SYSTEM_FUNCTION(gdi32, CreateEnhMetaFileW, 0)
AT_SYSTEM_FUNCTION(gdi32, CreateEnhMetaFileA, 0)
AT_SYSTEM_FUNCTION(gdi32, GetEnhMetaFileDescriptionW, -1)
AT_SYSTEM_FUNCTION(gdi32, GetEnhMetaFileDescriptionA, -1)
AT_SYSTEM_FUNCTION(gdi32, GetICMProfileW, FALSE)
AT_SYSTEM_FUNCTION(gdi32, GetICMProfileA, FALSE)
AT_SYSTEM_FUNCTION(gdi32, SetICMProfileW, FALSE)
AT_SYSTEM_FUNCTION(gdi32, SetICMProfileA, FALSE)
AT_SYSTEM_FUNCTION(gdi32, EnumICMProfilesW, -1)
AT_SYSTEM_FUNCTION(gdi32, EnumICMProfilesA, -1)

namespace
{

// The wide callback and its lParam, on EnumICMProfilesW's stack while the ANSI
// enumeration runs.
struct ProfileEnumContext {
    ICMENUMPROCW callback;
    LPARAM lParam;
};

// The output argument is never passed on: a device context always draws to its
// device, on both paths.
template <typename CallA>
HDC DeviceContextA(LPCWSTR driver, LPCWSTR device, const DEVMODEW* devMode, CallA callA)
{
    AtStringSlot driverA, deviceA, devModeA;
    AtWideToAnsiTemp(driverA, driver);
    AtWideToAnsiTemp(deviceA, device);
    AtDevModeTemp(devModeA, devMode);
    return callA(static_cast<char*>(driverA), static_cast<char*>(deviceA),
        static_cast<DEVMODEA*>(devModeA.value));
}

// The A function reads a description as two strings, an application's name and a
// picture's title. Only the first is converted; an empty second follows it inside
// the block, so that the A function reads nothing beyond.
void DescriptionTemp(AtStringSlot& slot, LPCWSTR description)
{
    if (AtIsIntegerValue(description)) {
        slot.value = const_cast<WCHAR*>(description);
        return;
    }
    int size = WideCharToMultiByte(CP_ACP, 0, description, -1, nullptr, 0, nullptr, nullptr);
    if (size < 1)
        size = 1;
    slot.value = AtAlloc(size + 1);
    char* text = slot;
    if (!WideCharToMultiByte(CP_ACP, 0, description, -1, text, size, nullptr, nullptr))
        text[0] = '\0';
    text[size] = '\0';
}

} // namespace

HDC WINAPI CreateDCW(LPCWSTR driver, LPCWSTR device, LPCWSTR, const DEVMODEW* devMode)
{
    return AtExport(Sys::CreateDCW, driver, device, LPCWSTR(nullptr), devMode)
        .orAnsiWithoutSavedError(nullptr, [=] {
            return DeviceContextA(
                driver, device, devMode, [](LPCSTR driverA, LPCSTR deviceA, DEVMODEA* devModeA) {
                    return Sys::CreateDCA(driverA, deviceA, nullptr, devModeA);
                });
        });
}

HDC WINAPI CreateICW(LPCWSTR driver, LPCWSTR device, LPCWSTR, const DEVMODEW* devMode)
{
    return AtExport(Sys::CreateICW, driver, device, LPCWSTR(nullptr), devMode)
        .orAnsiWithoutSavedError(nullptr, [=] {
            return DeviceContextA(
                driver, device, devMode, [](LPCSTR driverA, LPCSTR deviceA, DEVMODEA* devModeA) {
                    return Sys::CreateICA(driverA, deviceA, nullptr, devModeA);
                });
        });
}

HDC WINAPI ResetDCW(HDC hdc, const DEVMODEW* devMode)
{
    return AtExport(Sys::ResetDCW, hdc, devMode).orAnsiWithoutSavedError(nullptr, [=] {
        AtStringSlot devModeA;
        AtDevModeTemp(devModeA, devMode);
        return Sys::ResetDCA(hdc, static_cast<DEVMODEA*>(devModeA.value));
    });
}

// cbSize is handed on as the caller gave it; the fields it does not cover are not read.
int WINAPI StartDocW(HDC hdc, const DOCINFOW* doc)
{
    return AtExport(Sys::StartDocW, hdc, doc).orAnsi(0, [=](AtSavedError& err) {
        if (!doc)
            return err.keep(Sys::StartDocA(hdc, nullptr));
        const bool hasType = doc->cbSize >= int(sizeof(DOCINFOW));
        AtStringSlot nameA, outputA, typeA;
        AtWideToAnsiTemp(nameA, doc->lpszDocName);
        AtWideToAnsiTemp(outputA, doc->lpszOutput);
        AtWideToAnsiTemp(typeA, hasType ? doc->lpszDatatype : nullptr);
        DOCINFOA docA { doc->cbSize, nameA, outputA, typeA, hasType ? doc->fwType : 0 };
        return err.keep(Sys::StartDocA(hdc, &docA));
    });
}

// A null file name copies into memory.
HMETAFILE WINAPI CopyMetaFileW(HMETAFILE metafile, LPCWSTR file)
{
    return AtExport(Sys::CopyMetaFileW, metafile, file).orAnsi(nullptr, [=](AtSavedError& err) {
        return err.keep(Sys::CopyMetaFileA(metafile, AtAnsiTemp(file)));
    });
}

HENHMETAFILE WINAPI CopyEnhMetaFileW(HENHMETAFILE metafile, LPCWSTR file)
{
    return AtExport(Sys::CopyEnhMetaFileW, metafile, file).orAnsi(nullptr, [=](AtSavedError& err) {
        return err.keep(Sys::CopyEnhMetaFileA(metafile, AtAnsiTemp(file)));
    });
}

HMETAFILE WINAPI GetMetaFileW(LPCWSTR file)
{
    return AtExport(Sys::GetMetaFileW, file).orAnsiWithoutSavedError(nullptr, [=] {
        return Sys::GetMetaFileA(AtAnsiTemp(file));
    });
}

HENHMETAFILE WINAPI GetEnhMetaFileW(LPCWSTR file)
{
    return AtExport(Sys::GetEnhMetaFileW, file).orAnsiWithoutSavedError(nullptr, [=] {
        return Sys::GetEnhMetaFileA(AtAnsiTemp(file));
    });
}

// The description is converted as one string: the application's name, before its
// first NUL, is all that reaches the A function; the picture's title is lost.
HDC WINAPI CreateEnhMetaFileW(HDC reference, LPCWSTR file, const RECT* frame, LPCWSTR description)
{
    return AtExport(Sys::CreateEnhMetaFileW, reference, file, frame, description)
        .orAnsiWithoutSavedError(nullptr, [=] {
            AtStringSlot fileA, descriptionA;
            AtWideToAnsiTemp(fileA, file);
            DescriptionTemp(descriptionA, description);
            return Sys::CreateEnhMetaFileA(reference, fileA, frame, descriptionA);
        });
}

// The description holds NULs of its own, so exactly the bytes the A function counted
// are converted. Without a buffer its answer, in ANSI bytes, reaches the caller.
UINT WINAPI GetEnhMetaFileDescriptionW(HENHMETAFILE metafile, UINT count, LPWSTR buf)
{
    return AtExport(Sys::GetEnhMetaFileDescriptionW, metafile, count, buf)
        .orAnsiWithoutSavedError(UINT(-1), [=] {
            AtStringSlot bufA;
            AtAllocAnsiOut(bufA, count);
            UINT r = Sys::GetEnhMetaFileDescriptionA(metafile, UINT(AtHeapSize(bufA)), bufA);
            // A failure counted no bytes: it reaches the caller with the A call's error.
            if (r == GDI_ERROR || (!buf && r > 0))
                return r;
            return UINT(AtAnsiToWideOutN(bufA, buf, count, r));
        });
}

// The caller's size is never updated; the name is converted whatever the A function
// answered, from a buffer that reads as empty until it writes it.
BOOL WINAPI GetICMProfileW(HDC hdc, LPDWORD size, LPWSTR file)
{
    return AtExport(Sys::GetICMProfileW, hdc, size, file).orAnsiWithoutSavedError(FALSE, [=] {
        if (!size)
            return Sys::GetICMProfileA(hdc, nullptr, nullptr);
        AtStringSlot fileA;
        AtAllocEmptyAnsiOut(fileA, *size);
        DWORD sizeA = DWORD(AtHeapSize(fileA));
        BOOL r = Sys::GetICMProfileA(hdc, &sizeA, fileA);
        AtAnsiToWideOut(fileA, file, *size);
        return r;
    });
}

BOOL WINAPI SetICMProfileW(HDC hdc, LPWSTR file)
{
    return AtExport(Sys::SetICMProfileW, hdc, file).orAnsiWithoutSavedError(FALSE, [=] {
        return Sys::SetICMProfileA(hdc, AtAnsiTemp(file));
    });
}

// A name that cannot be copied ends the enumeration.
int CALLBACK AtICMEnumFuncFromAToW(LPSTR file, LPARAM context)
{
    return AtTranslate(0, [=] {
        auto* wide = reinterpret_cast<const ProfileEnumContext*>(context);
        AtStringSlot fileW;
        AtAnsiToWideTemp(fileW, file);
        return wide->callback(fileW, wide->lParam);
    });
}

int WINAPI EnumICMProfilesW(HDC hdc, ICMENUMPROCW callback, LPARAM lParam)
{
    return AtExport(Sys::EnumICMProfilesW, hdc, callback, lParam).orAnsiUnguarded([=] {
        ProfileEnumContext context { callback, lParam };
        return Sys::EnumICMProfilesA(hdc, AtICMEnumFuncFromAToW, LPARAM(&context));
    });
}
