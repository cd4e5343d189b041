// What is published is what the MCU has, whatever went wrong: each fault is injected while commands stream in, ends,
// and leaves nothing behind. TLG_FAULT_ROUNDS in the environment says how often each is tried.
#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <fstream>
#include <functional>
#include <set>
#include <sstream>
#include <thread>

#include "tests/support/Chain.h"
#include "tests/support/Published.h"
#include "tests/system/ReferenceModel.h"
#include "tools/mcusim/Orders.h"
#include "tools/mcusim/Settings.h"

namespace {

using Payload = std::vector<int>;

int Rounds() {
    const char* rounds = std::getenv("TLG_FAULT_ROUNDS");
    return rounds == nullptr ? 1 : std::stoi(rounds);
}

void Order(const std::string& line) {
    const mcusim::OrderResult result = mcusim::GiveOrder(line);
    EXPECT_TRUE(result.isObeyed) << line << ": " << result.text;
}

/// The simulator's setting records, as answers, by their group.
std::map<int, Payload> McuRecords() {
    std::map<int, Payload> records;
    std::istringstream lines(mcusim::GiveOrder("show").text);
    for (std::string line; std::getline(lines, line);) {
        const Payload payload = line.find('[') == std::string::npos ? Payload{} : PayloadIn(line);
        if (payload.size() > 3) {
            records[payload[2]] = payload;
        }
    }
    return records;
}

/// How many packets of a kind the simulator has received.
int Received(const std::string& kind) {
    const std::string text = mcusim::GiveOrder("show").text;
    const std::size_t count = text.rfind(kind + "=");
    return count == std::string::npos ? 0 : std::stoi(text.substr(count + kind.size() + 1));
}

/// Waits until the service has found a restarted MCU and asked it for all settings.
void WaitForQueries(int queries) {
    while (Received("queries") < queries) {
        std::this_thread::yield();
    }
}

/// Which volume changed last is history, not a setting.
std::string WithoutVolType(std::string line) {
    const std::size_t begin = line.find("\"vol_type\":");
    return begin == std::string::npos ? line : line.erase(begin, line.find(',', begin) - begin + 1);
}

/// What must be published where the MCU has these records.
std::string Expected(const std::map<int, Payload>& records) {
    ReferenceModel reference(1);
    for (const auto& [group, payload] : records) {
        reference.Take(137, static_cast<int>(payload.size()), payload);
    }
    std::string text;
    for (const auto& [name, line] : reference.Lines()) {
        text += WithoutVolType(line) + "\n";
    }
    return text;
}

std::string Published() {
    std::string text;
    for (const auto& [name, line] : PublishedLines()) {
        text += WithoutVolType(line) + "\n";
    }
    return text;
}

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
    ~CommandStream() { Stop(); }
    CommandStream(const CommandStream&) = delete;
    CommandStream& operator=(const CommandStream&) = delete;

    void Stop() {
        m_isStopping = true;
        if (m_thread.joinable()) {
            m_thread.join();
        }
    }
    int Written() const { return m_written; }

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

class Bench : public Chain {
public:
    Bench() {
        root.WriteFile("/zoapps/etc/volume.conf", "scheme=1;");
        EXPECT_TRUE(WriteObject("/pps/services/app-launcher", "started::1"));
        // Nobody reads what this many packets would print.
        StartMcu({});
        StartService();
    }

