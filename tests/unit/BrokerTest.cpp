// What the PPS server lets whom do, and how much of it, without sockets. That backlogs stay within their bounds, and
// that a request happens whole or not at all where memory runs out, is what the corpus of its fuzzer checks.
#include <gtest/gtest.h>

#include <map>
#include <memory>
#include <sstream>

#include "tests/support/BrokerClient.h"
#include "tests/support/Cases.h"
#include "tools/ppsd/SavedObjects.h"

namespace {

constexpr uid_t kOwn = 100;
constexpr ppsd::Limits kSmall{{{2, 6, 2}, {20000, 200000, 4000}, {3, 100, 5}, {5000, 50000, 5000}}};

const std::string kNothing = "(nothing)";
std::string g_reported;

/// Replaces "{C*N}" by N times the character C.
std::string Expanded(std::string text) {
    for (std::size_t star = 0; (star = text.find('*', star + 1)) != std::string::npos;) {
        const std::size_t end = text.find('}', star);
        if (star >= 2 && text[star - 2] == '{' && end != std::string::npos) {
            const std::size_t count = std::stoul(text.substr(star + 1, end - star - 1));
            text.replace(star - 2, end - star + 3, std::string(count, text[star - 1]));
        }
    }
    return text;
}

/// A broker and its clients, by their names in the cases.
class Session {
public:
    /// @param limits and umask, as a case gives them
    explicit Session(const std::string& limits)
        : m_broker(limits.substr(0, 5) == "small" ? kSmall : ppsd::LimitsWith(4096), kOwn,
                   static_cast<mode_t>(std::stoul(limits.substr(6), nullptr, 8)),
                   [](std::string_view, std::string_view text) noexcept { g_reported = text; }) {}

    /// What comes of a case.
    std::string Do(const std::string& who, const std::string& what) {
        if (who == "reported") {
            return g_reported;
        }
        if (who == "saved") {
            std::string scratch;
            std::string saved;
            ppsd::SaveObjects(m_broker.Tree(), scratch, [&](auto part) { return !saved.append(part).empty(); });
            return saved.empty() ? kNothing : saved;
        }
        std::unique_ptr<BrokerClient>& client = m_clients[who];
        if (!client) {
            client = Connect(who);
        }
        std::string answer = client->IsIn() ? Answer(*client, what) : "(not admitted)";
        if (who.find(':') == std::string::npos) {
            client = nullptr;
        }
        return answer;
    }

private:
    std::unique_ptr<BrokerClient> Connect(const std::string& who) {
        std::vector<gid_t> ids;
        std::istringstream numbers(who);
        for (std::string number; std::getline(numbers, number, ',');) {
            ids.push_back(static_cast<gid_t>(std::stoul(number)));
        }
        return std::make_unique<BrokerClient>(m_broker, ids[0], std::vector<gid_t>(ids.begin() + 1, ids.end()));
    }

    static std::string Answer(BrokerClient& client, const std::string& what) {
        if (what == "(leave)") {
            client.Leave();
        } else if (what.substr(0, 6) == "(room ") {
            client.MakeRoom(std::stoul(what.substr(6)));
        } else if (what != "(read)") {
            client.Write(what);
        }
        std::string answer;
        for (const std::string& packet : client.received) {
            answer += (answer.empty() ? "" : " & ") + packet;
        }
        client.received.clear();
        return answer.empty() ? kNothing : answer;
    }

    ppsd::Broker m_broker;
    std::map<std::string, std::unique_ptr<BrokerClient>> m_clients;
};

TEST(BrokerTest, AnswersAsTheCasesSay) {
    std::unique_ptr<Session> session;
    for (const std::vector<std::string>& row : Cases("broker.txt")) {
        SCOPED_TRACE(row.back());
        if (row[0] == "server") {
            session = std::make_unique<Session>(row[1]);
        } else {
            EXPECT_EQ(session->Do(row[0], Expanded(row[1])), Expanded(row[2]));
        }
    }
    EXPECT_EQ(ppsd::Quota(ppsd::LimitsWith(100), kOwn).Room(1000, ppsd::Bound::Connections), 63U);
}

} // namespace
