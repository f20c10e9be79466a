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

// Integers (atoms, resource identifiers, null) pass through without an allocation;
// text round-trips.
TEST_F(CoreTest, TemporariesPassIntegersAndConvertText)
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

    std::wstring text = harness::NonAsciiText();
    AtStringSlot ansi, wide;
    AtWideToAnsiTemp(ansi, text.c_str());
    EXPECT_EQ(std::string(static_cast<char*>(ansi)), harness::ToAnsi(text));
    AtAnsiToWideTemp(wide, ansi);
    EXPECT_EQ(std::wstring(static_cast<WCHAR*>(wide)), text);

    // A failed conversion leaves an empty string, never an unterminated one.
    TW_HOOK(convert, WideCharToMultiByte,
            [&](UINT cp, DWORD flags, LPCWSTR s, int n, LPSTR out, int size, LPCSTR d, LPBOOL u) {
                return out ? 0 : convert.real(cp, flags, s, n, out, size, d, u);
            });
    AtStringSlot failed;
    AtWideToAnsiTemp(failed, L"text");
    EXPECT_STREQ(static_cast<char*>(failed), "");
}

TEST_F(CoreTest, ListModeStopsAtTheListsEnd)
{
    // Each list ends exactly at a no-access page. The block is one byte longer than
    // the list needs, and that byte is a NUL.
    harness::GuardPage guard;
    const std::wstring text = L"A=" + harness::NonAsciiText() + L'\0' + L"B=2" + L'\0' + L'\0';
    const std::string textA = harness::ToAnsi(L"A=" + harness::NonAsciiText()) + '\0' + "B=2" + '\0' + '\0';
    struct {
        std::wstring list;  // with the final NUL
        std::string expected;
    } cases[] = {{{L"\0", 1}, {"\0", 1}},
                 {{L"a\0\0", 3}, {"a\0\0", 3}},
                 {{L"ab\0\0", 4}, {"ab\0\0", 4}},
                 {{L"a\0bc\0\0", 6}, {"a\0bc\0\0", 6}},
                 {text, textA}};
    for (auto& c : cases) {
        harness::HeapLog heap;
        AtStringSlot slot;
        AtWideToAnsiTempList(slot, guard.Copy(c.list.c_str(), c.list.size()), AtListOfStrings);
        EXPECT_EQ(heap.allocationSizes(), std::vector<SIZE_T>{c.expected.size() + 1}) << c.list.size();
        EXPECT_EQ(std::string(static_cast<char*>(slot), c.expected.size() + 1), c.expected + '\0');
    }

    // Any other mode converts the first string alone.
    std::vector<int> lengths;
    TW_HOOK(hook, WideCharToMultiByte,
            [&](UINT cp, DWORD flags, LPCWSTR s, int n, LPSTR out, int size, LPCSTR def, LPBOOL used) {
                lengths.push_back(n);
                return hook.real(cp, flags, s, n, out, size, def, used);
            });
    AtStringSlot single;
    AtWideToAnsiTempList(single, L"a\0b\0", 0);
    EXPECT_EQ(lengths, (std::vector<int>{-1, -1}));
    EXPECT_STREQ(static_cast<char*>(single), "a");
}

// Conversions back are all or nothing. Whatever an A function reports or leaves
// unterminated, they read only the slot's block: a text without a NUL in it ends
// where the block does; a counted conversion adds no NUL beyond its count.
TEST_F(CoreTest, ConversionBackIsAllOrNothingWithinTheBlock)
{
    AtStringSlot full, ansi;
    AtAllocBuffer(full, 4);
    memcpy(full.value, "abcd", 4);
    AtWideToAnsiTemp(ansi, L"hello");
    WCHAR buf[16];
    struct {
        const char* name;
        std::function<int()> convert;
        int converted;
        std::wstring text;  // the buffer's start afterwards
    } cases[] = {
        {"unterminated", [&] { return AtAnsiToWideOut(full, buf, 16); }, 5, L"abcd"},
        {"unterminated, exactly", [&] { return AtAnsiToWideOut(full, buf, 5); }, 5, L"abcd"},
        {"unterminated, no room for the NUL", [&] { return AtAnsiToWideOut(full, buf, 4); }, 0, L""},
        {"unterminated, no buffer", [&] { return AtAnsiToWideOut(full, nullptr, 0); }, 5, L""},
        {"a required size", [&] { return AtAnsiToWideOutN(full, buf, 16, 9); }, 4, L"abcd#"},
        {"one short", [&] { return AtAnsiToWideOut(ansi, buf, 5); }, 0, L""},
        {"fits", [&] { return AtAnsiToWideOut(ansi, buf, 6); }, 6, {L"hello\0", 6}},
        {"counted", [&] { return AtAnsiToWideOutN(ansi, buf, 8, 3); }, 3, L"hel#"},
    };
    for (auto& c : cases) {
        wmemset(buf, L'#', 16);
        EXPECT_EQ(c.convert(), c.converted) << c.name;
        EXPECT_EQ(std::wstring(buf, c.text.size()), c.text) << c.name;
    }

    AtStringSlot wide;
    AtAnsiToWideTemp(wide, "hello");
    char out[8];
    EXPECT_EQ(AtWideToAnsiOut(wide, out, 5), 0);
    EXPECT_EQ(AtWideToAnsiOut(wide, out, 6), 6);
    EXPECT_STREQ(out, "hello");
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
}

