// SPDX-License-Identifier: MIT
// Runs user scripts and says what came otherwise: run_scripts FOLDER-OF-MACHINES FOLDER-FOR-PICTURES
// SCRIPT...
//
// A SCRIPT is a file, or a folder for all the .script files in it. Besides the statements of
// docs/user-scripts.md, such a script says what it runs on and what the machine must hold after it:
//
//     machine: usb-four-port.json                  a file beside the script or in the folder of machines
//     port: COM5                                   whose properties are opened
//     held: COM5                                   another program has this port open
//     after: setting Baudrate=115200               in the port's driver; also: after: bus MaximumLatency=20
//     after: name COM7                             the port's COM name
//     after: entry COM5 115200,8,e,1               the port's line in the system's list of ports
//     after: writes 1                              requests that changed something in the driver
//     after: unchanged                             nothing at all changed on the machine
#include "admin/computer.h"
#include "admin/setting_meaning.h"
#include "host/admin_command.h"
#include "host/session.h"
#include "host/user_script.h"

#include <algorithm>
#include <iostream>
#include <span>

namespace {

using namespace qxhost;
using qxsim::Device;
namespace fs = std::filesystem;

std::vector<fs::path> ScriptsIn(std::span<char* const> places) {
    std::vector<fs::path> files;
    for (const fs::path place : places) {
        if (!fs::is_directory(place)) {
            files.push_back(place);
            continue;
        }
        for (const auto& entry : fs::directory_iterator(place))
            if (entry.path().extension() == ".script")
                files.push_back(entry.path());
    }
    std::ranges::sort(files);
    return files;
}

struct Script {
    std::string machine;
    std::string port;
    std::vector<std::string> held;
    std::vector<Statement> steps;
    std::vector<Statement> after;
};

Script Parse(const std::string& text) {
    Script script;
    for (Statement& statement : SplitScript(text)) {
        const std::string& first = statement.words.front();
        if (!first.ends_with(':')) {
            CheckStatement(statement);
            script.steps.push_back(std::move(statement));
        } else if (statement.words.size() < 2) {
            throw ScriptError(Where(statement) + first + " what?");
        } else if (first == "machine:") {
            script.machine = statement.words[1];
        } else if (first == "port:") {
            script.port = statement.words[1];
        } else if (first == "held:") {
            script.held.push_back(statement.words[1]);
        } else if (first == "after:") {
            script.after.push_back(std::move(statement));
        } else {
            throw ScriptError(Where(statement) + "no such line: " + statement.text);
        }
    }
    return script;
}

// What a script says that the machine holds after it.
class Aftermath {
  public:
    Aftermath(qxsim::Machine& machine, const Device& port)
        : machine_(machine),
          id_(port.id),
          before_(machine.ToJson()),
          settings_(port.control->settings),
          bus_(port.control->bus),
          writes_(port.control->writes.size()) {}

    // Empty when the statement holds.
    [[nodiscard]] std::string Check(const Statement& statement) const {
        const Device& port = *machine_.Find(id_);
        const std::string& what = statement.words.at(1);
        const auto word = [&](std::size_t i) {
            return i < statement.words.size() ? statement.words[i] : std::string();
        };
        const auto compare = [](const std::string& is, const std::string& expected) {
            return is == expected ? std::string() : "it is \"" + is + '"';
        };
        if (what == "unchanged")
            return machine_.ToJson() == before_ ? "" : "something on the machine changed";
        if (what == "writes")
            return compare(std::to_string(port.control->writes.size() - writes_), word(2));
        if (what == "name")
            return compare(machine_.PortName(port), word(2));
        if (what == "entry")
            return compare(machine_.ReadText(qxsim::kPortsPath, word(2) + ":").value_or("(none)"), word(3));
        if (what == "setting" || what == "bus")
            return CheckSetting(port, what == "bus", word(2));
        return "no such check: " + what;
    }

  private:
    [[nodiscard]] std::string CheckSetting(const Device& port, bool bus, const std::string& text) const {
        const std::size_t sign = text.find('=');
        if (sign == std::string::npos)
            return "write NAME=VALUE";
        const std::string name = text.substr(0, sign);
        try {
            const auto get = [&](std::string_view wanted) {
                return bus ? port.control->bus[wanted] : port.control->settings[wanted];
            };
            const std::uint32_t is = get(name);
            if (is == qxports::ValueFor(name, text.substr(sign + 1), bus, get))
                return {};
            return "it is " + std::to_string(is);
        } catch (const std::exception& error) {
            return error.what();
        }
    }

    qxsim::Machine& machine_;
    qxsim::WideString id_;
    std::string before_;
    qxsim::PortSettings settings_;
    qxsim::BusSettings bus_;
    std::size_t writes_;
};

// Empty when the script ran to its end and all came as it says.
std::string Run(const fs::path& file, const fs::path& machines, const fs::path& pictures) {
    Script script = Parse(ReadScript(file));
    const fs::path beside = file.parent_path() / script.machine;
    Session session({.machine = fs::exists(beside) ? beside : machines / script.machine});
    qxsim::Machine& machine = session.Machine();
    const auto named = [&](const std::string& name) -> Device& {
        return *machine.Find(qxports::Computer().Find(name).id);
    };
    for (const std::string& held : script.held)
        named(held).held_open_by = qxsim::ToWide("another program");
    const Device& port = named(script.port);
    if (!port.control)
        return script.port + " has no control device";
    const Aftermath aftermath(machine, port);

    const std::unique_ptr<Desk> desk = OpenDesk();
    User user(std::move(script.steps), *desk, {{}, pictures / file.stem()});
    if (const int code = RunAdmin(*desk, {"show", script.port}, [&] { return user.Step(); }); code != 0)
        return "the sheet did not open, exit code " + std::to_string(code);
    user.WindowsClosed();
    if (!user.Failure().empty())
        return user.Failure();
    for (const Statement& statement : script.after)
        if (const std::string problem = aftermath.Check(statement); !problem.empty())
            return Where(statement) + statement.text + ": " + problem;
    return qxsim::Instruments::The().LedgerReport();
}

}  // namespace

int main(int argc, char** argv) {
    const std::span arguments(argv, static_cast<std::size_t>(argc));
    if (argc < 4) {
        std::cerr << "run_scripts FOLDER-OF-MACHINES FOLDER-FOR-PICTURES SCRIPT...\n";
        return 2;
    }
    PrepareHost();
    // What the library keeps from its loading on is no leak of the first script.
    static_cast<void>(LibraryEntry("QxUPortPropPage"));
    const std::vector<fs::path> files = ScriptsIn(arguments.subspan(3));
    std::size_t failed = 0;
    for (const fs::path& file : files) {
        std::string problem;
        try {
            problem = Run(file, arguments[1], arguments[2]);
        } catch (const std::exception& error) {
            problem = error.what();
        }
        failed += problem.empty() ? 0 : 1;
        std::cout << (problem.empty() ? "passed  " : "FAILED  ") << file.stem().string() << '\n';
        if (!problem.empty())
            std::cout << "        " << file.string() << ": " << problem << '\n';
        std::cout.flush();
    }
    std::cout << files.size() - failed << " passed, " << failed << " failed\n";
    return failed != 0 || files.empty() ? 1 : 0;
}
