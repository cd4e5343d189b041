// What is published is what the MCU has, whatever went wrong: each fault is injected while commands stream in, ends,
// and leaves nothing behind. The environment variable TLG_FAULT_ROUNDS sets how often each is tried.
#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <thread>

#include "tests/support/FaultBench.h"
#include "tools/mcusim/Settings.h"

namespace {

/// What no command of the stream changes: all but the subwoofer and centre gain and the loudness of group 0, SRS, DBB
/// and ALC.
std::map<int, Payload> Untouched(std::map<int, Payload> records) {
    const std::pair<int, std::size_t> touched[] = {{0, 15}, {0, 16}, {0, 17}, {3, 4}, {4, 3}, {5, 3}};
    for (const auto& [group, byte] : touched) {
        if (byte < records[group].size()) {
            records[group][byte] &= group == 4 ? 0xFE : 0;
        }
    }
    return records;
}

/// One command for each record that the stream changes.
std::vector<std::string> Commands(int number) {
    const std::string n = std::to_string(number % 250 + 1);
    return {"zosubwoofer_gain::" + n,
            "zosrs::" + n,
            "zodbb::" + std::string(number % 2 == 0 ? "on" : "off"),
            "zoalc::" + n,
            "zocenter_gain::" + std::to_string(number % 13),
            "zoloud::" + std::string(number % 2 == 0 ? "off" : "on")};
}

/// Writes commands without end, each as soon as the server has the one before; a server that is away is waited for.
class CommandStream {
public:
    CommandStream() : m_thread([this] { Run(); }) {}
    ~CommandStream() {
        m_isStopping = true;
        m_thread.join();
    }
    CommandStream(const CommandStream&) = delete;
    CommandStream& operator=(const CommandStream&) = delete;

    /// Waits until this number of further commands went in.
    void LetPass(int commands) const {
        const int until = m_written + commands;
        EXPECT_TRUE(WaitUntil("commands went in", [&] { return m_written >= until; }));
    }

private:
    void Run() {
        for (int number = 0; !m_isStopping; ++number) {
            for (const std::string& command : Commands(number)) {
                m_written += !m_isStopping && WriteObject(kControl, command) ? 1 : 0;
            }
            // So slow that a stopped MCU does not have more waiting than the service keeps.
            std::this_thread::sleep_for(std::chrono::milliseconds(5));
        }
    }

