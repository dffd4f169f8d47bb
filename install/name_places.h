// SPDX-License-Identifier: MIT
// The five places in which a computer holds a port's COM name, and what they hold.
//
// No part of the computer compares them; a user notices when a program opens the wrong port.
#pragma once

#include "base/text.h"

#include <setupapi.h>

#include <array>
#include <optional>
#include <vector>

namespace qx {

enum class NamePlace {
    kPortName,      // "PortName" in the port's hardware key; the others follow it
    kClaim,         // the number in the COM port database
    kDosName,       // the DOS device name that leads to the port's kernel device
    kSerialComm,    // the SERIALCOMM entry of that kernel device
    kFriendlyName,  // what the device manager shows
};

// A COM name, and the kernel device that a place has it for.
struct NamedDevice {
    Text name;
    Text device;
};

// The places that all ports share. One that cannot be read is none: nothing is known of it then, least of all
// that it is empty.
struct SharedNamePlaces {
    std::optional<std::array<bool, 256>> claims;  // COM1 first
    std::optional<std::vector<NamedDevice>>
        dos_names;  // names of the form "COM5", each with its newest target
    std::optional<std::vector<NamedDevice>> serial_comm;

    // False also where it is not known.
    [[nodiscard]] bool IsClaimed(DWORD number) const;
};
[[nodiscard]] SharedNamePlaces ReadSharedNamePlaces();

// What each place holds for one port.
struct NamePlaces {
    bool port_name_known = true;  // false: "PortName" could not be read
    Text port_name;               // empty when the port has none
    DWORD number = 0;             // of a "PortName" as the system writes it, COM1 to COM256; else 0
    bool claimed = false;         // that number
    Text device;                  // the port's kernel device, as far as a name leads to it
    std::vector<Text> dos_names;  // all that lead there
    Text serial_comm;
    Text friendly_name;
};
[[nodiscard]] NamePlaces ReadNamePlaces(HDEVINFO device_set, const SP_DEVINFO_DATA& port,
                                        const SharedNamePlaces& shared);

// Letter case does not count in names of devices.
[[nodiscard]] bool IsSameName(const Text& a, const Text& b);

}  // namespace qx
