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

// The best of several rounds of a loop long enough to be timed well.
double NsPerCall(const std::function<void()>& call)
{
    long n = 1;
    for (;;) {
        double start = Now();
        for (long i = 0; i < n; ++i)
            call();
        if (Now() - start > 20e6 || n > (1L << 26))
            break;
        n *= 2;
    }
    double best = 1e300;
    for (int round = 0; round < 5; ++round) {
        double start = Now();
        for (long i = 0; i < n; ++i)
            call();
        double ns = (Now() - start) / double(n);
        if (ns < best)
            best = ns;
    }
    return best;
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
    double t = NsPerCall(torwen);
    double b = NsPerCall(baseline);
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
