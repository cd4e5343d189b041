#include <gtest/gtest.h>

#include <cstring>
#include <limits>

#include "mcu/CEQMcuFile.h"
#include "tests/support/CapturedLog.h"
#include "tests/support/FakeMcu.h"
#include "tests/support/TemporaryRoot.h"

/// Sets the packet counter, which would take years to reach its end.
struct CEQMcuFileTestAccess {
    static void SetCounter(CEQMcuFile& link, std::int32_t number) {
        link.Lock();
        link.m_packetNumber = number;
        link.UnLock();
    }
    static std::size_t PendingCount(CEQMcuFile& link) {
        link.Lock();
        const std::size_t count = link.m_pending.size();
        link.UnLock();
        return count;
    }
};

namespace {

using Bytes = std::vector<unsigned char>;

class McuLinkTest : public testing::Test {
protected:
    McuLinkTest() {
        m_link.AttachData(&m_data);
        EXPECT_TRUE(m_link.Open());
        EXPECT_TRUE(m_mcu.Accept());
        TakeLog();
    }

    bool Process(const Bytes& payload, std::int32_t number = 0) {
        Bytes packet = mculink::MakePacket(payload, number);
        return m_link.ProcessDataPacket(packet.data(), static_cast<int>(packet.size()));
    }
    std::size_t Pending() { return CEQMcuFileTestAccess::PendingCount(m_link); }

