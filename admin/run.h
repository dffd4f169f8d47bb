// SPDX-License-Identifier: MIT
// The command line of the program.
#pragma once

#include "admin/surroundings.h"

#include <span>
#include <string>
#include <vector>

namespace qxports {

struct CommandName {
    const char* name;
    const char* what;
};
// Every command, for a program that takes them over.
[[nodiscard]] std::span<const CommandName> Commands();

// Does what the arguments say (the command first, in UTF-8) and answers the exit code. `program` is how its
// user calls it.
[[nodiscard]] int Run(const std::string& program, std::vector<std::string> arguments, Surroundings& around);

}  // namespace qxports
