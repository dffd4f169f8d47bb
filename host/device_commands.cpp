// SPDX-License-Identifier: MIT
// Commands about the machine file and the devices in it.
#include "host/commands.h"
#include "host/failure.h"
#include "host/session.h"

#include "admin/json.h"
#include "admin/table.h"
#include "install/device_helpers.h"

#include <iostream>
#include <sstream>

namespace qxhost {

namespace {

using qxports::Json;
using qxsim::Device;
using qxsim::Machine;
using qxsim::ToUtf8;

std::string StateOf(const Machine& machine, const Device& device) {
    if (!machine.Present(device))
        return "absent";
    if (device.started)
        return "running";  // also when it is to be disabled at the next start
    if (device.disabled)
        return "disabled";
    return device.problem != 0 ? "problem " + std::to_string(device.problem) : "not started";
}

// The devices at and below one, in the order of the device tree.
struct Listing {
    const Machine& machine;
    bool as_tree;
    Json json = Json::array();
    std::vector<qxports::TableRow> rows{{"Device", "Port", "State", "Instance id"}};

    void Add(const Device& device, std::size_t depth) {
        const std::string id = ToUtf8(device.id);
        const std::string name = ShownName(machine, device);
        const std::string port = machine.PortName(device);
        const std::string state = StateOf(machine, device);
        const Device* const parent = machine.Node(device.parent);
        const bool below_root = parent == nullptr || parent->node == Machine::kRoot;
        json.push_back({{"id", id},
                        {"parent", below_root ? Json() : Json(ToUtf8(parent->id))},
                        {"name", name},
                        {"port", port.empty() ? Json() : Json(port)},
                        {"state", state}});
        rows.push_back({std::string(as_tree ? 2 * depth : 0, ' ') + name, port, state, id});
        AddChildren(device, depth + 1);
    }
    void AddChildren(const Device& device, std::size_t depth) {
        for (const DEVINST child : device.children)
            if (const Device* const below = machine.Node(child))
                Add(*below, depth);
    }
    void Print(bool as_json) const { std::cout << (as_json ? qxports::Dump(json) : qxports::Table(rows)); }
};

void PlugAll(Machine& machine, Device& device) {
    machine.SetPlugged(device, true);
    for (const DEVINST child : device.children)
        if (Device* const below = machine.Node(child))
            PlugAll(machine, *below);
}

}  // namespace

int MakeMachine(const MachineOptions& options) {
    if (std::filesystem::exists(options.machine))
        throw Failure(kBadMachine, options.machine.string() + " is there already");
    StoreMachine(Machine(), options.machine);
    std::cout << options.machine.string() << " is a computer without devices; \"add\" gives it an adapter.\n";
    return kDone;
}

int CheckMachine(const MachineOptions& options) {
    std::vector<std::string> mistakes;
    try {
        const Session session(options);
    } catch (const Failure& failure) {
        if (!options.json)
            throw;
        std::istringstream lines(failure.what());
        for (std::string line; std::getline(lines, line);)
            mistakes.push_back(line);
    }
    if (options.json)
        std::cout << qxports::Dump({{"file", options.machine.string()}, {"mistakes", mistakes}});
    else
        std::cout << options.machine.string() << " has no mistakes.\n";
    return mistakes.empty() ? kDone : kBadMachine;
}

int ListDevices(const MachineOptions& options, bool as_tree) {
    Session session(options);
    Listing listing{.machine = session.Machine(), .as_tree = as_tree};
    listing.AddChildren(*session.Machine().Node(Machine::kRoot), 0);
    listing.Print(options.json);
    return kDone;
}

int ChangeDevice(const MachineOptions& options, DeviceChange change, const std::string& name) {
    Session session(options);
    Machine& machine = session.Machine();
    Device& device = session.Named(name);
    SP_DEVINFO_DATA element{};
    const HDEVINFO set = qxsim::HandDevice(machine, device, element);
    const bool takes_down = change == DeviceChange::kDisable || change == DeviceChange::kRestart;
    const bool in_use = takes_down && machine.InUse(device);
    if (change == DeviceChange::kPlug)
        PlugAll(machine, device);
    if (change == DeviceChange::kUnplug)
        machine.SetPlugged(device, false);
    if (takes_down)
        qx::DisableDevice(set, element);
    if (change == DeviceChange::kEnable || change == DeviceChange::kRestart)
        qx::EnableDevice(set, element);
    session.Store();
    Listing listing{.machine = machine, .as_tree = true};
    listing.Add(device, 0);
    listing.Print(options.json);
    if (in_use)
        std::cerr << "qxhost: a port is in use; the change takes effect at the computer's next start\n";
    return in_use ? kNotAsItShould : kDone;
}

}  // namespace qxhost
