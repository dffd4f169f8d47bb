// SPDX-License-Identifier: MIT
#include "tests/pages/port_sheet.h"

#include "pages/page_provider.h"

#include <setupapi.h>
#include <commctrl.h>

#include <memory>

namespace qxtest {

using qxsim::Desktop;

constexpr int kApplyButton = 0x3021;  // as the platform's sheets have it

void PortSheetTest::SetUp() {
    MachineTest::SetUp();
    Desktop::The().Reset();
    qxsim::DeviceRecipe adapter;
    adapter.id = kAdapter;
    adapter.setup_class = "USB";
    const DEVINST node = machine().AddDevice(qxsim::Machine::kRoot, adapter);
    qxsim::DeviceRecipe port;
    port.id = kPort;
    port.port = "COM3";
    machine().AddDevice(node, port);
}

void PortSheetTest::TearDown() {
    Desktop::The().Reset();
    MachineTest::TearDown();
}

INT_PTR PortSheetTest::ShowProperties(Steps steps) {
    Handed port = Hand(kPort);
    SP_PROPSHEETPAGE_REQUEST request{};
    request.cbSize = sizeof(request);
    request.PageRequested = SPPSR_ENUM_ADV_DEVICE_PROPERTIES;
    request.DeviceInfoSet = port.set;
    request.DeviceInfoData = &port.element;
    HPROPSHEETPAGE page = nullptr;
    const LPFNADDPROPSHEETPAGE add = [](HPROPSHEETPAGE added, LPARAM place) -> BOOL {
        *reinterpret_cast<HPROPSHEETPAGE*>(place) = added;
        return TRUE;
    };
    if (!QxUPortPropPage(&request, add, reinterpret_cast<LPARAM>(&page)))
        return -1;

    auto next = std::make_shared<std::size_t>(0);
    Desktop::The().SetUser([steps = std::move(steps), next] {
        // What stands behind cannot be used, or OK could be pressed twice.
        for (const HWND window : Desktop::The().OpenWindows())
            EXPECT_EQ(IsWindowEnabled(window) != FALSE, window == Desktop::The().TopWindow());
        // What is not applied by OK is not applied.
        EXPECT_EQ(GetDlgItem(Desktop::The().TopWindow(), kApplyButton), nullptr);
        if (*next >= steps.size())
            return false;
        steps[(*next)++]();
        return true;
    });
    PROPSHEETHEADERW header{};
    header.dwSize = sizeof(header);
    header.dwFlags = PSH_PROPTITLE | PSH_NOAPPLYNOW;
    header.pszCaption = TEXT("Serial Port (COM3)");
    header.nPages = 1;
    header.phpage = &page;
    const INT_PTR result = PropertySheetW(&header);
    Desktop::The().SetUser({});
    for (const qxsim::ShownBox& box : Desktop::The().Boxes())
        EXPECT_NE(box.owner, nullptr) << box.text << " can get lost behind its sheet";
    return result;
}

HWND PageInFront() {
    const HWND sheet = Desktop::The().TopWindow();
    return sheet && Desktop::The().KindOf(sheet) == qxsim::WindowKind::kSheet
               ? PropSheet_GetCurrentPageHwnd(sheet)
               : nullptr;
}

HWND ControlInFront(int id) {
    const HWND page = PageInFront();
    const HWND control = page ? GetDlgItem(page, id) : nullptr;
    return control ? control : GetDlgItem(Desktop::The().TopWindow(), id);
}

void Press(int id) {
    SendMessageW(ControlInFront(id), BM_CLICK, 0, 0);
}

namespace {

void PressSheetButton(int button) {
    if (PageInFront())
        SendMessageW(Desktop::The().TopWindow(), PSM_PRESSBUTTON, static_cast<WPARAM>(button), 0);
}

}  // namespace

void PressOk() {
    PressSheetButton(PSBTN_OK);
}
void PressCancel() {
    PressSheetButton(PSBTN_CANCEL);
}

void ChooseEntry(int box, int entry) {
    SendMessageW(ControlInFront(box), CB_SETCURSEL, static_cast<WPARAM>(entry), 0);
}

void MoveSlider(int slider, int position) {
    const HWND control = ControlInFront(slider);
    SendMessageW(control, TBM_SETPOS, TRUE, position);
    SendMessageW(PageInFront(), WM_HSCROLL, MAKEWPARAM(TB_ENDTRACK, 0), reinterpret_cast<LPARAM>(control));
}

void TypeInto(int box, const WCHAR* text) {
    SetWindowTextW(ControlInFront(box), text);
}

void OpenTab(int index) {
    if (PageInFront())
        PropSheet_SetCurSel(Desktop::The().TopWindow(), nullptr, index);
}

}  // namespace qxtest
