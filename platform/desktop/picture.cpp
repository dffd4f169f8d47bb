// SPDX-License-Identifier: MIT
#include "platform/desktop/picture.h"

#include "platform/desktop/text_width.h"

namespace qxsim {

namespace {

constexpr int kMarkSize = 13;  // of check boxes and radio buttons
constexpr int kMarkGap = 4;
constexpr int kArrowWidth = 18;  // of choice boxes

int WidthOf(const RECT& rect) {
    return rect.right - rect.left;
}

int HeightOf(const RECT& rect) {
    return rect.bottom - rect.top;
}

// The room that a control leaves to its text.
TextSize TextRoom(const ControlPicture& control) {
    TextSize room{WidthOf(control.pixels), HeightOf(control.pixels)};
    if (control.kind == "check box" || control.kind == "radio button")
        room.width -= kMarkSize + kMarkGap;
    else if (control.kind == "push button")
        room.width -= 8;
    else if (control.kind == "group box")
        room.width -= 16;
    else if (control.kind == "choice box" || control.kind == "editable choice box")
        room.width -= kArrowWidth + 6;
    return room;
}

bool Fits(const ControlPicture& control, const std::string& text) {
    const TextSize room = TextRoom(control);
    if (control.kind != "label")
        return TextWidth(text) <= room.width;
    const TextSize needed = MeasureText(text, room.width);
    return needed.width <= room.width && needed.height <= room.height;
}

void AddClipped(const WindowPicture& window, std::vector<std::string>& clipped) {
    const auto check = [&](const ControlPicture& control, const std::string& text) {
        if (!Fits(control, text))
            clipped.push_back(window.caption + ": " + control.kind + " " + std::to_string(control.id) +
                              " has no room for \"" + text + "\"");
    };
    for (const ControlPicture& control : window.controls) {
        if (control.kind == "picture" || control.kind == "slider" || control.kind == "tab")
            continue;
        check(control, control.kind == "label" && (control.style & SS_NOPREFIX)
                           ? control.text
                           : WithoutAccessKeys(control.text));
        for (const ChoiceEntry& entry : control.entries)
            check(control, entry.text);
    }
    for (const WindowPicture& page : window.pages)
        AddClipped(page, clipped);
}

}  // namespace

std::vector<std::string> ClippedTexts(const WindowPicture& window) {
    std::vector<std::string> clipped;
    AddClipped(window, clipped);
    return clipped;
}

}  // namespace qxsim
