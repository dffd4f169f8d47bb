// SPDX-License-Identifier: MIT
// What the host program can do, one function per command. Each prints its result to standard output, returns
// the exit code, and throws Failure when it cannot do what it was asked.
#pragma once

#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

namespace qxhost {

struct MachineOptions {
    std::filesystem::path machine;
    std::filesystem::path output = {};  // where a changed machine goes; empty for its own file
    std::string os = {};                // system version to pretend; empty for the machine's own
    std::string answer = {};            // "yes", "no": to every message box; empty to ask
    bool trace = false;
    bool json = false;
    bool dry_run = false;  // nothing is stored
};

// A command of the administrators' program (admin/run.h) on the machine: its name, then its arguments.
[[nodiscard]] int RunAdminCommand(const MachineOptions& options, const std::vector<std::string>& arguments);

// A new file with a computer that has no devices.
[[nodiscard]] int MakeMachine(const MachineOptions& options);
[[nodiscard]] int CheckMachine(const MachineOptions& options);
// Every device of the computer; as a tree, below the one it hangs on.
[[nodiscard]] int ListDevices(const MachineOptions& options, bool as_tree);

enum class DeviceChange { kPlug, kUnplug, kEnable, kDisable, kRestart };
[[nodiscard]] int ChangeDevice(const MachineOptions& options, DeviceChange change, const std::string& name);

enum class Installation { kAdd, kInstall, kReinstall, kUpdate, kRemove };
struct InstallOptions {
    std::string device;        // for kAdd the hardware id of the product
    unsigned ports = 0;        // that a first installation brings up
    std::uint32_t result = 0;  // error code of the platform's own work
};
[[nodiscard]] int RunInstallation(const MachineOptions& options, Installation what,
                                  const InstallOptions& install);

struct PropertiesOptions {
    std::string port;
    std::string script;                 // statements
    std::filesystem::path script_file;  // or a file with them
    std::filesystem::path picture;
    bool wait = false;   // for whoever sits in front of the screen
    bool quiet = false;  // print no pages
};
[[nodiscard]] int ShowProperties(const MachineOptions& options, const PropertiesOptions& properties);

}  // namespace qxhost
