// Message formatting.
//
// FormatMessageA cannot take the caller's wide inserts, and a variable argument
// list cannot be rewritten in place. So the ANSI path fetches the template with
// its inserts left alone, finds the inserts itself, converts the string and
// character arguments into an argument array of its own, and lets FormatMessageA
// expand that array against the ANSI template.
#include <cstdarg>
#include <cstdio>
#include <cstring>
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

// Inserts 1, 2, ... up to the first missing number.
int AtCountInserts(LPCWSTR tmpl)
{
    int n = 0;
    while (n < MaxInsert && AtFindInsert(tmpl, n + 1))
        ++n;
    return n;
}

// How the formatting functions read one argument. The conversion letter and the
// one before it decide the width, as in printf: "h" is narrow, "l" and "w" are
// wide, a lowercase letter has the function's own width and an uppercase one the
// other width.
enum class ArgKind : unsigned char { Value, Char, String };

struct ArgUse {
    ArgKind kind = ArgKind::Value;
    bool wideInW = false;  // how FormatMessageW reads it (the caller's form)
    bool wideInA = false;  // how FormatMessageA reads it, the template's formats unchanged
};

bool IsWide(WCHAR prefix, WCHAR letter, bool wideFunction)
{
    if (prefix == L'h')
        return false;
    if (prefix == L'l' || prefix == L'w')
        return true;
    return (letter == L's' || letter == L'c') == wideFunction;
}

ArgUse UseOf(LPCWSTR format, int length)
{
    ArgUse use;
    if (!length)
        return use;  // an empty format reads a value of no known kind: it goes on as given
    WCHAR letter = format[length - 1];
    WCHAR prefix = length > 1 ? format[length - 2] : 0;
    if (letter == L's' || letter == L'S')
        use.kind = ArgKind::String;
    else if (letter == L'c' || letter == L'C')
        use.kind = ArgKind::Char;
    use.wideInW = IsWide(prefix, letter, true);
    use.wideInA = IsWide(prefix, letter, false);
    return use;
}

// Every argument that the template's inserts read, by position (1 is the
// caller's first argument), walked the way the formatting functions walk it: a
// "*" width or precision takes an argument of its own (the insert's number for
// the first, then the one after the highest read so far), and the value follows.
// One argument may be read by several inserts with different formats: a string
// reading wins, since a string entry is the only one that must point somewhere.
class ArgUses {
public:
    static const int MaxPosition = 3 * MaxInsert;

    explicit ArgUses(LPCWSTR tmpl)
    {
        for (LPCWSTR p = tmpl; *p; ++p) {
            if (*p != L'%' || !p[1])
                continue;
            ++p;
            if (*p < L'1' || *p > L'9')
                continue;  // "%%", "%n", "%!" and the like are text
            int n = *p - L'0';
            if (p[1] >= L'0' && p[1] <= L'9')
                n = 10 * n + (*++p - L'0');
            LPCWSTR format = L"s";
            int length = 1;
            if (p[1] == L'!') {
                format = p + 2;
                for (length = 0; format[length] && format[length] != L'!'; ++length)
                    ;
                p = format + length - (format[length] ? 0 : 1);
            }
            add(n, format, length);
        }
    }

    int count() const { return last; }
    // More arguments than the table can describe: FormatMessageA would read past it.
    bool tooMany() const { return overflow; }
    const ArgUse& operator[](int position) const { return uses[position - 1]; }
    bool needsConversion() const
    {
        for (int i = 0; i < last; ++i)
            if (uses[i].kind != ArgKind::Value && uses[i].wideInW != uses[i].wideInA)
                return true;
        return false;
    }

private:
    void add(int n, LPCWSTR format, int length)
    {
        int position = n;
        bool starred = false;
        for (int i = 0; i < length; ++i) {
            if (format[i] != L'*')
                continue;
            read(starred ? last + 1 : n, ArgUse{});
            starred = true;
        }
        if (starred)
            position = last + 1;
        read(position, UseOf(format, length));
    }

    void read(int position, ArgUse use)
    {
        if (position > MaxPosition) {
            overflow = true;
            return;
        }
        if (position > last)
            last = position;
        ArgUse& seen = uses[position - 1];
        if (use.kind > seen.kind) {
            seen = use;
        } else if (use.kind == seen.kind && use.kind != ArgKind::Value) {
            // The caller's form is the first reading's; a narrow reading by
            // FormatMessageA anywhere asks for a narrow entry.
            seen.wideInA = seen.wideInA && use.wideInA;
        }
    }

    ArgUse uses[MaxPosition];
    int last = 0;
    bool overflow = false;
};

// Where the insert values come from: the caller's array, or the caller's
// variable argument list, read one 32-bit value per argument in order.
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

// The argument array handed to FormatMessageA: one entry for every argument the
// template reads, each in the width FormatMessageA reads it, so that it never reads
// an entry the table does not have or a string past its end. It frees the strings
// it converted, also when a conversion runs out of memory half way through (so the
// building is not left to a constructor, whose object would never be destroyed).
class AtFormatArgs {
public:
    AtFormatArgs() = default;

