#include "benchmarks/chain/BareMcu.h"

#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <array>

#include "benchmarks/common/Clock.h"
#include "platform/host/UnixSocket.h"
#include "tools/mcusim/Settings.h"

namespace chain {

namespace {

using mculink::Bytes;

class BareMcu {
public:
    BareMcu(int service, McuTrace& trace) : m_service(service), m_trace(trace) {}

    /// False when the service has ended.
    bool Serve() {
        std::array<char, 4096> block{};
        const ssize_t length = ::recv(m_service, block.data(), block.size(), 0);
        mculink::Packet packet;
        if (length <= 0 || !mculink::ParsePacket({block.data(), static_cast<std::size_t>(length)}, packet)) {
            return false;
        }
        m_trace.received = static_cast<std::size_t>(length);
        const std::int32_t number = packet.header.PacketNo;
        switch (packet.header.Cmd) {
        case kControlCommand:
            m_settings.Apply(packet.payload);
            Send({kAcknowledgement, 0}, number);
            break;
        case kQueryCommand:
            Send(m_settings.Answer(packet.payload.at(1)), 0);
            break;
        case kKeyCommand:
            Send(m_settings.PressKey(packet.payload), 0);
            break;
        case kAudioMixCommand:
            Send(mcusim::Settings::Mix(packet.payload), number);
            break;
        default:
            break;
        }
        return true;
    }

    void Report() {
        mculink::Record record = m_settings.Get(ALC);
        record.With("alc", record.Get("alc") == 200 ? 201 : 200);
        m_settings.Set(record);
        m_trace.begun = bench::Now();
        Send(record.Payload(), 0);
    }

private:
    void Send(const Bytes& payload, std::int32_t number) {
        const Bytes packet = mculink::MakePacket(payload, number);
        m_trace.sent = packet.size();
        ::send(m_service, packet.data(), packet.size(), MSG_NOSIGNAL);
    }

    int m_service;
    McuTrace& m_trace;
    mcusim::Settings m_settings;
};

} // namespace

void RunBareMcu(const std::string& path, int readyFd, int orderFd, McuTrace& trace) {
    host::Listener listener;
    if (!listener.Open(path) || ::write(readyFd, "r", 1) != 1) {
        return;
    }
    pollfd newcomer{listener.Fd(), POLLIN, 0};
    ::poll(&newcomer, 1, -1);
    const UniqueFd service = listener.Accept();
    BareMcu mcu(service.Get(), trace);
    std::array<pollfd, 2> ready{{{service.Get(), POLLIN, 0}, {orderFd, POLLIN, 0}}};
    for (bool isServing = true; isServing;) {
        ::poll(ready.data(), ready.size(), -1);
        char order = 0;
        if ((ready[1].revents & POLLIN) != 0 && ::read(orderFd, &order, 1) == 1) {
            mcu.Report();
        }
        isServing = ready[0].revents == 0 || mcu.Serve();
    }
}

} // namespace chain
