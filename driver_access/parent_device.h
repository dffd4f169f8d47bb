// SPDX-License-Identifier: MIT
// Finds the adapter that a port belongs to.
#pragma once

#include "base/handles.h"

namespace qx {

// The device-tree parent of a device, as an element of a set of all present devices. That set is opened by
// the search and stays open until the object is destroyed; the child's own set is borrowed from the caller.
class CQxSetupDi_ParentDevice {
  public:
    CQxSetupDi_ParentDevice(HDEVINFO child_set, const SP_DEVINFO_DATA& child) noexcept;
    virtual ~CQxSetupDi_ParentDevice() = default;
    CQxSetupDi_ParentDevice(const CQxSetupDi_ParentDevice&) = delete;
    CQxSetupDi_ParentDevice& operator=(const CQxSetupDi_ParentDevice&) = delete;

    // False when the child has no parent or the parent is not among the present devices. When the set of
    // present devices cannot be opened, one line with the error code goes to standard output.
    [[nodiscard]] bool FindParent() noexcept;

    // The child, as it was handed in.
    [[nodiscard]] HDEVINFO ChildSet() const noexcept { return child_set_; }
    [[nodiscard]] const SP_DEVINFO_DATA& Child() const noexcept { return child_; }
    // The parent and the set that it is an element of. Requires: FindParent succeeded.
    [[nodiscard]] HDEVINFO ParentSet() const noexcept { return present_devices_.Get(); }
    [[nodiscard]] const SP_DEVINFO_DATA& Parent() const noexcept { return parent_; }

  private:
    HDEVINFO child_set_;
    SP_DEVINFO_DATA child_;
    SP_DEVINFO_DATA parent_{};
    DeviceSet present_devices_;
};

}  // namespace qx
