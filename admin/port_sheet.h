// SPDX-License-Identifier: MIT
// The device manager's part in showing a port's properties.
#pragma once

#include "base/text.h"

#include <commctrl.h>
#include <setupapi.h>

namespace qxports {

inline constexpr INT_PTR kNoPages = -2;

// Asks `provider`, the library's exported entry, for the port's pages and shows them in a sheet "<caption>
// Properties", modally. Answers what the sheet answered, above 0 when it closed with OK, or kNoPages.
[[nodiscard]] INT_PTR ShowPortSheet(LPFNADDPROPSHEETPAGES provider, HDEVINFO set, const SP_DEVINFO_DATA& port,
                                    const qx::Text& caption);

}  // namespace qxports
