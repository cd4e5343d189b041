#ifndef TLG_TOOLS_COMMON_TIME_H
#define TLG_TOOLS_COMMON_TIME_H

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <string>

/// Seconds with six digits after the point.
inline std::string SecondsText(std::chrono::nanoseconds time) {
    constexpr long long kMicros = 1000000;
    const long long micros = std::chrono::duration_cast<std::chrono::microseconds>(time).count();
    std::array<char, 40> text{};
    std::snprintf(text.data(), text.size(), "%s%lld.%06lld", micros < 0 ? "-" : "", std::llabs(micros / kMicros),
                  std::llabs(micros % kMicros));
    return text.data();
}

/// The timeout of a wait that must not end before @p due; 0 where that is over.
inline int MillisecondsUntil(std::chrono::steady_clock::time_point due) {
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(due - std::chrono::steady_clock::now()).count();
    return static_cast<int>(std::max<decltype(left)>(left, 0));
}

#endif
