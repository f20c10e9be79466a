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
 *                        insert) is handed on in the width that insert reads it; a
 *                        variable argument list with a "*" width and text to
 *                        convert answers 0, ERROR_INVALID_PARAMETER.
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
#include <commctrl.h>
#include <tlhelp32.h> /* Process32FirstW, Process32NextW */

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

/*
 * System services: the registry.
 *
 * RegQueryValueExW and RegEnumValueW, on Windows 95, 98 and Me, answer
 * ERROR_INVALID_PARAMETER for a data buffer without a size, as the NT family does,
 * instead of handing the A function a buffer it could overrun; and data of a type
 * other than text that exceeds the caller's buffer answers ERROR_MORE_DATA with the
 * size needed, also where the heap's rounding let the A function read it.
 */

/*
 * System services: DDE, UUID strings, automation strings, network connections.
 *
 * AtWNetGetConnectionW is WNetGetConnectionW under a name of torwen's own. On
 * Windows 95, 98 and Me a failure inside torwen answers ERROR_OUTOFMEMORY, and a
 * failed lookup empties the caller's remote name only when it has room. A remote
 * name with more characters than the caller's count answers ERROR_MORE_DATA with
 * the characters needed, as the NT family does, where the ANSI function found room
 * for its bytes (the name is otherwise left without a terminator).
 * UuidToStringW's string must be released with torwen's RpcStringFreeW; a failure
 * inside torwen answers RPC_S_OUT_OF_MEMORY. SysReAllocStringLen answers FALSE for
 * a null BSTR slot.
 */
TORWEN_API DWORD WINAPI AtWNetGetConnectionW(LPCWSTR lpLocalName, LPWSTR lpRemoteName,
                                             LPDWORD lpnLength);

/*
 * System services: version information.
 *
 * On Windows 95, 98 and Me VerFindFileW and VerInstallFileW take a directory or
 * file buffer to hold MAX_PATH characters but never write beyond the length the
 * caller gives; a name that does not fit leaves the A function's byte count as
 * the length.
 */
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
/*
 * WM_NOTIFY from the common controls. For the notifications of list views, tree
 * views, headers, tooltips and toolbars whose records carry text, the A and W codes
 * and records differ: AtFORWARD_WM_NOTIFYW passes a W record (W code) to an ANSI
 * procedure as the A record with the A code, and converts what comes back into the
 * caller's record; AtHANDLE_WM_NOTIFYW gives a wide handler the W record of a
 * received A notification and converts its answer into the control's record. Every
 * other code reaches fn with the caller's own record, on every platform.
 * HDN_GETDISPINFO keeps the code it came with: handle both of its values.
 *
 * Tooltip text (TTN_NEEDTEXT) always arrives in szText of the forwarder's caller;
 * a receiver that points lpszText at a string of its own has it read up to its NUL,
 * at most 80 bytes, and one that answers with a resource identifier has the
 * identifier stored in the caller's lpszText. A wide handler may answer with a
 * resource identifier and its hinst (any module), a string of its own in lpszText,
 * or text in szText; a text longer than szText ends within it.
 *
 * Header tracking (HDN_BEGINTRACK, HDN_TRACK, HDN_ENDTRACK) is handled like
 * HDN_ITEMCHANGING: the handler sees a wide copy of the item (or a null pitem when
 * the control sends none), and its changes to it are not copied back. A text
 * pointer that is LPSTR_TEXTCALLBACK or a resource identifier travels as it is and
 * is never read as a string.
 *
 * A text converted in for the receiver (label edits, header items) has room for the
 * item's stated cchTextMax, so a receiver may edit it in place (memory safety).
 *
 * On the ANSI platforms a failed allocation answers 0 without calling fn (last
 * error 14).
 */
typedef LRESULT(CALLBACK *AtNotifyHandlerW)(HWND hwnd, int idFrom, NMHDR *pnmh);
TORWEN_API LRESULT WINAPI AtFORWARD_WM_NOTIFYW(HWND hwnd, int idFrom, NMHDR *pnmh, WNDPROC fn);
TORWEN_API LRESULT WINAPI AtHANDLE_WM_NOTIFYW(HWND hwnd, WPARAM wParam, LPARAM lParam,
                                              AtNotifyHandlerW fn);

