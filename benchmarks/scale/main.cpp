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
#include <string>
#include <vector>

#include "benchmarks/chain/Floor.h"
#include "benchmarks/chain/Statistics.h"
#include "framework/SystemFiles.h"
#include "platform/host/PpsConnection.h"
#include "platform/host/Root.h"
#include "platform/host/UnixSocket.h"

namespace {

using chain::Now;
using chain::Peer;

constexpr int kReadWrite = host::target_flags::kReadWrite;
constexpr int kCreate = kReadWrite | host::target_flags::kCreate;
constexpr const char* kObject = "/pps/scale/object";

UniqueFd Open(const std::string& path, int flags) {
    host::PpsReply reply;
    UniqueFd object = host::OpenPpsObject(path, flags, reply);
    if (!object) {
        throw std::runtime_error(path + ": " + reply.reason);
    }
    return object;
}

void ReadOne(int fd) {
    static std::array<char, host::kMaxPacket> packet;
    if (::recv(fd, packet.data(), packet.size(), 0) <= 0) {
        throw std::runtime_error("the server has ended");
    }
}

/// A PPS server below a root of its own.
class Server {
public:
    explicit Server(const std::string& programs) {
        m_root = (std::filesystem::temp_directory_path() / "scale.XXXXXX").string();
        ::setenv("TLG_ROOT", ::mkdtemp(m_root.data()), 1);
        int ends[2] = {-1, -1};
        if (::pipe(ends) != 0) {
            throw std::runtime_error("no pipe");
        }
        const UniqueFd read(ends[0]);
        const UniqueFd write(ends[1]);
        m_peer = std::make_unique<Peer>([&] {
            ::dup2(write.Get(), STDOUT_FILENO);
            ::execl((programs + "/ppsd").c_str(), "ppsd", nullptr);
        });
        char byte = 0;
        if (::read(read.Get(), &byte, 1) != 1) {
            throw std::runtime_error("ppsd did not start");
        }
    }
    ~Server() {
        m_peer.reset();
        std::filesystem::remove_all(m_root);
    }
    Server(const Server&) = delete;
    Server& operator=(const Server&) = delete;

private:
    std::string m_root;
    std::unique_ptr<Peer> m_peer;
};

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
    const Server server(programs);
    const UniqueFd writer = Open(std::string(kObject) + "?wait", kCreate);
    std::vector<UniqueFd> subscribers;
    for (int i = 0; i < count; ++i) {
        subscribers.push_back(Open(std::string(kObject) + "?delta,wait", kReadWrite));
        ReadOne(subscribers.back().Get());
    }
    const UniqueFd silent = hasSilentReader ? Open(std::string(kObject) + "?delta", kReadWrite) : UniqueFd();
    const SendLoop loop(count);
    chain::Series series;
    for (int round = 0; round < rounds; ++round) {
        const std::string line = "value:n:" + std::to_string(round);
        series.floor.push_back(loop.Pass("@object\n" + line + "\n"));
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
                chain::Median(series.times) / 1000, chain::Median(series.floor) / 1000,
                chain::Median(series.times) / chain::Median(series.floor));
}

/// From a write until a subscriber has read it, beside so many other objects.
void MeasureObjects(const std::string& programs, int rounds, int count) {
    const Server server(programs);
    for (int i = 1; i < count; ++i) {
        const UniqueFd other = Open("/pps/scale/other" + std::to_string(i) + "?ack,wait", kCreate);
        if (::write(other.Get(), "a::1", 4) < 0) {
            throw std::runtime_error("the server takes no write");
        }
        ReadOne(other.Get());
    }
    const UniqueFd writer = Open(std::string(kObject) + "?wait", kCreate);
    const UniqueFd subscriber = Open(std::string(kObject) + "?delta,wait", kReadWrite);
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
    std::printf("| %d | %.1f | %.1f |\n", count, chain::Median(times) / 1000, chain::Quantile(times, 0.99) / 1000);
}

/// From the start of the service until the MCU has its seventh query.
void MeasureStart(const std::string& programs, int rounds) {
    const Server server(programs);
    std::vector<long> times;
    for (int round = 0; round < rounds; ++round) {
        host::Listener mcu;
        if (!mcu.Open(host::BelowRoot(TLG::ZOCAR::g_eqMCU.path))) {
            throw std::runtime_error("no MCU device");
        }
        const long begin = Now();
        const Peer service([&] {
            ::dup2(::open64("/dev/null", O_RDWR), STDERR_FILENO);
            ::execl((programs + "/melvane").c_str(), "melvane", nullptr);
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
                chain::Median(times) / 1e6, rounds, chain::Quantile(times, 1) / 1e6);
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
        chain::BindToProcessors(processors);
        Run(std::filesystem::read_symlink("/proc/self/exe").parent_path(), rounds);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "scale_benchmark: %s\n", error.what());
        return 1;
    }
    return 0;
}
