// SPDX-License-Identifier: MIT
#include "platform/process/activation_context.h"

#include "platform/process/modules.h"

#include <set>
#include <string>
#include <vector>

namespace qxsim {

namespace {

struct Activation {
    std::uint64_t context;
    ULONG_PTR cookie;  // 0 for the platform's own
};

thread_local std::vector<Activation> active;

// Handles and cookies are numbers that nothing else on the computer has.
struct ContextTable {
    std::set<std::uint64_t> contexts;
    std::uint64_t next_handle = 0xAC0010;
    ULONG_PTR next_cookie = 0xC00C1E00;
};

ContextTable& Table() {
    static ContextTable table;
    return table;
}

}  // namespace

std::uint64_t ActiveContext() {
    return active.empty() ? 0 : active.back().context;
}

ContextScope::ContextScope(std::uint64_t context) : active_(context != 0) {
    if (active_)
        active.push_back({context, 0});
}

ContextScope::~ContextScope() {
    if (active_)
        active.pop_back();
}

HANDLE CreateActCtxW(PCACTCTXW description) {
    Call call("CreateActCtxW", static_cast<const void*>(description));
    if (call.Faulted())
        return call.Fail(call.FaultError(ERROR_RESOURCE_NAME_NOT_FOUND), INVALID_HANDLE_VALUE);
    if (!description || description->cbSize != sizeof(ACTCTXW))
        return call.Fail(ERROR_INVALID_PARAMETER, INVALID_HANDLE_VALUE);
    if (description->dwFlags & ACTCTX_FLAG_RESOURCE_NAME_VALID) {
        const HMODULE module = (description->dwFlags & ACTCTX_FLAG_HMODULE_VALID) ? description->hModule
                               : description->lpSource ? ModuleOfFile(description->lpSource)
                                                       : nullptr;
        if (FindModuleResource(module, description->lpResourceName, RT_MANIFEST).empty())
            return call.Fail(ERROR_RESOURCE_TYPE_NOT_FOUND, INVALID_HANDLE_VALUE);
    } else if (!description->lpSource) {
        return call.Fail(ERROR_INVALID_PARAMETER, INVALID_HANDLE_VALUE);
    }
    const std::uint64_t handle = Table().next_handle;
    Table().next_handle += 4;
    Table().contexts.insert(handle);
    call.Opened("activation context", handle);
    return call.Return(reinterpret_cast<HANDLE>(handle));
}

VOID ReleaseActCtx(HANDLE context) {
    Call call = Call::Infallible("ReleaseActCtx", context);
    call.Closed("activation context", context);
    Table().contexts.erase(reinterpret_cast<std::uint64_t>(context));
}

BOOL ActivateActCtx(HANDLE context, ULONG_PTR* cookie) {
    Call call("ActivateActCtx", context);
    if (call.Faulted())
        return call.Fail(call.FaultError(ERROR_NOT_ENOUGH_MEMORY));
    const auto handle = reinterpret_cast<std::uint64_t>(context);
    // Null activates the process's own context.
    if (!cookie || (context && !Table().contexts.contains(handle)))
        return call.Fail(ERROR_INVALID_PARAMETER);
    *cookie = Table().next_cookie++;
    active.push_back({handle, *cookie});
    call.Opened("activation", *cookie);
    return call.Return(TRUE);
}

BOOL DeactivateActCtx(DWORD flags, ULONG_PTR cookie) {
    Call call("DeactivateActCtx", flags, cookie);
    // Contexts must be left in the opposite order; the platform ends a program that does not.
    if (active.empty() || active.back().cookie != cookie) {
        call.Closed("activation out of order", cookie);
        return call.Fail(ERROR_SXS_INVALID_DEACTIVATION);
    }
    active.pop_back();
    call.Closed("activation", cookie);
    return call.Faulted() ? call.Fail(call.FaultError(ERROR_SXS_INVALID_DEACTIVATION)) : call.Return(TRUE);
}

}  // namespace qxsim
