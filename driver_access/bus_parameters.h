// SPDX-License-Identifier: MIT
// The parameter set of an adapter's bus side.
#pragma once

#include "driver_access/information_set.h"
#include "driver_access/line_settings.h"

namespace qx {

// What the bus driver keeps for a port: USB transfers, FIFO sizes, and the latency policy with the positions
// of its sliders.
class CBusParameters {
  public:
    friend bool operator==(const CBusParameters&, const CBusParameters&) = default;

    // NOLINTBEGIN(readability-identifier-naming): the drivers' names
    DWORD USB_TxTransferSize = 0;  // bytes
    DWORD USB_RxTransferSize = 0;  // bytes
    DWORD USB_LatencyTimer = 0;    // milliseconds
    StringHolder InterfaceType;    // the adapter's interface kind, shown as it is
    DWORD RxFifoSize = 0;          // bytes
    DWORD TxFifoSize = 0;          // bytes
    DWORD MaximumBaudRate = 0;     // bits per second
    DWORD PolicyType = kLatencyPolicy;
    DWORD MaximumLatency = 0;  // milliseconds
    DWORD MaximumLatencySliderPos = 0;
    DWORD MaximumLatencyFineTuning = 0;
    DWORD LowCpuUsageFineTuning = 0;
    DWORD PortType = 0;
    DWORD SoftTxLimit = 0;
    // NOLINTEND(readability-identifier-naming)
};

// The same as 14 elements in the drivers' order. Meaningful after a successful read.
class CQxUBusUserModeInterface : public CSsInformationSet, public CBusParameters {
  public:
    using Values = CBusParameters;
    static constexpr DWORD kSelector = kBusSet;

    // Registers the elements. One that cannot be registered because memory ran out is left out; such a set is
    // not complete, and is never exchanged with the driver.
    CQxUBusUserModeInterface() noexcept;
    ~CQxUBusUserModeInterface() override = default;
};

}  // namespace qx