    std::atomic<bool> m_isStopping{false};
    std::atomic<int> m_written{0};
    std::thread m_thread;
};

struct Fault {
    const char* name;
    void (*begin)(FaultBench& bench);
    void (*end)(FaultBench& bench);
    /// Whether the MCU carried commands out and did not say so: then the next commands bring the two together.
    bool needsCommands;
    /// What the MCU has afterwards: what it had, what it has at first, or what follows from this seed.
    int settings;
};

/// Names the rows for the reader of a test's name.
void PrintTo(const Fault& fault, std::ostream* out) {
    *out << fault.name;
}

constexpr int kSameSettings = -1;
constexpr int kFirstSettings = 0;

/// The records of a simulator with these settings.
std::map<int, Payload> RecordsOf(int settings) {
    const mcusim::Settings mcu =
        settings == kFirstSettings ? mcusim::Settings() : mcusim::Settings(static_cast<std::uint32_t>(settings));
    std::map<int, Payload> records;
    for (const RecordLayout& layout : kRecordLayouts) {
        const mculink::Bytes answer = mcu.Answer(layout.type);
        records[layout.type].assign(answer.begin(), answer.end());
    }
    return records;
}

using Bench = FaultBench;
void Nothing(Bench& /*bench*/) {}
void Clear(Bench& /*bench*/) {
    Order("clear");
}

/// All that the service opens.
const char* const kObjects[] = {kStatus,
                                kNavigation,
                                kControl,
                                "/pps/tolvyn/eq/settings",
                                "/pps/tolvyn/system/dev_status",
                                "/pps/tolvyn/system/poweron_status"};

const Fault kFaults[] = {
    {"McuRestarts", [](FaultBench& b) { b.RestartMcu("restart"); }, Nothing, false, kFirstSettings},
    {"McuRestartsWithOtherSettings", [](FaultBench& b) { b.RestartMcu("restart 7"); }, Nothing, false, 7},
    {"McuIsKilled", [](FaultBench& b) { b.KillMcu(); }, [](FaultBench& b) { b.ReviveMcu(); }, false, kFirstSettings},
    {"McuHangsUp", [](FaultBench& b) { b.RestartMcu("hangup"); }, Nothing, false, kSameSettings},
    {"McuAnswersLate", [](FaultBench&) { Order("delay 60"); }, Clear, false, kSameSettings},
    {"McuIsSilent", [](FaultBench&) { Order("silence on"); }, Clear, true, kSameSettings},
    {"McuNeverAcknowledges", [](FaultBench&) { Order("drop on"); }, Clear, true, kSameSettings},
    {"McuAcknowledgesTwice", [](FaultBench&) { Order("duplicate on"); }, Clear, false, kSameSettings},
    {"McuAcknowledgesOutOfOrder", [](FaultBench&) { Order("reorder on"); }, Clear, true, kSameSettings},
    {"McuAcknowledgesWrongNumbers", [](FaultBench&) { Order("renumber on"); }, Clear, true, kSameSettings},
    {"McuSendsDamagedPackets", [](FaultBench&) { Order("corrupt on"); }, Clear, true, kSameSettings},
    {"McuRefuses", [](FaultBench&) { Order("refuse on"); }, Clear, false, kSameSettings},
    {"McuReadsNothing", [](FaultBench&) { Order("deaf on"); }, Clear, false, kSameSettings},
    {"ServerIsKilled", [](FaultBench& b) { b.RestartServer(SIGKILL); }, Nothing, false, kSameSettings},
    {"ServerRestarts", [](FaultBench& b) { b.RestartServer(SIGTERM); }, Nothing, false, kSameSettings},
    {"ServerStops", [](FaultBench& b) { b.ppsd->Signal(SIGSTOP); }, [](FaultBench& b) { b.FillAndGoOn(); }, false,
     kSameSettings},
    {"ObjectsAreDeleted",
     [](FaultBench&) {
         for (const char* object : kObjects) {
             EXPECT_EQ(DeleteObject(object), 0) << object;
         }
     },
     Nothing, false, kSameSettings},
    {"ObjectsAreEmptied",
     [](FaultBench&) {
         for (const char* object : kObjects) {
             EXPECT_TRUE(PpsObjectClient(object, 0x302)) << object;
         }
     },
     Nothing, false, kSameSettings},
    {"ServiceIsKilled", [](FaultBench& b) { b.RestartService(SIGKILL); }, Nothing, false, kSameSettings},
    {"ServiceRestarts", [](FaultBench& b) { b.RestartService(SIGTERM); }, Nothing, false, kSameSettings},
    {"BothPeersRestart",
     [](FaultBench& b) {
         b.RestartServer(SIGKILL);
         b.RestartMcu("restart 9");
     },
     Nothing, false, 9},
};

class FaultTest : public testing::TestWithParam<Fault> {
protected:
    using Clock = FaultBench::Clock;

    /// Lets the fault happen and end while commands stream in.
    void Inject() {
        CommandStream stream;
        stream.LetPass(20);
        m_bench.backSince = Clock::now();
        m_fault.begin(m_bench);
        if (std::string(m_fault.name) != "ServerStops") {
            stream.LetPass(20);
        }
        if (m_fault.end != Nothing) {
            m_bench.backSince = Clock::now();
            m_fault.end(m_bench);
        }
    }

    void ExpectThatTheNextCommandWorks(int round) const {
        const std::string next = std::to_string(100 + round % 100);
        EXPECT_TRUE(WriteObject(kControl, "zolisten_pos::" + next));
        EXPECT_TRUE(PpsObjectClient(std::string(kStatus) + "?delta").Hears("zolisten_pos:n:" + next + "\n"));
        EXPECT_TRUE(IsTrueSoon());
    }

    const Fault& m_fault = GetParam();
    FaultBench m_bench;
};

TEST_P(FaultTest, LeavesNothingUntrueBehind) {
    ASSERT_TRUE(IsTrueSoon());
    Clock::duration longest{};
    for (int round = 0; round < Rounds() && !HasFailure(); ++round) {
        SCOPED_TRACE("round " + std::to_string(round));
        const std::map<int, Payload> before = McuRecords();
        Inject();
        for (const std::string& command : m_fault.needsCommands ? Commands(round) : std::vector<std::string>{}) {
            ASSERT_TRUE(WriteObject(kControl, command));
        }
        ASSERT_TRUE(IsTrueSoon());
        longest = std::max(longest, Clock::now() - m_bench.backSince);
        const std::map<int, Payload> settings =
            m_fault.settings == kSameSettings ? before : RecordsOf(m_fault.settings);
        EXPECT_EQ(Untouched(McuRecords()), Untouched(settings)) << "something else was written to the MCU";
        ExpectThatTheNextCommandWorks(round);
    }
    m_bench.StopService();
    std::printf("%s: true within %d ms of the return at most\n", m_fault.name,
                static_cast<int>(std::chrono::duration_cast<std::chrono::milliseconds>(longest).count()));
}

INSTANTIATE_TEST_SUITE_P(All, FaultTest, testing::ValuesIn(kFaults),
                         [](const auto& row) { return std::string(row.param.name); });

} // namespace
