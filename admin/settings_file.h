// SPDX-License-Identifier: MIT
// The settings of ports as a file: JSON that one station writes and another takes.
#pragma once

#include "admin/port_settings.h"

#include <string>
#include <string_view>
#include <vector>

namespace qxports {

// A port as a file names it: by its COM name, and by its place at its adapter.
struct PortKey {
    std::string name;
    std::string adapter;       // hardware id, the same for every adapter of one kind
    std::size_t position = 0;  // among the adapter's ports, from 1; 0 when it is not known
};
[[nodiscard]] PortKey KeyOf(const Computer& computer, const Port& port);

// One value in a file.
struct FileSetting {
    std::string name;
    bool bus = false;
    DWORD value = 0;
    std::size_t line = 0;
};
struct FilePort {
    PortKey key;
    std::size_t line = 0;
    std::vector<FileSetting> settings;
};

// What a user decides of the ports' settings, not what the ports can do.
[[nodiscard]] std::string WriteSettingsFile(const Computer& computer, const std::vector<const Port*>& ports);
// Throws Failure, with the line, for a text that is no such file.
[[nodiscard]] std::vector<FilePort> ReadSettingsFile(std::string_view text);

}  // namespace qxports
