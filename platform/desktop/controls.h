// SPDX-License-Identifier: MIT
// The window classes that the platform brings along.
#pragma once

#include "platform/desktop/window.h"

namespace qxsim {

[[nodiscard]] const std::vector<std::shared_ptr<const WindowClass>>& BuiltInClasses();

// One maker a class; each in a file of its own.
std::unique_ptr<Control> MakeButton(Window& window);
std::unique_ptr<Control> MakeStatic(Window& window);
std::unique_ptr<Control> MakeEdit(Window& window);
std::unique_ptr<Control> MakeChoiceBox(Window& window);
std::unique_ptr<Control> MakeSlider(Window& window);
std::unique_ptr<Control> MakeTooltip(Window& window);
std::unique_ptr<Control> MakeTabControl(Window& window);

// The id that the edit field of an editable choice box has.
constexpr int kChoiceBoxEditId = 1001;

// The texts of a tab control.
void SetTabs(HWND tab_control, std::vector<WideString> texts);

}  // namespace qxsim
