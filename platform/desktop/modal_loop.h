// SPDX-License-Identifier: MIT
// The loop that runs while a dialog, a sheet or a message box waits for its user.
#pragma once

#include "platform/desktop/desktop.h"
#include "platform/machine/instruments.h"

#include <functional>

namespace qxsim {

// Runs until `done`, or until the window is gone. `give_up` closes the window when the user has nothing more
// to do. The window's owner is disabled meanwhile, as the platform does for everything modal.
void RunModalLoop(HWND window, HWND owner, const std::function<bool()>& done,
                  const std::function<void()>& give_up);

void ForgetUser();

}  // namespace qxsim
