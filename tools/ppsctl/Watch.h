#ifndef TLG_TOOLS_PPSCTL_WATCH_H
#define TLG_TOOLS_PPSCTL_WATCH_H

#include <chrono>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "platform/posix/UniqueFd.h"

namespace ppsctl {

struct WatchOptions {
    std::vector<std::string> patterns;
    bool time = false;                              ///< seconds since the epoch before each line
    bool json = false;                              ///< a JSON object for each state and change
    std::optional<long> count;                      ///< ends after so many changes
    std::optional<std::chrono::milliseconds> limit; ///< ends after this time
};

/// Prints the states of objects, and then every change. Objects that come later are included, and the server may end
/// and come back.
class Watch {
public:
    explicit Watch(WatchOptions options);

    /// Watches until @p stopFd is readable or the options end it. The exit status.
    int Run(int stopFd);

private:
    using Clock = std::chrono::steady_clock;

    bool Scan(bool isFirst);
    bool OpenAll(const std::set<std::string>& paths, bool isFirst);
    std::optional<std::set<std::string>> MatchingPaths(std::string& error);
    bool HasAll() const;
    void NameMissing() const;
    bool Receive(const std::string& path);
    bool Show(const std::string& path, const std::string& text) const;
    void LoseServer();
    int TimeoutMs() const;

    struct Subscription {
        UniqueFd fd;
        bool awaitsState = true; ///< what comes first is no change
    };

    WatchOptions m_options;
    bool m_showsPaths = false;
    std::map<std::string, Subscription> m_subscriptions; // by path
    bool m_isServerLost = false;
    long m_changes = 0;
    Clock::time_point m_nextScan;
    std::optional<Clock::time_point> m_end;
};

} // namespace ppsctl

#endif
