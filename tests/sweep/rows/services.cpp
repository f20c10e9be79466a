#include "sweep/sweep.h"

#include <imm.h>
#include <lmcons.h>
#include <mmsystem.h>
#include <rpc.h>

#include <optional>

#include "torwen.h"

namespace sweep {

namespace {

// A function of the system's own, where the program's name would be torwen's export.
template <typename Fn>
Fn System(const char* dll, const char* name)
{
    return reinterpret_cast<Fn>(reinterpret_cast<void*>(GetProcAddress(LoadLibraryA(dll), name)));
}

void Close(HKEY key)
{
    if (key)
        RegCloseKey(key);
}

// A key a call opens, closed as soon as the call has answered.
struct Opened {
    HKEY key = nullptr;
    ~Opened() { Close(key); }
    operator PHKEY() { return &key; }
};

// ---- the registry

// HKCU\Software\torwen-sweep-services-<process>: the value "value" = "sweep", the
// subkey "child" whose default value is "sweep", and the subkey "fuzz" that takes
// the keys and values of the bad-input sweep. Removed with everything in it at exit.
std::string RegPath()
{
    return "Software\\torwen-sweep-services-" + std::to_string(GetCurrentProcessId());
}

void RemoveRegistry()
{
    using DeleteTree = LONG(WINAPI*)(HKEY, LPCSTR);
    if (auto deleteTree = System<DeleteTree>("advapi32.dll", "RegDeleteTreeA"))
        deleteTree(HKEY_CURRENT_USER, RegPath().c_str());
    RegDeleteKeyA(HKEY_CURRENT_USER, RegPath().c_str());
}

HKEY Reg()
{
    static HKEY key = [] {
        HKEY k = nullptr;
        RegCreateKeyExA(HKEY_CURRENT_USER, RegPath().c_str(), 0, nullptr, 0, KEY_ALL_ACCESS,
                        nullptr, &k, nullptr);
        RegSetValueExA(k, "value", 0, REG_SZ, reinterpret_cast<const BYTE*>("sweep"), 6);
        RegSetValueA(k, "child", REG_SZ, "sweep", 5);
        atexit(RemoveRegistry);
        return k;
    }();
    return key;
}

HKEY FuzzKey()
{
    static HKEY key = [] {
        HKEY k = nullptr;
        RegCreateKeyExA(Reg(), "fuzz", 0, nullptr, 0, KEY_ALL_ACCESS, nullptr, &k, nullptr);
        return k;
    }();
    return key;
}

// HKCU\...\data: values of every shape the system stores, for the readers: text
// with and without its terminator (the non-ASCII text, whose bytes may be
// double-byte characters), a list of strings, an expandable string and bytes.
const char* const DataNames[] = {"text", "bare", "odd", "multi", "expand", "binary"};

HKEY DataKey()
{
    static HKEY key = [] {
        HKEY k = nullptr;
        RegCreateKeyExA(Reg(), "data", 0, nullptr, 0, KEY_ALL_ACCESS, nullptr, &k, nullptr);
        const std::string text = harness::ToAnsi(harness::NonAsciiText());
        auto set = [k](const char* name, DWORD type, const std::string& data) {
            RegSetValueExA(k, name, 0, type, reinterpret_cast<const BYTE*>(data.data()),
                           DWORD(data.size()));
        };
        set("text", REG_SZ, text + '\0');
        set("bare", REG_SZ, "sweep");
        set("odd", REG_SZ, text);
        set("multi", REG_MULTI_SZ, std::string("a\0") + text + std::string(2, '\0'));
        set("expand", REG_EXPAND_SZ, std::string("%TEMP%\0", 7));
        set("binary", REG_BINARY, std::string("\x01\x00\xFF\x82\x00\x00\x41", 7));
        return k;
    }();
    return key;
}

// The registry's functions answer an error code: 14 when torwen's memory runs out.
Row RegRow(std::string name)
{
    return Row(std::move(name), ERROR_OUTOFMEMORY, Error::Code).Ok(ERROR_SUCCESS);
}

// ---- DDE

HDDEDATA CALLBACK Ignore(UINT, UINT, HCONV, HSZ, HSZ, HDDEDATA, ULONG_PTR, ULONG_PTR)
{
    return nullptr;
}

DWORD Dde()
{
    static DWORD instance = [] {
        DWORD i = 0;
        DdeInitializeA(&i, Ignore, APPCMD_CLIENTONLY, 0);
        return i;
    }();
    return instance;
}

// A string handle of the code page's non-ASCII text.
HSZ DdeText()
{
    static HSZ hsz = DdeCreateStringHandleA(Dde(), harness::ToAnsi(harness::NonAsciiText()).c_str(),
                                            CP_WINANSI);
    return hsz;
}

// ---- version information

std::wstring SystemFile()
{
    char dir[MAX_PATH] = "";
    GetSystemDirectoryA(dir, MAX_PATH);
    return harness::FromAnsi(std::string(dir) + "\\kernel32.dll");
}

// kernel32's version block, read by the A function (writable: the ANSI reader
// converts strings into the block's spare room).
LPVOID VersionBlock()
{
    static std::vector<BYTE> block = [] {
        std::string file = harness::ToAnsi(SystemFile());
        std::vector<BYTE> b(GetFileVersionInfoSizeA(file.c_str(), nullptr));
        GetFileVersionInfoA(file.c_str(), 0, DWORD(b.size()), b.data());
        return b;
    }();
    return block.data();
}

// A fuzzed name, but none longer than a path: Wine's VerFindFile, VerInstallFile
// and MCI copy names into MAX_PATH buffers on their stack unchecked, on either path.
LPCWSTR ShortStr(Fuzz& f)
{
    LPCWSTR name = f.Str();
    return f.Len(name) < 100 ? name : L"long name";
}

// ---- input methods

// Wine makes no input context without a display: the calls then answer as the W
// functions do for a keyboard without an input method.
HIMC Context()
{
    static HIMC himc = ImmGetContext(Window());
    return himc;
}

HKL Layout()
{
    return GetKeyboardLayout(0);
}

int CALLBACK CountWords(LPCWSTR, DWORD, LPCWSTR, LPVOID data)
{
    ++*static_cast<int*>(data);
    return 1;
}

// On the ANSI path the rows play the input method themselves, through torwen's view
// of the A functions: what it answers is built from fuzzed text, with attributes,
// clause offsets, positions and list offsets that may point anywhere.
std::string FuzzedAnsi(Fuzz& f)
{
    return harness::ToAnsi(f.Str());
}

DWORD FuzzedOffset(Fuzz& f, DWORD valid, DWORD size)
{
    switch (f.Pick(6)) {
    case 0: return size;
    case 1: return size + 1000;
    case 2: return size ? size - 1 : 0;
    case 3: return 0xFFFFFFF0u;
    default: return valid;
    }
}

// A candidate list of a few fuzzed strings, some of whose offsets are wrong.
std::vector<BYTE> FuzzedCandidateList(Fuzz& f)
{
    std::vector<std::string> strings(f.Pick(4));
    for (std::string& text : strings)
        text = FuzzedAnsi(f);
    DWORD size = DWORD(offsetof(CANDIDATELIST, dwOffset) + 4 * strings.size());
    std::vector<DWORD> offsets;
    for (const std::string& text : strings) {
        offsets.push_back(size);
        size += DWORD(text.size() + 1);
    }
    std::vector<BYTE> list(std::max<DWORD>(size, sizeof(CANDIDATELIST)));
    auto* a = reinterpret_cast<CANDIDATELIST*>(list.data());
    a->dwSize = DWORD(list.size());
    a->dwCount = DWORD(strings.size());
    for (std::size_t i = 0; i < strings.size(); ++i) {
        memcpy(list.data() + offsets[i], strings[i].c_str(), strings[i].size() + 1);
        a->dwOffset[i] = FuzzedOffset(f, offsets[i], DWORD(list.size()));
    }
    return list;
}

// Copies what the played input method answers, as the A functions do: all of it
// into a buffer large enough, the size needed for a size of 0.
LONG Answer(const std::string& data, LPVOID buf, DWORD size)
{
    if (size)
        memcpy(buf, data.data(), std::min<std::size_t>(size, data.size()));
    return LONG(data.size());
}

// A text written into a buffer of n bytes as a careless input method writes it: the
// length for no buffer, else as much as fits, terminated only if there is room.
UINT AnswerText(const std::string& text, LPSTR buf, UINT n)
{
    if (!n)
        return UINT(text.size());
    UINT copied = std::min<UINT>(n, UINT(text.size()));
    memcpy(buf, text.data(), copied);
    if (copied < n)
        buf[copied] = '\0';
    return copied;
}

// A fixed-size name field filled with fuzzed text, unterminated when it is long.
template <typename C, std::size_t N>
void FillName(C (&field)[N], const std::basic_string<C>& text)
{
    std::size_t n = std::min(N, text.size());
    std::copy(text.begin(), text.begin() + n, field);
    if (n < N)
        field[n] = 0;
}

std::string Bytes(const void* p, std::size_t n)
{
    return std::string(static_cast<const char*>(p), n);
}

// A function that writes the input method's text into the caller's n characters,
// over the played text on the ANSI path.
void FuzzTextOut(Fuzz& f, const char* ansiName, UINT(WINAPI* wide)(HKL, LPWSTR, UINT))
{
    std::string text;
    std::optional<harness::Hook<UINT(WINAPI*)(HKL, LPSTR, UINT)>> play;
    if (harness::AnsiPath()) {
        wide(Layout(), nullptr, 0);  // bound before it is played
        text = FuzzedAnsi(f);
        play.emplace(ansiName, [&](HKL, LPSTR buf, UINT n) { return AnswerText(text, buf, n); });
    }
    UINT n = f.Count(8);
    WCHAR* buf = n || f.Pick(2) ? f.Out<WCHAR>(n) : nullptr;  // no buffer asks for the length
    UINT r = wide(Layout(), buf, n);
    if (buf && n) {
        EXPECT_LT(r, n);
    }
}

// A dictionary function: a reading and a word, each null or fuzzed.
template <BOOL(WINAPI* Word)(HKL, LPCWSTR, DWORD, LPCWSTR)>
Row WordRow(const char* name)
{
    return Row(name, FALSE, Error::AsLeft)
        .Call([] { return R(Word(Layout(), L"sweep", IME_REGWORD_STYLE_EUDC, L"sweep")); })
        .AnyResult()  // no dictionary without an input method
        .Fuzz([](Fuzz& f) {
            LPCWSTR reading = f.Str(Fuzz::NullOk);
            Word(Layout(), reading, IME_REGWORD_STYLE_EUDC, f.Str(Fuzz::NullOk));
        });
}

// Whether a text the caller reads back ends within its n characters.
bool Terminated(LPCWSTR text, UINT n)
{
    return std::wstring(text, n).find(L'\0') != std::wstring::npos;
}

// An ANSI copy of a fuzzed string that ends at a no-access page too.
LPCSTR AnsiCopy(Fuzz& f, LPCWSTR s)
{
    std::string a = harness::ToAnsi(s);
    char* p = f.Out<char>(int(a.size() + 1));
    memcpy(p, a.c_str(), a.size() + 1);
    return p;
}

// ---- automation strings and UUIDs

const UUID Sample = {0x12345678, 0x1234, 0x5678, {0x9a, 0xbc, 0xde, 0xf0, 0x12, 0x34, 0x56, 0x78}};

// A string the caller frees with RpcStringFreeW: the system's on the W path, a block
// of the process heap on the ANSI path.
RPC_WSTR StringToFree()
{
    if (harness::AnsiPath()) {
        auto* p = static_cast<WCHAR*>(HeapAlloc(GetProcessHeap(), 0, 8));
        lstrcpyW(p, L"uuid");
        return reinterpret_cast<RPC_WSTR>(p);
    }
    using ToString = RPC_STATUS(RPC_ENTRY*)(UUID*, RPC_WSTR*);
    RPC_WSTR s = nullptr;
    UUID uuid = Sample;
    System<ToString>("rpcrt4.dll", "UuidToStringW")(&uuid, &s);
    return s;
}

// ---- sound

// A short silent sound: 8-bit mono PCM at 8,000 samples a second.
std::wstring Sound()
{
    static const std::wstring path = [] {
        std::string data(16, '\x80');
        auto u32 = [](DWORD v) { return std::string(reinterpret_cast<const char*>(&v), 4); };
        auto u16 = [](WORD v) { return std::string(reinterpret_cast<const char*>(&v), 2); };
        std::string wav = "RIFF" + u32(DWORD(36 + data.size())) + "WAVEfmt " + u32(16) + u16(1) +
                          u16(1) + u32(8000) + u32(8000) + u16(1) + u16(8) + "data" +
                          u32(DWORD(data.size())) + data;
        return MakeFile(L"sound.wav", wav);
    }();
    return path;
}

}  // namespace

std::vector<Row> ServiceRows()
{
    return {
        // ---- the registry
        RegRow("RegCreateKeyExW")
            .Call([] {
                DWORD disposition = 0;
                return R(RegCreateKeyExW(Reg(), L"created", 0, nullptr, 0, KEY_ALL_ACCESS, nullptr,
                                         Opened(), &disposition));
            })
            .Undo([](Result) { RegDeleteKeyA(Reg(), "created"); })
            .Fuzz([](Fuzz& f) {
                LPCWSTR name = f.Str();
                RegCreateKeyExW(FuzzKey(), name, 0, const_cast<LPWSTR>(f.Str(Fuzz::NullOk)),
                                REG_OPTION_VOLATILE, KEY_ALL_ACCESS, nullptr, Opened(), nullptr);
            }),
        RegRow("RegOpenKeyExW")
            .Call([] { return R(RegOpenKeyExW(Reg(), L"child", 0, KEY_READ, Opened())); })
            .Fuzz([](Fuzz& f) {
                RegOpenKeyExW(Reg(), f.Str(Fuzz::NullOk), 0, KEY_READ, Opened());
            }),
        RegRow("RegDeleteKeyW")
            .Call([] {
                RegCreateKeyA(Reg(), "doomed", Opened());
                return R(RegDeleteKeyW(Reg(), L"doomed"));
            })
            .Fuzz([](Fuzz& f) {
                // An empty name would delete the fuzz key itself.
                LPCWSTR name = f.Str();
                if (*name)
                    RegDeleteKeyW(FuzzKey(), name);
            }),
        RegRow("RegDeleteValueW")
            .Call([] {
                const BYTE x[] = "x";
                RegSetValueExA(Reg(), "doomed", 0, REG_SZ, x, sizeof x);
                return R(RegDeleteValueW(Reg(), L"doomed"));
            })
            .Fuzz([](Fuzz& f) { RegDeleteValueW(FuzzKey(), f.Str(Fuzz::NullOk)); }),
        RegRow("RegEnumKeyExW")
            .Call([] {
                WCHAR keyClass[64];
                DWORD n = 64, classN = 64;
                return R(RegEnumKeyExW(Reg(), 0, Room(), &n, nullptr, keyClass, &classN, nullptr));
            })
            .Fuzz([](Fuzz& f) {
                DWORD n = f.Count(5), classN = f.Count(0);
                WCHAR* name = f.Out<WCHAR>(n);
                WCHAR* keyClass = f.Out<WCHAR>(classN);
                DWORD got = n, classGot = classN;
                if (RegEnumKeyExW(Reg(), 0, name, &got, nullptr, keyClass, &classGot, nullptr) ==
                    ERROR_SUCCESS) {
                    // On the ANSI path the A function may find room the caller's count
                    // lacks: the name then comes back empty.
                    EXPECT_TRUE(got == 0 || (got == 5 && got < n)) << got << " of " << n;
                }
            }),
        RegRow("RegEnumValueW")
            .Call([] {
                BYTE data[64];
                DWORD n = 64, type = 0, bytes = sizeof data;
                return R(RegEnumValueW(Reg(), 0, Room(), &n, nullptr, &type, data, &bytes));
            })
            .Fuzz([](Fuzz& f) {
                const DWORD index = f.Pick(7);  // one past the last value too
                DWORD n = f.Count(6), size = f.Count(16);
                WCHAR* name = f.Out<WCHAR>(n);
                BYTE* data = f.Pick(4) ? f.Out<BYTE>(size) : nullptr;
                DWORD got = n, bytes = size, type = 0;
                if (RegEnumValueW(DataKey(), index, name, &got, nullptr, &type, data, &bytes) ==
                        ERROR_SUCCESS &&
                    data) {
                    EXPECT_LT(got, n);
                    EXPECT_LE(bytes, size);
                }
            }),
        RegRow("RegQueryInfoKeyW")
            .Call([] {
                DWORD classN = 64, subKeys = 0, values = 0, maxData = 0;
                return R(RegQueryInfoKeyW(Reg(), Room(), &classN, nullptr, &subKeys, nullptr,
                                          nullptr, &values, nullptr, &maxData, nullptr, nullptr));
            })
            .Fuzz([](Fuzz& f) {
                DWORD classN = f.Count(0), got = classN;
                RegQueryInfoKeyW(Reg(), f.Out<WCHAR>(classN), &got, nullptr, nullptr, nullptr,
                                 nullptr, nullptr, nullptr, nullptr, nullptr, nullptr);
            }),
        RegRow("RegQueryValueExW")
            .Call([] {
                DWORD type = 0, bytes = 64;
                return R(RegQueryValueExW(Reg(), L"value", nullptr, &type, Room<BYTE>(), &bytes));
            })
            .Fuzz([](Fuzz& f) {
                const std::wstring known = harness::FromAnsi(DataNames[f.Pick(6)]);
                LPCWSTR name = f.Pick(3) ? known.c_str() : f.Str(Fuzz::NullOk);
                DWORD size = f.Count(16), bytes = size, type = 0;
                BYTE* data = f.Pick(4) ? f.Out<BYTE>(size) : nullptr;
                if (RegQueryValueExW(DataKey(), name, nullptr, &type, data, &bytes) ==
                        ERROR_SUCCESS &&
                    data) {
                    EXPECT_LE(bytes, size);
                }
            }),
        RegRow("RegSetValueExW")
            .Call([] {
                static const WCHAR text[] = L"sweep";
                return R(RegSetValueExW(Reg(), L"set", 0, REG_SZ,
                                        reinterpret_cast<const BYTE*>(text), sizeof text));
            })
            .Undo([](Result) { RegDeleteValueA(Reg(), "set"); })
            .Fuzz([](Fuzz& f) {
                LPCWSTR name = f.Str(Fuzz::NullOk), text = f.Str();
                // The count never runs past the text: that is the caller's to get right.
                int bytes = 2 * (f.Len(text) + 1);
                bytes = std::min(f.Count(bytes), bytes);
                DWORD type = f.Pick(3) ? REG_SZ : REG_MULTI_SZ;
                RegSetValueExW(FuzzKey(), name, 0, type, reinterpret_cast<const BYTE*>(text),
                               DWORD(bytes));
            }),
        RegRow("RegCreateKeyW")
            .Call([] { return R(RegCreateKeyW(Reg(), L"created", Opened())); })
            .Undo([](Result) { RegDeleteKeyA(Reg(), "created"); })
            .Fuzz([](Fuzz& f) { RegCreateKeyW(FuzzKey(), f.Str(Fuzz::NullOk), Opened()); }),
        RegRow("RegOpenKeyW")
            .Call([] { return R(RegOpenKeyW(Reg(), L"child", Opened())); })
            .Fuzz([](Fuzz& f) { RegOpenKeyW(Reg(), f.Str(Fuzz::NullOk), Opened()); }),
        RegRow("RegEnumKeyW")
            .Call([] { return R(RegEnumKeyW(Reg(), 0, Room(), 64)); })
            .Fuzz([](Fuzz& f) {
                DWORD n = f.Count(6);
                WCHAR* name = f.Out<WCHAR>(n);
                if (RegEnumKeyW(Reg(), 0, name, n) == ERROR_SUCCESS) {
                    // Other rows' calls may have added keys: the first is the system's.
                    char first[64] = "";
                    RegEnumKeyA(Reg(), 0, first, sizeof first);
                    EXPECT_EQ(std::wstring(name), harness::FromAnsi(first));
                }
            }),
        RegRow("RegQueryValueW")
            .Call([] {
                LONG bytes = 128;
                return R(RegQueryValueW(Reg(), L"child", Room(), &bytes));
            })
            .Fuzz([](Fuzz& f) {
                LPCWSTR subKey = f.Pick(2) ? L"child" : f.Str(Fuzz::NullOk);
                // Wine's own function writes an empty text into a buffer of fewer than
                // 2 bytes when the key has no default value.
                LONG size = f.Count(12);
                if (!harness::AnsiPath())
                    size = std::max(size, 2L);
                LONG bytes = size;
                auto* value = f.Pick(4) ? reinterpret_cast<LPWSTR>(f.Out<BYTE>(size)) : nullptr;
                if (RegQueryValueW(Reg(), subKey, value, &bytes) == ERROR_SUCCESS && value) {
                    EXPECT_LE(bytes, size);
                }
            }),
        Row("GetUserNameW", FALSE)
            .Call([] {
                DWORD n = UNLEN + 1;
                return R(GetUserNameW(Room(), &n));
            })
            .Fuzz([](Fuzz& f) {
                char nameA[UNLEN + 1];
                DWORD lengthA = UNLEN + 1;
                GetUserNameA(nameA, &lengthA);
                DWORD n = f.Count(int(harness::FromAnsi(nameA).size()) + 1), got = n;
                WCHAR* name = f.Out<WCHAR>(n);
                if (GetUserNameW(name, &got)) {
                    EXPECT_LE(got, n);
                }
            }),

        // ---- DDE, UUID strings, automation strings and network connections
        Row("DdeInitializeW", DMLERR_SYS_ERROR)
            .Call([] {
                DWORD instance = 0;
                UINT r = DdeInitializeW(&instance, Ignore, APPCMD_CLIENTONLY, 0);
                if (r == DMLERR_NO_ERROR)
                    DdeUninitialize(instance);
                return R(r);
            })
            .Ok(DMLERR_NO_ERROR),
        Row("DdeCreateStringHandleW",
            [] { return R(DdeCreateStringHandleW(Dde(), L"sweep", CP_WINUNICODE)); }, 0,
            Error::AsLeft)
            .Undo([](Result hsz) { DdeFreeStringHandle(Dde(), HSZ(hsz)); })
            .Fuzz([](Fuzz& f) {
                if (HSZ hsz = DdeCreateStringHandleW(Dde(), f.Str(), CP_WINUNICODE))
                    DdeFreeStringHandle(Dde(), hsz);
            }),
        Row("DdeQueryStringW", 0, Error::AsLeft)
            .Call([] { return R(DdeQueryStringW(Dde(), DdeText(), Room(), 64, CP_WINUNICODE)); })
            .Fuzz([](Fuzz& f) {
                DWORD n = f.Count(int(harness::NonAsciiText().size()) + 1);
                WCHAR* text = f.Pick(4) ? f.Out<WCHAR>(n) : nullptr;
                int codePage = f.Pick(3) ? CP_WINUNICODE : CP_WINANSI;
                DWORD r = DdeQueryStringW(Dde(), DdeText(), text, n, codePage);
                if (text && n && codePage == CP_WINUNICODE) {
                    EXPECT_LT(r, n);
                }
            }),
        Row("WNetGetConnectionW", ERROR_OUTOFMEMORY, Error::Code)
            .Call([] {
                DWORD n = 64;
                return R(WNetGetConnectionW(L"C:", Room(), &n));
            })
            .Ok([](Result r) { return r == ERROR_NOT_CONNECTED || r == ERROR_NO_NETWORK; })
            .Fuzz([](Fuzz& f) {
                LPCWSTR local = f.Str();
                if (!harness::AnsiPath()) {
                    DWORD n = f.Count(3), got = n;
                    WNetGetConnectionW(local, f.Out<WCHAR>(n), &got);
                    return;
                }
                // Wine has no network: the rows play a redirected drive. Like the
                // system's, the A function leaves the count alone when the name fits.
                DWORD unused = 0;
                WNetGetConnectionW(L"", nullptr, &unused);  // bound
                const std::string remoteA = FuzzedAnsi(f);
                TW_HOOK(play, WNetGetConnectionA, [&](LPCSTR, LPSTR remote, LPDWORD length) {
                    if (*length < remoteA.size() + 1) {
                        *length = DWORD(remoteA.size() + 1);
                        return DWORD(ERROR_MORE_DATA);
                    }
                    memcpy(remote, remoteA.c_str(), remoteA.size() + 1);
                    return DWORD(NO_ERROR);
                });
                const std::wstring remoteW = harness::FromAnsi(remoteA);
                DWORD n = f.Count(int(remoteW.size()) + 1), got = n;
                WCHAR* remote = f.Out<WCHAR>(n);
                DWORD r = WNetGetConnectionW(local, remote, &got);
                if (r == NO_ERROR) {
                    EXPECT_EQ(std::wstring(remote), remoteW);
                } else {
                    // A name longer than the caller's count: the size needed, counted in
                    // characters or, where the A function reported it, in ANSI bytes.
                    EXPECT_EQ(r, DWORD(ERROR_MORE_DATA));
                    EXPECT_GE(got, remoteW.size() + 1);
                }
            }),
        Row("AtWNetGetConnectionW", ERROR_OUTOFMEMORY, Error::Code)
            .Call([] {
                DWORD n = 64;
                return R(AtWNetGetConnectionW(L"C:", Room(), &n));
            })
            .Ok([](Result r) { return r == ERROR_NOT_CONNECTED || r == ERROR_NO_NETWORK; }),
        Row("UuidFromStringW", RPC_S_OUT_OF_MEMORY, Error::Code)
            .Call([] {
                WCHAR text[] = L"12345678-1234-5678-9abc-def012345678";
                return R(UuidFromStringW(reinterpret_cast<RPC_WSTR>(text), Room<UUID>()));
            })
            .Ok(RPC_S_OK)
            .Fuzz([](Fuzz& f) {
                auto* text = reinterpret_cast<RPC_WSTR>(const_cast<LPWSTR>(f.Str(Fuzz::NullOk)));
                UuidFromStringW(text, Room<UUID>());
            }),
        Row("UuidToStringW", RPC_S_OUT_OF_MEMORY, Error::Code)
            .Call([] {
                UUID uuid = Sample;
                RPC_WSTR text = nullptr;
                RPC_STATUS r = UuidToStringW(&uuid, &text);
                if (r == RPC_S_OK) {
                    EXPECT_EQ(std::wstring(reinterpret_cast<LPCWSTR>(text)),
                              L"12345678-1234-5678-9abc-def012345678");
                    RpcStringFreeW(&text);
                }
                return R(r);
            })
            .Ok(RPC_S_OK),
        // On the ANSI path it frees with the kernel's heap functions alone.
        Row("RpcStringFreeW", std::nullopt)
            .Call([] {
                RPC_WSTR text = StringToFree();
                return R(RpcStringFreeW(&text));
            })
            .Ok(RPC_S_OK)
            .Kernel(),
        Row("SysAllocStringLen", [] { return R(SysAllocStringLen(L"sweep", 5)); }, 0)
            .Undo([](Result b) { SysFreeString(BSTR(b)); })
            .Fuzz([](Fuzz& f) {
                LPCWSTR text = f.Str(Fuzz::NullOk);
                UINT len = f.Count(f.Len(text));
                BSTR b = SysAllocStringLen(text, len);
                if (b) {
                    EXPECT_EQ(SysStringLen(b), len);
                    EXPECT_EQ(b[len], L'\0');
                }
                SysFreeString(b);
            }),
        Row("SysReAllocStringLen", FALSE)
            .Call([] {
                BSTR b = SysAllocString(L"sweep");
                INT r = SysReAllocStringLen(&b, L"sweeping", 8);
                SysFreeString(b);
                return R(r);
            })
            .Fuzz([](Fuzz& f) {
                BSTR b = f.Pick(4) ? SysAllocString(L"sweep") : nullptr;
                LPCWSTR text = f.Str(Fuzz::NullOk);
                UINT len = f.Count(text ? f.Len(text) : 5);
                if (SysReAllocStringLen(&b, text, len)) {
                    EXPECT_EQ(SysStringLen(b), len);
                }
                SysFreeString(b);
            }),

        // ---- version information
        Row("GetFileVersionInfoSizeW", 0)
            .Call([] { return R(GetFileVersionInfoSizeW(SystemFile().c_str(), Room<DWORD>())); })
            .Fuzz([](Fuzz& f) {
                GetFileVersionInfoSizeW(f.Path(), f.Pick(2) ? Room<DWORD>() : nullptr);
            }),
        Row("GetFileVersionInfoW", FALSE)
            .Call([] {
                static std::vector<BYTE> block(
                    GetFileVersionInfoSizeA(harness::ToAnsi(SystemFile()).c_str(), nullptr));
                return R(GetFileVersionInfoW(SystemFile().c_str(), 0, DWORD(block.size()),
                                             block.data()));
            })
            .Fuzz([](Fuzz& f) {
                static const std::wstring file = SystemFile();
                static const int size =
                    int(GetFileVersionInfoSizeA(harness::ToAnsi(file).c_str(), nullptr));
                // Wine reads the block's length from a buffer of fewer than 4 bytes.
                int n = std::max(f.Count(size), 4);
                GetFileVersionInfoW(f.Pick(2) ? file.c_str() : f.Path(), 0, n, f.Out<BYTE>(n));
            }),
        Row("VerQueryValueW", FALSE, Error::AsLeft)
            .Call([] {
                return R(VerQueryValueW(VersionBlock(), L"\\VarFileInfo\\Translation",
                                        Room<LPVOID>(), Room<UINT>()));
            })
            .Fuzz([](Fuzz& f) {
                VerQueryValueW(VersionBlock(), f.Str(), Room<LPVOID>(), Room<UINT>());
            }),
        Row("VerLanguageNameW", 0, Error::AsLeft)
            .Call([] { return R(VerLanguageNameW(0x409, Room(), 128)); })
            .Fuzz([](Fuzz& f) {
                char nameA[128] = "";
                VerLanguageNameA(0x411, nameA, 128);
                DWORD n = f.Count(int(harness::FromAnsi(nameA).size()) + 1);
                WCHAR* name = f.Pick(4) ? f.Out<WCHAR>(n) : nullptr;
                VerLanguageNameW(0x411, name, n);
            }),
        // A result of 0 is success here, and also what a failed allocation answers.
        Row("VerFindFileW", 0, Error::AsLeft)
            .Call([] {
                WCHAR cur[MAX_PATH], dest[MAX_PATH];
                UINT curN = MAX_PATH, destN = MAX_PATH;
                return R(VerFindFileW(0, const_cast<LPWSTR>(L"kernel32.dll"), nullptr, nullptr,
                                      cur, &curN, dest, &destN));
            })
            .WhenMissing(VFF_BUFFTOOSMALL)
            .Ok([](Result r) { return (r & VFF_BUFFTOOSMALL) == 0; })
            .Fuzz([](Fuzz& f) {
                UINT curN = f.Count(MAX_PATH), destN = f.Count(20);
                WCHAR* cur = f.Out<WCHAR>(curN);
                WCHAR* dest = f.Out<WCHAR>(destN);
                VerFindFileW(0, const_cast<LPWSTR>(ShortStr(f)), nullptr,
                             const_cast<LPWSTR>(Folder().c_str()), cur, &curN, dest, &destN);
            }),
        Row("VerInstallFileW", 0, Error::AsLeft)
            .Call([] {
                MakeFile(L"install source");
                static const std::wstring folder = Folder();
                WCHAR tmp[MAX_PATH];
                UINT tmpN = MAX_PATH;
                return R(VerInstallFileW(0, const_cast<LPWSTR>(L"install source"),
                                         const_cast<LPWSTR>(L"installed"),
                                         const_cast<LPWSTR>(folder.c_str()),
                                         const_cast<LPWSTR>(folder.c_str()),
                                         const_cast<LPWSTR>(L""), tmp, &tmpN));
            })
            .WhenMissing(VIF_OUTOFMEMORY)
            .Ok(0)
            .Undo([](Result) { DeleteFileA(harness::ToAnsi(PathIn(L"installed")).c_str()); })
            .Fuzz([](Fuzz& f) {
                static const std::wstring folder = Folder();
                UINT tmpN = f.Count(MAX_PATH);
                WCHAR* tmp = f.Out<WCHAR>(tmpN);
                VerInstallFileW(0, const_cast<LPWSTR>(ShortStr(f)), const_cast<LPWSTR>(ShortStr(f)),
                                const_cast<LPWSTR>(folder.c_str()),
                                const_cast<LPWSTR>(folder.c_str()), const_cast<LPWSTR>(L""), tmp,
                                &tmpN);
            }),

        // ---- input methods
        Row("ImmGetCompositionStringW",
            [] { return R(ImmGetCompositionStringW(Context(), GCS_COMPSTR, nullptr, 0)); },
            LONG(IMM_ERROR_GENERAL), Error::AsLeft)
            .Fuzz([](Fuzz& f) {
                static const DWORD what[] = {GCS_COMPSTR,   GCS_COMPATTR,   GCS_COMPCLAUSE,
                                             GCS_CURSORPOS, GCS_DELTASTART, GCS_RESULTSTR,
                                             GCS_RESULTCLAUSE};
                const DWORD index = what[f.Pick(7)];
                if (!harness::AnsiPath()) {
                    DWORD n = f.Count(8);
                    ImmGetCompositionStringW(Context(), index, f.Out<BYTE>(n), n);
                    return;
                }
                ImmGetCompositionStringW(Context(), GCS_COMPSTR, nullptr, 0);  // bound
                const std::string text = FuzzedAnsi(f);
                std::string attributes(f.Pick(int(text.size()) + 3), char(ATTR_INPUT));
                std::vector<DWORD> clauses = {0, FuzzedOffset(f, DWORD(text.size() / 2),
                                                              DWORD(text.size())),
                                              DWORD(text.size())};
                clauses.resize(f.Pick(4));
                const LONG cursor = LONG(FuzzedOffset(f, 1, DWORD(text.size())));
                TW_HOOK(play, ImmGetCompositionStringA,
                        [&](HIMC, DWORD i, LPVOID buf, DWORD size) -> LONG {
                            switch (i) {
                            case GCS_COMPSTR:
                            case GCS_RESULTSTR: return Answer(text, buf, size);
                            case GCS_COMPATTR: return Answer(attributes, buf, size);
                            case GCS_COMPCLAUSE:
                            case GCS_RESULTCLAUSE:
                                return Answer(Bytes(clauses.data(), 4 * clauses.size()), buf, size);
                            case GCS_CURSORPOS:
                            case GCS_DELTASTART: return cursor;
                            default: return IMM_ERROR_NODATA;
                            }
                        });
                const int chars = MultiByteToWideChar(CP_ACP, 0, text.data(), int(text.size()),
                                                      nullptr, 0);
                DWORD n = f.Count(2 * chars + 8);
                LONG r = ImmGetCompositionStringW(Context(), index, f.Out<BYTE>(n), n);
                EXPECT_LE(r, index == GCS_CURSORPOS || index == GCS_DELTASTART ? LONG(chars)
                                                                               : LONG(n ? n : r));
            }),
        Row("ImmSetCompositionStringW", FALSE, Error::AsLeft)
            .Call([] {
                static WCHAR text[] = L"sweep";
                return R(ImmSetCompositionStringW(Context(), SCS_SETSTR, text, 10, nullptr, 0));
            })
            .AnyResult()  // FALSE without an input method
            .Fuzz([](Fuzz& f) {
                LPCWSTR comp = f.Str(), read = f.Str(Fuzz::NullOk);
                DWORD compBytes = std::min(f.Count(2 * f.Len(comp)), 2 * f.Len(comp));
                DWORD readBytes = read ? 2 * f.Len(read) : 0;
                ImmSetCompositionStringW(Context(), SCS_SETSTR, const_cast<LPWSTR>(comp), compBytes,
                                         const_cast<LPWSTR>(read), readBytes);
            }),
        Row("ImmGetCandidateListW",
            [] { return R(ImmGetCandidateListW(Context(), 0, nullptr, 0)); }, 0, Error::AsLeft)
            .AnyResult()  // no candidates without an input method
            .Fuzz([](Fuzz& f) {
                if (!harness::AnsiPath()) {
                    DWORD n = f.Count(sizeof(CANDIDATELIST));
                    auto* list = reinterpret_cast<LPCANDIDATELIST>(f.Out<BYTE>(n));
                    ImmGetCandidateListW(Context(), 0, list, n);
                    return;
                }
                ImmGetCandidateListW(Context(), 0, nullptr, 0);  // bound
                const std::vector<BYTE> listA = FuzzedCandidateList(f);
                TW_HOOK(play, ImmGetCandidateListA,
                        [&](HIMC, DWORD, LPCANDIDATELIST to, DWORD size) -> DWORD {
                            return DWORD(Answer(Bytes(listA.data(), listA.size()), to, size));
                        });
                // The caller sizes its buffer from the size query.
                const DWORD needed = ImmGetCandidateListW(Context(), 0, nullptr, 0);
                DWORD n = f.Count(int(needed));
                auto* list = reinterpret_cast<LPCANDIDATELIST>(f.Out<BYTE>(n));
                DWORD r = ImmGetCandidateListW(Context(), 0, list, n);
                if (r) {
                    EXPECT_EQ(r, needed);
                }
                if (r && n) {
                    EXPECT_EQ(list->dwSize, r);
                }
            }),
        Row("ImmGetCandidateListCountW", 0, Error::AsLeft)
            .Call([] {
                DWORD lists = 0;
                return R(ImmGetCandidateListCountW(Context(), &lists));
            })
            .AnyResult()  // no candidates without an input method
            .Fuzz([](Fuzz& f) {
                DWORD lists = 0;
                if (!harness::AnsiPath()) {
                    ImmGetCandidateListCountW(Context(), &lists);
                    return;
                }
                ImmGetCandidateListCountW(Context(), &lists);  // bound
                ImmGetCandidateListW(Context(), 0, nullptr, 0);
                const std::vector<BYTE> listA = FuzzedCandidateList(f);
                const DWORD played = f.Pick(3);
                TW_HOOK(count, ImmGetCandidateListCountA, [&](HIMC, LPDWORD n) -> DWORD {
                    *n = played;
                    return played ? DWORD(played * listA.size()) : 0;
                });
                TW_HOOK(play, ImmGetCandidateListA,
                        [&](HIMC, DWORD, LPCANDIDATELIST to, DWORD size) -> DWORD {
                            return DWORD(Answer(Bytes(listA.data(), listA.size()), to, size));
                        });
                ImmGetCandidateListCountW(Context(), &lists);
                EXPECT_EQ(lists, played);
            }),
        Row("ImmGetConversionListW", 0, Error::AsLeft)
            .Call([] {
                return R(ImmGetConversionListW(Layout(), Context(), L"sweep", nullptr, 0,
                                               GCL_CONVERSION));
            })
            .AnyResult()  // no conversions without an input method
            .Fuzz([](Fuzz& f) {
                LPCWSTR source = f.Str();
                if (!harness::AnsiPath()) {
                    DWORD n = f.Count(sizeof(CANDIDATELIST));
                    ImmGetConversionListW(Layout(), Context(), source,
                                          reinterpret_cast<LPCANDIDATELIST>(f.Out<BYTE>(n)), n,
                                          GCL_CONVERSION);
                    return;
                }
                ImmGetConversionListW(Layout(), Context(), L"", nullptr, 0, 0);  // bound
                const std::vector<BYTE> listA = FuzzedCandidateList(f);
                TW_HOOK(play, ImmGetConversionListA,
                        [&](HKL, HIMC, LPCSTR, LPCANDIDATELIST to, DWORD size, UINT) -> DWORD {
                            return DWORD(Answer(Bytes(listA.data(), listA.size()), to, size));
                        });
                const DWORD needed = ImmGetConversionListW(Layout(), Context(), source, nullptr, 0,
                                                           GCL_CONVERSION);
                DWORD n = f.Count(int(needed));
                auto* list = reinterpret_cast<LPCANDIDATELIST>(f.Out<BYTE>(n));
                DWORD r = ImmGetConversionListW(Layout(), Context(), source, list, n,
                                                GCL_CONVERSION);
                if (r) {
                    EXPECT_EQ(r, needed);
                }
            }),
        Row("ImmGetDescriptionW", 0, Error::AsLeft)
            .Call([] { return R(ImmGetDescriptionW(Layout(), Room(), 64)); })
            .AnyResult()  // no description without an input method
            .Fuzz([](Fuzz& f) { FuzzTextOut(f, "ImmGetDescriptionA", ImmGetDescriptionW); }),
        Row("ImmGetIMEFileNameW", 0, Error::AsLeft)
            .Call([] { return R(ImmGetIMEFileNameW(Layout(), Room(), MAX_PATH)); })
            .AnyResult()  // no file without an input method
            .Fuzz([](Fuzz& f) { FuzzTextOut(f, "ImmGetIMEFileNameA", ImmGetIMEFileNameW); }),
        WordRow<ImmRegisterWordW>("ImmRegisterWordW"),
        WordRow<ImmUnregisterWordW>("ImmUnregisterWordW"),
        Row("ImmGetRegisterWordStyleW", 0, Error::AsLeft)
            .Call([] {
                STYLEBUFW styles[4];
                return R(ImmGetRegisterWordStyleW(Layout(), 4, styles));
            })
            .AnyResult()  // no styles without an input method
            .Fuzz([](Fuzz& f) {
                std::optional<harness::Hook<decltype(&ImmGetRegisterWordStyleA)>> play;
                std::vector<std::string> names(f.Pick(4));
                if (harness::AnsiPath()) {
                    ImmGetRegisterWordStyleW(Layout(), 0, nullptr);  // bound
                    for (std::string& name : names)
                        name = FuzzedAnsi(f);
                    // It may claim more styles than it was asked for.
                    play.emplace("ImmGetRegisterWordStyleA", [&](HKL, UINT n, LPSTYLEBUFA styles) {
                        for (UINT i = 0; i < std::min<UINT>(n, UINT(names.size())); ++i) {
                            styles[i].dwStyle = i;
                            FillName(styles[i].szDescription, names[i]);
                        }
                        return UINT(names.size());
                    });
                }
                UINT n = f.Count(int(names.size()));
                STYLEBUFW* styles = n || f.Pick(2) ? f.Out<STYLEBUFW>(n) : nullptr;
                UINT r = ImmGetRegisterWordStyleW(Layout(), n, styles);
                for (UINT i = 0; styles && i < std::min(r, n); ++i) {
                    EXPECT_TRUE(Terminated(styles[i].szDescription, STYLE_DESCRIPTION_SIZE));
                }
            }),
        Row("ImmEnumRegisterWordW", 0, Error::AsLeft)
            .Call([] {
                int words = 0;
                return R(ImmEnumRegisterWordW(Layout(), CountWords, nullptr, 0, nullptr, &words));
            })
            .AnyResult()  // no words without an input method
            .Fuzz([](Fuzz& f) {
                int words = 0;
                LPCWSTR reading = f.Str(Fuzz::NullOk), word = f.Str(Fuzz::NullOk);
                std::optional<harness::Hook<decltype(&ImmEnumRegisterWordA)>> play;
                std::vector<std::string> found(f.Pick(3));
                if (harness::AnsiPath()) {
                    ImmEnumRegisterWordW(Layout(), CountWords, nullptr, 0, nullptr, &words);
                    for (std::string& text : found)
                        text = FuzzedAnsi(f);
                    // Hands each word to the adapter it was given, as the input method does.
                    play.emplace("ImmEnumRegisterWordA", [&](HKL, REGISTERWORDENUMPROCA proc,
                                                             LPCSTR, DWORD, LPCSTR, LPVOID data) {
                        UINT calls = 0;
                        for (const std::string& text : found)
                            calls += proc(text.c_str(), 0, text.c_str(), data) ? 1 : 0;
                        return calls;
                    });
                }
                UINT r = ImmEnumRegisterWordW(Layout(), CountWords, reading, 0, word, &words);
                if (harness::AnsiPath()) {
                    EXPECT_EQ(r, found.size());
                    EXPECT_EQ(words, int(found.size()));
                }
            }),
        // The adapter calls no system function: it converts and calls the wide procedure,
        // on either path. (Only the ANSI path's call gets text: the allocation sweep
        // takes any allocation on the W path for a fault.)
        Row("AtfnEnumRegisterWordProcA", 0, Error::AsLeft)
            .Call([] {
                int words = 0;
                AtEnumRegisterWordContextW context = {CountWords, &words};
                LPCSTR text = harness::AnsiPath() ? "sweep" : nullptr;
                return R(AtfnEnumRegisterWordProcA(text, 0, text, &context));
            })
            .Kernel()
            .WorksWhenMissing()
            .Fuzz([](Fuzz& f) {
                int words = 0;
                AtEnumRegisterWordContextW context = {CountWords, &words};
                LPCSTR reading = AnsiCopy(f, f.Str()), word = AnsiCopy(f, f.Str());
                EXPECT_EQ(AtfnEnumRegisterWordProcA(reading, 0, word, &context), 1);
            }),
        Row("ImmGetCompositionFontW", FALSE)
            .Call([] { return R(ImmGetCompositionFontW(Context(), Room<LOGFONTW>())); })
            .AnyResult()  // FALSE without an input context
            .Fuzz([](Fuzz& f) {
                std::optional<harness::Hook<decltype(&ImmGetCompositionFontA)>> play;
                const std::string face = harness::AnsiPath() ? FuzzedAnsi(f) : "";
                if (harness::AnsiPath()) {
                    LOGFONTW unused;
                    ImmGetCompositionFontW(Context(), &unused);  // bound
                    play.emplace("ImmGetCompositionFontA", [&](HIMC, LPLOGFONTA font) {
                        // The system's names end within the field.
                        *font = LOGFONTA{};
                        FillName(font->lfFaceName, face.substr(0, LF_FACESIZE - 1));
                        return TRUE;
                    });
                }
                LOGFONTW* font = f.Out<LOGFONTW>(1);
                if (ImmGetCompositionFontW(Context(), font)) {
                    EXPECT_TRUE(Terminated(font->lfFaceName, LF_FACESIZE));
                }
            }),
        Row("ImmSetCompositionFontW", FALSE)
            .Call([] {
                LOGFONTW font = {};
                font.lfHeight = -12;
                lstrcpyW(font.lfFaceName, L"Tahoma");
                return R(ImmSetCompositionFontW(Context(), &font));
            })
            .AnyResult()  // FALSE without an input context
            .Fuzz([](Fuzz& f) {
                LOGFONTW* font = f.Out<LOGFONTW>(1);
                LPCWSTR face = f.Str();
                FillName(font->lfFaceName, std::wstring(face, f.Len(face)));
                ImmSetCompositionFontW(Context(), font);
            }),

        // ---- sound and media control
        Row("sndPlaySoundW",
            [] { return R(sndPlaySoundW(Sound().c_str(), SND_SYNC | SND_NODEFAULT)); },
            FALSE, Error::AsLeft)
            .AnyResult()  // FALSE: Wine has no sound device here
            .Fuzz([](Fuzz& f) { sndPlaySoundW(f.Path(), SND_SYNC | SND_NODEFAULT); }),
        Row("PlaySoundW", FALSE, Error::AsLeft)
            .Call([] {
                return R(PlaySoundW(Sound().c_str(), nullptr,
                                    SND_FILENAME | SND_SYNC | SND_NODEFAULT));
            })
            .AnyResult()  // FALSE: Wine has no sound device here
            .Fuzz([](Fuzz& f) {
                PlaySoundW(f.Path(), nullptr, SND_FILENAME | SND_SYNC | SND_NODEFAULT);
            }),
        Row("mciSendStringW", MCIERR_OUT_OF_MEMORY, Error::AsLeft)
            .Call([] { return R(mciSendStringW(L"sysinfo all quantity", Room(), 32, nullptr)); })
            .WhenMissing(MCIERR_UNSUPPORTED_FUNCTION)
            .Ok(0)
            .Fuzz([](Fuzz& f) {
                // The name of the first device: a reply of a few characters.
                UINT n = f.Count(8);
                WCHAR* reply = f.Out<WCHAR>(n);
                LPCWSTR command = f.Pick(2) ? L"sysinfo all name 1" : f.Str();
                if (!mciSendStringW(command, reply, n, nullptr) && n) {
                    EXPECT_TRUE(Terminated(reply, n));
                }
            }),
        Row("mciSendCommandW", MCIERR_OUT_OF_MEMORY, Error::AsLeft)
            .Call([] {
                DWORD count = 0;
                MCI_SYSINFO_PARMSW parms = {};
                parms.lpstrReturn = reinterpret_cast<LPWSTR>(&count);
                parms.dwRetSize = sizeof count;
                parms.wDeviceType = MCI_ALL_DEVICE_ID;
                return R(mciSendCommandW(MCI_ALL_DEVICE_ID, MCI_SYSINFO, MCI_SYSINFO_QUANTITY,
                                         DWORD_PTR(&parms)));
            })
            .WhenMissing(MCIERR_UNSUPPORTED_FUNCTION)
            .Ok(0)
            .Fuzz([](Fuzz& f) {
                MCI_OPEN_PARMSW open = {};
                open.lpstrDeviceType = ShortStr(f);
                open.lpstrAlias = ShortStr(f);
                if (!mciSendCommandW(0, MCI_OPEN, MCI_OPEN_TYPE | MCI_OPEN_ALIAS, DWORD_PTR(&open)))
                    mciSendCommandA(open.wDeviceID, MCI_CLOSE, 0, 0);
                MCI_SYSINFO_PARMSW info = {};
                info.dwRetSize = f.Count(8);
                info.lpstrReturn = f.Out<WCHAR>(info.dwRetSize);
                info.dwNumber = 1;
                info.wDeviceType = MCI_ALL_DEVICE_ID;
                // A name, or a count that comes back as a number in the text's place.
                const DWORD what = f.Pick(2) ? MCI_SYSINFO_NAME : MCI_SYSINFO_QUANTITY;
                if (!mciSendCommandW(MCI_ALL_DEVICE_ID, MCI_SYSINFO, what, DWORD_PTR(&info)) &&
                    what == MCI_SYSINFO_NAME && info.dwRetSize) {
                    EXPECT_TRUE(Terminated(info.lpstrReturn, info.dwRetSize));
                }
            }),
        Row("mciGetDeviceIDW", [] { return R(mciGetDeviceIDW(L"all")); }, 0, Error::AsLeft)
            .Fuzz([](Fuzz& f) { mciGetDeviceIDW(f.Str()); }),
        Row("mciGetErrorStringW", FALSE, Error::AsLeft)
            .Call([] { return R(mciGetErrorStringW(MCIERR_INVALID_DEVICE_NAME, Room(), 128)); })
            .Fuzz([](Fuzz& f) {
                char textA[256] = "";
                mciGetErrorStringA(MCIERR_INVALID_DEVICE_NAME, textA, sizeof textA);
                UINT n = f.Count(int(harness::FromAnsi(textA).size()));
                WCHAR* text = f.Out<WCHAR>(n);
                if (mciGetErrorStringW(MCIERR_INVALID_DEVICE_NAME, text, n) && n) {
                    EXPECT_TRUE(Terminated(text, n));
                }
            }),
    };
}

}  // namespace sweep
