// FormatMessageW on both paths, and what the ANSI path hands to FormatMessageA.
#include <cstdarg>

#include "harness/harness.h"

namespace {

class FormatTest : public harness::TorwenTest {};

const DWORD FromString = FORMAT_MESSAGE_FROM_STRING, FromSystem = FORMAT_MESSAGE_FROM_SYSTEM,
            Array = FORMAT_MESSAGE_ARGUMENT_ARRAY, Allocate = FORMAT_MESSAGE_ALLOCATE_BUFFER;
const std::wstring Failed = L"<failed>";

// Formats into a buffer of 512 characters announced as `size`, or into one that
// FormatMessageW allocates and this frees; checks that the count is the length.
std::wstring Format(DWORD flags, LPCVOID source, DWORD id, const void* args, DWORD size = 256)
{
    WCHAR buf[512] = {}, *allocated = nullptr;
    DWORD r = FormatMessageW(flags, source, id, 0, flags & Allocate ? (LPWSTR)&allocated : buf,
                             size, (va_list*)args);
    std::wstring text = !(flags & Allocate) ? buf : allocated ? allocated : L"";
    EXPECT_EQ(LocalFree(allocated), nullptr);
    EXPECT_EQ(r, r ? text.size() : 0u);
    return r ? text : Failed;
}

std::wstring FormatV(DWORD flags, LPCWSTR tmpl, ...)
{
    va_list args;
    va_start(args, tmpl);
    std::wstring text = Format(flags | FromString, tmpl, 0, &args);
    va_end(args);
    return text;
}

std::wstring FormatA(DWORD flags, DWORD id, const DWORD_PTR* args)
{
    char buf[512];
    DWORD r = FormatMessageA(flags, nullptr, id, 0, buf, sizeof buf, (va_list*)args);
    return r ? harness::FromAnsi(std::string(buf, r)) : Failed;
}

}  // namespace

TEST_F(FormatTest, MessagesIntoTheCallersAndAnAllocatedBuffer)
{
    std::wstring name = harness::NonAsciiText();
    for (DWORD out : {0ul, Allocate}) {
        EXPECT_EQ(Format(out | FromSystem | FORMAT_MESSAGE_IGNORE_INSERTS, nullptr, 2, nullptr),
                  FormatA(FromSystem | FORMAT_MESSAGE_IGNORE_INSERTS, 2, nullptr));
        EXPECT_EQ(FormatV(out, L"%2!d! on %3!s! for %1, %4!c!.", name.c_str(), 42, L"D:", L'A'),
                  L"42 on D: for " + name + L", A.");
    }
    // Without inserts the ANSI path copies the template as it stands, unbounded.
    EXPECT_EQ(Format(FromString, L"1%%", 0, nullptr, 1), harness::AnsiPath() ? L"1%%" : Failed);
}

TEST_F(FormatTest, TheAnsiFunctionGetsConvertedInsertsAndTheTemplateAsItIs)
{
    if (!harness::AnsiPath())
        GTEST_SKIP() << "the W path passes the call on";
    // FormatMessageA answers "ok" itself: it would read past a table cut short by a gap.
    std::function<void(DWORD flags, LPCSTR tmpl, const DWORD* table)> check;
    TW_HOOK(h, FormatMessageA, [&](DWORD f, LPCVOID s, DWORD, DWORD, LPSTR b, DWORD, va_list* a) {
        check(f, (LPCSTR)s, (const DWORD*)a);
        return DWORD(lstrlenA(lstrcpyA(b, "ok")));
    });
    std::wstring text = harness::NonAsciiText();
    LPCWSTR tmpl = L"%%1 %1 %2!u! %3!S! %4!c! %6";
    check = [&](DWORD flags, LPCSTR tmplA, const DWORD* table) {
        EXPECT_EQ(flags, FromString | Array);
        EXPECT_EQ(tmplA, harness::ToAnsi(tmpl));
        EXPECT_EQ(HeapSize(GetProcessHeap(), 0, table), 16u);  // "%%1" is text, and %5 is missing
        EXPECT_EQ((LPCSTR)table[0], harness::ToAnsi(text));
        EXPECT_EQ(table[1], 9u);
        EXPECT_STREQ((LPCSTR)table[2], "three");  // "!S!" stays and gets ANSI text
        EXPECT_EQ(table[3], (DWORD)'x');
    };
    EXPECT_EQ(FormatV(FromSystem, tmpl, text.c_str(), 9u, L"three", L'x'), L"ok");
    const DWORD_PTR args[] = {(DWORD_PTR)L"a", (DWORD_PTR)L"b", (DWORD_PTR)L"c"};
    check = [&](DWORD, LPCSTR, const DWORD* t) { EXPECT_EQ(HeapSize(GetProcessHeap(), 0, t), 4u); };
    EXPECT_EQ(Format(FromString | Array, L"%1 %3", 0, args), L"ok");
    // Numeric inserts only: the caller's arguments go on untouched.
    check = [&](DWORD, LPCSTR, const DWORD* table) { EXPECT_EQ(table, (const DWORD*)args); };
    EXPECT_EQ(Format(FromString | Array, L"%1!d!", 0, args), L"ok");
    EXPECT_EQ(Format(FromString, L"%%1 only", 0, args), L"%%1 only");  // "%%1" is no insert
}

TEST_F(FormatTest, RunningOutOfMemoryAnswersZeroWithTheRightError)
{
    // FormatMessageA leaves a mark: a failing run restores it, or 0 if it failed earlier.
    TW_HOOK(format, FormatMessageA,
            [&](DWORD f, LPCVOID s, DWORD id, DWORD l, LPSTR b, DWORD n, va_list* a) {
                DWORD r = format.real(f, s, id, l, b, n, a);
                SetLastError(777);
                return r;
            });
    const DWORD_PTR insertsW[] = {(DWORD_PTR)L"1F", (DWORD_PTR)L"a.exe"};
    const DWORD_PTR insertsA[] = {(DWORD_PTR)"1F", (DWORD_PTR)"a.exe"};
    std::wstring expected = FormatA(FromSystem | Array, 317, insertsA);
    for (DWORD alloc : {0ul, Allocate}) {
        EXPECT_EQ(harness::AnsiPath(), 0 < harness::SweepAllocationFailures([&](int k) {
            format.calls = 0;
            std::wstring text = Format(alloc | FromSystem | Array, nullptr, 317, insertsW);
            if (text == Failed)
                EXPECT_EQ(GetLastError(), format.calls ? 777u : 0u) << "allocation " << k;
            else
                EXPECT_EQ(text, expected);
        }));
    }
}
