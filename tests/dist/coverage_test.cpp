// How much of what real wide programs import torwen serves: the platform's own
// programs are read as the import checker reads a user's, and each distinct wide
// function they take from a system DLL torwen stands in for is put in the
// checker's groups.
#include <cstdio>
#include <map>
#include <string>

#include "harness/harness.h"
#include "imports.h"

namespace
{

using namespace torwen_imports;

// Wide functions real programs import beyond the families above:
// torwen must export every one of them.
const char* const beyondTheFamilies[] = {
    // kernel32
    "CreateDirectoryW",
    "RemoveDirectoryW",
    "MoveFileW",
    "CopyFileExW",
    "GetDiskFreeSpaceExW",
    "GetLongPathNameW",
    "SetVolumeLabelW",
    "ExpandEnvironmentStringsW",
    "GetComputerNameW",
    "GetStartupInfoW",
    "GetCPInfoExW",
    "GetNumberFormatW",
    "LCMapStringW",
    "lstrcmpW",
    "lstrcmpiW",
    "LoadLibraryW",
    "CreateSemaphoreW",
    "IsBadStringPtrW",
    "Process32FirstW",
    "Process32NextW",
    // user32
    "RegisterClassW",
    "CharLowerW",
    "CharUpperW",
    "IsCharAlphaW",
    "IsCharAlphaNumericW",
    "MapVirtualKeyW",
    "wsprintfW",
    "wvsprintfW",
    "MessageBoxIndirectW",
    "EnumDisplaySettingsExW",
    "ChangeDisplaySettingsExW",
    "EnumDisplayDevicesW",
    "BroadcastSystemMessageW",
    // advapi32
    "RegCreateKeyW",
    "RegOpenKeyW",
    "RegEnumKeyW",
    "RegQueryValueW",
    "GetUserNameW",
    // shell32
    "ShellExecuteW",
    "SHGetFileInfoW",
    "SHFileOperationW",
    "SHGetSpecialFolderPathW",
    "Shell_NotifyIconW",
    "ShellAboutW",
    "ExtractIconExW",
    // comdlg32, mpr
    "FindTextW",
    "ReplaceTextW",
    "WNetGetLastErrorW",
};

// The platform's programs, as the build found them; empty where it found none.
#ifndef TORWEN_PLATFORM_PROGRAMS
#define TORWEN_PLATFORM_PROGRAMS ""
#endif

TEST(Coverage, ExportsTheFunctionsWideProgramsNeed)
{
    HMODULE dll = harness::Torwen();
    for (const char* name : beyondTheFamilies) {
        std::string exported = TorwenExportFor(name);
        EXPECT_FALSE(exported.empty()) << name << " is not in exports/torwen.def";
        EXPECT_TRUE(exported.empty() || GetProcAddress(dll, exported.c_str()))
            << "torwen.dll does not export " << exported;
    }
}

// The groups by DLL and name: a DLL's name in any case, torwen's exports ahead of
// every rule, its two names of its own, and the families of the NT family only.
TEST(Coverage, SortsImportsIntoTheCheckersGroups)
{
    struct Case {
        const char* dll;
        const char* name;
        Group group;
    };
    const Case cases[] = {
        { "KERNEL32.dll", "GetVersionExW", Group::torwen },
        { "user32.dll", "wsprintfW", Group::torwen },
        { "GDI32.dll", "GetKerningPairsW", Group::torwen },
        { "advapi32.dll", "GetUserNameW", Group::torwen },
        { "USER32.dll", "MessageBoxW", Group::windows9x },
        { "kernel32.dll", "lstrlenW", Group::windows9x },
        { "ADVAPI32.dll", "OpenSCManagerW", Group::ntOnly },
        { "advapi32.dll", "LookupAccountSidW", Group::ntOnly },
        { "advapi32.dll", "RegisterEventSourceW", Group::ntOnly },
        { "kernel32.dll", "WriteConsoleW", Group::ntOnly },
        { "kernel32.dll", "K32GetModuleBaseNameW", Group::ntOnly },
        { "kernel32.dll", "CreateHardLinkW", Group::ntOnly },
        { "user32.dll", "CreateDesktopW", Group::ntOnly },
        { "user32.dll", "GetMonitorInfoW", Group::missing },
        // The rules of one DLL do not reach another's functions.
        { "shell32.dll", "SHGetSecurityNameW", Group::missing },
        { "kernel32.dll", "GetDriveTypeA", Group::notWide },
        { "msvcrt.dll", "_wfopenW", Group::notWide },
        { "torwen.dll", "_GetVersionExW@4", Group::notWide },
    };
    for (const Case& c : cases)
        EXPECT_EQ(Classify(c.dll, c.name), c.group) << c.dll << '!' << c.name;
}

TEST(Coverage, OfThePlatformsOwnPrograms)
{
    const std::string folder = TORWEN_PLATFORM_PROGRAMS;
    WIN32_FIND_DATAA found;
    HANDLE search = folder.empty() ? INVALID_HANDLE_VALUE
                                   : FindFirstFileA((folder + "\\*.exe").c_str(), &found);
    if (search == INVALID_HANDLE_VALUE)
        GTEST_SKIP() << "the platform's programs are not at \"" << folder << "\"";

    // Each distinct function once, with the DLL it comes from. torwen stands in for
    // no function of shlwapi, which Windows 95, 98 and Me get with their browser.
    std::map<std::string, Group> functions;
    int programs = 0;
    do {
        std::vector<unsigned char> bytes;
        const std::string path = folder + "\\" + found.cFileName;
        if (ReadImage(path.c_str(), bytes) != Read::ok)
            continue;
        try {
            Image image(std::move(bytes));
            for (const Import& imp : PeReader(image).Imports()) {
                Group group = Classify(imp.dll, imp.name);
                if (group != Group::notWide && Lower(imp.dll) != "shlwapi.dll")
                    functions[imp.name] = group;
            }
            ++programs;
        } catch (const BadImage&) {
            // not a 32-bit program: nothing to count
        }
    } while (FindNextFileA(search, &found));
    FindClose(search);
    ASSERT_GT(programs, 0);

    int counts[5] = {};
    std::string missing;
    for (const auto& [name, group] : functions) {
        ++counts[int(group)];
        if (group == Group::missing)
            missing += " " + name;
    }
    std::printf("%d programs import %d distinct wide functions: %d exported by torwen, %d "
                "implemented by Windows 95/98/Me, %d only on the NT family, %d missing:%s\n",
        programs, int(functions.size()), counts[int(Group::torwen)], counts[int(Group::windows9x)],
        counts[int(Group::ntOnly)], counts[int(Group::missing)], missing.c_str());
    for (const char* name : beyondTheFamilies) {
        auto it = functions.find(name);
        if (it != functions.end()) {
            EXPECT_EQ(it->second, Group::torwen) << name;
        }
    }
    // The programs use wide functions of every group but the last, which shrinks.
    EXPECT_GT(counts[int(Group::torwen)], counts[int(Group::missing)]);
}

} // namespace
