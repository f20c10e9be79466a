// The interception harness: what torwen hands to the system, seen from outside.
//
// Before the first test runs, the test program's main routes every import of
// torwen.dll (for the tests of tests/core, of the test program itself) through a
// small jump of the harness's own: the static imports by patching the import
// table, and the functions torwen binds on first use by answering its
// GetProcAddress calls with such a jump. A test can then
//   - record or replace what torwen calls:
//         TW_HOOK(hook, GetVersionExA, [&](LPOSVERSIONINFOA info) {
//             seenSize = info->dwOSVersionInfoSize;
//             return hook.real(info);               // the system's function
//         });
//   - make torwen's k-th HeapAlloc fail, or sweep k over every allocation:
//         harness::SweepAllocationFailures([&] { ...call the export, check... });
//   - look at torwen's heap: the blocks it holds and the order of its HeapAlloc and
//     HeapFree calls (HeapLog);
//   - make a system function missing before torwen first binds it (MakeMissing).
// Tests derive their fixtures from harness::TorwenTest, which fails a test that
// leaves one of torwen's heap blocks behind.
#pragma once

#include <windows.h>

#include <gtest/gtest.h>

#include <cstddef>
#include <functional>
#include <string>
#include <vector>

namespace harness {

// ---- the configuration the test runs in

bool AnsiPath();   // torwen converts and calls the A functions
UINT CodePage();   // the ANSI code page: 1252 or 932
HMODULE Torwen();  // torwen.dll (the test program itself for the tests of the core)

// ---- routing

// Routes torwen's imports through the harness; the test programs' main calls it
// before the first test.
void InstallRouting();

// The cell that torwen's import of `name` jumps through; null if torwen does not
// import the function (yet: a function bound on first use appears at its first call).
void** ImportCell(const char* name);
bool Imports(const char* name);

// Makes GetProcAddress fail for `name`, as on a system that lacks the function.
// Takes effect only if torwen has not bound it yet.
void MakeMissing(const char* name);
// Makes GetProcAddress fail for every W function and every function of a DLL other
// than kernel32 (by name or by ordinal), as on Windows 95 without any of them: call it before torwen binds.
void MakeEverythingMissing();

// Generates a stdcall entry that passes `context` ahead of the caller's arguments
// to `target` (which therefore pops one argument more).
void* MakeContextThunk(void* context, void* target);

template <typename Fn>
class Hook;

// Replaces torwen's view of a system function for the hook's lifetime.
template <typename R, typename... A>
class Hook<R(WINAPI*)(A...)> {
public:
    using Fn = R(WINAPI*)(A...);

    Hook(const char* name, std::function<R(A...)> replacement)
        : cell(ImportCell(name)), fn(std::move(replacement))
    {
        if (!cell) {
            ADD_FAILURE() << "torwen does not import " << name;
            return;
        }
        previous = reinterpret_cast<Fn>(*cell);
        *cell = MakeContextThunk(this, reinterpret_cast<void*>(&Entry));
    }
    ~Hook()
    {
        if (cell)
            *cell = reinterpret_cast<void*>(previous);
    }
    Hook(const Hook&) = delete;
    Hook& operator=(const Hook&) = delete;

    // What the hook replaced: the system's function, or an outer hook.
    R real(A... args) const { return previous(args...); }
    int calls = 0;

private:
    static R WINAPI Entry(Hook* self, A... args)
    {
        ++self->calls;
        return self->fn(args...);
    }

    void** cell;
    std::function<R(A...)> fn;
    Fn previous = nullptr;
};

#define TW_HOOK(var, name, ...) ::harness::Hook<decltype(&::name)> var{#name, __VA_ARGS__}

// ---- torwen's heap

struct HeapEvent {
    enum Kind { Alloc, Free } kind;
    void* block;
    SIZE_T size;  // requested size, for Alloc
};

// Records torwen's HeapAlloc and HeapFree calls while it lives.
class HeapLog {
public:
    HeapLog();
    ~HeapLog();
    const std::vector<HeapEvent>& events() const;
    std::vector<SIZE_T> allocationSizes() const;
    // Whether every block was freed in the reverse order of its allocation.
    bool freedInReverseOrder() const;
};

// Blocks torwen allocated and has not freed.
std::size_t LiveBlocks();
// Blocks that a test hands over on purpose (a buffer the caller owns).
void Forgive(void* block);

// The k-th HeapAlloc of torwen from now on fails (k = 1 is the next one); 0 stops.
void FailHeapAllocAt(int k);
// HeapAlloc calls of torwen since the last FailHeapAllocAt.
int HeapAllocCalls();

// Runs `call` with the 1st, 2nd, ... allocation failing, until a run makes no
// more allocations than the one failed; returns how many failing runs there were.
// `call` checks what it sees (failure value, last error) itself; the sweep checks
// that each run frees every block it allocated.
int SweepAllocationFailures(const std::function<void(int k)>& call);

// ---- memory that ends at a no-access page

// Buffers and strings placed so that their last byte is followed by a page that
// may be neither read nor written: a call that runs past them faults at once
// instead of quietly touching the heap or the stack.
//     harness::GuardPage guard;
//     WCHAR* buf = guard.End<WCHAR>(10);           // 10 characters, then the page
//     LPCWSTR list = guard.Copy(L"a\0b\0", 5);     // ends exactly at its last NUL
class GuardPage {
public:
    GuardPage();
    ~GuardPage();
    GuardPage(const GuardPage&) = delete;
    GuardPage& operator=(const GuardPage&) = delete;

    // `count` elements filled with `fill`, ending where the page begins. Each call
    // hands out the same memory again.
    template <typename T>
    T* End(std::size_t count, T fill = T())
    {
        T* p = reinterpret_cast<T*>(limit) - count;
        for (std::size_t i = 0; i < count; ++i)
            p[i] = fill;
        return p;
    }

    template <typename T>
    T* Copy(const T* data, std::size_t count)
    {
        T* p = End<T>(count);
        for (std::size_t i = 0; i < count; ++i)
            p[i] = data[i];
        return p;
    }

private:
    unsigned char* base;
    unsigned char* limit;  // the first byte of the no-access page
};

// While one lives, every block torwen allocates ends at a no-access page too: a
// conversion that reads or writes past torwen's own block faults at once.
class GuardedHeapBlocks {
public:
    GuardedHeapBlocks();
    ~GuardedHeapBlocks();
    GuardedHeapBlocks(const GuardedHeapBlocks&) = delete;
    GuardedHeapBlocks& operator=(const GuardedHeapBlocks&) = delete;
};

// ---- the fixture

class TorwenTest : public ::testing::Test {
protected:
    void SetUp() override;
    void TearDown() override;

private:
    std::size_t blocksBefore = 0;
};

// ---- text

// The string in the ANSI code page (for comparing what the A function received).
std::string ToAnsi(const std::wstring& s);
std::wstring FromAnsi(const std::string& s);

// A name with characters beyond ASCII that the running code page can hold: "é" and
// "ü" under 1252, a kanji pair under 932.
std::wstring NonAsciiText();

// The PE entry point of torwen.dll.
using EntryPoint = BOOL(WINAPI*)(HINSTANCE, DWORD, LPVOID);
EntryPoint TorwenEntryPoint();

}  // namespace harness
