#include "tools/ppsfs/ServerConnection.h"

#include <sys/socket.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <vector>

#include "platform/host/PpsProtocol.h"
#include "platform/host/Root.h"
#include "platform/host/UnixSocket.h"

namespace ppsfs {

int ServerConnection::Connect() {
    UniqueFd socket = host::ConnectTo(host::BelowRoot(host::kPpsSocket), host::Waiting::No);
    if (!socket) {
        // A server that does not take the thousands who wait already does not answer.
        return errno == ENOENT || errno == ENOTDIR ? ECONNREFUSED : errno == EAGAIN ? ETIMEDOUT : errno;
    }
    m_id = m_loop.Add(socket.Get(), weak_from_this());
    if (m_id == 0) {
        return errno;
    }
    m_socket = std::move(socket);
    return 0;
}

void ServerConnection::Ask(std::string question, Answer answer, std::chrono::milliseconds patience, Notice late) {
    if (!m_socket) {
        answer(ECONNRESET, {});
        return;
    }
    const auto now = Loop::Clock::now();
    if (!late) {
        late = [answer] { answer(ETIMEDOUT, {}); };
    }
    m_questions.push_back({std::move(question), std::move(answer), std::move(late), now + patience, now + kPatience});
    m_due = std::min(m_due, now + patience);
    m_loop.SetDue(m_id, m_due);
    SendUnsent();
}

void ServerConnection::SendUnsent() {
    while (m_sent < std::min(m_questions.size(), kMaxSent)) {
        std::string& text = m_questions[m_sent].unsent;
        if (::send(m_socket.Get(), text.data(), text.size(), MSG_NOSIGNAL) < 0) {
            // A broken connection shows itself when it is read.
            m_loop.WatchForRoom(m_id, m_socket.Get(), errno == EAGAIN);
            return;
        }
        std::string().swap(text);
        ++m_sent;
    }
}

void ServerConnection::OnEvents(std::uint32_t events) {
    if ((events & EPOLLOUT) != 0) {
        m_loop.WatchForRoom(m_id, m_socket.Get(), false);
        SendUnsent();
    }
    TakeIn();
}

void ServerConnection::TakeIn() {
    // Room for the largest packet, shared by all connections: an answer is handled before the next one is read.
    static std::array<char, host::kMaxPacket> packet;
    while (m_socket) {
        ssize_t length = ::recv(m_socket.Get(), packet.data(), packet.size(), 0);
        if (length == 0) {
            // When a last packet and the end come at the same moment, the kernel may report the end first.
            length = ::recv(m_socket.Get(), packet.data(), packet.size(), 0);
        }
        if (length > 0) {
            Handle({packet.data(), static_cast<std::size_t>(length)});
        } else if (length < 0 && (errno == EAGAIN || errno == EINTR)) {
            return;
        } else if (length == 0 || errno != ECONNRESET) {
            Lose();
        }
    }
}

void ServerConnection::Handle(std::string_view packet) {
    if (packet == host::kReady) {
        const Notice notice = m_onNotice; // which the call may end
        if (notice) {
            notice();
        }
        return;
    }
    if (m_sent == 0) {
        return; // not an answer to anything
    }
    const Answer answer = std::move(m_questions.front().answer);
    m_questions.pop_front();
    --m_sent;
    SendUnsent();
    answer(0, packet);
}

/// Every question gets the answer that there is none any more.
void ServerConnection::Lose() {
    std::deque<Question> questions;
    questions.swap(m_questions);
    const Notice notice = m_onNotice;
    Close();
    for (const Question& question : questions) {
        question.answer(ECONNRESET, {});
    }
    if (notice) {
        notice();
    }
}

void ServerConnection::Close() {
    if (m_socket) {
        m_loop.Remove(m_id, m_socket.Get());
        m_socket.Reset();
    }
    m_sent = 0;
    std::deque<Question>().swap(m_questions);
    m_onNotice = nullptr;
}

void ServerConnection::OnDue() {
    for (const Notice& notice : TakeLate(Loop::Clock::now())) {
        notice();
    }
}

/// What is to be called for the questions that have waited long enough. Those that were not sent are withdrawn at last.
std::vector<ServerConnection::Notice> ServerConnection::TakeLate(Loop::Clock::time_point now) {
    std::vector<Notice> notices;
    m_due = Loop::Clock::time_point::max();
    for (std::size_t i = 0; i < m_questions.size();) {
        Question& question = m_questions[i];
        const bool isOver = question.lastDue <= now;
        if (isOver && i >= m_sent) {
            notices.emplace_back([answer = question.answer] { answer(ETIMEDOUT, {}); });
            m_questions.erase(m_questions.begin() + static_cast<std::ptrdiff_t>(i));
            continue;
        }
        if (question.due <= now) {
            notices.push_back(question.late);
            question.due = isOver ? Loop::Clock::time_point::max() : question.lastDue;
        }
        m_due = std::min(m_due, question.due);
        ++i;
    }
    m_loop.SetDue(m_id, m_due);
    return notices;
}

} // namespace ppsfs
