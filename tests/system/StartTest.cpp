// The service under load and at its start: bursts, commands in every phase, an MCU that does not answer, signals.
#include <gtest/gtest.h>

#include <fstream>
#include <thread>

#include "tests/support/FaultBench.h"

namespace {

/// How many packets were lost, as the log of a service that ended says.
int LostPackets(const std::string& log) {
    int lost = 0;
    const std::string words = "succeed again, ";
    for (std::size_t at = log.find(words); at != std::string::npos; at = log.find(words, at + 1)) {
        lost += std::stoi(log.substr(at + words.size()));
    }
    return lost;
}

TEST(BurstTest, EveryCommandIsDeliveredOrItsLossIsCountedAndOthersAreHeardMeanwhile) {
    constexpr int kCommands = 5000;
    for (const char* fault : {"clear", "deaf on"}) {
        FaultBench bench;
        std::string burst;
        for (int i = 0; i < kCommands; ++i) {
            burst += "zoalc::" + std::to_string(i % 200) + "\n";
        }
        Order(fault);
        ASSERT_TRUE(WriteObject(kControl, burst));
        const std::string last = "packet no = " + std::to_string(kCommands);
        std::size_t heard = 0;
        EXPECT_TRUE(WaitUntil("the burst is over", [&] {
            EXPECT_TRUE(WriteObject("/pps/tolvyn/system/poweron_status", "zopoweroff::off"));
            EXPECT_TRUE(bench.service->WaitFor("cmdVector.empty():1", ++heard)) << "no command of the burst";
            return bench.service->Output().find(last) != std::string::npos;
        }));
        EXPECT_GT(heard, 2U) << "another input during the burst";
        Order("clear");
        EXPECT_TRUE(WaitUntil("losses have an end",
                              [] { return WriteObject(kControl, "zosrs::9") && McuRecords()[3][4] == 9; }));
        bench.StopService();
        const std::string log = bench.service->Output();
        EXPECT_EQ(Received("commands") + LostPackets(log), static_cast<int>(Count(log, "packet no = ")));
    }
}

TEST(StartTest, ACommandInAnyPhaseOfAStartChangesWhatItCommandsAlone) {
    const int starts = 20 * Rounds();
    for (int start = 0; start < starts; ++start) {
        SCOPED_TRACE("start " + std::to_string(start));
        Chain chain;
        chain.root.WriteFile("/zoapps/etc/volume.conf", "scheme=1;");
        chain.StartMcu({});
        Order("delay " + std::to_string(start * 37 % 101));
        std::map<int, Payload> expected = McuRecords();
        const PpsObjectClient control(std::string(kControl) + "?delta");
        chain.service = std::make_unique<Process>("melvane");
        // The service empties the object as it opens it; from then on commands count, and this is the first moment.
        ASSERT_TRUE(control.Hears("#@control"));
        std::this_thread::sleep_for(std::chrono::milliseconds(start * 53 % 120));
        ASSERT_TRUE(WriteObject(kControl, "zoloud::on"));
        ASSERT_TRUE(PpsObjectClient(std::string(kStatus) + "?delta").Hears("zoloud::on"));
        expected[0][17] = 1;
        EXPECT_EQ(McuRecords(), expected);
        ASSERT_TRUE(IsTrueSoon());
        chain.StopService();
    }
}

TEST(StartTest, WhatTheNavigationObjectHoldsFromBeforeIsNoRequestButWhatComesBeforeTheAnswersIs) {
    FaultBench bench;
    constexpr std::size_t kNaviByte = 6;
    ASSERT_TRUE(WriteObject(kNavigation, "navivolume:n:75"));
    EXPECT_TRUE(WaitUntil("the MCU has 75 percent", [] { return McuRecords()[0][kNaviByte] == 30; }));
    ASSERT_TRUE(IsTrueSoon());
    bench.StopService();
    Order("volume navi 8");
    Order("delay 200");
    // More lines than are delivered in one turn, and the percentage after them.
    std::string lines = "-navivolume\n";
    std::string deletions;
    for (int i = 0; i < 40; ++i) {
        lines += "other" + std::to_string(i) + "::\n";
        deletions += "-other" + std::to_string(i) + "\n";
    }
    ASSERT_TRUE(WriteObject(kNavigation, lines + "navivolume:n:75"));
    const int commands = Received("commands");
    const int queries = Received("queries");
    bench.service = std::make_unique<Process>("melvane");
    WaitForQueries(queries + 7);
    Order("hangup");
    ASSERT_TRUE(WriteObject(kNavigation, "navivolume:n:50"));
    WaitForQueries(queries + 14);
    EXPECT_TRUE(WaitUntil("the MCU has 50 percent", [] { return McuRecords()[0][kNaviByte] == 20; }));
    ASSERT_TRUE(WriteObject(kNavigation, deletions));
    ASSERT_TRUE(IsTrueSoon());
    EXPECT_EQ(Received("commands"), commands + 1);
    // After a restart of the MCU a request waits as well, and is then built from the new settings.
    Order("restart 7");
    Order("delay 200");
    WaitForQueries(queries + 21);
    std::map<int, Payload> expected = McuRecords();
    ASSERT_TRUE(WriteObject(kNavigation, "navivolume:n:100"));
    expected[0][kNaviByte] = expected[0][5];
    EXPECT_TRUE(WaitUntil("the MCU has 100 percent", [&] { return McuRecords()[0][kNaviByte] == expected[0][5]; }));
    EXPECT_EQ(McuRecords(), expected);
}

TEST(StartTest, CommandsGoOnWhereTheMcuDoesNotAnswer) {
    Chain chain;
    chain.StartMcu({});
    Order("drop 3");
    chain.service = std::make_unique<Process>("melvane");
    ASSERT_TRUE(chain.service->WaitFor("the MCU has not answered the queries of the groups 0 1 2, commands go on"));
    ASSERT_TRUE(WriteObject(kControl, "zoalc::9"));
    EXPECT_TRUE(chain.service->WaitFor("Cmd[0x8], packet no = 1"));
    chain.StopService();
}

/// Whether a service that was just started has blocked SIGTERM: it does so before main begins, and ignores SIGPIPE
/// right after, which shows in the process's state whatever it waits for later.
bool HasBlockedSignals(const Process& process) {
    std::ifstream status("/proc/" + std::to_string(process.Id()) + "/status");
    unsigned long long ignored = 0;
    for (std::string line; std::getline(status, line);) {
        ignored = line.rfind("SigIgn:", 0) == 0 ? std::stoull(line.substr(7), nullptr, 16) : ignored;
    }
    return (ignored >> (SIGPIPE - 1U) & 1U) != 0;
}

TEST(StartTest, ASignalAtAnyMomentEndsTheServiceInOrder) {
    Chain chain;
    chain.StartMcu({});
    for (int moment = 0; moment < 20 * Rounds(); ++moment) {
        Process service("melvane");
        ASSERT_TRUE(WaitUntil("it has blocked the signals", [&] { return HasBlockedSignals(service); }));
        std::this_thread::sleep_for(std::chrono::microseconds(moment * 317 % 20000));
        EXPECT_EQ(service.Stop(moment % 2 == 0 ? SIGTERM : SIGINT), 0);
    }
}

} // namespace
