// SPDX-License-Identifier: MIT
// User scripts: what a user does at a dialog and expects to see there, written down in words.
//
//     select "Baud Rate" 115200; check "Override" 1
//     press OK
//     expect box "Warning!" "opened by another application" information
//     answer Yes
//
// The same script runs on the simulated desktop and on a real screen: every statement is done with the window
// calls and messages that a user's mouse and keyboard lead to. The statements are listed in
// docs/user-scripts.md.
#pragma once

#include "host/desk.h"
#include "host/statements.h"

#include <filesystem>
#include <functional>
#include <string>
#include <vector>

namespace qxhost {

// Throws ScriptError for a word that is no statement, or a missing argument.
void CheckStatement(const Statement& statement);

// A user who does what a script says, one statement at a time.
class User {
  public:
    struct Watching {
        // Called before each statement and after the last, with the window in front (null for none) and the
        // statement that comes next (null for none).
        std::function<void(HWND, const Statement*)> look;
        // The folder for the pictures that a script asks for.
        std::filesystem::path pictures;
    };

    User(std::vector<Statement> steps, Desk& desk, Watching watching);

    // Does the next statement; false when none is left or one failed. For Desk::Use.
    bool Step();
    // To be called when every window has closed. What is left of the script must expect just that.
    void WindowsClosed();

    // The first thing that went otherwise than the script says, as a readable line; empty when nothing did.
    [[nodiscard]] const std::string& Failure() const { return failure_; }

  private:
    void Fail(const Statement* statement, const std::string& what);

    std::vector<Statement> steps_;
    Desk& desk_;
    Watching watching_;
    std::size_t next_ = 0;
    std::string failure_;
};

}  // namespace qxhost
