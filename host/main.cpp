// The command line.
#include "host/commands.h"
#include "host/desk.h"
#include "host/failure.h"

#include "admin/run.h"

#include <CLI/CLI.hpp>

#include <cstdio>
#include <iostream>
#include <memory>

namespace {

using namespace qxhost;

constexpr const char* kDescription =
    "Stands where the device installer and the device manager stand: works with the QxUUI10 library on a "
    "simulated\n"
    "machine, which is kept in a file (see examples/).";

constexpr const char* kFooter =
    "Exit codes:\n"
    "  0  done, and all is as it should be\n"
    "  1  names disagree, a script saw something else, an installation failed or was refused, or the output\n"
    "     cannot be written\n"
    "  2  the command line or a value in it makes no sense\n"
    "  3  the machine file is missing, broken or cannot be written\n"
    "  4  there is no such port or device, or several\n"
    "  5  the port's driver is not there, does not answer or refuses\n"
    "A machine file is replaced as a whole or not at all.\n\n"
    "Examples:\n"
    "  qxhost machine.json list\n"
    "  qxhost machine.json settings COM5 --set Baudrate=115200 --set Parity=even\n"
    "  qxhost machine.json reinstall PID_1104 --answer yes\n"
    "  qxhost machine.json properties COM5 --do 'check \"Override\" 1; press OK'";

// A command stands behind the machine that it works on, also in the line that says how it is used.
class Formatter : public CLI::Formatter {
  public:
    std::string make_usage(const CLI::App* app, std::string name) const override {
        if (app->get_parent() != nullptr)
            name.insert(name.find(' '), " MACHINE");
        return CLI::Formatter::make_usage(app, std::move(name));
    }
};

void AddMachineOptions(CLI::App& command, MachineOptions& options) {
    command.add_flag("--trace", options.trace, "print the library's platform calls to standard error");
}

void AddInstallation(CLI::App& app, const char* name, const char* what, Installation kind,
                     MachineOptions& options, InstallOptions& install, std::function<int()>& command) {
    CLI::App* const sub = app.add_subcommand(name, what);
    sub->add_option(
           "DEVICE", install.device,
           "instance id or friendly name of the adapter, port or GPIO function, or a part that only it has")
        ->required();
    sub->add_option("--os", options.os, "system version that the machine pretends to run, such as 6.0");
    sub->add_option("--answer", options.answer, "answer to every message box; else you are asked")
        ->check(CLI::IsMember({"yes", "no"}));
    if (kind == Installation::kInstall)
        sub->add_option("--ports", install.ports, "ports that a first installation brings up")
            ->check(CLI::Range(1, 64));
    if (kind != Installation::kRemove)
        sub->add_option("--result", install.result,
                        "error code with which the platform's own work is to end");
    AddMachineOptions(*sub, options);
    sub->callback([&command, &options, &install, kind] {
        command = [&options, &install, kind] { return RunInstallation(options, kind, install); };
    });
}

int Run(int argc, char** argv) {
    CLI::App app{kDescription, "qxhost"};
    app.footer(kFooter);
    app.formatter(std::make_shared<Formatter>());
    app.require_subcommand(0, 1);
    MachineOptions options;
    InstallOptions install;
    PropertiesOptions properties;
    SuiteOptions suite;
    std::function<int()> command;

    app.add_option("MACHINE", options.machine, "the machine file");
    app.add_option("--script-suite", suite.scripts,
                   "instead of MACHINE: run the user scripts in these files and folders");
    app.add_option("--machines", suite.machines, "where the machine files of those scripts are")
        ->capture_default_str();
    app.add_option("--pictures", suite.pictures, "where the pictures of those scripts go")
        ->capture_default_str();

    std::vector<std::string> admin;
    for (const auto& [name, what] : qxports::Commands()) {
        CLI::App* const sub = app.add_subcommand(name, what);
        AddMachineOptions(*sub, options);
        // It reads its own arguments, and tells how it is used.
        sub->prefix_command();
        sub->set_help_flag();
        sub->callback([&, sub] {
            admin = sub->remaining();
            admin.insert(admin.begin(), sub->get_name());
            command = [&] { return RunAdminCommand(options, admin); };
        });
    }

    AddInstallation(app, "install", "install an adapter's or port's driver", Installation::kInstall, options,
                    install, command);
    AddInstallation(app, "reinstall", "install an adapter's driver again, with new port devices",
                    Installation::kReinstall, options, install, command);
    AddInstallation(app, "update", "update a device's driver, as its own update request does",
                    Installation::kUpdate, options, install, command);
    AddInstallation(app, "remove", "uninstall a device", Installation::kRemove, options, install, command);

    CLI::App* const sheet = app.add_subcommand("properties", "open a port's properties and show the pages");
    sheet->add_option("PORT", properties.port, "COM name")->required();
    CLI::Option* const doing =
        sheet->add_option("--do", properties.script, "what a user does there, statement by statement");
    sheet->add_option("--script", properties.script_file, "the same from a file")->excludes(doing);
    sheet->add_option("--picture", properties.picture,
                      "draw the page as it stands last into this .svg file (on Windows: .png)");
    sheet->add_flag("--wait", properties.wait,
                    "leave the sheet to the person in front of the screen (Windows)");
    sheet->add_flag("--quiet", properties.quiet, "do not print the pages");
    sheet->add_option("--os", options.os, "system version that the machine pretends to run");
    AddMachineOptions(*sheet, options);
    sheet->callback([&] { command = [&] { return ShowProperties(options, properties); }; });

    try {
        app.parse(argc, argv);
        if (!suite.scripts.empty()) {
            if (command || !options.machine.empty())
                throw Failure(
                    kBadUse,
                    "--script-suite takes its machines from the scripts; leave MACHINE and the command out");
            return RunScripts(suite);
        }
        if (!command || options.machine.empty())
            throw Failure(kBadUse, "name a machine file and a command; qxhost --help lists them");
        return command();
    } catch (const CLI::ParseError& error) {
        if (error.get_exit_code() != 0)
            std::cerr << "qxhost: ";
        return app.exit(error) == 0 ? kDone : kBadUse;
    } catch (const Failure& failure) {
        std::cout.flush();
        std::cerr << "qxhost: " << failure.what() << '\n';
        return failure.Code();
    }
}

}  // namespace

int main(int argc, char** argv) {
    try {
        PrepareHost();
        const int code = Run(argc, argv);
        std::cout.flush();
        if (std::cout && std::ferror(stdout) == 0)
            return code;
        std::cerr << "qxhost: the output cannot be written\n";
        return code == kDone ? kNotAsItShould : code;
    } catch (const std::exception& error) {
        std::cerr << "qxhost: " << error.what() << '\n';
        return kNotAsItShould;
    }
}
