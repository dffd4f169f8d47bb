#include "host/box_answers.h"
#include "host/commands.h"
#include "host/device_installer.h"
#include "host/failure.h"

#include "admin/name_report.h"
#include "admin/table.h"

#include <charconv>
#include <iostream>
#include <map>

namespace qxhost {

namespace {

using qxsim::Device;
using qxsim::ToUtf8;

DWORD ResultFrom(const std::string& text) {
    if (text.empty())
        return NO_ERROR;
    const bool hexadecimal = text.starts_with("0x") || text.starts_with("0X");
    const char* const begin = text.data() + (hexadecimal ? 2 : 0);
    DWORD result = 0;
    const auto [end, error] =
        std::from_chars(begin, text.data() + text.size(), result, hexadecimal ? 16 : 10);
    if (error != std::errc() || end != text.data() + text.size())
        throw Failure(kBadUse, "--result " + text + ": write an error code, for example 0xE0000203");
    return result;
}

// COM names of the maker's ports, by instance id.
std::map<std::string, std::string> NamesOfPorts(const qxsim::Machine& machine) {
    std::map<std::string, std::string> names;
    for (const Device* const port : machine.Ports())
        if (port->control)
            names[ToUtf8(port->id)] = machine.NamesOf(*port).port_name;
    return names;
}

void PrintNames(const std::map<std::string, std::string>& before,
                const std::map<std::string, std::string>& after) {
    std::vector<qxports::TableRow> rows{{"Port", "Before", "After"}};
    const auto shown = [](const auto& names, const std::string& id) -> std::string {
        const auto found = names.find(id);
        return found == names.end() ? "-" : found->second.empty() ? "(none)" : found->second;
    };
    std::map<std::string, std::string> all = before;
    all.insert(after.begin(), after.end());
    for (const auto& [id, name] : all)
        rows.push_back({id, shown(before, id), shown(after, id)});
    std::cout << qxports::Table(rows);
}

}  // namespace

int RunInstallation(const MachineOptions& options, Installation what, const InstallOptions& install) {
    Session session(options.machine);
    qxsim::Machine& machine = session.Machine();
    if (!options.os.empty())
        session.PretendVersion(options.os);
    const DWORD result = ResultFrom(install.result);
    const Device& device = session.Named(install.device);
    const std::string id = ToUtf8(device.id);
    const Role role = RoleOf(machine, device);
    if (role == Role::kNone)
        throw Failure(kUnknownDevice,
                      id + " is another maker's device: its driver names none of our co-installers");
    if (what == Installation::kReinstall && role != Role::kAdapter)
        throw Failure(kBadUse, id + " is no adapter; only an adapter's reinstallation brings up new ports");
    const std::map<std::string, std::string> before = NamesOfPorts(machine);
    if (options.trace)
        session.TraceCalls();

    DeviceInstaller installer(session, std::cout, result);
    bool refused = false;
    std::string problem;
    BoxAnswers answers(options.answer, [&](const std::string& line) { installer.Say(line); });
    const std::unique_ptr<Desk> desk = OpenDesk();
    desk->Use(
        [&] {
            // The windows of the desk must not see what a command throws.
            try {
                refused = what == Installation::kUpdate && !installer.AskForUpdate(id);
                if (refused)
                    return;
                if (what == Installation::kRemove)
                    installer.Remove(id);
                else
                    installer.Install(id, what == Installation::kReinstall, install.ports);
            } catch (const std::exception& error) {
                problem = error.what();
            }
        },
        answers.AsUser(*desk));
    if (!problem.empty())
        throw Failure(kNotAsItShould, problem);
    session.Store();

    std::cout << '\n';
    PrintNames(before, NamesOfPorts(machine));
    const qxports::NameReport report = qxports::ReportNames(qxports::Computer());
    std::cout << (report.Agrees() ? "The names agree in all places.\n"
                                  : "Names disagree:\n" + report.Faults());
    if (refused)
        std::cout << "The co-installer refused the update.\n";
    if (result != NO_ERROR)
        std::cout << "The installation failed with " << install.result << ", as it was told to.\n";
    return refused || result != NO_ERROR || !report.Agrees() || !installer.AllWell() ? kNotAsItShould : kDone;
}

}  // namespace qxhost
