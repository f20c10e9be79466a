// The sweep table: one row for every export of torwen.dll.
//
// A row is a valid call of the export with real arguments, the value the export
// answers when it fails, and the last error it leaves when one of its own
// allocations fails. The sweeps of tests/sweep run every row:
//   table_test       every export has one row, and every row's call does what it should
//   allocation_test  the k-th allocation of torwen fails, for k = 1, 2, ... (ANSI path)
//   missing_test     every W function and every function of another DLL is absent
//   input_test       strings and buffers that are bad, huge or random (rows with `fuzz`)
//   threads_test     string exports called from eight threads at once
//
// A row:
//     Row("GlobalAddAtomW", [] { return R(GlobalAddAtomW(L"sweep")); }, 0)
//         .Undo([](Result atom) { GlobalDeleteAtom(ATOM(atom)); })
//         .Fuzz([](Fuzz& f) { GlobalDeleteAtom(GlobalAddAtomW(f.Str())); })
//
// Rows set up what they need with the system's A functions (or functions torwen
// does not export), never with torwen's own exports: the missing-function sweep
// makes those fail, and the allocation sweep counts only the row's own call.
#pragma once

#include "harness/harness.h"

#include <algorithm>
#include <cstring>
#include <functional>
#include <optional>
#include <random>
#include <string>
#include <type_traits>
#include <vector>

namespace sweep {

// Every export's result, widened: BOOL, int, DWORD, LONG, HRESULT, LRESULT, a handle
// or a pointer.
using Result = LONG_PTR;

template <typename T>
Result R(T value)
{
    if constexpr (std::is_pointer_v<T> || std::is_null_pointer_v<T>)
        return reinterpret_cast<Result>(value);
    else
        return static_cast<Result>(value);
}

// The last error a caller sees when one of torwen's allocations failed.
enum class Error {
    Saved,        // 0 before the A call, the A call's after it
    OutOfMemory,  // ERROR_OUTOFMEMORY before the A call, the A call's after it
    AsLeft,       // what the failing conversion left: 14, or 87 for a count too large
    Code,         // the result is the error (ERROR_NOT_ENOUGH_MEMORY; 120 when missing)
};

// Where the ANSI path's system function lives. With every function of another DLL
// absent, kernel32's A functions still answer: such a row's call still works.
enum class Ansi { OtherDll, Kernel32 };

class Fuzz;

struct Row {
    Row(std::string name, std::function<Result()> call, std::optional<Result> failure,
        Error error = Error::Saved)
        : name(std::move(name)), call(std::move(call)), failure(failure), error(error)
    {
    }
    // The same, its valid call given by Call(): Row("GetTextFaceW", 0).Call([] { ... }).
    Row(std::string name, std::optional<Result> failure, Error error = Error::Saved)
        : Row(std::move(name), nullptr, failure, error)
    {
    }
    Row& Call(std::function<Result()> f) { call = std::move(f); return *this; }
    // An export without a result (GetStartupInfoW).
    static Row Void(std::string name, std::function<void()> call, Error error = Error::Saved);

    // What a valid call answers; the default is anything but the failure value.
    Row& Ok(std::function<bool(Result)> f) { ok = std::move(f); return *this; }
    Row& Ok(Result expected) { return Ok([expected](Result r) { return r == expected; }); }
    // Any answer will do: Wine lacks what the call needs (a printer, an input method).
    Row& AnyResult() { return Ok([](Result) { return true; }); }
    // Undoes what a valid call did, with system functions (a window destroyed, a file deleted).
    Row& Undo(std::function<void(Result)> f) { undo = std::move(f); return *this; }
    // The call with bad and random strings and buffers.
    Row& Fuzz(std::function<void(sweep::Fuzz&)> f) { fuzz = std::move(f); return *this; }
    Row& Kernel() { ansi = Ansi::Kernel32; return *this; }
    // What the export answers when its system function is missing, where that is not
    // its failure value (VerFindFileW: VFF_BUFFTOOSMALL; MCI: MCIERR_UNSUPPORTED_FUNCTION).
    Row& WhenMissing(Result r) { missing = r; return *this; }
    // Answers without the system's function (an emulation of its own, a helper that
    // calls no system function): the missing-function sweep expects a valid answer.
    Row& WorksWhenMissing() { selfContained = true; return *this; }
    // Converts on every platform (the system has no W function to pass to, or the
    // W function's record is converted all the same): it allocates on the W path too.
    Row& ConvertsOnWPath() { convertsOnWPath = true; return *this; }
    // A failed allocation ends the caller's process, as the export's callers are
    // told: the allocation sweep runs its valid call with nothing failing.
    Row& AllocationFailureEndsProcess() { failureEndsProcess = true; return *this; }

