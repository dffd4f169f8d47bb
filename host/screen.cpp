// SPDX-License-Identifier: MIT
#include "host/screen.h"

#include "platform/machine/instruments.h"

#include <commctrl.h>

#include <algorithm>
#include <array>
#include <cctype>

namespace qxhost::screen {

namespace {

using qxsim::ToUtf8;
using qxsim::WideString;

constexpr WPARAM kNone = 0;

LONG_PTR StyleOf(HWND window) {
    return GetWindowLongPtrW(window, GWL_STYLE);
}

bool HasText(const std::string& text) {
    return !Spoken(text).empty();
}

HWND FirstOfKind(HWND window, Kind kind) {
    const std::vector<HWND> controls = ControlsOfKind(window, kind);
    return controls.empty() ? nullptr : controls.front();
}

BOOL CALLBACK CollectWindow(HWND window, LPARAM list) {
    reinterpret_cast<std::vector<HWND>*>(list)->push_back(window);
    return TRUE;
}

bool StandsIn(const RECT& rectangle, LONG y) {
    return y >= rectangle.top && y < rectangle.bottom;
}

std::string Padded(std::string text, std::size_t width) {
    if (text.size() < width)
        text.append(width - text.size(), ' ');
    return text;
}

// One control as a person reads it.
std::string Glance(HWND control, Kind kind) {
    const std::string text = Spoken(TextOf(control));
    std::string seen;
    switch (kind) {
        case Kind::kGroup:
            seen = "-- " + text + " --";
            break;
        case Kind::kButton:
            seen = "< " + text + " >";
            break;
        case Kind::kCheckBox:
            seen = SendMessageW(control, BM_GETCHECK, kNone, 0) == BST_CHECKED ? "[x]" : "[ ]";
            break;
        case Kind::kRadio:
            seen = SendMessageW(control, BM_GETCHECK, kNone, 0) == BST_CHECKED ? "(o)" : "( )";
            break;
        case Kind::kChoice:
            seen = "[" + Padded(TextOf(control), 12) + " v]";
            break;
        case Kind::kEdit:
            seen = "[" + TextOf(control) + "]";
            break;
        case Kind::kSlider: {
            const auto ask = [&](UINT message) {
                return std::to_string(SendMessageW(control, message, kNone, 0));
            };
            seen = "slider at " + ask(TBM_GETPOS) + " of " + ask(TBM_GETRANGEMIN) + " to " +
                   ask(TBM_GETRANGEMAX);
            break;
        }
        case Kind::kPicture:
            seen = "{picture #" + std::to_string(GetDlgCtrlID(control)) + "}";
            break;
        default:
            seen = text;
            break;
    }
    if ((kind == Kind::kCheckBox || kind == Kind::kRadio) && !text.empty())
        seen += " " + text;
    if (!IsWindowEnabled(control))
        seen += " (disabled)";
    return seen;
}

// Long lists, such as every COM name there is, are cut in the middle.
std::string ChoicesOf(HWND box) {
    constexpr std::size_t kAll = 24;
    constexpr std::size_t kFirst = 12;
    constexpr std::size_t kLast = 2;
    const std::vector<std::string> entries = EntriesOf(box);
    std::string line;
    for (std::size_t i = 0; i < entries.size(); ++i) {
        if (entries.size() > kAll && i == kFirst) {
            line += " | ... " + std::to_string(entries.size() - kFirst - kLast) + " more ...";
            i = entries.size() - kLast;
        }
        line += (line.empty() ? "" : " | ") + entries[i];
    }
    return line;
}

struct Placed {
    HWND control;
    Kind kind;
    RECT place;
};

// Controls side by side share a row: each joins the row whose first control is at its height.
std::vector<std::vector<Placed>> Rows(std::vector<Placed> controls) {
    std::stable_sort(controls.begin(), controls.end(),
                     [](const Placed& a, const Placed& b) { return a.place.top < b.place.top; });
    std::vector<std::vector<Placed>> rows;
    for (const Placed& each : controls) {
        const LONG middle = each.place.top + std::min<LONG>((each.place.bottom - each.place.top) / 2, 10);
        const bool alone = each.kind == Kind::kGroup;
        const auto row =
            alone ? rows.end() : std::find_if(rows.begin(), rows.end(), [&](const auto& candidate) {
                const Placed& first = candidate.front();
                return first.kind != Kind::kGroup && StandsIn(first.place, middle);
            });
        if (row == rows.end())
            rows.push_back({each});
        else
            row->push_back(each);
    }
    for (auto& row : rows)
        std::stable_sort(row.begin(), row.end(),
                         [](const Placed& a, const Placed& b) { return a.place.left < b.place.left; });
    return rows;
}

void DescribeControls(HWND window, std::vector<std::string>& lines) {
    std::vector<Placed> shown;
    std::string hidden;
    for (HWND control : ControlsOn(window)) {
        const Kind kind = KindOf(control);
        if (kind == Kind::kPage || kind == Kind::kTabs)
            continue;
        // A control is hidden by its own style; its page may be hidden while another is in front.
        if ((StyleOf(control) & WS_VISIBLE) == 0) {
            const std::string text = Spoken(TextOf(control));
            hidden += (hidden.empty() ? "" : "; ") +
                      (text.empty() ? std::string(NameOf(kind)) + " #" + std::to_string(GetDlgCtrlID(control))
                                    : text);
            continue;
        }
        const bool silent = kind == Kind::kLabel || kind == Kind::kGroup || kind == Kind::kOther;
        const bool ornament = kind == Kind::kPicture && GetDlgCtrlID(control) <= 0;
        if ((silent && !HasText(TextOf(control))) || ornament)
            continue;
        Placed placed{control, kind, {}};
        GetWindowRect(control, &placed.place);
        shown.push_back(placed);
    }
    for (const auto& row : Rows(std::move(shown))) {
        std::string line;
        for (const Placed& each : row) {
            const std::string seen = Glance(each.control, each.kind);
            line += Padded(seen, each.kind == Kind::kLabel ? 20 : 24) + "  ";
        }
        line.erase(line.find_last_not_of(' ') + 1);
        lines.push_back((row.front().kind == Kind::kGroup ? "" : "  ") + line);
        for (const Placed& each : row)
            if (each.kind == Kind::kChoice)
                lines.push_back("      choices: " + ChoicesOf(each.control));
    }
    if (!hidden.empty())
        lines.push_back("  hidden: " + hidden);
}

}  // namespace

std::string TextOf(HWND window) {
    WideString text(static_cast<std::size_t>(GetWindowTextLengthW(window)) + 1, WCHAR{});
    text.resize(static_cast<std::size_t>(GetWindowTextW(window, text.data(), static_cast<int>(text.size()))));
    return ToUtf8(text);
}

std::string ClassOf(HWND window) {
    std::array<WCHAR, 128> name{};
    const int length = GetClassNameW(window, name.data(), static_cast<int>(name.size()));
    return ToUtf8({name.data(), static_cast<std::size_t>(std::max(length, 0))});
}

Kind KindOf(HWND control) {
    const std::string name = ClassOf(control);
    const LONG_PTR type = StyleOf(control) & 0x1F;
    if (name == "Static") {
        constexpr std::array<LONG_PTR, 3> kPictures{SS_ICON, SS_BITMAP, SS_OWNERDRAW};
        return std::find(kPictures.begin(), kPictures.end(), type) != kPictures.end() ? Kind::kPicture
                                                                                      : Kind::kLabel;
    }
    if (name == "Button") {
        switch (type & 0xF) {
            case BS_CHECKBOX:
            case BS_AUTOCHECKBOX:
            case BS_3STATE:
            case BS_AUTO3STATE:
                return Kind::kCheckBox;
            case BS_RADIOBUTTON:
            case BS_AUTORADIOBUTTON:
                return Kind::kRadio;
            case BS_GROUPBOX:
                return Kind::kGroup;
            default:
                return Kind::kButton;
        }
    }
    static const std::array<std::pair<const char*, Kind>, 5> kClasses{{{"ComboBox", Kind::kChoice},
                                                                       {"Edit", Kind::kEdit},
                                                                       {"msctls_trackbar32", Kind::kSlider},
                                                                       {"SysTabControl32", Kind::kTabs},
                                                                       {"#32770", Kind::kPage}}};
    for (const auto& [class_name, kind] : kClasses)
        if (name == class_name)
            return kind;
    return Kind::kOther;
}

const char* NameOf(Kind kind) {
    constexpr std::array<const char*, 12> kNames{"label",     "picture",      "group",      "button",
                                                 "check box", "radio button", "choice box", "edit",
                                                 "slider",    "tabs",         "page",       "control"};
    return kNames.at(static_cast<std::size_t>(kind));
}

std::vector<HWND> ControlsOn(HWND window) {
    std::vector<HWND> controls;
    for (HWND each = GetWindow(window, GW_CHILD); each != nullptr; each = GetWindow(each, GW_HWNDNEXT))
        controls.push_back(each);
    return controls;
}

std::vector<HWND> ControlsOfKind(HWND window, Kind kind) {
    std::vector<HWND> controls = ControlsOn(window);
    std::erase_if(controls, [kind](HWND control) { return KindOf(control) != kind; });
    return controls;
}

HWND Front() {
    std::vector<HWND> windows;
    EnumThreadWindows(GetCurrentThreadId(), CollectWindow, reinterpret_cast<LPARAM>(&windows));
    HWND first = nullptr;
    for (HWND window : windows) {
        if (!IsWindowVisible(window) || ClassOf(window) != "#32770")
            continue;
        // A window that shows another one modally is disabled meanwhile.
        if (IsWindowEnabled(window))
            return window;
        if (first == nullptr)
            first = window;
    }
    return first;
}

bool IsMessageBox(HWND window) {
    // Nothing on it but its text, its icon and its buttons.
    bool text = false;
    bool button = false;
    for (HWND control : ControlsOn(window)) {
        const Kind kind = KindOf(control);
        if (kind != Kind::kLabel && kind != Kind::kPicture && kind != Kind::kButton)
            return false;
        text = text || kind == Kind::kLabel;
        button = button || kind == Kind::kButton;
    }
    return text && button;
}

std::string BoxText(HWND box) {
    std::string text;
    for (HWND label : ControlsOfKind(box, Kind::kLabel))
        if (std::string each = TextOf(label); each.size() > text.size())
            text = std::move(each);
    return text;
}

std::string BoxIcon(HWND box) {
    HWND icon = FirstOfKind(box, Kind::kPicture);
    if (icon == nullptr)
        return {};
    const LRESULT shown = SendMessageW(icon, STM_GETICON, kNone, 0);
    const std::array<std::pair<LPWSTR, const char*>, 4> kIcons{{{MAKEINTRESOURCE(32513), "error"},
                                                                {MAKEINTRESOURCE(32514), "question"},
                                                                {MAKEINTRESOURCE(32515), "warning"},
                                                                {MAKEINTRESOURCE(32516), "information"}}};
    for (const auto& [id, name] : kIcons)
        if (reinterpret_cast<LRESULT>(LoadIconW(nullptr, id)) == shown)
            return name;
    return {};
}

std::vector<std::string> TabsOf(HWND window) {
    std::vector<std::string> titles;
    HWND tabs = FirstOfKind(window, Kind::kTabs);
    const LRESULT count = tabs == nullptr ? 0 : SendMessageW(tabs, TCM_GETITEMCOUNT, kNone, 0);
    for (LRESULT i = 0; i < count; ++i) {
        std::array<WCHAR, 128> title{};
        TCITEMW item{};
        item.mask = TCIF_TEXT;
        item.pszText = title.data();
        item.cchTextMax = static_cast<int>(title.size());
        SendMessageW(tabs, TCM_GETITEMW, static_cast<WPARAM>(i), reinterpret_cast<LPARAM>(&item));
        titles.push_back(ToUtf8(item.pszText));
    }
    return titles;
}

int CurrentTab(HWND window) {
    HWND tabs = FirstOfKind(window, Kind::kTabs);
    return tabs == nullptr ? -1 : static_cast<int>(SendMessageW(tabs, TCM_GETCURSEL, kNone, 0));
}

HWND PageOf(HWND window) {
    if (FirstOfKind(window, Kind::kTabs) == nullptr)
        return window;
    HWND page = reinterpret_cast<HWND>(SendMessageW(window, PSM_GETCURRENTPAGEHWND, kNone, 0));
    return page == nullptr ? window : page;
}

void ShowTab(HWND sheet, int index) {
    SendMessageW(sheet, PSM_SETCURSEL, static_cast<WPARAM>(index), 0);
}

std::string EntryOf(HWND box, int index) {
    const LRESULT length = SendMessageW(box, CB_GETLBTEXTLEN, static_cast<WPARAM>(index), 0);
    if (length < 0)
        return {};
    WideString text(static_cast<std::size_t>(length) + 1, WCHAR{});
    const LRESULT copied =
        SendMessageW(box, CB_GETLBTEXT, static_cast<WPARAM>(index), reinterpret_cast<LPARAM>(text.data()));
    text.resize(static_cast<std::size_t>(std::max<LRESULT>(copied, 0)));
    return ToUtf8(text);
}

std::vector<std::string> EntriesOf(HWND box) {
    std::vector<std::string> entries;
    const LRESULT count = SendMessageW(box, CB_GETCOUNT, kNone, 0);
    for (LRESULT i = 0; i < count; ++i)
        entries.push_back(EntryOf(box, static_cast<int>(i)));
    return entries;
}

std::string Spoken(std::string_view text) {
    std::string spoken;
    for (std::size_t i = 0; i < text.size(); ++i) {
        char c = text[i];
        if (c == '&') {
            if (i + 1 < text.size() && text[i + 1] == '&')
                ++i;
            else
                continue;
        }
        if (std::isspace(static_cast<unsigned char>(c)) != 0)
            c = ' ';
        if (c != ' ' || (!spoken.empty() && spoken.back() != ' '))
            spoken.push_back(c);
    }
    while (!spoken.empty() && (spoken.back() == ' ' || spoken.back() == ':'))
        spoken.pop_back();
    return spoken;
}

void Click(HWND button) {
    SendMessageW(button, BM_CLICK, kNone, 0);
}

bool CancelFront() {
    HWND window = Front();
    if (window == nullptr)
        return false;
    HWND last = nullptr;
    for (HWND button : ControlsOfKind(window, Kind::kButton)) {
        last = button;
        if (GetDlgCtrlID(button) == IDCANCEL || GetDlgCtrlID(button) == IDNO)
            break;
    }
    if (last != nullptr)
        Click(last);
    else
        SendMessageW(window, WM_CLOSE, kNone, 0);
    return true;
}

std::vector<std::string> Describe(HWND window) {
    std::vector<std::string> lines;
    if (IsMessageBox(window)) {
        std::string buttons;
        for (HWND button : ControlsOfKind(window, Kind::kButton))
            buttons += " < " + Spoken(TextOf(button)) + " >";
        const std::string icon = BoxIcon(window);
        lines.push_back("[" + TextOf(window) + "]" + (icon.empty() ? "" : " (" + icon + ")"));
        lines.push_back("  " + Spoken(BoxText(window)));
        lines.push_back(" " + buttons);
        return lines;
    }
    std::string title = "[" + TextOf(window) + "]";
    const std::vector<std::string> tabs = TabsOf(window);
    for (std::size_t i = 0; i < tabs.size(); ++i)
        title += static_cast<int>(i) == CurrentTab(window) ? "  *" + tabs[i] + "*" : "  " + tabs[i];
    lines.push_back(title);
    HWND page = PageOf(window);
    DescribeControls(page, lines);
    if (page != window)
        DescribeControls(window, lines);
    return lines;
}

}  // namespace qxhost::screen
