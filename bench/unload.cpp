// A plug-in host's use of torwen (load, call, unload), and what an allocation
// failure costs against an ordinary call.
#include <cstdio>

#include "bench.h"

namespace {

// A second file of torwen.dll: loading it maps a module of its own, where loading
// torwen.dll again would only count a reference.
class Copy {
public:
    Copy()
    {
        char source[MAX_PATH], dir[MAX_PATH];
        GetModuleFileNameA(GetModuleHandleA("torwen.dll"), source, MAX_PATH);
        GetTempPathA(MAX_PATH, dir);
        std::snprintf(path, sizeof path, "%storwen-bench-%lu.dll", dir, GetCurrentProcessId());
        CopyFileA(source, path, FALSE);
    }
    ~Copy() { DeleteFileA(path); }
    char path[MAX_PATH];
};

using GetCurrentDirectoryFn = DWORD(WINAPI*)(DWORD, LPWSTR);

// No heap has this many bytes: on the ANSI path the out buffer fails to allocate.
const DWORD Unallocatable = 0xFFFFFFF0;

}  // namespace

TORWEN_BENCH(Unload)
{
    static Copy copy;
    static WCHAR dir[MAX_PATH];
    bench.compare(
        "load, 2 calls (1 failing), unload",
        [] {
            HMODULE m = LoadLibraryA(copy.path);
            auto getDir = reinterpret_cast<GetCurrentDirectoryFn>(
                reinterpret_cast<void*>(GetProcAddress(m, "_GetCurrentDirectoryW@8")));
            getDir(MAX_PATH, dir);
            getDir(Unallocatable, dir);
            FreeLibrary(m);
        },
        "load, unload", [] { FreeLibrary(LoadLibraryA(copy.path)); });
    if (!bench.unicodePlatform)
        bench.compare("GetCurrentDirectoryW: allocation fails",
                      [] { GetCurrentDirectoryW(Unallocatable, dir); },
                      "GetCurrentDirectoryW: ordinary call",
                      [] { GetCurrentDirectoryW(MAX_PATH, dir); });
}