/*
 * Common controls: list views, tree views, headers and tab controls.
 *
 * Each helper sends one control message: on the NT family the W message with the
 * caller's record, on Windows 95, 98 and Me the A message with an ANSI copy of the
 * record, whose text is converted in, or made as an empty buffer of the caller's
 * capacity and converted back into the caller's pszText (at most cchTextMax
 * characters, all or nothing). "Get" helpers copy back only the fields the mask
 * names; list-view and tree-view items only when the message succeeded. A text of
 * LPSTR_TEXTCALLBACKW reaches list views and tree views as LPSTR_TEXTCALLBACKA with
 * the caller's cchTextMax. On the ANSI platforms a failed allocation answers the
 * helper's failure value (-1 for the inserts, the list view's find and string
 * width, and AtTreeView_SetItemW; 0 for the others) with last error 14.
 */
TORWEN_API int WINAPI AtListView_InsertItemW(HWND hwnd, const LVITEMW *item);
TORWEN_API BOOL WINAPI AtListView_GetItemW(HWND hwnd, LVITEMW *item);
TORWEN_API BOOL WINAPI AtListView_SetItemW(HWND hwnd, const LVITEMW *item);
/* Only LVFI_STRING and LVFI_PARTIAL searches convert psz. */
TORWEN_API int WINAPI AtListView_FindItemW(HWND hwnd, int iStart, const LVFINDINFOW *info);
TORWEN_API int WINAPI AtListView_GetStringWidthW(HWND hwnd, LPCWSTR psz);
TORWEN_API HWND WINAPI AtListView_EditLabelW(HWND hwnd, int i);
TORWEN_API BOOL WINAPI AtListView_GetColumnW(HWND hwnd, int iCol, LVCOLUMNW *col);
TORWEN_API BOOL WINAPI AtListView_SetColumnW(HWND hwnd, int iCol, const LVCOLUMNW *col);
TORWEN_API int WINAPI AtListView_InsertColumnW(HWND hwnd, int iCol, const LVCOLUMNW *col);
/* The ANSI control is told a capacity of 2 * cch bytes; torwen's buffer holds that
 * many bytes also on a single-byte code page (where cch characters would need only
 * cch), so the control cannot write past it. */
TORWEN_API void WINAPI AtListView_GetItemTextW(HWND hwnd, int i, int iSubItem, LPWSTR psz,
                                               int cch);
TORWEN_API void WINAPI AtListView_SetItemTextW(HWND hwnd, int i, int iSubItem, LPCWSTR psz);
/* The incremental-search strings: psz must hold 260 characters; the answer is the
 * number of characters without the NUL. */
TORWEN_API int WINAPI AtListView_GetISearchStringW(HWND hwnd, LPWSTR psz);
TORWEN_API HTREEITEM WINAPI AtTreeView_InsertItemW(HWND hwnd, const TVINSERTSTRUCTW *ins);
TORWEN_API BOOL WINAPI AtTreeView_GetItemW(HWND hwnd, TVITEMW *item);
TORWEN_API BOOL WINAPI AtTreeView_SetItemW(HWND hwnd, const TVITEMW *item);
TORWEN_API HWND WINAPI AtTreeView_EditLabelW(HWND hwnd, HTREEITEM hItem);
TORWEN_API int WINAPI AtTreeView_GetISearchStringW(HWND hwnd, LPWSTR psz);
/* The header's get sends an ANSI copy of what pszText holds at the call, and the
 * control answers no longer a text than that copy: fill pszText with cchTextMax - 1
 * characters first to read a text of that length. Only cchTextMax characters of it
 * are read: a buffer without a NUL among them counts as that many characters.
 * Without HDI_TEXT the caller's pszText and cchTextMax come back as 0. A header
 * item's LPSTR_TEXTCALLBACKW passes as LPSTR_TEXTCALLBACKA, as for list views, rather
 * than being read as a string. */
