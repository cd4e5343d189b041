#ifndef TLG_TESTS_SUPPORT_PATIENCE_H
#define TLG_TESTS_SUPPORT_PATIENCE_H

#include <gtest/gtest.h>

#include <chrono>
#include <cstdlib>
#include <string>
#include <thread>

/// How long a test waits for one event before it fails: long enough for sanitizers under load. TLG_TEST_PATIENCE in the
/// environment gives another number of seconds.
inline const int kTestTimeoutMs = [] {
    const char* seconds = std::getenv("TLG_TEST_PATIENCE");
    return 1000 * (seconds == nullptr ? 20 : std::stoi(seconds));
}();

/// The end of a wait that begins now.
inline std::chrono::steady_clock::time_point EndOfPatience() {
    return std::chrono::steady_clock::now() + std::chrono::milliseconds(kTestTimeoutMs);
}

/// Waits until @p holds() is true; where that never comes, the failure says what was waited for.
template <typename Condition>
testing::AssertionResult WaitUntil(const std::string& what, Condition holds) {
    for (const auto end = EndOfPatience(); !holds(); std::this_thread::sleep_for(std::chrono::milliseconds(1))) {
        if (std::chrono::steady_clock::now() >= end) {
            return testing::AssertionFailure() << "waited in vain until " << what;
        }
    }
    return testing::AssertionSuccess();
}

#endif
