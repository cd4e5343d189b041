#include "tools/panel/ObjectsWatch.h"

#include <poll.h>

#include <array>
#include <cerrno>
#include <chrono>

#include "platform/host/PpsConnection.h"
#include "tools/common/Time.h"
#include "tools/eqctl/Presence.h"

namespace panel {

namespace {

constexpr std::array kPaths{"/pps/tolvyn/eq/control",
                            "/pps/tolvyn/eq/status",
                            "/pps/tolvyn/eq/settings",
                            "/pps/tolvyn/system/dev_status",
                            "/pps/tolvyn/system/poweron_status",
                            "/pps/tolvyn/navigation/gps_status",
                            "/pps/services/app-launcher"};

/// How often is looked who is there, and for objects that are missing.
constexpr std::chrono::milliseconds kInterval(200);

const char* Word(bool isTrue) {
    return isTrue ? "true" : "false";
}

} // namespace

void ObjectsWatch::Run(int stopFd) {
    auto next = std::chrono::steady_clock::now();
    for (;;) {
        if (std::chrono::steady_clock::now() >= next) {
            OpenMissing();
            LookWhoIsThere();
            next = std::chrono::steady_clock::now() + kInterval;
        }
        std::vector<pollfd> polled{{stopFd, POLLIN, 0}};
        std::vector<std::string> paths;
        for (const auto& [path, fd] : m_objects) {
            polled.push_back({fd.Get(), POLLIN, 0});
            paths.push_back(path);
        }
        ::poll(polled.data(), polled.size(), MillisecondsUntil(next));
        if (polled[0].revents != 0) {
            return;
        }
        for (std::size_t i = 0; i < paths.size(); ++i) {
            if (polled[i + 1].revents != 0) {
                Receive(paths[i]);
            }
        }
    }
}

void ObjectsWatch::OpenMissing() {
    for (const char* path : kPaths) {
        if (m_objects.count(path) != 0) {
            continue;
        }
        host::PpsReply reply;
        UniqueFd fd = host::OpenPpsObject(std::string(path) + "?delta", host::target_flags::kReadOnly, reply);
        m_isServerThere = fd || reply.error == ENOENT || reply.error == EACCES;
        if (fd) {
            m_feed.AddText(path, "#@" + std::string(path).substr(std::string(path).rfind('/') + 1) + "\n");
            m_objects[path] = std::move(fd);
        } else if (!m_isServerThere) {
            return;
        }
    }
}

/// Takes one packet of an object.
void ObjectsWatch::Receive(const std::string& path) {
    const auto found = m_objects.find(path);
    std::string text;
    if (found == m_objects.end()) {
        return;
    }
    if (host::ReceivePacket(found->second.Get(), text)) {
        m_feed.AddText(path, text);
    } else if (errno != EAGAIN) {
        m_objects.clear();
        m_isServerThere = false;
        LookWhoIsThere();
    }
}

void ObjectsWatch::LookWhoIsThere() const {
    m_feed.SetPeers(std::string("{\"server\":") + Word(m_isServerThere) +
                    ",\"service\":" + Word(eqctl::IsServiceRunning()) + ",\"mcu\":" + Word(eqctl::IsMcuThere()) +
                    ",\"simulator\":" + Word(eqctl::IsSimulatorThere()) + "}");
}

} // namespace panel