    void build(const ArgUses& uses, AtInsertValues values)
    {
        int count = uses.count();
        table = count ? static_cast<DWORD*>(AtAlloc(4 * count)) : nullptr;
        for (int n = 1; n <= count; ++n) {
            table[n - 1] = values.next();
            owned[n - 1] = false;
            built = n;
            convert(uses[n], table[n - 1], owned[n - 1]);
        }
    }

    ~AtFormatArgs()
    {
        for (int n = 1; n <= built; ++n)
            if (owned[n - 1])
                AtFree(reinterpret_cast<void*>(table[n - 1]));
        if (table)
            AtFree(table);
    }

    AtFormatArgs(const AtFormatArgs&) = delete;
    AtFormatArgs& operator=(const AtFormatArgs&) = delete;

    va_list* array() const { return reinterpret_cast<va_list*>(table); }

private:
    static void convert(const ArgUse& use, DWORD& entry, bool& owned)
    {
        if (use.kind == ArgKind::Value || use.wideInW == use.wideInA)
            return;  // read as the caller gave it
        if (use.kind == ArgKind::Char) {
            entry = use.wideInW ? ToAnsiChar(entry) : ToWideChar(entry);
            return;
        }
        if (AtIsIntegerValue(reinterpret_cast<const void*>(entry)))
            return;  // a null string is printed as "(null)" either way
        entry = use.wideInW ? ToAnsiString(reinterpret_cast<LPCWSTR>(entry))
                            : ToWideString(reinterpret_cast<LPCSTR>(entry));
        owned = true;
    }

    // Two bytes a character are enough for any ANSI code page of the platform.
    // The rest of the block is cleared, so that an insert which reads the same
    // argument as a wide string still finds a wide NUL inside the block.
    static DWORD ToAnsiString(LPCWSTR s)
    {
        int size = 2 * static_cast<int>(wcslen(s)) + 2;
        char* a = static_cast<char*>(AtAlloc(size));
        int written = WideCharToMultiByte(CP_ACP, 0, s, -1, a, size, nullptr, nullptr);
        memset(a + written, 0, size - written);
        return reinterpret_cast<DWORD>(a);
    }

    static DWORD ToWideString(LPCSTR s)
    {
        int count = MultiByteToWideChar(CP_ACP, 0, s, -1, nullptr, 0);
        LPWSTR w = static_cast<LPWSTR>(AtAlloc(2 * count));
        if (!MultiByteToWideChar(CP_ACP, 0, s, -1, w, count))
            w[0] = L'\0';
        return reinterpret_cast<DWORD>(w);
    }

    static DWORD ToAnsiChar(DWORD c)
    {
        DWORD entry = 0;
        *reinterpret_cast<char*>(&entry) = static_cast<char>(AtWideCharToAnsiChar(c));
        return entry;
    }

    static DWORD ToWideChar(DWORD c)
    {
        char b = static_cast<char>(c);
        WCHAR w = 0;
        return MultiByteToWideChar(CP_ACP, 0, &b, 1, &w, 1) ? w : BYTE(b);
    }

    DWORD* table = nullptr;
    bool owned[ArgUses::MaxPosition];
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
            // Refused before anything is written through them, as the system refuses
            // them: no buffer (nor a place for an allocated one's address), no text.
            if (!buffer) {
                err.value = ERROR_INVALID_PARAMETER;
                return 0;
            }
            if ((flags & FORMAT_MESSAGE_FROM_STRING) && !source) {
                err.value = GetLastError();
                return 0;
            }

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
                // Nothing to expand: the template is the message, copied as it
                // stands when it fits the caller's buffer with its terminator.
                DWORD length = wcslen(tmpl);
                if (!allocate) {
                    if (length >= size) {
                        err.value = ERROR_INSUFFICIENT_BUFFER;
                        return 0;
                    }
                    wcscpy(buffer, tmpl);
                } else if (!(*allocated = LocalCopy(tmpl, 2 * length + 2))) {
                    return 0;
                }
                return length;
            }

            AtStringSlot templateA, outA;
            AtWideToAnsiTemp(templateA, tmpl);
            // With an allocated buffer FormatMessageA writes only its pointer here.
            AtAllocAnsiOut(outA, allocate ? 4 : size);
            // The ANSI template is now the source, whatever the caller's was.
            DWORD formatFlags = flags & ~(FORMAT_MESSAGE_FROM_HMODULE | FORMAT_MESSAGE_FROM_SYSTEM);
            formatFlags |= FORMAT_MESSAGE_FROM_STRING;

            // Arguments that FormatMessageA reads as FormatMessageW would (numbers,
            // "%1!hs!") can be the caller's as they are; the template keeps its
            // formats, so each other one is converted to the width its insert reads.
            DWORD r;
            ArgUses uses(tmpl);
            if (uses.needsConversion()) {
                if (uses.tooMany()) {
                    err.value = ERROR_INVALID_PARAMETER;
                    return 0;
                }
                bool isArray = flags & FORMAT_MESSAGE_ARGUMENT_ARRAY;
                AtFormatArgs table;
                table.build(uses, AtInsertValues(arguments, isArray));
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
