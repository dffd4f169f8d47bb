#include "host/commands.h"
#include "host/failure.h"
#include "host/property_sheet.h"
#include "host/screen.h"
#include "host/user_script.h"

#include <iostream>
#include <map>

namespace qxhost {

namespace {

// What a user is to do at the properties of the one port that the command line names.
Script ScriptOf(const PropertiesOptions& properties) {
    const bool from_file = !properties.script_file.empty();
    const std::string where = from_file ? properties.script_file.string() + ": " : "";
    try {
        Script script = ParseScript(from_file ? ReadScript(properties.script_file) : properties.script);
        if (!script.machine.empty() || !script.port.empty() || !script.held.empty() || !script.after.empty())
            throw ScriptError(
                "machine:, port:, held: and after: belong to test scripts; run those with --script-suite");
        return script;
    } catch (const ScriptError& error) {
        throw Failure(kBadUse, where + error.what());
    }
}

// Prints what a person sees while a script runs: a page whole when it comes up, later only the lines that
// changed.
class Watcher {
  public:
    Watcher(Desk& desk, const PropertiesOptions& options) : desk_(desk), options_(options) {}

    void Look(HWND front, const Statement* next) {
        if (front != nullptr) {
            if (!options_.quiet)
                Show(front);
            // The page as it stands last before the windows close.
            if (!options_.picture.empty() && !screen::IsMessageBox(front))
                desk_.Draw(front, options_.picture);
        }
        if (next != nullptr && !options_.quiet)
            std::cout << "> " << next->text << '\n';
    }

  private:
    void Show(HWND front) {
        const std::vector<std::string> lines = screen::Describe(front);
        std::vector<std::string>& known = seen_[screen::PageOf(front)];
        const bool anew = known.empty() || known.front() != lines.front();
        for (std::size_t i = 0; i < lines.size(); ++i)
            if (anew || i >= known.size() || known[i] != lines[i])
                std::cout << (anew ? "" : "  ~") << lines[i] << '\n';
        if (anew)
            std::cout << '\n';
        known = lines;
    }

    Desk& desk_;
    const PropertiesOptions& options_;
    std::map<HWND, std::vector<std::string>> seen_;
};

// Without a script: every page is turned to once, then the sheet is cancelled.
class Reader {
  public:
    explicit Reader(Watcher& watcher) : watcher_(watcher) {}

    bool Step() {
        HWND front = screen::Front();
        if (front == nullptr)
            return false;
        watcher_.Look(front, nullptr);
        if (screen::IsMessageBox(front) || next_tab_ + 1 >= screen::TabsOf(front).size())
            return screen::CancelFront();
        screen::ShowTab(front, static_cast<int>(++next_tab_));
        return true;
    }

  private:
    Watcher& watcher_;
    std::size_t next_tab_ = 0;
};

}  // namespace

int ShowProperties(const MachineOptions& options, const PropertiesOptions& properties) {
    Session session(options.machine);
    if (!options.os.empty())
        session.PretendVersion(options.os);
    const qxsim::Device& port = session.Port(properties.port);
    const bool scripted = !properties.script.empty() || !properties.script_file.empty();
    const Script script = ScriptOf(properties);
    const std::unique_ptr<Desk> desk = OpenDesk();
    if (!properties.picture.empty() && properties.picture.extension() != desk->PictureSuffix())
        throw Failure(kBadUse, "--picture " + properties.picture.string() + ": pictures here are " +
                                   desk->PictureSuffix() + " files");
    if (properties.wait && !desk->HasScreen())
        throw Failure(kBadUse,
                      "--wait: nobody can sit in front of the simulated desktop; use --do or --script");
    if (options.trace)
        session.TraceCalls();
    const std::string before = session.Machine().ToJson();

    Watcher watcher(*desk, properties);
    User user(script.steps, *desk,
              {[&](HWND front, const Statement* next) { watcher.Look(front, next); }, {}});
    Reader reader(watcher);
    std::function<bool()> who;
    if (scripted)
        who = [&] { return user.Step(); };
    else if (!properties.wait)
        who = [&] { return reader.Step(); };
    // Nothing may be thrown through the windows that call the user.
    std::string problem;
    if (who)
        who = [who, &problem] {
            try {
                return problem.empty() && who();
            } catch (const std::exception& error) {
                problem = error.what();
                return false;
            }
        };
    static_cast<void>(ShowPropertySheet(session, port, *desk, who));
    if (!problem.empty())
        throw Failure(kBadUse, problem);
    if (scripted)
        user.WindowsClosed();
    if (!user.Failure().empty())
        throw Failure(kNotAsItShould, "the script stopped; nothing was stored. " + user.Failure());
    if (session.Machine().ToJson() != before)
        session.Store();
    return kDone;
}

}  // namespace qxhost
