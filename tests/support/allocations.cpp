// SPDX-License-Identifier: MIT
#include "tests/support/allocations.h"

#include <cstdint>
#include <cstdlib>
#include <new>

namespace {

std::size_t allocations = 0;
std::size_t fail_at = 0;  // 0 for none
bool fail_for_good = false;

// The code whose allocations count.
std::uintptr_t counted_begin = 0;
std::uintptr_t counted_end = UINTPTR_MAX;

void* Allocate(std::size_t size, void* caller) noexcept {
    const auto address = reinterpret_cast<std::uintptr_t>(caller);
    if (address >= counted_begin && address < counted_end) {
        ++allocations;
        if (fail_at != 0 && (fail_for_good ? allocations >= fail_at : allocations == fail_at))
            return nullptr;
    }
    return std::malloc(size == 0 ? 1 : size);
}

}  // namespace

namespace qxtest {

std::size_t Allocations() noexcept {
    return allocations;
}

void CountAllocationsBetween(std::uintptr_t begin, std::uintptr_t end) noexcept {
    counted_begin = begin;
    counted_end = end;
    allocations = 0;
}

FailingAllocation::FailingAllocation(std::size_t nth, bool for_good) noexcept {
    fail_at = allocations + nth;
    fail_for_good = for_good;
}

FailingAllocation::~FailingAllocation() {
    fail_at = 0;
}

bool FailingAllocation::Fired() const noexcept {
    return allocations >= fail_at;
}

}  // namespace qxtest

void* operator new(std::size_t size) {
    if (void* memory = Allocate(size, __builtin_return_address(0)))
        return memory;
    throw std::bad_alloc();
}
void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
    return Allocate(size, __builtin_return_address(0));
}
void* operator new[](std::size_t size) {
    if (void* memory = Allocate(size, __builtin_return_address(0)))
        return memory;
    throw std::bad_alloc();
}
void* operator new[](std::size_t size, const std::nothrow_t&) noexcept {
    return Allocate(size, __builtin_return_address(0));
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
void operator delete[](void* memory) noexcept {
    std::free(memory);
}
void operator delete[](void* memory, std::size_t) noexcept {
    std::free(memory);
}
void operator delete[](void* memory, const std::nothrow_t&) noexcept {
    std::free(memory);
}
