// SPDX-License-Identifier: MIT
// Settings from one station to others: export and import.
#include "admin/commands.h"
#include "admin/installation_lock.h"
#include "admin/outcome.h"
#include "admin/settings_file.h"
#include "admin/text.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <memory>
#include <sstream>

namespace qxports {

namespace {

std::string ReadFile(const std::string& name) {
    const std::filesystem::path path(std::u8string(name.begin(), name.end()));
    std::ifstream file(path, std::ios::binary);
    if (!file)
        throw Failure(kBadUse, name + " cannot be read");
    // A folder opens on some systems, and has no text.
    std::ostringstream text;
    text << file.rdbuf();
    return text.str();
}

const Port& Match(const Computer& computer, const FilePort& wanted, bool by_position) {
    if (!by_position)
        return computer.Find(wanted.key.name);
    std::vector<const Port*> found;
    std::vector<std::string> ids;
    for (const Port& port : computer.Ports()) {
        if (!port.ours || !port.present)
            continue;
        const PortKey key = KeyOf(computer, port);
        if (IsSameName(key.adapter, wanted.key.adapter) && key.position == wanted.key.position) {
            found.push_back(&port);
            ids.push_back(port.id);
        }
    }
    if (found.size() == 1)
        return *found.front();
    const std::string place =
        "port " + std::to_string(wanted.key.position) + " of an adapter " + wanted.key.adapter;
    throw Failure(kUnknownPort,
                  found.empty() ? "there is no " + place : "several are " + place + ": " + Listed(ids));
}

// A port of the file with the settings that it is to get.
struct Import {
    const Port* port;
    std::unique_ptr<PortSettings> settings;
};

// Checks the whole file against the computer before anything is changed.
std::vector<Import> Prepare(const Computer& computer, const std::vector<FilePort>& file, bool by_position) {
    std::vector<Import> imports;
    std::size_t line = 0;
    try {
        for (const FilePort& wanted : file) {
            line = wanted.line;
            const Port& port = Match(computer, wanted, by_position);
            if (std::ranges::find(imports, &port, &Import::port) != imports.end())
                throw Failure(kBadUse, port.Name() + " is meant twice");
            imports.push_back({&port, std::make_unique<PortSettings>(computer, port)});
            for (const FileSetting& each : wanted.settings) {
                line = each.line;
                imports.back().settings->SetNumber(each.name, each.bus, each.value);
            }
        }
    } catch (const Failure& failure) {
        throw Failure(failure.Code(),
                      "line " + std::to_string(line) + ": " + failure.what() + "; nothing is changed");
    }
    return imports;
}

}  // namespace

int Export(const Context& context, const std::vector<std::string>& names) {
    const Computer computer = Computer::OfPorts();
    std::vector<const Port*> ports;
    for (const std::string& name : names)
        ports.push_back(&computer.Find(name));
    if (names.empty())
        for (const Port& port : computer.Ports())
            if (port.ours && port.started)
                ports.push_back(&port);
    context.Out(WriteSettingsFile(computer, ports));
    return kDone;
}

int ImportFile(const Context& context, const std::string& file, bool by_position) {
    const InstallationLock lock(context);
    const std::vector<FilePort> wanted = ReadSettingsFile(ReadFile(file));
    const Computer computer = Computer::OfPorts();
    const std::vector<Import> imports = Prepare(computer, wanted, by_position);
    std::string done;
    for (const Import& import : imports) {
        if (import.settings->Changed() && !context.manner.dry_run) {
            try {
                import.settings->Write();
            } catch (const Failure& failure) {
                throw Failure(
                    done.empty() ? failure.Code() : kNotAsItShould,
                    std::string(failure.what()) + (done.empty() ? "; no port before it was changed"
                                                                : "; these were changed before it:" + done));
            }
            done += " " + import.port->Name();
        }
        context.Say(import.port->Name() + (!import.settings->Changed() ? ": nothing to change"
                                           : context.manner.dry_run    ? " would change:"
                                                                       : " is changed:"));
        for (const Change& change : import.settings->Changes())
            if (change.IsOne())
                context.Say("  " + change.Text());
    }
    return kDone;
}

}  // namespace qxports
