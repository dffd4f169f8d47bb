// SPDX-License-Identifier: MIT
// What the library knows about its own module: its instance handle and its string table.
#pragma once

#include "base/text.h"

namespace qx {

// The handle of the module that this code is part of, without adding a reference to it. The device installer
// and the device manager load the library from wherever the driver package put it, so its file name is not
// relied on. Null when the platform cannot say.
[[nodiscard]] HINSTANCE ModuleInstance() noexcept;

// The text with this id (module/resource.h) from the module's string table, whatever its length; empty when
// there is none.
[[nodiscard]] Text LoadText(UINT id);

}  // namespace qx
