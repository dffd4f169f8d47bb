// SPDX-License-Identifier: MIT
// Products that are built of several USB devices.
#pragma once

#include "base/text.h"

namespace qx {

// Whether the device with this instance id belongs to a product of several USB devices
// (MultiDeviceProductIds), whose ports are numbered through all of them. Upper and lower case do not matter.
[[nodiscard]] bool IsMultiDeviceProduct(TextView instance_id);

}  // namespace qx
