#include "bench.h"

namespace
{

template <typename Fn> Fn System(const char* name)
{
    return reinterpret_cast<Fn>(reinterpret_cast<void*>(BenchSystemFunction("advapi32.dll", name)));
}

} // namespace

// A short text value under HKEY_CURRENT_USER, written and read back.
TORWEN_BENCH(Registry)
{
    static HKEY key;
    static const wchar_t data[] = L"caf\u00e9 au lait";
    static const char dataA[] = "caf\xe9 au lait";
    static wchar_t buf[32];
    static char bufA[64];
    static DWORD size;
    if (RegCreateKeyExW(HKEY_CURRENT_USER, L"Software\\torwen bench", 0, nullptr, 0, KEY_ALL_ACCESS,
            nullptr, &key, nullptr))
        return;
    auto setTorwen
        = [] { RegSetValueExW(key, L"value", 0, REG_SZ, (const BYTE*)data, sizeof data); };
    auto queryTorwen = [] {
        size = sizeof buf;
        RegQueryValueExW(key, L"value", nullptr, nullptr, (BYTE*)buf, &size);
    };
    if (bench.unicodePlatform) {
        auto setW = System<decltype(&RegSetValueExW)>("RegSetValueExW");
        auto queryW = System<decltype(&RegQueryValueExW)>("RegQueryValueExW");
        bench.compare("RegSetValueExW", setTorwen, "RegSetValueExW (system)",
            [=] { setW(key, L"value", 0, REG_SZ, (const BYTE*)data, sizeof data); });
        bench.compare("RegQueryValueExW", queryTorwen, "RegQueryValueExW (system)", [=] {
            size = sizeof buf;
            queryW(key, L"value", nullptr, nullptr, (BYTE*)buf, &size);
        });
    } else {
        bench.compare("RegSetValueExW", setTorwen, "RegSetValueExA",
            [] { RegSetValueExA(key, "value", 0, REG_SZ, (const BYTE*)dataA, sizeof dataA); });
        bench.compare("RegQueryValueExW", queryTorwen, "RegQueryValueExA", [] {
            size = sizeof bufA;
            RegQueryValueExA(key, "value", nullptr, nullptr, (BYTE*)bufA, &size);
        });
    }
    RegCloseKey(key);
    RegDeleteKeyW(HKEY_CURRENT_USER, L"Software\\torwen bench");
}
