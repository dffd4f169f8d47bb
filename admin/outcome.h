// SPDX-License-Identifier: MIT
// Whether a change may be made, and whether it was.
#pragma once

#include "admin/computer.h"

#include <string>

namespace qxports {

// Throws Failure when this program may not write to the port's settings: nothing of a change is begun then.
void RequireWritable(const Computer& computer, const Port& port);

// The computer after a change. Throws Failure, by a code that does not say that nothing was changed, when it
// cannot be read.
[[nodiscard]] Computer AfterChange();

// Looks at the computer again. Throws Failure, with what is wrong, unless the device runs under this COM name
// and all places agree with it: what a call of the platform reported is not enough to say "done".
void RequireName(const std::string& id, const std::string& name);

}  // namespace qxports
