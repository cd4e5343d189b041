// Who may do what with an object: owner, group and mode, as files have them.
#ifndef TLG_TOOLS_PPSD_PERMISSIONS_H
#define TLG_TOOLS_PPSD_PERMISSIONS_H

#include <sys/types.h>

#include <optional>
#include <vector>

namespace ppsd {

/// Who a client is.
struct Identity {
    uid_t user = 0;
    gid_t group = 0;
    std::vector<gid_t> groups; ///< the supplementary ones

    bool IsRoot() const noexcept { return user == 0; }
};

/// The identity that the other side of a local connection had when it connected. Nothing, with errno set, where the
/// kernel does not report it.
std::optional<Identity> PeerOf(int connection);

/// What an object lets others do.
struct Permissions {
    uid_t owner = 0;
    gid_t group = 0;
    mode_t mode = 0; ///< the nine bits of reading, writing and executing
};

struct Access {
    bool reads = false;
    bool writes = false;
};

/// Whether the permissions allow all of @p wanted: the owner's bits count for the owner, the group's for its members,
/// the others' for everybody else. Root is allowed everything.
bool Allows(const Permissions& permissions, const Identity& who, Access wanted) noexcept;

/// Whether the client may delete the object: the owner and root may.
bool AllowsDeletion(const Permissions& permissions, const Identity& who) noexcept;

} // namespace ppsd

#endif
