// SPDX-License-Identifier: MIT
#include "platform/desktop/message_box.h"

#include "platform/desktop/modal_loop.h"
#include "platform/desktop/text_width.h"
#include "platform/desktop/window.h"

#include <algorithm>
#include <array>
#include <span>

namespace qxsim {

namespace {

struct BoxButton {
    int id;
    const WCHAR* text;
};

constexpr std::array kOk{BoxButton{IDOK, u"OK"}};
constexpr std::array kYesNo{BoxButton{IDYES, u"&Yes"}, BoxButton{IDNO, u"&No"}};

std::span<const BoxButton> ButtonsOf(UINT type) {
    if ((type & MB_TYPEMASK) == MB_YESNO)
        return kYesNo;
    return kOk;
}

bool Has(std::span<const BoxButton> buttons, int id) {
    return std::ranges::any_of(buttons, [&](const BoxButton& button) { return button.id == id; });
}

// What the close box answers: OK when that is all there is; 0 when the box must be answered.
int CloseAnswer(std::span<const BoxButton> buttons) {
    return buttons.size() == 1 ? buttons.front().id : 0;
}

struct BoxState {
    std::vector<ShownBox> shown;
    std::vector<UINT> beeps;
    std::function<int(const ShownBox&)> answers;
};

BoxState& State() {
    static BoxState state;
    return state;
}

class MessageBoxFrame final : public Control {
  public:
    MessageBoxFrame(Window& window, UINT type) : Control(window), buttons_(ButtonsOf(type)) {}

    LRESULT Message(UINT message, WPARAM wparam, LPARAM lparam) override {
        if (message == WM_COMMAND) {
            if (Has(buttons_, LOWORD(wparam)))
                answer = LOWORD(wparam);
            return 0;
        }
        if (message == WM_CLOSE) {
            answer = CloseAnswer(buttons_);
            return 0;
        }
        return Control::Message(message, wparam, lparam);
    }

    int answer = 0;

