#ifndef TLG_TOOLS_PANEL_LINKFOLLOWER_H
#define TLG_TOOLS_PANEL_LINKFOLLOWER_H

#include <string>

#include "tools/panel/Feed.h"

namespace panel {

/// Follows a recording while it is being written, or a pipe that one is written into.
class LinkFollower {
public:
    /// @param path a file or a pipe; it may be missing, and be made anew at any time
    /// @param feed gets the packets; outlives it
    LinkFollower(std::string path, Feed& feed) : m_path(std::move(path)), m_feed(feed) {}

    /// Follows until @p stopFd is readable.
    void Run(int stopFd);

private:
    void FollowOnce(int stopFd);

    std::string m_path;
    Feed& m_feed;
};

} // namespace panel

#endif
