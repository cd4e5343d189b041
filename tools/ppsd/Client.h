#ifndef TLG_TOOLS_PPSD_CLIENT_H
#define TLG_TOOLS_PPSD_CLIENT_H

#include <sys/types.h>

#include <string_view>

#include "tools/ppsd/AttributeFilter.h"
#include "tools/ppsd/Backlog.h"
#include "tools/ppsd/Permissions.h"

namespace ppsd {

struct Node;

/// Sends packets to a client. No operation blocks or throws.
class Channel {
public:
    enum class Sent { Yes, NoRoom, Broken };

    Channel() = default;
    Channel(const Channel&) = delete;
    Channel& operator=(const Channel&) = delete;
    virtual ~Channel() = default;

    virtual Sent Send(std::string_view packet) noexcept = 0;

    /// Sets whether the server calls Broker::Flush() when there is room to send.
    virtual void WatchForRoom(bool watch) noexcept = 0;
};

/// One connection and, after its open request, its use of an object. It is never moved or copied.
struct Client {
    /// @param way the channel to the client; outlives this
    Client(Identity who, Channel& way) : identity(std::move(who)), channel(way) {}
    Client(const Client&) = delete;
    Client& operator=(const Client&) = delete;
    ~Client() = default;

    Identity identity;
    Channel& channel;
    Node* node = nullptr; ///< null before the open request
    Access asked;         ///< what the open request asked for
    Access granted;       ///< the part of it that the object allows now
    mode_t mode = 0;      ///< of an object that this client makes
    bool notPersistent = false;
    bool delta = false;
    bool acknowledge = false;
    bool isKept = false;       ///< is notified when the object is deleted, though it does not read
    bool isFile = false;       ///< is sent what it asks for
    bool waitsForInput = true; ///< whether a file is to be notified of the next thing to read
    AttributeFilter filter;
    Backlog backlog;
    bool waitsForRoom = false; ///< whether the channel is watched for room to send
};

} // namespace ppsd

#endif
