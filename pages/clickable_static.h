// SPDX-License-Identifier: MIT
// A static control that the user can click or reach with the keyboard.
#pragma once

#include <windows.h>

namespace qx {

// Gives a static control with SS_NOTIFY what a link or a clickable picture needs besides its click: a hand as
// pointer, a focus rectangle, and the space and return keys, which count as a click (WM_COMMAND with
// STN_CLICKED to the parent), so that nobody needs a mouse.
class CClickableStatic {
  public:
    CClickableStatic() = default;
    ~CClickableStatic() { Detach(); }
    CClickableStatic(const CClickableStatic&) = delete;
    CClickableStatic& operator=(const CClickableStatic&) = delete;

    void Attach(HWND control) noexcept;
    void Detach() noexcept;
    [[nodiscard]] HWND Control() const noexcept { return control_; }

  private:
    static LRESULT CALLBACK SubclassProcedure(HWND window, UINT message, WPARAM wparam, LPARAM lparam,
                                              UINT_PTR id, DWORD_PTR object) noexcept;

    HWND control_ = nullptr;
};

}  // namespace qx
