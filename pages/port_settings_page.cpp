#include "pages/port_settings_page.h"

#include "base/module_instance.h"
#include "device_records/utils.h"
#include "module/resource.h"
#include "pages/advanced_dialog.h"

#include <utility>

namespace qx {

namespace {

// Bits of the flow-control mask.
constexpr DWORD kOffersCts = 0x1;  // hardware flow control, and CTS emulation
constexpr DWORD kOffersDsr = 0x2;
constexpr DWORD kAllFlowControls = 0x7;
// What a flow-control value may hold besides 0.
constexpr DWORD kFlowControlBits = 0xF;

// What a box yields that has no selection, or is not there. It has every bit, and is no flow control.
constexpr DWORD kNothingSelected = 0xFFFFFFFF;

// Half duplex with automatic gating of the transmitter: the lines serve the gating.
constexpr DWORD kHalfDuplexMode = 2;

constexpr ControlText kCaptions[] = {
    {IDC_BAUD_RATE_LABEL, IDS_BAUD_RATE_LABEL},
    {IDC_DATA_BITS_LABEL, IDS_DATA_BITS_LABEL},
    {IDC_PARITY_LABEL, IDS_PARITY_LABEL},
    {IDC_STOP_BITS_LABEL, IDS_STOP_BITS_LABEL},
    {IDC_FLOW_CONTROL_LABEL, IDS_FLOW_CONTROL_LABEL},
    {IDC_OVERRIDE_BAUD_RATE, IDS_OVERRIDE},
    {IDC_OVERRIDE_DATA_BITS, IDS_OVERRIDE},
    {IDC_OVERRIDE_PARITY, IDS_OVERRIDE},
    {IDC_OVERRIDE_STOP_BITS, IDS_OVERRIDE},
    {IDC_OVERRIDE_FLOW_CONTROL, IDS_OVERRIDE},
    {IDC_CTS_TRUE_LABEL, IDS_CTS_TRUE},
    {IDC_DSR_TRUE_LABEL, IDS_DSR_TRUE},
    {IDC_ADVANCED, IDS_ADVANCED},
    {IDC_RESTORE_DEFAULTS, IDS_RESTORE_DEFAULT},
    {IDC_HELP_LABEL, IDS_NEED_HELP},
    {IDC_SETTINGS_GROUP, IDS_SETTINGS_GROUP},
    {IDC_WARNING_TEXT, IDS_OVERRIDE_WARNING},
};

constexpr ControlText kTips[] = {
    {IDC_BAUD_RATE_LABEL, IDS_TIP_BAUD_RATE},
    {IDC_DATA_BITS_LABEL, IDS_TIP_DATA_BITS},
    {IDC_PARITY_LABEL, IDS_TIP_PARITY},
    {IDC_STOP_BITS_LABEL, IDS_TIP_STOP_BITS},
    {IDC_FLOW_CONTROL_LABEL, IDS_TIP_FLOW_CONTROL},
    {IDC_BAUD_RATE, IDS_TIP_BAUD_RATE},
    {IDC_DATA_BITS, IDS_TIP_DATA_BITS},
    {IDC_PARITY, IDS_TIP_PARITY},
    {IDC_STOP_BITS, IDS_TIP_STOP_BITS},
    {IDC_FLOW_CONTROL, IDS_TIP_FLOW_CONTROL},
    {IDC_OVERRIDE_BAUD_RATE, IDS_TIP_OVERRIDE_BAUD_RATE},
    {IDC_OVERRIDE_DATA_BITS, IDS_TIP_OVERRIDE_DATA_BITS},
    {IDC_OVERRIDE_PARITY, IDS_TIP_OVERRIDE_PARITY},
    {IDC_OVERRIDE_STOP_BITS, IDS_TIP_OVERRIDE_STOP_BITS},
    {IDC_OVERRIDE_FLOW_CONTROL, IDS_TIP_OVERRIDE_FLOW_CONTROL},
    {IDC_CTS_TRUE, IDS_TIP_CTS_TRUE},
    {IDC_DSR_TRUE, IDS_TIP_DSR_TRUE},
    {IDC_CTS_TRUE_LABEL, IDS_TIP_CTS_TRUE},
    {IDC_DSR_TRUE_LABEL, IDS_TIP_DSR_TRUE},
    {IDC_ADVANCED, IDS_TIP_ADVANCED},
    {IDC_RESTORE_DEFAULTS, IDS_TIP_RESTORE_DEFAULTS},
};

constexpr SettingsPageData kPage{IDD_PORT_SETTINGS, IDS_TITLE_PORT_SETTINGS, kCaptions, kTips,
                                 kPortSettingsHelp};

struct OverrideBox {
    int control;
    DWORD CVCPEmulation::*flag;
};

constexpr OverrideBox kOverrideBoxes[] = {
    {IDC_OVERRIDE_BAUD_RATE, &CVCPEmulation::OverridBaudRates},
    {IDC_OVERRIDE_DATA_BITS, &CVCPEmulation::OverrideDataBits},
    {IDC_OVERRIDE_PARITY, &CVCPEmulation::OverrideParity},
    {IDC_OVERRIDE_STOP_BITS, &CVCPEmulation::OverrideStopbits},
    {IDC_OVERRIDE_FLOW_CONTROL, &CVCPEmulation::OverrideFlowControl},
};

constexpr int kWarningControls[] = {IDC_WARNING_PICTURE, IDC_WARNING_TEXT, IDC_WARNING_GROUP};

// Which values the driver knows; others are what an empty selection or a hostile driver yields.
bool IsDataBits(DWORD value) noexcept {
    return value <= 3;
}
bool IsParity(DWORD value) noexcept {
    return value <= 4;
}
bool IsStopBits(DWORD value) noexcept {
    return value <= 2;
}
bool IsFlowControl(DWORD value) noexcept {
    return value == 0 || (value != kNothingSelected && (value & kFlowControlBits) != 0);
}

// Takes a value over if it is known; true when it differs, known or not.
bool Take(DWORD& stored, DWORD value, bool known) noexcept {
    if (stored == value)
        return false;
    if (known)
        stored = value;
    return true;
}

bool TakeFlag(DWORD& stored, bool on) noexcept {
    if ((stored != 0) == on)
        return false;
    stored = on ? 1 : 0;
    return true;
}

HWND EditFieldOf(HWND box) noexcept {
    COMBOBOXINFO info{};
    info.cbSize = sizeof(info);
    return box && GetComboBoxInfo(box, &info) ? info.hwndItem : nullptr;
}

}  // namespace

CQxUIPropertyPage::CQxUIPropertyPage(HDEVINFO device_set, const SP_DEVINFO_DATA& element)
    : CSettingsPage(kPage, device_set, element),
      device_set_(device_set),
      element_(element),
      loaded_(FindInterface() && ReadSettings(port_set_, kPortSet)) {}

bool CQxUIPropertyPage::Clicked(int control) {
    switch (control) {
        case IDC_ADVANCED:
            OpenAdvancedSettings();
            return true;
        case IDC_RESTORE_DEFAULTS:
            RestoreDefaults();
            return true;
        case IDC_OVERRIDE_BAUD_RATE:
        case IDC_OVERRIDE_DATA_BITS:
        case IDC_OVERRIDE_PARITY:
        case IDC_OVERRIDE_STOP_BITS:
        case IDC_OVERRIDE_FLOW_CONTROL:
        case IDC_CTS_TRUE:
        case IDC_DSR_TRUE:
            ShowOverrideWarning();
            return true;
        default:
            return CSettingsPage::Clicked(control);
    }
}

void CQxUIPropertyPage::AnswerTip(int control, NMTTDISPINFOW& request) {
    if (control == IDC_BAUD_RATE || control == IDC_BAUD_RATE_LABEL)
        AnswerBaudRateTip(request);
    else
        CSettingsPage::AnswerTip(control, request);
}

void CQxUIPropertyPage::Initialise() {
    CreateBackground();
    SetCaptions();
    PrepareTips();
    RegisterTips();
    for (const int control : kWarningControls)
        ShowItem(control, false);
    if (const HWND edit = EditFieldOf(Item(IDC_BAUD_RATE))) {
        SetWindowLongPtrW(edit, GWL_STYLE, GetWindowLongPtrW(edit, GWL_STYLE) | ES_NUMBER);
        // The mouse meets the edit field before the box around it.
        AddTool(edit);
    }
    FillControls();
    WriteNumber(Item(IDC_BAUD_RATE), baud_rate_);
    tip_mode_ = TipMode::Information;
}

DWORD CQxUIPropertyPage::FlowControlMask() const noexcept {
    return port_set_.SupportedFlowControls & (IsHalfDuplex() ? ~kAllFlowControls : ~DWORD{0});
}

bool CQxUIPropertyPage::IsHalfDuplex() const noexcept {
    return IsRs422485Port() && port_set_.DuplexMode == kHalfDuplexMode;
}

void CQxUIPropertyPage::FillFlowControl() const {
    CUtils::FillComboByValue(Item(IDC_FLOW_CONTROL),
                             CUtils::FlowControlList(IDS_FLOW_CONTROLS, FlowControlMask()),
                             port_set_.FlowControl, true);
}

void CQxUIPropertyPage::FillControls() {
    CUtils::FillComboByValue(Item(IDC_BAUD_RATE),
                             CUtils::BaudRateList(port_set_.SupportedBaudRates, port_set_.MaxBaudRate),
                             port_set_.Baudrate, false);
    CUtils::FillComboByValue(Item(IDC_DATA_BITS), CUtils::DataBitsList(port_set_.SupportedDataBits),
                             port_set_.Databits, false);
    CUtils::FillComboByValue(Item(IDC_PARITY), CUtils::ParityList(IDS_PARITIES, port_set_.SupportedParities),
                             port_set_.Parity, false);
    CUtils::FillComboByValue(Item(IDC_STOP_BITS),
                             CUtils::StopBitsList(IDS_STOP_BITS, port_set_.SupportedStopBits),
                             port_set_.Stopbits, false);
    FillFlowControl();

    for (const auto& [control, flag] : kOverrideBoxes)
        Check(control, port_set_.*flag != 0);

    if (IsRs422485Port()) {
        Check(IDC_DSR_TRUE, true);
        EnableItem(IDC_DSR_TRUE, false);
        EnableItem(IDC_DSR_TRUE_LABEL, false);
        ShowRs422485Cts();
    } else {
        Check(IDC_CTS_TRUE, port_set_.EmulateCTSTrue != 0);
        Check(IDC_DSR_TRUE, port_set_.EmulateDSRTrue != 0);
    }
    ApplyLineSupport();
    ShowOverrideWarning();

    baud_rate_ = port_set_.Baudrate;
    minimum_baud_rate_ = port_set_.MinBaudRate;
    maximum_baud_rate_ = port_set_.MaxBaudRate;
}

void CQxUIPropertyPage::ShowRs422485Cts() const noexcept {
    const bool forced = IsHalfDuplex();
    Check(IDC_CTS_TRUE, forced || port_set_.EmulateCTSTrue != 0);
    EnableItem(IDC_CTS_TRUE, !forced);
    EnableItem(IDC_CTS_TRUE_LABEL, !forced);
}

// A line that the port does not have is always reported as on; one that the driver cannot emulate is not
// offered. The DSR label stays legible on a port without that line.
void CQxUIPropertyPage::ApplyLineSupport() const noexcept {
    if (!port_set_.CtsSupported) {
        Check(IDC_CTS_TRUE, true);
        EnableItem(IDC_CTS_TRUE, false);
        EnableItem(IDC_CTS_TRUE_LABEL, false);
    }
    if (!port_set_.DsrSupported) {
        Check(IDC_DSR_TRUE, true);
        EnableItem(IDC_DSR_TRUE, false);
    }
    if (!(FlowControlMask() & kOffersCts)) {
        EnableItem(IDC_CTS_TRUE, false);
        EnableItem(IDC_CTS_TRUE_LABEL, false);
    }
    if (!(FlowControlMask() & kOffersDsr)) {
        EnableItem(IDC_DSR_TRUE, false);
        EnableItem(IDC_DSR_TRUE_LABEL, false);
    }
}

// Warns while a setting overrides applications. Lines that are on because the port does not have them are no
// choice of the user's and do not count.
void CQxUIPropertyPage::ShowOverrideWarning() const noexcept {
    bool overriding = false;
    for (const auto& box : kOverrideBoxes)
        overriding = overriding || Checked(box.control);
    if (!IsRs422485Port())
        overriding = overriding || (port_set_.CtsSupported && Checked(IDC_CTS_TRUE)) ||
                     (port_set_.DsrSupported && Checked(IDC_DSR_TRUE));
    for (const int control : kWarningControls)
        ShowItem(control, overriding);
}

void CQxUIPropertyPage::AnswerBaudRateTip(NMTTDISPINFOW& request) {
    const TipMode mode = std::exchange(tip_mode_, TipMode::Information);
    Text text;
    switch (mode) {
        case TipMode::Information:
            text = LoadText(IDS_TIP_BAUD_RATE);
            break;
        case TipMode::RangeError:
            text = Format(TEXT("Baud rate out of Range.\n\nPlease enter value between %d and %d."),
                          port_set_.MinBaudRate, port_set_.MaxBaudRate);
            break;
        case TipMode::WriteError:
            text = TEXT("Error setting baud rate.\n\nPlease enter valid settable baud rate.");
            break;
    }
    const bool information = mode == TipMode::Information;
    SetTipTitle(information ? TEXT("Information:") : TEXT("Error:"), information ? TTI_INFO : TTI_ERROR);
    AnswerTipRequest(request, std::move(text));
}

void CQxUIPropertyPage::RestoreDefaults() {
    CQxUVcpUserModeInterface defaults;
    if (!ReadDefaultSettings(defaults, kPortSet))
        return;
    const auto take = [](DWORD& stored, DWORD value, bool known) {
        if (known)
            stored = value;
    };
    port_set_.Baudrate = defaults.Baudrate;
    take(port_set_.Databits, defaults.Databits, IsDataBits(defaults.Databits));
    take(port_set_.Parity, defaults.Parity, IsParity(defaults.Parity));
    take(port_set_.Stopbits, defaults.Stopbits, IsStopBits(defaults.Stopbits));
    take(port_set_.FlowControl, defaults.FlowControl, IsFlowControl(defaults.FlowControl));
    for (const auto& box : kOverrideBoxes)
        port_set_.*box.flag = defaults.*box.flag ? 1 : 0;
    port_set_.EmulateCTSTrue = defaults.EmulateCTSTrue ? 1 : 0;
    port_set_.EmulateDSRTrue = defaults.EmulateDSRTrue ? 1 : 0;
    FillControls();
    defaults_loaded_ = true;
}

void CQxUIPropertyPage::OpenAdvancedSettings() {
    CAdvancedDialog sheet(device_set_, element_);
    if (sheet.DoModal() != CAdvancedDialog::kClosedWithOk)
        return;
    if (!ReadSettings(port_set_, kPortSet))
        return;
    port_set_.DuplexMode = sheet.DuplexMode();
    // The rest of the page keeps what the user entered before.
    if (IsRs422485Port()) {
        FillFlowControl();
        ShowRs422485Cts();
    }
    ApplyLineSupport();
}

// Compares the controls with the port's settings, all of them, and takes over what is valid; true when
// anything differs.
bool CQxUIPropertyPage::TakeChanges(DWORD data_bits, DWORD parity, DWORD stop_bits, DWORD flow_control) {
    bool changed = Take(port_set_.Baudrate, baud_rate_, true);
    changed |= Take(port_set_.Databits, data_bits, IsDataBits(data_bits));
    changed |= Take(port_set_.Parity, parity, IsParity(parity));
    changed |= Take(port_set_.Stopbits, stop_bits, IsStopBits(stop_bits));
    changed |= Take(port_set_.FlowControl, flow_control, IsFlowControl(flow_control));
    for (const auto& box : kOverrideBoxes)
        changed |= TakeFlag(port_set_.*box.flag, Checked(box.control));
    if (!IsRs422485Port()) {
        changed |= TakeFlag(port_set_.EmulateCTSTrue, Checked(IDC_CTS_TRUE));
        changed |= TakeFlag(port_set_.EmulateDSRTrue, Checked(IDC_DSR_TRUE));
    } else if (!IsHalfDuplex()) {
        changed |= TakeFlag(port_set_.EmulateCTSTrue, Checked(IDC_CTS_TRUE));
    }
    return changed;
}

LRESULT CQxUIPropertyPage::Apply() {
    const HWND baud_rate_box = Item(IDC_BAUD_RATE);
    if (!ReadNumber(baud_rate_box, baud_rate_) || baud_rate_ < minimum_baud_rate_ ||
        baud_rate_ > maximum_baud_rate_) {
        MessageBeep(0xFFFFFFFF);
        SetFocus(baud_rate_box);
        ShowMessage(Format(TEXT("Please enter baud rate between %d bps and %d bps."), port_set_.MinBaudRate,
                           port_set_.MaxBaudRate),
                    TEXT("Baud rate out of Range"), MB_OK | MB_ICONERROR);
        tip_mode_ = TipMode::RangeError;
        return kRefused;
    }

    const DWORD data_bits = CUtils::GetSelectedValue(Item(IDC_DATA_BITS));
    const DWORD parity = CUtils::GetSelectedValue(Item(IDC_PARITY));
    const DWORD stop_bits = CUtils::GetSelectedValue(Item(IDC_STOP_BITS));
    const DWORD flow_control = CUtils::GetSelectedValue(Item(IDC_FLOW_CONTROL));
    if (!TakeChanges(data_bits, parity, stop_bits, flow_control) && !defaults_loaded_) {
        tip_mode_ = TipMode::Information;
        return kAccepted;
    }

    const Text name = PortName();
    if (!MayChange(name, IDS_SETTINGS_PORT_OPEN)) {
        static_cast<void>(ReadSettings(port_set_, kPortSet));
        return kRefused;
    }
    if (!WriteSettings(port_set_, kPortSet)) {
        ShowMessage(TEXT("Error setting baud rate.\n\nPlease enter valid settable baud rate."),
                    TEXT("Error setting baud rate"), MB_OK | MB_ICONERROR);
        tip_mode_ = TipMode::WriteError;
        static_cast<void>(ReadSettings(port_set_, kPortSet));
        return kRefused;
    }
    defaults_loaded_ = false;
    // Only programs that know nothing of drivers read this entry; the driver has the settings already.
    static_cast<void>(CUtils::WritePortsEntry(name, static_cast<int>(baud_rate_), data_bits, parity,
                                              stop_bits, flow_control));
    tip_mode_ = TipMode::Information;
    return kAccepted;
}

}  // namespace qx
