// FormatMessageW: what the caller gets on both paths, and what the ANSI path hands
// to FormatMessageA.
#include <cstdarg>
#include <set>
#include <string>

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
    WCHAR buf[512] = {};
    LPWSTR allocated = nullptr;
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

// The system's ANSI answer, for comparison.
std::wstring FormatA(DWORD flags, LPCVOID source, DWORD id, const DWORD_PTR* args)
{
    char buf[512];
    DWORD r = FormatMessageA(flags, source, id, 0, buf, sizeof buf, (va_list*)args);
    return r ? harness::FromAnsi(std::string(buf, r)) : Failed;
}

// The inserts of two message texts (a number and a file name), for both functions.
const DWORD_PTR InsertsW[] = {(DWORD_PTR)L"1F", (DWORD_PTR)L"a.exe"};
const DWORD_PTR InsertsA[] = {(DWORD_PTR)"1F", (DWORD_PTR)"a.exe"};

}  // namespace

TEST_F(FormatTest, SystemAndModuleMessagesAgreeWithTheAnsiFunction)
{
    HMODULE messages = GetModuleHandleW(L"kernelbase.dll");  // Wine's system message table
    const DWORD FromModule = FORMAT_MESSAGE_FROM_HMODULE, Ignore = FORMAT_MESSAGE_IGNORE_INSERTS;
    for (DWORD alloc : {0ul, Allocate}) {
        EXPECT_EQ(Format(alloc | FromSystem | Ignore, nullptr, 2, nullptr),
                  FormatA(FromSystem | Ignore, nullptr, 2, nullptr));
        EXPECT_EQ(Format(alloc | FromSystem | Array, nullptr, 317, InsertsW),
                  FormatA(FromSystem | Array, nullptr, 317, InsertsA));
        EXPECT_EQ(Format(alloc | FromModule | Array, messages, 193, InsertsW),
                  FormatA(FromModule | Array, messages, 193, InsertsA));
        EXPECT_EQ(Format(alloc | FromSystem, nullptr, 0x7FFF1234, nullptr), Failed);
        EXPECT_EQ(GetLastError(), (DWORD)ERROR_MR_MID_NOT_FOUND);
    }
}

TEST_F(FormatTest, StringTemplatesFromAnArrayAndAVariableArgumentList)
{
    std::wstring name = harness::NonAsciiText();
    std::wstring expected = name + L" has 42 pages on D:, grade A.";
    LPCWSTR tmpl = L"%1 has %2!d! pages on %3!s!, grade %4!c!.";
    const DWORD_PTR args[] = {(DWORD_PTR)name.c_str(), 42, (DWORD_PTR)L"D:", L'A'};
    for (DWORD alloc : {0ul, Allocate}) {
        EXPECT_EQ(Format(alloc | FromString | Array, tmpl, 0, args), expected);
        EXPECT_EQ(FormatV(alloc, tmpl, name.c_str(), 42, L"D:", L'A'), expected);
        EXPECT_EQ(FormatV(alloc, L"%2!s! then %1!u!", 7u, L"z"), L"z then 7");
        EXPECT_EQ(FormatV(alloc, L"%1!d!-%2!x!", -7, 255), L"-7-ff");
    }
    EXPECT_EQ(Format(FromString | Array, tmpl, 0, args, 12), Failed);
    EXPECT_EQ(GetLastError(), (DWORD)ERROR_INSUFFICIENT_BUFFER);
    // Both paths copy a template whose inserts are to be ignored as it stands.
    EXPECT_EQ(Format(FromString | FORMAT_MESSAGE_IGNORE_INSERTS, L"1%% %1", 0, nullptr), L"1%% %1");

    // The ANSI path copies every template without inserts or without arguments
    // so: escapes stay, and the caller's size is not checked.
    bool ansi = harness::AnsiPath();
    EXPECT_EQ(Format(FromString, L"100%% sure", 0, nullptr, 3), ansi ? L"100%% sure" : Failed);
    EXPECT_EQ(Format(FromString | Allocate, L"100%%", 0, nullptr), ansi ? L"100%%" : L"100%");
    EXPECT_EQ(Format(FromString, L"%1 here", 0, nullptr), ansi ? L"%1 here" : Failed);
}

