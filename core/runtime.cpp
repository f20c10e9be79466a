// The module's entry point, and what torwen needs of the static C++ runtime linked
// into it and what it must not take from it.
//
// A host may load and unload torwen thousands of times, on Windows 95 with its
// few TLS indexes, and an allocation failure must answer the export's failure
// value whatever state the process is in. The runtime as shipped would keep a
// memory pool and a handle of every loaded copy, spend a TLS index and a handle of
// its emulated thread-local storage on the first exception, and abort when no
// index or no memory is left for them. So the parts of it that exceptions go
// through are replaced here: exceptions are made in blocks of this module's own
// data, and the per-thread exception records live in a table keyed by thread id,
// not in thread-local storage.
#include <cstring>
#include <exception>
#include <iterator>

#include "core/state.h"

namespace {

// ---- the runtime's calls into kernel32 for W functions

// The runtime asks kernel32 for two W functions (GetModuleHandleW for its locale
// support, CreateSemaphoreW for its mutexes). Windows 95 has them only as stubs
// that fail, so their import slots are filled here with equivalents built on the
// A functions, and torwen's import table names neither.

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

// The runtime never closes the semaphores of its mutexes (the unwinder's lock on
// its table of code ranges is made once per load): they are closed when the
// module is unloaded.
HANDLE runtimeSemaphores[8];

HANDLE WINAPI RuntimeCreateSemaphoreW(LPSECURITY_ATTRIBUTES sa, LONG initial, LONG maximum,
                                      LPCWSTR name)
{
    char ansi[MAX_PATH];
    if (name && !ToAnsiName(name, ansi))
        return nullptr;
    HANDLE h = CreateSemaphoreA(sa, initial, maximum, name ? ansi : nullptr);
    for (HANDLE& kept : runtimeSemaphores) {
        HANDLE none = nullptr;
        if (!h || __atomic_compare_exchange_n(&kept, &none, h, false, __ATOMIC_ACQ_REL,
                                              __ATOMIC_RELAXED))
            break;
    }
    return h;
}

// At detach. The unwinder takes its lock once more after that, while the C
// runtime's exit list runs; a lock nobody contends never waits on its semaphore.
void CloseRuntimeSemaphores()
{
    for (HANDLE& kept : runtimeSemaphores) {
        if (kept)
            CloseHandle(kept);
        kept = nullptr;
    }
}

// ---- memory for exceptions in flight

// (Code that used std::exception_ptr would pull the runtime's own allocator back
// in: the link then fails on its second definition of these functions.)

// The runtime keeps its own header in front of every thrown object (0x60 bytes
// in this runtime); each block leaves more room than that, zeroed, as the runtime
// expects it. Threads hold a block only from the throw to the end of its catch,
// so a few dozen cover every thread that can be failing at once.
constexpr std::size_t HeaderRoom = 128;
constexpr std::size_t LargestThrown = 32;  // CAtException takes 4

struct alignas(16) ExceptionBlock {
    unsigned char bytes[HeaderRoom + LargestThrown];
};

ExceptionBlock exceptionBlocks[32];
bool exceptionBlockTaken[32];

int BlockIndex(const void* thrown)
{
    auto* block = reinterpret_cast<const ExceptionBlock*>(
        static_cast<const unsigned char*>(thrown) - HeaderRoom);
    std::size_t i = block - exceptionBlocks;
    return i < std::size(exceptionBlocks) ? int(i) : -1;
}

// ---- the per-thread exception records

// The runtime's record of one thread: the exceptions it is handling, innermost
// first, and how many it has thrown and not yet caught.
struct ThreadExceptions {
    void* caughtExceptions;
    unsigned int uncaughtExceptions;
};

// A thread owns an entry from its first throw until the catch that leaves it
// with no exception; entries are claimed with an atomic exchange on the owner,
// so no lock is needed and the table can never fail the way an allocation can.
struct ThreadEntry {
    DWORD owner;  // the thread's id; 0 while free
    ThreadExceptions record;
};

ThreadEntry threadEntries[32];

ThreadEntry* OwnEntry(DWORD thread)
{
    for (ThreadEntry& entry : threadEntries) {
        if (__atomic_load_n(&entry.owner, __ATOMIC_ACQUIRE) == thread)
            return &entry;
    }
    return nullptr;
}

void Release(ThreadEntry& entry)
{
    entry.record = {};
    __atomic_store_n(&entry.owner, DWORD(0), __ATOMIC_RELEASE);
}

// A thread that ends gives its entry back, also one that ends inside a catch
// (ExitThread from a handler) and so never finishes it.
void ReleaseThreadEntry()
{
    if (ThreadEntry* own = OwnEntry(GetCurrentThreadId()))
        Release(*own);
}

}  // namespace

