// Eight threads calling string exports of one torwen at once. Each thread works on
// its own text (atoms, environment variables, windows of its own) and every answer
// must equal the one the same call gave before the threads started.
#include "sweep/sweep.h"

#include <atomic>
#include <cstdlib>
#include <mutex>

namespace {

constexpr int Threads = 8;

// Rounds of each thread; TORWEN_SWEEP_ROUNDS for a longer run.
int Rounds()
{
    char value[16];
    DWORD n = GetEnvironmentVariableA("TORWEN_SWEEP_ROUNDS", value, sizeof value);
    return n && n < sizeof value ? atoi(value) : 500;
}

std::wstring Text(int thread)
{
    return harness::NonAsciiText() + L" Mixed Case " + std::to_wstring(thread);
}

// One call per probe; what it answers, as text.
using Probe = std::wstring (*)(int thread, HWND window);

std::wstring Upper(int thread, HWND)
{
    std::wstring s = Text(thread);
    CharUpperW(s.data());
    return s;
}

std::wstring Lower(int thread, HWND)
{
    WCHAR out[128] = {};
    int n = LCMapStringW(LOCALE_USER_DEFAULT, LCMAP_LOWERCASE, Text(thread).c_str(), -1, out, 128);
    return std::to_wstring(n) + L":" + out;
}

std::wstring Compare(int thread, HWND)
{
    std::wstring text = Text(thread), other = Upper(thread, nullptr);
    return std::to_wstring(lstrcmpiW(text.c_str(), other.c_str())) + L"," +
           std::to_wstring(CompareStringW(LOCALE_USER_DEFAULT, 0, text.c_str(), -1,
                                          other.c_str(), -1));
}

std::wstring Atom(int thread, HWND)
{
    ATOM atom = GlobalAddAtomW(Text(thread).c_str());
    WCHAR name[128] = {};
    UINT n = GlobalGetAtomNameW(atom, name, 128);
    GlobalDeleteAtom(atom);
    return std::to_wstring(n) + L":" + name;
}

std::wstring Environment(int thread, HWND)
{
    std::wstring variable = L"TORWEN_SWEEP_" + std::to_wstring(thread);
    SetEnvironmentVariableW(variable.c_str(), Text(thread).c_str());
    WCHAR value[128] = {};
    DWORD n = GetEnvironmentVariableW(variable.c_str(), value, 128);
    return std::to_wstring(n) + L":" + value;
}

std::wstring Format(int thread, HWND)
{
    WCHAR out[256] = {};
    std::wstring text = Text(thread);
    LONG_PTR args[] = {reinterpret_cast<LONG_PTR>(text.c_str()), thread};
    int n = wvsprintfW(out, L"[%s] %d", reinterpret_cast<va_list>(args));
    return std::to_wstring(n) + L":" + out;
}

std::wstring FullPath(int thread, HWND)
{
    WCHAR out[MAX_PATH] = {};
    LPWSTR part = nullptr;
    DWORD n = GetFullPathNameW((L"C:\\sweep\\" + Text(thread)).c_str(), MAX_PATH, out, &part);
    return std::to_wstring(n) + L":" + out + L"|" + (part ? part : L"");
}

std::wstring WindowText(int thread, HWND window)
{
    SetWindowTextW(window, Text(thread).c_str());
    WCHAR out[128] = {};
    int n = GetWindowTextW(window, out, 128);
    return std::to_wstring(n) + L":" + out;
}

const Probe Probes[] = {Upper, Lower, Compare, Atom, Environment, Format, FullPath, WindowText};
constexpr int ProbeCount = sizeof Probes / sizeof Probes[0];

HWND ThreadWindow()
{
    return CreateWindowExA(0, "STATIC", "", 0, 0, 0, 10, 10, nullptr, nullptr, nullptr, nullptr);
}

struct Shared {
    std::wstring expected[Threads][ProbeCount];
    std::atomic<int> failures{0};
    std::mutex lock;
    std::string first;
};

DWORD WINAPI Worker(LPVOID param)
{
    auto* shared = static_cast<Shared*>(static_cast<void**>(param)[0]);
    int thread = int(reinterpret_cast<INT_PTR>(static_cast<void**>(param)[1]));
    HWND window = ThreadWindow();
    const int rounds = Rounds();
    for (int round = 0; round < rounds; ++round) {
        for (int p = 0; p < ProbeCount; ++p) {
            int probe = (p + round + thread) % ProbeCount;
            std::wstring got = Probes[probe](thread, window);
            if (got != shared->expected[thread][probe] && shared->failures++ == 0) {
                std::lock_guard<std::mutex> guard(shared->lock);
                shared->first = "thread " + std::to_string(thread) + ", round " +
                                std::to_string(round) + ", probe " + std::to_string(probe) +
                                ": got " + harness::ToAnsi(got) + ", expected " +
                                harness::ToAnsi(shared->expected[thread][probe]);
            }
        }
    }
    DestroyWindow(window);
    return 0;
}

class ThreadsTest : public harness::TorwenTest {};

TEST_F(ThreadsTest, EightThreadsGetTheirOwnAnswers)
{
    Shared shared;
    HWND window = ThreadWindow();
    for (int t = 0; t < Threads; ++t)
        for (int p = 0; p < ProbeCount; ++p)
            shared.expected[t][p] = Probes[p](t, window);
    DestroyWindow(window);
    // The answers differ from thread to thread: a mix-up would show.
    EXPECT_NE(shared.expected[0][0], shared.expected[1][0]);

    void* params[Threads][2];
    HANDLE threads[Threads];
    for (int t = 0; t < Threads; ++t) {
        params[t][0] = &shared;
        params[t][1] = reinterpret_cast<void*>(INT_PTR(t));
        threads[t] = CreateThread(nullptr, 0, Worker, params[t], 0, nullptr);
        ASSERT_NE(threads[t], nullptr);
    }
    EXPECT_EQ(WaitForMultipleObjects(Threads, threads, TRUE, 120000), WAIT_OBJECT_0);
    for (HANDLE thread : threads)
        CloseHandle(thread);
    EXPECT_EQ(shared.failures.load(), 0) << shared.first;
}

}  // namespace
