// SPDX-License-Identifier: MIT
// The check that texts have room.
#pragma once

#include "platform/desktop/desktop.h"

#include <string>
#include <vector>

namespace qxsim {

// The controls of the window, and of all its opened pages, whose text does not fit in their rectangle with
// the dialog font: one readable line each.
[[nodiscard]] std::vector<std::string> ClippedTexts(const WindowPicture& window);

}  // namespace qxsim
