// SPDX-License-Identifier: MIT
#include "host/control_finder.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <charconv>
#include <vector>

namespace qxhost {

namespace {

using screen::Kind;
using screen::Spoken;

// The controls a user can name: those of the page in front, then the window's own.
std::vector<HWND> Nameable() {
    HWND front = FrontOrFail();
    HWND page = screen::PageOf(front);
    std::vector<HWND> controls = screen::ControlsOn(page);
    if (page != front)
        for (HWND control : screen::ControlsOn(front))
            if (screen::KindOf(control) != Kind::kPage)
                controls.push_back(control);
    return controls;
}

// The n-th element for which `accept` says yes.
template <typename Accept>
HWND Nth(const std::vector<HWND>& controls, int nth, Accept accept) {
    for (HWND control : controls)
        if (accept(control) && --nth == 0)
            return control;
    return nullptr;
}

bool IsShownByLabel(Kind kind) {
    return kind == Kind::kChoice || kind == Kind::kEdit || kind == Kind::kSlider || kind == Kind::kCheckBox;
}
bool NamesOthers(Kind kind) {
    return kind == Kind::kLabel || kind == Kind::kRadio || kind == Kind::kGroup || kind == Kind::kCheckBox;
}

// In the same row, to the right.
bool StandsBeside(HWND control, HWND label) {
    RECT own{};
    RECT other{};
    if (GetParent(control) != GetParent(label) || !GetWindowRect(control, &own) ||
        !GetWindowRect(label, &other))
        return false;
    const LONG height = other.bottom - other.top;
    const LONG middle = other.top + height / 2;
    return own.left > other.left && middle >= own.top && middle < std::min(own.bottom, own.top + 2 * height);
}

std::vector<std::string> KnownControls(KindTest wanted) {
    constexpr std::array kByLabel{Kind::kChoice, Kind::kEdit, Kind::kSlider, Kind::kCheckBox};
    const bool by_label = std::any_of(kByLabel.begin(), kByLabel.end(), wanted);
    std::vector<std::string> known;
    for (HWND control : Nameable()) {
        const std::string text = Spoken(screen::TextOf(control));
        const Kind kind = screen::KindOf(control);
        if (!text.empty() && (wanted(kind) || (by_label && kind == Kind::kLabel)) && kind != Kind::kChoice &&
            kind != Kind::kEdit)
            known.push_back(text);
    }
    return known;
}

}  // namespace

std::string Quoted(const std::string& text) {
    return '"' + text + '"';
}

bool SameLetter(char a, char b) {
    return std::tolower(static_cast<unsigned char>(a)) == std::tolower(static_cast<unsigned char>(b));
}

bool Same(std::string_view a, std::string_view b) {
    return std::equal(a.begin(), a.end(), b.begin(), b.end(), SameLetter);
}

bool Begins(std::string_view text, std::string_view beginning) {
    return text.size() >= beginning.size() && Same(text.substr(0, beginning.size()), beginning);
}

std::optional<int> Number(std::string_view word) {
    int number = 0;
    const auto [end, error] = std::from_chars(word.data(), word.data() + word.size(), number);
    if (error != std::errc() || end != word.data() + word.size() || word.empty())
        return std::nullopt;
    return number;
}

std::string ThereAre(const std::vector<std::string>& names) {
    constexpr std::size_t kMost = 24;
    std::string all;
    for (std::size_t i = 0; i < names.size() && i < kMost; ++i)
        all += (all.empty() ? "" : ", ") + Quoted(names[i]);
    return names.empty() ? " (there is none)"
                         : " (there are " + all + (names.size() > kMost ? ", ...)" : ")");
}

HWND FrontOrFail() {
    HWND front = screen::Front();
    if (front == nullptr)
        throw Otherwise{"no window is open"};
    return front;
}

bool IsButton(Kind kind) {
    return kind == Kind::kButton;
}
bool IsCheckBox(Kind kind) {
    return kind == Kind::kCheckBox;
}
bool IsRadio(Kind kind) {
    return kind == Kind::kRadio;
}
bool IsChoice(Kind kind) {
    return kind == Kind::kChoice;
}
bool IsSlider(Kind kind) {
    return kind == Kind::kSlider;
}
bool IsWritten(Kind kind) {
    return kind == Kind::kChoice || kind == Kind::kEdit;
}
bool IsAnything(Kind kind) {
    return kind != Kind::kPage && kind != Kind::kTabs;
}
bool IsUsed(Kind kind) {
    return IsButton(kind) || IsRadio(kind) || IsShownByLabel(kind);
}

HWND FindOrNull(const std::string& name, KindTest wanted, int nth) {
    const std::vector<HWND> controls = Nameable();
    if (name.size() > 1 && name.front() == '#') {
        const std::optional<int> id = Number(std::string_view(name).substr(1));
        return Nth(controls, nth, [&](HWND control) { return id && GetDlgCtrlID(control) == *id; });
    }
    const std::string spoken = Spoken(name);
    for (const bool whole : {true, false}) {
        const auto named = [&](HWND control) {
            const std::string text = Spoken(screen::TextOf(control));
            return !text.empty() && (whole ? Same(text, spoken) : Begins(text, spoken));
        };
        HWND own = Nth(controls, nth, [&](HWND control) {
            const Kind kind = screen::KindOf(control);
            // What an edit or choice box shows is its content, not its name.
            return kind != Kind::kChoice && kind != Kind::kEdit && wanted(kind) && named(control);
        });
        if (own != nullptr)
            return own;
        int left = nth;
        for (auto at = controls.begin(); at != controls.end(); ++at) {
            if (!NamesOthers(screen::KindOf(*at)) || !named(*at))
                continue;
            const auto fits = [&](HWND control) {
                const Kind kind = screen::KindOf(control);
                // A check box with a text of its own needs no label.
                return wanted(kind) && (kind != Kind::kCheckBox || Spoken(screen::TextOf(control)).empty());
            };
            // A control beside the label comes first, then the next one in tab order.
            auto next = std::find_if(at + 1, controls.end(), [&](HWND control) {
                return fits(control) && StandsBeside(control, *at);
            });
            if (next == controls.end())
                next = std::find_if(at + 1, controls.end(), fits);
            if (next != controls.end() && --left == 0)
                return *next;
        }
    }
    return nullptr;
}

HWND Find(const std::string& name, const char* what, KindTest wanted, int nth) {
    HWND control = FindOrNull(name, wanted, nth);
    if (control == nullptr)
        throw Otherwise{"no " + std::string(what) + " " + Quoted(name) +
                        (nth > 1 ? " number " + std::to_string(nth) : "") + " here" +
                        ThereAre(KnownControls(wanted))};
    return control;
}

HWND Reach(const std::string& name, const char* what, KindTest wanted, int nth) {
    HWND control = Find(name, what, wanted, nth);
    if (!IsWindowVisible(control))
        throw Otherwise{Quoted(name) + " is hidden"};
    if (!IsWindowEnabled(control))
        throw Otherwise{Quoted(name) + " is disabled"};
    return control;
}

HWND FindForState(const std::string& name, int nth) {
    const std::vector<HWND> controls = Nameable();
    HWND control = FindOrNull(name, IsUsed, nth);
    HWND itself = name.front() == '#' ? nullptr : FindOrNull(name, IsAnything, nth);
    if (control != nullptr && itself != nullptr && control != itself) {
        // A label names the next control in tab order; other texts name nothing.
        const auto at = std::find(controls.begin(), controls.end(), itself);
        if (at == controls.end() || at + 1 == controls.end() || *(at + 1) != control)
            return itself;
    }
    if (control == nullptr)
        control = itself;
    return control != nullptr ? control : Find(name, "control", IsAnything, nth);
}

}  // namespace qxhost
