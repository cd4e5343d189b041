#include "benchmarks/chain/BareMcu.h"

#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <array>

#include "benchmarks/chain/Floor.h"
#include "platform/host/UnixSocket.h"
#include "tools/mcusim/Settings.h"

namespace chain {

namespace {

using mculink::Bytes;

class BareMcu {
public:
    explicit BareMcu(int service) : m_service(service) {}

    /// False when the service has ended.
    bool Serve() {
        std::array<char, 4096> block{};
        const ssize_t length = ::recv(m_service, block.data(), block.size(), 0);
        mculink::Packet packet;
        if (length <= 0 || !mculink::ParsePacket({block.data(), static_cast<std::size_t>(length)}, packet)) {
            return false;
        }
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

    void Report(long* begun) {
        mculink::Record record = m_settings.Get(ALC);
        record.With("alc", record.Get("alc") == 200 ? 201 : 200);
        m_settings.Set(record);
        const Bytes packet = mculink::MakePacket(record.Payload(), 0);
        *begun = Now();
        ::send(m_service, packet.data(), packet.size(), MSG_NOSIGNAL);
    }

private:
    void Send(const Bytes& payload, std::int32_t number) const {
        const Bytes packet = mculink::MakePacket(payload, number);
        ::send(m_service, packet.data(), packet.size(), MSG_NOSIGNAL);
    }

    int m_service;
    mcusim::Settings m_settings;
};

} // namespace

void RunBareMcu(const std::string& path, int readyFd, int orderFd, long* begun) {
    host::Listener listener;
    if (!listener.Open(path) || ::write(readyFd, "r", 1) != 1) {
        return;
    }
    pollfd newcomer{listener.Fd(), POLLIN, 0};
    ::poll(&newcomer, 1, -1);
    const UniqueFd service = listener.Accept();
    BareMcu mcu(service.Get());
    std::array<pollfd, 2> ready{{{service.Get(), POLLIN, 0}, {orderFd, POLLIN, 0}}};
    for (bool isServing = true; isServing;) {
        ::poll(ready.data(), ready.size(), -1);
        char order = 0;
        if ((ready[1].revents & POLLIN) != 0 && ::read(orderFd, &order, 1) == 1) {
            mcu.Report(begun);
        }
        isServing = ready[0].revents == 0 || mcu.Serve();
    }
}

} // namespace chain
