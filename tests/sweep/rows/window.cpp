// Rows of the window manager's classes, windows, dialogs and window procedures, and
// of the message translators (characters and text, creation records, notifications).
#include "sweep/sweep.h"

#include <commctrl.h>

#include <cstring>
#include <cwchar>

#include "torwen.h"

#pragma GCC diagnostic ignored "-Wmissing-field-initializers"

namespace sweep
{

namespace
{

constexpr LRESULT Answer = 0x5EE9; // what our procedures and handlers answer
constexpr UINT AnswerMessage = WM_APP; // the message our window procedure answers
constexpr int FilterCode = MSGF_USER + 1;

std::string Narrow(const std::wstring& s)
{
    return harness::ToAnsi(s);
}

LPCSTR Atom(Result atom)
{
    return reinterpret_cast<LPCSTR>(atom & 0xFFFF);
}

LPCWSTR AtomW(Result atom)
{
    return reinterpret_cast<LPCWSTR>(atom & 0xFFFF);
}

// A fuzzed class name as Wine can take it. Wine's class functions corrupt its heap
// on a name longer than an atom's 255 characters (the W path passes it on), and
// UnregisterClass of an empty name, after a refused registration of one, frees a
// block twice; Windows refuses both names.
LPCWSTR ClassName(LPCWSTR name)
{
    std::size_t length = std::wcslen(name);
    return length == 0 || (!harness::AnsiPath() && length > 255) ? L"sweep" : name;
}

// A class record of ours for RegisterClassExW.
WNDCLASSEXW ClassRecord()
{
    WNDCLASSEXW wc = {};
    wc.cbSize = sizeof wc;
    wc.lpfnWndProc = DefWindowProcA;
    wc.hInstance = Instance();
    return wc;
}

LRESULT CALLBACK OwnProc(HWND hwnd, UINT msg, WPARAM wParam, LPARAM lParam)
{
    return msg == AnswerMessage ? Answer : DefWindowProcA(hwnd, msg, wParam, lParam);
}

INT_PTR CALLBACK QuietDialogProc(HWND, UINT, WPARAM, LPARAM)
{
    return FALSE;
}

INT_PTR CALLBACK EndingDialogProc(HWND dialog, UINT msg, WPARAM, LPARAM)
{
    if (msg == WM_INITDIALOG)
        EndDialog(dialog, 1);
    return FALSE;
}

LRESULT CALLBACK FilterProc(int code, WPARAM wParam, LPARAM lParam)
{
    return code == FilterCode ? 1 : CallNextHookEx(nullptr, code, wParam, lParam);
}

void CALLBACK NoCallback(HWND, UINT, ULONG_PTR, LRESULT) { }

void Drain(HWND hwnd, UINT first, UINT last)
{
    MSG msg;
    while (PeekMessageA(&msg, hwnd, first, last, PM_REMOVE)) { }
}

// The windows the rows work on, made once with the A functions. The class name has
// characters beyond ASCII, so that converting it back means something.
struct Fixture {
    std::string classA, childClassA;
    std::wstring className, childClassName;
    std::wstring ownTitle;
    HWND own; // its text, extra data and property are read, never changed
    HWND target; // what the calls with fuzzed text change
    HWND dialog; // the resource DLL's dialog, with a caption
    HWND frame, client, child;
    HMODULE resources;
    HACCEL accel;
};

const Fixture& F()
{
    static const Fixture f = [] {
        Fixture x;
        x.classA = "torwen sweep " + Narrow(harness::NonAsciiText());
        x.childClassA = x.classA + " child";
        x.className = harness::FromAnsi(x.classA);
        x.childClassName = harness::FromAnsi(x.childClassA);
        // Its own title: the sweep programs run side by side, each with such a window.
        x.ownTitle
            = L"sweep " + harness::NonAsciiText() + L" " + std::to_wstring(GetCurrentProcessId());
        WNDCLASSEXA wc = {};
        wc.cbSize = sizeof wc;
        wc.style = CS_DBLCLKS;
        wc.lpfnWndProc = OwnProc;
        wc.cbWndExtra = sizeof(LONG);
        wc.hInstance = Instance();
        wc.lpszClassName = x.classA.c_str();
        RegisterClassExA(&wc);
        wc.lpfnWndProc = DefMDIChildProcA;
        wc.lpszClassName = x.childClassA.c_str();
        RegisterClassExA(&wc);
        auto make = [&](const std::string& title) {
            return CreateWindowExA(0, x.classA.c_str(), title.c_str(), WS_OVERLAPPEDWINDOW, 0, 0,
                200, 100, nullptr, nullptr, Instance(), nullptr);
        };
        x.own = make(Narrow(x.ownTitle));
        SetWindowLongA(x.own, 0, 0x1234);
        SetPropA(x.own, "sweep", reinterpret_cast<HANDLE>(Answer));
        x.target = make("target");
        x.resources = LoadLibraryA("test-resources.dll");
        x.dialog = CreateDialogParamA(x.resources, "CONTROLS", nullptr, QuietDialogProc, 0);
        SetWindowTextA(x.dialog, "sweep");
        x.frame = make("sweep frame");
        CLIENTCREATESTRUCT ccs = { nullptr, 1000 };
        x.client = CreateWindowExA(0, "MDICLIENT", nullptr, WS_CHILD | WS_CLIPCHILDREN, 0, 0, 200,
            100, x.frame, nullptr, Instance(), &ccs);
        x.child = CreateMDIWindowA(
            x.childClassA.c_str(), "sweep child", 0, 0, 0, 100, 50, x.client, Instance(), 0);
        ACCEL key = { FVIRTKEY, VK_F5, 100 };
        x.accel = CreateAcceleratorTableA(&key, 1);
        SetWindowsHookExA(WH_MSGFILTER, FilterProc, nullptr, GetCurrentThreadId());
        return x;
    }();
    return f;
}

// ---- strings and buffers of either character set

template <typename C> std::size_t Length(const C* s)
{
    if constexpr (sizeof(C) == 1)
        return std::strlen(s);
    else
        return std::wcslen(s);
}

template <typename C> std::basic_string<C> InSet(const std::wstring& s)
{
    if constexpr (sizeof(C) == 1)
        return Narrow(s);
    else
        return s;
}

// A text pointer that designates a string: not null, no resource identifier, not
// the callback marker.
bool IsText(const void* p)
{
    return !IS_INTRESOURCE(p) && p != LPSTR_TEXTCALLBACKA;
}

// As a well-behaved window or control fills a buffer of `count` elements: as much
// of the text as fits, and a NUL. Answers the elements stored before the NUL.
template <typename C> int Put(C* buf, int count, const std::basic_string<C>& text)
{
    if (!buf || count <= 0)
        return 0;
    int n = std::min<int>(int(text.size()), count - 1);
    std::memcpy(buf, text.data(), n * sizeof(C));
    buf[n] = 0;
    return n;
}

// As a window answers a request for its text: well-behaved, or (seen().reply 3) as
// a careless one that fills every element and writes no NUL.
int Careless();
template <typename C> int Give(C* buf, int count, const std::basic_string<C>& text)
{
    if (!Careless() || !buf || count <= 0)
        return Put(buf, count, text);
    for (int i = 0; i < count; ++i)
        buf[i] = text.empty() ? C('x') : text[i % text.size()];
    return count;
}

// A fuzzed string in the ANSI code page, ending at a no-access page. Sometimes its
// last byte is cut off, which can leave a lone lead byte at its end.
LPCSTR AnsiStr(Fuzz& f, Fuzz::Nulls nulls = Fuzz::NoNull)
{
    LPCWSTR s = f.Str(nulls);
    if (!s)
        return nullptr;
    std::string a = Narrow(s);
    if (!a.empty() && f.Pick(2))
        a.pop_back();
    char* p = f.Out<char>(int(a.size()) + 1);
    std::memcpy(p, a.c_str(), a.size() + 1);
    return p;
}

// A string as a message of the running path carries it: ANSI on the ANSI path.
LPARAM PathStr(Fuzz& f, Fuzz::Nulls nulls = Fuzz::NoNull)
{
    return harness::AnsiPath() ? reinterpret_cast<LPARAM>(AnsiStr(f, nulls))
                               : reinterpret_cast<LPARAM>(f.Str(nulls));
}

// A copy into a caller's buffer of `count` characters: never longer than the buffer
// holds, and terminated where it says it ends.
template <typename C> void CheckCopy(Result r, int count, const C* buf)
{
    EXPECT_TRUE(r >= 0 && (r == 0 || r < count)) << "answered " << r << " for " << count;
    if (r > 0 && r < count) {
        EXPECT_EQ(buf[r], C(0));
    }
}

// ---- what the translators' procedures and handlers do

// A translated answer is a copy too; on the W path a careless window's answer
// reaches the caller as it is.
template <typename C> void CheckAnswer(Result r, int count, const C* buf)
{
    if (harness::AnsiPath() || !Careless())
        CheckCopy(r, count, buf);
}

struct Seen {
    int calls = 0;
    std::wstring text; // what a procedure or handler gives back
    int reply = 0; // how a notification's receiver answers
};

Seen& seen()
{
    static Seen s;
    return s;
}

// The row's call, with the count of procedure and handler calls reset first.
template <typename F> std::function<Result()> Counted(F call)
{
    return [call] {
        seen().calls = 0;
        return call();
    };
}

int Careless()
{
    return seen().reply == 3;
}

bool Called(Result)
{
    return seen().calls > 0;
}

bool CalledAndZero(Result r)
{
    return r == 0 && seen().calls > 0;
}

// A forwarder's procedure gets the ANSI message on the ANSI path, the wide one on
// the W path; it reads the string it gets and fills the buffer it gets.
template <typename C> LRESULT Procedure(HWND, UINT msg, WPARAM wParam, LPARAM lParam)
{
    ++seen().calls;
    switch (msg) {
    case WM_GETTEXT:
    case WM_ASKCBFORMATNAME:
        return Give(reinterpret_cast<C*>(lParam), int(wParam), InSet<C>(seen().text));
    case WM_SETTEXT:
    case WM_WININICHANGE:
    case WM_DEVMODECHANGE:
        if (IsText(reinterpret_cast<void*>(lParam)))
            Length(reinterpret_cast<const C*>(lParam));
        return TRUE;
    }
    return Answer;
}

LRESULT CALLBACK ForwardProc(HWND hwnd, UINT msg, WPARAM wParam, LPARAM lParam)
{
    return harness::AnsiPath() ? Procedure<char>(hwnd, msg, wParam, lParam)
                               : Procedure<WCHAR>(hwnd, msg, wParam, lParam);
}

void CALLBACK OnChar(HWND, WCHAR, int)
{
    ++seen().calls;
}

void CALLBACK OnText(HWND, LPCWSTR s)
{
    ++seen().calls;
    if (IsText(s))
        std::wcslen(s);
}

int CALLBACK OnGetText(HWND, int count, LPWSTR buf)
{
    ++seen().calls;
    return Give(buf, count, seen().text);
}

// The copy on the ANSI path is terminated within its capacity; on the W path the
// buffer is the caller's, so only written.
void CALLBACK OnAskName(HWND, int count, LPWSTR buf)
{
    ++seen().calls;
    if (harness::AnsiPath() && buf)
        std::wcslen(buf);
    Put(buf, count, seen().text);
}

// A creation record's title and class, in a window's record or an MDI child's.
template <typename CS> auto& TitleOf(CS& cs)
{
    if constexpr (requires { cs.lpszName; })
        return cs.lpszName;
    else
        return cs.szTitle;
}

template <typename CS> auto& ClassOf(CS& cs)
{
    if constexpr (requires { cs.lpszClass; })
        return cs.lpszClass;
    else
        return cs.szClass;
}

template <typename CS> void ReadCreate(const CS* cs)
{
    if (!cs)
        return;
    if (IsText(TitleOf(*cs)))
        Length(TitleOf(*cs));
    if (IsText(ClassOf(*cs)))
        Length(ClassOf(*cs));
}

LRESULT CALLBACK CreateProc(HWND, UINT msg, WPARAM, LPARAM lParam)
{
    ++seen().calls;
    bool ansi = harness::AnsiPath();
    if (msg == WM_MDICREATE)
        ansi ? ReadCreate(reinterpret_cast<MDICREATESTRUCTA*>(lParam))
             : ReadCreate(reinterpret_cast<MDICREATESTRUCTW*>(lParam));
    else
        ansi ? ReadCreate(reinterpret_cast<CREATESTRUCTA*>(lParam))
             : ReadCreate(reinterpret_cast<CREATESTRUCTW*>(lParam));
    return Answer;
}

BOOL CALLBACK OnCreate(HWND, LPCREATESTRUCTW cs)
{
    ++seen().calls;
    ReadCreate(cs);
    return TRUE;
}

HWND CALLBACK OnMDICreate(HWND hwnd, LPMDICREATESTRUCTW mcs)
{
    ++seen().calls;
    ReadCreate(mcs);
    return hwnd;
}

// A creation record of either character set with fuzzed strings; the class is
// sometimes an atom.
template <typename CS, typename C> CS* CreateRecord(Fuzz& f)
{
    auto str = [&] {
        if constexpr (sizeof(C) == 1)
            return AnsiStr(f, Fuzz::NullOk);
        else
            return f.Str(Fuzz::NullOk);
    };
    CS* cs = f.Out<CS>(1);
    std::memset(cs, 0, sizeof *cs);
    TitleOf(*cs) = str();
    ClassOf(*cs) = f.Pick(4) ? str() : reinterpret_cast<const C*>(0xC123);
    if constexpr (requires { cs->lpCreateParams; })
        cs->lpCreateParams = cs;
    return cs;
}

// ---- notifications

// The notification records of the wide (true) or the ANSI character set.
template <bool Wide> struct Records {
    template <typename W, typename A> using Of = std::conditional_t<Wide, W, A>;
    using C = Of<WCHAR, char>;
    using List = Of<NMLVDISPINFOW, NMLVDISPINFOA>;
    using Tree = Of<NMTVDISPINFOW, NMTVDISPINFOA>;
    using TreeView = Of<NMTREEVIEWW, NMTREEVIEWA>;
    using Header = Of<NMHEADERW, NMHEADERA>;
    using HeaderItem = Of<HDITEMW, HDITEMA>;
    using HeaderInfo = Of<NMHDDISPINFOW, NMHDDISPINFOA>;
    using Tip = Of<NMTTDISPINFOW, NMTTDISPINFOA>;
    using Button = Of<NMTOOLBARW, NMTOOLBARA>;
};

// The record each notification carries; Item: an item with text the receiver may
// read or fill; Moved: tree-view pointers that travel unconverted; HeaderChange: a
// header item whose text the receiver may read.
enum class Kind {
    List,
    Tree,
    TreeMoved,
    TreeSet,
    HeaderChange,
    HeaderClick,
    HeaderInfo,
    Tip,
    Button,
    Other
};

struct Notice {
    UINT w, a;
    Kind kind;
};

const Notice notices[] = {
    { LVN_BEGINLABELEDITW, LVN_BEGINLABELEDITA, Kind::List },
    { LVN_ENDLABELEDITW, LVN_ENDLABELEDITA, Kind::List },
    { LVN_GETDISPINFOW, LVN_GETDISPINFOA, Kind::List },
    { LVN_SETDISPINFOW, LVN_SETDISPINFOA, Kind::List },
    { HDN_ITEMCHANGINGW, HDN_ITEMCHANGINGA, Kind::HeaderChange },
    { HDN_ITEMCHANGEDW, HDN_ITEMCHANGEDA, Kind::HeaderChange },
    { HDN_ITEMCLICKW, HDN_ITEMCLICKA, Kind::HeaderClick },
    { HDN_DIVIDERDBLCLICKW, HDN_DIVIDERDBLCLICKA, Kind::HeaderChange },
    { HDN_TRACKW, HDN_TRACKA, Kind::HeaderChange },
    { HDN_GETDISPINFOW, HDN_GETDISPINFOA, Kind::HeaderInfo },
    { TVN_SELCHANGEDW, TVN_SELCHANGEDA, Kind::TreeMoved },
    { TVN_ITEMEXPANDINGW, TVN_ITEMEXPANDINGA, Kind::TreeMoved },
    { TVN_DELETEITEMW, TVN_DELETEITEMA, Kind::TreeMoved },
    { TVN_GETDISPINFOW, TVN_GETDISPINFOA, Kind::Tree },
    { TVN_SETDISPINFOW, TVN_SETDISPINFOA, Kind::TreeSet },
    { TVN_BEGINLABELEDITW, TVN_BEGINLABELEDITA, Kind::Tree },
    { TVN_ENDLABELEDITW, TVN_ENDLABELEDITA, Kind::Tree },
    { TTN_NEEDTEXTW, TTN_NEEDTEXTA, Kind::Tip },
    { TBN_GETBUTTONINFOW, TBN_GETBUTTONINFOA, Kind::Button },
    { UINT(NM_CLICK), UINT(NM_CLICK), Kind::Other },
};

Kind KindOf(UINT code)
{
    for (const Notice& n : notices)
        if (n.w == code || n.a == code)
            return n.kind;
    return Kind::Other;
}

// A text buffer of `count` elements ending at a no-access page, holding as much of
// a fuzzed text as fits; a buffer of no elements still holds its NUL, as a control's
// text always ends.
template <typename C> C* TextBuffer(Fuzz& f, int count)
{
    C* buf = f.Out<C>(std::max(count, 1));
    LPCWSTR s = f.Str();
    Put(buf, std::max(count, 1), InSet<C>(s));
    return buf;
}

// The sender's record for `code`, as a control (or a wide window) makes it: every
// text buffer of the size its count states, the record itself ending at a
// no-access page.
template <bool Wide> NMHDR* Notification(Fuzz& f, const Notice& notice)
{
    using R = Records<Wide>;
    using C = typename R::C;
    UINT code = Wide ? notice.w : notice.a;
    auto header = [&](NMHDR& h) {
        h.hwndFrom = F().own;
        h.idFrom = 7;
        h.code = code;
    };
    auto record = [&](auto* r) {
        std::memset(r, 0, sizeof *r);
        header(r->hdr);
        return r;
    };
    int count = f.Count(8);
    auto text = [&](auto& item, UINT textBit) {
        item.mask = f.Pick(3) ? textBit : 0;
        item.cchTextMax = count;
        int form = f.Pick(4);
        item.pszText = form == 0 ? nullptr
            : form == 1          ? reinterpret_cast<C*>(LPSTR_TEXTCALLBACKA)
                                 : TextBuffer<C>(f, count);
    };
    switch (notice.kind) {
    case Kind::List: {
        auto* r = record(f.Out<typename R::List>(1));
        text(r->item, LVIF_TEXT);
        return &r->hdr;
    }
    case Kind::Tree:
    case Kind::TreeSet: {
        auto* r = record(f.Out<typename R::Tree>(1));
        text(r->item, TVIF_TEXT);
        return &r->hdr;
    }
    case Kind::TreeMoved: {
        auto* r = record(f.Out<typename R::TreeView>(1));
        r->itemNew.pszText = TextBuffer<C>(f, count);
        r->itemOld.pszText = TextBuffer<C>(f, count);
        return &r->hdr;
    }
    case Kind::HeaderChange:
    case Kind::HeaderClick: {
        auto* r = record(f.Out<typename R::Header>(1));
        if (f.Pick(4)) {
            auto* item = f.Out<typename R::HeaderItem>(1);
            std::memset(item, 0, sizeof *item);
            text(*item, HDI_TEXT);
            r->pitem = item;
        }
        return &r->hdr;
    }
    case Kind::HeaderInfo: {
        auto* r = record(f.Out<typename R::HeaderInfo>(1));
        text(*r, HDI_TEXT);
        return &r->hdr;
    }
    case Kind::Tip: {
        auto* r = record(f.Out<typename R::Tip>(1));
        // The whole of szText, terminated or not.
        std::basic_string<C> s = InSet<C>(f.Str());
        for (int i = 0; i < 80; ++i)
            r->szText[i] = s.empty() ? C('x') : s[i % s.size()];
        if (f.Pick(2))
            r->szText[f.Pick(80)] = 0;
        r->lpszText = f.Pick(2) ? r->szText : nullptr;
        r->hinst = f.Pick(2) ? Instance() : nullptr;
        return &r->hdr;
    }
    case Kind::Button: {
        auto* r = record(f.Out<typename R::Button>(1));
        r->cchText = count;
        r->pszText = TextBuffer<C>(f, count);
        return &r->hdr;
    }
    case Kind::Other:
        break;
    }
    NMHDR* h = f.Out<NMHDR>(1);
    header(*h);
    return h;
}

// The receiver, as a window of that character set answers: it reads the text it
// was given and, as seen().reply says, fills the buffer, points the text at a
// string of its own, or (a tooltip's owner) answers with a string resource.
template <bool Wide> LRESULT Receive(HWND hwnd, NMHDR* h)
{
    using R = Records<Wide>;
    using C = typename R::C;
    ++seen().calls;
    static std::basic_string<C> own;
    own = InSet<C>(seen().text);
    int reply = seen().reply;
    auto item = [&](auto& it, UINT textBit) {
        if (!(it.mask & textBit) || !IsText(it.pszText))
            return;
        Length(it.pszText);
        if (reply == 1)
            Put(it.pszText, it.cchTextMax, own);
        else if (reply == 2)
            it.pszText = own.data();
    };
    switch (KindOf(h->code)) {
    case Kind::List:
        item(reinterpret_cast<typename R::List*>(h)->item, LVIF_TEXT);
        break;
    case Kind::Tree:
        item(reinterpret_cast<typename R::Tree*>(h)->item, TVIF_TEXT);
        break;
    case Kind::HeaderChange: {
        auto* it = reinterpret_cast<typename R::Header*>(h)->pitem;
        if (it && (it->mask & HDI_TEXT) && IsText(it->pszText))
            Length(it->pszText);
        break;
    }
    case Kind::HeaderInfo:
        item(*reinterpret_cast<typename R::HeaderInfo*>(h), HDI_TEXT);
        break;
    case Kind::Button: {
        auto* r = reinterpret_cast<typename R::Button*>(h);
        if (reply == 1)
            Put(r->pszText, r->cchText, own);
        else if (reply == 2)
            r->pszText = own.data();
        break;
    }
    case Kind::Tip: {
        auto* r = reinterpret_cast<typename R::Tip*>(h);
        if (reply == 1) {
            Put(r->szText, 80, own);
        } else if (reply == 2) {
            r->lpszText = own.data();
        } else if (reply == 3) {
            r->hinst = reinterpret_cast<HINSTANCE>(GetWindowLongA(hwnd, GWL_HINSTANCE));
            r->lpszText = reinterpret_cast<C*>(MAKEINTRESOURCE(1));
        }
        break;
    }
    default: // pointers that travel unconverted are not read
        break;
    }
    return Answer;
}

LRESULT CALLBACK NotifyProc(HWND hwnd, UINT, WPARAM, LPARAM lParam)
{
    NMHDR* h = reinterpret_cast<NMHDR*>(lParam);
    return harness::AnsiPath() ? Receive<false>(hwnd, h) : Receive<true>(hwnd, h);
}

LRESULT CALLBACK OnNotify(HWND hwnd, int, NMHDR* h)
{
    return Receive<true>(hwnd, h);
}

// The valid call's record: a list view asking for an item's text.
template <typename List, typename C> List DispInfo(C* buf, int count, UINT code)
{
    List r = {};
    r.hdr = { F().own, 7, code };
    r.item.mask = LVIF_TEXT;
    r.item.pszText = buf;
    r.item.cchTextMax = count;
    return r;
}

// ---- shapes of rows

// A row with its call last, which keeps the table's short rows on one line.
Row Call(const char* name, Result failure, Error error, std::function<Result()> call)
{
    return Row(name, std::move(call), failure, error);
}

Row Call(const char* name, Result failure, std::function<Result()> call)
{
    return Row(name, std::move(call), failure);
}

// The valid calls' buffer, empty.
WCHAR* Scratch()
{
    static WCHAR buf[MAX_PATH];
    buf[0] = 0;
    return buf;
}

void Destroy(Result window)
{
    DestroyWindow(HWND(window));
}

// The resource DLL's dialog template.
const DLGTEMPLATE* ControlsTemplate()
{
    HRSRC found = FindResourceA(F().resources, "CONTROLS", MAKEINTRESOURCEA(5));
    return static_cast<const DLGTEMPLATE*>(LockResource(LoadResource(F().resources, found)));
}

// What the translators' procedures and handlers give back, and how they answer.
void Script(const std::wstring& text, int reply)
{
    seen().text = text;
    seen().reply = reply;
}

void Script(Fuzz& f)
{
    seen().text = f.Str();
    seen().reply = f.Pick(4);
}

// A character forwarder's row: the character goes to the procedure, and a trail
// byte posted to the target window is taken off its queue again.
Row CharForwarder(const char* name, void(WINAPI* forward)(HWND, WCHAR, int, WNDPROC))
{
    return Row::Void(
        name,
        [forward] {
            seen().calls = 0;
            WCHAR ch = harness::CodePage() == 932 ? 0x672C : 0x00E9; // 本 96 7B
            forward(F().target, ch, 1, ForwardProc);
        },
        Error::AsLeft)
        .Ok(Called)
        .Undo([](Result) { Drain(F().target, WM_CHAR, WM_CHAR); })
        .WorksWhenMissing()
        .Fuzz([forward](Fuzz& f) {
            LPCWSTR s = f.Str();
            WCHAR ch = f.Pick(2) ? s[0] : WCHAR(f.Pick(0x10000));
            forward(F().target, ch, f.Pick(3) - 1, ForwardProc);
            Drain(F().target, WM_CHAR, WM_CHAR);
        });
}

Row CharHandler(const char* name, LRESULT(WINAPI* handle)(HWND, WPARAM, LPARAM, AtCharHandlerW))
{
    return Call(
        name, 0, Error::AsLeft, Counted([handle] { return R(handle(F().target, 'a', 1, OnChar)); }))
        .Ok(CalledAndZero)
        .WorksWhenMissing()
        .Fuzz([handle](Fuzz& f) {
            // Sometimes a byte waits in the queue (none Wine would hold back as a
            // lead byte).
            if (f.Pick(2))
                PostMessageA(F().target, WM_CHAR, f.Pick(0x80), 1);
            handle(F().target, WPARAM(f.Pick(0x10000)), f.Pick(0x20000), OnChar);
            Drain(F().target, WM_CHAR, WM_CHAR);
        });
}

Row StringForwarder(const char* name, void(WINAPI* forward)(HWND, LPCWSTR, WNDPROC))
{
    return Row::Void(
        name,
        [forward] {
            seen().calls = 0;
            forward(F().target, F().ownTitle.c_str(), ForwardProc);
        },
        Error::AsLeft)
        .Ok(Called)
        .WorksWhenMissing()
        .Fuzz([forward](Fuzz& f) { forward(F().target, f.Str(Fuzz::NullOk), ForwardProc); });
}

Row StringHandler(const char* name, LRESULT(WINAPI* handle)(HWND, WPARAM, LPARAM, AtTextHandlerW))
{
    return Call(name, 0, Error::AsLeft, Counted([handle] {
        static const std::string a = Narrow(F().ownTitle);
        LPARAM text = harness::AnsiPath() ? reinterpret_cast<LPARAM>(a.c_str())
                                          : reinterpret_cast<LPARAM>(F().ownTitle.c_str());
        return R(handle(F().target, 0, text, OnText));
    }))
        .Ok(CalledAndZero)
        .WorksWhenMissing()
        .Fuzz([handle](Fuzz& f) { handle(F().target, 0, PathStr(f, Fuzz::NullOk), OnText); });
}

// A creation message forwarded with a record that names its class (by name or
// atom); fuzzed, a record of fuzzed strings, or none.
template <typename CS>
Row CreateForwarder(
    const char* name, LRESULT(WINAPI* forward)(HWND, CS*, WNDPROC), LPCWSTR (*cls)())
{
    return Call(name, 0, Error::AsLeft, Counted([=] {
        CS cs = {};
        TitleOf(cs) = L"sweep";
        ClassOf(cs) = cls();
        return R(forward(F().target, &cs, CreateProc));
    }))
        .WorksWhenMissing()
        .Fuzz([=](Fuzz& f) {
            CS* cs = f.Pick(8) ? CreateRecord<CS, WCHAR>(f) : nullptr;
            forward(F().target, cs, CreateProc);
        });
}

// A creation message handled: the record arrives in the running path's character
// set.
template <typename CSA, typename CSW, typename Handler>
Row CreateHandler(const char* name, LRESULT(WINAPI* handle)(HWND, WPARAM, LPARAM, Handler),
    Handler on, Result failure, LPCSTR (*classA)(), LPCWSTR (*classW)())
{
    return Call(name, failure, Error::AsLeft, Counted([=] {
        CSA a = {};
        TitleOf(a) = "sweep";
        ClassOf(a) = classA();
        CSW w = {};
        TitleOf(w) = L"sweep";
        ClassOf(w) = classW();
        LPARAM record = harness::AnsiPath() ? LPARAM(&a) : LPARAM(&w);
        return R(handle(F().target, 0, record, on));
    }))
        .WorksWhenMissing()
        .Fuzz([=](Fuzz& f) {
            LPARAM record = !f.Pick(8) ? 0
                : harness::AnsiPath()  ? LPARAM(CreateRecord<CSA, char>(f))
                                       : LPARAM(CreateRecord<CSW, WCHAR>(f));
            handle(F().target, 0, record, on);
        });
}

// Runs a translator's fuzzed call with torwen's blocks ending at no-access pages:
// the procedures and handlers write into them.
template <typename F> std::function<void(Fuzz&)> Guarded(F fuzz)
{
    return [fuzz](Fuzz& f) {
        harness::GuardedHeapBlocks guard;
        fuzz(f);
    };
}

} // namespace

std::vector<Row> WindowRows()
{
    return {
        // ---- classes
        Call("RegisterClassExW", 0,
            [] {
                WNDCLASSEXW wc = ClassRecord();
                wc.lpszClassName = L"torwen sweep registered";
                wc.lpszMenuName = L"sweep menu";
                return R(RegisterClassExW(&wc));
            })
            .Undo([](Result atom) { UnregisterClassA(Atom(atom), Instance()); })
            .Fuzz([](Fuzz& f) {
                WNDCLASSEXW wc = ClassRecord();
                wc.lpszClassName = ClassName(f.Str());
                wc.lpszMenuName = f.Str(Fuzz::NullOk);
                if (ATOM atom = RegisterClassExW(&wc))
                    UnregisterClassA(Atom(atom), Instance());
            }),
        Call("GetClassInfoExW", FALSE,
            [] {
                WNDCLASSEXW wc = ClassRecord();
                return R(GetClassInfoExW(Instance(), F().className.c_str(), &wc));
            })
            .Fuzz([](Fuzz& f) {
                auto* wc = f.Out<WNDCLASSEXW>(1);
                wc->cbSize = f.Pick(4) ? sizeof *wc : sizeof(WNDCLASSW);
                GetClassInfoExW(Instance(), ClassName(f.Str()), wc);
            }),
        Call("UnregisterClassW", FALSE,
            [] {
                WNDCLASSA wc = {};
                wc.lpfnWndProc = DefWindowProcA;
                wc.hInstance = Instance();
                wc.lpszClassName = "torwen sweep unregistered";
                RegisterClassA(&wc);
                return R(UnregisterClassW(L"torwen sweep unregistered", Instance()));
            })
            .Fuzz([](Fuzz& f) { UnregisterClassW(ClassName(f.Str()), Instance()); }),
        Call("GetClassLongW", 0, [] { return R(GetClassLongW(F().own, GCL_STYLE)); }),
        Call("SetClassLongW", 0, [] { return R(SetClassLongW(F().own, GCL_STYLE, CS_DBLCLKS)); }),
        Call("GetClassNameW", 0, [] { return R(GetClassNameW(F().own, Scratch(), 64)); })
            .Ok([](Result r) { return r == Result(F().className.size()); })
            .Fuzz([](Fuzz& f) {
                int count = f.Count(int(F().className.size()));
                WCHAR* buf = f.Out<WCHAR>(count);
                CheckCopy(GetClassNameW(F().own, buf, count), count, buf);
            }),
        Call("RegisterWindowMessageW", 0, Error::AsLeft,
            [] { return R(RegisterWindowMessageW(L"torwen sweep message")); })
            .Fuzz([](Fuzz& f) { RegisterWindowMessageW(f.Str()); }),
        Call("RegisterClipboardFormatW", 0,
            [] { return R(RegisterClipboardFormatW(L"torwen sweep format")); })
            .Fuzz([](Fuzz& f) { RegisterClipboardFormatW(f.Str()); }),

        // ---- windows and dialogs
        Call("GetWindowLongW", 0, [] { return R(GetWindowLongW(F().own, GWL_STYLE)); }),
        Call("SetWindowLongW", 0, [] { return R(SetWindowLongW(F().own, 0, 0x1234)); }).Ok(0x1234),
        Call("CreateWindowExW", 0, Error::AsLeft,
            [] {
                return R(CreateWindowExW(0, F().className.c_str(), L"sweep", 0, 0, 0, 10, 10,
                    nullptr, nullptr, Instance(), nullptr));
            })
            .Undo(Destroy)
            .Fuzz([](Fuzz& f) {
                LPCWSTR name = f.Pick(2) ? F().className.c_str() : f.Str();
                if (HWND w = CreateWindowExW(0, name, f.Str(Fuzz::NullOk), 0, 0, 0, 10, 10, nullptr,
                        nullptr, Instance(), nullptr))
                    DestroyWindow(w);
            }),
        Call("CreateMDIWindowW", 0, Error::AsLeft,
            [] {
                return R(CreateMDIWindowW(F().childClassName.c_str(), L"sweep", 0, 0, 0, 50, 50,
                    F().client, Instance(), 0));
            })
            .Undo([](Result w) { SendMessageA(F().client, WM_MDIDESTROY, WPARAM(w), 0); })
            .Fuzz([](Fuzz& f) {
                // Wine's MDI client now and then faults in its own callbacks after some
                // hundreds of creations among the other rows' calls: the fuzzed names go
                // to a call without a client, which the system refuses after torwen
                // has converted them.
                CreateMDIWindowW(f.Pick(2) ? F().childClassName.c_str() : f.Str(),
                    f.Str(Fuzz::NullOk), 0, 0, 0, 50, 50, nullptr, Instance(), 0);
            }),
        Call("CreateDialogParamW", 0, Error::AsLeft,
            [] {
                return R(
                    CreateDialogParamW(F().resources, L"CONTROLS", nullptr, QuietDialogProc, 0));
            })
            .Undo(Destroy)
            .Fuzz([](Fuzz& f) {
                if (HWND w
                    = CreateDialogParamW(F().resources, f.Str(), nullptr, QuietDialogProc, 0))
                    DestroyWindow(w);
            }),
        Call("CreateDialogIndirectParamW", 0,
            [] {
                return R(CreateDialogIndirectParamW(
                    F().resources, ControlsTemplate(), nullptr, QuietDialogProc, 0));
            })
            .Undo(Destroy),
        // A valid call answers 1; a failed conversion answers 0, an absent function -1.
        Call("DialogBoxParamW", 0, Error::AsLeft,
            [] {
                return R(DialogBoxParamW(F().resources, L"CONTROLS", nullptr, EndingDialogProc, 0));
            })
            .Ok(1)
            .WhenMissing(-1)
            .Fuzz([](Fuzz& f) {
                DialogBoxParamW(F().resources, f.Str(), nullptr, EndingDialogProc, 0);
            }),
        Call("DialogBoxIndirectParamW", -1,
            [] {
                return R(DialogBoxIndirectParamW(
                    F().resources, ControlsTemplate(), nullptr, EndingDialogProc, 0));
            })
            .Ok(1),
        Call("FindWindowW", 0,
            [] { return R(FindWindowW(F().className.c_str(), F().ownTitle.c_str())); })
            .Ok([](Result r) { return HWND(r) == F().own; })
            .Fuzz([](Fuzz& f) { FindWindowW(f.Str(Fuzz::NullOk), f.Str(Fuzz::NullOk)); }),
        Call("FindWindowExW", 0,
            [] {
                return R(
                    FindWindowExW(nullptr, nullptr, F().className.c_str(), F().ownTitle.c_str()));
            })
            .Ok([](Result r) { return HWND(r) == F().own; })
            .Fuzz([](Fuzz& f) {
                FindWindowExW(f.Pick(2) ? F().client : nullptr, nullptr, f.Str(Fuzz::NullOk),
                    f.Str(Fuzz::NullOk));
            }),
        Call("GetWindowTextW", 0, [] { return R(GetWindowTextW(F().own, Scratch(), 64)); })
            .Ok([](Result r) { return r == Result(F().ownTitle.size()); })
            .Fuzz([](Fuzz& f) {
                LPCWSTR text = f.Str();
                SetWindowTextA(F().target, Narrow(text).c_str());
                int count = f.Count(f.Len(text));
                WCHAR* buf = f.Out<WCHAR>(count);
                CheckCopy(GetWindowTextW(F().target, buf, count), count, buf);
            }),
        Call("GetWindowTextLengthW", 0, [] { return R(GetWindowTextLengthW(F().own)); }),
        Call("SetWindowTextW", FALSE, [] { return R(SetWindowTextW(F().target, L"sweep")); })
            .Fuzz([](Fuzz& f) { SetWindowTextW(F().target, f.Str(Fuzz::NullOk)); }),
        Call("GetPropW", 0, Error::AsLeft, [] { return R(GetPropW(F().own, L"sweep")); })
            .Ok(Answer)
            .Fuzz([](Fuzz& f) { GetPropW(F().own, f.Str()); }),
        Call("SetPropW", FALSE, Error::AsLeft,
            [] { return R(SetPropW(F().target, L"sweep set", HANDLE(Answer))); })
            .Undo([](Result) { RemovePropA(F().target, "sweep set"); })
            .Fuzz([](Fuzz& f) {
                LPCWSTR name = f.Str();
                if (SetPropW(F().target, name, HANDLE(Answer)))
                    RemovePropA(F().target, Narrow(name).c_str());
            }),
        Call("RemovePropW", 0, Error::AsLeft,
            [] {
                SetPropA(F().target, "sweep removed", HANDLE(Answer));
                return R(RemovePropW(F().target, L"sweep removed"));
            })
            .Ok(Answer)
            .Fuzz([](Fuzz& f) { RemovePropW(F().target, f.Str()); }),

        // ---- window procedures and messages
        Call("CallWindowProcW", 0,
            [] { return R(CallWindowProcW(OwnProc, F().own, AnswerMessage, 0, 0)); })
            .Ok(Answer),
        Call(
            "DefWindowProcW", 0, [] { return R(DefWindowProcW(F().own, WM_GETTEXTLENGTH, 0, 0)); }),
        Call("DefDlgProcW", 0, [] { return R(DefDlgProcW(F().dialog, WM_GETTEXTLENGTH, 0, 0)); }),
        Call("DefFrameProcW", 0,
            [] { return R(DefFrameProcW(F().frame, F().client, WM_GETTEXTLENGTH, 0, 0)); }),
        Call("DefMDIChildProcW", 0,
            [] { return R(DefMDIChildProcW(F().child, WM_GETTEXTLENGTH, 0, 0)); }),
        Call("SendMessageW", 0, [] { return R(SendMessageW(F().own, AnswerMessage, 0, 0)); })
            .Ok(Answer),
        Call("SendMessageCallbackW", FALSE,
            [] { return R(SendMessageCallbackW(F().own, WM_NULL, 0, 0, NoCallback, 0)); }),
        Call("SendMessageTimeoutW", 0,
            [] {
                DWORD_PTR answer = 0;
                return R(
                    SendMessageTimeoutW(F().own, AnswerMessage, 0, 0, SMTO_NORMAL, 1000, &answer));
            }),
        Call("SendNotifyMessageW", FALSE,
            [] { return R(SendNotifyMessageW(F().own, WM_NULL, 0, 0)); }),
        Call("SendDlgItemMessageW", 0,
            [] { return R(SendDlgItemMessageW(F().dialog, 11, WM_GETTEXTLENGTH, 0, 0)); }),
        Call("PostMessageW", FALSE, [] { return R(PostMessageW(F().own, WM_APP + 1, 0, 0)); })
            .Undo([](Result) { Drain(F().own, WM_APP + 1, WM_APP + 1); }),
        Call("PostThreadMessageW", FALSE,
            [] { return R(PostThreadMessageW(GetCurrentThreadId(), WM_APP + 2, 0, 0)); })
            .Undo([](Result) { Drain(nullptr, WM_APP + 2, WM_APP + 2); }),
        // A message waits first, so that the call does not block.
        Call("GetMessageW", -1,
            [] {
                Drain(F().own, WM_APP + 3, WM_APP + 3);
                PostMessageA(F().own, WM_APP + 3, 0, 0);
                MSG msg;
                return R(GetMessageW(&msg, F().own, WM_APP + 3, WM_APP + 3));
            }),
        Call("PeekMessageW", FALSE,
            [] {
                Drain(F().own, WM_APP + 4, WM_APP + 4);
                PostMessageA(F().own, WM_APP + 4, 0, 0);
                MSG msg;
                return R(PeekMessageW(&msg, F().own, WM_APP + 4, WM_APP + 4, PM_REMOVE));
            }),
        Call("DispatchMessageW", 0,
            [] {
                MSG msg = { F().own, AnswerMessage };
                return R(DispatchMessageW(&msg));
            })
            .Ok(Answer),
        Call("IsDialogMessageW", FALSE,
            [] {
                MSG msg = { F().dialog, WM_NULL };
                return R(IsDialogMessageW(F().dialog, &msg));
            }),
        Call("TranslateAcceleratorW", 0,
            [] {
                MSG msg = { F().own, WM_KEYDOWN, VK_F5, 0x003F0001 };
                return R(TranslateAcceleratorW(F().own, F().accel, &msg));
            }),
        Call("CallMsgFilterW", FALSE,
            [] {
                MSG msg = { F().own, WM_NULL };
                return R(CallMsgFilterW(&msg, FilterCode));
            }),
        Call("SetWindowsHookExW", 0,
            [] {
                return R(
                    SetWindowsHookExW(WH_MSGFILTER, FilterProc, nullptr, GetCurrentThreadId()));
            })
            .Undo([](Result hook) { UnhookWindowsHookEx(HHOOK(hook)); }),

        // ---- characters and text
        CharForwarder("AtFORWARD_WM_CHARW", AtFORWARD_WM_CHARW),
        CharForwarder("AtFORWARD_WM_DEADCHARW", AtFORWARD_WM_DEADCHARW),
        CharForwarder("AtFORWARD_WM_SYSCHARW", AtFORWARD_WM_SYSCHARW),
        CharForwarder("AtFORWARD_WM_SYSDEADCHARW", AtFORWARD_WM_SYSDEADCHARW),
        CharHandler("AtHANDLE_WM_CHARW", AtHANDLE_WM_CHARW),
        CharHandler("AtHANDLE_WM_DEADCHARW", AtHANDLE_WM_DEADCHARW),
        CharHandler("AtHANDLE_WM_SYSCHARW", AtHANDLE_WM_SYSCHARW),
        CharHandler("AtHANDLE_WM_SYSDEADCHARW", AtHANDLE_WM_SYSDEADCHARW),
        StringForwarder("AtFORWARD_WM_SETTEXTW", AtFORWARD_WM_SETTEXTW),
        StringForwarder("AtFORWARD_WM_WININICHANGEW", AtFORWARD_WM_WININICHANGEW),
        StringForwarder("AtFORWARD_WM_DEVMODECHANGEW", AtFORWARD_WM_DEVMODECHANGEW),
        StringHandler("AtHANDLE_WM_SETTEXTW", AtHANDLE_WM_SETTEXTW),
        StringHandler("AtHANDLE_WM_WININICHANGEW", AtHANDLE_WM_WININICHANGEW),
        StringHandler("AtHANDLE_WM_DEVMODECHANGEW", AtHANDLE_WM_DEVMODECHANGEW),
        Call("AtFORWARD_WM_GETTEXTW", 0, Error::AsLeft,
            [] {
                Script(F().ownTitle, 0);
                return R(AtFORWARD_WM_GETTEXTW(F().target, 64, Scratch(), ForwardProc));
            })
            .Ok([](Result r) { return r == Result(F().ownTitle.size()); })
            .WorksWhenMissing()
            .Fuzz(Guarded([](Fuzz& f) {
                Script(f);
                int count = f.Count(int(seen().text.size()));
                WCHAR* buf = f.Out<WCHAR>(count);
                CheckAnswer(AtFORWARD_WM_GETTEXTW(F().target, count, buf, ForwardProc), count, buf);
            })),
        // The buffer has as many bytes as the ANSI path needs.
        Call("AtHANDLE_WM_GETTEXTW", 0, Error::AsLeft, Counted([] {
            Script(F().ownTitle, 0);
            return R(AtHANDLE_WM_GETTEXTW(F().target, 64, LPARAM(Scratch()), OnGetText));
        }))
            .WorksWhenMissing()
            .Fuzz(Guarded([](Fuzz& f) {
                Script(f);
                int count = f.Count(int(seen().text.size()) * (harness::AnsiPath() ? 2 : 1));
                auto get = [&](auto* buf) {
                    CheckAnswer(AtHANDLE_WM_GETTEXTW(F().target, count, LPARAM(buf), OnGetText),
                        count, buf);
                };
                harness::AnsiPath() ? get(f.Out<char>(count)) : get(f.Out<WCHAR>(count));
            })),
        Row::Void(
            "AtFORWARD_WM_ASKCBFORMATNAMEW",
            [] {
                seen().calls = 0;
                Script(L"sweep format", 0);
                AtFORWARD_WM_ASKCBFORMATNAMEW(F().target, 64, Scratch(), ForwardProc);
            },
            Error::AsLeft)
            .Ok(Called)
            .WorksWhenMissing()
            .Fuzz(Guarded([](Fuzz& f) {
                Script(f);
                int count = f.Count(int(seen().text.size()));
                AtFORWARD_WM_ASKCBFORMATNAMEW(F().target, count, f.Out<WCHAR>(count), ForwardProc);
            })),
        // The message's buffer holds what it held when it arrived: on the ANSI path
        // it may be unterminated within its stated size.
        Call("AtHANDLE_WM_ASKCBFORMATNAMEW", 0, Error::AsLeft, Counted([] {
            Script(L"sweep format", 0);
            return R(AtHANDLE_WM_ASKCBFORMATNAMEW(F().target, 64, LPARAM(Scratch()), OnAskName));
        }))
            .Ok(CalledAndZero)
            .WorksWhenMissing()
            .Fuzz(Guarded([](Fuzz& f) {
                Script(f);
                int count = f.Count(8);
                LPARAM buf;
                if (harness::AnsiPath()) {
                    char* a = f.Out<char>(count);
                    std::string text = Narrow(f.Str());
                    std::memcpy(a, text.data(), std::min<std::size_t>(count, text.size()));
                    buf = LPARAM(f.Pick(8) ? a : nullptr);
                } else {
                    buf = LPARAM(f.Out<WCHAR>(count));
                }
                AtHANDLE_WM_ASKCBFORMATNAMEW(F().target, count, buf, OnAskName);
            })),

        // ---- creation records
        CreateForwarder(
            "AtFORWARD_WM_CREATEW", AtFORWARD_WM_CREATEW, [] { return F().className.c_str(); }),
        CreateForwarder(
            "AtFORWARD_WM_NCCREATEW", AtFORWARD_WM_NCCREATEW, [] { return AtomW(0xC123); }),
        CreateForwarder("AtFORWARD_WM_MDICREATEW", AtFORWARD_WM_MDICREATEW,
            [] { return F().childClassName.c_str(); }),
        CreateHandler<CREATESTRUCTA, CREATESTRUCTW>(
            "AtHANDLE_WM_CREATEW", AtHANDLE_WM_CREATEW, AtCreateHandlerW(OnCreate), -1,
            [] { return F().classA.c_str(); }, [] { return F().className.c_str(); })
            .Ok(0),
        CreateHandler<CREATESTRUCTA, CREATESTRUCTW>(
            "AtHANDLE_WM_NCCREATEW", AtHANDLE_WM_NCCREATEW, AtCreateHandlerW(OnCreate), 0,
            [] { return Atom(0xC123); }, [] { return AtomW(0xC123); })
            .Ok(1),
        CreateHandler<MDICREATESTRUCTA, MDICREATESTRUCTW>(
            "AtHANDLE_WM_MDICREATEW", AtHANDLE_WM_MDICREATEW, AtMDICreateHandlerW(OnMDICreate), 0,
            [] { return F().childClassA.c_str(); }, [] { return F().childClassName.c_str(); })
            .Ok([](Result r) { return HWND(r) == F().target; }),

        // ---- notifications
        Call("AtFORWARD_WM_NOTIFYW", 0, Error::AsLeft, Counted([] {
            Script(L"sweep item", 1);
            NMLVDISPINFOW r = DispInfo<NMLVDISPINFOW>(Scratch(), 64, LVN_GETDISPINFOW);
            return R(AtFORWARD_WM_NOTIFYW(F().target, 7, &r.hdr, NotifyProc));
        }))
            .WorksWhenMissing()
            .Fuzz(Guarded([](Fuzz& f) {
                Script(f);
                const Notice& notice = notices[f.Pick(std::size(notices))];
                AtFORWARD_WM_NOTIFYW(F().target, 7, Notification<true>(f, notice), NotifyProc);
            })),
        Call("AtHANDLE_WM_NOTIFYW", 0, Error::AsLeft, Counted([] {
            Script(L"sweep item", 1);
            char a[64] = "";
            NMLVDISPINFOA ra = DispInfo<NMLVDISPINFOA>(a, 64, LVN_GETDISPINFOA);
            NMLVDISPINFOW rw = DispInfo<NMLVDISPINFOW>(Scratch(), 64, LVN_GETDISPINFOW);
            LPARAM record = harness::AnsiPath() ? LPARAM(&ra) : LPARAM(&rw);
            return R(AtHANDLE_WM_NOTIFYW(F().target, 7, record, OnNotify));
        }))
            .WorksWhenMissing()
            .Fuzz(Guarded([](Fuzz& f) {
                Script(f);
                const Notice& notice = notices[f.Pick(std::size(notices))];
                NMHDR* h = harness::AnsiPath() ? Notification<false>(f, notice)
                                               : Notification<true>(f, notice);
                AtHANDLE_WM_NOTIFYW(F().target, 7, LPARAM(h), OnNotify);
            })),
    };
}

} // namespace sweep
