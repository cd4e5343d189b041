#include "tools/mculink/Replay.h"

#include <sys/socket.h>

#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <cstring>

#include "model/McuCommands.h"
#include "platform/host/PpsConnection.h"
#include "tools/common/Time.h"
#include "tools/mculink/McuListener.h"
#include "tools/mculink/PacketFields.h"

namespace mculink {

namespace {

/// The block, or what its header announces of it where there is more: the service's packets are padded.
std::string_view WithoutPadding(std::string_view block) {
    return block.substr(0, AnnouncedSize(block).value_or(block.size()));
}

std::string Summary(const std::string& block) {
    Packet packet;
    if (!ParsePacket(block, packet)) {
        return "a block of " + std::to_string(block.size()) + " bytes";
    }
    const PacketFields fields = FieldsOf(packet);
    return fields.command + (fields.record.empty() ? "" : " " + fields.record) + TextOf(fields);
}

/// Writes the packet's number into its header, all of which is there.
void SetNumber(std::string& block, std::int32_t number) {
    std::memcpy(block.data() + offsetof(TLG::ZOCAR::PacketHeader_s, PacketNo), &number, sizeof number);
}

/// A number and an offset to it, which wrap around: a recording may hold any.
std::int32_t Shifted(std::int32_t number, std::uint32_t offset) {
    return static_cast<std::int32_t>(static_cast<std::uint32_t>(number) + offset);
}

/// The fields that differ, as "name old>new"; empty where the difference is in none of them.
std::string ChangedFields(const PacketFields& recorded, const PacketFields& sent) {
    std::string text;
    if (recorded.command != sent.command || recorded.record != sent.record ||
        recorded.fields.size() != sent.fields.size()) {
        return text;
    }
    for (std::size_t i = 0; i < recorded.fields.size(); ++i) {
        const NamedField& before = recorded.fields[i];
        const NamedField& after = sent.fields[i];
        if (before.value != after.value || before.isMarked != after.isMarked) {
            text += " " + before.WholeName() + " " + std::to_string(before.value) + (before.isMarked ? "*" : "") + ">" +
                    std::to_string(after.value) + (after.isMarked ? "*" : "");
        }
    }
    return text;
}

} // namespace

Replay::Replay(std::vector<LinkPacket> recording, ReplayOptions options, std::function<void(const std::string&)> report)
    : m_recording(std::move(recording)), m_options(std::move(options)), m_report(std::move(report)) {}

bool Replay::Start(std::string& error) {
    return ListenAsMcu(m_listener, m_options.device, error);
}

int Replay::Run(int stopFd) {
    m_stopFd = stopFd;
    Outcome outcome = Connect();
    for (std::size_t i = 0; outcome == Outcome::Done && i < m_recording.size(); ++i) {
        outcome = Play(i);
    }
    if (outcome == Outcome::Done) {
        outcome = ExpectNoMore();
    }
    if (outcome == Outcome::Stopped) {
        m_report("stopped before the end of the recording");
        ++m_differences;
    }
    return m_differences;
}

Replay::Outcome Replay::WaitFor(int fd, std::chrono::milliseconds limit, short events) const {
    pollfd states[] = {{m_stopFd, POLLIN, 0}, {fd, events, 0}};
    const Clock::time_point end = Clock::now() + limit;
    for (;;) {
        const int left = MillisecondsUntil(end);
        const int count = ::poll(states, 2, left);
        if (count > 0 || left == 0) {
            return states[0].revents != 0 ? Outcome::Stopped : count > 0 ? Outcome::Done : Outcome::TimedOut;
        }
    }
}

/// Waits for the service as long as it takes.
Replay::Outcome Replay::Connect() {
    for (;;) {
        m_service = m_listener.Accept();
        if (m_service) {
            return Outcome::Done;
        }
        constexpr std::chrono::hours kLong(24);
        if (WaitFor(m_listener.Fd(), kLong) == Outcome::Stopped) {
            return Outcome::Stopped;
        }
    }
}

/// The next block from the service, which may end and connect again meanwhile.
Replay::Outcome Replay::Receive(std::chrono::milliseconds patience, std::string& block) {
    for (;;) {
        const Outcome outcome = WaitFor(m_service ? m_service.Get() : m_listener.Fd(), patience);
        if (outcome != Outcome::Done) {
            return outcome;
        }
        if (!m_service) {
            m_service = m_listener.Accept();
        } else if (host::ReceivePacket(m_service.Get(), block)) {
            return Outcome::Done;
        } else if (errno != EAGAIN && errno != ECONNRESET) {
            m_service.Reset();
        }
    }
}

Replay::Outcome Replay::Play(std::size_t index) {
    const LinkPacket& packet = m_recording[index];
    if (packet.direction == Direction::FromMcu) {
        return SendDue(packet);
    }
    m_lastTime = packet.time;
    HangUpBefore(packet);
    std::string sent;
    const Outcome outcome = Receive(m_options.patience, sent);
    if (outcome == Outcome::TimedOut) {
        Report(index, "the service did not send " + Summary(packet.block));
        return Outcome::Done;
    }
    if (outcome == Outcome::Done) {
        Compare(index, packet.block, sent);
    }
    return outcome;
}

/// The service asks for the settings where the link is new. So where it asked again, the link had ended before.
void Replay::HangUpBefore(const LinkPacket& packet) {
    Packet parsed;
    const bool isQuery = ParsePacket(packet.block, parsed) && parsed.header.Cmd == kQueryCommand;
    if (isQuery && m_hasCommands) {
        m_service.Reset();
        m_numberOffset.reset();
    }
    m_hasCommands = !isQuery;
}

/// Sends a packet of the MCU as long after the packet before it as it was in the recording.
Replay::Outcome Replay::SendDue(const LinkPacket& packet) {
    const auto pause = std::chrono::duration_cast<std::chrono::milliseconds>(packet.time - m_lastTime);
    const bool isFirst = m_lastTime.count() == 0;
    m_lastTime = packet.time;
    if (!m_options.isFast && !isFirst && pause.count() > 0 && WaitFor(-1, pause) == Outcome::Stopped) {
        return Outcome::Stopped;
    }
    std::string block = packet.block;
    Packet parsed;
    if (ParsePacket(block, parsed) && parsed.header.PacketNo != 0) {
        SetNumber(block, Shifted(parsed.header.PacketNo, m_numberOffset.value_or(0)));
    }
    while (::send(m_service.Get(), block.data(), block.size(), MSG_NOSIGNAL) < 0 && errno == EAGAIN) {
        const Outcome outcome = WaitFor(m_service.Get(), m_options.patience, POLLOUT);
        if (outcome != Outcome::Done) {
            return outcome;
        }
    }
    return Outcome::Done;
}

void Replay::Compare(std::size_t index, const std::string& recorded, const std::string& sent) {
    Packet before;
    Packet after;
    if (!ParsePacket(recorded, before) || !ParsePacket(sent, after)) {
        if (recorded != sent) {
            Report(index, Summary(recorded) + " was recorded, " + Summary(sent) + " was sent");
        }
        return;
    }
    CheckNumber(index, before.header.PacketNo, after.header.PacketNo);
    std::string expected(WithoutPadding(recorded));
    SetNumber(expected, after.header.PacketNo);
    const std::string_view got = WithoutPadding(sent);
    if (expected == got) {
        return;
    }
    const std::string changed = ChangedFields(FieldsOf(before), FieldsOf(after));
    const auto common = std::min(expected.size(), got.size());
    const auto at = static_cast<std::size_t>(
        std::mismatch(got.begin(), got.begin() + static_cast<std::ptrdiff_t>(common), expected.begin()).first -
        got.begin());
    Report(index, changed.empty() ? Summary(recorded) + " was recorded, " + Summary(sent) +
                                        " was sent; they differ from byte " + std::to_string(at) + " on"
                                  : Summary(recorded) + ": sent with" + changed);
}

void Replay::CheckNumber(std::size_t index, std::int32_t recorded, std::int32_t sent) {
    if (recorded == 0 && sent == 0) {
        return;
    }
    const auto offset = static_cast<std::uint32_t>(sent) - static_cast<std::uint32_t>(recorded);
    if (m_numberOffset && offset != *m_numberOffset) {
        Report(index, "number " + std::to_string(sent) + " where " +
                          std::to_string(Shifted(recorded, *m_numberOffset)) + " was due");
    }
    m_numberOffset = offset;
}

/// Reports what comes after the end of the recording.
Replay::Outcome Replay::ExpectNoMore() {
    std::string block;
    Outcome outcome = Outcome::Done;
    while ((outcome = Receive(m_options.quiet, block)) == Outcome::Done) {
        Report(m_recording.size(), "the service sent " + Summary(block));
    }
    return outcome;
}

void Replay::Report(std::size_t index, const std::string& text) {
    ++m_differences;
    m_report((index < m_recording.size() ? "packet " + std::to_string(index + 1) : "after the last packet") + ": " +
             text);
}

} // namespace mculink
