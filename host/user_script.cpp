#include "host/user_script.h"

#include "host/screen.h"
#include "platform/machine/instruments.h"

#include <commctrl.h>

#include <algorithm>
#include <array>
#include <cctype>
#include <charconv>
#include <fstream>
#include <iterator>
#include <optional>

namespace qxhost {

namespace {

using qxsim::ToWide;
using qxsim::WideString;
using screen::Kind;
using screen::Spoken;

// --- reading ---

std::string Where(int line) {
    return "line " + std::to_string(line) + ": ";
}

bool IsBlank(char c) {
    return c == ' ' || c == '\t' || c == '\r';
}

// A # opens a comment, but #246 is a control.
bool OpensComment(std::string_view text, std::size_t at) {
    return text[at] == '#' &&
           (at + 1 >= text.size() || std::isdigit(static_cast<unsigned char>(text[at + 1])) == 0);
}

// One line's statements, which semicolons part.
std::vector<Statement> SplitLine(std::string_view line, int number) {
    std::vector<Statement> statements(1);
    std::size_t begin = 0;
    const auto close = [&](std::size_t end) {
        std::string_view text = line.substr(begin, end - begin);
        while (!text.empty() && IsBlank(text.front()))
            text.remove_prefix(1);
        while (!text.empty() && IsBlank(text.back()))
            text.remove_suffix(1);
        statements.back().line = number;
        statements.back().text = text;
        if (statements.back().words.empty())
            statements.pop_back();
    };
    std::size_t at = 0;
    while (at < line.size()) {
        if (IsBlank(line[at])) {
            ++at;
        } else if (line[at] == ';') {
            close(at);
            statements.emplace_back();
            begin = ++at;
        } else if (OpensComment(line, at)) {
            close(at);
            return statements;
        } else if (line[at] == '"') {
            std::string word;
            for (++at; at < line.size() && line[at] != '"'; ++at) {
                if (line[at] == '\\' && at + 1 < line.size()) {
                    ++at;
                    word += line[at] == 'n' ? '\n' : line[at];
                } else {
                    word += line[at];
                }
            }
            if (at == line.size())
                throw ScriptError(Where(number) + "a quote is not closed: " + std::string(line));
            ++at;
            statements.back().words.push_back(std::move(word));
        } else {
            const std::size_t from = at;
            while (at < line.size() && !IsBlank(line[at]) && line[at] != ';')
                ++at;
            statements.back().words.emplace_back(line.substr(from, at - from));
        }
    }
    close(at);
    return statements;
}

// --- finding ---

// What went wrong with a statement, in words; thrown by the steps and caught in User::Step.
struct Otherwise {
    std::string what;
};

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

bool Holds(const std::string& text, const std::string& part) {
    return Spoken(text).find(Spoken(part)) != std::string::npos;
}

std::optional<int> Number(std::string_view word) {
    int number = 0;
    const auto [end, error] = std::from_chars(word.data(), word.data() + word.size(), number);
    if (error != std::errc() || end != word.data() + word.size() || word.empty())
        return std::nullopt;
    return number;
}

int NumberOr(const Statement& statement, std::size_t word, int otherwise) {
    if (word >= statement.words.size())
        return otherwise;
    const std::optional<int> number = Number(statement.words[word]);
    if (!number)
        throw Otherwise{Quoted(statement.words[word]) + " is not a number"};
    return *number;
}

HWND FrontOrFail() {
    HWND front = screen::Front();
    if (front == nullptr)
        throw Otherwise{"no window is open"};
    return front;
}

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

using KindTest = bool (*)(Kind);

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

// The control of a kind that a user means by `name`: one that shows the name itself, or the one that follows
// the label with that name. A name is compared whole first, then as a beginning.
HWND FindOrNull(const std::string& name, KindTest wanted, int nth = 1) {
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
            // What stands beside the label is meant before what only comes next.
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

std::string KnownControls(KindTest wanted) {
    constexpr std::array kByLabel{Kind::kChoice, Kind::kEdit, Kind::kSlider, Kind::kCheckBox};
    const bool by_label = std::any_of(kByLabel.begin(), kByLabel.end(), wanted);
    std::string known;
    for (HWND control : Nameable()) {
        const std::string text = Spoken(screen::TextOf(control));
        const Kind kind = screen::KindOf(control);
        if (!text.empty() && (wanted(kind) || (by_label && kind == Kind::kLabel)) && kind != Kind::kChoice &&
            kind != Kind::kEdit)
            known += (known.empty() ? "" : ", ") + Quoted(text);
    }
    return known.empty() ? " (there is none)" : " (there are " + known + ")";
}

HWND Find(const std::string& name, const char* what, KindTest wanted, int nth = 1) {
    HWND control = FindOrNull(name, wanted, nth);
    if (control == nullptr)
        throw Otherwise{"no " + std::string(what) + " " + Quoted(name) +
                        (nth > 1 ? " number " + std::to_string(nth) : "") + " here" + KnownControls(wanted)};
    return control;
}

// A user reaches only what is shown and enabled.
HWND Reach(const std::string& name, const char* what, KindTest wanted, int nth = 1) {
    HWND control = Find(name, what, wanted, nth);
    if (!IsWindowVisible(control))
        throw Otherwise{Quoted(name) + " is hidden"};
    if (!IsWindowEnabled(control))
        throw Otherwise{Quoted(name) + " is disabled"};
    return control;
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

// For questions about a control's state: the control that is used; a text that names none is asked itself.
HWND FindForState(const std::string& name, int nth) {
    const std::vector<HWND> controls = Nameable();
    HWND control = FindOrNull(name, IsUsed, nth);
    HWND itself = name.front() == '#' ? nullptr : FindOrNull(name, IsAnything, nth);
    if (control != nullptr && itself != nullptr && control != itself) {
        // A label names the control right behind it; a text further off names nothing.
        const auto at = std::find(controls.begin(), controls.end(), itself);
        if (at == controls.end() || at + 1 == controls.end() || *(at + 1) != control)
            return itself;
    }
    if (control == nullptr)
        control = itself;
    return control != nullptr ? control : Find(name, "control", IsAnything, nth);
}

void Tell(HWND control, WORD code) {
    SendMessageW(GetParent(control), WM_COMMAND, MAKEWPARAM(GetDlgCtrlID(control), code),
                 reinterpret_cast<LPARAM>(control));
}

void ClickWithMouse(HWND control) {
    RECT area{};
    GetClientRect(control, &area);
    const LPARAM middle = MAKELPARAM(area.right / 2, area.bottom / 2);
    SendMessageW(control, WM_LBUTTONDOWN, 1, middle);
    SendMessageW(control, WM_LBUTTONUP, 0, middle);
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
    std::string known;
    for (std::size_t i = 0; i < entries.size() && i < 24; ++i)
        known += (known.empty() ? "" : ", ") + Quoted(entries[i]);
    throw Otherwise{"no entry " + Quoted(name) + " (there are " + known +
                    (entries.size() > 24 ? ", ...)" : ")")};
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

void SetCheck(const Doing& doing, LRESULT wanted) {
    HWND box = Reach(doing.Word(1), "check box", IsCheckBox, NumberOr(doing.statement, 2, 1));
    if (SendMessageW(box, BM_GETCHECK, 0, 0) != wanted)
        screen::Click(box);
}
void Check(const Doing& doing) {
    SetCheck(doing, BST_CHECKED);
}
void Uncheck(const Doing& doing) {
    SetCheck(doing, BST_UNCHECKED);
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
    std::string known;
    for (const std::string& tab : tabs)
        known += (known.empty() ? "" : ", ") + Quoted(tab);
    throw Otherwise{"no page " + Quoted(doing.Word(1)) + " (there are " + known + ")"};
}

void Answer(const Doing& doing) {
    HWND box = FrontOrFail();
    if (!screen::IsMessageBox(box))
        throw Otherwise{"no message box is open; in front is " + Quoted(screen::TextOf(box))};
    screen::Click(Reach(doing.Word(1), "button", IsButton));
}

void Help(const Doing& doing) {
    HWND control = Find(doing.Word(1), "control", IsAnything);
    if (HWND used = FindOrNull(doing.Word(1), IsUsed); used != nullptr)
        control = used;
    HELPINFO help{};
    help.cbSize = sizeof(help);
    help.iContextType = HELPINFO_WINDOW;
    help.iCtrlId = GetDlgCtrlID(control);
    help.hItemHandle = control;
    SendMessageW(control, WM_HELP, 0, reinterpret_cast<LPARAM>(&help));
}

void ClickOn(const Doing& doing) {
    ClickWithMouse(Reach(doing.Word(1), "control", IsAnything));
}

void Picture(const Doing& doing) {
    std::filesystem::path file = doing.pictures / doing.Word(1);
    if (file.extension() != doing.desk.PictureSuffix())
        file += doing.desk.PictureSuffix();
    if (file.has_parent_path())
        std::filesystem::create_directories(file.parent_path());
    doing.desk.Draw(FrontOrFail(), file);
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
    HWND control = FindOrNull(doing.Word(2), IsWritten);
    if (control == nullptr)
        control = Find(doing.Word(2), "control", IsAnything);
    const std::string text = screen::TextOf(control);
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
    HWND control = FindOrNull(doing.Word(2), IsUsed);
    if (control == nullptr)
        control = Find(doing.Word(2), "control", IsAnything);
    const std::string tip = doing.desk.TipOf(control);
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
    bool with_box;                    // may be said while a message box is open
    bool first_may_be_empty = false;  // what the first word behind the verb names may be nothing
};

constexpr std::array kVerbs{
    Verb{"press", "press BUTTON", 2, 2, Press, true},
    Verb{"select", "select CHOICE-BOX ENTRY", 3, 3, Select, false},
    Verb{"type", "type FIELD TEXT", 3, 3, Type, false},
    Verb{"check", "check BOX [N]", 2, 3, Check, false},
    Verb{"uncheck", "uncheck BOX [N]", 2, 3, Uncheck, false},
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
        throw ScriptError(Where(statement.line) + "no such statement: " + statement.text);
    if (statement.words.size() < verb->words || statement.words.size() > verb->most)
        throw ScriptError(Where(statement.line) + statement.text + " (it is: " + verb->usage + ")");
    // An empty name would be the beginning of every control's.
    const std::size_t first = expects ? 2 : 1;
    if (!verb->first_may_be_empty && statement.words.size() > first && Spoken(statement.words[first]).empty())
        throw ScriptError(Where(statement.line) + statement.text +
                          ": the name is empty (it is: " + verb->usage + ")");
    return *verb;
}

}  // namespace

std::string ReadScript(const std::filesystem::path& file) {
    std::ifstream in(file, std::ios::binary);
    std::error_code ignored;
    // A folder can be opened like a file.
    if (!in || std::filesystem::is_directory(file, ignored))
        throw ScriptError("cannot be read");
    return {std::istreambuf_iterator<char>(in), {}};
}

Script ParseScript(std::string_view text) {
    Script script;
    int number = 0;
    while (!text.empty()) {
        const std::size_t end = text.find('\n');
        const std::string_view line = text.substr(0, end);
        text = end == std::string_view::npos ? std::string_view() : text.substr(end + 1);
        ++number;
        for (Statement& statement : SplitLine(line, number)) {
            const std::string& first = statement.words.front();
            if (first == "after:") {
                if (statement.words.size() < 2)
                    throw ScriptError(Where(number) + "after: what?");
                script.after.push_back(std::move(statement));
            } else if (first == "machine:" || first == "port:" || first == "held:") {
                if (statement.words.size() != 2)
                    throw ScriptError(Where(number) + first + " takes one name");
                if (first == "held:")
                    script.held.push_back(statement.words[1]);
                else
                    (first == "port:" ? script.port : script.machine) = statement.words[1];
            } else {
                static_cast<void>(VerbOf(statement));
                script.steps.push_back(std::move(statement));
            }
        }
    }
    return script;
}

User::User(std::vector<Statement> steps, Desk& desk, Watching watching)
    : steps_(std::move(steps)), desk_(desk), watching_(std::move(watching)) {}

void User::Fail(const Statement* statement, const std::string& what) {
    if (failure_.empty())
        failure_ = statement == nullptr ? what : Where(statement->line) + statement->text + ": " + what;
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
    } catch (const Otherwise& otherwise) {
        Fail(statement, otherwise.what);
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
