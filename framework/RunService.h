#ifndef TLG_FRAMEWORK_RUNSERVICE_H
#define TLG_FRAMEWORK_RUNSERVICE_H

#include "framework/Export.h"

namespace TLG::ZOCAR {

/// The frame of a service: starts it, waits for its end, and stops it.
class TLG_API RunService {
public:
    RunService() = default;
    RunService(const RunService&) = delete;
    RunService& operator=(const RunService&) = delete;
    virtual ~RunService() = default;

    /// Reads the command line. 0: the service is to run; anything else: the process is to end.
    virtual int DealArgvs(int argc, char** argv) = 0;

    virtual bool Init() = 0;
    virtual bool Start() = 0;
    virtual bool Stop() = 0;
    virtual bool Close() = 0;

    /// Not called by this framework; services that watch their own health may override it.
    virtual void DealAbnormalProcess(int reason);

    /// Runs the service on the calling thread: Init(), Start(), then a wait for SIGTERM or SIGINT, then
    /// Stop() and Close(). When Init() fails, only Close() follows; when Start() fails, Stop() and
    /// Close(). Of several processes of one program below the same root one runs. The others end
    /// with a line in the log. The signals are blocked, and SIGPIPE is ignored, from the call on.
    void DoWork();

    /// Blocks SIGTERM and SIGINT, for which DoWork() waits, and ignores SIGPIPE. A program calls it before anything
    /// that may take time, so that a signal ends it in order whenever it comes.
    static void BlockStopSignals();
};

} // namespace TLG::ZOCAR

#endif
