// SPDX-License-Identifier: MIT
#include "pages/rs422_485_page.h"

#include "module/resource.h"
#include "pages/utils.h"

namespace qx {

namespace {

constexpr ControlText kCaptions[] = {
    {IDC_DUPLEX_DESCRIPTION, IDS_DUPLEX_DESCRIPTION},
};

constexpr ControlText kTips[] = {
    {IDC_DUPLEX_MODE, IDS_TIP_DUPLEX_MODE},
    {IDC_RESTORE_DEFAULTS, IDS_TIP_RESTORE_DEFAULTS},
};

constexpr SettingsPageData kPage{IDD_RS422_485, IDS_TITLE_RS422_485, kCaptions, kTips, kRs422485Help};

}  // namespace

CRS422485Page::CRS422485Page(HDEVINFO device_set, const SP_DEVINFO_DATA& element)
    : CSettingsPage(kPage, device_set, element) {
    static_cast<void>(FindInterface() && port_set_.Read());
}

bool CRS422485Page::Clicked(int control) {
    if (control != IDC_RESTORE_DEFAULTS)
        return CSettingsPage::Clicked(control);
    RestoreDefaults();
    return true;
}

void CRS422485Page::Initialise() {
    SetCaptions();
    CreateBackground();
    PrepareTips();
    RegisterTips();
    const DWORD mode = port_set_->DuplexMode;
    FillDuplexModes(IsRs422485Port() && mode == kDuplexNotSet ? kFullDuplex : mode);
}

void CRS422485Page::FillDuplexModes(DWORD selected) const {
    CUtils::FillComboByValue(Item(IDC_DUPLEX_MODE),
                             CUtils::DuplexModeList(IDS_DUPLEX_MODES, port_set_->SupportedDuplexModes),
                             selected, false);
}

void CRS422485Page::RestoreDefaults() {
    CQxUVcpUserModeInterface defaults;
    if (ReadDefaultSettings(defaults, kPortSet))
        FillDuplexModes(defaults.DuplexMode);
}

LRESULT CRS422485Page::Apply() {
    if (!port_set_.Read())
        return kRefused;
    const HWND box = Item(IDC_DUPLEX_MODE);
    // A box that could not be filled has no mode to write.
    if (!HasSelection(box))
        return kRefused;
    CVcpParameters wanted = *port_set_;
    wanted.DuplexMode = CUtils::GetSelectedValue(box);
    if (MayChange(PortName(), IDS_PORT_OPEN) && port_set_.Write(wanted)) {
        has_written_ = true;
        return kAccepted;
    }
    port_set_.Read();
    return kRefused;
}

}  // namespace qx
