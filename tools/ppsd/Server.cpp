#include "tools/ppsd/Server.h"

#include <poll.h>
#include <sys/socket.h>

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>

#include "platform/host/Root.h"

namespace {

constexpr std::string_view kSavedObjects = "/var/pps/objects";
constexpr std::uint64_t kListenerId = ~std::uint64_t{0};
constexpr std::uint64_t kStopId = kListenerId - 1;

/// So many packets of one client are handled before the others have their turn.
constexpr int kPacketsPerTurn = 256;
constexpr int kLastTurns = 10000;
constexpr int kAcceptRetryMs = 1000;

void Report(std::string_view subject, std::string_view text) {
    // Nobody who leaves standard error unread holds the server up.
    pollfd standardError{STDERR_FILENO, POLLOUT, 0};
    if (::poll(&standardError, 1, 0) <= 0) {
        return;
    }
    std::fprintf(stderr, "ppsd: %.*s: %.*s\n", static_cast<int>(subject.size()), subject.data(),
                 static_cast<int>(text.size()), text.data());
}

host::PpsReply Refusal(int error, std::string reason = {}) {
    return {error, reason.empty() ? std::strerror(error) : std::move(reason)};
}

/// Takes "word " off the front; false when the text does not begin with it.
bool TakeWord(std::string_view& text, std::string_view word) {
    if (text.substr(0, word.size()) != word) {
        return false;
    }
    text.remove_prefix(word.size());
    return true;
}

} // namespace

bool Server::Start(std::string& error) {
    const std::string socket = host::BelowRoot(host::kPpsSocket);
    if (!m_listener.Open(socket) || !m_listener.ShareWithAll() || !m_epoll.Open() ||
        !m_epoll.Add(m_listener.Fd(), EPOLLIN, kListenerId)) {
        error = "cannot listen at " + socket + ": " +
                (errno == EADDRINUSE ? "another server runs there" : std::strerror(errno));
        return false;
    }
    m_receiveBuffer.resize(pps::kMaxWrite + 1);
    const std::string saved = host::BelowRoot(kSavedObjects);
    std::error_code unknown;
    const bool isThere = std::filesystem::exists(saved, unknown);
    std::ifstream file(saved, std::ios::binary);
    if (isThere && (!file || !std::filesystem::is_regular_file(saved, unknown))) {
        error = "cannot read " + saved;
        return false;
    }
    const std::string text((std::istreambuf_iterator<char>(file)), std::istreambuf_iterator<char>());
    for (const std::string& complaint : m_tree.Load(text)) {
        Report(kSavedObjects, complaint);
    }
    return true;
}

bool Server::Run(int stopFd) {
    using Clock = std::chrono::steady_clock;
    m_epoll.Add(stopFd, EPOLLIN, kStopId);
    auto nextSave = Clock::now() + m_saveInterval;
    while (!Turn(TimeoutMs(nextSave - Clock::now())).stop) {
        if (m_saveInterval.count() > 0 && Clock::now() >= nextSave) {
            Save();
            nextSave = Clock::now() + m_saveInterval;
        }
    }
    // What was written before the end is applied before the end.
    m_epoll.Remove(stopFd);
    m_epoll.Remove(m_listener.Fd());
    for (int i = 0; i < kLastTurns && Turn(0).served; ++i) {
    }
    m_clients.clear();
    return Save();
}

int Server::TimeoutMs(std::chrono::steady_clock::duration untilSave) const {
    if (!m_accepting) {
        return kAcceptRetryMs;
    }
    if (m_saveInterval.count() == 0) {
        return -1;
    }
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(untilSave).count();
    return static_cast<int>(std::max<decltype(left)>(left, 0));
}

/// Waits for events and handles them.
Server::TurnResult Server::Turn(int timeoutMs) {
    // Clients come before newcomers: who writes, ends and is followed by a reader has been heard.
    TurnResult result;
    bool newcomers = !m_accepting;
    m_epoll.Wait(timeoutMs, [&](std::uint64_t id, std::uint32_t events) {
        newcomers |= id == kListenerId;
        result.stop |= id == kStopId;
        if (id != kListenerId && id != kStopId) {
            result.served = true;
            Handle(id, events);
        }
    });
    if (newcomers && !result.stop) {
        AcceptAll();
    }
    return result;
}

