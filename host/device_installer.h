// SPDX-License-Identifier: MIT
// The device installer: which requests it makes of a device's co-installer, in which order, and what it does
// itself in between.
#pragma once

#include "host/session.h"

#include <cstdint>
#include <iosfwd>
#include <string>
#include <vector>

namespace qxhost {

// What a device is to the library, and so which of its co-installers the device's driver package names.
enum class Role { kNone, kAdapter, kPort, kGpio };
[[nodiscard]] Role RoleOf(const qxsim::Machine& machine, const qxsim::Device& device);

// Makes requests of the library's co-installers and prints each with its answer. Devices are named by
// instance id, because their records move when the machine gets new devices.
class DeviceInstaller {
  public:
    // `result` is what the platform's own part of each installation is said to have ended with.
    DeviceInstaller(Session& session, std::ostream& out, DWORD result);
    ~DeviceInstaller();
    DeviceInstaller(const DeviceInstaller&) = delete;
    DeviceInstaller& operator=(const DeviceInstaller&) = delete;

    // Installs the device's driver; ports below an adapter come up with it and are installed in turn. With
    // `renew_ports` the new driver lists its ports as new devices: the old ones go once the adapter's
    // co-installer has seen them, and the new ones get the next free names before their co-installer is
    // called back. A first installation that finds no ports brings up `new_ports`.
    void Install(const std::string& id, bool renew_ports, unsigned new_ports);
    // Asks whether the device's driver may be updated by itself; false when the co-installer refuses.
    [[nodiscard]] bool AskForUpdate(const std::string& id);
    // Uninstalls the device and what is below it, ports first. If a co-installer refuses, its device and all
    // devices above it stay.
    void Remove(const std::string& id);

    // Prints a line below the request that it belongs to.
    void Say(const std::string& line);

    // Whether every request was answered as the device installer expects.
    [[nodiscard]] bool AllWell() const { return all_well_; }

  private:
    DWORD Ask(const std::string& id, DI_FUNCTION request, COINSTALLER_CONTEXT_DATA& context);
    void InstallOne(const std::string& id, bool renew_ports, unsigned new_ports);
    void OwnWork(const std::string& id, bool renew_ports, unsigned new_ports);
    void RenewPorts(const std::string& adapter, bool renew_ports, unsigned new_ports);
    void PlayPortClass(const std::string& id);
    void ShowSaved(const std::string& adapter);
    DWORD AskNested(DI_FUNCTION request, HDEVINFO set, PSP_DEVINFO_DATA element);

    [[nodiscard]] qxsim::Machine& Machine() { return session_.Machine(); }
    [[nodiscard]] std::vector<std::string> PortsBelow(const std::string& id);
    [[nodiscard]] std::vector<std::string> FunctionsOf(const std::string& id);

    Session& session_;
    std::ostream& out_;
    DWORD result_;
    bool all_well_ = true;
    unsigned depth_ = 0;
    bool line_open_ = false;  // a request is printed and waits for its answer
};

}  // namespace qxhost
