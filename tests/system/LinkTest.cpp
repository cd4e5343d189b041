// The service behind mculink: an MCU on a serial line, peers that come and go, recordings that are played again.
#include <fcntl.h>
#include <pty.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <functional>
#include <mutex>
#include <thread>

#include "framework/SystemFiles.h"
#include "tests/support/FaultBench.h"
#include "tools/mculink/PacketStream.h"
#include "tools/mculink/Record.h"
#include "tools/mculink/Recording.h"
#include "tools/mcusim/Settings.h"

namespace {

using mculink::Bytes;
using mculink::Direction;

/// An MCU on a serial line that writes in pieces of every size.
class SerialMcu {
public:
    SerialMcu() {
        int ends[2] = {-1, -1};
        EXPECT_EQ(::openpty(&ends[0], &ends[1], m_path.data(), nullptr, nullptr), 0);
        m_line.Reset(ends[0]);
        m_keptOpen.Reset(ends[1]);
        m_path.resize(m_path.find('\0'));
        m_thread = std::thread([this] { Serve(); });
    }
    ~SerialMcu() {
        m_isStopping = true;
        m_thread.join();
    }

    const std::string& Path() const { return m_path; }
    int Commands() const { return m_commands; }
    /// The payloads of the commands.
    std::vector<Bytes> Received() {
        const std::lock_guard<std::mutex> lock(m_mutex);
        return m_received;
    }
    /// Writes noise before the next packet.
    void Disturb() { m_isDisturbed = true; }

private:
    void Serve() {
        mculink::PacketStream stream;
        mcusim::Settings settings;
        while (!m_isStopping) {
            pollfd state{m_line.Get(), POLLIN, 0};
            std::string bytes(4096, '\0');
            if (::poll(&state, 1, 10) != 1) {
                continue;
            }
            const ssize_t length = ::read(m_line.Get(), bytes.data(), bytes.size());
            stream.Add({bytes.data(), static_cast<std::size_t>(std::max<ssize_t>(length, 0))});
            while (const auto block = stream.Next()) {
                Answer(*block, settings);
            }
        }
    }

    void Answer(const std::string& block, mcusim::Settings& settings) {
        mculink::Packet packet;
        mculink::ParsePacket(block, packet);
        if (packet.header.Cmd == kQueryCommand) {
            Write(mculink::MakePacket(settings.Answer(packet.payload[1]), 0));
            return;
        }
        {
            const std::lock_guard<std::mutex> lock(m_mutex);
            m_received.push_back(packet.payload);
        }
        ++m_commands;
        Write(mculink::MakePacket({kAcknowledgement, 0}, packet.header.PacketNo));
    }

    void Write(const Bytes& packet) {
        const char* const noise = m_isDisturbed.exchange(false) ? "\xFF\xFE\x01" : "";
        const std::string text = noise + std::string(mculink::View(packet));
        for (std::size_t at = 0; at < text.size();) {
            m_piece = m_piece % 41 + 1;
            const ssize_t length = ::write(m_line.Get(), text.data() + at, std::min(m_piece, text.size() - at));
            at += static_cast<std::size_t>(std::max<ssize_t>(length, 0));
        }
    }

