// SPDX-License-Identifier: MIT
#include "admin/commands.h"
#include "admin/installation_lock.h"
#include "admin/port_state.h"
#include "admin/text.h"
#include "device_records/port_database.h"

namespace qxports {

int Release(const Context& context, const std::string& wanted) {
    const InstallationLock lock(context);
    const Computer computer;
    computer.RequireAllKnown();
    const DWORD number = ComNumber(wanted);
    const std::string name = "COM" + std::to_string(number);
    for (const Port* const port : computer.Holders(number))
        throw Failure(kRefused, name + " is kept: it belongs to " + port->shown + " (" + port->id + ", " +
                                    StateOf(*port) + ")" +
                                    (port->present ? "" : "; forget " + name + " uninstalls that device"));
    for (const auto* const place : {&computer.Shared().dos_names, &computer.Shared().serial_comm})
        for (const qx::NamedDevice& each : **place)
            if (IsSameName(Utf8(each.name), name))
                throw Failure(kRefused, name + " is kept: a driver has it for " + Utf8(each.device));
    if (!computer.Shared().IsClaimed(number)) {
        context.Say(name + " is not claimed; nothing to do");
        return kDone;
    }
    if (context.manner.dry_run) {
        context.Say(name + " would be given back");
        return kDone;
    }
    {
        qx::CPortUtil database;
        const qx::PortDatabaseSession session(database);
        database.ReleasePort(number);
    }
    const qx::SharedNamePlaces after = qx::ReadSharedNamePlaces();
    if (!after.claims || after.IsClaimed(number))
        throw Failure(after.claims ? kSystemFailed : kNotAsItShould,
                      "the port database does not give " + name + " back");
    context.Say(name + " is free now");
    return kDone;
}

}  // namespace qxports
