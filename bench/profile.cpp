#include <string>

#include "bench.h"

namespace {

template <typename Fn>
Fn System(const char* name)
{
    return reinterpret_cast<Fn>(reinterpret_cast<void*>(BenchSystemFunction("kernel32.dll", name)));
}

std::string ToAnsi(const std::wstring& s)
{
    std::string a(s.size() * 2, '\0');
    a.resize(WideCharToMultiByte(CP_ACP, 0, s.c_str(), int(s.size()), &a[0], int(a.size()),
                                 nullptr, nullptr));
    return a;
}

// Two strings that differ only in their last character.
void CompareRow(Bench& bench, const char* name, size_t length)
{
    static std::wstring first, second;
    static std::string firstA, secondA;
    first.assign(length - 1, L'x');
    second = first;
    first += L'a';
    second += L'b';
    firstA = ToAnsi(first);
    secondA = ToAnsi(second);
    auto systemW = System<decltype(&CompareStringW)>("CompareStringW");
    auto torwen = [] {
        CompareStringW(LOCALE_USER_DEFAULT, 0, first.c_str(), int(first.size()), second.c_str(), -1);
    };
    if (bench.unicodePlatform)
        bench.compare(name, torwen, "CompareStringW (system)", [=] {
            systemW(LOCALE_USER_DEFAULT, 0, first.c_str(), int(first.size()), second.c_str(), -1);
        });
    else
        bench.compare(name, torwen, "CompareStringA", [] {
            CompareStringA(LOCALE_USER_DEFAULT, 0, firstA.c_str(), int(firstA.size()),
                           secondA.c_str(), -1);
        });
}

}  // namespace

TORWEN_BENCH(Profile)
{
    CompareRow(bench, "CompareStringW, 8 characters", 8);
    CompareRow(bench, "CompareStringW, 4 KiB", 2048);

    static WCHAR file[MAX_PATH], buf[64];
    static char fileA[MAX_PATH], bufA[64];
    GetTempPathW(MAX_PATH, file);
    lstrcatW(file, L"torwen-bench.ini");
    WideCharToMultiByte(CP_ACP, 0, file, -1, fileA, MAX_PATH, nullptr, nullptr);
    WritePrivateProfileStringA("section", "key", "a value of some length", fileA);

    auto systemW = System<decltype(&GetPrivateProfileStringW)>("GetPrivateProfileStringW");
    auto torwen = [] { GetPrivateProfileStringW(L"section", L"key", L"", buf, 64, file); };
    if (bench.unicodePlatform)
        bench.compare("GetPrivateProfileStringW", torwen, "GetPrivateProfileStringW (system)",
                      [=] { systemW(L"section", L"key", L"", buf, 64, file); });
    else
        bench.compare("GetPrivateProfileStringW", torwen, "GetPrivateProfileStringA",
                      [] { GetPrivateProfileStringA("section", "key", "", bufA, 64, fileA); });

    WritePrivateProfileStringA(nullptr, nullptr, nullptr, fileA);
    DeleteFileA(fileA);
}
