// SPDX-License-Identifier: MIT
// How much room text takes in the dialog font.
#pragma once

#include <string_view>

namespace qxsim {

struct TextSize {
    int width = 0;  // in pixels
    int height = 0;
};

constexpr int kTextLineHeight = 13;

// The width of UTF-8 text on one line.
[[nodiscard]] int TextWidth(std::string_view text);
// The room of text that breaks at blanks when a line gets wider than `most`, and at line ends.
[[nodiscard]] TextSize MeasureText(std::string_view text, int most);

}  // namespace qxsim
