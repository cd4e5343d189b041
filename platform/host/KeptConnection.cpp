#include "platform/host/KeptConnection.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/socket.h>

#include <cerrno>
#include <cstring>
#include <map>

#include "platform/host/PpsConnection.h"
#include "platform/host/Root.h"
#include "platform/posix/Mutex.h"

namespace host {

namespace {

constexpr std::size_t kMaxKept = 8;
constexpr std::chrono::milliseconds kPatience(300);

struct Kept {
    Mutex mutex;
    std::map<std::string, UniqueFd> connections TLG_GUARDED_BY(mutex); // by the whole path, with the root
    UniqueFd unanswered TLG_GUARDED_BY(mutex);                         // a request that the server has not answered yet
};

Kept& TheKept() {
    static Kept kept;
    return kept;
}

/// Whether the connection is open and nothing came over it. Then the object still exists.
bool IsUsable(const UniqueFd& connection) {
    char byte = 0;
    return connection && ::recv(connection.Get(), &byte, 1, MSG_PEEK | MSG_DONTWAIT) < 0 && errno == EAGAIN;
}

bool HasInput(const UniqueFd& connection) {
    pollfd state{connection.Get(), POLLIN, 0};
    return ::poll(&state, 1, 0) > 0;
}

UniqueFd Duplicate(const UniqueFd& connection, PpsReply& reply) {
    UniqueFd copy(::fcntl(connection.Get(), F_DUPFD_CLOEXEC, 0));
    if (!copy) {
        reply = {errno, std::strerror(errno)};
    }
    return copy;
}

} // namespace

UniqueFd OpenKept(const std::string& path, PpsReply& reply) {
    Kept& kept = TheKept();
    const MutexLock lock(kept.mutex);
    const std::string key = BelowRoot(path);
    const auto found = kept.connections.find(key);
    if (found != kept.connections.end()) {
        if (IsUsable(found->second)) {
            return Duplicate(found->second, reply);
        }
        kept.connections.erase(found);
    }
    if (kept.unanswered && !HasInput(kept.unanswered)) {
        reply = {EAGAIN, "the PPS server does not answer"};
        return {};
    }
    kept.unanswered.Reset();
    UniqueFd connection =
        RequestOfPpsServer(RenderOpen(target_flags::kWriteOnly, 0, path + "?kept"), reply, kPatience, kept.unanswered);
    if (!connection) {
        return {};
    }
    ::fcntl(connection.Get(), F_SETFL, O_NONBLOCK);
    if (kept.connections.size() >= kMaxKept) {
        kept.connections.clear();
    }
    return Duplicate(kept.connections[key] = std::move(connection), reply);
}

} // namespace host
