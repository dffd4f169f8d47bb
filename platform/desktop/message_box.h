// SPDX-License-Identifier: MIT
// Message boxes and sounds.
#pragma once

#include "platform/desktop/desktop.h"
#include "platform/machine/calls.h"

namespace qxsim {

void ForgetBoxes();

QX_PLATFORM_CALL(MessageBoxW);
QX_PLATFORM_CALL(MessageBeep);

}  // namespace qxsim
