// SPDX-License-Identifier: MIT
#include "admin/commands.h"
#include "admin/installation_lock.h"
#include "admin/name_report.h"
#include "admin/outcome.h"
#include "admin/port_state.h"
#include "admin/text.h"
#include "device_records/device_reg_info.h"
#include "device_records/port_database.h"
#include "install/dos_device_names.h"

#include <algorithm>

namespace qxports {

namespace {

using qx::NamePlace;

const NamedPort* FindPort(const NameReport& report, const std::string& id) {
    const auto found =
        std::ranges::find_if(report.ports, [&](const NamedPort& each) { return each.port.id == id; });
    return found == report.ports.end() ? nullptr : &*found;
}

bool IsAnyonesName(const Computer& computer, const qx::Text& name) {
    return std::ranges::any_of(computer.Ports(),
                               [&](const Port& port) { return qx::IsSameName(port.places.port_name, name); });
}

// Does what can be done for one place of one port. Whether it helped is seen afterwards.
class Repair {
  public:
    Repair(const Computer& computer, const Port& port) : computer_(computer), port_(port) {}

    void Claim() const {
        const bool others = computer_.Holders(port_.places.number).size() > 1;
        qx::CPortUtil database;
        const qx::PortDatabaseSession session(database);
        if (!others || port_.present)
            database.ClaimPort(port_.places.number, false);
    }

    void FriendlyName() const {
        const std::string name = "(" + port_.Name() + ")";
        std::string shown = Utf8(port_.places.friendly_name);
        if (shown.empty())
            shown = computer_.Property(port_, SPDRP_DEVICEDESC);
        // The former name in brackets at the end, if there is one, makes room.
        if (const std::size_t bracket = shown.rfind(" (COM");
            bracket != std::string::npos && shown.ends_with(')'))
            shown.erase(bracket);
        static_cast<void>(qx::CQXDeviceRegInfo(computer_.Set(), port_.element)
                              .SetFriendlyName(Wide(shown.empty() ? name : shown + " " + name)));
    }

    // Names that lead to the port and are nobody's are taken away; the last of them moves to the port's own.
    void DosNames() const {
        if (!port_.started || LeadsElsewhere())
            return;
        const std::vector<qx::Text>& names = port_.places.dos_names;
        bool has_own = std::ranges::find(names, port_.places.port_name) != names.end();
        for (const qx::Text& name : names) {
            if (name == port_.places.port_name || IsAnyonesName(computer_, name))
                continue;
            if (!has_own) {
                has_own = qx::MoveDosDeviceName(name.c_str(), port_.places.port_name);
                continue;
            }
            qx::KernelPath device;
            device.Append(port_.places.device.view());
            static_cast<void>(qx::RemoveDosName(name.c_str(), device));
        }
    }

    // A driver that starts defines its port's names from "PortName".
    void Restart() const {
        SP_DEVINFO_DATA element = port_.element;
        SP_PROPCHANGE_PARAMS request{};
        request.ClassInstallHeader.cbSize = sizeof(request.ClassInstallHeader);
        request.ClassInstallHeader.InstallFunction = DIF_PROPERTYCHANGE;
        request.StateChange = DICS_PROPCHANGE;
        request.Scope = DICS_FLAG_CONFIGSPECIFIC;
        if (SetupDiSetClassInstallParamsW(computer_.Set(), &element, &request.ClassInstallHeader,
                                          sizeof(request)))
            static_cast<void>(SetupDiCallClassInstaller(DIF_PROPERTYCHANGE, computer_.Set(), &element));
    }

    [[nodiscard]] bool LeadsElsewhere() const {
        return std::ranges::any_of(*computer_.Shared().dos_names, [&](const qx::NamedDevice& each) {
            return qx::IsSameName(each.name, port_.places.port_name) &&
                   !qx::IsSameName(each.device, port_.places.device);
        });
    }

  private:
    const Computer& computer_;
    const Port& port_;
};

bool Has(const NamedPort& port, NamePlace place) {
    return std::ranges::find(port.faults, place, &NameFault::place) != port.faults.end();
}

// Where nobody can be asked, other places may be mended already: that is not nothing, as a refusal would say.
bool MayRestart(const Context& context, const Port& port) {
    try {
        return context.Asked(port.Name() + ", " + port.shown +
                             ", has to be restarted; programs that use it lose it. Restart it?");
    } catch (const Failure& failure) {
        throw Failure(kNotAsItShould, failure.what());
    }
}

void MendNames(const Context& context, const NamedPort& port) {
    const Computer computer = AfterChange();
    computer.RequireAllKnown(kNotAsItShould);
    const Repair repair(computer, port.port);
    if (Has(port, NamePlace::kPortName))
        return;  // there is nothing to go by
    if (Has(port, NamePlace::kClaim))
        repair.Claim();
    if (Has(port, NamePlace::kFriendlyName))
        repair.FriendlyName();
    if (Has(port, NamePlace::kDosName))
        repair.DosNames();
    // What is left may come right when the driver starts anew.
    const Computer now = AfterChange();
    now.RequireAllKnown(kNotAsItShould);
    const NameReport report = ReportNames(now);
    const NamedPort* const left = FindPort(report, port.port.id);
    if (left == nullptr || !left->port.started ||
        (!Has(*left, NamePlace::kDosName) && !Has(*left, NamePlace::kSerialComm)))
        return;
    if (Repair(now, left->port).LeadsElsewhere())
        return;
    if (MayRestart(context, left->port))
        Repair(now, left->port).Restart();
}

}  // namespace

int RepairNames(const Context& context) {
    const InstallationLock lock(context);
    const Computer computer;
    computer.RequireAllKnown();
    const NameReport before = ReportNames(computer);
    if (before.Agrees()) {
        context.Say("all places agree; nothing to do");
        return kDone;
    }
    for (const NamedPort& port : before.ports) {
        for (const NameFault& fault : port.faults)
            context.Say(port.port.id + ": " + fault.text);
        if (!port.faults.empty() && !context.manner.dry_run)
            MendNames(context, port);
    }
    if (context.manner.dry_run) {
        context.Say("these would be made to say what \"PortName\" says, where that takes nobody else's name");
        return kDone;
    }
    const Computer now = AfterChange();
    now.RequireAllKnown(kNotAsItShould);
    const NameReport after = ReportNames(now);
    if (!after.Agrees())
        throw Failure(kNotAsItShould, "not everything could be repaired; names tells what is left");
    context.Say("all places agree now");
    return kDone;
}

}  // namespace qxports
