// SPDX-License-Identifier: MIT
#include "admin/commands.h"
#include "admin/installation_lock.h"
#include "admin/json.h"
#include "admin/port_settings.h"
#include "admin/table.h"
#include "admin/text.h"

#include <array>
#include <cstdio>

namespace qxports {

namespace {

std::string Hexadecimal(DWORD number) {
    std::array<char, 16> text{};
    std::snprintf(text.data(), text.size(), "0x%X", static_cast<unsigned>(number));
    return text.data();
}

Json AsJson(const Port& port, bool defaults, const std::vector<Setting>& all) {
    Json json{{"port", port.Name()},
              {"values", defaults ? "defaults" : "current"},
              {"portSettings", Json::array()},
              {"busSettings", Json::array()}};
    for (const Setting& each : all) {
        Json entry{{"name", each.Name()}};
        if (each.IsNumber())
            entry["value"] = *each.element->Number();
        else
            entry["value"] = Utf8(each.element->String()->text);
        if (const std::string meaning = each.Meaning(); !meaning.empty())
            entry["meaning"] = meaning;
        json[each.bus ? "busSettings" : "portSettings"].push_back(std::move(entry));
    }
    return json;
}

int Show(const Context& context, const Port& port, bool defaults, PortSettings& settings) {
    if (context.manner.json) {
        context.Out(Dump(AsJson(port, defaults, settings.All())));
        return kDone;
    }
    std::vector<TableRow> port_rows{{"Port setting", "Value", "Meaning"}};
    std::vector<TableRow> bus_rows{{"Bus setting", "Value", "Meaning"}};
    for (const Setting& each : settings.All()) {
        const bool mask = each.IsNumber() && each.Name().starts_with("Supported");
        (each.bus ? bus_rows : port_rows)
            .push_back(
                {each.Name(), mask ? Hexadecimal(*each.element->Number()) : each.Value(), each.Meaning()});
    }
    context.Out(port.Name() + ", " + Visible(port.shown) + (defaults ? ", the driver's defaults" : "") +
                "\n\n" + Table(port_rows, context.around.Columns()) + "\n" +
                Table(bus_rows, context.around.Columns()));
    return kDone;
}

}  // namespace

int Settings(const Context& context, const std::string& name, const std::vector<std::string>& assignments,
             bool defaults) {
    std::optional<InstallationLock> lock;
    if (!assignments.empty() && !context.manner.dry_run)
        lock.emplace(context);
    const Computer computer = Computer::OfPorts();
    const Port& port = computer.Find(name);
    PortSettings settings(computer, port, defaults);
    if (assignments.empty())
        return Show(context, port, defaults, settings);
    for (const std::string& assignment : assignments) {
        const std::size_t sign = assignment.find('=');
        if (sign == std::string::npos || sign == 0)
            throw Failure(kBadUse, "--set " + assignment + ": write NAME=VALUE, for example Baudrate=115200");
        settings.Set(settings.Find(assignment.substr(0, sign)), assignment.substr(sign + 1));
    }
    if (settings.Changed() && !context.manner.dry_run)
        settings.Write();
    context.Say(port.Name() + (!settings.Changed()      ? ": nothing to change"
                               : context.manner.dry_run ? " would change:"
                                                        : " is changed:"));
    for (const Change& change : settings.Changes())
        context.Say("  " + change.Text());
    return kDone;
}

}  // namespace qxports
