// SPDX-License-Identifier: MIT
#include "host/admin_command.h"
#include "host/commands.h"
#include "host/failure.h"
#include "host/screen.h"
#include "host/session.h"
#include "host/user_script.h"

#include <algorithm>
#include <iostream>
#include <map>

namespace qxhost {

namespace {

// What a user is to do at the properties of the one port that the command line names.
std::vector<Statement> ScriptOf(const PropertiesOptions& properties) {
    const bool from_file = !properties.script_file.empty();
    const std::string where = from_file ? properties.script_file.string() + ": " : "";
    try {
        std::vector<Statement> script =
            SplitScript(from_file ? ReadScript(properties.script_file) : properties.script);
        std::ranges::for_each(script, CheckStatement);
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
            // The last picture before the windows close is the one that stays.
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

// Without a script: every page is shown once, then the sheet is cancelled.
bool ShowNextPage(Watcher& watcher, std::size_t& tab) {
    HWND front = screen::Front();
    if (front == nullptr)
        return false;
    watcher.Look(front, nullptr);
    if (screen::IsMessageBox(front) || tab + 1 >= screen::TabsOf(front).size())
        return screen::CancelFront();
    screen::ShowTab(front, static_cast<int>(++tab));
    return true;
}

}  // namespace

int ShowProperties(const MachineOptions& options, const PropertiesOptions& properties) {
    Session session(options);
    const bool scripted = !properties.script.empty() || !properties.script_file.empty();
    std::vector<Statement> script = ScriptOf(properties);
    const std::unique_ptr<Desk> desk = OpenDesk();
    if (!properties.picture.empty() && !desk->CanDraw())
        throw Failure(kBadUse,
                      "--picture: the simulated desktop is not drawn; qxhost.exe draws the real one");
    if (properties.wait && !desk->HasScreen())
        throw Failure(kBadUse,
                      "--wait: nobody can sit in front of the simulated desktop; use --do or --script");
    session.TraceCalls();

    Watcher watcher(*desk, properties);
    User user(std::move(script), *desk,
              {[&](HWND front, const Statement* next) { watcher.Look(front, next); }, {}});
    std::size_t tab = 0;
    std::function<bool()> who;
    if (scripted)
        who = [&] { return user.Step(); };
    else if (!properties.wait)
        who = [&] { return ShowNextPage(watcher, tab); };
    static_cast<void>(LibraryEntry("QxUPortPropPage"));  // says first if the library is not there
    if (const int code = RunAdmin(*desk, {"show", properties.port}, who); code != kDone)
        return code;
    if (scripted)
        user.WindowsClosed();
    if (!user.Failure().empty())
        throw Failure(kNotAsItShould, "the script stopped; nothing was stored. " + user.Failure());
    session.Store();
    return kDone;
}

}  // namespace qxhost
