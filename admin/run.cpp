// SPDX-License-Identifier: MIT
#include "admin/run.h"

#include "admin/commands.h"
#include "admin/json.h"
#include "admin/text.h"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <array>
#include <functional>

namespace qxports {

namespace {

constexpr const char* kFooter =
    "Exit codes (all but 0 and 1 mean that nothing was changed):\n"
    "  0  done, and all is as it should be\n"
    "  1  names disagree, or only a part was done; the message says which\n"
    "  2  the command line, a value or a file makes no sense\n"
    "  4  there is no such port or adapter, or several\n"
    "  5  the port's driver is not there, does not answer or refuses\n"
    "  6  refused: it would take something from somebody, or the answer to a question was no\n"
    "  7  a port is being installed right now; --wait waits for it\n"
    "  8  a right is missing, as a rule an administrator's\n"
    "  9  the system failed a call\n";

constexpr std::array kCommands{
    CommandName{"list", "list the ports"},
    CommandName{"names", "show who holds each COM number in each of the five places, and whether they agree"},
    CommandName{"who", "tell who has a COM number"},
    CommandName{"settings", "show or change the settings that a port's driver keeps"},
    CommandName{"rename", "give a port another COM name"},
    CommandName{"order", "hand the COM numbers of an adapter out again, in the order of its sockets"},
    CommandName{"release", "give back a COM number that is claimed and that no device has"},
    CommandName{"forget", "uninstall absent ports, and give their numbers back"},
    CommandName{"repair", "make the five places of every port say what its \"PortName\" says"},
    CommandName{"export", "write the settings of ports as JSON"},
    CommandName{"import", "give ports the settings of such a file"},
    CommandName{"show", "open a port's property sheet"},
};

constexpr const char* kPort = "COM name or device instance id";

const char* WhatIs(std::string_view name) {
    return std::ranges::find(kCommands, name, &CommandName::name)->what;
}

// The command line as it is built and read: each command leaves what is to be done in `chosen`.
class CommandLine {
  public:
    CommandLine(const std::string& program, Context& context)
        : app_("Looks after the COM ports of this computer: their names, numbers and settings.", program),
          context_(context) {
        app_.footer(kFooter);
        app_.require_subcommand(1);
        app_.set_version_flag("--version", "qxports " QX_VERSION);
        app_.fallthrough();
        app_.add_flag("--quiet", context.manner.quiet, "no word of what was done");
        Add("list", [this](CLI::App& command) {
            Json(command);
            command.add_flag("--all", all_, "absent ports too, and those of other makers");
            return Reading([this] { return List(context_, all_); });
        });
        Add("names", [this](CLI::App& command) {
            Json(command);
            return Reading([this] { return Names(context_); });
        });
        Add("who", [this](CLI::App& command) {
            Json(command);
            command.add_option("PORT", port_, "COM name or number")->required();
            return Reading([this] { return Who(context_, port_); });
        });
        Add("settings", [this](CLI::App& command) {
            command.add_option("PORT", port_, kPort)->required();
            CLI::Option* const set =
                command
                    .add_option(
                        "--set", assignments_,
                        "NAME=VALUE, several times; VALUE in words (even, 8, xonxoff, on) or as raw:N; "
                        "Bus.NAME where both sets have one")
                    ->type_name("NAME=VALUE")
                    ->expected(1)
                    ->take_all();
            command.add_flag("--defaults", defaults_, "the driver's defaults instead")->excludes(set);
            Changes(command);
            return [this] {
                changing_ = !assignments_.empty();
                return Settings(context_, port_, assignments_, defaults_);
            };
        });
        Add("rename", [this](CLI::App& command) {
            command.add_option("PORT", port_, kPort)->required();
            command.add_option("NAME", name_, "the new COM name or number")->required();
            Changes(command);
            Answers(command);
            return [this] { return Rename(context_, port_, name_); };
        });
        Add("order", [this](CLI::App& command) {
            command
                .add_option(
                    "ADAPTER", name_,
                    "instance id or name of the adapter, a part that only it has, or one of its ports")
                ->required();
            Changes(command);
            Answers(command);
            return [this] { return Order(context_, name_); };
        });
        Add("release", [this](CLI::App& command) {
            command.add_option("NAME", name_, "COM name or number")->required();
            Changes(command);
            return [this] { return Release(context_, name_); };
        });
        Add("forget", [this](CLI::App& command) {
            CLI::Option* const port = command.add_option("PORT", port_, kPort);
            command.add_flag("--absent", all_, "all absent ports")->excludes(port);
            command.add_flag("--foreign", foreign_, "also those of other makers");
            Changes(command);
            return [this] {
                if (!all_ && port_.empty())
                    throw Failure(kBadUse, "name a port, or say --absent");
                return Forget(context_, port_, all_, foreign_);
            };
        });
        Add("repair", [this](CLI::App& command) {
            Changes(command);
            Answers(command);
            return [this] { return RepairNames(context_); };
        });
        Add("export", [this](CLI::App& command) {
            command.add_option("PORT", ports_,
                               "COM names or device instance ids; all running ports without any");
            return Reading([this] { return Export(context_, ports_); });
        });
        Add("import", [this](CLI::App& command) {
            command.add_option("FILE", name_, "what export wrote")->required();
            command.add_flag("--by-position", by_position_,
                             "match ports by their place at the adapter, not by COM name");
            Changes(command);
            return [this] { return ImportFile(context_, name_, by_position_); };
        });
        Add("show", [this](CLI::App& command) {
            command.add_option("PORT", port_, kPort)->required();
            return Reading([this] { return ShowSheet(context_, port_); });
        });
    }

