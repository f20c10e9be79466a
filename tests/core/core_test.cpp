// The thunk core linked into the test program: state, conversions, the frame.
#include "core/core.h"
#include "harness/harness.h"

#include <functional>

namespace {

class CoreTest : public harness::TorwenTest {
protected:
    void SetUp() override
    {
        harness::TorwenTest::SetUp();
        ASSERT_TRUE(AtProcessAttach(GetModuleHandleA(nullptr)));
    }
};

// What WideCharToMultiByte is asked to convert, call by call.
struct WideToAnsiCalls {
    std::vector<int> lengths;
    TW_HOOK(hook, WideCharToMultiByte,
            [this](UINT cp, DWORD flags, LPCWSTR s, int n, LPSTR out, int size, LPCSTR def,
                   LPBOOL used) {
                lengths.push_back(n);
                return hook.real(cp, flags, s, n, out, size, def, used);
            });
};

TEST_F(CoreTest, AttachReadsPlatformAndCodePage)
{
    EXPECT_EQ(AtModuleState.moduleHandle, GetModuleHandleA(nullptr));
    EXPECT_EQ(AtModuleState.processHeap, GetProcessHeap());
    EXPECT_EQ(AtModuleState.AtIsUnicodePlatform, harness::AnsiPath() ? 0 : 1);
    EXPECT_EQ(AtMaxCharSize, harness::CodePage() == 932 ? 2u : 1u);

    AtProcessDetach();
    EXPECT_EQ(AtMaxCharSize, 2u);
    EXPECT_EQ(AtModuleState.moduleHandle, nullptr);
    EXPECT_EQ(AtModuleState.processHeap, nullptr);
    EXPECT_EQ(AtModuleState.AtIsUnicodePlatform, 0);
}

TEST_F(CoreTest, AttachFailsOnlyWithoutVersion)
{
    AtProcessDetach();
    {
        TW_HOOK(version, GetVersionExA, [](LPOSVERSIONINFOA) { return FALSE; });
        TW_HOOK(cpinfo, GetCPInfo, [&](UINT cp, LPCPINFO info) { return cpinfo.real(cp, info); });
        EXPECT_FALSE(AtProcessAttach(GetModuleHandleA(nullptr)));
        EXPECT_EQ(AtModuleState.AtIsUnicodePlatform, 0);
        EXPECT_EQ(AtModuleState.processHeap, GetProcessHeap());
        EXPECT_EQ(cpinfo.calls, 0);
    }
    {
        // Without code-page information the double-byte-safe size stays.
        TW_HOOK(cpinfo, GetCPInfo, [](UINT, LPCPINFO) { return FALSE; });
        UINT seenSize = 0;
        TW_HOOK(version, GetVersionExA, [&](LPOSVERSIONINFOA info) {
            seenSize = info->dwOSVersionInfoSize;
            return version.real(info);
        });
        EXPECT_TRUE(AtProcessAttach(GetModuleHandleA(nullptr)));
        EXPECT_EQ(seenSize, 148u);
        EXPECT_EQ(AtMaxCharSize, 2u);
    }
}

TEST_F(CoreTest, IntegerValuesPassThroughUntouched)
{
    harness::HeapLog heap;
    AtStringSlot atom, null, id;
    AtWideToAnsiTemp(atom, reinterpret_cast<LPCWSTR>(0x0000FFFF));
    AtWideToAnsiTemp(null, nullptr);
    AtAnsiToWideTemp(id, MAKEINTRESOURCEA(42));
    EXPECT_EQ(atom.value, reinterpret_cast<void*>(0xFFFF));
    EXPECT_EQ(null.value, nullptr);
    EXPECT_EQ(id.value, reinterpret_cast<void*>(42));
    AtFreeString(atom);
    EXPECT_EQ(atom.value, nullptr);
    EXPECT_TRUE(heap.events().empty());
}

TEST_F(CoreTest, TemporariesRoundTripText)
{
    std::wstring text = harness::NonAsciiText();
    AtStringSlot ansi, wide;
    AtWideToAnsiTemp(ansi, text.c_str());
    EXPECT_EQ(std::string(static_cast<char*>(ansi)), harness::ToAnsi(text));
    AtAnsiToWideTemp(wide, ansi);
    EXPECT_EQ(std::wstring(static_cast<WCHAR*>(wide)), text);
}

TEST_F(CoreTest, ListModeStopsAtTheListsEnd)
{
    // Each list ends exactly at a no-access page. The block is one byte longer than
    // the list needs, and that byte is a NUL.
    harness::GuardPage guard;
    struct {
        const WCHAR* list;
        std::size_t length;  // characters, with the final NUL
        std::size_t bytes;   // allocated
    } cases[] = {{L"\0", 1, 2}, {L"a\0\0", 3, 4}, {L"ab\0\0", 4, 5}, {L"a\0bc\0\0", 6, 7}};
    for (auto& c : cases) {
        harness::HeapLog heap;
        AtStringSlot slot;
        AtWideToAnsiTempList(slot, guard.Copy(c.list, c.length), AtListOfStrings);
        EXPECT_EQ(heap.allocationSizes(), std::vector<SIZE_T>{c.bytes}) << c.length;
        EXPECT_EQ(std::string(static_cast<char*>(slot), c.length),
                  std::string(c.list, c.list + c.length));
        EXPECT_EQ(static_cast<char*>(slot)[c.bytes - 1], '\0');
    }
    std::wstring text = L"A=" + harness::NonAsciiText() + L'\0' + L"B=2" + L'\0';
    AtStringSlot slot;
    AtWideToAnsiTempList(slot, guard.Copy(text.c_str(), text.size() + 1), AtListOfStrings);
    std::string expected = harness::ToAnsi(L"A=" + harness::NonAsciiText()) + '\0' + "B=2";
    EXPECT_EQ(std::string(static_cast<char*>(slot), expected.size() + 3), expected + '\0' + '\0' + '\0');

    WideToAnsiCalls calls;
    AtStringSlot single;
    AtWideToAnsiTempList(single, L"a\0b\0", 0);
    EXPECT_EQ(calls.lengths, (std::vector<int>{-1, -1}));
    EXPECT_STREQ(static_cast<char*>(single), "a");
}

// Whatever an A function reports or leaves unterminated, a conversion back reads
// only its block: a text without a NUL in it ends where the block does.
TEST_F(CoreTest, ConversionBackStaysInsideTheBlock)
{
    AtStringSlot full;
    AtAllocBuffer(full, 4);
    memcpy(full.value, "abcd", 4);
    WCHAR buf[16];
    struct {
        int converted;
        std::wstring text;
        std::function<int()> convert;
    } cases[] = {
        {5, L"abcd", [&] { return AtAnsiToWideOut(full, buf, 16); }},
        {5, L"abcd", [&] { return AtAnsiToWideOut(full, buf, 5); }},
        {0, L"", [&] { return AtAnsiToWideOut(full, buf, 4); }},  // no room for the NUL
        {5, L"", [&] { return AtAnsiToWideOut(full, nullptr, 0); }},
        {4, L"abcd", [&] { return AtAnsiToWideOutN(full, buf, 16, 9); }},  // a required size
    };
    for (auto& c : cases) {
        wmemset(buf, L'#', 16);
        EXPECT_EQ(c.convert(), c.converted) << c.text.c_str();
        if (!c.text.empty()) {
            EXPECT_EQ(std::wstring(buf, 4), c.text);
        }
    }
    EXPECT_EQ(buf[4], L'#');  // a counted conversion adds no NUL
}

TEST_F(CoreTest, FailedConversionLeavesAnEmptyTemporary)
{
    TW_HOOK(convert, WideCharToMultiByte,
            [&](UINT cp, DWORD flags, LPCWSTR s, int n, LPSTR out, int size, LPCSTR d,
                LPBOOL u) { return out ? 0 : convert.real(cp, flags, s, n, out, size, d, u); });
    AtStringSlot slot;
    AtWideToAnsiTemp(slot, L"text");
    EXPECT_STREQ(static_cast<char*>(slot), "");
}

TEST_F(CoreTest, ConversionBackIsAllOrNothing)
{
    AtStringSlot ansi;
    AtWideToAnsiTemp(ansi, L"hello");
    WCHAR buf[8];
    EXPECT_EQ(AtAnsiToWideOut(ansi, buf, 5), 0);
    EXPECT_EQ(AtAnsiToWideOut(ansi, buf, 6), 6);
    EXPECT_STREQ(buf, L"hello");

    // A counted conversion adds no terminator unless it lies within the bytes.
    wmemset(buf, L'#', 8);
    EXPECT_EQ(AtAnsiToWideOutN(ansi, buf, 8, 3), 3);
    EXPECT_EQ(std::wstring(buf, 4), L"hel#");

    AtStringSlot wide;
    AtAnsiToWideTemp(wide, "hello");
    char out[8];
    EXPECT_EQ(AtWideToAnsiOut(wide, out, 5), 0);
    EXPECT_EQ(AtWideToAnsiOut(wide, out, 6), 6);
    EXPECT_STREQ(out, "hello");
}

TEST_F(CoreTest, CountsAboveTheSignedRangeThrowBeforeConverting)
{
    AtStringSlot ansi, wide;
    AtWideToAnsiTemp(ansi, L"x");
    AtAnsiToWideTemp(wide, "x");
    WCHAR w[2];
    char a[2];
    TW_HOOK(toWide, MultiByteToWideChar,
            [&](UINT cp, DWORD f, LPCSTR s, int n, LPWSTR o, int c) { return toWide.real(cp, f, s, n, o, c); });
    auto expectRefused = [](auto&& convert) {
        try {
            convert();
            ADD_FAILURE() << "no exception";
        } catch (CAtException& e) {
            EXPECT_EQ(e.value, 1u);
        }
    };
    expectRefused([&] { AtAnsiToWideOut(ansi, w, 0x80000000); });
    expectRefused([&] { AtAnsiToWideOutN(ansi, w, 2, 0x80000000); });
    expectRefused([&] { AtAnsiToWideOutN(ansi, w, 0xFFFFFFFF, 1); });
    expectRefused([&] { AtWideToAnsiOut(wide, a, 0x80000000); });
    EXPECT_EQ(toWide.calls, 0);
    EXPECT_EQ(AtAnsiToWideOut(ansi, w, 0x7FFFFFFF), 2);
}

TEST_F(CoreTest, OutputBuffersAreSizedForTheCodePage)
{
    harness::HeapLog heap;
    AtMaxCharSize = 2;
    AtStringSlot none, ansi, wide, bytes;
    AtAllocAnsiOut(none, 0);
    AtAllocWideOut(none, 0);
    AtAllocBuffer(none, 0);
    EXPECT_EQ(none.value, nullptr);
    AtAllocAnsiOut(ansi, 260);
    AtAllocWideOut(wide, 260);
    AtAllocBuffer(bytes, 7);
    EXPECT_EQ(heap.allocationSizes(), (std::vector<SIZE_T>{520, 520, 7}));
    EXPECT_EQ(AtHeapSize(ansi), 520u);
    EXPECT_EQ(AtHeapSize(nullptr), 0u);
    AtFreeBuffer(bytes);
    EXPECT_EQ(bytes.value, nullptr);

    // A size that would wrap around is refused as memory the heap does not have.
    for (DWORD n : {0x80000000u, 0xFFFFFFFFu}) {
        AtStringSlot huge;
        EXPECT_THROW(AtAllocAnsiOut(huge, n), CAtException) << n;
        EXPECT_THROW(AtAllocWideOut(huge, n), CAtException) << n;
    }
}

TEST_F(CoreTest, CharacterConversionKeepsTheArgumentsTopByte)
{
    EXPECT_EQ(AtWideCharToAnsiChar(L'A'), 'A');
    if (harness::CodePage() == 1252) {
        EXPECT_EQ(AtWideCharToAnsiChar(0x00E9), -23);  // é, sign-extended
    }
    // When nothing is written, the byte is the argument's top byte.
    TW_HOOK(convert, WideCharToMultiByte,
            [](UINT, DWORD, LPCWSTR, int, LPSTR, int, LPCSTR, LPBOOL) { return 0; });
    EXPECT_EQ(AtWideCharToAnsiChar(0x00E9), 0);
    EXPECT_EQ(AtWideCharToAnsiChar(0x41000041), 0x41);
    EXPECT_EQ(AtWideCharToAnsiChar(0x9C000041), static_cast<signed char>(0x9C));
}

// An export of the shape every family uses, for testing the frame itself.
AT_SYSTEM_FUNCTION(kernel32, GetShortPathNameW, 0)

DWORD WINAPI FramedShortPath(LPCWSTR path, LPWSTR buf, DWORD n)
{
    return AtExport(Sys::GetShortPathNameW, path, buf, n).orAnsi(0, [=](AtSavedError& err) {
        AtStringSlot pathA, bufA;
        AtWideToAnsiTemp(pathA, path);
        AtAllocAnsiOut(bufA, n);
        DWORD r = err.keep(GetShortPathNameA(pathA, bufA, AtHeapSize(bufA)));
        if (r && n && buf)
            r = AtAnsiToWideOutN(bufA, buf, n, r) - 1;
        return r;
    });
}

DWORD WINAPI FramedWithoutSavedError(LPCWSTR path, DWORD n)
{
    return AtExport(Sys::GetShortPathNameW, path, nullptr, n).orAnsiWithoutSavedError(7, [=] {
        AtStringSlot pathA;
        AtWideToAnsiTemp(pathA, path);
        WCHAR buf[4];
        return DWORD(AtAnsiToWideOut(pathA, buf, n));
    });
}

class FrameTest : public CoreTest {
protected:
    void SetUp() override
    {
        CoreTest::SetUp();
        AtModuleState.AtIsUnicodePlatform = FALSE;  // the frame's ANSI path
    }
};

TEST_F(FrameTest, RestoresTheErrorOfTheAnsiCall)
{
    TW_HOOK(shortPath, GetShortPathNameA, [](LPCSTR, LPSTR buf, DWORD n) {
        lstrcpynA(buf, "C:\\AB", n);
        SetLastError(1234);
        return DWORD(5);
    });
    WCHAR buf[MAX_PATH];
    SetLastError(0);
    EXPECT_EQ(FramedShortPath(L"C:\\a b", buf, MAX_PATH), 4u);
    EXPECT_EQ(GetLastError(), 1234u);
}

TEST_F(FrameTest, FailureBeforeTheAnsiCallLeavesNoError)
{
    TW_HOOK(shortPath, GetShortPathNameA, [](LPCSTR, LPSTR, DWORD) {
        SetLastError(1234);
        return DWORD(0);
    });
    WCHAR buf[MAX_PATH];
    int runs = harness::SweepAllocationFailures([&](int k) {
        SetLastError(99);
        EXPECT_EQ(FramedShortPath(L"C:\\path", buf, MAX_PATH), 0u);
        bool failed = harness::HeapAllocCalls() >= k;
        EXPECT_EQ(GetLastError(), failed ? 0u : 1234u);
    });
    EXPECT_EQ(runs, 2);
    EXPECT_EQ(shortPath.calls, 1);  // only the run without a failure reached it
}

TEST_F(FrameTest, FailureAfterTheAnsiCallKeepsItsError)
{
    TW_HOOK(shortPath, GetShortPathNameA, [](LPCSTR, LPSTR, DWORD) {
        SetLastError(1234);
        return DWORD(5);
    });
    // Converting the result back runs out of memory.
    auto framed = [](LPCWSTR path) {
        return AtExport(Sys::GetShortPathNameW, path, nullptr, 0).orAnsi(0, [=](AtSavedError& err) {
            DWORD r = err.keep(GetShortPathNameA("x", nullptr, 0));
            AtStringSlot result;
            AtAnsiToWideTemp(result, "C:\\AB");
            return r;
        });
    };
    harness::FailHeapAllocAt(1);
    SetLastError(0);
    EXPECT_EQ(framed(L"C:\\a b"), 0u);
    EXPECT_EQ(GetLastError(), 1234u);
}

TEST_F(FrameTest, TemporariesAreFreedInReverseOrder)
{
    TW_HOOK(shortPath, GetShortPathNameA, [](LPCSTR, LPSTR, DWORD) { return DWORD(0); });
    harness::HeapLog heap;
    WCHAR buf[MAX_PATH];
    FramedShortPath(L"C:\\path", buf, MAX_PATH);
    EXPECT_EQ(heap.events().size(), 4u);
    EXPECT_TRUE(heap.freedInReverseOrder());
}

TEST_F(FrameTest, WithoutSavedErrorTheHelpersErrorStays)
{
    harness::FailHeapAllocAt(1);
    SetLastError(0);
    EXPECT_EQ(FramedWithoutSavedError(L"x", 4), 7u);
    EXPECT_EQ(GetLastError(), DWORD(ERROR_OUTOFMEMORY));
    harness::FailHeapAllocAt(0);
    SetLastError(0);
    EXPECT_EQ(FramedWithoutSavedError(L"x", 0x80000000), 7u);
    EXPECT_EQ(GetLastError(), DWORD(ERROR_INVALID_PARAMETER));
    EXPECT_EQ(FramedWithoutSavedError(L"x", 4), 2u);
}

// A function the system lacks: its callers answer with their failure value and
// ERROR_CALL_NOT_IMPLEMENTED, and it is looked up once.
extern "C" HANDLE WINAPI TorwenTestNoSuchFunctionW(LPCWSTR);
AT_SYSTEM_FUNCTION(kernel32, TorwenTestNoSuchFunctionW, -1)

TEST_F(CoreTest, MissingSystemFunctionAnswersNotImplemented)
{
    TW_HOOK(lookup, GetProcAddress, [&](HMODULE m, LPCSTR name) { return lookup.real(m, name); });
    for (int i = 0; i < 2; ++i) {
        SetLastError(0);
        EXPECT_EQ(Sys::TorwenTestNoSuchFunctionW(L"x"), INVALID_HANDLE_VALUE);
        EXPECT_EQ(GetLastError(), DWORD(ERROR_CALL_NOT_IMPLEMENTED));
    }
    EXPECT_EQ(lookup.calls, 1);
}

AT_SYSTEM_FUNCTION(kernel32, GetCurrentDirectoryW, 0)

TEST_F(CoreTest, BindingLeavesTheLastErrorAlone)
{
    SetLastError(4321);
    WCHAR dir[MAX_PATH];
    EXPECT_GT(Sys::GetCurrentDirectoryW(MAX_PATH, dir), 0u);
    EXPECT_EQ(GetLastError(), 4321u);
}

}  // namespace
