#include "tools/mcusim/OrderDesk.h"

#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <utility>

#include "platform/host/Root.h"
#include "tools/common/Output.h"
#include "tools/mculink/McuListener.h"
#include "tools/mcusim/Simulator.h"

namespace mcusim {

namespace {

constexpr std::size_t kMaxOrder = 3 * kMaxBlock + 64; // the largest packet in hexadecimal, with blanks

constexpr const char* kTooLong = "the order is too long";

bool IsOver(std::optional<Wait>& wait) {
    if (wait && wait->isOver()) {
        wait.reset();
    }
    return !wait;
}

} // namespace

bool OrderDesk::Listen(std::string& error) {
    if (!mculink::ListenAsMcu(m_listener, host::BelowRoot(kOrderSocket), error)) {
        return false;
    }
    if (m_epoll.Add(m_listener.Fd(), EPOLLIN, kListenerId)) {
        return true;
    }
    error = std::string("cannot wait for orders: ") + std::strerror(errno);
    return false;
}

bool OrderDesk::TakeScript(const std::string& path, std::string& error) {
    std::ifstream file(path);
    m_script.isScript = true;
    m_script.name = path;
    for (std::string line; std::getline(file, line);) {
        m_script.lines.push_back(line);
    }
    if (!file.eof()) {
        error = path + ": " + std::strerror(errno);
    }
    return file.eof();
}

void OrderDesk::TakeInput(int fd) {
    m_inputFd = fd;
    if (Console::IsPossible(fd)) {
        const auto take = [this](const std::optional<std::string>& line) {
            m_isEnded = m_isEnded || !line;
            m_input.lines.push_back(line.value_or(""));
            ObeyLines(m_input);
        };
        m_console = std::make_unique<Console>("mcusim", take, OrderWordsAfter);
    }
    if (m_epoll.Add(fd, EPOLLIN, kInputId)) {
        return;
    }
    struct stat status {};
    if (::fstat(fd, &status) == 0 && S_ISREG(status.st_mode)) {
        // It is always ready and can't be watched, so it is read at once.
        while (m_inputFd >= 0) {
            Read();
        }
    }
    m_inputFd = -1;
}

void OrderDesk::Handle(std::uint64_t id, std::uint32_t events) {
    if (id == kListenerId) {
        AcceptAll();
    } else if (id != kInputId) {
        ReadOrder(id);
    } else if (m_console && (events & (EPOLLHUP | EPOLLERR)) != 0) {
        // The terminal is gone, and we were told not to end with it.
        m_epoll.Remove(m_inputFd);
        m_inputFd = -1;
        m_console.reset();
    } else if (m_console) {
        m_console->Read();
    } else {
        Read();
    }
}

void OrderDesk::AcceptAll() {
    while (UniqueFd fd = m_listener.Accept()) {
        const std::uint64_t id = m_nextConnection++;
        if (m_epoll.Add(fd.Get(), EPOLLIN, id)) {
            m_connections[id].fd = std::move(fd);
        }
    }
    if (errno != EAGAIN) {
        m_epoll.Modify(m_listener.Fd(), 0, kListenerId);
    }
}

/// Reads the one order of a connection. It is answered in GoOn.
void OrderDesk::ReadOrder(std::uint64_t id) {
    const auto found = m_connections.find(id);
    if (found == m_connections.end()) {
        return;
    }
    Connection& connection = found->second;
    std::string text(kMaxOrder, '\0');
    const ssize_t length = ::recv(connection.fd.Get(), text.data(), text.size(), MSG_DONTWAIT | MSG_TRUNC);
    if (length <= 0) {
        m_connections.erase(found);
        m_descriptorIsFree();
        return;
    }
    if (!connection.answer.empty()) {
        return; // it has given its order, which waits
    }
    if (static_cast<std::size_t>(length) > text.size()) {
        connection.answer = "no " + std::string(kTooLong);
        return;
    }
    text.resize(static_cast<std::size_t>(length));
    OrderResult result = m_obey(text);
    connection.answer = (result.isObeyed ? "ok " : "no ") + result.text;
    connection.wait = std::move(result.wait);
}

/// Reads from standard input, and keeps whole lines.
void OrderDesk::Read() {
    std::array<char, 4096> text{};
    const ssize_t length = ::read(m_inputFd, text.data(), text.size());
    m_unfinished.append(text.data(), static_cast<std::size_t>(std::max<ssize_t>(length, 0)));
    if (length <= 0) {
        m_epoll.Remove(m_inputFd);
        m_inputFd = -1;
        m_unfinished += m_unfinished.empty() ? "" : "\n";
    }
    TakeLines();
}

/// Moves the whole lines out of what was read.
void OrderDesk::TakeLines() {
    for (std::size_t end = m_unfinished.find('\n'); end != std::string::npos; end = m_unfinished.find('\n')) {
        if (!std::exchange(m_isLineTooLong, false)) {
            m_input.lines.push_back(m_unfinished.substr(0, end));
        }
        m_unfinished.erase(0, end + 1);
    }
    if (m_unfinished.size() > kMaxOrder) {
        if (!std::exchange(m_isLineTooLong, true)) {
            std::fprintf(stderr, "mcusim: %s\n", kTooLong);
        }
        m_unfinished.clear();
    }
}

void OrderDesk::GoOn() {
    ObeyLines(m_script);
    ObeyLines(m_input);
    if (m_inputFd >= 0 && !m_console) {
        // What comes meanwhile waits where it is.
        m_epoll.Modify(m_inputFd, m_input.lines.empty() ? EPOLLIN : 0U, kInputId);
    }
    for (auto each = m_connections.begin(); each != m_connections.end();) {
        Connection& connection = each->second;
        if (connection.answer.empty() || !IsOver(connection.wait)) {
            ++each;
            continue;
        }
        ::send(connection.fd.Get(), connection.answer.data(), connection.answer.size(), MSG_NOSIGNAL | MSG_DONTWAIT);
        each = m_connections.erase(each);
        m_descriptorIsFree();
    }
}

void OrderDesk::ObeyLines(Lines& lines) {
    while (IsOver(lines.wait) && !lines.lines.empty()) {
        ObeyLine(lines);
    }
}

void OrderDesk::ObeyLine(Lines& lines) {
    const std::string line = std::move(lines.lines.front());
    lines.lines.pop_front();
    ++lines.number;
    const Words words = WordsOf(line);
    if (words.empty() || words[0][0] == '#') {
        return;
    }
    OrderResult result = m_obey(line);
    lines.wait = std::move(result.wait);
    if (!result.isObeyed) {
        const std::string place = lines.isScript ? lines.name + ", line " + std::to_string(lines.number) + ": " : "";
        const std::string text = "mcusim: " + place + result.text;
        if (m_console) {
            m_console->Print(text);
        } else {
            std::fprintf(stderr, "%s\n", text.c_str());
        }
        if (lines.isScript) {
            m_hasScriptFailed = true;
            lines.lines.clear();
        }
    } else if (!result.text.empty()) {
        Print(result.text);
    }
    if (m_console && !lines.isScript && !IsOver(lines.wait)) {
        m_console->Print("waiting; what is typed now comes after it");
    }
}

std::optional<OrderDesk::Clock::time_point> OrderDesk::Due() const {
    std::optional<Clock::time_point> due;
    const auto take = [&due](const std::optional<Wait>& wait) {
        if (wait && wait->due) {
            due = std::min(due.value_or(*wait->due), *wait->due);
        }
    };
    take(m_script.wait);
    take(m_input.wait);
    for (const auto& [id, connection] : m_connections) {
        take(connection.wait);
    }
    return due;
}

void OrderDesk::Print(const std::string& line) const {
    if (m_console) {
        m_console->Print(line);
    } else {
        PrintLine(line);
    }
}

} // namespace mcusim
