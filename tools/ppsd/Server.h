#ifndef TLG_TOOLS_PPSD_SERVER_H
#define TLG_TOOLS_PPSD_SERVER_H

#include <array>
#include <chrono>
#include <memory>
#include <string>
#include <unordered_map>

#include "platform/host/UnixSocket.h"
#include "platform/posix/Epoll.h"
#include "tools/ppsd/Broker.h"
#include "tools/ppsd/Connection.h"
#include "tools/ppsd/Inbox.h"

namespace ppsd {

/// How a server is to work.
struct ServerOptions {
    std::chrono::seconds saveInterval{0}; ///< how often the objects are saved; zero: at the end only
    mode_t umask = 0;                     ///< the permissions that new objects don't get
};

/// The publish/subscribe server: one epoll loop on the thread that calls Run.
class Server {
public:
    explicit Server(const ServerOptions& options = {});

    /// Loads the saved objects and listens below the root. False, with the reason in @p error,
    /// on failure.
    bool Start(std::string& error);

    /// Serves until @p stopFd is readable, then saves. False when saving failed.
    bool Run(int stopFd);

private:
    struct TurnResult {
        bool stop = false;   ///< the stop descriptor is readable
        bool served = false; ///< a client had something
    };
    TurnResult Turn(int timeoutMs);
    int TimeoutMs(std::chrono::steady_clock::duration untilSave) const;
    void AcceptNewcomers();
    void Accept(UniqueFd socket);
    void NoteRoom(bool isFull, int reason);
    void Handle(std::uint64_t id, std::uint32_t events);
    bool Receive(Connection& connection, bool hungUp);
    bool HandleInbox(Connection& connection, bool& hungUp);
    void Drop(std::uint64_t id);
    bool Load(std::string& error);
    bool Save();
    void ReserveDescriptors();

    ServerOptions m_options;
    Epoll m_epoll;
    host::Listener m_listener;
    Broker m_broker;
    std::unordered_map<std::uint64_t, std::unique_ptr<Connection>> m_connections; // by their number
    bool m_accepting = true;
    Inbox m_inbox;
    std::string m_saveBuffer;
    std::array<UniqueFd, 2> m_spares; // closed while saving, which opens the file and its directory
};

} // namespace ppsd

#endif
