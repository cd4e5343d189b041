#include "tools/panel/LinkFollower.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/stat.h>

#include <cerrno>
#include <cstdio>
#include <cstring>

#include "platform/posix/UniqueFd.h"
#include "tools/mculink/PacketPrinter.h"
#include "tools/mculink/Recording.h"

namespace panel {

namespace {

/// How often is looked whether a file has grown. Nothing tells that of a pipe's writer that is still to come.
constexpr int kLookMs = 20;
constexpr int kRetryMs = 200;

bool IsStopped(int stopFd, int waitMs) {
    pollfd stop{stopFd, POLLIN, 0};
    return ::poll(&stop, 1, waitMs) > 0;
}

/// A file whose end is not its end: a read waits there until there is more. It ends where the file was made anew, and
/// where the writer of a pipe has ended.
struct Growing {
    std::string path;
    UniqueFd fd;
    int stopFd;
    bool hasBegun = false;

    bool IsOver() const {
        struct stat now {};
        struct stat opened {};
        if (::fstat(fd.Get(), &opened) != 0 || ::stat(path.c_str(), &now) != 0) {
            return true;
        }
        const bool isShorter = S_ISREG(opened.st_mode) && ::lseek(fd.Get(), 0, SEEK_CUR) > opened.st_size;
        const bool hasNoWriter = S_ISFIFO(opened.st_mode) && hasBegun;
        return isShorter || hasNoWriter || now.st_ino != opened.st_ino || now.st_dev != opened.st_dev;
    }
};

ssize_t ReadGrowing(void* cookie, char* buffer, std::size_t size) {
    Growing& file = *static_cast<Growing*>(cookie);
    ssize_t length = 0;
    do {
        length = ::read(file.fd.Get(), buffer, size);
        if (length > 0) {
            file.hasBegun = true;
            return length;
        }
        if (length == 0 && file.IsOver()) {
            return 0;
        }
    } while ((length == 0 || errno == EAGAIN || errno == EINTR) && !IsStopped(file.stopFd, kLookMs));
    return 0;
}

int CloseGrowing(void* cookie) {
    delete static_cast<Growing*>(cookie);
    return 0;
}

/// Opens a file to be followed; null with errno set where that fails.
std::FILE* OpenGrowing(const std::string& path, int stopFd) {
    UniqueFd fd(::openat(AT_FDCWD, path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC));
    if (!fd) {
        return nullptr;
    }
    cookie_io_functions_t functions{};
    functions.read = ReadGrowing;
    functions.close = CloseGrowing;
    return ::fopencookie(new Growing{path, std::move(fd), stopFd}, "r", functions);
}

} // namespace

void LinkFollower::Run(int stopFd) {
    do {
        FollowOnce(stopFd);
    } while (!IsStopped(stopFd, kRetryMs));
}

/// Follows until the recording ends, which it does where it is made anew or is damaged.
void LinkFollower::FollowOnce(int stopFd) {
    std::FILE* const file = OpenGrowing(m_path, stopFd);
    if (file == nullptr) {
        m_feed.SetLink(m_path + ": " + std::strerror(errno));
        return;
    }
    mculink::RecordingReader reader;
    mculink::PrintOptions options;
    options.json = true;
    mculink::PacketPrinter printer(options);
    std::string error;
    if (reader.Open(file, error)) {
        m_feed.SetLink("");
        for (auto packet = reader.Next(error); packet && !IsStopped(stopFd, 0); packet = reader.Next(error)) {
            m_feed.AddPacket(*packet, printer.LineOf(*packet).value_or("{}"));
        }
    }
    if (!error.empty()) {
        m_feed.SetLink(m_path + ": " + error);
    }
}

} // namespace panel
