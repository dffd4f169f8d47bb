// The order of COM numbers on one adapter.
#pragma once

#include "base/text.h"

#include <setupapi.h>

namespace qx {

// Hands the COM numbers that the ports of one adapter hold out again, ascending in the order in which the
// device tree lists the ports, so that the lowest number is at the first socket. `port` is any port of the
// adapter, an element of `set`; for a product of several USB devices the adapter is what all of them hang
// from.
//
// Does so once: it waits until every device of the adapter runs, and then marks the adapter's last device
// with "ChildPortNameSorted" and, when the numbers were out of order, restarts that device. From then on the
// user's own changes stay.
//
// False when the adapter cannot be found in the device tree; true otherwise, also when it is not time yet.
bool OrderChildPortNames(HDEVINFO set, const SP_DEVINFO_DATA& port);

}  // namespace qx
