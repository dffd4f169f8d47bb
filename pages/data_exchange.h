// SPDX-License-Identifier: MIT
// Moves values between the controls of a dialog and variables.
#pragma once

#include "base/text.h"

namespace qx {

class CDataExchange {
  protected:
    CDataExchange() = default;
    ~CDataExchange() = default;

    // The decimal number that a control's text is, blanks around it allowed. False, with `value` as it was,
    // when the text is anything else or the number needs more than 32 bits.
    [[nodiscard]] static bool ReadNumber(HWND control, DWORD& value);
    static void WriteNumber(HWND control, DWORD value);

    [[nodiscard]] static bool HasSelection(HWND box) noexcept;
    [[nodiscard]] static bool IsChecked(HWND box) noexcept;
    static void SetChecked(HWND box, bool checked) noexcept;
};

// A control's whole text.
[[nodiscard]] Text TextOfWindow(HWND window);

}  // namespace qx
