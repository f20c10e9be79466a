// The static C++ runtime linked into torwen asks kernel32 for two W functions
// (GetModuleHandleW for its locale support, CreateSemaphoreW for its mutexes).
// Windows 95 has them only as stubs that fail, so their import slots are filled
// here with equivalents built on the A functions, and torwen's import table names
// neither.
#include "core/win32.h"

namespace {

// The runtime passes short ASCII names or none.
bool ToAnsiName(LPCWSTR name, char (&out)[MAX_PATH])
{
    return WideCharToMultiByte(CP_ACP, 0, name, -1, out, MAX_PATH, nullptr, nullptr) != 0;
}

HMODULE WINAPI RuntimeGetModuleHandleW(LPCWSTR name)
{
    char ansi[MAX_PATH];
    if (!name)
        return GetModuleHandleA(nullptr);
    return ToAnsiName(name, ansi) ? GetModuleHandleA(ansi) : nullptr;
}

HANDLE WINAPI RuntimeCreateSemaphoreW(LPSECURITY_ATTRIBUTES sa, LONG initial, LONG maximum,
                                      LPCWSTR name)
{
    char ansi[MAX_PATH];
    if (!name)
        return CreateSemaphoreA(sa, initial, maximum, nullptr);
    return ToAnsiName(name, ansi) ? CreateSemaphoreA(sa, initial, maximum, ansi) : nullptr;
}

}  // namespace

extern "C" {
extern void* const RuntimeGetModuleHandleWSlot __asm__("__imp__GetModuleHandleW@4");
extern void* const RuntimeCreateSemaphoreWSlot __asm__("__imp__CreateSemaphoreW@16");
void* const RuntimeGetModuleHandleWSlot = reinterpret_cast<void*>(&RuntimeGetModuleHandleW);
void* const RuntimeCreateSemaphoreWSlot = reinterpret_cast<void*>(&RuntimeCreateSemaphoreW);
}
