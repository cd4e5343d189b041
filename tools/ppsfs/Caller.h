#ifndef TLG_TOOLS_PPSFS_CALLER_H
#define TLG_TOOLS_PPSFS_CALLER_H

#include "tools/ppsd/Permissions.h"
#include "tools/ppsfs/Fuse.h"
#include "tools/ppsfs/ServerConnection.h"

namespace ppsfs {

/// Who makes a request of the kernel.
ppsd::Identity CallerOf(fuse_req_t request);

/// Connects in the name of somebody, where this program is root's; otherwise in that of its own user, who is then the
/// only one whom the kernel lets in. For programs of one thread.
/// @return 0 or an errno number
int ConnectAs(const ppsd::Identity& who, ServerConnection& connection);

} // namespace ppsfs

#endif