    void KillMcu() { mcu.reset(); }
    void ReviveMcu() {
        StartMcu({});
        WaitForQueries(7);
    }
    void RestartMcu(const std::string& order) const {
        const int queries = Received("queries");
        Order(order);
        WaitForQueries(queries + 7);
    }
    void RestartServer(int signal) {
        ppsd->Stop(signal);
        ppsd = std::make_unique<Process>("ppsd");
        EXPECT_TRUE(ppsd->WaitFor("ppsd: ready\n"));
    }
    void RestartService(int signal) {
        service->Stop(signal);
        const int queries = Received("queries");
        service = std::make_unique<Process>("melvane");
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
    static void DeleteObject(const std::string& path) {
        std::string output;
        EXPECT_EQ(RunProgram("ppsctl", {"delete", path}, output), 0) << output;
    }

    /// Waits until so many more commands went in.
    void LetPass(const CommandStream& stream, int commands) const {
        const int until = stream.Written() + commands;
        while (stream.Written() < until) {
            std::this_thread::yield();
        }
    }
};

/// Waits until what is published is what the MCU has; false where that never comes.
testing::AssertionResult IsTrueSoon() {
    const auto begin = std::chrono::steady_clock::now();
    std::string expected;
    std::string published;
    do {
        expected = Expected(McuRecords());
        published = Published();
        if (expected == published && expected == Expected(McuRecords())) {
            return testing::AssertionSuccess();
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(2));
    } while (std::chrono::steady_clock::now() - begin < std::chrono::milliseconds(kTestTimeoutMs));
    return testing::AssertionFailure() << "the MCU has\n" << expected << "but published is\n" << published;
}

struct Fault {
    const char* name;
    void (*begin)(Bench& bench);
    void (*end)(Bench& bench);
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
    for (int group = 0; group < mcusim::Settings::kGroupCount; ++group) {
        const mcusim::Bytes answer = mcu.Answer(group);
        if (!answer.empty()) {
            records[group].assign(answer.begin(), answer.end());
        }
    }
    return records;
}

void Nothing(Bench& /*bench*/) {}
void Clear(Bench& /*bench*/) {
    Order("clear");
}

const Fault kFaults[] = {
    {"McuRestarts", [](Bench& b) { b.RestartMcu("restart"); }, Nothing, false, kFirstSettings},
    {"McuRestartsWithOtherSettings", [](Bench& b) { b.RestartMcu("restart 7"); }, Nothing, false, 7},
    {"McuIsKilled", [](Bench& b) { b.KillMcu(); }, [](Bench& b) { b.ReviveMcu(); }, false, kFirstSettings},
    {"McuHangsUp", [](Bench& b) { b.RestartMcu("hangup"); }, Nothing, false, kSameSettings},
    {"McuAnswersLate", [](Bench&) { Order("delay 60"); }, Clear, false, kSameSettings},
    {"McuIsSilent", [](Bench&) { Order("silence on"); }, Clear, true, kSameSettings},
    {"McuNeverAcknowledges", [](Bench&) { Order("drop on"); }, Clear, true, kSameSettings},
    {"McuAcknowledgesTwice", [](Bench&) { Order("duplicate on"); }, Clear, false, kSameSettings},
    {"McuAcknowledgesOutOfOrder", [](Bench&) { Order("reorder on"); }, Clear, true, kSameSettings},
    {"McuAcknowledgesWrongNumbers", [](Bench&) { Order("renumber on"); }, Clear, true, kSameSettings},
    {"McuSendsDamagedPackets", [](Bench&) { Order("corrupt on"); }, Clear, true, kSameSettings},
    {"McuRefuses", [](Bench&) { Order("refuse on"); }, Clear, false, kSameSettings},
    {"McuReadsNothing", [](Bench&) { Order("deaf on"); }, Clear, false, kSameSettings},
    {"ServerIsKilled", [](Bench& b) { b.RestartServer(SIGKILL); }, Nothing, false, kSameSettings},
    {"ServerRestarts", [](Bench& b) { b.RestartServer(SIGTERM); }, Nothing, false, kSameSettings},
    {"ServerStops", [](Bench& b) { b.ppsd->Signal(SIGSTOP); }, [](Bench& b) { b.FillAndGoOn(); }, false, kSameSettings},
    {"ObjectIsDeleted", [](Bench&) { Bench::DeleteObject(kStatus); }, Nothing, false, kSameSettings},
    {"ObjectsAreEmptied",
     [](Bench&) {
         for (const char* object : {kStatus, kNavigation, "/pps/tolvyn/eq/settings", "/pps/tolvyn/system/dev_status"}) {
             EXPECT_TRUE(PpsObjectClient(object, 0x302));
         }
     },
     Nothing, false, kSameSettings},
    {"ServiceIsKilled", [](Bench& b) { b.RestartService(SIGKILL); }, Nothing, false, kSameSettings},
    {"ServiceRestarts", [](Bench& b) { b.RestartService(SIGTERM); }, Nothing, false, kSameSettings},
    {"BothPeersRestart",
     [](Bench& b) {
         b.RestartServer(SIGKILL);
         b.RestartMcu("restart 9");
     },
     Nothing, false, 9},
};

class FaultTest : public testing::TestWithParam<Fault> {
protected:
    using Clock = std::chrono::steady_clock;

    /// Lets the fault happen and end while commands stream in; since when the peer was there again, or before.
    Clock::time_point Inject() {
        CommandStream stream;
        m_bench.LetPass(stream, 20);
        Clock::time_point since = Clock::now();
        m_fault.begin(m_bench);
        if (std::string(m_fault.name) != "ServerStops") {
            m_bench.LetPass(stream, 20);
        }
        if (m_fault.end != Nothing) {
            since = Clock::now();
            m_fault.end(m_bench);
        }
        return since;
    }

    void ExpectThatTheNextCommandWorks(int round) const {
        const std::string next = std::to_string(100 + round % 100);
        EXPECT_TRUE(WriteObject(kControl, "zolisten_pos::" + next));
        const std::string published = "zolisten_pos:n:" + next + "\n";
        const PpsObjectClient status(std::string(kStatus) + "?delta");
        EXPECT_NE(status.ReadUntil(published).find(published), std::string::npos);
        EXPECT_TRUE(IsTrueSoon());
    }

