// torwen.dll as a plug-in host uses it: loaded, called and unloaded many times. And
// its failure path where a process has nothing left to give: no TLS index, no
// heap, a thread the DLL has never seen. A failure must answer the export's
// failure value there, as anywhere.
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <string>
#include <tuple>
#include <vector>

#include "harness/harness.h"

namespace {

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
    std::size_t count() const { return taken.size(); }

private:
    std::vector<DWORD> taken;
};

// What a load must leave as it found it: heap blocks and committed bytes of every
// heap of the process (the C runtime's too), handles, free TLS indexes.
using ProcessCounts = std::tuple<std::size_t, std::size_t, int, std::size_t>;

ProcessCounts Count()
{
    // First: Wine allocates a thread's table of the upper TLS indexes on first use.
    const std::size_t tlsIndexes = AllTlsIndexesTaken().count();
    std::size_t blocks = 0, committed = 0;
    HANDLE heaps[64];
    DWORD n = GetProcessHeaps(64, heaps);
    for (DWORD i = 0; i < n && i < 64; ++i) {
        HeapLock(heaps[i]);
        PROCESS_HEAP_ENTRY entry = {};
        while (HeapWalk(heaps[i], &entry)) {
            blocks += (entry.wFlags & PROCESS_HEAP_ENTRY_BUSY) ? 1 : 0;
            committed += (entry.wFlags & PROCESS_HEAP_REGION) ? entry.Region.dwCommittedSize : 0;
        }
        HeapUnlock(heaps[i]);
    }
    // Wine's GetProcessHandleCount answers 0: ask about every handle value instead.
    int handles = 0;
    DWORD flags;
    for (UINT_PTR h = 4; h < 0x8000; h += 4)
        handles += GetHandleInformation(reinterpret_cast<HANDLE>(h), &flags) ? 1 : 0;
    return {blocks, committed, handles, tlsIndexes};
}

// A second file of torwen.dll: loading it maps a module of its own, where loading
// torwen.dll again would only count one more reference to the one the test links.
class TorwenCopy {
public:
    TorwenCopy()
    {
        char source[MAX_PATH], dir[MAX_PATH], path[MAX_PATH];
        GetModuleFileNameA(harness::Torwen(), source, MAX_PATH);
        GetTempPathA(MAX_PATH, dir);
        std::snprintf(path, sizeof path, "%storwen-copy-%lu.dll", dir, GetCurrentProcessId());
        ansi = path;
        wide = harness::FromAnsi(ansi);
        ok = CopyFileA(source, path, FALSE);
    }
    ~TorwenCopy() { DeleteFileA(ansi.c_str()); }

    bool ok;
    std::string ansi;
    std::wstring wide;
};

using GetCurrentDirectoryFn = DWORD(WINAPI*)(DWORD, LPWSTR);
using CompareStringFn = int(WINAPI*)(LCID, DWORD, LPCWSTR, int, LPCWSTR, int);

template <typename Fn>
Fn Export(HMODULE module, const char* name)
{
    return reinterpret_cast<Fn>(reinterpret_cast<void*>(GetProcAddress(module, name)));
}

// A count no heap can satisfy: the ANSI path's out buffer for it fails to allocate
// (the W path just writes the directory into the caller's buffer).
const DWORD Unallocatable = 0xFFFFFFF0;

bool AnswersFailure(GetCurrentDirectoryFn getDir)
{
    WCHAR dir[MAX_PATH];
    SetLastError(0xBAD);
    DWORD r = getDir(Unallocatable, dir);
    return !harness::AnsiPath() || (r == 0 && GetLastError() == 0);
}

// One cycle: two ordinary calls, and one that fails an allocation on the ANSI path.
void LoadCallUnload(const TorwenCopy& copy)
{
    HMODULE module = LoadLibraryW(copy.wide.c_str());
    ASSERT_NE(module, nullptr);
    auto getDir = Export<GetCurrentDirectoryFn>(module, "_GetCurrentDirectoryW@8");
    auto compare = Export<CompareStringFn>(module, "_CompareStringW@24");
    ASSERT_TRUE(getDir && compare);
    WCHAR dir[MAX_PATH];
    EXPECT_GT(getDir(MAX_PATH, dir), 0u);
    EXPECT_EQ(compare(LOCALE_USER_DEFAULT, NORM_IGNORECASE, L"Abc", -1, L"aBC", -1), CSTR_EQUAL);
    EXPECT_TRUE(AnswersFailure(getDir));
    EXPECT_TRUE(FreeLibrary(module));
}

