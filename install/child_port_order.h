// SPDX-License-Identifier: MIT
// The order of COM numbers on one adapter.
#pragma once

#include "base/text.h"
#include "install/device_helpers.h"

#include <setupapi.h>

#include <array>
#include <optional>
#include <span>
#include <vector>

namespace qx {

// The ports of one adapter in the order in which the device tree lists them.
struct AdapterPorts {
    std::vector<SP_DEVINFO_DATA> ports;
    std::vector<DWORD> numbers;  // the ports' COM numbers
    // The device that carries the mark of an ordered adapter and is restarted: the last one directly below
    // the adapter, or the adapter itself when there is none.
    SP_DEVINFO_DATA marked{};
};

// The instance id of the adapter whose ports are ordered together with `port`; none when it cannot be read.
[[nodiscard]] std::optional<InstanceId> AdapterOfPort(DEVINST port);

// Walks the adapter's ports. The devices on the way are added to `devices`. None when it is not the time to
// order this adapter: a device does not run yet or cannot be reached, a port has no name, or, unless
// `ordered_too`, the adapter was ordered before.
[[nodiscard]] std::optional<AdapterPorts> FindAdapterPorts(HDEVINFO devices, const SP_DEVINFO_DATA& adapter,
                                                           bool ordered_too);

// One rename on the way to the order: of the port with this place in the tree.
struct OrderStep {
    std::size_t port = 0;
    Text from;
    Text to;
};
// The renames that put the ports in order, before anything is changed.
struct OrderPlan {
    std::vector<OrderStep> steps;
    // False when a swap finds no number to step aside to, and the steps end there.
    bool complete = true;
};
// `names` are the ports' names in tree order, `claims` the database's numbers, COM1 first.
[[nodiscard]] OrderPlan PlanOrder(std::span<const Text> names, const std::array<bool, 256>& claims);

// Marks the adapter, so that no later installation orders its ports again. True when it was written.
bool MarkAsOrdered(HDEVINFO devices, const AdapterPorts& adapter);

// Reassigns the COM numbers that an adapter's ports already hold, in ascending device-tree order, so that the
// first socket gets the lowest. `port` is any port of the adapter; for a product of several USB devices the
// adapter is the device above all of them. The set that `port` belongs to is not looked at: it holds this one
// port, and the walk needs a set of its own for the others.
//
// Does so once: it waits until every device of the adapter runs, and then marks the adapter's last device
// with "ChildPortNameSorted" and, when the numbers were out of order, restarts that device. From then on the
// user's own changes stay.
//
// False when the adapter cannot be found in the device tree; true otherwise, also when it is not time yet.
bool OrderChildPortNames(HDEVINFO device_set, const SP_DEVINFO_DATA& port);

}  // namespace qx
