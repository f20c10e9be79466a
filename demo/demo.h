/* Sections of the demo: each shows one family of torwen's exports at work and
 * prints what it called and what came back. */
#ifndef TORWEN_DEMO_H
#define TORWEN_DEMO_H

#include <windows.h>

void DemoVersion(void);
void DemoFiles(void);
void DemoProcess(void);
void DemoProfile(void);
void DemoFormat(void);
void DemoWindow(void);
void DemoGdi(void);
void DemoCommonControls(void);
void DemoControls(void);
void DemoOpenDialog(void);
void DemoServices(void);
void DemoBeyond(void);

/* Prints a wide string as UTF-8. */
void DemoPrint(const char *label, const WCHAR *text);

#endif
