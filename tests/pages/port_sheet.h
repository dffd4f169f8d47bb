// SPDX-License-Identifier: MIT
// The device manager's part: a port's properties on the simulated desktop, and somebody in front of it.
#pragma once

#include "platform/desktop/desktop.h"
#include "tests/support/machine_fixture.h"

#include <prsht.h>

#include <functional>
#include <string>
#include <vector>

namespace qxtest {

// What a user does, one thing after the other; a step may open a window, and the next one then works in it.
using Steps = std::vector<std::function<void()>>;

class PortSheetTest : public MachineTest {
  public:
    void SetUp() override;
    void TearDown() override;

    // A port, COM3, below an adapter; its settings can be changed before it is opened.
    [[nodiscard]] qxsim::ControlDevice& Driver() { return *Dev(kPort).control; }
    static constexpr const char* kAdapter = "USB\\VID_0F7A&PID_1104\\1";
    static constexpr const char* kPort = "QXUSB\\PORT\\1";
    [[nodiscard]] std::string PortName() { return machine().PortName(Dev(kPort)); }

    // Asks the page provider for the port's pages, shows them in a sheet and lets the user work. When the
    // steps are done, every window that is still open is cancelled. What the sheet answered; -1 without a
    // page.
    INT_PTR ShowProperties(Steps steps);
};

// The page in front, of the sheet in front; null when another window is there.
[[nodiscard]] HWND PageInFront();
// A control of the page in front, or of the message box or sheet in front; null when it is not there.
[[nodiscard]] HWND ControlInFront(int id);

// Steps. What cannot be done, because a page did not open, is not done.
void Press(int id);
void PressOk();
void PressCancel();
void ChooseEntry(int box, int entry);
void MoveSlider(int slider, int position);
void TypeInto(int box, const WCHAR* text);
void OpenTab(int index);

}  // namespace qxtest
