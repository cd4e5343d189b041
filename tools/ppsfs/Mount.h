#ifndef TLG_TOOLS_PPSFS_MOUNT_H
#define TLG_TOOLS_PPSFS_MOUNT_H

#include <memory>
#include <string>

#include "tools/ppsfs/FileSystem.h"

namespace ppsfs {

/// A file system that is mounted as long as this lives, unless somebody unmounts it.
class Mount : public Watched, public std::enable_shared_from_this<Mount> {
public:
    /// @param fileSystem and loop outlive it
    Mount(FileSystem& fileSystem, Loop& loop) : m_fileSystem(fileSystem), m_loop(loop) {}
    Mount(const Mount&) = delete;
    Mount& operator=(const Mount&) = delete;
    ~Mount() override;

    /// Mounts. @return why it can't be mounted; empty where it is
    std::string Open(const std::string& path);

    /// Whether it is unmounted.
    bool IsOver() const;

    void OnEvents(std::uint32_t events) override;

private:
    FileSystem& m_fileSystem;
    Loop& m_loop;
    fuse_session* m_session = nullptr;
    bool m_isMounted = false;
    fuse_buf m_buffer{};
};

} // namespace ppsfs

#endif