    std::string m_path = std::string(64, '\0');
    UniqueFd m_line;
    UniqueFd m_keptOpen;
    std::thread m_thread;
    std::atomic<bool> m_isStopping{false};
    std::atomic<bool> m_isDisturbed{false};
    std::atomic<int> m_commands{0};
    std::mutex m_mutex;
    std::vector<Bytes> m_received; // guarded by m_mutex
    std::size_t m_piece = 0;
};

/// The packets of a recording.
std::vector<mculink::LinkPacket> PacketsOf(const std::string& path) {
    std::vector<mculink::LinkPacket> packets;
    mculink::RecordingReader reader;
    std::string error;
    EXPECT_TRUE(reader.Open(path, error)) << error;
    while (const auto packet = reader.Next(error)) {
        packets.push_back(*packet);
    }
    EXPECT_EQ(error, "");
    return packets;
}

void WriteRecording(const std::string& path, const std::vector<mculink::LinkPacket>& packets) {
    mculink::RecordingWriter writer;
    std::string error;
    ASSERT_TRUE(writer.Open(path, error)) << error;
    for (const mculink::LinkPacket& packet : packets) {
        EXPECT_TRUE(writer.Write(packet));
    }
}

TEST(LinkTest, ASerialLineLosesNothingAndItsNoiseIsPassedOver) {
    constexpr int kCommands = 10000;
    Chain chain;
    SerialMcu mcu;
    const std::string recording = chain.root.Path() + "/recording";
    const auto link = StartReady("mculink", {"--to", mcu.Path(), "--baud", "115200", "--record", recording});
    chain.StartService();
    std::string burst;
    std::vector<Bytes> expected;
    for (int i = 0; i < kCommands; ++i) {
        burst += "zoalc::" + std::to_string(i % 256) + (i % 500 == 499 ? "" : "\n");
        expected.push_back({kControlCommand, kControlRecordMark, ALC, static_cast<std::uint8_t>(i % 256)});
        if (i % 500 == 499) { // as many as the link takes before a packet must wait too long
            ASSERT_TRUE(WriteObject(kControl, burst));
            ASSERT_TRUE(WaitUntil("the MCU has them", [&] { return mcu.Commands() == i + 1; }));
            burst.clear();
        }
    }
    EXPECT_TRUE(mcu.Received() == expected);
    mcu.Disturb();
    ASSERT_TRUE(WriteObject(kControl, "zosrs::77"));
    EXPECT_TRUE(link->WaitFor(mcu.Path() + ": 3 bytes that are no packet, passed over"));
    EXPECT_TRUE(PpsObjectClient(std::string(kStatus) + "?delta").Hears("zosrs:n:77"));
    chain.StopService();
    EXPECT_EQ(link->Stop(SIGTERM), 0);
    int passed[2] = {0, 0};
    for (const mculink::LinkPacket& packet : PacketsOf(recording)) {
        ++passed[static_cast<std::size_t>(packet.direction)];
    }
    EXPECT_EQ(passed[0], 7 + kCommands + 1);
    EXPECT_EQ(passed[1], 7 + kCommands + 1);
}

TEST(LinkTest, WhatIsPublishedIsTrueAfterEachPeerWentAndCameBack) {
    Chain chain;
    const std::string path = chain.root.Path() + "/mcu";
    chain.root.WriteFile("/zoapps/etc/volume.conf", "scheme=1;");
    auto link = std::make_unique<Process>("mculink", std::vector<std::string>{"--to", path});
    ASSERT_TRUE(link->WaitFor(path + ": No such file or directory; trying again until it is there"));
    chain.mcu = StartReady("mcusim", {"--at", path});
    ASSERT_TRUE(link->WaitFor("mculink: ready"));
    chain.StartService();
    const std::pair<const char*, std::function<void()>> changes[] = {
        {"the MCU hangs up", [] { Order("hangup"); }},
        {"the MCU restarts with other settings", [] { Order("restart 7"); }},
        {"the MCU is killed",
         [&] {
             chain.mcu.reset();
             chain.mcu = StartReady("mcusim", {"--at", path});
         }},
        {"the service is killed",
         [&] {
             chain.service->Stop(SIGKILL);
             chain.service = std::make_unique<Process>("melvane");
         }},
        {"the link is killed",
         [&] {
             link->Stop(SIGKILL);
             link = StartReady("mculink", {"--to", path});
         }},
    };
    int alc = 10;
    for (const auto& [what, change] : changes) {
        SCOPED_TRACE(what);
        change();
        ASSERT_TRUE(WaitUntil("a command arrives", [&alc] {
            return WriteObject(kControl, "zoalc::" + std::to_string(alc)) && McuRecords()[ALC][3] == alc;
        }));
        ASSERT_TRUE(IsTrueSoon());
        ++alc;
    }
    chain.StopService();
}

/// Writes the HMI's lines of a recording: each leads to one command, and is written once the service has taken what the
/// MCU had sent before that.
void PlayHmi(const std::string& recording, Process& service) {
    std::ifstream lines(recording + ".hmi");
    std::size_t fromMcu = 0;
    for (const mculink::LinkPacket& packet : PacketsOf(recording + ".pcap")) {
        mculink::Packet parsed;
        mculink::ParsePacket(packet.block, parsed);
        std::string line;
        if (packet.direction == Direction::FromMcu) {
            ++fromMcu;
        } else if (parsed.header.Cmd != kQueryCommand && std::getline(lines, line)) {
            ASSERT_TRUE(service.WaitFor("[UpdatePPS]-end", fromMcu));
            const std::size_t blank = line.find(' ');
            ASSERT_TRUE(WriteObject(line.substr(0, blank), line.substr(blank + 1))) << line;
        }
    }
}

/// What a replay prints in the end, beside a service that is driven as it was for the recording.
std::string Replayed(const std::string& recording, const std::string& file, int& status) {
    Chain chain;
    chain.root.WriteFile("/zoapps/etc/volume.conf", "scheme=1;");
    const auto replay = StartReady("mculink", {"replay", "--fast", file});
    chain.service = std::make_unique<Process>("melvane");
    PlayHmi(recording, *chain.service);
    status = replay->WaitForEnd();
    chain.StopService();
    return replay->Output();
}

TEST(LinkTest, RecordingsPlayedAgainShowEachDifferenceAndNoOther) {
    for (const char* name : {"session", "restarts", "knobs"}) {
        SCOPED_TRACE(name);
        const std::string recording = std::string(TLG_SOURCE_DIR) + "/tests/recordings/" + name;
        int status = -1;
        const std::string printed = Replayed(recording, recording + ".pcap", status);
        EXPECT_EQ(status, 0) << printed;
        EXPECT_EQ(Count(printed, "packets, no difference"), 1U) << printed;
    }
    const std::string recording = std::string(TLG_SOURCE_DIR) + "/tests/recordings/knobs";
    const TemporaryRoot root;
    const std::string changed = root.Path() + "/changed.pcap";
    std::vector<mculink::LinkPacket> packets = PacketsOf(recording + ".pcap");
    constexpr std::size_t kCommand = 14; // the first, after the queries and answers
    constexpr std::size_t kMain = 28 + 4;
    ++packets[kCommand].block[kMain];
    WriteRecording(changed, packets);
    int status = -1;
    const std::string printed = Replayed(recording, changed, status);
    EXPECT_EQ(status, 1);
    EXPECT_NE(printed.find(" sent with main 14*>13*\nmculink: " + changed + ": 1 difference\n"), std::string::npos)
        << printed;
}

TEST(LinkTest, AReplayThatIsFasterThanTheServiceLosesNothing) {
    constexpr std::size_t kQueriesAndAnswers = 14;
    constexpr int kReports = 5000;
    Chain chain;
    const std::string recording = chain.root.Path() + "/recording";
    std::vector<mculink::LinkPacket> packets = PacketsOf(TLG_SOURCE_DIR "/tests/recordings/session.pcap");
    packets.resize(kQueriesAndAnswers);
    for (int i = 0; i < kReports; ++i) {
        const Bytes packet = mculink::MakePacket(mculink::Record(ALC).With("alc", 2 + i % 2).Payload(), 0);
        packets.push_back({packets.back().time, Direction::FromMcu, std::string(mculink::View(packet))});
    }
    WriteRecording(recording, packets);
    const auto replay = StartReady("mculink", {"replay", "--fast", recording});
    chain.service = std::make_unique<Process>("melvane");
    EXPECT_TRUE(chain.service->WaitFor("[UpdatePPS]-end", kQueriesAndAnswers / 2 + kReports));
    EXPECT_EQ(replay->WaitForEnd(), 0);
    chain.StopService();
}

/// The lines that tshark prints of a recording.
std::vector<std::string> Dissected(const std::string& recording, const std::string& options) {
    const std::string command = "tshark -2 -X lua_script:" TLG_SOURCE_DIR "/tools/wireshark/melvane.lua -r " +
                                recording + " " + options + " 2> /dev/null";
    const std::unique_ptr<std::FILE, int (*)(std::FILE*)> output(::popen(command.c_str(), "r"), ::pclose);
    std::vector<std::string> lines;
    std::array<char, 4096> line{};
    while (std::fgets(line.data(), line.size(), output.get()) != nullptr) {
        lines.emplace_back(line.data());
    }
    return lines;
}

/// docs/examples/mcu.py, which the page about the link shows as a whole MCU.
TEST(LinkTest, TheMcuOfThePageIsEnough) {
    Chain chain;
    const std::string device = chain.root.Path() + TLG::ZOCAR::g_eqMCU.path;
    std::filesystem::create_directories(std::filesystem::path(device).parent_path());
    Process mcu("/usr/bin/python3", {TLG_SOURCE_DIR "/docs/examples/mcu.py", device});
    ASSERT_TRUE(mcu.WaitFor("mcu: ready"));
    chain.StartService();
    const std::pair<std::vector<std::string>, const char*> settings[] = {
        {{"volume", "+3"}, "current=15"},
        {{"subgain", "9"}, "subgain 9"},
        {{"mute", "source", "on"}, "source_mute=mute"},
        {{"mute", "source", "off"}, "source_mute=unmute"},
        {{"eq", "2", "--freqs", "0,3,6,9,12", "--gains", "1,2,3,4,5", "--qs", "1,1,1,1,1"}, "eq type_2"},
        {{"srcgain", "usb=6"}, "src=usb gain=6"},
        {{"mix", "on"}, "mix on"}};
    for (const auto& [words, shown] : settings) {
        std::string output;
        EXPECT_EQ(RunProgram("eqctl", words, output), 0) << output;
        EXPECT_NE(output.find(shown), std::string::npos) << output;
    }
    mcu.Stop(SIGTERM);
    chain.StopService();
}

TEST(LinkTest, WiresharkNamesAndLinksThePackets) {
    if (std::system("command -v tshark > /dev/null") != 0) {
        GTEST_SKIP() << "no tshark";
    }
    const TemporaryRoot root;
    std::vector<mculink::LinkPacket> packets = PacketsOf(TLG_SOURCE_DIR "/tests/recordings/session.pcap");
    packets.back().block.pop_back();
    packets.push_back({packets.back().time, Direction::FromMcu, "short"});
    const std::string recording = root.Path() + "/recording";
    WriteRecording(recording, packets);
    std::size_t loud = 0;
    for (const mculink::LinkPacket& packet : packets) {
        mculink::Packet parsed;
        mculink::ParsePacket(packet.block, parsed);
        const mculink::Record record(parsed.payload);
        const bool isVolumes = parsed.header.Cmd == kControlCommand && record.Type() == VOLUME_AND_FADE_BALANCE;
        loud += isVolumes && record.Get("main") > 12 ? 1U : 0U;
    }
    EXPECT_GT(loud, 3U);
    EXPECT_EQ(Dissected(recording, "-Y 'melvane.main > 12 && melvane.cmd == 8'").size(), loud);
    EXPECT_EQ(Dissected(recording, "-Y melvane.damaged").size(), 2U);
    EXPECT_EQ(Dissected(recording, "-Y '_ws.expert && melvane.damaged'").size(), 2U);
    for (const std::string& line : Dissected(recording, "-T fields -e _ws.col.Info -Y '!melvane.damaged'")) {
        EXPECT_EQ(line.find("unknown"), std::string::npos) << line;
    }
    // Command 1 is packet 15, its acknowledgement packet 16.
    EXPECT_EQ(
        Dissected(recording, "-T fields -e frame.number -e melvane.ack_in -Y 'melvane.cmd == 8 && melvane.no == 1'"),
        std::vector<std::string>{"15\t16\n"});
    EXPECT_EQ(Dissected(recording, "-Y 'melvane.ack_to == 15 && melvane.ack_time > 0'").size(), 1U);
    EXPECT_EQ(Dissected(recording, "-Y 'melvane.cmd == 137 && melvane.ack_to'").size(), 7U);
}

} // namespace
