/*
 * torwen: the wide-character Win32 interface on every Windows platform.
 *
 * An application includes <windows.h> as usual, is built with UNICODE, and links
 * torwen's import library ahead of the system's (-ltorwen with mingw-w64,
 * torwen.lib with Microsoft's linker). The W functions that the system declares
 * (GetVersionExW, CreateFileW, ...) then come from torwen.dll: on the NT family
 * they pass the call to the system's own W function, on Windows 95, 98 and Me they
 * convert to the ANSI code page and call the A function.
 *
 * This header declares what torwen exports beyond the system's own names: the
 * At... helpers and the x... multiple-monitor functions.
 */
#ifndef TORWEN_H
#define TORWEN_H

#include <windows.h>

#ifdef __cplusplus
extern "C" {
#endif

#define TORWEN_API __declspec(dllimport)

/* The system has no wide form of GetProcAddress; torwen's takes a wide procedure
 * name, or an ordinal in the low word as GetProcAddress does. */
FARPROC WINAPI GetProcAddressW(HMODULE module, LPCWSTR procName);

#ifdef __cplusplus
}
#endif

#endif /* TORWEN_H */
