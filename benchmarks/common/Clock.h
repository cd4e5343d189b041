#ifndef TLG_BENCHMARKS_COMMON_CLOCK_H
#define TLG_BENCHMARKS_COMMON_CLOCK_H

#include <chrono>

namespace bench {

/// Nanoseconds of the monotonic clock, which all processes share.
inline long Now() {
    return std::chrono::steady_clock::now().time_since_epoch().count();
}

} // namespace bench

#endif
