// Printers: opening them, their information records, their document settings and
// their device capabilities.
#include <algorithm>
#include <cstring>

#include "core/core.h"
#include "core/records.h"

#include <winspool.h>

// The spooler's functions live in winspool.drv, which is not named like a DLL.
#define AT_SPOOLER_FUNCTION(name, failure)                                            \
    namespace Sys {                                                                   \
    static constinit AtSystemFunction<decltype(&::name)> name{                        \
        "winspool.drv", #name, (failure), &decltype(name)::template bind<name>};      \
    }

AT_SPOOLER_FUNCTION(OpenPrinterW, FALSE)
AT_SPOOLER_FUNCTION(OpenPrinterA, FALSE)
AT_SPOOLER_FUNCTION(GetPrinterW, FALSE)
AT_SPOOLER_FUNCTION(GetPrinterA, FALSE)
AT_SPOOLER_FUNCTION(EnumPrintersW, FALSE)
AT_SPOOLER_FUNCTION(EnumPrintersA, FALSE)
AT_SPOOLER_FUNCTION(DocumentPropertiesW, -1)
AT_SPOOLER_FUNCTION(DocumentPropertiesA, -1)
// 0, as a failed allocation answers: the one failure value callers test for.
AT_SPOOLER_FUNCTION(DeviceCapabilitiesW, 0)
AT_SPOOLER_FUNCTION(DeviceCapabilitiesA, 0)

namespace {

// ---- printer information records
//
// The spooler answers records whose strings lie packed in the same buffer. The
// wide records are rebuilt in the caller's buffer: first the records, then one
// packed area holding their strings (and a level-2 record's device mode) record
// by record, in field order.

// The 32-bit members of a record, in order: a string, a device mode, or a value
// copied as it is.
enum Member : char { Text = 'S', DevMode = 'D', Value = 'C' };

struct InfoLevel {
    DWORD size;
    const char* members;
};

// Levels 1, 2 and 5; any other is answered without being rebuilt.
const InfoLevel* LevelOf(DWORD level)
{
    static const InfoLevel one{sizeof(PRINTER_INFO_1W), "CSSS"};
    static const InfoLevel two{sizeof(PRINTER_INFO_2W), "SSSSSSSDSSSSCCCCCCCCC"};
    static const InfoLevel five{sizeof(PRINTER_INFO_5W), "SSCCC"};
    switch (level) {
    case 1: return &one;
    case 2: return &two;
    case 5: return &five;
    default: return nullptr;
    }
}

// Lays out the wide records, or with no destination only measures how far that
// would write. A level-2 device mode takes 212 bytes of the packed area, so the
// strings behind it land on the driver's private bytes that its conversion put
// there; those bytes still count for how far the layout reaches.
class Relayout {
public:
    Relayout(BYTE* wide, const BYTE* ansi, const InfoLevel& level, DWORD count)
        : wide(wide), ansi(ansi), level(level), pos(level.size * count), reach(pos)
    {
    }

    // `keepFlags`: the array form leaves a level-1 record's Flags as the caller's
    // buffer held it.
    void record(DWORD i, bool keepFlags)
    {
        auto* from = reinterpret_cast<const DWORD*>(ansi + i * level.size);
        auto* to = reinterpret_cast<DWORD*>(wide + i * level.size);
        for (int m = 0; level.members[m]; ++m) {
            DWORD value = from[m];
            switch (level.members[m]) {
            case Text:
                value = text(reinterpret_cast<LPCSTR>(value));
                break;
            case DevMode:
                value = devMode(reinterpret_cast<const DEVMODEA*>(value));
                break;
            default:
                if (keepFlags && level.size == sizeof(PRINTER_INFO_1W))
                    continue;
            }
            if (wide)
                to[m] = value;
        }
    }

    DWORD reached() const { return std::max(pos, reach); }

private:
    DWORD text(LPCSTR s)
    {
        if (!s)
            return 0;
        DWORD at = pos;
        int room = int(strlen(s) + 1);
        int n = wide ? MultiByteToWideChar(CP_ACP, 0, s, -1, reinterpret_cast<WCHAR*>(wide + at), room)
                     : MultiByteToWideChar(CP_ACP, 0, s, -1, nullptr, 0);
        pos += n * sizeof(WCHAR);
        return address(at);
    }

    DWORD devMode(const DEVMODEA* dm)
    {
        if (!dm)
            return 0;
        DWORD at = pos;
        if (wide)
            AtDevModeAToW(dm, reinterpret_cast<DEVMODEW*>(wide + at));
        reach = std::max(reach, at + AtDevModeWSize + dm->dmDriverExtra);
        pos += AtDevModeWSize;
        return address(at);
    }

    DWORD address(DWORD at) const { return DWORD(reinterpret_cast<UINT_PTR>(wide + at)); }

    BYTE* wide;
    const BYTE* ansi;
    const InfoLevel& level;
    DWORD pos, reach;
};

// Rebuilds `count` records of `level` from the spooler's buffer into the caller's.
// The wide records take more room than the ANSI ones the spooler fitted into the
// caller's byte count: when they would not fit, nothing is written and the caller
// learns the size they need, as from the W function.
BOOL RelayInto(BYTE* buf, DWORD cbBuf, const BYTE* ansi, DWORD level, DWORD count, bool single,
               DWORD* cbNeeded)
{
    const InfoLevel* info = LevelOf(level);
    if (!info || !count)
        return TRUE;
    Relayout measure(nullptr, ansi, *info, count);
    for (DWORD i = 0; i < count; ++i)
        measure.record(i, !single);
    if (!buf || measure.reached() > cbBuf) {
        *cbNeeded = measure.reached();
        SetLastError(ERROR_INSUFFICIENT_BUFFER);
        return FALSE;
    }
    Relayout layout(buf, ansi, *info, count);
    for (DWORD i = 0; i < count; ++i)
        layout.record(i, !single);
    return TRUE;
}

// Answers the spooler's result with the caller's sizes: on success the caller's
// own byte count, on failure twice the ANSI need, which always covers the wide one.
template <typename CallA>
BOOL PrinterInfo(AtSavedError& err, DWORD level, LPBYTE buf, DWORD cbBuf, LPDWORD cbNeeded,
                 LPDWORD returned, CallA callA)
{
    AtStringSlot bufA;
    AtAllocAnsiOut(bufA, cbBuf);
    DWORD neededA = 0, count = 1;
    BOOL r = err.keep(callA(static_cast<BYTE*>(bufA.value), &neededA, &count));
    DWORD needed = neededA * 2;
    if (r) {
        needed = cbBuf;
        if (!RelayInto(buf, cbBuf, static_cast<BYTE*>(bufA.value), level, count, !returned, &needed))
            r = err.keep(FALSE);
    }
    if (cbNeeded)
        *cbNeeded = needed;
    if (returned)
        *returned = count;
    return r;
}

// ---- device modes

// The caller's records are believed only as far as the buffer that the size query
// told the caller to make (twice the ANSI size): their count of private bytes no
// further. The out record is read in before the dialog fills it, whatever it
// holds: one not yet filled (its dmSize still 0 or short) is read as the whole
// layout when that buffer holds it.
struct BoundedRecord {
    BoundedRecord(DEVMODEW* dm, LONG sizeA, bool out) : dm(dm), extra(dm->dmDriverExtra), size(dm->dmSize)
    {
        LONG room = std::max<LONG>(2 * sizeA - LONG(AtDevModeWSize), 0);
        dm->dmDriverExtra = WORD(std::min<LONG>(extra, room));
        if (out && 2 * sizeA >= LONG(AtDevModeWSize))
            dm->dmSize = std::max<WORD>(size, AtDevModeWSize);
    }
    ~BoundedRecord()
    {
        dm->dmDriverExtra = extra;
        dm->dmSize = size;
    }
    DEVMODEW* dm;
    WORD extra, size;
};

void DevModeIn(AtStringSlot& slot, DEVMODEW* dm, LONG sizeA, bool out)
{
    AtAllocBuffer(slot, dm->dmDriverExtra + SIZE_T(sizeA));
    BoundedRecord bounded(dm, sizeA, out);
    AtDevModeWToA(static_cast<DEVMODEA*>(slot.value), dm);
}

// ---- device capabilities

// Capabilities answered as lists of fixed-size names, with each name's size.
int NameSize(WORD capability)
{
    switch (capability) {
    case DC_BINNAMES: return 24;
    case DC_PERSONALITY: return 32;
    case DC_PAPERNAMES:
    case DC_FILEDEPENDENCIES:
    case DC_MEDIAREADY:
    case DC_MEDIATYPENAMES: return 64;
    default: return 0;
    }
}

}  // namespace

// A default device mode is handed on in a record of the ANSI layout's own size,
// without the driver's private bytes.
BOOL WINAPI OpenPrinterW(LPWSTR name, LPHANDLE handle, LPPRINTER_DEFAULTSW defaults)
{
    return AtExport(Sys::OpenPrinterW, name, handle, defaults).orAnsi(FALSE, [=](AtSavedError& err) {
        AtStringSlot nameA, datatypeA;
        AtWideToAnsiTemp(nameA, name);
        PRINTER_DEFAULTSA defaultsA = {};
        DEVMODEW withoutExtra;
        DEVMODEA holding;
        if (defaults) {
            AtWideToAnsiTemp(datatypeA, defaults->pDatatype);
            defaultsA.pDatatype = datatypeA;
            if (defaults->pDevMode) {
                AtWholeDevModeW(&withoutExtra, defaults->pDevMode);
                withoutExtra.dmDriverExtra = 0;
                defaultsA.pDevMode = AtDevModeWToA(&holding, &withoutExtra);
            }
            defaultsA.DesiredAccess = defaults->DesiredAccess;
        }
        return err.keep(Sys::OpenPrinterA(nameA, handle, defaults ? &defaultsA : nullptr));
    });
}

BOOL WINAPI GetPrinterW(HANDLE printer, DWORD level, LPBYTE buf, DWORD cbBuf, LPDWORD cbNeeded)
{
    return AtExport(Sys::GetPrinterW, printer, level, buf, cbBuf, cbNeeded).orAnsi(FALSE, [=](AtSavedError& err) {
        return PrinterInfo(err, level, buf, cbBuf, cbNeeded, nullptr, [&](BYTE* bufA, DWORD* neededA, DWORD*) {
            return Sys::GetPrinterA(printer, level, bufA, cbBuf, neededA);
        });
    });
}

BOOL WINAPI EnumPrintersW(DWORD flags, LPWSTR name, DWORD level, LPBYTE buf, DWORD cbBuf,
                          LPDWORD cbNeeded, LPDWORD returned)
{
    return AtExport(Sys::EnumPrintersW, flags, name, level, buf, cbBuf, cbNeeded, returned)
        .orAnsi(FALSE, [=](AtSavedError& err) {
            AtStringSlot nameA;
            AtWideToAnsiTemp(nameA, name);
            DWORD none;
            return PrinterInfo(err, level, buf, cbBuf, cbNeeded, returned ? returned : &none,
                               [&](BYTE* bufA, DWORD* neededA, DWORD* count) {
                                   return Sys::EnumPrintersA(flags, nameA, level, bufA, cbBuf, neededA, count);
                               });
        });
}

// The size query answers twice the ANSI size: room for the wide record.
LONG WINAPI DocumentPropertiesW(HWND window, HANDLE printer, LPWSTR deviceName, PDEVMODEW output,
                                PDEVMODEW input, DWORD mode)
{
    return AtExport(Sys::DocumentPropertiesW, window, printer, deviceName, output, input, mode)
        .orAnsi(-1L, [=](AtSavedError& err) {
            AtStringSlot nameA, outA, inA;
            AtWideToAnsiTemp(nameA, deviceName);
            LONG size = err.keep(Sys::DocumentPropertiesA(window, printer, nameA, nullptr, nullptr, 0));
            if (size < 1 || mode == 0)
                return size * 2;
            if (output)
                DevModeIn(outA, output, size, true);
            if (input)
                DevModeIn(inA, input, size, false);
            LONG r = err.keep(Sys::DocumentPropertiesA(window, printer, nameA, static_cast<DEVMODEA*>(outA.value),
                                                       static_cast<DEVMODEA*>(inA.value), mode));
            if (output && r == IDOK)
                AtDevModeAToW(static_cast<DEVMODEA*>(outA.value), output);
            AtFreeBuffer(outA);
            AtFreeBuffer(inA);
            return r;
        });
}

// The caller's device mode is never passed on. A list of names is taken to have
// as many entries as the printer has bins, and comes back in 24-character steps;
// the bins themselves, and every output that is not a list of names, are the same
// in both character sets and reach the caller's buffer directly.
int WINAPI DeviceCapabilitiesW(LPCWSTR device, LPCWSTR port, WORD capability, LPWSTR output,
                               const DEVMODEW* devMode)
{
    return AtExport(Sys::DeviceCapabilitiesW, device, port, capability, output, devMode)
        .orAnsi(0, [=](AtSavedError& err) {
            AtStringSlot deviceA, portA, bufA;
            AtWideToAnsiTemp(deviceA, device);
            AtWideToAnsiTemp(portA, port);
            const int nameSize = NameSize(capability);
            if (capability == DC_BINS || !output || !nameSize)
                return err.keep(Sys::DeviceCapabilitiesA(deviceA, portA, capability,
                                                         reinterpret_cast<LPSTR>(output), nullptr));
            int n = err.keep(Sys::DeviceCapabilitiesA(deviceA, portA, DC_BINS, nullptr, nullptr));
            if (n <= 0)
                return n;
            // The spooler writes as many names as it has, each of its own size: a
            // list longer than the bins is answered 0 without being fetched.
            if (capability != DC_BINNAMES &&
                err.keep(Sys::DeviceCapabilitiesA(deviceA, portA, capability, nullptr, nullptr)) != n)
                return 0;
            AtAllocBuffer(bufA, SIZE_T(n) * nameSize + 1);
            memset(bufA.value, 0, 4);
            int r = err.keep(Sys::DeviceCapabilitiesA(deviceA, portA, capability, bufA, nullptr));
            if (r == 0 || r != n)
                return 0;
            const char* from = bufA;
            LPWSTR to = output;
            for (int i = 0; i < n; ++i, from += 24, to += 24) {
                char name[25] = {};  // an entry of exactly 24 bytes is still terminated
                memcpy(name, from, 24);
                MultiByteToWideChar(CP_ACP, 0, name, -1, to, 24);
            }
            return r;
        });
}