TORWEN_API BOOL WINAPI AtHeader_GetItemW(HWND hwnd, int i, HDITEMW *item);
TORWEN_API int WINAPI AtHeader_InsertItemW(HWND hwnd, int i, const HDITEMW *item);
TORWEN_API BOOL WINAPI AtHeader_SetItemW(HWND hwnd, int i, const HDITEMW *item);
/* TCIF_TEXT or TCIF_RTLREADING carries the text of a tab item. */
TORWEN_API BOOL WINAPI AtTabCtrl_GetItemW(HWND hwnd, int i, TCITEMW *item);
TORWEN_API BOOL WINAPI AtTabCtrl_SetItemW(HWND hwnd, int i, const TCITEMW *item);
TORWEN_API int WINAPI AtTabCtrl_InsertItemW(HWND hwnd, int i, const TCITEMW *item);
/*
 * Menus, text and resources, system parameters (torwen's departures from the A
 * functions' behaviour where following them would overrun a caller's record).
 *
 * GetMenuItemInfoW on Windows 95, 98 and Me refuses a record whose cbSize is below
 * 44 (and SetMenuItemInfoW one below 40, the fields it reads) with
 * ERROR_INVALID_PARAMETER, as the NT family does.
 * DrawTextW and DrawTextExW with DT_MODIFYSTRING give the A function a copy with
 * room for the four characters it may add.
 * CharLowerBuffW and CharUpperBuffW read exactly cchLength characters, NULs
 * included, not the text up to its NUL.
 * DlgDirListComboBoxW gives the A function a path buffer of at least MAX_PATH bytes.
 * EnumDisplaySettingsW writes no more of the DEVMODEW than its dmSize declares (and
 * dmSize then reads that size).
 * Every export that takes a DEVMODEW (ChangeDisplaySettingsExW, the printing
 * dialogs' and the spooler's device modes) reads a record whose dmSize is below 212
 * only to its dmSize, its missing fields as zero, and its private bytes right after
 * it, where the system's W functions find them.
 * GetMenuStringW, GetMenuItemInfoW, GetKeyNameTextW, LoadStringW and the
 * DlgDirSelect functions read a text that the A function left without its NUL (a
 * text filling the whole buffer) only to the buffer's end, cut one byte short.
 * GetKeyNameTextW with a capacity of 0 answers 0 without calling GetKeyNameTextA.
 * SystemParametersInfoW with SPI_GETICONTITLELOGFONT or SPI_SETICONTITLELOGFONT
 * writes or reads no more of the LOGFONTW than uiParam bytes; with
 * SPI_GETSERIALKEYS the port name's copy has room for MAX_PATH bytes.
 */

/*
 * Multiple monitors on every Windows. Where the system's user library has the
 * monitor functions, these call them; where it does not (Windows 95, NT 4) they
 * answer for one monitor, the primary display, with the whole screen as its area,
 * and the pseudo handle 0x12340042. xGetMonitorInfo takes a MONITORINFO or a
 * MONITORINFOEXW; on Windows 98 and Me it is filled through GetMonitorInfoA, and
 * its cbSize then reads 40 or 72. Without monitor functions a record of 72 bytes
 * or more gets the device name "DISPLAY" as ANSI bytes at the start of szDevice.
 */
TORWEN_API int WINAPI xGetSystemMetrics(int nIndex);
TORWEN_API HMONITOR WINAPI xMonitorFromPoint(POINT pt, DWORD dwFlags);
TORWEN_API HMONITOR WINAPI xMonitorFromRect(LPCRECT lprc, DWORD dwFlags);
TORWEN_API HMONITOR WINAPI xMonitorFromWindow(HWND hwnd, DWORD dwFlags);
TORWEN_API BOOL WINAPI xGetMonitorInfo(HMONITOR hMonitor, LPMONITORINFO lpmi);
TORWEN_API BOOL WINAPI xEnumDisplayMonitors(HDC hdc, LPCRECT lprcClip, MONITORENUMPROC lpfnEnum,
                                            LPARAM dwData);

/*
 * Static, edit, list-box and combo-box controls. On Windows 95, 98 and Me the
 * controls of a wide program hold ANSI text and count positions in bytes; these
 * helpers take and give wide text and character positions on every Windows, and
 * take the place of sending the controls' messages directly. Each answers what its
 * message answers (LB_ERR or CB_ERR, -1, when a conversion fails).
 */
