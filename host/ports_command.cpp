#include "host/commands.h"
#include "host/failure.h"
#include "host/session.h"
#include "host/table.h"

#include "driver_access/user_mode_config.h"
#include "driver_access/vcp_parameters.h"

#include <iostream>

namespace qxhost {

namespace {

// What the port's driver says that the port is, read the way the pages read it.
std::string KindOf(Session& session, const qxsim::Device& port) {
    const HandedDevice handed = session.Hand(port);
    qx::CQxUserModeConfig channel(handed.set, handed.element);
    if (!channel.FindInterface())
        return "no control device";
    qx::CQxUVcpUserModeInterface settings;
    if (!channel.ReadSettings(settings, qx::kPortSet))
        return "driver does not answer";
    return settings.PortType == qx::kRs422485Port ? "RS-422/485" : "ordinary";
}

std::string Remark(const qxsim::Device& port) {
    if (!port.plugged)
        return "not plugged in";
    if (port.disabled)
        return "disabled";
    if (!port.started)
        return "not started";
    return port.held_open_by.empty() ? "" : "open in " + qxsim::ToUtf8(port.held_open_by);
}

}  // namespace

int ListPorts(const MachineOptions& options) {
    Session session(options.machine);
    if (options.trace)
        session.TraceCalls();
    qxsim::Machine& machine = session.Machine();
    std::vector<TableRow> rows{{"Port", "Friendly name", "Kind", "Instance id", "State"}};
    std::vector<TableRow> drivers{{"Port", "Driver key", "Control device"}};
    for (const qxsim::Device* const port : session.PortsInOrder()) {
        const std::string name = machine.NamesOf(*port).port_name;
        const std::string shown = name.empty() ? "(none)" : name;
        rows.push_back({shown, ShownName(machine, *port), KindOf(session, *port), qxsim::ToUtf8(port->id),
                        Remark(*port)});
        // The last part of the path tells the control devices apart.
        const std::string control = machine.ControlPath(*port);
        const std::string key = machine.PropertyText(*port, SPDRP_DRIVER);
        drivers.push_back({shown, key.empty() ? "-" : key,
                           control.empty() ? "-" : control.substr(control.rfind('\\') + 1)});
    }
    if (rows.size() == 1) {
        std::cout << "This machine has no ports.\n";
        return kDone;
    }
    PrintTable(std::cout, rows);
    std::cout << '\n';
    PrintTable(std::cout, drivers);
    return kDone;
}

}  // namespace qxhost
