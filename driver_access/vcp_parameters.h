// The parameter set of a serial port.
#pragma once

#include "driver_access/information_set.h"

namespace qx {

// Port kind: the value of PortType on an RS-422/485 port. Any other value is an ordinary port.
inline constexpr DWORD kRs422485Port = 1;

// Flags by which the port's settings override what applications ask for: 0 is off, any other value on; the
// pages write 1. The fields carry the drivers' names, spelling included.
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

// Line settings, limits, capabilities and lines of a port.
class CVcpParameters : public CVCPEmulation {
  public:
    CVcpParameters() = default;
    ~CVcpParameters() override = default;
    CVcpParameters(const CVcpParameters&) = default;
    CVcpParameters& operator=(const CVcpParameters&) = default;

    DWORD PortType = 0;
    DWORD MinBaudRate = 60;  // bits per second
    DWORD MaxBaudRate = 921600;
    // RS-422/485 mode: 1 full duplex, 2 half duplex with automatic transmitter gating, 3 transmit only,
    // 4 receive only, 5 transmitter and receiver disabled; 0 is not set.
    DWORD DuplexMode = 0;
    DWORD _422485CtsTrue = 0;  // the drivers' "422485CtsTrue"; a C++ name cannot begin with a digit
    DWORD Baudrate = 0;        // bits per second
    DWORD Databits = 0;        // 0 to 3 for 5 to 8 bits
    DWORD Parity = 0;          // 0 none, 1 odd, 2 even, 3 mark, 4 space
    DWORD Stopbits = 0;        // 0 = 1, 1 = 1.5, 2 = 2
    DWORD FlowControl = 1;     // 0 none, 1 hardware, 4 Xon/Xoff
    DWORD ReceiveTriggerLevel = 0xFFFFFFFF;
    DWORD TransmitTriggerLevel = 0xFFFFFFFF;
    DWORD FlowControlTriggerLevel = 0xFFFFFFFF;
    // Masks of what the driver offers.
    DWORD SupportedBaudRates = 0xFFFFFFFF;     // the platform's BAUD_ bits
    DWORD SupportedParities = 0xFFFFFFFF;      // 0x100 none, 0x200 odd, 0x400 even, 0x800 mark, 0x1000 space
    DWORD SupportedDataBits = 0xFFFFFFFF;      // 1, 2, 4, 8 for 5 to 8 bits
    DWORD SupportedStopBits = 0xFFFFFFFF;      // 1, 2, 4 for 1, 1.5, 2
    DWORD SupportedFlowControls = 0xFFFFFFFF;  // 1 hardware and CTS emulation, 2 DSR emulation, 4 Xon/Xoff
    DWORD SupportedDuplexModes = 255;          // 1, 2, 4, 8, 0x10 for modes 1 to 5
    DWORD LogLevel = 0;
    // Which modem lines the port has, 1 or 0.
    DWORD CtsSupported = 1;
    DWORD RtsSupported = 1;
    DWORD DtrSupported = 1;
    DWORD DsrSupported = 1;
    DWORD DcdSupported = 1;
    DWORD RiSupported = 1;
};

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
