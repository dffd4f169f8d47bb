// A port's COM name, which lives in five places that must agree: "PortName" in the port's hardware key, the
// COM port database, the DOS device name, the SERIALCOMM map, and the friendly name that the device manager
// shows.
//
// The operations that change it are members of CCOMPortUtil (device_records/com_port_util.h), because they
// need the port's record and the database together:
//
//   RenameComPort(new_name, owner, confirm_if_open, reenumerate)
//     Moves the port to `new_name` in all five places, in the order DOS name and SERIALCOMM, database,
//     friendly name, "PortName", and writes the default line settings for the new name. With
//     `confirm_if_open` the user is asked first when a program holds the port open; a number that another
//     device has claimed is taken after asking, or without asking for a product whose number is fixed.
//     `owner` is the window for these questions, if any. `reenumerate` has the whole device tree looked at
//     again. True when the name was changed, was the same already, or the user declined. False when a place
//     could not be written: what was written before it stays, so that the port can be opened under the new
//     name.
//
//   RemoveDosDeviceName()
//     Gives the name of a port that is being removed back: DOS name and database. What names the port in the
//     registry goes with the device. False when the port has no name, or its DOS name could not be removed.
#pragma once

#include "device_records/com_port_util.h"

namespace qx {

// A question that a rename has for the user; the ids are those of its text in the module.
enum class RenameQuestion {
    kPortOpen,     // a program holds the port open
    kNumberInUse,  // the number is claimed
};
// Answers it: true goes on.
using AskUser = bool (*)(HWND owner, RenameQuestion question);

// What a rename comes to, before it changes anything.
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
[[nodiscard]] bool RenamePort(CCOMPortUtil& port, const Text& new_name, HWND owner, bool confirm_if_open,
                              bool reenumerate, AskUser ask) noexcept;

// Writes the line settings 9600,n,8,1 for the port's present name, where programs that know nothing of
// drivers look up a port's defaults. Does nothing for a port without a name; a key that refuses is not worth
// failing for.
void WriteDefaultPortsEntry(HDEVINFO set, const SP_DEVINFO_DATA& port) noexcept;

}  // namespace qx
