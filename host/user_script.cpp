// SPDX-License-Identifier: MIT
#include "host/user_script.h"

#include "host/control_finder.h"
#include "platform/machine/text.h"

#include <commctrl.h>

#include <algorithm>
#include <array>

namespace qxhost {

namespace {

using qxsim::ToWide;
using screen::Kind;
using screen::Spoken;

bool Holds(const std::string& text, const std::string& part) {
    return Spoken(text).find(Spoken(part)) != std::string::npos;
}

int NumberOr(const Statement& statement, std::size_t word, int otherwise) {
    if (word >= statement.words.size())
        return otherwise;
    const std::optional<int> number = Number(statement.words[word]);
    if (!number)
        throw Otherwise{Quoted(statement.words[word]) + " is not a number"};
    return *number;
}

// The control of that kind, else any that the name means.
HWND FindPreferred(const std::string& name, KindTest preferred) {
    HWND control = FindOrNull(name, preferred);
    return control != nullptr ? control : Find(name, "control", IsAnything);
}

void Tell(HWND control, WORD code) {
    SendMessageW(GetParent(control), WM_COMMAND, MAKEWPARAM(GetDlgCtrlID(control), code),
                 reinterpret_cast<LPARAM>(control));
}

// --- doing ---

struct Doing {
    const Statement& statement;
    Desk& desk;
    const std::filesystem::path& pictures;
    [[nodiscard]] const std::string& Word(std::size_t i) const { return statement.words.at(i); }
};

void Press(const Doing& doing) {
    screen::Click(Reach(doing.Word(1), "button", IsButton));
}

// The entry that a text names: whole first, then as a beginning ("COM7" for "COM7 (in use)").
int EntryNamed(HWND box, const std::string& name) {
    const std::vector<std::string> entries = screen::EntriesOf(box);
    for (const bool whole : {true, false})
        for (std::size_t i = 0; i < entries.size(); ++i)
            if (whole ? Same(Spoken(entries[i]), Spoken(name)) : Begins(Spoken(entries[i]), Spoken(name)))
                return static_cast<int>(i);
    throw Otherwise{"no entry " + Quoted(name) + ThereAre(entries)};
}

void Select(const Doing& doing) {
    HWND box = Reach(doing.Word(1), "choice box", IsChoice);
    SetFocus(box);
    SendMessageW(box, CB_SETCURSEL, static_cast<WPARAM>(EntryNamed(box, doing.Word(2))), 0);
    Tell(box, CBN_SELENDOK);
    Tell(box, CBN_SELCHANGE);
}

void Type(const Doing& doing) {
    HWND control = Reach(doing.Word(1), "field", IsWritten);
    HWND edit = control;
    if (screen::KindOf(control) == Kind::kChoice) {
        COMBOBOXINFO parts{};
        parts.cbSize = sizeof(parts);
        if (!GetComboBoxInfo(control, &parts) || parts.hwndItem == nullptr || parts.hwndItem == control)
            throw Otherwise{Quoted(doing.Word(1)) + " only offers its entries"};
        edit = parts.hwndItem;
    }
    SetFocus(edit);
    SendMessageW(edit, EM_SETSEL, 0, -1);
    SendMessageW(edit, WM_CHAR, '\b', 1);
    for (const WCHAR unit : ToWide(doing.Word(2)))
        SendMessageW(edit, WM_CHAR, unit, 1);
}

void SetCheck(const Doing& doing) {
    const LRESULT wanted = doing.Word(0) == "check" ? BST_CHECKED : BST_UNCHECKED;
    HWND box = Reach(doing.Word(1), "check box", IsCheckBox, NumberOr(doing.statement, 2, 1));
    if (SendMessageW(box, BM_GETCHECK, 0, 0) != wanted)
        screen::Click(box);
}

void Choose(const Doing& doing) {
    screen::Click(Reach(doing.Word(1), "radio button", IsRadio));
}

void Slide(const Doing& doing) {
    HWND slider = Reach(doing.Word(1), "slider", IsSlider);
    const int position = NumberOr(doing.statement, 2, 0);
    SendMessageW(slider, TBM_SETPOS, TRUE, position);
    const LRESULT reached = SendMessageW(slider, TBM_GETPOS, 0, 0);
    for (const WPARAM event : {MAKEWPARAM(TB_THUMBTRACK, reached), MAKEWPARAM(TB_THUMBPOSITION, reached),
                               MAKEWPARAM(TB_ENDTRACK, 0)})
        SendMessageW(GetParent(slider), WM_HSCROLL, event, reinterpret_cast<LPARAM>(slider));
}

void Tab(const Doing& doing) {
    HWND sheet = FrontOrFail();
    const std::vector<std::string> tabs = screen::TabsOf(sheet);
    for (std::size_t i = 0; i < tabs.size(); ++i) {
        if (!Same(Spoken(tabs[i]), Spoken(doing.Word(1))))
            continue;
        screen::ShowTab(sheet, static_cast<int>(i));
        if (screen::CurrentTab(sheet) != static_cast<int>(i))
            throw Otherwise{"the page in front did not let go"};
        return;
    }
    throw Otherwise{"no page " + Quoted(doing.Word(1)) + ThereAre(tabs)};
}

void Answer(const Doing& doing) {
    HWND box = FrontOrFail();
    if (!screen::IsMessageBox(box))
        throw Otherwise{"no message box is open; in front is " + Quoted(screen::TextOf(box))};
    screen::Click(Reach(doing.Word(1), "button", IsButton));
}

void Help(const Doing& doing) {
    HWND control = FindPreferred(doing.Word(1), IsUsed);
    HELPINFO help{};
    help.cbSize = sizeof(help);
    help.iContextType = HELPINFO_WINDOW;
    help.iCtrlId = GetDlgCtrlID(control);
    help.hItemHandle = control;
    SendMessageW(control, WM_HELP, 0, reinterpret_cast<LPARAM>(&help));
}

void ClickOn(const Doing& doing) {
    HWND control = Reach(doing.Word(1), "control", IsAnything);
    RECT area{};
    GetClientRect(control, &area);
    const LPARAM middle = MAKELPARAM(area.right / 2, area.bottom / 2);
    SendMessageW(control, WM_LBUTTONDOWN, 1, middle);
    SendMessageW(control, WM_LBUTTONUP, 0, middle);
}

void Picture(const Doing& doing) {
    HWND front = FrontOrFail();
    if (!doing.desk.CanDraw())
        return;
    std::filesystem::path file = doing.pictures / doing.Word(1);
    if (file.extension() != ".png")
        file += ".png";
    if (file.has_parent_path())
        std::filesystem::create_directories(file.parent_path());
    doing.desk.Draw(front, file);
}

// --- expecting ---

void ExpectBox(const Doing& doing) {
    HWND box = FrontOrFail();
    if (!screen::IsMessageBox(box))
        throw Otherwise{"no message box is open; in front is " + Quoted(screen::TextOf(box))};
    const std::string seen = "[" + screen::TextOf(box) + "] " + Spoken(screen::BoxText(box));
    if (screen::TextOf(box) != doing.Word(2))
        throw Otherwise{"the message box has another caption: " + seen};
    if (!Holds(screen::BoxText(box), doing.Word(3)))
        throw Otherwise{"the message box says something else: " + seen};
    if (doing.statement.words.size() > 4 && screen::BoxIcon(box) != doing.Word(4))
        throw Otherwise{"the message box has another icon: " + screen::BoxIcon(box)};
}

void ExpectEqual(const std::string& seen, const std::string& expected) {
    if (seen != expected)
        throw Otherwise{"it is " + Quoted(seen)};
}

void ExpectTitle(const Doing& doing) {
    const std::string title = screen::TextOf(FrontOrFail());
    // Systems put their own words around the title of a properties sheet.
    if (!Holds(title, doing.Word(2)))
        throw Otherwise{"it is " + Quoted(title)};
}

std::string Joined(const std::vector<std::string>& parts) {
    std::string all;
    for (std::size_t i = 0; i < parts.size(); ++i)
        all += (i == 0 ? "" : ",") + parts[i];
    return all;
}

void ExpectTabs(const Doing& doing) {
    ExpectEqual(Joined(screen::TabsOf(FrontOrFail())), doing.Word(2));
}

void ExpectSelected(const Doing& doing) {
    HWND box = Find(doing.Word(2), "choice box", IsChoice);
    ExpectEqual(screen::EntryOf(box, static_cast<int>(SendMessageW(box, CB_GETCURSEL, 0, 0))), doing.Word(3));
}

void ExpectEntries(const Doing& doing) {
    const std::string entries = Joined(screen::EntriesOf(Find(doing.Word(2), "choice box", IsChoice)));
    std::string expected = doing.Word(3);
    constexpr std::string_view kAndSoOn = "...";
    if (expected.size() >= kAndSoOn.size() && expected.ends_with(kAndSoOn)) {
        expected.resize(expected.size() - kAndSoOn.size());
        ExpectEqual(entries.substr(0, expected.size()), expected);
    } else {
        ExpectEqual(entries, expected);
    }
}

void ExpectText(const Doing& doing) {
    const std::string text = screen::TextOf(FindPreferred(doing.Word(2), IsWritten));
    if (Spoken(text) != Spoken(doing.Word(3)))
        throw Otherwise{"it is " + Quoted(text)};
}

void ExpectState(const Doing& doing) {
    const std::string& state = doing.Word(1);
    const int nth = NumberOr(doing.statement, 3, 1);
    if (state == "checked" || state == "unchecked") {
        const auto isMarked = [](Kind kind) { return IsCheckBox(kind) || IsRadio(kind); };
        HWND box = Find(doing.Word(2), "check box", isMarked, nth);
        if ((SendMessageW(box, BM_GETCHECK, 0, 0) == BST_CHECKED) != (state == "checked"))
            throw Otherwise{state == "checked" ? "it is unchecked" : "it is checked"};
        return;
    }
    HWND control = FindForState(doing.Word(2), nth);
    const bool enabled = IsWindowEnabled(control) != FALSE;
    const bool shown = IsWindowVisible(control) != FALSE;
    const bool right = state == "enabled"    ? enabled
                       : state == "disabled" ? !enabled
                       : state == "shown"    ? shown
                                             : !shown;
    if (!right)
        throw Otherwise{std::string("it is ") + (enabled ? "enabled" : "disabled") + " and " +
                        (shown ? "shown" : "hidden")};
}

void ExpectSlider(const Doing& doing) {
    HWND slider = Find(doing.Word(2), "slider", IsSlider);
    ExpectEqual(std::to_string(SendMessageW(slider, TBM_GETPOS, 0, 0)), doing.Word(3));
}

void ExpectTip(const Doing& doing) {
    const std::string tip = doing.desk.TipOf(FindPreferred(doing.Word(2), IsUsed));
    if (!Holds(tip, doing.Word(3)) || tip.empty() != doing.Word(3).empty())
        throw Otherwise{"it is " + Quoted(tip)};
}

void ExpectClosed(const Doing&) {
    if (HWND front = screen::Front(); front != nullptr)
        throw Otherwise{Quoted(screen::TextOf(front)) + " is open"};
}

void ExpectFocus(const Doing& doing) {
    HWND control = Find(doing.Word(2), "control", IsUsed);
    HWND focus = GetFocus();
    if (focus != control && (focus == nullptr || GetParent(focus) != control))
        throw Otherwise{focus == nullptr ? std::string("nothing has it")
                                         : "it is on " + std::string(screen::NameOf(screen::KindOf(focus))) +
                                               " #" + std::to_string(GetDlgCtrlID(focus))};
}

struct Verb {
    const char* name;
    const char* usage;
    std::size_t words;  // at least, the verb's own included
    std::size_t most;
    void (*run)(const Doing&);
    bool with_box;                    // allowed while a message box is open
    bool first_may_be_empty = false;  // the first word after the verb may be empty
};

constexpr std::array kVerbs{
    Verb{"press", "press BUTTON", 2, 2, Press, true},
    Verb{"select", "select CHOICE-BOX ENTRY", 3, 3, Select, false},
    Verb{"type", "type FIELD TEXT", 3, 3, Type, false},
    Verb{"check", "check BOX [N]", 2, 3, SetCheck, false},
    Verb{"uncheck", "uncheck BOX [N]", 2, 3, SetCheck, false},
    Verb{"choose", "choose RADIO-BUTTON", 2, 2, Choose, false},
    Verb{"slide", "slide SLIDER POSITION", 3, 3, Slide, false},
    Verb{"tab", "tab TITLE", 2, 2, Tab, false},
    Verb{"answer", "answer BUTTON", 2, 2, Answer, true},
    Verb{"help", "help CONTROL", 2, 2, Help, false},
    Verb{"click", "click CONTROL", 2, 2, ClickOn, false},
    Verb{"picture", "picture NAME", 2, 2, Picture, true},
};

constexpr std::array kExpectations{
    Verb{"box", "expect box CAPTION TEXT [ICON]", 4, 5, ExpectBox, true, true},
    Verb{"title", "expect title TEXT", 3, 3, ExpectTitle, false},
    Verb{"tabs", "expect tabs TITLE,TITLE...", 3, 3, ExpectTabs, false, true},
    Verb{"selected", "expect selected CHOICE-BOX ENTRY", 4, 4, ExpectSelected, false},
    Verb{"entries", "expect entries CHOICE-BOX ENTRY,ENTRY...", 4, 4, ExpectEntries, false},
    Verb{"text", "expect text FIELD TEXT", 4, 4, ExpectText, false},
    Verb{"checked", "expect checked BOX [N]", 3, 4, ExpectState, false},
    Verb{"unchecked", "expect unchecked BOX [N]", 3, 4, ExpectState, false},
    Verb{"enabled", "expect enabled CONTROL [N]", 3, 4, ExpectState, false},
    Verb{"disabled", "expect disabled CONTROL [N]", 3, 4, ExpectState, false},
    Verb{"shown", "expect shown CONTROL [N]", 3, 4, ExpectState, false},
    Verb{"hidden", "expect hidden CONTROL [N]", 3, 4, ExpectState, false},
    Verb{"slider", "expect slider SLIDER POSITION", 4, 4, ExpectSlider, false},
    Verb{"tip", "expect tip CONTROL TEXT", 4, 4, ExpectTip, false},
    Verb{"closed", "expect closed", 2, 2, ExpectClosed, false},
    Verb{"focus", "expect focus CONTROL", 3, 3, ExpectFocus, false},
};

template <typename Verbs>
const Verb* Named(const Verbs& verbs, const std::string& name) {
    const auto found =
        std::find_if(verbs.begin(), verbs.end(), [&](const Verb& verb) { return name == verb.name; });
    return found == verbs.end() ? nullptr : &*found;
}

const Verb& VerbOf(const Statement& statement) {
    const bool expects = statement.words.front() == "expect";
    const Verb* verb = !expects                     ? Named(kVerbs, statement.words.front())
                       : statement.words.size() > 1 ? Named(kExpectations, statement.words[1])
                                                    : nullptr;
    if (verb == nullptr)
        throw ScriptError(Where(statement) + "no such statement: " + statement.text);
    if (statement.words.size() < verb->words || statement.words.size() > verb->most)
        throw ScriptError(Where(statement) + statement.text + " (it is: " + verb->usage + ")");
    // An empty name would be the beginning of every control's.
    const std::size_t first = expects ? 2 : 1;
    if (!verb->first_may_be_empty && statement.words.size() > first && Spoken(statement.words[first]).empty())
        throw ScriptError(Where(statement) + statement.text + ": the name is empty (it is: " + verb->usage +
                          ")");
    return *verb;
}

}  // namespace

void CheckStatement(const Statement& statement) {
    static_cast<void>(VerbOf(statement));
}

User::User(std::vector<Statement> steps, Desk& desk, Watching watching)
    : steps_(std::move(steps)), desk_(desk), watching_(std::move(watching)) {}

void User::Fail(const Statement* statement, const std::string& what) {
    if (failure_.empty())
        failure_ = statement == nullptr ? what : Where(*statement) + statement->text + ": " + what;
}

bool User::Step() {
    if (!failure_.empty())
        return false;
    HWND front = screen::Front();
    const Statement* statement = next_ < steps_.size() ? &steps_[next_] : nullptr;
    if (watching_.look)
        watching_.look(front, statement);
    if (statement == nullptr) {
        if (front != nullptr)
            Fail(nullptr, "the script ended while " + Quoted(screen::TextOf(front)) + " was open" +
                              (screen::IsMessageBox(front) ? ": " + Spoken(screen::BoxText(front)) : ""));
        return false;
    }
    ++next_;
    try {
        const Verb& verb = VerbOf(*statement);
        if (!verb.with_box && front != nullptr && screen::IsMessageBox(front))
            throw Otherwise{"a message box is open: [" + screen::TextOf(front) + "] " +
                            Spoken(screen::BoxText(front))};
        verb.run(Doing{*statement, desk_, watching_.pictures});
    } catch (const std::exception& error) {
        Fail(statement, error.what());
    }
    return failure_.empty();
}

void User::WindowsClosed() {
    for (; failure_.empty() && next_ < steps_.size(); ++next_)
        if (const Statement& statement = steps_[next_];
            statement.words != std::vector<std::string>{"expect", "closed"})
            Fail(&statement, "every window has closed before");
}

}  // namespace qxhost
