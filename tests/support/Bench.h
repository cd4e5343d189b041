#ifndef TLG_TESTS_SUPPORT_BENCH_H
#define TLG_TESTS_SUPPORT_BENCH_H

#include "tests/support/CapturedLog.h"
#include "tests/support/FakeMcu.h"
#include "tests/support/LocalServer.h"
#include "tests/support/PpsObjectClient.h"
#include "tests/support/TemporaryRoot.h"

/// What the service needs around it, in the test's own process: a root, a PPS server and an MCU.
struct Bench {
    TemporaryRoot root;
    LocalServer server;
    FakeMcu mcu;
};

/// Waits for the server to have taken in what was written before, and returns the object's text.
inline std::string SettledStateOf(const std::string& path) {
    WriteObject("/pps/test/marker", "x:n:1");
    return StateOf(path);
}

#endif
