// Rows of the window manager's menus, text, resources, system parameters and
// monitors, and of the standard controls' helpers.
#include "sweep/sweep.h"

#include "resources/resources.h"
#include "torwen.h"

#include <algorithm>
#include <cstring>

namespace sweep {

namespace {

// ---- what these rows share, made once with the system's A functions

HMODULE Resources()
{
    static HMODULE dll = LoadLibraryA("test-resources.dll");
    return dll;
}

INT_PTR CALLBACK QuietDialog(HWND, UINT, WPARAM, LPARAM)
{
    return FALSE;
}

// The resource DLL's dialog: a list box, a label, a combo box and an edit control.
// One copy holds the controls' rows, which add and find "sweep"; another the
// directory rows, which empty and fill its lists.
HWND NewDialog()
{
    return CreateDialogParamA(Resources(), "CONTROLS", nullptr, QuietDialog, 0);
}

HWND ControlsDialog()
{
    static HWND dialog = [] {
        HWND d = NewDialog();
        SendDlgItemMessageA(d, IDC_LIST, LB_ADDSTRING, 0, LPARAM("sweep"));
        SendDlgItemMessageA(d, IDC_COMBO, CB_ADDSTRING, 0, LPARAM("sweep"));
        return d;
    }();
    return dialog;
}

HWND Directories()
{
    static HWND dialog = [] {
        MakeFile(L"listed.txt");
        return NewDialog();
    }();
    return dialog;
}

HWND Item(int id)
{
    return GetDlgItem(ControlsDialog(), id);
}

// Rows with their call last: most of this table's are short.
Row Call(const char* name, std::optional<Result> failure, Error error,
         std::function<Result()> call)
{
    return Row(name, std::move(call), failure, error);
}

Row Call(const char* name, std::optional<Result> failure, std::function<Result()> call)
{
    return Row(name, std::move(call), failure);
}

// The valid calls' buffer, empty.
LPWSTR Buffer()
{
    static WCHAR buf[MAX_PATH];
    buf[0] = L'\0';
    return buf;
}

// The current display mode's record, as a valid call hands it over.
DEVMODEW* CurrentMode()
{
    static DEVMODEW mode;
    mode = {};
    mode.dmSize = sizeof mode;
    return &mode;
}

HDC Dc()
{
    static HDC dc = CreateCompatibleDC(nullptr);
    return dc;
}

// Two menus: one read and never changed (items 1 to 4: "&Open", the code page's
// text, a separator and a bitmap), one the rows change (item 7, and item 100 while
// a row has added it).
HMENU Fixed()
{
    static HMENU menu = [] {
        HMENU m = CreatePopupMenu();
        AppendMenuA(m, MF_STRING, 1, "&Open");
        AppendMenuA(m, MF_STRING, 2, harness::ToAnsi(harness::NonAsciiText()).c_str());
        AppendMenuA(m, MF_SEPARATOR, 3, nullptr);
        AppendMenuA(m, MF_BITMAP, 4, LPCSTR(CreateBitmap(8, 8, 1, 1, nullptr)));
        return m;
    }();
    return menu;
}

HMENU Scratch()
{
    static HMENU menu = [] {
        HMENU m = CreatePopupMenu();
        AppendMenuA(m, MF_STRING, 7, "seven");
        return m;
    }();
    return menu;
}

void DropItem100(Result = 0)
{
    DeleteMenu(Scratch(), 100, MF_BYCOMMAND);
}

HACCEL Accelerators()
{
    static HACCEL table = LoadAcceleratorsA(Resources(), "ACCELS");
    return table;
}

// A cursor file: 16 by 16 pixels, two colours, its hot spot at (4, 3).
std::wstring CursorFile()
{
    static const std::wstring path = [] {
        std::string file("\0\0\2\0\1\0\x10\x10\2\0\4\0\3\0\xB0\0\0\0\x16\0\0\0", 22);
        BITMAPINFOHEADER header = {sizeof header, 16, 32, 1, 1, BI_RGB, 0, 0, 0, 0, 0};
        file.append(reinterpret_cast<const char*>(&header), sizeof header);
        file.append("\0\0\0\0\xFF\xFF\xFF\0", 8);
        for (int row = 0; row < 16; ++row)
            file.append(row % 2 ? "\xAA\xAA\0\0" : "\x55\x55\0\0", 4);
        file.append(64, '\0');
        return MakeFile(L"sweep.cur", file);
    }();
    return path;
}

// wvsprintfW's arguments as the caller's stack holds them.
int Format(LPWSTR buf, LPCWSTR format, LPCWSTR text, int number)
{
    LONG_PTR args[] = {reinterpret_cast<LONG_PTR>(text), number};
    return wvsprintfW(buf, format, reinterpret_cast<va_list>(args));
}

// A message box closes itself: a thread timer, run by its modal loop, presses OK.
void CALLBACK PressOk(HWND, UINT, UINT_PTR, DWORD)
{
    if (HWND box = FindWindowA(nullptr, "torwen sweep box"))
        PostMessageA(box, WM_COMMAND, IDOK, 0);
}

int ClosedMessageBox(LPCWSTR text)
{
    MSGBOXPARAMSW params = {};
    params.cbSize = sizeof params;
    params.lpszText = text;
    params.lpszCaption = L"torwen sweep box";
    params.dwStyle = MB_OK;
    UINT_PTR timer = SetTimer(nullptr, 0, 10, PressOk);
    int r = MessageBoxIndirectW(&params);
    KillTimer(nullptr, timer);
    return r;
}

BOOL CALLBACK Drawn(HDC, LPARAM, int)
{
    return TRUE;
}

BOOL CALLBACK DrawnState(HDC, LPARAM, WPARAM, int, int)
{
    return TRUE;
}

BOOL CALLBACK EachMonitor(HMONITOR, HDC, LPRECT, LPARAM)
{
    return TRUE;
}

// ---- the shapes of fuzz calls

// A copy of a fuzzed string the call may write to, with `room` characters to spare.
LPWSTR Writable(Fuzz& f, LPCWSTR s, int room = 0)
{
    int n = f.Len(s);
    WCHAR* p = f.Out<WCHAR>(n + 1 + room);
    memcpy(p, s, n * sizeof(WCHAR));
    p[n] = L'\0';
    return p;
}

// A text read into a buffer of a fuzzed count that ends at a no-access page: `read`
// answers the characters copied, which a buffer of n characters holds with its NUL.
template <typename Read>
void ReadText(Fuzz& f, int length, Read read)
{
    int n = f.Count(length);
    Result r = read(f.Out<WCHAR>(n), n);
    if (n > 0) {
        EXPECT_LT(r, n) << f.Describe();
    }
}

// A count for text the call reads: -1 (up to its NUL) or at most its length.
int TextCount(Fuzz& f, LPCWSTR s)
{
    int n = f.Count(f.Len(s));
    return n > f.Len(s) ? -1 : n;
}

// A list box or a combo box: its control in the dialogs, its messages and its
// failure value.
struct Box {
    int id;
    UINT add, remove, reset, select, textLength;
    int failure;
};
const Box list = {IDC_LIST, LB_ADDSTRING, LB_DELETESTRING, LB_RESETCONTENT, LB_SETCURSEL,
                  LB_GETTEXTLEN, LB_ERR};
const Box combo = {IDC_COMBO, CB_ADDSTRING, CB_DELETESTRING, CB_RESETCONTENT, CB_SETCURSEL,
                   CB_GETLBTEXTLEN, CB_ERR};

// Adding or inserting a text, which is removed again.
template <typename Add>
Row AddsItem(const char* name, Box box, Add add)
{
    auto remove = [=](Result index) { SendMessageA(Item(box.id), box.remove, index, 0); };
    return Row(name, [=] { return R(add(Item(box.id), L"added", 0)); }, box.failure, Error::AsLeft)
        .Undo(remove)
        .Fuzz([=](Fuzz& f) {
            int index = add(Item(box.id), f.Str(), f.Pick(2) - 1);
            if (index >= 0)
                remove(index);
        });
}

// Finding and selecting "sweep", the item the controls' dialog always holds.
Row FindsItem(const char* name, Box box, int(WINAPI* find)(HWND, int, LPCWSTR))
{
    return Row(name, [=] { return R(find(Item(box.id), -1, L"sweep")); }, box.failure,
               Error::AsLeft)
        .Fuzz([=](Fuzz& f) { find(Item(box.id), f.Pick(3) - 1, f.Str()); });
}

// A fuzzed text added for `use`, which reads it back, and removed again.
template <typename Use>
void WithItem(Fuzz& f, Box box, Use use)
{
    LPCWSTR s = f.Str();
    std::string bytes = harness::ToAnsi(std::wstring(s, f.Len(s)));
    LRESULT index = SendMessageA(Item(box.id), box.add, 0, LPARAM(bytes.c_str()));
    if (index < 0)
        return;
    use(int(index), int(bytes.size()));
    SendMessageA(Item(box.id), box.remove, index, 0);
}

// Reading an item's text: the caller's buffer holds the whole text, as the message
// requires. The control holds the text's bytes: as many characters at most.
Row ReadsItem(const char* name, Box box, int(WINAPI* get)(HWND, int, LPWSTR))
{
    return Row(name, [=] { return R(get(Item(box.id), 0, Buffer())); }, box.failure, Error::AsLeft)
        .Fuzz([=](Fuzz& f) {
            WithItem(f, box, [&](int index, int) {
                int held = int(SendMessageA(Item(box.id), box.textLength, index, 0));
                EXPECT_LE(get(Item(box.id), index, f.Out<WCHAR>(held + 1)), held) << f.Describe();
            });
        });
}

Row MeasuresItem(const char* name, Box box, int(WINAPI* length)(HWND, int))
{
    return Row(name, [=] { return R(length(Item(box.id), 0)); }, box.failure, Error::AsLeft)
        .Fuzz([=](Fuzz& f) {
            WithItem(f, box, [&](int index, int bytes) {
                EXPECT_LE(length(Item(box.id), index), bytes) << f.Describe();
            });
        });
}

// Listing the sweep folder's files in the directory dialog's list or combo box.
Row ListsFolder(const char* name, Box box, int(WINAPI* dir)(HWND, UINT, LPCWSTR))
{
    auto list = [=] {
        HWND h = GetDlgItem(Directories(), box.id);
        SendMessageA(h, box.reset, 0, 0);
        return h;
    };
    return Call(name, box.failure, Error::AsLeft,
                [=] { return R(dir(list(), DDL_READWRITE, (Folder() + L"\\*.txt").c_str())); })
        .Fuzz([=](Fuzz& f) { dir(list(), f.Pick(2) ? DDL_READWRITE : DDL_DIRECTORY, f.Path()); });
}

// Selecting a directory entry and reading it back: a list or combo box that holds
// "[sweep]", selected.
template <typename Select>
Row SelectsDirectory(const char* name, Box box, Select read)
{
    auto prepare = [=] {
        HWND list = GetDlgItem(Directories(), box.id);
        SendMessageA(list, box.reset, 0, 0);
        SendMessageA(list, box.add, 0, LPARAM("[sweep]"));
        SendMessageA(list, box.select, 0, 0);
    };
    return Call(name, FALSE,
                [=] {
                    prepare();
                    return R(read(Directories(), Buffer(), MAX_PATH, box.id));
                })
        .Fuzz([=](Fuzz& f) {
            prepare();
            int n = f.Count(7);
            read(Directories(), f.Out<WCHAR>(n), n, box.id);
        });
}

// The directory dialog's list filled from a pattern the call rewrites: the caller's
// buffer has a path's room. The current directory, which the call changes, is put
// back.
template <typename List>
Row ListsDialogDirectory(const char* name, Box box, List list, Error error)
{
    auto call = [=](LPCWSTR pattern, UINT types) {
        char current[MAX_PATH];
        GetCurrentDirectoryA(MAX_PATH, current);
        WCHAR path[MAX_PATH] = {};
        lstrcpynW(path, pattern, MAX_PATH);
        int r = list(Directories(), path, box.id, IDC_LABEL, types);
        SetCurrentDirectoryA(current);
        return r;
    };
    return Row(name, [=] { return R(call((Folder() + L"\\*.txt").c_str(), DDL_READWRITE)); }, 0,
               error)
        .Fuzz([=](Fuzz& f) { call(f.Path(), f.Pick(2) ? DDL_READWRITE : DDL_DIRECTORY); });
}

// A resource loaded by name (integer identifiers pass); `release` frees what came.
template <typename Load, typename Release>
Row LoadsResource(const char* name, LPCWSTR resource, Load load, Release release, Error error)
{
    return Row(name, [=] { return R(load(Resources(), resource)); }, 0, error)
        .Undo([=](Result r) { release(r); })
        .Fuzz([=](Fuzz& f) {
            if (Result r = R(load(Resources(), f.Str())))
                release(r);
        });
}

// A case change in place: of a writable copy of "Mixed Case", of fuzzed text.
template <typename Change>
Row ChangesCase(const char* name, Change change)
{
    return Call(name, 0, Error::AsLeft,
                [=] {
                    WCHAR text[] = L"Mixed Case";
                    return R(change(text, DWORD(lstrlenW(text))));
                })
        .Fuzz([=](Fuzz& f) {
            LPCWSTR s = f.Str();
            DWORD n = DWORD(std::min(f.Count(f.Len(s)), f.Len(s)));
            Result r = change(Writable(f, s), n);
            EXPECT_LE(r, Result(n)) << f.Describe();
        });
}

// A string mapped where it is, or one character in the low word of the pointer.
Row MapsInPlace(const char* name, LPWSTR(WINAPI* map)(LPWSTR))
{
    return Call(name, 0, Error::AsLeft,
                [=] {
                    WCHAR text[] = L"Mixed Case";
                    return R(map(text));
                })
        .Fuzz([=](Fuzz& f) {
            LPWSTR s = Writable(f, f.Str());
            EXPECT_EQ(map(s), s) << f.Describe();
            WCHAR c = s[0] ? s[0] : L'A';
            EXPECT_LT(UINT_PTR(map(reinterpret_cast<LPWSTR>(UINT_PTR(c)))), 0x10000u);
        });
}

// A display mode's record as the caller sizes it, ending at a no-access page: the
// older systems' 212 bytes (without the colour-matching fields) or the whole record.
DEVMODEW* DevModeRecord(Fuzz& f)
{
    WORD size = f.Pick(2) ? 212 : sizeof(DEVMODEW);
    auto* mode = reinterpret_cast<DEVMODEW*>(f.Out<BYTE>(size));
    memset(mode, 0, size);
    mode->dmSize = size;
    return mode;
}

// The key name of the scan code of A.
constexpr LONG KeyA = 0x1E << 16;

// A menu item's record as the caller sizes it: the 44 bytes of the older systems or
// the whole record, ending at a no-access page.
MENUITEMINFOW* ItemRecord(Fuzz& f, const MENUITEMINFOW& mii)
{
    UINT size = f.Pick(2) ? 44 : sizeof mii;
    auto* record = reinterpret_cast<MENUITEMINFOW*>(f.Out<BYTE>(size));
    memcpy(record, &mii, size);
    record->cbSize = size;
    return record;
}

std::vector<Row> Menus()
{
    auto itemInfo = [](UINT mask, LPWSTR text, UINT cch) {
        MENUITEMINFOW mii = {};
        mii.cbSize = sizeof mii;
        mii.fMask = mask;
        mii.fType = MFT_STRING;
        mii.wID = 100;
        mii.dwTypeData = text;
        mii.cch = cch;
        return mii;
    };
    return {
        Row("AppendMenuW", [] { return R(AppendMenuW(Scratch(), MF_STRING, 100, L"&New")); }, FALSE)
            .Undo(DropItem100)
            .Fuzz([](Fuzz& f) {
                AppendMenuW(Scratch(), MF_STRING, 100, f.Str());
                DropItem100();
            }),
        Row("InsertMenuW",
            [] { return R(InsertMenuW(Scratch(), 0, MF_BYPOSITION | MF_STRING, 100, L"&New")); },
            FALSE)
            .Undo(DropItem100)
            .Fuzz([](Fuzz& f) {
                InsertMenuW(Scratch(), 7, MF_BYCOMMAND | MF_STRING, 100, f.Str());
                DropItem100();
            }),
        Row("ModifyMenuW",
            [] { return R(ModifyMenuW(Scratch(), 7, MF_BYCOMMAND | MF_STRING, 7, L"seven")); },
            FALSE)
            .Fuzz([](Fuzz& f) { ModifyMenuW(Scratch(), 7, MF_BYCOMMAND | MF_STRING, 7, f.Str()); }),
        Call("InsertMenuItemW", FALSE,
             [=] {
                 MENUITEMINFOW mii = itemInfo(MIIM_TYPE | MIIM_ID, const_cast<LPWSTR>(L"&New"), 0);
                 return R(InsertMenuItemW(Scratch(), 0, TRUE, &mii));
             })
            .Undo(DropItem100)
            .Fuzz([=](Fuzz& f) {
                MENUITEMINFOW mii = itemInfo(MIIM_TYPE | MIIM_ID, const_cast<LPWSTR>(f.Str()), 0);
                InsertMenuItemW(Scratch(), 0, TRUE, ItemRecord(f, mii));
                DropItem100();
            }),
        Call("SetMenuItemInfoW", FALSE,
             [=] {
                 MENUITEMINFOW mii = itemInfo(MIIM_TYPE, const_cast<LPWSTR>(L"seven"), 0);
                 return R(SetMenuItemInfoW(Scratch(), 7, FALSE, &mii));
             })
            .Fuzz([=](Fuzz& f) {
                MENUITEMINFOW mii = itemInfo(MIIM_TYPE, const_cast<LPWSTR>(f.Str()), 0);
                SetMenuItemInfoW(Scratch(), 7, FALSE, ItemRecord(f, mii));
            }),
        Call("GetMenuItemInfoW", FALSE,
             [=] {
                 MENUITEMINFOW mii = itemInfo(MIIM_TYPE, Buffer(), 16);
                 return R(GetMenuItemInfoW(Fixed(), 1, FALSE, &mii));
             })
            .Fuzz([=](Fuzz& f) {
                // Every kind of item, read as the kind the caller expects or another.
                static const UINT types[] = {MFT_STRING, MFT_SEPARATOR, MFT_BITMAP};
                static const UINT masks[] = {MIIM_TYPE, MIIM_STRING | MIIM_FTYPE};
                int n = f.Count(9);
                MENUITEMINFOW mii = itemInfo(masks[f.Pick(2)], f.Out<WCHAR>(n), n);
                mii.fType = types[f.Pick(3)];
                GetMenuItemInfoW(Fixed(), 1 + f.Pick(4), FALSE, ItemRecord(f, mii));
            }),
        Row("GetMenuStringW",
            [] { return R(GetMenuStringW(Fixed(), 1, Buffer(), 16, MF_BYCOMMAND)); }, 0,
            Error::AsLeft)
            .Fuzz([](Fuzz& f) {
                UINT id = 1 + f.Pick(4);
                ReadText(f, 9, [=](LPWSTR buf, int n) {
                    return GetMenuStringW(Fixed(), id, buf, n, MF_BYCOMMAND);
                });
            }),
        LoadsResource(
            "LoadMenuW", L"MAINMENU", LoadMenuW, [](Result r) { DestroyMenu(HMENU(r)); },
            Error::Saved),
        Call("LoadMenuIndirectW", 0,
             [] {
                 // A header, then one item: its flags, its identifier and its text.
                 static const WORD menu[] = {0, 0, MF_END, 1, L'x', 0};
                 return R(LoadMenuIndirectW(menu));
             })
            .Undo([](Result r) { DestroyMenu(HMENU(r)); })
            .Fuzz([](Fuzz& f) {
                // The one item's text fuzzed, the template ending at a no-access page.
                LPCWSTR text = f.Str();
                int length = f.Len(text);
                WORD* menu = f.Out<WORD>(4 + length + 1);
                WORD head[] = {0, 0, MF_END, 1};
                memcpy(menu, head, sizeof head);
                memcpy(menu + 4, text, (length + 1) * sizeof(WCHAR));
                if (HMENU loaded = LoadMenuIndirectW(menu))
                    DestroyMenu(loaded);
            }),
        LoadsResource(
            "LoadAcceleratorsW", L"ACCELS", LoadAcceleratorsW,
            [](Result r) { DestroyAcceleratorTable(HACCEL(r)); }, Error::AsLeft),
        Row("CopyAcceleratorTableW",
            [] { return R(CopyAcceleratorTableW(Accelerators(), nullptr, 0)); }, 0)
            .Fuzz([](Fuzz& f) {
                int n = f.Count(2);
                EXPECT_LE(CopyAcceleratorTableW(Accelerators(), f.Out<ACCEL>(n), n),
                          std::max(n, 2));
            }),
        Call("CreateAcceleratorTableW", 0,
             [] {
                 ACCEL entry = {FVIRTKEY, VK_F2, 100};
                 return R(CreateAcceleratorTableW(&entry, 1));
             })
            .Undo([](Result r) { DestroyAcceleratorTable(HACCEL(r)); })
            .Fuzz([](Fuzz& f) {
                // Entries that end at a no-access page: no more are read than counted.
                int n = f.Count(3);
                ACCEL* entries = f.Out<ACCEL>(n);
                for (int i = 0; i < n; ++i)
                    entries[i] = {FVIRTKEY, WORD(VK_F1 + i % 12), WORD(100 + i)};
                if (HACCEL table = CreateAcceleratorTableW(entries, n))
                    DestroyAcceleratorTable(table);
            }),
    };
}

std::vector<Row> Text()
{
    return {
        Call("DrawTextW", -1, Error::AsLeft,
             [] {
                 RECT rect = {0, 0, 100, 20};
                 return R(DrawTextW(Dc(), L"sweep", -1, &rect, DT_CALCRECT));
             })
            .Fuzz([](Fuzz& f) {
                // With DT_MODIFYSTRING the caller's text has room for "..." and the NUL.
                LPWSTR text = Writable(f, f.Str(), 4);
                RECT rect = {0, 0, 20, 20};
                // Wine shortens a text for its ellipsis one character at a time, which
                // takes seconds for a long text: that one is measured only.
                bool shorten = f.Pick(2) && f.Len(text) < 100;
                DrawTextW(Dc(), text, TextCount(f, text), &rect,
                          DT_SINGLELINE |
                              (shorten ? DT_END_ELLIPSIS | DT_MODIFYSTRING : DT_CALCRECT));
            }),
        Call("DrawTextExW", 0, Error::AsLeft,
             [] {
                 RECT rect = {0, 0, 100, 20};
                 WCHAR text[] = L"sweep";
                 return R(DrawTextExW(Dc(), text, -1, &rect, DT_CALCRECT, nullptr));
             })
            .Fuzz([](Fuzz& f) {
                LPWSTR text = Writable(f, f.Str(), 4);
                RECT rect = {0, 0, 20, 20};
                DRAWTEXTPARAMS params = {sizeof params, 4, 0, 0, 0};
                DrawTextExW(Dc(), text, TextCount(f, text), &rect,
                            f.Pick(2) ? DT_PATH_ELLIPSIS | DT_MODIFYSTRING : DT_EXPANDTABS,
                            &params);
            }),
        Row("TabbedTextOutW",
            [] { return R(TabbedTextOutW(Dc(), 0, 0, L"a\tb", 3, 0, nullptr, 0)); }, 0,
            Error::AsLeft)
            .Fuzz([](Fuzz& f) {
                LPCWSTR s = f.Str();
                TabbedTextOutW(Dc(), 0, 0, s, std::max(TextCount(f, s), 0), 0, nullptr, 0);
            }),
        Row("GetTabbedTextExtentW",
            [] { return R(GetTabbedTextExtentW(Dc(), L"a\tb", 3, 0, nullptr)); }, 0, Error::AsLeft)
            .Fuzz([](Fuzz& f) {
                LPCWSTR s = f.Str();
                INT stop = 8;
                GetTabbedTextExtentW(Dc(), s, std::max(TextCount(f, s), 0), 1, &stop);
            }),
        Row("GrayStringW",
            [] { return R(GrayStringW(Dc(), nullptr, Drawn, LPARAM(L"sweep"), 5, 0, 0, 40, 20)); },
            FALSE),
        Call("DrawStateW", FALSE,
             [] {
                 return R(DrawStateW(Dc(), nullptr, DrawnState, 0, 0, 0, 0, 10, 10, DST_COMPLEX));
             }),
        ChangesCase("CharLowerBuffW", CharLowerBuffW),
        ChangesCase("CharUpperBuffW", CharUpperBuffW),
        Row("CharNextW", [] { return R(CharNextW(L"ab")); }, std::nullopt)
            .Kernel()
            .Fuzz([](Fuzz& f) {
                LPCWSTR s = f.Str();
                EXPECT_EQ(CharNextW(s), s + (*s ? 1 : 0)) << f.Describe();
            }),
        Call("CharPrevW", std::nullopt,
             [] {
                 static const WCHAR text[] = L"ab";
                 return R(CharPrevW(text, text + 1));
             })
            .Kernel()
            .Fuzz([](Fuzz& f) {
                LPCWSTR s = f.Str();
                EXPECT_EQ(CharPrevW(s, s + f.Len(s)), s + std::max(f.Len(s) - 1, 0))
                    << f.Describe();
            }),
        Call("GetDlgItemTextW", 0, Error::AsLeft,
             [] {
                 SetDlgItemTextA(ControlsDialog(), IDC_LABEL, "Label");
                 return R(GetDlgItemTextW(ControlsDialog(), IDC_LABEL, Buffer(), 16));
             })
            .Fuzz([](Fuzz& f) {
                SetDlgItemTextA(ControlsDialog(), IDC_LABEL, "Label");
                ReadText(f, 5, [](LPWSTR buf, int n) {
                    return GetDlgItemTextW(ControlsDialog(), IDC_LABEL, buf, n);
                });
            }),
        Row("SetDlgItemTextW",
            [] { return R(SetDlgItemTextW(ControlsDialog(), IDC_LABEL, L"Label")); }, FALSE)
            .Fuzz(
                [](Fuzz& f) { SetDlgItemTextW(ControlsDialog(), IDC_LABEL, f.Str(Fuzz::NullOk)); }),
        Row("GetKeyNameTextW", [] { return R(GetKeyNameTextW(KeyA, Buffer(), 32)); }, 0,
            Error::AsLeft)
            .Fuzz([](Fuzz& f) {
                ReadText(f, 1, [](LPWSTR buf, int n) { return GetKeyNameTextW(KeyA, buf, n); });
            }),
        Row("VkKeyScanW", [] { return R(VkKeyScanW(L'a')); }, -1),
        Row("VkKeyScanExW", [] { return R(VkKeyScanExW(L'a', GetKeyboardLayout(0))); }, -1),
        Row("LoadStringW", [] { return R(LoadStringW(Resources(), IDS_LATIN, Buffer(), 32)); }, 0)
            .Fuzz([](Fuzz& f) {
                UINT id = IDS_ASCII + f.Pick(4);
                int n = f.Count(10);
                // A capacity of 0 asks for a pointer to the resource's text instead.
                LPWSTR buf = f.Out<WCHAR>(n ? n : 2);
                int r = LoadStringW(Resources(), id, buf, n);
                if (n > 0) {
                    EXPECT_LT(r, n) << f.Describe();
                }
            }),
        LoadsResource(
            "LoadIconW", L"TESTICON", LoadIconW, [](Result) {}, Error::Saved),
        LoadsResource(
            "LoadCursorW", L"TESTCURSOR", LoadCursorW, [](Result) {}, Error::Saved),
        Row("LoadCursorFromFileW", [] { return R(LoadCursorFromFileW(CursorFile().c_str())); }, 0)
            .Undo([](Result r) { DestroyCursor(HCURSOR(r)); })
            .Fuzz([](Fuzz& f) {
                if (HCURSOR cursor = LoadCursorFromFileW(f.Path()))
                    DestroyCursor(cursor);
            }),
        LoadsResource(
            "LoadBitmapW", L"TESTBITMAP", LoadBitmapW, [](Result r) { DeleteObject(HGDIOBJ(r)); },
            Error::AsLeft),
        LoadsResource(
            "LoadImageW", L"TESTBITMAP",
            [](HINSTANCE module, LPCWSTR name) {
                return LoadImageW(module, name, IMAGE_BITMAP, 0, 0, 0);
            },
            [](Result r) { DeleteObject(HGDIOBJ(r)); }, Error::AsLeft),
        ListsDialogDirectory("DlgDirListW", list, DlgDirListW, Error::AsLeft),
        ListsDialogDirectory("DlgDirListComboBoxW", combo, DlgDirListComboBoxW, Error::Saved),
        SelectsDirectory("DlgDirSelectExW", list, DlgDirSelectExW),
        SelectsDirectory("DlgDirSelectComboBoxExW", combo, DlgDirSelectComboBoxExW),
        Row("EnumDisplaySettingsW",
            [] { return R(EnumDisplaySettingsW(nullptr, ENUM_CURRENT_SETTINGS, CurrentMode())); },
            FALSE)
            .Fuzz([](Fuzz& f) {
                EnumDisplaySettingsW(f.Str(Fuzz::NullOk), ENUM_CURRENT_SETTINGS, DevModeRecord(f));
            }),
        Row("WinHelpW", [] { return R(WinHelpW(Window(), L"sweep.hlp", HELP_QUIT, 0)); }, FALSE,
            Error::AsLeft),
        Call("SystemParametersInfoW", FALSE,
             [] {
                 // The scheme's name comes back through a copy the call allocates.
                 HIGHCONTRASTW contrast = {sizeof contrast, 0, Buffer()};
                 UINT size = sizeof contrast;
                 return R(SystemParametersInfoW(SPI_GETHIGHCONTRAST, size, &contrast, 0));
             })
            .Fuzz([](Fuzz& f) {
                // Records of every size up to and past their own: none is written past
                // the size it states.
                static const struct {
                    UINT action, size;
                } records[] = {{SPI_GETNONCLIENTMETRICS, sizeof(NONCLIENTMETRICSW)},
                               {SPI_GETICONMETRICS, sizeof(ICONMETRICSW)},
                               {SPI_GETICONTITLELOGFONT, sizeof(LOGFONTW)},
                               {SPI_GETHIGHCONTRAST, sizeof(HIGHCONTRASTW)},
                               {SPI_GETWORKAREA, sizeof(RECT)}};
                const auto& record = records[f.Pick(5)];
                UINT size = std::max(f.Count(record.size), int(sizeof(UINT)));
                auto* pv = f.Out<BYTE>(size);
                memset(pv, 0, size);
                *reinterpret_cast<UINT*>(pv) = size;
                if (record.action == SPI_GETHIGHCONTRAST && size >= sizeof(HIGHCONTRASTW))
                    reinterpret_cast<HIGHCONTRASTW*>(pv)->lpszDefaultScheme =
                        f.Out<WCHAR>(MAX_PATH);
                SystemParametersInfoW(record.action,
                                      record.action == SPI_GETICONTITLELOGFONT ? size : 0, pv, 0);
            }),
    };
}

std::vector<Row> Monitors()
{
    return {
        Row("xGetSystemMetrics", [] { return R(xGetSystemMetrics(SM_CMONITORS)); }, 0)
            .WorksWhenMissing(),
        Call("xMonitorFromPoint", 0,
             [] { return R(xMonitorFromPoint({0, 0}, MONITOR_DEFAULTTOPRIMARY)); })
            .WorksWhenMissing(),
        Call("xMonitorFromRect", 0,
             [] {
                 RECT rect = {0, 0, 10, 10};
                 return R(xMonitorFromRect(&rect, MONITOR_DEFAULTTONEAREST));
             })
            .WorksWhenMissing(),
        Row("xMonitorFromWindow",
            [] { return R(xMonitorFromWindow(Window(), MONITOR_DEFAULTTOPRIMARY)); }, 0)
            .WorksWhenMissing(),
        Call("xGetMonitorInfo", FALSE,
             [] {
                 MONITORINFOEXW info = {};
                 info.cbSize = sizeof info;
                 return R(
                     xGetMonitorInfo(xMonitorFromPoint({0, 0}, MONITOR_DEFAULTTOPRIMARY), &info));
             })
            .Fuzz([](Fuzz& f) {
                // Both records and every size between: nothing is written past cbSize.
                DWORD size = f.Pick(2) ? sizeof(MONITORINFO) : f.Count(sizeof(MONITORINFOEXW));
                auto* info = reinterpret_cast<MONITORINFO*>(f.Out<BYTE>(std::max(size, DWORD(4))));
                info->cbSize = size;
                xGetMonitorInfo(xMonitorFromPoint({0, 0}, MONITOR_DEFAULTTOPRIMARY), info);
            }),
        Row("xEnumDisplayMonitors",
            [] { return R(xEnumDisplayMonitors(nullptr, nullptr, EachMonitor, 0)); }, FALSE)
            .WorksWhenMissing(),
    };
}

std::vector<Row> StandardControls()
{
    return {
        Call("AtStatic_GetTextW", 0, Error::AsLeft,
             [] {
                 SetWindowTextA(Item(IDC_LABEL), "Label");
                 return R(AtStatic_GetTextW(Item(IDC_LABEL), Buffer(), 16));
             })
            .Fuzz([](Fuzz& f) {
                SetWindowTextA(Item(IDC_LABEL), "Label");
                ReadText(f, 5, [](LPWSTR buf, int n) {
                    return AtStatic_GetTextW(Item(IDC_LABEL), buf, n);
                });
            }),
        Row("AtStatic_SetTextW", [] { return R(AtStatic_SetTextW(Item(IDC_LABEL), L"Label")); },
            FALSE, Error::AsLeft)
            .Fuzz([](Fuzz& f) { AtStatic_SetTextW(Item(IDC_LABEL), f.Str(Fuzz::NullOk)); }),
        Call("AtEdit_GetLineW", 0, Error::AsLeft,
             [] {
                 SetWindowTextA(Item(IDC_EDIT), "sweep");
                 return R(AtEdit_GetLineW(Item(IDC_EDIT), 0, Buffer(), 16));
             })
            .Fuzz([](Fuzz& f) {
                SetWindowTextA(Item(IDC_EDIT), "sweep");
                int n = f.Count(5);
                EXPECT_LE(AtEdit_GetLineW(Item(IDC_EDIT), 0, f.Out<WCHAR>(n), n), n)
                    << f.Describe();
            }),
        Row::Void("AtEdit_ReplaceSelW", [] { AtEdit_ReplaceSelW(Item(IDC_EDIT), L"x"); },
                  Error::AsLeft)
            .Fuzz([](Fuzz& f) {
                SetWindowTextA(Item(IDC_EDIT), "");
                AtEdit_ReplaceSelW(Item(IDC_EDIT), f.Str());
            }),
        Row::Void("AtEdit_SetPasswordCharW", [] { AtEdit_SetPasswordCharW(Item(IDC_EDIT), L'*'); },
                  Error::AsLeft)
            .Fuzz([](Fuzz& f) {
                AtEdit_SetPasswordCharW(Item(IDC_EDIT), f.Str()[0]);
                SendMessageA(Item(IDC_EDIT), EM_SETPASSWORDCHAR, 0, 0);
            }),
        Call("AtEdit_GetSelW", 0,
             [] {
                 SetWindowTextA(Item(IDC_EDIT), "sweep");
                 SendMessageA(Item(IDC_EDIT), EM_SETSEL, 1, 3);
                 return R(AtEdit_GetSelW(Item(IDC_EDIT)));
             }),
        Row::Void("AtEdit_SetSelW",
                  [] {
                      SetWindowTextA(Item(IDC_EDIT), "sweep");
                      AtEdit_SetSelW(Item(IDC_EDIT), 1, 3);
                  })
            .Fuzz([](Fuzz& f) {
                // Positions anywhere in and past a text of double-byte characters,
                // which the control counts in bytes: the selection read back is
                // never past the text's characters.
                std::string text = harness::ToAnsi(f.Str());
                SetWindowTextA(Item(IDC_EDIT), text.c_str());
                int length = int(text.size());
                AtEdit_SetSelW(Item(IDC_EDIT), f.Count(length) - 1, f.Count(length));
                DWORD selection = AtEdit_GetSelW(Item(IDC_EDIT));
                EXPECT_LE(LOWORD(selection), length) << f.Describe();
                EXPECT_LE(HIWORD(selection), length) << f.Describe();
            }),
        AddsItem("AtListBox_AddStringW", list,
                 [](HWND h, LPCWSTR s, int) { return AtListBox_AddStringW(h, s); }),
        AddsItem("AtListBox_InsertStringW", list,
                 [](HWND h, LPCWSTR s, int at) { return AtListBox_InsertStringW(h, at, s); }),
        FindsItem("AtListBox_FindStringW", list, AtListBox_FindStringW),
        FindsItem("AtListBox_FindStringExactW", list, AtListBox_FindStringExactW),
        FindsItem("AtListBox_SelectStringW", list, AtListBox_SelectStringW),
        ReadsItem("AtListBox_GetTextW", list, AtListBox_GetTextW),
        MeasuresItem("AtListBox_GetTextLenW", list, AtListBox_GetTextLenW),
        AddsItem("AtListBox_AddFileW", list,
                 [](HWND h, LPCWSTR s, int) { return AtListBox_AddFileW(h, s); }),
        ListsFolder("AtListBox_DirW", list, AtListBox_DirW),
        AddsItem("AtComboBox_AddStringW", combo,
                 [](HWND h, LPCWSTR s, int) { return AtComboBox_AddStringW(h, s); }),
        AddsItem("AtComboBox_InsertStringW", combo,
                 [](HWND h, LPCWSTR s, int at) { return AtComboBox_InsertStringW(h, at, s); }),
        FindsItem("AtComboBox_FindStringW", combo, AtComboBox_FindStringW),
        FindsItem("AtComboBox_FindStringExactW", combo, AtComboBox_FindStringExactW),
        FindsItem("AtComboBox_SelectStringW", combo, AtComboBox_SelectStringW),
        ReadsItem("AtComboBox_GetLBTextW", combo, AtComboBox_GetLBTextW),
        MeasuresItem("AtComboBox_GetLBTextLenW", combo, AtComboBox_GetLBTextLenW),
        ListsFolder("AtComboBox_DirW", combo, AtComboBox_DirW),
    };
}

std::vector<Row> Beyond()
{
    return {
        Call("RegisterClassW", 0,
             [] {
                 WNDCLASSW wc = {};
                 wc.lpfnWndProc = DefWindowProcA;
                 wc.hInstance = Instance();
                 wc.lpszClassName = L"torwen sweep class";
                 return R(RegisterClassW(&wc));
             })
            .Undo([](Result atom) { UnregisterClassA(LPCSTR(UINT_PTR(atom)), Instance()); })
            .Fuzz([](Fuzz& f) {
                WNDCLASSW wc = {};
                wc.lpfnWndProc = DefWindowProcA;
                wc.hInstance = Instance();
                wc.lpszMenuName = f.Str(Fuzz::NullOk);
                wc.lpszClassName = f.Str();
                // Wine corrupts its heap on a class name longer than an atom's 255
                // characters, and a refused empty name makes a later UnregisterClass
                // free a block twice; Windows refuses both names.
                const int length = f.Len(wc.lpszClassName);
                if (length == 0 || (!harness::AnsiPath() && length > 255))
                    return;
                if (ATOM atom = RegisterClassW(&wc))
                    UnregisterClassA(LPCSTR(UINT_PTR(atom)), Instance());
            }),
        MapsInPlace("CharLowerW", CharLowerW),
        MapsInPlace("CharUpperW", CharUpperW),
        Row("IsCharAlphaW", [] { return R(IsCharAlphaW(L'a')); }, FALSE)
            .Kernel(),
        Row("IsCharAlphaNumericW", [] { return R(IsCharAlphaNumericW(L'1')); }, FALSE)
            .Kernel(),
        Row("MapVirtualKeyW", [] { return R(MapVirtualKeyW('A', MAPVK_VK_TO_CHAR)); }, 0),
        Row("wvsprintfW", [] { return R(Format(Buffer(), L"%s %d", L"sweep", 1)); }, -1)
            .Kernel()
            .Fuzz([](Fuzz& f) {
                // The output stops at 1,023 characters and its NUL (an output cut
                // there answers 1,024 on the ANSI path).
                WCHAR* out = f.Out<WCHAR>(1024);
                EXPECT_LE(Format(out, f.Pick(2) ? f.Str() : L"[%s] %d", f.Str(), 7), 1024)
                    << f.Describe();
            }),
        Row("wsprintfW", [] { return R(wsprintfW(Buffer(), L"%s %d", L"sweep", 1)); }, -1)
            .Kernel()
            .Fuzz([](Fuzz& f) {
                WCHAR* out = f.Out<WCHAR>(1024);
                EXPECT_LE(wsprintfW(out, L"%s|%s", f.Str(), f.Str()), 1024) << f.Describe();
            }),
        Row("MessageBoxIndirectW", [] { return R(ClosedMessageBox(L"sweep")); }, 0),
        Call("EnumDisplaySettingsExW", FALSE,
             [] {
                 return R(EnumDisplaySettingsExW(nullptr, ENUM_CURRENT_SETTINGS, CurrentMode(), 0));
             })
            .Fuzz([](Fuzz& f) {
                EnumDisplaySettingsExW(f.Str(Fuzz::NullOk), ENUM_CURRENT_SETTINGS, DevModeRecord(f),
                                       0);
            }),
        Call("ChangeDisplaySettingsExW", DISP_CHANGE_FAILED,
             [] {
                 DEVMODEW* mode = CurrentMode();
                 mode->dmFields = DM_PELSWIDTH | DM_PELSHEIGHT;
                 mode->dmPelsWidth = GetSystemMetrics(SM_CXSCREEN);
                 mode->dmPelsHeight = GetSystemMetrics(SM_CYSCREEN);
                 return R(ChangeDisplaySettingsExW(nullptr, mode, nullptr, CDS_TEST, nullptr));
             })
            .Fuzz([](Fuzz& f) {
                // Tested only: the display stays as it is.
                ChangeDisplaySettingsExW(f.Str(Fuzz::NullOk), f.Pick(2) ? CurrentMode() : nullptr,
                                         nullptr, CDS_TEST, nullptr);
            }),
        Call("EnumDisplayDevicesW", FALSE,
             [] {
                 DISPLAY_DEVICEW device = {};
                 device.cb = sizeof device;
                 return R(EnumDisplayDevicesW(nullptr, 0, &device, 0));
             })
            .Fuzz([](Fuzz& f) {
                // Every size from the names alone to the whole record.
                static const DWORD sizes[] = {offsetof(DISPLAY_DEVICEW, DeviceID),
                                              offsetof(DISPLAY_DEVICEW, DeviceKey),
                                              sizeof(DISPLAY_DEVICEW)};
                DWORD size = sizes[f.Pick(3)];
                auto* device = reinterpret_cast<DISPLAY_DEVICEW*>(f.Out<BYTE>(size));
                device->cb = size;
                EnumDisplayDevicesW(f.Str(Fuzz::NullOk), 0, device, 0);
            }),
        Call("BroadcastSystemMessageW", -1,
             [] {
                 DWORD recipients = BSM_APPLICATIONS;
                 return R(
                     BroadcastSystemMessageW(BSF_IGNORECURRENTTASK, &recipients, WM_NULL, 0, 0));
             }),
    };
}

}  // namespace

std::vector<Row> UserRows()
{
    std::vector<Row> rows;
    for (auto part : {Menus, Text, Monitors, StandardControls, Beyond})
        for (Row& row : part()) rows.push_back(std::move(row));
    return rows;
}

}  // namespace sweep
