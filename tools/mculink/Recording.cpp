#include "tools/mculink/Recording.h"

#include <array>
#include <cerrno>
#include <cstring>

#include "framework/McuPacket.h"

namespace mculink {

namespace {

constexpr int kLinkType = 147; // for private use
constexpr int kLongestRecord = 1 + TLG::ZOCAR::kMcuHeaderSize + static_cast<int>(kMaxPayload);
constexpr long kNanoseconds = 1000000000;

} // namespace

bool RecordingWriter::Open(const std::string& path, std::string& error) {
    m_capture.reset(pcap_open_dead_with_tstamp_precision(kLinkType, kLongestRecord, PCAP_TSTAMP_PRECISION_NANO));
    // Not by its name, which the library takes for standard output where it is "-".
    std::FILE* const file = std::fopen(path.c_str(), "wbe");
    if (file == nullptr) {
        error = std::strerror(errno);
        return false;
    }
    m_dumper.reset(pcap_dump_fopen(m_capture.get(), file));
    if (!m_dumper || pcap_dump_flush(m_dumper.get()) != 0) {
        error = m_dumper ? std::strerror(errno) : pcap_geterr(m_capture.get());
        return false;
    }
    return true;
}

bool RecordingWriter::Write(const LinkPacket& packet) {
    const std::string record = std::string(1, static_cast<char>(packet.direction)) + packet.block;
    pcap_pkthdr header{};
    header.ts.tv_sec = static_cast<time_t>(packet.time.count() / kNanoseconds);
    header.ts.tv_usec =
        static_cast<suseconds_t>(packet.time.count() % kNanoseconds); // nanoseconds, as the precision is
    header.caplen = header.len = static_cast<bpf_u_int32>(record.size());
    pcap_dump(reinterpret_cast<u_char*>(m_dumper.get()), &header, reinterpret_cast<const u_char*>(record.data()));
    return pcap_dump_flush(m_dumper.get()) == 0;
}

bool RecordingReader::Open(const std::string& path, std::string& error) {
    std::FILE* const file = std::fopen(path.c_str(), "rbe");
    if (file == nullptr) {
        error = std::strerror(errno);
        return false;
    }
    return Open(file, error);
}

bool RecordingReader::Open(std::FILE* file, std::string& error) {
    std::array<char, PCAP_ERRBUF_SIZE> reason{};
    m_capture.reset(pcap_fopen_offline_with_tstamp_precision(file, PCAP_TSTAMP_PRECISION_NANO, reason.data()));
    if (!m_capture) {
        std::fclose(file);
        error = reason.data();
        return false;
    }
    if (pcap_datalink(m_capture.get()) != kLinkType) {
        error = "a capture of link type " + std::to_string(pcap_datalink(m_capture.get())) + ", not of an MCU link";
        return false;
    }
    return true;
}

std::optional<LinkPacket> RecordingReader::Next(std::string& error) {
    pcap_pkthdr* header = nullptr;
    const u_char* record = nullptr;
    const int result = pcap_next_ex(m_capture.get(), &header, &record);
    if (result != 1) {
        error = result == PCAP_ERROR_BREAK ? "" : pcap_geterr(m_capture.get());
        return std::nullopt;
    }
    ++m_count;
    if (header->caplen == 0 || record[0] > 1 || header->len > kLongestRecord) {
        error = "record " + std::to_string(m_count) +
                (header->caplen == 0 ? " is empty"
                 : record[0] > 1     ? " has no direction"
                                     : " is too large for a packet");
        return std::nullopt;
    }
    LinkPacket packet;
    packet.time = std::chrono::seconds(header->ts.tv_sec) + std::chrono::nanoseconds(header->ts.tv_usec);
    packet.direction = static_cast<Direction>(record[0]);
    packet.block.assign(reinterpret_cast<const char*>(record) + 1, header->caplen - 1);
    return packet;
}

} // namespace mculink
