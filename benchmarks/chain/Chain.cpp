#include "benchmarks/chain/Chain.h"

#include <fcntl.h>
#include <sys/socket.h>

#include <algorithm>
#include <array>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <string_view>
#include <thread>
#include <utility>

#include "benchmarks/common/Clock.h"
#include "benchmarks/common/Pipe.h"
#include "framework/SystemFiles.h"
#include "platform/host/PpsConnection.h"
#include "platform/host/Root.h"

namespace chain {

Chain::Chain(const std::string& programs, const LogMode& log, const std::string& preload)
    : m_server(programs, preload), m_trace(Shared<McuTrace>()) {
    ::setenv("TLG_SLOG_LEVEL", std::to_string(log.level).c_str(), 1);
    std::filesystem::create_directories(m_server.Root() + "/zoapps/etc");
    std::ofstream(m_server.Root() + "/zoapps/etc/volume.conf") << "scheme=0;";
    bench::OpenObject(kLauncher, bench::kMake);
    StartMcu();
    StartService(programs, log, preload);
    m_control = bench::OpenObject(std::string(kControl) + "?wait", bench::kOpen);
    m_status = bench::OpenObject(std::string(kStatus) + "?delta,wait", bench::kOpen);
    m_settings = bench::OpenObject(std::string(kSettings) + "?delta,wait", bench::kOpen);
    std::array<char, host::kMaxPacket> state{};
    ::recv(m_status.Get(), state.data(), state.size(), 0);
    ::recv(m_settings.Get(), state.data(), state.size(), 0);
}

void Chain::StartMcu() {
    const bench::Pipe ready;
    bench::Pipe orders;
    m_order = std::move(orders.write);
    m_mcu.emplace(
        [&] { RunBareMcu(host::BelowRoot(TLG::ZOCAR::g_eqMCU.path), ready.write.Get(), orders.read.Get(), *m_trace); });
    char byte = 0;
    if (::read(ready.read.Get(), &byte, 1) != 1) {
        throw std::runtime_error("the MCU did not start");
    }
}

void Chain::StartService(const std::string& programs, const LogMode& log, const std::string& preload) {
    // Not open(), which looks below the root.
    const UniqueFd nothing(::openat(AT_FDCWD, "/dev/null", O_RDWR | O_CLOEXEC));
    const bench::Pipe logged;
    if (log.hasReader) {
        m_logReader.emplace([&] {
            std::array<char, 65536> text{};
            while (::read(logged.read.Get(), text.data(), text.size()) > 0) {
            }
        });
    }
    const int error = log.hasReader ? logged.write.Get() : nothing.Get();
    m_service.emplace([&] { bench::Become({programs + "/melvane"}, nothing.Get(), error, preload); });
    // It has taken all settings when it has published the last group's.
    const UniqueFd status = bench::OpenObject(std::string(kStatus) + "?delta,wait", bench::kMake);
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
    const std::string_view text(packet.data(), static_cast<std::size_t>(length));
    m_heardSizes.push_back(text.size());
    const std::string line = std::string("\n") + kind.lastLine + ":";
    std::size_t count = 0;
    for (std::size_t at = text.find(line); at != std::string_view::npos; at = text.find(line, at + 1)) {
        ++count;
    }
    return count;
}

long Chain::Pass(const Kind& kind) {
    m_heardSizes.clear();
    const long begin = bench::Now();
    Write(kind);
    while (ReadHeard(kind) == 0) {
    }
    const long end = bench::Now();
    return end - (*kind.first == '\0' ? m_trace->begun : begin);
}

long Chain::PassMany(const Kind& kind, int count, int underWay) {
    m_heardSizes.clear();
    const long begin = bench::Now();
    int written = 0;
    for (int heard = 0; heard < count;) {
        for (; written < count && written - heard < underWay; ++written) {
            Write(kind);
        }
        heard += static_cast<int>(ReadHeard(kind));
    }
    return bench::Now() - begin;
}

std::vector<Hop> Chain::HopsOf(const Kind& kind) {
    Pass(kind); // which may find what another kind's command has left unread
    Pass(kind);
    std::vector<Hop> hops;
    if (*kind.first != '\0') {
        const std::size_t size = std::strlen(kind.first);
        hops = {{kHmi, kServer, size},
                {kServer, kService, std::strlen("@control\n") + size + 1},
                {kService, kMcu, m_trace->received}};
    }
    hops.push_back({kMcu, kService, m_trace->sent});
    // What nobody reads goes as far as the server, with about the bytes of what is read.
    for (std::size_t i = 0; i < kind.unheard.size(); ++i) {
        hops.push_back({kService, kServer, m_heardSizes.back()});
    }
    // The server puts the object's name before what it passes on.
    const std::string_view object = kind.heardAt;
    const std::size_t head = object.size() - object.rfind('/') + 1;
    for (const std::size_t size : m_heardSizes) {
        hops.push_back({kService, kServer, size - head});
        hops.push_back({kServer, kHmi, size});
    }
    return hops;
}

std::vector<bench::Process> Chain::Processes() const {
    return {{"ppsd", m_server.Id()}, {"melvane", m_service->Id()}};
}

} // namespace chain