  private:
    std::span<const BoxButton> buttons_;
};

constexpr int kTextId = 0xFFFF;
constexpr int kIconId = 20;
constexpr int kButtonWidth = 75;
constexpr int kButtonHeight = 23;
constexpr int kGap = 11;
constexpr int kIconSize = 32;
constexpr int kMostTextWidth = 420;

HWND MakeBox(const ShownBox& box, HWND owner, DWORD& error, Call& call) {
    const std::span<const BoxButton> buttons = ButtonsOf(box.type);
    const bool has_icon = (box.type & MB_ICONMASK) != 0;
    const TextSize text = MeasureText(box.text, kMostTextWidth);
    const auto buttons_width = static_cast<int>(buttons.size()) * (kButtonWidth + kGap) + kGap;
    const int text_left = has_icon ? kGap + kIconSize + kGap : kGap;
    const int width = std::max(text_left + text.width + kGap, buttons_width);
    const int body = std::max(text.height, has_icon ? kIconSize : 0);

    NewWindow frame;
    frame.class_name = u"#32770";
    frame.text = ToWide(box.caption);
    frame.style = WS_POPUP | WS_CAPTION | WS_SYSMENU | DS_MODALFRAME;
    frame.rect = {0, 0, width, kGap + body + kGap + kButtonHeight + kGap};
    frame.parent = owner;
    frame.kind = WindowKind::kMessageBox;
    const HWND window = MakeWindow(frame, error, &call);
    if (!window)
        return nullptr;
    const auto add = [&](const WCHAR* class_name, const WideString& caption, DWORD style, RECT rect, int id) {
        NewWindow control;
        control.class_name = class_name;
        control.text = caption;
        control.style = WS_CHILD | WS_VISIBLE | style;
        control.rect = rect;
        control.parent = window;
        control.id = id;
        return MakeWindow(control, error, nullptr);
    };
    if (has_icon) {
        const HWND icon =
            add(u"Static", u"", SS_ICON, {kGap, kGap, kGap + kIconSize, kGap + kIconSize}, kIconId);
        // The same number, shifted, as the system's icon of that kind (IDI_HAND is 32513 and so on), which
        // stands for it everywhere.
        constexpr WPARAM kFirstSystemIcon = 32512;
        Send(icon, STM_SETICON, kFirstSystemIcon + ((box.type & MB_ICONMASK) >> 4), 0);
    }
    add(u"Static", ToWide(box.text), SS_NOPREFIX,
        {text_left, kGap, text_left + text.width, kGap + text.height}, kTextId);
    int left = (width - buttons_width) / 2 + kGap;
    const int top = kGap + body + kGap;
    for (const BoxButton& button : buttons) {
        add(u"Button", button.text, WS_TABSTOP | BS_PUSHBUTTON,
            {left, top, left + kButtonWidth, top + kButtonHeight}, button.id);
        left += kButtonWidth + kGap;
    }
    return window;
}

}  // namespace

std::vector<ShownBox> Desktop::Boxes() const {
    const std::lock_guard lock(Instruments::The().Lock());
    return State().shown;
}

std::vector<UINT> Desktop::Beeps() const {
    const std::lock_guard lock(Instruments::The().Lock());
    return State().beeps;
}

void Desktop::SetAnswers(std::function<int(const ShownBox&)> answers) {
    const std::lock_guard lock(Instruments::The().Lock());
    State().answers = std::move(answers);
}

void ForgetBoxes() {
    const std::lock_guard lock(Instruments::The().Lock());
    State() = BoxState{};
}

int MessageBoxW(HWND owner, LPCWSTR text, LPCWSTR caption, UINT type) {
    Call call("MessageBoxW", owner, text, caption, type);
    if (call.Faulted())
        return call.Fail(call.FaultError(ERROR_NOT_ENOUGH_MEMORY), 0);
    if (owner && !FindWindowRef(owner))
        return call.Fail(ERROR_INVALID_WINDOW_HANDLE, 0);
    ShownBox box;
    box.owner = owner;
    box.caption = caption ? ToUtf8(caption) : "Error";
    box.text = text ? ToUtf8(text) : "";
    box.type = type;
    box.process = CurrentSimulatedProcess();
    const std::function<int(const ShownBox&)> answers = State().answers;
    call.Unlock();

    DWORD error = 0;
    const HWND window = MakeBox(box, owner, error, call);
    const WindowRef ref = FindWindowRef(window);
    if (!ref) {
        call.Relock();
        return call.Fail(error, 0);
    }
    auto frame_control = std::make_unique<MessageBoxFrame>(*ref, type);
    MessageBoxFrame& frame = *frame_control;
    ref->control = std::move(frame_control);
    ref->is_dialog = true;
    const std::span<const BoxButton> buttons = ButtonsOf(type);
    box.window = window;
    std::size_t place = 0;
    {
        const std::lock_guard lock(Instruments::The().Lock());
        place = State().shown.size();
        State().shown.push_back(box);
    }
    if (answers)
        if (const int answer = answers(box); Has(buttons, answer))
            frame.answer = answer;
    if (frame.answer == 0) {
        Show(window, true);
        RunModalLoop(
            window, owner, [&] { return frame.answer != 0; },
            [&] { frame.answer = CloseAnswer(buttons) != 0 ? CloseAnswer(buttons) : IDNO; });
    }
    const int answer = frame.answer;
    call.Relock();
    Destroy(window, call);
    if (place < State().shown.size()) {
        State().shown[place].answer = answer;
        State().shown[place].window = nullptr;
    }
    return call.Return(answer);
}

BOOL MessageBeep(UINT type) {
    Call call("MessageBeep", type);
    if (call.Faulted())
        return call.Fail(call.FaultError(ERROR_GEN_FAILURE));
    State().beeps.push_back(type);
    return call.Return(TRUE);
}

}  // namespace qxsim
