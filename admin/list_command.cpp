// SPDX-License-Identifier: MIT
#include "admin/commands.h"
#include "admin/json.h"
#include "admin/port_state.h"
#include "admin/table.h"
#include "admin/text.h"

namespace qxports {

int List(const Context& context, bool all) {
    const Computer computer = Computer::OfPorts();
    std::vector<TableRow> rows{{"Port", "Device", "Kind", "State", "Adapter"}};
    Json json = Json::array();
    for (const Port& port : computer.Ports()) {
        if (!all && (!port.present || !port.ours))
            continue;
        std::string kind = port.ours && port.started ? KindOf(computer, port) : "";
        if (!port.ours)
            kind = "other maker's";
        else if (port.started && kind.empty())
            kind = "no answer";
        std::string state = StateOf(port);
        if (port.started && !port.places.port_name.empty())
            if (const std::string why = WhyNotOpened(port.places.port_name); !why.empty())
                state += ", " + why;
        const std::string adapter = AdapterOf(port);
        rows.push_back({port.Name().empty() ? "(none)" : port.Name(), port.shown, kind.empty() ? "-" : kind,
                        state, adapter.empty() ? "-" : adapter});
        json.push_back({{"port", port.Name()},
                        {"device", port.shown},
                        {"kind", kind},
                        {"state", state},
                        {"adapter", adapter},
                        {"instanceId", port.id},
                        {"driverKey", computer.Property(port, SPDRP_DRIVER)},
                        {"location", computer.Property(port, SPDRP_LOCATION_INFORMATION)}});
    }
    if (context.manner.json)
        context.Out(Dump(json));
    else if (rows.size() == 1)
        context.Out(all ? "This computer has no ports.\n"
                        : "This computer has no ports of this maker; list --all shows all others.\n");
    else
        context.Out(Table(rows, context.around.Columns()));
    return kDone;
}

}  // namespace qxports
