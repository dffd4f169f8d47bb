// SPDX-License-Identifier: MIT
#include "driver_access/vcp_parameters.h"

#include <new>

namespace qx {

namespace {

struct PortElement {
    const WCHAR* name;
    DWORD CQxUVcpUserModeInterface::*field;
    DWORD registered;
};

// In the order of the drivers' stream.
constexpr PortElement kPortElements[] = {
    {TEXT("PortType"), &CQxUVcpUserModeInterface::PortType, 255},
    {TEXT("MaxBaudRate"), &CQxUVcpUserModeInterface::MaxBaudRate, 1000000},
    {TEXT("MinBaudRate"), &CQxUVcpUserModeInterface::MinBaudRate, 75},
    {TEXT("DuplexMode"), &CQxUVcpUserModeInterface::DuplexMode, kDuplexNotSet},
    {TEXT("Baudrate"), &CQxUVcpUserModeInterface::Baudrate, 9600},
    {TEXT("Databits"), &CQxUVcpUserModeInterface::Databits, kEightDataBits},
    {TEXT("Parity"), &CQxUVcpUserModeInterface::Parity, kNoParity},
    {TEXT("Stopbits"), &CQxUVcpUserModeInterface::Stopbits, kOneStopBit},
    {TEXT("FlowControl"), &CQxUVcpUserModeInterface::FlowControl, kNoFlowControl},
    {TEXT("LogLevel"), &CQxUVcpUserModeInterface::LogLevel, 0},
    {TEXT("ReceiveTriggerLevel"), &CQxUVcpUserModeInterface::ReceiveTriggerLevel, 75},
    {TEXT("TransmitTriggerLevel"), &CQxUVcpUserModeInterface::TransmitTriggerLevel, 10},
    {TEXT("FlowControlTriggerLevel"), &CQxUVcpUserModeInterface::FlowControlTriggerLevel, 85},
    {TEXT("SupportedBaudRates"), &CQxUVcpUserModeInterface::SupportedBaudRates, 0x1007FFFF},
    {TEXT("SupportedParities"), &CQxUVcpUserModeInterface::SupportedParities, 0x1F00},
    {TEXT("SupportedDataBits"), &CQxUVcpUserModeInterface::SupportedDataBits, 0x0F},
    {TEXT("SupportedStopBits"), &CQxUVcpUserModeInterface::SupportedStopBits, 0x07},
    {TEXT("SupportedFlowControls"), &CQxUVcpUserModeInterface::SupportedFlowControls, 0x0F},
    {TEXT("SupportedDuplexModes"), &CQxUVcpUserModeInterface::SupportedDuplexModes, 0},
    {TEXT("OverridBaudRates"), &CQxUVcpUserModeInterface::OverridBaudRates, 0},
    {TEXT("OverrideDataBits"), &CQxUVcpUserModeInterface::OverrideDataBits, 0},
    {TEXT("OverrideParity"), &CQxUVcpUserModeInterface::OverrideParity, 0},
    {TEXT("OverrideStopbits"), &CQxUVcpUserModeInterface::OverrideStopbits, 0},
    {TEXT("OverrideFlowControl"), &CQxUVcpUserModeInterface::OverrideFlowControl, 0},
    {TEXT("EmulateCTSTrue"), &CQxUVcpUserModeInterface::EmulateCTSTrue, 0},
    {TEXT("EmulateDSRTrue"), &CQxUVcpUserModeInterface::EmulateDSRTrue, 0},
    {TEXT("422485CtsTrue"), &CQxUVcpUserModeInterface::_422485CtsTrue, 0},
    {TEXT("CtsSupported"), &CQxUVcpUserModeInterface::CtsSupported, 1},
    {TEXT("RtsSupported"), &CQxUVcpUserModeInterface::RtsSupported, 1},
    {TEXT("DtrSupported"), &CQxUVcpUserModeInterface::DtrSupported, 1},
    {TEXT("DsrSupported"), &CQxUVcpUserModeInterface::DsrSupported, 1},
    {TEXT("DcdSupported"), &CQxUVcpUserModeInterface::DcdSupported, 1},
    {TEXT("RiSupported"), &CQxUVcpUserModeInterface::RiSupported, 1},
};

}  // namespace

CQxUVcpUserModeInterface::CQxUVcpUserModeInterface() noexcept {
    for (const PortElement& element : kPortElements) {
        // If AddElement fails, `registered` keeps the default and frees it at the end of this iteration.
        RegisteredDefault registered(std::unique_ptr<DWORD>(new (std::nothrow) DWORD(element.registered)));
        static_cast<void>(AddElement(element.name, &(this->*element.field), kNumberElement, registered));
    }
}

}  // namespace qx
