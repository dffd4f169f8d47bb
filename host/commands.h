// What the host program can do, one function a command. Each prints its result to standard output, returns
// the exit code, and throws Failure when it cannot do what it was asked.
#pragma once

#include <filesystem>
#include <string>
#include <vector>

namespace qxhost {

struct MachineOptions {
    std::filesystem::path machine;
    std::string os;      // system version to pretend; empty for the machine's own
    std::string answer;  // "yes", "no": to every message box; empty to ask
    bool trace = false;
};

// A command of the administrators' program (admin/run.h) on the machine: its name, then its arguments.
[[nodiscard]] int RunAdminCommand(const MachineOptions& options, const std::vector<std::string>& arguments);

enum class Installation { kInstall, kReinstall, kUpdate, kRemove };
struct InstallOptions {
    std::string device;
    unsigned ports = 0;  // that a first installation brings up
    std::string result;  // error code of the platform's own work; empty for success
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

struct SuiteOptions {
    std::vector<std::filesystem::path> scripts;  // files and folders
    std::filesystem::path machines = "examples";
    std::filesystem::path pictures = "build/pictures";
};
[[nodiscard]] int RunScripts(const SuiteOptions& suite);

}  // namespace qxhost
