// SPDX-License-Identifier: MIT
// What is undone at the end of a block, on every way out of it.
#pragma once

#include <utility>

namespace qx {

template <typename Undo>
class ScopeExit {
  public:
    explicit ScopeExit(Undo undo) noexcept : undo_(std::move(undo)) {}
    ~ScopeExit() { undo_(); }
    ScopeExit(const ScopeExit&) = delete;
    ScopeExit& operator=(const ScopeExit&) = delete;

  private:
    Undo undo_;
};

}  // namespace qx
