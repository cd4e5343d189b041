#include "tests/support/FailingMemory.h"

#include <cstdlib>
#include <new>

namespace {

constexpr int kNeverFails = -1;
thread_local int t_left = kNeverFails;
thread_local bool t_hasFailed = false;

} // namespace

FailingMemory::FailingMemory(int allocations) {
    t_hasFailed = false;
    t_left = allocations;
}

FailingMemory::~FailingMemory() {
    t_left = kNeverFails;
}

bool FailingMemory::HasFailed() {
    return t_hasFailed;
}

EnoughMemory::EnoughMemory() : m_left(t_left) {
    t_left = kNeverFails;
}

EnoughMemory::~EnoughMemory() {
    t_left = m_left;
}

void* operator new(std::size_t size) {
    if (t_left > 0) {
        --t_left;
    } else if (t_left == 0) {
        t_hasFailed = true;
        throw std::bad_alloc();
    }
    void* memory = std::malloc(size == 0 ? 1 : size);
    if (memory == nullptr) {
        throw std::bad_alloc();
    }
    return memory;
}

void* operator new(std::size_t size, const std::nothrow_t& /*nothrow*/) noexcept {
    return std::malloc(size == 0 ? 1 : size);
}

void operator delete(void* memory) noexcept {
    std::free(memory);
}

void operator delete(void* memory, std::size_t /*size*/) noexcept {
    std::free(memory);
}
