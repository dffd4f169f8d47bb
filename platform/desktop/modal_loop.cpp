// SPDX-License-Identifier: MIT
#include "platform/desktop/modal_loop.h"

#include "platform/desktop/window.h"

namespace qxsim {

namespace {

struct UserState {
    std::function<bool()> user;
    std::vector<std::string> left_open;
};

UserState& State() {
    static UserState state;
    return state;
}

// Lets the user do something; false when there is nothing more to do.
bool AskUser() {
    std::function<bool()> user;
    {
        const std::lock_guard lock(Instruments::The().Lock());
        user = State().user;
    }
    const SimulatedProcess as_user(Desktop::kUserProcess);
    return user && user();
}

// A window that is disabled for the length of a modal loop and then as it was.
class OwnerDisabled {
  public:
    explicit OwnerDisabled(HWND owner) : owner_(RootOf(owner)) {
        const WindowRef ref = FindWindowRef(owner_);
        was_enabled_ = ref && ref->Enabled();
        Enable(owner_, false);
        focus_ = FocusedWindow();
    }
    ~OwnerDisabled() {
        if (was_enabled_)
            Enable(owner_, true);
        if (FindWindowRef(focus_))
            Focus(focus_);
    }
    OwnerDisabled(const OwnerDisabled&) = delete;
    OwnerDisabled& operator=(const OwnerDisabled&) = delete;

  private:
    HWND owner_;
    HWND focus_ = nullptr;
    bool was_enabled_ = false;
};

}  // namespace

void RunModalLoop(HWND window, HWND owner, const std::function<bool()>& done,
                  const std::function<void()>& give_up) {
    const OwnerDisabled disabled(owner);
    while (!done() && FindWindowRef(window)) {
        PaintInvalid();
        if (done() || AskUser())
            continue;
        {
            const std::lock_guard lock(Instruments::The().Lock());
            State().left_open.push_back(ToUtf8(TextOf(window)));
        }
        give_up();
    }
}

void Desktop::SetUser(std::function<bool()> user) {
    const std::lock_guard lock(Instruments::The().Lock());
    State().user = std::move(user);
}

std::vector<std::string> Desktop::RanOutOfScript() const {
    const std::lock_guard lock(Instruments::The().Lock());
    return State().left_open;
}

void ForgetUser() {
    const std::lock_guard lock(Instruments::The().Lock());
    State() = UserState{};
}

}  // namespace qxsim
