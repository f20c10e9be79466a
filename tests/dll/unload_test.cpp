// torwen.dll as a plug-in host uses it: loaded, called and unloaded many times. And
// its failure path where a process has nothing left to give: no TLS index, no
// heap, a thread the DLL has never seen. A failure must answer the export's
// failure value there, as anywhere.
#include <cstdio>
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

}  // namespace
