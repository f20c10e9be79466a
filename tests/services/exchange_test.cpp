// DDE string handles, automation strings and network connections.
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
    ASSERT_NE(hsz, nullptr);
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
    }
    DdeFreeStringHandle(instance, hsz);
    DdeUninitialize(instance);
}

// The same on both paths: the characters up to the first NUL, then zeros; and no
// string for a null slot.
TEST_F(ExchangeTest, BstrsWithEmbeddedNuls)
{
    BSTR b = SysAllocStringLen(L"ab\0de", 5);
    ASSERT_NE(b, nullptr);
    EXPECT_EQ(SysStringLen(b), 5u);
    EXPECT_EQ(wstring(b, 6), wstring(L"ab\0\0\0\0", 6));
    SysFreeString(b);
    b = SysAllocStringLen(L"0123456789", 10);
    const struct {
        const wchar_t* text;
        UINT length;
        wstring expected; // with the terminator
    } cases[] = {
        { nullptr, 3, wstring(L"012\0", 4) },
        { nullptr, 6, wstring(L"012\0\0\0\0", 7) }, // longer than the old string
        { L"x\0yz", 4, wstring(L"x\0\0\0\0", 5) },
    };
    for (const auto& c : cases) {
        ASSERT_TRUE(SysReAllocStringLen(&b, c.text, c.length)) << c.length;
        EXPECT_EQ(SysStringLen(b), c.length);
        EXPECT_EQ(wstring(b, c.length + 1), c.expected) << c.length;
    }
    SysFreeString(b);
    b = nullptr;
    ASSERT_TRUE(SysReAllocStringLen(&b, nullptr, 2));
    EXPECT_EQ(wstring(b, 3), wstring(3, L'\0'));
    SysFreeString(b);
    EXPECT_FALSE(SysReAllocStringLen(nullptr, L"a", 1));
}

// A drive that is not redirected: an error, and on the ANSI path an emptied name.
TEST_F(ExchangeTest, UnconnectedDrive)
{
    for (auto fn : { &WNetGetConnectionW, &AtWNetGetConnectionW }) {
        wchar_t remote[16] = L"#";
        DWORD length = 16;
        EXPECT_NE(fn(L"Q:", remote, &length), DWORD(NO_ERROR));
        if (ansi) {
            EXPECT_EQ(remote[0], L'\0');
        }
    }
}

} // namespace
