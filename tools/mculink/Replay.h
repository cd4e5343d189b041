#ifndef TLG_TOOLS_MCULINK_REPLAY_H
#define TLG_TOOLS_MCULINK_REPLAY_H

#include <poll.h>

#include <chrono>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "platform/host/UnixSocket.h"
#include "tools/mculink/LinkPacket.h"

namespace mculink {

struct ReplayOptions {
    std::string device;                        ///< where the service finds the MCU: a socket that is made
    bool isFast = false;                       ///< without the pauses of the recording
    std::chrono::milliseconds patience{10000}; ///< how long the service may take for a packet that is due
    std::chrono::milliseconds quiet{300};      ///< how long nothing more may come in the end
};

/// Is the MCU of a recording: sends what the MCU sent, each packet after the service has sent what it had sent by then.
///
/// The service numbers its packets from 1 on, and a recording need not begin with its start. So what counts is that
/// they are numbered one after the other, and acknowledgements carry the number that the service gave. Where the
/// service of the recording asked for the settings again, the link is ended before.
class Replay {
public:
    /// @param report is called with a line for each difference
    Replay(std::vector<LinkPacket> recording, ReplayOptions options, std::function<void(const std::string&)> report);

    /// Listens at the device. False, with the reason in @p error, on failure.
    bool Start(std::string& error);

    /// Plays it all, or until @p stopFd is readable. The number of differences.
    int Run(int stopFd);

private:
    using Clock = std::chrono::steady_clock;
    enum class Outcome { Done, TimedOut, Stopped };

    Outcome WaitFor(int fd, std::chrono::milliseconds limit, short events = POLLIN) const;
    Outcome Connect();
    Outcome Receive(std::chrono::milliseconds patience, std::string& block);
    Outcome Play(std::size_t index);
    void HangUpBefore(const LinkPacket& packet);
    Outcome SendDue(const LinkPacket& packet);
    void Compare(std::size_t index, const std::string& recorded, const std::string& sent);
    void CheckNumber(std::size_t index, std::int32_t recorded, std::int32_t sent);
    Outcome ExpectNoMore();
    void Report(std::size_t index, const std::string& text);

    std::vector<LinkPacket> m_recording;
    ReplayOptions m_options;
    std::function<void(const std::string&)> m_report;
    host::Listener m_listener;
    UniqueFd m_service;
    int m_stopFd = -1;
    int m_differences = 0;
    std::optional<std::uint32_t> m_numberOffset; // of the service's numbers from those of the recording
    std::chrono::nanoseconds m_lastTime{0};      // of the recording
    bool m_hasCommands = false;                  // since the link was new, in the recording
};

} // namespace mculink

#endif
