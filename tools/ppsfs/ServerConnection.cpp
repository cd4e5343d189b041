#include "tools/ppsfs/ServerConnection.h"

#include <fcntl.h>
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
    UniqueFd socket = host::ConnectTo(host::BelowRoot(host::kPpsSocket));
    if (!socket) {
        return errno == ENOENT || errno == ENOTDIR ? ECONNREFUSED : errno;
    }
    ::fcntl(socket.Get(), F_SETFL, O_NONBLOCK);
    m_id = m_loop.Add(socket.Get(), weak_from_this());
    if (m_id == 0) {
        return errno;
    }
    m_socket = std::move(socket);
    return 0;
}

void ServerConnection::Ask(std::string question, Answer answer, std::chrono::milliseconds patience) {
    if (!m_socket) {
        answer(ECONNRESET, {});
        return;
    }
    m_questions.push_back({std::move(question), std::move(answer), Loop::Clock::now() + patience});
    UpdateDue();
    SendUnsent();
}

void ServerConnection::SendUnsent() {
    while (m_sent < m_questions.size()) {
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
        if (m_onNotice) {
            m_onNotice();
        }
        return;
    }
    if (m_sent == 0) {
        return; // not an answer to anything
    }
    const Answer answer = std::move(m_questions.front().answer);
    m_questions.pop_front();
    --m_sent;
    UpdateDue();
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
    m_questions.clear();
    m_onNotice = nullptr;
}

void ServerConnection::UpdateDue() {
    auto due = Loop::Clock::time_point::max();
    for (const Question& question : m_questions) {
        due = std::min(due, question.due);
    }
    m_loop.SetDue(m_id, due);
}

void ServerConnection::OnDue() {
    const auto now = Loop::Clock::now();
    std::vector<Answer> late;
    for (Question& question : m_questions) {
        if (question.due <= now) {
            question.due = Loop::Clock::time_point::max();
            late.push_back(question.answer);
        }
    }
    UpdateDue();
    for (const Answer& answer : late) {
        answer(ETIMEDOUT, {});
    }
}

} // namespace ppsfs
