// SPDX-License-Identifier: MIT
// Sliders.
#include "platform/desktop/controls.h"

#include <commctrl.h>

#include <algorithm>

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

    void SetRange(int minimum, int maximum) {
        minimum_ = minimum;
        maximum_ = std::max(minimum, maximum);
        position_ = Clamped(position_);
    }

    int minimum_ = 0;
    int maximum_ = 100;
    int position_ = 0;
};

}  // namespace

std::unique_ptr<Control> MakeSlider(Window& window) {
    return std::make_unique<Slider>(window);
}

}  // namespace qxsim
