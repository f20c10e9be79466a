// The print and page-setup dialogs, with the device mode and device names that
// they carry in global memory objects.
#include <algorithm>
#include <cstring>
#include <cwchar>
#include <string>

#include "core/core.h"
#include "core/records.h"

AT_SYSTEM_FUNCTION(comdlg32, PrintDlgW, FALSE)
AT_SYSTEM_FUNCTION(comdlg32, PrintDlgA, FALSE)
AT_SYSTEM_FUNCTION(comdlg32, PageSetupDlgW, FALSE)
AT_SYSTEM_FUNCTION(comdlg32, PageSetupDlgA, FALSE)

namespace {

constexpr UINT GlobalFlags = GMEM_MOVEABLE | GMEM_ZEROINIT;
constexpr SIZE_T DevNamesHeader = 8;  // four 16-bit values

HGLOBAL NewGlobal(SIZE_T size)
{
    HGLOBAL h = GlobalAlloc(GlobalFlags, size);
    if (!h) {
        SetLastError(ERROR_OUTOFMEMORY);
        throw CAtException(CAtException::OutOfMemory);
    }
    return h;
}

// A locked global object, unlocked when the scope ends.
template <typename T>
class Locked {
public:
    explicit Locked(HGLOBAL h) : h(h), p(static_cast<T*>(GlobalLock(h))) {}
    ~Locked()
    {
        if (p)
            GlobalUnlock(h);
    }
    Locked(const Locked&) = delete;
    Locked& operator=(const Locked&) = delete;

