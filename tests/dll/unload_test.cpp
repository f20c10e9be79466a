// torwen.dll as a plug-in host uses it: loaded, called and unloaded many times. And
// its failure path where a process has nothing left to give: no TLS index, no
// heap, a thread the DLL has never seen. A failure must answer the export's
// failure value there, as anywhere.
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <sstream>
#include <string>
#include <vector>

#include "harness/harness.h"

namespace {

// ---- what a load must leave as it found it

struct ProcessCounts {
    std::size_t heapBlocks = 0;
    std::size_t committedBytes = 0;
    int handles = 0;
    int freeTlsIndexes = 0;
};

std::ostream& operator<<(std::ostream& out, const ProcessCounts& c)
{
    return out << c.heapBlocks << " heap blocks, " << c.committedBytes << " committed bytes, "
               << c.handles << " handles, " << c.freeTlsIndexes << " free TLS indexes";
}

// Takes every free TLS index while it lives.
class AllTlsIndexesTaken {
public:
    AllTlsIndexesTaken()
    {
        for (DWORD i; (i = TlsAlloc()) != TLS_OUT_OF_INDEXES;)
            taken.push_back(i);
    }
    ~AllTlsIndexesTaken()
    {
        for (DWORD i : taken)
            TlsFree(i);
    }
    int count() const { return int(taken.size()); }

private:
    std::vector<DWORD> taken;
};

// Every heap of the process: the process heap and the C runtime's alike.
void CountHeaps(ProcessCounts& c)
{
    HANDLE heaps[64];
    DWORD n = GetProcessHeaps(64, heaps);
    ASSERT_LE(n, 64u);
    for (DWORD i = 0; i < n; ++i) {
        HeapLock(heaps[i]);
        PROCESS_HEAP_ENTRY entry = {};
        while (HeapWalk(heaps[i], &entry)) {
            if (entry.wFlags & PROCESS_HEAP_ENTRY_BUSY)
                ++c.heapBlocks;
            if (entry.wFlags & PROCESS_HEAP_REGION)
                c.committedBytes += entry.Region.dwCommittedSize;
        }
        HeapUnlock(heaps[i]);
    }
}

// Wine's GetProcessHandleCount answers 0: ask about every handle value instead.
int CountHandles()
{
    int n = 0;
    DWORD flags;
    for (UINT_PTR h = 4; h < 0x8000; h += 4)
        n += GetHandleInformation(reinterpret_cast<HANDLE>(h), &flags) ? 1 : 0;
    return n;
}

ProcessCounts Count()
{
    ProcessCounts c;
    c.freeTlsIndexes = AllTlsIndexesTaken().count();
    CountHeaps(c);
    c.handles = CountHandles();
    return c;
}

void ExpectUnchanged(const ProcessCounts& before, const ProcessCounts& after, const char* what)
{
    EXPECT_EQ(after.heapBlocks, before.heapBlocks) << what;
    EXPECT_EQ(after.committedBytes, before.committedBytes) << what;
    EXPECT_EQ(after.handles, before.handles) << what;
    EXPECT_EQ(after.freeTlsIndexes, before.freeTlsIndexes) << what;
}

// ---- a copy of torwen.dll under another name: loading it maps a module of its
// own, where loading torwen.dll again would only count one more reference to the
// module the test program links

class TorwenCopy {
public:
    TorwenCopy()
    {
        char source[MAX_PATH], dir[MAX_PATH];
        GetModuleFileNameA(harness::Torwen(), source, MAX_PATH);
        GetTempPathA(MAX_PATH, dir);
        std::snprintf(path, sizeof path, "%storwen-copy-%lu.dll", dir, GetCurrentProcessId());
        ok = CopyFileA(source, path, FALSE);
        wide = harness::FromAnsi(path);
    }
    ~TorwenCopy() { DeleteFileA(path); }

