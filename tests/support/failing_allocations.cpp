// SPDX-License-Identifier: GPL-3.0-or-later
#include "support/failing_allocations.h"

#include <atomic>
#include <cstddef>
#include <cstdlib>
#include <limits>
#include <new>

namespace lumivastor {

namespace {

constexpr std::int64_t kNever = std::numeric_limits<std::int64_t>::max();

std::atomic<std::int64_t> counted = 0;
std::atomic<std::int64_t> firstFailing = kNever;
std::atomic<std::int64_t> lastFailing = kNever;

void* allocate(std::size_t size, std::size_t alignment) {
    const std::int64_t number = counted.fetch_add(1, std::memory_order_relaxed);
    if (number >= firstFailing && number <= lastFailing) throw std::bad_alloc();
    const std::size_t rounded = (size + alignment - 1) / alignment * alignment;
    void* const memory = alignment <= alignof(std::max_align_t) ? std::malloc(size == 0 ? 1 : size)
                                                                : std::aligned_alloc(alignment, rounded);
    if (memory == nullptr) throw std::bad_alloc();
    return memory;
}

void* allocateOrNull(std::size_t size, std::size_t alignment) noexcept {
    try {
        return allocate(size, alignment);
    } catch (const std::bad_alloc&) {
        return nullptr;
    }
}

}  // namespace

FailingAllocations::FailingAllocations(std::int64_t first, Mode mode) {
    counted = 0;
    lastFailing = mode == Mode::one ? first : kNever;
    firstFailing = first;
}

FailingAllocations::~FailingAllocations() {
    firstFailing = kNever;
}

std::int64_t FailingAllocations::count() const {
    return counted;
}

}  // namespace lumivastor

// All forms, also those that do not throw: a sanitizer has its own of each, and every `new` belongs to a `delete` of
// this file.
void* operator new(std::size_t size) {
    return lumivastor::allocate(size, alignof(std::max_align_t));
}
void* operator new(std::size_t size, std::align_val_t alignment) {
    return lumivastor::allocate(size, static_cast<std::size_t>(alignment));
}
void operator delete(void* memory) noexcept {
    std::free(memory);
}
void operator delete(void* memory, std::size_t) noexcept {
    std::free(memory);
}
void operator delete(void* memory, std::align_val_t) noexcept {
    std::free(memory);
}
void operator delete(void* memory, std::size_t, std::align_val_t) noexcept {
    std::free(memory);
}
void* operator new[](std::size_t size) {
    return operator new(size);
}
void* operator new[](std::size_t size, std::align_val_t alignment) {
    return operator new(size, alignment);
}
void operator delete[](void* memory) noexcept {
    std::free(memory);
}
void operator delete[](void* memory, std::size_t) noexcept {
    std::free(memory);
}
void operator delete[](void* memory, std::align_val_t) noexcept {
    std::free(memory);
}
void operator delete[](void* memory, std::size_t, std::align_val_t) noexcept {
    std::free(memory);
}
void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
    return lumivastor::allocateOrNull(size, alignof(std::max_align_t));
}
void* operator new[](std::size_t size, const std::nothrow_t&) noexcept {
    return lumivastor::allocateOrNull(size, alignof(std::max_align_t));
}
void* operator new(std::size_t size, std::align_val_t alignment, const std::nothrow_t&) noexcept {
    return lumivastor::allocateOrNull(size, static_cast<std::size_t>(alignment));
}
void* operator new[](std::size_t size, std::align_val_t alignment, const std::nothrow_t&) noexcept {
    return lumivastor::allocateOrNull(size, static_cast<std::size_t>(alignment));
}
void operator delete(void* memory, const std::nothrow_t&) noexcept {
    std::free(memory);
}
void operator delete[](void* memory, const std::nothrow_t&) noexcept {
    std::free(memory);
}
void operator delete(void* memory, std::align_val_t, const std::nothrow_t&) noexcept {
    std::free(memory);
}
void operator delete[](void* memory, std::align_val_t, const std::nothrow_t&) noexcept {
    std::free(memory);
}