    TemporaryRoot m_root;
    FakeMcu m_mcu;
    CEQData m_data;
    CEQMcuFile m_link{nullptr};
};

TEST_F(McuLinkTest, FramesEveryCommand) {
    const auto receives = [this](const Bytes& payload, const std::vector<int>& fields) {
        const mculink::Packet packet = m_mcu.Receive();
        const auto& h = packet.header;
        EXPECT_EQ(Bytes(packet.payload), payload);
        EXPECT_EQ((std::vector<int>{h.PacketSize, h.Cmd, h.Reply, h.Report, h.Fixed[0], h.Fixed[1], h.PacketNo}),
                  fields);
    };
    m_link.SendCtrCmd(8, {3, 5, 7});
    receives({8, 2, 3, 5, 7}, {5, 8, 136, 0, 200, 3, 1});
    EXPECT_TRUE(m_link.SendKeyCmd({160, 1, 4}));
    receives({12, 160, 1, 4}, {4, 12, 140, 138, 200, 3, 0});
    EXPECT_TRUE(m_link.QueryEQSettingInfo(7));
    receives({9, 7}, {2, 9, 137, 0, 200, 3, 0});
    m_link.SendCtrCmd(9, {1});
    m_link.SendCtrCmd(50, {1});
    receives({50, 1}, {2, 50, 178, 0, 200, 3, 2});
    EXPECT_EQ(Pending(), 2U) << "nothing was kept of the unknown command";
}

TEST_F(McuLinkTest, RefusesWhatIsEmptyOrDoesNotFit) {
    m_link.SendCtrCmd(8, {});
    EXPECT_FALSE(m_link.SendKeyCmd({}));
    m_link.SendCtrCmd(8, Bytes(251, 1));
    m_link.SendCtrCmd(50, Bytes(252, 1));
    EXPECT_FALSE(m_link.SendKeyCmd(Bytes(252, 1)));
    EXPECT_EQ(TakeErrors(), "_Melvane_[SendCtrCmd]-cmdVector is empty\n"
                            "_Melvane_[SendKeyCmd]-cmdVector is empty\n"
                            "_Melvane_[FitsFrame]-a command of 251 bytes doesn't fit the packet, at most 250\n"
                            "_Melvane_[FitsFrame]-a command of 252 bytes doesn't fit the packet, at most 251\n"
                            "_Melvane_[FitsFrame]-a command of 252 bytes doesn't fit the packet, at most 251");
    EXPECT_EQ(Pending(), 0U);
    EXPECT_TRUE(m_link.SendKeyCmd(Bytes(251, 1)));
    m_link.SendCtrCmd(8, Bytes(250, 1));
    EXPECT_EQ(m_mcu.Receive().header.Cmd, 12) << "the refused ones were not sent";
    EXPECT_EQ(m_mcu.Receive().payload.size(), 252U);
}

TEST_F(McuLinkTest, AnAcknowledgementAppliesTheRememberedRecordOnce) {
    m_link.SendCtrCmd(8, {5, 77});
    for (const Bytes& refusal : {Bytes{136, 1}, Bytes{136, 2}, Bytes{136}}) {
        EXPECT_FALSE(Process(refusal, 1));
        EXPECT_EQ(TakeErrors(), "_Melvane_[ProcessDataPacket]-Function return error. nCmd[136], nPacketSize[" +
                                    std::to_string(refusal.size()) + "], nHeaderSize[28], nSize[" +
                                    std::to_string(28 + refusal.size()) + "].");
    }
    EXPECT_EQ(Pending(), 1U);
    EXPECT_EQ(m_data.GetALCData(), 255);
    EXPECT_TRUE(Process({136, 0, 5, 99}, 1));
    EXPECT_EQ(m_data.GetALCData(), 77);
    EXPECT_EQ(Pending(), 0U);
    EXPECT_FALSE(Process({136, 0}, 1));
    EXPECT_EQ(TakeErrors(), "_Melvane_[ProcessDataPacket]-Can't find the packet no:1");
}

TEST_F(McuLinkTest, RejectsBrokenBlocks) {
    Bytes block = mculink::MakePacket({138, 2, 5, 9}, 0);
    const auto process = [&](int size, int packetSize) {
        Bytes copy(block.begin(), block.begin() + size);
        std::memcpy(copy.data(), &packetSize, std::min<std::size_t>(sizeof packetSize, copy.size()));
        return m_link.ProcessDataPacket(copy.data(), size);
    };
    const std::pair<int, int> sizes[] = {{1, 1}, {28, 0}, {32, 5}, {32, -1}, {29, 1}};
    for (const auto& [size, packetSize] : sizes) {
        EXPECT_FALSE(process(size, packetSize)) << size;
    }
    EXPECT_EQ(m_data.GetALCData(), 255);
    EXPECT_TRUE(process(32, 4));
    const std::string errors = TakeErrors();
    EXPECT_EQ(errors.find("_Melvane_[ProcessDataPacket]-Param error! function return. nSize[1], nHeaderSize[28].\n"
                          "_Melvane_[ProcessDataPacket]-Param error! function return. nSize[28], nHeaderSize[28].\n"
                          "_Melvane_[ProcessDataPacket]-Wrong packet size! function return. nPacketSize[5], "
                          "nHeaderSize[28], nSize[32].\n"),
              0U)
        << errors;
    EXPECT_FALSE(Process({140, 0}));
    EXPECT_EQ(TakeErrors(), "_Melvane_[ProcessDataPacket]-Function return error. nCmd[140], nPacketSize[2], "
                            "nHeaderSize[28], nSize[30].");
}

TEST_F(McuLinkTest, AudioMixReports) {
    EXPECT_TRUE(Process({178, 1}));
    EXPECT_EQ(m_data.GetAudioMixData(), 1);
    EXPECT_TRUE(Process({178, 2}));
    EXPECT_EQ(m_data.GetAudioMixData(), 1);
    EXPECT_FALSE(Process({178, 0, 0}));
    EXPECT_EQ(TakeErrors(),
              "_Melvane_[ProcessDataPacket]-Param error! function return. audioMixStatus[2].\n"
              "_Melvane_[ProcessDataPacket]-Wrong packet size! function return. nCmd[178], nPacketSize[3].");
}

TEST_F(McuLinkTest, NumbersStartAgainAndPassOverPendingOnes) {
    m_link.SendCtrCmd(8, {5, 1});
    m_link.SendCtrCmd(8, {5, 2});
    EXPECT_TRUE(Process({136, 0}, 1));
    CEQMcuFileTestAccess::SetCounter(m_link, std::numeric_limits<std::int32_t>::max() - 1);
    for (const int number : {1, 2, std::numeric_limits<std::int32_t>::max(), 1, 3}) {
        if (number > 2 || Pending() >= 2) {
            m_link.SendCtrCmd(8, {5, 3});
        }
        EXPECT_EQ(m_mcu.Receive().header.PacketNo, number);
    }
}

TEST_F(McuLinkTest, TheOldestOfTooManyPendingPacketsIsDropped) {
    m_mcu.HangUp();
    for (std::size_t i = 0; i < CEQMcuFile::kMaxPending; ++i) {
        m_link.SendCtrCmd(8, {5, 1});
    }
    EXPECT_EQ(TakeErrors(),
              std::string("_Melvane_[CountLost]-writes to ") + TLG::ZOCAR::g_eqMCU.path + " fail: Broken pipe");
    m_link.SendCtrCmd(8, {5, 1});
    EXPECT_EQ(TakeErrors(), "_Melvane_[KeepPending]-16384 packets unacknowledged, packet no:1 is given up");
    EXPECT_EQ(Pending(), CEQMcuFile::kMaxPending);
    EXPECT_TRUE(Process({136, 0}, 2));
    EXPECT_FALSE(m_link.QueryEQSettingInfo(0));
    EXPECT_EQ(TakeErrors(), "_Melvane_[QueryEQSettingInfo]-CEQMcuFile, SendToSpiDev return false");
}

} // namespace
