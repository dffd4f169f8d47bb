// SPDX-License-Identifier: MIT
// The control channel to a port's driver.
#pragma once

#include "device_records/device_reg_info.h"
#include "driver_access/device_interface.h"
#include "driver_access/information_set.h"

namespace qx {

// The drivers' control requests: device type 0x8001, buffered, read and write access.
inline constexpr DWORD IOCTL_GET_SETTINGS_SIZE = 0x8001E000;
inline constexpr DWORD IOCTL_GET_SETTINGS = 0x8001E004;
inline constexpr DWORD IOCTL_SET_SETTINGS = 0x8001E008;
inline constexpr DWORD IOCTL_GET_DEFAULT_SETTINGS_SIZE = 0x8001E010;
inline constexpr DWORD IOCTL_GET_DEFAULT_SETTINGS = 0x8001E014;

// Reads and writes the parameter sets of one port. The control device is open, without sharing, only within
// a call, so that two programs can take turns.
//
// The caller lends the port's device-information set for the channel's lifetime. Operations return true on
// success, show nothing and throw nothing. A set that is not complete is neither filled nor handed over.
//
//   CQxUserModeConfig channel(device_set, element);
//   CQxUVcpUserModeInterface port;
//   if (channel.FindInterface() && channel.ReadSettings(port, kPortSet)) {
//       port.Parity = kEvenParity;
//       written = channel.WriteSettings(port, kPortSet);
//   }
class CQxUserModeConfig : public CQxSetupDi_DeviceInterface {
  public:
    CQxUserModeConfig(HDEVINFO device_set, const SP_DEVINFO_DATA& element) noexcept;
    ~CQxUserModeConfig() override = default;

    // Finds the port's control device by the port's driver key.
    [[nodiscard]] bool FindInterface() noexcept;

    // Requires of all three: FindInterface succeeded.
    //
    // Fills `parameters` with the driver's current values. A failed read can leave the values that came
    // before the point of failure.
    [[nodiscard]] bool ReadSettings(CSsInformationSet& parameters, DWORD selector) noexcept;
    // The same with the driver's defaults.
    [[nodiscard]] bool ReadDefaultSettings(CSsInformationSet& parameters, DWORD selector) noexcept;
    // Hands the values of `parameters` to the driver, all in one request.
    [[nodiscard]] bool WriteSettings(CSsInformationSet& parameters, DWORD selector) noexcept;

  private:
    [[nodiscard]] File OpenControlDevice() const noexcept;
    [[nodiscard]] bool Read(CSsInformationSet& parameters, DWORD selector, DWORD size_request,
                            DWORD stream_request) noexcept;

    CQXDeviceRegInfo port_record_;
};

}  // namespace qx