TORWEN_API int WINAPI AtStatic_GetTextW(HWND hwnd, LPWSTR lpch, int cchMax);
TORWEN_API BOOL WINAPI AtStatic_SetTextW(HWND hwnd, LPCWSTR lpsz);

/* EM_GETLINE: the number of characters copied; no NUL is written after them. A null
 * buffer or a cchMax below 1 answers 0 without asking the control. */
TORWEN_API int WINAPI AtEdit_GetLineW(HWND hwnd, int line, LPWSTR lpch, int cchMax);
/* EM_REPLACESEL, never undoable. */
TORWEN_API void WINAPI AtEdit_ReplaceSelW(HWND hwnd, LPCWSTR lpszReplace);
/* EM_SETPASSWORDCHAR. On the ANSI platforms the character's one ANSI byte goes out
 * sign-extended; a character that takes two bytes sends 0, no password character. */
TORWEN_API void WINAPI AtEdit_SetPasswordCharW(HWND hwnd, WCHAR ch);
/* EM_GETSEL: start in the low word, end in the high word, in characters. A position
 * past the text counts the text's characters. */
TORWEN_API DWORD WINAPI AtEdit_GetSelW(HWND hwnd);
/* EM_SETSEL. On the ANSI platforms only (0, -1), select all, and (-1, any), no
 * selection, are passed on; otherwise the caret moves to ichStart and the selection
 * is empty. */
TORWEN_API void WINAPI AtEdit_SetSelW(HWND hwnd, int ichStart, int ichEnd);

TORWEN_API int WINAPI AtListBox_AddStringW(HWND hwnd, LPCWSTR lpsz);
TORWEN_API int WINAPI AtListBox_InsertStringW(HWND hwnd, int index, LPCWSTR lpsz);
TORWEN_API int WINAPI AtListBox_FindStringW(HWND hwnd, int indexStart, LPCWSTR lpszFind);
TORWEN_API int WINAPI AtListBox_FindStringExactW(HWND hwnd, int indexStart, LPCWSTR lpszFind);
TORWEN_API int WINAPI AtListBox_SelectStringW(HWND hwnd, int indexStart, LPCWSTR lpszFind);
/* The buffer must hold the whole text, as for LB_GETTEXT. */
TORWEN_API int WINAPI AtListBox_GetTextW(HWND hwnd, int index, LPWSTR lpszBuffer);
/* In characters on every Windows (LB_GETTEXTLEN counts bytes on the ANSI ones). */
TORWEN_API int WINAPI AtListBox_GetTextLenW(HWND hwnd, int index);
TORWEN_API int WINAPI AtListBox_AddFileW(HWND hwnd, LPCWSTR lpszFilename);
/* LB_DIR and CB_DIR: the same entries, in the same order and forms, and the same
 * answer as the messages give for the attribute flags (DDL_...). */
TORWEN_API int WINAPI AtListBox_DirW(HWND hwnd, UINT attrs, LPCWSTR lpszFileSpec);
TORWEN_API int WINAPI AtComboBox_DirW(HWND hwnd, UINT attrs, LPCWSTR lpszFileSpec);

TORWEN_API int WINAPI AtComboBox_AddStringW(HWND hwnd, LPCWSTR lpsz);
TORWEN_API int WINAPI AtComboBox_InsertStringW(HWND hwnd, int index, LPCWSTR lpsz);
TORWEN_API int WINAPI AtComboBox_FindStringW(HWND hwnd, int indexStart, LPCWSTR lpszFind);
TORWEN_API int WINAPI AtComboBox_FindStringExactW(HWND hwnd, int indexStart, LPCWSTR lpszFind);
TORWEN_API int WINAPI AtComboBox_SelectStringW(HWND hwnd, int indexStart, LPCWSTR lpszFind);
TORWEN_API int WINAPI AtComboBox_GetLBTextW(HWND hwnd, int index, LPWSTR lpszBuffer);
TORWEN_API int WINAPI AtComboBox_GetLBTextLenW(HWND hwnd, int index);

