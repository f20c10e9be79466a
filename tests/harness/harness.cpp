#include "harness/harness.h"

#include <map>
#include <set>

namespace harness {
namespace {

// A route: torwen's import of one function jumps through `cell`.
struct Route {
    void* cell;
    unsigned char* jump;  // FF 25 <&cell>: jmp dword ptr [cell]
};

unsigned char* ExecutableBytes(std::size_t n)
{
    static unsigned char* next = nullptr;
    static std::size_t left = 0;
    if (left < n) {
        next = static_cast<unsigned char*>(
            VirtualAlloc(nullptr, 65536, MEM_COMMIT | MEM_RESERVE, PAGE_EXECUTE_READWRITE));
        left = 65536;
    }
    unsigned char* p = next;
    next += n;
    left -= n;
    return p;
}

std::map<std::string, Route*>& Routes()
{
    static std::map<std::string, Route*> routes;
    return routes;
}

std::set<std::string>& Missing()
{
    static std::set<std::string> missing;
    return missing;
}

Route* RouteFor(const char* name, void* target)
{
    Route*& route = Routes()[name];
    if (!route) {
        route = new Route{target, ExecutableBytes(8)};
        route->jump[0] = 0xFF;
        route->jump[1] = 0x25;
        void** cell = &route->cell;
        memcpy(route->jump + 2, &cell, 4);
        route->jump[6] = 0xCC;
        route->jump[7] = 0xCC;
    }
    return route;
}

// ---- torwen's heap, seen through its HeapAlloc and HeapFree imports

decltype(&HeapAlloc) realHeapAlloc;
decltype(&HeapFree) realHeapFree;
decltype(&HeapSize) realHeapSize;

// Blocks placed before a no-access page, by address: their requested size.
bool guardBlocks = false;
std::map<void*, SIZE_T> guardedBlocks;

void* GuardedAlloc(SIZE_T size)
{
    SIZE_T pages = (size + 4095) / 4096;
    auto* base = static_cast<unsigned char*>(
        VirtualAlloc(nullptr, (pages + 1) * 4096, MEM_COMMIT | MEM_RESERVE, PAGE_READWRITE));
    if (!base)
        return nullptr;
    DWORD old;
    VirtualProtect(base + pages * 4096, 4096, PAGE_NOACCESS, &old);
    void* p = base + pages * 4096 - size;
    guardedBlocks[p] = size;
    return p;
}

bool GuardedFree(void* p)
{
    auto it = guardedBlocks.find(p);
    if (it == guardedBlocks.end())
        return false;
    guardedBlocks.erase(it);
    MEMORY_BASIC_INFORMATION info;
    VirtualQuery(p, &info, sizeof info);
    VirtualFree(info.AllocationBase, 0, MEM_RELEASE);
    return true;
}
decltype(&GetProcAddress) realGetProcAddress;

std::set<void*> live;
// torwen may be called from several threads at once: the bookkeeping below is shared.
CRITICAL_SECTION lock;
struct Locked {
    Locked() { EnterCriticalSection(&lock); }
    ~Locked() { LeaveCriticalSection(&lock); }
    Locked(const Locked&) = delete;
    Locked& operator=(const Locked&) = delete;
};
bool everythingMissing = false;
HMODULE kernel32;
int allocCalls = 0;
int failAt = 0;
std::vector<HeapEvent>* log = nullptr;

LPVOID WINAPI CountingHeapAlloc(HANDLE heap, DWORD flags, SIZE_T size)
{
    Locked locked;
    if (++allocCalls == failAt)
        return nullptr;
    void* p = guardBlocks ? GuardedAlloc(size) : realHeapAlloc(heap, flags, size);
    if (p) {
        live.insert(p);
        if (log)
            log->push_back({HeapEvent::Alloc, p, size});
    }
    return p;
}

BOOL WINAPI CountingHeapFree(HANDLE heap, DWORD flags, LPVOID p)
{
    Locked locked;
    if (live.erase(p) && log)
        log->push_back({HeapEvent::Free, p, 0});
    if (GuardedFree(p))
        return TRUE;
    return realHeapFree(heap, flags, p);
}

SIZE_T WINAPI GuardedHeapSize(HANDLE heap, DWORD flags, LPCVOID p)
{
    Locked locked;
    auto it = guardedBlocks.find(const_cast<void*>(p));
    return it != guardedBlocks.end() ? it->second : realHeapSize(heap, flags, p);
}

// Functions bound on first use are handed a route of their own.
FARPROC WINAPI RoutedGetProcAddress(HMODULE module, LPCSTR name)
{
    Locked locked;
    if (IS_INTRESOURCE(name)) {
        if (everythingMissing && module != kernel32) {
            SetLastError(ERROR_PROC_NOT_FOUND);
            return nullptr;
        }
        return realGetProcAddress(module, name);
    }
    const bool wide = name[0] && name[lstrlenA(name) - 1] == 'W';
    if (Missing().count(name) || (everythingMissing && (wide || module != kernel32))) {
        SetLastError(ERROR_PROC_NOT_FOUND);
        return nullptr;
    }
    FARPROC fn = realGetProcAddress(module, name);
    if (!fn)
        return nullptr;
    return reinterpret_cast<FARPROC>(RouteFor(name, reinterpret_cast<void*>(fn))->jump);
}

template <typename T>
T* At(HMODULE module, DWORD rva)
{
    return reinterpret_cast<T*>(reinterpret_cast<BYTE*>(module) + rva);
}

IMAGE_NT_HEADERS* Headers(HMODULE module)
{
    return At<IMAGE_NT_HEADERS>(module, At<IMAGE_DOS_HEADER>(module, 0)->e_lfanew);
}

// Routes the module's kernel32 imports (the only DLL whose imports are all
// functions: a data import must keep pointing at its data).
void InstallRouting(HMODULE module)
{
    const IMAGE_DATA_DIRECTORY& dir =
        Headers(module)->OptionalHeader.DataDirectory[IMAGE_DIRECTORY_ENTRY_IMPORT];
    for (auto* d = At<IMAGE_IMPORT_DESCRIPTOR>(module, dir.VirtualAddress); d->Name; ++d) {
        if (lstrcmpiA(At<char>(module, d->Name), "kernel32.dll") != 0)
            continue;
        auto* names = At<IMAGE_THUNK_DATA>(module, d->OriginalFirstThunk);
        auto* slots = At<IMAGE_THUNK_DATA>(module, d->FirstThunk);
        for (; names->u1.AddressOfData; ++names, ++slots) {
            if (IMAGE_SNAP_BY_ORDINAL(names->u1.Ordinal))
                continue;
            const char* name = At<IMAGE_IMPORT_BY_NAME>(module, names->u1.AddressOfData)->Name;
            void* real = reinterpret_cast<void*>(slots->u1.Function);
            Route* route = RouteFor(name, real);
            if (!lstrcmpA(name, "HeapAlloc")) {
                realHeapAlloc = reinterpret_cast<decltype(&HeapAlloc)>(real);
                route->cell = reinterpret_cast<void*>(&CountingHeapAlloc);
            } else if (!lstrcmpA(name, "HeapFree")) {
                realHeapFree = reinterpret_cast<decltype(&HeapFree)>(real);
                route->cell = reinterpret_cast<void*>(&CountingHeapFree);
            } else if (!lstrcmpA(name, "HeapSize")) {
                realHeapSize = reinterpret_cast<decltype(&HeapSize)>(real);
                route->cell = reinterpret_cast<void*>(&GuardedHeapSize);
            } else if (!lstrcmpA(name, "GetProcAddress")) {
                realGetProcAddress = reinterpret_cast<decltype(&GetProcAddress)>(real);
                route->cell = reinterpret_cast<void*>(&RoutedGetProcAddress);
            }
            DWORD old;
            VirtualProtect(&slots->u1.Function, sizeof(void*), PAGE_READWRITE, &old);
            slots->u1.Function = reinterpret_cast<DWORD_PTR>(route->jump);
            VirtualProtect(&slots->u1.Function, sizeof(void*), old, &old);
        }
    }
}

}  // namespace

bool AnsiPath()
{
    OSVERSIONINFOA v;
    v.dwOSVersionInfoSize = sizeof v;
    GetVersionExA(&v);
    return v.dwPlatformId != VER_PLATFORM_WIN32_NT;
}

UINT CodePage()
{
    return GetACP();
}

HMODULE Torwen()
{
#ifdef TORWEN_HARNESS_WATCHES_DLL
    // Loaded even by a test program that imports nothing from it.
    return LoadLibraryA("torwen.dll");
#else
    return GetModuleHandleA(nullptr);
#endif
}

void** ImportCell(const char* name)
{
    auto it = Routes().find(name);
    return it == Routes().end() ? nullptr : &it->second->cell;
}

bool Imports(const char* name)
{
    return ImportCell(name) != nullptr;
}

void MakeMissing(const char* name)
{
    Missing().insert(name);
}

void MakeEverythingMissing()
{
    everythingMissing = true;
}

void* MakeContextThunk(void* context, void* target)
{
    unsigned char* code = ExecutableBytes(12);
    code[0] = 0x58;  // pop eax: the return address
    code[1] = 0x68;  // push context
    memcpy(code + 2, &context, 4);
    code[6] = 0x50;  // push eax
    code[7] = 0xE9;  // jmp target
    INT32 rel = static_cast<INT32>(reinterpret_cast<INT_PTR>(target) -
                                   reinterpret_cast<INT_PTR>(code + 12));
    memcpy(code + 8, &rel, 4);
    return code;
}

HeapLog::HeapLog()
{
    log = new std::vector<HeapEvent>;
}

HeapLog::~HeapLog()
{
    delete log;
    log = nullptr;
}

const std::vector<HeapEvent>& HeapLog::events() const
{
    return *log;
}

std::vector<SIZE_T> HeapLog::allocationSizes() const
{
    std::vector<SIZE_T> sizes;
    for (const HeapEvent& e : *log)
        if (e.kind == HeapEvent::Alloc)
            sizes.push_back(e.size);
    return sizes;
}

bool HeapLog::freedInReverseOrder() const
{
    std::vector<void*> held;
    for (const HeapEvent& e : *log) {
        if (e.kind == HeapEvent::Alloc) {
            held.push_back(e.block);
        } else {
            if (held.empty() || held.back() != e.block)
                return false;
            held.pop_back();
        }
    }
    return held.empty();
}

namespace {
const SIZE_T GuardSpan = 16 * 4096;  // room for the buffers, then the page
}

GuardPage::GuardPage()
{
    base = static_cast<unsigned char*>(
        VirtualAlloc(nullptr, GuardSpan + 4096, MEM_COMMIT | MEM_RESERVE, PAGE_READWRITE));
    limit = base + GuardSpan;
    DWORD old;
    VirtualProtect(limit, 4096, PAGE_NOACCESS, &old);
}

GuardPage::~GuardPage()
{
    VirtualFree(base, 0, MEM_RELEASE);
}

GuardedHeapBlocks::GuardedHeapBlocks()
{
    guardBlocks = true;
}

GuardedHeapBlocks::~GuardedHeapBlocks()
{
    guardBlocks = false;
}

std::size_t LiveBlocks()
{
    Locked locked;
    return live.size();
}

void Forgive(void* block)
{
    Locked locked;
    live.erase(block);
}

void FailHeapAllocAt(int k)
{
    failAt = k;
    allocCalls = 0;
}

int HeapAllocCalls()
{
    return allocCalls;
}

int SweepAllocationFailures(const std::function<void(int k)>& call)
{
    for (int k = 1;; ++k) {
        std::size_t before = LiveBlocks();
        FailHeapAllocAt(k);
        call(k);
        int made = HeapAllocCalls();
        FailHeapAllocAt(0);
        EXPECT_EQ(LiveBlocks(), before) << "with allocation " << k << " failing";
        if (made < k)
            return k - 1;
        if (k > 1000) {
            ADD_FAILURE() << "more than 1000 allocations in one call";
            return k;
        }
    }
}

void TorwenTest::SetUp()
{
    blocksBefore = LiveBlocks();
}

void TorwenTest::TearDown()
{
    FailHeapAllocAt(0);
    EXPECT_EQ(LiveBlocks(), blocksBefore) << "torwen left heap blocks behind";
}

std::string ToAnsi(const std::wstring& s)
{
    int n = WideCharToMultiByte(CP_ACP, 0, s.c_str(), -1, nullptr, 0, nullptr, nullptr);
    std::string out(n, '\0');
    WideCharToMultiByte(CP_ACP, 0, s.c_str(), -1, out.data(), n, nullptr, nullptr);
    out.resize(n ? n - 1 : 0);
    return out;
}

std::wstring FromAnsi(const std::string& s)
{
    int n = MultiByteToWideChar(CP_ACP, 0, s.c_str(), -1, nullptr, 0);
    std::wstring out(n, L'\0');
    MultiByteToWideChar(CP_ACP, 0, s.c_str(), -1, out.data(), n);
    out.resize(n ? n - 1 : 0);
    return out;
}

std::wstring NonAsciiText()
{
    switch (CodePage()) {
    case 932:
        return L"\u65E5\u672C\u8A9E\u30C6\u30AD\u30B9\u30C8";  // 日本語テキスト
    case 1252:
        return L"caf\u00E9 \u00FCber";  // café über
    default:
        return L"plain text";
    }
}

EntryPoint TorwenEntryPoint()
{
    HMODULE dll = Torwen();
    return At<std::remove_pointer_t<EntryPoint>>(dll,
                                                  Headers(dll)->OptionalHeader.AddressOfEntryPoint);
}

void InstallRouting()
{
    InitializeCriticalSection(&lock);
    kernel32 = GetModuleHandleA("kernel32.dll");
    InstallRouting(Torwen());
}

}  // namespace harness
