// SPDX-License-Identifier: MIT
// What the three co-installers have in common: which requests they act on, and what they return.
#pragma once

#include <windows.h>

#include <setupapi.h>

namespace qx {

// What one kind of device does at a request; null for nothing. Actions may throw; what they do not finish
// then stays undone, and the device installer does not hear of it.
struct CoinstallerActions {
    // Before the platform installs the device's driver.
    void (*before_install)(HDEVINFO device_set, SP_DEVINFO_DATA& device) = nullptr;
    // After it did, with its error code, NO_ERROR for success.
    void (*after_install)(HDEVINFO device_set, SP_DEVINFO_DATA& device, DWORD install_result) = nullptr;
    // Before it removes the device.
    void (*before_remove)(HDEVINFO device_set, SP_DEVINFO_DATA& device) = nullptr;
};

// Answers one call of the device installer.
//
// Installing: the first call asks to be called back, and the second returns the platform's own result bit for
// bit, so that an installation that succeeded never fails because of a COM name. Removing: NO_ERROR. Updating
// the driver: see AnswerDriverUpdate. Every other request: NO_ERROR, and nothing is done.
[[nodiscard]] DWORD AnswerInstaller(const CoinstallerActions& actions, DI_FUNCTION request,
                                    HDEVINFO device_set, PSP_DEVINFO_DATA device,
                                    PCOINSTALLER_CONTEXT_DATA context) noexcept;

}  // namespace qx
