// SPDX-License-Identifier: MIT
#include "install/card_coinstaller.h"

#include "install/coinstaller.h"
#include "install/port_backup.h"
#include "install/uninstall_program.h"

namespace qx {

namespace {

void BeforeInstall(HDEVINFO device_set, SP_DEVINFO_DATA& adapter) {
    SavePortBackups(device_set, adapter);
}

void BeforeRemove(HDEVINFO device_set, SP_DEVINFO_DATA& adapter) {
    RunUninstallProgram(device_set, adapter, false);
}

constexpr CoinstallerActions kCardActions{&BeforeInstall, nullptr, &BeforeRemove};

}  // namespace

}  // namespace qx

DWORD CALLBACK QxUCoInstallCard(DI_FUNCTION request, HDEVINFO device_set, PSP_DEVINFO_DATA device,
                                PCOINSTALLER_CONTEXT_DATA context) noexcept {
    return qx::AnswerInstaller(qx::kCardActions, request, device_set, device, context);
}
