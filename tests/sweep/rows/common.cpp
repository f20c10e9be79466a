// Common controls and common dialogs. The controls are children of the sweep's
// window, made once with comctl32's A classes and messages; the modal dialogs
// close themselves from a hook, or stop at a template that does not exist so that
// fuzzed records cost no dialog.
#include "sweep/sweep.h"
#include "torwen.h"

#include <algorithm>
#include <cstring>

#include <commctrl.h>
#include <commdlg.h>
#include <dlgs.h>
#include <vfw.h>

#pragma GCC diagnostic ignored "-Wmissing-field-initializers"

namespace sweep {

namespace {

// ---- comctl32, which the test programs do not import

template <typename F>
F Fn(const char* dll, const char* name)
{
    return reinterpret_cast<F>(reinterpret_cast<void*>(GetProcAddress(LoadLibraryA(dll), name)));
}

void InitControls()
{
    static const bool done = [] {
        INITCOMMONCONTROLSEX icc = {sizeof icc, 0x3FFF};
        using Init = BOOL(WINAPI*)(const INITCOMMONCONTROLSEX*);
        return Fn<Init>("comctl32.dll", "InitCommonControlsEx")(&icc);
    }();
    (void)done;
}

HWND Child(const char* cls, DWORD style, HINSTANCE inst = Instance())
{
    InitControls();
    return CreateWindowExA(0, cls, "", WS_CHILD | style, 0, 0, 300, 200, Window(), HMENU(1), inst,
                           nullptr);
}

template <typename T = void>
LRESULT Send(HWND hwnd, UINT msg, WPARAM wParam, const T* lParam = nullptr)
{
    return SendMessageA(hwnd, msg, wParam, reinterpret_cast<LPARAM>(lParam));
}

// The test DLL's resources: a bitmap and a dialog template, found by name.
HINSTANCE Resources()
{
    static HINSTANCE dll = LoadLibraryA("test-resources.dll");
    return dll;
}

// ---- fuzzed text in the shapes the records take

// A copy of `s` in a buffer of `count` characters (cut, and terminated when there
// is room), ending at the no-access page.
LPWSTR Buffer(Fuzz& f, LPCWSTR s, int count)
{
    WCHAR* buf = f.Out<WCHAR>(count);
    if (count > 0) {
        int n = std::min(f.Len(s), count - 1);
        std::copy(s, s + n, buf);
        buf[n] = L'\0';
    }
    return buf;
}

// A copy of `s` and its NUL that ends at the page.
template <typename C>
C* Copy(Fuzz& f, const std::basic_string<C>& s)
{
    C* p = f.Out<C>(int(s.size() + 1));
    std::copy(s.begin(), s.end(), p);
    p[s.size()] = C(0);
    return p;
}

// A list of strings (each with its NUL, then an empty one) that ends at the page.
LPCWSTR List(Fuzz& f, LPCWSTR first, LPCWSTR second)
{
    return Copy(f, std::wstring(first, f.Len(first)) + L'\0' + second + L'\0');
}

// A fuzzed text, or now and then the marker of a text that the control asks its
// parent for: that one travels as it is and is never read.
LPWSTR TextOrMarker(Fuzz& f)
{
    return f.Pick(8) ? const_cast<LPWSTR>(f.Str()) : LPSTR_TEXTCALLBACKW;
}

// An ANSI copy of a fuzzed string, ending at the page.
LPSTR AnsiOf(Fuzz& f, LPCWSTR s)
{
    return Copy(f, harness::ToAnsi(std::wstring(s, f.Len(s))));
}

bool Created(Result r)
{
    return r != 0 && r != -1;
}

void Destroy(Result window)
{
    DestroyWindow(HWND(window));
}

// Rows with their call last: most of this table's are short.
Row Call(const char* name, Result failure, Error error, std::function<Result()> call)
{
    return Row(name, std::move(call), failure, error);
}

Row Call(const char* name, Result failure, std::function<Result()> call)
{
    return Row(name, std::move(call), failure);
}

Row Void(const char* name, std::function<void()> call)
{
    return Row::Void(name, std::move(call), Error::AsLeft);
}

// The valid calls' buffer, empty.
LPWSTR Scratch()
{
    static WCHAR buf[MAX_PATH];
    buf[0] = L'\0';
    return buf;
}

// ---- list views, tree views, headers and tab controls

wchar_t sweepText[] = L"sweep";

HWND ListView()
{
    static HWND lv = [] {
        HWND h = Child(WC_LISTVIEWA, LVS_REPORT | LVS_EDITLABELS);
        LVCOLUMNA col = {LVCF_TEXT | LVCF_WIDTH, 0, 100, const_cast<LPSTR>("sweep")};
        Send(h, LVM_INSERTCOLUMNA, 0, &col);
        LVITEMA item = {LVIF_TEXT, 0, 0, 0, 0, const_cast<LPSTR>("sweep")};
        Send(h, LVM_INSERTITEMA, 0, &item);
        return h;
    }();
    return lv;
}

void RestoreListItem()
{
    LVITEMA item = {0, 0, 0, 0, 0, const_cast<LPSTR>("sweep")};
    Send(ListView(), LVM_SETITEMTEXTA, 0, &item);
}

struct Tree {
    HWND hwnd;
    HTREEITEM root;
};

Tree TreeView()
{
    static Tree tree = [] {
        HWND h = Child(WC_TREEVIEWA, TVS_EDITLABELS);
        TVINSERTSTRUCTA ins = {TVI_ROOT, TVI_LAST};
        ins.item.mask = TVIF_TEXT;
        ins.item.pszText = const_cast<LPSTR>("sweep");
        return Tree{h, HTREEITEM(Send(h, TVM_INSERTITEMA, 0, &ins))};
    }();
    return tree;
}

HWND Header()
{
    static HWND h = [] {
        HWND hdr = Child(WC_HEADERA, 0);
        HDITEMA item = {HDI_TEXT | HDI_WIDTH, 50, const_cast<LPSTR>("sweep")};
        Send(hdr, HDM_INSERTITEMA, 0, &item);
        return hdr;
    }();
    return h;
}

HWND Tab()
{
    static HWND h = [] {
        HWND tab = Child(WC_TABCONTROLA, 0);
        TCITEMA item = {TCIF_TEXT, 0, 0, const_cast<LPSTR>("sweep")};
        Send(tab, TCM_INSERTITEMA, 0, &item);
        return tab;
    }();
    return h;
}

// The records the item rows hand over, made around a text and its capacity.

LVITEMW ListItem(LPWSTR text, int cch)
{
    return {LVIF_TEXT | LVIF_PARAM, 0, 0, 0, 0, text, cch};
}

LVCOLUMNW Column(LPWSTR text, int cch)
{
    return {LVCF_TEXT | LVCF_WIDTH, 0, 80, text, cch};
}

TVITEMW TreeItem(LPWSTR text, int cch)
{
    TVITEMW item = {TVIF_TEXT | TVIF_HANDLE, TreeView().root};
    item.pszText = text;
    item.cchTextMax = cch;
    return item;
}

TVINSERTSTRUCTW TreeInsert(LPWSTR text, int)
{
    TVINSERTSTRUCTW ins = {TVI_ROOT, TVI_LAST};
    ins.item.mask = TVIF_TEXT;
    ins.item.pszText = text;
    return ins;
}

HDITEMW HeaderItem(LPWSTR text, int cch)
{
    return {HDI_TEXT | HDI_WIDTH, 50, text, nullptr, cch};
}

TCITEMW TabItem(LPWSTR text, int cch)
{
    return {TCIF_TEXT, 0, 0, text, cch};
}

// Reads the first item's text: "sweep", into a buffer that held a longer text (the
// header answers no longer a text than the one the buffer holds); fuzzed, into a
// buffer of every count that ends at the no-access page.
template <typename Make, typename Get>
Row GetsText(const char* name, Make make, Get get)
{
    return Call(name, FALSE, Error::AsLeft,
                [=] {
                    WCHAR buf[64] = L"xxxxxxxxxx";
                    auto item = make(buf, 64);
                    return R(get(&item) && !wcscmp(buf, L"sweep"));
                })
        .Fuzz([=](Fuzz& f) {
            int count = f.Count(5);
            auto item = make(f.Out<WCHAR>(count), count);
            get(&item);
        });
}

// What a fuzzed record's text is: any string, or also the callback marker where the
// control takes one.
enum Texts { Strings, OrMarker };

LPWSTR Drawn(Fuzz& f, Texts texts)
{
    return texts == OrMarker ? TextOrMarker(f) : const_cast<LPWSTR>(f.Str());
}

// Sets the first item's text; after a fuzzed one, `restore` puts "sweep" back.
template <typename Make, typename Set>
Row SetsText(const char* name, Make make, Set set, Texts texts, void (*restore)(),
             Result failure = FALSE)
{
    return Call(name, failure, Error::AsLeft,
                [=] {
                    auto item = make(sweepText, 0);
                    return R(set(&item));
                })
        .Fuzz([=](Fuzz& f) {
            auto item = make(Drawn(f, texts), 0);
            set(&item);
            restore();
        });
}

// Inserts an item, which `remove` takes out again.
template <typename Make, typename Insert>
Row InsertsText(const char* name, Make make, Insert insert, Texts texts, void (*remove)(Result),
                Result failure = -1)
{
    return Call(name, failure, Error::AsLeft,
                [=] {
                    auto item = make(sweepText, 0);
                    return R(insert(&item));
                })
        .Undo(remove)
        .Fuzz([=](Fuzz& f) {
            auto item = make(Drawn(f, texts), 0);
            Result r = R(insert(&item));
            if (r != failure)
                remove(r);
        });
}

// No incremental search is under way: the string is empty.
template <typename Get>
Row SearchesNothing(const char* name, Get get)
{
    return Call(name, 0, Error::AsLeft, [=] { return R(get(Scratch())); })
        .Ok(0)
        .Fuzz([=](Fuzz& f) { get(f.Out<WCHAR>(260)); });
}

std::vector<Row> ItemRows()
{
    return {
        InsertsText(
            "AtListView_InsertItemW", ListItem,
            [](LVITEMW* item) {
                item->iItem = 1;
                return AtListView_InsertItemW(ListView(), item);
            },
            OrMarker, [](Result i) { Send(ListView(), LVM_DELETEITEM, i); }),
        GetsText("AtListView_GetItemW", ListItem,
                 [](LVITEMW* item) { return AtListView_GetItemW(ListView(), item); }),
        SetsText("AtListView_SetItemW", ListItem,
                 [](LVITEMW* item) { return AtListView_SetItemW(ListView(), item); }, OrMarker,
                 RestoreListItem),
        Call("AtListView_FindItemW", -1, Error::AsLeft,
             [] {
                 LVFINDINFOW find = {LVFI_STRING, L"sweep"};
                 return R(AtListView_FindItemW(ListView(), -1, &find));
             })
            .Ok(0)
            .Fuzz([](Fuzz& f) {
                LVFINDINFOW find = {f.Pick(2) ? UINT(LVFI_STRING) : UINT(LVFI_PARTIAL), f.Str()};
                AtListView_FindItemW(ListView(), -1, &find);
            }),
        Call("AtListView_GetStringWidthW", -1, Error::AsLeft,
             [] { return R(AtListView_GetStringWidthW(ListView(), L"sweep")); })
            .Ok([](Result r) { return r > 0; })
            .Fuzz([](Fuzz& f) { AtListView_GetStringWidthW(ListView(), f.Str()); }),
        Call("AtListView_EditLabelW", 0, Error::AsLeft,
             [] { return R(AtListView_EditLabelW(ListView(), 0)); })
            .Undo([](Result) { Send(ListView(), LVM_CANCELEDITLABEL, 0); }),
        GetsText("AtListView_GetColumnW", Column,
                 [](LVCOLUMNW* col) { return AtListView_GetColumnW(ListView(), 0, col); }),
        SetsText("AtListView_SetColumnW", Column,
                 [](LVCOLUMNW* col) { return AtListView_SetColumnW(ListView(), 0, col); }, Strings,
                 [] {
                     LVCOLUMNA back = {LVCF_TEXT, 0, 0, const_cast<LPSTR>("sweep")};
                     Send(ListView(), LVM_SETCOLUMNA, 0, &back);
                 }),
        InsertsText("AtListView_InsertColumnW", Column,
                    [](LVCOLUMNW* col) { return AtListView_InsertColumnW(ListView(), 1, col); },
                    Strings, [](Result i) { Send(ListView(), LVM_DELETECOLUMN, i); }),
        Void("AtListView_GetItemTextW",
             [] { AtListView_GetItemTextW(ListView(), 0, 0, Scratch(), 64); })
            .Fuzz([](Fuzz& f) {
                int count = f.Count(5);
                // Wine's list view measures what it left in the buffer, even in one of
                // no characters: on the NT family the buffer holds a NUL to stop it.
                WCHAR* buf = f.Out<WCHAR>(harness::AnsiPath() ? count : std::max(count, 1));
                if (!harness::AnsiPath())
                    buf[0] = L'\0';
                AtListView_GetItemTextW(ListView(), 0, 0, buf, count);
            }),
        Void("AtListView_SetItemTextW", [] { AtListView_SetItemTextW(ListView(), 0, 0, L"sweep"); })
            .Fuzz([](Fuzz& f) {
                AtListView_SetItemTextW(ListView(), 0, 0, f.Str(Fuzz::NullOk));
                RestoreListItem();
            }),
        SearchesNothing("AtListView_GetISearchStringW",
                        [](LPWSTR buf) { return AtListView_GetISearchStringW(ListView(), buf); }),
        InsertsText(
            "AtTreeView_InsertItemW", TreeInsert,
            [](TVINSERTSTRUCTW* ins) { return AtTreeView_InsertItemW(TreeView().hwnd, ins); },
            OrMarker,
            [](Result item) { Send(TreeView().hwnd, TVM_DELETEITEM, 0, HTREEITEM(item)); }, 0),
        GetsText("AtTreeView_GetItemW", TreeItem,
                 [](TVITEMW* item) { return AtTreeView_GetItemW(TreeView().hwnd, item); }),
        SetsText(
            "AtTreeView_SetItemW", TreeItem,
            [](TVITEMW* item) { return AtTreeView_SetItemW(TreeView().hwnd, item); }, OrMarker,
            [] {
                TVITEMA back = {TVIF_TEXT | TVIF_HANDLE, TreeView().root};
                back.pszText = const_cast<LPSTR>("sweep");
                Send(TreeView().hwnd, TVM_SETITEMA, 0, &back);
            },
            -1)
            .Ok(TRUE),
        Call("AtTreeView_EditLabelW", 0, Error::AsLeft,
             [] { return R(AtTreeView_EditLabelW(TreeView().hwnd, TreeView().root)); })
            .Undo([](Result) { Send(TreeView().hwnd, TVM_ENDEDITLABELNOW, TRUE); }),
        SearchesNothing("AtTreeView_GetISearchStringW", [](LPWSTR buf) {
            return AtTreeView_GetISearchStringW(TreeView().hwnd, buf);
        }),
        GetsText("AtHeader_GetItemW", HeaderItem,
                 [](HDITEMW* item) { return AtHeader_GetItemW(Header(), 0, item); }),
        InsertsText("AtHeader_InsertItemW", HeaderItem,
                    [](HDITEMW* item) { return AtHeader_InsertItemW(Header(), 1, item); },
                    OrMarker, [](Result i) { Send(Header(), HDM_DELETEITEM, i); }),
        SetsText("AtHeader_SetItemW", HeaderItem,
                 [](HDITEMW* item) { return AtHeader_SetItemW(Header(), 0, item); }, OrMarker,
                 [] {
                     HDITEMA back = {HDI_TEXT, 0, const_cast<LPSTR>("sweep")};
                     Send(Header(), HDM_SETITEMA, 0, &back);
                 }),
        GetsText("AtTabCtrl_GetItemW", TabItem,
                 [](TCITEMW* item) { return AtTabCtrl_GetItemW(Tab(), 0, item); }),
        SetsText("AtTabCtrl_SetItemW", TabItem,
                 [](TCITEMW* item) { return AtTabCtrl_SetItemW(Tab(), 0, item); }, Strings,
                 [] {
                     TCITEMA back = {TCIF_TEXT, 0, 0, const_cast<LPSTR>("sweep")};
                     Send(Tab(), TCM_SETITEMA, 0, &back);
                 }),
        InsertsText("AtTabCtrl_InsertItemW", TabItem,
                    [](TCITEMW* item) { return AtTabCtrl_InsertItemW(Tab(), 1, item); }, Strings,
                    [](Result i) { Send(Tab(), TCM_DELETEITEM, i); }),
    };
}

// ---- toolbars, tooltips, status bars, animation and image lists

HWND Toolbar()
{
    static HWND h = [] {
        HWND tb = Child(TOOLBARCLASSNAMEA, 0);
        Send(tb, TB_BUTTONSTRUCTSIZE, sizeof(TBBUTTON));
        Send(tb, TB_ADDSTRINGA, 0, "sweep\0");
        TBBUTTON button = {0, 1, TBSTATE_ENABLED, BTNS_BUTTON, {}, 0, 0};
        Send(tb, TB_ADDBUTTONSA, 1, &button);
        return tb;
    }();
    return h;
}

void SetButtonText(const char* text)
{
    TBBUTTONINFOA info = {sizeof info, TBIF_TEXT};
    info.pszText = const_cast<LPSTR>(text);
    Send(Toolbar(), TB_SETBUTTONINFOA, 1, &info);
}

TBBUTTON* Button()
{
    static TBBUTTON button;
    button = {0, 2, TBSTATE_ENABLED, BTNS_BUTTON, {}, 0, 0};
    return &button;
}

void DeleteButton(int index)
{
    Send(Toolbar(), TB_DELETEBUTTON, index);
}

// A tooltip with tool 1 over the top-left corner of the sweep's window. Tool 1
// keeps its text ("sweep"); the rows that change texts use tool 2.
HWND Tooltip()
{
    static HWND h = [] {
        InitControls();
        HWND tt = CreateWindowExA(0, TOOLTIPS_CLASSA, nullptr, WS_POPUP | TTS_ALWAYSTIP, 0, 0, 0, 0,
                                  Window(), nullptr, Instance(), nullptr);
        TTTOOLINFOA ti = {44, 0, Window(), 1, {0, 0, 50, 50}, nullptr, const_cast<LPSTR>("sweep")};
        Send(tt, TTM_ADDTOOLA, 0, &ti);
        return tt;
    }();
    return h;
}

TTTOOLINFOW Tool(UINT_PTR id, LPWSTR text)
{
    TTTOOLINFOW ti = {sizeof ti, 0, Window(), id, {0, 0, 50, 50}, nullptr, text};
    return ti;
}

void AddTool2()
{
    TTTOOLINFOA ti = {44, 0, Window(), 2, {50, 50, 60, 60}, nullptr, const_cast<LPSTR>("two")};
    Send(Tooltip(), TTM_ADDTOOLA, 0, &ti);
}

void DeleteTool2()
{
    TTTOOLINFOA ti = {44, 0, Window(), 2};
    Send(Tooltip(), TTM_DELTOOLA, 0, &ti);
}

// The queries' text buffer: 255 characters, as the caller provides.
LPWSTR TipBuffer(Fuzz* f = nullptr)
{
    static WCHAR buf[255];
    return f ? f->Out<WCHAR>(255) : buf;
}

// The whole tool record for a valid call; fuzzed, one of the size it states
// (without lParam, with it, or the whole record) that ends at the no-access page:
// the size is all that may be read or written.
TTTOOLINFOW* ToolRecord(Fuzz* f, UINT_PTR id, LPWSTR text)
{
    static const UINT sizes[] = {TTTOOLINFOW_V1_SIZE, TTTOOLINFOW_V2_SIZE, sizeof(TTTOOLINFOW)};
    static TTTOOLINFOW valid;
    valid = Tool(id, text);
    if (!f)
        return &valid;
    valid.cbSize = sizes[f->Pick(3)];
    auto* record = reinterpret_cast<TTTOOLINFOW*>(f->Out<BYTE>(int(valid.cbSize)));
    memcpy(record, &valid, valid.cbSize);
    return record;
}

// Changes tool 1's text; fuzzed, tool 2's (added and removed around the call).
Row SetsToolText(const char* name, void(WINAPI* set)(HWND, LPTTTOOLINFOW))
{
    return Void(name, [=] { set(Tooltip(), ToolRecord(nullptr, 1, sweepText)); })
        .Fuzz([=](Fuzz& f) {
            AddTool2();
            set(Tooltip(), ToolRecord(&f, 2, TextOrMarker(f)));
            DeleteTool2();
        });
}

// A query of the first tool into the caller's 255 characters.
template <typename Query>
Row QueriesTool(const char* name, Query query)
{
    return Call(name, FALSE, Error::AsLeft,
                [=] { return R(query(ToolRecord(nullptr, 0, TipBuffer()))); })
        .Fuzz([=](Fuzz& f) { query(ToolRecord(&f, 0, TipBuffer(&f))); });
}

HWND StatusBar()
{
    static HWND h = [] {
        HWND sb = Child(STATUSCLASSNAMEA, 0);
        Send(sb, SB_SETTEXTA, 0, "sweep");
        return sb;
    }();
    return h;
}

// The control looks for a named clip among the resources of its own module: shell32
// has the file-copy animation (161).
HWND Animation()
{
    static HWND h = Child(ANIMATE_CLASSA, 0, LoadLibraryA("shell32.dll"));
    return h;
}

HIMAGELIST LoadImageList(LPCWSTR name)
{
    return ImageList_LoadImageW(Resources(), name, 16, 0, CLR_NONE, IMAGE_BITMAP, 0);
}

void DestroyImageList(Result list)
{
    Fn<BOOL(WINAPI*)(HIMAGELIST)>("comctl32.dll", "ImageList_Destroy")(HIMAGELIST(list));
}

std::vector<Row> BarRows()
{
    return {
        Row("ImageList_LoadImageW", [] { return R(LoadImageList(L"TESTBITMAP")); }, 0)
            .Undo(DestroyImageList)
            .Fuzz([](Fuzz& f) {
                HIMAGELIST list = f.Pick(2) ? LoadImageList(f.Str())
                                            : ImageList_LoadImageW(nullptr, f.Path(), 16, 0,
                                                                   CLR_NONE, IMAGE_BITMAP,
                                                                   LR_LOADFROMFILE);
                if (list)
                    DestroyImageList(R(list));
            }),
        Void("DrawStatusTextW",
             [] {
                 HDC dc = GetDC(Window());
                 RECT rect = {0, 0, 100, 20};
                 DrawStatusTextW(dc, &rect, L"sweep", 0);
                 DWORD error = GetLastError();
                 ReleaseDC(Window(), dc);
                 SetLastError(error);
             })
            .Fuzz([](Fuzz& f) {
                HDC dc = GetDC(Window());
                RECT rect = {0, 0, 100, 20};
                DrawStatusTextW(dc, &rect, f.Str(Fuzz::NullOk), 0);
                ReleaseDC(Window(), dc);
            }),
        Row("CreateStatusWindowW",
            [] { return R(CreateStatusWindowW(WS_CHILD, L"sweep", Window(), 2)); }, 0)
            .Undo(Destroy)
            .Fuzz([](Fuzz& f) {
                DestroyWindow(CreateStatusWindowW(WS_CHILD, f.Str(), Window(), 2));
            }),
        Row("AtAnimate_CreateW",
            [] { return R(AtAnimate_CreateW(Window(), 3, WS_CHILD, Instance())); }, 0)
            .Undo(Destroy),
        // The NT family's control is sent the wide name as ANSI text, which only an
        // identifier survives.
        Call("AtAnimate_OpenW", FALSE, Error::AsLeft,
             [] {
                 LPCWSTR clip = harness::AnsiPath() ? L"#161" : MAKEINTRESOURCEW(161);
                 return R(AtAnimate_OpenW(Animation(), clip));
             })
            .Undo([](Result) { Send(Animation(), ACM_OPENA, 0); })
            .Fuzz([](Fuzz& f) {
                AtAnimate_OpenW(Animation(), f.Path());
                Send(Animation(), ACM_OPENA, 0);
            }),
        Call("AtStatusBar_SetTextW", FALSE, Error::AsLeft,
             [] { return R(AtStatusBar_SetTextW(StatusBar(), 0, L"sweep")); })
            .Fuzz([](Fuzz& f) {
                AtStatusBar_SetTextW(StatusBar(), 1, f.Str());
                Send(StatusBar(), SB_SETTEXTA, 1, "");
            }),
        // The buffer holds the text and its NUL, as callers size it from the length.
        Call("AtStatusBar_GetTextW", 0, Error::AsLeft,
             [] { return R(AtStatusBar_GetTextW(StatusBar(), 0, Scratch())); })
            .Fuzz([](Fuzz& f) {
                LPCWSTR text = f.Str();
                std::string a = harness::ToAnsi(std::wstring(text, f.Len(text)));
                Send(StatusBar(), SB_SETTEXTA, 1, a.c_str());
                int length = MultiByteToWideChar(CP_ACP, 0, a.c_str(), -1, nullptr, 0);
                AtStatusBar_GetTextW(StatusBar(), 1, f.Out<WCHAR>(length));
                Send(StatusBar(), SB_SETTEXTA, 1, "");
            }),
        Call("ToolBar_AddString", -1, Error::AsLeft,
             [] { return R(ToolBar_AddString(Toolbar(), nullptr, L"one\0two\0")); })
            // A list of strings, or a string resource's number (1 to 4 exist).
            .Fuzz([](Fuzz& f) {
                if (f.Pick(4))
                    ToolBar_AddString(Toolbar(), nullptr, List(f, f.Str(), L"sweep"));
                else
                    ToolBar_AddString(Toolbar(), Resources(), MAKEINTRESOURCEW(1 + f.Pick(5)));
            }),
        Call("ToolBar_GetButtonText", -1, Error::AsLeft,
             [] { return R(ToolBar_GetButtonText(Toolbar(), 1, Scratch(), 64)); })
            .Ok(5)
            // Button 1 has a fuzzed text while the call runs. A text that comes back
            // fits the caller's count; one that does not answers 0.
            .Fuzz([](Fuzz& f) {
                LPCWSTR text = f.Str();
                std::string a = harness::ToAnsi(std::wstring(text, f.Len(text)));
                SetButtonText(a.c_str());
                int length = MultiByteToWideChar(CP_ACP, 0, a.c_str(), -1, nullptr, 0) - 1;
                int count = f.Count(length);
                // The NT family's toolbar writes the whole text whatever the count.
                int room = harness::AnsiPath() ? count : std::max(count, length + 1);
                int n = ToolBar_GetButtonText(Toolbar(), 1, f.Out<WCHAR>(room), count);
                if (harness::AnsiPath() && n > 0 && count > 0) {
                    EXPECT_LT(n, count) << f.Describe();
                }
                SetButtonText("sweep");
            }),
        Void("ToolBar_SaveRestore",
             [] {
                 TBSAVEPARAMSW params = {Key(), L"", L"toolbar"};
                 ToolBar_SaveRestore(Toolbar(), TRUE, &params);
             })
            .Fuzz([](Fuzz& f) {
                TBSAVEPARAMSW params = {Key(), L"", f.Str()};
                ToolBar_SaveRestore(Toolbar(), TRUE, &params);
            }),
        Call("ToolBar_AddButtons", FALSE, Error::AsLeft,
             [] { return R(ToolBar_AddButtons(Toolbar(), 1, Button())); })
            .Undo([](Result) { DeleteButton(int(Send(Toolbar(), TB_BUTTONCOUNT, 0)) - 1); }),
        Call("ToolBar_InsertButton", FALSE, Error::AsLeft,
             [] { return R(ToolBar_InsertButton(Toolbar(), 0, Button())); })
            .Undo([](Result) { DeleteButton(0); }),
        Call("ToolTips_AddTool", FALSE, Error::AsLeft,
             [] { return R(ToolTips_AddTool(Tooltip(), ToolRecord(nullptr, 2, sweepText))); })
            .Undo([](Result) { DeleteTool2(); })
            .Fuzz([](Fuzz& f) {
                ToolTips_AddTool(Tooltip(), ToolRecord(&f, 2, TextOrMarker(f)));
                DeleteTool2();
            }),
        Void("ToolTips_DelTool",
             [] {
                 AddTool2();
                 ToolTips_DelTool(Tooltip(), ToolRecord(nullptr, 2, nullptr));
             })
            .Undo([](Result) { DeleteTool2(); })
            .Fuzz([](Fuzz& f) {
                AddTool2();
                ToolTips_DelTool(Tooltip(), ToolRecord(&f, 2, nullptr));
                DeleteTool2();
            }),
        Void("ToolTips_NewToolRect",
             [] { ToolTips_NewToolRect(Tooltip(), ToolRecord(nullptr, 1, nullptr)); })
            .Fuzz([](Fuzz& f) { ToolTips_NewToolRect(Tooltip(), ToolRecord(&f, 1, nullptr)); }),
        Call("ToolTips_GetToolInfo", FALSE, Error::AsLeft,
             [] { return R(ToolTips_GetToolInfo(Tooltip(), ToolRecord(nullptr, 1, TipBuffer()))); })
            // On the ANSI path, tool 4 with a fuzzed text too. (Wine's wide tooltip
            // copies a tool's whole text, whatever the caller's buffer.)
            .Fuzz([](Fuzz& f) {
                ToolTips_GetToolInfo(Tooltip(), ToolRecord(&f, 1, TipBuffer(&f)));
                if (!harness::AnsiPath())
                    return;
                std::string text = harness::ToAnsi(f.Str());
                TTTOOLINFOA ti = {44, 0, Window(), 4, {}, nullptr, text.data()};
                Send(Tooltip(), TTM_ADDTOOLA, 0, &ti);
                ToolTips_GetToolInfo(Tooltip(), ToolRecord(&f, 4, TipBuffer(&f)));
                Send(Tooltip(), TTM_DELTOOLA, 0, &ti);
            }),
        SetsToolText("ToolTips_SetToolInfo", ToolTips_SetToolInfo),
        SetsToolText("ToolTips_UpdateTipText", ToolTips_UpdateTipText),
        Call("ToolTips_HitTest", FALSE, Error::AsLeft,
             [] {
                 TTHITTESTINFOW hit = {Window(), {10, 10}, Tool(0, TipBuffer())};
                 return R(ToolTips_HitTest(Tooltip(), &hit));
             })
            .Fuzz([](Fuzz& f) {
                TTHITTESTINFOW hit = {Window(), {10, 10}, Tool(0, TipBuffer(&f))};
                ToolTips_HitTest(Tooltip(), &hit);
            }),
        QueriesTool("ToolTips_EnumTools",
                    [](LPTTTOOLINFOW ti) { return ToolTips_EnumTools(Tooltip(), 0, ti); }),
        // Wine's tooltip makes no tool current unless the mouse rests on one.
        QueriesTool("ToolTips_GetCurrentTool",
                    [](LPTTTOOLINFOW ti) { return ToolTips_GetCurrentTool(Tooltip(), ti); })
            .Ok(FALSE),
    };
}

// ---- property sheets

// An empty child dialog in memory.
struct Template {
    DLGTEMPLATE t;
    WORD menu, cls, title;
};
const Template emptyPage = {{WS_CHILD | WS_VISIBLE, 0, 0, 0, 0, 100, 50}, 0, 0, 0};

INT_PTR CALLBACK PageProc(HWND, UINT, WPARAM, LPARAM)
{
    return FALSE;
}

// The wide callback that the adapter calls: it sees its own lParam.
UINT CALLBACK PageCallback(HWND, UINT, LPPROPSHEETPAGEW page)
{
    return page->lParam == 7;
}

PROPSHEETPAGEW Page(LPCWSTR title)
{
    PROPSHEETPAGEW page = {};
    page.dwSize = sizeof(PROPSHEETPAGEW_V2);
    page.dwFlags = PSP_DLGINDIRECT | PSP_USETITLE | PSP_USECALLBACK;
    page.pResource = &emptyPage.t;
    page.pszTitle = title;
    page.pfnDlgProc = PageProc;
    page.lParam = 7;
    page.pfnCallback = PageCallback;
    return page;
}

// A page named by the test DLL's dialog resource.
PROPSHEETPAGEW NamedPage(LPCWSTR name, LPCWSTR title)
{
    PROPSHEETPAGEW page = Page(title);
    page.dwFlags &= ~PSP_DLGINDIRECT;
    page.hInstance = Resources();
    page.pszTemplate = name;
    return page;
}

PROPSHEETHEADERW Sheet(LPCWSTR caption, const PROPSHEETPAGEW* page)
{
    PROPSHEETHEADERW header = {};
    header.dwSize = sizeof header;
    header.dwFlags = PSH_MODELESS | PSH_PROPSHEETPAGE | PSH_NOAPPLYNOW;
    header.hwndParent = Window();
    header.pszCaption = caption;
    header.nPages = 1;
    header.ppsp = page;
    return header;
}

// A modeless wizard made by comctl32's A function, for the messages to the sheet.
HWND Wizard()
{
    static HWND h = [] {
        InitControls();
        PROPSHEETPAGEA page = {};
        page.dwSize = sizeof(PROPSHEETPAGEA_V2);
        page.dwFlags = PSP_DLGINDIRECT;
        page.pResource = &emptyPage.t;
        page.pfnDlgProc = PageProc;
        PROPSHEETHEADERA header = {};
        header.dwSize = sizeof header;
        header.dwFlags = PSH_MODELESS | PSH_PROPSHEETPAGE | PSH_WIZARD;
        header.hwndParent = Window();
        header.pszCaption = "sweep";
        header.nPages = 1;
        header.ppsp = &page;
        using Sheet = INT_PTR(WINAPI*)(LPCPROPSHEETHEADERA);
        return HWND(Fn<Sheet>("comctl32.dll", "PropertySheetA")(&header));
    }();
    return h;
}

void DestroyPage(Result page)
{
    using Destroy = BOOL(WINAPI*)(HPROPSHEETPAGE);
    Fn<Destroy>("comctl32.dll", "DestroyPropertySheetPage")(HPROPSHEETPAGE(page));
}

// The page the system hands the adapter: its lParam holds the caller's callback and
// lParam.
struct SavedPair {
    LPFNPSPCALLBACKW callback;
    LPARAM lParam;
};

UINT CallAdapter(LPCSTR name, LPCSTR title)
{
    SavedPair pair = {PageCallback, 7};
    PROPSHEETPAGEA page = {};
    page.dwSize = 68;
    page.dwFlags = PSP_USETITLE | PSP_USECALLBACK;
    page.hInstance = Resources();
    page.pszTemplate = name;
    page.pszTitle = title;
    page.lParam = LPARAM(&pair);
    page.pfnCallback = fnAtPropertySheetA;
    return fnAtPropertySheetA(nullptr, PSPCB_CREATE, &page);
}

std::vector<Row> SheetRows()
{
    return {
        // The page with the callback carries no strings: the adapter, which the sheet
        // calls while it is made, then allocates nothing of its own.
        Call("PropertySheetW", -1,
             [] {
                 PROPSHEETPAGEW pages[2] = {Page(nullptr), Page(L"sweep")};
                 pages[0].dwFlags &= ~PSP_USETITLE;
                 pages[1].dwFlags &= ~PSP_USECALLBACK;
                 PROPSHEETHEADERW header = Sheet(L"sweep", pages);
                 header.nPages = 2;
                 return R(PropertySheetW(&header));
             })
            .Ok(Created)
            .Undo(Destroy)
            // A sheet whose owner is gone fails once its pages are made, before the
            // sheet's window is: the fuzzed strings cost no window. (Its page has no
            // callback: on some of these failures Wine's sheet never releases the
            // pages it made, nor the callback's pair with them.)
            .Fuzz([](Fuzz& f) {
                static HWND gone = [] {
                    HWND w = CreateWindowExA(0, "STATIC", "", WS_POPUP, 0, 0, 0, 0, nullptr,
                                             nullptr, Instance(), nullptr);
                    DestroyWindow(w);
                    return w;
                }();
                PROPSHEETPAGEW page = Page(f.Str());
                page.dwFlags &= ~PSP_USECALLBACK;
                PROPSHEETHEADERW header = Sheet(f.Str(), &page);
                header.hwndParent = gone;
                INT_PTR r = PropertySheetW(&header);
                EXPECT_FALSE(Created(r)) << f.Describe();
                if (Created(r))
                    Destroy(r);
            }),
        // Without a callback: the system calls a page's callback as it makes the page,
        // and the adapter's allocations are not the export's.
        Call("CreatePropertySheetPageW", 0,
             [] {
                 PROPSHEETPAGEW page = NamedPage(L"CONTROLS", L"sweep");
                 page.dwFlags &= ~PSP_USECALLBACK;
                 return R(CreatePropertySheetPageW(&page));
             })
            .Undo(DestroyPage)
            .Fuzz([](Fuzz& f) {
                PROPSHEETPAGEW page = NamedPage(f.Str(), f.Str(Fuzz::NullOk));
                if (HPROPSHEETPAGE made = CreatePropertySheetPageW(&page))
                    DestroyPage(R(made));
            }),
        // The system calls the adapter on Windows 95, 98 and Me only; on the NT family
        // the row hands it a page without strings, which it converts without memory.
        Call("fnAtPropertySheetA", 0, Error::AsLeft,
             [] {
                 return harness::AnsiPath() ? R(CallAdapter("CONTROLS", "sweep"))
                                            : R(CallAdapter(MAKEINTRESOURCEA(1), nullptr));
             })
            .WorksWhenMissing()
            .Fuzz([](Fuzz& f) { CallAdapter(AnsiOf(f, f.Str()), AnsiOf(f, f.Str())); }),
        Void("AtPropSheet_SetTitleW", [] { AtPropSheet_SetTitleW(Wizard(), 0, L"sweep"); })
            .Fuzz([](Fuzz& f) { AtPropSheet_SetTitleW(Wizard(), 0, f.Str()); }),
        Void("AtPropSheet_SetFinishTextW", [] { AtPropSheet_SetFinishTextW(Wizard(), L"sweep"); })
            .Fuzz([](Fuzz& f) { AtPropSheet_SetFinishTextW(Wizard(), f.Str()); }),
    };
}

// ---- common dialogs

// The open and save dialogs press OK as soon as they are up; the others at their
// first message.
UINT_PTR CALLBACK PressOkWhenUp(HWND child, UINT msg, WPARAM, LPARAM lParam)
{
    if (msg == WM_NOTIFY && reinterpret_cast<NMHDR*>(lParam)->code == CDN_INITDONE)
        PostMessageA(GetParent(child), WM_COMMAND, IDOK, 0);
    return 0;
}

UINT_PTR CALLBACK PressOk(HWND dialog, UINT msg, WPARAM, LPARAM)
{
    if (msg == WM_INITDIALOG)
        PostMessageA(dialog, WM_COMMAND, IDOK, 0);
    return 0;
}

OPENFILENAMEW* FileDialog()
{
    static const std::wstring folder = Folder();
    static WCHAR file[MAX_PATH], title[MAX_PATH];
    static OPENFILENAMEW ofn;
    MakeFile(L"sweep.txt");
    wcscpy(file, L"sweep.txt");
    ofn = {};
    ofn.lStructSize = sizeof ofn;
    ofn.hwndOwner = Window();
    ofn.lpstrFilter = L"Text\0*.txt\0All\0*.*\0";
    ofn.nFilterIndex = 1;
    ofn.lpstrFile = file;
    ofn.nMaxFile = MAX_PATH;
    ofn.lpstrFileTitle = title;
    ofn.nMaxFileTitle = MAX_PATH;
    ofn.lpstrInitialDir = folder.c_str();
    ofn.lpstrTitle = L"sweep";
    ofn.lpstrDefExt = L"txt";
    ofn.Flags = OFN_EXPLORER | OFN_ENABLEHOOK | OFN_NOCHANGEDIR | OFN_HIDEREADONLY;
    ofn.lpfnHook = PressOkWhenUp;
    return &ofn;
}

// Every string and buffer fuzzed, and an old-style dialog whose template the test
// program lacks: the dialog fails before it shows.
OPENFILENAMEW FuzzedFileDialog(Fuzz& f)
{
    OPENFILENAMEW ofn = {};
    ofn.lStructSize = sizeof ofn;
    ofn.hwndOwner = Window();
    ofn.hInstance = Instance();
    ofn.lpstrFilter = List(f, f.Str(), L"*.*");
    LPCWSTR custom = f.Str();
    ofn.nMaxCustFilter = f.Count(40);
    ofn.lpstrCustomFilter = Buffer(f, custom, int(ofn.nMaxCustFilter));
    LPCWSTR name = f.Str();
    ofn.nMaxFile = f.Count(f.Len(name) + 1);
    ofn.lpstrFile = Buffer(f, name, int(ofn.nMaxFile));
    ofn.nMaxFileTitle = f.Count(MAX_PATH);
    ofn.lpstrFileTitle = f.Out<WCHAR>(int(ofn.nMaxFileTitle));
    ofn.lpstrInitialDir = f.Str(Fuzz::NullOk);
    ofn.lpstrTitle = f.Str(Fuzz::NullOk);
    ofn.lpstrDefExt = f.Str(Fuzz::NullOk);
    ofn.Flags = OFN_ENABLETEMPLATE | OFN_NOCHANGEDIR;
    ofn.lpTemplateName = f.Str();
    return ofn;
}

template <typename Dialog>
Row FileRow(const char* name, Dialog dialog)
{
    return Call(name, FALSE, Error::AsLeft, [dialog] { return R(dialog(FileDialog())); })
        .Fuzz([dialog](Fuzz& f) {
            OPENFILENAMEW ofn = FuzzedFileDialog(f);
            EXPECT_FALSE(dialog(&ofn)) << f.Describe();
        });
}

// A stand-in for an open dialog, for the hook's queries: it answers them as the
// dialog does, in the character set it was sent (ANSI on Windows 95, 98 and Me),
// copying as much as the size allows and answering the text's size with its NUL.
LRESULT CALLBACK StandInProc(HWND hwnd, UINT msg, WPARAM wParam, LPARAM lParam)
{
    static const char* answers[] = {"sweep.txt", "C:\\sweep\\sweep.txt", "C:\\sweep"};
    if (msg >= CDM_GETSPEC && msg <= CDM_GETFOLDERPATH) {
        std::string text = answers[msg - CDM_GETSPEC];
        int size = int(wParam);
        if (size > 0 && harness::AnsiPath()) {
            lstrcpynA(reinterpret_cast<LPSTR>(lParam), text.c_str(), size);
        } else if (size > 0) {
            auto* buf = reinterpret_cast<LPWSTR>(lParam);
            size_t n = std::min(text.size(), size_t(size - 1));
            std::copy(text.begin(), text.begin() + n, buf);
            buf[n] = 0;
        }
        return LRESULT(text.size() + 1);
    }
    if (msg == CDM_SETCONTROLTEXT || msg == CDM_SETDEFEXT) {
        // Reads the text to its end, as the dialog's controls do.
        if (lParam)
            return harness::AnsiPath() ? int(strlen(reinterpret_cast<LPCSTR>(lParam)))
                                       : int(wcslen(reinterpret_cast<LPCWSTR>(lParam)));
        return 0;
    }
    return DefWindowProcA(hwnd, msg, wParam, lParam);
}

HWND StandIn()
{
    static HWND h = TopWindow("torwen-sweep-open-dialog", StandInProc, WS_POPUP);
    return h;
}

template <typename Query>
Row QueryRow(const char* name, Query query)
{
    return Call(name, 0, Error::AsLeft,
                [query] { return R(query(StandIn(), Scratch(), MAX_PATH)); })
        .Fuzz([query](Fuzz& f) {
            int count = f.Count(20);
            query(StandIn(), f.Out<WCHAR>(count), count);
        });
}

FINDREPLACEW* FindRecord(bool replacing, Fuzz* f = nullptr)
{
    static WCHAR find[64], replace[64];
    static FINDREPLACEW fr;
    // comdlg32's own templates, named by their numbers in text.
    static const WCHAR* templates[] = {L"#1540", L"#1541"};  // FINDDLGORD, REPLACEDLGORD
    fr = {sizeof fr, Window(), LoadLibraryA("comdlg32.dll"), FR_DOWN | FR_ENABLETEMPLATE,
          find, replace, sizeof find, sizeof replace};
    fr.lpTemplateName = templates[replacing];
    wcscpy(find, L"sweep");
    wcscpy(replace, L"swept");
    if (f) {
        // A template the test program lacks: the dialog fails before it is made.
        fr.hInstance = Instance();
        fr.lpTemplateName = f->Str();
        // The record counts its buffers' bytes in 16 bits.
        LPCWSTR text = f->Str();
        int count = std::min(f->Count(f->Len(text) + 1), 0x7FFF);
        fr.wFindWhatLen = fr.wReplaceWithLen = WORD(count * sizeof(WCHAR));
        // Wine's FindTextW and ReplaceTextW read as many characters as the record
        // counts bytes: on the NT family the buffers are twice as long.
        if (!harness::AnsiPath())
            count *= 2;
        fr.lpstrFindWhat = Buffer(*f, text, count);
        fr.lpstrReplaceWith = Buffer(*f, f->Str(), count);
    }
    return &fr;
}

template <typename Open>
Row FindRow(const char* name, Open open, bool replace)
{
    return Row(name, [open, replace] { return R(open(FindRecord(replace))); }, 0)
        .Undo(Destroy)
        .Fuzz([open, replace](Fuzz& f) {
            EXPECT_FALSE(open(FindRecord(replace, &f))) << f.Describe();
        });
}

int CALLBACK FirstTrueType(const LOGFONTA* font, const TEXTMETRICA*, DWORD type, LPARAM face)
{
    if (!(type & TRUETYPE_FONTTYPE) || font->lfFaceName[0] == '@')
        return 1;
    *reinterpret_cast<std::wstring*>(face) = harness::FromAnsi(font->lfFaceName);
    return 0;
}

LOGFONTW SomeFont()
{
    static const std::wstring face = [] {
        std::wstring name;
        LOGFONTA all = {};
        all.lfCharSet = DEFAULT_CHARSET;
        HDC dc = GetDC(nullptr);
        EnumFontFamiliesExA(dc, &all, FirstTrueType, LPARAM(&name), 0);
        ReleaseDC(nullptr, dc);
        return name;
    }();
    LOGFONTW font = {};
    font.lfHeight = -12;
    font.lfWeight = FW_NORMAL;
    font.lfCharSet = DEFAULT_CHARSET;
    wcsncpy(font.lfFaceName, face.c_str(), LF_FACESIZE - 1);
    return font;
}

CHOOSEFONTW FontDialog(LOGFONTW* font, LPWSTR style)
{
    CHOOSEFONTW cf = {};
    cf.lStructSize = sizeof cf;
    cf.hwndOwner = Window();
    cf.lpLogFont = font;
    cf.lpszStyle = style;
    cf.Flags = CF_SCREENFONTS | CF_INITTOLOGFONTSTRUCT | CF_USESTYLE | CF_ENABLEHOOK;
    cf.lpfnHook = PressOk;
    return cf;
}

CHOOSECOLORW* ColourDialog()
{
    static COLORREF custom[16];
    static CHOOSECOLORW cc;
    cc = {};
    cc.lStructSize = sizeof cc;
    cc.hwndOwner = Window();
    cc.rgbResult = RGB(1, 2, 3);
    cc.lpCustColors = custom;
    cc.Flags = CC_RGBINIT | CC_ENABLEHOOK;
    cc.lpfnHook = PressOk;
    return &cc;
}

// Wine without a printer ends the process in a print dialog that looks for one: the
// rows' dialogs stop at a template the test program lacks, after torwen converted
// the device objects, and answer FALSE.
HGLOBAL Global(const void* data, size_t size)
{
    HGLOBAL h = GlobalAlloc(GMEM_MOVEABLE, size);
    if (void* p = GlobalLock(h)) {
        memcpy(p, data, size);
        GlobalUnlock(h);
    }
    return h;
}

// Fuzzed, the objects are cut short or longer than their contents, and their
// counts and offsets lie. (Never empty: a dialog without an object looks for the
// default printer.)
SIZE_T ObjectSize(Fuzz* f, SIZE_T whole)
{
    return f ? std::clamp<SIZE_T>(f->Count(int(whole)), 1, whole) : whole;
}

HGLOBAL DeviceMode(Fuzz* f)
{
    struct {
        DEVMODEW mode;
        BYTE extra[64];
    } whole = {};
    wcscpy(whole.mode.dmDeviceName, L"sweep");
    whole.mode.dmSize = sizeof whole.mode;
    whole.mode.dmFields = DM_ORIENTATION;
    whole.mode.dmOrientation = DMORIENT_PORTRAIT;
    if (f) {
        whole.mode.dmDriverExtra = WORD(f->Pick(2) ? f->Count(64) : f->Pick(0x10000));
        whole.mode.dmSize = WORD(f->Count(sizeof whole.mode));
    }
    return Global(&whole, ObjectSize(f, f ? sizeof whole : sizeof whole.mode));
}

HGLOBAL DeviceNames(Fuzz* f)
{
    static const WCHAR names[] = L"\0\0\0\0winspool\0sweep\0LPT1:\0";
    WCHAR copy[ARRAYSIZE(names)];
    memcpy(copy, names, sizeof names);
    auto* header = reinterpret_cast<DEVNAMES*>(copy);
    *header = {4, 13, 19, 0};
    if (f)
        *header = {WORD(f->Pick(40)), WORD(f->Pick(40)), WORD(f->Pick(0x10000)), 1};
    return Global(copy, ObjectSize(f, sizeof copy));
}

// A print or page-setup dialog with the device objects that stops at the template
// `name`.
template <typename Record>
BOOL DeviceDialog(BOOL(WINAPI* dialog)(Record*), DWORD flag, LPCWSTR Record::*templateName,
                  LPCWSTR name, Fuzz* f)
{
    Record record = {};
    record.lStructSize = sizeof record;
    record.hwndOwner = Window();
    record.Flags = flag;
    record.hInstance = Instance();
    record.*templateName = name;
    record.hDevMode = DeviceMode(f);
    record.hDevNames = DeviceNames(f);
    BOOL r = dialog(&record);
    DWORD error = GetLastError();
    GlobalFree(record.hDevMode);
    GlobalFree(record.hDevNames);
    SetLastError(error);
    return r;
}

template <typename Record>
Row DeviceRow(const char* name, BOOL(WINAPI* dialog)(Record*), DWORD flag,
              LPCWSTR Record::*templateName)
{
    return Call(name, FALSE, Error::AsLeft,
                [=] { return R(DeviceDialog(dialog, flag, templateName, L"sweep", nullptr)); })
        .Ok(FALSE)
        .Fuzz([=](Fuzz& f) { DeviceDialog(dialog, flag, templateName, f.Str(), &f); });
}

std::vector<Row> DialogRows()
{
    return {
        FileRow("GetOpenFileNameW", GetOpenFileNameW),
        FileRow("GetSaveFileNameW", GetSaveFileNameW),
        FileRow("GetOpenFileNamePreviewW", GetOpenFileNamePreviewW),
        FileRow("GetSaveFileNamePreviewW", GetSaveFileNamePreviewW),
        Call("GetFileTitleW", -1, Error::AsLeft,
             [] { return R(GetFileTitleW(MakeFile(L"sweep.txt").c_str(), Scratch(), MAX_PATH)); })
            .Ok(0)
            .Fuzz([](Fuzz& f) {
                LPCWSTR path = f.Pick(2) ? f.Path() : f.Str();
                int count = f.Count(f.Len(path) + 1);
                GetFileTitleW(path, f.Out<WCHAR>(count), WORD(count));
            }),
        QueryRow("AtCommDlg_OpenSave_GetSpecW", AtCommDlg_OpenSave_GetSpecW),
        QueryRow("AtCommDlg_OpenSave_GetFilePathW", AtCommDlg_OpenSave_GetFilePathW),
        QueryRow("AtCommDlg_OpenSave_GetFolderPathW", AtCommDlg_OpenSave_GetFolderPathW),
        Void("AtCommDlg_OpenSave_SetControlTextW",
             [] { AtCommDlg_OpenSave_SetControlTextW(StandIn(), edt1, L"sweep"); })
            .Fuzz([](Fuzz& f) {
                AtCommDlg_OpenSave_SetControlTextW(StandIn(), edt1, f.Str(Fuzz::NullOk));
            }),
        Void("AtCommDlg_OpenSave_SetDefExtW",
             [] { AtCommDlg_OpenSave_SetDefExtW(StandIn(), L"txt"); })
            .Fuzz([](Fuzz& f) { AtCommDlg_OpenSave_SetDefExtW(StandIn(), f.Str(Fuzz::NullOk)); }),
        Call("ChooseColorW", FALSE, Error::AsLeft, [] { return R(ChooseColorW(ColourDialog())); })
            .Fuzz([](Fuzz& f) {
                CHOOSECOLORW cc = *ColourDialog();
                cc.Flags |= CC_ENABLETEMPLATE;
                cc.hInstance = HWND(Instance());
                cc.lpTemplateName = f.Str();
                EXPECT_FALSE(ChooseColorW(&cc)) << f.Describe();
            }),
        Call("ChooseFontW", FALSE, Error::AsLeft,
             [] {
                 LOGFONTW font = SomeFont();
                 CHOOSEFONTW cf = FontDialog(&font, Scratch());
                 return R(ChooseFontW(&cf));
             })
            .Fuzz([](Fuzz& f) {
                LOGFONTW font = SomeFont();
                LPCWSTR face = f.Str();
                wcsncpy(font.lfFaceName, face, std::min(f.Len(face), LF_FACESIZE - 1));
                LPCWSTR style = f.Str();
                CHOOSEFONTW cf = FontDialog(&font, Buffer(f, style, f.Len(style) + 1));
                cf.Flags |= CF_ENABLETEMPLATE;
                cf.hInstance = Instance();
                cf.lpTemplateName = f.Str();
                EXPECT_FALSE(ChooseFontW(&cf)) << f.Describe();
            }),
        DeviceRow("PrintDlgW", PrintDlgW, PD_ENABLEPRINTTEMPLATE, &PRINTDLGW::lpPrintTemplateName),
        DeviceRow("PageSetupDlgW", PageSetupDlgW, PSD_ENABLEPAGESETUPTEMPLATE,
                  &PAGESETUPDLGW::lpPageSetupTemplateName),
        FindRow("FindTextW", FindTextW, false),
        FindRow("ReplaceTextW", ReplaceTextW, true),
    };
}

}  // namespace

std::vector<Row> CommonRows()
{
    std::vector<Row> rows;
    for (auto part : {ItemRows, BarRows, SheetRows, DialogRows})
        for (Row& row : part())
            rows.push_back(std::move(row));
    return rows;
}

}  // namespace sweep
