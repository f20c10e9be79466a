// What the import checker knows: how to read the import table of a 32-bit image,
// and which group each wide function a program takes from a system DLL falls in on
// Windows 95, 98 and Me. The checker and the tests that measure torwen's coverage
// read programs and sort their imports with this one file.
//
// It reads the file as bytes and calls nothing of the system beyond the C library,
// so it behaves the same on every Windows and under Wine.
#pragma once

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

namespace torwen_imports
{

// Every export of torwen.dll under its decorated name (wsprintfW under its plain
// one), made from the module-definition file by the build.
inline const char* const torwenExports[] = {
#include "torwen-exports.inc"
};

// The system DLLs whose wide functions torwen stands in for.
inline const char* const systemDlls[]
    = { "advapi32.dll", "comctl32.dll", "comdlg32.dll", "gdi32.dll", "imm32.dll", "kernel32.dll",
          "mpr.dll", "msvfw32.dll", "ole32.dll", "oleaut32.dll", "oledlg.dll", "rpcrt4.dll",
          "shell32.dll", "shlwapi.dll", "user32.dll", "version.dll", "winmm.dll", "winspool.drv" };

// The few wide functions that Windows 95 implements itself: importing them from
// the system is fine on every platform.
inline const char* const nativeOnWindows95[] = { "EnumResourceLanguagesW", "EnumResourceNamesW",
    "EnumResourceTypesW", "ExtTextOutW", "FindResourceExW", "FindResourceW", "GetCharWidthW",
    "GetCommandLineW", "GetTextExtentPoint32W", "GetTextExtentPointW", "lstrlenW", "MessageBoxExW",
    "MessageBoxW", "TextOutW" };

// Wide functions of facilities that Windows 95, 98 and Me do not have at all (no A
// function to stand on either): hard and symbolic links, the server end of named
// pipes, jobs, volume mount points, activation contexts, file encryption, logons,
// and queries of 64-bit and process-image paths.
inline const char* const onlyOnNt[] = { "CreateActCtxW", "CreateHardLinkW", "CreateJobObjectW",
    "CreateNamedPipeW", "CreateProcessAsUserW", "CreateProcessWithLogonW", "CreateSymbolicLinkW",
    "DecryptFileW", "DeleteVolumeMountPointW", "EncryptFileW", "FileEncryptionStatusW",
    "FindFirstVolumeW", "FindNextVolumeW", "GetBinaryTypeW", "GetComputerNameExW",
    "GetFinalPathNameByHandleW", "GetSystemWindowsDirectoryW", "GetSystemWow64DirectoryW",
    "GetVolumeNameForVolumeMountPointW", "GetVolumePathNameW", "GetVolumePathNamesForVolumeNameW",
    "MoveFileWithProgressW", "OpenJobObjectW", "QueryFullProcessImageNameW",
    "ReadDirectoryChangesW", "RegDeleteTreeW", "RegGetValueW", "ReplaceFileW", "SetComputerNameExW",
    "SetVolumeMountPointW" };

// Whole families of the NT family only, by a word of their names in one DLL:
// consoles and the process-status functions of kernel32, services, security,
// accounts and the event log of advapi32, desktops and window stations of user32.
struct NtFamily {
    const char* dll;
    const char* word;
    bool prefix; // the word starts the name, rather than standing anywhere in it
};
inline const NtFamily ntFamilies[] = {
    { "kernel32.dll", "Console", false },
    { "kernel32.dll", "K32", true },
    { "advapi32.dll", "Service", false },
    { "advapi32.dll", "SCManager", false },
    { "advapi32.dll", "Security", false },
    { "advapi32.dll", "Sid", false },
    { "advapi32.dll", "Account", false },
    { "advapi32.dll", "Privilege", false },
    { "advapi32.dll", "Audit", false },
    { "advapi32.dll", "Logon", false },
    { "advapi32.dll", "EventLog", false },
    { "advapi32.dll", "EventSource", false },
    { "advapi32.dll", "ReportEvent", true },
    { "user32.dll", "Desktop", false },
    { "user32.dll", "WindowStation", false },
    { "user32.dll", "UserObject", false },
};

inline std::string Lower(std::string s)
{
    for (char& c : s)
        if (c >= 'A' && c <= 'Z')
            c = static_cast<char>(c - 'A' + 'a');
    return s;
}

template <size_t N> bool Contains(const char* const (&list)[N], const std::string& name)
{
    return std::any_of(
        std::begin(list), std::end(list), [&](const char* entry) { return name == entry; });
}

// "_GetVersionExW@4" -> "GetVersionExW": the name a system DLL exports it under.
inline std::string Undecorated(const std::string& decorated)
{
    std::string name = decorated;
    if (!name.empty() && name[0] == '_')
        name.erase(0, 1);
    size_t at = name.rfind('@');
    if (at != std::string::npos)
        name.erase(at);
    return name;
}

// Two exports keep names of their own for a system function.
struct Alias {
    const char* system;
    const char* torwen;
};
inline const Alias aliases[] = {
    { "GetKerningPairsW", "GetKerningParisW" },
    { "CreateScalableFontResourceW", "CreateScalableFontResource" },
};

// The name torwen.dll exports the system's function under, or "" when it has none.
inline std::string TorwenExportFor(std::string name)
{
    for (const Alias& alias : aliases)
        if (name == alias.system)
            name = alias.torwen;
    for (const char* exported : torwenExports)
        if (Undecorated(exported) == name)
            return exported;
    return {};
}

// The wide form of a function carries a final capital W.
inline bool IsWideName(const std::string& name)
{
    return name.size() > 1 && name.back() == 'W';
}

// Where a wide import of a system DLL leaves a program on Windows 95, 98 and Me.
enum class Group {
    notWide, // no wide function of a DLL torwen stands in for: not judged
    torwen, // torwen exports it: the import came from the system by link order
    windows9x, // the system implements it there itself
    ntOnly, // no such facility there: the program needs the NT family
    missing, // torwen has no replacement yet
};

inline bool IsNtOnly(const std::string& dll, const std::string& name)
{
    if (Contains(onlyOnNt, name))
        return true;
    return std::any_of(std::begin(ntFamilies), std::end(ntFamilies), [&](const NtFamily& f) {
        size_t at = name.find(f.word);
        return dll == f.dll && (f.prefix ? at == 0 : at != std::string::npos);
    });
}

// A function torwen exports counts as torwen's even where the system has it too.
inline Group Classify(const std::string& dllName, const std::string& name)
{
    std::string dll = Lower(dllName);
    if (!Contains(systemDlls, dll) || !IsWideName(name))
        return Group::notWide;
    if (!TorwenExportFor(name).empty())
        return Group::torwen;
    if (Contains(nativeOnWindows95, name))
        return Group::windows9x;
    if (IsNtOnly(dll, name))
        return Group::ntOnly;
    return Group::missing;
}

// The checker reads the whole file; a program or DLL of a 32-bit process is far
// smaller than this.
constexpr size_t maxImageSize = 256u << 20;

struct BadImage {
    std::string why;
};

// The image as bytes, read with bounds checked on every access: a damaged or
// truncated file ends in a BadImage, never in a read past the buffer.
class Image
{
public:
    explicit Image(std::vector<unsigned char> bytes)
        : bytes_(std::move(bytes))
    {
    }

