// SPDX-License-Identifier: MIT
// Activation contexts: which version of the common controls windows are made with.
#pragma once

#include "platform/machine/calls.h"

#include <cstdint>

namespace qxsim {

// The context that is active on the current thread; 0 for none.
[[nodiscard]] std::uint64_t ActiveContext();

// Makes a context active for a scope without a call of the system under test: what property sheets do for
// their pages.
class ContextScope {
  public:
    explicit ContextScope(std::uint64_t context);
    ~ContextScope();
    ContextScope(const ContextScope&) = delete;
    ContextScope& operator=(const ContextScope&) = delete;

  private:
    bool active_;
};

QX_PLATFORM_CALL(CreateActCtxW);
QX_PLATFORM_CALL(ReleaseActCtx);
QX_PLATFORM_CALL(ActivateActCtx);
QX_PLATFORM_CALL(DeactivateActCtx);

}  // namespace qxsim
