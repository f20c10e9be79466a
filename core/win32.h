// The platform headers, as torwen sees them.
//
// torwen's exports carry the system's own names. The headers' "implementing this
// DLL" switches declare those functions without dllimport, so each export is
// defined against the header's own declaration and the compiler checks that its
// signature is the system's. The system functions themselves are reached through
// kernel32's import library (the few that Windows 95 implements, see imports.h)
// or bound on first use.
#pragma once

#define _KERNEL32_
#define _USER32_
#define _GDI32_
#define _ADVAPI32_
#define _COMDLG32_
#define _SHELL32_
#define _SPOOL32_
#ifndef NOMINMAX
#define NOMINMAX
#endif
#define STRICT

#ifndef WINVER
#define WINVER 0x0500
#endif
#ifndef _WIN32_WINNT
#define _WIN32_WINNT 0x0500
#endif

#include <windows.h>
