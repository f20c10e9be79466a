// Message formatting.
//
// FormatMessageA cannot take the caller's wide inserts, and a variable argument
// list cannot be rewritten in place. So the ANSI path fetches the template with
// its inserts left alone, finds the inserts itself, converts the string and
// character arguments into an argument array of its own, and lets FormatMessageA
// expand that array against the ANSI template.
#include <cstdarg>
#include <cstdio>
#include <cwchar>

#include "core/core.h"

AT_SYSTEM_FUNCTION(kernel32, FormatMessageW, 0)

namespace {

const int MaxInsert = 99;  // inserts are numbered %1 to %99

// The position of insert n ("%n") in the template, or null. An escaped percent
// sign ("%%1") is text, not an insert. The first match wins, so the pattern of
// insert 1 also matches the start of "%10".
LPCWSTR AtFindInsert(LPCWSTR tmpl, int n)
{
    if (n > MaxInsert || !tmpl)
        return nullptr;
    WCHAR pattern[8];
    _snwprintf(pattern, ARRAYSIZE(pattern), L"%%%d", n);
    size_t patternLength = wcslen(pattern);
    LPCWSTR from = tmpl;
    while (wcslen(from) >= patternLength) {
        LPCWSTR match = wcsstr(from, pattern);
        if (!match)
            return nullptr;
        if (match == tmpl || match[-1] != L'%')
            return match;
        from = match + 1;
    }
    return nullptr;
}

// The type of the insert at `insert`: 's' without a "!format!", else the last
// character of the format (the conversion letter of "%1!ld!"), 0 for an empty one.
WCHAR AtInsertType(LPCWSTR insert)
{
    LPCWSTR p = insert + 1;
    for (int digits = 0; digits < 2 && *p >= L'0' && *p <= L'9'; ++digits)
        ++p;
    if (*p != L'!')
        return L's';
    ++p;
    if (!*p || *p == L'!')
        return 0;
    while (p[1] && p[1] != L'!')
        ++p;
    return *p;
}

bool IsStringType(WCHAR type)
{
    return type == L's' || type == L'S';
}

bool IsTextType(WCHAR type)
{
    return IsStringType(type) || type == L'c' || type == L'C';
}

// The type of insert n, or 0 when it is missing: the walks over the inserts stop
// at the first missing number or the first empty format.
WCHAR TypeOfInsert(LPCWSTR tmpl, int n)
{
    LPCWSTR insert = AtFindInsert(tmpl, n);
    return insert ? AtInsertType(insert) : 0;
}

// Inserts 1, 2, ... up to the first missing number.
int AtCountInserts(LPCWSTR tmpl)
{
    int n = 0;
    while (n < MaxInsert && AtFindInsert(tmpl, n + 1))
        ++n;
    return n;
}

// How many of the leading typed inserts take text (strings or characters).
int AtCountTextInserts(LPCWSTR tmpl)
{
    int count = 0;
    for (int n = 1; n <= MaxInsert; ++n) {
        WCHAR type = TypeOfInsert(tmpl, n);
        if (!type)
            break;
        if (IsTextType(type))
            ++count;
    }
    return count;
}

// Where the insert values come from: the caller's array, or the caller's
// variable argument list, read one 32-bit value per insert in insert order.
class AtInsertValues {
public:
    AtInsertValues(va_list* arguments, bool isArray) : arguments(arguments), isArray(isArray) {}

    DWORD next()
    {
        if (isArray)
            return reinterpret_cast<const DWORD*>(arguments)[index++];
        return va_arg(*arguments, DWORD);
    }

private:
    va_list* arguments;
    bool isArray;
    int index = 0;
};

// The argument array handed to FormatMessageA: the caller's values with every
// string converted to the ANSI code page and every character to its ANSI byte.
// It frees the strings it converted, also when a conversion runs out of memory
// half way through (so the building is not left to a constructor, whose object
// would never be destroyed).
class AtFormatArgs {
public:
    AtFormatArgs() = default;

    void build(LPCWSTR tmpl, int count, AtInsertValues values)
    {
        table = count ? static_cast<DWORD*>(AtAlloc(4 * count)) : nullptr;
        this->tmpl = tmpl;
        for (int n = 1; n <= count; ++n) {
            WCHAR type = TypeOfInsert(tmpl, n);
            if (!type)
                break;
            table[n - 1] = convert(type, values.next());
            built = n;
        }
    }

    ~AtFormatArgs()
    {
        for (int n = 1; n <= built; ++n)
            if (IsStringType(TypeOfInsert(tmpl, n)))
                AtFree(reinterpret_cast<void*>(table[n - 1]));
        if (table)
            AtFree(table);
    }

    AtFormatArgs(const AtFormatArgs&) = delete;
    AtFormatArgs& operator=(const AtFormatArgs&) = delete;

    va_list* array() const { return reinterpret_cast<va_list*>(table); }

private:
    static DWORD convert(WCHAR type, DWORD value)
    {
        if (IsStringType(type)) {
            LPCWSTR s = reinterpret_cast<LPCWSTR>(value);
            // Two bytes a character are enough for any ANSI code page of the platform.
            int size = 2 * static_cast<int>(wcslen(s)) + 2;
            char* a = static_cast<char*>(AtAlloc(size));
            if (!WideCharToMultiByte(CP_ACP, 0, s, -1, a, size, nullptr, nullptr))
                a[0] = '\0';
            return reinterpret_cast<DWORD>(a);
        }
        if (type == L'c' || type == L'C') {
            DWORD entry = 0;
            *reinterpret_cast<char*>(&entry) = static_cast<char>(AtWideCharToAnsiChar(value));
            return entry;
        }
        return value;
    }