// 1,000 cycles; TORWEN_LOAD_CYCLES=10000 for the long run.
TEST(UnloadTest, LoadCyclesLeaveNoTrace)
{
    TorwenCopy copy;
    ASSERT_TRUE(copy.ok);
    for (int i = 0; i < 3; ++i)  // the first loads fill caches of the system's loader
        LoadCallUnload(copy);
    char value[16];
    DWORD n = GetEnvironmentVariableA("TORWEN_LOAD_CYCLES", value, sizeof value);
    const ProcessCounts before = Count();
    for (int i = n && n < sizeof value ? std::atoi(value) : 1000; i > 0 && !HasFailure(); --i)
        LoadCallUnload(copy);
    EXPECT_EQ(Count(), before) << "heap blocks, committed bytes, handles, free TLS indexes";
}

// Many threads torwen has never seen fail allocations at once, each many times,
// and each answers for itself. They stay alive until all have failed: a record of
// a thread's exceptions that outlived its catch would leave later threads waiting
// for one.
struct Crowd {
    GetCurrentDirectoryFn getDir;
    LONG failed = 0, wrong = 0;
    HANDLE goHome = CreateEventA(nullptr, TRUE, FALSE, nullptr);
};

DWORD WINAPI FailRepeatedly(LPVOID p)
{
    auto* crowd = static_cast<Crowd*>(p);
    for (int i = 0; i < 50; ++i) {
        if (!AnswersFailure(crowd->getDir))
            InterlockedIncrement(&crowd->wrong);
    }
    InterlockedIncrement(&crowd->failed);
    WaitForSingleObject(crowd->goHome, INFINITE);
    return 0;
}

TEST(UnloadTest, AnswersOnManyNewThreadsAtOnce)
{
    TorwenCopy copy;
    ASSERT_TRUE(copy.ok);
    HMODULE module = LoadLibraryW(copy.wide.c_str());
    ASSERT_NE(module, nullptr);
    Crowd crowd;
    crowd.getDir = Export<GetCurrentDirectoryFn>(module, "_GetCurrentDirectoryW@8");
    HANDLE threads[48];
    for (HANDLE& t : threads) {
        t = CreateThread(nullptr, 0, FailRepeatedly, &crowd, 0, nullptr);
        ASSERT_NE(t, nullptr);
    }
    for (int waited = 0; crowd.failed < 48 && waited < 30000; waited += 10)
        Sleep(10);
    ASSERT_EQ(crowd.failed, 48) << "threads still waiting after 30 s";
    SetEvent(crowd.goHome);
    EXPECT_EQ(WaitForMultipleObjects(48, threads, TRUE, 30000), WAIT_OBJECT_0);
    EXPECT_EQ(crowd.wrong, 0);
    for (HANDLE t : threads)
        CloseHandle(t);
    CloseHandle(crowd.goHome);
    EXPECT_TRUE(FreeLibrary(module));
}

// ---- failures where the runtime as shipped had nothing left to throw with

class FailureTest : public harness::TorwenTest {};

// The first exception of a loaded copy took a TLS index: with none left, abort().
// Members of each frame: with a saved error (none yet when the allocation fails)
// and with the failing helper's error.
TEST_F(FailureTest, AnswersWithEveryTlsIndexTaken)
{
    TorwenCopy copy;
    ASSERT_TRUE(copy.ok);
    AllTlsIndexesTaken taken;
    ASSERT_EQ(TlsAlloc(), TLS_OUT_OF_INDEXES);

    static WCHAR buf[MAX_PATH];
    static const std::wstring path = L"C:\\windows\\" + harness::NonAsciiText() + L".txt";
    const struct {
        const char* name;
        DWORD failure, error;
        std::function<DWORD()> call;
    } cases[] = {
        {"GetShortPathNameW", 0, 0, [] { return GetShortPathNameW(path.c_str(), buf, MAX_PATH); }},
        {"GetCurrentDirectoryW", 0, 0, [] { return GetCurrentDirectoryW(MAX_PATH, buf); }},
        {"GetEnvironmentVariableW", 0, ERROR_OUTOFMEMORY,
         [] { return GetEnvironmentVariableW(L"PATH", buf, MAX_PATH); }},
        {"GetDriveTypeW", DRIVE_UNKNOWN, ERROR_OUTOFMEMORY, [] { return GetDriveTypeW(L"C:\\"); }},
    };
    for (const auto& c : cases) {
        int runs = harness::SweepAllocationFailures([&](int k) {
            SetLastError(0xBAD);
            const DWORD r = c.call(), error = GetLastError();
            EXPECT_TRUE(harness::HeapAllocCalls() < k || (r == c.failure && error == c.error))
                << c.name << ", allocation " << k << ": " << r << ", error " << error;
        });
        EXPECT_EQ(runs > 0, harness::AnsiPath()) << c.name;
    }
    LoadCallUnload(copy);
}

}  // namespace
