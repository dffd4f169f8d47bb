// SPDX-License-Identifier: MIT
// Labels and pictures.
#include "platform/desktop/controls.h"

#include <utility>

namespace qxsim {

namespace {

class Static final : public Control {
  public:
    using Control::Control;

    LRESULT Message(UINT message, WPARAM wparam, LPARAM lparam) override {
        switch (message) {
            case WM_GETDLGCODE:
                return DLGC_STATIC;
            case WM_LBUTTONDOWN:
                // Without SS_NOTIFY the pointer looks through a static.
                if ((window_.style & SS_NOTIFY) && window_.Enabled())
                    NotifyParent(STN_CLICKED);
                return 0;
            case STM_SETIMAGE:
                return std::exchange(image_, lparam);
            case STM_GETIMAGE:
            case STM_GETICON:
                return image_;
            case STM_SETICON:
                return std::exchange(image_, static_cast<LPARAM>(wparam));
            default:
                return Control::Message(message, wparam, lparam);
        }
    }

    void Describe(ControlPicture& picture) const override {
        const DWORD type = window_.style & SS_TYPEMASK;
        picture.kind = type == SS_ICON || type == SS_BITMAP ? "picture" : "label";
    }

  private:
    LPARAM image_ = 0;
};

}  // namespace

std::unique_ptr<Control> MakeStatic(Window& window) {
    return std::make_unique<Static>(window);
}

}  // namespace qxsim
