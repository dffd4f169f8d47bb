// SPDX-License-Identifier: MIT
#include "host/box_answers.h"
#include "host/commands.h"
#include "host/device_installer.h"
#include "host/failure.h"

#include "admin/json.h"
#include "admin/name_report.h"
#include "admin/table.h"

#include <iostream>
#include <map>
#include <sstream>

namespace qxhost {

namespace {

using qxsim::Device;
using qxsim::ToUtf8;

// COM names of the maker's ports, by instance id.
std::map<std::string, std::string> NamesOfPorts(const qxsim::Machine& machine) {
    std::map<std::string, std::string> names;
    for (const Device* const port : machine.Ports())
        if (port->control)
            names[ToUtf8(port->id)] = machine.PortName(*port);
    for (auto& [id, name] : names)
        if (name.empty())
            name = "(none)";
    return names;
}

// Every port's id with its name before and after; "-" where there is no such port.
std::vector<qxports::TableRow> NamesInRows(const std::map<std::string, std::string>& before,
                                           const std::map<std::string, std::string>& after) {
    std::map<std::string, qxports::TableRow> rows;
    for (const auto& [id, name] : before)
        rows[id] = {id, name, "-"};
    for (const auto& [id, name] : after)
        rows.try_emplace(id, qxports::TableRow{id, "-", ""}).first->second[2] = name;
    std::vector<qxports::TableRow> result;
    for (const auto& [id, row] : rows)
        result.push_back(row);
    return result;
}

// A new device of a product, whose driver is still to be installed.
Device& AddAdapter(qxsim::Machine& machine, const std::string& product) {
    if (product.find('\\') == std::string::npos || product.ends_with('\\'))
        throw Failure(kBadUse, "\"" + product + "\" is no hardware id, such as USB\\VID_0F7A&PID_1104");
    qxsim::DeviceRecipe recipe;
    for (int number = 1; recipe.id.empty() || machine.Find(recipe.id) != nullptr; ++number)
        recipe.id = product + "\\" + std::to_string(number);
    recipe.setup_class = product.starts_with("PCI") ? "MultiPortSerial" : "USB";
    recipe.description = "Serial adapter";
    recipe.started = false;
    machine.AddDevice(qxsim::Machine::kRoot, recipe);
    return *machine.Find(recipe.id);
}

}  // namespace

int RunInstallation(const MachineOptions& options, Installation what, const InstallOptions& install) {
    Session session(options);
    qxsim::Machine& machine = session.Machine();
    const std::map<std::string, std::string> before = NamesOfPorts(machine);
    const Device& device =
        what == Installation::kAdd ? AddAdapter(machine, install.device) : session.Named(install.device);
    const std::string id = ToUtf8(device.id);
    const Role role = RoleOf(machine, device);
    if (role == Role::kNone)
        throw Failure(kUnknownDevice,
                      id + " is another maker's device: its driver names none of our co-installers");
    if (what == Installation::kReinstall && role != Role::kAdapter)
        throw Failure(kBadUse, id + " is no adapter; only an adapter's reinstallation brings up new ports");
    session.TraceCalls();

    std::ostringstream said;
    std::ostream& out = options.json ? said : std::cout;
    DeviceInstaller installer(session, out, install.result);
    bool refused = false;
    const std::unique_ptr<Desk> desk = OpenDesk();
    desk->Use(
        [&] {
            refused = what == Installation::kUpdate && !installer.AskForUpdate(id);
            if (what == Installation::kRemove)
                installer.Remove(id);
            else if (!refused)
                installer.Install(id, what == Installation::kReinstall, install.ports);
        },
        BoxAnswerer(*desk, options.answer, [&](const std::string& line) { installer.Say(line); }));
    session.Store();

    std::vector<qxports::TableRow> names = NamesInRows(before, NamesOfPorts(machine));
    const qxports::NameReport report = qxports::ReportNames(qxports::Computer());
    const ExitCode code = refused || install.result != NO_ERROR || !report.Agrees() || !installer.AllWell()
                              ? kNotAsItShould
                              : kDone;
    if (options.json) {
        qxports::Json ports = qxports::Json::array();
        for (const qxports::TableRow& row : names)
            ports.push_back({{"id", row[0]}, {"before", row[1]}, {"after", row[2]}});
        std::cout << qxports::Dump({{"exitCode", code},
                                    {"device", id},
                                    {"refused", refused},
                                    {"ports", ports},
                                    {"faults", report.Faults()},
                                    {"said", said.str()}});
        return code;
    }
    names.insert(names.begin(), {"Port", "Before", "After"});
    out << '\n' << qxports::Table(names);
    out << (report.Agrees() ? "The names agree in all places.\n" : "Names disagree:\n" + report.Faults());
    if (refused)
        out << "The co-installer refused the update.\n";
    if (install.result != NO_ERROR)
        out << "The installation failed, as it was told to.\n";
    return code;
}

}  // namespace qxhost