/*
 * Graphics: fonts and text, device contexts, documents, metafiles, colour profiles.
 *
 * Two exports keep the names they have always had: GetKerningParisW (the kerning
 * pairs, GetKerningPairsW) and CreateScalableFontResource (the wide function,
 * without its final W; the platform header's macro of that name is withdrawn here).
 *
 * The enumeration adapters turn the system's ANSI callbacks into a wide callback.
 * Their lParam is the address of two words: the wide callback, then the caller's
 * lParam, which the wide callback receives. EnumFontFamiliesW, EnumFontFamiliesExW
 * and EnumICMProfilesW use them on Windows 95, 98 and Me. The font adapter always
 * reads the extended records (ENUMLOGFONTEXA, NEWTEXTMETRICEXA) and hands the wide
 * callback an ENUMLOGFONTEXW and a NEWTEXTMETRICEXW. The colour-profile adapter
 * answers 0, ending the enumeration, when it cannot copy the name.
 *
 * On Windows 95, 98 and Me:
 * - GetTextExtentExPointW measures its string up to the NUL, whatever the count. A
 *   counted string with no NUL is measured up to where readable memory ends, where
 *   the walk stops instead of faulting (memory safety); the extents and the fit stay
 *   within the count. A null fit or extents pointer is not written.
 * - PolyTextOutW hands each string on one byte short. It does not catch a failed
 *   allocation: the call ends with ERROR_OUTOFMEMORY set and torwen's exception
 *   unhandled, which ends the process. It reads no character beyond each string's n,
 *   and on double-byte code pages gives each string room for two bytes a character.
 * - GetCharABCWidthsW, GetCharABCWidthsFloatW, GetCharWidth32W and GetCharWidthFloatW
 *   ask for the ANSI range between the two converted characters; where that range
 *   holds more entries than the wide one they ask character by character, so the
 *   caller's array is never written past; a backwards range answers
 *   ERROR_INVALID_PARAMETER.
 * - A null record is handed on as null where the W function takes one
 *   (CreateFontIndirectW, EnumFontFamiliesExW, GetTextMetricsW, ResetDCW, StartDocW).
 * - StartDocW reads lpszDatatype and fwType only when cbSize covers them.
 * - CreateEnhMetaFileW records the description's application name only, with an
 *   empty title (a byte of its own after the name, so nothing beyond is read).
 * - GetEnhMetaFileDescriptionW answers GDI_ERROR with the A call's last error when
 *   the A call fails, converting nothing.
 * - A LOGFONTW whose face name fills all 32 characters is read only within the
 *   record: the ANSI face name keeps the first 31.
 */
#undef CreateScalableFontResource
TORWEN_API BOOL WINAPI CreateScalableFontResource(DWORD fdwHidden, LPCWSTR lpszFont, LPCWSTR lpszFile,
                                                  LPCWSTR lpszPath);
TORWEN_API DWORD WINAPI GetKerningParisW(HDC hdc, DWORD nPairs, LPKERNINGPAIR lpKernPair);
TORWEN_API int CALLBACK AtEnumFontProcFromAToW(const LOGFONTA *lplf, const TEXTMETRICA *lptm, DWORD dwType,
                                               LPARAM lpData);
TORWEN_API int CALLBACK AtICMEnumFuncFromAToW(LPSTR lpszFileName, LPARAM lpData);

/*
 * System services: the shell.
 *
 * ShellExecuteExW, SHBrowseForFolderW and SHGetPathFromIDListW convert to the ANSI
 * code page on every platform, the NT family included. ShellExecuteExW reads the
 * record's lpClass only when fMask has SEE_MASK_CLASSNAME, as the system does.
 */

/*
 * System services: input methods.
 *
 * On Windows 95, 98 and Me the input method counts in bytes: the Imm...W exports
 * hand back composition strings in wide bytes, one attribute per character, and
 * clause offsets and positions in characters, and rebuild candidate and conversion
 * lists with wide strings. ImmSetCompositionStringW converts the text of SCS_SETSTR
 * only. ImmEnumRegisterWordW hands AtfnEnumRegisterWordProcA to the ANSI
 * enumeration, with a context that holds the caller's wide procedure and data; the
 * adapter calls that procedure with the reading and the word in wide form.
 */
