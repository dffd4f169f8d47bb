// SPDX-License-Identifier: MIT
#include "admin/name_report.h"

#include "admin/table.h"
#include "admin/text.h"

#include <algorithm>
#include <set>

namespace qxports {

namespace {

using qx::NamePlace;

std::string OrDash(const std::string& text) {
    return text.empty() ? "-" : text;
}

std::string Joined(const std::vector<qx::Text>& names) {
    std::string all;
    for (const qx::Text& name : names)
        all += (all.empty() ? "" : " ") + Utf8(name);
    return OrDash(all);
}

// What stands in front when the port's own name leads to another device: ": COM5 leads to \Device\Other".
std::string OtherTarget(const qx::SharedNamePlaces& shared, const qx::NamePlaces& places) {
    if (shared.dos_names)
        for (const qx::NamedDevice& each : *shared.dos_names)
            if (qx::IsSameName(each.name, places.port_name) && !qx::IsSameName(each.device, places.device))
                return ": " + Utf8(each.name) + " leads to " + Utf8(each.device);
    return {};
}

// A port that does not run is reached by no name; where its name leads, somebody else has it now.
std::vector<NameFault> FaultsOf(const Computer& computer, const Port& port) {
    const qx::NamePlaces& places = port.places;
    const qx::SharedNamePlaces& shared = computer.Shared();
    const std::string name = port.Name();
    std::vector<NameFault> faults;
    const auto fault = [&](NamePlace place, std::string text) { faults.push_back({place, std::move(text)}); };

    if (!places.port_name_known) {
        fault(NamePlace::kPortName, "\"PortName\" cannot be read");
        return faults;
    }
    if (name.empty()) {
        if (port.started)
            fault(NamePlace::kPortName, "a running port without a name");
        return faults;
    }
    if (places.number == 0) {
        fault(NamePlace::kPortName, "\"" + name + "\" is no COM name");
        return faults;
    }
    if (shared.claims && !places.claimed)
        fault(NamePlace::kClaim, "the number of " + name + " is not claimed");
    const bool taken_over = !port.started && std::ranges::any_of(computer.Ports(), [&](const Port& other) {
        return other.started && qx::IsSameName(other.places.device, places.device);
    });
    const bool one = places.dos_names.size() == 1 && places.dos_names.front() == places.port_name;
    if (shared.dos_names && !taken_over && (port.started ? !one : !places.dos_names.empty()))
        fault(NamePlace::kDosName, "DOS name " + Joined(places.dos_names) + " instead of " +
                                       (port.started ? name + OtherTarget(shared, places) : "-"));
    const std::string entry = port.started ? name : "";
    if (shared.serial_comm && !taken_over && Utf8(places.serial_comm) != entry)
        fault(NamePlace::kSerialComm,
              "SERIALCOMM says " + OrDash(Utf8(places.serial_comm)) + " instead of " + OrDash(entry));
    const std::string friendly = Utf8(places.friendly_name);
    if (friendly.find("(" + name + ")") == std::string::npos)
        fault(NamePlace::kFriendlyName, "shown as \"" + friendly + "\" instead of (" + name + ")");
    return faults;
}

}  // namespace

const char* NameOf(NamePlace place) {
    switch (place) {
        case NamePlace::kPortName:
            return "PortName";
        case NamePlace::kClaim:
            return "claim";
        case NamePlace::kDosName:
            return "DOS name";
        case NamePlace::kSerialComm:
            return "SERIALCOMM";
        case NamePlace::kFriendlyName:
            return "friendly name";
    }
    return "";
}

bool NameReport::Agrees() const {
    return std::ranges::all_of(ports, [](const NamedPort& each) { return each.faults.empty(); });
}

std::string NameReport::Faults() const {
    std::string all;
    for (const NamedPort& each : ports)
        for (const NameFault& fault : each.faults)
            all += each.port.id + ": " + fault.text + "\n";
    return all;
}

std::string NameReport::Table(std::size_t columns) const {
    std::vector<TableRow> rows{
        {"PortName", "claim", "DOS name", "SERIALCOMM", "friendly name", "device", ""}};
    for (const NamedPort& each : ports) {
        const qx::NamePlaces& places = each.port.places;
        rows.push_back({OrDash(each.port.Name()),
                        !claims_known    ? "?"
                        : places.claimed ? "claimed"
                                         : "-",
                        each.port.started ? Joined(places.dos_names) : "-",
                        each.port.started ? OrDash(Utf8(places.serial_comm)) : "-",
                        OrDash(Utf8(places.friendly_name)), each.port.id, each.remark});
    }
    std::string table = qxports::Table(rows, columns);
    if (!lone_claims.empty()) {
        table += "claimed, and no device has the name:";
        for (const DWORD number : lone_claims)
            table += " COM" + std::to_string(number);
        table += "\n";
    }
    for (const std::string& name : lone_dos_names)
        table += Visible("DOS name of no port: " + name) + "\n";
    for (const std::string& entry : lone_entries)
        table += Visible("SERIALCOMM entry of no port: " + entry) + "\n";
    return table;
}

NameReport ReportNames(const Computer& computer) {
    NameReport report;
    const qx::SharedNamePlaces& shared = computer.Shared();
    report.claims_known = shared.claims.has_value();
    for (const Port& port : computer.Ports()) {
        NamedPort named{port, FaultsOf(computer, port), {}};
        if (!port.present)
            named.remark = "not plugged in";
        else if (!port.started)
            named.remark = "not running";
        const std::vector<const Port*> holders = computer.Holders(port.places.number);
        const auto present = std::ranges::count_if(holders, &Port::present);
        if (port.present && present > 1)
            named.faults.push_back({NamePlace::kPortName, "another port is " + port.Name() + " too"});
        else if (!port.present && present > 0)
            named.remark += ", its number belongs to another port now";
        report.ports.push_back(std::move(named));
    }
    const auto of_no_port = [&](const qx::NamedDevice& each) {
        return std::ranges::none_of(computer.Ports(), [&](const Port& port) {
            return port.started && qx::IsSameName(port.places.device, each.device);
        });
    };
    for (DWORD number = 1; shared.claims && number <= shared.claims->size(); ++number)
        if (shared.IsClaimed(number) && computer.Holders(number).empty())
            report.lone_claims.push_back(number);
    if (shared.dos_names)
        for (const qx::NamedDevice& each : *shared.dos_names)
            if (of_no_port(each))
                report.lone_dos_names.push_back(Utf8(each.name) + " leads to " + Utf8(each.device));
    if (shared.serial_comm)
        for (const qx::NamedDevice& each : *shared.serial_comm)
            if (of_no_port(each))
                report.lone_entries.push_back(Utf8(each.device) + " has " + Utf8(each.name));
    return report;
}

}  // namespace qxports
