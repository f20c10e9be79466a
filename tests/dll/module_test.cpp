// torwen.dll as a module: what it exports, what it imports, its entry point.
#include <string>

#include "harness/harness.h"

namespace {

template <typename T>
T* At(HMODULE module, DWORD rva)
{
    return reinterpret_cast<T*>(reinterpret_cast<BYTE*>(module) + rva);
}

const IMAGE_DATA_DIRECTORY& Directory(HMODULE module, int entry)
{
    auto* nt = At<IMAGE_NT_HEADERS>(module, At<IMAGE_DOS_HEADER>(module, 0)->e_lfanew);
    return nt->OptionalHeader.DataDirectory[entry];
}

// kernel32 functions that Windows 95 lacks or has only as failing stubs; a static
// import of any of them stops torwen from loading there or breaks it.
const char* const NotOnWindows95[] = {
    "CancelIo", "CopyFileExA", "CreateHardLinkA", "CreateWaitableTimerA",
    "FindFirstFileExA", "GetDiskFreeSpaceExA", "GetFileAttributesExA", "GetFileSizeEx",
    "GetLongPathNameA", "GetModuleHandleExA", "GetSystemWindowsDirectoryA",
    "GetVolumePathNameA", "InterlockedCompareExchange", "IsDebuggerPresent",
    "IsProcessorFeaturePresent", "MoveFileExA", "MoveFileWithProgressA", "OpenWaitableTimerA",
    "ReplaceFileA", "SetFilePointerEx", "SignalObjectAndWait", "SwitchToThread",
    "TryEnterCriticalSection", "VirtualAllocEx",
};

class ModuleTest : public harness::TorwenTest {};

TEST_F(ModuleTest, ImportsOnlyWhatWindows95Implements)
{
    HMODULE dll = harness::Torwen();
    ASSERT_NE(dll, nullptr);
    const IMAGE_DATA_DIRECTORY& dir = Directory(dll, IMAGE_DIRECTORY_ENTRY_IMPORT);
    int kernel32 = 0;
    for (auto* d = At<IMAGE_IMPORT_DESCRIPTOR>(dll, dir.VirtualAddress); d->Name; ++d) {
        std::string module = At<char>(dll, d->Name);
        bool isKernel32 = lstrcmpiA(module.c_str(), "kernel32.dll") == 0;
        EXPECT_TRUE(isKernel32 || lstrcmpiA(module.c_str(), "msvcrt.dll") == 0)
            << "static import of " << module;
        if (!isKernel32)
            continue;
        for (auto* t = At<IMAGE_THUNK_DATA>(dll, d->OriginalFirstThunk); t->u1.AddressOfData; ++t) {
            ASSERT_FALSE(IMAGE_SNAP_BY_ORDINAL(t->u1.Ordinal));
            std::string name = At<IMAGE_IMPORT_BY_NAME>(dll, t->u1.AddressOfData)->Name;
            ++kernel32;
            EXPECT_TRUE(name.back() != 'W' || name == "lstrlenW")
                << name << " is a W function: bind it on first use";
            for (const char* missing : NotOnWindows95)
                EXPECT_NE(name, missing) << "Windows 95 lacks " << name;
            // A process there has about 80 TLS indexes: a DLL that a host loads
            // again and again must not spend them (nor does the runtime's
            // emulated thread-local storage, which would import this).
            EXPECT_NE(name, "TlsAlloc") << "torwen keeps no thread-local data";
        }
    }
    EXPECT_GT(kernel32, 0);
}

// Windows 95, 98 and Me do not set up a TLS directory for a DLL that LoadLibrary
// maps: code relying on one would run with nothing behind it there.
TEST_F(ModuleTest, HasNoTlsDirectory)
{
    const IMAGE_DATA_DIRECTORY& dir = Directory(harness::Torwen(), IMAGE_DIRECTORY_ENTRY_TLS);
    EXPECT_EQ(dir.VirtualAddress, 0u);
    EXPECT_EQ(dir.Size, 0u);
}

// Every export is a standard call under its decorated name, but for wsprintfW:
// its caller pops a variable argument list, and C callers link the plain name.
TEST_F(ModuleTest, ExportsOnlyDecoratedNames)
{
    HMODULE dll = harness::Torwen();
    const IMAGE_DATA_DIRECTORY& dir = Directory(dll, IMAGE_DIRECTORY_ENTRY_EXPORT);
    auto* exports = At<IMAGE_EXPORT_DIRECTORY>(dll, dir.VirtualAddress);
    auto* names = At<DWORD>(dll, exports->AddressOfNames);
    ASSERT_GT(exports->NumberOfNames, 0u);
    for (DWORD i = 0; i < exports->NumberOfNames; ++i) {
        std::string name = At<char>(dll, names[i]);
        if (name == "wsprintfW")
            continue;
        EXPECT_EQ(name[0], '_') << name;
        EXPECT_NE(name.find('@'), std::string::npos) << name;
    }
    EXPECT_NE(GetProcAddress(dll, "_GetVersionExW@4"), nullptr);
    EXPECT_EQ(GetProcAddress(dll, "GetVersionExW"), nullptr);
    EXPECT_NE(GetProcAddress(dll, "wsprintfW"), nullptr);
    EXPECT_EQ(GetProcAddress(dll, "_wsprintfW"), nullptr);
}

TEST_F(ModuleTest, EntryPointAnswersEveryReason)
{
    harness::EntryPoint entry = harness::TorwenEntryPoint();
    HINSTANCE dll = harness::Torwen();
    EXPECT_EQ(entry(dll, DLL_THREAD_ATTACH, nullptr), 1);
    EXPECT_EQ(entry(dll, DLL_THREAD_DETACH, nullptr), 1);
    EXPECT_EQ(entry(dll, 4, nullptr), 4);
    EXPECT_EQ(entry(dll, 0x7F, nullptr), 0x7F);
}

}  // namespace
