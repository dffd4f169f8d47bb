// SPDX-License-Identifier: MIT
// The parameter set of a serial port.
#pragma once

#include "driver_access/information_set.h"
#include "driver_access/line_settings.h"

namespace qx {

// Flags by which the port's settings override what applications ask for: 0 is off, any other value on; the
// pages write 1. The fields carry the drivers' names, spelling included.
// NOLINTBEGIN(readability-identifier-naming)
class CVCPEmulation {
  public:
    CVCPEmulation() = default;
    virtual ~CVCPEmulation() = default;
    CVCPEmulation(const CVCPEmulation&) = default;
    CVCPEmulation& operator=(const CVCPEmulation&) = default;

    DWORD OverridBaudRates = 0;
    DWORD OverrideStopbits = 0;
    DWORD OverrideParity = 0;
    DWORD OverrideDataBits = 0;
    DWORD OverrideFlowControl = 0;
    DWORD EmulateCTSTrue = 0;  // the port reports CTS always on
    DWORD EmulateDSRTrue = 0;  // the port reports DSR always on
};

// Line settings, limits, capabilities and lines of a port, in the codes of line_settings.h.
class CVcpParameters : public CVCPEmulation {
  public:
    CVcpParameters() = default;
    ~CVcpParameters() override = default;
    CVcpParameters(const CVcpParameters&) = default;
    CVcpParameters& operator=(const CVcpParameters&) = default;

    DWORD PortType = 0;
    DWORD MinBaudRate = 60;  // bits per second
    DWORD MaxBaudRate = 921600;
    DWORD DuplexMode = kDuplexNotSet;
    DWORD _422485CtsTrue = 0;  // the drivers' "422485CtsTrue"; a C++ name cannot begin with a digit
    DWORD Baudrate = 0;        // bits per second
    DWORD Databits = kFiveDataBits;
    DWORD Parity = kNoParity;
    DWORD Stopbits = kOneStopBit;
    DWORD FlowControl = kHardwareFlowControl;
    DWORD ReceiveTriggerLevel = 0xFFFFFFFF;
    DWORD TransmitTriggerLevel = 0xFFFFFFFF;
    DWORD FlowControlTriggerLevel = 0xFFFFFFFF;
    // Masks of what the driver offers.
    DWORD SupportedBaudRates = 0xFFFFFFFF;
    DWORD SupportedParities = 0xFFFFFFFF;
    DWORD SupportedDataBits = 0xFFFFFFFF;
    DWORD SupportedStopBits = 0xFFFFFFFF;
    DWORD SupportedFlowControls = 0xFFFFFFFF;
    DWORD SupportedDuplexModes = 0xFF;
    DWORD LogLevel = 0;
    // Which modem lines the port has, 1 or 0.
    DWORD CtsSupported = 1;
    DWORD RtsSupported = 1;
    DWORD DtrSupported = 1;
    DWORD DsrSupported = 1;
    DWORD DcdSupported = 1;
    DWORD RiSupported = 1;
};
// NOLINTEND(readability-identifier-naming)

// Everything that the port driver keeps for one port, as 33 elements in the drivers' order. Meaningful after
// a successful read; before it, the fields hold their initial values.
class CQxUVcpUserModeInterface : public CSsInformationSet, public CVcpParameters {
  public:
    using Values = CVcpParameters;
    static constexpr DWORD kSelector = kPortSet;

    // Registers the elements. One that cannot be registered because memory ran out is left out; such a set is
    // not complete, and is never exchanged with the driver.
    CQxUVcpUserModeInterface() noexcept;
    ~CQxUVcpUserModeInterface() override = default;
};

}  // namespace qx
