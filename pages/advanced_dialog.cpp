// SPDX-License-Identifier: MIT
#include "pages/advanced_dialog.h"

#include "device_records/device_reg_info.h"
#include "device_records/registry_layout.h"

namespace qx {

namespace {

Text CaptionFor(const CQXDeviceRegInfo& port) {
    Text name;
    static_cast<void>(port.GetDeviceString(kPortName, name));
    return Text(TEXT("Advanced Settings for ")) + name;
}

}  // namespace

CAdvancedDialog::CAdvancedDialog(HDEVINFO device_set, const SP_DEVINFO_DATA& element)
    : CPropertySheet(CaptionFor(CQXDeviceRegInfo(device_set, element))),
      rs422_485_page_(device_set, element),
      com_number_page_(device_set, element),
      usb_settings_page_(device_set, element) {
    sheet_pages_.Add(com_number_page_.Create());
    if (rs422_485_page_.IsOffered())
        sheet_pages_.Add(rs422_485_page_.Create());
    sheet_pages_.Add(usb_settings_page_.Create());
    sheet_pages_.Add(about_page_.Create());
}

}  // namespace qx
