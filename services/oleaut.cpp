// Automation strings of a given length. The system has no ANSI forms of these,
// so both platforms run the same code over the system's allocator.
#include "services/services.h"

AT_SYSTEM_FUNCTION(oleaut32, SysAllocStringLen, 0)
AT_SYSTEM_FUNCTION(oleaut32, SysStringLen, 0)
AT_SYSTEM_FUNCTION(oleaut32, SysFreeString, 0)

namespace
{

// Copies at most len characters, stopping after the first NUL; the rest of the
// len characters and the one after them are zeros. Characters behind an embedded
// NUL are therefore not copied.
void CopyUpToNul(LPWSTR to, LPCWSTR from, UINT len)
{
    UINT i = 0;
    for (; i < len && from[i]; ++i)
        to[i] = from[i];
    for (; i <= len; ++i)
        to[i] = L'\0';
}

} // namespace

BSTR WINAPI SysAllocStringLen(const OLECHAR* text, UINT len)
{
    BSTR p = Sys::SysAllocStringLen(nullptr, len);
    if (p && text)
        CopyUpToNul(p, text, len);
    return p;
}

// Without a new text the old string's first len characters are kept.
INT WINAPI SysReAllocStringLen(BSTR* slot, const OLECHAR* text, UINT len)
{
    if (!slot)
        return FALSE; // no string to replace, as the system answers
    BSTR p = SysAllocStringLen(text, len);
    if (!p)
        return FALSE;
    if (!text && *slot)
        CopyUpToNul(p, *slot, std::min(Sys::SysStringLen(*slot), len));
    Sys::SysFreeString(*slot);
    *slot = p;
    return TRUE;
}
