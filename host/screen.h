// SPDX-License-Identifier: MIT
// What is on the screen, seen through the window calls alone, so that it reads the same on the simulated
// desktop and on a real one. Only windows of the calling thread count. Texts are UTF-8.
#pragma once

#include <windows.h>

#include <string>
#include <string_view>
#include <vector>

namespace qxhost::screen {

enum class Kind {
    kLabel,
    kPicture,
    kGroup,
    kButton,
    kCheckBox,
    kRadio,
    kChoice,
    kEdit,
    kSlider,
    kTabs,
    kPage,
    kOther,
};

[[nodiscard]] std::string TextOf(HWND window);
[[nodiscard]] std::string ClassOf(HWND window);
[[nodiscard]] Kind KindOf(HWND control);
[[nodiscard]] const char* NameOf(Kind kind);

// Controls directly on a window, in tab order.
[[nodiscard]] std::vector<HWND> ControlsOn(HWND window);
[[nodiscard]] std::vector<HWND> ControlsOfKind(HWND window, Kind kind);

// The dialog, sheet or message box that takes the user's input now; null when none is open.
[[nodiscard]] HWND Front();
// A message box, told from a sheet or dialog by what is on it.
[[nodiscard]] bool IsMessageBox(HWND window);
// The text that a message box shows.
[[nodiscard]] std::string BoxText(HWND box);
// "error", "question", "warning", "information", or empty for a box without icon.
[[nodiscard]] std::string BoxIcon(HWND box);

// Of a sheet: its tabs, and the page in front; of other windows no tabs, and the window itself.
[[nodiscard]] std::vector<std::string> TabsOf(HWND window);
[[nodiscard]] int CurrentTab(HWND window);
[[nodiscard]] HWND PageOf(HWND window);
void ShowTab(HWND sheet, int index);

// Texts of a choice box's entries.
[[nodiscard]] std::vector<std::string> EntriesOf(HWND box);
[[nodiscard]] std::string EntryOf(HWND box, int index);

// The part of a text that a user reads and says: no access key, no colon at the end, one blank for any white
// space.
[[nodiscard]] std::string Spoken(std::string_view text);

// Clicks a button; returns when everything that the click led to is over.
void Click(HWND button);
// Closes the window in front the way that changes nothing: Cancel, No, or whatever it has. False when nothing
// is open.
bool CancelFront();

// The window in front as a person sees it: one line for each row of controls, then what is hidden.
[[nodiscard]] std::vector<std::string> Describe(HWND window);

}  // namespace qxhost::screen
