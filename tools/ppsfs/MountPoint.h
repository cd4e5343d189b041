#ifndef TLG_TOOLS_PPSFS_MOUNTPOINT_H
#define TLG_TOOLS_PPSFS_MOUNTPOINT_H

#include <string>

#include "platform/posix/UniqueFd.h"

namespace ppsfs {

/// The directory that a file system is to be mounted on. As long as this lives, no other ppsfs takes it.
class MountPoint {
public:
    /// Makes the directory where it is missing, takes it over from a ppsfs that was killed, and locks it.
    /// @return why it can't be used; empty where it can
    std::string Take(const std::string& path);

    /// The whole path, without links.
    const std::string& Path() const { return m_path; }

private:
    std::string Lock();

    std::string m_path;
    UniqueFd m_directory; // the one that the mount hides
};

/// What this machine or user lacks for mounting; empty where nothing is missing.
std::string MissingForMounting();

} // namespace ppsfs

#endif
