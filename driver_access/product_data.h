// SPDX-License-Identifier: MIT
// Data of the maker's products: replace these when the library is built for other drivers.
#pragma once

#include <windows.h>

namespace qx {

// The interface class under which the port driver publishes one control device per port.
inline constexpr GUID kControlInterfaceClass = {
    0x6C1B7D42, 0x3E5A, 0x4F0B, {0x9A, 0x61, 0x2D, 0x8E, 0x57, 0xC4, 0xB9, 0x13}};

// What a control device's reference string begins with; the port's driver key without backslashes follows.
inline constexpr const WCHAR* kControlReferencePrefix = TEXT("qxgendrv_");

}  // namespace qx
