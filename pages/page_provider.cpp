// SPDX-License-Identifier: MIT
#include "pages/page_provider.h"

#include "base/attempt.h"
#include "pages/port_settings_page.h"

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
    // Out of memory means no page, like a driver that does not answer.
    return qx::Attempt([&] {
        auto page = std::make_unique<qx::CQxUIPropertyPage>(asked.DeviceInfoSet, *asked.DeviceInfoData);
        if (!page->IsLoaded())
            return false;
        const HPROPSHEETPAGE handle = qx::CPropertyPage::CreateAndHandOver(std::move(page));
        if (!handle)
            return false;
        if (add_page(handle, argument))
            return true;
        // A page that the sheet does not want stays ours.
        DestroyPropertySheetPage(handle);
        return false;
    });
}
