// SPDX-License-Identifier: MIT
#include "install/driver_update_refusal.h"

#include "base/attempt.h"
#include "base/module_instance.h"
#include "device_records/registry_layout.h"
#include "install/device_helpers.h"
#include "install/product_data.h"
#include "module/resource.h"

namespace qx {

DWORD AnswerDriverUpdate(HDEVINFO device_set, const SP_DEVINFO_DATA& device) {
    DeviceString no_upgrade;
    if (!ReadDeviceString(device_set, device, kNoUpgrade, no_upgrade) || ParseDecimal(no_upgrade.view()) != 1)
        return NO_ERROR;
    // Out of memory for its message, it still refuses.
    Attempt([] {
        static_cast<void>(
            MessageBoxW(nullptr, LoadText(IDS_UPDATE_PARENT_DRIVER).c_str(), kMakerCaption, MB_ICONHAND));
    });
    return ERROR_DI_DONT_INSTALL;
}

}  // namespace qx
