// Stands in front of the C library's allocations and counts them. Where it is loaded into a program that is measured,
// the count is kept in a file of one number, TLG_ALLOCATIONS.PROGRAM.
#include "benchmarks/common/AllocationCounter.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <cstddef>
#include <cstdlib>
#include <string>

// The C library's own functions, which those below stand in front of.
extern "C" void* __libc_malloc(std::size_t size);                    // NOLINT
extern "C" void* __libc_calloc(std::size_t count, std::size_t size); // NOLINT
extern "C" void* __libc_realloc(void* memory, std::size_t size);     // NOLINT

namespace {

std::atomic<long> g_untold{0};
std::atomic<std::atomic<long>*> g_count{&g_untold};

struct Teller {
    Teller() {
        const char* path = std::getenv("TLG_ALLOCATIONS");
        if (path == nullptr) {
            return;
        }
        const std::string file = std::string(path) + "." + program_invocation_short_name;
        const int fd = ::openat(AT_FDCWD, file.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600);
        if (fd < 0 || ::ftruncate(fd, sizeof(long)) != 0) {
            return;
        }
        void* memory = ::mmap(nullptr, sizeof(long), PROT_READ | PROT_WRITE, MAP_SHARED, fd, 0);
        ::close(fd);
        if (memory != MAP_FAILED) {
            g_count = static_cast<std::atomic<long>*>(memory);
        }
    }
} g_teller;

void Count() {
    g_count.load(std::memory_order_relaxed)->fetch_add(1, std::memory_order_relaxed);
}

} // namespace

long Allocations() {
    return g_count.load()->load();
}

extern "C" void* malloc(std::size_t size) {
    Count();
    return __libc_malloc(size);
}

extern "C" void* calloc(std::size_t count, std::size_t size) {
    Count();
    return __libc_calloc(count, size);
}

extern "C" void* realloc(void* memory, std::size_t size) {
    Count();
    return __libc_realloc(memory, size);
}
