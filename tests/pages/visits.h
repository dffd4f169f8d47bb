// A user's visits to every page, for the tests that break something in the middle of each.
#pragma once

#include "tests/pages/port_sheet.h"

#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace qxtest {

struct Visit {
    const char* name;
    Steps steps;
};

[[nodiscard]] const std::vector<Visit>& Visits();

class VisitTest : public PortSheetTest {
  public:
    void SetUp() override;

    // Makes a visit on a computer in order, and says what is wrong after it. `show` shows the port's
    // properties and lets the steps be done, with whatever it breaks.
    [[nodiscard]] std::string Run(const Visit& visit, const std::function<void(const Steps&)>& show);

  private:
    std::unique_ptr<qxsim::Machine> sound_;
};

}  // namespace qxtest
