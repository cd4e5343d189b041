#ifndef TLG_TOOLS_PPSD_BROKER_H
#define TLG_TOOLS_PPSD_BROKER_H

#include <cstdint>
#include <string>
#include <string_view>

#include "platform/host/PpsProtocol.h"
#include "tools/ppsd/Client.h"
#include "tools/ppsd/ObjectTree.h"
#include "tools/ppsd/Quota.h"

namespace ppsd {

/// The publish/subscribe service without sockets and files: the objects, the access to them, and what is sent to which
/// client. Not thread-safe.
class Broker {
public:
    /// Prints a message for people: first its subject, then the text.
    using Reporter = void (*)(std::string_view, std::string_view) noexcept;

    /// @param own   the server's own user
    /// @param umask the permissions that new objects don't get
    Broker(const Limits& limits, uid_t own, mode_t umask, Reporter report);

    /// Admits a client; false when its user has too many connections. An admitted client must be removed at its end.
    bool Admit(const Client& client);

    /// Handles one packet. False when the connection is to end. Throws std::bad_alloc where there is no memory. Then
    /// the client is to be removed, and all others are as before.
    bool Receive(Client& client, std::string_view packet);

    /// Sends what the connection has room for. A broken connection is dropped later, when the server sees its end.
    void Flush(Client& client) noexcept;

    /// Removes an admitted client.
    void Remove(Client& client) noexcept;

    /// A measure of the work done so far: bytes received and sent, and a fixed amount for each packet.
    std::uint64_t Work() const noexcept { return m_work; }

    ObjectTree& Tree() noexcept { return m_tree; }
    const ObjectTree& Tree() const noexcept { return m_tree; }
    const Quota& Usage() const noexcept { return m_quota; }

private:
    /// @param request a packet of a client that has no object open yet
    bool Request(Client& client, std::string_view request);
    bool OpenRequest(Client& client, std::string_view request);
    bool Serve(Client& client, std::string_view packet);
    bool AnswerRead(Client& client);
    host::PpsReply Open(Client& client, const host::PpsOpen& open);
    host::PpsReply Judge(const Client& client, const host::PpsOpen& open, const Node* node, Access needed) const;
    void Attach(Client& client, const host::PpsOpen& open);
    host::PpsReply JudgeMaking(const Client& client, const Node& node) const;
    host::PpsReply DeleteObject(const Client& client, std::string_view path);
    host::PpsReply Describe(std::string_view path) const;
    host::PpsReply Entries(std::string_view directoryAndEntry) const;
    void List(Client& client, std::string_view after);
    host::PpsReply Write(Client& client, std::string_view text);
    host::PpsReply ApplyWrite(Client& client, std::string_view text);
    void Make(Node& node, Client& creator, const Client* excluded);
    /// Sends a change to every subscriber but @p writer.
    void Publish(const Node& node, std::string_view mark, std::string_view changes, const Client* writer) noexcept;
    bool Wants(const Client& client, std::string_view changes) noexcept;
    static Packet GroupOf(const Node& node, std::string_view mark, std::string_view changes) noexcept;
    void Add(Client& client, const Packet& group, char mark) noexcept;
    void Notify(Client& client) noexcept;
    Channel::Sent SendNext(Client& client) noexcept;
    bool Reply(Client& client, const host::PpsReply& reply);
    Channel::Sent Send(Client& client, std::string_view packet) noexcept;
    void WatchForRoom(Client& client, bool watch) noexcept;

    Quota m_quota;
    ObjectTree m_tree;
    mode_t m_umask;
    Reporter m_report;
    std::string m_scratch; // room for the largest packet, so that publishing needs no memory
    std::uint64_t m_work = 0;
};

} // namespace ppsd

#endif