    CLI::App& App() { return app_; }
    [[nodiscard]] bool Changing() const { return changing_; }
    std::function<int()> chosen;

  private:
    template <typename Build>
    void Add(const char* name, Build build) {
        CLI::App* const command = app_.add_subcommand(name, WhatIs(name));
        command->fallthrough();
        const std::function<int()> action = build(*command);
        command->callback([this, action] { chosen = action; });
    }
    // Its result is what it prints.
    std::function<int()> Reading(std::function<int()> command) {
        return [this, command = std::move(command)] {
            changing_ = false;
            return command();
        };
    }
    void Json(CLI::App& command) { command.add_flag("--json", context_.manner.json, "as JSON"); }
    void Changes(CLI::App& command) {
        Json(command);
        command.add_flag("--dry-run", context_.manner.dry_run, "only show what would be done");
        command.add_flag("--wait", context_.manner.wait, "wait for an installation that is under way");
    }

    void Answers(CLI::App& command) {
        CLI::Option* const yes = command.add_flag_callback(
            "--yes", [this] { context_.manner.answer = true; }, "yes to every question");
        command
            .add_flag_callback(
                "--no", [this] { context_.manner.answer = false; }, "no to every question")
            ->excludes(yes);
    }

    CLI::App app_;
    Context& context_;
    bool changing_ = true;
    bool all_ = false;
    bool defaults_ = false;
    bool foreign_ = false;
    bool by_position_ = false;
    std::string port_;
    std::string name_;
    std::vector<std::string> ports_;
    std::vector<std::string> assignments_;
};

}  // namespace

void Context::Say(const std::string& text) const {
    if (manner.json)
        said->push_back(text);
    else if (!manner.quiet)
        around.Out(Visible(text) + '\n');
}

bool Context::Asked(const std::string& question) const {
    if (manner.answer)
        return *manner.answer;
    if (!around.CanAsk())
        throw Failure(kRefused, "nobody can be asked here; --yes or --no answers: " + question);
    const std::string answer = around.Ask(Visible(question) + " [y/N] ");
    return !answer.empty() && (answer.front() == 'y' || answer.front() == 'Y');
}

namespace {

// `changing` tells, also when an exception leaves, whether something may be half changed.
int RunLine(const std::string& program, std::vector<std::string> arguments, Surroundings& around,
            bool& changing) {
    std::vector<std::string> said;
    Context context{around, {}, &said};
    CommandLine line(program, context);
    int code = kDone;
    std::string error;
    try {
        std::ranges::reverse(arguments);  // as the parser wants them
        line.App().parse(std::move(arguments));
        changing = line.Changing() && !context.manner.dry_run;
        code = line.chosen();
    } catch (const CLI::ParseError& problem) {
        std::ostringstream out;
        std::ostringstream err;
        const bool help = line.App().exit(problem, out, err) == 0;
        around.Out(out.str());
        if (!help)
            around.Err(program + ": " + err.str());
        return help ? kDone : kBadUse;
    } catch (const Failure& failure) {
        code = failure.Code();
        error = failure.what();
        around.Err(program + ": " + Visible(error) + '\n');
    } catch (const std::exception& problem) {
        // Out of memory, as a rule, and it may have been in the middle of a change.
        code = changing ? kNotAsItShould : kSystemFailed;
        error = problem.what();
        around.Err(program + ": " + error + '\n');
    }
    if (context.manner.json && line.Changing())
        around.Out(Dump({{"exitCode", code}, {"said", said}, {"error", error}}));
    return code;
}

}  // namespace

std::span<const CommandName> Commands() {
    return kCommands;
}

int Run(const std::string& program, std::vector<std::string> arguments, Surroundings& around) {
    bool changing = false;
    try {
        return RunLine(program, std::move(arguments), around, changing);
    } catch (const std::exception& problem) {
        // There was no memory to put the words together.
        for (const std::string_view part : {std::string_view(program), std::string_view(": "),
                                            std::string_view(problem.what()), std::string_view("\n")})
            around.Err(part);
        return changing ? kNotAsItShould : kSystemFailed;
    }
}

}  // namespace qxports
