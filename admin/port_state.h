// SPDX-License-Identifier: MIT
// What a port is and what state it is in, in words.
#pragma once

#include "admin/computer.h"

#include <string>

namespace qxports {

// "absent", "disabled", "not started (problem 28)", "running". Says nothing of who uses it.
[[nodiscard]] std::string StateOf(const Port& port);

// Why the port under this name cannot be opened now: "held open", or the platform's words; empty when it can.
// Opening is the only way to know, and the port's lines show it for that moment, as with any program.
[[nodiscard]] std::string WhyNotOpened(const qx::Text& name);

// What the port's driver says that the port is; empty when the driver does not answer.
[[nodiscard]] std::string KindOf(const Computer& computer, const Port& port);

}  // namespace qxports
