// SPDX-License-Identifier: MIT
// The library as the platform's loader and the component runtime see it.
#pragma once

#include "pages/activation_context.h"

#include <optional>

namespace qx {

// One per loaded library, from load to unload.
class CQxUUIModule {
  public:
    // Answers a notification of the loader: registers the common controls' window classes, in the version
    // that the library's manifest names. The loader's lock is held, so nothing else is done here.
    void OnLoadNotification(HINSTANCE module, DWORD reason) noexcept;

  private:
    std::optional<CActivationContext> activation_context_;
};

}  // namespace qx
