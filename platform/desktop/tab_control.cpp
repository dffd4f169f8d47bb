// SPDX-License-Identifier: MIT
// The row of tabs of a property sheet.
#include "platform/desktop/controls.h"

#include <utility>

#include <commctrl.h>

namespace qxsim {

namespace {

class TabControl final : public Control {
  public:
    using Control::Control;

    LRESULT Message(UINT message, WPARAM wparam, LPARAM lparam) override {
        switch (message) {
            case TCM_GETITEMCOUNT:
                return static_cast<LRESULT>(texts_.size());
            case TCM_GETCURSEL:
                return current_;
            case TCM_SETCURSEL:
                // Selecting by message tells the sheet nothing, as with every other control.
                return wparam < texts_.size() ? std::exchange(current_, static_cast<int>(wparam)) : -1;
            case TCM_GETITEMW: {
                auto* const item = PointerOf<TCITEMW>(lparam);
                if (!item || wparam >= texts_.size())
                    return FALSE;
                if (item->mask & TCIF_TEXT)
                    CopyText(texts_[wparam], static_cast<std::size_t>(item->cchTextMax), item->pszText);
                return TRUE;
            }
            default:
                return Control::Message(message, wparam, lparam);
        }
    }

    void Describe(ControlPicture& picture) const override {
        picture.kind = "tab";
        picture.selection = current_;
        for (const WideString& text : texts_)
            picture.entries.push_back({ToUtf8(text), 0});
    }

    void SetTexts(std::vector<WideString> texts) { texts_ = std::move(texts); }

  private:
    std::vector<WideString> texts_;
    int current_ = -1;
};

}  // namespace

std::unique_ptr<Control> MakeTabControl(Window& window) {
    return std::make_unique<TabControl>(window);
}

void SetTabs(HWND tab_control, std::vector<WideString> texts) {
    if (const WindowRef ref = FindWindowRef(tab_control))
        if (auto* const tabs = dynamic_cast<TabControl*>(ref->control.get()))
            tabs->SetTexts(std::move(texts));
}

}  // namespace qxsim
