#ifndef TLG_TOOLS_PPSD_CONNECTION_H
#define TLG_TOOLS_PPSD_CONNECTION_H

#include <cstdint>

#include "platform/posix/Epoll.h"
#include "platform/posix/UniqueFd.h"
#include "tools/ppsd/Client.h"

namespace ppsd {

/// A client and its socket, whose descriptor is its number in the epoll set.
class Connection : public Channel {
public:
    /// @param epoll watches the socket; outlives the connection
    Connection(UniqueFd socket, Identity who, const Epoll& epoll)
        : m_socket(std::move(socket)), m_epoll(epoll), m_client(std::move(who), *this) {}

    int Fd() const { return m_socket.Get(); }
    std::uint64_t Id() const { return static_cast<std::uint64_t>(Fd()); }
    ppsd::Client& Client() { return m_client; }

    Sent Send(std::string_view packet) noexcept override;
    void WatchForRoom(bool watch) noexcept override;

    /// Whether the other side has ended; what it wrote before may still be there.
    bool HasHungUp() const noexcept;

private:
    UniqueFd m_socket;
    const Epoll& m_epoll;
    ppsd::Client m_client;
};

} // namespace ppsd

#endif
