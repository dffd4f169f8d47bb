// SPDX-License-Identifier: MIT
// Finds the control device that the port driver publishes for a port.
#pragma once

#include "base/handles.h"
#include "base/text.h"

namespace qx {

// Looks for one device interface of one interface class. The set of the class's interfaces is opened by the
// search and stays open until the object is destroyed.
class CQxSetupDi_DeviceInterface {
  public:
    explicit CQxSetupDi_DeviceInterface(const GUID& interface_class) noexcept
        : interface_class_(interface_class) {}
    virtual ~CQxSetupDi_DeviceInterface() = default;
    CQxSetupDi_DeviceInterface(const CQxSetupDi_DeviceInterface&) = delete;
    CQxSetupDi_DeviceInterface& operator=(const CQxSetupDi_DeviceInterface&) = delete;

    // Walks the opened set for the interface whose path, after its last backslash, is `pattern` (letter case
    // does not count) and keeps that path. Requires: OpenInterfaceSet. False when there is none, and when the
    // platform fails.
    [[nodiscard]] bool FindInterfacePath(const Text& pattern) noexcept;

    // The path of the interface that was found, as the platform spells it; empty before that.
    [[nodiscard]] const Text& InterfacePath() const noexcept { return interface_path_; }

  protected:
    // Opens the set of the present interfaces of the class. On failure one line with the error code goes to
    // standard output, the only trace of it for support.
    [[nodiscard]] bool OpenInterfaceSet() noexcept;

  private:
    GUID interface_class_;
    DeviceSet interface_set_;
    Text interface_path_;
};

}  // namespace qx
