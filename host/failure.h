// How a command ends when it cannot do what it was asked.
#pragma once

#include <stdexcept>
#include <string>

namespace qxhost {

enum ExitCode : int {
    kDone = 0,
    kNotAsItShould = 1,  // names that disagree, a script that saw something else, an installation that failed
    kBadUse = 2,         // a command line that makes no sense, a value that cannot be
    kBadMachine = 3,     // the machine file is missing, broken or cannot be written
    kUnknownDevice = 4,  // no port or adapter of that name, or several
    kNoAnswer = 5,       // the port's driver is not there or refuses
};

class Failure : public std::runtime_error {
  public:
    Failure(ExitCode code, const std::string& what) : std::runtime_error(what), code_(code) {}
    [[nodiscard]] ExitCode Code() const { return code_; }

  private:
    ExitCode code_;
};

}  // namespace qxhost
