#include "framework/InstanceGuard.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>

#include <cerrno>
#include <cstring>
#include <string>

#include "framework/LogBase.h"
#include "framework/fileTagInfo.h"

namespace TLG::ZOCAR {

bool InstanceGuard::Hold() {
    const std::string path = std::string("/run/") + program_invocation_short_name + ".lock";
    m_lock.Reset(::open(path.c_str(), kReadWrite | kCreate, 0600));
    if (!m_lock && errno == ENOENT) {
        // The directory is missing: nothing runs below this root yet. Opening the files fails, and that is logged.
        return true;
    }
    struct stat status {};
    if (!m_lock || ::fstat(m_lock.Get(), &status) != 0 || status.st_uid != ::geteuid()) {
        LOGBASE(LOG_LEV_ERROR, "Hold", "%s keeps no second service out: %s\n", path.c_str(),
                m_lock ? "it belongs to another user" : std::strerror(errno));
        return true;
    }
    return ::flock(m_lock.Get(), LOCK_EX | LOCK_NB) == 0 || errno != EWOULDBLOCK;
}

} // namespace TLG::ZOCAR