#include <imm.h>

typedef struct AtEnumRegisterWordContextW {
    REGISTERWORDENUMPROCW lpfnEnumProc;
    LPVOID lpData;
} AtEnumRegisterWordContextW;

TORWEN_API int CALLBACK AtfnEnumRegisterWordProcA(LPCSTR lpszReading, DWORD dwStyle,
                                                  LPCSTR lpszString, LPVOID lpData);

/* Printers, on Windows 95, 98 and Me. OpenPrinterW hands a default device mode on
 * without the driver's private bytes. GetPrinterW and EnumPrintersW answer FALSE,
 * ERROR_INSUFFICIENT_BUFFER and the size needed when the wide records would not
 * fit the caller's buffer though the ANSI ones did. DocumentPropertiesW believes an
 * out record's dmDriverExtra only as far as the size its query answered, and reads
 * an out record not yet filled (dmSize below 212) whole when that size holds it.
 * DeviceCapabilitiesW passes every output that is not a list of names (papers,
 * sizes, resolutions...) straight to the caller's buffer, and answers 0 without
 * fetching a list of names longer or shorter than the bins. */

/* Colour, font, print and page-setup dialogs, on Windows 95, 98 and Me.
 * ChooseFontW gives a style shorter than LF_FACESIZE characters back in at most
 * LF_FACESIZE characters, the least buffer the dialog asks for. PrintDlgW and
 * PageSetupDlgW read a device mode or device names no further than their global
 * object reaches, and put the dialog's results into a new object where the
 * caller's is too small for them (the old one is freed). */

/*
 * Common controls: toolbars, tooltips, status bars, animation controls and image
 * lists. The helpers send one control message each (the W message with the
 * caller's values on the NT family, the A message with converted text on Windows
 * 95, 98 and Me); ImageList_LoadImageW, DrawStatusTextW and CreateStatusWindowW are
 * comctl32's own functions.
 */

/* TB_ADDSTRING: a list of strings, each ended by a NUL and the list by an empty
 * string, or a string resource's identifier with hinst. */
TORWEN_API int WINAPI ToolBar_AddString(HWND hwnd, HINSTANCE hinst, LPCWSTR strings);
/* Answers the characters copied without the NUL, 0 when the text does not fit cch
 * characters (on the NT family cch is not used). On the ANSI platforms torwen's
 * buffer is made as large as the button's text, since the control writes all of it. */
TORWEN_API int WINAPI ToolBar_GetButtonText(HWND hwnd, int idButton, LPWSTR buf, int cch);
TORWEN_API void WINAPI ToolBar_SaveRestore(HWND hwnd, BOOL fSave, TBSAVEPARAMSW *params);
/* The TBBUTTON records go unconverted: on the ANSI platforms an iString that is a
 * string pointer reaches the control as a wide pointer, so add the strings with
 * ToolBar_AddString and give their indexes. */
TORWEN_API BOOL WINAPI ToolBar_AddButtons(HWND hwnd, UINT n, LPTBBUTTON buttons);
TORWEN_API BOOL WINAPI ToolBar_InsertButton(HWND hwnd, int i, LPTBBUTTON button);

/* Tooltips. The ANSI controls receive 44-byte TOOLINFOA records (with lParam);
 * a caller's record of 40 bytes has no lParam read or written. A tool text of
 * LPSTR_TEXTCALLBACKW travels as LPSTR_TEXTCALLBACKA; a string resource's
 * identifier (with hinst) as it is. DelTool sends only the tool's hwnd and uId,
 * NewToolRect those and rect.
 *
 * The queries (GetToolInfo, HitTest, EnumTools, GetCurrentTool) copy the tool's
 * fields back into the caller's record and its text into the buffer that the
 * caller's lpszText designates, which keeps designating it: provide a buffer of
 * 255 characters there (or null for no text); a longer text does not come back.
 * torwen's own ANSI buffer holds 1024 bytes if 255 characters take fewer, as much
 * as an ANSI tooltip may copy into it. A tool whose text comes from its
 * parent or from a resource answers LPSTR_TEXTCALLBACKW or the identifier in
 * lpszText instead. GetCurrentTool reads back like the others; with a null record
 * it only answers whether there is a current tool. */
