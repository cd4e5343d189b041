// What becomes of the files whose peer takes nothing, goes away or comes back.
#include <gtest/gtest.h>

#include "framework/McuFileBase.h"
#include "framework/PPSFileBase.h"
#include "framework/SystemFiles.h"
#include "tests/support/Bench.h"
#include "tests/support/NotingController.h"

namespace {

using TLG::ZOCAR::fileTagInfo;
using TLG::ZOCAR::PPSFileBase;

const fileTagInfo kInput{2, "/pps/test/input?delta", 0x302, 0666};
const fileTagInfo kOther{4, "/pps/test/other?delta", 0x102, 0666};
const fileTagInfo kOutput{0, "/pps/test/output?delta", 0x102, 0666};

/// The lines of one severity whose text has the words.
std::vector<std::string> Lines(const std::vector<LogLine>& log, int severity, const std::string& words) {
    std::vector<std::string> lines;
    for (const LogLine& line : log) {
        if (line.severity == severity && line.text.find(words) != std::string::npos) {
            lines.push_back(line.text);
        }
    }
    return lines;
}

class ConnectionTest : public testing::Test {
protected:
    ConnectionTest() {
        m_controller.SetReturnHandler([this](const std::vector<int>& keys) {
            for (const int key : keys) {
                m_controller.Note("returned " + std::to_string(key));
            }
            if (m_onReturn) {
                m_onReturn();
            }
        });
    }
    void TearDown() override { m_controller.Stop(); }

    const TemporaryRoot m_root;
    NotingController m_controller;
    std::function<void()> m_onReturn; ///< called by the return handler
};

class McuConnectionTest : public ConnectionTest {
protected:
    McuConnectionTest() {
        EXPECT_TRUE(m_file.Open());
        EXPECT_TRUE(m_controller.Init());
        EXPECT_TRUE(m_controller.AddFile(m_file.GetKey(), &m_file));
        EXPECT_TRUE(m_controller.Start());
        EXPECT_TRUE(m_mcu->Accept());
        TakeLog();
    }

    bool Send(std::int32_t number) const {
        std::vector<unsigned char> packet(280);
        std::memcpy(packet.data(), &number, sizeof number);
        return m_file.SendToSpiDev(packet.data(), static_cast<int>(packet.size()));
    }
    /// The number of the next packet that the MCU gets; -1 where none comes.
    std::int32_t Receive(int timeoutMs = kTestTimeoutMs) const {
        std::int32_t number = -1;
        const std::string block = m_mcu->ReceiveBlock(timeoutMs);
        std::memcpy(&number, block.data(), std::min(block.size(), sizeof number));
        return number;
    }

    std::unique_ptr<FakeMcu> m_mcu = std::make_unique<FakeMcu>();
    TLG::ZOCAR::McuFileBase m_file{TLG::ZOCAR::g_eqMCU, &m_controller};
};

TEST_F(McuConnectionTest, BlocksAreDeliveredAsTheyAre) {
    m_mcu->SendBlock({'a'});
    m_mcu->SendBlock({});
    m_mcu->SendBlock({'b', 'c'});
    EXPECT_EQ(m_controller.Wait(3), (std::vector<std::string>{"mcu a", "mcu ", "mcu bc"}));
}

TEST_F(McuConnectionTest, WhatTheMcuDoesNotTakeIsKeptInOrderUpToABound) {
    constexpr int kPackets = 3000;
    int accepted = 0;
    while (accepted < kPackets && Send(accepted)) {
        ++accepted;
    }
    ASSERT_GT(accepted, 1024) << "what the device took, and so many more";
    ASSERT_LT(accepted, kPackets);
    for (int lost = 1; lost < 10; ++lost) {
        EXPECT_FALSE(Send(-2));
    }
    for (int number = 0; number < accepted; ++number) {
        ASSERT_EQ(Receive(), number);
    }
    std::vector<LogLine> log;
    do { // the dispatcher may still be about to say so
        EXPECT_TRUE(Send(accepted++));
        EXPECT_GE(Receive(), 0);
        for (LogLine& line : TakeLog()) {
            log.push_back(std::move(line));
        }
    } while (Lines(log, 4, "succeed again").empty());
    EXPECT_EQ(Lines(log, 2, "").size(), 1U);
    EXPECT_EQ(Lines(log, 2, "eq fail: it takes no more packets").size(), 1U);
    EXPECT_EQ(Lines(log, 4, "eq succeed again, 10 packets were lost").size(), 1U);
}

TEST_F(McuConnectionTest, NothingFromBeforeTheReturnIsWrittenAfterIt) {
    m_onReturn = [this] { EXPECT_TRUE(Send(7)); };
    while (Send(1)) { // until packets wait, too
    }
    m_mcu = nullptr;
    EXPECT_FALSE(Send(2));
    m_mcu = std::make_unique<FakeMcu>();
    ASSERT_TRUE(m_mcu->Accept());
    EXPECT_EQ(Receive(), 7) << "the return handler's";
    EXPECT_EQ(m_controller.Wait(1).back(), "returned 6");
    EXPECT_TRUE(Send(8));
    EXPECT_EQ(Receive(), 8);
    const std::vector<LogLine> log = TakeLog();
    EXPECT_EQ(Lines(log, 2, "lost (closed by its peer)").size(), 1U);
    EXPECT_EQ(Lines(log, 2, "writes to").size(), 1U);
    EXPECT_EQ(Lines(log, 4, "succeed again").size(), 1U);
    EXPECT_EQ(Lines(log, 4, "can't open").size(), Lines(log, 4, "No such file").size());
    EXPECT_LE(Lines(log, 4, "can't open").size(), 1U) << "a reason is said once";
}

class PpsConnectionTest : public ConnectionTest {
protected:
    void Start() {
        EXPECT_TRUE(m_input.Open());
        EXPECT_TRUE(m_other.Open());
        EXPECT_TRUE(m_output.Open());
        EXPECT_TRUE(m_controller.Init());
        EXPECT_TRUE(m_controller.AddFile(m_input.GetKey(), &m_input));
        EXPECT_TRUE(m_controller.AddFile(m_other.GetKey(), &m_other));
        EXPECT_TRUE(m_controller.AddOutput(m_output.GetKey(), &m_output));
        EXPECT_TRUE(m_controller.Start());
    }

