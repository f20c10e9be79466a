// Sound and media control by wide names: playing sounds, MCI command strings and
// commands, device identifiers and error texts.
#include "services/services.h"

AT_SYSTEM_FUNCTION(winmm, sndPlaySoundW, FALSE)
AT_SYSTEM_FUNCTION(winmm, sndPlaySoundA, FALSE)
AT_SYSTEM_FUNCTION(winmm, PlaySoundW, FALSE)
AT_SYSTEM_FUNCTION(winmm, PlaySoundA, FALSE)
AT_SYSTEM_FUNCTION(winmm, mciSendStringW, MCIERR_UNSUPPORTED_FUNCTION)
AT_SYSTEM_FUNCTION(winmm, mciSendStringA, MCIERR_UNSUPPORTED_FUNCTION)
AT_SYSTEM_FUNCTION(winmm, mciSendCommandW, MCIERR_UNSUPPORTED_FUNCTION)
AT_SYSTEM_FUNCTION(winmm, mciSendCommandA, MCIERR_UNSUPPORTED_FUNCTION)
AT_SYSTEM_FUNCTION(winmm, mciGetDeviceIDW, 0)
AT_SYSTEM_FUNCTION(winmm, mciGetDeviceIDA, 0)
AT_SYSTEM_FUNCTION(winmm, mciGetErrorStringW, FALSE)
AT_SYSTEM_FUNCTION(winmm, mciGetErrorStringA, FALSE)

namespace
{

constexpr MCIERROR CaughtMciFailure = MCIERR_OUT_OF_MEMORY;

// A sound given in memory is not a name (a resource's name is, or its
// identifier): it passes as the caller's pointer.
LPCSTR SoundToAnsi(AtStringSlot& slot, LPCWSTR sound, DWORD flags)
{
    if ((flags & SND_RESOURCE) != SND_RESOURCE && (flags & SND_MEMORY))
        return reinterpret_cast<LPCSTR>(sound);
    AtWideToAnsiTemp(slot, sound);
    return slot;
}

// A field of an MCI record: converted when the flags say it holds text, else the
// caller's value as it is (an identifier, or a field the device does not read).
LPCSTR FieldToAnsi(AtStringSlot& slot, LPCWSTR field, bool text)
{
    if (!text)
        return reinterpret_cast<LPCSTR>(field);
    AtWideToAnsiTemp(slot, field);
    return slot;
}

// A text the device writes into a buffer of the caller's `n` characters: the A
// command gets an ANSI buffer of that many characters and its heap size.
void ReturnBuffer(AtStringSlot& slot, DWORD n, LPSTR& buffer, DWORD& size)
{
    AtAllocEmptyAnsiOut(slot, n);
    buffer = slot;
    size = DWORD(AtHeapSize(slot));
}

// The open record with the fields that some devices add after it (a window style
// and parent, or a wave buffer's seconds), read only when the flags announce them.
struct OpenParmsA {
    MCI_OPEN_PARMSA base;
    DWORD_PTR extra[2];
};

constexpr DWORD OpenFirstExtra = 0x00010000; // MCI_ANIM_OPEN_WS, MCI_WAVE_OPEN_BUFFER ...
constexpr DWORD OpenSecondExtra = 0x00020000; // MCI_ANIM_OPEN_PARENT ...
constexpr DWORD LoadSaveRect = 0x00010000; // MCI_OVLY_RECT, MCI_DGV_RECT ...

MCIERROR SendOpen(MCIDEVICEID id, UINT message, DWORD_PTR flags, MCI_OPEN_PARMSW* w)
{
    OpenParmsA a = {};
    AtStringSlot type, element, alias;
    a.base.dwCallback = w->dwCallback;
    a.base.wDeviceID = w->wDeviceID;
    a.base.lpstrDeviceType = FieldToAnsi(
        type, w->lpstrDeviceType, (flags & MCI_OPEN_TYPE) && !(flags & MCI_OPEN_TYPE_ID));
    a.base.lpstrElementName = FieldToAnsi(
        element, w->lpstrElementName, (flags & MCI_OPEN_ELEMENT) && !(flags & MCI_OPEN_ELEMENT_ID));
    a.base.lpstrAlias = FieldToAnsi(alias, w->lpstrAlias, flags & MCI_OPEN_ALIAS);
    const auto* extraW = reinterpret_cast<const DWORD_PTR*>(w + 1);
    if (flags & (OpenFirstExtra | OpenSecondExtra))
        a.extra[0] = extraW[0];
    if (flags & OpenSecondExtra)
        a.extra[1] = extraW[1];
    MCIERROR r = Sys::mciSendCommandA(id, message, flags, reinterpret_cast<DWORD_PTR>(&a));
    w->wDeviceID = a.base.wDeviceID;
    return r;
}

// MCI_INFO and MCI_SYSINFO: a text comes back, or for a quantity a number.
template <typename ParmsA, typename ParmsW>
MCIERROR SendForText(MCIDEVICEID id, UINT message, DWORD_PTR flags, ParmsW* w, bool number)
{
    ParmsA a;
    memcpy(&a, w, sizeof a); // the same layout: only the buffer differs
    AtStringSlot returnA;
    ReturnBuffer(returnA, w->dwRetSize, a.lpstrReturn, a.dwRetSize);
    MCIERROR r = Sys::mciSendCommandA(id, message, flags, reinterpret_cast<DWORD_PTR>(&a));
    if (r || !w->lpstrReturn || !w->dwRetSize)
        return r;
    if (number) {
        if (AtHeapSize(returnA) >= sizeof(DWORD) && w->dwRetSize * sizeof(WCHAR) >= sizeof(DWORD))
            memcpy(w->lpstrReturn, returnA, sizeof(DWORD));
    } else {
        AtBoundedAnsiToWideOut(returnA, w->lpstrReturn, w->dwRetSize);
    }
    return r;
}

// MCI_LOAD and MCI_SAVE: a file name in, and for some devices a rectangle after it.
MCIERROR SendFileName(MCIDEVICEID id, UINT message, DWORD_PTR flags, MCI_LOAD_PARMSW* w)
{
    struct {
        MCI_LOAD_PARMSA base;
        RECT rect;
    } a = {};
    AtStringSlot file;
    a.base.dwCallback = w->dwCallback;
    a.base.lpfilename = FieldToAnsi(file, w->lpfilename, flags & MCI_LOAD_FILE);
    if (flags & LoadSaveRect)
        a.rect = *reinterpret_cast<const RECT*>(w + 1);
    return Sys::mciSendCommandA(id, message, flags, reinterpret_cast<DWORD_PTR>(&a));
}

} // namespace

