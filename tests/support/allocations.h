// SPDX-License-Identifier: MIT
// Counts allocations and makes some of them fail.
#pragma once

#include <cstddef>
#include <cstdint>

namespace qxtest {

// Allocations by operator new since the program began, or since CountAllocationsBetween.
[[nodiscard]] std::size_t Allocations() noexcept;

// From now on only allocations made by the code between these addresses count and can fail.
void CountAllocationsBetween(std::uintptr_t begin, std::uintptr_t end) noexcept;

// Makes the n-th allocation from now on fail (1 is the next), or it and all later ones, for the object's
// lifetime.
class FailingAllocation {
  public:
    explicit FailingAllocation(std::size_t nth, bool for_good = false) noexcept;
    ~FailingAllocation();
    FailingAllocation(const FailingAllocation&) = delete;
    FailingAllocation& operator=(const FailingAllocation&) = delete;
    // Whether it has failed.
    [[nodiscard]] bool Fired() const noexcept;
};

}  // namespace qxtest