void Server::AcceptAll() {
    while (UniqueFd connection = m_listener.Accept()) {
        const int fd = connection.Get();
        const auto id = static_cast<std::uint64_t>(fd);
        if (m_epoll.Add(fd, EPOLLIN, id)) {
            m_clients[id] = std::make_unique<Client>(std::move(connection));
        }
    }
    const bool isFull = errno == EMFILE || errno == ENFILE || errno == ENOBUFS || errno == ENOMEM;
    if (isFull == m_accepting) {
        // Newcomers wait until there is room, which is looked for now and then.
        m_accepting = !isFull;
        m_epoll.Modify(m_listener.Fd(), m_accepting ? std::uint32_t{EPOLLIN} : 0U, kListenerId);
        Report("accept", m_accepting ? "there is room again" : std::strerror(errno));
    }
}

void Server::Handle(std::uint64_t id, std::uint32_t events) {
    const auto found = m_clients.find(id);
    if (found == m_clients.end()) {
        return;
    }
    Client& client = *found->second;
    if ((events & EPOLLOUT) != 0) {
        Flush(client);
    }
    bool hungUp = (events & (EPOLLHUP | EPOLLERR)) != 0;
    for (int i = 0; i < kPacketsPerTurn; ++i) {
        const ssize_t length =
            ::recv(client.connection.Get(), m_receiveBuffer.data(), m_receiveBuffer.size(), MSG_DONTWAIT | MSG_TRUNC);
        if (length < 0 && errno == ECONNRESET) {
            // The client ended without reading everything; what it wrote before is still to be had.
            hungUp = true;
            continue;
        }
        if (length < 0) {
            if (errno != EAGAIN && errno != EINTR) {
                Drop(id);
            }
            return;
        }
        if (length == 0 && hungUp) {
            Drop(id);
            return;
        }
        if (length == 0) {
            // Either the end or an empty packet, which asks for nothing. The kernel may say "end" when a last packet
            // and the end come at this very moment: then the packet is there, and is read next.
            pollfd state{client.connection.Get(), POLLRDHUP, 0};
            hungUp = ::poll(&state, 1, 0) > 0 && state.revents != 0;
            continue;
        }
        const auto size = std::min(static_cast<std::size_t>(length), m_receiveBuffer.size());
        if (!Receive(client, {m_receiveBuffer.data(), size})) {
            Drop(id);
            return;
        }
    }
}

/// Handles one packet; false when the connection is to end.
bool Server::Receive(Client& client, std::string_view packet) {
    if (client.node == nullptr) {
        return Request(client, packet);
    }
    Write(client, packet);
    return true;
}

bool Server::Request(Client& client, std::string_view request) {
    if (TakeWord(request, "open ")) {
        const host::PpsReply reply = OpenObject(client, request);
        if (!Reply(client, reply) || reply.error != 0) {
            return false;
        }
        if (client.reads) {
            client.delta ? client.backlog.Add(std::make_shared<const std::string>(client.node->object.State()))
                         : client.backlog.AddState();
            Flush(client);
        }
        return true;
    }
    if (TakeWord(request, "list ")) {
        List(client, request);
    } else if (TakeWord(request, "delete ")) {
        Reply(client, DeleteObject(request));
    } else {
        Reply(client, Refusal(EPROTO, "unknown request"));
    }
    return false;
}

host::PpsReply Server::OpenObject(Client& client, std::string_view request) {
    namespace flags = host::target_flags;
    int oflag = 0;
    std::from_chars(request.data(), request.data() + request.size(), oflag);
    std::string_view path = request.substr(std::min(request.find(' ') + 1, request.size()));
    const host::PpsOptions options = host::SplitOptions(path);
    if (!ObjectTree::IsPath(path)) {
        return Refusal(EINVAL, "not an object's path");
    }
    Node* node = m_tree.Find(std::string(path), (oflag & flags::kCreate) != 0);
    if (node == nullptr) {
        return (oflag & flags::kCreate) != 0 ? Refusal(ENOSPC) : Refusal(ENOENT);
    }
    if (!node->exists && (oflag & flags::kCreate) == 0) {
        return Refusal(ENOENT);
    }
    if (!node->exists && !options.acknowledge) {
        // With acknowledgements it is made by the first write that is not refused.
        node->exists = true;
        Publish(*node, node->object.Head("+"), nullptr);
    }
    const int access = oflag & flags::kAccessMask;
    client.node = node;
    client.reads = access != flags::kWriteOnly && !options.acknowledge;
    client.writes = access != flags::kReadOnly;
    client.delta = options.delta;
    client.acknowledge = options.acknowledge;
    if (options.notPersistent) {
        node->object.SetNotPersistent();
    }
    if (client.writes && (oflag & flags::kTruncate) != 0) {
        node->object.Truncate();
        Publish(*node, node->object.Head("#"), nullptr);
    }
    node->clients.push_back(&client);
    return {};
}

