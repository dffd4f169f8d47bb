// SPDX-License-Identifier: MIT
// The command line.
#include "host/commands.h"
#include "host/desk.h"
#include "host/failure.h"

#include "admin/run.h"
#include "platform/machine/did_you_mean.h"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <cstdio>
#include <iostream>
#include <memory>

namespace {

using namespace qxhost;

constexpr const char* kDescription =
    "Plays the device installer and Device Manager for the QxUUI10 library on a simulated computer, which "
    "is\n"
    "kept in a file. \"new\" makes such a file; examples/ has some.";

constexpr const char* kFooter =
    "qxhost MACHINE COMMAND --help says how a command is used. Every command takes --trace; every command "
    "that\n"
    "changes the computer takes --dry-run and -o FILE, and every report --json.\n\n"
    "Exit codes:\n"
    "  0   done, and all is as it should be\n"
    "  1   names disagree, a script saw something else, an installation failed or was refused, a change has "
    "to\n"
    "      wait, or the output cannot be written\n"
    "  2   the command line or a value in it makes no sense\n"
    "  3   the machine file is missing, broken or cannot be written\n"
    "  4   there is no such port or device, or several\n"
    "  5   the port's driver is not there, does not answer or refuses\n"
    "  6   refused: it would take something from somebody, or the answer to a question was no\n"
    "  7-9 a port is being installed; a right is missing; the system failed a call\n"
    "  10  something unexpected, such as a library that is not there\n"
    "A machine file is replaced as a whole or not at all, and only when the computer has changed.\n\n"
    "Examples:\n"
    "  qxhost my.json new\n"
    "  qxhost my.json add 'USB\\VID_0F7A&PID_1104' --ports 4\n"
    "  qxhost my.json devices --tree\n"
    "  qxhost my.json unplug PID_1104\n"
    "  qxhost my.json reinstall PID_1104\n"
    "  qxhost my.json settings COM5 --set Baudrate=115200 --set Parity=even\n"
    "  qxhost my.json properties COM5 --do 'press \"Advanced...\"; select \"COM Port Number\" COM20;\n"
    "                                       press OK; press OK'";

constexpr const char* kDevice = "instance id, COM name or friendly name, or a part that only it has";

// Commands follow the machine file; show that in their usage lines, too.
class Formatter : public CLI::Formatter {
  public:
    std::string make_usage(const CLI::App* app, std::string name) const override {
        if (app->get_parent() != nullptr)
            name.insert(name.find(' '), " MACHINE");
        return CLI::Formatter::make_usage(app, std::move(name));
    }
};

class CommandLine {
  public:
    CommandLine() {
        app_.footer(kFooter);
        app_.formatter(std::make_shared<Formatter>());
        app_.require_subcommand(0, 1);
        app_.set_version_flag("--version", "qxhost " QX_VERSION);
        app_.add_option("MACHINE", options_.machine, "the machine file");
        Add("new", "make the file: a computer without devices", [this] { return MakeMachine(options_); });
        Json(Add("check", "say whether the file is right", [this] { return CheckMachine(options_); }));
        CLI::App& devices =
            Add("devices", "list the devices", [this] { return ListDevices(options_, as_tree_); });
        devices.add_flag("--tree", as_tree_, "each below the one that it hangs on");
        Json(devices);
        AddDeviceCommands();
        AddInstallations();
        AddProperties();
        for (const auto& [name, what] : qxports::Commands())
            if (std::string_view(name) != "show")  // "properties" does it with a user
                AddAdministrators(name, what);
    }

    int Run(const std::vector<std::string>& words) {
        try {
            CheckOrder(words);
            app_.parse(std::vector(words.rbegin(), words.rend()));
            if (!command_ || options_.machine.empty())
                throw Failure(kBadUse, "name a machine file and a command; qxhost --help lists them");
            return command_();
        } catch (const CLI::ParseError& error) {
            if (error.get_exit_code() != 0)
                std::cerr << "qxhost: ";
            return app_.exit(error) == 0 ? kDone : kBadUse;
        } catch (const Failure& failure) {
            std::cout.flush();
            std::cerr << "qxhost: " << failure.what() << '\n';
            return failure.Code();
        }
    }

  private:
    CLI::App& Add(const std::string& name, const std::string& what, std::function<int()> run) {
        CLI::App& command = *app_.add_subcommand(name, what);
        command.add_flag("--trace", options_.trace, "print the library's platform calls to standard error");
        command.callback([this, run = std::move(run)] { command_ = run; });
        names_.push_back(name);
        return command;
    }
    void Json(CLI::App& command) { command.add_flag("--json", options_.json, "print JSON"); }
    void Output(CLI::App& command) {
        command.add_option("-o,--output", options_.output, "store the computer in this file instead");
    }
    void Changes(CLI::App& command) {
        Output(command);
        command.add_flag("--dry-run", options_.dry_run, "store nothing");
    }

