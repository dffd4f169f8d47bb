// SPDX-License-Identifier: MIT
// Sliders.
#include "platform/desktop/controls.h"

#include <commctrl.h>

#include <algorithm>
#include <utility>

namespace qxsim {

namespace {

class Slider final : public Control {
  public:
    using Control::Control;

    LRESULT Message(UINT message, WPARAM wparam, LPARAM lparam) override {
        switch (message) {
            case TBM_GETPOS:
                return position_;
            case TBM_GETRANGEMIN:
                return minimum_;
            case TBM_GETRANGEMAX:
                return maximum_;
            case TBM_SETPOS:
                position_ = Clamped(static_cast<int>(lparam));
                return 0;
            case TBM_SETRANGE:
                SetRange(static_cast<short>(LOWORD(lparam)), static_cast<short>(HIWORD(lparam)));
                return 0;
            case TBM_SETRANGEMIN:
                SetRange(static_cast<int>(lparam), maximum_);
                return 0;
            case TBM_SETRANGEMAX:
                SetRange(minimum_, static_cast<int>(lparam));
                return 0;
            case TBM_SETPAGESIZE: {
                const int old = PageSize();
                page_ = static_cast<int>(lparam);
                return old;
            }
            case TBM_GETPAGESIZE:
                return PageSize();
            case TBM_SETLINESIZE:
                return std::exchange(line_, static_cast<int>(lparam));
            case TBM_GETLINESIZE:
                return line_;
            case TBM_SETTICFREQ:
                return 0;
            case WM_KEYDOWN:
                return Key(wparam) ? 0 : Control::Message(message, wparam, lparam);
            case WM_LBUTTONDOWN:
                if (window_.Enabled())
                    Focus(window_.handle);
                return 0;
            default:
                return Control::Message(message, wparam, lparam);
        }
    }

    void Describe(ControlPicture& picture) const override {
        picture.kind = "slider";
        picture.minimum = minimum_;
        picture.maximum = maximum_;
        picture.position = position_;
    }

  private:
    [[nodiscard]] int Clamped(int position) const { return std::max(minimum_, std::min(position, maximum_)); }
    // The platform's own page size follows the range.
    [[nodiscard]] int PageSize() const { return page_ > 0 ? page_ : std::max(1, (maximum_ - minimum_) / 5); }

    void SetRange(int minimum, int maximum) {
        minimum_ = minimum;
        maximum_ = std::max(minimum, maximum);
        position_ = Clamped(position_);
    }

    bool Key(WPARAM key) {
        if (!window_.Enabled())
            return false;
        switch (key) {
            case VK_RIGHT:
            case VK_DOWN:
                return Step(TB_LINEDOWN, position_ + line_);
            case VK_LEFT:
            case VK_UP:
                return Step(TB_LINEUP, position_ - line_);
            case VK_NEXT:
                return Step(TB_PAGEDOWN, position_ + PageSize());
            case VK_PRIOR:
                return Step(TB_PAGEUP, position_ - PageSize());
            case VK_HOME:
                return Step(TB_TOP, minimum_);
            case VK_END:
                return Step(TB_BOTTOM, maximum_);
            default:
                return false;
        }
    }

    bool Step(UINT code, int position) {
        position_ = Clamped(position);
        Send(window_.parent, WM_HSCROLL, MAKEWPARAM(code, 0), ToLparam(window_.handle));
        Send(window_.parent, WM_HSCROLL, MAKEWPARAM(TB_ENDTRACK, 0), ToLparam(window_.handle));
        return true;
    }

    int minimum_ = 0;
    int maximum_ = 100;
    int position_ = 0;
    int page_ = 0;
    int line_ = 1;
};

}  // namespace

std::unique_ptr<Control> MakeSlider(Window& window) {
    return std::make_unique<Slider>(window);
}

}  // namespace qxsim
