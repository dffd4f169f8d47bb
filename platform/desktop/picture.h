// Pictures of windows, drawn from the geometry of their templates, and the check that texts have room.
#pragma once

#include "platform/desktop/desktop.h"

#include <string>
#include <vector>

namespace qxsim {

// The window as an SVG document, `scale` times as large as on the screen. A sheet shows its page in front.
// Colours are asked of the dialogs, so the window must still be open.
[[nodiscard]] std::string SvgPicture(const WindowPicture& window, double scale = 1.0);

// The controls of the window, and of all its opened pages, whose text does not fit in their rectangle with
// the dialog font: one readable line each.
[[nodiscard]] std::vector<std::string> ClippedTexts(const WindowPicture& window);

}  // namespace qxsim
