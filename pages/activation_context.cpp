// SPDX-License-Identifier: MIT
#include "pages/activation_context.h"

#include "module/resource.h"

namespace qx {

CActivationContext::CActivationContext(HINSTANCE module) noexcept {
    ACTCTXW request{};
    request.cbSize = sizeof(request);
    request.dwFlags = ACTCTX_FLAG_HMODULE_VALID | ACTCTX_FLAG_RESOURCE_NAME_VALID;
    request.hModule = module;
    request.lpResourceName = MAKEINTRESOURCEW(IDR_MANIFEST);
    context_.Reset(CreateActCtxW(&request));
}

CActivationContext::Scope::Scope(const CActivationContext& context) noexcept {
    if (context)
        active_ = ActivateActCtx(context.Get(), &cookie_) != 0;
}

CActivationContext::Scope::~Scope() {
    if (!active_)
        return;
    const LastErrorKeeper keeper;
    DeactivateActCtx(0, cookie_);
}

}  // namespace qx
