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
 * the text does not fit the buffer. */
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
 * name the handler writes there is not copied back: the handler must not write more
 * than that copy holds. */
TORWEN_API void WINAPI AtFORWARD_WM_ASKCBFORMATNAMEW(HWND hwnd, int cchMax, LPWSTR rgchName,
                                                     WNDPROC fn);
TORWEN_API LRESULT WINAPI AtHANDLE_WM_ASKCBFORMATNAMEW(HWND hwnd, WPARAM wParam, LPARAM lParam,
                                                       AtNameBufferHandlerW fn);

/* WM_CREATE, WM_NCCREATE, WM_MDICREATE. The forwarders pass a converted copy of the
 * record (changes the procedure makes to it are not copied back) and answer what
 * the procedure answered. The handlers answer as the window manager expects:
 * WM_CREATE 0 to go on and -1 to stop, WM_NCCREATE 1 or 0, WM_MDICREATE the
 * handler's window. A class atom passes through unchanged. */
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

/*
 * Open and save dialogs. A hook procedure queries and sets the dialog through
 * these instead of sending CDM_xxx itself: on Windows 95, 98 and Me the dialog is
 * an ANSI dialog. The queries answer the message's own count: on those systems
 * it counts ANSI bytes with the terminator, not characters.
 */
TORWEN_API int WINAPI AtCommDlg_OpenSave_GetSpecW(HWND dialog, LPWSTR buf, int n);
TORWEN_API int WINAPI AtCommDlg_OpenSave_GetFilePathW(HWND dialog, LPWSTR buf, int n);
TORWEN_API int WINAPI AtCommDlg_OpenSave_GetFolderPathW(HWND dialog, LPWSTR buf, int n);
TORWEN_API void WINAPI AtCommDlg_OpenSave_SetControlTextW(HWND dialog, int id, LPCWSTR text);
TORWEN_API void WINAPI AtCommDlg_OpenSave_SetDefExtW(HWND dialog, LPCWSTR ext);

/* GetOpenFileNameW and its kin read the caller's initial name and offsets no further
 * than nMaxFile characters. GetFileTitleW tells the ANSI function at most 65535 bytes. */

/* Printers, on Windows 95, 98 and Me. OpenPrinterW hands a default device mode on
 * without the driver's private bytes. GetPrinterW and EnumPrintersW answer FALSE,
 * ERROR_INSUFFICIENT_BUFFER and the size needed when the wide records would not
 * fit the caller's buffer though the ANSI ones did. DocumentPropertiesW believes an
 * out record's dmDriverExtra only as far as the size its query answered.
 * DeviceCapabilitiesW passes every output that is not a list of names (papers,
 * sizes, resolutions...) straight to the caller's buffer, and answers 0 without
 * fetching a list of names longer or shorter than the bins. */

/* Colour, font, print and page-setup dialogs, on Windows 95, 98 and Me.
 * ChooseFontW gives a style shorter than LF_FACESIZE characters back in at most
 * LF_FACESIZE characters, the least buffer the dialog asks for. PrintDlgW and
 * PageSetupDlgW read a device mode or device names no further than their global
 * object reaches, and put the dialog's results into a new object where the
 * caller's is too small for them (the old one is freed). */

#ifdef __cplusplus
}
#endif

#endif /* TORWEN_H */
