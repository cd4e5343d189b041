#include "tests/support/FailingMemory.h"

#include <algorithm>
#include <cstdlib>
#include <new>
#include <utility>

namespace {

/// How many allocations succeed; below zero, one has failed.
thread_local long t_left = std::numeric_limits<long>::max();

} // namespace

FailingMemory::FailingMemory(long allocations) : m_former(std::exchange(t_left, allocations)) {}

FailingMemory::~FailingMemory() {
    t_left = m_former;
}

void* operator new(std::size_t size, const std::nothrow_t& /*nothrow*/) noexcept {
    t_left = std::max(t_left - 1, -1L);
    return t_left < 0 ? nullptr : std::malloc(std::max<std::size_t>(size, 1));
}

void* operator new(std::size_t size) {
    void* memory = operator new(size, std::nothrow);
    return memory != nullptr ? memory : throw std::bad_alloc();
}

void operator delete(void* memory) noexcept {
    std::free(memory);
}

void operator delete(void* memory, std::size_t /*size*/) noexcept {
    std::free(memory);
}
