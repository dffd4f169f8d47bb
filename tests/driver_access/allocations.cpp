#include "tests/driver_access/allocations.h"

#include <cstdlib>
#include <new>

namespace {

std::size_t allocations = 0;
std::size_t fail_at = 0;  // 0 for none

void* Allocate(std::size_t size) noexcept {
    return ++allocations == fail_at ? nullptr : std::malloc(size == 0 ? 1 : size);
}

}  // namespace

namespace qxtest {

std::size_t Allocations() noexcept {
    return allocations;
}

FailingAllocation::FailingAllocation(std::size_t nth) noexcept {
    fail_at = allocations + nth;
}

FailingAllocation::~FailingAllocation() {
    fail_at = 0;
}

bool FailingAllocation::Fired() const noexcept {
    return allocations >= fail_at;
}

}  // namespace qxtest

void* operator new(std::size_t size) {
    if (void* memory = Allocate(size))
        return memory;
    throw std::bad_alloc();
}
void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
    return Allocate(size);
}
void operator delete(void* memory) noexcept {
    std::free(memory);
}
void operator delete(void* memory, std::size_t) noexcept {
    std::free(memory);
}
void operator delete(void* memory, const std::nothrow_t&) noexcept {
    std::free(memory);
}