    bool ok;
    char path[MAX_PATH];
    std::wstring wide;
};

using GetCurrentDirectoryFn = DWORD(WINAPI*)(DWORD, LPWSTR);
using CompareStringFn = int(WINAPI*)(LCID, DWORD, LPCWSTR, int, LPCWSTR, int);

// A count no heap can satisfy: the ANSI path's out buffer for it fails to allocate
// (the W path just writes the directory into the caller's buffer).
const DWORD Unallocatable = 0xFFFFFFF0;

// The calls of one cycle in a loaded copy: two ordinary ones and one that fails an
// allocation on the ANSI path, answering 0 with last error 0.
void CallLoadedCopy(HMODULE copy)
{
    auto getDir = reinterpret_cast<GetCurrentDirectoryFn>(
        reinterpret_cast<void*>(GetProcAddress(copy, "_GetCurrentDirectoryW@8")));
    auto compare = reinterpret_cast<CompareStringFn>(
        reinterpret_cast<void*>(GetProcAddress(copy, "_CompareStringW@24")));
    ASSERT_TRUE(getDir && compare);
    WCHAR dir[MAX_PATH];
    EXPECT_GT(getDir(MAX_PATH, dir), 0u);
    EXPECT_EQ(compare(LOCALE_USER_DEFAULT, NORM_IGNORECASE, L"Abc", -1, L"aBC", -1), CSTR_EQUAL);
    SetLastError(0xBAD);
    DWORD r = getDir(Unallocatable, dir);
    if (harness::AnsiPath()) {
        EXPECT_EQ(r, 0u);
        EXPECT_EQ(GetLastError(), 0u);
    }
}

int LoadCycles()
{
    char value[16];
    DWORD n = GetEnvironmentVariableA("TORWEN_LOAD_CYCLES", value, sizeof value);
    return n && n < sizeof value ? std::atoi(value) : 1000;
}

void LoadCallUnload(const TorwenCopy& copy)
{
    HMODULE module = LoadLibraryW(copy.wide.c_str());
    ASSERT_NE(module, nullptr);
    CallLoadedCopy(module);
    EXPECT_TRUE(FreeLibrary(module));
}

TEST(UnloadTest, LoadCyclesLeaveNoTrace)
{
    TorwenCopy copy;
    ASSERT_TRUE(copy.ok);
    // The first loads fill caches of the system's loader.
    for (int i = 0; i < 3; ++i)
        LoadCallUnload(copy);
    ProcessCounts before = Count();
    int cycles = LoadCycles();
    for (int i = 0; i < cycles && !HasFailure(); ++i)
        LoadCallUnload(copy);
    ProcessCounts after = Count();
    ExpectUnchanged(before, after, "after the load cycles");
    std::printf("%d cycles: %s\n", cycles, (std::ostringstream() << after).str().c_str());
}

// ---- failures where the runtime as shipped had nothing left to throw with

struct FailingCall {
    const char* name;
    DWORD failure, error;  // on the ANSI path, after a failed allocation
    std::function<DWORD()> call;
};

std::vector<FailingCall> FailingCalls()
{
    static WCHAR buf[MAX_PATH];
    static const std::wstring path = L"C:\\windows\\" + harness::NonAsciiText() + L".txt";
    return {
        // The A call's error is kept: none yet when the allocation fails.
        {"GetShortPathNameW", 0, 0, [] { return GetShortPathNameW(path.c_str(), buf, MAX_PATH); }},
        {"GetCurrentDirectoryW", 0, 0, [] { return GetCurrentDirectoryW(MAX_PATH, buf); }},
        // The failing helper's error is what the caller sees.
        {"GetEnvironmentVariableW", 0, ERROR_OUTOFMEMORY,
         [] { return GetEnvironmentVariableW(L"PATH", buf, MAX_PATH); }},
        {"GetDriveTypeW", DRIVE_UNKNOWN, ERROR_OUTOFMEMORY, [] { return GetDriveTypeW(L"C:\\"); }},
    };
}

void SweepFailingCalls()
{
    for (const FailingCall& c : FailingCalls()) {
        int runs = harness::SweepAllocationFailures([&](int k) {
            SetLastError(0xBAD);
            const DWORD r = c.call(), error = GetLastError();
            EXPECT_TRUE(harness::HeapAllocCalls() < k || (r == c.failure && error == c.error))
                << c.name << ", allocation " << k << ": " << r << ", error " << error;
        });
        EXPECT_EQ(runs > 0, harness::AnsiPath()) << c.name;
    }
}

class FailureTest : public harness::TorwenTest {};

// Thrown before, the first exception of a loaded copy took a TLS index, and with
// none left the process ended in abort().
TEST_F(FailureTest, AnswersWithEveryTlsIndexTaken)
{
    TorwenCopy copy;
    ASSERT_TRUE(copy.ok);
    AllTlsIndexesTaken taken;
    ASSERT_EQ(TlsAlloc(), TLS_OUT_OF_INDEXES);
    SweepFailingCalls();
    LoadCallUnload(copy);
}

// Points a module's imports of the C runtime's allocators at ones that always fail,
// while it lives.
class NoCRuntimeMemory {
public:
    explicit NoCRuntimeMemory(HMODULE module)
    {
        auto at = [module](DWORD rva) { return reinterpret_cast<BYTE*>(module) + rva; };
        auto* nt = reinterpret_cast<IMAGE_NT_HEADERS*>(
            at(reinterpret_cast<IMAGE_DOS_HEADER*>(module)->e_lfanew));
        DWORD imports = nt->OptionalHeader.DataDirectory[IMAGE_DIRECTORY_ENTRY_IMPORT].VirtualAddress;
        for (auto* d = reinterpret_cast<IMAGE_IMPORT_DESCRIPTOR*>(at(imports)); d->Name; ++d) {
            if (lstrcmpiA(reinterpret_cast<char*>(at(d->Name)), "msvcrt.dll") != 0)
                continue;
            auto* names = reinterpret_cast<IMAGE_THUNK_DATA*>(at(d->OriginalFirstThunk));
            auto* slots = reinterpret_cast<IMAGE_THUNK_DATA*>(at(d->FirstThunk));
            for (; names->u1.AddressOfData; ++names, ++slots) {
                std::string name =
                    reinterpret_cast<IMAGE_IMPORT_BY_NAME*>(at(names->u1.AddressOfData))->Name;
                if (name == "malloc")
                    Replace(slots, reinterpret_cast<void*>(&NoMalloc));
                else if (name == "calloc")
                    Replace(slots, reinterpret_cast<void*>(&NoCalloc));
                else if (name == "realloc")
                    Replace(slots, reinterpret_cast<void*>(&NoRealloc));
            }
        }
    }
    ~NoCRuntimeMemory()
    {
        for (auto [slot, previous] : replaced)
            Write(slot, previous);
    }
    std::size_t routed() const { return replaced.size(); }

private:
    static void* NoMalloc(size_t) { return nullptr; }
    static void* NoCalloc(size_t, size_t) { return nullptr; }
    static void* NoRealloc(void*, size_t) { return nullptr; }

