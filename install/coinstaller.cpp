// SPDX-License-Identifier: MIT
#include "install/coinstaller.h"

#include "base/attempt.h"
#include "install/driver_update_refusal.h"

namespace qx {

DWORD AnswerInstaller(const CoinstallerActions& actions, DI_FUNCTION request, HDEVINFO device_set,
                      PSP_DEVINFO_DATA device, PCOINSTALLER_CONTEXT_DATA context) noexcept {
    DWORD answer = NO_ERROR;
    // An action that fails has nobody to tell, so the result is the same as if it had ended there. Requests
    // that pass through may come without a device or a context.
    const auto act = [&](auto action) {
        if (action)
            Attempt([&] { action(device_set, *device); });
    };
    switch (request) {
        case DIF_INSTALLDEVICE:
            if (!context->PostProcessing) {
                act(actions.before_install);
                return ERROR_DI_POSTPROCESSING_REQUIRED;
            }
            answer = context->InstallResult;
            if (actions.after_install)
                Attempt([&] { actions.after_install(device_set, *device, answer); });
            break;
        // Nobody asks to be called back for the others.
        case DIF_REMOVE:
            if (!context->PostProcessing)
                act(actions.before_remove);
            break;
        case DIF_UPDATEDRIVER_UI:
            if (!context->PostProcessing)
                Attempt([&] { answer = AnswerDriverUpdate(device_set, *device); });
            break;
        default:
            break;
    }
    return answer;
}

}  // namespace qx
