// Who runs below this root. Nothing is connected to, so that nobody is disturbed.
#ifndef TLG_TOOLS_EQCTL_PRESENCE_H
#define TLG_TOOLS_EQCTL_PRESENCE_H

namespace eqctl {

bool IsServiceRunning();

/// Whether the device is there, and where it is a socket with a lock beside it, somebody serves it.
bool IsMcuThere();

/// Whether a simulator runs that takes orders.
bool IsSimulatorThere();

} // namespace eqctl

#endif
