#include "pages/page_provider.h"

#include "pages/port_settings_page.h"

#include <exception>
#include <memory>
#include <utility>

BOOL CALLBACK QxUPortPropPage(LPVOID request, LPFNADDPROPSHEETPAGE add_page, LPARAM argument) noexcept {
    if (!request)
        return FALSE;
    const auto& asked = *static_cast<const SP_PROPSHEETPAGE_REQUEST*>(request);
    if (asked.PageRequested != SPPSR_ENUM_ADV_DEVICE_PROPERTIES)
        return TRUE;
    // Properties of the whole class come without a device.
    if (!add_page || !asked.DeviceInfoData)
        return FALSE;
    try {
        auto page = std::make_unique<qx::CQxUIPropertyPage>(asked.DeviceInfoSet, *asked.DeviceInfoData);
        if (!page->IsLoaded())
            return FALSE;
        const HPROPSHEETPAGE handle = qx::CPropertyPage::CreateAndHandOver(std::move(page));
        if (!handle)
            return FALSE;
        if (add_page(handle, argument))
            return TRUE;
        // A page that the sheet does not want stays ours.
        DestroyPropertySheetPage(handle);
    } catch (const std::exception&) {
        // Out of memory: no page, like a driver that does not answer.
        return FALSE;
    }
    return FALSE;
}
