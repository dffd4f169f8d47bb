// The "Advanced Settings for" sheet.
#pragma once

#include "device_records/device_reg_info.h"
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

    // The duplex mode that the RS-422/485 page holds, whether it was shown or not.
    [[nodiscard]] DWORD DuplexMode() const noexcept { return rs422_485_page_.DuplexMode(); }

  private:
    CQXDeviceRegInfo port_record_;
    CRS422485Page rs422_485_page_;
    CDeviceAdvSettingPage com_number_page_;
    CNewUSBSettingsPage usb_settings_page_;
    CAboutPage about_page_;
};

}  // namespace qx