TORWEN_API BOOL WINAPI ToolTips_AddTool(HWND hwnd, TTTOOLINFOW *ti);
TORWEN_API void WINAPI ToolTips_DelTool(HWND hwnd, TTTOOLINFOW *ti);
TORWEN_API void WINAPI ToolTips_NewToolRect(HWND hwnd, TTTOOLINFOW *ti);
TORWEN_API BOOL WINAPI ToolTips_GetToolInfo(HWND hwnd, TTTOOLINFOW *ti);
TORWEN_API void WINAPI ToolTips_SetToolInfo(HWND hwnd, TTTOOLINFOW *ti);
TORWEN_API BOOL WINAPI ToolTips_HitTest(HWND hwnd, TTHITTESTINFOW *hit);
TORWEN_API void WINAPI ToolTips_UpdateTipText(HWND hwnd, TTTOOLINFOW *ti);
TORWEN_API BOOL WINAPI ToolTips_EnumTools(HWND hwnd, UINT iTool, TTTOOLINFOW *ti);
TORWEN_API BOOL WINAPI ToolTips_GetCurrentTool(HWND hwnd, TTTOOLINFOW *ti);

/* Status bars. SetText of an SBT_OWNERDRAW part passes the owner's value as it is.
 * GetText answers the A message's result on the ANSI platforms (the length in
 * bytes in the low word, the drawing type in the high word) and leaves the buffer
 * untouched for an empty part; the buffer must hold the text and its NUL. */
TORWEN_API BOOL WINAPI AtStatusBar_SetTextW(HWND hwnd, int iPart, LPCWSTR text);
TORWEN_API DWORD WINAPI AtStatusBar_GetTextW(HWND hwnd, int iPart, LPWSTR buf);

/* A "SysAnimate32" child at the parent's origin, of no size. */
TORWEN_API HWND WINAPI AtAnimate_CreateW(HWND hwndParent, UINT id, DWORD dwStyle,
                                         HINSTANCE hInstance);
/* Sends ACM_OPENA (0x464) on both platforms, on the NT family with the wide name as
 * it is: no ACM_OPENW is sent. */
TORWEN_API BOOL WINAPI AtAnimate_OpenW(HWND hwnd, LPCWSTR lpszName);

/*
 * Property sheets. On Windows 95, 98 and Me PropertySheetW and
 * CreatePropertySheetPageW convert the header and pages and call the A functions;
 * the pages' dialog procedures run as ANSI dialog procedures. The caller's page
 * array is read at a stride of 48 bytes (PROPSHEETPAGEW with its header titles),
 * whatever each page's dwSize says; the system receives pages of 68 bytes. A sheet
 * callback receives the A sheet's values.
 *
 * A page with PSP_USECALLBACK gets fnAtPropertySheetA as its callback and, as its
 * lParam, a pair holding the caller's callback and lParam: the wide callback then
 * receives a wide copy of the page carrying its own lParam and callback (the
 * dialog procedure, in WM_INITDIALOG, sees the A page with the pair's address as
 * lParam). The pair lives as long as the page, also after the export returned
 * (a modeless sheet, a page made by CreatePropertySheetPageW), and is freed when
 * the system releases the page. The strings converted for the pages are released
 * when PropertySheetW and CreatePropertySheetPageW return. A page with
 * PSP_USECALLBACK but no callback keeps its own (null) callback and lParam.
 */
TORWEN_API UINT CALLBACK fnAtPropertySheetA(HWND hwnd, UINT uMsg, LPPROPSHEETPAGEA ppsp);
/* PSM_SETTITLEA with the ANSI title on Windows 95, 98 and Me. */
TORWEN_API void WINAPI AtPropSheet_SetTitleW(HWND hDlg, DWORD dwStyle, LPCWSTR lpszText);
/* PSM_SETFINISHTEXTW (0x479) on both platforms, with the ANSI text on Windows 95, 98
 * and Me. */
