// SPDX-License-Identifier: MIT
// What users reach the pages' own controls with, and what those look like: the help picture and the link by
// hand and by keyboard, the page's colours, the colours that the user chose for links.
#include "module/resource.h"
#include "tests/pages/port_sheet.h"

#include <commctrl.h>
#include <gmock/gmock.h>

#include <array>
#include <utility>

namespace qxtest {
namespace {

using qxsim::Desktop;

class HandAndKeyboard : public PortSheetTest {
  public:
    static LRESULT Send(HWND window, UINT message, WPARAM wparam = 0, LPARAM lparam = 0) {
        return SendMessageW(window, message, wparam, lparam);
    }
    // A click of the mouse, which pictures and labels know, too.
    static void Click(int control) {
        Send(ControlInFront(control), WM_LBUTTONDOWN);
        Send(ControlInFront(control), WM_LBUTTONUP);
    }
    // Whether the control wants the key for itself rather than for the dialog.
    static bool Wants(HWND control, WPARAM key) {
        MSG message{};
        message.hwnd = control;
        message.message = WM_KEYDOWN;
        message.wParam = key;
        return (Send(control, WM_GETDLGCODE, key, reinterpret_cast<LPARAM>(&message)) & DLGC_WANTALLKEYS) !=
               0;
    }
    static std::size_t HelpRequests() { return Desktop::The().HelpRequests().size(); }
    // The link of the About page, which the sheet's last tab shows.
    static HWND OpenAbout() {
        OpenTab(3);
        return ControlInFront(IDC_WEB_ADDRESS);
    }
    void SetLinkColour(const WCHAR* name, const WCHAR* colour) {
        machine()
            .MakeKey(qxsim::ToWide("Software\\Microsoft\\Internet Explorer\\Settings"), HKEY_CURRENT_USER)
            ->Set(name, REG_SZ, qxsim::TextBytes(colour));
    }
    void SetUp() override {
        PortSheetTest::SetUp();
        Driver().settings["PortType"] = 1;
        Driver().settings["SupportedDuplexModes"] = 3;
    }
};

TEST_F(HandAndKeyboard, TheHelpPictureOpensHelpByClickSpaceAndReturn) {
    const auto use = [] {
        const HWND picture = ControlInFront(IDC_HELP_PICTURE);
        const std::size_t before = HelpRequests();
        EXPECT_EQ(Send(picture, WM_SETCURSOR, reinterpret_cast<WPARAM>(picture)), TRUE);
        EXPECT_TRUE(Wants(picture, VK_RETURN));
        EXPECT_FALSE(Wants(picture, VK_TAB));
        for (const WPARAM key : {WPARAM{VK_SPACE}, WPARAM{VK_RETURN}, WPARAM{VK_TAB}})
            Send(picture, WM_KEYDOWN, key);
        Click(IDC_HELP_PICTURE);
        EXPECT_EQ(HelpRequests() - before, 3U);
        Send(picture, WM_KEYDOWN, VK_RETURN, LPARAM{1} << 30);
        EXPECT_EQ(HelpRequests() - before, 3U) << "a key that is held down";
        // Labels are no buttons.
        Click(IDC_HELP_LABEL);
        EXPECT_EQ(HelpRequests() - before, 3U);
    };
    ShowProperties({use, [] { Press(IDC_ADVANCED); }, use, [] { OpenTab(1); }, use, [] { OpenTab(2); }, use});
    EXPECT_EQ(HelpRequests(), 12U);
}

TEST_F(HandAndKeyboard, LinksHaveTheUsersColours) {
    const auto colours = [this](const WCHAR* link, const WCHAR* visited, int shell_result) {
        SetLinkColour(TEXT("Anchor Color"), link);
        SetLinkColour(TEXT("Anchor Color Visited"), visited);
        Desktop::The().SetShellResult(shell_result);
        std::pair<COLORREF, COLORREF> seen;
        ShowProperties({[] { Press(IDC_ADVANCED); },
                        [&] {
                            const HWND control = OpenAbout();
                            seen.first = Desktop::The().ColorsOf(control).text;
                            Click(IDC_WEB_ADDRESS);
                            seen.second = Desktop::The().ColorsOf(control).text;
                        }});
        return seen;
    };
    const std::pair<COLORREF, COLORREF> own{RGB(0, 0, 255), RGB(128, 0, 128)};
    EXPECT_EQ(colours(TEXT("10,20,30"), TEXT("255,0,1"), 42), std::pair(RGB(10, 20, 30), RGB(255, 0, 1)));
    EXPECT_EQ(colours(TEXT("10,20,30"), TEXT("255,0,1"), 31).second, RGB(10, 20, 30)) << "nothing was opened";
    for (const WCHAR* odd : {TEXT(""), TEXT("1,2"), TEXT("1,2,3,4"), TEXT("256,0,0"), TEXT("-1,0,0")})
        EXPECT_EQ(colours(odd, odd, 42), own) << qxsim::ToUtf8(odd);
    EXPECT_EQ(Desktop::The().ShellRequests().size(), 7U);
}

// A page that could not have its brush leaves its background to the platform.
TEST_F(HandAndKeyboard, PagesWithoutTheirBrushAreNotPainted) {
    instruments().Inject({.function = "CreateSolidBrush"});
    ShowProperties({[] { EXPECT_EQ(Desktop::The().BackgroundOf(PageInFront()), CLR_INVALID); }});
}

// Only the tip's own window asks for its text.
TEST_F(HandAndKeyboard, OtherNotificationsAreLeftAlone) {
    ShowProperties({[] {
        NMTTDISPINFOW notification{};
        notification.hdr.hwndFrom = ControlInFront(IDC_BAUD_RATE);
        for (const UINT code : {static_cast<UINT>(TTN_GETDISPINFOW), 77U}) {
            notification.hdr.code = code;
            Send(PageInFront(), WM_NOTIFY, IDC_BAUD_RATE, reinterpret_cast<LPARAM>(&notification));
            EXPECT_EQ(notification.lpszText, nullptr) << code;
        }
        EXPECT_EQ(Send(PageInFront(), WM_COMMAND, MAKEWPARAM(IDC_SETTINGS_GROUP, BN_CLICKED), 0), 0);
    }});
}

TEST_F(HandAndKeyboard, ABaudRateIsDigitsAndNothingElse) {
    COMBOBOXINFO box{};
    box.cbSize = sizeof(box);
    ShowProperties({[&] {
        ASSERT_TRUE(GetComboBoxInfo(ControlInFront(IDC_BAUD_RATE), &box));
        SetWindowTextW(box.hwndItem, TEXT(""));
        for (const WCHAR key : qxsim::WideView(TEXT("4x8")))
            Send(box.hwndItem, WM_CHAR, key);
        std::array<WCHAR, 8> text{};
        GetWindowTextW(box.hwndItem, text.data(), 8);
        EXPECT_EQ(qxsim::ToUtf8(text.data()), "48");
    }});
    const auto apply = [this](const WCHAR* typed) {
        Driver().settings["Baudrate"] = 9600;
        Desktop::The().SetAnswers([](const qxsim::ShownBox&) { return IDOK; });
        ShowProperties({[=] { TypeInto(IDC_BAUD_RATE, typed); }, [] { PressOk(); }});
        return Driver().settings["Baudrate"];
    };
    EXPECT_EQ(apply(TEXT("  4800 ")), 4800U);
    EXPECT_TRUE(Desktop::The().Beeps().empty());
    EXPECT_EQ(apply(TEXT("48O0")), 9600U);
    EXPECT_EQ(Desktop::The().Beeps().size(), 1U);
}

}  // namespace
}  // namespace qxtest
