// SPDX-License-Identifier: MIT
// The help viewer, and opening of documents and addresses.
#pragma once

#include "platform/desktop/desktop.h"
#include "platform/machine/calls.h"

#include <htmlhelp.h>
#include <shellapi.h>

namespace qxsim {

[[nodiscard]] std::vector<HelpRequest> AskedHelp();
[[nodiscard]] std::vector<ShellRequest> AskedShell();
void SetShellAnswer(int result);
void ForgetRequests();

QX_PLATFORM_CALL(HtmlHelpW);
QX_PLATFORM_CALL(ShellExecuteW);

}  // namespace qxsim
