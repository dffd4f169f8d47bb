// SPDX-License-Identifier: MIT
// Choice boxes: a list to choose from, with or without an edit field.
#include "platform/desktop/controls.h"

#include <commctrl.h>

#include <algorithm>

namespace qxsim {

namespace {

class ChoiceBox final : public Control {
  public:
    using Control::Control;

    LRESULT Message(UINT message, WPARAM wparam, LPARAM lparam) override {
        const auto index = static_cast<std::size_t>(wparam);
        switch (message) {
            case WM_CREATE:
                if (Editable())
                    MakeField();
                return 0;
            case CB_ADDSTRING:
                entries_.push_back({PointerOf<const WCHAR>(lparam), 0});
                return static_cast<LRESULT>(entries_.size()) - 1;
            case CB_RESETCONTENT:
                entries_.clear();
                selection_ = CB_ERR;
                if (field_)
                    SetFieldText(u"");
                return CB_OKAY;
            case CB_GETCOUNT:
                return static_cast<LRESULT>(entries_.size());
            case CB_GETCURSEL:
                return selection_;
            case CB_SETCURSEL:
                return Select(static_cast<int>(wparam));
            case CB_GETLBTEXT:
                return index < entries_.size()
                           ? AnswerText(entries_[index].text, entries_[index].text.size() + 1, lparam)
                           : CB_ERR;
            case CB_GETLBTEXTLEN:
                return index < entries_.size() ? static_cast<LRESULT>(entries_[index].text.size()) : CB_ERR;
            case CB_GETITEMDATA:
                return index < entries_.size() ? entries_[index].data : CB_ERR;
            case CB_SETITEMDATA:
                if (index >= entries_.size())
                    return CB_ERR;
                entries_[index].data = lparam;
                return CB_OKAY;
            case CB_FINDSTRINGEXACT:
                return Find(PointerOf<const WCHAR>(lparam));
            case CB_GETCOMBOBOXINFO: {
                auto* const info = PointerOf<COMBOBOXINFO>(lparam);
                if (!info || info->cbSize != sizeof(COMBOBOXINFO))
                    return FALSE;
                info->hwndCombo = window_.handle;
                info->hwndItem = field_ ? field_ : window_.handle;
                info->hwndList = nullptr;
                return TRUE;
            }
            case WM_SETTEXT:
                if (!field_)
                    return CB_ERR;
                SetFieldText(lparam != 0 ? PointerOf<const WCHAR>(lparam) : u"");
                return TRUE;
            case WM_GETTEXT:
                return AnswerText(ShownText(), wparam, lparam);
            case WM_GETTEXTLENGTH:
                return static_cast<LRESULT>(ShownText().size());
            case WM_ENABLE:
                if (field_)
                    Enable(field_, wparam != 0);
                return 0;
            case WM_SETFOCUS:
                if (field_)
                    Focus(field_);
                else
                    NotifyParent(CBN_SETFOCUS);
                return 0;
            case WM_KILLFOCUS:
                if (!field_)
                    NotifyParent(CBN_KILLFOCUS);
                return 0;
            case WM_COMMAND:
                return FieldNotifies(HIWORD(wparam));
            case WM_LBUTTONDOWN:
                if (window_.Enabled())
                    Focus(window_.handle);
                return 0;
            default:
                return Control::Message(message, wparam, lparam);
        }
    }

    void Describe(ControlPicture& picture) const override {
        picture.kind = field_ ? "editable choice box" : "choice box";
        for (const Entry& entry : entries_)
            picture.entries.push_back({ToUtf8(entry.text), static_cast<std::uint64_t>(entry.data)});
        picture.selection = selection_;
        picture.text = ToUtf8(ShownText());
        picture.focused = picture.focused || (field_ && FocusedWindow() == field_);
    }

  private:
    struct Entry {
        WideString text;
        LPARAM data = 0;
    };

    [[nodiscard]] bool Editable() const { return (window_.style & 3) != CBS_DROPDOWNLIST; }

    void MakeField() {
        NewWindow field;
        field.class_name = WC_EDITW;
        field.style = WS_CHILD | WS_VISIBLE | ES_AUTOHSCROLL;
        field.rect = {0, 0, window_.rect.right - window_.rect.left, window_.rect.bottom - window_.rect.top};
        field.parent = window_.handle;
        field.id = kChoiceBoxEditId;
        DWORD error = 0;
        field_ = MakeWindow(field, error, nullptr);
    }

    // Selecting by message tells the dialog nothing; only what the user does is notified.
    LRESULT Select(int index) {
        const bool valid = index >= 0 && index < static_cast<int>(entries_.size());
        selection_ = valid ? index : CB_ERR;
        if (field_)
            SetFieldText(valid ? entries_[static_cast<std::size_t>(index)].text : WideString());
        return selection_;
    }

    [[nodiscard]] LRESULT Find(WideView text) const {
        const auto found = std::ranges::find_if(
            entries_, [&](const Entry& entry) { return EqualsCaseless(entry.text, text); });
        return found == entries_.end() ? CB_ERR : found - entries_.begin();
    }

    [[nodiscard]] WideString ShownText() const {
        if (field_)
            return TextOf(field_);
        return selection_ < 0 ? WideString() : entries_[static_cast<std::size_t>(selection_)].text;
    }

    void SetFieldText(const WideString& text) {
        quiet_ = true;
        SetText(field_, text);
        Send(field_, EM_SETSEL, 0, -1);
        quiet_ = false;
    }

    // What the user types is told on; what a message set is not.
    LRESULT FieldNotifies(UINT code) {
        switch (code) {
            case EN_UPDATE:
                if (!quiet_) {
                    selection_ = CB_ERR;
                    NotifyParent(CBN_EDITUPDATE);
                }
                break;
            case EN_CHANGE:
                if (!quiet_)
                    NotifyParent(CBN_EDITCHANGE);
                break;
            case EN_SETFOCUS:
                NotifyParent(CBN_SETFOCUS);
                break;
            case EN_KILLFOCUS:
                NotifyParent(CBN_KILLFOCUS);
                break;
            default:
                break;
        }
        return 0;
    }

    std::vector<Entry> entries_;
    int selection_ = CB_ERR;
    HWND field_ = nullptr;
    bool quiet_ = false;  // the edit field changes because of a message, not because of the user
};

}  // namespace

std::unique_ptr<Control> MakeChoiceBox(Window& window) {
    return std::make_unique<ChoiceBox>(window);
}

}  // namespace qxsim
