// Packets of a byte stream, recordings, and the lines that are printed of packets.
#include <gtest/gtest.h>

#include <fstream>
#include <sstream>

#include "tests/support/Cases.h"
#include "tests/support/Records.h"
#include "tests/support/TemporaryRoot.h"
#include "tools/mculink/PacketPrinter.h"
#include "tools/mculink/PacketStream.h"
#include "tools/mculink/Recording.h"

namespace {

using mculink::Bytes;
using mculink::Direction;
using mculink::LinkPacket;

std::string PacketOf(const Bytes& payload, std::int32_t number = 0) {
    return std::string(mculink::View(mculink::MakePacket(payload, number)));
}

/// What a stream makes of bytes that come in pieces of one size; after a silence, with @p isSilent.
std::vector<std::string> PacketsIn(const std::string& bytes, std::size_t piece, bool isSilent,
                                   std::size_t& passedOver) {
    mculink::PacketStream stream;
    std::vector<std::string> packets;
    const auto take = [&] {
        while (const auto packet = stream.Next()) {
            packets.push_back(*packet);
        }
    };
    for (std::size_t at = 0; at < bytes.size(); at += piece) {
        stream.Add(bytes.substr(at, piece));
        take();
    }
    while (isSilent && stream.IsWaiting()) {
        stream.GiveUpWaiting();
        take();
    }
    passedOver = stream.TakePassedOver();
    return packets;
}

TEST(PacketStream, FindsPacketsInPiecesOfEverySizeAndPassesOverNoise) {
    const std::string small = PacketOf({kAcknowledgement, 0}, 7);
    const std::string empty = PacketOf({});
    const std::string large = PacketOf(Bytes(mculink::kMaxPayload, kReport));
    std::string tooLarge = PacketOf({kReport, 2, 5, 9});
    tooLarge[2] = 1; // 65,540 bytes
    std::string huge = tooLarge;
    huge[3] = 0x7F;
    const std::string noise("\xFF\x00\xFE garbage \x01\x02\x03", 14);
    const struct {
        const char* what;
        std::string bytes;
        std::vector<std::string> packets;
        std::size_t passedOver;
        bool isSilent = false;
    } cases[] = {
        {"seven in one read",
         small + empty + small + large + small + small + small,
         {small, empty, small, large, small, small, small},
         0},
        {"noise before and between", noise + small + noise + large, {small, large}, 28},
        {"a header that claims 2 GB", huge + small, {small}, 32},
        {"a header that claims a little too much", tooLarge + small, {small}, 32},
        {"a payload that claims 2 GB less", std::string(3, '\xFF') + small, {small}, 3},
        {"half a packet, and then nothing", small + large.substr(0, 100), {small}, 100, true},
        {"half a packet before a whole one", large.substr(0, 28) + small, {small}, 28, true},
        {"less than a header", "abc", {}, 3, true},
    };
    for (const auto& [what, bytes, packets, count, isSilent] : cases) {
        for (const std::size_t piece : {1U, 2U, 3U, 7U, 27U, 28U, 29U, 30U, 64U, 4096U, 1000000U}) {
            SCOPED_TRACE(std::string(what) + ", in pieces of " + std::to_string(piece));
            std::size_t passedOver = 0;
            EXPECT_TRUE(PacketsIn(bytes, piece, isSilent, passedOver) == packets);
            EXPECT_EQ(passedOver, count);
        }
    }
}

/// The packets of a recording, and why it ends, which is empty where it is whole.
std::pair<std::vector<LinkPacket>, std::string> ReadRecording(const std::string& path) {
    std::vector<LinkPacket> packets;
    std::string error;
    mculink::RecordingReader reader;
    if (reader.Open(path, error)) {
        while (const auto packet = reader.Next(error)) {
            packets.push_back(*packet);
        }
    }
    return {packets, error};
}

class RecordingTest : public testing::Test {
protected:
    RecordingTest() {
        mculink::RecordingWriter writer;
        std::string error;
        EXPECT_TRUE(writer.Open(m_path, error)) << error;
        for (const LinkPacket& packet : m_packets) {
            EXPECT_TRUE(writer.Write(packet));
        }
        EXPECT_FALSE(writer.Open(m_root.Path() + "/none/link", error));
        EXPECT_EQ(error, "No such file or directory");
    }

