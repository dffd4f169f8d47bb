// SPDX-License-Identifier: MIT
// Controls: what messages change, what the dialog is told, and what the user cannot do.
#include "tests/desktop/desktop_fixture.h"

using testing::ElementsAre;
using testing::IsEmpty;

namespace qxtest {
namespace {

class Controls : public DesktopTest {
  public:
    // Opens a page of the template and runs `check` on it.
    void OnPage(UINT dialog, const std::function<void()>& check) {
        page.dialog = dialog;
        page.procedure = [&](HWND, UINT message, WPARAM wparam, LPARAM lparam) -> INT_PTR {
            if (message == WM_COMMAND)
                commands.emplace_back(LOWORD(wparam), HIWORD(wparam));
            if (message == WM_HSCROLL)
                commands.emplace_back(GetDlgCtrlID(reinterpret_cast<HWND>(lparam)), LOWORD(wparam));
            if (message == WM_NOTIFY && reinterpret_cast<NMHDR*>(lparam)->code == TTN_GETDISPINFOW && tip)
                tip(*reinterpret_cast<NMTTDISPINFOW*>(lparam));
            return FALSE;
        };
        RunSheet({&page}, {[&](HWND) {
                     commands.clear();
                     check();
                 }});
    }
    [[nodiscard]] HWND Item(int id) const { return GetDlgItem(page.window, id); }
    [[nodiscard]] LRESULT Tell(int id, UINT message, WPARAM wparam = 0, LPARAM lparam = 0) const {
        return SendMessageW(Item(id), message, wparam, lparam);
    }
    LRESULT Add(int id, const WCHAR* text) {
        return Tell(id, CB_ADDSTRING, 0, reinterpret_cast<LPARAM>(text));
    }
    [[nodiscard]] qxsim::ControlPicture Seen(int id) const {
        for (const qxsim::ControlPicture& control : desktop().Picture(page.window).controls)
            if (control.id == id)
                return control;
        return {};
    }
    std::vector<std::pair<int, int>> Commands() { return std::exchange(commands, {}); }

