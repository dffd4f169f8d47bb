// SPDX-License-Identifier: MIT
// Push buttons, check boxes, radio buttons and group boxes.
#include "platform/desktop/controls.h"

#include <algorithm>
#include <utility>

namespace qxsim {

namespace {

class Button final : public Control {
  public:
    using Control::Control;

    LRESULT Message(UINT message, WPARAM wparam, LPARAM lparam) override {
        switch (message) {
            case WM_GETDLGCODE:
                return DLGC_BUTTON;
            case BM_GETCHECK:
                return check_;
            case BM_SETCHECK:
                if (IsCheck() || IsRadio())
                    check_ = static_cast<int>(std::min<WPARAM>(wparam, BST_CHECKED));
                return 0;
            case WM_LBUTTONDOWN:
                pressed_ = window_.Enabled();
                if (pressed_)
                    Focus(window_.handle);
                return 0;
            case WM_LBUTTONUP:
                if (std::exchange(pressed_, false))
                    Click();
                return 0;
            case BM_CLICK:
                Message(WM_LBUTTONDOWN, 0, 0);
                Message(WM_LBUTTONUP, 0, 0);
                return 0;
            default:
                return Control::Message(message, wparam, lparam);
        }
    }

    void Describe(ControlPicture& picture) const override {
        picture.kind = Type() == BS_GROUPBOX ? "group box"
                       : IsRadio()           ? "radio button"
                       : IsCheck()           ? "check box"
                                             : "push button";
        if (IsCheck() || IsRadio())
            picture.check = check_;
    }

  private:
    [[nodiscard]] DWORD Type() const { return window_.style & BS_TYPEMASK; }
    [[nodiscard]] bool IsCheck() const { return Type() == BS_CHECKBOX || Type() == BS_AUTOCHECKBOX; }
    [[nodiscard]] bool IsRadio() const { return Type() == BS_RADIOBUTTON || Type() == BS_AUTORADIOBUTTON; }

    void Click() {
        if (Type() == BS_GROUPBOX)
            return;
        if (Type() == BS_AUTOCHECKBOX)
            check_ = check_ == BST_CHECKED ? BST_UNCHECKED : BST_CHECKED;
        else if (Type() == BS_AUTORADIOBUTTON)
            CheckAloneInGroup();
        NotifyParent(BN_CLICKED);
    }

    // A group runs from one control with WS_GROUP to the next.
    void CheckAloneInGroup() {
        const WindowRef parent = FindWindowRef(window_.parent);
        const std::vector<HWND>& siblings = parent->children;
        const auto starts_group = [](HWND sibling) {
            return (FindWindowRef(sibling)->style & WS_GROUP) != 0;
        };
        auto first = std::ranges::find(siblings, window_.handle);
        const auto last = std::find_if(std::next(first), siblings.end(), starts_group);
        while (first != siblings.begin() && !starts_group(*first))
            --first;
        for (auto sibling = first; sibling != last; ++sibling) {
            const WindowRef ref = FindWindowRef(*sibling);
            auto* const button = dynamic_cast<Button*>(ref->control.get());
            if (button && button->Type() == BS_AUTORADIOBUTTON)
                button->check_ = button == this ? BST_CHECKED : BST_UNCHECKED;
        }
    }

    int check_ = BST_UNCHECKED;
    bool pressed_ = false;
};

}  // namespace

std::unique_ptr<Control> MakeButton(Window& window) {
    return std::make_unique<Button>(window);
}

}  // namespace qxsim
