// UUIDs as wide strings.
//
// On the ANSI platforms a string made by UuidToStringW lives on the process heap
// and must be released with torwen's RpcStringFreeW, never with the system's.
#include "services/services.h"

// The results are error codes: a system without the function answers that it has none.
AT_SYSTEM_FUNCTION(rpcrt4, UuidFromStringW, ERROR_CALL_NOT_IMPLEMENTED)
AT_SYSTEM_FUNCTION(rpcrt4, UuidFromStringA, ERROR_CALL_NOT_IMPLEMENTED)
AT_SYSTEM_FUNCTION(rpcrt4, UuidToStringW, ERROR_CALL_NOT_IMPLEMENTED)
AT_SYSTEM_FUNCTION(rpcrt4, UuidToStringA, ERROR_CALL_NOT_IMPLEMENTED)
AT_SYSTEM_FUNCTION(rpcrt4, RpcStringFreeW, ERROR_CALL_NOT_IMPLEMENTED)
AT_SYSTEM_FUNCTION(rpcrt4, RpcStringFreeA, ERROR_CALL_NOT_IMPLEMENTED)

namespace
{

// The RPC run time's string, released however the conversion ends.
struct AnsiRpcString {
    RPC_CSTR text = nullptr;
    ~AnsiRpcString()
    {
        if (text)
            Sys::RpcStringFreeA(&text);
    }
};

} // namespace

RPC_STATUS RPC_ENTRY UuidFromStringW(RPC_WSTR text, UUID* uuid)
{
    return AtExport(Sys::UuidFromStringW, text, uuid)
        .orAnsiWithoutSavedError(RPC_S_OUT_OF_MEMORY, [=] {
            AtAnsiTemp textA(reinterpret_cast<LPCWSTR>(text));
            return Sys::UuidFromStringA(
                reinterpret_cast<RPC_CSTR>(static_cast<char*>(textA)), uuid);
        });
}

RPC_STATUS RPC_ENTRY UuidToStringW(UUID* uuid, RPC_WSTR* out)
{
    return AtExport(Sys::UuidToStringW, uuid, out)
        .orAnsiWithoutSavedError(RPC_S_OUT_OF_MEMORY, [=] {
            AnsiRpcString a;
            RPC_STATUS s = Sys::UuidToStringA(uuid, &a.text);
            if (s != RPC_S_OK)
                return s;
            LPCSTR textA = reinterpret_cast<LPCSTR>(a.text);
            int n = MultiByteToWideChar(CP_ACP, 0, textA, -1, nullptr, 0);
            auto* w = static_cast<LPWSTR>(
                AtAlloc(2 * SIZE_T(n))); // the caller's, freed by RpcStringFreeW
            MultiByteToWideChar(CP_ACP, 0, textA, -1, w, n);
            *out = reinterpret_cast<RPC_WSTR>(w);
            return RPC_S_OK;
        });
}

// The pointer is left as it was.
RPC_STATUS RPC_ENTRY RpcStringFreeW(RPC_WSTR* text)
{
    return AtExport(Sys::RpcStringFreeW, text).orAnsiUnguarded([=] {
        if (text)
            AtFree(*text);
        return RPC_STATUS(RPC_S_OK);
    });
}
