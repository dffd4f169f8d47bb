// SPDX-License-Identifier: MIT
// The drivers' codes: the values of a port's settings, and the bits of the masks that say what it offers.
#pragma once

#include <windows.h>

namespace qx {

// PortType. Any other value is an ordinary port.
inline constexpr DWORD kRs422485Port = 1;

enum DataBits : DWORD { kFiveDataBits, kSixDataBits, kSevenDataBits, kEightDataBits };
enum Parity : DWORD { kNoParity, kOddParity, kEvenParity, kMarkParity, kSpaceParity };
enum StopBits : DWORD { kOneStopBit, kOneAndAHalfStopBits, kTwoStopBits };
enum FlowControl : DWORD {
    kNoFlowControl = 0,
    kHardwareFlowControl = 1,
    kDsrFlowControl = 2,  // no page offers it, but the system has a letter for it
    kXonXoffFlowControl = 4,
};
enum DuplexMode : DWORD {
    kDuplexNotSet,
    kFullDuplex,
    kHalfDuplex,  // the lines serve the automatic gating of the transmitter
    kTransmitOnly,
    kReceiveOnly,
    kDriversDisabled,
};
// What has priority on the bus.
enum PolicyType : DWORD { kLatencyPolicy, kCpuUsagePolicy };

// SupportedDataBits, SupportedParities, SupportedStopBits, SupportedDuplexModes: the bit of a code.
constexpr DWORD BitOf(DataBits code) noexcept {
    return DWORD{1} << code;
}
constexpr DWORD BitOf(Parity code) noexcept {
    return DWORD{0x100} << code;
}
constexpr DWORD BitOf(StopBits code) noexcept {
    return DWORD{1} << code;
}
constexpr DWORD BitOf(DuplexMode code) noexcept {
    return DWORD{1} << (code - kFullDuplex);
}

// SupportedFlowControls. "None" is always offered.
inline constexpr DWORD kOffersHardware = 0x1;  // and the emulation of CTS
inline constexpr DWORD kOffersDsr = 0x2;       // the emulation of DSR
inline constexpr DWORD kOffersXonXoff = 0x4;

// SupportedBaudRates: the rates and their bits, as the pages list them. The drivers report 57600 under a bit
// that the platform has for another rate; those beyond the platform's list share its bit for freely set ones.
struct BaudRate {
    DWORD rate;
    DWORD bit;
};
inline constexpr BaudRate kBaudRates[] = {
    {75, 0x1},           {110, 0x2},        {134, 0x4},        {150, 0x8},           {300, 0x10},
    {600, 0x20},         {1200, 0x40},      {1800, 0x80},      {2400, 0x100},        {4800, 0x200},
    {7200, 0x400},       {9600, 0x800},     {14400, 0x1000},   {19200, 0x2000},      {38400, 0x4000},
    {57600, 0x8000},     {115200, 0x20000}, {128000, 0x10000}, {230400, 0x10000000}, {460800, 0x10000000},
    {921600, 0x10000000}};

}  // namespace qx
