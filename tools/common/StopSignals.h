#ifndef TLG_TOOLS_COMMON_STOPSIGNALS_H
#define TLG_TOOLS_COMMON_STOPSIGNALS_H

#include <sys/signalfd.h>

#include <csignal>

#include "platform/posix/UniqueFd.h"

/// Blocks SIGTERM and SIGINT, ignores SIGPIPE and returns a descriptor that becomes readable when one of
/// the two arrives. To be called before any thread starts.
inline UniqueFd StopSignals() {
    std::signal(SIGPIPE, SIG_IGN);
    sigset_t signals;
    sigemptyset(&signals);
    sigaddset(&signals, SIGTERM);
    sigaddset(&signals, SIGINT);
    sigprocmask(SIG_BLOCK, &signals, nullptr);
    return UniqueFd(::signalfd(-1, &signals, SFD_CLOEXEC));
}

#endif
