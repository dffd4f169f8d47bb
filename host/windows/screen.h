// SPDX-License-Identifier: MIT
// What a user sees on the screen: pictures of windows, and tips under a resting pointer.
#pragma once

#include <windows.h>

#include <filesystem>
#include <string>

namespace qxhost {

// Draws what is due on this thread's windows and stores `window`, as the screen shows it, as a PNG. Throws
// Failure.
void PictureOf(HWND window, const std::filesystem::path& file);

struct Tip {
    std::wstring title;
    std::wstring text;
};

// Rests the pointer on `control` until its tip is shown; an empty tip when none came. It stays, and is in
// pictures, until the pointer moves.
[[nodiscard]] Tip RestPointerOn(HWND control);

// Notes the titles that tooltips of this thread are given, for its lifetime: not every system tells them when
// asked.
class TipTitles {
  public:
    TipTitles();
    ~TipTitles();
    TipTitles(const TipTitles&) = delete;
    TipTitles& operator=(const TipTitles&) = delete;

  private:
    HHOOK hook_;
};

// Takes the pointer off all windows.
void MovePointerAway();

}  // namespace qxhost
