// System functions bound on first use.
//
// A DLL whose import table names a function the running system lacks does not
// load. So torwen imports statically only what Windows 95's kernel32 implements
// (the A functions, the heap, the code-page converters); every W function and
// every function of another system DLL is declared here and bound by name on its
// first call. After that a call is one indirect call through the bound pointer.
// A function the system lacks answers with its callers' failure value and
// ERROR_CALL_NOT_IMPLEMENTED.
//
//     AT_SYSTEM_FUNCTION(kernel32, GetVersionExW, FALSE);
//     ...
//     Sys::GetVersionExW(info);
#pragma once

#include <cstdint>
#include <type_traits>

#include "core/win32.h"

// Looks the function up in the DLL, loading the DLL if the process has not yet.
// The last error is left as it was.
void* AtBindSystemFunction(const char* dll, const char* name);

template <typename Fn>
struct AtSystemFunction;

template <typename R, typename... A>
struct AtSystemFunction<R(WINAPI*)(A...)> {
    using Fn = R(WINAPI*)(A...);
    using Result = R;

    const char* dll;
    const char* name;
    intptr_t failure;  // what the callers answer when the system lacks the function
    Fn fn;

    [[gnu::always_inline]] R operator()(A... args) const { return fn(args...); }

    template <AtSystemFunction& self>
    static R WINAPI bind(A... args)
    {
        Fn bound = reinterpret_cast<Fn>(AtBindSystemFunction(self.dll, self.name));
        self.fn = bound ? bound : &missing<self>;
        return self.fn(args...);
    }

    template <AtSystemFunction& self>
    static R WINAPI missing(A...)
    {
        SetLastError(ERROR_CALL_NOT_IMPLEMENTED);
        if constexpr (std::is_pointer_v<R>)
            return reinterpret_cast<R>(self.failure);
        else
            return static_cast<R>(self.failure);
    }
};

// Declares Sys::name, typed as the platform header declares name, in the
// including file (each file binds its own copy).
#define AT_SYSTEM_FUNCTION(dll, name, failure)                                        \
    namespace Sys {                                                                   \
    static constinit AtSystemFunction<decltype(&::name)> name{                        \
        #dll ".dll", #name, (failure), &decltype(name)::template bind<name>};         \
    }
