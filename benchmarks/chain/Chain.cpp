#include "benchmarks/chain/Chain.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/socket.h>

#include <array>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <string_view>
#include <thread>

#include "benchmarks/chain/BareMcu.h"
#include "framework/McuPacket.h"
#include "framework/SystemFiles.h"
#include "platform/host/PpsConnection.h"
#include "platform/host/Root.h"

namespace chain {

namespace {

constexpr int kReadWrite = host::target_flags::kReadWrite;
constexpr int kCreate = kReadWrite | host::target_flags::kCreate;

struct Pipe {
    Pipe() {
        int ends[2] = {-1, -1};
        if (::pipe2(ends, O_CLOEXEC) != 0) {
            throw std::runtime_error("no pipe");
        }
        read.Reset(ends[0]);
        write.Reset(ends[1]);
    }
    UniqueFd read;
    UniqueFd write;
};

[[noreturn]] void Become(const std::string& program, int output, int error, const std::string& preload) {
    ::dup2(output, STDOUT_FILENO);
    ::dup2(error, STDERR_FILENO);
    if (!preload.empty()) {
        ::setenv("LD_PRELOAD", preload.c_str(), 1);
    }
    ::execl(program.c_str(), program.c_str(), nullptr);
    ::_exit(127);
}

UniqueFd OpenObject(const std::string& path, int flags) {
    host::PpsReply reply;
    UniqueFd object = host::OpenPpsObject(path, flags, reply);
    if (!object) {
        throw std::runtime_error(path + ": " + reply.reason);
    }
    return object;
}

/// How the MCU's socket end answers: sizes of its packets.
std::size_t PacketSize(std::size_t payload) {
    return sizeof(TLG::ZOCAR::PacketHeader_s) + payload;
}

} // namespace

Chain::Chain(const std::string& programs, const LogMode& log, const std::string& preload) : m_begun(SharedNumber()) {
    m_root = (std::filesystem::temp_directory_path() / "chain.XXXXXX").string();
    ::setenv("TLG_ROOT", ::mkdtemp(m_root.data()), 1);
    ::setenv("TLG_SLOG_LEVEL", std::to_string(log.level).c_str(), 1);
    std::filesystem::create_directories(m_root + "/zoapps/etc");
    std::ofstream(m_root + "/zoapps/etc/volume.conf") << "scheme=0;";
    StartPrograms(programs, log, preload);
    m_control = OpenObject(std::string(kControl) + "?wait", kReadWrite);
    m_status = OpenObject(std::string(kStatus) + "?delta,wait", kReadWrite);
    m_settings = OpenObject(std::string(kSettings) + "?delta,wait", kReadWrite);
    std::array<char, host::kMaxPacket> state{};
    ::recv(m_status.Get(), state.data(), state.size(), 0);
    ::recv(m_settings.Get(), state.data(), state.size(), 0);
}

Chain::~Chain() {
    while (!m_peers.empty()) {
        m_peers.pop_back();
    }
    std::filesystem::remove_all(m_root);
}

void Chain::StartPrograms(const std::string& programs, const LogMode& log, const std::string& preload) {
    // Not open(), which looks below the root.
    const UniqueFd nothing(::open64("/dev/null", O_RDWR | O_CLOEXEC));
    const Pipe ready;
    char byte = 0;
    m_peers.push_back(
        std::make_unique<Peer>([&] { Become(programs + "/ppsd", ready.write.Get(), STDERR_FILENO, preload); }));
    m_server = m_peers.back()->Id();
    std::array<char, 64> line{};
    if (::read(ready.read.Get(), line.data(), line.size()) <= 0) {
        throw std::runtime_error("ppsd did not start");
    }
    OpenObject(kLauncher, kCreate);
    Pipe orders;
    m_order.Reset(orders.write.Release());
    m_peers.push_back(std::make_unique<Peer>(
        [&] { RunBareMcu(host::BelowRoot(TLG::ZOCAR::g_eqMCU.path), ready.write.Get(), orders.read.Get(), m_begun); }));
    if (::read(ready.read.Get(), &byte, 1) != 1) {
        throw std::runtime_error("the MCU did not start");
    }
    const Pipe logged;
    if (log.hasReader) {
        m_peers.push_back(std::make_unique<Peer>([&] {
            std::array<char, 65536> text{};
            while (::read(logged.read.Get(), text.data(), text.size()) > 0) {
            }
        }));
    }
    const int error = log.hasReader ? logged.write.Get() : nothing.Get();
    m_peers.push_back(std::make_unique<Peer>([&] { Become(programs + "/melvane", nothing.Get(), error, preload); }));
    m_service = m_peers.back()->Id();
    // It has taken all settings when it has published the last group's.
    const UniqueFd status = OpenObject(std::string(kStatus) + "?delta,wait", kCreate);
    std::string text;
    while (text.find("zoalc:") == std::string::npos) {
        std::array<char, host::kMaxPacket> packet{};
        const ssize_t length = ::recv(status.Get(), packet.data(), packet.size(), 0);
        text.append(packet.data(), static_cast<std::size_t>(std::max<ssize_t>(length, 0)));
    }
    std::this_thread::sleep_for(std::chrono::milliseconds(50)); // and the extended volumes after it
}

void Chain::Write(const Kind& kind) {
    bool& isSecond = m_isSecond[&kind];
    const char* line = isSecond ? kind.second : kind.first;
    isSecond = !isSecond;
    const std::size_t size = *kind.first == '\0' ? 1 : std::strlen(line);
    if (::write(*kind.first == '\0' ? m_order.Get() : m_control.Get(), line, size) < 0) {
        throw std::runtime_error("the chain takes no command");
    }
}

/// Reads a message of the service. How many last lines of this kind it holds.
std::size_t Chain::ReadHeard(const Kind& kind) {
    static std::array<char, host::kMaxPacket> packet;
    const int object = std::string_view(kind.heardAt) == kStatus ? m_status.Get() : m_settings.Get();
    const ssize_t length = ::recv(object, packet.data(), packet.size(), 0);
    if (length <= 0) {
        throw std::runtime_error("the server has ended");
    }
    m_lastSize = static_cast<std::size_t>(length);
    const std::string_view text(packet.data(), m_lastSize);
    const std::string line = std::string("\n") + kind.lastLine + ":";
    std::size_t count = 0;
    for (std::size_t at = text.find(line); at != std::string_view::npos; at = text.find(line, at + 1)) {
        ++count;
    }
    return count;
}

long Chain::Pass(const Kind& kind) {
    *m_begun = Now();
    const long begin = *m_begun;
    Write(kind);
    while (ReadHeard(kind) == 0) {
    }
    const long end = Now();
    return end - (*kind.first == '\0' ? *m_begun : begin);
}

long Chain::PassMany(const Kind& kind, int count, int underWay) {
    const long begin = Now();
    int written = 0;
    for (int heard = 0; heard < count;) {
        for (; written < count && written - heard < underWay; ++written) {
            Write(kind);
        }
        heard += static_cast<int>(ReadHeard(kind));
    }
    return Now() - begin;
}

std::vector<Hop> Chain::HopsOf(const Kind& kind) {
    const bool isCommand = *kind.first != '\0';
    const std::size_t size = std::strlen(kind.first);
    Pass(kind);
    const bool isCurve = std::string_view(kind.name) == "zoeqtype";
    const std::size_t record = PacketSize(isCurve ? 110 : 18);
    const bool isKey = std::string_view(kind.name) == "zovolume_mute";
    std::vector<Hop> hops;
    if (isCommand) {
        hops = {{kHmi, kServer, size}, {kServer, kService, size + 9}, {kService, kMcu, isKey ? PacketSize(4) : record}};
    }
    hops.push_back({kMcu, kService, isKey ? record : PacketSize(isCommand ? 2 : 4)});
    // What nobody reads goes as far as the server, with about the bytes of what is read.
    for (std::size_t i = 0; i < kind.unheard.size(); ++i) {
        hops.push_back({kService, kServer, m_lastSize});
    }
    for (int i = 0; i < kind.heard; ++i) {
        hops.push_back({kService, kServer, m_lastSize});
        hops.push_back({kServer, kHmi, m_lastSize});
    }
    return hops;
}

std::vector<Process> Chain::Processes() const {
    return {{"ppsd", m_server}, {"melvane", m_service}};
}

} // namespace chain
