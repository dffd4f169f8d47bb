// SPDX-License-Identifier: MIT
// Whether the places that hold a port's COM name agree.
#pragma once

#include "admin/computer.h"

#include <string>
#include <vector>

namespace qxports {

[[nodiscard]] const char* NameOf(qx::NamePlace place);

// One place that does not say what the port's "PortName" says.
struct NameFault {
    qx::NamePlace place;
    std::string text;  // "DOS name COM7 instead of COM5"
};

// A port, and what is wrong with its name.
struct NamedPort {
    Port port;
    std::vector<NameFault> faults;  // none: its places agree
    std::string remark;             // what is worth knowing and is no fault
};

struct NameReport {
    std::vector<NamedPort> ports;    // by number
    std::vector<DWORD> lone_claims;  // claimed numbers that no device has for its name
    // What drivers outside the picture, or ports that are gone, have left: DOS names "COM1", "COM2" ... that
    // lead to no port's device ("COM9 leads to \Device\Other"), and SERIALCOMM entries of no port
    // ("\Device\Other has COM9"). Like lone claims they are worth knowing and no fault.
    std::vector<std::string> lone_dos_names;
    std::vector<std::string> lone_entries;
    bool claims_known = true;
    [[nodiscard]] bool Agrees() const;
    // One line for each fault, with the port's id; empty when all agree.
    [[nodiscard]] std::string Faults() const;
    // A table for people: one line for each port with its five places, then what belongs to no port.
    [[nodiscard]] std::string Table(std::size_t columns) const;
};

// Compares, for every port of the computer:
// - a running port must hold its number by a claim, be reached by exactly its own DOS name, have it in
//   SERIALCOMM, and show it as "(COM5)" in its friendly name; no other present port may have the same name;
// - a port that does not run has no DOS name and no SERIALCOMM entry, and must otherwise agree with itself.
//   Of one that is not plugged in the number may have gone to another port meanwhile; that is remarked on;
// - a port without a name is a fault when it runs.
[[nodiscard]] NameReport ReportNames(const Computer& computer);

}  // namespace qxports
