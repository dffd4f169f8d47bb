// Message boxes that come up while nobody sits in front of the screen.
#pragma once

#include "host/desk.h"

#include <functional>
#include <iosfwd>
#include <string>

namespace qxhost {

// Shows each message box in the terminal and closes it with `answer` ("yes" or "no"; boxes without such a
// button with the one they have). Without an answer the person at the terminal is asked; without a terminal
// it is No, which changes nothing.
class BoxAnswers {
  public:
    BoxAnswers(std::string answer, std::ostream& out) : answer_(std::move(answer)), out_(out) {}

    // The user for Desk::Use; empty when somebody sits in front of the screen and no answer is given.
    [[nodiscard]] std::function<bool()> AsUser(const Desk& desk);

  private:
    bool Step();

    std::string answer_;
    std::ostream& out_;
};

}  // namespace qxhost