    uint32_t U16(uint64_t off) const { return Get(off, 2); }
    uint32_t U32(uint64_t off) const { return Get(off, 4); }
    size_t Size() const { return bytes_.size(); }

    std::string String(uint64_t off) const
    {
        std::string s;
        for (;; ++off) {
            if (off >= bytes_.size())
                throw BadImage { "truncated: a name runs past the end of the file" };
            if (!bytes_[off])
                return s;
            s += static_cast<char>(bytes_[off]);
        }
    }

private:
    uint32_t Get(uint64_t off, int n) const
    {
        if (off + n > bytes_.size())
            throw BadImage {
                "truncated: the headers or the import table run past the end of the file"
            };
        uint32_t v = 0;
        for (int i = n - 1; i >= 0; --i)
            v = v << 8 | bytes_[off + i];
        return v;
    }

    std::vector<unsigned char> bytes_;
};

struct Import {
    std::string dll;
    std::string name;
};

class PeReader
{
public:
    explicit PeReader(const Image& image)
        : image_(image)
    {
        ReadHeaders();
    }

    std::vector<Import> Imports() const
    {
        std::vector<Import> imports;
        if (importRva_ == 0)
            return imports;
        // Each descriptor is 20 bytes; the table ends with a descriptor of zeros.
        for (uint64_t desc = FileOffset(importRva_);; desc += 20) {
            uint32_t lookup = image_.U32(desc);
            uint32_t nameRva = image_.U32(desc + 12);
            uint32_t firstThunk = image_.U32(desc + 16);
            if (!nameRva && !firstThunk)
                break;
            std::string dll = image_.String(FileOffset(nameRva));
            // Without a lookup table the bound thunks still hold the names.
            uint64_t thunk = FileOffset(lookup ? lookup : firstThunk);
            for (;; thunk += 4) {
                uint32_t entry = image_.U32(thunk);
                if (!entry)
                    break;
                if (entry & 0x80000000u)
                    continue; // imported by ordinal: no name to judge
                imports.push_back({ dll, image_.String(FileOffset(entry) + 2) });
            }
        }
        return imports;
    }

private:
    void ReadHeaders()
    {
        if (image_.Size() < 2 || image_.U16(0) != 0x5A4D)
            throw BadImage { "not a Windows program or DLL (no MZ header)" };
        uint64_t pe = image_.U32(0x3C);
        if (image_.U32(pe) != 0x00004550)
            throw BadImage { "not a PE image (no PE signature where the MZ header points)" };
        uint64_t fileHeader = pe + 4;
        uint32_t machine = image_.U16(fileHeader);
        uint32_t sections = image_.U16(fileHeader + 2);
        uint32_t optionalSize = image_.U16(fileHeader + 16);
        uint64_t optional = fileHeader + 20;
        uint32_t magic = image_.U16(optional);
        if (magic == 0x20B)
            throw BadImage { "a 64-bit image: torwen serves 32-bit programs only" };
        if (magic != 0x10B || machine != 0x14C)
            throw BadImage { "not a 32-bit x86 image" };
        uint32_t directories = image_.U32(optional + 92);
        if (directories > 1 && optionalSize >= 96 + 2 * 8)
            importRva_ = image_.U32(optional + 96 + 8);
        headersSize_ = image_.U32(optional + 60);
        for (uint64_t s = optional + optionalSize, i = 0; i < sections; ++i, s += 40)
            sections_.push_back(
                { image_.U32(s + 12), image_.U32(s + 8), image_.U32(s + 16), image_.U32(s + 20) });
    }

