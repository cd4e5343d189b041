// The system's sources call the plain open(path, flags, mode) with the target's paths and flag numbers.
// Programs that link this library have those calls wrapped (linker options --wrap=open,--wrap=open64): PPS objects are
// opened from the PPS server, sockets that stand in for devices are connected to, everything else is a
// file below the root. With TLG_PPS=files in the environment PPS objects are files below the root too, those of a
// mounted ppsfs.
#include <fcntl.h>
#include <linux/magic.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/vfs.h>

#include <cerrno>
#include <cstdarg>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <string_view>

#include "platform/host/KeptConnection.h"
#include "platform/host/PpsConnection.h"
#include "platform/host/Root.h"
#include "platform/host/UnixSocket.h"

namespace host {

namespace {

constexpr std::string_view kPpsDirectory = "/pps/";

int HostFlags(int oflag) {
    static constexpr int kPairs[][2] = {{target_flags::kCreate, O_CREAT},
                                        {target_flags::kTruncate, O_TRUNC},
                                        {target_flags::kExclusive, O_EXCL},
                                        {target_flags::kAppend, O_APPEND},
                                        {target_flags::kNonBlocking, O_NONBLOCK}};
    // Without O_NOCTTY a terminal that stands in for a device would become our controlling terminal, and when it
    // ends, we would get SIGHUP.
    int flags = (oflag & target_flags::kAccessMask) | O_CLOEXEC | O_NOCTTY;
    for (const auto& [target, ours] : kPairs) {
        flags |= (oflag & target) != 0 ? ours : 0;
    }
    return flags;
}

int OpenPps(const char* path, int oflag, mode_t mode) {
    PpsReply reply;
    const bool isForWritingAlone =
        oflag == target_flags::kWriteOnly && std::string_view(path).find('?') == std::string_view::npos;
    UniqueFd object = isForWritingAlone ? OpenKept(path, reply) : OpenPpsObject(path, oflag, reply, mode);
    if (!object) {
        errno = reply.error;
    }
    return object.Release();
}

bool ArePpsObjectsFiles() {
    const char* const way = std::getenv("TLG_PPS");
    return way != nullptr && std::string_view(way) == "files";
}

/// Opens a file of a mounted ppsfs. As from the server itself, the directories of a new object need not be there.
int OpenMounted(const std::string& path, int oflag, mode_t mode) {
    struct statfs system {};
    if (::statfs(BelowRoot(kPpsDirectory).c_str(), &system) != 0 || system.f_type != FUSE_SUPER_MAGIC) {
        errno = ECONNREFUSED; // nothing is mounted: the files would be nobody's objects
        return -1;
    }
    const int file = ::open(path.c_str(), HostFlags(oflag), mode);
    std::error_code failed;
    if (file >= 0 || errno != ENOENT || (oflag & target_flags::kCreate) == 0 ||
        !std::filesystem::create_directories(std::filesystem::path(path).parent_path(), failed)) {
        return file;
    }
    return ::open(path.c_str(), HostFlags(oflag), mode);
}

int ConnectDevice(const std::string& path) {
    UniqueFd device = ConnectTo(path);
    if (device) {
        ::fcntl(device.Get(), F_SETFL, O_NONBLOCK);
    }
    return device.Release();
}

int Open(const char* path, int oflag, mode_t mode) {
    if (std::string_view(path).substr(0, kPpsDirectory.size()) == kPpsDirectory) {
        return ArePpsObjectsFiles() ? OpenMounted(BelowRoot(path), oflag, mode) : OpenPps(path, oflag, mode);
    }
    const std::string full = path[0] == '/' ? BelowRoot(path) : std::string(path);
    struct stat status {};
    if (::stat(full.c_str(), &status) == 0) {
        if (S_ISSOCK(status.st_mode)) {
            return ConnectDevice(full);
        }
        if (S_ISCHR(status.st_mode)) {
            oflag |= target_flags::kNonBlocking;
        }
    }
    return ::open(full.c_str(), HostFlags(oflag), mode);
}

} // namespace

} // namespace host

// NOLINTBEGIN(bugprone-reserved-identifier): the linker gives these names
extern "C" int __wrap_open(const char* path, int oflag, ...);
extern "C" int __wrap_open64(const char* path, int oflag, ...) __attribute__((alias("__wrap_open")));

extern "C" int __wrap_open(const char* path, int oflag, ...) {
    mode_t mode = 0;
    if ((oflag & host::target_flags::kCreate) != 0) {
        va_list arguments;
        va_start(arguments, oflag);
        mode = va_arg(arguments, mode_t);
        va_end(arguments);
    }
    return host::Open(path, oflag, mode);
}
// NOLINTEND(bugprone-reserved-identifier)