    PPSFileBase m_input{kInput, &m_controller};
    PPSFileBase m_other{kOther, &m_controller};
    PPSFileBase m_output{kOutput, &m_controller};
};

TEST_F(PpsConnectionTest, HeldInputWaitsWholeAndInOrder) {
    auto server = std::make_unique<LocalServer>();
    Start();
    m_controller.HoldInput(2);
    std::string text;
    for (int i = 0; i < 100; ++i) {
        text += "a:n:" + std::to_string(i) + "\n";
    }
    WriteObject("/pps/test/input", text);
    WriteObject("/pps/test/input", "a:n:100");
    WriteObject("/pps/test/other", "b::1");
    EXPECT_EQ(m_controller.Wait(1), std::vector<std::string>{"4 b::1"});
    server = nullptr; // its last words are heard all the same
    m_controller.ResumeInput(2);
    const std::vector<std::string> events = m_controller.Wait(102);
    ASSERT_EQ(events.size(), 102U);
    for (int i = 0; i <= 100; ++i) {
        EXPECT_EQ(events[static_cast<std::size_t>(i) + 1], "2 a:n:" + std::to_string(i));
    }
}

TEST_F(PpsConnectionTest, ALongTextLeavesTheOthersTheirTurn) {
    const LocalServer server;
    Start();
    bool isWritten = false;
    m_controller.m_during = [&] {
        if (!std::exchange(isWritten, true)) {
            WriteObject("/pps/test/other", "b::1");
        }
    };
    std::string text;
    for (int i = 0; i < 1000; ++i) {
        text += "a::\n";
    }
    WriteObject("/pps/test/input", text);
    const std::vector<std::string> events = m_controller.Wait(1001);
    const auto other = std::find(events.begin(), events.end(), "4 b::1");
    EXPECT_LT(other - events.begin(), 200);
}

TEST_F(PpsConnectionTest, AnOutputThatHadNoRoomIsReportedWhenItHas) {
    // A server that answers every open and then reads nothing.
    host::Listener listener;
    ASSERT_TRUE(listener.Open(host::BelowRoot(host::kPpsSocket)));
    std::vector<UniqueFd> connections;
    std::thread opener([this] { Start(); });
    while (connections.size() < 3) {
        UniqueFd connection = listener.Accept();
        std::string request;
        if (connection) {
            pollfd state{connection.Get(), POLLIN, 0};
            ::poll(&state, 1, kTestTimeoutMs);
            host::ReceivePacket(connection.Get(), request);
            EXPECT_EQ(::send(connection.Get(), "ok", 2, 0), 2);
            EXPECT_EQ(::send(connection.Get(), "@x\n", 3, 0), 3);
            connections.push_back(std::move(connection));
        }
    }
    opener.join();
    while (m_output.SetPPSIntAttr("@output", "a", 1)) {
    }
    EXPECT_EQ(errno, EAGAIN);
    EXPECT_TRUE(m_controller.Wait(0).empty());
    std::string packet;
    while (host::ReceivePacket(connections.back().Get(), packet)) {
    }
    EXPECT_EQ(m_controller.Wait(1), std::vector<std::string>{"returned 0"});
    EXPECT_TRUE(m_output.SetPPSIntAttr("@output", "a", 2));
}

TEST_F(PpsConnectionTest, AnOutputThatSomebodyEmptiesOrDeletesIsReported) {
    const LocalServer server;
    Start();
    EXPECT_TRUE(m_output.SetPPSIntAttr("@output", "a", 1));
    ASSERT_TRUE(WriteObject("/pps/test/output", "-a\nb::1")) << "that is no loss";
    EXPECT_TRUE(PpsObjectClient("/pps/test/output", 0x302));
    EXPECT_EQ(m_controller.Wait(1), std::vector<std::string>{"returned 0"});
    host::PpsReply reply;
    host::RequestOfPpsServer("delete /pps/test/output", reply);
    EXPECT_EQ(m_controller.Wait(2).size(), 2U);
    EXPECT_TRUE(m_output.SetPPSIntAttr("@output", "a", 2));
    EXPECT_EQ(SettledStateOf("/pps/test/output"), "@output\na:n:2\n");
}

TEST_F(PpsConnectionTest, AllThatTheServerHadIsBackAtOnce) {
    auto server = std::make_unique<LocalServer>();
    Start();
    TakeLog();
    server = nullptr;
    server = std::make_unique<LocalServer>();
    const std::vector<std::string> events = m_controller.Wait(3);
    EXPECT_EQ(events, (std::vector<std::string>{"returned 0", "returned 2", "returned 4"}));
    const std::vector<LogLine> log = TakeLog();
    EXPECT_EQ(Lines(log, 2, "input /pps/test/").size(), 2U);
    EXPECT_EQ(Lines(log, 4, "output /pps/test/output?delta lost").size(), 1U);
    EXPECT_TRUE(m_output.SetPPSIntAttr("@output", "a", 1));
    WriteObject("/pps/test/input", "a::1");
    EXPECT_EQ(m_controller.Wait(4).back(), "2 a::1");
}

} // namespace
