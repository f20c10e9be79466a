#include "bench.h"

TORWEN_BENCH(Process)
{
    static WCHAR w[64];
    static char a[64];
    SetEnvironmentVariableA("TORWEN_BENCH", "a value of some length");
    auto systemW = reinterpret_cast<decltype(&GetEnvironmentVariableW)>(
        reinterpret_cast<void*>(BenchSystemFunction("kernel32.dll", "GetEnvironmentVariableW")));
    if (bench.unicodePlatform)
        bench.compare(
            "GetEnvironmentVariableW", [] { GetEnvironmentVariableW(L"TORWEN_BENCH", w, 64); },
            "GetEnvironmentVariableW (system)", [=] { systemW(L"TORWEN_BENCH", w, 64); });
    else
        bench.compare(
            "GetEnvironmentVariableW", [] { GetEnvironmentVariableW(L"TORWEN_BENCH", w, 64); },
            "GetEnvironmentVariableA", [] { GetEnvironmentVariableA("TORWEN_BENCH", a, 64); });
}
