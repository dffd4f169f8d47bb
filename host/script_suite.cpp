#include "host/commands.h"
#include "host/failure.h"
#include "host/property_sheet.h"
#include "admin/setting_meaning.h"
#include "host/user_script.h"

#include <algorithm>
#include <iostream>

namespace qxhost {

namespace {

using qxsim::Device;

std::vector<std::filesystem::path> ScriptsIn(const std::vector<std::filesystem::path>& places) {
    std::vector<std::filesystem::path> files;
    for (const std::filesystem::path& place : places) {
        if (!std::filesystem::is_directory(place)) {
            files.push_back(place);
            continue;
        }
        std::vector<std::filesystem::path> found;
        for (const auto& entry : std::filesystem::directory_iterator(place))
            if (entry.path().extension() == ".script")
                found.push_back(entry.path());
        std::sort(found.begin(), found.end());
        files.insert(files.end(), found.begin(), found.end());
    }
    return files;
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
            return compare(machine_.NamesOf(port).port_name, word(2));
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
std::string RunScript(const std::filesystem::path& file, const SuiteOptions& suite) {
    const Script script = ParseScript(ReadScript(file));
    if (script.machine.empty() || script.port.empty())
        return "machine: and port: are missing";
    // Machines that only scripts need stand beside them.
    const std::filesystem::path beside = file.parent_path() / script.machine;
    Session session(std::filesystem::exists(beside) ? beside : suite.machines / script.machine);
    for (const std::string& held : script.held)
        session.Port(held).held_open_by = qxsim::ToWide("another program");
    const Device& port = session.Port(script.port);
    if (!port.control)
        return script.port + " has no control device";
    const Aftermath aftermath(session.Machine(), port);

    const std::unique_ptr<Desk> desk = OpenDesk();
    User user(script.steps, *desk, {{}, suite.pictures / file.stem()});
    static_cast<void>(ShowPropertySheet(session, port, *desk, [&] { return user.Step(); }));
    user.WindowsClosed();
    if (!user.Failure().empty())
        return user.Failure();
    for (const Statement& statement : script.after)
        if (const std::string problem = aftermath.Check(statement); !problem.empty())
            return "line " + std::to_string(statement.line) + ": " + statement.text + ": " + problem;
    return qxsim::Instruments::The().LedgerReport();
}

}  // namespace

int RunScripts(const SuiteOptions& suite) {
    const std::vector<std::filesystem::path> files = ScriptsIn(suite.scripts);
    if (files.empty())
        throw Failure(kBadUse, "there are no scripts in what --script-suite names");
    // What the library keeps from its loading on is no leak of the first script.
    static_cast<void>(LibraryEntry("QxUPortPropPage"));
    std::size_t failed = 0;
    for (const std::filesystem::path& file : files) {
        std::string problem;
        try {
            problem = RunScript(file, suite);
        } catch (const std::exception& error) {
            problem = error.what();
        }
        std::cout << (problem.empty() ? "passed  " : "FAILED  ") << file.stem().string() << '\n';
        if (!problem.empty()) {
            ++failed;
            std::cout << "        " << file.string() << ": " << problem << '\n';
        }
        std::cout.flush();
    }
    std::cout << files.size() - failed << " passed, " << failed << " failed\n";
    return failed == 0 ? kDone : kNotAsItShould;
}

}  // namespace qxhost
