// SPDX-License-Identifier: MIT
// A static text that opens a web address.
#pragma once

#include "base/handles.h"
#include "base/text.h"
#include "pages/clickable_static.h"

namespace qx {

// Turns a static control into a link: underlined, in the user's link colour, with a hand as pointer and the
// address as tip. Its label is the text that the control has.
class CHyperlink {
  public:
    CHyperlink() = default;
    ~CHyperlink() { Detach(); }
    CHyperlink(const CHyperlink&) = delete;
    CHyperlink& operator=(const CHyperlink&) = delete;

    void Attach(HWND control, Text address);
    // To be called before the page's window is destroyed.
    void Detach() noexcept;

    // Opens the address in the user's browser. After that has worked once, the link counts as visited.
    void Open() noexcept;

    [[nodiscard]] bool IsControl(HWND window) const noexcept { return window && window == link_.Control(); }
    // The colour that the label is to be drawn in.
    [[nodiscard]] COLORREF Colour() const noexcept { return visited_ ? visited_colour_ : colour_; }

  private:
    struct FontTraits {
        using Handle = HFONT;
        static Handle Invalid() noexcept { return nullptr; }
        static void Close(Handle font) noexcept { DeleteObject(font); }
    };
    void Underline() noexcept;
    void FitToLabel();
    void ReadColours();
    void CreateTip() noexcept;

    CClickableStatic link_;
    Text address_;
    Owned<FontTraits> font_;
    HWND tip_ = nullptr;
    COLORREF colour_ = RGB(0, 0, 255);
    COLORREF visited_colour_ = RGB(128, 0, 128);
    bool visited_ = false;
};

}  // namespace qx
