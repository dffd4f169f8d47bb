// SPDX-License-Identifier: MIT
// Texts between the platform's UTF-16 and the UTF-8 of terminals and files.
#pragma once

#include "base/text.h"

#include <string>
#include <string_view>

namespace qxports {

// What is no text in the one form becomes U+FFFD in the other.
[[nodiscard]] std::string Utf8(qx::TextView text);
[[nodiscard]] std::string Utf8(const qx::Text& text);
[[nodiscard]] qx::Text Wide(std::string_view text);

// The text as a terminal may have it: a device's name comes from whoever made the device, and a control
// character in it would be obeyed. Such characters are written as \x1B.
[[nodiscard]] std::string Visible(std::string_view text);

// Letter case does not count in names.
[[nodiscard]] bool IsSameName(std::string_view a, std::string_view b);
[[nodiscard]] bool HasPart(std::string_view text, std::string_view part);

// "Access is denied. (error 5)": the platform's own words for a code where it has any.
[[nodiscard]] std::string ErrorWords(DWORD error);

}  // namespace qxports
