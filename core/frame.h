// The frame every export shares.
//
//     return AtExport(Sys::GetShortPathNameW, longPath, buf, n)
//         .orAnsi(0, [=](AtSavedError& err) { ...convert, call the A function... });
//
// On the NT family the export calls the system's W function with the caller's
// arguments and nothing else happens: one flag test and a jump to the function.
// (The body captures the arguments by value: a body that took their addresses
// would keep the compiler from making that call a jump.) Otherwise the
// ANSI body runs in a frame of its own (kept out of line so that the W path stays
// that small):
//   orAnsi                   the A call's error, saved by the body with err.keep(),
//                            is what the caller sees after the temporaries are freed;
//                            a CAtException turns into the failure value, with the
//                            saved error (0 if the A function was not called yet);
//   orAnsiOutOfMemoryUntilCalled
//                            the same, but a failure before the A call leaves
//                            ERROR_OUTOFMEMORY rather than 0 (the graphics members,
//                            whose allocations all come before their A call);
//   orAnsiWithoutSavedError  the same catch, but the last error is whatever the body
//                            and the helpers left (14 or 87 after a caught failure);
//   orAnsiUnguarded          the body allocates nothing: no catch, no saved error.
#pragma once

#include <tuple>
#include <type_traits>
#include <utility>

#include "core/convert.h"
#include "core/imports.h"

class AtSavedError {
public:
    // Wraps the A call: stores its error at once, before any clean-up can change it.
    template <typename T>
    T keep(T result)
    {
        value = GetLastError();
        return result;
    }

    DWORD value = ERROR_SUCCESS;
};

// A function without a result (OutputDebugStringW) has no failure value: a caught
// failure just ends the call. It passes AtNoResult{} where others pass theirs.
struct AtNoResult {};
template <typename R>
using AtFailureValue = std::conditional_t<std::is_void_v<R>, AtNoResult, R>;

template <typename R, typename Body>
[[gnu::noinline]] R AtAnsiFrame(AtFailureValue<R> failure, Body body, DWORD errorBeforeCall = ERROR_SUCCESS)
{
    AtSavedError err;
    err.value = errorBeforeCall;
    R result;
    try {
        result = body(err);
    } catch (CAtException&) {
        result = failure;
    }
    SetLastError(err.value);
    return result;
}

template <typename R, typename Body>
[[gnu::noinline]] R AtAnsiFrameWithoutSavedError(AtFailureValue<R> failure, Body body)
{
    try {
        return body();
    } catch (CAtException& e) {
        // The helper's error, set again: unwinding may have run code that cleared it.
        SetLastError(e.value == CAtException::OutOfMemory ? ERROR_OUTOFMEMORY
                                                           : ERROR_INVALID_PARAMETER);
        if constexpr (!std::is_void_v<R>)
            return failure;
    }
}

template <typename R, typename Body>
[[gnu::noinline]] R AtAnsiFrameUnguarded(Body body)
{
    return body();
}

template <typename Import, typename... A>
class AtExportCall {
public:
    using R = typename Import::Result;

    [[gnu::always_inline]] AtExportCall(const Import& wide, A... args) : wide(wide), args(args...) {}

    template <typename Body>
    [[gnu::always_inline]] R orAnsi(AtFailureValue<R> failure, Body body) const
    {
        if (AtModuleState.AtIsUnicodePlatform)
            return std::apply(wide, args);
        return AtAnsiFrame<R>(failure, body);
    }

    template <typename Body>
    [[gnu::always_inline]] R orAnsiOutOfMemoryUntilCalled(AtFailureValue<R> failure, Body body) const
    {
        if (AtModuleState.AtIsUnicodePlatform)
            return std::apply(wide, args);
        return AtAnsiFrame<R>(failure, body, ERROR_OUTOFMEMORY);
    }

    template <typename Body>
    [[gnu::always_inline]] R orAnsiWithoutSavedError(AtFailureValue<R> failure, Body body) const
    {
        if (AtModuleState.AtIsUnicodePlatform)
            return std::apply(wide, args);
        return AtAnsiFrameWithoutSavedError<R>(failure, body);
    }

    template <typename Body>
    [[gnu::always_inline]] R orAnsiUnguarded(Body body) const
    {
        if (AtModuleState.AtIsUnicodePlatform)
            return std::apply(wide, args);
        return AtAnsiFrameUnguarded<R>(body);
    }

    // A member that converts nothing: the A function gets the caller's arguments
    // (window procedures and messages are never wrapped on the ANSI path).
    template <typename AnsiImport>
    [[gnu::always_inline]] R orAnsiUnconverted(const AnsiImport& ansi) const
    {
        if (AtModuleState.AtIsUnicodePlatform)
            return std::apply(wide, args);
        return std::apply(ansi, args);
    }

private:
    const Import& wide;
    std::tuple<A...> args;
};

template <typename Import, typename... A>
[[gnu::always_inline]] inline AtExportCall<Import, A...> AtExport(const Import& wide, A... args)
{
    return AtExportCall<Import, A...>(wide, args...);
}

// The message translators (AtFORWARD_..., AtHANDLE_...): the W path calls the
// caller's procedure or handler with the message's own values, which the export
// writes itself after testing AtWidePath(). The ANSI body runs in the frame without
// a saved error: a caught failure answers `failure` without calling on, and leaves
// the error the failing helper set (14 for memory, 87 for a count too large).
[[gnu::always_inline]] inline bool AtWidePath()
{
    return AtModuleState.AtIsUnicodePlatform;
}

template <typename R, typename Body>
[[gnu::always_inline]] inline R AtTranslate(R failure, Body body)
{
    return AtAnsiFrameWithoutSavedError<R>(failure, body);
}
