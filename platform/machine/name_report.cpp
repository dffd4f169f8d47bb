#include "platform/machine/name_report.h"

#include <algorithm>
#include <charconv>
#include <map>
#include <set>

namespace qxsim {

namespace {

// The number of "COM5" written as the system writes it; 0 for any other text.
unsigned NumberOf(const std::string& name) {
    if (!name.starts_with("COM"))
        return 0;
    unsigned number = 0;
    const char* const end = name.data() + name.size();
    const auto parsed = std::from_chars(name.data() + 3, end, number);
    const bool plain =
        parsed.ec == std::errc() && parsed.ptr == end && name == "COM" + std::to_string(number);
    return plain && number <= 256 ? number : 0;
}

bool IsComName(WideView name) {
    constexpr std::size_t kLetters = 3;
    return name.size() > kLetters && EqualsCaseless(name.substr(0, kLetters), ToWide("COM")) &&
           std::ranges::all_of(name.substr(kLetters), [](WCHAR unit) { return unit >= '0' && unit <= '9'; });
}

std::string Joined(const std::vector<std::string>& parts) {
    std::string all;
    for (const std::string& part : parts)
        all += (all.empty() ? "" : " ") + part;
    return all.empty() ? "-" : all;
}

std::string OrDash(const std::string& text) {
    return text.empty() ? "-" : text;
}

// What stands in front when the port's own name leads to another device: ": COM5 leads to \Device\Other".
std::string OtherTarget(const Machine& machine, const Device& device, const std::string& name) {
    const std::optional<std::string> target = machine.DosTarget(name);
    if (!target || EqualsCaseless(ToWide(*target), device.kernel_path))
        return {};
    return ": " + name + " leads to " + *target;
}

std::vector<NameFault> FaultsOf(const Machine& machine, const Device& device, const NamedPort& port) {
    const Machine::PortNames& names = port.names;
    const bool running = names.present && names.started;
    std::vector<NameFault> faults;
    const auto fault = [&](NamePlace place, std::string text) { faults.push_back({place, std::move(text)}); };

    if (names.port_name.empty()) {
        if (running)
            fault(NamePlace::kPortName, "a running port without a name");
        return faults;
    }
    if (port.number == 0) {
        fault(NamePlace::kPortName, "\"" + names.port_name + "\" is no COM name");
        return faults;
    }
    if (!names.claimed)
        fault(NamePlace::kClaim, "the number of " + names.port_name + " is not claimed");
    const std::vector<std::string> wanted =
        running ? std::vector{names.port_name} : std::vector<std::string>{};
    if (names.dos_names != wanted)
        fault(NamePlace::kDosName, "DOS name " + Joined(names.dos_names) + " instead of " + Joined(wanted) +
                                       (running ? OtherTarget(machine, device, names.port_name) : ""));
    const std::string entry = running ? names.port_name : "";
    if (names.serial_comm != entry)
        fault(NamePlace::kSerialComm,
              "SERIALCOMM says " + OrDash(names.serial_comm) + " instead of " + OrDash(entry));
    if (names.friendly_name.find("(" + names.port_name + ")") == std::string::npos)
        fault(NamePlace::kFriendlyName,
              "shown as \"" + names.friendly_name + "\" instead of (" + names.port_name + ")");
    return faults;
}

void Pad(std::string& line, std::size_t column) {
    line.resize(std::max(line.size() + 2, column), ' ');
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
    return std::ranges::all_of(ports, [](const NamedPort& port) { return port.faults.empty(); });
}

std::string NameReport::Faults() const {
    std::string all;
    for (const NamedPort& port : ports)
        for (const NameFault& fault : port.faults)
            all += port.names.id + ": " + fault.text + "\n";
    return all;
}

std::string NameReport::Table() const {
    std::string table =
        "PortName  claim    DOS name  SERIALCOMM  friendly name                        device\n";
    for (const NamedPort& port : ports) {
        std::string line = OrDash(port.names.port_name);
        Pad(line, 10);
        line += port.names.claimed ? "claimed" : "-";
        Pad(line, 19);
        line += Joined(port.names.dos_names);
        Pad(line, 29);
        line += OrDash(port.names.serial_comm);
        Pad(line, 41);
        line += OrDash(port.names.friendly_name);
        Pad(line, 78);
        line += port.names.id;
        if (!port.remark.empty())
            line += "  (" + port.remark + ")";
        table += line + "\n";
        for (const NameFault& fault : port.faults)
            table += std::string("          ^ ") + NameOf(fault.place) + ": " + fault.text + "\n";
    }
    if (!lone_claims.empty()) {
        table += "claimed, and no device has the name:";
        for (const unsigned number : lone_claims)
            table += " COM" + std::to_string(number);
        table += "\n";
    }
    for (const std::string& name : lone_dos_names)
        table += "DOS name of no port: " + name + "\n";
    for (const std::string& entry : lone_entries)
        table += "SERIALCOMM entry of no port: " + entry + "\n";
    return table;
}

NameReport ReportNames(const Machine& machine) {
    NameReport report;
    std::set<WideString, CaselessLess> port_paths;
    for (const Device& device : machine.devices) {
        if (device.node == 0 || device.removed || device.node == Machine::kRoot)
            continue;
        NamedPort port{machine.NamesOf(device), 0, {}, {}};
        if (!Machine::IsPort(device) && port.names.port_name.empty())
            continue;
        port.number = NumberOf(port.names.port_name);
        port.faults = FaultsOf(machine, device, port);
        port_paths.insert(device.kernel_path);
        if (!port.names.present)
            port.remark = "not plugged in";
        else if (!port.names.started)
            port.remark = "not running";
        report.ports.push_back(std::move(port));
    }

    std::map<unsigned, std::vector<NamedPort*>> holders;
    for (NamedPort& port : report.ports)
        if (port.number != 0)
            holders[port.number].push_back(&port);
    for (const auto& [number, ports] : holders) {
        const auto present = [](const NamedPort* port) { return port->names.present; };
        const auto count = std::ranges::count_if(ports, present);
        for (NamedPort* const port : ports) {
            if (present(port) && count > 1)
                port->faults.push_back(
                    {NamePlace::kPortName, "another port is " + port->names.port_name + " too"});
            else if (!present(port) && count > 0)
                port->remark += ", its number belongs to another port now";
        }
    }
    for (const unsigned number : machine.ClaimedNumbers())
        if (!holders.contains(number))
            report.lone_claims.push_back(number);
    for (const auto& [name, targets] : machine.dos_names)
        if (IsComName(name) && !port_paths.contains(targets.front()))
            report.lone_dos_names.push_back(ToUtf8(name) + " leads to " + ToUtf8(targets.front()));
    if (const auto entries = machine.FindKey(ToWide(kSerialCommPath)))
        for (const RegistryValue& entry : entries->values)
            if (!port_paths.contains(entry.name))
                report.lone_entries.push_back(ToUtf8(entry.name) + " has " + ToUtf8(BytesText(entry.data)));
    std::ranges::stable_sort(report.ports, {}, &NamedPort::number);
    return report;
}

}  // namespace qxsim
