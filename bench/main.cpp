#include <algorithm>
#include <cstdio>
#include <vector>

#include "bench.h"

namespace {

std::vector<void (*)(Bench&)>& Sections()
{
    static std::vector<void (*)(Bench&)> sections;
    return sections;
}

double Now()
{
    static LARGE_INTEGER frequency;
    if (!frequency.QuadPart)
        QueryPerformanceFrequency(&frequency);
    LARGE_INTEGER t;
    QueryPerformanceCounter(&t);
    return double(t.QuadPart) * 1e9 / double(frequency.QuadPart);
}

// How many calls make a round long enough to be timed well.
long CallsPerRound(const std::function<void()>& call)
{
    long n = 1;
    for (;;) {
        double start = Now();
        for (long i = 0; i < n; ++i)
            call();
        if (Now() - start > 5e6 || n > (1L << 26))
            return n;
        n *= 2;
    }
}

double RoundNs(const std::function<void()>& call, long n)
{
    double start = Now();
    for (long i = 0; i < n; ++i)
        call();
    return (Now() - start) / double(n);
}

}  // namespace

bool BenchRegister(void (*section)(Bench&))
{
    Sections().push_back(section);
    return true;
}

FARPROC BenchSystemFunction(const char* dll, const char* name)
{
    HMODULE module = GetModuleHandleA(dll);
    if (!module)
        module = LoadLibraryA(dll);
    return module ? GetProcAddress(module, name) : nullptr;
}

void Bench::compare(const char* call, const std::function<void()>& torwen,
                    const char* baselineName, const std::function<void()>& baseline)
{
    // Warm both up (first calls bind functions and fill caches).
    torwen();
    baseline();
    // Rounds alternate, so that a busy machine slows both alike; the best round counts.
    long n = CallsPerRound(baseline);
    double t = 1e300, b = 1e300;
    for (int round = 0; round < 15; ++round) {
        t = std::min(t, RoundNs(torwen, n));
        b = std::min(b, RoundNs(baseline, n));
    }
    std::printf("%-44s %10.1f  %-40s %10.1f  %6.2f\n", call, t, baselineName, b, t / b);
}

int main()
{
    OSVERSIONINFOA version;
    version.dwOSVersionInfoSize = sizeof version;
    GetVersionExA(&version);
    Bench bench;
    bench.unicodePlatform = version.dwPlatformId == VER_PLATFORM_WIN32_NT;

    std::printf("torwen benchmark: %s path, ANSI code page %u\n",
                bench.unicodePlatform ? "W" : "ANSI", GetACP());
    std::printf("%-44s %10s  %-40s %10s  %6s\n", "through torwen", "ns/call", "baseline",
                "ns/call", "ratio");
    for (auto section : Sections())
        section(bench);
    return 0;
}
