// SPDX-License-Identifier: MIT
// Message boxes, and the user in front of modal windows.
#include "tests/desktop/desktop_fixture.h"

using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

namespace qxtest {
namespace {

class Boxes : public DesktopTest {};

TEST_F(Boxes, AnswerWhatTheUserPressesAndIsLeftToPress) {
    const auto answered = [&](UINT type, const std::function<void(HWND)>& step) {
        SetSteps({step});
        return Ask(type);
    };
    const auto press = [](int id) { return [id](HWND box) { Answer(box, id); }; };
    const auto close = [](HWND box) { SendMessageW(box, WM_CLOSE, 0, 0); };
    EXPECT_EQ(answered(MB_YESNO, press(IDYES)), IDYES);
    EXPECT_EQ(answered(MB_OKCANCEL, close), IDCANCEL);
    EXPECT_EQ(answered(MB_OK | MB_ICONERROR, close), IDOK);
    EXPECT_EQ(
        answered(MB_YESNO | MB_DEFBUTTON2, [](HWND box) { PostMessageW(box, WM_KEYDOWN, VK_RETURN, 0); }),
        IDNO);
    const auto focus_and_return = [](HWND box) {
        SetFocus(GetDlgItem(box, IDNO));
        PostMessageW(box, WM_KEYDOWN, VK_RETURN, 0);
    };
    EXPECT_EQ(answered(MB_YESNO, focus_and_return), IDNO);
    EXPECT_THAT(desktop().RanOutOfScript(), IsEmpty());

    // Yes or No must be answered: closing does nothing, and then the user is gone.
    EXPECT_EQ(answered(MB_YESNO, close), IDNO);
    EXPECT_THAT(desktop().RanOutOfScript(), ElementsAre("Caption"));
    EXPECT_THAT(desktop().Boxes(), SizeIs(6));
    EXPECT_EQ(desktop().Boxes().front().answer, IDYES);
}

TEST_F(Boxes, AreAnsweredInAdvanceOnlyWithButtonsThatTheyHave) {
    desktop().SetAnswers([](const qxsim::ShownBox& box) { return box.type == MB_YESNO ? IDYES : IDRETRY; });
    EXPECT_EQ(Ask(MB_YESNO), IDYES);
    EXPECT_EQ(Ask(MB_OK), IDOK);
    EXPECT_THAT(desktop().RanOutOfScript(), SizeIs(1));
}

TEST_F(Boxes, NestAndDisableWhatTheyStandInFrontOf) {
    TestPage page{.name = "A", .dialog = IDD_USB_SETTINGS};
    HWND sheet = nullptr;
    int inner = 0;
    page.procedure = [&](HWND window, UINT message, WPARAM wparam, LPARAM) -> INT_PTR {
        if (message != WM_COMMAND || LOWORD(wparam) != IDC_RESTORE_DEFAULTS)
            return FALSE;
        inner = MessageBoxW(window, TEXT("Sure?"), TEXT("Question"), MB_YESNO);
        return TRUE;
    };
    const INT_PTR result =
        RunSheet({&page}, {[&](HWND window) {
                               sheet = window;
                               SendMessageW(GetDlgItem(page.window, IDC_RESTORE_DEFAULTS), BM_CLICK, 0, 0);
                           },
                           [&](HWND box) {
                               EXPECT_NE(box, sheet);
                               EXPECT_EQ(desktop().OpenBox()->text, "Sure?");
                               EXPECT_EQ(GetParent(box), sheet);  // the page's frame owns the box
                               EXPECT_FALSE(IsWindowEnabled(sheet));
                               Answer(box, IDYES);
                           },
                           [&](HWND window) {
                               EXPECT_EQ(window, sheet);
                               EXPECT_TRUE(IsWindowEnabled(sheet));
                               Press(window, PSBTN_CANCEL);
                           }});
    EXPECT_EQ(inner, IDYES);
    EXPECT_EQ(result, 0);
}

TEST_F(Boxes, AreClosedFromInsideOutWhenTheUserIsGone) {
    TestPage page{.name = "A", .cancel_answer = TRUE};
    RunSheet({&page}, {[](HWND) { Ask(MB_OKCANCEL); }});
    EXPECT_THAT(desktop().RanOutOfScript(), ElementsAre("Caption", "Sheet"));
}

TEST_F(Boxes, CountTheUsersMessagesForTheUserAndTheLibrarysForTheLibrary) {
    TestPage page{.name = "A", .dialog = IDD_USB_SETTINGS};
    page.procedure = [](HWND window, UINT message, WPARAM, LPARAM) -> INT_PTR {
        if (message == WM_COMMAND)
            SendMessageW(window, WM_NULL, 0, 0);
        return FALSE;
    };
    RunSheet({&page}, {[&](HWND) {
                 const HWND button = GetDlgItem(page.window, IDC_RESTORE_DEFAULTS);
                 instruments().Reset();
                 SendMessageW(button, BM_CLICK, 0, 0);
                 std::vector<unsigned> processes;
                 for (const qxsim::CallRecord& call : instruments().Trace())
                     if (call.function == "SendMessageW")
                         processes.push_back(call.process);
                 EXPECT_THAT(processes, ElementsAre(qxsim::Desktop::kUserProcess, 1U));
             }});
    instruments().Reset();  // the handles that were open at the reset in between are closed by now
}

}  // namespace
}  // namespace qxtest
