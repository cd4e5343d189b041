#ifndef TLG_FRAMEWORK_INSTANCEGUARD_H
#define TLG_FRAMEWORK_INSTANCEGUARD_H

#include "platform/posix/UniqueFd.h"

namespace TLG::ZOCAR {

/// Keeps a second process of this program from working below the same root: it holds a name that the
/// kernel gives to one process at a time and takes back when the process ends, however it ends.
class InstanceGuard {
public:
    /// False when another process holds the name.
    bool Hold();

private:
    UniqueFd m_name;
};

} // namespace TLG::ZOCAR

#endif