    T* operator->() const { return p; }
    T* get() const { return p; }
    SIZE_T size() const { return p ? GlobalSize(h) : 0; }

private:
    HGLOBAL h;
    T* p;
};

// ---- device modes

// The ANSI object holds the converted record and the driver's private bytes. A
// caller's object too small for the private bytes it announces gives none.
HGLOBAL DevModeToAnsi(HGLOBAL wide)
{
    if (!wide)
        return nullptr;
    Locked<DEVMODEW> w(wide);
    if (!w.get())
        return nullptr;
    // The private-byte count is read only from an object that holds the record.
    const bool whole = w.size() >= AtDevModeWSize && w.size() >= AtDevModeWSize + w->dmDriverExtra;
    HGLOBAL ansi = NewGlobal((whole ? w->dmDriverExtra : 0) + AtDevModeASize);
    Locked<DEVMODEA> a(ansi);
    if (whole) {
        AtDevModeWToA(a.get(), w.get());
    } else {
        DEVMODEW head = {};
        memcpy(&head, w.get(), std::min<SIZE_T>(w.size(), AtDevModeWSize));
        head.dmDriverExtra = 0;
        AtDevModeWToA(a.get(), &head);
    }
    return ansi;
}

// Into the caller's object when it is still there and holds the record, otherwise
// into a new one (made before the old one is let go).
HGLOBAL DevModeToWide(HGLOBAL ansi, HGLOBAL wide)
{
    if (!ansi)
        return wide;
    Locked<DEVMODEA> a(ansi);
    if (!a.get())
        return wide;
    const SIZE_T size = a->dmDriverExtra + AtDevModeWSize;
    if (!wide || GlobalSize(wide) < size) {
        HGLOBAL fresh = NewGlobal(size);
        if (wide)
            GlobalFree(wide);
        wide = fresh;
    }
    Locked<DEVMODEW> w(wide);
    AtDevModeAToW(a.get(), w.get());
    return wide;
}

// ---- device names

// The offsets count characters from the start of the object, header included.
template <typename Char>
const Char* NameAt(const Locked<DEVNAMES>& names, WORD offset)
{
    static const Char empty[1] = {};
    const SIZE_T count = names.size() / sizeof(Char);
    const Char* base = reinterpret_cast<const Char*>(names.get());
    // A name that starts or ends outside the object reads as empty.
    if (offset >= count || !std::char_traits<Char>::find(base + offset, count - offset, Char(0)))
        return empty;
    return base + offset;
}

HGLOBAL DevNamesToAnsi(HGLOBAL wide)
{
    if (!wide)
        return nullptr;
    Locked<DEVNAMES> w(wide);
    if (!w.get())
        return nullptr;
    // An object shorter than the header has zeros for the values it lacks.
    DEVNAMES header = {};
    memcpy(&header, w.get(), std::min<SIZE_T>(w.size(), DevNamesHeader));
    AtStringSlot driver, device, output;
    AtWideToAnsiTemp(driver, NameAt<WCHAR>(w, header.wDriverOffset));
    AtWideToAnsiTemp(device, NameAt<WCHAR>(w, header.wDeviceOffset));
    AtWideToAnsiTemp(output, NameAt<WCHAR>(w, header.wOutputOffset));
    const SIZE_T lengths[] = {strlen(driver) + 1, strlen(device) + 1, strlen(output) + 1};
    HGLOBAL ansi = NewGlobal(DevNamesHeader + lengths[0] + lengths[1] + lengths[2]);
    Locked<DEVNAMES> a(ansi);
    a->wDriverOffset = WORD(DevNamesHeader);
    a->wDeviceOffset = WORD(a->wDriverOffset + lengths[0]);
    a->wOutputOffset = WORD(a->wDeviceOffset + lengths[1]);
    a->wDefault = header.wDefault;
    char* base = reinterpret_cast<char*>(a.get());
    memcpy(base + a->wDriverOffset, driver, lengths[0]);
    memcpy(base + a->wDeviceOffset, device, lengths[1]);
    memcpy(base + a->wOutputOffset, output, lengths[2]);
    return ansi;
}

// The caller's object is reused as it is when the names fit it; a new one is
// sized (characters of the three names + 8) * 2 + 1 bytes.
HGLOBAL DevNamesToWide(HGLOBAL ansi, HGLOBAL wide)
{
    if (!ansi)
        return wide;
    Locked<DEVNAMES> a(ansi);
    if (!a.get())
        return wide;
    AtStringSlot driver, device, output;
    AtAnsiToWideTemp(driver, NameAt<char>(a, a->wDriverOffset));
    AtAnsiToWideTemp(device, NameAt<char>(a, a->wDeviceOffset));
    AtAnsiToWideTemp(output, NameAt<char>(a, a->wOutputOffset));
    const SIZE_T lengths[] = {wcslen(driver) + 1, wcslen(device) + 1, wcslen(output) + 1};
    const SIZE_T characters = lengths[0] + lengths[1] + lengths[2];
    if (!wide || GlobalSize(wide) < DevNamesHeader + characters * sizeof(WCHAR)) {
        HGLOBAL fresh = NewGlobal((characters + DevNamesHeader) * sizeof(WCHAR) + 1);
        if (wide)
            GlobalFree(wide);
        wide = fresh;
    }
    Locked<DEVNAMES> w(wide);
    w->wDriverOffset = WORD(DevNamesHeader / sizeof(WCHAR));
    w->wDeviceOffset = WORD(w->wDriverOffset + lengths[0]);
    w->wOutputOffset = WORD(w->wDeviceOffset + lengths[1]);
    w->wDefault = a->wDefault;
    WCHAR* base = reinterpret_cast<WCHAR*>(w.get());
    wmemcpy(base + w->wDriverOffset, driver, lengths[0]);
    wmemcpy(base + w->wDeviceOffset, device, lengths[1]);
    wmemcpy(base + w->wOutputOffset, output, lengths[2]);
    return wide;
}

// The device mode and names of an ANSI print or page-setup record: made from the
// caller's going in, and freed, whichever objects the dialog left in the record,
// when the dialog function returns.
template <typename RecordA>
class PrinterObjects {
public:
    explicit PrinterObjects(RecordA& a) : a(a) {}

    template <typename RecordW>
    void convertIn(const RecordW* w)
    {
        a.hDevMode = givenMode = DevModeToAnsi(w->hDevMode);
        a.hDevNames = givenNames = DevNamesToAnsi(w->hDevNames);
    }
    ~PrinterObjects()
    {
        if (a.hDevNames)
            GlobalFree(a.hDevNames);
        if (a.hDevMode)
            GlobalFree(a.hDevMode);
    }
    PrinterObjects(const PrinterObjects&) = delete;
    PrinterObjects& operator=(const PrinterObjects&) = delete;

    // An object the dialog replaced is replaced in the caller's record too.
    template <typename RecordW>
    void copyBack(RecordW* w) const
    {
        if (a.hDevMode != givenMode) {
            if (w->hDevMode)
                GlobalFree(w->hDevMode);
            w->hDevMode = nullptr;
        }
        if (a.hDevNames != givenNames) {
            if (w->hDevNames)
                GlobalFree(w->hDevNames);
            w->hDevNames = nullptr;
        }
        w->hDevMode = DevModeToWide(a.hDevMode, w->hDevMode);
        w->hDevNames = DevNamesToWide(a.hDevNames, w->hDevNames);
    }

private:
    RecordA& a;
    HGLOBAL givenMode = nullptr, givenNames = nullptr;
};

// A template name is converted only when its flag enables it.
void TemplateIn(AtStringSlot& slot, DWORD flags, DWORD enable, LPCWSTR name)
{
    if (flags & enable)
        AtWideToAnsiTemp(slot, name);
}

}  // namespace