    TestPage page{.name = "A"};
    std::vector<std::pair<int, int>> commands;  // control and notification
    std::function<void(NMTTDISPINFOW&)> tip;
};

TEST_F(Controls, EditableChoiceBoxTellsOfTypingNotOfMessages) {
    OnPage(IDD_PORT_SETTINGS, [&] {
        Add(IDC_BAUD_RATE, TEXT("9600"));
        Add(IDC_BAUD_RATE, TEXT("115200"));
        static_cast<void>(Tell(IDC_BAUD_RATE, CB_SETITEMDATA, 1, 77));
        EXPECT_EQ(Tell(IDC_BAUD_RATE, CB_SETCURSEL, 1), 1);
        EXPECT_EQ(Seen(IDC_BAUD_RATE).text, "115200");
        EXPECT_EQ(Seen(IDC_BAUD_RATE).entries[1].data, 77U);
        EXPECT_THAT(Commands(), IsEmpty());

        COMBOBOXINFO info{};
        info.cbSize = sizeof(info);
        ASSERT_TRUE(GetComboBoxInfo(Item(IDC_BAUD_RATE), &info));
        SetWindowLongPtrW(info.hwndItem, GWL_STYLE, GetWindowLongPtrW(info.hwndItem, GWL_STYLE) | ES_NUMBER);
        SendMessageW(info.hwndItem, EM_SETSEL, 0, -1);
        SendMessageW(info.hwndItem, WM_CHAR, u'x', 0);  // digits only
        EXPECT_THAT(Commands(), IsEmpty());
        SendMessageW(info.hwndItem, WM_CHAR, u'7', 0);
        EXPECT_EQ(Seen(IDC_BAUD_RATE).text, "7");
        EXPECT_EQ(Tell(IDC_BAUD_RATE, CB_GETCURSEL), CB_ERR);
        EXPECT_THAT(Commands(), ElementsAre(std::pair(IDC_BAUD_RATE, CBN_EDITUPDATE),
                                            std::pair(IDC_BAUD_RATE, CBN_EDITCHANGE)));

        EnableWindow(Item(IDC_BAUD_RATE), FALSE);
        SendMessageW(info.hwndItem, WM_CHAR, u'8', 0);
        EXPECT_EQ(Seen(IDC_BAUD_RATE).text, "7");
        EXPECT_EQ(Tell(IDC_BAUD_RATE, CB_RESETCONTENT), CB_OKAY);
        EXPECT_EQ(Seen(IDC_BAUD_RATE).text, "");
        EnableWindow(Item(IDC_BAUD_RATE), TRUE);
        SendMessageW(info.hwndItem, WM_KEYDOWN, VK_DOWN, 0);  // there is nothing to go to
        EXPECT_EQ(Tell(IDC_BAUD_RATE, CB_GETCURSEL), CB_ERR);
        EXPECT_TRUE(Tell(IDC_BAUD_RATE, WM_SETTEXT, 0, reinterpret_cast<LPARAM>(TEXT("1"))));
        EXPECT_TRUE(Tell(IDC_BAUD_RATE, WM_SETTEXT));  // no text is the empty one
        EXPECT_EQ(Seen(IDC_BAUD_RATE).text, "");
    });
}

TEST_F(Controls, ChoiceListKeepsItsSelectionOverInsertingAndDeleting) {
    OnPage(IDD_PORT_SETTINGS, [&] {
        Add(IDC_PARITY, TEXT("None"));
        Add(IDC_PARITY, TEXT("Odd"));
        static_cast<void>(Tell(IDC_PARITY, CB_SETCURSEL, 1));
        static_cast<void>(Tell(IDC_PARITY, CB_INSERTSTRING, 0, reinterpret_cast<LPARAM>(TEXT("First"))));
        EXPECT_EQ(Seen(IDC_PARITY).text, "Odd");
        static_cast<void>(Tell(IDC_PARITY, CB_DELETESTRING, 0));
        EXPECT_EQ(Tell(IDC_PARITY, CB_GETCURSEL), 1);
        static_cast<void>(Tell(IDC_PARITY, CB_DELETESTRING, 1));
        EXPECT_EQ(Tell(IDC_PARITY, CB_GETCURSEL), CB_ERR);
        // A list has no text of its own to set.
        EXPECT_EQ(Tell(IDC_PARITY, WM_SETTEXT, 0, reinterpret_cast<LPARAM>(TEXT("None"))), CB_ERR);
        EXPECT_EQ(Tell(IDC_PARITY, CB_GETITEMDATA, 9), CB_ERR);
        EXPECT_THAT(Commands(), IsEmpty());
        SetFocus(Item(IDC_PARITY));
        Commands();
        SendMessageW(Item(IDC_PARITY), WM_KEYDOWN, VK_DOWN, 0);
        EXPECT_THAT(Commands(),
                    ElementsAre(std::pair(IDC_PARITY, CBN_SELENDOK), std::pair(IDC_PARITY, CBN_SELCHANGE)));
    });
}

TEST_F(Controls, RadioButtonsOfOneGroupExcludeEachOtherAcrossWhatStandsBetween) {
    OnPage(IDD_USB_SETTINGS, [&] {
        static_cast<void>(Tell(IDC_POLICY_LATENCY, BM_CLICK));
        EXPECT_THAT(Commands(), testing::Contains(std::pair(IDC_POLICY_LATENCY, BN_CLICKED)));
        static_cast<void>(Tell(IDC_POLICY_CPU_USAGE, BM_CLICK));
        EXPECT_EQ(Seen(IDC_POLICY_LATENCY).check, BST_UNCHECKED);
        EXPECT_EQ(Seen(IDC_POLICY_CPU_USAGE).check, BST_CHECKED);
        Commands();
        EnableWindow(Item(IDC_POLICY_LATENCY), FALSE);
        static_cast<void>(Tell(IDC_POLICY_LATENCY, BM_CLICK));
        EXPECT_EQ(Seen(IDC_POLICY_LATENCY).check, BST_UNCHECKED);
        EXPECT_THAT(Commands(), IsEmpty());
    });
}

TEST_F(Controls, SliderStaysInItsRangeAndTellsOfKeysOnly) {
    OnPage(IDD_USB_SETTINGS, [&] {
        static_cast<void>(Tell(IDC_LATENCY, TBM_SETRANGEMIN, TRUE, 2));
        static_cast<void>(Tell(IDC_LATENCY, TBM_SETRANGEMAX, TRUE, 16640));
        EXPECT_EQ(Tell(IDC_LATENCY, TBM_GETPOS), 2);
        static_cast<void>(Tell(IDC_LATENCY, TBM_SETPOS, TRUE, 20000));
        EXPECT_EQ(Tell(IDC_LATENCY, TBM_GETPOS), 16640);
        EXPECT_THAT(Commands(), IsEmpty());
        static_cast<void>(Tell(IDC_LATENCY, WM_KEYDOWN, VK_LEFT));
        EXPECT_EQ(Tell(IDC_LATENCY, TBM_GETPOS), 16639);
        EXPECT_THAT(Commands(),
                    ElementsAre(std::pair(IDC_LATENCY, TB_LINEUP), std::pair(IDC_LATENCY, TB_ENDTRACK)));
        static_cast<void>(Tell(IDC_LATENCY, TBM_SETRANGEMAX, TRUE, 100));
        EXPECT_EQ(Tell(IDC_LATENCY, TBM_GETPOS), 100);
    });
}

TEST_F(Controls, TooltipAsksForItsTextEachTimeAndThenShowsTheTitleOfThatMoment) {
    OnPage(IDD_USB_SETTINGS, [&] {
        const HWND tooltip =
            CreateWindowExW(0, TOOLTIPS_CLASSW, nullptr, WS_POPUP | TTS_ALWAYSTIP | TTS_BALLOON, 0, 0, 0, 0,
                            page.window, nullptr, nullptr, nullptr);
        TTTOOLINFOW tool{};
        tool.cbSize = sizeof(tool);
        tool.uFlags = TTF_IDISHWND | TTF_SUBCLASS;
        tool.hwnd = page.window;
        tool.uId = reinterpret_cast<UINT_PTR>(Item(IDC_LATENCY));
        tool.lpszText = LPSTR_TEXTCALLBACKW;
        ASSERT_TRUE(SendMessageW(tooltip, TTM_ADDTOOLW, 0, reinterpret_cast<LPARAM>(&tool)));
        SendMessageW(tooltip, TTM_SETTITLEW, TTI_INFO, reinterpret_cast<LPARAM>(TEXT("Information:")));
        int asked = 0;
        tip = [&](NMTTDISPINFOW& info) {
            EXPECT_EQ(info.hdr.idFrom, tool.uId);
            ++asked;
            info.lpszText = const_cast<WCHAR*>(TEXT("About latency"));
            SendMessageW(tooltip, TTM_SETTITLEW, TTI_ERROR, reinterpret_cast<LPARAM>(TEXT("Error:")));
        };
        const std::optional<qxsim::ShownTip> shown = desktop().HoverTip(Item(IDC_LATENCY));
        ASSERT_TRUE(shown);
        EXPECT_EQ(shown->text, "About latency");
        EXPECT_EQ(shown->title, "Error:");
        EXPECT_EQ(shown->icon, TTI_ERROR);
        EXPECT_TRUE(shown->balloon);
        tip = [&](NMTTDISPINFOW&) { ++asked; };  // an empty text shows nothing
        EXPECT_FALSE(desktop().HoverTip(Item(IDC_LATENCY)));
        EXPECT_FALSE(desktop().HoverTip(Item(IDC_POLICY_CPU_USAGE)));
        EnableWindow(Item(IDC_LATENCY), FALSE);
        EXPECT_FALSE(desktop().HoverTip(Item(IDC_LATENCY)));
        EXPECT_EQ(asked, 2);
    });
    // The tooltip went with the sheet that owned it: the ledger is empty at the end of the test.
}

TEST_F(Controls, HelpTravelsFromTheControlToItsPage) {
    HELPINFO heard{};
    OnPage(IDD_USB_SETTINGS, [&] {
        page.procedure = [&](HWND, UINT message, WPARAM, LPARAM lparam) -> INT_PTR {
            if (message == WM_HELP)
                heard = *reinterpret_cast<HELPINFO*>(lparam);
            return message == WM_HELP;
        };
        desktop().PressHelp(Item(IDC_LATENCY));
        EXPECT_EQ(heard.iCtrlId, IDC_LATENCY);
        EXPECT_EQ(heard.hItemHandle, Item(IDC_LATENCY));
        EXPECT_EQ(heard.iContextType, HELPINFO_WINDOW);
    });
}

TEST_F(Controls, ClickOnAPictureIsToldOnlyWhenItAsksForIt) {
    OnPage(IDD_USB_SETTINGS, [&] {
        static_cast<void>(Tell(IDC_HELP_PICTURE, WM_LBUTTONDOWN));
        EXPECT_THAT(Commands(), ElementsAre(std::pair(IDC_HELP_PICTURE, STN_CLICKED)));
        static_cast<void>(Tell(-1, WM_LBUTTONDOWN));  // the banner
        EXPECT_THAT(Commands(), IsEmpty());
    });
}

}  // namespace
}  // namespace qxtest
