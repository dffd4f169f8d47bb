// SPDX-License-Identifier: MIT
#include "admin/commands.h"
#include "admin/computer.h"
#include "admin/installation_lock.h"
#include "admin/text.h"
#include "device_records/port_database.h"

#include <algorithm>

namespace qxports {

namespace {

// Whether the number is the device's alone, so that it goes with it.
bool GoesWithIt(const Computer& computer, const Port& port) {
    const qx::SharedNamePlaces& shared = computer.Shared();
    return shared.IsClaimed(port.places.number) && computer.Holders(port.places.number).size() == 1 &&
           std::ranges::none_of(*shared.dos_names, [&](const qx::NamedDevice& each) {
               return qx::IsSameName(each.name, port.places.port_name);
           });
}

std::string What(const Port& port) {
    return (port.Name().empty() ? "a port without a name" : port.Name()) + ", " + port.shown + " (" +
           port.id + ")";
}

// Uninstalls the device, then gives its number back: in this order, a number without a device is the worst
// that can be left, and nobody loses a name.
//
// The device is removed without its co-installers: they give its DOS name back, and where another port has
// the name by now, that would be the other's.
void Uninstall(const std::string& id) {
    const Computer computer;
    computer.RequireAllKnown();
    const Port& port = computer.Find(id);
    const bool with_number = GoesWithIt(computer, port);
    qx::CPortUtil database;
    const qx::PortDatabaseSession session(database);
    if (!database.Claims())
        throw Failure(kNoRight, "the port database cannot be opened, so " + What(port) + " stays");
    SP_DEVINFO_DATA element = port.element;
    if (!SetupDiRemoveDevice(computer.Set(), &element)) {
        const DWORD error = GetLastError();
        throw Failure(error == ERROR_ACCESS_DENIED ? kNoRight : kSystemFailed,
                      What(port) + " stays: " + ErrorWords(error));
    }
    if (with_number && !database.ReleasePort(port.places.number))
        throw Failure(kNotAsItShould, What(port) +
                                          " is gone, but the port database keeps its number; release " +
                                          port.Name() + " gives it back");
}

}  // namespace

int Forget(const Context& context, const std::string& name, bool all_absent, bool foreign) {
    const InstallationLock lock(context);
    const Computer computer;
    computer.RequireAllKnown();
    std::vector<const Port*> ports;
    if (!all_absent) {
        ports.push_back(&computer.Find(name));
        if (ports.front()->present)
            throw Failure(kRefused, What(*ports.front()) + " is there; only absent ports are forgotten");
        if (!ports.front()->ours && !foreign)
            throw Failure(kRefused,
                          What(*ports.front()) + " is another maker's; --foreign forgets it all the same");
    } else {
        for (const Port& port : computer.Ports())
            if (!port.present && (port.ours || foreign))
                ports.push_back(&port);
        if (ports.empty())
            context.Say("there are no absent ports");
    }
    for (const Port* const port : ports) {
        const std::string number = GoesWithIt(computer, *port) ? " with its number" : ", without a number";
        try {
            if (!context.manner.dry_run)
                Uninstall(port->id);
        } catch (const Failure& failure) {
            // The ones before it are gone.
            throw Failure(port == ports.front() ? failure.Code() : kNotAsItShould, failure.what());
        }
        context.Say(What(*port) + (context.manner.dry_run ? " would be" : " is") + " uninstalled" + number);
    }
    return kDone;
}

}  // namespace qxports
