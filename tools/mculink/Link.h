// The link between the service and an MCU, as a relay sees it.
//
// The MCU device below the root is there only while the MCU can be reached, and when the MCU is lost, the service's
// connection ends. So the service finds out about the MCU what it would without the relay, and asks for the settings
// when it is back. The service may come and go while the connection to the MCU stays.
//
// Neither side is read while the other takes nothing, so that whoever writes too much has to wait.
#ifndef TLG_TOOLS_MCULINK_LINK_H
#define TLG_TOOLS_MCULINK_LINK_H

#include <chrono>
#include <deque>
#include <functional>
#include <optional>
#include <string>

#include "platform/host/UnixSocket.h"
#include "platform/posix/Epoll.h"
#include "tools/mculink/LinkPacket.h"
#include "tools/mculink/McuPort.h"
#include "tools/mculink/PacketStream.h"

namespace mculink {

struct LinkOptions {
    std::string device;      ///< where the service finds the MCU: a socket that is made
    std::string to;          ///< where the MCU is: a socket or a character device
    std::optional<int> baud; ///< of a serial line
};

/// Passes packets on in both directions: one epoll loop on the thread that calls Run.
class Link {
public:
    /// @param observe is called for each packet, before it is passed on
    /// @param ready   is called once, when the service can connect
    /// @param notice  is called with a line that says what happened
    Link(LinkOptions options, std::function<void(const LinkPacket&)> observe, std::function<void()> ready,
         std::function<void(const std::string&)> notice);

    /// Relays until @p stopFd is readable. False, with the reason in @p error, where it can't be done at all.
    bool Run(int stopFd, std::string& error);

private:
    using Clock = std::chrono::steady_clock;

    /// One end of the link.
    struct Side {
        UniqueFd fd;
        bool isStream = false;
        std::deque<std::string> outbox; // what waits for room
        std::size_t written = 0;        // of the first of them, on a stream

        bool IsFull() const { return outbox.size() >= kMaxWaiting; }
    };

    static constexpr std::size_t kMaxWaiting = 64; // packets

    bool ReachMcu(std::string& error);
    void ScheduleReach(const std::string& reason);
    void LoseMcu(const std::string& reason);
    void AcceptService();
    void LoseService();
    void OnEvent(std::uint64_t id, std::uint32_t events);
    void ReadService(bool isEnding);
    void ReadMcu(bool isEnding);
    void ReadMcuStream(bool isEnding);
    void TakeFromStream();
    void TellPassedOver();
    void OnSilence();
    void GiveUpWaiting();
    void PassOn(Direction direction, std::string block);
    static void Flush(Side& side);
    void Watch() const;
    int TimeoutMs() const;

    LinkOptions m_options;
    std::function<void(const LinkPacket&)> m_observe;
    std::function<void()> m_ready; // empty after it was called
    std::function<void(const std::string&)> m_notice;
    Epoll m_epoll;
    std::optional<host::Listener> m_listener; // while the MCU is there
    Side m_service;
    Side m_mcu;
    PacketStream m_stream; // what comes from the MCU, where that is a stream
    std::optional<Clock::time_point> m_nextReach;
    std::chrono::milliseconds m_reachDelay{0};
    std::string m_reachReason; // said already
    std::optional<Clock::time_point> m_silenceEnd;
};

} // namespace mculink

#endif
