#include <string>

#include "bench.h"

namespace {

template <typename Fn>
Fn System(const char* name)
{
    return reinterpret_cast<Fn>(reinterpret_cast<void*>(BenchSystemFunction("kernel32.dll", name)));
}

std::string Ansi(const std::wstring& s)
{
    char buf[MAX_PATH * 2];
    WideCharToMultiByte(CP_ACP, 0, s.c_str(), -1, buf, sizeof buf, nullptr, nullptr);
    return buf;
}

// A folder of 1,000 empty files under the temporary folder, removed at the end.
class Folder {
public:
    Folder()
    {
        wchar_t temp[MAX_PATH];
        GetTempPathW(MAX_PATH, temp);
        path = std::wstring(temp) + L"torwen-bench-" + std::to_wstring(GetCurrentProcessId());
        CreateDirectoryExW(temp, path.c_str(), nullptr);
        for (int i = 0; i < count; ++i)
            CloseHandle(CreateFileW(file(i).c_str(), GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS, 0,
                                    nullptr));
    }
    ~Folder()
    {
        for (int i = 0; i < count; ++i)
            DeleteFileW(file(i).c_str());
        RemoveDirectoryW(path.c_str());
    }
    std::wstring file(int i) const { return path + L"\\file" + std::to_wstring(i) + L".txt"; }

    static constexpr int count = 1000;
    std::wstring path;
};

}  // namespace

TORWEN_BENCH(Files)
{
    Folder folder;
    const std::wstring name = folder.file(0);
    const std::wstring pattern = folder.path + L"\\*";
    const std::string nameA = Ansi(name);
    const std::string patternA = Ansi(pattern);

    auto listW = [&](decltype(&FindFirstFileW) first, decltype(&FindNextFileW) next) {
        WIN32_FIND_DATAW data;
        HANDLE find = first(pattern.c_str(), &data);
        while (next(find, &data)) {
        }
        FindClose(find);
    };
    auto openW = [&](decltype(&CreateFileW) create) {
        CloseHandle(create(name.c_str(), GENERIC_READ, FILE_SHARE_READ, nullptr, OPEN_EXISTING, 0,
                           nullptr));
    };

    if (bench.unicodePlatform) {
        auto attributes = System<decltype(&GetFileAttributesW)>("GetFileAttributesW");
        auto create = System<decltype(&CreateFileW)>("CreateFileW");
        auto first = System<decltype(&FindFirstFileW)>("FindFirstFileW");
        auto next = System<decltype(&FindNextFileW)>("FindNextFileW");
        bench.compare("GetFileAttributesW", [&] { GetFileAttributesW(name.c_str()); },
                      "GetFileAttributesW (system)", [&] { attributes(name.c_str()); });
        bench.compare("CreateFileW + CloseHandle", [&] { openW(CreateFileW); },
                      "CreateFileW (system) + CloseHandle", [&] { openW(create); });
        bench.compare("FindFirstFileW/FindNextFileW, 1000 files", [&] { listW(FindFirstFileW, FindNextFileW); },
                      "FindFirstFileW/FindNextFileW (system)", [&] { listW(first, next); });
        return;
    }
    bench.compare("GetFileAttributesW", [&] { GetFileAttributesW(name.c_str()); }, "GetFileAttributesA",
                  [&] { GetFileAttributesA(nameA.c_str()); });
    bench.compare("CreateFileW + CloseHandle", [&] { openW(CreateFileW); }, "CreateFileA + CloseHandle",
                  [&] {
                      CloseHandle(CreateFileA(nameA.c_str(), GENERIC_READ, FILE_SHARE_READ, nullptr,
                                              OPEN_EXISTING, 0, nullptr));
                  });
    bench.compare("FindFirstFileW/FindNextFileW, 1000 files", [&] { listW(FindFirstFileW, FindNextFileW); },
                  "FindFirstFileA/FindNextFileA", [&] {
                      WIN32_FIND_DATAA data;
                      HANDLE find = FindFirstFileA(patternA.c_str(), &data);
                      while (FindNextFileA(find, &data)) {
                      }
                      FindClose(find);
                  });
}
