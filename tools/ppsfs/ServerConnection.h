#ifndef TLG_TOOLS_PPSFS_SERVERCONNECTION_H
#define TLG_TOOLS_PPSFS_SERVERCONNECTION_H

#include <chrono>
#include <deque>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/posix/UniqueFd.h"
#include "tools/ppsfs/Loop.h"

namespace ppsfs {

/// How long an answer of the server may take.
constexpr std::chrono::milliseconds kPatience(2000);

/// A connection to the PPS server, which answers questions in their order. No call waits for the server.
class ServerConnection : public Watched, public std::enable_shared_from_this<ServerConnection> {
public:
    /// What came of a question: 0 and the answer, or an errno number: ECONNRESET where the connection is lost,
    /// ETIMEDOUT where there was no room to send the question.
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
    /// @param late is called when the patience is over, and after kPatience; the answer is still to come then. Without
    ///             it, the answer is called with ETIMEDOUT, and once more later
    void Ask(std::string question, Answer answer, std::chrono::milliseconds patience = kPatience, Notice late = {});

    bool IsConnected() const { return static_cast<bool>(m_socket); }

    /// Takes in what the server has sent up to now.
    void TakeIn();

    /// Ends the connection; nothing is called any more.
    void Close();

    void OnEvents(std::uint32_t events) override;
    void OnDue() override;
    void OnEnd() override { Lose(); }

private:
    /// The server answers without waiting for us to read, and drops who does not, so no more are sent at a time.
    static constexpr std::size_t kMaxSent = 64;

    struct Question {
        std::string unsent; // empty once it is sent
        Answer answer;
        Notice late;
        Loop::Clock::time_point due;
        Loop::Clock::time_point lastDue;
    };

    void SendUnsent();
    void Handle(std::string_view packet);
    void Lose();
    std::vector<Notice> TakeLate(Loop::Clock::time_point now);

    Loop& m_loop;
    Loop::Id m_id = 0;
    UniqueFd m_socket;
    Notice m_onNotice;
    std::deque<Question> m_questions;                               // that the server has not answered
    std::size_t m_sent = 0;                                         // how many of them it has
    Loop::Clock::time_point m_due = Loop::Clock::time_point::max(); // not after the first one's
};

} // namespace ppsfs

#endif
