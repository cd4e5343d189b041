#ifndef TLG_TESTS_SUPPORT_FAKEMCU_H
#define TLG_TESTS_SUPPORT_FAKEMCU_H

#include <gtest/gtest.h>
#include <poll.h>
#include <sys/socket.h>

#include "framework/SystemFiles.h"
#include "platform/host/Root.h"
#include "platform/host/UnixSocket.h"
#include "tests/support/PpsObjectClient.h"
#include "tools/mculink/Packet.h"

/// An MCU in the hands of the test: it does nothing by itself.
class FakeMcu {
public:
    using Bytes = mculink::Bytes;

    FakeMcu() { EXPECT_TRUE(m_listener.Open(host::BelowRoot(TLG::ZOCAR::g_eqMCU.path))); }

    /// Takes the service's connection.
    bool Accept() {
        pollfd state{m_listener.Fd(), POLLIN, 0};
        if (::poll(&state, 1, kTestTimeoutMs) <= 0) {
            return false;
        }
        m_connection = m_listener.Accept();
        return static_cast<bool>(m_connection);
    }

    /// The next packet of the service; an empty payload when none comes.
    mculink::Packet Receive(int timeoutMs = kTestTimeoutMs) const {
        mculink::Packet packet;
        const std::string block = ReceiveBlock(timeoutMs);
        mculink::ParsePacket(block, packet);
        return packet;
    }
    std::string ReceiveBlock(int timeoutMs = kTestTimeoutMs) const {
        pollfd state{m_connection.Get(), POLLIN, 0};
        std::string block;
        if (::poll(&state, 1, timeoutMs) > 0) {
            host::ReceivePacket(m_connection.Get(), block);
        }
        return block;
    }

    void SendBlock(const Bytes& block) const {
        EXPECT_EQ(::send(m_connection.Get(), block.data(), block.size(), MSG_NOSIGNAL),
                  static_cast<ssize_t>(block.size()));
    }
    void Send(const Bytes& payload, std::int32_t number = 0) const { SendBlock(mculink::MakePacket(payload, number)); }
    void Acknowledge(std::int32_t number, std::uint8_t status = 0) const { Send({136, status}, number); }

    void HangUp() { m_connection.Reset(); }

private:
    host::Listener m_listener;
    UniqueFd m_connection;
};

#endif
