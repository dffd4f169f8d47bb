// SPDX-License-Identifier: MIT
// Keys of the registry, and the values written to them.
#pragma once

#include "base/handles.h"

namespace qx {

// The key at `path` below `parent`; empty when it cannot be had.
[[nodiscard]] RegistryKey OpenKey(HKEY parent, const WCHAR* path, REGSAM access) noexcept;
// The same for reading and writing; makes the key when there is none.
[[nodiscard]] RegistryKey CreateKey(HKEY parent, const WCHAR* path) noexcept;
// The key "Device Parameters" of a device.
[[nodiscard]] HardwareKey OpenHardwareKey(HDEVINFO device_set, const SP_DEVINFO_DATA& element,
                                          REGSAM access) noexcept;

// Store a REG_SZ, with its NUL, or a REG_DWORD. True when it was written.
bool WriteText(HKEY key, const WCHAR* name, const WCHAR* text) noexcept;
bool WriteNumber(HKEY key, const WCHAR* name, DWORD number) noexcept;

}  // namespace qx
