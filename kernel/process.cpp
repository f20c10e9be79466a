// Processes and modules: starting a process, finding modules, their file names,
// procedures and resources, and debug output.
#include "core/core.h"
#include "torwen.h"

AT_SYSTEM_FUNCTION(kernel32, CreateProcessW, FALSE)
AT_SYSTEM_FUNCTION(kernel32, LoadLibraryExW, 0)
AT_SYSTEM_FUNCTION(kernel32, GetModuleHandleW, 0)
AT_SYSTEM_FUNCTION(kernel32, GetModuleFileNameW, 0)
AT_SYSTEM_FUNCTION(kernel32, FindResourceExW, 0)
AT_SYSTEM_FUNCTION(kernel32, OutputDebugStringW, 0)

namespace {

// The A form of the caller's start-up record: its three strings converted (an
// integer value passes through), everything else copied. It owns the strings
// until CreateProcessA has returned.
class AnsiStartupInfo {
public:
    explicit AnsiStartupInfo(const STARTUPINFOW* w)
    {
        if (!w)
            return;  // CreateProcessA answers for a missing record itself
        AtWideToAnsiTemp(reserved, w->lpReserved);
        AtWideToAnsiTemp(desktop, w->lpDesktop);
        AtWideToAnsiTemp(title, w->lpTitle);
        // The A record has one size whatever the caller's cb says.
        a.cb = sizeof a;
        a.lpReserved = reserved;
        a.lpDesktop = desktop;
        a.lpTitle = title;
        a.dwX = w->dwX;
        a.dwY = w->dwY;
        a.dwXSize = w->dwXSize;
        a.dwYSize = w->dwYSize;
        a.dwXCountChars = w->dwXCountChars;
        a.dwYCountChars = w->dwYCountChars;
        a.dwFillAttribute = w->dwFillAttribute;
        a.dwFlags = w->dwFlags;
        a.wShowWindow = w->wShowWindow;
        a.cbReserved2 = w->cbReserved2;
        a.lpReserved2 = w->lpReserved2;
        a.hStdInput = w->hStdInput;
        a.hStdOutput = w->hStdOutput;
        a.hStdError = w->hStdError;
        record = &a;
    }

    STARTUPINFOA* record = nullptr;

private:
    STARTUPINFOA a;
    AtStringSlot reserved, desktop, title;  // freed title first
};

}  // namespace

BOOL WINAPI CreateProcessW(LPCWSTR app, LPWSTR cmd, LPSECURITY_ATTRIBUTES processAttr,
                           LPSECURITY_ATTRIBUTES threadAttr, BOOL inherit, DWORD flags, LPVOID env,
                           LPCWSTR dir, LPSTARTUPINFOW startup, LPPROCESS_INFORMATION info)
{
    return AtExport(Sys::CreateProcessW, app, cmd, processAttr, threadAttr, inherit, flags, env,
                    dir, startup, info)
        .orAnsi(FALSE, [=](AtSavedError& err) {
            AnsiStartupInfo startupA(startup);
            AtStringSlot appA, cmdA, dirA, envA;
            AtWideToAnsiTemp(appA, app);
            AtWideToAnsiTemp(cmdA, cmd);
            AtWideToAnsiTemp(dirA, dir);
            // Only a wide block is passed on, converted. A block of the caller's
            // that is already ANSI is dropped: the child inherits this process's
            // environment instead.
            if ((flags & CREATE_UNICODE_ENVIRONMENT) && env)
                AtWideToAnsiTempList(envA, static_cast<LPCWSTR>(env), AtListOfStrings);
            return err.keep(CreateProcessA(appA, cmdA, processAttr, threadAttr, inherit,
                                           flags & ~CREATE_UNICODE_ENVIRONMENT, envA, dirA,
                                           startupA.record, info));
        });
}

// The system has no wide form of GetProcAddress, so every platform converts the
// name (an ordinal passes through).
FARPROC WINAPI GetProcAddressW(HMODULE module, LPCWSTR name)
{
    auto body
        = [=](AtSavedError& err) { return err.keep(GetProcAddress(module, AtAnsiTemp(name))); };
    return AtAnsiFrame<FARPROC>(nullptr, body);
}

HMODULE WINAPI LoadLibraryExW(LPCWSTR name, HANDLE file, DWORD flags)
{
    return AtExport(Sys::LoadLibraryExW, name, file, flags).orAnsi(nullptr, [=](AtSavedError& err) {
        return err.keep(LoadLibraryExA(AtAnsiTemp(name), file, flags));
    });
}

HMODULE WINAPI GetModuleHandleW(LPCWSTR name)
{
    return AtExport(Sys::GetModuleHandleW, name).orAnsi(nullptr, [=](AtSavedError& err) {
        return err.keep(GetModuleHandleA(AtAnsiTemp(name)));
    });
}

// Unlike most readers, the count returned includes the terminator. The A function
// is told the caller's count; the error is taken after the conversion, so a wide
// buffer too small for the name reports the converter's error. A name longer than
// the buffer fills it without a terminator: the cleared buffer ends it there, and
// a name that does not fit the caller's count then answers 0.
DWORD WINAPI GetModuleFileNameW(HMODULE module, LPWSTR buf, DWORD n)
{
    return AtExport(Sys::GetModuleFileNameW, module, buf, n).orAnsi(0, [=](AtSavedError& err) {
        AtStringSlot bufA;
        AtAllocEmptyAnsiOut(bufA, n);
        DWORD r = GetModuleFileNameA(module, bufA, n);
        if (r)
            r = AtAnsiToWideOut(bufA, buf, n);
        return err.keep(r);
    });
}

HRSRC WINAPI FindResourceExW(HMODULE module, LPCWSTR type, LPCWSTR name, WORD language)
{
    return AtExport(Sys::FindResourceExW, module, type, name, language)
        .orAnsi(nullptr, [=](AtSavedError& err) {
            AtStringSlot typeA, nameA;
            AtWideToAnsiTemp(typeA, type);
            AtWideToAnsiTemp(nameA, name);
            return err.keep(FindResourceExA(module, typeA, nameA, language));
        });
}

// Debug output leaves the last error as the A function left it.
void WINAPI OutputDebugStringW(LPCWSTR text)
{
    return AtExport(Sys::OutputDebugStringW, text).orAnsiWithoutSavedError(AtNoResult{}, [=] {
        AtStringSlot textA;
        AtWideToAnsiTemp(textA, text);
        OutputDebugStringA(textA);
    });
}
