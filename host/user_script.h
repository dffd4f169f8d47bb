// User scripts: what a user does at a dialog and expects to see there, written down in words.
//
//     machine: usb-four-port.json
//     port: COM5
//     select "Baud Rate" 115200; check "Override" 1
//     press OK
//     expect box "Warning!" "opened by another application" information
//     answer Yes
//     after: setting Baudrate=115200
//
// The same script runs on the simulated desktop and on a real screen: every statement is done with the window
// calls and messages that a user's mouse and keyboard lead to. The statements are listed in
// docs/user-scripts.md.
#pragma once

#include "host/desk.h"

#include <filesystem>
#include <functional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace qxhost {

// What is wrong with a script, with its line.
class ScriptError : public std::runtime_error {
  public:
    using std::runtime_error::runtime_error;
};

struct Statement {
    int line = 0;
    std::string text;                // as written, for messages
    std::vector<std::string> words;  // quotes taken off
};

struct Script {
    std::string machine;            // file name of the machine that it runs on
    std::string port;               // COM name of the port whose properties are opened
    std::vector<std::string> held;  // COM names that another program holds open meanwhile
    std::vector<Statement> steps;
    std::vector<Statement> after;  // what the machine must hold when the sheet has closed
};

// A script's text. Throws ScriptError when `file` cannot be read.
[[nodiscard]] std::string ReadScript(const std::filesystem::path& file);
// Throws ScriptError for a word that is no statement, a missing argument or an open quote.
[[nodiscard]] Script ParseScript(std::string_view text);

// Somebody who does what a script says, a statement at a time.
class User {
  public:
    struct Watching {
        // Called before each statement and after the last, with the window in front (null for none) and the
        // statement that comes next (null for none).
        std::function<void(HWND, const Statement*)> look;
        // Where the pictures that a script asks for go, without suffix.
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
