#include "bench.h"

#include <commdlg.h>

// File titles: a pure string function of the dialogs' library, so the cost of the
// frame and the conversions shows without a dialog's own.
TORWEN_BENCH(CommonDialogs)
{
    const wchar_t* path = L"C:\\Program Files\\torwen\\caf\u00E9 readme.txt";
    char pathA[MAX_PATH];
    WideCharToMultiByte(CP_ACP, 0, path, -1, pathA, sizeof pathA, nullptr, nullptr);
    wchar_t title[MAX_PATH];
    char titleA[MAX_PATH];
    if (bench.unicodePlatform) {
        auto system = reinterpret_cast<decltype(&GetFileTitleW)>(
            reinterpret_cast<void*>(BenchSystemFunction("comdlg32.dll", "GetFileTitleW")));
        bench.compare("GetFileTitleW", [&] { GetFileTitleW(path, title, MAX_PATH); },
                      "GetFileTitleW (system)", [&] { system(path, title, MAX_PATH); });
        return;
    }
    auto ansi = reinterpret_cast<decltype(&GetFileTitleA)>(
        reinterpret_cast<void*>(BenchSystemFunction("comdlg32.dll", "GetFileTitleA")));
    bench.compare("GetFileTitleW", [&] { GetFileTitleW(path, title, MAX_PATH); },
                  "GetFileTitleA", [&] { ansi(pathA, titleA, MAX_PATH); });
}