host::PpsReply Server::DeleteObject(std::string_view path) {
    Node* node = m_tree.Find(std::string(path), false);
    if (node == nullptr || !node->exists) {
        return Refusal(ENOENT);
    }
    node->exists = false;
    node->object.Truncate();
    Publish(*node, node->object.Head("-"), nullptr);
    m_tree.DropIfUnused(node);
    return {};
}

void Server::List(Client& client, std::string_view behind) {
    std::string packet;
    for (const std::string& path : m_tree.Paths()) {
        if (packet.size() + path.size() >= pps::kMaxWrite) {
            break;
        }
        if (path > behind) {
            packet.append(path).append("\n");
        }
    }
    if (Reply(client, {}) && !packet.empty()) {
        ::send(client.connection.Get(), packet.data(), packet.size(), MSG_NOSIGNAL | MSG_DONTWAIT);
    }
}

void Server::Write(Client& client, std::string_view text) {
    Node& node = *client.node;
    host::PpsReply reply;
    if (!client.writes) {
        reply = Refusal(EBADF, "not open for writing");
    } else {
        const pps::ApplyResult result = node.object.Apply(text);
        if (!result.error.empty()) {
            reply = Refusal(text.size() > pps::kMaxWrite ? EMSGSIZE : EINVAL, result.error);
        } else {
            if (!node.exists) {
                node.exists = true;
                Publish(node, node.object.Head("+"), nullptr);
            }
            if (!result.changes.empty()) {
                Publish(node, node.object.Head() + result.changes, &client);
            }
        }
    }
    if (reply.error != 0) {
        Report(node.path, "write refused: " + reply.reason);
    }
    if (client.acknowledge) {
        Reply(client, reply);
    }
}

void Server::Publish(const Node& node, const std::string& group, const Client* writer) {
    Packet shared;
    for (Client* client : node.clients) {
        if (client == writer || !client->reads) {
            continue;
        }
        if (client->delta || group[0] == '-') {
            if (!shared) {
                shared = std::make_shared<const std::string>(group);
            }
            client->backlog.Add(shared);
        } else {
            client->backlog.AddState();
        }
        if (!client->waitsForRoom) {
            Flush(*client);
        }
    }
}

bool Server::Reply(Client& client, const host::PpsReply& reply) const {
    const std::string text = host::Render(reply);
    return ::send(client.connection.Get(), text.data(), text.size(), MSG_NOSIGNAL | MSG_DONTWAIT) >= 0;
}

/// Sends what the client has room for. A connection that broke is dropped when its end is seen.
void Server::Flush(Client& client) {
    while (!client.backlog.Empty()) {
        const Packet packet = client.backlog.Next(client.node->object);
        const ssize_t sent =
            ::send(client.connection.Get(), packet->data(), packet->size(), MSG_NOSIGNAL | MSG_DONTWAIT);
        if (sent < 0 && (errno == EAGAIN || errno == EINTR || errno == ENOBUFS || errno == ENOMEM)) {
            WatchForRoom(client, true);
            return;
        }
        client.backlog.Taken();
    }
    WatchForRoom(client, false);
}

void Server::WatchForRoom(Client& client, bool watch) {
    if (client.waitsForRoom != watch) {
        const int fd = client.connection.Get();
        m_epoll.Modify(fd, watch ? EPOLLIN | EPOLLOUT : EPOLLIN, static_cast<std::uint64_t>(fd));
        client.waitsForRoom = watch;
    }
}

void Server::Drop(std::uint64_t id) {
    const auto found = m_clients.find(id);
    Node* node = found->second->node;
    if (node != nullptr) {
        auto& clients = node->clients;
        clients.erase(std::remove(clients.begin(), clients.end(), found->second.get()), clients.end());
        m_tree.DropIfUnused(node);
    }
    m_clients.erase(found);
}

/// Writes the persistent objects beside the old file and puts the new one in its place.
bool Server::Save() const {
    const std::filesystem::path path = host::BelowRoot(kSavedObjects);
    const std::filesystem::path next = path.string() + ".new";
    std::error_code error;
    std::filesystem::create_directories(path.parent_path(), error);
    std::ofstream file(next, std::ios::binary | std::ios::trunc);
    file << m_tree.PersistentText();
    file.close();
    if (file) {
        std::filesystem::rename(next, path, error);
    }
    if (!file || error) {
        Report(path.string(), "cannot save the objects: " + (error ? error.message() : std::strerror(errno)));
        return false;
    }
    return true;
}
