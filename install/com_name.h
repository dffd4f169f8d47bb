// SPDX-License-Identifier: MIT
// A port's COM name, which lives in five places that must agree: "PortName" in the port's hardware key, the
// COM port database, the DOS device name, the SERIALCOMM map, and the friendly name that the device manager
// shows.
#pragma once

#include "device_records/device_reg_info.h"
#include "device_records/port_util.h"

namespace qx {

// How a port is renamed.
struct RenameOptions {
    HWND owner = nullptr;          // the window that questions belong to, if any
    bool confirm_if_open = false;  // ask before a port is renamed that a program holds open
    bool reenumerate = false;      // have the whole device tree looked at again
};

// A port's record and its claim in the COM port database, which starts unopened: what naming a port needs.
class CCOMPortUtil : public CQXDeviceRegInfo, public CPortUtil {
  public:
    using CQXDeviceRegInfo::CQXDeviceRegInfo;
    ~CCOMPortUtil() override = default;

    // Moves the port to `new_name` in all five places, in the order DOS name and SERIALCOMM, database,
    // friendly name, "PortName", and writes the default line settings for the new name. A number that another
    // device has claimed is taken after asking, or without asking for a product whose number is fixed.
    //
    // True when the name was changed, was the same already, or the user declined. False when a place could
    // not be written: what was written before it stays, so that the port can be opened under the new name.
    [[nodiscard]] bool RenameComPort(const Text& new_name, const RenameOptions& options = {}) noexcept;
    // Gives the name of a port that is being removed back: DOS name and database. What names the port in the
    // registry goes with the device. False when the port has no name, or its DOS name could not be removed.
    [[nodiscard]] bool RemoveDosDeviceName() noexcept;
};

// A question that a rename has for the user.
enum class RenameQuestion {
    kPortOpen,     // a program holds the port open
    kNumberInUse,  // the number is claimed
};
// Puts it to the user: true goes on.
using AskUser = bool (*)(HWND owner, RenameQuestion question);

// What a rename is going to do.
struct RenamePlan {
    enum class Number { kFree, kAsk, kTake };
    bool nothing_to_do = false;  // the port has the name already
    DWORD old_number = 0;        // given back
    DWORD new_number = 0;        // claimed
    // A number that is claimed is taken after asking. A fixed-number product's software finds its ports by
    // number, so that there is nothing to ask.
    Number number = Number::kFree;
};
[[nodiscard]] RenamePlan PlanRename(TextView old_name, TextView new_name, bool number_free,
                                    bool fixed_number_product) noexcept;

// RenameComPort with other words for its questions.
[[nodiscard]] bool RenamePort(CCOMPortUtil& port, const Text& new_name, const RenameOptions& options,
                              AskUser ask) noexcept;

// Writes the line settings 9600,n,8,1 for the port's present name. Does nothing for a port without a name; a
// key that refuses is not worth failing for.
void WriteDefaultPortsEntry(HDEVINFO device_set, const SP_DEVINFO_DATA& port) noexcept;

}  // namespace qx
