// DDE string handles, UUID strings, automation strings and network connections.
#include <functional>
#include <string>

#include "harness/harness.h"
#include "torwen.h"

using namespace harness;
using std::wstring;

namespace
{

class ExchangeTest : public TorwenTest
{
protected:
    const bool ansi = AnsiPath();
    const wstring text = NonAsciiText();
};

HDDEDATA CALLBACK Ignore(UINT, UINT, HCONV, HSZ, HSZ, HDDEDATA, ULONG_PTR, ULONG_PTR)
{
    return nullptr;
}

// A wide string handle is an ANSI one on the ANSI path: it is made with the ANSI
// code page, and read in any code page but Unicode it lands in the caller's buffer
// as ANSI bytes.
TEST_F(ExchangeTest, DdeStringHandles)
{
    DWORD instance = 0;
    ASSERT_EQ(DMLERR_NO_ERROR, DdeInitializeW(&instance, Ignore, APPCMD_CLIENTONLY, 0));
    HSZ hsz = DdeCreateStringHandleW(instance, text.c_str(), CP_WINUNICODE);
    if (ansi) {
        int codePageSeen = -1;
        TW_HOOK(hook, DdeCreateStringHandleA, [&](DWORD inst, LPCSTR s, int cp) {
            codePageSeen = cp;
            return hook.real(inst, s, cp);
        });
        DdeFreeStringHandle(
            instance, DdeCreateStringHandleW(instance, text.c_str(), CP_WINUNICODE));
        EXPECT_EQ(codePageSeen, CP_WINANSI);
    }
    ASSERT_NE(hsz, nullptr);
    wchar_t buf[32] = {};
    EXPECT_EQ(text.size(), DdeQueryStringW(instance, hsz, buf, 32, CP_WINUNICODE));
    EXPECT_EQ(buf, text);
    EXPECT_EQ(ansi ? ToAnsi(text).size() : text.size(),
        DdeQueryStringW(instance, hsz, nullptr, 0, CP_WINUNICODE))
        << "a length query: in ANSI bytes on the ANSI path";
    // Cut to the buffer; on the ANSI path the A function cuts bytes, and a cut through
    // a double-byte character leaves a text that no longer fits: nothing.
    const bool splits = ansi && CodePage() == 932;
    EXPECT_EQ(splits ? 0u : 1u, DdeQueryStringW(instance, hsz, buf, 2, CP_WINUNICODE));
    if (!splits) {
        EXPECT_EQ(buf, text.substr(0, 1));
    }
    if (ansi) {
        char bytes[64] = {};
        const std::string textA = ToAnsi(text);
        EXPECT_EQ(textA.size(),
            DdeQueryStringW(instance, hsz, reinterpret_cast<LPWSTR>(bytes), 32, CP_WINANSI));
        EXPECT_EQ(bytes, textA);
        const std::function<ULONG_PTR()> calls[] = {
            [&] {
                HSZ h = DdeCreateStringHandleW(instance, text.c_str(), CP_WINUNICODE);
                DdeFreeStringHandle(instance, h);
                return ULONG_PTR(h);
            },
            [&] { return ULONG_PTR(DdeQueryStringW(instance, hsz, buf, 32, CP_WINUNICODE)); },
        };
        for (const auto& call : calls)
            EXPECT_GT(SweepAllocationFailures(
                          [&](int k) { EXPECT_TRUE(call() == 0 || HeapAllocCalls() < k) << k; }),
                0);
    }
    DdeFreeStringHandle(instance, hsz);
    DdeUninitialize(instance);
}

// Both ways, and the string freed by torwen's own RpcStringFreeW.
TEST_F(ExchangeTest, UuidStrings)
{
    const wstring form = L"6b29fc40-ca47-1067-b31d-00dd010662da";
    UUID uuid = {};
    ASSERT_EQ(RPC_S_OK,
        UuidFromStringW(reinterpret_cast<RPC_WSTR>(const_cast<wchar_t*>(form.c_str())), &uuid));
    EXPECT_EQ(uuid.Data1, 0x6B29FC40u);
    EXPECT_EQ(uuid.Data4[7], 0xDA);
    EXPECT_EQ(RPC_S_INVALID_STRING_UUID,
        UuidFromStringW(reinterpret_cast<RPC_WSTR>(const_cast<wchar_t*>(L"x")), &uuid));
    RPC_WSTR s = nullptr;
    ASSERT_EQ(RPC_S_OK, UuidToStringW(&uuid, &s));
    ASSERT_NE(s, nullptr);
    EXPECT_EQ(reinterpret_cast<wchar_t*>(s), form);
    EXPECT_EQ(RPC_S_OK, RpcStringFreeW(&s));
    // Running out of memory: the status says so, and nothing is left behind
    // (the RPC run time's own ANSI string included).
    EXPECT_EQ(ansi, 0 < SweepAllocationFailures([&](int k) {
        RPC_WSTR t = nullptr;
        RPC_STATUS r = UuidToStringW(&uuid, &t);
        if (r == RPC_S_OK)
            RpcStringFreeW(&t);
        EXPECT_TRUE(HeapAllocCalls() < k || (r == RPC_S_OUT_OF_MEMORY && !t)) << k;
    }));
}

// The same on both paths: the characters up to the first NUL, then zeros.
TEST_F(ExchangeTest, BstrsWithEmbeddedNuls)
{
    BSTR b = SysAllocStringLen(L"ab\0de", 5);
    ASSERT_NE(b, nullptr);
    EXPECT_EQ(SysStringLen(b), 5u);
    EXPECT_EQ(wstring(b, 6), wstring(L"ab\0\0\0\0", 6));
    SysFreeString(b);

    b = SysAllocStringLen(L"0123456789", 10);
    ASSERT_TRUE(SysReAllocStringLen(&b, nullptr, 3));
    EXPECT_EQ(SysStringLen(b), 3u);
    EXPECT_EQ(wstring(b, 4), wstring(L"012\0", 4));
    ASSERT_TRUE(SysReAllocStringLen(&b, nullptr, 6)) << "longer than the old string";
    EXPECT_EQ(wstring(b, 7), wstring(L"012\0\0\0\0", 7));
    ASSERT_TRUE(SysReAllocStringLen(&b, L"x\0yz", 4));
    EXPECT_EQ(wstring(b, 5), wstring(L"x\0\0\0\0", 5));
    SysFreeString(b);

    b = nullptr;
    ASSERT_TRUE(SysReAllocStringLen(&b, nullptr, 2));
    EXPECT_EQ(wstring(b, 3), wstring(3, L'\0'));
    SysFreeString(b);
    EXPECT_FALSE(SysReAllocStringLen(nullptr, L"a", 1));
    b = SysAllocStringLen(nullptr, 4);
    EXPECT_EQ(SysStringLen(b), 4u);
    SysFreeString(b);
}

// A drive that is not redirected: an error, and on the ANSI path an emptied name
// and the A function's count.
TEST_F(ExchangeTest, UnconnectedDrive)
{
    for (auto fn : { &WNetGetConnectionW, &AtWNetGetConnectionW }) {
        wchar_t remote[16] = L"#";
        DWORD length = 16;
        SetLastError(1234);
        DWORD r = fn(L"Q:", remote, &length);
        EXPECT_NE(r, DWORD(NO_ERROR));
        if (ansi) {
            EXPECT_EQ(remote[0], L'\0');
        }
    }
    if (ansi) {
        EXPECT_GT(SweepAllocationFailures([&](int k) {
            wchar_t remote[4];
            DWORD length = 4;
            SetLastError(1234);
            DWORD r = WNetGetConnectionW(L"Q:", remote, &length);
            EXPECT_TRUE(HeapAllocCalls() < k || (r == ERROR_OUTOFMEMORY && GetLastError() == 0))
                << k;
        }),
            0);
    }
}

} // namespace
