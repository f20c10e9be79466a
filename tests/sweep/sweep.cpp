#include "sweep/sweep.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace sweep {

Row Row::Void(std::string name, std::function<void()> call, Error error)
{
    Row row(std::move(name), [call] { call(); return Result(0); }, std::nullopt, error);
    row.isVoid = true;
    return row;
}

const std::vector<Row>& AllRows()
{
    static const std::vector<Row> rows = [] {
        std::vector<Row> all;
        for (auto family : {KernelRows, WindowRows, UserRows, GraphicsRows, CommonRows, ServiceRows})
            for (Row& row : family())
                all.push_back(std::move(row));
        return all;
    }();
    return rows;
}

const Row* FindRow(const std::string& name)
{
    for (const Row& row : AllRows())
        if (row.name == name)
            return &row;
    return nullptr;
}

std::vector<const Row*> Rows(bool (*which)(const Row&))
{
    std::vector<const Row*> rows;
    for (const Row& row : AllRows())
        if (!which || which(row))
            rows.push_back(&row);
    return rows;
}

std::string RowName(const testing::TestParamInfo<const Row*>& info)
{
    // A second row of the same export still runs (the table test reports it).
    if (FindRow(info.param->name) != info.param)
        return info.param->name + "_again" + std::to_string(info.index);
    return info.param->name;
}

namespace {

template <typename T>
T* At(HMODULE module, DWORD rva)
{
    return reinterpret_cast<T*>(reinterpret_cast<BYTE*>(module) + rva);
}

}  // namespace

std::vector<std::string> Exports()
{
    HMODULE dll = harness::Torwen();
    auto* nt = At<IMAGE_NT_HEADERS>(dll, At<IMAGE_DOS_HEADER>(dll, 0)->e_lfanew);
    const IMAGE_DATA_DIRECTORY& dir = nt->OptionalHeader.DataDirectory[IMAGE_DIRECTORY_ENTRY_EXPORT];
    auto* exports = At<IMAGE_EXPORT_DIRECTORY>(dll, dir.VirtualAddress);
    auto* names = At<DWORD>(dll, exports->AddressOfNames);
    std::vector<std::string> all;
    for (DWORD i = 0; i < exports->NumberOfNames; ++i) {
        std::string name = At<char>(dll, names[i]);
        // _Name@8 is how a standard-call function is decorated; programs name it Name.
        std::size_t at = name.rfind('@');
        if (name[0] == '_' && at != std::string::npos)
            name = name.substr(1, at - 1);
        all.push_back(name);
    }
    return all;
}

// ---- the shared set-up

namespace {

void RemoveTree(const std::string& path)
{
    WIN32_FIND_DATAA data;
    HANDLE find = FindFirstFileA((path + "\\*").c_str(), &data);
    if (find != INVALID_HANDLE_VALUE) {
        do {
            std::string name = data.cFileName;
            if (name == "." || name == "..")
                continue;
            std::string full = path + "\\" + name;
            if (data.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) {
                RemoveTree(full);
            } else {
                SetFileAttributesA(full.c_str(), FILE_ATTRIBUTE_NORMAL);
                DeleteFileA(full.c_str());
            }
        } while (FindNextFileA(find, &data));
        FindClose(find);
    }
    RemoveDirectoryA(path.c_str());
}

std::string& FolderA()
{
    static std::string folder;
    return folder;
}

void CleanUp()
{
    if (!FolderA().empty())
        RemoveTree(FolderA());
    RegDeleteKeyA(HKEY_CURRENT_USER, "Software\\torwen-sweep");
}

}  // namespace

const std::wstring& Folder()
{
    static const std::wstring folder = [] {
        char temp[MAX_PATH];
        GetTempPathA(MAX_PATH, temp);
        FolderA() = std::string(temp) + "torwen-sweep-" + std::to_string(GetCurrentProcessId());
        RemoveTree(FolderA());
        CreateDirectoryA(FolderA().c_str(), nullptr);
        atexit(CleanUp);
        return harness::FromAnsi(FolderA());
    }();
    return folder;
}

std::wstring PathIn(const std::wstring& name)
{
    return Folder() + L"\\" + name;
}

std::wstring MakeFile(const std::wstring& name, const std::string& content)
{
    std::wstring path = PathIn(name);
    HANDLE file = CreateFileA(harness::ToAnsi(path).c_str(), GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS,
                              FILE_ATTRIBUTE_NORMAL, nullptr);
    DWORD written = 0;
    WriteFile(file, content.data(), DWORD(content.size()), &written, nullptr);
    CloseHandle(file);
    return path;
}

HINSTANCE Instance()
{
    return GetModuleHandleA(nullptr);
}

HWND TopWindow(const char* className, WNDPROC proc, DWORD style, const char* title)
{
    WNDCLASSA wc = {};
    wc.lpfnWndProc = proc;
    wc.hInstance = Instance();
    wc.lpszClassName = className;
    RegisterClassA(&wc);
    return CreateWindowExA(0, className, title, style, 0, 0, 300, 200, nullptr, nullptr, Instance(),
                           nullptr);
}

HWND Window()
{
    static HWND window = TopWindow("torwen-sweep", DefWindowProcA, WS_OVERLAPPEDWINDOW, "sweep");
    return window;
}

HKEY Key()
{
    static HKEY key = [] {
        HKEY k = nullptr;
        RegCreateKeyExA(HKEY_CURRENT_USER, "Software\\torwen-sweep", 0, nullptr, 0, KEY_ALL_ACCESS,
                        nullptr, &k, nullptr);
        RegSetValueExA(k, "value", 0, REG_SZ, reinterpret_cast<const BYTE*>("sweep"), 6);
        Folder();  // its clean-up removes the key too
        return k;
    }();
    return key;
}

