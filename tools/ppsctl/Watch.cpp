#include "tools/ppsctl/Watch.h"

#include <poll.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <iterator>
#include <utility>

#include "platform/host/PpsConnection.h"
#include "platform/pps/Line.h"
#include "tools/common/Output.h"
#include "tools/common/Time.h"
#include "tools/ppsctl/Json.h"
#include "tools/ppsctl/Pattern.h"
#include "tools/ppsctl/Requests.h"

namespace ppsctl {

namespace {

/// How often objects that are not there yet are looked for.
constexpr std::chrono::milliseconds kScanInterval(200);

} // namespace

Watch::Watch(WatchOptions options) : m_options(std::move(options)) {
    const auto& patterns = m_options.patterns;
    m_showsPaths = patterns.size() > 1 || std::any_of(patterns.begin(), patterns.end(), HasWildcard);
}

int Watch::Run(int stopFd) {
    if (m_options.limit) {
        m_end = Clock::now() + *m_options.limit;
    }
    if (!Scan(true)) {
        return 1;
    }
    NameMissing();
    while (!(m_options.count && m_changes >= *m_options.count)) {
        // Of standard output, the loss of its reader is noticed.
        std::vector<pollfd> polled{{stopFd, POLLIN, 0}, {STDOUT_FILENO, 0, 0}};
        std::vector<std::string> paths;
        for (const auto& [path, subscription] : m_subscriptions) {
            polled.push_back({subscription.fd.Get(), POLLIN, 0});
            paths.push_back(path);
        }
        if (::poll(polled.data(), polled.size(), TimeoutMs()) < 0 && errno != EINTR) {
            return Fail("poll", errno);
        }
        const bool isOver = m_end && Clock::now() >= *m_end;
        if (polled[0].revents != 0 || (polled[1].revents & POLLERR) != 0 || isOver) {
            return 0;
        }
        for (std::size_t i = 0; i < paths.size() && !(m_options.count && m_changes >= *m_options.count); ++i) {
            if (polled[i + 2].revents != 0 && !Receive(paths[i])) {
                return 0;
            }
        }
        if (Clock::now() >= m_nextScan) {
            Scan(false);
        }
    }
    return 0;
}

/// The objects that are to be watched, whether they exist or not where no pattern is needed for them.
std::optional<std::set<std::string>> Watch::MatchingPaths(std::string& error) {
    std::set<std::string> paths;
    std::optional<std::vector<std::string>> all;
    for (const std::string& pattern : m_options.patterns) {
        if (!HasWildcard(pattern)) {
            paths.insert(pattern);
            continue;
        }
        if (!all && !(all = ListObjects(error))) {
            return std::nullopt;
        }
        std::copy_if(all->begin(), all->end(), std::inserter(paths, paths.end()),
                     [&pattern](const std::string& path) { return Matches(pattern, path); });
    }
    return paths;
}

/// Opens what is there and not open yet. False, with a line, where the first scan fails.
bool Watch::Scan(bool isFirst) {
    m_nextScan = Clock::now() + kScanInterval;
    std::string error;
    const auto paths = MatchingPaths(error);
    if (!paths) {
        return !isFirst || Fail("list", error) == 0;
    }
    return OpenAll(*paths, isFirst);
}

bool Watch::OpenAll(const std::set<std::string>& paths, bool isFirst) {
    for (const std::string& path : paths) {
        if (m_subscriptions.count(path) != 0) {
            continue;
        }
        host::PpsReply reply;
        UniqueFd fd = host::OpenPpsObject(path + "?delta", host::target_flags::kReadOnly, reply);
        if (fd) {
            m_subscriptions[path] = {std::move(fd), isFirst || m_isServerLost};
        } else if (isFirst && reply.error != ENOENT) {
            Fail(path, reply.reason);
            return false;
        } else if (reply.error == ECONNREFUSED) {
            return true; // the server is away still
        }
    }
    m_isServerLost = false;
    return true;
}

/// Says which patterns nothing matches.
void Watch::NameMissing() const {
    for (const std::string& pattern : m_options.patterns) {
        const bool isThere = std::any_of(m_subscriptions.begin(), m_subscriptions.end(),
                                         [&pattern](const auto& each) { return Matches(pattern, each.first); });
        if (!isThere) {
            std::fprintf(stderr, "ppsctl: %s: no such object yet; waiting\n", pattern.c_str());
        }
    }
}

/// Takes one packet of an object. False where nobody reads the output.
bool Watch::Receive(const std::string& path) {
    const auto found = m_subscriptions.find(path);
    if (found == m_subscriptions.end()) {
        return true;
    }
    std::string text;
    if (!host::ReceivePacket(found->second.fd.Get(), text)) {
        if (errno != EAGAIN) {
            LoseServer();
        }
        return true;
    }
    m_changes += std::exchange(found->second.awaitsState, false) ? 0 : 1;
    return Show(path, text);
}

void Watch::LoseServer() {
    std::fprintf(stderr, "ppsctl: the PPS server has ended; waiting until it is back\n");
    m_subscriptions.clear();
    m_isServerLost = true;
}

bool Watch::Show(const std::string& path, const std::string& text) const {
    const std::string time = m_options.time ? SecondsText(std::chrono::system_clock::now().time_since_epoch()) : "";
    if (m_options.json) {
        return Print(JsonOf(path, text, time) + "\n");
    }
    std::string lines;
    for (std::string_view rest = text; !rest.empty();) {
        lines.append(time).append(time.empty() ? "" : " ").append(m_showsPaths ? path + " " : "");
        lines.append(pps::NextLine(rest)).append("\n");
    }
    return Print(lines);
}

bool Watch::HasAll() const {
    return std::all_of(m_options.patterns.begin(), m_options.patterns.end(), [this](const std::string& pattern) {
        return !HasWildcard(pattern) && m_subscriptions.count(pattern) != 0;
    });
}

int Watch::TimeoutMs() const {
    std::optional<Clock::time_point> due = m_end;
    if (!HasAll()) {
        due = due ? std::min(*due, m_nextScan) : m_nextScan;
    }
    return due ? MillisecondsUntil(*due) : -1;
}

} // namespace ppsctl