    const Fault& m_fault = GetParam();
    Bench m_bench;
};

TEST_P(FaultTest, LeavesNothingUntrueBehind) {
    ASSERT_TRUE(IsTrueSoon());
    Clock::duration longest{};
    for (int round = 0; round < Rounds() && !HasFailure(); ++round) {
        SCOPED_TRACE("round " + std::to_string(round));
        const std::map<int, Payload> before = McuRecords();
        const Clock::time_point since = Inject();
        for (const std::string& command : m_fault.needsCommands ? Commands(round) : std::vector<std::string>{}) {
            ASSERT_TRUE(WriteObject(kControl, command));
        }
        ASSERT_TRUE(IsTrueSoon());
        longest = std::max(longest, Clock::now() - since);
        const std::map<int, Payload> settings =
            m_fault.settings == kSameSettings ? before : RecordsOf(m_fault.settings);
        EXPECT_EQ(Untouched(McuRecords()), Untouched(settings)) << "something else was written to the MCU";
        ExpectThatTheNextCommandWorks(round);
    }
    m_bench.StopService();
    std::printf("%s: true again within %d ms at most\n", m_fault.name,
                static_cast<int>(std::chrono::duration_cast<std::chrono::milliseconds>(longest).count()));
}

INSTANTIATE_TEST_SUITE_P(All, FaultTest, testing::ValuesIn(kFaults),
                         [](const auto& row) { return std::string(row.param.name); });

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
        Bench bench;
        std::string burst;
        for (int i = 0; i < kCommands; ++i) {
            burst += "zoalc::" + std::to_string(i % 200) + "\n";
        }
        Order(fault);
        ASSERT_TRUE(WriteObject(kControl, burst));
        const std::string last = "packet no = " + std::to_string(kCommands);
        std::size_t heard = 0;
        std::chrono::steady_clock::duration longest{};
        while (bench.service->Output().find(last) == std::string::npos) {
            ASSERT_TRUE(WriteObject("/pps/tolvyn/system/poweron_status", "zopoweroff::off"));
            const auto begin = std::chrono::steady_clock::now();
            ASSERT_TRUE(bench.service->WaitFor("cmdVector.empty():1", ++heard)) << "no command of the burst";
            longest = std::max(longest, std::chrono::steady_clock::now() - begin);
        }
        EXPECT_GT(heard, 2U) << "another input during the burst";
        std::printf("%s: another input was heard %zu times meanwhile, within %d ms at most\n", fault, heard,
                    static_cast<int>(std::chrono::duration_cast<std::chrono::milliseconds>(longest).count()));
        Order("clear");
        // One more, so that losses have an end.
        do {
            ASSERT_TRUE(WriteObject(kControl, "zosrs::9"));
        } while (McuRecords()[3][4] != 9);
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
        ASSERT_NE(control.ReadUntil("#@control").find("#@control"), std::string::npos);
        std::this_thread::sleep_for(std::chrono::milliseconds(start * 53 % 120));
        ASSERT_TRUE(WriteObject(kControl, "zoloud::on"));
        const PpsObjectClient status(std::string(kStatus) + "?delta");
        ASSERT_NE(status.ReadUntil("zoloud::on").find("zoloud::on"), std::string::npos);
        expected[0][17] = 1;
        EXPECT_EQ(McuRecords(), expected);
        ASSERT_TRUE(IsTrueSoon());
        chain.StopService();
    }
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

/// Waits until a service that was just started has blocked SIGTERM: it does so before main begins, and ignores SIGPIPE
/// right after, which shows in the process's state whatever it waits for later.
void WaitUntilSignalsAreBlocked(const Process& process) {
    constexpr int kSigPipeBit = SIGPIPE - 1;
    const std::string path = "/proc/" + std::to_string(process.Id()) + "/status";
    for (bool isReached = false; !isReached;) {
        std::ifstream status(path);
        for (std::string line; std::getline(status, line);) {
            isReached |=
                line.rfind("SigIgn:", 0) == 0 && (std::stoull(line.substr(7), nullptr, 16) >> kSigPipeBit & 1) != 0;
            isReached |= line.rfind("State:\tZ", 0) == 0;
        }
    }
}

TEST(StartTest, ASignalAtAnyMomentEndsTheServiceInOrder) {
    Chain chain;
    chain.StartMcu({});
    for (int moment = 0; moment < 20 * Rounds(); ++moment) {
        Process service("melvane");
        WaitUntilSignalsAreBlocked(service);
        std::this_thread::sleep_for(std::chrono::microseconds(moment * 317 % 20000));
        EXPECT_EQ(service.Stop(moment % 2 == 0 ? SIGTERM : SIGINT), 0) << service.Output();
    }
}

} // namespace
