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
#include <csignal>
#include <cstdlib>
#include <sstream>
#include <string>

#include "platform/posix/UniqueFd.h"

namespace {

enum class Kind { Pipe, Terminal, Stream, Packets, File };

/// Has standard error go into something of that kind while it lives.
class StandardError {
public:
    explicit StandardError(Kind kind) : m_former(::dup(STDERR_FILENO)) {
        // As in the service: for a moment the logger still writes into the former file, which nobody may read any more.
        std::signal(SIGPIPE, SIG_IGN);
        int ends[2] = {-1, -1};
        termios raw{};
        ::cfmakeraw(&raw);
        const int error = kind == Kind::Pipe       ? ::pipe(ends)
                          : kind == Kind::Terminal ? ::openpty(&ends[0], &ends[1], nullptr, &raw, nullptr)
                          : kind == Kind::File     ? OpenFile(ends)
                          : kind == Kind::Stream   ? ::socketpair(AF_UNIX, SOCK_STREAM, 0, ends)
                                                   : ::socketpair(AF_UNIX, SOCK_SEQPACKET, 0, ends);
        EXPECT_EQ(error, 0);
        m_read.Reset(ends[0]);
        ::dup2(UniqueFd(ends[1]).Get(), STDERR_FILENO);
        // The logger notices it within a moment.
        do {
            slogf(0, _SLOG_ERROR, "redirected");
        } while (Drain().empty());
    }
    ~StandardError() { ::dup2(m_former.Get(), STDERR_FILENO); }
    StandardError(const StandardError&) = delete;
    StandardError& operator=(const StandardError&) = delete;

    /// All that can be read now.
    std::string Drain() const {
        std::string text;
        std::string block(65536, '\0');
        pollfd there{m_read.Get(), POLLIN, 0};
        while (::poll(&there, 1, 0) == 1 && (there.revents & POLLIN) != 0) {
            const ssize_t length = ::read(m_read.Get(), block.data(), block.size());
            if (length <= 0) {
                break;
            }
            text.append(block, 0, static_cast<std::size_t>(length));
        }
        return text;
    }

private:
    static int OpenFile(int* ends) {
        ends[1] = ::memfd_create("log", 0);
        ends[0] = ::open(("/proc/self/fd/" + std::to_string(ends[1])).c_str(), O_RDONLY);
        return ends[0] < 0 ? -1 : 0;
    }

    UniqueFd m_former;
    UniqueFd m_read;
};

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
    for (const Kind kind : {Kind::Pipe, Kind::Terminal, Kind::Stream, Kind::Packets}) {
        SCOPED_TRACE(static_cast<int>(kind));
        const StandardError standardError(kind);
        std::string expected;
        std::string text;
        int dropped = 0;
        // Twice, as the second time begins with a rest and a notice.
        for (int round = 0; round < 2; ++round) {
            expected += Flood(dropped);
            EXPECT_GT(dropped, 0);
            text += standardError.Drain();
        }
        slogf(0, _SLOG_NOTICE, "%s", "end");
        text += standardError.Drain();
        EXPECT_EQ(TakeLosses(text), dropped);
        EXPECT_TRUE(text == expected + "4 0x0 end\n");
        EXPECT_EQ(::fcntl(STDERR_FILENO, F_GETFL) & O_NONBLOCK, 0) << "others share the descriptor";
    }
}

TEST(Slog, WritesAfterWhatAFileHas) {
    const StandardError standardError(Kind::File);
    ::dprintf(STDERR_FILENO, "first\n");
    slogf(1, _SLOG_ERROR, "second");
    EXPECT_EQ(standardError.Drain(), "first\n2 0x1 second\n");
}

TEST(Slog, TellsOfTheLossAtTheEndOfTheProcess) {
    const StandardError standardError(Kind::Pipe);
    const pid_t child = ::fork();
    if (child == 0) {
        int dropped = 0;
        Flood(dropped);
        standardError.Drain();
        std::exit(dropped == 0 ? 1 : 0);
    }
    int status = -1;
    ASSERT_EQ(::waitpid(child, &status, 0), child);
    EXPECT_EQ(status, 0);
    std::string text = standardError.Drain();
    EXPECT_GT(TakeLosses(text), 0);
    EXPECT_EQ(text, "");
}

TEST(Slog, KeepsAMessageOneLine) {
    const StandardError standardError(Kind::Packets);
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
        EXPECT_EQ(standardError.Drain(), head + text + "\n");
    }
    slogf(0, _SLOG_ERROR, "a%cb", 0);
    EXPECT_EQ(standardError.Drain(), "2 0x0 a\\x00b\n");
    slogf(0, _SLOG_DEBUG2, "the lowest severity");
    EXPECT_EQ(standardError.Drain(), "7 0x0 the lowest severity\n");
}

} // namespace
