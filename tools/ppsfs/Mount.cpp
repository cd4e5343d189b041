#include "tools/ppsfs/Mount.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace ppsfs {

namespace {

/// Keeps what is written to standard error while it lives, by this process or one that it starts.
class KeptErrors {
public:
    KeptErrors() : m_kept(::memfd_create("errors", MFD_CLOEXEC)), m_stderr(::fcntl(STDERR_FILENO, F_DUPFD_CLOEXEC, 0)) {
        ::dup2(m_kept.Get(), STDERR_FILENO);
    }
    KeptErrors(const KeptErrors&) = delete;
    KeptErrors& operator=(const KeptErrors&) = delete;
    ~KeptErrors() { ::dup2(m_stderr.Get(), STDERR_FILENO); }

    /// The first line.
    std::string Line() const {
        std::array<char, 512> text{};
        const ssize_t length = ::pread(m_kept.Get(), text.data(), text.size(), 0);
        const std::string line(text.data(), static_cast<std::size_t>(std::max<ssize_t>(length, 0)));
        return line.substr(0, line.find('\n'));
    }

private:
    UniqueFd m_kept;
    UniqueFd m_stderr;
};

} // namespace

std::string Mount::Open(const std::string& path) {
    // Root mounts it for all users, who then have the objects' permissions.
    const char* const options =
        ::geteuid() == 0 ? "fsname=ppsfs,subtype=ppsfs,nosuid,nodev,noexec,allow_other" : "fsname=ppsfs,subtype=ppsfs";
    std::array<const char*, 3> words{"ppsfs", "-o", options};
    fuse_args arguments = FUSE_ARGS_INIT(static_cast<int>(words.size()), const_cast<char**>(words.data()));
    const KeptErrors errors;
    m_session = fuse_session_new(&arguments, &FileSystem::kCalls, sizeof FileSystem::kCalls, &m_fileSystem);
    fuse_opt_free_args(&arguments);
    m_isMounted = m_session != nullptr && fuse_session_mount(m_session, path.c_str()) == 0;
    if (!m_isMounted) {
        const std::string line = errors.Line();
        return line.empty() ? "it can't be mounted" : line;
    }
    const int device = fuse_session_fd(m_session);
    ::fcntl(device, F_SETFL, O_NONBLOCK);
    return m_loop.Add(device, weak_from_this()) != 0 ? "" : std::strerror(errno);
}

Mount::~Mount() {
    if (m_isMounted) {
        fuse_session_unmount(m_session);
    }
    if (m_session != nullptr) {
        fuse_session_destroy(m_session);
    }
    std::free(m_buffer.mem);
}

bool Mount::IsOver() const {
    return fuse_session_exited(m_session) != 0;
}

void Mount::OnEvents(std::uint32_t /*events*/) {
    const int length = fuse_session_receive_buf(m_session, &m_buffer);
    if (length > 0) {
        fuse_session_process_buf(m_session, &m_buffer);
    } else if (length != -EAGAIN && length != -EINTR) {
        fuse_session_exit(m_session);
    }
}

} // namespace ppsfs
