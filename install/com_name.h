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

// Writes the line settings 9600,n,8,1 for the port's present name, where programs that know nothing of
// drivers look up a port's defaults. Does nothing for a port without a name; a key that refuses is not worth
// failing for.
void WriteDefaultPortsEntry(HDEVINFO set, const SP_DEVINFO_DATA& port) noexcept;

}  // namespace qx
