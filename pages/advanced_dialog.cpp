#include "pages/advanced_dialog.h"

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
      port_record_(device_set, element),
      rs422_485_page_(device_set, element),
      com_number_page_(device_set, element),
      usb_settings_page_(device_set, element) {
    AddPage(com_number_page_.Create());
    if (rs422_485_page_.IsOffered())
        AddPage(rs422_485_page_.Create());
    AddPage(usb_settings_page_.Create());
    AddPage(about_page_.Create());
}

}  // namespace qx
