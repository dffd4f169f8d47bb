// SPDX-License-Identifier: MIT
#include "driver_access/parent_device.h"

#include <cstdio>

namespace qx {

CQxSetupDi_ParentDevice::CQxSetupDi_ParentDevice(HDEVINFO child_set, const SP_DEVINFO_DATA& child) noexcept
    : child_set_(child_set), child_(child) {}

bool CQxSetupDi_ParentDevice::FindParent() noexcept {
    present_devices_.Reset(SetupDiGetClassDevsW(nullptr, nullptr, nullptr, DIGCF_PRESENT | DIGCF_ALLCLASSES));
    if (!present_devices_) {
        std::printf("SetupDiGetClassDevs failed: %x\n", static_cast<unsigned>(GetLastError()));
        return false;
    }
    DEVINST parent = 0;
    if (CM_Get_Parent(&parent, child_.DevInst, 0) != CR_SUCCESS)
        return false;

    SP_DEVINFO_DATA device{};
    device.cbSize = sizeof(device);
    for (DWORD index = 0; SetupDiEnumDeviceInfo(present_devices_.Get(), index, &device); ++index) {
        if (device.DevInst == parent) {
            parent_ = device;
            return true;
        }
    }
    return false;
}

}  // namespace qx