// ---- bad and random input

Fuzz::Fuzz(std::uint32_t seed, bool fixed, int pass) : rng(seed), fixed(fixed), pass(pass) {}

Fuzz::~Fuzz()
{
    for (void* region : regions)
        VirtualFree(region, 0, MEM_RELEASE);
}

int Fuzz::Pick(int n)
{
    int k = fixed ? (pass + draws) % n : int(rng() % unsigned(n));
    ++draws;
    return k;
}

void* Fuzz::Block(std::size_t bytes, int fill)
{
    std::size_t pages = (bytes + 4095) / 4096;
    auto* base = static_cast<unsigned char*>(
        VirtualAlloc(nullptr, (pages + 1) * 4096, MEM_COMMIT | MEM_RESERVE, PAGE_READWRITE));
    regions.push_back(base);
    DWORD old;
    VirtualProtect(base + pages * 4096, 4096, PAGE_NOACCESS, &old);
    unsigned char* p = base + pages * 4096 - bytes;
    memset(p, fill, bytes);
    return p;
}

LPCWSTR Fuzz::Str(Nulls nulls)
{
    // In the order the fixed pass walks them; the last is null where the call takes
    // null, plain text elsewhere.
    static const std::vector<std::wstring> kinds = [] {
        std::wstring huge;
        const WCHAR wide = harness::NonAsciiText()[0];
        for (int i = 0; i < 70000; ++i)
            huge += i % 7 ? L'x' : wide;
        return std::vector<std::wstring>{
            L"",
            L"sweep",
            harness::NonAsciiText(),
            L"\u0100\u4E00\u20AC\u00E9\u0416",  // each code page lacks some
            L"a\xD800" L"b",
            L"ab\xDC00",
            std::wstring(L"ab\0cd", 5),
            huge,
            L"sweep",
        };
    }();
    static_assert(Kinds == 9);
    int kind = Pick(Kinds);
    drawn += "str" + std::to_string(kind) + " ";
    if (kind == Kinds - 1 && nulls == NullOk)
        return nullptr;
    const std::wstring& s = kinds[kind];
    auto* p = static_cast<WCHAR*>(Block((s.size() + 1) * sizeof(WCHAR), 0));
    memcpy(p, s.data(), s.size() * sizeof(WCHAR));
    return p;
}

LPCWSTR Fuzz::Path()
{
    LPCWSTR name = Str(NoNull);
    std::wstring path = Folder() + L"\\" + std::wstring(name, lstrlenW(name));
    auto* p = static_cast<WCHAR*>(Block((path.size() + 1) * sizeof(WCHAR), 0));
    memcpy(p, path.c_str(), (path.size() + 1) * sizeof(WCHAR));
    return p;
}

int Fuzz::Count(int length)
{
    const int counts[] = {0, 1, length, length + 1, length + 100};
    int kind = Pick(6);
    int n = kind < 5 ? counts[kind] : int(rng() % unsigned(2 * length + 3));
    drawn += "count=" + std::to_string(n) + " ";
    return n;
}

// ---- faults

namespace {

std::string& Current()
{
    static std::string current;
    return current;
}

// "torwen.dll+0x1550": where a code address lies, so that a fault inside a system
// DLL still names the caller that handed it the bad pointer.
std::string Where(DWORD address)
{
    HMODULE module = nullptr;
    char name[MAX_PATH] = "?";
    if (GetModuleHandleExA(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS
                               | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT,
                           reinterpret_cast<LPCSTR>(address), &module)) {
        GetModuleFileNameA(module, name, MAX_PATH);
        address -= reinterpret_cast<DWORD>(module);
    }
    const char* base = strrchr(name, '\\');
    char text[MAX_PATH + 16];
    snprintf(text, sizeof text, "%s+0x%lx", base ? base + 1 : name, address);
    return text;
}

bool Readable(const DWORD* frame)
{
    MEMORY_BASIC_INFORMATION m;
    return frame && VirtualQuery(frame, &m, sizeof m) && m.State == MEM_COMMIT
           && (m.Protect & (PAGE_READWRITE | PAGE_READONLY | PAGE_EXECUTE_READWRITE));
}

LONG WINAPI ReportFault(EXCEPTION_POINTERS* info)
{
    const EXCEPTION_RECORD& record = *info->ExceptionRecord;
    fprintf(stderr, "\nsweep: exception %08lx at %s during %s\n", record.ExceptionCode,
            Where(reinterpret_cast<DWORD>(record.ExceptionAddress)).c_str(), Current().c_str());
    if (record.ExceptionCode == EXCEPTION_ACCESS_VIOLATION && record.NumberParameters >= 2)
        fprintf(stderr, "sweep: %s %08lx\n", record.ExceptionInformation[0] ? "writing" : "reading",
                record.ExceptionInformation[1]);
    // The callers, along the frame pointers that the system DLLs and torwen keep.
    const auto* frame = reinterpret_cast<const DWORD*>(info->ContextRecord->Ebp);
    for (int depth = 0; depth < 8 && Readable(frame) && Readable(frame + 1); ++depth) {
        fprintf(stderr, "sweep:   called from %s\n", Where(frame[1]).c_str());
        frame = reinterpret_cast<const DWORD*>(frame[0]);
    }
    fflush(stderr);
    return EXCEPTION_EXECUTE_HANDLER;
}

}  // namespace

void Announce(const std::string& what)
{
    static bool installed = (SetUnhandledExceptionFilter(ReportFault), true);
    (void)installed;
    Current() = what;
}

}  // namespace sweep
