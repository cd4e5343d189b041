#include "tools/ppsfs/Caller.h"

#include <grp.h>
#include <sys/fsuid.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <vector>

namespace ppsfs {

ppsd::Identity CallerOf(fuse_req_t request) {
    constexpr int kMost = 1024;
    const fuse_ctx& context = *fuse_req_ctx(request);
    ppsd::Identity caller{context.uid, context.gid, std::vector<gid_t>(kMost)};
    const int count = fuse_req_getgroups(request, kMost, caller.groups.data());
    caller.groups.resize(static_cast<std::size_t>(std::clamp(count, 0, kMost)));
    return caller;
}

int ConnectAs(const ppsd::Identity& who, ServerConnection& connection) {
    if (::geteuid() != 0 || who.IsRoot()) {
        return connection.Connect();
    }
    const gid_t group = ::getegid();
    std::vector<gid_t> groups(static_cast<std::size_t>(std::max(::getgroups(0, nullptr), 0)));
    groups.resize(static_cast<std::size_t>(std::max(::getgroups(static_cast<int>(groups.size()), groups.data()), 0)));
    int error = EPERM;
    if (::setgroups(who.groups.size(), who.groups.data()) == 0 && ::setegid(who.group) == 0 &&
        ::seteuid(who.user) == 0) {
        ::setfsuid(0); // the way to the socket may be closed to others
        error = connection.Connect();
    }
    if (::seteuid(0) != 0 || ::setegid(group) != 0 || ::setgroups(groups.size(), groups.data()) != 0) {
        std::abort(); // to go on as somebody else would be wrong for all others
    }
    return error;
}

} // namespace ppsfs
