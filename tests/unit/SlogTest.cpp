// The host's logger itself, with standard error redirected to every kind of file that it may be.
#include <gtest/gtest.h>
#include <sys/slog.h>

#include <fcntl.h>
#include <poll.h>
#include <pty.h>
#include <sys/mman.h>
#include <sys/socket.h>
#include <sys/wait.h>

#include <cerrno>
#include <cstdlib>
#include <sstream>
#include <string>

#include "platform/posix/UniqueFd.h"

namespace {

/// The two ends of something that standard error may be.
struct Ends {
    UniqueFd read, write;
};

Ends Pipe() {
    int ends[2] = {-1, -1};
    EXPECT_EQ(::pipe2(ends, O_CLOEXEC), 0);
    return {UniqueFd(ends[0]), UniqueFd(ends[1])};
}

Ends Sockets(int type) {
    int ends[2] = {-1, -1};
    EXPECT_EQ(::socketpair(AF_UNIX, type | SOCK_CLOEXEC, 0, ends), 0);
    return {UniqueFd(ends[0]), UniqueFd(ends[1])};
}

Ends Terminal() {
    int ends[2] = {-1, -1};
    termios raw{};
    ::cfmakeraw(&raw);
    EXPECT_EQ(::openpty(&ends[0], &ends[1], nullptr, &raw, nullptr), 0);
    return {UniqueFd(ends[0]), UniqueFd(ends[1])};
}

/// Has standard error go elsewhere while it lives.
class Redirected {
public:
    explicit Redirected(const UniqueFd& target) : m_former(::dup(STDERR_FILENO)) {
        ::dup2(target.Get(), STDERR_FILENO);
    }
    ~Redirected() { ::dup2(m_former.Get(), STDERR_FILENO); }
    Redirected(const Redirected&) = delete;
    Redirected& operator=(const Redirected&) = delete;

private:
    UniqueFd m_former;
};

/// All that can be read now.
std::string Drain(const UniqueFd& end) {
    std::string text;
    std::string block(65536, '\0');
    pollfd there{end.Get(), POLLIN, 0};
    while (::poll(&there, 1, 0) == 1 && (there.revents & POLLIN) != 0) {
        const ssize_t length = ::read(end.Get(), block.data(), block.size());
        if (length <= 0) {
            break;
        }
        text.append(block, 0, static_cast<std::size_t>(length));
    }
    return text;
}

/// Logs more than any of them takes in; the lines that it should have given.
std::string Flood(int& dropped) {
    const std::string filler(300, '-');
    std::string expected;
    for (int i = 0; i < 20000; ++i) {
        errno = EDOM;
        if (slogf(0x1F, _SLOG_INFO, "%d %s\n", i, filler.c_str()) > 0) {
            expected += "5 0x1f " + std::to_string(i) + " " + filler + "\n";
        } else {
            ++dropped;
        }
        EXPECT_EQ(errno, EDOM);
    }
    return expected;
}

/// Takes the lines that tell of dropped messages out of a text; the sum of their numbers.
int TakeLosses(std::string& text) {
    const std::string loss = "3 0x0 slogf: ";
    std::istringstream lines(std::exchange(text, ""));
    int sum = 0;
    for (std::string line; std::getline(lines, line);) {
        if (line.compare(0, loss.size(), loss) == 0) {
            const int dropped = std::stoi(line.substr(loss.size()));
            EXPECT_EQ(line, loss + std::to_string(dropped) + " messages dropped");
            sum += dropped;
        } else {
            text += line + "\n";
        }
    }
    return sum;
}

TEST(Slog, DropsWhatNobodyTakesAndTellsHowMany) {
    const std::pair<const char*, Ends> kinds[] = {{"pipe", Pipe()},
                                                  {"terminal", Terminal()},
                                                  {"stream", Sockets(SOCK_STREAM)},
                                                  {"packets", Sockets(SOCK_SEQPACKET)}};
    for (const auto& [name, ends] : kinds) {
        SCOPED_TRACE(name);
        const Redirected redirected(ends.write);
        std::string expected;
        std::string text;
        int dropped = 0;
        // Twice, as the second time begins with a rest and a notice.
        for (int round = 0; round < 2; ++round) {
            expected += Flood(dropped);
            EXPECT_GT(dropped, 0);
            text += Drain(ends.read);
        }
        slogf(0, _SLOG_NOTICE, "%s", "end");
        text += Drain(ends.read);
        EXPECT_EQ(TakeLosses(text), dropped);
        EXPECT_TRUE(text == expected + "4 0x0 end\n");
        EXPECT_EQ(::fcntl(STDERR_FILENO, F_GETFL) & O_NONBLOCK, 0) << "others share the descriptor";
    }
}

TEST(Slog, TellsOfTheLossAtTheEndOfTheProcess) {
    const Ends ends = Pipe();
    const pid_t child = ::fork();
    if (child == 0) {
        ::dup2(ends.write.Get(), STDERR_FILENO);
        int dropped = 0;
        Flood(dropped);
        Drain(ends.read);
        std::exit(dropped == 0 ? 1 : 0);
    }
    int status = -1;
    ASSERT_EQ(::waitpid(child, &status, 0), child);
    EXPECT_EQ(status, 0);
    std::string text = Drain(ends.read);
    EXPECT_GT(TakeLosses(text), 0);
    EXPECT_EQ(text, "");
}

TEST(Slog, KeepsAMessageOneLine) {
    const Ends ends = Sockets(SOCK_SEQPACKET);
    const Redirected redirected(ends.write);
    const std::string head = "2 0xffffffff ";
    const std::size_t room = 4096 - head.size() - 1;
    std::string escapes;
    for (std::size_t i = 0; i < room / 4; ++i) {
        escapes += "\\x02";
    }
    const std::pair<std::string, std::string> messages[] = {
        {"", ""},
        {"\n", ""},
        {"plain\n", "plain"},
        {"two\n\n", "two\\x0a"},
        {"a\nb\r\n", "a\\x0ab\\x0d"},
        {"\t\x1B[2J\x7F\x01", "\t\\x1b[2J\\x7f\\x01"},
        {"\xC3\xA4\xC2\x85", "\xC3\xA4\xC2\x85"},
        {std::string(5000, 'x'), std::string(room, 'x')},
        {std::string(room, 'x') + "\n", std::string(room, 'x')},
        {std::string(room - 3, 'x') + "\n\n", std::string(room - 3, 'x')},
        {std::string(room - 4, 'x') + "\n\n", std::string(room - 4, 'x') + "\\x0a"},
        {std::string(4000, '\x02'), escapes}};
    for (const auto& [message, text] : messages) {
        EXPECT_EQ(slogf(-1, _SLOG_ERROR, "%s", message.c_str()), static_cast<int>(head.size() + text.size() + 1));
        EXPECT_EQ(Drain(ends.read), head + text + "\n");
    }
    slogf(0, _SLOG_ERROR, "a%cb", 0);
    EXPECT_EQ(Drain(ends.read), "2 0x0 a\\x00b\n");
    slogf(0, _SLOG_DEBUG2, "the lowest severity");
    EXPECT_EQ(Drain(ends.read), "7 0x0 the lowest severity\n");
}

TEST(Slog, SharesTheOffsetOfAFile) {
    const UniqueFd file(::memfd_create("log", MFD_CLOEXEC));
    ASSERT_TRUE(file);
    const Redirected redirected(file);
    for (const char* text : {"a", "b"}) {
        ASSERT_EQ(::write(file.Get(), "other\n", 6), 6);
        slogf(0, _SLOG_ERROR, "%s", text);
    }
    ASSERT_EQ(::lseek(file.Get(), 0, SEEK_SET), 0);
    EXPECT_EQ(Drain(file), "other\n2 0x0 a\nother\n2 0x0 b\n");
}

} // namespace
