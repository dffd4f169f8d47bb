// Work that may run out of memory, where no exception may leave.
#pragma once

#include <type_traits>

namespace qx {

// Does `work` to its end or to the first thing that it cannot have: memory, as a rule. Returns what `work`
// does, true when that is nothing, and false when an exception ended it.
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
