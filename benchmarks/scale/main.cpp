// How the PPS server and the start of the service bear numbers: see docs/benchmarks.md.
#include <fcntl.h>
#include <poll.h>
#include <sys/socket.h>

#include <CLI/CLI.hpp>

#include <array>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "benchmarks/common/Clock.h"
#include "benchmarks/common/Peer.h"
#include "benchmarks/common/Pipe.h"
#include "benchmarks/common/PpsServer.h"
#include "benchmarks/common/Statistics.h"
#include "framework/SystemFiles.h"
#include "platform/host/Root.h"
#include "platform/host/UnixSocket.h"

namespace {

using bench::kMake;
using bench::kOpen;
using bench::Now;
using bench::OpenObject;
using bench::Peer;
using bench::PpsServer;

constexpr const char* kObject = "/pps/scale/object";

void ReadOne(int fd) {
    static std::array<char, host::kMaxPacket> packet;
    if (::recv(fd, packet.data(), packet.size(), 0) <= 0) {
        throw std::runtime_error("the server has ended");
    }
}

/// A process that reads a message and sends it to so many sockets, and does nothing else.
class SendLoop {
public:
    explicit SendLoop(int count) {
        for (int i = 0; i <= count; ++i) {
            int ends[2] = {-1, -1};
            if (::socketpair(AF_UNIX, SOCK_SEQPACKET, 0, ends) != 0) {
                throw std::runtime_error("no sockets");
            }
            m_mine.emplace_back(ends[0]);
            m_theirs.emplace_back(ends[1]);
        }
        m_peer = std::make_unique<Peer>([this] {
            std::array<char, 4096> message{};
            for (;;) {
                const ssize_t length = ::recv(m_theirs[0].Get(), message.data(), message.size(), 0);
                if (length <= 0) {
                    ::_exit(0);
                }
                for (std::size_t i = 1; i < m_theirs.size(); ++i) {
                    ::send(m_theirs[i].Get(), message.data(), static_cast<std::size_t>(length), MSG_NOSIGNAL);
                }
            }
        });
    }

    long Pass(const std::string& message) const {
        const long begin = Now();
        if (::send(m_mine[0].Get(), message.data(), message.size(), 0) < 0) {
            throw std::runtime_error("the loop has ended");
        }
        for (std::size_t i = 1; i < m_mine.size(); ++i) {
            ReadOne(m_mine[i].Get());
        }
        return Now() - begin;
    }

private:
    std::vector<UniqueFd> m_mine; // the first takes the message
    std::vector<UniqueFd> m_theirs;
    std::unique_ptr<Peer> m_peer;
};

/// From a write until all subscribers have read it.
void MeasureSubscribers(const std::string& programs, int rounds, int count, bool hasSilentReader) {
    const PpsServer server(programs);
    const UniqueFd writer = OpenObject(std::string(kObject) + "?wait", kMake);
    std::vector<UniqueFd> subscribers;
    for (int i = 0; i < count; ++i) {
        subscribers.push_back(OpenObject(std::string(kObject) + "?delta,wait", kOpen));
        ReadOne(subscribers.back().Get());
    }
    const UniqueFd silent = hasSilentReader ? OpenObject(std::string(kObject) + "?delta", kOpen) : UniqueFd();
    const SendLoop loop(count);
    bench::Series series;
    for (int round = 0; round < rounds; ++round) {
        const std::string line = "value:n:" + std::to_string(round);
        series.base.push_back(loop.Pass("@object\n" + line + "\n"));
        const long begin = Now();
        if (::write(writer.Get(), line.data(), line.size()) < 0) {
            throw std::runtime_error("the server takes no write");
        }
        for (const UniqueFd& subscriber : subscribers) {
            ReadOne(subscriber.Get());
        }
        series.times.push_back(Now() - begin);
    }
    std::printf("| %d | %s | %.1f | %.1f | %.2f |\n", count, hasSilentReader ? "yes" : "no",
                bench::Median(series.times) / 1000, bench::Median(series.base) / 1000,
                bench::Median(series.times) / bench::Median(series.base));
}

/// From a write until a subscriber has read it, beside so many other objects.
void MeasureObjects(const std::string& programs, int rounds, int count) {
    const PpsServer server(programs);
    for (int i = 1; i < count; ++i) {
        const UniqueFd other = OpenObject("/pps/scale/other" + std::to_string(i) + "?ack,wait", kMake);
        if (::write(other.Get(), "a::1", 4) < 0) {
            throw std::runtime_error("the server takes no write");
        }
        ReadOne(other.Get());
    }
    const UniqueFd writer = OpenObject(std::string(kObject) + "?wait", kMake);
    const UniqueFd subscriber = OpenObject(std::string(kObject) + "?delta,wait", kOpen);
    ReadOne(subscriber.Get());
    std::vector<long> times;
    for (int round = 0; round < rounds; ++round) {
        const std::string line = "value:n:" + std::to_string(round);
        const long begin = Now();
        if (::write(writer.Get(), line.data(), line.size()) < 0) {
            throw std::runtime_error("the server takes no write");
        }
        ReadOne(subscriber.Get());
        times.push_back(Now() - begin);
    }
    std::printf("| %d | %.1f | %.1f |\n", count, bench::Median(times) / 1000, bench::Quantile(times, 0.99) / 1000);
}

/// From the start of the service until the MCU has its seventh query.
void MeasureStart(const std::string& programs, int rounds) {
    const PpsServer server(programs);
    std::vector<long> times;
    for (int round = 0; round < rounds; ++round) {
        host::Listener mcu;
        if (!mcu.Open(host::BelowRoot(TLG::ZOCAR::g_eqMCU.path))) {
            throw std::runtime_error("no MCU device");
        }
        const long begin = Now();
        const Peer service([&] {
            const int nothing = ::openat(AT_FDCWD, "/dev/null", O_RDWR); // open() looks below the root
            bench::Become({programs + "/melvane"}, nothing, nothing);
        });
        pollfd newcomer{mcu.Fd(), POLLIN, 0};
        ::poll(&newcomer, 1, -1);
        const UniqueFd connection = mcu.Accept();
        ::fcntl(connection.Get(), F_SETFL, 0);
        for (int query = 0; query < 7; ++query) {
            ReadOne(connection.Get());
        }
        times.push_back(Now() - begin);
    }
    std::printf("\nFrom the start of the process to the seventh query: median %.1f ms, the slowest of %d %.1f ms\n",
                bench::Median(times) / 1e6, rounds, bench::Quantile(times, 1) / 1e6);
}

/// The server's objects as files, as long as it lives.
class Mount {
public:
    Mount(const std::string& programs, std::string path) : m_path(std::move(path)) {
        const bench::Pipe output;
        m_ppsfs.emplace([&] { bench::Become({programs + "/ppsfs"}, output.write.Get(), STDERR_FILENO); });
        std::array<char, 64> ready{};
        pollfd either{output.read.Get(), POLLIN, 0};
        m_isReady = ::poll(&either, 1, kMostMs) == 1 && ::read(output.read.Get(), ready.data(), ready.size()) > 0;
    }
    ~Mount() {
        if (m_isReady && std::system(("fusermount3 -uzq '" + m_path + "'").c_str()) != 0) {
            std::fprintf(stderr, "scale_benchmark: %s stays mounted\n", m_path.c_str());
        }
    }
    Mount(const Mount&) = delete;
    Mount& operator=(const Mount&) = delete;

