#include "tools/ppsd/Permissions.h"

#include <sys/socket.h>

#include <algorithm>
#include <cerrno>

namespace ppsd {

namespace {

/// The supplementary groups of a connection's peer; none where the kernel can't tell them.
std::vector<gid_t> GroupsOf(int connection) {
    constexpr std::size_t kUsual = 32;
    std::vector<gid_t> groups(kUsual);
    auto bytes = static_cast<socklen_t>(groups.size() * sizeof(gid_t));
    while (::getsockopt(connection, SOL_SOCKET, SO_PEERGROUPS, groups.data(), &bytes) != 0) {
        if (errno != ERANGE || bytes <= groups.size() * sizeof(gid_t)) {
            return {};
        }
        groups.resize(bytes / sizeof(gid_t));
    }
    groups.resize(bytes / sizeof(gid_t));
    return groups;
}

} // namespace

std::optional<Identity> PeerOf(int connection) {
    ucred peer{};
    socklen_t size = sizeof peer;
    if (::getsockopt(connection, SOL_SOCKET, SO_PEERCRED, &peer, &size) != 0) {
        return std::nullopt;
    }
    return Identity{peer.uid, peer.gid, GroupsOf(connection)};
}

bool Allows(const Permissions& permissions, const Identity& who, Access wanted) noexcept {
    constexpr mode_t kRead = 04;
    constexpr mode_t kWrite = 02;
    if (who.IsRoot()) {
        return true;
    }
    const auto& groups = who.groups;
    const bool isMember =
        who.group == permissions.group || std::find(groups.begin(), groups.end(), permissions.group) != groups.end();
    const unsigned shift = who.user == permissions.owner ? 6 : isMember ? 3 : 0;
    const mode_t allowed = permissions.mode >> shift;
    return (!wanted.reads || (allowed & kRead) != 0) && (!wanted.writes || (allowed & kWrite) != 0);
}

bool AllowsDeletion(const Permissions& permissions, const Identity& who) noexcept {
    return who.IsRoot() || who.user == permissions.owner;
}

} // namespace ppsd