extern "C" {

extern void* const RuntimeGetModuleHandleWSlot __asm__("__imp__GetModuleHandleW@4");
extern void* const RuntimeCreateSemaphoreWSlot __asm__("__imp__CreateSemaphoreW@16");
void* const RuntimeGetModuleHandleWSlot = reinterpret_cast<void*>(&RuntimeGetModuleHandleW);
void* const RuntimeCreateSemaphoreWSlot = reinterpret_cast<void*>(&RuntimeCreateSemaphoreW);

// The C runtime's start-up code runs a TLS callback of the runtime if there is
// one. Without it the module has no TLS directory, which Windows 95, 98 and Me
// would not honour for a DLL loaded with LoadLibrary; nothing in torwen keeps
// thread-local data.
extern const PIMAGE_TLS_CALLBACK __dyn_tls_init_callback;
const PIMAGE_TLS_CALLBACK __dyn_tls_init_callback = nullptr;

void* __cxa_allocate_exception(std::size_t size) noexcept
{
    if (size > LargestThrown)
        std::terminate();  // torwen throws CAtException only
    for (;;) {
        for (std::size_t i = 0; i < std::size(exceptionBlocks); ++i) {
            if (!__atomic_exchange_n(&exceptionBlockTaken[i], true, __ATOMIC_ACQUIRE)) {
                std::memset(exceptionBlocks[i].bytes, 0, sizeof exceptionBlocks[i].bytes);
                return exceptionBlocks[i].bytes + HeaderRoom;
            }
        }
        Sleep(1);  // every block in flight on another thread: each is freed shortly
    }
}

void __cxa_free_exception(void* thrown) noexcept
{
    int i = BlockIndex(thrown);
    if (i >= 0)
        __atomic_store_n(&exceptionBlockTaken[i], false, __ATOMIC_RELEASE);
}

ThreadExceptions* __cxa_get_globals() noexcept
{
    DWORD thread = GetCurrentThreadId();
    for (;;) {
        if (ThreadEntry* own = OwnEntry(thread))
            return &own->record;
        for (ThreadEntry& entry : threadEntries) {
            DWORD free = 0;
            if (__atomic_compare_exchange_n(&entry.owner, &free, thread, false,
                                            __ATOMIC_ACQ_REL, __ATOMIC_RELAXED))
                return &entry.record;  // an entry is idle, all zero, when it is freed
        }
        Sleep(1);  // every entry in use by a thread between a throw and its catch
    }
}

ThreadExceptions* __cxa_get_globals_fast() noexcept
{
    return __cxa_get_globals();
}

// Every catch ends here (the linker routes the runtime's own calls and the
// compiler's through it): a thread left with no exception gives its entry back.
void __real___cxa_end_catch();
void __wrap___cxa_end_catch()
{
    __real___cxa_end_catch();
    ThreadEntry* own = OwnEntry(GetCurrentThreadId());
    if (own && !own->record.caughtExceptions && !own->record.uncaughtExceptions)
        Release(*own);
}

// A function-local static is initialized once, under the 64-bit guard the compiler
// gives it: its first byte says the object is made (the compiler tests it inline),
// the second that a thread is making it. (The runtime's version takes a mutex made
// of a semaphore per load, and brings thread-local storage functions along.)
int __cxa_guard_acquire(long long* guard) noexcept
{
    auto* flags = reinterpret_cast<unsigned char*>(guard);
    for (;;) {
        if (__atomic_load_n(&flags[0], __ATOMIC_ACQUIRE))
            return 0;
        if (!__atomic_exchange_n(&flags[1], 1, __ATOMIC_ACQUIRE)) {
            if (!__atomic_load_n(&flags[0], __ATOMIC_ACQUIRE))
                return 1;  // this thread makes the object
            __atomic_store_n(&flags[1], 0, __ATOMIC_RELEASE);
            return 0;
        }
        Sleep(1);  // another thread is making it
    }
}

void __cxa_guard_release(long long* guard) noexcept
{
    auto* flags = reinterpret_cast<unsigned char*>(guard);
    __atomic_store_n(&flags[0], 1, __ATOMIC_RELEASE);
    __atomic_store_n(&flags[1], 0, __ATOMIC_RELEASE);
}

// The initializer threw: the next use tries again.
void __cxa_guard_abort(long long* guard) noexcept
{
    __atomic_store_n(&reinterpret_cast<unsigned char*>(guard)[1], 0, __ATOMIC_RELEASE);
}

}  // extern "C"

extern "C" BOOL WINAPI DllMain(HINSTANCE hinst, DWORD reason, LPVOID)
{
    switch (reason) {
    case DLL_PROCESS_DETACH:
        AtProcessDetach();
        CloseRuntimeSemaphores();
        return TRUE;
    case DLL_PROCESS_ATTACH:
        return AtProcessAttach(hinst);
    case DLL_THREAD_ATTACH:
        return TRUE;
    case DLL_THREAD_DETACH:
        ReleaseThreadEntry();
        return TRUE;
    default:
        // Callers of the entry point rely on getting an unknown reason back as is.
        return static_cast<BOOL>(reason);
    }
}
