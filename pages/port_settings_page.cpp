// SPDX-License-Identifier: MIT
#include "pages/port_settings_page.h"

#include "base/module_instance.h"
#include "module/resource.h"
#include "pages/advanced_dialog.h"
#include "pages/utils.h"

#include <utility>

namespace qx {

namespace {

constexpr DWORD kAllFlowControls = kOffersHardware | kOffersDsr | kOffersXonXoff;
// What a flow-control value may hold besides 0.
constexpr DWORD kFlowControlBits = 0xF;

// What a box yields that has no selection. It has every bit, and is no flow control.
constexpr DWORD kNothingSelected = 0xFFFFFFFF;

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
    return value <= kEightDataBits;
}
bool IsParity(DWORD value) noexcept {
    return value <= kSpaceParity;
}
bool IsStopBits(DWORD value) noexcept {
    return value <= kTwoStopBits;
}
bool IsFlowControl(DWORD value) noexcept {
    return value == kNoFlowControl || (value & kFlowControlBits) != 0;
}

// Stores a value if it is known; true when it differs, known or not.
bool Store(DWORD& stored, DWORD value, bool known) noexcept {
    if (stored == value)
        return false;
    if (known)
        stored = value;
    return true;
}

// Stores 1 or 0; true when that means something else than what was stored.
bool StoreFlag(DWORD& stored, bool on) noexcept {
    const bool changed = (stored != 0) != on;
    stored = on ? 1 : 0;
    return changed;
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
      loaded_(FindInterface() && port_set_.Read()) {}

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
    FillControls(*port_set_);
    WriteNumber(Item(IDC_BAUD_RATE), baud_rate_);
    tip_mode_ = TipMode::kInformation;
}

DWORD CQxUIPropertyPage::FlowControlMask() const noexcept {
    return port_set_->SupportedFlowControls & (IsHalfDuplex() ? ~kAllFlowControls : ~DWORD{0});
}

bool CQxUIPropertyPage::IsHalfDuplex() const noexcept {
    return IsRs422485Port() && port_set_->DuplexMode == kHalfDuplex;
}

void CQxUIPropertyPage::FillFlowControl(DWORD flow_control) const {
    CUtils::FillComboByValue(Item(IDC_FLOW_CONTROL),
                             CUtils::FlowControlList(IDS_FLOW_CONTROLS, FlowControlMask()), flow_control,
                             true);
}

void CQxUIPropertyPage::FillControls(const CVcpParameters& values) {
    CUtils::FillComboByValue(Item(IDC_BAUD_RATE),
                             CUtils::BaudRateList(values.SupportedBaudRates, values.MaxBaudRate),
                             values.Baudrate, false);
    CUtils::FillComboByValue(Item(IDC_DATA_BITS), CUtils::DataBitsList(values.SupportedDataBits),
                             values.Databits, false);
    CUtils::FillComboByValue(Item(IDC_PARITY), CUtils::ParityList(IDS_PARITIES, values.SupportedParities),
                             values.Parity, false);
    CUtils::FillComboByValue(Item(IDC_STOP_BITS),
                             CUtils::StopBitsList(IDS_STOP_BITS, values.SupportedStopBits), values.Stopbits,
                             false);
    FillFlowControl(values.FlowControl);

    for (const auto& [control, flag] : kOverrideBoxes)
        Check(control, values.*flag != 0);

    if (IsRs422485Port()) {
        Check(IDC_DSR_TRUE, true);
        EnableItem(IDC_DSR_TRUE, false);
        EnableItem(IDC_DSR_TRUE_LABEL, false);
        ShowRs422485Cts(values.EmulateCTSTrue != 0);
    } else {
        Check(IDC_CTS_TRUE, values.EmulateCTSTrue != 0);
        Check(IDC_DSR_TRUE, values.EmulateDSRTrue != 0);
    }
    ApplyLineSupport();
    ShowOverrideWarning();

    baud_rate_ = values.Baudrate;
    minimum_baud_rate_ = values.MinBaudRate;
    maximum_baud_rate_ = values.MaxBaudRate;
}

void CQxUIPropertyPage::ShowRs422485Cts(bool emulated) const noexcept {
    const bool forced = IsHalfDuplex();
    Check(IDC_CTS_TRUE, forced || emulated);
    EnableItem(IDC_CTS_TRUE, !forced);
    EnableItem(IDC_CTS_TRUE_LABEL, !forced);
}

// A line that the port does not have is always reported as on; one that the driver cannot emulate is not
// offered. The DSR label stays legible on a port without that line.
void CQxUIPropertyPage::ApplyLineSupport() const noexcept {
    if (!port_set_->CtsSupported) {
        Check(IDC_CTS_TRUE, true);
        EnableItem(IDC_CTS_TRUE, false);
        EnableItem(IDC_CTS_TRUE_LABEL, false);
    }
    if (!port_set_->DsrSupported) {
        Check(IDC_DSR_TRUE, true);
        EnableItem(IDC_DSR_TRUE, false);
    }
    if (!(FlowControlMask() & kOffersHardware)) {
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
        overriding = overriding || (port_set_->CtsSupported && Checked(IDC_CTS_TRUE)) ||
                     (port_set_->DsrSupported && Checked(IDC_DSR_TRUE));
    for (const int control : kWarningControls)
        ShowItem(control, overriding);
}

void CQxUIPropertyPage::AnswerBaudRateTip(NMTTDISPINFOW& request) {
    const TipMode mode = std::exchange(tip_mode_, TipMode::kInformation);
    Text text;
    switch (mode) {
        case TipMode::kInformation:
            text = LoadText(IDS_TIP_BAUD_RATE);
            break;
        case TipMode::kRangeError:
            text = Format(TEXT("Baud rate out of Range.\n\nPlease enter value between %d and %d."),
                          port_set_->MinBaudRate, port_set_->MaxBaudRate);
            break;
        case TipMode::kWriteError:
            text = TEXT("Error setting baud rate.\n\nPlease enter valid settable baud rate.");
            break;
    }
    const bool information = mode == TipMode::kInformation;
    SetTipTitle(information ? TEXT("Information:") : TEXT("Error:"), information ? TTI_INFO : TTI_ERROR);
    AnswerTipRequest(request, std::move(text));
}

void CQxUIPropertyPage::RestoreDefaults() {
    CQxUVcpUserModeInterface defaults;
    if (!ReadDefaultSettings(defaults, kPortSet))
        return;
    defaults_ = defaults;
    FillControls(WithDefaults());
}

CVcpParameters CQxUIPropertyPage::WithDefaults() const noexcept {
    CVcpParameters values = *port_set_;
    if (!defaults_)
        return values;
    values.Baudrate = defaults_->Baudrate;
    Store(values.Databits, defaults_->Databits, IsDataBits(defaults_->Databits));
    Store(values.Parity, defaults_->Parity, IsParity(defaults_->Parity));
    Store(values.Stopbits, defaults_->Stopbits, IsStopBits(defaults_->Stopbits));
    Store(values.FlowControl, defaults_->FlowControl, IsFlowControl(defaults_->FlowControl));
    for (const auto& box : kOverrideBoxes)
        StoreFlag(values.*box.flag, (*defaults_).*box.flag != 0);
    StoreFlag(values.EmulateCTSTrue, defaults_->EmulateCTSTrue != 0);
    StoreFlag(values.EmulateDSRTrue, defaults_->EmulateDSRTrue != 0);
    return values;
}

void CQxUIPropertyPage::OpenAdvancedSettings() {
    CAdvancedDialog sheet(device_set_, element_);
    const bool closed_with_ok = sheet.DoModal() == CAdvancedDialog::kClosedWithOk;
    // The mode that the sheet wrote is the driver's, also when another page refused and the user gave up, or
    // when the driver cannot be asked now. This page must not write the former one over it.
    const CRS422485Page& page = sheet.DuplexModePage();
    if (!(closed_with_ok && port_set_.Read()) && !page.HasWritten())
        return;
    if (const std::optional<DWORD> mode = page.DuplexMode())
        port_set_.Learn(&CVcpParameters::DuplexMode, *mode);
    // The rest of the page keeps what the user entered before.
    if (IsRs422485Port()) {
        FillFlowControl(port_set_->FlowControl);
        ShowRs422485Cts(port_set_->EmulateCTSTrue != 0);
    }
    ApplyLineSupport();
}

CQxUIPropertyPage::LineSettings CQxUIPropertyPage::SelectedLineSettings() const noexcept {
    return {CUtils::GetSelectedValue(Item(IDC_DATA_BITS)), CUtils::GetSelectedValue(Item(IDC_PARITY)),
            CUtils::GetSelectedValue(Item(IDC_STOP_BITS)), CUtils::GetSelectedValue(Item(IDC_FLOW_CONTROL))};
}

// Compares the controls with `wanted`, all of them, and takes over what is valid; true when anything differs.
bool CQxUIPropertyPage::StoreChanges(CVcpParameters& wanted, const LineSettings& selected) const noexcept {
    bool changed = Store(wanted.Baudrate, baud_rate_, true);
    changed |= Store(wanted.Databits, selected.data_bits, IsDataBits(selected.data_bits));
    changed |= Store(wanted.Parity, selected.parity, IsParity(selected.parity));
    changed |= Store(wanted.Stopbits, selected.stop_bits, IsStopBits(selected.stop_bits));
    changed |= Store(wanted.FlowControl, selected.flow_control,
                     IsFlowControl(selected.flow_control) && selected.flow_control != kNothingSelected);
    for (const auto& box : kOverrideBoxes)
        changed |= StoreFlag(wanted.*box.flag, Checked(box.control));
    if (!IsRs422485Port()) {
        changed |= StoreFlag(wanted.EmulateCTSTrue, Checked(IDC_CTS_TRUE));
        changed |= StoreFlag(wanted.EmulateDSRTrue, Checked(IDC_DSR_TRUE));
    } else if (!IsHalfDuplex()) {
        changed |= StoreFlag(wanted.EmulateCTSTrue, Checked(IDC_CTS_TRUE));
    }
    return changed;
}

LRESULT CQxUIPropertyPage::Apply() {
    const HWND baud_rate_box = Item(IDC_BAUD_RATE);
    if (!ReadNumber(baud_rate_box, baud_rate_) || baud_rate_ < minimum_baud_rate_ ||
        baud_rate_ > maximum_baud_rate_) {
        MessageBeep(0xFFFFFFFF);
        SetFocus(baud_rate_box);
        ShowMessage(Format(TEXT("Please enter baud rate between %d bps and %d bps."), port_set_->MinBaudRate,
                           port_set_->MaxBaudRate),
                    TEXT("Baud rate out of Range"), MB_OK | MB_ICONERROR);
        tip_mode_ = TipMode::kRangeError;
        return kRefused;
    }

    const LineSettings selected = SelectedLineSettings();
    CVcpParameters wanted = WithDefaults();
    if (!StoreChanges(wanted, selected) && !defaults_) {
        tip_mode_ = TipMode::kInformation;
        return kAccepted;
    }

    const Text name = PortName();
    if (!MayChange(name, IDS_SETTINGS_PORT_OPEN)) {
        port_set_.Read();
        return kRefused;
    }
    if (!port_set_.Write(wanted)) {
        ShowMessage(TEXT("Error setting baud rate.\n\nPlease enter valid settable baud rate."),
                    TEXT("Error setting baud rate"), MB_OK | MB_ICONERROR);
        tip_mode_ = TipMode::kWriteError;
        port_set_.Read();
        return kRefused;
    }
    defaults_.reset();
    // Only programs that know nothing of drivers read this entry; the driver has the settings already.
    static_cast<void>(CUtils::WritePortsEntry(name, static_cast<int>(baud_rate_), selected.data_bits,
                                              selected.parity, selected.stop_bits, selected.flow_control));
    tip_mode_ = TipMode::kInformation;
    return kAccepted;
}

}  // namespace qx