    std::string name;  // the export as programs name it: "CreateFileW"
    std::function<Result()> call;
    std::optional<Result> failure;  // none: the export has no result
    Error error;
    Ansi ansi = Ansi::OtherDll;
    std::function<bool(Result)> ok;
    std::function<void(Result)> undo;
    std::function<void(sweep::Fuzz&)> fuzz;
    std::optional<Result> missing;
    bool isVoid = false;
    bool selfContained = false;
    bool convertsOnWPath = false;
    bool failureEndsProcess = false;

    bool Succeeded(Result r) const { return ok ? ok(r) : (!failure || r != *failure); }
};

// The rows of each family, in tests/sweep/rows/.
std::vector<Row> KernelRows();
std::vector<Row> WindowRows();    // windows, dialogs, window procedures, messages
std::vector<Row> UserRows();      // menus, text, resources, system parameters, monitors, controls
std::vector<Row> GraphicsRows();  // graphics, printing, shell, OLE dialogs
std::vector<Row> CommonRows();    // common controls and common dialogs
std::vector<Row> ServiceRows();   // registry, DDE, version, input methods, media, network
// All of them, in that order.
const std::vector<Row>& AllRows();
const Row* FindRow(const std::string& name);

// The rows a sweep runs as gtest parameters, named after their exports.
std::vector<const Row*> Rows(bool (*which)(const Row&) = nullptr);
std::string RowName(const testing::TestParamInfo<const Row*>& info);

// Every export torwen.dll names in its export directory, undecorated.
std::vector<std::string> Exports();

// ---- what the rows share (made with the system's A functions)

const std::wstring& Folder();                          // an empty folder of the sweep's own
std::wstring PathIn(const std::wstring& name);         // Folder() + "\" + name
std::wstring MakeFile(const std::wstring& name, const std::string& content = "sweep");
HWND Window();        // a hidden top-level window of an ANSI class
// A hidden top-level window of a class registered here with the A functions.
HWND TopWindow(const char* className, WNDPROC proc, DWORD style, const char* title = "");
HINSTANCE Instance();  // the test program
HKEY Key();           // HKCU\Software\torwen-sweep, with a string value "value" = "sweep"

// Zeroed room for what a call writes and no check reads: one block for each type (the
// rows make one call at a time), so two arguments of one type take different offsets.
template <typename T = WCHAR>
T* Room()
{
    alignas(8) static BYTE room[8192];
    memset(room, 0, sizeof room);
    return reinterpret_cast<T*>(room);
}

// ---- bad and random input

// Hands a fuzz function its arguments. In the fixed pass each draw walks the kinds
// in turn; in the random pass it picks them from a seeded generator. Every string
// and buffer ends at a no-access page: reading past a string's terminator or
// writing past a buffer's stated size faults at once.
class Fuzz {
public:
    explicit Fuzz(std::uint32_t seed, bool fixed = false, int pass = 0);
    ~Fuzz();
    Fuzz(const Fuzz&) = delete;
    Fuzz& operator=(const Fuzz&) = delete;

    enum Nulls { NoNull, NullOk };
    // A string: empty, plain, the code page's non-ASCII text, characters the code page
    // lacks, a lone high or low surrogate, an embedded NUL, 70,000 characters, or null
    // (only where the system's W function accepts null).
    LPCWSTR Str(Nulls nulls = NoNull);
    // Its length in characters (without the terminator).
    int Len(LPCWSTR s) const { return s ? lstrlenW(s) : 0; }
    // A string drawn as Str() draws it, as text (empty for null).
    std::wstring Text(Nulls nulls = NoNull)
    {
        LPCWSTR s = Str(nulls);
        return s ? s : L"";
    }
    // A copy of `s` and `nuls` terminating NULs that ends at a no-access page.
    LPWSTR Copy(const std::wstring& s, int nuls = 1)
    {
        WCHAR* p = Out<WCHAR>(int(s.size()) + nuls);
        std::fill(std::copy(s.begin(), s.end(), p), p + s.size() + nuls, L'\0');
        return p;
    }
    // A path in the sweep's folder whose name is a fuzzed string (never null).
    LPCWSTR Path();
    // A count for a buffer that must hold `length` characters: 0, 1, `length`,
    // `length + 1`, more, or a random one.
    int Count(int length);
    // A buffer of `count` elements (filled with 0xCC bytes) that ends at a no-access page.
    template <typename T>
    T* Out(int count)
    {
        return static_cast<T*>(Block(count * sizeof(T), 0xCC));
    }
    // A number in [0, n).
    int Pick(int n);

    // What this call drew, for the message when it fails.
    std::string Describe() const { return drawn; }

    static constexpr int Kinds = 9;  // the kinds of string; the fixed pass makes this many calls

private:
    void* Block(std::size_t bytes, int fill);

    std::mt19937 rng;
    bool fixed;
    int pass;
    int draws = 0;
    std::vector<void*> regions;
    std::size_t used = 0;
    std::string drawn;
};

// The row and call under way, printed if the process faults.
void Announce(const std::string& what);

}  // namespace sweep
