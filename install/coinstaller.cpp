#include "install/coinstaller.h"

#include "install/driver_update_refusal.h"

namespace qx {

namespace {

// Runs an action to its end or to the first thing that it cannot have (memory, as a rule).
template <typename Action>
void Attempt(Action action) noexcept {
    try {
        action();
    } catch (...) {
        // There is nobody to tell: the request is answered as if the action had ended here.
    }
}

}  // namespace

DWORD AnswerInstaller(const CoinstallerActions& actions, DI_FUNCTION request, HDEVINFO set,
                      PSP_DEVINFO_DATA device, PCOINSTALLER_CONTEXT_DATA context) noexcept {
    if (request == DIF_INSTALLDEVICE && context->PostProcessing) {
        const DWORD install_result = context->InstallResult;
        if (actions.after_install != nullptr)
            Attempt([&] { actions.after_install(set, *device, install_result); });
        return install_result;
    }
    if (request == DIF_INSTALLDEVICE) {
        if (actions.before_install != nullptr)
            Attempt([&] { actions.before_install(set, *device); });
        return ERROR_DI_POSTPROCESSING_REQUIRED;
    }
    // Nobody asks to be called back for the others.
    if (context->PostProcessing)
        return NO_ERROR;
    DWORD answer = NO_ERROR;
    if (request == DIF_REMOVE && actions.before_remove != nullptr)
        Attempt([&] { actions.before_remove(set, *device); });
    if (request == DIF_UPDATEDRIVER_UI)
        Attempt([&] { answer = AnswerDriverUpdate(set, *device); });
    return answer;
}

}  // namespace qx
