#ifndef TLG_TOOLS_PANEL_OBJECTSWATCH_H
#define TLG_TOOLS_PANEL_OBJECTSWATCH_H

#include <map>
#include <string>

#include "platform/posix/UniqueFd.h"
#include "tools/panel/Feed.h"

namespace panel {

/// Subscribes to the objects of the service, those that come later too, and looks who is there.
class ObjectsWatch {
public:
    /// @param feed gets what is published, and who is there; outlives it
    explicit ObjectsWatch(Feed& feed) : m_feed(feed) {}

    /// Watches until @p stopFd is readable.
    void Run(int stopFd);

private:
    void OpenMissing();
    void Receive(const std::string& path);
    void LookWhoIsThere() const;

    Feed& m_feed;
    std::map<std::string, UniqueFd> m_objects; // by their paths
    bool m_isServerThere = false;
};

} // namespace panel

#endif