BOOL WINAPI sndPlaySoundW(LPCWSTR sound, UINT flags)
{
    return AtExport(Sys::sndPlaySoundW, sound, flags).orAnsiWithoutSavedError(FALSE, [=] {
        AtStringSlot soundA;
        return Sys::sndPlaySoundA(SoundToAnsi(soundA, sound, flags), flags);
    });
}

BOOL WINAPI PlaySoundW(LPCWSTR sound, HMODULE module, DWORD flags)
{
    return AtExport(Sys::PlaySoundW, sound, module, flags).orAnsiWithoutSavedError(FALSE, [=] {
        AtStringSlot soundA;
        return Sys::PlaySoundA(SoundToAnsi(soundA, sound, flags), module, flags);
    });
}

// The reply is converted into the caller's n characters.
MCIERROR WINAPI mciSendStringW(LPCWSTR command, LPWSTR reply, UINT n, HWND callback)
{
    return AtExport(Sys::mciSendStringW, command, reply, n, callback)
        .orAnsiWithoutSavedError(CaughtMciFailure, [=] {
            AtStringSlot commandA, replyA;
            AtWideToAnsiTemp(commandA, command);
            LPSTR buffer;
            DWORD size;
            ReturnBuffer(replyA, n, buffer, size);
            MCIERROR r = Sys::mciSendStringA(commandA, buffer, UINT(size), callback);
            if (reply && n)
                AtBoundedAnsiToWideOut(replyA, reply, n);
            return r;
        });
}

// The commands whose records carry text are converted: MCI_OPEN (device type,
// element and alias in; the device identifier out), MCI_INFO and MCI_SYSINFO (the
// text or number out), MCI_LOAD and MCI_SAVE (the file name in); without their
// record they answer MCIERR_NULL_PARAMETER_BLOCK. Every other command goes to the
// A function unchanged.
MCIERROR WINAPI mciSendCommandW(MCIDEVICEID id, UINT message, DWORD_PTR flags, DWORD_PTR parms)
{
    return AtExport(Sys::mciSendCommandW, id, message, flags, parms)
        .orAnsiWithoutSavedError(CaughtMciFailure, [=]() -> MCIERROR {
            switch (parms ? 0u : message) {
            case MCI_OPEN:
            case MCI_INFO:
            case MCI_SYSINFO:
            case MCI_LOAD:
            case MCI_SAVE:
                return MCIERR_NULL_PARAMETER_BLOCK; // some A functions read it regardless
            }
            switch (message) {
            case MCI_OPEN:
                return SendOpen(id, message, flags, reinterpret_cast<MCI_OPEN_PARMSW*>(parms));
            case MCI_INFO:
                return SendForText<MCI_INFO_PARMSA>(
                    id, message, flags, reinterpret_cast<MCI_INFO_PARMSW*>(parms), false);
            case MCI_SYSINFO:
                return SendForText<MCI_SYSINFO_PARMSA>(id, message, flags,
                    reinterpret_cast<MCI_SYSINFO_PARMSW*>(parms), flags & MCI_SYSINFO_QUANTITY);
            case MCI_LOAD:
            case MCI_SAVE:
                return SendFileName(id, message, flags, reinterpret_cast<MCI_LOAD_PARMSW*>(parms));
            default:
                return Sys::mciSendCommandA(id, message, flags, parms);
            }
        });
}

MCIDEVICEID WINAPI mciGetDeviceIDW(LPCWSTR device)
{
    return AtExport(Sys::mciGetDeviceIDW, device).orAnsiWithoutSavedError(MCIDEVICEID(0), [=] {
        return Sys::mciGetDeviceIDA(AtAnsiTemp(device));
    });
}

BOOL WINAPI mciGetErrorStringW(MCIERROR error, LPWSTR text, UINT n)
{
    return AtExport(Sys::mciGetErrorStringW, error, text, n).orAnsiWithoutSavedError(FALSE, [=] {
        AtStringSlot textA;
        LPSTR buffer;
        DWORD size;
        ReturnBuffer(textA, n, buffer, size);
        BOOL r = Sys::mciGetErrorStringA(error, buffer, UINT(size));
        if (r && text && n)
            AtBoundedAnsiToWideOut(textA, text, n);
        return r;
    });
}
