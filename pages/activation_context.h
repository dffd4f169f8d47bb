// SPDX-License-Identifier: MIT
// The activation context in which the library's windows are made.
#pragma once

#include "base/handles.h"

namespace qx {

// Binds what is created within a Scope to the common controls that the library's manifest names (version 6),
// whatever the program that loaded the library uses itself.
//
// When the platform cannot make the context, the scopes do nothing and the windows use the program's own
// controls: a page that looks older is better than none.
class CActivationContext {
  public:
    // `module` is the library, whose manifest resource is read.
    explicit CActivationContext(HINSTANCE module) noexcept;

    // For records that carry a context to the platform; INVALID_HANDLE_VALUE when there is none.
    [[nodiscard]] HANDLE Get() const noexcept { return context_.Get(); }
    [[nodiscard]] explicit operator bool() const noexcept { return static_cast<bool>(context_); }

    // Activates the context on the calling thread until the end of the block. Scopes nest.
    class Scope {
      public:
        explicit Scope(const CActivationContext& context) noexcept;
        ~Scope();
        Scope(const Scope&) = delete;
        Scope& operator=(const Scope&) = delete;

      private:
        bool active_ = false;
        ULONG_PTR cookie_ = 0;
    };

  private:
    struct Traits {
        using Handle = HANDLE;
        static Handle Invalid() noexcept { return INVALID_HANDLE_VALUE; }
        static void Close(Handle context) noexcept { ReleaseActCtx(context); }
    };
    Owned<Traits> context_;
};

}  // namespace qx
