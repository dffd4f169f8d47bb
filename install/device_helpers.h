// SPDX-License-Identifier: MIT
// The small operations on a device that all of installation is made of.
//
// A device is a device-information set and an element of it, both the caller's; nothing is kept after the
// call. Its hardware key is the "Device Parameters" key, where a port's settings and its COM name live.
#pragma once

#include "device_records/device_reg_info.h"

#include <cfgmgr32.h>
#include <setupapi.h>

#include <optional>

namespace qx {

// Reads the text value `name` of the device's hardware key. The stored type is not looked at. False when the
// key or the value cannot be read; `value` keeps what it held then.
[[nodiscard]] bool ReadDeviceString(HDEVINFO device_set, const SP_DEVINFO_DATA& device, const WCHAR* name,
                                    DeviceString& value);

// Reads a value of at most four bytes as a number; otherwise as ReadDeviceString.
[[nodiscard]] bool ReadDeviceDword(HDEVINFO device_set, const SP_DEVINFO_DATA& device, const WCHAR* name,
                                   DWORD& value);

// Stores a REG_DWORD in the device's hardware key. True when it was written.
[[nodiscard]] bool WriteDeviceDword(HDEVINFO device_set, const SP_DEVINFO_DATA& device, const WCHAR* name,
                                    DWORD value);

// Stop and start a device through the class installer: only a device that starts reads its new COM name. A
// platform that refuses leaves the device as it was; the name then takes effect at the next start of the
// computer, which is no reason to fail an installation, so both always report true.
bool DisableDevice(HDEVINFO device_set, SP_DEVINFO_DATA& device);
bool EnableDevice(HDEVINFO device_set, SP_DEVINFO_DATA& device);

// Tells the device manager that the device's properties have changed, so that it redraws the device.
// Always true, for the reason above.
bool MarkPropertyChangePending(HDEVINFO device_set, SP_DEVINFO_DATA& device);

// Makes the platform look again at what is below the device with this instance id; the empty id stands for
// the root of the device tree. True when the device exists and the platform agreed.
bool ReenumerateDevice(const Text& instance_id);

// The neighbours of a device in the device tree; none at the tree's ends or when the platform cannot say.
[[nodiscard]] std::optional<DEVINST> ParentOf(DEVINST device);
[[nodiscard]] std::optional<DEVINST> FirstChildOf(DEVINST device);
[[nodiscard]] std::optional<DEVINST> NextSiblingOf(DEVINST device);

// The device's instance id, which names it for as long as it stays in its place; none when the platform
// cannot say, or says more than it allows ids to have.
using InstanceId = FixedText<MAX_DEVICE_ID_LEN>;
[[nodiscard]] std::optional<InstanceId> InstanceIdOf(DEVINST device);

// Whether the device is known to run. A device whose driver is still to come does not.
[[nodiscard]] bool IsStarted(DEVINST device);

// Adds the device with this id to `device_set`; none when the platform refuses.
[[nodiscard]] std::optional<SP_DEVINFO_DATA> OpenDeviceIn(HDEVINFO device_set, const WCHAR* instance_id);

}  // namespace qx
