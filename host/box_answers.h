// Message boxes that come up while nobody sits in front of the screen.
#pragma once

#include "host/desk.h"

#include <functional>
#include <string>

namespace qxhost {

// Tells of each message box, line by line to `say`, and closes it with `answer` ("yes" or "no"; boxes without
// such a button with the one they have). Without an answer the person at the terminal is asked; without a
// terminal it is No, which changes nothing.
class BoxAnswers {
  public:
    using Saying = std::function<void(const std::string&)>;

    BoxAnswers(std::string answer, Saying say) : answer_(std::move(answer)), say_(std::move(say)) {}

    // The user for Desk::Use; empty when somebody sits in front of the screen and no answer is given.
    [[nodiscard]] std::function<bool()> AsUser(const Desk& desk);

  private:
    bool Step();

    std::string answer_;
    Saying say_;
};

}  // namespace qxhost
