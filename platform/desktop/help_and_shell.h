// SPDX-License-Identifier: MIT
// The help viewer, and opening of documents and addresses.
#pragma once

#include "platform/desktop/desktop.h"
#include "platform/machine/calls.h"

#include <htmlhelp.h>
#include <shellapi.h>

namespace qxsim {

void ForgetRequests();

QX_PLATFORM_CALL(HtmlHelpW);
QX_PLATFORM_CALL(ShellExecuteW);

}  // namespace qxsim
