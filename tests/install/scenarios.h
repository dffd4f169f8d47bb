// SPDX-License-Identifier: MIT
// Whole pieces of a field engineer's day, for the tests that break something in the middle of each.
#pragma once

#include "tests/install/installer.h"

#include <functional>
#include <string>
#include <vector>

namespace qxtest {

struct Scenario {
    std::string name;
    std::function<void(qxsim::Machine&)> build;
    // The requests. Asks the co-installers only.
    std::function<void(Installer&)> run;
    // What the platform does after a restart in the middle of `run`: the installations that had not ended
    // begin again.
    std::function<void(Installer&)> run_again;
};

[[nodiscard]] const std::vector<Scenario>& Scenarios();

}  // namespace qxtest
