// SPDX-License-Identifier: MIT
// Whether a port opens, and the operating system's line settings for it.
#pragma once

#include "base/text.h"

namespace qx {

// Whether the port (COM3) can be opened exclusively at this moment. False means that it is absent, held open
// or not accessible; callers take it for in use and ask before they go on.
[[nodiscard]] bool CanOpenPort(TextView port_name) noexcept;

// Writes the port's line settings ("9600,n,8,1") to the "Ports" key, where programs that know nothing of
// drivers look up a port's defaults. Needs no memory. True when they were written.
bool WritePortsEntry(TextView port_name, const WCHAR* settings) noexcept;

}  // namespace qx
