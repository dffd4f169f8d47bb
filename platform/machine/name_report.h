// Whether the places that hold a port's COM name agree.
//
// A COM name lives in five places: "PortName" in the port's hardware key, the claim in the COM port database,
// the DOS device name, the SERIALCOMM entry, and the friendly name. No part of the computer compares them; a
// user notices when a program opens the wrong port. This report compares them.
#pragma once

#include "platform/machine/machine.h"

#include <string>
#include <vector>

namespace qxsim {

// The places, in the order in which they are reported.
enum class NamePlace { kPortName, kClaim, kDosName, kSerialComm, kFriendlyName };
[[nodiscard]] const char* NameOf(NamePlace place);

// One place that does not say what the port's "PortName" says.
struct NameFault {
    NamePlace place;
    std::string text;  // "DOS name COM7 instead of COM5"
};

// A device that has, or as a running port should have, a COM name.
struct NamedPort {
    Machine::PortNames names;
    unsigned number = 0;            // of "PortName"; 0 when it names none
    std::vector<NameFault> faults;  // none: its places agree
    std::string remark;             // what is worth knowing and is no fault
};

struct NameReport {
    std::vector<NamedPort> ports;       // by number, then in the order in which the computer got to know them
    std::vector<unsigned> lone_claims;  // claimed numbers that no device has for its name
    // What drivers outside the picture, or ports that are gone, have left: DOS names "COM1", "COM2" ... whose
    // newest target is no port's device ("COM9 leads to \Device\Other"), and SERIALCOMM entries of no port
    // ("\Device\Other has COM9"). Like lone claims they are worth knowing and no fault.
    std::vector<std::string> lone_dos_names;
    std::vector<std::string> lone_entries;
    [[nodiscard]] bool Agrees() const;
    // One line for each fault, with the port's id; empty when all agree.
    [[nodiscard]] std::string Faults() const;
    // A table for people: one line for each port with its five places, then what belongs to no port.
    [[nodiscard]] std::string Table() const;
};

// Compares, for every device of class Ports and every other device with a "PortName":
// - a running port must hold its number by a claim, be reached by exactly its own DOS name, have it in
//   SERIALCOMM, and show it as "(COM5)" in its friendly name; no other running port may have the same name;
// - a port that does not run has no DOS name and no SERIALCOMM entry, and must otherwise agree with itself.
//   Of one that is not plugged in the number may have gone to another port meanwhile; that is remarked on;
// - a port without a name is a fault when it runs.
[[nodiscard]] NameReport ReportNames(const Machine& machine);

}  // namespace qxsim
