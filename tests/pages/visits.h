// SPDX-License-Identifier: MIT
// A user's visits to every page, for the tests that break something in the middle of each.
//
// What must hold whatever breaks: nothing that was not read reaches the driver, nothing changes there but
// what the user changed, nothing that the user has changed is turned back, and a sheet that closes by OK
// without a word leaves the driver with what its controls showed.
#pragma once

#include "tests/pages/port_sheet.h"

#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <vector>

namespace qxtest {

// Values by the drivers' names; those of the bus set begin with "bus ".
using Values = std::map<std::string, std::uint32_t>;

class VisitTest;

struct Visit {
    const char* name;
    std::function<Steps(VisitTest&)> steps;
    // What the user changes, and to which values.
    std::map<std::string, std::set<std::uint32_t>> changes = {};
    // Another program holds the port open, and the user says No to the first question and Yes to further
    // ones.
    bool port_is_held = false;
};

[[nodiscard]] const std::vector<Visit>& Visits();

class VisitTest : public PortSheetTest {
  public:
    void SetUp() override;

    // Makes a visit on a computer in order, and says what is wrong after it. `show` shows the port's
    // properties and lets the steps be done, with whatever it breaks. Without `values_count` the driver's
    // values may be anything: a page cannot tell a box that it cannot reach from one that is not checked.
    [[nodiscard]] std::string Run(const Visit& visit, const std::function<void(const Steps&)>& show,
                                  bool values_count = true);

    // Cuts the driver's `request`-th answer in the next runs to so many bytes.
    struct Cut {
        std::uint64_t request = 0;  // from 1; writes count
        std::uint32_t length = 0;
    };
    Cut cut;
    // The requests of the last run.
    std::uint64_t requests = 0;

    // Steps that remember what the pages show: opening a tab of the advanced sheet, and OK.
    void GoToTab(int index);
    void Confirm();

  private:
    void Look();
    void Settle();
    void CutNextAnswer();
    [[nodiscard]] Values Held();

    std::unique_ptr<qxsim::Machine> sound_;
    std::vector<HWND> seen_;  // pages that have been shown
    // An OK whose outcome is still to be looked at: the sheet acts on it when the user lets go of the button.
    struct Confirmed {
        HWND sheet;
        Values shown;
        std::size_t boxes;
    };
    std::optional<Confirmed> confirmed_;
    std::set<std::string> wrong_;
};

}  // namespace qxtest
