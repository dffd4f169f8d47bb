// SPDX-License-Identifier: MIT
// Message boxes that come up while nobody sits in front of the screen.
#pragma once

#include "host/desk.h"

#include <functional>
#include <string>

namespace qxhost {

// The user for Desk::Use: describes each message box, line by line to `say`, and closes it with `answer`
// ("yes" or "no"; boxes without such a button with the one they have). Without an answer the person at the
// terminal is asked; without a terminal it is No, which changes nothing. Empty when somebody sits in front of
// the screen and no answer is given.
[[nodiscard]] std::function<bool()> BoxAnswerer(const Desk& desk, const std::string& answer,
                                                const std::function<void(const std::string&)>& say);

}  // namespace qxhost
