// SPDX-License-Identifier: MIT
// Work that may run out of memory, where no exception may leave.
#pragma once

#include <type_traits>

namespace qx {

// Runs `work`. Returns what it returns, or true when that is nothing; false when an exception ended it, which
// as a rule means out of memory.
template <typename Work>
bool Attempt(Work work) noexcept {
    try {
        if constexpr (std::is_void_v<decltype(work())>) {
            work();
            return true;
        } else {
            return work();
        }
    } catch (...) {
        return false;
    }
}

}  // namespace qx
