#include "core/imports.h"

void* AtBindSystemFunction(const char* dll, const char* name)
{
    DWORD error = GetLastError();
    HMODULE module = GetModuleHandleA(dll);
    if (!module)
        module = LoadLibraryA(dll);  // kept loaded: what it binds stays in use
    void* fn = module ? reinterpret_cast<void*>(GetProcAddress(module, name)) : nullptr;
    SetLastError(error);
    return fn;
}
