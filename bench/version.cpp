#include "bench.h"

TORWEN_BENCH(Version)
{
    static OSVERSIONINFOW w;
    static OSVERSIONINFOA a;
    w.dwOSVersionInfoSize = sizeof w;
    a.dwOSVersionInfoSize = sizeof a;
    auto systemW = reinterpret_cast<decltype(&GetVersionExW)>(
        reinterpret_cast<void*>(BenchSystemFunction("kernel32.dll", "GetVersionExW")));
    if (bench.unicodePlatform)
        bench.compare("GetVersionExW", [] { GetVersionExW(&w); }, "GetVersionExW (system)",
                      [=] { systemW(&w); });
    else
        bench.compare("GetVersionExW", [] { GetVersionExW(&w); }, "GetVersionExA",
                      [] { GetVersionExA(&a); });
}
