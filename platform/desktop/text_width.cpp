// SPDX-License-Identifier: MIT
#include "platform/desktop/text_width.h"

#include <algorithm>
#include <array>

namespace qxsim {

namespace {

// Advance widths of the characters from blank to tilde in Tahoma at 8 points and 96 dots an inch.
constexpr std::array<unsigned char, 95> kWidths{
    3,  4, 4, 8, 6, 11, 7, 2, 4, 4, 6, 8, 3, 4, 3, 4, 6, 6, 6, 6, 6, 6, 6, 6,  6, 6, 4, 4, 8, 8, 8, 5,
    10, 7, 6, 7, 7, 6,  6, 7, 7, 4, 5, 6, 5, 8, 7, 8, 6, 8, 7, 6, 6, 7, 7, 10, 6, 6, 6, 4, 4, 4, 8, 6,
    6,  6, 6, 5, 6, 6,  3, 6, 6, 3, 3, 5, 3, 9, 6, 6, 6, 6, 4, 5, 4, 6, 5, 8,  5, 5, 5, 5, 4, 5, 8};
constexpr int kOtherWidth = 7;

}  // namespace

int TextWidth(std::string_view text) {
    int width = 0;
    for (const char unit : text) {
        const auto byte = static_cast<unsigned char>(unit);
        if (byte >= 0x20 && byte < 0x20 + kWidths.size())
            width += kWidths[byte - 0x20U];
        else if ((byte & 0xC0) != 0x80)  // the bytes that follow the first one of a character take no room
            width += kOtherWidth;
    }
    return width;
}

TextSize MeasureText(std::string_view text, int most) {
    TextSize size;
    while (true) {
        const std::size_t end = std::min(text.find('\n'), text.size());
        std::string_view line = text.substr(0, end);
        while (true) {
            std::size_t take = line.size();
            while (TextWidth(line.substr(0, take)) > most) {
                const std::size_t blank = line.rfind(' ', take - 1);
                if (blank == std::string_view::npos || blank == 0)
                    break;
                take = blank;
            }
            size.width = std::max(size.width, TextWidth(line.substr(0, take)));
            size.height += kTextLineHeight;
            if (take >= line.size())
                break;
            line.remove_prefix(take + 1);
        }
        if (end == text.size())
            return size;
        text.remove_prefix(end + 1);
    }
}

}  // namespace qxsim
