// Nanoseconds per call through torwen against the system's own function.
//
// Each file registers a section with TORWEN_BENCH; a section compares calls with
// bench.compare(). On the NT family the baseline is the system's W function; on
// Windows 95, 98 and Me it is the A function with strings converted in advance.
#pragma once

#include <windows.h>

#include <functional>

class Bench {
public:
    // True when torwen takes the W path on this system.
    bool unicodePlatform;

    void compare(const char* call, const std::function<void()>& torwen,
                 const char* baselineName, const std::function<void()>& baseline);
};

bool BenchRegister(void (*section)(Bench&));

// The system's own function of this name, bypassing torwen's import library.
FARPROC BenchSystemFunction(const char* dll, const char* name);

#define TORWEN_BENCH(section)                                              \
    static void section(Bench&);                                           \
    [[maybe_unused]] static const bool section##Registered = BenchRegister(section); \
    static void section(Bench& bench)
