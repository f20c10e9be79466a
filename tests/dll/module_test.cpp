// torwen.dll as a module: what it exports, what it imports, its entry point.
#include <iterator>
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

// What torwen may import statically. Each name here was checked against the
// export tables of Windows 95's kernel32.dll and Windows 98's msvcrt.dll: a new
// import fails this test until it has been checked the same way and added (a
// function Windows 95 lacks is bound on first use instead). Functions Windows 95
// has only as failing stubs are left out on purpose (see below).
const char* const Windows95Kernel32[] = {
    "AddAtomA", "CloseHandle", "CompareStringA", "CopyFileA", "CreateDirectoryA",
    "CreateDirectoryExA", "CreateEventA", "CreateFileA", "CreateFileMappingA", "CreateMutexA",
    "CreateProcessA", "CreateSemaphoreA", "DeleteCriticalSection", "DeleteFileA",
    "EnterCriticalSection", "ExpandEnvironmentStringsA", "FindAtomA", "FindClose",
    "FindFirstFileA", "FindNextFileA", "FindResourceExA", "FormatMessageA",
    "FreeEnvironmentStringsA", "FreeLibrary", "GetAtomNameA", "GetCPInfo", "GetComputerNameA",
    "GetCurrentDirectoryA", "GetCurrentProcessId", "GetCurrentThreadId", "GetDateFormatA",
    "GetDiskFreeSpaceA", "GetDriveTypeA", "GetEnvironmentStrings", "GetEnvironmentVariableA",
    "GetFileAttributesA", "GetFullPathNameA", "GetLastError", "GetLocaleInfoA",
    "GetLogicalDriveStringsA", "GetModuleFileNameA", "GetModuleHandleA", "GetNumberFormatA",
    "GetPrivateProfileIntA", "GetPrivateProfileSectionA", "GetPrivateProfileSectionNamesA",
    "GetPrivateProfileStringA", "GetPrivateProfileStructA", "GetProcAddress", "GetProcessHeap",
    "GetProfileIntA", "GetProfileSectionA", "GetProfileStringA", "GetShortPathNameA",
    "GetStartupInfoA", "GetStringTypeA", "GetSystemDirectoryA", "GetTempFileNameA",
    "GetTempPathA", "GetTickCount", "GetTimeFormatA", "GetVersion", "GetVersionExA",
    "GetVolumeInformationA", "GetWindowsDirectoryA", "GlobalAddAtomA", "GlobalAlloc",
    "GlobalFindAtomA", "GlobalFree", "GlobalGetAtomNameA", "GlobalLock", "GlobalSize",
    "GlobalUnlock", "HeapAlloc", "HeapFree", "HeapReAlloc", "HeapSize",
    "InitializeCriticalSection", "InterlockedDecrement", "InterlockedExchange",
    "InterlockedIncrement", "IsBadReadPtr", "IsBadWritePtr", "IsDBCSLeadByte",
    "IsDBCSLeadByteEx", "LCMapStringA", "LeaveCriticalSection", "LoadLibraryA", "LoadLibraryExA",
    "LocalAlloc", "LocalFree", "MoveFileA", "MultiByteToWideChar", "OpenEventA",
    "OutputDebugStringA", "ReleaseSemaphore", "RemoveDirectoryA", "SearchPathA",
    "SetCurrentDirectoryA", "SetEnvironmentVariableA", "SetFileAttributesA", "SetLastError",
    "SetLocaleInfoA", "SetVolumeLabelA", "Sleep", "VirtualAlloc", "VirtualFree",
    "VirtualProtect", "VirtualQuery", "WaitForSingleObject", "WideCharToMultiByte",
    "WritePrivateProfileSectionA", "WritePrivateProfileStringA", "WritePrivateProfileStructA",
    "WriteProfileSectionA", "WriteProfileStringA", "lstrcatA", "lstrcmpA", "lstrcmpiA",
    "lstrcpyA", "lstrcpynA", "lstrlenA",
    "lstrlenW",  // one of the few W functions Windows 95 implements itself
};
const char* const Windows98Msvcrt[] = {
    "__dllonexit", "__mb_cur_max", "_amsg_exit", "_errno", "_initterm", "_iob", "_lock",
    "_onexit", "_snwprintf", "_unlock", "abort", "atoi", "calloc", "fflush", "fprintf", "fputc",
    "fputs", "free", "fwrite", "localeconv", "malloc", "memchr", "memcmp", "memcpy", "memmove",
    "memset", "realloc", "setlocale", "strchr", "strcmp", "strerror", "strlen", "strncmp",
    "vfprintf", "wcscpy", "wcslen", "wcsstr",
};

