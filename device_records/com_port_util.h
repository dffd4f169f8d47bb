// A port's registry record joined with the COM port database.
#pragma once

#include "device_records/device_reg_info.h"
#include "device_records/port_util.h"

namespace qx {

// What naming a port needs in one object: the port's record and its claim in the COM port database, which
// starts unopened. The two operations that change names are part of installation and are defined in
// install/com_name.cpp, beside the DOS device names that they move; only users of them need that folder.
class CCOMPortUtil : public CQXDeviceRegInfo, public CPortUtil {
  public:
    using CQXDeviceRegInfo::CQXDeviceRegInfo;
    ~CCOMPortUtil() override = default;

    // Gives the port the COM name `new_name` everywhere the operating system records one. `owner` is the
    // window that questions belong to; with `confirm_if_open` the user is asked before a port is renamed that
    // a program holds open; with `reenumerate` the whole device tree is looked at again.
    [[nodiscard]] bool RenameComPort(Text new_name, HWND owner, bool confirm_if_open,
                                     bool reenumerate) noexcept;
    // Drops the port's DOS device name and gives its COM number back, when the port is removed.
    [[nodiscard]] bool RemoveDosDeviceName() noexcept;
};

}  // namespace qx
