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
    // Without inserts the template is copied as it stands, if it fits.
    // (The system's W function treats "%%" as an escape even then.)
    EXPECT_EQ(Format(FromString, L"1%%", 0, nullptr, 4), harness::AnsiPath() ? L"1%%" : L"1%");
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
    const char* narrow = "three";
    check = [&](DWORD flags, LPCSTR tmplA, const DWORD* table) {
        EXPECT_EQ(flags, FromString | Array);
        EXPECT_EQ(tmplA, harness::ToAnsi(tmpl));
        EXPECT_EQ(HeapSize(GetProcessHeap(), 0, table), 24u);  // "%%1" is text; up to %6
        EXPECT_EQ((LPCSTR)table[0], harness::ToAnsi(text));
        EXPECT_EQ(table[1], 9u);
        // "!S!" stays: FormatMessageW read the caller's narrow text, FormatMessageA
        // reads a wide one.
        EXPECT_STREQ((LPCWSTR)table[2], L"three");
        EXPECT_EQ(table[3], (DWORD)'x');
        EXPECT_EQ(table[4], 5u);
    };
    EXPECT_EQ(FormatV(FromSystem, tmpl, text.c_str(), 9u, narrow, L'x', 5u, L"six"), L"ok");
    const DWORD_PTR args[] = {(DWORD_PTR)L"a", (DWORD_PTR)L"b", (DWORD_PTR)L"c"};
    check = [&](DWORD, LPCSTR, const DWORD* t) { EXPECT_EQ(HeapSize(GetProcessHeap(), 0, t), 12u); };
    EXPECT_EQ(Format(FromString | Array, L"%1 %3", 0, args), L"ok");
    // Numeric inserts only: the caller's arguments go on untouched.
    check = [&](DWORD, LPCSTR, const DWORD* table) { EXPECT_EQ(table, (const DWORD*)args); };
    EXPECT_EQ(Format(FromString | Array, L"%1!d!", 0, args), L"ok");
    EXPECT_EQ(Format(FromString, L"%%1 only", 0, args), L"%%1 only");  // "%%1" is no insert
}

// Inputs that the system's FormatMessageW answers without harm, some of which
// made the ANSI path overrun the caller's buffer, read past its own tables or
// crash. Each answer is compared with the system's own W function, into a
// buffer that ends at a no-access page.
TEST_F(FormatTest, AnswersWhatTheSystemAnswersWithoutOverrunning)
{
    auto systemW = reinterpret_cast<decltype(&FormatMessageW)>(reinterpret_cast<void*>(
        GetProcAddress(GetModuleHandleA("kernel32.dll"), "FormatMessageW")));
    const DWORD_PTR wide[] = {(DWORD_PTR)L"abc", (DWORD_PTR)L"def", (DWORD_PTR)L"ghi"};
    const DWORD_PTR narrow[] = {(DWORD_PTR) "abc", 'x'};
    const DWORD_PTR null[] = {0, 0};
    const DWORD_PTR starred[] = {6, (DWORD_PTR)L"ab", (DWORD_PTR)L"cd", 4, 2, (DWORD_PTR)L"xyz"};
    const DWORD_PTR repeated[] = {(DWORD_PTR)L"abc", 'q'};
    struct Case {
        DWORD flags;
        LPCWSTR tmpl;
        const DWORD_PTR* args;
        DWORD size;
        bool nullBuffer = false;
        bool sameError = true;  // a text too long once converted keeps the A call's error
    } cases[] = {
        {FromString, L"abcdef", nullptr, 2},                // no inserts, too long
        {FromString | FORMAT_MESSAGE_IGNORE_INSERTS, L"%1 abcdef", wide, 6},
        {FromSystem | FORMAT_MESSAGE_IGNORE_INSERTS, nullptr, nullptr, 10},
        {FromString | Array, L"%1 %3", wide, 16},           // a gap before the last insert
        {FromString | Array, L"%1 and %2!S!", null, 32},     // "(null)" twice
        {FromString | Array, L"%1!S!%2!C!", narrow, 16},     // the caller's narrow text
        {FromString | Array, L"%2!ls!-%1!ws!", wide, 16},
        {FromString | Array, L"%1!*s!|%2|%3", starred, 32},  // the width is an argument
        {FromString | Array, L"%2|%1!*s!", starred, 32},
        {FromString | Array, L"%1!d! %4!*.*s!|%6", starred, 32},
        {FromString | Array, L"%2!c!%1!s!%2!c!", repeated, 16},
        {FromString | Array, L"%1 x", wide, 3, false, false},  // expanded, too long
        {FromString, nullptr, nullptr, 8},                   // no template
        {FromSystem, nullptr, nullptr, 10, true},            // no buffer
        {FromString | Allocate, L"abc", nullptr, 0, true},
        {FromSystem | Allocate, nullptr, nullptr, 0, true},
    };
    harness::GuardPage guard;
    for (const Case& c : cases) {
        SCOPED_TRACE(testing::Message() << (c.tmpl ? c.tmpl : L"(none)") << " into " << c.size);
        DWORD id = c.flags & FromSystem ? ERROR_FILE_NOT_FOUND : 0;
        WCHAR expected[64] = {};
        SetLastError(0xdead);
        DWORD r = systemW(c.flags, c.tmpl, id, 0, c.nullBuffer ? nullptr : expected, c.size,
                          (va_list*)c.args);
        DWORD error = GetLastError();

        LPWSTR buf = c.nullBuffer ? nullptr : guard.End<WCHAR>(c.size ? c.size : 1, L'#');
        SetLastError(0xdead);
        EXPECT_EQ(FormatMessageW(c.flags, c.tmpl, id, 0, buf, c.size, (va_list*)c.args), r);
        if (c.sameError) {
            EXPECT_EQ(GetLastError(), error);
        }
        if (r) {
            EXPECT_EQ(std::wstring(buf), expected);
        }
    }
    // A variable argument list with a "*" width and a string to convert is refused on
    // the ANSI path: after the width it is read in an order no one table can follow.
    SetLastError(0);
    std::wstring starredV = FormatV(0, L"%1!*d!|%2", 6, 42, L"x");
    EXPECT_EQ(starredV, harness::AnsiPath() ? Failed : L"    42|x");
    EXPECT_EQ(GetLastError(), harness::AnsiPath() ? DWORD(ERROR_INVALID_PARAMETER) : 0u);
    // One argument read as a wide and as a narrow string: one entry cannot be both,
    // but each reading ends inside it.
    WCHAR out[32];
    EXPECT_GT(FormatMessageW(FromString | Array, L"%1!ls!|%1", 0, 0, out, 32, (va_list*)wide), 4u);
    EXPECT_EQ(std::wstring(out).substr(std::wstring(out).find(L'|')), L"|abc");
}
