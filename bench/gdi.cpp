#include "bench.h"

namespace
{

template <typename Fn> Fn System(const char* name)
{
    return reinterpret_cast<Fn>(reinterpret_cast<void*>(BenchSystemFunction("gdi32.dll", name)));
}

} // namespace

TORWEN_BENCH(Gdi)
{
    static HDC dc = CreateCompatibleDC(nullptr);
    static HFONT font
        = CreateFontA(-16, 0, 0, 0, FW_NORMAL, 0, 0, 0, DEFAULT_CHARSET, 0, 0, 0, 0, "DejaVu Sans");
    SelectObject(dc, font);
    static const WCHAR text[] = L"The quick brown fox jumps over t"; // 32 characters
    static const char textA[] = "The quick brown fox jumps over t";
    static int fit, extents[32];
    static SIZE size;
    auto torwenExtent = [] { GetTextExtentExPointW(dc, text, 32, 200, &fit, extents, &size); };
    if (bench.unicodePlatform) {
        auto systemW = System<decltype(&GetTextExtentExPointW)>("GetTextExtentExPointW");
        bench.compare("GetTextExtentExPointW, 32 characters", torwenExtent,
            "GetTextExtentExPointW (system)",
            [=] { systemW(dc, text, 32, 200, &fit, extents, &size); });
    } else {
        bench.compare("GetTextExtentExPointW, 32 characters", torwenExtent, "GetTextExtentExPointA",
            [] { GetTextExtentExPointA(dc, textA, 32, 200, &fit, extents, &size); });
    }

    static LOGFONTW lf
        = { -16, 0, 0, 0, FW_NORMAL, 0, 0, 0, DEFAULT_CHARSET, 0, 0, 0, 0, L"DejaVu Sans" };
    static LOGFONTA lfA
        = { -16, 0, 0, 0, FW_NORMAL, 0, 0, 0, DEFAULT_CHARSET, 0, 0, 0, 0, "DejaVu Sans" };
    auto torwenFont = [] { DeleteObject(CreateFontIndirectW(&lf)); };
    if (bench.unicodePlatform) {
        auto systemW = System<decltype(&CreateFontIndirectW)>("CreateFontIndirectW");
        bench.compare("CreateFontIndirectW + DeleteObject", torwenFont,
            "CreateFontIndirectW (system)", [=] { DeleteObject(systemW(&lf)); });
    } else {
        bench.compare("CreateFontIndirectW + DeleteObject", torwenFont, "CreateFontIndirectA",
            [] { DeleteObject(CreateFontIndirectA(&lfA)); });
    }
}