// A count above the signed range is refused before anything is converted; a buffer
// size that would wrap around is refused as memory the heap does not have.
TEST_F(CoreTest, OversizedCountsThrow)
{
    AtStringSlot ansi, wide, huge;
    AtWideToAnsiTemp(ansi, L"x");
    AtAnsiToWideTemp(wide, "x");
    WCHAR w[2];
    char a[2];
    TW_HOOK(toWide, MultiByteToWideChar,
            [&](UINT cp, DWORD f, LPCSTR s, int n, LPWSTR o, int c) { return toWide.real(cp, f, s, n, o, c); });
    const struct {
        std::function<void()> call;
        DWORD value;
    } refused[] = {
        {[&] { AtAnsiToWideOut(ansi, w, 0x80000000); }, CAtException::CountTooLarge},
        {[&] { AtAnsiToWideOutN(ansi, w, 2, 0x80000000); }, CAtException::CountTooLarge},
        {[&] { AtAnsiToWideOutN(ansi, w, 0xFFFFFFFF, 1); }, CAtException::CountTooLarge},
        {[&] { AtWideToAnsiOut(wide, a, 0x80000000); }, CAtException::CountTooLarge},
        {[&] { AtAllocAnsiOut(huge, 0x80000000); }, CAtException::OutOfMemory},
        {[&] { AtAllocWideOut(huge, 0x80000000); }, CAtException::OutOfMemory},
        {[&] { AtAllocAnsiOut(huge, 0xFFFFFFFF); }, CAtException::OutOfMemory},
        {[&] { AtAllocWideOut(huge, 0xFFFFFFFF); }, CAtException::OutOfMemory},
    };
    for (const auto& r : refused) {
        try {
            r.call();
            ADD_FAILURE() << "no exception, case " << &r - refused;
        } catch (CAtException& e) {
            EXPECT_EQ(e.value, r.value) << "case " << &r - refused;
        }
    }
    EXPECT_EQ(toWide.calls, 0);
    EXPECT_EQ(AtAnsiToWideOut(ansi, w, 0x7FFFFFFF), 2);
}

TEST_F(CoreTest, CharacterConversionKeepsTheArgumentsTopByte)
{
    EXPECT_EQ(AtWideCharToAnsiChar(L'A'), 'A');
    if (harness::CodePage() == 1252) {
        EXPECT_EQ(AtWideCharToAnsiChar(0x00E9), -23);  // é, sign-extended
    }
    // When nothing is written, the byte is the argument's top byte.
    TW_HOOK(convert, WideCharToMultiByte, [](UINT, DWORD, LPCWSTR, int, LPSTR, int, LPCSTR, LPBOOL) { return 0; });
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

// The A call's error survives the conversions after it, and a failure after it; a
// failure before it leaves no error. Temporaries go in the reverse order of their making.
TEST_F(FrameTest, LastErrorIsTheAnsiCallsOrNone)
{
    TW_HOOK(shortPath, GetShortPathNameA, [](LPCSTR, LPSTR buf, DWORD n) {
        if (buf)
            lstrcpynA(buf, "C:\\AB", n);
        SetLastError(1234);
        return DWORD(5);
    });
    WCHAR buf[MAX_PATH];
    int runs = harness::SweepAllocationFailures([&](int k) {
        SetLastError(99);
        DWORD r = FramedShortPath(L"C:\\a b", buf, MAX_PATH);
        const bool failed = harness::HeapAllocCalls() >= k;
        EXPECT_EQ(r, failed ? 0u : 4u) << k;
        EXPECT_EQ(GetLastError(), failed ? 0u : 1234u) << k;
    });
    EXPECT_EQ(runs, 2);
    EXPECT_EQ(shortPath.calls, 1);  // only the run without a failure reached it

    harness::HeapLog heap;
    FramedShortPath(L"C:\\path", buf, MAX_PATH);
    EXPECT_EQ(heap.events().size(), 4u);
    EXPECT_TRUE(heap.freedInReverseOrder());

    auto failsAfter = [](LPCWSTR path) {
        return AtExport(Sys::GetShortPathNameW, path, nullptr, 0).orAnsi(0, [=](AtSavedError& err) {
            DWORD r = err.keep(GetShortPathNameA("x", nullptr, 0));
            AtStringSlot result;
            AtAnsiToWideTemp(result, "C:\\AB");
            return r;
        });
    };
    harness::FailHeapAllocAt(1);
    SetLastError(0);
    EXPECT_EQ(failsAfter(L"C:\\a b"), 0u);
    EXPECT_EQ(GetLastError(), 1234u);
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

// A function the system lacks is looked up once; binding one leaves the last error alone.
extern "C" HANDLE WINAPI TorwenTestNoSuchFunctionW(LPCWSTR);
AT_SYSTEM_FUNCTION(kernel32, TorwenTestNoSuchFunctionW, -1)
AT_SYSTEM_FUNCTION(kernel32, GetCurrentDirectoryW, 0)

TEST_F(CoreTest, SystemFunctionsBindOnceAndQuietly)
{
    TW_HOOK(lookup, GetProcAddress, [&](HMODULE m, LPCSTR name) { return lookup.real(m, name); });
    for (int i = 0; i < 2; ++i) {
        SetLastError(0);
        EXPECT_EQ(Sys::TorwenTestNoSuchFunctionW(L"x"), INVALID_HANDLE_VALUE);
        EXPECT_EQ(GetLastError(), DWORD(ERROR_CALL_NOT_IMPLEMENTED));
    }
    EXPECT_EQ(lookup.calls, 1);

    SetLastError(4321);
    WCHAR dir[MAX_PATH];
    EXPECT_GT(Sys::GetCurrentDirectoryW(MAX_PATH, dir), 0u);
    EXPECT_EQ(GetLastError(), 4321u);
}

}  // namespace
