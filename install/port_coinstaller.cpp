#include "install/port_coinstaller.h"

#include "base/attempt.h"
#include "base/handles.h"
#include "device_records/com_port_util.h"
#include "install/child_port_order.h"
#include "install/coinstaller.h"
#include "install/com_name.h"
#include "install/device_helpers.h"
#include "install/fixed_com_numbers.h"
#include "install/port_backup.h"
#include "install/product_data.h"

namespace qx {

namespace {

// Holds the port installation mutex: the platform may install several ports at once, in one process or in
// several, and a rename updates several places and must not interleave with another. Waits as long as it
// takes. Where the platform gives no mutex the installation goes on without: one that never finishes would be
// worse.
class PortInstallationLock {
  public:
    PortInstallationLock() : mutex_(CreateMutexW(nullptr, FALSE, kPortInstallationMutex)) {
        if (mutex_)
            static_cast<void>(WaitForSingleObject(mutex_.Get(), INFINITE));
    }
    ~PortInstallationLock() {
        if (mutex_)
            ReleaseMutex(mutex_.Get());
    }
    PortInstallationLock(const PortInstallationLock&) = delete;
    PortInstallationLock& operator=(const PortInstallationLock&) = delete;

  private:
    KernelObject mutex_;
};

// Older systems install an adapter's ports one after another in their order, so there is nothing to be put in
// order. There is no system 7.x.
bool SystemInstallsPortsInAnyOrder() {
    OSVERSIONINFOEXW version{};
    version.dwOSVersionInfoSize = sizeof(version);
    if (!GetVersionExW(reinterpret_cast<OSVERSIONINFOW*>(&version)))
        return false;
    return (version.dwMajorVersion == 6 && version.dwMinorVersion >= 1) || version.dwMajorVersion >= 8;
}

// Has the port started again, so that it reads the settings that it was given back. What hangs on its name,
// other drivers included, is looked for in the whole device tree.
void Restart(HDEVINFO set, SP_DEVINFO_DATA& port) {
    static_cast<void>(ReenumerateDevice({}));
    DisableDevice(set, port);
    EnableDevice(set, port);
    static_cast<void>(CM_Reenumerate_DevNode(port.DevInst, 0));
}

// The names are fixed even if the installation failed: the port device exists either way, and the next
// attempt reuses it. A step that runs out of memory before it found anything to do counts as one that found
// nothing, and the next ones run.
void AfterInstall(HDEVINFO set, SP_DEVINFO_DATA& port, DWORD install_result) {
    const PortInstallationLock lock;
    const bool restored = Attempt([&] { return RestorePortBackup(set, port); });
    const bool fixed = Attempt([&] { return ApplyFixedComNumber(set, port); });
    if (!restored && !fixed && SystemInstallsPortsInAnyOrder())
        Attempt([&] { return OrderChildPortNames(set, port); });
    if (install_result != NO_ERROR)
        return;
    if (restored)
        Restart(set, port);
    else
        WriteDefaultPortsEntry(set, port);
}

void BeforeRemove(HDEVINFO set, SP_DEVINFO_DATA& port) {
    static_cast<void>(CCOMPortUtil(set, port).RemoveDosDeviceName());
}

constexpr CoinstallerActions kPortActions{nullptr, &AfterInstall, &BeforeRemove};

}  // namespace

}  // namespace qx

DWORD CALLBACK QxUCoInstallPort(DI_FUNCTION request, HDEVINFO set, PSP_DEVINFO_DATA device,
                                PCOINSTALLER_CONTEXT_DATA context) noexcept {
    return qx::AnswerInstaller(qx::kPortActions, request, set, device, context);
}
