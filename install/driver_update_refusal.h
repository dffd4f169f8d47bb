// SPDX-License-Identifier: MIT
// Devices whose driver is updated through another device only.
#pragma once

#include <windows.h>

#include <setupapi.h>

namespace qx {

// Answers the request to update this device's driver. Where the device's "NoUpgrade" text reads as the number
// 1 the user is sent to the adapter's driver by a message, and ERROR_DI_DONT_INSTALL refuses; otherwise
// NO_ERROR.
[[nodiscard]] DWORD AnswerDriverUpdate(HDEVINFO device_set, const SP_DEVINFO_DATA& device);

}  // namespace qx
