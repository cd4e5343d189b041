#ifndef TLG_TOOLS_PPSD_CLIENT_H
#define TLG_TOOLS_PPSD_CLIENT_H

#include <sys/types.h>

#include <string_view>

#include "tools/ppsd/Backlog.h"
#include "tools/ppsd/Permissions.h"

namespace ppsd {

struct Node;

/// The way to a client. Nothing of it blocks or throws.
class Channel {
public:
    enum class Sent { Yes, NoRoom, Broken };

    Channel() = default;
    Channel(const Channel&) = delete;
    Channel& operator=(const Channel&) = delete;
    virtual ~Channel() = default;

    virtual Sent Send(std::string_view packet) noexcept = 0;

    /// From now on the broker is, or is no more, to be told when there is room to send.
    virtual void WatchForRoom(bool watch) noexcept = 0;
};

/// One connection and, after its open request, its view of an object. It stays where it is as long as it lives.
struct Client {
    /// @param way how packets reach it; outlives the client
    Client(Identity who, Channel& way) : identity(std::move(who)), channel(way) {}
    Client(const Client&) = delete;
    Client& operator=(const Client&) = delete;
    ~Client() = default;

    Identity identity;
    Channel& channel;
    Node* node = nullptr; ///< null before the open request
    Access asked;         ///< what the open request asked for
    Access granted;       ///< what of it the object allows as it is now
    mode_t mode = 0;      ///< of an object that this client makes
    bool notPersistent = false;
    bool delta = false;
    bool acknowledge = false;
    bool isKept = false; ///< to be told of the object's deletion, though it does not read
    Backlog backlog;
    bool waitsForRoom = false; ///< whether the channel is watched for room to send
};

} // namespace ppsd

#endif
