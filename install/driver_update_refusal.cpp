#include "install/driver_update_refusal.h"

#include "base/module_instance.h"
#include "device_records/registry_layout.h"
#include "install/device_helpers.h"
#include "install/product_data.h"
#include "module/resource.h"

#include <new>

namespace qx {

DWORD AnswerDriverUpdate(HDEVINFO set, const SP_DEVINFO_DATA& device) {
    Text no_upgrade;
    if (!ReadDeviceString(set, device, kNoUpgrade, no_upgrade) || ParseDecimal(no_upgrade.view()) != 1)
        return NO_ERROR;
    try {
        static_cast<void>(
            MessageBoxW(nullptr, LoadText(IDS_UPDATE_PARENT_DRIVER).c_str(), kMakerCaption, MB_ICONHAND));
    } catch (const std::bad_alloc&) {
        // Without its message the refusal holds all the same.
    }
    return ERROR_DI_DONT_INSTALL;
}

}  // namespace qx
