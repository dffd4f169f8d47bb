// SPDX-License-Identifier: MIT
// A port's settings as its driver keeps them.
#pragma once

#include "admin/computer.h"
#include "driver_access/bus_parameters.h"
#include "driver_access/user_mode_config.h"
#include "driver_access/vcp_parameters.h"

#include <string>
#include <vector>

namespace qxports {

// One element of one of the two parameter sets.
struct Setting {
    const qx::CSsInformationSet::Element* element = nullptr;
    bool bus = false;
    [[nodiscard]] std::string Name() const;
    [[nodiscard]] bool IsNumber() const { return element->Number() != nullptr; }
    [[nodiscard]] std::string Value() const;    // the number, or the text in quotes
    [[nodiscard]] std::string Meaning() const;  // in words; empty when only the driver understands it
    // Whether it tells what the port can do, which no user decides.
    [[nodiscard]] bool IsCapability() const;
};

// A setting that was given a value.
struct Change {
    Setting setting;
    std::string before;
    [[nodiscard]] bool IsOne() const { return setting.Value() != before; }
    [[nodiscard]] std::string Text() const;  // "Parity: 0 -> 2 (even parity)"
};

// Both sets of one port. `computer` must outlive it.
class PortSettings {
  public:
    // Reads both sets, or both sets' defaults. Throws Failure when the driver is not there or does not
    // answer.
    PortSettings(const Computer& computer, const Port& port, bool defaults = false);
    PortSettings(const PortSettings&) = delete;
    PortSettings& operator=(const PortSettings&) = delete;

    // All settings in the drivers' order, the port's before the bus's.
    [[nodiscard]] std::vector<Setting> All();
    // The setting of this name, in any letter case; "Bus.PortType" is the bus's where both sets have one.
    // Throws Failure.
    [[nodiscard]] Setting Find(const std::string& name);

    // Gives a setting the value that a user's word stands for ("even", "8", "115200"); the driver does not
    // hear of it before Write. Throws Failure for a value that the port cannot have.
    void Set(const Setting& setting, const std::string& word);
    // The same with the driver's own number, which must be one that a user can choose.
    void SetNumber(const std::string& name, bool bus, DWORD number);
    [[nodiscard]] const std::vector<Change>& Changes() const { return changes_; }
    [[nodiscard]] bool Changed() const;

    // Hands the changed sets to the driver and reads them back. A port is changed whole or not at all: when
    // the driver takes the one set and refuses the other, it is given the old one again. Throws Failure.
    void Write();

  private:
    // Another value of the same set; settings limit one another.
    [[nodiscard]] DWORD Other(bool bus, std::string_view name);
    [[nodiscard]] qx::CSsInformationSet& SetOf(bool bus) {
        return bus ? static_cast<qx::CSsInformationSet&>(bus_) : port_;
    }
    void Read(bool defaults);
    void TakeBack(bool bus, const std::string& why);

    const Computer& computer_;
    const Port& port_of_;
    qx::CQxUserModeConfig channel_;
    qx::CQxUVcpUserModeInterface port_;
    qx::CQxUBusUserModeInterface bus_;
    std::vector<Change> changes_;
};

}  // namespace qxports
