// SPDX-License-Identifier: MIT
#include "driver_access/bus_parameters.h"

#include <new>

namespace qx {

namespace {

// A number's field and registered default; the one string element has neither.
struct BusElement {
    const WCHAR* name;
    DWORD CQxUBusUserModeInterface::*number;
    DWORD registered;
};

// In the order of the drivers' stream.
constexpr BusElement kBusElements[] = {
    {TEXT("USB_TxTransferSize"), &CQxUBusUserModeInterface::USB_TxTransferSize, 4096},
    {TEXT("USB_RxTransferSize"), &CQxUBusUserModeInterface::USB_RxTransferSize, 4096},
    {TEXT("USB_LatencyTimer"), &CQxUBusUserModeInterface::USB_LatencyTimer, 16},
    {TEXT("RxFifoSize"), &CQxUBusUserModeInterface::RxFifoSize, 128},
    {TEXT("TxFifoSize"), &CQxUBusUserModeInterface::TxFifoSize, 256},
    {TEXT("MaximumBaudRate"), &CQxUBusUserModeInterface::MaximumBaudRate, 1000000},
    {TEXT("InterfaceType"), nullptr, 0},
    {TEXT("PolicyType"), &CQxUBusUserModeInterface::PolicyType, kCpuUsagePolicy},
    {TEXT("MaximumLatency"), &CQxUBusUserModeInterface::MaximumLatency, 16},
    {TEXT("MaximumLatencySliderPos"), &CQxUBusUserModeInterface::MaximumLatencySliderPos, 16},
    {TEXT("MaximumLatencyFineTuning"), &CQxUBusUserModeInterface::MaximumLatencyFineTuning, 1},
    {TEXT("LowCpuUsageFineTuning"), &CQxUBusUserModeInterface::LowCpuUsageFineTuning, 1},
    {TEXT("PortType"), &CQxUBusUserModeInterface::PortType, 0},
    {TEXT("SoftTxLimit"), &CQxUBusUserModeInterface::SoftTxLimit, 13},
};

}  // namespace

CQxUBusUserModeInterface::CQxUBusUserModeInterface() noexcept {
    for (const BusElement& element : kBusElements) {
        // If AddElement fails, `registered` keeps the default and frees it at the end of this iteration.
        if (!element.number) {
            RegisteredDefault registered(std::unique_ptr<StringHolder>(new (std::nothrow) StringHolder));
            static_cast<void>(AddElement(element.name, &InterfaceType, kStringElement, registered));
        } else {
            RegisteredDefault registered(
                std::unique_ptr<DWORD>(new (std::nothrow) DWORD(element.registered)));
            static_cast<void>(AddElement(element.name, &(this->*element.number), kNumberElement, registered));
        }
    }
}

}  // namespace qx
