// SPDX-License-Identifier: MIT
// Sheets of the module's own page templates with page procedures that write down what happens to them.
#pragma once

#include "base/module_instance.h"
#include "module/resource.h"
#include "platform/desktop/desktop.h"
#include "tests/support/machine_fixture.h"

#include <commctrl.h>
#include <gmock/gmock.h>
#include <prsht.h>

#include <deque>
#include <functional>
#include <string>
#include <vector>

namespace qxtest {

// A page of a sheet: what it answers, and what happened to it.
struct TestPage {
    std::string name;
    UINT dialog = IDD_ABOUT;
    LRESULT apply_answer = PSNRET_NOERROR;
    LRESULT kill_answer = FALSE;
    LRESULT set_active_answer = 0;
    LRESULT cancel_answer = FALSE;
    BOOL may_be_created = TRUE;
    DWORD flags = PSP_USECALLBACK;
    HANDLE context = nullptr;
    std::function<INT_PTR(HWND, UINT, WPARAM, LPARAM)> procedure = {};  // for other messages
    HWND window = nullptr;
};

class DesktopTest : public MachineTest {
  public:
    void SetUp() override;
    void TearDown() override;

    // Runs a sheet of the pages, in which the user takes one step after the other. What PropertySheetW
    // answers.
    INT_PTR RunSheet(std::vector<TestPage*> pages, std::deque<std::function<void(HWND)>> steps,
                     DWORD flags = PSH_NOAPPLYNOW);
    [[nodiscard]] static HPROPSHEETPAGE MakePage(TestPage& page);
    // The steps that the user takes from here on; each is given the window in front.
    static void SetSteps(std::deque<std::function<void(HWND)>> steps);

    [[nodiscard]] static qxsim::Desktop& desktop() { return qxsim::Desktop::The(); }
    static void Press(HWND sheet, WPARAM button) { SendMessageW(sheet, PSM_PRESSBUTTON, button, 0); }
    static void OpenTab(HWND sheet, WPARAM index) { SendMessageW(sheet, PSM_SETCURSEL, index, 0); }
    // A box without an owner that waits for the user.
    static int Ask(UINT type) { return MessageBoxW(nullptr, TEXT("Text"), TEXT("Caption"), type); }
    static void Answer(HWND box, int id) { SendMessageW(GetDlgItem(box, id), BM_CLICK, 0, 0); }

    // What happened to the pages since the last look: "A init", "B apply".
    static std::vector<std::string> Happened();
};

}  // namespace qxtest
