// How a packet of a client is handled:
//
//   no object yet     request -> checked -> refused, and the connection ends
//                                        -> list or delete: answered, and the connection ends
//                                        -> open: the client is attached to the object's node
//   attached          write   -> refused, with an answer where the client wants one
//                             -> applied -> published to the others: appended to each backlog, and sent as far as
//                                           their connections have room
//   attached as a file          a write in the same way, always with an answer; a read is answered from the backlog,
//                               which is not sent by itself
//
// Until a write is applied nothing has changed, so up to then a lack of memory makes the request fail. What comes after
// can't fail: it needs no memory, or can do without. Where there is no memory for a group, the backlogs note it as
// lost, and its subscribers are sent the whole state instead.
//
// An object may be deleted, and made again by another user, while clients have it open. So their access is checked
// again each time it is made.
#include "tools/ppsd/Broker.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <new>

namespace ppsd {

namespace {

/// What a packet adds to Work() besides its bytes.
constexpr std::uint64_t kPacketWork = 512;

host::PpsReply Refusal(int error, std::string reason = {}) {
    return {error, reason.empty() ? std::strerror(error) : std::move(reason)};
}

/// Removes @p word from the front of @p text; false when the text does not begin with it.
bool SkipWord(std::string_view& text, std::string_view word) {
    if (text.substr(0, word.size()) != word) {
        return false;
    }
    text.remove_prefix(word.size());
    return true;
}

} // namespace

Broker::Broker(const Limits& limits, uid_t own, mode_t umask, Reporter report)
    : m_quota(limits, own), m_tree(m_quota), m_umask(umask), m_report(report) {
    m_scratch.reserve(host::kMaxPacket);
}

bool Broker::Admit(const Client& client) {
    return m_quota.Acquire(client.identity.user, Bound::Connections, 1);
}

bool Broker::Receive(Client& client, std::string_view packet) {
    m_work += packet.size() + kPacketWork;
    if (client.node == nullptr) {
        return Request(client, packet);
    }
    if (client.isFile) {
        return Serve(client, packet);
    }
    const host::PpsReply reply = Write(client, packet);
    if (client.acknowledge) {
        Reply(client, reply);
    }
    return true;
}

bool Broker::Request(Client& client, std::string_view request) {
    if (request.size() > host::kMaxRequest) {
        Reply(client, Refusal(EMSGSIZE, "too long a request"));
    } else if (SkipWord(request, "open ")) {
        return OpenRequest(client, request);
    } else if (SkipWord(request, "stat ")) {
        return Reply(client, Describe(request));
    } else if (SkipWord(request, "entries ")) {
        return Reply(client, Entries(request));
    } else if (SkipWord(request, "list ")) {
        List(client, request);
    } else if (SkipWord(request, "delete ")) {
        Reply(client, DeleteObject(client, request));
    } else {
        Reply(client, Refusal(EPROTO, "unknown request"));
    }
    return false;
}

bool Broker::OpenRequest(Client& client, std::string_view request) {
    host::PpsReply reply;
    const std::optional<host::PpsOpen> open = host::ParseOpen(request, reply);
    reply = open ? Open(client, *open) : reply;
    if (!Reply(client, reply) || reply.error != 0) {
        return false;
    }
    if (client.granted.reads) {
        client.delta ? Add(client, std::make_shared<const std::string>(client.node->object.State()), '@')
                     : client.backlog.AddState();
        Flush(client);
    }
    return true;
}

/// Handles a packet of a client that has an object open as a file. False when the connection is to end, also where the
/// client does not take its answers.
bool Broker::Serve(Client& client, std::string_view packet) {
    if (packet[0] == host::kWriteRequest) {
        return Reply(client, Write(client, packet.substr(1)));
    }
    if (packet == std::string_view(&host::kReadRequest, 1)) {
        return AnswerRead(client);
    }
    Reply(client, Refusal(EPROTO, "unknown request"));
    return false;
}

bool Broker::AnswerRead(Client& client) {
    client.waitsForInput = true;
    if (client.backlog.Empty()) {
        return Send(client, host::kNothing) == Channel::Sent::Yes;
    }
    const Channel::Sent sent = SendNext(client);
    Notify(client);
    return sent == Channel::Sent::Yes;
}

/// Whether the client may open the node in the way it asks for.
host::PpsReply Broker::Judge(const Client& client, const host::PpsOpen& open, const Node* node, Access needed) const {
    namespace flags = host::target_flags;
    const bool creates = (open.flags & flags::kCreate) != 0;
    if (node == nullptr || !node->exists) {
        return creates ? host::PpsReply() : Refusal(ENOENT);
    }
    if (creates && (open.flags & flags::kExclusive) != 0) {
        return Refusal(EEXIST);
    }
    return Allows(node->permissions, client.identity, needed) ? host::PpsReply() : Refusal(EACCES);
}

host::PpsReply Broker::Open(Client& client, const host::PpsOpen& open) {
    namespace flags = host::target_flags;
    if (!ObjectTree::IsPath(open.path)) {
        return Refusal(EINVAL, "not an object's path");
    }
    const int access = open.flags & flags::kAccessMask;
    const bool truncates = (open.flags & flags::kTruncate) != 0;
    client.asked = {access != flags::kWriteOnly, access != flags::kReadOnly};
    host::PpsReply refusal =
        Judge(client, open, m_tree.Find(open.path), {client.asked.reads, client.asked.writes || truncates});
    if (refusal.error != 0) {
        return refusal;
    }
    Attach(client, open);
    Node& node = *client.node;
    if (!node.exists) {
        refusal = JudgeMaking(client, node);
        if (refusal.error != 0) {
            return refusal;
        }
    }
    if (!node.exists && !client.acknowledge) {
        // For a client that wants acknowledgements, the first write that is not refused makes the object.
        Make(node, client, &client);
    } else if (node.exists && client.notPersistent && client.granted.writes) {
        node.object.SetNotPersistent();
    }
    if (truncates && node.exists) {
        m_tree.Truncate(node);
        Publish(node, "#", {}, &client);
    }
    return {};
}

/// Adds the client to those that have the object open, and notes what it asked for.
void Broker::Attach(Client& client, const host::PpsOpen& open) {
    client.filter = AttributeFilter(open.options.attributes);
    Node& node = m_tree.Reach(open.path);
    client.node = &node;
    node.clients.push_back(&client);
    client.asked.reads &= !open.options.acknowledge;
    client.granted = client.asked;
    client.mode = (open.flags & host::target_flags::kCreate) != 0 ? open.mode & ~m_umask : node.permissions.mode;
    client.notPersistent = open.options.notPersistent;
    client.delta = open.options.delta;
    client.acknowledge = open.options.acknowledge;
    client.isKept = open.options.isKept;
    client.isFile = open.options.isFile;
}

/// Whether the client may make the node an object: as among files, none is in the place of another's directory.
host::PpsReply Broker::JudgeMaking(const Client& client, const Node& node) const {
    if (m_tree.IsDirectory(node.path)) {
        return Refusal(EISDIR);
    }
    if (m_tree.IsBelowObject(node.path)) {
        return Refusal(ENOTDIR);
    }
    return m_tree.HasRoom(node, client.identity.user)
               ? host::PpsReply()
               : Refusal(ENOSPC, "the user has too many objects, or too large ones");
}

/// Makes the object for a client whose user has room for it. All clients that have it open are notified, except
/// @p excluded.
void Broker::Make(Node& node, Client& creator, const Client* excluded) {
    constexpr mode_t kPermissionBits = 0777;
    const Permissions permissions{creator.identity.user, creator.identity.group, creator.mode & kPermissionBits};
    if (!m_tree.Make(node, permissions)) {
        return;
    }
    for (Client* client : node.clients) {
        const bool isCreator = client == &creator;
        client->granted.reads =
            client->asked.reads && (isCreator || Allows(permissions, client->identity, {true, false}));
        client->granted.writes =
            client->asked.writes && (isCreator || Allows(permissions, client->identity, {false, true}));
        if (client->notPersistent && client->granted.writes) {
            // Also where another user made the object again after a deletion: a client that has it open relies on this.
            node.object.SetNotPersistent();
        }
    }
    Publish(node, "+", {}, excluded);
}

host::PpsReply Broker::DeleteObject(const Client& client, std::string_view path) {
    Node* node = m_tree.Find(path);
    if (node == nullptr || !node->exists) {
        return Refusal(ENOENT);
    }
    if (!AllowsDeletion(node->permissions, client.identity)) {
        return Refusal(EACCES);
    }
    m_tree.Delete(*node);
    Publish(*node, "-", {}, nullptr);
    m_tree.DropIfUnused(node);
    return {};
}

/// The reply to a "stat" request.
host::PpsReply Broker::Describe(std::string_view path) const {
    const Node* const node = m_tree.Find(path);
    if (node == nullptr || !node->exists) {
        return m_tree.IsDirectory(path) ? host::PpsReply{0, "directory"} : Refusal(ENOENT);
    }
    constexpr long kNanoseconds = 1000000000;
    const Permissions& whose = node->permissions;
    const auto changed = std::chrono::nanoseconds(node->changed.time_since_epoch()).count();
    std::array<char, 160> text{};
    std::snprintf(text.data(), text.size(), "object %lu %lu %lo %zu %lld %ld", static_cast<unsigned long>(whose.owner),
                  static_cast<unsigned long>(whose.group), static_cast<unsigned long>(whose.mode),
                  node->object.StateSize(), static_cast<long long>(changed / kNanoseconds),
                  static_cast<long>(changed % kNanoseconds));
    return {0, text.data()};
}

/// The reply to an "entries" request.
host::PpsReply Broker::Entries(std::string_view directoryAndEntry) const {
    const std::string_view path = directoryAndEntry.substr(0, directoryAndEntry.find(' '));
    const std::string_view after = directoryAndEntry.substr(std::min(path.size() + 1, directoryAndEntry.size()));
    if (!m_tree.IsDirectory(path)) {
        return Refusal(m_tree.Find(path) == nullptr ? ENOENT : ENOTDIR);
    }
    host::PpsReply reply;
    m_tree.ForEachEntry(path, after, [&reply](std::string_view name, bool isDirectory) {
        if (reply.reason.size() + name.size() >= kMaxWrite) {
            return false;
        }
        reply.reason.append(name).append(isDirectory ? "/\n" : "\n");
        return true;
    });
    return reply;
}

void Broker::List(Client& client, std::string_view after) {
    if (!Reply(client, {})) {
        return;
    }
    m_scratch.clear();
    m_tree.ForEachAfter(after, [this](const Node& node) {
        if (m_scratch.size() + node.path.size() >= kMaxWrite) {
            return false;
        }
        m_scratch.append(node.path).append("\n");
        return true;
    });
    if (!m_scratch.empty()) {
        Send(client, m_scratch);
    }
}

host::PpsReply Broker::Write(Client& client, std::string_view text) {
    host::PpsReply reply = ApplyWrite(client, text);
    if (reply.error != 0) {
        m_report(client.node->path, "write refused: " + reply.reason);
    }
    return reply;
}

host::PpsReply Broker::ApplyWrite(Client& client, std::string_view text) {
    Node& node = *client.node;
    if (!client.granted.writes) {
        return client.asked.writes ? Refusal(EACCES) : Refusal(EBADF, "not open for writing");
    }
    if (!node.exists) {
        host::PpsReply refusal = JudgeMaking(client, node);
        if (refusal.error != 0) {
            return refusal;
        }
    }
    const ApplyResult result = m_tree.Apply(node, text, client.identity.user);
    if (!result.error.empty()) {
        return Refusal(result.noRoom ? ENOSPC : text.size() > kMaxWrite ? EMSGSIZE : EINVAL, result.error);
    }
    if (!node.exists) {
        Make(node, client, nullptr);
    }
    if (!result.changes.empty()) {
        Publish(node, {}, result.changes, &client);
    }
    return {};
}

void Broker::Publish(const Node& node, std::string_view mark, std::string_view changes, const Client* writer) noexcept {
    std::optional<Packet> group; // made for the first who receives it
    for (Client* client : node.clients) {
        if (client == writer || !(client->granted.reads || (client->isKept && mark == "-")) ||
            (mark.empty() && !Wants(*client, changes))) {
            continue;
        }
        if (client->delta || mark == "-") {
            group = group ? group : GroupOf(node, mark, changes);
            Add(*client, *group, mark.empty() ? '@' : mark[0]);
        } else {
            client->backlog.AddState();
        }
        if (!client->waitsForRoom) {
            Flush(*client);
        }
    }
}

/// Whether the client reads one of the attributes. To look for them is work too.
bool Broker::Wants(const Client& client, std::string_view changes) noexcept {
    m_work += client.filter.LetsAllThrough() ? 0 : changes.size();
    return client.filter.LetsThrough(changes);
}

/// A group of lines for subscribers; an empty pointer where there is no memory for it.
Packet Broker::GroupOf(const Node& node, std::string_view mark, std::string_view changes) noexcept {
    try {
        auto text = std::make_shared<std::string>(node.object.Head(mark));
        text->append(changes);
        return text;
    } catch (const std::bad_alloc&) {
        return {};
    }
}

/// Adds a group to the client's backlog. An empty pointer is a group that could not be made, noted as lost.
void Broker::Add(Client& client, const Packet& group, char mark) noexcept {
    const std::size_t before = client.backlog.Cost();
    if (group) {
        client.backlog.Add(group, before + m_quota.Room(client.identity.user, Bound::Backlog));
    } else {
        client.backlog.Lose(mark);
    }
    m_quota.Change(client.identity.user, Bound::Backlog, before, client.backlog.Cost());
}

bool Broker::Reply(Client& client, const host::PpsReply& reply) {
    return Send(client, host::Render(reply)) == Channel::Sent::Yes;
}

Channel::Sent Broker::Send(Client& client, std::string_view packet) noexcept {
    m_work += packet.size() + kPacketWork;
    return client.channel.Send(packet);
}

void Broker::Flush(Client& client) noexcept {
    if (client.isFile) {
        Notify(client);
        return;
    }
    while (!client.backlog.Empty()) {
        if (SendNext(client) == Channel::Sent::NoRoom) {
            WatchForRoom(client, true);
            return;
        }
    }
    WatchForRoom(client, false);
}

/// Notifies a file, once, that there is something to read.
void Broker::Notify(Client& client) noexcept {
    if (client.waitsForInput && !client.backlog.Empty()) {
        client.waitsForInput = Send(client, host::kReady) == Channel::Sent::NoRoom;
        WatchForRoom(client, client.waitsForInput);
    }
}

/// Sends the next packet of the client's backlog, and removes it where there was room.
Channel::Sent Broker::SendNext(Client& client) noexcept {
    std::string_view packet = client.backlog.Next(client.node->object, m_scratch);
    if (!client.filter.LetsAllThrough()) {
        if (packet.data() != m_scratch.data()) {
            m_scratch.assign(packet);
        }
        client.filter.Apply(m_scratch);
        packet = m_scratch;
    }
    const Channel::Sent sent = Send(client, packet);
    if (sent != Channel::Sent::NoRoom) {
        const std::size_t before = client.backlog.Cost();
        client.backlog.RemoveNext();
        m_quota.Change(client.identity.user, Bound::Backlog, before, client.backlog.Cost());
    }
    return sent;
}

void Broker::WatchForRoom(Client& client, bool watch) noexcept {
    if (client.waitsForRoom != watch) {
        client.channel.WatchForRoom(watch);
        client.waitsForRoom = watch;
    }
}

void Broker::Remove(Client& client) noexcept {
    Node* node = client.node;
    if (node != nullptr) {
        auto& clients = node->clients;
        clients.erase(std::remove(clients.begin(), clients.end(), &client), clients.end());
        m_tree.DropIfUnused(node);
    }
    m_quota.Release(client.identity.user, Bound::Backlog, client.backlog.Cost());
    m_quota.Release(client.identity.user, Bound::Connections, 1);
}

} // namespace ppsd