    DWORD* table = nullptr;
    LPCWSTR tmpl = nullptr;
    int built = 0;  // entries filled so far
};

// A block that FormatMessageA allocated with LocalAlloc.
class LocalBlock {
public:
    ~LocalBlock() { release(); }
    void release()
    {
        if (p)
            LocalFree(p);
        p = nullptr;
    }
    char* p = nullptr;
};

// A copy of `text` in memory the caller frees with LocalFree.
LPWSTR LocalCopy(LPCWSTR text, SIZE_T bytes)
{
    LPWSTR h = static_cast<LPWSTR>(LocalAlloc(LMEM_ZEROINIT, bytes));
    if (h)
        wcscpy(h, text);
    return h;
}

}  // namespace

DWORD WINAPI FormatMessageW(DWORD flags, LPCVOID source, DWORD id, DWORD language, LPWSTR buffer,
                            DWORD size, va_list* arguments)
{
    return AtExport(Sys::FormatMessageW, flags, source, id, language, buffer, size, arguments)
        .orAnsi(0, [=](AtSavedError& err) -> DWORD {
            const bool allocate = flags & FORMAT_MESSAGE_ALLOCATE_BUFFER;
            LPWSTR* allocated = reinterpret_cast<LPWSTR*>(buffer);

            // The template, with its inserts as they stand.
            AtStringSlot fetched;
            LPCWSTR tmpl;
            if (flags & FORMAT_MESSAGE_FROM_STRING) {
                tmpl = static_cast<LPCWSTR>(source);
            } else {
                DWORD fetchFlags = flags | FORMAT_MESSAGE_IGNORE_INSERTS;
                if (allocate) {
                    LocalBlock p;
                    if (!err.keep(FormatMessageA(fetchFlags, source, id, language,
                                                 reinterpret_cast<LPSTR>(&p.p), 1, nullptr)))
                        return 0;
                    AtAnsiToWideTemp(fetched, p.p);
                } else {
                    AtStringSlot bufA;
                    AtAllocAnsiOut(bufA, size);
                    DWORD r = err.keep(FormatMessageA(fetchFlags, source, id, language, bufA,
                                                      AtHeapSize(bufA), nullptr));
                    if (!r)
                        return 0;
                    AtAllocWideOut(fetched, 2 * r + 2);
                    AtAnsiToWideOut(bufA, fetched, AtHeapSize(fetched) / 2);
                }
                tmpl = fetched;
            }

            int inserts = AtCountInserts(tmpl);
            if (!inserts || !arguments || (flags & FORMAT_MESSAGE_IGNORE_INSERTS)) {
                // Nothing to expand: the template is the message. It is copied as
                // it stands, without a check against the caller's size.
                DWORD length = wcslen(tmpl);
                if (!allocate)
                    wcscpy(buffer, tmpl);
                else if (!(*allocated = LocalCopy(tmpl, 2 * length + 2)))
                    return 0;
                return length;
            }

            AtStringSlot templateA, outA;
            AtWideToAnsiTemp(templateA, tmpl);
            // With an allocated buffer FormatMessageA writes only its pointer here.
            AtAllocAnsiOut(outA, allocate ? 4 : size);
            // The ANSI template is now the source, whatever the caller's was.
            DWORD formatFlags = flags & ~(FORMAT_MESSAGE_FROM_HMODULE | FORMAT_MESSAGE_FROM_SYSTEM);
            formatFlags |= FORMAT_MESSAGE_FROM_STRING;

            // Numeric inserts can take the caller's values as they are; the template
            // keeps its formats, so a "!S!" insert gets the converted ANSI string.
            DWORD r;
            if (AtCountTextInserts(tmpl)) {
                bool isArray = flags & FORMAT_MESSAGE_ARGUMENT_ARRAY;
                AtFormatArgs table;
                table.build(tmpl, inserts, AtInsertValues(arguments, isArray));
                formatFlags |= FORMAT_MESSAGE_ARGUMENT_ARRAY;
                r = err.keep(FormatMessageA(formatFlags, templateA, id, language, outA,
                                            AtHeapSize(outA), table.array()));
            } else {
                r = err.keep(FormatMessageA(formatFlags, templateA, id, language, outA,
                                            AtHeapSize(outA), arguments));
            }
            // A failed call may have left the buffer unwritten: nothing to convert.
            if (!r)
                return 0;

            DWORD result;
            if (allocate) {
                LocalBlock p;
                p.p = *reinterpret_cast<char**>(outA.value);
                AtStringSlot w;
                AtAnsiToWideTemp(w, p.p);
                // One zeroed character beyond the terminator, whatever the
                // conversion left.
                LPWSTR h = LocalCopy(w, (AtHeapSize(w) | 1) + 1);
                result = h ? wcslen(h) + 1 : 0;
                *allocated = h;
                p.release();
                AtFreeString(w);
            } else {
                result = AtAnsiToWideOut(outA, buffer, size);
            }
            return AtCountWithoutTerminator(result);
        });
}
