// SPDX-License-Identifier: MIT
// Which control a user means by a name.
#pragma once

#include "host/screen.h"

#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace qxhost {

// What went wrong with a statement, in words; thrown by the steps and caught in User::Step.
struct Otherwise : std::runtime_error {
    using std::runtime_error::runtime_error;
};

[[nodiscard]] std::string Quoted(const std::string& text);
// " (there are "OK", "Cancel")"
[[nodiscard]] std::string ThereAre(const std::vector<std::string>& names);
// Letter case does not count.
[[nodiscard]] bool Same(std::string_view a, std::string_view b);
[[nodiscard]] bool Begins(std::string_view text, std::string_view beginning);
[[nodiscard]] std::optional<int> Number(std::string_view word);

[[nodiscard]] HWND FrontOrFail();

// What kinds of control a name may mean.
using KindTest = bool (*)(screen::Kind);
[[nodiscard]] bool IsButton(screen::Kind kind);
[[nodiscard]] bool IsCheckBox(screen::Kind kind);
[[nodiscard]] bool IsRadio(screen::Kind kind);
[[nodiscard]] bool IsChoice(screen::Kind kind);
[[nodiscard]] bool IsSlider(screen::Kind kind);
[[nodiscard]] bool IsWritten(screen::Kind kind);
[[nodiscard]] bool IsAnything(screen::Kind kind);
[[nodiscard]] bool IsUsed(screen::Kind kind);

// The nth control of a kind that a user means by `name`: one that shows the name itself, or the one that
// follows the label with that name. A name is compared whole first, then as a beginning. Null when there is
// none.
[[nodiscard]] HWND FindOrNull(const std::string& name, KindTest wanted, int nth = 1);
// Throws Otherwise with the names there are. `what` is the kind in words.
[[nodiscard]] HWND Find(const std::string& name, const char* what, KindTest wanted, int nth = 1);
// A user reaches only what is shown and enabled.
[[nodiscard]] HWND Reach(const std::string& name, const char* what, KindTest wanted, int nth = 1);
// State queries mean the control that a label names; a text that labels nothing is queried itself.
[[nodiscard]] HWND FindForState(const std::string& name, int nth);

}  // namespace qxhost