    const TemporaryRoot m_root;
    const std::string m_path = m_root.Path() + "/link";
    const std::vector<LinkPacket> m_packets{
        {std::chrono::nanoseconds(1764072000123456789), Direction::ToMcu, PacketOf({kQueryCommand, 0})},
        {std::chrono::nanoseconds(1764072001000000001), Direction::FromMcu, "cut"},
        {std::chrono::nanoseconds(1764072002000000000), Direction::FromMcu, PacketOf(Bytes(mculink::kMaxPayload, 1))},
        {std::chrono::nanoseconds(1764072002000000000), Direction::ToMcu, ""}};
};

TEST_F(RecordingTest, ComesBackByteForByte) {
    const auto [all, error] = ReadRecording(m_path);
    EXPECT_EQ(error, "");
    ASSERT_EQ(all.size(), m_packets.size());
    for (std::size_t i = 0; i < all.size(); ++i) {
        EXPECT_EQ(all[i].time, m_packets[i].time);
        EXPECT_EQ(all[i].direction, m_packets[i].direction);
        EXPECT_EQ(all[i].block, m_packets[i].block);
    }
}

TEST_F(RecordingTest, HasTheFormatThatOthersReadAndIsRefusedWhereItHasNot) {
    std::ifstream file(m_path, std::ios::binary);
    const std::string whole{std::istreambuf_iterator<char>(file), {}};
    EXPECT_EQ(whole.substr(0, 4) + whole.substr(20, 4) + whole.substr(40, 3),
              std::string("\x4D\x3C\xB2\xA1\x93\0\0\0\0\x02\0", 11))
        << "magic number, link type, and the direction before the header";
    std::string otherType = whole;
    otherType[20] = 1;
    std::string noDirection = whole;
    noDirection[40] = 2;
    const std::string size("\x20\0\x01\0", 4);
    const std::string tooLarge = whole.substr(0, 32) + size + size + std::string(65568, '\0');
    const std::pair<std::string, std::string> bad[] = {{"", "truncated dump file"},
                                                       {"no recording at all, but a text", "unknown file format"},
                                                       {whole.substr(0, whole.size() - 10), "truncated dump file"},
                                                       {otherType, "a capture of link type 1, not of an MCU link"},
                                                       {noDirection, "record 1 has no direction"},
                                                       {tooLarge, "record 1 is too large for a packet"}};
    for (const auto& [content, reason] : bad) {
        m_root.WriteFile("/link", content);
        const std::string error = ReadRecording(m_path).second;
        EXPECT_NE(error.find(reason), std::string::npos) << error;
    }
}

TEST(PacketPrinter, PrintsWhatIsAskedFor) {
    const auto from = [](const Bytes& payload, std::int32_t number = 0) {
        static std::chrono::nanoseconds time(1764072000000000000);
        return LinkPacket{time += std::chrono::microseconds(1500), Direction::FromMcu, PacketOf(payload, number)};
    };
    std::vector<LinkPacket> packets{from(RecordOf("alc").Payload(kQueryAnswer)), from({kAcknowledgement, 0}, 7),
                                    from(RecordOf("alc alc=9").Payload()),
                                    from(RecordOf("volume-and-fade main=5 cut=6").Payload()), from({99, 1})};
    packets[1].direction = Direction::ToMcu;
    packets[4].block = "short";
    for (const std::vector<std::string>& row : Cases("link_lines.txt")) {
        SCOPED_TRACE(row.back());
        mculink::PrintOptions options;
        options.time = row[0].find("delta") != std::string::npos      ? mculink::TimeStyle::Delta
                       : row[0].find("relative") != std::string::npos ? mculink::TimeStyle::Relative
                                                                      : mculink::TimeStyle::Absolute;
        options.changes = row[0].find("changes") != std::string::npos;
        options.bytes = row[0].find("bytes") != std::string::npos;
        options.json = row[0].find("json") != std::string::npos;
        std::istringstream words(row[0]);
        for (std::string word; words >> word;) {
            if (word.substr(0, 5) == "only:") {
                options.only.push_back(word.substr(5));
            } else if (word.substr(0, 4) == "not:") {
                options.except.push_back(word.substr(4));
            }
        }
        mculink::PacketPrinter printer(options);
        std::string printed;
        for (const LinkPacket& packet : packets) {
            printed += printer.LineOf(packet).value_or("-") + "\n";
        }
        EXPECT_EQ(printed, row[1]);
    }
}

} // namespace
