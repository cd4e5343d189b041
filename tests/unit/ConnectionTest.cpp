// How files deliver their input, and what becomes of those whose peer takes nothing, goes away or comes back.
#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>

#include "framework/McuFileBase.h"
#include "framework/PPSFileBase.h"
#include "framework/SystemFiles.h"
#include "tests/support/Bench.h"
#include "tests/support/NotingController.h"

namespace {

using TLG::ZOCAR::fileTagInfo;
using TLG::ZOCAR::PPSFileBase;
using Events = std::vector<std::string>;

const fileTagInfo kInput{2, "/pps/test/input?delta", 0x302, 0666};
const fileTagInfo kOther{4, "/pps/test/other?delta", 0x102, 0666};
const fileTagInfo kOutput{0, "/pps/test/output?delta", 0x102, 0666};
const fileTagInfo kAlone{7, "/pps/test/alone", 0x102, 0666};

/// How many lines of one severity have the words.
long LinesWith(const std::vector<LogLine>& log, int severity, const std::string& words) {
    return std::count_if(log.begin(), log.end(), [&](const LogLine& line) {
        return line.severity == severity && line.text.find(words) != std::string::npos;
    });
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

TEST_F(ConnectionTest, AnOutputThatHadNoRoomIsReportedWhenItHas) {
    // A server that answers an open and then reads nothing.
    host::Listener listener;
    ASSERT_TRUE(listener.Open(host::BelowRoot(host::kPpsSocket)));
    PPSFileBase output{kOutput, &m_controller};
    std::thread opener([&] { EXPECT_TRUE(output.Open()); });
    UniqueFd server;
    EXPECT_TRUE(WaitUntil("the output is opened", [&] {
        server = listener.Accept();
        return static_cast<bool>(server);
    }));
    EXPECT_EQ(::send(server.Get(), "ok", 2, 0) + ::send(server.Get(), "@x\n", 3, 0), 5);
    opener.join();
    EXPECT_TRUE(m_controller.Init() && m_controller.AddOutput(0, &output) && m_controller.Start());
    while (output.SetPPSIntAttr("@output", "a", 1)) {
    }
    EXPECT_EQ(errno, EAGAIN);
    EXPECT_TRUE(m_controller.Wait(0).empty());
    for (std::string packet; host::ReceivePacket(server.Get(), packet);) {
    }
    EXPECT_EQ(m_controller.Wait(1), Events{"returned 0"});
    m_controller.Stop();
}

class McuConnectionTest : public ConnectionTest {
protected:
    McuConnectionTest() {
        EXPECT_TRUE(m_file.Open() && m_controller.Init() && m_controller.AddFile(m_file.GetKey(), &m_file));
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
    std::int32_t Receive() const {
        std::int32_t number = -1;
        const std::string block = m_mcu->ReceiveBlock();
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
    EXPECT_EQ(m_controller.Wait(3), (Events{"mcu a", "mcu ", "mcu bc"}));
    m_controller.HoldInput(m_file.GetKey());
    EXPECT_TRUE(Send(1)) << "which the MCU does not read";
    unsigned char nothing = 0;
    EXPECT_FALSE(m_file.SendToSpiDev(&nothing, 0) || m_file.SendToSpiDev(nullptr, 1));
    m_mcu->SendBlock({'d'});
    m_mcu->HangUp();
    m_controller.ResumeInput(m_file.GetKey());
    EXPECT_EQ(m_controller.Wait(4).at(3), "mcu d") << "its last words";
}

TEST_F(McuConnectionTest, WhatTheMcuDoesNotTakeIsKeptInOrderUpToABound) {
    constexpr int kPackets = 3000;
    int accepted = 0;
    while (accepted < kPackets && Send(accepted)) {
        ++accepted;
    }
    ASSERT_GT(accepted, 1024) << "what the device took, and 1,024 more";
    ASSERT_LT(accepted, kPackets);
    for (int number = 0; number < accepted; ++number) {
        ASSERT_EQ(Receive(), number);
        // The device has taken far fewer, so that there is room among those that wait.
        if (number >= 700 && number < 1000) {
            ASSERT_TRUE(Send(accepted++)) << "after those that wait";
        }
    }
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
    EXPECT_EQ(LinesWith(log, 2, "lost (closed by its peer)"), 1);
    EXPECT_EQ(LinesWith(log, 2, "writes to"), 1);
    EXPECT_EQ(LinesWith(log, 4, "succeed again"), 1);
    EXPECT_EQ(LinesWith(log, 4, "can't open"), LinesWith(log, 4, "No such file"));
    EXPECT_LE(LinesWith(log, 4, "can't open"), 1) << "a reason is said once";
}

class PpsConnectionTest : public ConnectionTest {
protected:
    /// One input is there at the start, another comes later.
    PpsConnectionTest() {
        EXPECT_TRUE(m_input.Open() && m_other.Open() && m_output.Open() && m_controller.Init());
        EXPECT_TRUE(m_controller.AddFile(2, &m_input) && m_controller.AddOutput(0, &m_output));
        EXPECT_TRUE(m_controller.Start());
        EXPECT_TRUE(m_controller.AddFile(4, &m_other));
    }

    std::unique_ptr<LocalServer> m_server = std::make_unique<LocalServer>();
    PPSFileBase m_input{kInput, &m_controller};
    PPSFileBase m_other{kOther, &m_controller};
    PPSFileBase m_output{kOutput, &m_controller};
};

TEST_F(PpsConnectionTest, ItsOwnWritesDoNotComeBack) {
    WriteObject("/pps/test/other", "c::1");
    EXPECT_EQ(m_controller.Wait(1), Events{"4 c::1"});
    m_other.SetPPSIntAttr("@other", "[n]mine", 3);
    EXPECT_FALSE(m_other.SetPPSStringAttr("@other", "text", "a\nb"));
    WriteObject("/pps/test/other", "d::2");
    EXPECT_EQ(m_controller.Wait(2).back(), "4 d::2");
    EXPECT_EQ(StateOf("/pps/test/other"), "@other\nc::1\n[n]mine:n:3\nd::2\n");
}

TEST_F(PpsConnectionTest, ADeliveryMayCloseAndRemoveItsOwnFileWhichIsNotHeardOfAgain) {
    m_controller.m_during = [this] {
        m_input.Close();
        m_controller.RemoveFile(2);
    };
    WriteObject("/pps/test/input", "a::1\nb::1");
    m_controller.Wait(1);
    WriteObject("/pps/test/input", "a::2");
    WriteObject("/pps/test/other", "c::1");
    EXPECT_EQ(m_controller.Wait(2), (Events{"2 a::1", "4 c::1"})) << "nor the rest of the text";
    EXPECT_FALSE(m_controller.RemoveFile(2));
    EXPECT_TRUE(m_controller.Stop());
    EXPECT_FALSE(m_controller.Stop());
}

TEST_F(PpsConnectionTest, ClosingAndRemovingWaitForADeliveryUnderWay) {
    std::atomic<int> begun{0};
    std::atomic<int> mayEnd{0};
    std::atomic<int> ended{0};
    m_controller.m_during = [&] {
        const int number = ++begun;
        EXPECT_TRUE(WaitUntil("the delivery may end", [&] { return mayEnd == number; }));
        ended = number;
    };
    const auto endDuringADelivery = [&](const std::string& path, const auto& end, const auto& hasBegun) {
        WriteObject(path, "a::1");
        EXPECT_TRUE(WaitUntil("a delivery is under way", [&] { return begun > ended; }));
        std::thread closer([&] {
            end();
            EXPECT_EQ(ended, begun);
        });
        EXPECT_TRUE(WaitUntil("the end has begun", hasBegun));
        mayEnd = begun.load();
        closer.join();
    };
    PPSFileBase unopened(kAlone, nullptr);
    endDuringADelivery(
        "/pps/test/input", [&] { m_input.Close(); }, [&] { return !m_input.SetPPSIntAttr("@input", "open", 1); });
    endDuringADelivery(
        "/pps/test/other", [&] { m_controller.RemoveFile(4); }, [&] { return m_controller.AddOutput(4, &unopened); });
}

TEST_F(PpsConnectionTest, ALongTextLeavesTheOthersTheirTurnAndIsHeldInItsMiddleWholeAndInOrder) {
    std::atomic<bool> isHeld{false};
    m_controller.m_during = [&] {
        if (!isHeld.exchange(true)) {
            m_controller.HoldInput(2);
            WriteObject("/pps/test/other", "b::1");
        }
    };
    std::string text;
    Events expected;
    for (int i = 0; i < 1000; ++i) {
        text += "a:n:" + std::to_string(i) + "\n";
        expected.push_back("2 a:n:" + std::to_string(i));
    }
    WriteObject("/pps/test/input", text);
    WriteObject("/pps/test/input", "last::1");
    expected.emplace_back("2 last::1");
    EXPECT_TRUE(WaitUntil("the other is heard", [this] { return m_controller.Wait(1).back() == "4 b::1"; }));
    const std::size_t before = m_controller.Wait(1).size() - 1;
    EXPECT_LT(before, 200U);
    expected.insert(expected.begin() + static_cast<long>(before), "4 b::1");
    m_server = nullptr; // its last words are heard all the same
    m_controller.ResumeInput(2);
    EXPECT_EQ(m_controller.Wait(expected.size()), expected);
}

TEST_F(PpsConnectionTest, AllThatTheServerHadIsBackAtOnce) {
    PPSFileBase alone(kAlone, nullptr);
    EXPECT_TRUE(alone.Open());
    m_server = nullptr;
    m_server = std::make_unique<LocalServer>();
    EXPECT_EQ(m_controller.Wait(3), (Events{"returned 0", "returned 2", "returned 4"}));
    EXPECT_TRUE(alone.SetPPSIntAttr("@alone", "a", 1)) << "a file that nobody watches finds back itself";
}

} // namespace
