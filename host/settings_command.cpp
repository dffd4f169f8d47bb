#include "host/commands.h"
#include "host/failure.h"
#include "host/session.h"
#include "host/setting_meaning.h"
#include "host/table.h"

#include "driver_access/bus_parameters.h"
#include "driver_access/user_mode_config.h"
#include "driver_access/vcp_parameters.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <cstdio>
#include <iostream>
#include <map>

namespace qxhost {

namespace {

using Element = qx::CSsInformationSet::Element;
using qxsim::ToUtf8;

// Both parameter sets of a port, as its driver has them.
struct PortSets {
    qx::CQxUVcpUserModeInterface port;
    qx::CQxUBusUserModeInterface bus;
    [[nodiscard]] qx::CSsInformationSet& Of(bool of_bus) {
        return of_bus ? static_cast<qx::CSsInformationSet&>(bus) : port;
    }
};

std::string NameOf(const Element& element) {
    return ToUtf8(element.Name().view());
}

std::string TextOf(const Element& element) {
    return element.Number() != nullptr ? std::to_string(*element.Number())
                                       : '"' + ToUtf8(element.String()->text.view()) + '"';
}

std::string MeaningOfElement(const Element& element, bool bus) {
    return element.Number() != nullptr ? MeaningOf(NameOf(element), *element.Number(), bus) : "";
}

// Calls `each` with every element of both sets; elements are walked in the drivers' order.
template <typename Each>
void ForEachElement(PortSets& sets, Each each) {
    for (const bool bus : {false, true})
        for (const Element* at = sets.Of(bus).First(); at != nullptr; at = sets.Of(bus).Next())
            each(*at, bus);
}

std::vector<const Element*> ElementsOf(qx::CSsInformationSet& set) {
    std::vector<const Element*> elements;
    for (const Element* at = set.First(); at != nullptr; at = set.Next())
        elements.push_back(at);
    return elements;
}

void Read(qx::CQxUserModeConfig& channel, PortSets& sets, bool defaults, const std::string& port) {
    for (const bool bus : {false, true}) {
        const DWORD selector = bus ? qx::kBusSet : qx::kPortSet;
        const bool read = defaults ? channel.ReadDefaultSettings(sets.Of(bus), selector)
                                   : channel.ReadSettings(sets.Of(bus), selector);
        if (!read)
            throw Failure(kNoAnswer, "the driver of " + port + " does not answer when asked for its " +
                                         (defaults ? "default " : "") + (bus ? "bus" : "port") +
                                         " settings (error " + std::to_string(GetLastError()) + ")");
    }
}

struct Change {
    const Element* element;
    bool bus;
    std::string before;
    [[nodiscard]] bool IsOne() const { return TextOf(*element) != before; }
};

constexpr std::string_view kBus = "Bus.";

std::string Upper(std::string_view text) {
    return ToUtf8(qxsim::UpperCase(qxsim::ToWide(std::string(text))));
}

// All names, each as it reaches its setting: where both sets have one, the bus's is told apart.
std::string KnownNames(PortSets& sets) {
    const std::vector<const Element*> of_port = ElementsOf(sets.port);
    std::string known;
    ForEachElement(sets, [&](const Element& element, bool bus) {
        const bool twice = bus && std::any_of(of_port.begin(), of_port.end(), [&](const Element* each) {
                               return each->Name() == element.Name();
                           });
        known += (known.empty() ? "" : ", ") + std::string(twice ? kBus : "") + NameOf(element);
    });
    return known;
}

// "Baudrate=115200", "Bus.PortType=1".
Change Apply(PortSets& sets, const std::string& assignment) {
    const std::size_t sign = assignment.find('=');
    if (sign == std::string::npos || sign == 0)
        throw Failure(kBadUse, "--set " + assignment + ": write NAME=VALUE, for example Baudrate=115200");
    std::string name = assignment.substr(0, sign);
    const std::string word = assignment.substr(sign + 1);
    const bool only_bus = Upper(name).starts_with(Upper(kBus));
    if (only_bus)
        name.erase(0, kBus.size());
    for (const bool bus : {false, true}) {
        if (only_bus && !bus)
            continue;
        const std::vector<const Element*> elements = ElementsOf(sets.Of(bus));
        for (const Element* const element : elements) {
            if (Upper(NameOf(*element)) != Upper(name))
                continue;
            name = NameOf(*element);
            Change change{element, bus, TextOf(*element)};
            if (element->Number() != nullptr) {
                const auto other = [&](std::string_view wanted) -> std::uint32_t {
                    for (const Element* const each : elements)
                        if (NameOf(*each) == wanted && each->Number() != nullptr)
                            return *each->Number();
                    return 0;
                };
                *element->Number() = ValueFor(name, word, bus, other);
            } else {
                constexpr std::size_t kLongest = 255;
                if (word.size() > kLongest)
                    throw Failure(kBadUse, name + " cannot be longer than 255 characters");
                const qxsim::WideString text = qxsim::ToWide(word);
                // The drivers know single bytes only.
                if (std::any_of(text.begin(), text.end(), [](WCHAR unit) { return unit > 0xFF; }))
                    throw Failure(kBadUse, name + " can only have characters up to U+00FF");
                element->String()->text = qx::Text(text.c_str());
            }
            return change;
        }
    }
    throw Failure(kBadUse, "there is no setting \"" + assignment.substr(0, sign) + "\"; the settings are " +
                               KnownNames(sets));
}

void PrintBytes(const qxsim::Bytes& bytes) {
    constexpr std::size_t kPerLine = 16;
    for (std::size_t at = 0; at < bytes.size(); at += kPerLine) {
        std::printf("  %04zx ", at);
        for (std::size_t i = at; i < std::min(at + kPerLine, bytes.size()); ++i)
            std::printf(" %02x", bytes[i]);
        std::printf("\n");
    }
    std::fflush(stdout);
}

void PrintChanges(const std::vector<Change>& changes) {
    for (const Change& change : changes) {
        const std::string after = TextOf(*change.element);
        const std::string meaning = MeaningOfElement(*change.element, change.bus);
        std::cout << "  " << (change.bus ? "Bus." : "") << NameOf(*change.element) << ": " << change.before;
        if (change.IsOne())
            std::cout << " -> " << after << (meaning.empty() ? "" : " (" + meaning + ")");
        else
            std::cout << " (unchanged)";
        std::cout << '\n';
    }
}

// Sends the sets that have changes to the driver. What the driver got is kept in its record.
void Write(qx::CQxUserModeConfig& channel, PortSets& sets, const std::vector<Change>& changes,
           const std::string& port) {
    for (const bool bus : {false, true}) {
        const bool concerned = std::any_of(changes.begin(), changes.end(), [&](const Change& change) {
            return change.bus == bus && change.IsOne();
        });
        if (concerned && !channel.WriteSettings(sets.Of(bus), bus ? qx::kBusSet : qx::kPortSet))
            throw Failure(kNoAnswer, "the driver of " + port + " refuses the " + (bus ? "bus" : "port") +
                                         " settings (error " + std::to_string(GetLastError()) + ")");
    }
}

int ChangeSettings(Session& session, qxsim::Device& port, qx::CQxUserModeConfig& channel, PortSets& sets,
                   const SettingsOptions& settings) {
    std::vector<Change> changes;
    for (const std::string& assignment : settings.set) {
        const Change change = Apply(sets, assignment);
        if (std::any_of(changes.begin(), changes.end(),
                        [&](const Change& each) { return each.element == change.element; }))
            throw Failure(kBadUse, "--set " + assignment + ": " + NameOf(*change.element) + " is set twice");
        changes.push_back(change);
    }
    if (std::none_of(changes.begin(), changes.end(), [](const Change& change) { return change.IsOne(); })) {
        std::cout << settings.port << ": nothing to change\n";
        PrintChanges(changes);
        return kDone;
    }
    std::cout << settings.port << (settings.dry_run ? " would change:\n" : " changes:\n");
    PrintChanges(changes);
    const std::size_t before = port.control->writes.size();
    Write(channel, sets, changes, settings.port);
    if (settings.dry_run) {
        // The driver of this run took the values; the machine file keeps the old ones.
        for (std::size_t i = before; i < port.control->writes.size(); ++i) {
            std::cout << "Request to the driver, " << port.control->writes[i].size() << " bytes:\n";
            std::cout.flush();
            PrintBytes(port.control->writes[i]);
        }
        std::cout << "Nothing was stored.\n";
        return kDone;
    }
    PortSets stored;
    Read(channel, stored, false, settings.port);
    for (const Change& change : changes)
        for (const Element* const element : ElementsOf(stored.Of(change.bus)))
            if (element->Name() == change.element->Name() && TextOf(*element) != TextOf(*change.element))
                throw Failure(kNoAnswer, "the driver of " + settings.port + " kept " + NameOf(*element) +
                                             " at " + TextOf(*element));
    session.Store();
    std::cout << "Stored in " << session.File().string() << ".\n";
    return kDone;
}

void PrintJson(PortSets& sets, const SettingsOptions& settings) {
    nlohmann::ordered_json json;
    json["port"] = settings.port;
    json["values"] = settings.defaults ? "defaults" : "current";
    json["portSettings"] = nlohmann::ordered_json::array();
    json["busSettings"] = nlohmann::ordered_json::array();
    ForEachElement(sets, [&](const Element& element, bool bus) {
        nlohmann::ordered_json entry;
        entry["name"] = NameOf(element);
        if (element.Number() != nullptr)
            entry["value"] = *element.Number();
        else
            entry["value"] = ToUtf8(element.String()->text.view());
        if (const std::string meaning = MeaningOfElement(element, bus); !meaning.empty())
            entry["meaning"] = meaning;
        json[bus ? "busSettings" : "portSettings"].push_back(std::move(entry));
    });
    std::cout << json.dump(2) << '\n';
}

void PrintTables(PortSets& sets, const SettingsOptions& settings, const std::string& title) {
    std::map<bool, std::vector<TableRow>> tables;
    ForEachElement(sets, [&](const Element& element, bool bus) {
        std::vector<TableRow>& rows = tables[bus];
        if (rows.empty())
            rows.push_back({bus ? "Bus setting" : "Port setting", "Value", "Meaning"});
        std::string value = TextOf(element);
        if (element.Number() != nullptr && NameOf(element).starts_with("Supported")) {
            char hexadecimal[16];
            std::snprintf(hexadecimal, sizeof(hexadecimal), "0x%X", static_cast<unsigned>(*element.Number()));
            value = hexadecimal;
        }
        rows.push_back({NameOf(element), value, MeaningOfElement(element, bus)});
    });
    std::cout << title << (settings.defaults ? ": the driver's defaults" : ": current settings") << "\n\n";
    PrintTable(std::cout, tables[false]);
    std::cout << '\n';
    PrintTable(std::cout, tables[true]);
}

}  // namespace

int ShowOrChangeSettings(const MachineOptions& options, const SettingsOptions& settings) {
    Session session(options.machine);
    qxsim::Device& port = session.Port(settings.port);
    if (options.trace)
        session.TraceCalls();
    const HandedDevice handed = session.Hand(port);
    qx::CQxUserModeConfig channel(handed.set, handed.element);
    if (!channel.FindInterface())
        throw Failure(
            kNoAnswer,
            settings.port + " has no control device: its driver does not run, or is another maker's");
    PortSets sets;
    Read(channel, sets, settings.defaults, settings.port);
    if (!settings.set.empty())
        return ChangeSettings(session, port, channel, sets, settings);
    if (settings.json)
        PrintJson(sets, settings);
    else
        PrintTables(sets, settings, settings.port + ", " + ShownName(session.Machine(), port));
    return kDone;
}

}  // namespace qxhost