    explicit operator bool() const { return m_isReady; }

private:
    static constexpr int kMostMs = 3000;

    std::string m_path;
    std::optional<Peer> m_ppsfs;
    bool m_isReady = false;
};

/// The median time in microseconds of so many calls.
template <typename Call>
double Measure(int rounds, Call call) {
    std::vector<long> times;
    for (int round = 0; round < rounds; ++round) {
        const long begin = Now();
        call();
        times.push_back(Now() - begin);
    }
    return bench::Median(times) / 1000;
}

/// A write that is applied when the call returns, and one with its opening and closing, over the socket and as a file.
void MeasureFiles(const std::string& programs, int rounds) {
    const PpsServer server(programs);
    const Mount mount(programs, server.Root() + "/pps");
    if (!mount) {
        std::puts("\nskipped: no /dev/fuse");
        return;
    }
    constexpr std::string_view kLine = "value:n:1\n";
    const auto write = [kLine](int fd) {
        if (::write(fd, kLine.data(), kLine.size()) < 0) {
            throw std::runtime_error("the server takes no write");
        }
    };
    const auto openSocket = [] { return OpenObject(std::string(kObject) + "?ack,wait", kMake); };
    const auto writeSocket = [&write](const UniqueFd& object) {
        write(object.Get());
        ReadOne(object.Get());
    };
    writeSocket(openSocket());
    const std::string path = server.Root() + kObject;
    const auto openFile = [&path] { return UniqueFd(::openat(AT_FDCWD, path.c_str(), O_WRONLY | O_APPEND)); };
    const UniqueFd socket = openSocket();
    const UniqueFd file = openFile();
    const double base[] = {Measure(rounds, [&] { writeSocket(socket); }),
                           Measure(rounds, [&] { writeSocket(openSocket()); })};
    const double times[] = {Measure(rounds, [&] { write(file.Get()); }),
                            Measure(rounds, [&] { write(openFile().Get()); })};
    std::puts("\n| | over the socket us | as a file us | ratio |\n|---|---|---|---|");
    for (const int kind : {0, 1}) {
        std::printf("| %s | %.1f | %.1f | %.2f |\n", kind == 0 ? "write" : "open, write, close", base[kind],
                    times[kind], times[kind] / base[kind]);
    }
}

void Run(const std::string& programs, int rounds) {
    std::puts("| subscribers | a silent one | us | bare send loop us | ratio |\n|---|---|---|---|---|");
    for (const bool hasSilentReader : {false, true}) {
        for (const int count : {1, 8, 64, 512}) {
            MeasureSubscribers(programs, rounds, count, hasSilentReader);
        }
    }
    std::puts("\n| objects | us | 99th percentile us |\n|---|---|---|");
    for (const int count : {10, 100, 1000, 4000}) {
        MeasureObjects(programs, rounds, count);
    }
    MeasureStart(programs, 20);
    MeasureFiles(programs, rounds);
}

} // namespace

int main(int argc, char** argv) {
    CLI::App app("Measures the PPS server with many subscribers and objects, and the start of the service.",
                 "scale_benchmark");
    int rounds = 1000;
    int processors = 1;
    app.add_option("--rounds", rounds, "writes of each kind")->check(CLI::Range(50, 1000000))->capture_default_str();
    app.add_option("--processors", processors, "how many processors all of it has")->capture_default_str();
    CLI11_PARSE(app, argc, argv);
    try {
        bench::BindToProcessors(processors);
        Run(std::filesystem::read_symlink("/proc/self/exe").parent_path(), rounds);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "scale_benchmark: %s\n", error.what());
        return 1;
    }
    return 0;
}
