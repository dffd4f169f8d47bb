// SPDX-License-Identifier: MIT
// Every page as the resource script has it: what a control must have is asked of the controls, so that one
// that somebody adds without a tip, a help text or a label is found.
#include "module/resource.h"
#include "platform/desktop/picture.h"
#include "tests/pages/port_sheet.h"

#include <commctrl.h>

#include <gmock/gmock.h>

#include <algorithm>
#include <set>

namespace qxtest {
namespace {

using qxsim::ControlPicture;
using qxsim::Desktop;
using testing::IsEmpty;

// What a user operates.
bool IsInput(const ControlPicture& control) {
    static const std::set<std::string> kinds{"push button", "check box",           "radio button",
                                             "choice box",  "editable choice box", "slider"};
    return kinds.contains(control.kind);
}

class ResourceScript : public PortSheetTest {
  public:
    void SetUp() override {
        PortSheetTest::SetUp();
        Driver().settings["PortType"] = 1;
        Driver().settings["SupportedDuplexModes"] = 31;
    }

    // Opens every page in turn and shows each to `look`.
    void LookAtPages(const std::function<void(const qxsim::WindowPicture& page)>& look) {
        int pages = 0;
        const auto see = [&] {
            ASSERT_NE(PageInFront(), nullptr);
            SCOPED_TRACE("page " + std::to_string(++pages));
            const qxsim::WindowPicture page = Desktop::The().Picture(PageInFront());
            EXPECT_NE(page.activation_context, 0U) << "without themes";
            look(page);
        };
        Steps steps{see, [] { Press(IDC_ADVANCED); }};
        for (int tab = 0; tab < 4; ++tab) {
            steps.push_back([tab] { OpenTab(tab); });
            steps.push_back(see);
        }
        steps.push_back([] { PressCancel(); });
        steps.push_back([] { PressCancel(); });
        EXPECT_EQ(ShowProperties(std::move(steps)), 0);
        EXPECT_EQ(pages, 5);
    }
};

TEST_F(ResourceScript, GivesEveryInputATipAndAHelpText) {
    LookAtPages([](const qxsim::WindowPicture& page) {
        std::set<std::string> tips;
        std::set<DWORD> contexts;
        for (const ControlPicture& control : page.controls) {
            if (!IsInput(control))
                continue;
            SCOPED_TRACE("control " + std::to_string(control.id));
            EnableWindow(control.window, TRUE);  // a disabled control shows no tip
            const auto tip = Desktop::The().HoverTip(control.window);
            ASSERT_TRUE(tip);
            EXPECT_NE(tip->text, "");
            EXPECT_TRUE(tips.insert(tip->text).second) << "another control's";
            COMBOBOXINFO box{};
            box.cbSize = sizeof(box);
            if (control.kind == "editable choice box" && GetComboBoxInfo(control.window, &box)) {
                EXPECT_TRUE(Desktop::The().HoverTip(box.hwndItem)) << "over the field in the box";
            }
            EXPECT_EQ(tip->title, "Information:");
            EXPECT_TRUE(tip->balloon && tip->closable);
            EXPECT_EQ(tip->max_width, 400);
            EXPECT_EQ(tip->icon, TTI_INFO);
            EXPECT_EQ(tip->initial_delay, 1000);
            EXPECT_EQ(tip->reshow_delay, 2000);
            EXPECT_EQ(tip->visible_time, 30000);

            const std::size_t before = Desktop::The().HelpRequests().size();
            Desktop::The().PressHelp(control.window);
            ASSERT_EQ(Desktop::The().HelpRequests().size(), before + 1);
            const auto request = Desktop::The().HelpRequests().back();
            EXPECT_EQ(request.file, "QxUUI51.chm::/QxUUI.txt");
            EXPECT_EQ(request.caller, control.window);
            EXPECT_NE(request.shown_context, 0U);
            EXPECT_TRUE(contexts.insert(request.shown_context).second) << "another control's";
            // A map that names controls which the page does not have was made for another one.
            for (const auto& [id, context] : request.map)
                if (id != 0) {
                    EXPECT_NE(GetDlgItem(page.window, static_cast<int>(id)), nullptr) << id;
                }
        }
    });
}

TEST_F(ResourceScript, GivesALabelTheHelpOfItsControlAndOtherTextsNone) {
    LookAtPages([](const qxsim::WindowPicture& page) {
        const auto context_of = [](HWND control) -> DWORD {
            const std::size_t before = Desktop::The().HelpRequests().size();
            Desktop::The().PressHelp(control);
            return Desktop::The().HelpRequests().size() == before
                       ? 0
                       : Desktop::The().HelpRequests().back().shown_context;
        };
        for (std::size_t i = 0; i + 1 < page.controls.size(); ++i) {
            const ControlPicture& label = page.controls[i];
            if (label.kind != "label" || !(label.style & SS_NOTIFY) || label.id == IDC_WEB_ADDRESS)
                continue;
            SCOPED_TRACE("label " + std::to_string(label.id));
            const DWORD own = context_of(label.window);
            // "Highest", at the far end of its slider, is the one that the help file does not know.
            if (label.id == IDC_HIGHEST_LABEL)
                EXPECT_EQ(own, 0U);
            else
                EXPECT_TRUE(own == context_of(page.controls[i + 1].window) ||
                            own == context_of(page.controls[i - 1].window));
        }
    });
}

// Screen readers and access keys take the label directly before a control for its name.
TEST_F(ResourceScript, PutsALabelBeforeEveryControlWithoutATextOfItsOwn) {
    LookAtPages([](const qxsim::WindowPicture& page) {
        for (std::size_t i = 0; i < page.controls.size(); ++i) {
            const ControlPicture& control = page.controls[i];
            const bool textless_box = control.kind == "check box" && control.text.empty();
            if (!textless_box && control.kind != "choice box" && control.kind != "editable choice box")
                continue;
            SCOPED_TRACE("control " + std::to_string(control.id));
            ASSERT_GT(i, 0U);
            EXPECT_EQ(page.controls[i - 1].kind, "label");
            EXPECT_NE(page.controls[i - 1].text, "");
        }
    });
}

// Arrow keys go round within a group: they must not lead from a setting to a button that acts.
TEST_F(ResourceScript, GivesPushButtonsGroupsOfTheirOwn) {
    LookAtPages([](const qxsim::WindowPicture& page) {
        std::set<std::string> group;
        for (const ControlPicture& control : page.controls) {
            if (control.style & WS_GROUP)
                group.clear();
            if (IsInput(control))
                group.insert(control.kind);
            EXPECT_TRUE(group.size() < 2 || !group.contains("push button")) << "control " << control.id;
        }
    });
}

TEST_F(ResourceScript, LeavesRoomForEveryTextAndKeepsControlsApart) {
    LookAtPages([](const qxsim::WindowPicture& page) {
        EXPECT_THAT(qxsim::ClippedTexts(page), IsEmpty());
        const RECT bounds{0, 0, page.width_units, page.height_units};
        for (const ControlPicture& control : page.controls) {
            SCOPED_TRACE(control.kind + ' ' + std::to_string(control.id) + ' ' + control.text);
            EXPECT_GE(control.units.left, bounds.left);
            EXPECT_GE(control.units.top, bounds.top);
            EXPECT_LE(control.units.right, bounds.right);
            if (control.kind != "choice box" && control.kind != "editable choice box") {  // they drop down
                EXPECT_LE(control.units.bottom, bounds.bottom);
            }
            for (const ControlPicture& other : page.controls) {
                if (&other <= &control || control.kind == "group box" || other.kind == "group box")
                    continue;
                const auto height = [](const ControlPicture& c) {
                    return c.kind.ends_with("choice box") ? c.units.top + 14 : c.units.bottom;
                };
                const bool apart = control.units.right <= other.units.left ||
                                   other.units.right <= control.units.left ||
                                   height(control) <= other.units.top || height(other) <= control.units.top;
                EXPECT_TRUE(apart) << "covers " << other.kind << ' ' << other.id << ' ' << other.text;
            }
        }
    });
}

TEST_F(ResourceScript, PaintsEveryPageInItsColour) {
    constexpr COLORREF kPageColour = 0xF6F7F8;
    LookAtPages([&](const qxsim::WindowPicture& page) {
        EXPECT_EQ(Desktop::The().BackgroundOf(page.window), kPageColour);
        for (const ControlPicture& control : page.controls)
            if (control.kind == "label") {
                const auto colours = Desktop::The().ColorsOf(control.window);
                EXPECT_EQ(colours.background, kPageColour) << control.text;
                EXPECT_TRUE(colours.transparent) << control.text;
            }
    });
}

// Who needs high contrast gets the system's colours, the link included, also when it is turned on while pages
// are open.
TEST_F(ResourceScript, LeavesColoursToTheSystemInHighContrast) {
    const auto link = [] { return Desktop::The().ColorsOf(ControlInFront(IDC_WEB_ADDRESS)).text; };
    ShowProperties({[] { Press(IDC_ADVANCED); }, [] { OpenTab(3); },
                    [&] {
                        EXPECT_EQ(link(), RGB(0, 0, 255));
                        machine().high_contrast = true;
                        EXPECT_EQ(link(), GetSysColor(COLOR_HOTLIGHT));
                    }});
    LookAtPages([](const qxsim::WindowPicture& page) {
        EXPECT_EQ(Desktop::The().BackgroundOf(page.window), GetSysColor(COLOR_BTNFACE));
        for (const ControlPicture& control : page.controls)
            if (control.kind == "label" && control.id != IDC_WEB_ADDRESS) {
                EXPECT_EQ(Desktop::The().ColorsOf(control.window).text, GetSysColor(COLOR_BTNTEXT))
                    << control.text;
            }
    });
}

}  // namespace
}  // namespace qxtest
