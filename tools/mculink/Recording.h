// Recordings of the link: classic capture files with nanoseconds, whose records are a byte for the direction and then
// the packet from its header on.
#ifndef TLG_TOOLS_MCULINK_RECORDING_H
#define TLG_TOOLS_MCULINK_RECORDING_H

#include <pcap/pcap.h>

#include <cstdio>
#include <memory>
#include <optional>
#include <string>

#include "tools/mculink/LinkPacket.h"

namespace mculink {

struct CaptureDeleter {
    void operator()(pcap_t* capture) const { pcap_close(capture); }
    void operator()(pcap_dumper_t* dumper) const { pcap_dump_close(dumper); }
};
using Capture = std::unique_ptr<pcap_t, CaptureDeleter>;

class RecordingWriter {
public:
    /// Makes or replaces the file. False, with the reason in @p error, on failure.
    bool Open(const std::string& path, std::string& error);

    /// Adds a packet, which is in the file at once. False where it could not be written.
    bool Write(const LinkPacket& packet);

private:
    Capture m_capture;
    std::unique_ptr<pcap_dumper_t, CaptureDeleter> m_dumper;
};

class RecordingReader {
public:
    /// False, with the reason in @p error, where the file is no recording.
    bool Open(const std::string& path, std::string& error);

    /// The same for an open file, which is then the reader's.
    bool Open(std::FILE* file, std::string& error);

    /// The next packet; nothing at the end, and, with the reason in @p error, where the file is cut or damaged.
    std::optional<LinkPacket> Next(std::string& error);

private:
    Capture m_capture;
    long m_count = 0;
};

} // namespace mculink

#endif
