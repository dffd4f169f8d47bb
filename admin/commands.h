// SPDX-License-Identifier: MIT
// What the program can do, one function a command. Each says its result, answers the exit code, and throws
// Failure when it cannot do what it was asked.
#pragma once

#include "admin/failure.h"
#include "admin/surroundings.h"

#include <optional>
#include <string>
#include <vector>

namespace qxports {

// What all commands are told alike.
struct Manner {
    bool json = false;
    bool dry_run = false;
    bool quiet = false;          // no word of what was done
    bool wait = false;           // for an installation that is under way
    std::optional<bool> answer;  // to every question; none: the person at the terminal is asked
};

// What a command works with.
struct Context {
    Surroundings& around;
    Manner manner;

    void Out(std::string_view text) const { around.Out(text); }
    // What was done; the result of a command that shows something goes to Out.
    void Say(const std::string& text) const;
    std::vector<std::string>* said;  // kept for --json
    // Whether to go on. Throws Failure when nobody can be asked.
    [[nodiscard]] bool Asked(const std::string& question) const;
};

[[nodiscard]] int List(const Context& context, bool all);
[[nodiscard]] int Names(const Context& context);
[[nodiscard]] int Who(const Context& context, const std::string& name);
// Shows the settings, or gives them the values of `assignments` ("Parity=even").
[[nodiscard]] int Settings(const Context& context, const std::string& port,
                           const std::vector<std::string>& assignments, bool defaults);
[[nodiscard]] int Rename(const Context& context, const std::string& from, const std::string& to);
[[nodiscard]] int Order(const Context& context, const std::string& adapter);
[[nodiscard]] int Release(const Context& context, const std::string& name);
[[nodiscard]] int Forget(const Context& context, const std::string& name, bool all_absent, bool foreign);
[[nodiscard]] int RepairNames(const Context& context);
[[nodiscard]] int Export(const Context& context, const std::vector<std::string>& ports);
[[nodiscard]] int ImportFile(const Context& context, const std::string& file, bool by_position);
[[nodiscard]] int ShowSheet(const Context& context, const std::string& port);

}  // namespace qxports
