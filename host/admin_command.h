// SPDX-License-Identifier: MIT
// The commands of the administrators' program (admin/run.h) on the session's machine.
#pragma once

#include "host/desk.h"

#include <string>
#include <vector>

namespace qxhost {

// Runs a command: its name, then its arguments. `user` is in front of the windows that it opens (see
// Desk::Use); {"show", "COM5"} opens a port's property sheet. Returns the exit code.
[[nodiscard]] int RunAdmin(Desk& desk, std::vector<std::string> arguments, const std::function<bool()>& user);

}  // namespace qxhost
