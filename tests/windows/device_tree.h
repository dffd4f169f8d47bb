// SPDX-License-Identifier: MIT
// The device tree, for systems whose device-tree calls are stubs.
//
// Devices are the system's own; what is supplied is which one is whose parent, and one node number for a
// device in all sets (a stub gives it another in each). Redirect a library's imports to it; the library
// itself stays as it is.
#pragma once

#include "host/windows/import_redirect.h"

#include <string>

namespace qxtest {

// Redirects the calls that name device nodes: CM_* and the two by which sets yield elements.
void SupplyDeviceTree(qxhost::ImportRedirection& redirection);

// Makes one device the parent of another, by device instance ids; without that a device stands under the
// root.
void SetParent(const std::wstring& child, const std::wstring& parent);

// How often a node was re-enumerated since the start.
[[nodiscard]] int Reenumerations();

}  // namespace qxtest