    static void Write(IMAGE_THUNK_DATA* slot, DWORD_PTR value)
    {
        DWORD old;
        VirtualProtect(slot, sizeof *slot, PAGE_READWRITE, &old);
        slot->u1.Function = value;
        VirtualProtect(slot, sizeof *slot, old, &old);
    }
    void Replace(IMAGE_THUNK_DATA* slot, void* fn)
    {
        replaced.push_back({slot, slot->u1.Function});
        Write(slot, reinterpret_cast<DWORD_PTR>(fn));
    }

    std::vector<std::pair<IMAGE_THUNK_DATA*, DWORD_PTR>> replaced;
};

// Nothing is left that the C runtime could allocate from: a failure still reaches
// the export's frame, also the first one of a loaded copy (whose unwinder would
// sort its tables on the heap then).
TEST_F(FailureTest, AnswersWithNoMemoryLeft)
{
    {
        NoCRuntimeMemory none(harness::Torwen());
        EXPECT_GE(none.routed(), 1u);
        SweepFailingCalls();
    }
    TorwenCopy copy;
    ASSERT_TRUE(copy.ok);
    HMODULE module = LoadLibraryW(copy.wide.c_str());
    ASSERT_NE(module, nullptr);
    {
        NoCRuntimeMemory none(module);
        CallLoadedCopy(module);
    }
    EXPECT_TRUE(FreeLibrary(module));
}

struct FailingThread {
    GetCurrentDirectoryFn getDir;
    int wrong = 0;
};

DWORD WINAPI FailRepeatedly(LPVOID p)
{
    auto* t = static_cast<FailingThread*>(p);
    WCHAR dir[MAX_PATH];
    for (int i = 0; i < 300; ++i) {
        SetLastError(0xBAD);
        if (t->getDir(Unallocatable, dir) != 0 || GetLastError() != 0)
            ++t->wrong;
    }
    return 0;
}

// Threads that torwen has never seen fail allocations all at once, each many
// times: every one answers for itself, and a crossed record of another thread's
// exceptions would end the process or answer wrongly.
TEST(UnloadTest, AnswersOnManyNewThreadsAtOnce)
{
    if (!harness::AnsiPath())
        GTEST_SKIP() << "the W path allocates nothing";
    TorwenCopy copy;
    ASSERT_TRUE(copy.ok);
    HMODULE module = LoadLibraryW(copy.wide.c_str());
    ASSERT_NE(module, nullptr);
    FailingThread threads[8];
    HANDLE handles[8];
    for (int i = 0; i < 8; ++i) {
        threads[i].getDir = reinterpret_cast<GetCurrentDirectoryFn>(
            reinterpret_cast<void*>(GetProcAddress(module, "_GetCurrentDirectoryW@8")));
        handles[i] = CreateThread(nullptr, 0, FailRepeatedly, &threads[i], 0, nullptr);
        ASSERT_NE(handles[i], nullptr);
    }
    EXPECT_EQ(WaitForMultipleObjects(8, handles, TRUE, 30000), WAIT_OBJECT_0);
    for (int i = 0; i < 8; ++i) {
        EXPECT_EQ(threads[i].wrong, 0) << "thread " << i;
        CloseHandle(handles[i]);
    }
    EXPECT_TRUE(FreeLibrary(module));
}

}  // namespace
