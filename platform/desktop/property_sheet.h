// SPDX-License-Identifier: MIT
// Property sheets and their pages.
#pragma once

#include "platform/desktop/window.h"
#include "platform/machine/calls.h"

#include <prsht.h>

namespace qxsim {

constexpr int kTabControlId = 0x3020;
constexpr int kApplyButtonId = 0x3021;

// The pages of a sheet in tab order, null for those that were never opened; nothing for other windows.
[[nodiscard]] std::vector<HWND> PagesOf(HWND sheet);
[[nodiscard]] HWND CurrentPageOf(HWND sheet);

QX_PLATFORM_CALL(CreatePropertySheetPageW);
QX_PLATFORM_CALL(DestroyPropertySheetPage);
QX_PLATFORM_CALL(PropertySheetW);

}  // namespace qxsim
