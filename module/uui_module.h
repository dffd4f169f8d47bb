// The library as the platform's loader and the component runtime see it.
#pragma once

#include "pages/activation_context.h"

#include <atomic>
#include <cstdint>
#include <optional>
#include <span>

namespace qx {

// One per loaded library, from load to unload.
class CQxUUIModule {
  public:
    // Answers a notification of the loader: registers the common controls' window classes, in the version
    // that the library's manifest names. The loader's lock is held, so nothing else is done here.
    void OnLoadNotification(HINSTANCE module, DWORD reason) noexcept;

    // Component objects and class factories lock the module while they live. None exists at present.
    void Lock() noexcept { ++lock_count_; }
    void Unlock() noexcept { --lock_count_; }
    [[nodiscard]] bool IsLocked() const noexcept { return lock_count_ != 0; }

    // The classes that can be created through COM: none, because the device manager and the device installer
    // call the library's entries by name.
    [[nodiscard]] static std::span<const GUID> CreatableClasses() noexcept { return {}; }

  private:
    std::atomic<std::int32_t> lock_count_ = 0;
    std::optional<CActivationContext> activation_context_;
};

}  // namespace qx