BOOL WINAPI PrintDlgW(LPPRINTDLGW pd)
{
    return AtExport(Sys::PrintDlgW, pd).orAnsiWithoutSavedError(FALSE, [=] {
        if (!pd)
            return Sys::PrintDlgA(nullptr);
        PRINTDLGA a = {};
        a.lStructSize = sizeof a;
        a.hwndOwner = pd->hwndOwner;
        PrinterObjects<PRINTDLGA> objects(a);
        objects.convertIn(pd);
        a.hDC = pd->hDC;
        a.Flags = pd->Flags;
        a.nFromPage = pd->nFromPage;
        a.nToPage = pd->nToPage;
        a.nMinPage = pd->nMinPage;
        a.nMaxPage = pd->nMaxPage;
        a.nCopies = pd->nCopies;
        a.hInstance = pd->hInstance;
        a.lCustData = pd->lCustData;
        a.lpfnPrintHook = pd->lpfnPrintHook;
        a.lpfnSetupHook = pd->lpfnSetupHook;
        AtStringSlot printTemplate, setupTemplate;
        TemplateIn(printTemplate, pd->Flags, PD_ENABLEPRINTTEMPLATE, pd->lpPrintTemplateName);
        a.lpPrintTemplateName = printTemplate;
        TemplateIn(setupTemplate, pd->Flags, PD_ENABLESETUPTEMPLATE, pd->lpSetupTemplateName);
        a.lpSetupTemplateName = setupTemplate;
        BOOL r = Sys::PrintDlgA(&a);
        if (r != 1)
            return r;
        pd->lStructSize = sizeof a;
        pd->hwndOwner = a.hwndOwner;
        objects.copyBack(pd);
        pd->hDC = a.hDC;
        pd->Flags = a.Flags;
        pd->nFromPage = a.nFromPage;
        pd->nToPage = a.nToPage;
        pd->nMinPage = a.nMinPage;
        pd->nMaxPage = a.nMaxPage;
        pd->nCopies = a.nCopies;
        pd->hInstance = a.hInstance;
        pd->lCustData = a.lCustData;
        pd->lpfnPrintHook = a.lpfnPrintHook;
        pd->lpfnSetupHook = a.lpfnSetupHook;
        pd->hPrintTemplate = a.hPrintTemplate;
        pd->hSetupTemplate = a.hSetupTemplate;
        return r;
    });
}

BOOL WINAPI PageSetupDlgW(LPPAGESETUPDLGW psd)
{
    return AtExport(Sys::PageSetupDlgW, psd).orAnsiWithoutSavedError(FALSE, [=] {
        if (!psd)
            return Sys::PageSetupDlgA(nullptr);
        PAGESETUPDLGA a = {};
        a.lStructSize = sizeof a;
        a.hwndOwner = psd->hwndOwner;
        PrinterObjects<PAGESETUPDLGA> objects(a);
        objects.convertIn(psd);
        a.Flags = psd->Flags;
        a.ptPaperSize = psd->ptPaperSize;
        a.rtMinMargin = psd->rtMinMargin;
        a.rtMargin = psd->rtMargin;
        a.hInstance = psd->hInstance;
        a.lCustData = psd->lCustData;
        a.lpfnPageSetupHook = psd->lpfnPageSetupHook;
        a.lpfnPagePaintHook = psd->lpfnPagePaintHook;
        AtStringSlot templateA;
        TemplateIn(templateA, psd->Flags, PSD_ENABLEPAGESETUPTEMPLATE, psd->lpPageSetupTemplateName);
        a.lpPageSetupTemplateName = templateA;
        BOOL r = Sys::PageSetupDlgA(&a);
        if (r != 1)
            return r;
        psd->lStructSize = sizeof a;
        psd->hwndOwner = a.hwndOwner;
        objects.copyBack(psd);
        psd->Flags = a.Flags;
        psd->ptPaperSize = a.ptPaperSize;
        psd->rtMinMargin = a.rtMinMargin;
        psd->rtMargin = a.rtMargin;
        psd->hInstance = a.hInstance;
        psd->lCustData = a.lCustData;
        psd->lpfnPageSetupHook = a.lpfnPageSetupHook;
        psd->lpfnPagePaintHook = a.lpfnPagePaintHook;
        psd->hPageSetupTemplate = a.hPageSetupTemplate;
        return r;
    });
}
