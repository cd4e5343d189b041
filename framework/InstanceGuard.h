#ifndef TLG_FRAMEWORK_INSTANCEGUARD_H
#define TLG_FRAMEWORK_INSTANCEGUARD_H

#include "platform/posix/UniqueFd.h"

namespace TLG::ZOCAR {

/// Keeps a second process of this program from working below the same root. It holds a lock on a file below the root,
/// which only the root's owner can open. The kernel releases the lock when the process ends, however it ends.
class InstanceGuard {
public:
    /// False when another process holds the lock. Where there can be no lock, which is logged, every process may
    /// run.
    bool Hold();

private:
    UniqueFd m_lock;
};

} // namespace TLG::ZOCAR

#endif
