// SPDX-License-Identifier: MIT
#include "host/box_answers.h"

#include "host/control_finder.h"

#include <iostream>
#include <vector>

namespace qxhost {

namespace {

bool AnswerBox(std::string answer, const std::function<void(const std::string&)>& say) {
    HWND box = screen::Front();
    if (box == nullptr)
        return false;
    const std::vector<HWND> buttons = screen::ControlsOfKind(box, screen::Kind::kButton);
    if (buttons.empty())
        return false;
    for (const std::string& line : screen::Describe(box))
        say(line);
    if (answer.empty() && buttons.size() > 1) {
        if (TerminalIsThere()) {
            say("Your answer:");
            if (!std::getline(std::cin, answer))
                answer = "no";
        } else {
            say("Nobody is there to ask, and neither --answer yes nor --answer no was given.");
            answer = "no";
        }
    }
    // One letter will do, and what is no button's name changes nothing.
    HWND chosen = buttons.back();
    for (HWND button : buttons) {
        const std::string name = screen::Spoken(screen::TextOf(button));
        if (!answer.empty() && (Same(name, answer) || Same(name.substr(0, 1), answer)))
            chosen = button;
    }
    say("Answered: " + screen::Spoken(screen::TextOf(chosen)));
    screen::Click(chosen);
    return true;
}

}  // namespace

std::function<bool()> BoxAnswerer(const Desk& desk, const std::string& answer,
                                  const std::function<void(const std::string&)>& say) {
    if (answer.empty() && desk.HasScreen())
        return {};
    return [=] { return AnswerBox(answer, say); };
}

}  // namespace qxhost
