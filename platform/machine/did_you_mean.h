// SPDX-License-Identifier: MIT
// Suggestions for words that nothing has: commands, keys, names.
#pragma once

#include "platform/machine/instruments.h"

#include <string>
#include <string_view>
#include <vector>

namespace qxsim {

// "; did you mean \"settings\"?" when one of the names is close to the word, else nothing.
[[nodiscard]] std::string DidYouMean(std::string_view word, const std::vector<std::string>& names);

}  // namespace qxsim
