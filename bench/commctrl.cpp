#include "bench.h"

#include <commctrl.h>

#include "torwen.h"

namespace
{

// A report-mode list view under a window made through torwen: ANSI windows on the
// ANSI path, as the application's are.
HWND BenchListView()
{
    static HWND lv = [] {
        auto init = reinterpret_cast<BOOL(WINAPI*)(const INITCOMMONCONTROLSEX*)>(
            reinterpret_cast<void*>(BenchSystemFunction("comctl32.dll", "InitCommonControlsEx")));
        INITCOMMONCONTROLSEX icc = { sizeof icc, ICC_LISTVIEW_CLASSES };
        init(&icc);
        HWND parent = CreateWindowExW(0, L"STATIC", L"", WS_OVERLAPPEDWINDOW, 0, 0, 300, 200,
            nullptr, nullptr, GetModuleHandleW(nullptr), nullptr);
        HWND lv = CreateWindowExW(0, WC_LISTVIEWW, L"", WS_CHILD | LVS_REPORT, 0, 0, 300, 200,
            parent, nullptr, GetModuleHandleW(nullptr), nullptr);
        LVCOLUMNW col = {};
        col.mask = LVCF_WIDTH;
        col.cx = 100;
        AtListView_InsertColumnW(lv, 0, &col);
        return lv;
    }();
    return lv;
}

template <typename Fn> Fn User32(const char* name)
{
    return reinterpret_cast<Fn>(reinterpret_cast<void*>(BenchSystemFunction("user32.dll", name)));
}

} // namespace

// Each insertion is followed by the item's deletion, in the baseline too, so that the
// list keeps one item.
TORWEN_BENCH(CommonControls)
{
    static HWND lv = BenchListView();
    static wchar_t text[] = L"An item of some thirty characters";
    static char textA[64];
    WideCharToMultiByte(CP_ACP, 0, text, -1, textA, sizeof textA, nullptr, nullptr);
    static wchar_t buf[64];
    static char bufA[128];
    static auto sendW = User32<decltype(&SendMessageW)>("SendMessageW");
    static auto sendA = User32<decltype(&SendMessageA)>("SendMessageA");
    static LVITEMW item = [] {
        LVITEMW i = {};
        i.mask = LVIF_TEXT;
        i.pszText = text;
        return i;
    }();
    AtListView_InsertItemW(lv, &item);

    if (bench.unicodePlatform) {
        bench.compare(
            "AtListView_InsertItemW",
            [] {
                AtListView_InsertItemW(lv, &item);
                sendW(lv, LVM_DELETEITEM, 1, 0);
            },
            "SendMessageW(LVM_INSERTITEMW) (system)",
            [] {
                sendW(lv, LVM_INSERTITEMW, 0, LPARAM(&item));
                sendW(lv, LVM_DELETEITEM, 1, 0);
            });
        bench.compare(
            "AtListView_GetItemTextW", [] { AtListView_GetItemTextW(lv, 0, 0, buf, 64); },
            "SendMessageW(LVM_GETITEMTEXTW) (system)",
            [] {
                LVITEMW get = {};
                get.pszText = buf;
                get.cchTextMax = 64;
                sendW(lv, LVM_GETITEMTEXTW, 0, LPARAM(&get));
            });
    } else {
        bench.compare(
            "AtListView_InsertItemW",
            [] {
                AtListView_InsertItemW(lv, &item);
                sendA(lv, LVM_DELETEITEM, 1, 0);
            },
            "SendMessageA(LVM_INSERTITEMA)",
            [] {
                LVITEMA i = {};
                i.mask = LVIF_TEXT;
                i.pszText = textA;
                sendA(lv, LVM_INSERTITEMA, 0, LPARAM(&i));
                sendA(lv, LVM_DELETEITEM, 1, 0);
            });
        bench.compare(
            "AtListView_GetItemTextW", [] { AtListView_GetItemTextW(lv, 0, 0, buf, 64); },
            "SendMessageA(LVM_GETITEMTEXTA)",
            [] {
                LVITEMA get = {};
                get.pszText = bufA;
                get.cchTextMax = sizeof bufA;
                sendA(lv, LVM_GETITEMTEXTA, 0, LPARAM(&get));
            });
    }
}
