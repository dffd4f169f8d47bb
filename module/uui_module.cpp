// SPDX-License-Identifier: MIT
#include "module/uui_module.h"

#include <commctrl.h>

namespace qx {

void CQxUUIModule::OnLoadNotification(HINSTANCE module, DWORD reason) noexcept {
    if (reason == DLL_PROCESS_ATTACH)
        activation_context_.emplace(module);
    if (activation_context_) {
        const CActivationContext::Scope scope(*activation_context_);
        INITCOMMONCONTROLSEX classes{};
        classes.dwSize = sizeof(classes);
        classes.dwICC = ICC_WIN95_CLASSES | ICC_STANDARD_CLASSES;
        InitCommonControlsEx(&classes);
    }
    if (reason == DLL_PROCESS_DETACH)
        activation_context_.reset();
}

}  // namespace qx
