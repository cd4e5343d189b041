#ifndef TLG_TOOLS_PPSFS_SERVERCONNECTION_H
#define TLG_TOOLS_PPSFS_SERVERCONNECTION_H

#include <chrono>
#include <deque>
#include <functional>
#include <string>
#include <string_view>

#include "platform/posix/UniqueFd.h"
#include "tools/ppsfs/Loop.h"

namespace ppsfs {

/// How long an answer of the server may take.
constexpr std::chrono::milliseconds kPatience(2000);

/// A connection to the PPS server, which answers questions in their order. No call waits for the server.
class ServerConnection : public Watched, public std::enable_shared_from_this<ServerConnection> {
public:
    /// What came of a question: 0 and the answer, or an errno number: ECONNRESET where the connection is lost. Where no
    /// answer comes in time it is called with ETIMEDOUT, and once more when the answer comes or the connection is lost.
    using Answer = std::function<void(int error, std::string_view answer)>;
    using Notice = std::function<void()>;

    /// @param loop outlives it
    explicit ServerConnection(Loop& loop) : m_loop(loop) {}
    ServerConnection(const ServerConnection&) = delete;
    ServerConnection& operator=(const ServerConnection&) = delete;
    ~ServerConnection() override { Close(); }

    /// Connects; 0 or an errno number. A missing server is ECONNREFUSED.
    int Connect();

    /// Sets what is called when the server notifies that there is something to read, and when the connection is lost.
    void OnNotice(Notice notice) { m_onNotice = std::move(notice); }

    /// Asks. Where the connection is lost, the answer comes at once.
    void Ask(std::string question, Answer answer, std::chrono::milliseconds patience = kPatience);

    bool IsConnected() const { return static_cast<bool>(m_socket); }

    /// Takes in what the server has sent up to now.
    void TakeIn();

    /// Ends the connection; nothing is called any more.
    void Close();

    void OnEvents(std::uint32_t events) override;
    void OnDue() override;

private:
    struct Question {
        std::string unsent; // empty once it is sent
        Answer answer;
        Loop::Clock::time_point due;
    };

    void SendUnsent();
    void Handle(std::string_view packet);
    void Lose();
    void UpdateDue();

    Loop& m_loop;
    Loop::Id m_id = 0;
    UniqueFd m_socket;
    Notice m_onNotice;
    std::deque<Question> m_questions; // that the server has not answered
    std::size_t m_sent = 0;           // how many of them it has
};

} // namespace ppsfs

#endif
