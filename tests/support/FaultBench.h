#ifndef TLG_TESTS_SUPPORT_FAULTBENCH_H
#define TLG_TESTS_SUPPORT_FAULTBENCH_H

#include <gtest/gtest.h>

#include <chrono>
#include <map>
#include <string>
#include <vector>

#include "tests/support/Chain.h"

using Payload = std::vector<int>;

/// How often each fault is tried: TLG_FAULT_ROUNDS in the environment, or once.
int Rounds();

/// Gives the simulator an order.
void Order(const std::string& line);

/// The simulator's setting records, as answers, by their group.
std::map<int, Payload> McuRecords();

/// How many packets of a kind (commands, keys, queries) the simulator has received.
int Received(const std::string& kind);

/// Waits until the service has asked for all settings.
void WaitForQueries(int queries);

/// Waits until what is published is what the MCU has; false where that never comes.
testing::AssertionResult IsTrueSoon();

/// The whole chain in volume scheme 1, and what can happen to it.
class FaultBench : public Chain {
public:
    FaultBench() {
        root.WriteFile("/zoapps/etc/volume.conf", "scheme=1;");
        EXPECT_TRUE(WriteObject("/pps/services/app-launcher", "started::1"));
        // Nobody reads what this many packets would print.
        StartMcu({});
        StartService();
    }

    using Clock = std::chrono::steady_clock;

    void KillMcu() { mcu.reset(); }
    void ReviveMcu() {
        StartMcu({});
        backSince = Clock::now();
        WaitForQueries(7);
    }
    void RestartMcu(const std::string& order) {
        const int queries = Received("queries");
        Order(order);
        backSince = Clock::now();
        WaitForQueries(queries + 7);
    }
    void RestartServer(int signal) {
        ppsd->Stop(signal);
        ppsd = StartReady("ppsd");
        backSince = Clock::now();
    }
    void RestartService(int signal) {
        service->Stop(signal);
        const int queries = Received("queries");
        service = std::make_unique<Process>("melvane");
        backSince = Clock::now();
        // Only then has it emptied the control object.
        WaitForQueries(queries + 7);
    }

    /// Has the service publish more than the stopped server's socket takes, and lets the server go on. The knob belongs
    /// to a record that no command of the stream writes.
    void FillAndGoOn() const {
        constexpr int kTurns = 400;
        for (int turn = 0; turn < kTurns; ++turn) {
            Order("volume ext0 " + std::to_string(turn % 30));
        }
        Order("volume ext0 10");
        EXPECT_TRUE(service->WaitFor("SetPPSIntAttr return false")) << "there was room for all of it";
        ppsd->Signal(SIGCONT);
    }

    Clock::time_point backSince; ///< since when the peer of the last fault is there again
};

#endif
