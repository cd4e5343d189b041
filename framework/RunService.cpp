#include "framework/RunService.h"

#include <csignal>
#include <new>

#include "framework/InstanceGuard.h"
#include "framework/LogBase.h"

namespace TLG::ZOCAR {

namespace {

sigset_t StopSignals() {
    sigset_t signals;
    sigemptyset(&signals);
    sigaddset(&signals, SIGTERM);
    sigaddset(&signals, SIGINT);
    return signals;
}

/// The result of @p step(); false, with a line in the log, also where memory runs out.
template <typename Step>
bool Succeeds(Step step) {
    try {
        return step();
    } catch (const std::bad_alloc&) {
        LOGBASE(LOG_LEV_ERROR, __FUNCTION__, "no memory\n");
        return false;
    }
}

} // namespace

void RunService::BlockStopSignals() {
    const sigset_t signals = StopSignals();
    pthread_sigmask(SIG_BLOCK, &signals, nullptr);
    std::signal(SIGPIPE, SIG_IGN);
}

void RunService::DealAbnormalProcess(int /*reason*/) {}

void RunService::DoWork() {
    BlockStopSignals();
    InstanceGuard guard;
    if (!guard.Hold()) {
        LOGBASE(LOG_LEV_ERROR, "DoWork", "the service already runs below this root, this one ends\n");
        return;
    }
    if (!Succeeds([this] { return Init(); })) {
        LOGBASE(LOG_LEV_ERROR, "DoWork", "the service can't be initialised, it ends\n");
        Close();
        return;
    }
    if (Succeeds([this] { return Start(); })) {
        const sigset_t stopSignals = StopSignals();
        int signal = 0;
        sigwait(&stopSignals, &signal);
    } else {
        LOGBASE(LOG_LEV_ERROR, "DoWork", "the service can't be started, it ends\n");
    }
    Stop();
    Close();
}

} // namespace TLG::ZOCAR
