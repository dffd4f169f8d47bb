// SPDX-License-Identifier: MIT
// The names of messages, for traces that can be read.
#pragma once

#include <windows.h>

#include <string>

namespace qxsim {

// The name of a message to a window of a class; its number when it has none here.
[[nodiscard]] std::string MessageName(HWND window, UINT message);

}  // namespace qxsim