    // It reads its own arguments, and tells how it is used.
    void AddAdministrators(const char* name, const char* what) {
        CLI::App& command = Add(name, what, [this] { return RunAdminCommand(options_, administrators_); });
        Output(command);
        command.allow_extras();
        command.set_help_flag();
        command.parse_complete_callback([this, &command] {
            administrators_ = command.remaining();
            administrators_.insert(administrators_.begin(), command.get_name());
        });
    }

    void AddDeviceCommands() {
        const auto add = [this](const char* name, const char* what, DeviceChange change) {
            CLI::App& command =
                Add(name, what, [this, change] { return ChangeDevice(options_, change, install_.device); });
            command.add_option("DEVICE", install_.device, kDevice)->required();
            Json(command);
            Changes(command);
        };
        add("plug", "plug a device in, with all that hangs on it", DeviceChange::kPlug);
        add("unplug", "pull a device", DeviceChange::kUnplug);
        add("enable", "enable a device", DeviceChange::kEnable);
        add("disable", "disable a device", DeviceChange::kDisable);
        add("restart", "stop a device and start it again", DeviceChange::kRestart);
    }

    void AddInstallations() {
        const auto add = [this](const char* name, const char* what, Installation kind) {
            CLI::App& command =
                Add(name, what, [this, kind] { return RunInstallation(options_, kind, install_); });
            if (kind == Installation::kAdd)
                command.add_option("PRODUCT", install_.device, "hardware id, such as USB\\VID_0F7A&PID_1104")
                    ->required();
            else
                command.add_option("DEVICE", install_.device, kDevice)->required();
            command.add_option("--os", options_.os,
                               "system version that the machine pretends to run, such as 6.0");
            command
                .add_option("--answer", options_.answer, "answer to every message box; else you are asked")
                ->check(CLI::IsMember({"yes", "no"}));
            if (kind == Installation::kInstall || kind == Installation::kAdd)
                command.add_option("--ports", install_.ports, "ports that a first installation brings up")
                    ->check(CLI::Range(1, 64));
            if (kind != Installation::kRemove)
                command.add_option("--result", install_.result,
                                   "error code with which the platform's own work is to end");
            Json(command);
            Changes(command);
        };
        add("add", "plug in a new adapter and install its driver", Installation::kAdd);
        add("install", "install an adapter's or port's driver", Installation::kInstall);
        add("reinstall", "install an adapter's driver again, with new port devices",
            Installation::kReinstall);
        add("update", "update a device's driver, as its own update request does", Installation::kUpdate);
        add("remove", "uninstall a device", Installation::kRemove);
    }

    void AddProperties() {
        CLI::App& sheet = Add("properties", "open a port's properties and show the pages",
                              [this] { return ShowProperties(options_, properties_); });
        sheet.add_option("PORT", properties_.port, "COM name or device instance id")->required();
        CLI::Option* const doing =
            sheet.add_option("--do", properties_.script, "what a user does there, statement by statement");
        sheet.add_option("--script", properties_.script_file, "the same from a file")->excludes(doing);
        sheet.add_option("--picture", properties_.picture,
                         "draw the page as it stands last into this PNG file (Windows)");
        sheet.add_flag("--wait", properties_.wait,
                       "leave the sheet to the person in front of the screen (Windows)");
        sheet.add_flag("--quiet", properties_.quiet, "do not print the pages");
        sheet.add_option("--os", options_.os, "system version that the machine pretends to run");
        sheet.footer(
            "A statement is what a user does, such as press \"Advanced...\", select \"Baud Rate\" 115200,\n"
            "check \"Override\", tab \"USB Settings\" or answer Yes, or what must be seen, such as\n"
            "expect text \"Baud Rate\" 115200. docs/user-scripts.md has them all; ; parts them.");
        Changes(sheet);
    }

    // Says what was meant when the words come in another order or are misspelt.
    void CheckOrder(const std::vector<std::string>& words) const {
        const auto is_command = [&](const std::string& word) {
            return std::ranges::find(names_, word) != names_.end();
        };
        if (words.empty() || words[0].starts_with('-'))
            return;
        if (is_command(words[0]) && !std::filesystem::exists(words[0]))
            throw Failure(kBadUse, "the machine file comes first: qxhost MACHINE " + words[0]);
        if (words.size() > 1 && !words[1].starts_with('-') && !is_command(words[1]))
            throw Failure(kBadUse,
                          "there is no command \"" + words[1] + "\"" + qxsim::DidYouMean(words[1], names_));
    }

    CLI::App app_{kDescription, "qxhost"};
    MachineOptions options_;
    InstallOptions install_;
    PropertiesOptions properties_;
    bool as_tree_ = false;
    std::vector<std::string> administrators_;
    std::vector<std::string> names_;
    std::function<int()> command_;
};

}  // namespace

int main(int argc, char** argv) {
    try {
        PrepareHost();
        const int code = CommandLine().Run({argv + 1, argv + argc});
        std::cout.flush();
        if (std::cout && std::ferror(stdout) == 0)
            return code;
        std::cerr << "qxhost: the output cannot be written\n";
        return code == kDone ? kNotAsItShould : code;
    } catch (const std::exception& error) {
        std::cerr << "qxhost: " << error.what() << '\n';
        return kUnexpected;
    }
}