// Functions Windows 95's kernel32 lacks or has only as failing stubs; each would
// stop torwen from loading there or break it.
const char* const NotOnWindows95[] = {
    "CancelIo", "CopyFileExA", "CreateHardLinkA", "CreateWaitableTimerA",
    "FindFirstFileExA", "GetDiskFreeSpaceExA", "GetFileAttributesExA", "GetFileSizeEx",
    "GetLongPathNameA", "GetModuleHandleExA", "GetSystemWindowsDirectoryA",
    "GetVolumePathNameA", "InterlockedCompareExchange", "IsDebuggerPresent",
    "IsProcessorFeaturePresent", "MoveFileExA", "MoveFileWithProgressA", "OpenWaitableTimerA",
    "ReplaceFileA", "SetFilePointerEx", "SignalObjectAndWait", "SwitchToThread",
    "TryEnterCriticalSection", "VirtualAllocEx",
    // A process there has about 80 TLS indexes: a DLL that a host loads again and
    // again must not spend them (nor does the runtime's emulated thread-local
    // storage, which would import this).
    "TlsAlloc",
};

bool Listed(const char* const* first, const char* const* last, const std::string& name)
{
    for (; first != last; ++first)
        if (name == *first)
            return true;
    return false;
}

class ModuleTest : public harness::TorwenTest {};

TEST_F(ModuleTest, ImportsOnlyWhatWindows95Implements)
{
    for (const char* name : NotOnWindows95)
        ASSERT_FALSE(Listed(std::begin(Windows95Kernel32), std::end(Windows95Kernel32), name));
    HMODULE dll = harness::Torwen();
    ASSERT_NE(dll, nullptr);
    const IMAGE_DATA_DIRECTORY& dir = Directory(dll, IMAGE_DIRECTORY_ENTRY_IMPORT);
    int kernel32 = 0, msvcrt = 0;
    for (auto* d = At<IMAGE_IMPORT_DESCRIPTOR>(dll, dir.VirtualAddress); d->Name; ++d) {
        std::string module = At<char>(dll, d->Name);
        bool isKernel32 = lstrcmpiA(module.c_str(), "kernel32.dll") == 0;
        bool isMsvcrt = lstrcmpiA(module.c_str(), "msvcrt.dll") == 0;
        EXPECT_TRUE(isKernel32 || isMsvcrt) << "static import of " << module;
        for (auto* t = At<IMAGE_THUNK_DATA>(dll, d->OriginalFirstThunk); t->u1.AddressOfData; ++t) {
            ASSERT_FALSE(IMAGE_SNAP_BY_ORDINAL(t->u1.Ordinal)) << module << " by ordinal";
            std::string name = At<IMAGE_IMPORT_BY_NAME>(dll, t->u1.AddressOfData)->Name;
            if (isKernel32) {
                ++kernel32;
                EXPECT_TRUE(name.back() != 'W' || name == "lstrlenW")
                    << name << " is a W function: bind it on first use";
                EXPECT_TRUE(Listed(std::begin(Windows95Kernel32), std::end(Windows95Kernel32), name))
                    << "kernel32!" << name << " is not known to be in Windows 95's kernel32";
            } else if (isMsvcrt) {
                ++msvcrt;
                EXPECT_TRUE(Listed(std::begin(Windows98Msvcrt), std::end(Windows98Msvcrt), name))
                    << "msvcrt!" << name << " is not known to be in Windows 98's msvcrt";
            }
        }
    }
    EXPECT_GT(kernel32, 0);
    EXPECT_GT(msvcrt, 0);
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
