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
 *
 * Memory safety. Where an export's documented conversion would write past a
 * buffer's stated size, read past the end of a string, list or buffer it was
 * given or allocated, dereference a null pointer that the system's own W function
 * accepts, or leave a handle open, torwen stays within what it was given and
 * answers as the system's W function answers that input (its result and last
 * error). Every result a caller with valid arguments sees stays as documented.
 * Each such departure is named beside its export, here or in the list below.
 *
 * Departures of exports that carry the system's names, on Windows 95, 98 and Me:
 *   FormatMessageW       a text that does not fit `size` with its terminator answers
 *                        0, ERROR_INSUFFICIENT_BUFFER; a null buffer answers 0,
 *                        ERROR_INVALID_PARAMETER; a null template answers 0 and
 *                        leaves the last error alone; every argument an insert reads
 *                        (a gap before it, a "*" width, a second format of the same
 *                        insert) is handed on in the width that insert reads it.
 *   GetVolumeInformationW  reads the name buffers no further than their sizes.
 *   GetModuleFileNameW   a name that fills the buffer without a terminator answers 0.
 *   GetEnvironmentVariableW, GetShortPathNameW, GetLogicalDriveStringsW
 *                        a buffer too small answers the A function's required size,
 *                        unconverted, and is not written.
 *   GetFullPathNameW     the file part never points outside the caller's buffer.
 *   GetWindowTextW, GetClassNameW and every other reader: a text that the A
 *                        function or a window procedure left unterminated ends where
 *                        it was written, or at the end of torwen's buffer.
 *   GetEnvironmentStringsW  frees the ANSI block also when it fails.
 *   GetFileAttributesExW ends its search with FindClose.
 *   Double-NUL lists (CreateProcessW's environment, profile sections) are read up to
 *                        their final NUL and no further.
 */
#ifndef TORWEN_H
#define TORWEN_H

#include <windows.h>

#ifdef __cplusplus
extern "C" {
#endif

/* Inside torwen.dll (whose build defines torwen_EXPORTS) the exports are defined,
 * and the module-definition file exports them. */
#ifdef torwen_EXPORTS
#define TORWEN_API
#else
#define TORWEN_API __declspec(dllimport)
#endif

/*
 * Messages that carry characters, text or creation records.
 *
 * On Windows 95, 98 and Me the windows of a wide program are ANSI windows: torwen
 * converts no message, so a wide window procedure translates the messages that
 * carry text itself. AtHANDLE_WM_xxxW cracks a message as it arrived and calls a
 * wide handler; AtFORWARD_WM_xxxW builds a message from wide values and passes it
 * to a procedure (DefWindowProcW, a saved subclass procedure, SendMessageW...),
 * converting any text that comes back. On the NT family both pass the wide values
 * through. The forwarding function is of the window-procedure type WNDPROC and
 * must expect what the platform's windows expect.
 *
 * A double-byte character travels as two WM_CHAR messages on the ANSI platforms:
 * AtFORWARD_WM_CHARW passes the lead byte on and posts the trail byte to the
 * window's queue; AtHANDLE_WM_CHARW, seeing a lead byte, takes the trail byte from
 * the queue. Both must run on the thread that owns the window.
 */

/* Handlers, called with the message's values in wide form. */
typedef void(CALLBACK *AtCharHandlerW)(HWND hwnd, WCHAR ch, int cRepeat);
typedef int(CALLBACK *AtGetTextHandlerW)(HWND hwnd, int cchTextMax, LPWSTR lpszText);
typedef void(CALLBACK *AtTextHandlerW)(HWND hwnd, LPCWSTR lpszText);
typedef void(CALLBACK *AtNameBufferHandlerW)(HWND hwnd, int cchMax, LPWSTR rgchName);
typedef BOOL(CALLBACK *AtCreateHandlerW)(HWND hwnd, LPCREATESTRUCTW lpCreateStruct);
typedef HWND(CALLBACK *AtMDICreateHandlerW)(HWND hwnd, LPMDICREATESTRUCTW lpmcs);

/* WM_CHAR, WM_DEADCHAR, WM_SYSCHAR, WM_SYSDEADCHAR. The repeat count travels in the
 * low 16 bits of lParam only. The dead-key and system-key forms carry one byte on
 * the ANSI platforms. */
TORWEN_API void WINAPI AtFORWARD_WM_CHARW(HWND hwnd, WCHAR ch, int cRepeat, WNDPROC fn);
TORWEN_API void WINAPI AtFORWARD_WM_DEADCHARW(HWND hwnd, WCHAR ch, int cRepeat, WNDPROC fn);
TORWEN_API void WINAPI AtFORWARD_WM_SYSCHARW(HWND hwnd, WCHAR ch, int cRepeat, WNDPROC fn);
TORWEN_API void WINAPI AtFORWARD_WM_SYSDEADCHARW(HWND hwnd, WCHAR ch, int cRepeat, WNDPROC fn);
TORWEN_API LRESULT WINAPI AtHANDLE_WM_CHARW(HWND hwnd, WPARAM wParam, LPARAM lParam,
                                            AtCharHandlerW fn);
TORWEN_API LRESULT WINAPI AtHANDLE_WM_DEADCHARW(HWND hwnd, WPARAM wParam, LPARAM lParam,
                                                AtCharHandlerW fn);
TORWEN_API LRESULT WINAPI AtHANDLE_WM_SYSCHARW(HWND hwnd, WPARAM wParam, LPARAM lParam,
                                               AtCharHandlerW fn);
TORWEN_API LRESULT WINAPI AtHANDLE_WM_SYSDEADCHARW(HWND hwnd, WPARAM wParam, LPARAM lParam,
                                                   AtCharHandlerW fn);

/* WM_GETTEXT: both answer the number of characters (forwarding: wide characters;
 * handling: ANSI bytes on the ANSI platforms) without the terminating NUL, and 0 when
 * the text does not fit the buffer. A buffer of no characters is never written
 * (memory safety), and a text written without its terminator ends where it was
 * written. */
TORWEN_API int WINAPI AtFORWARD_WM_GETTEXTW(HWND hwnd, int cchTextMax, LPWSTR lpszText,
                                            WNDPROC fn);
TORWEN_API LRESULT WINAPI AtHANDLE_WM_GETTEXTW(HWND hwnd, WPARAM wParam, LPARAM lParam,
                                               AtGetTextHandlerW fn);

/* WM_SETTEXT, WM_WININICHANGE, WM_DEVMODECHANGE: one string in. */
TORWEN_API void WINAPI AtFORWARD_WM_SETTEXTW(HWND hwnd, LPCWSTR lpszText, WNDPROC fn);
TORWEN_API void WINAPI AtFORWARD_WM_WININICHANGEW(HWND hwnd, LPCWSTR lpszSectionName,
                                                  WNDPROC fn);
TORWEN_API void WINAPI AtFORWARD_WM_DEVMODECHANGEW(HWND hwnd, LPCWSTR lpszDeviceName,
                                                   WNDPROC fn);
TORWEN_API LRESULT WINAPI AtHANDLE_WM_SETTEXTW(HWND hwnd, WPARAM wParam, LPARAM lParam,
                                               AtTextHandlerW fn);
TORWEN_API LRESULT WINAPI AtHANDLE_WM_WININICHANGEW(HWND hwnd, WPARAM wParam, LPARAM lParam,
                                                    AtTextHandlerW fn);
TORWEN_API LRESULT WINAPI AtHANDLE_WM_DEVMODECHANGEW(HWND hwnd, WPARAM wParam, LPARAM lParam,
                                                     AtTextHandlerW fn);

/* WM_ASKCBFORMATNAME. Forwarding copies the name back into rgchName. Handling on the
 * ANSI platforms gives the handler a wide copy of the buffer as it arrived, and the
 * name the handler writes there is not copied back. The copy holds the message's
 * capacity in characters, of which at most that many bytes of the buffer are read
 * (memory safety: the buffer need not hold a NUL). */
TORWEN_API void WINAPI AtFORWARD_WM_ASKCBFORMATNAMEW(HWND hwnd, int cchMax, LPWSTR rgchName,
                                                     WNDPROC fn);
TORWEN_API LRESULT WINAPI AtHANDLE_WM_ASKCBFORMATNAMEW(HWND hwnd, WPARAM wParam, LPARAM lParam,
                                                       AtNameBufferHandlerW fn);

/* WM_CREATE, WM_NCCREATE, WM_MDICREATE. The forwarders pass a converted copy of the
 * record (changes the procedure makes to it are not copied back) and answer what
 * the procedure answered. The handlers answer as the window manager expects:
 * WM_CREATE 0 to go on and -1 to stop, WM_NCCREATE 1 or 0, WM_MDICREATE the
 * handler's window. A class atom passes through unchanged. A null record is passed
 * on as null (memory safety: nothing to convert). */
TORWEN_API LRESULT WINAPI AtFORWARD_WM_CREATEW(HWND hwnd, LPCREATESTRUCTW lpCreateStruct,
                                               WNDPROC fn);
TORWEN_API LRESULT WINAPI AtFORWARD_WM_NCCREATEW(HWND hwnd, LPCREATESTRUCTW lpCreateStruct,
                                                 WNDPROC fn);
TORWEN_API LRESULT WINAPI AtFORWARD_WM_MDICREATEW(HWND hwnd, LPMDICREATESTRUCTW lpmcs,
                                                  WNDPROC fn);
TORWEN_API LRESULT WINAPI AtHANDLE_WM_CREATEW(HWND hwnd, WPARAM wParam, LPARAM lParam,
                                              AtCreateHandlerW fn);
TORWEN_API LRESULT WINAPI AtHANDLE_WM_NCCREATEW(HWND hwnd, WPARAM wParam, LPARAM lParam,
                                                AtCreateHandlerW fn);
TORWEN_API LRESULT WINAPI AtHANDLE_WM_MDICREATEW(HWND hwnd, WPARAM wParam, LPARAM lParam,
                                                 AtMDICreateHandlerW fn);

/* The system has no wide form of GetProcAddress; torwen's takes a wide procedure
 * name, or an ordinal in the low word as GetProcAddress does. */
FARPROC WINAPI GetProcAddressW(HMODULE module, LPCWSTR procName);

#ifdef __cplusplus
}
#endif

#endif /* TORWEN_H */
