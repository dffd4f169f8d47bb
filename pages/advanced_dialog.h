// SPDX-License-Identifier: MIT
// The "Advanced Settings for" sheet.
#pragma once

#include "pages/about_page.h"
#include "pages/com_number_page.h"
#include "pages/property_sheet.h"
#include "pages/rs422_485_page.h"
#include "pages/usb_settings_page.h"

namespace qx {

// The modal sheet with what the "Port Settings" page does not show of a port. It holds no settings itself:
// each page reads its own copy when the sheet is built, and writes it when the user closes with OK and the
// page has been opened.
class CAdvancedDialog : public CPropertySheet {
  public:
    // Builds the pages and so reads the port's settings. A driver that does not answer is no obstacle: the
    // pages then show initial values.
    CAdvancedDialog(HDEVINFO device_set, const SP_DEVINFO_DATA& element);
    ~CAdvancedDialog() override = default;

    [[nodiscard]] INT_PTR DoModal(HWND owner = nullptr) noexcept {
        return CPropertySheet::DoModal(sheet_pages_, owner);
    }

    // The page that holds the duplex mode, whether it was shown or not.
    [[nodiscard]] const CRS422485Page& DuplexModePage() const noexcept { return rs422_485_page_; }

  private:
    CRS422485Page rs422_485_page_;
    CDeviceAdvSettingPage com_number_page_;
    CNewUSBSettingsPage usb_settings_page_;
    CAboutPage about_page_;
    CSheetPages sheet_pages_;
};

}  // namespace qx
