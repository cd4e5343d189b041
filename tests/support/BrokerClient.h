#ifndef TLG_TESTS_SUPPORT_BROKERCLIENT_H
#define TLG_TESTS_SUPPORT_BROKERCLIENT_H

#include <limits>
#include <new>
#include <string>
#include <vector>

#include "tests/support/FailingMemory.h"
#include "tools/ppsd/Broker.h"

/// A client of a broker, without a socket. Where the broker ends the connection, the client leaves.
class BrokerClient : public ppsd::Channel {
public:
    /// @param groups the first one is its own, which is otherwise named like the user
    BrokerClient(ppsd::Broker& broker, uid_t user, const std::vector<gid_t>& groups = {})
        : m_broker(broker),
          m_client({user, groups.empty() ? user : groups[0], groups}, *this),
          m_isIn(broker.Admit(m_client)) {}
    BrokerClient(const BrokerClient&) = delete;
    BrokerClient& operator=(const BrokerClient&) = delete;
    ~BrokerClient() override { Leave(); }

    /// Whether it was admitted and has not left.
    bool IsIn() const { return m_isIn; }
    const ppsd::Client& Client() const { return m_client; }

    void Write(std::string_view packet) {
        if (!m_isIn) {
            return;
        }
        try {
            if (m_broker.Receive(m_client, packet)) {
                return;
            }
        } catch (const std::bad_alloc&) {
            const EnoughMemory enough;
            received.emplace_back("no memory");
        }
        Leave();
    }

    /// Writes and returns the packet that comes for it; "" where none does.
    std::string Ask(std::string_view packet) {
        const std::size_t before = received.size();
        Write(packet);
        return received.size() > before ? received[before] : "";
    }

    void Leave() {
        if (m_isIn) {
            m_isIn = false;
            m_broker.Remove(m_client);
        }
    }

    /// Has room for this number of bytes more from now on.
    void MakeRoom(std::size_t bytes) {
        room = bytes;
        if (m_isIn && m_watched) {
            m_broker.Flush(m_client);
        }
    }

    Sent Send(std::string_view packet) noexcept override {
        if (packet.size() > room) {
            return Sent::NoRoom;
        }
        room -= packet.size();
        const EnoughMemory enough; // The client's memory is not the server's.
        received.emplace_back(packet);
        return Sent::Yes;
    }
    void WatchForRoom(bool watch) noexcept override { m_watched = watch; }

    std::vector<std::string> received;
    std::size_t room = std::numeric_limits<std::size_t>::max();

private:
    ppsd::Broker& m_broker;
    ppsd::Client m_client;
    bool m_isIn;
    bool m_watched = false;
};

#endif
