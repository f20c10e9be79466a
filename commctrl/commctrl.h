// What the common-control members share: the control messages, sent through the
// window manager's SendMessage bound on first use, and the text fields of the
// controls' records.
#pragma once

// The family defines comctl32's own W functions (PropertySheetW...) against the
// platform header's declarations.
#define _COMCTL32_
#include "core/core.h"

#include <commctrl.h>

#include "torwen.h"

AT_SYSTEM_FUNCTION(user32, SendMessageW, 0)
AT_SYSTEM_FUNCTION(user32, SendMessageA, 0)

// The members that fail with -1 (the inserts, searches and widths) answer -1 also
// on a system without the message function: a caller tests for -1, and the 0 of
// the other binding is a valid index there.
namespace AtFailsWithMinusOne
{
AT_SYSTEM_FUNCTION(user32, SendMessageW, -1)
}

// Whether a system function, once called, turned out to be missing from the system.
template <auto& Function> bool AtFoundMissing()
{
    using Import = std::remove_reference_t<decltype(Function)>;
    return Function.fn == &Import::template missing<Function>;
}

// One control message: on the NT family the W message with the caller's record;
// otherwise `body` converts and sends the A message. Failures of this family keep
// no saved error: a caught one leaves 14 (memory) or 87 (a count too large).
template <typename Body>
[[gnu::always_inline]] inline LRESULT AtControlMessage(
    HWND hwnd, UINT msgW, WPARAM wParam, const void* lParam, LRESULT failure, Body body)
{
    auto& sendW = failure == -1 ? AtFailsWithMinusOne::Sys::SendMessageW : Sys::SendMessageW;
    return AtExport(sendW, hwnd, msgW, wParam, reinterpret_cast<LPARAM>(lParam))
        .orAnsiWithoutSavedError(failure, [=] {
            LRESULT r = body();
            // A missing SendMessageA answered 0 to every message the body sent.
            if (failure && AtFoundMissing<Sys::SendMessageA>()) {
                SetLastError(ERROR_CALL_NOT_IMPLEMENTED);
                return failure;
            }
            return r;
        });
}

template <typename T> LPARAM AtParam(T* record)
{
    return reinterpret_cast<LPARAM>(record);
}

// Text of a record going in. A control that asks its parent for the text is given
// the marker and the caller's capacity; any other text is converted, and the control
// is told the heap size of the copy.
inline void AtTextIn(
    AtStringSlot& slot, LPCWSTR text, int cch, LPSTR& textA, int& cchA, bool markerPasses)
{
    if (markerPasses && text == LPSTR_TEXTCALLBACKW) {
        textA = LPSTR_TEXTCALLBACKA;
        cchA = cch;
        return;
    }
    AtWideToAnsiTemp(slot, text);
    textA = slot;
    cchA = static_cast<int>(AtHeapSize(slot));
}

// An empty ANSI buffer for a text coming back: the caller's n characters may take
// n * AtMaxCharSize bytes, and the control is told that heap size. It starts as an
// empty string, so a control that writes nothing gives back an empty text.
inline void AtTextOut(AtStringSlot& slot, int cch, LPSTR& textA, int& cchA)
{
    AtAllocEmptyAnsiOut(slot, static_cast<DWORD>(cch));
    textA = slot;
    cchA = static_cast<int>(AtHeapSize(slot));
}

// The text the control answered, from wherever it left the record's pointer (its
// own string, for items that keep their text): all of it or nothing, at most the
// caller's count.
inline void AtTextBack(LPCSTR textA, LPWSTR text, int cch)
{
    if (textA && textA != LPSTR_TEXTCALLBACKA)
        MultiByteToWideChar(CP_ACP, 0, textA, -1, text, cch);
}

// The incremental-search string of a list or tree view: the caller's buffer holds
// 260 characters, and a longer string cannot come back.
inline int AtSearchStringInto(HWND hwnd, UINT msgA, LPWSTR psz)
{
    AtStringSlot buf;
    AtAllocEmptyAnsiOut(buf, 260);
    Sys::SendMessageA(hwnd, msgA, 0, reinterpret_cast<LPARAM>(buf.value));
    int n = AtAnsiToWideOut(buf, psz, 260);
    return n > 0 ? n - 1 : n;
}