TORWEN_API void WINAPI AtPropSheet_SetFinishTextW(HWND hDlg, LPCWSTR lpszText);

/*
 * System services: sound and media control.
 *
 * On Windows 95, 98 and Me mciSendCommandW converts the records of these commands
 * only: MCI_OPEN (device type, element and alias names in, unless given as
 * identifiers; the device identifier out; the window style and parent or the wave
 * buffer's seconds that follow the record are passed when the flags announce
 * them), MCI_INFO and MCI_SYSINFO (the text, or with MCI_SYSINFO_QUANTITY the
 * number, out), MCI_LOAD and MCI_SAVE (the file name in, and the rectangle that
 * follows when the flags announce it). Without their record these commands answer
 * MCIERR_NULL_PARAMETER_BLOCK. Every other command reaches mciSendCommandA
 * unchanged, so its record must hold no text. A failure inside torwen answers
 * MCIERR_OUT_OF_MEMORY. A reply, error text or information text with more
 * characters than the caller's count comes back empty, never cut off without a
 * terminator (the ANSI buffer of that many characters may still have held it).
 */

/*
 * System services: OLE user-interface dialogs.
 *
 * On Windows 95, 98 and Me each OleUI...W dialog runs as its A dialog on a
 * converted copy of the caller's record (whose cbStruct must be the wide size):
 * a hook procedure receives the ANSI messages, and WM_INITDIALOG brings it the
 * ANSI record. The dialog's choices are copied back into the caller's record. A
 * failure inside torwen answers OLEUI_ERR_GLOBALMEMALLOC.
 */

/*
 * Kernel functions beyond the families above. They keep the W functions'
 * conventions on both paths: counts in wide characters, the W function's
 * terminator rules, a buffer too small told the wide size it needs.
 *   GetCPInfoExW         a null record answers FALSE, ERROR_INVALID_PARAMETER
 *                        (memory safety: the A function may write through it).
 *   LCMapStringW, GetNumberFormatW  a null buffer with a count above 0 answers 0,
 *                        ERROR_INVALID_PARAMETER (memory safety).
 *   GetStartupInfoW      the desktop and title point into storage that lives as
 *                        long as the process, up to 1,023 characters each.
 */

/*
 * Window-manager functions beyond the families above, on Windows 95, 98 and Me:
 *   wvsprintfW           torwen formats itself (the system has no wide
 *                        formatter); an output that reaches the 1,024-character
 *                        limit ends with a NUL at 1,023 and answers 1,024.
 *   wsprintfW            the one C call among the exports, undecorated as the
 *                        system's; it formats through wvsprintfW on both paths.
 *   CharLowerW, CharUpperW  a character the code page lacks stays as it is.
 *   MessageBoxIndirectW, EnumDisplaySettingsExW, EnumDisplayDevicesW  a null record
 *                        answers 0, ERROR_INVALID_PARAMETER (memory safety).
 */

/*
 * Shell functions beyond the families above, on Windows 95, 98 and Me:
 *   SHFileOperationW     a list that lacks its final empty name and ends where
 *                        readable memory ends is taken to end there (memory safety).
 *                        Mapping handles hold the A function's ANSI names.
 *   Shell_NotifyIconW    a text whose bytes do not fit its ANSI field is cut after
 *                        its last whole character that does; a wide field is read
 *                        no further than its size.
 */

/*
 * FindTextW and ReplaceTextW on Windows 95, 98 and Me: the dialog gets an A record
 * and text buffers in a block of torwen's that lives while the dialog does (freed
 * when its Cancel button closes it, or when it is destroyed otherwise), and a hook
 * of torwen's that answers the Find Next, Replace, Replace All and Cancel buttons:
 * it copies the texts and options into the caller's FINDREPLACEW and sends the
 * owner FINDMSGSTRING with that record, as on the NT family. The caller keeps its
 * record and buffers alive while the dialog lives; its own hook, with
 * FR_ENABLEHOOK, sees every message first and receives its record in
 * WM_INITDIALOG.
 */

#ifdef __cplusplus
}
#endif

#endif /* TORWEN_H */
