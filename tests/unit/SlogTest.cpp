// The host's logger itself, with standard error redirected to every kind of file that it may be.
#include <gtest/gtest.h>
#include <sys/slog.h>

#include <fcntl.h>
#include <poll.h>
#include <pty.h>
#include <sys/mman.h>
#include <sys/socket.h>
#include <sys/wait.h>

#include <array>
#include <cerrno>
#include <cstdlib>
#include <ostream>
#include <string>
#include <utility>

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

template <int type>
Ends Sockets() {
    int ends[2] = {-1, -1};
    EXPECT_EQ(::socketpair(AF_UNIX, type | SOCK_CLOEXEC, 0, ends), 0);
    return {UniqueFd(ends[0]), UniqueFd(ends[1])};
}

Ends Terminal() {
    int master = -1;
    int slave = -1;
    termios raw{};
    ::cfmakeraw(&raw);
    EXPECT_EQ(::openpty(&master, &slave, nullptr, &raw, nullptr), 0);
    return {UniqueFd(master), UniqueFd(slave)};
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
    std::array<char, 65536> block{};
    pollfd there{end.Get(), POLLIN, 0};
    while (::poll(&there, 1, 0) == 1 && (there.revents & POLLIN) != 0) {
        const ssize_t length = ::read(end.Get(), block.data(), block.size());
        if (length <= 0) {
            break;
        }
        text.append(block.data(), static_cast<std::size_t>(length));
    }
    return text;
}

constexpr int kFlood = 20000; // more than any of them takes in
const std::string kFiller(300, '-');

/// Logs a flood; the lines that it should have given.
std::string Flood(int& dropped) {
    std::string expected;
    for (int i = 0; i < kFlood; ++i) {
        errno = EDOM;
        const int logged = slogf(0x1F, _SLOG_INFO, "%d %s\n", i, kFiller.c_str());
        EXPECT_EQ(errno, EDOM);
        if (logged > 0) {
            expected += "5 0x1f " + std::to_string(i) + " " + kFiller + "\n";
        } else {
            ++dropped;
        }
    }
    return expected;
}

const std::string kLoss = "3 0x0 slogf: ";

/// Takes the lines that tell of dropped messages out of a text; the sum of their numbers.
int TakeLosses(std::string& text) {
    int sum = 0;
    for (std::size_t at = 0; at < text.size();) {
        const std::size_t length = text.find('\n', at) + 1 - at;
        if (text.compare(at, kLoss.size(), kLoss) == 0) {
            const std::string line = text.substr(at, length);
            const int dropped = std::atoi(line.c_str() + kLoss.size()); // NOLINT(cert-err34-c): compared below
            EXPECT_EQ(line, kLoss + std::to_string(dropped) + " messages dropped\n");
            sum += dropped;
            text.erase(at, length);
        } else {
            at += length;
        }
    }
    return sum;
}

struct Kind {
    const char* name;
    Ends (*make)();
};

void PrintTo(const Kind& kind, std::ostream* out) {
    *out << kind.name;
}

class SlogSinkTest : public testing::TestWithParam<Kind> {};

TEST_P(SlogSinkTest, DropsWhatNobodyTakesAndTellsHowMany) {
    const Ends ends = GetParam().make();
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

INSTANTIATE_TEST_SUITE_P(Kinds, SlogSinkTest,
                         testing::Values(Kind{"pipe", &Pipe}, Kind{"terminal", &Terminal},
                                         Kind{"stream", &Sockets<SOCK_STREAM>},
                                         Kind{"packets", &Sockets<SOCK_SEQPACKET>}));

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
    const std::string text = Drain(ends.read);
    EXPECT_EQ(text.rfind(kLoss, 0), 0U) << text;
    EXPECT_EQ(text.find('\n'), text.size() - 1) << text;
}

TEST(Slog, KeepsAMessageOneLine) {
    const Ends ends = Sockets<SOCK_SEQPACKET>();
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
        std::array<char, 8192> packet{};
        const ssize_t length = ::recv(ends.read.Get(), packet.data(), packet.size(), MSG_DONTWAIT);
        ASSERT_GE(length, 0);
        EXPECT_EQ(std::string(packet.data(), static_cast<std::size_t>(length)), head + text + "\n");
    }
    slogf(0, _SLOG_ERROR, "a%cb", 0);
    EXPECT_EQ(Drain(ends.read), "2 0x0 a\\x00b\n");
}

TEST(Slog, SharesTheOffsetOfAFile) {
    const UniqueFd file(::memfd_create("log", MFD_CLOEXEC));
    ASSERT_TRUE(file);
    const Redirected redirected(file);
    for (const char* text : {"a", "b"}) {
        ASSERT_EQ(::write(file.Get(), "other\n", 6), 6);
        slogf(0, _SLOG_ERROR, "%s", text);
    }
    std::array<char, 64> content{};
    const ssize_t length = ::pread(file.Get(), content.data(), content.size(), 0);
    EXPECT_EQ(std::string(content.data(), static_cast<std::size_t>(length)), "other\n2 0x0 a\nother\n2 0x0 b\n");
}

} // namespace
