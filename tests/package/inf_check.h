// SPDX-License-Identifier: MIT
// Checks the INFs of a driver package by the rules that an installer holds them to, and by this library's
// own.
#pragma once

#include <map>
#include <set>
#include <string>
#include <vector>

namespace infcheck {

struct Package {
    std::map<std::string, std::string> infs;   // contents by file name
    std::set<std::string> entries;             // what the library exports
    std::vector<std::string> known_instances;  // instance ids of devices that the package may be for
    std::string version;                       // "1.0.0", what DriverVer has to say
};

// One line for each mistake; none for INFs that belong together and can be installed as they are.
std::vector<std::string> Complaints(const Package& package);

}  // namespace infcheck
