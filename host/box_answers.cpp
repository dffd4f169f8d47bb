#include "host/box_answers.h"

#include "host/screen.h"

#include <algorithm>
#include <cctype>
#include <iostream>
#include <vector>

namespace qxhost {

namespace {

struct Button {
    HWND window;
    std::string name;
};

bool Same(const std::string& a, const std::string& b) {
    return std::equal(a.begin(), a.end(), b.begin(), b.end(),
                      [](unsigned char x, unsigned char y) { return std::tolower(x) == std::tolower(y); });
}

std::vector<Button> ButtonsOf(HWND box) {
    std::vector<Button> buttons;
    for (HWND control : screen::ControlsOn(box))
        if (screen::KindOf(control) == screen::Kind::kButton)
            buttons.push_back({control, screen::Spoken(screen::TextOf(control))});
    return buttons;
}

}  // namespace

std::function<bool()> BoxAnswers::AsUser(const Desk& desk) {
    if (answer_.empty() && desk.HasScreen())
        return {};
    return [this] { return Step(); };
}

bool BoxAnswers::Step() {
    HWND box = screen::Front();
    if (box == nullptr)
        return false;
    const std::vector<Button> buttons = ButtonsOf(box);
    if (buttons.empty())
        return false;
    for (const std::string& line : screen::Describe(box))
        say_(line);
    std::string answer = answer_;
    if (answer.empty() && buttons.size() > 1) {
        if (TerminalIsThere()) {
            say_("Your answer:");
            if (!std::getline(std::cin, answer))
                answer = "no";
        } else {
            say_("Nobody is there to ask, and neither --answer yes nor --answer no was given.");
            answer = "no";
        }
    }
    // One letter will do, and what is no button's name changes nothing.
    const Button* chosen = &buttons.back();
    for (const Button& button : buttons)
        if (!answer.empty() && (Same(button.name, answer) || Same(button.name.substr(0, 1), answer)))
            chosen = &button;
    say_("Answered: " + chosen->name);
    screen::Click(chosen->window);
    return true;
}

}  // namespace qxhost
