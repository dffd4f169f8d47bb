// SPDX-License-Identifier: MIT
#include "pages/usb_settings_page.h"

#include "driver_access/line_settings.h"
#include "module/resource.h"
#include "pages/latency_scale.h"

#include <algorithm>
#include <limits>

namespace qx {

namespace {

using BusSet = CBusParameters;

constexpr ControlText kCaptions[] = {
    {IDC_POLICY_DESCRIPTION, IDS_POLICY_DESCRIPTION},
};

constexpr ControlText kTips[] = {
    {IDC_POLICY_LATENCY, IDS_TIP_POLICY_LATENCY},
    {IDC_POLICY_CPU_USAGE, IDS_TIP_POLICY_CPU_USAGE},
    {IDC_LATENCY, IDS_TIP_LATENCY},
    {IDC_LATENCY_VALUE, IDS_TIP_LATENCY},
    {IDC_LATENCY_TUNING, IDS_TIP_LATENCY_TUNING},
    {IDC_LATENCY_TUNING_LABEL, IDS_TIP_LATENCY_TUNING},
    {IDC_CPU_USAGE_TUNING, IDS_TIP_CPU_USAGE_TUNING},
    {IDC_LOWEST_LABEL, IDS_TIP_CPU_USAGE_TUNING},
    {IDC_HIGHEST_LABEL, IDS_TIP_CPU_USAGE_TUNING},
    {IDC_RESTORE_DEFAULTS, IDS_TIP_RESTORE_DEFAULTS},
};

constexpr SettingsPageData kPage{IDD_USB_SETTINGS, IDS_TITLE_USB_SETTINGS, kCaptions, kTips,
                                 kUsbSettingsHelp};

struct Slider {
    int control;
    int lowest;
    int highest;
    DWORD BusSet::*position;
};

constexpr Slider kSliders[] = {
    {IDC_LATENCY, kLowestLatencyPosition, kHighestLatencyPosition, &BusSet::MaximumLatencySliderPos},
    {IDC_LATENCY_TUNING, 1, 256, &BusSet::MaximumLatencyFineTuning},
    {IDC_CPU_USAGE_TUNING, 0, 256, &BusSet::LowCpuUsageFineTuning},
};

// What is enabled with one policy and disabled with the other.
constexpr int kLatencyControls[] = {IDC_LATENCY, IDC_LATENCY_TUNING, IDC_LATENCY_VALUE};
constexpr int kCpuUsageControls[] = {IDC_CPU_USAGE_TUNING, IDC_LOWEST_LABEL, IDC_HIGHEST_LABEL};
// What is disabled while the driver reports a policy that does not exist.
constexpr int kNoPolicyControls[] = {IDC_LATENCY, IDC_LATENCY_TUNING, IDC_CPU_USAGE_TUNING,
                                     IDC_LATENCY_VALUE};

// What "Restore Defaults" takes over, with transfer settings that the page does not show.
constexpr DWORD BusSet::*kRestored[] = {
    &BusSet::USB_TxTransferSize,       &BusSet::USB_RxTransferSize,
    &BusSet::USB_LatencyTimer,         &BusSet::PolicyType,
    &BusSet::MaximumLatency,           &BusSet::MaximumLatencySliderPos,
    &BusSet::MaximumLatencyFineTuning, &BusSet::LowCpuUsageFineTuning,
};

}  // namespace

CNewUSBSettingsPage::CNewUSBSettingsPage(HDEVINFO device_set, const SP_DEVINFO_DATA& element)
    : CSettingsPage(kPage, device_set, element), parent_(device_set, element) {
    // As on the COM number page: the port set for the help topic, the parent for a yes or no.
    static_cast<void>(FindInterface() && port_set_.Read() && parent_.FindParent() && bus_set_.Read());
}

bool CNewUSBSettingsPage::ProcessWindowMessage(UINT message, WPARAM wparam, LPARAM lparam, LRESULT& result) {
    if (message != WM_HSCROLL)
        return CSettingsPage::ProcessWindowMessage(message, wparam, lparam, result);
    if (reinterpret_cast<HWND>(lparam) == Item(IDC_LATENCY))
        ShowLatency();
    return true;
}

bool CNewUSBSettingsPage::Clicked(int control) {
    switch (control) {
        case IDC_POLICY_LATENCY:
        case IDC_POLICY_CPU_USAGE:
            EnableChosenPolicy();
            return true;
        case IDC_RESTORE_DEFAULTS:
            RestoreDefaults();
            return true;
        default:
            return CSettingsPage::Clicked(control);
    }
}

void CNewUSBSettingsPage::Initialise() {
    CreateBackground();
    PrepareTips();
    SetCaptions();
    RegisterTips();
    Refresh(*bus_set_);
}

// The slider takes a position as a signed number, in which a large one would become the lowest.
void CNewUSBSettingsPage::SetSlider(int slider, DWORD position) const noexcept {
    constexpr auto kLargest = static_cast<DWORD>(std::numeric_limits<int>::max());
    SendMessageW(Item(slider), TBM_SETPOS, TRUE, static_cast<LPARAM>(std::min(position, kLargest)));
}

int CNewUSBSettingsPage::SliderPosition(int slider) const noexcept {
    return static_cast<int>(SendMessageW(Item(slider), TBM_GETPOS, 0, 0));
}

void CNewUSBSettingsPage::ShowLatency() const {
    SetItemText(IDC_LATENCY_VALUE, Format(TEXT("%d ms"), LatencyOfPosition(SliderPosition(IDC_LATENCY))));
}

void CNewUSBSettingsPage::EnableChosenPolicy() const noexcept {
    const bool latency = Checked(IDC_POLICY_LATENCY);
    for (const int control : kLatencyControls)
        EnableItem(control, latency);
    for (const int control : kCpuUsageControls)
        EnableItem(control, !latency);
}

void CNewUSBSettingsPage::ChoosePolicy(bool latency) const noexcept {
    Check(IDC_POLICY_LATENCY, latency);
    Check(IDC_POLICY_CPU_USAGE, !latency);
    EnableChosenPolicy();
}

void CNewUSBSettingsPage::Refresh(const BusSet& values) {
    for (const auto& slider : kSliders)
        SendMessageW(Item(slider.control), TBM_SETRANGE, TRUE, MAKELPARAM(slider.lowest, slider.highest));
    for (const auto& slider : kSliders)
        SetSlider(slider.control, values.*slider.position);
    ShowLatency();

    switch (values.PolicyType) {
        case kLatencyPolicy:
        case kCpuUsagePolicy: {
            const bool latency = values.PolicyType == kLatencyPolicy;
            ChoosePolicy(latency);
            break;
        }
        default:
            for (const int control : kNoPolicyControls)
                EnableItem(control, false);
            ShowMessage(TEXT("Invalid USB Setting Policy."), TEXT("Error"), MB_OK | MB_ICONERROR);
            break;
    }
    shown_ = WithControls(values);
}

// The controls show initial values, which are nobody's choice: only what the user has moved since stays.
// Whoever pressed OK has not seen the driver's values yet, so the sheet stays open when the page changes.
bool CNewUSBSettingsPage::ReadLate() {
    if (!bus_set_.Read())
        return false;
    const BusSet shown = shown_;
    const BusSet chosen = WithControls(shown);
    Refresh(*bus_set_);
    for (const auto& slider : kSliders)
        if (chosen.*slider.position != shown.*slider.position)
            SetSlider(slider.control, chosen.*slider.position);
    if (chosen.PolicyType != shown.PolicyType)
        ChoosePolicy(chosen.PolicyType == kLatencyPolicy);
    ShowLatency();
    return WithControls(shown) == chosen;
}

void CNewUSBSettingsPage::RestoreDefaults() {
    CQxUBusUserModeInterface defaults;
    if (!ReadDefaultSettings(defaults, kBusSet) || !(bus_set_.IsRead() || bus_set_.Read()))
        return;
    BusSet wanted = *bus_set_;
    for (const auto value : kRestored)
        wanted.*value = defaults.*value;
    // The page shows the defaults even when the driver did not take them; OK then writes them.
    defaults_.reset();
    if (!bus_set_.Write(wanted))
        defaults_ = defaults;
    Refresh(wanted);
}

CBusParameters CNewUSBSettingsPage::WithControls(BusSet base) const noexcept {
    base.PolicyType = Checked(IDC_POLICY_LATENCY) ? kLatencyPolicy : kCpuUsagePolicy;
    base.MaximumLatency = static_cast<DWORD>(LatencyOfPosition(SliderPosition(IDC_LATENCY)));
    for (const auto& slider : kSliders)
        base.*slider.position = static_cast<DWORD>(SliderPosition(slider.control));
    return base;
}

LRESULT CNewUSBSettingsPage::Apply() {
    if (!bus_set_.IsRead() && !ReadLate())
        return kRefused;
    BusSet wanted = *bus_set_;
    if (defaults_)
        for (const auto value : kRestored)
            wanted.*value = *defaults_.*value;
    wanted = WithControls(wanted);
    if (wanted == *bus_set_)
        return kAccepted;
    if (MayChange(PortName(), IDS_SETTINGS_PORT_OPEN) && bus_set_.Write(wanted)) {
        defaults_.reset();
        return kAccepted;
    }
    bus_set_.Read();
    return kRefused;
}

}  // namespace qx