    uint64_t FileOffset(uint32_t rva) const
    {
        for (const Section& s : sections_) {
            uint32_t span = std::max(s.virtualSize, s.rawSize);
            if (rva >= s.rva && rva - s.rva < span) {
                if (rva - s.rva >= s.rawSize)
                    throw BadImage { "damaged: the import table points outside the file's data" };
                return uint64_t(s.rawOffset) + (rva - s.rva);
            }
        }
        if (rva < headersSize_)
            return rva;
        throw BadImage { "damaged: the import table points outside every section" };
    }

    struct Section {
        uint32_t rva, virtualSize, rawSize, rawOffset;
    };
    const Image& image_;
    uint32_t importRva_ = 0;
    uint32_t headersSize_ = 0;
    std::vector<Section> sections_;
};

enum class Read { ok, unreadable, tooLarge };

inline Read ReadImage(const char* path, std::vector<unsigned char>& bytes)
{
    FILE* f = std::fopen(path, "rb");
    if (!f)
        return Read::unreadable;
    unsigned char chunk[65536];
    size_t n;
    Read result = Read::ok;
    while ((n = std::fread(chunk, 1, sizeof chunk, f)) > 0) {
        if (bytes.size() + n > maxImageSize) {
            result = Read::tooLarge;
            break;
        }
        bytes.insert(bytes.end(), chunk, chunk + n);
    }
    if (std::ferror(f))
        result = Read::unreadable;
    std::fclose(f);
    return result;
}

} // namespace torwen_imports
