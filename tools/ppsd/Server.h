#ifndef TLG_TOOLS_PPSD_SERVER_H
#define TLG_TOOLS_PPSD_SERVER_H

#include <chrono>
#include <memory>
#include <string>
#include <string_view>
#include <unordered_map>

#include "platform/host/Epoll.h"
#include "platform/host/PpsProtocol.h"
#include "platform/host/UnixSocket.h"
#include "tools/ppsd/Backlog.h"
#include "tools/ppsd/ObjectTree.h"

/// One connection and, after its open request, its view of an object.
struct Client {
    explicit Client(UniqueFd fd) : connection(std::move(fd)) {}

    UniqueFd connection;
    Node* node = nullptr; ///< null before the open request
    bool reads = false;
    bool writes = false;
    bool delta = false;
    bool acknowledge = false;
    Backlog backlog;
    bool waitsForRoom = false; ///< whether the connection is watched for room to send
};

/// The publish/subscribe server: one epoll loop on the thread that calls Run.
class Server {
public:
    /// @param saveInterval how often the objects are saved; zero: at the end only
    explicit Server(std::chrono::seconds saveInterval = std::chrono::seconds(0)) : m_saveInterval(saveInterval) {}

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
    void AcceptAll();
    void Handle(std::uint64_t id, std::uint32_t events);
    bool Receive(Client& client, std::string_view packet);
    bool Request(Client& client, std::string_view request);
    host::PpsReply OpenObject(Client& client, std::string_view request);
    host::PpsReply DeleteObject(std::string_view path);
    void List(Client& client, std::string_view behind);
    void Write(Client& client, std::string_view text);
    /// Tells everybody but @p writer of a change.
    void Publish(const Node& node, const std::string& group, const Client* writer);
    bool Reply(Client& client, const host::PpsReply& reply) const;
    void Flush(Client& client);
    void WatchForRoom(Client& client, bool watch);
    void Drop(std::uint64_t id);
    bool Save() const;

    std::chrono::seconds m_saveInterval;
    host::Epoll m_epoll;
    host::Listener m_listener;
    ObjectTree m_tree;
    std::unordered_map<std::uint64_t, std::unique_ptr<Client>> m_clients; // by descriptor
    bool m_accepting = true;
    std::string m_receiveBuffer;
};

#endif
