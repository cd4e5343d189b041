#include "tools/ppsfs/MountPoint.h"

#include <fcntl.h>
#include <linux/magic.h>
#include <spawn.h>
#include <sys/file.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <sys/vfs.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <sstream>

namespace ppsfs {

namespace {

constexpr const char* kDevice = "/dev/fuse";
constexpr const char* kHelper = "fusermount3"; // mounts and unmounts for users who may not

bool IsInPath(const std::string& program) {
    const char* const path = std::getenv("PATH");
    std::istringstream directories(path == nullptr ? "" : path);
    for (std::string directory; std::getline(directories, directory, ':');) {
        if (::access((directory + "/" + program).c_str(), X_OK) == 0) {
            return true;
        }
    }
    return false;
}

/// Unmounts what a killed program has left.
bool Unmount(const std::string& path) {
    if (::geteuid() == 0) {
        return ::umount2(path.c_str(), MNT_DETACH) == 0;
    }
    std::string arguments[] = {kHelper, "-u", "-q", "-z", "--", path};
    char* argv[7] = {};
    for (int i = 0; i < 6; ++i) {
        argv[i] = arguments[i].data();
    }
    pid_t child = 0;
    int status = 0;
    return ::posix_spawnp(&child, kHelper, nullptr, nullptr, argv, environ) == 0 &&
           ::waitpid(child, &status, 0) == child && status == 0;
}

/// Whether what is mounted there is a ppsfs.
bool IsPpsfs(const std::string& path) {
    std::ifstream mounts("/proc/self/mountinfo");
    for (std::string line; std::getline(mounts, line);) {
        // The sixth word is the mount point; after a hyphen comes the type.
        if (line.find(" " + path + " ") != std::string::npos && line.find(" - fuse.ppsfs ") != std::string::npos) {
            return true;
        }
    }
    return false;
}

/// The path with its links resolved but for the last component, which may be a mount that does not answer.
std::string Resolved(const std::string& path) {
    std::error_code ignored;
    std::filesystem::path whole = std::filesystem::absolute(path, ignored).lexically_normal();
    if (!whole.has_filename()) {
        whole = whole.parent_path(); // it ended with a slash
    }
    std::filesystem::create_directories(whole.parent_path(), ignored);
    const std::filesystem::path parent = std::filesystem::canonical(whole.parent_path(), ignored);
    return ignored ? whole.string() : (parent / whole.filename()).string();
}

} // namespace

std::string MountPoint::Take(const std::string& path) {
    m_path = Resolved(path);
    struct stat status {};
    if (::stat(m_path.c_str(), &status) != 0 && errno == ENOTCONN && !Unmount(m_path)) {
        return "a ppsfs that has ended left it, and you may not unmount it";
    }
    constexpr mode_t kMode = 0755;
    if (::mkdir(m_path.c_str(), kMode) != 0 && errno != EEXIST) {
        return std::strerror(errno);
    }
    return Lock();
}

std::string MountPoint::Lock() {
    m_directory.Reset(::openat(AT_FDCWD, m_path.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    struct stat status {};
    struct stat parent {};
    struct statfs system {};
    if (!m_directory || ::fstat(m_directory.Get(), &status) != 0 || ::fstatfs(m_directory.Get(), &system) != 0 ||
        ::stat((m_path + "/..").c_str(), &parent) != 0) {
        return std::strerror(errno);
    }
    // Where another is mounted already, this is its root; where it is about to be, it has the lock.
    const std::string another = "another ppsfs serves it";
    if (status.st_dev != parent.st_dev) {
        return system.f_type == FUSE_SUPER_MAGIC && IsPpsfs(m_path) ? another : "something else is mounted there";
    }
    if (::flock(m_directory.Get(), LOCK_EX | LOCK_NB) != 0) {
        return errno == EWOULDBLOCK ? another : std::strerror(errno);
    }
    return {};
}

std::string MissingForMounting() {
    if (::access(kDevice, F_OK) != 0) {
        return std::string("no ") + kDevice + ": load the kernel's module fuse, or give the container this device";
    }
    if (::access(kDevice, R_OK | W_OK) != 0) {
        return std::string(kDevice) + " is not open to you: its mode should be 666";
    }
    if (::geteuid() != 0 && !IsInPath(kHelper)) {
        return std::string("no ") + kHelper + ", which mounts for users: install the package fuse3";
    }
    return {};
}

} // namespace ppsfs
