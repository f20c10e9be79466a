// System parameters: the actions whose records carry fonts or strings are
// converted; every other action goes to the A function as it is.
#include <cstring>

#include "core/core.h"
#include "core/records.h"

AT_SYSTEM_FUNCTION(user32, SystemParametersInfoW, FALSE)
AT_SYSTEM_FUNCTION(user32, SystemParametersInfoA, FALSE)

namespace
{

// The sizes the ANSI platforms know, and the sizes a caller's wide record must have.
constexpr UINT NonClientMetricsSizeW = 500, NonClientMetricsSizeA = 340;
constexpr UINT IconMetricsSizeW = 108, IconMetricsSizeA = 76;
constexpr UINT HighContrastSize = 12;
constexpr UINT SoundSentrySize = 48;
constexpr UINT SerialKeysSize = 28;
constexpr UINT LogFontSizeA = 60;
constexpr UINT LogFontMinimum = 4;
// Strings the system writes into records carry no size: they get a path's room.
constexpr DWORD NameRoom = 260;

static_assert(sizeof(NONCLIENTMETRICSW) == NonClientMetricsSizeW);
static_assert(sizeof(NONCLIENTMETRICSA) == NonClientMetricsSizeA);
static_assert(sizeof(ICONMETRICSW) == IconMetricsSizeW);
static_assert(sizeof(ICONMETRICSA) == IconMetricsSizeA);

template <typename To, typename From> void CopyNonClientNumbers(To& to, const From& from)
{
    to.iBorderWidth = from.iBorderWidth;
    to.iScrollWidth = from.iScrollWidth;
    to.iScrollHeight = from.iScrollHeight;
    to.iCaptionWidth = from.iCaptionWidth;
    to.iCaptionHeight = from.iCaptionHeight;
    to.iSmCaptionWidth = from.iSmCaptionWidth;
    to.iSmCaptionHeight = from.iSmCaptionHeight;
    to.iMenuWidth = from.iMenuWidth;
    to.iMenuHeight = from.iMenuHeight;
}

void AtNonClientMetricsAToW(const NONCLIENTMETRICSA& a, NONCLIENTMETRICSW& w)
{
    w.cbSize = NonClientMetricsSizeW;
    CopyNonClientNumbers(w, a);
    AtLogFontAToW(&a.lfCaptionFont, &w.lfCaptionFont);
    AtLogFontAToW(&a.lfSmCaptionFont, &w.lfSmCaptionFont);
    AtLogFontAToW(&a.lfMenuFont, &w.lfMenuFont);
    AtLogFontAToW(&a.lfStatusFont, &w.lfStatusFont);
    AtLogFontAToW(&a.lfMessageFont, &w.lfMessageFont);
}

void AtNonClientMetricsWToA(const NONCLIENTMETRICSW& w, NONCLIENTMETRICSA& a)
{
    a.cbSize = NonClientMetricsSizeA;
    CopyNonClientNumbers(a, w);
    AtLogFontWToA(&a.lfCaptionFont, &w.lfCaptionFont);
    AtLogFontWToA(&a.lfSmCaptionFont, &w.lfSmCaptionFont);
    AtLogFontWToA(&a.lfMenuFont, &w.lfMenuFont);
    AtLogFontWToA(&a.lfStatusFont, &w.lfStatusFont);
    AtLogFontWToA(&a.lfMessageFont, &w.lfMessageFont);
}

void AtIconMetricsWToA(const ICONMETRICSW& w, ICONMETRICSA& a)
{
    a.cbSize = IconMetricsSizeA;
    a.iHorzSpacing = w.iHorzSpacing;
    a.iVertSpacing = w.iVertSpacing;
    a.iTitleWrap = w.iTitleWrap;
    AtLogFontWToA(&a.lfFont, &w.lfFont);
}

// The caller's cbSize stays as it was.
void AtIconMetricsAToW(const ICONMETRICSA& a, ICONMETRICSW& w)
{
    w.iHorzSpacing = a.iHorzSpacing;
    w.iVertSpacing = a.iVertSpacing;
    w.iTitleWrap = a.iTitleWrap;
    AtLogFontAToW(&a.lfFont, &w.lfFont);
}

template <typename Record> bool Declares(const void* pv, UINT size)
{
    return static_cast<const Record*>(pv)->cbSize >= size;
}

// A size test that fails answers FALSE and leaves the last error as it was.
BOOL Refuse(AtSavedError& err)
{
    err.value = GetLastError();
    return FALSE;
}

// The serial port's name goes in as a string, but the system writes the active
// port's name back into it: the copy has a path's room at least.
void PortNameIn(AtStringSlot& slot, LPCWSTR port)
{
    if (AtIsIntegerValue(port)) {
        slot.value = const_cast<WCHAR*>(port);
        return;
    }
    int size = WideCharToMultiByte(CP_ACP, 0, port, -1, nullptr, 0, nullptr, nullptr);
    AtAllocBuffer(slot, size > int(NameRoom) ? size : NameRoom);
    if (!WideCharToMultiByte(CP_ACP, 0, port, -1, slot, AtHeapSize(slot), nullptr, nullptr))
        *static_cast<char*>(slot) = '\0';
}

BOOL AnsiAction(UINT action, UINT param, PVOID pv, UINT winIni, AtSavedError& err)
{
    auto callA = [&](UINT paramA, PVOID pvA) {
        return err.keep(Sys::SystemParametersInfoA(action, paramA, pvA, winIni));
    };
    // A missing record is the system's to refuse: none of the actions below reads it.
    if (!pv && action != SPI_LANGDRIVER && action != SPI_SETDESKWALLPAPER)
        return callA(param, pv);
    switch (action) {
    case SPI_LANGDRIVER: { // read as a string, as the ANSI platforms answer it
        AtStringSlot name;
        AtAllocEmptyAnsiOut(name, NameRoom);
        BOOL ok = callA(param, name);
        if (ok)
            AtAnsiToWideOut(name, static_cast<LPWSTR>(pv), NameRoom);
        return ok;
    }
    case SPI_SETDESKWALLPAPER:
        return callA(param, AtAnsiTemp(static_cast<LPCWSTR>(pv)));
    case SPI_GETICONTITLELOGFONT: {
        if (param < LogFontMinimum)
            return Refuse(err);
        LOGFONTA a;
        BOOL ok = callA(LogFontSizeA, &a);
        if (ok) {
            LOGFONTW w;
            AtLogFontAToW(&a, &w);
            memcpy(pv, &w, param < sizeof w ? param : sizeof w);
        }
        return ok;
    }
    case SPI_SETICONTITLELOGFONT: {
        if (param < LogFontMinimum)
            return Refuse(err);
        LOGFONTW w = {};
        memcpy(&w, pv, param < sizeof w ? param : sizeof w);
        LOGFONTA a;
        AtLogFontWToA(&a, &w);
        return callA(LogFontSizeA, &a);
    }
    case SPI_GETNONCLIENTMETRICS: {
        if (!Declares<NONCLIENTMETRICSW>(pv, NonClientMetricsSizeW))
            return Refuse(err);
        NONCLIENTMETRICSA a;
        a.cbSize = NonClientMetricsSizeA;
        BOOL ok = callA(param, &a);
        if (ok)
            AtNonClientMetricsAToW(a, *static_cast<NONCLIENTMETRICSW*>(pv));
        return ok;
    }
    case SPI_SETNONCLIENTMETRICS: {
        NONCLIENTMETRICSA a;
        AtNonClientMetricsWToA(*static_cast<const NONCLIENTMETRICSW*>(pv), a);
        return callA(param, &a);
    }
    case SPI_GETICONMETRICS: {
        if (!Declares<ICONMETRICSW>(pv, IconMetricsSizeW))
            return Refuse(err);
        ICONMETRICSA a;
        a.cbSize = IconMetricsSizeA;
        BOOL ok = callA(param, &a);
        if (ok)
            AtIconMetricsAToW(a, *static_cast<ICONMETRICSW*>(pv));
        return ok;
    }
    case SPI_SETICONMETRICS: {
        if (!Declares<ICONMETRICSW>(pv, IconMetricsSizeW))
            return Refuse(err);
        ICONMETRICSA a;
        AtIconMetricsWToA(*static_cast<const ICONMETRICSW*>(pv), a);
        return callA(param, &a);
    }
    // Only the numbers come back: neither port name nor iActive.
    case SPI_GETSERIALKEYS: {
        auto* w = static_cast<SERIALKEYSW*>(pv);
        if (!Declares<SERIALKEYSW>(pv, SerialKeysSize))
            return Refuse(err);
        AtStringSlot port;
        PortNameIn(port, w->lpszActivePort);
        SERIALKEYSA a = { SerialKeysSize, 0, port, nullptr, 0, 0, 0 };
        BOOL ok = callA(param, &a);
        if (ok) {
            w->dwFlags = a.dwFlags;
            w->iBaudRate = a.iBaudRate;
            w->iPortState = a.iPortState;
        }
        return ok;
    }
    // The caller's lpszPort is not passed.
    case SPI_SETSERIALKEYS: {
        auto* w = static_cast<const SERIALKEYSW*>(pv);
        if (!Declares<SERIALKEYSW>(pv, SerialKeysSize))
            return Refuse(err);
        AtStringSlot port;
        AtWideToAnsiTemp(port, w->lpszActivePort);
        SERIALKEYSA a = { SerialKeysSize, w->dwFlags, port, nullptr, w->iBaudRate, w->iPortState,
            w->iActive };
        return callA(param, &a);
    }
    // The effect's ordinal reads 0 whatever the system holds.
    case SPI_GETSOUNDSENTRY: {
        auto* w = static_cast<SOUNDSENTRYW*>(pv);
        AtStringSlot dll;
        AtAllocEmptyAnsiOut(dll, NameRoom);
        if (!Declares<SOUNDSENTRYW>(pv, SoundSentrySize))
            return Refuse(err);
        SOUNDSENTRYA a = {};
        a.cbSize = SoundSentrySize;
        a.lpszWindowsEffectDLL = dll;
        BOOL ok = callA(param, &a);
        if (ok) {
            memcpy(&w->dwFlags, &a.dwFlags,
                offsetof(SOUNDSENTRYA, lpszWindowsEffectDLL) - offsetof(SOUNDSENTRYA, dwFlags));
            w->cbSize = SoundSentrySize;
            if (a.lpszWindowsEffectDLL)
                AtAnsiToWideOut(dll, w->lpszWindowsEffectDLL, NameRoom);
            else
                w->lpszWindowsEffectDLL = nullptr;
            w->iWindowsEffectOrdinal = 0;
        }
        return ok;
    }
    case SPI_SETSOUNDSENTRY: {
        auto* w = static_cast<const SOUNDSENTRYW*>(pv);
        if (!Declares<SOUNDSENTRYW>(pv, SoundSentrySize))
            return Refuse(err);
        AtStringSlot dll;
        AtWideToAnsiTemp(dll, w->lpszWindowsEffectDLL);
        SOUNDSENTRYA a;
        memcpy(&a.dwFlags, &w->dwFlags,
            offsetof(SOUNDSENTRYA, lpszWindowsEffectDLL) - offsetof(SOUNDSENTRYA, dwFlags));
        a.cbSize = SoundSentrySize;
        a.lpszWindowsEffectDLL = dll;
        a.iWindowsEffectOrdinal = w->iWindowsEffectOrdinal;
        return callA(param, &a);
    }
    // The record states no size for the scheme's name: it is converted with room for
    // the name's bytes without their NUL, so a name of single-byte characters does
    // not fit and stays unconverted. The call's result is the A function's all the
    // same.
    case SPI_GETHIGHCONTRAST: {
        auto* w = static_cast<HIGHCONTRASTW*>(pv);
        AtStringSlot scheme;
        AtAllocEmptyAnsiOut(scheme, NameRoom);
        if (!Declares<HIGHCONTRASTW>(pv, HighContrastSize))
            return Refuse(err);
        HIGHCONTRASTA a = { HighContrastSize, 0, scheme };
        BOOL ok = callA(param, &a);
        if (ok) {
            w->dwFlags = a.dwFlags;
            AtAnsiToWideOut(scheme, w->lpszDefaultScheme, strlen(scheme));
        }
        return ok;
    }
    case SPI_SETHIGHCONTRAST: {
        auto* w = static_cast<const HIGHCONTRASTW*>(pv);
        if (!Declares<HIGHCONTRASTW>(pv, HighContrastSize))
            return Refuse(err);
        AtStringSlot scheme;
        AtWideToAnsiTemp(scheme, w->lpszDefaultScheme);
        HIGHCONTRASTA a = { HighContrastSize, w->dwFlags, scheme };
        return callA(param, &a);
    }
    default:
        return callA(param, pv);
    }
}

} // namespace

BOOL WINAPI SystemParametersInfoW(UINT action, UINT param, PVOID pv, UINT winIni)
{
    return AtExport(Sys::SystemParametersInfoW, action, param, pv, winIni)
        .orAnsi(
            FALSE, [=](AtSavedError& err) { return AnsiAction(action, param, pv, winIni, err); });
}
