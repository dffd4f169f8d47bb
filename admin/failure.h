// SPDX-License-Identifier: MIT
// How a command ends.
#pragma once

#include <stdexcept>
#include <string>

namespace qxports {

// The same for every command; all but the first two mean that nothing was changed. 3 is the host program's,
// for machine files that cannot be used.
enum ExitCode : int {
    kDone = 0,
    kNotAsItShould = 1,  // names disagree; something was changed in part; the output cannot be written
    kBadUse = 2,         // a command line, a value or a file that makes no sense
    kUnknownPort = 4,    // no port or adapter of that name, or several
    kNoAnswer = 5,       // the port's driver is not there, does not answer or refuses
    kRefused = 6,        // what was asked would take something from somebody, or the answer was no
    kBusy = 7,           // a port is being installed
    kNoRight = 8,        // a right is missing, as a rule an administrator's
    kSystemFailed = 9,   // a call of the platform failed
};

class Failure : public std::runtime_error {
  public:
    Failure(ExitCode code, const std::string& what) : std::runtime_error(what), code_(code) {}
    [[nodiscard]] ExitCode Code() const { return code_; }

  private:
    ExitCode code_;
};

}  // namespace qxports
