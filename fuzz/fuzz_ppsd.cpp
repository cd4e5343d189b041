// What clients of several users send to the publish/subscribe server, in any order, with slow readers, connections
// that end, and memory that runs out in the middle of a request. Records end with "~" and begin with a letter or digit,
// whose lowest three bits are the client's number:
//
//   "0".."7" packet    the client sends the packet, and connects before where it has to
//   "@", "A".."G"      it reads everything
//   "h".."o"           its connection ends
//   "x".. n packet     it sends the packet, and memory runs out after as many allocations as n is above "0"
//
// Everything taken is accounted for, nobody reads what the owner does not allow, and a subscriber that has read
// everything knows the object's state.
#include <algorithm>
#include <cstdint>
#include <map>
#include <memory>
#include <string>

#include "fuzz/Require.h"
#include "tests/support/BrokerClient.h"

namespace {

constexpr uid_t kOwn = 100;
constexpr uid_t kUsers[] = {0, kOwn, 200, 200, 200, 300, 300, 400};
constexpr std::size_t kClients = std::size(kUsers);
constexpr std::size_t kRoom = 600;
constexpr ppsd::Limits kLimits{{{3, 8, 2}, {9000, 20000, 6000}, {2, 8, 2}, {700, 3000, 500}}};

/// Attributes by their names, as a subscriber knows them from what it was told.
struct Known {
    std::map<std::string, std::string, std::less<>> lines;

    void Take(std::string_view packet) {
        while (!packet.empty()) {
            const std::string_view text = pps::NextLine(packet);
            const std::optional<pps::Line> line = pps::ParseLine(text);
            Require(line.has_value());
            if (line->kind == pps::LineKind::Attribute) {
                lines[std::string(line->name)] = text;
            } else if (line->kind == pps::LineKind::AttributeDeleted) {
                lines.erase(std::string(line->name));
            } else if (line->kind != pps::LineKind::Object && line->kind != pps::LineKind::Overflowed) {
                lines.clear();
            }
        }
    }
};

class Fuzzed {
public:
    void Do(std::string_view record) {
        const auto first = static_cast<unsigned char>(record[0]);
        std::unique_ptr<BrokerClient>& client = m_clients[first & 7U];
        record.remove_prefix(1);
        switch ((first >> 3U) & 3U) {
        case 0:
            Drain(client);
            break;
        case 1:
            client.reset();
            break;
        case 2:
            Write(client, kUsers[first & 7U], record);
            break;
        default:
            const int allocations = record.empty() ? 0 : std::max(record[0] - '0', 0);
            const FailingMemory failing(allocations);
            Write(client, kUsers[first & 7U], record.substr(record.empty() ? 0 : 1));
        }
        CheckAccounts();
    }

    void Finish() {
        for (const auto& client : m_clients) {
            Drain(client);
        }
    }

private:
    void Write(std::unique_ptr<BrokerClient>& client, uid_t user, std::string_view packet) {
        if (!client || !client->IsIn()) {
            const EnoughMemory enough;
            client = std::make_unique<BrokerClient>(m_broker, user);
            client->room = kRoom;
        }
        client->Write(packet);
    }

    static void Drain(const std::unique_ptr<BrokerClient>& client) {
        if (client && client->IsIn()) {
            client->MakeRoom(std::numeric_limits<std::size_t>::max());
            client->room = kRoom;
            if (client->Client().isFile) {
                client->room = std::numeric_limits<std::size_t>::max();
                while (client->Ask("r") != host::kNothing) {
                    Require(client->IsIn());
                }
                client->room = kRoom;
            }
            if (client->Client().node != nullptr) {
                CheckKnowledge(*client);
            }
        }
    }

    void CheckAccounts() const {
        std::array<std::size_t, ppsd::kBounds> taken{};
        m_broker.Tree().ForEachAfter({}, [&](const ppsd::Node& node) {
            ++taken[0];
            taken[1] += node.charged;
            Require(node.charged >= node.object.Footprint());
            return true;
        });
        for (const auto& client : m_clients) {
            if (client && client->IsIn()) {
                ++taken[2];
                taken[3] += client->Client().backlog.Cost();
            }
        }
        for (std::size_t i = 0; i < taken.size(); ++i) {
            Require(taken[i] == m_broker.Usage().Total(static_cast<ppsd::Bound>(i)));
            Require(taken[i] <= kLimits[i].total);
        }
    }

    static void CheckKnowledge(const BrokerClient& subscriber) {
        const ppsd::Client& client = subscriber.Client();
        const ppsd::Node& node = *client.node;
        Require(!node.exists || !client.granted.reads || client.identity.user == node.permissions.owner ||
                ppsd::Allows(node.permissions, client.identity, {true, false}));
        if (!client.granted.reads || client.asked.writes) {
            return; // It is not told, or not of its own writes.
        }
        Require(client.backlog.Empty());
        Known known;
        for (const std::string& packet : subscriber.received) {
            if (packet[0] >= 'a' && packet[0] <= 'z') {
                continue; // an answer or a notice
            }
            if (!client.delta) {
                known.lines.clear();
            }
            known.Take(packet);
        }
        std::string state = node.object.State();
        client.filter.Apply(state);
        Known actual;
        actual.Take(state);
        Require(known.lines == actual.lines);
    }

    ppsd::Broker m_broker{kLimits, kOwn, 022, [](std::string_view, std::string_view) noexcept {}};
    std::array<std::unique_ptr<BrokerClient>, kClients> m_clients;
};

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    std::string_view rest(reinterpret_cast<const char*>(data), size);
    Fuzzed fuzzed;
    while (!rest.empty()) {
        const std::size_t end = rest.find('~');
        const std::string_view record = rest.substr(0, end);
        if (!record.empty()) {
            fuzzed.Do(record);
        }
        rest.remove_prefix(end == std::string_view::npos ? rest.size() : end + 1);
    }
    fuzzed.Finish();
    return 0;
}
