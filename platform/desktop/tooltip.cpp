// SPDX-License-Identifier: MIT
// Tooltips.
#include "platform/desktop/controls.h"
#include "platform/process/modules.h"

#include <commctrl.h>

#include <algorithm>
#include <utility>

namespace qxsim {

namespace {

// A double-click's time is 500 ms unless the user chose another; the platform's delays are multiples of it.
constexpr int kDoubleClickTime = 500;

class Tooltip final : public Control {
  public:
    using Control::Control;

    LRESULT Message(UINT message, WPARAM wparam, LPARAM lparam) override {
        switch (message) {
            case TTM_ADDTOOLW:
                return AddTool(PointerOf<TTTOOLINFOW>(lparam));
            case TTM_SETTITLEW: {
                const WideString title = PointerOf<const WCHAR>(lparam);
                if (title.size() > 99)
                    return FALSE;
                tip_.title = ToUtf8(title);
                tip_.icon = static_cast<int>(wparam);
                return TRUE;
            }
            case TTM_SETMAXTIPWIDTH:
                return std::exchange(tip_.max_width, static_cast<int>(lparam));
            case TTM_SETDELAYTIME:
                SetDelay(wparam, static_cast<short>(LOWORD(lparam)));
                return 0;
            default:
                return Control::Message(message, wparam, lparam);
        }
    }

    void Describe(ControlPicture& picture) const override { picture.kind = "tooltip"; }

    // Whether the pointer on `control` wakes this tooltip, and then what it shows.
    [[nodiscard]] std::optional<ShownTip> TipFor(HWND control) {
        const auto tool =
            std::ranges::find_if(tools_, [&](const Tool& known) { return known.Covers(control); });
        if (tool == tools_.end() || !(tool->flags & TTF_SUBCLASS))
            return std::nullopt;
        // A disabled control gets no mouse messages, so its tooltip never wakes.
        if (const WindowRef ref = FindWindowRef(control); !ref || !ref->Enabled())
            return std::nullopt;
        if (!(window_.style & TTS_ALWAYSTIP) && ActiveWindow() != RootOf(control))
            return std::nullopt;
        std::optional<WideString> text = tool->text;
        if (!text)
            text = AskForText(*tool);
        if (text->empty())
            return std::nullopt;  // an empty tip is not shown
        ShownTip tip = tip_;      // after asking: the dialog may have changed the title
        tip.text = ToUtf8(*text);
        tip.balloon = (window_.style & TTS_BALLOON) != 0;
        tip.closable = (window_.style & TTS_CLOSE) != 0;
        return tip;
    }

  private:
    struct Tool {
        UINT flags = 0;
        HWND owner = nullptr;
        UINT_PTR id = 0;
        LPARAM data = 0;
        std::optional<WideString> text;  // none when the owner is to be asked

        [[nodiscard]] bool Covers(HWND control) const {
            return (flags & TTF_IDISHWND) ? reinterpret_cast<HWND>(id) == control : owner == control;
        }
    };

    LRESULT AddTool(const TTTOOLINFOW* info) {
        if (!info || (info->cbSize != sizeof(TTTOOLINFOW) && info->cbSize != TTTOOLINFOW_V2_SIZE &&
                      info->cbSize != TTTOOLINFOW_V1_SIZE))
            return FALSE;
        if ((info->uFlags & TTF_IDISHWND) && !FindWindowRef(reinterpret_cast<HWND>(info->uId)))
            return FALSE;
        Tool tool{
            info->uFlags, info->hwnd, info->uId, info->cbSize > TTTOOLINFOW_V1_SIZE ? info->lParam : 0, {}};
        if (info->lpszText != LPSTR_TEXTCALLBACKW) {
            if (!info->lpszText)
                tool.text = u"";
            else if (IS_INTRESOURCE(info->lpszText))
                tool.text = ModuleString(info->hinst, LOWORD(info->lpszText));
            else
                tool.text = info->lpszText;
        }
        tools_.push_back(std::move(tool));
        return TRUE;
    }

    [[nodiscard]] WideString AskForText(const Tool& tool) const {
        NMTTDISPINFOW asked{};
        asked.hdr.hwndFrom = window_.handle;
        asked.hdr.idFrom = tool.id;
        asked.hdr.code = TTN_GETDISPINFOW;
        asked.lpszText = asked.szText;
        asked.uFlags = tool.flags & TTF_IDISHWND;
        asked.lParam = tool.data;
        Send(tool.owner, WM_NOTIFY, tool.id, ToLparam(&asked));
        if (!asked.lpszText)
            return u"";
        return IS_INTRESOURCE(asked.lpszText) ? ModuleString(asked.hinst, LOWORD(asked.lpszText))
                                              : WideString(asked.lpszText);
    }

    [[nodiscard]] static ShownTip DefaultTip() {
        ShownTip tip;
        tip.initial_delay = kDoubleClickTime;
        tip.reshow_delay = kDoubleClickTime / 5;
        tip.visible_time = kDoubleClickTime * 10;
        return tip;
    }

    void SetDelay(WPARAM which, int milliseconds) {
        const int time = milliseconds < 0 ? kDoubleClickTime : milliseconds;
        switch (which) {
            case TTDT_INITIAL:
                tip_.initial_delay = time;
                break;
            case TTDT_RESHOW:
                tip_.reshow_delay = time;
                break;
            case TTDT_AUTOPOP:
                tip_.visible_time = time;
                break;
            default:
                break;
        }
    }

    std::vector<Tool> tools_;
    ShownTip tip_ = DefaultTip();
};

}  // namespace

std::unique_ptr<Control> MakeTooltip(Window& window) {
    return std::make_unique<Tooltip>(window);
}

std::optional<ShownTip> Desktop::HoverTip(HWND control) {
    for (const HWND window : TopLevelWindows())
        if (const WindowRef ref = FindWindowRef(window))
            if (auto* const tooltip = dynamic_cast<Tooltip*>(ref->control.get()))
                if (std::optional<ShownTip> tip = tooltip->TipFor(control))
                    return tip;
    return std::nullopt;
}

}  // namespace qxsim
