// What the standard-control helpers share: sending a control its message.
//
// The including file declares Sys::SendMessageW and Sys::SendMessageA first, with
// the value its helpers answer when the system lacks them (LB_ERR for the list and
// combo box helpers, 0 for the others); each file's helpers below use its own.
#pragma once

#include "core/core.h"
#include "torwen.h"

namespace
{

inline LRESULT AtSend(HWND hwnd, UINT msg, WPARAM wParam, LPARAM lParam)
{
    return Sys::SendMessageW(hwnd, msg, wParam, lParam);
}

inline LRESULT AtSendA(HWND hwnd, UINT msg, WPARAM wParam, LPARAM lParam)
{
    return Sys::SendMessageA(hwnd, msg, wParam, lParam);
}

// A message whose lParam is a string: sent as it is on the NT family, converted on
// the ANSI platforms. The answer is the control's; a failed conversion answers
// `failure`. Item data of a list without strings is converted too when its upper
// word is not zero: the helpers are for controls that hold strings.
inline LRESULT AtSendText(HWND hwnd, UINT msg, WPARAM wParam, LPCWSTR text, LRESULT failure)
{
    return AtExport(Sys::SendMessageW, hwnd, msg, wParam, reinterpret_cast<LPARAM>(text))
        .orAnsiWithoutSavedError(failure, [=] {
            return AtSendA(hwnd, msg, wParam, reinterpret_cast<LPARAM>(AtAnsiTemp(text).value));
        });
}

} // namespace
