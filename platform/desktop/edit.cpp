// SPDX-License-Identifier: MIT
// Edit fields of one line.
#include "platform/desktop/controls.h"

#include <algorithm>

namespace qxsim {

namespace {

class Edit final : public Control {
  public:
    using Control::Control;

    LRESULT Message(UINT message, WPARAM wparam, LPARAM lparam) override {
        switch (message) {
            case WM_SETTEXT: {
                const LRESULT result = Control::Message(message, wparam, lparam);
                from_ = to_ = 0;
                Changed();
                return result;
            }
            case WM_CHAR:
                return Typed(static_cast<WCHAR>(wparam));
            case EM_SETSEL: {
                const std::size_t end = window_.text.size();
                const auto from = static_cast<int>(wparam);
                const auto to = static_cast<int>(lparam);
                from_ = from < 0 ? to_ : std::min(static_cast<std::size_t>(from), end);
                to_ = from < 0 ? to_ : to < 0 ? end : std::min(static_cast<std::size_t>(to), end);
                if (from_ > to_)
                    std::swap(from_, to_);
                return 0;
            }
            case WM_SETFOCUS:
                NotifyParent(EN_SETFOCUS);
                return 0;
            case WM_KILLFOCUS:
                NotifyParent(EN_KILLFOCUS);
                return 0;
            case WM_LBUTTONDOWN:
                if (window_.Enabled())
                    Focus(window_.handle);
                return 0;
            default:
                return Control::Message(message, wparam, lparam);
        }
    }

    void Describe(ControlPicture& picture) const override { picture.kind = "edit"; }

  private:
    static constexpr WCHAR kBackspace = 8;

    void Changed() {
        NotifyParent(EN_UPDATE);
        NotifyParent(EN_CHANGE);
    }

    void Replace(WideView text) {
        window_.text.erase(from_, to_ - from_);
        window_.text.insert(from_, text);
        from_ = to_ = from_ + text.size();
        Changed();
    }

    LRESULT Typed(WCHAR unit) {
        if (!window_.Enabled())
            return 0;
        if (unit == kBackspace) {
            if (from_ == to_ && from_ > 0)
                --from_;
            if (from_ != to_)
                Replace(u"");
            return 0;
        }
        const bool digit = unit >= u'0' && unit <= u'9';
        if (unit < u' ' || ((window_.style & ES_NUMBER) && !digit))
            return 0;
        Replace(WideView(&unit, 1));
        return 0;
    }

    std::size_t from_ = 0;  // the selection; the caret when both are equal
    std::size_t to_ = 0;
};

}  // namespace

std::unique_ptr<Control> MakeEdit(Window& window) {
    return std::make_unique<Edit>(window);
}

}  // namespace qxsim
