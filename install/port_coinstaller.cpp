// SPDX-License-Identifier: MIT
#include "install/port_coinstaller.h"

#include "base/attempt.h"
#include "base/handles.h"
#include "base/scope_exit.h"
#include "install/child_port_order.h"
#include "install/coinstaller.h"
#include "install/com_name.h"
#include "install/device_helpers.h"
#include "install/fixed_com_numbers.h"
#include "install/port_backup.h"
#include "install/product_data.h"

namespace qx {

namespace {

// Older systems install an adapter's ports one after another in their order, so there is nothing to be put in
// order. There is no system 7.x.
bool SystemInstallsPortsInAnyOrder() {
    OSVERSIONINFOEXW version{};
    version.dwOSVersionInfoSize = sizeof(version);
    if (!GetVersionExW(reinterpret_cast<OSVERSIONINFOW*>(&version)))
        return false;
    return (version.dwMajorVersion == 6 && version.dwMinorVersion >= 1) || version.dwMajorVersion >= 8;
}

// Restarts the port, so that it reads the restored settings. Other drivers may depend on its name, so the
// whole device tree is looked at again.
void Restart(HDEVINFO device_set, SP_DEVINFO_DATA& port) {
    static_cast<void>(ReenumerateDevice({}));
    DisableDevice(device_set, port);
    EnableDevice(device_set, port);
    static_cast<void>(CM_Reenumerate_DevNode(port.DevInst, 0));
}

// The names are fixed even if the installation failed: the port device exists either way, and the next
// attempt reuses it. A step that runs out of memory before it found anything to do counts as one that found
// nothing, and the next ones run.
void AfterInstall(HDEVINFO device_set, SP_DEVINFO_DATA& port, DWORD install_result) {
    // The platform may install several ports at once, in one process or in several, and a rename updates
    // several places and must not interleave with another: it waits as long as it takes. Where the platform
    // gives no mutex the installation goes on without: one that never finishes would be worse.
    const KernelObject mutex(CreateMutexW(nullptr, FALSE, kPortInstallationMutex));
    if (mutex)
        static_cast<void>(WaitForSingleObject(mutex.Get(), INFINITE));
    const ScopeExit release([&] {
        if (mutex)
            ReleaseMutex(mutex.Get());
    });
    const bool restored = Attempt([&] { return RestorePortBackup(device_set, port); });
    const bool fixed = Attempt([&] { return ApplyFixedComNumber(device_set, port); });
    if (!restored && !fixed && SystemInstallsPortsInAnyOrder())
        Attempt([&] { return OrderChildPortNames(device_set, port); });
    if (install_result != NO_ERROR)
        return;
    if (restored)
        Restart(device_set, port);
    else
        WriteDefaultPortsEntry(device_set, port);
}

void BeforeRemove(HDEVINFO device_set, SP_DEVINFO_DATA& port) {
    static_cast<void>(CCOMPortUtil(device_set, port).RemoveDosDeviceName());
}

constexpr CoinstallerActions kPortActions{nullptr, &AfterInstall, &BeforeRemove};

}  // namespace

}  // namespace qx

DWORD CALLBACK QxUCoInstallPort(DI_FUNCTION request, HDEVINFO device_set, PSP_DEVINFO_DATA device,
                                PCOINSTALLER_CONTEXT_DATA context) noexcept {
    return qx::AnswerInstaller(qx::kPortActions, request, device_set, device, context);
}
