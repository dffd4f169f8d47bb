// Counts the program's allocations and makes one of them fail.
#pragma once

#include <cstddef>

namespace qxtest {

// Allocations by operator new since the program began.
[[nodiscard]] std::size_t Allocations() noexcept;

// Makes the n-th allocation from now on fail (1 is the next), once, for the object's lifetime.
class FailingAllocation {
  public:
    explicit FailingAllocation(std::size_t nth) noexcept;
    ~FailingAllocation();
    FailingAllocation(const FailingAllocation&) = delete;
    FailingAllocation& operator=(const FailingAllocation&) = delete;
    // Whether it has failed.
    [[nodiscard]] bool Fired() const noexcept;
};

}  // namespace qxtest
