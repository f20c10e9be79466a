// Graphics, printing, the shell and the OLE dialogs. Device contexts, fonts,
// metafiles, dropped files and item lists are made once with the system's A
// functions; dialogs are closed as soon as they are shown.
#include "sweep/sweep.h"
#include "torwen.h"

#include <oledlg.h>
#include <shlobj.h>
#include <winnetwk.h>
#include <winspool.h>

#include <cstring>

namespace sweep
{

namespace
{

using harness::NonAsciiText;

std::string A(const std::wstring& s)
{
    return harness::ToAnsi(s);
}

// "sweep " and the code page's text beyond ASCII.
std::wstring Sweep()
{
    return L"sweep " + NonAsciiText();
}

// ---- what the rows share

// A display context with the stock GUI font selected.
HDC Screen()
{
    static HDC dc = [] {
        HDC d = CreateDCA("DISPLAY", nullptr, nullptr, nullptr);
        SelectObject(d, GetStockObject(DEFAULT_GUI_FONT));
        return d;
    }();
    return dc;
}

// Text for measuring. Wine has no font of code page 932's character set, and its
// GetTextExtentExPointA then measures the text byte by byte but steps through the
// extents by the code page's lead bytes, writing past the count it was given:
// there, the text that reaches it holds no double-byte character.
std::wstring Measurable(std::wstring text)
{
    const bool steps = harness::AnsiPath() && harness::CodePage() == 932
        && GetTextCharset(Screen()) != SHIFTJIS_CHARSET;
    if (steps)
        for (WCHAR& c : text)
            if (c >= 0x80 && (c < 0xD800 || c > 0xDFFF))
                c = L'?';
    return text;
}

HFONT Font()
{
    return static_cast<HFONT>(GetStockObject(DEFAULT_GUI_FONT));
}

// A TrueType file in the sweep's folder (the machine's own fonts are in no Windows folder).
std::wstring FontFile()
{
    static const std::wstring file = [] {
        std::wstring path = PathIn(L"sweep.ttf");
        CopyFileA(
            "Z:\\usr\\share\\fonts\\truetype\\dejavu\\DejaVuSans.ttf", A(path).c_str(), FALSE);
        return path;
    }();
    return file;
}

// The description: an application's name and a title, each with text beyond ASCII.
const std::wstring& Description()
{
    static const std::wstring text
        = Sweep() + std::wstring(1, L'\0') + L"title " + NonAsciiText() + std::wstring(2, L'\0');
    return text;
}

// The metafiles, each also in a file of the sweep's folder.
HENHMETAFILE Emf()
{
    static HENHMETAFILE emf = [] {
        HDC dc = CreateEnhMetaFileA(nullptr, nullptr, nullptr, A(Description()).c_str());
        Rectangle(dc, 0, 0, 10, 10);
        return CloseEnhMetaFile(dc);
    }();
    return emf;
}

HMETAFILE Wmf()
{
    static HMETAFILE wmf = [] {
        HDC dc = CreateMetaFileA(nullptr);
        Rectangle(dc, 0, 0, 10, 10);
        return CloseMetaFile(dc);
    }();
    return wmf;
}

std::wstring EmfFile()
{
    static const std::wstring file = [] {
        std::wstring path = PathIn(L"sweep.emf");
        DeleteEnhMetaFile(CopyEnhMetaFileA(Emf(), A(path).c_str()));
        return path;
    }();
    return file;
}

std::wstring WmfFile()
{
    static const std::wstring file = [] {
        std::wstring path = PathIn(L"sweep.wmf");
        DeleteMetaFile(CopyMetaFileA(Wmf(), A(path).c_str()));
        return path;
    }();
    return file;
}

// Two dropped files with ANSI names, the second with text beyond ASCII.
HDROP Drop()
{
    static HDROP drop = [] {
        std::string names
            = A(PathIn(L"one.txt")) + '\0' + A(PathIn(NonAsciiText() + L".txt")) + '\0' + '\0';
        HGLOBAL block
            = GlobalAlloc(GMEM_MOVEABLE | GMEM_ZEROINIT, sizeof(DROPFILES) + names.size());
        auto* files = static_cast<DROPFILES*>(GlobalLock(block));
        files->pFiles = sizeof(DROPFILES);
        memcpy(files + 1, names.data(), names.size());
        GlobalUnlock(block);
        return static_cast<HDROP>(block);
    }();
    return drop;
}

// The item list of the sweep's folder; the desktop's has no path.
PIDLIST_ABSOLUTE FolderList()
{
    static PIDLIST_ABSOLUTE list = [] {
        PIDLIST_ABSOLUTE l = nullptr;
        SHParseDisplayName(Folder().c_str(), nullptr, &l, 0, nullptr);
        return l;
    }();
    return list;
}

std::wstring Cmd()
{
    char system[MAX_PATH];
    GetSystemDirectoryA(system, MAX_PATH);
    return harness::FromAnsi(std::string(system) + "\\cmd.exe");
}

// ---- dialogs: each is cancelled as soon as it is activated

// A window that no longer exists. The fuzzed calls give it as the owner: the
// dialog is refused at once, after torwen has converted everything, so that a
// random sweep of thousands of calls shows no dialog.
HWND Gone()
{
    static HWND gone = [] {
        HWND w
            = CreateWindowExA(0, "STATIC", "", 0, 0, 0, 1, 1, nullptr, nullptr, nullptr, nullptr);
        DestroyWindow(w);
        return w;
    }();
    return gone;
}

LRESULT CALLBACK Cancel(int code, WPARAM wParam, LPARAM lParam)
{
    if (code == HCBT_ACTIVATE)
        PostMessageA(reinterpret_cast<HWND>(wParam), WM_COMMAND, IDCANCEL, 0);
    return CallNextHookEx(nullptr, code, wParam, lParam);
}

template <typename Call> Result Dismissed(Call call)
{
    HHOOK hook = SetWindowsHookExA(WH_CBT, Cancel, nullptr, GetCurrentThreadId());
    Result r = R(call());
    UnhookWindowsHookEx(hook);
    return r;
}

// The folder browser picks the sweep's folder and closes.
int CALLBACK PickFolder(HWND hwnd, UINT message, LPARAM, LPARAM)
{
    if (message == BFFM_INITIALIZED) {
        static const std::string folder = A(Folder());
        SendMessageA(hwnd, BFFM_SETSELECTIONA, TRUE, LPARAM(folder.c_str()));
        PostMessageA(hwnd, WM_COMMAND, IDOK, 0);
    }
    return 0;
}

// ---- fuzzed arguments

// A name in the sweep's folder that no file has and no program opens.
LPCWSTR Absent(Fuzz& f)
{
    return f.Copy(PathIn(L"absent-") + f.Text().substr(0, 200) + L".sweep");
}

// Wine copies a driver's or device's name, and the shell a file's, into a buffer of
// its own of fixed size (a name of 70,000 characters overruns its stack): these
// names are kept short. (Its display driver, given a device name and a device mode,
// now and then fails an assertion of its own: the display gets no device name.)
LPCWSTR Short(Fuzz& f, Fuzz::Nulls nulls = Fuzz::NoNull)
{
    LPCWSTR s = f.Str(nulls);
    return s ? f.Copy(std::wstring(s).substr(0, 200)) : nullptr;
}

// A fixed-size character field filled with fuzzed text, terminated or not. Wine's
// own W functions read a wide field up to its NUL, past the record: on the W path
// the field is always terminated.
template <std::size_t N> void Field(Fuzz& f, WCHAR (&field)[N])
{
    std::wstring s = f.Text();
    std::size_t n = std::min(s.size(), harness::AnsiPath() ? N : N - 1);
    std::copy(s.begin(), s.begin() + n, field);
    if (n < N && (f.Pick(2) || !harness::AnsiPath()))
        field[n] = L'\0';
    else
        std::fill(field + n, field + N, L'x');
}

template <std::size_t N> void Field(Fuzz& f, char (&field)[N])
{
    std::string s = A(f.Text());
    std::size_t n = std::min(s.size(), N);
    std::copy(s.begin(), s.begin() + n, field);
    if (n < N && f.Pick(2))
        field[n] = '\0';
    else
        std::fill(field + n, field + N, char(0x81)); // a lead byte of code page 932 at the end
}

// A font description whose face name is fuzzed, at the end of readable memory.
LOGFONTW* FuzzedLogFont(Fuzz& f)
{
    auto* font = f.Out<LOGFONTW>(1);
    memset(font, 0, sizeof *font);
    font->lfHeight = 12;
    font->lfCharSet = DEFAULT_CHARSET;
    Field(f, font->lfFaceName);
    return font;
}

// A device mode of the wide layout, of a size of an older, the current or a later
// layout, with private bytes of a fuzzed count behind it, ending at a no-access
// page; sometimes none at all.
DEVMODEW* FuzzedDevMode(Fuzz& f)
{
    if (f.Pick(3) == 0)
        return nullptr;
    static const WORD sizes[] = { 212, 220, 188, 124 };
    const WORD size = sizes[f.Pick(4)];
    const int extra = f.Pick(3) * 16;
    auto* bytes = f.Out<BYTE>(size + extra);
    memset(bytes, 0, size + extra);
    auto* dm = reinterpret_cast<DEVMODEW*>(bytes);
    Field(f, dm->dmDeviceName);
    if (size >= offsetof(DEVMODEW, dmLogPixels))
        Field(f, dm->dmFormName);
    dm->dmSize = size;
    dm->dmDriverExtra = WORD(extra);
    return dm;
}

int CALLBACK CountFont(const LOGFONTW*, const TEXTMETRICW*, DWORD, LPARAM counted)
{
    ++*reinterpret_cast<int*>(counted);
    return 1;
}

int CALLBACK FirstFont(const LOGFONTW*, const TEXTMETRICW*, DWORD, LPARAM)
{
    return 0;
}

int CALLBACK CountProfile(LPWSTR, LPARAM counted)
{
    ++*reinterpret_cast<int*>(counted);
    return 1;
}

// The context the enumeration adapters read: the wide callback, then its lParam.
template <typename Callback> struct Context {
    Callback callback;
    LPARAM lParam;
};

// The character-range queries, on a range that the caller's buffer of `last - first + 1`
// entries holds: ASCII, text beyond ASCII, characters the code page lacks, the euro.
template <typename T> Row Range(const char* name, BOOL(WINAPI* query)(HDC, UINT, UINT, T*))
{
    return Row(name, FALSE, Error::AsLeft)
        .Call([query] { return R(query(Screen(), L'a', L'z', Room<T>())); })
        .Fuzz([query](Fuzz& f) {
            static const UINT starts[] = { L'a', 0x7E, 0xE9, 0xFF, 0x20AC, 0x4E00, 0x3042, 0xFF61 };
            UINT first = starts[f.Pick(8)] + UINT(f.Pick(3));
            UINT last = first + UINT(f.Pick(4));
            query(Screen(), first, last, f.Out<T>(int(last - first + 1)));
        });
}

// The display and information contexts: the display's, or a fuzzed driver's and
// device's with a fuzzed device mode.
Row DisplayContext(const char* name,
    HDC(WINAPI* create)(LPCWSTR, LPCWSTR, LPCWSTR, const DEVMODEW*), LPCWSTR output,
    bool fuzzOutput)
{
    return Row(name, 0, Error::AsLeft)
        .Call([=] { return R(create(L"DISPLAY", nullptr, output, nullptr)); })
        .Undo([](Result dc) { DeleteDC(HDC(dc)); })
        .Fuzz([=](Fuzz& f) {
            const bool display = f.Pick(2);
            LPCWSTR driver = display ? L"DISPLAY" : Short(f);
            LPCWSTR device = display ? nullptr : Short(f, Fuzz::NullOk);
            LPCWSTR out = fuzzOutput ? f.Str(Fuzz::NullOk) : nullptr;
            if (HDC dc = create(driver, device, out, FuzzedDevMode(f)))
                DeleteDC(dc);
        });
}

// The metafile copiers: into a file, or (one call in four) into memory.
template <typename H>
Row CopyMeta(const char* name, H(WINAPI* copy)(H, LPCWSTR), H (*source)(), BOOL(WINAPI* drop)(H),
    const wchar_t* file)
{
    return Row(name, 0)
        .Call([=] { return R(copy(source(), PathIn(file).c_str())); })
        .Undo([=](Result copied) { drop(H(copied)); })
        .Fuzz([=](Fuzz& f) {
            LPCWSTR path = f.Pick(4) ? f.Path() : nullptr;
            if (H copied = copy(source(), path)) {
                drop(copied);
                if (path)
                    DeleteFileA(A(path).c_str());
            }
        });
}

// ---- the OLE dialogs' records

template <typename T> T* Record(Fuzz& f)
{
    T* r = f.Out<T>(1);
    memset(r, 0, sizeof *r);
    r->cbStruct = sizeof *r;
    r->hWndOwner = Gone();
    r->lpszCaption = f.Str(Fuzz::NullOk);
    return r;
}

template <typename T> T Record()
{
    T r = {};
    r.cbStruct = sizeof r;
    r.hWndOwner = Window();
    return r;
}

// Wine offers no printer: the spooler answers without one, and the calls that need
// one answer as it does.
LPWSTR PrinterName()
{
    static WCHAR name[] = L"torwen sweep printer";
    return name;
}

const DWORD PrinterLevels[] = { 1, 2, 4, 5 };

} // namespace

std::vector<Row> GraphicsRows()
{
    using F = Fuzz;
    return {
        // ---- fonts and text
        Row("AddFontResourceW", 0, Error::OutOfMemory)
            .Call([] { return R(AddFontResourceW(FontFile().c_str())); })
            .Undo([](Result) { RemoveFontResourceA(A(FontFile()).c_str()); })
            .Fuzz([](F& f) {
                LPCWSTR file = f.Path();
                if (AddFontResourceW(file))
                    RemoveFontResourceA(A(file).c_str());
            }),
        // Wine keeps a font added by file name: its removal answers FALSE.
        Row("RemoveFontResourceW", FALSE, Error::OutOfMemory)
            .Call([] { return R(RemoveFontResourceW(FontFile().c_str())); })
            .AnyResult()
            .Fuzz([](F& f) { RemoveFontResourceW(f.Path()); }),
        Row("CreateScalableFontResource", FALSE, Error::OutOfMemory)
            .Call([] {
                DeleteFileA(A(PathIn(L"sweep.fot")).c_str());
                return R(CreateScalableFontResource(
                    0, PathIn(L"sweep.fot").c_str(), FontFile().c_str(), nullptr));
            })
            .Undo([](Result) { DeleteFileA(A(PathIn(L"sweep.fot")).c_str()); })
            .Fuzz([](F& f) {
                LPCWSTR resource = f.Path();
                if (CreateScalableFontResource(0, resource, FontFile().c_str(), f.Str(F::NullOk)))
                    DeleteFileA(A(resource).c_str());
            }),
        Row("CreateFontW", 0, Error::OutOfMemory)
            .Call([] {
                return R(CreateFontW(
                    16, 0, 0, 0, FW_BOLD, 0, 0, 0, DEFAULT_CHARSET, 0, 0, 0, 0, L"Tahoma"));
            })
            .Undo([](Result font) { DeleteObject(HGDIOBJ(font)); })
            .Fuzz([](F& f) {
                DeleteObject(CreateFontW(
                    16, 0, 0, 0, 0, 0, 0, 0, DEFAULT_CHARSET, 0, 0, 0, 0, f.Str(F::NullOk)));
            }),
        Row("CreateFontIndirectW", 0, Error::AsLeft)
            .Call([] {
                auto* font = Room<LOGFONTW>();
                font->lfHeight = 16;
                lstrcpynW(font->lfFaceName, (L"Tahoma " + NonAsciiText()).c_str(), LF_FACESIZE);
                return R(CreateFontIndirectW(font));
            })
            .Undo([](Result font) { DeleteObject(HGDIOBJ(font)); })
            .Fuzz([](F& f) { DeleteObject(CreateFontIndirectW(FuzzedLogFont(f))); }),
        Row("EnumFontFamiliesW", -1, Error::AsLeft)
            .Call([] {
                int counted = 0;
                int r = EnumFontFamiliesW(Screen(), nullptr, CountFont, LPARAM(&counted));
                return R(counted ? r : -1);
            })
            .Fuzz([](F& f) { EnumFontFamiliesW(Screen(), f.Str(F::NullOk), FirstFont, 0); }),
        Row("EnumFontFamiliesExW", 0, Error::AsLeft)
            .Call([] {
                auto* filter = Room<LOGFONTW>();
                filter->lfCharSet = DEFAULT_CHARSET;
                int counted = 0;
                int r = EnumFontFamiliesExW(Screen(), filter, CountFont, LPARAM(&counted), 0);
                return R(counted ? r : 0);
            })
            .Fuzz([](F& f) { EnumFontFamiliesExW(Screen(), FuzzedLogFont(f), FirstFont, 0, 0); }),
        // The adapter calls no system function: it converts the records the system
        // would hand it and calls the wide callback of its context.
        Row("AtEnumFontProcFromAToW", std::nullopt, Error::AsLeft)
            .Call([] {
                auto* font = Room<ENUMLOGFONTEXA>();
                strcpy(reinterpret_cast<char*>(font->elfFullName), A(Sweep()).c_str());
                int counted = 0;
                Context<FONTENUMPROCW> context { CountFont, LPARAM(&counted) };
                int r = AtEnumFontProcFromAToW(&font->elfLogFont,
                    reinterpret_cast<const TEXTMETRICA*>(Room<NEWTEXTMETRICEXA>()),
                    TRUETYPE_FONTTYPE, LPARAM(&context));
                return R(counted == 1 ? r : 0);
            })
            .Ok(1)
            .WorksWhenMissing()
            .Fuzz([](F& f) {
                auto* font = f.Out<ENUMLOGFONTEXA>(1);
                auto* metrics = f.Out<NEWTEXTMETRICEXA>(1);
                memset(metrics, 0, sizeof *metrics);
                Field(f, font->elfLogFont.lfFaceName);
                Field(f, reinterpret_cast<char(&)[LF_FULLFACESIZE]>(font->elfFullName));
                Field(f, reinterpret_cast<char(&)[LF_FACESIZE]>(font->elfStyle));
                Field(f, reinterpret_cast<char(&)[LF_FACESIZE]>(font->elfScript));
                Context<FONTENUMPROCW> context { FirstFont, 0 };
                AtEnumFontProcFromAToW(&font->elfLogFont,
                    reinterpret_cast<const TEXTMETRICA*>(metrics), 0, LPARAM(&context));
            }),
        Range("GetCharABCWidthsW", GetCharABCWidthsW),
        Range("GetCharABCWidthsFloatW", GetCharABCWidthsFloatW),
        Range("GetCharWidth32W", GetCharWidth32W),
        Range("GetCharWidthFloatW", GetCharWidthFloatW),
        Row("GetGlyphOutlineW", GDI_ERROR, Error::AsLeft)
            .Call([] {
                const MAT2 identity = { { 0, 1 }, { 0, 0 }, { 0, 0 }, { 0, 1 } };
                return R(GetGlyphOutlineW(
                    Screen(), L'a', GGO_METRICS, Room<GLYPHMETRICS>(), 0, nullptr, &identity));
            })
            .Fuzz([](F& f) {
                GLYPHMETRICS metrics;
                const MAT2 identity = { { 0, 1 }, { 0, 0 }, { 0, 0 }, { 0, 1 } };
                UINT c = f.Pick(2) ? L'g' : NonAsciiText()[0];
                DWORD size
                    = GetGlyphOutlineW(Screen(), c, GGO_BITMAP, &metrics, 0, nullptr, &identity);
                if (size == GDI_ERROR)
                    return;
                int count = f.Count(int(size));
                GetGlyphOutlineW(
                    Screen(), c, GGO_BITMAP, &metrics, count, f.Out<BYTE>(count), &identity);
            }),
        Row("GetKerningParisW", 0, Error::AsLeft)
            .Call([] { return R(GetKerningParisW(Screen(), 0, nullptr)); })
            .Fuzz([](F& f) {
                int count = f.Count(int(GetKerningPairsA(Screen(), 0, nullptr)));
                DWORD r = GetKerningParisW(Screen(), count, f.Out<KERNINGPAIR>(count));
                if (count) {
                    EXPECT_LE(r, DWORD(count));
                }
            }),
        Row("GetObjectW", 0, Error::AsLeft)
            .Call([] { return R(GetObjectW(Font(), sizeof(LOGFONTW), Room<LOGFONTW>())); })
            .Fuzz([](F& f) {
                HGDIOBJ objects[]
                    = { Font(), GetStockObject(BLACK_BRUSH), GetStockObject(BLACK_PEN) };
                HGDIOBJ object = objects[f.Pick(3)];
                int size = f.Count(GetObjectA(object, 0, nullptr) == sizeof(LOGFONTA)
                        ? sizeof(LOGFONTW)
                        : GetObjectA(object, 0, nullptr));
                GetObjectW(object, size, f.Pick(6) ? f.Out<BYTE>(size) : nullptr);
            }),
        Row("GetTextExtentExPointW", FALSE)
            .Call([] {
                const std::wstring text = Measurable(Sweep());
                int fit = -1;
                BOOL r = GetTextExtentExPointW(Screen(), text.c_str(), int(text.size()), 1000, &fit,
                    Room<int>(), Room<SIZE>());
                return R(r && fit == int(text.size()) ? r : FALSE);
            })
            .Fuzz([](F& f) {
                // A counted string need not be terminated: one without its NUL ends
                // right at the no-access page.
                const std::wstring s = Measurable(f.Text());
                LPCWSTR text = f.Copy(s, f.Pick(2));
                const int len = int(s.size());
                // The count never exceeds the string, which the W function reads that far.
                const int count = std::min(f.Count(len), len);
                int fit = -1;
                GetTextExtentExPointW(Screen(), text, count, f.Pick(2) ? 40 : 1 << 30, &fit,
                    f.Out<int>(count), Room<SIZE>());
                EXPECT_LE(fit, count);
            }),
        Row("GetTextFaceW", 0, Error::OutOfMemory)
            .Call([] { return R(GetTextFaceW(Screen(), LF_FACESIZE, Room())); })
            .Fuzz([](F& f) {
                int count = f.Count(GetTextFaceA(Screen(), 0, nullptr));
                WCHAR* face = f.Pick(6) ? f.Out<WCHAR>(count) : nullptr;
                int r = GetTextFaceW(Screen(), count, face);
                if (face) {
                    EXPECT_LE(r, count);
                }
            }),
        Row("GetTextMetricsW", FALSE)
            .Call([] { return R(GetTextMetricsW(Screen(), Room<TEXTMETRICW>())); })
            .Fuzz([](F& f) { GetTextMetricsW(Screen(), f.Out<TEXTMETRICW>(1)); }),
        Row("PolyTextOutW", FALSE, Error::AsLeft)
            .Call([] {
                const std::wstring text = Sweep();
                POLYTEXTW texts[2] = { { 0, 0, UINT(text.size()), text.c_str(), 0, {}, nullptr },
                    { 0, 20, 5, L"again", 0, {}, nullptr } };
                return R(PolyTextOutW(Screen(), texts, 2));
            })
            .AllocationFailureEndsProcess()
            .Fuzz([](F& f) {
                POLYTEXTW texts[2] = {};
                for (POLYTEXTW& t : texts) {
                    t.lpstr = f.Str();
                    t.n = f.Len(t.lpstr);
                }
                static HDC small = CreateCompatibleDC(nullptr);
                PolyTextOutW(small, texts, 1 + f.Pick(2));
            }),

        // ---- device contexts, documents, metafiles and colour profiles
        DisplayContext("CreateDCW", CreateDCW, L"ignored", true),
        DisplayContext("CreateICW", CreateICW, nullptr, false),
        // Wine resets no display context: it answers NULL.
        Row("ResetDCW", 0, Error::AsLeft)
            .Call([] {
                auto* dm = Room<DEVMODEW>();
                dm->dmSize = 212;
                lstrcpynW(dm->dmDeviceName, Sweep().c_str(), CCHDEVICENAME);
                return R(ResetDCW(Screen(), dm));
            })
            .Ok([](Result dc) { return dc == 0 || dc == R(Screen()); })
            .Fuzz([](F& f) {
                if (DEVMODEW* dm = FuzzedDevMode(f))
                    ResetDCW(Screen(), dm);
            }),
        // Without a printer, Wine starts no document on any context: it answers 0.
        Row("StartDocW", 0)
            .Call([] {
                const std::wstring name = Sweep(), output = PathIn(L"sweep.prn");
                DOCINFOW doc = { int(sizeof doc), name.c_str(), output.c_str(), L"raw", 0 };
                return R(StartDocW(Screen(), &doc));
            })
            .Ok([](Result r) {
                if (r > 0)
                    AbortDoc(Screen());
                return true;
            })
            .Fuzz([](F& f) {
                DOCINFOW doc = { f.Pick(2) ? int(sizeof doc) : 12, f.Str(F::NullOk),
                    f.Str(F::NullOk), f.Str(F::NullOk), 0 };
                if (StartDocW(Screen(), &doc) > 0)
                    AbortDoc(Screen());
            }),
        CopyMeta("CopyMetaFileW", CopyMetaFileW, Wmf, DeleteMetaFile, L"copy.wmf"),
        CopyMeta("CopyEnhMetaFileW", CopyEnhMetaFileW, Emf, DeleteEnhMetaFile, L"copy.emf"),
        Row("GetMetaFileW", 0, Error::AsLeft)
            .Call([] { return R(GetMetaFileW(WmfFile().c_str())); })
            .Undo([](Result wmf) { DeleteMetaFile(HMETAFILE(wmf)); })
            .Fuzz([](F& f) { DeleteMetaFile(GetMetaFileW(f.Path())); }),
        Row("GetEnhMetaFileW", 0, Error::AsLeft)
            .Call([] { return R(GetEnhMetaFileW(EmfFile().c_str())); })
            .Undo([](Result emf) { DeleteEnhMetaFile(HENHMETAFILE(emf)); })
            .Fuzz([](F& f) { DeleteEnhMetaFile(GetEnhMetaFileW(f.Path())); }),
        Row("CreateEnhMetaFileW", 0, Error::AsLeft)
            .Call([] {
                return R(CreateEnhMetaFileW(
                    nullptr, PathIn(L"new.emf").c_str(), nullptr, Description().c_str()));
            })
            .Undo([](Result dc) { DeleteEnhMetaFile(CloseEnhMetaFile(HDC(dc))); })
            .Fuzz([](F& f) {
                LPCWSTR path = f.Pick(3) ? f.Path() : nullptr;
                // A description ends with two NULs; the W function reads that far.
                LPCWSTR description = f.Pick(4) ? f.Copy(f.Text() + L'\0' + f.Text(), 2) : nullptr;
                if (HDC dc = CreateEnhMetaFileW(nullptr, path, nullptr, description)) {
                    DeleteEnhMetaFile(CloseEnhMetaFile(dc));
                    if (path)
                        DeleteFileA(A(path).c_str());
                }
            }),
        Row("GetEnhMetaFileDescriptionW", GDI_ERROR, Error::AsLeft)
            .Call([] { return R(GetEnhMetaFileDescriptionW(Emf(), 64, Room())); })
            .Fuzz([](F& f) {
                UINT count = f.Count(int(Description().size()));
                WCHAR* text = f.Pick(6) ? f.Out<WCHAR>(count) : nullptr;
                UINT r = GetEnhMetaFileDescriptionW(Emf(), count, text);
                if (text && count && r != GDI_ERROR) {
                    EXPECT_LE(r, count);
                }
            }),
        // Wine has no colour profile for a display context: it answers FALSE.
        Row("GetICMProfileW", FALSE, Error::AsLeft)
            .Call([] {
                DWORD size = MAX_PATH;
                return R(GetICMProfileW(Screen(), &size, Room()));
            })
            .AnyResult()
            .Fuzz([](F& f) {
                DWORD size = f.Count(MAX_PATH);
                const DWORD given = size;
                GetICMProfileW(Screen(), &size, f.Out<WCHAR>(size));
                EXPECT_EQ(size, given);
            }),
        Row("SetICMProfileW", FALSE, Error::AsLeft)
            .Call([] { return R(SetICMProfileW(Screen(), PathIn(L"sweep.icm").data())); })
            .Fuzz([](F& f) { SetICMProfileW(Screen(), const_cast<LPWSTR>(f.Path())); }),
        // Wine knows no colour profile: it enumerates none and answers -1.
        Row("EnumICMProfilesW", -1, Error::AsLeft)
            .Call([] {
                int counted = 0;
                return R(EnumICMProfilesW(Screen(), CountProfile, LPARAM(&counted)));
            })
            .AnyResult(),
        Row("AtICMEnumFuncFromAToW", 0, Error::AsLeft)
            .Call([] {
                std::string name = A(PathIn(Sweep() + L".icm"));
                int counted = 0;
                Context<ICMENUMPROCW> context { CountProfile, LPARAM(&counted) };
                int r = AtICMEnumFuncFromAToW(name.data(), LPARAM(&context));
                return R(counted == 1 ? r : 0);
            })
            .ConvertsOnWPath()
            .WorksWhenMissing()
            .Fuzz([](F& f) {
                std::string name = A(f.Text());
                char* p = f.Out<char>(int(name.size()) + 1);
                memcpy(p, name.c_str(), name.size() + 1);
                int counted = 0;
                Context<ICMENUMPROCW> context { CountProfile, LPARAM(&counted) };
                AtICMEnumFuncFromAToW(p, LPARAM(&context));
            }),

        // ---- the shell
        Row("DragQueryFileW", 0, Error::AsLeft)
            .Call([] { return R(DragQueryFileW(Drop(), 1, Room(), MAX_PATH)); })
            .Fuzz([](F& f) {
                UINT index = f.Pick(3) ? f.Pick(2) : 0xFFFFFFFF;
                int count = f.Count(int(DragQueryFileA(Drop(), 1, nullptr, 0)));
                WCHAR* name = f.Pick(6) ? f.Out<WCHAR>(count) : nullptr;
                UINT r = DragQueryFileW(Drop(), index, name, count);
                if (name && index != 0xFFFFFFFF && count) {
                    EXPECT_LT(r, UINT(count));
                }
            }),
        Row("ExtractIconW", 0, Error::AsLeft)
            .Call([] { return R(ExtractIconW(Instance(), L"shell32.dll", 0)); })
            .Undo([](Result icon) { DestroyIcon(HICON(icon)); })
            .Fuzz([](F& f) {
                HICON icon = ExtractIconW(Instance(), f.Path(), f.Pick(2));
                if (UINT_PTR(icon) > 1)
                    DestroyIcon(icon);
            }),
        Row("FindExecutableW", 0, Error::AsLeft)
            .Call([] {
                return R(FindExecutableW(MakeFile(L"document.ini").c_str(), nullptr, Room()));
            })
            .Ok([](Result r) { return r > 32; })
            .Fuzz([](F& f) {
                LPCWSTR file = f.Pick(2) ? Absent(f) : Short(f);
                FindExecutableW(file, Short(f, F::NullOk), f.Out<WCHAR>(MAX_PATH));
            }),
        Row("ShellExecuteW", 0, Error::AsLeft)
            .Call([] {
                return R(
                    ShellExecuteW(Window(), L"open", Cmd().c_str(), L"/c exit", nullptr, SW_HIDE));
            })
            .Ok([](Result r) { return r > 32; })
            .Fuzz([](F& f) {
                ShellExecuteW(nullptr, Short(f, F::NullOk), Absent(f), Short(f, F::NullOk),
                    Short(f, F::NullOk), SW_HIDE);
            }),
        Row("ShellExecuteExW", FALSE, Error::AsLeft)
            .Call([] {
                const std::wstring cmd = Cmd();
                auto* info = Room<SHELLEXECUTEINFOW>();
                info->cbSize = sizeof *info;
                info->fMask = SEE_MASK_NOCLOSEPROCESS | SEE_MASK_FLAG_NO_UI;
                info->lpFile = cmd.c_str();
                info->lpParameters = L"/c exit";
                info->nShow = SW_HIDE;
                BOOL r = ShellExecuteExW(info);
                if (info->hProcess)
                    CloseHandle(info->hProcess);
                return R(r);
            })
            .ConvertsOnWPath()
            .Fuzz([](F& f) {
                auto* info = Room<SHELLEXECUTEINFOW>();
                info->cbSize = sizeof *info;
                info->fMask = SEE_MASK_FLAG_NO_UI | (f.Pick(2) ? SEE_MASK_CLASSNAME : 0);
                info->lpVerb = Short(f, F::NullOk);
                info->lpFile = Absent(f);
                info->lpParameters = Short(f, F::NullOk);
                info->lpDirectory = Short(f, F::NullOk);
                info->lpClass = Short(f);
                ShellExecuteExW(info);
                EXPECT_EQ(info->cbSize, sizeof *info);
            }),
        Row("SHBrowseForFolderW", 0, Error::AsLeft)
            .Call([] {
                const std::wstring title = Sweep();
                auto* info = Room<BROWSEINFOW>();
                info->hwndOwner = Window();
                info->pszDisplayName = Room();
                info->lpszTitle = title.c_str();
                info->ulFlags = BIF_RETURNONLYFSDIRS;
                info->lpfn = PickFolder;
                return R(SHBrowseForFolderW(info));
            })
            .ConvertsOnWPath()
            .Undo([](Result list) { CoTaskMemFree(reinterpret_cast<void*>(list)); })
            .Fuzz([](F& f) {
                // A dialog that fails to open leaves Wine's browser reading a display name
                // it never wrote: the dialog opens, on a small tree, and closes. That
                // takes a tenth of a second under Wine, so one call in eight opens it.
                auto* info = Room<BROWSEINFOW>();
                info->hwndOwner = Window();
                info->pidlRoot = FolderList();
                info->pszDisplayName = f.Out<WCHAR>(MAX_PATH);
                info->lpszTitle = Short(f, F::NullOk);
                info->lpfn = PickFolder;
                if (f.Pick(8) == 0)
                    CoTaskMemFree(SHBrowseForFolderW(info));
            }),
        Row("SHGetPathFromIDListW", FALSE, Error::AsLeft)
            .Call([] { return R(SHGetPathFromIDListW(FolderList(), Room())); })
            .ConvertsOnWPath()
            .Fuzz([](F& f) {
                static PIDLIST_ABSOLUTE desktop = [] {
                    PIDLIST_ABSOLUTE l = nullptr;
                    SHGetSpecialFolderLocation(nullptr, CSIDL_DESKTOP, &l);
                    return l;
                }();
                SHGetPathFromIDListW(f.Pick(2) ? FolderList() : desktop, f.Out<WCHAR>(MAX_PATH));
            }),

        // ---- printers
        // Wine has no printer: the spooler refuses the name.
        Row("OpenPrinterW", FALSE)
            .Call([] {
                HANDLE printer = nullptr;
                PRINTER_DEFAULTSW defaults
                    = { const_cast<LPWSTR>(L"RAW"), nullptr, PRINTER_ACCESS_USE };
                BOOL r = OpenPrinterW(PrinterName(), &printer, &defaults);
                if (r)
                    ClosePrinter(printer);
                return R(r);
            })
            .AnyResult()
            .Fuzz([](F& f) {
                HANDLE printer = nullptr;
                PRINTER_DEFAULTSW defaults = { const_cast<LPWSTR>(f.Str(F::NullOk)),
                    FuzzedDevMode(f), PRINTER_ACCESS_USE };
                if (OpenPrinterW(const_cast<LPWSTR>(f.Str(F::NullOk)), &printer,
                        f.Pick(2) ? &defaults : nullptr))
                    ClosePrinter(printer);
            }),
        // No printer can be opened under Wine: the spooler refuses a null handle.
        Row("GetPrinterW", FALSE)
            .Call([] {
                DWORD needed = 0;
                return R(GetPrinterW(nullptr, 2, nullptr, 0, &needed));
            })
            .AnyResult()
            .Fuzz([](F& f) {
                DWORD needed = 0, size = f.Count(256);
                GetPrinterW(nullptr, PrinterLevels[f.Pick(4)], f.Out<BYTE>(size), size, &needed);
            }),
        Row("EnumPrintersW", FALSE)
            .Call([] {
                DWORD needed = 0, returned = 0;
                return R(EnumPrintersW(
                    PRINTER_ENUM_LOCAL, nullptr, 2, Room<BYTE>(), 4096, &needed, &returned));
            })
            .Fuzz([](F& f) {
                DWORD needed = 0, returned = 0, size = f.Count(256);
                DWORD flags = f.Pick(2) ? PRINTER_ENUM_LOCAL : PRINTER_ENUM_NAME;
                EnumPrintersW(flags, const_cast<LPWSTR>(f.Str(F::NullOk)), PrinterLevels[f.Pick(4)],
                    f.Out<BYTE>(size), size, &needed, &returned);
            }),
        // Any negative answer is the failure: a size query that fails answers twice the
        // spooler's -1. Without a printer Wine's fails.
        Row("DocumentPropertiesW", -1)
            .Call([] {
                LONG r = DocumentPropertiesW(Window(), nullptr, PrinterName(), nullptr, nullptr, 0);
                return R(r < 0 ? -1 : r);
            })
            .AnyResult()
            .Fuzz([](F& f) {
                DWORD modes[] = { 0, DM_OUT_BUFFER, DM_IN_BUFFER | DM_OUT_BUFFER };
                DocumentPropertiesW(Window(), nullptr, const_cast<LPWSTR>(f.Str(F::NullOk)),
                    FuzzedDevMode(f), FuzzedDevMode(f), modes[f.Pick(3)]);
            }),
        // Without a printer no capability is known: Wine answers 0 or -1.
        Row("DeviceCapabilitiesW", 0)
            .Call([] {
                return R(DeviceCapabilitiesW(PrinterName(), L"LPT1:", DC_BINS, nullptr, nullptr));
            })
            .AnyResult()
            .Fuzz([](F& f) {
                static const WORD capabilities[]
                    = { DC_BINS, DC_BINNAMES, DC_PAPERNAMES, DC_FIELDS };
                DeviceCapabilitiesW(f.Str(F::NullOk), f.Str(F::NullOk), capabilities[f.Pick(4)],
                    f.Out<WCHAR>(64 * 32), FuzzedDevMode(f));
            }),

        // ---- the OLE dialogs: each is cancelled once shown; Wine answers some at once
        Row("OleUIInsertObjectW", OLEUI_ERR_GLOBALMEMALLOC, Error::AsLeft)
            .Call([] {
                WCHAR file[MAX_PATH] = L"sweep.txt";
                auto r = Record<OLEUIINSERTOBJECTW>();
                r.dwFlags = IOF_SELECTCREATENEW;
                r.lpszFile = file;
                r.cchFile = MAX_PATH;
                return Dismissed([&] { return OleUIInsertObjectW(&r); });
            })
            .Fuzz([](F& f) {
                auto* r = Record<OLEUIINSERTOBJECTW>(f);
                std::wstring text = f.Text();
                r->cchFile = std::max(f.Count(int(text.size())), 1);
                r->lpszFile = f.Out<WCHAR>(r->cchFile);
                r->lpszFile[text.copy(r->lpszFile, r->cchFile - 1)] = L'\0';
                OleUIInsertObjectW(r);
            }),
        Row("OleUIPasteSpecialW", OLEUI_ERR_GLOBALMEMALLOC, Error::AsLeft)
            .Call([] {
                const std::wstring name = Sweep();
                OLEUIPASTEENTRYW entry
                    = { { CF_TEXT, nullptr, DVASPECT_CONTENT, -1, TYMED_HGLOBAL }, name.c_str(),
                          name.c_str(), OLEUIPASTE_PASTEONLY, 0 };
                auto r = Record<OLEUIPASTESPECIALW>();
                r.arrPasteEntries = &entry;
                r.cPasteEntries = 1;
                return Dismissed([&] { return OleUIPasteSpecialW(&r); });
            })
            .Fuzz([](F& f) {
                auto* r = Record<OLEUIPASTESPECIALW>(f);
                OLEUIPASTEENTRYW entries[2] = {};
                for (OLEUIPASTEENTRYW& e : entries) {
                    e.fmtetc = { CF_TEXT, nullptr, DVASPECT_CONTENT, -1, TYMED_HGLOBAL };
                    e.lpstrFormatName = f.Str();
                    e.lpstrResultText = f.Str();
                    e.dwFlags = OLEUIPASTE_PASTEONLY;
                }
                r->arrPasteEntries = entries;
                r->cPasteEntries = f.Pick(3);
                OleUIPasteSpecialW(r);
            }),
        Row("OleUIChangeIconW", OLEUI_ERR_GLOBALMEMALLOC, Error::AsLeft)
            .Call([] {
                auto r = Record<OLEUICHANGEICONW>();
                r.dwFlags = CIF_USEICONEXE;
                lstrcpynW(r.szIconExe, L"shell32.dll", MAX_PATH);
                r.cchIconExe = MAX_PATH;
                return Dismissed([&] { return OleUIChangeIconW(&r); });
            })
            .Fuzz([](F& f) {
                auto* r = Record<OLEUICHANGEICONW>(f);
                r->dwFlags = CIF_USEICONEXE;
                Field(f, r->szIconExe);
                r->cchIconExe = MAX_PATH;
                OleUIChangeIconW(r);
            }),
        Row("OleUIConvertW", OLEUI_ERR_GLOBALMEMALLOC, Error::AsLeft)
            .Call([] {
                std::wstring type = Sweep();
                auto r = Record<OLEUICONVERTW>();
                r.lpszUserType = r.lpszDefLabel = type.data();
                return Dismissed([&] { return OleUIConvertW(&r); });
            })
            .Fuzz([](F& f) {
                auto* r = Record<OLEUICONVERTW>(f);
                r->lpszUserType = const_cast<LPWSTR>(f.Str(F::NullOk));
                r->lpszDefLabel = const_cast<LPWSTR>(f.Str(F::NullOk));
                OleUIConvertW(r);
            }),
        Row("OleUIBusyW", OLEUI_ERR_GLOBALMEMALLOC, Error::AsLeft)
            .Call([] {
                auto r = Record<OLEUIBUSYW>();
                return Dismissed([&] { return OleUIBusyW(&r); });
            })
            .Fuzz([](F& f) { OleUIBusyW(Record<OLEUIBUSYW>(f)); }),
        // Without an object the verb menu gets one disabled item, and the answer is FALSE.
        Row("OleUIAddVerbMenuW", FALSE, Error::AsLeft)
            .Call([] {
                HMENU menu = CreatePopupMenu(), popup = nullptr;
                BOOL r = OleUIAddVerbMenuW(nullptr, L"sweep", menu, 0, 100, 200, FALSE, 0, &popup);
                DestroyMenu(menu);
                return R(r);
            })
            .AnyResult()
            .Fuzz([](F& f) {
                HMENU menu = CreatePopupMenu(), popup = nullptr;
                OleUIAddVerbMenuW(
                    nullptr, f.Str(F::NullOk), menu, 0, 100, 200, f.Pick(2), 300, &popup);
                DestroyMenu(menu);
            }),

        // ---- shell and network beyond the families above
        Row("SHFileOperationW", ERROR_OUTOFMEMORY, Error::Code)
            .Call([] {
                const std::wstring from = MakeFile(L"from " + NonAsciiText() + L".txt") + L'\0';
                const std::wstring to = PathIn(L"to.txt") + L'\0';
                SHFILEOPSTRUCTW op = {};
                op.wFunc = FO_COPY;
                op.pFrom = from.c_str();
                op.pTo = to.c_str();
                op.fFlags = FOF_SILENT | FOF_NOCONFIRMATION | FOF_NOERRORUI | FOF_NOCONFIRMMKDIR;
                return R(SHFileOperationW(&op));
            })
            .Ok(0)
            .Undo([](Result) { DeleteFileA(A(PathIn(L"to.txt")).c_str()); })
            .Fuzz([](F& f) {
                SHFILEOPSTRUCTW op = {};
                op.wFunc = FO_DELETE;
                // A list of names ends with an empty one.
                op.pFrom = f.Copy(std::wstring(Absent(f)) + L'\0' + Absent(f), 2);
                op.fFlags = FOF_SILENT | FOF_NOCONFIRMATION | FOF_NOERRORUI | FOF_SIMPLEPROGRESS;
                op.lpszProgressTitle = f.Str(F::NullOk);
                SHFileOperationW(&op);
            }),
        Row("SHGetFileInfoW", 0)
            .Call([] {
                return R(SHGetFileInfoW(MakeFile(L"info.txt").c_str(), 0, Room<SHFILEINFOW>(),
                    sizeof(SHFILEINFOW), SHGFI_DISPLAYNAME | SHGFI_TYPENAME));
            })
            .Fuzz([](F& f) {
                auto* info = f.Out<SHFILEINFOW>(1);
                SHGetFileInfoW(f.Pick(2) ? Absent(f) : Short(f), FILE_ATTRIBUTE_NORMAL, info,
                    sizeof *info, SHGFI_DISPLAYNAME | SHGFI_TYPENAME | SHGFI_USEFILEATTRIBUTES);
            }),
        Row("SHGetSpecialFolderPathW", FALSE)
            .Call([] { return R(SHGetSpecialFolderPathW(nullptr, Room(), CSIDL_APPDATA, FALSE)); })
            .Fuzz([](F& f) {
                static const int folders[]
                    = { CSIDL_APPDATA, CSIDL_WINDOWS, CSIDL_DRIVES, CSIDL_PERSONAL };
                SHGetSpecialFolderPathW(nullptr, f.Out<WCHAR>(MAX_PATH), folders[f.Pick(4)], FALSE);
            }),
        // Wine without a display has no notification area: it answers FALSE.
        Row("Shell_NotifyIconW", FALSE)
            .Call([] {
                auto* data = Room<NOTIFYICONDATAW>();
                data->cbSize = NOTIFYICONDATAW_V2_SIZE;
                data->hWnd = Window();
                data->uFlags = NIF_TIP;
                lstrcpynW(data->szTip, Sweep().c_str(), 64);
                BOOL r = Shell_NotifyIconW(NIM_ADD, data);
                if (r)
                    Shell_NotifyIconA(NIM_DELETE, reinterpret_cast<NOTIFYICONDATAA*>(data));
                return R(r);
            })
            .AnyResult()
            .Fuzz([](F& f) {
                auto* data = f.Out<NOTIFYICONDATAW>(1);
                memset(data, 0, sizeof *data);
                data->cbSize = f.Pick(2) ? NOTIFYICONDATAW_V1_SIZE : sizeof *data;
                data->hWnd = Window();
                data->uFlags = NIF_TIP | NIF_INFO;
                Field(f, data->szTip);
                Field(f, data->szInfo);
                Field(f, data->szInfoTitle);
                Shell_NotifyIconW(NIM_MODIFY, data);
            }),
        Row("ShellAboutW", FALSE)
            .Call([] {
                return Dismissed([] {
                    return ShellAboutW(Window(), L"sweep", NonAsciiText().c_str(), nullptr);
                });
            })
            .Fuzz([](F& f) { ShellAboutW(Gone(), f.Str(F::NullOk), f.Str(F::NullOk), nullptr); }),
        Row("ExtractIconExW", 0)
            .Call([] {
                HICON large = nullptr;
                UINT r = ExtractIconExW(L"shell32.dll", 0, &large, nullptr, 1);
                if (large)
                    DestroyIcon(large);
                return R(r);
            })
            .Fuzz([](F& f) { ExtractIconExW(f.Path(), 0, nullptr, nullptr, 0); }),
        // Wine has no network: it answers ERROR_NO_NETWORK.
        Row("WNetGetLastErrorW", ERROR_OUTOFMEMORY, Error::Code)
            .Call([] {
                DWORD error = 0;
                WCHAR provider[64];
                return R(WNetGetLastErrorW(&error, Room(), 256, provider, 64));
            })
            .Ok([](Result r) { return r == NO_ERROR || r == ERROR_NO_NETWORK; })
            .Fuzz([](F& f) {
                DWORD error = 0;
                int textSize = f.Count(64), nameSize = f.Count(16);
                WNetGetLastErrorW(
                    &error, f.Out<WCHAR>(textSize), textSize, f.Out<WCHAR>(nameSize), nameSize);
            }),
    };
}

} // namespace sweep
