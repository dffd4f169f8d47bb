// SPDX-License-Identifier: MIT
// Windows whose messages somebody else looks at first.
#pragma once

#include "platform/machine/calls.h"

#include <commctrl.h>

namespace qxsim {

QX_PLATFORM_CALL(SetWindowSubclass);
QX_PLATFORM_CALL(RemoveWindowSubclass);
QX_PLATFORM_CALL(DefSubclassProc);
void ForgetSubclasses();

}  // namespace qxsim