TEST_F(FormatTest, TheAnsiFunctionGetsConvertedInsertsAndTheTemplateAsItIs)
{
    if (!harness::AnsiPath())
        GTEST_SKIP() << "the W path passes the call on";
    // FormatMessageA's view of the call. It answers "ok" itself: the system would
    // read beyond a table that a gap in the numbering cut short.
    std::function<void(DWORD flags, LPCSTR tmpl, const DWORD* table)> check;
    TW_HOOK(hook, FormatMessageA,
            [&](DWORD f, LPCVOID s, DWORD, DWORD, LPSTR buf, DWORD, va_list* a) {
                check(f, (LPCSTR)s, (const DWORD*)a);
                lstrcpyA(buf, "ok");
                return 2ul;
            });
    std::wstring text = harness::NonAsciiText();
    check = [&](DWORD flags, LPCSTR tmpl, const DWORD* table) {
        EXPECT_EQ(flags, FromString | Array);
        EXPECT_STREQ(tmpl, "%%1 %1 %2!u! %3!S! %4!c! %6");
        EXPECT_EQ(HeapSize(GetProcessHeap(), 0, table), 16u);  // "%%1" is text, and %5 is missing
        EXPECT_EQ((LPCSTR)table[0], harness::ToAnsi(text));
        EXPECT_EQ(table[1], 9u);
        EXPECT_STREQ((LPCSTR)table[2], "three");  // "!S!" stays and gets ANSI text
        EXPECT_EQ(table[3], (DWORD)'x');
    };
    EXPECT_EQ(FormatV(FromSystem, L"%%1 %1 %2!u! %3!S! %4!c! %6", text.c_str(), 9u, L"three", L'x'),
              L"ok");

    const DWORD_PTR args[] = {(DWORD_PTR)L"a", (DWORD_PTR)L"b", (DWORD_PTR)L"c"};
    for (LPCWSTR tmpl : {L"%1 %3", L"%1 %100"}) {
        check = [&](DWORD, LPCSTR, const DWORD* table) {
            EXPECT_EQ(HeapSize(GetProcessHeap(), 0, table), 4u);
            EXPECT_STREQ((LPCSTR)table[0], "a");
        };
        EXPECT_EQ(Format(FromString | Array, tmpl, 0, args), L"ok");
    }
    // Numeric inserts only: the caller's arguments go on untouched.
    check = [&](DWORD flags, LPCSTR, const DWORD* table) {
        EXPECT_EQ(table, (const DWORD*)args);
        EXPECT_EQ(flags, FromString | Array);
    };
    EXPECT_EQ(Format(FromString | Array, L"%1!d!", 0, args), L"ok");
    EXPECT_EQ(Format(FromString, L"%%1 only", 0, args), L"%%1 only");
    EXPECT_EQ(hook.calls, 4);
}

TEST_F(FormatTest, RunningOutOfMemoryAnswersZeroAndFreesEverything)
{
    if (!harness::AnsiPath())
        GTEST_SKIP() << "the W path allocates nothing of torwen's";
    // A successful FormatMessageA leaves a mark, so the error that a failing run
    // restores tells whether it failed before or after the ANSI call.
    std::set<HLOCAL> fromFormat, freed;
    TW_HOOK(format, FormatMessageA,
            [&](DWORD f, LPCVOID s, DWORD id, DWORD l, LPSTR b, DWORD n, va_list* a) {
                DWORD r = format.real(f, s, id, l, b, n, a);
                if (r && (f & Allocate))
                    fromFormat.insert(*(HLOCAL*)b);
                SetLastError(777);
                return r;
            });
    TW_HOOK(localFree, LocalFree, [&](HLOCAL h) { freed.insert(h); return localFree.real(h); });

    std::wstring expected = FormatA(FromSystem | Array, nullptr, 317, InsertsA);
    for (DWORD alloc : {0ul, Allocate}) {
        int failing = harness::SweepAllocationFailures([&](int k) {
            format.calls = 0;
            std::wstring text = Format(alloc | FromSystem | Array, nullptr, 317, InsertsW);
            if (text == Failed) {
                EXPECT_EQ(GetLastError(), format.calls ? 777u : 0u) << "allocation " << k;
            } else {
                EXPECT_EQ(text, expected);
            }
        });
        EXPECT_GE(failing, 6);
    }
    for (HLOCAL h : fromFormat)
        EXPECT_TRUE(freed.count(h));
}
