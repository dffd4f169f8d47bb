// SPDX-License-Identifier: MIT
// Products whose ports carry fixed COM numbers, whatever else is installed on the machine.
#pragma once

#include "install/device_helpers.h"

#include <cfgmgr32.h>
#include <setupapi.h>

namespace qx {

// The id by which a port's product is known: its parent's instance id up to the second backslash, in upper
// case. For a port below one interface of a USB device that ends in &MI_nn, otherwise it is the whole USB
// device's id. Empty, which is no product's, when the parent or its id cannot be had or has no two
// backslashes.
[[nodiscard]] InstanceId PortHardwareId(DEVINST port);

// Whether ports below the device with this hardware id have a fixed number.
[[nodiscard]] bool IsFixedNumberProduct(TextView port_hardware_id);

// Gives a port of a fixed-number product its number and restarts the port's parent, so that the port starts
// under it. Who holds the number must make room. True when the port is of such a product and carries, or was
// to be given, its number; false leaves the port to the ordering of its adapter's ports.
[[nodiscard]] bool ApplyFixedComNumber(HDEVINFO device_set, SP_DEVINFO_DATA& port);

// Gives the port this number, moving its present holder aside first. Always true: when something fails on the
// way, memory included, the port's product still is one with a fixed number.
bool ForceComNumber(HDEVINFO device_set, const SP_DEVINFO_DATA& port, DWORD number,
                    DWORD present_number) noexcept;

// Renames the first device, present or not, that has the COM name `name` to the first free number from
// `start` to 254. `except` is the number of the port that it makes room for, which can look free when its
// claim was lost: the two would then share that name for a moment, and the port's own rename would take the
// holder's DOS name along. True when there was a holder and a number for it.
bool MoveNameHolderAside(const Text& name, DWORD start, DWORD except);

}  // namespace qx
