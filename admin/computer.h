// SPDX-License-Identifier: MIT
// The computer that is looked after: its ports, and every other device that has a COM name.
#pragma once

#include "admin/failure.h"
#include "base/handles.h"
#include "install/name_places.h"

#include <string>
#include <string_view>
#include <vector>

namespace qxports {

// A device that has, or as a running port should have, a COM name.
struct Port {
    SP_DEVINFO_DATA element{};
    std::string id;  // device instance id
    qx::NamePlaces places;
    bool present = false;
    bool started = false;
    DWORD problem = 0;  // CM_PROB_ code
    bool ours = false;  // its driver shows this library's pages

    [[nodiscard]] std::string Name() const;  // "PortName"
    // The friendly name or the description, as the device manager shows it; else the id.
    std::string shown;
};

// The ports as they are at one moment; look again after a change.
class Computer {
  public:
    // Reads every device, and the places that all ports share. Throws Failure when the devices cannot be
    // listed.
    Computer();
    // Without the places that all ports share: nothing is asked for that takes a right of its own.
    [[nodiscard]] static Computer OfPorts() { return Computer(qx::SharedNamePlaces()); }

    [[nodiscard]] const std::vector<Port>& Ports() const { return ports_; }
    [[nodiscard]] const qx::SharedNamePlaces& Shared() const { return shared_; }
    [[nodiscard]] HDEVINFO Set() const { return devices_.Get(); }

    // The port that a COM name or a device instance id means. Throws Failure when there is none, or several.
    [[nodiscard]] const Port& Find(std::string_view name) const;
    // Devices that have this number for their name.
    [[nodiscard]] std::vector<const Port*> Holders(DWORD number) const;

    // Throws Failure when a place could not be read in which a name may stand that nobody must lose.
    void RequireAllKnown(ExitCode code = kNoRight) const;

    // A property's text; empty when the device has none.
    [[nodiscard]] std::string Property(const Port& port, DWORD property) const;

  private:
    explicit Computer(qx::SharedNamePlaces shared);

    qx::DeviceSet devices_;
    qx::SharedNamePlaces shared_;
    std::vector<Port> ports_;
    std::vector<std::string> unknown_;  // what could not be read
};

// The number of a COM name in any letter case, or of a bare number: 7 for "com7" and "7". Throws Failure.
[[nodiscard]] DWORD ComNumber(std::string_view name);

// What the device tree says of a device's adapter, as the device manager shows it; empty when nothing.
[[nodiscard]] std::string AdapterOf(const Port& port);

// Names one after the other, "none" for none.
[[nodiscard]] std::string Listed(const std::vector<std::string>& names);

}  // namespace qxports
