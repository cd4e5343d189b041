#ifndef TLG_SERVICE_CEQRUNSERVICE_H
#define TLG_SERVICE_CEQRUNSERVICE_H

#include "framework/RunService.h"
#include "service/CEQMidController.h"

/// The service as the process entry sees it: looks at the command line and hands the run loop's calls to the
/// controller that it owns.
class CEQRunService : public TLG::ZOCAR::RunService {
public:
    /// Looks at the first option: -v prints the version, -h and any other print the help. 0 when there is
    /// none and the service is to run; otherwise -1.
    int DealArgvs(int argc, char** argv) override;

    bool Init() override { return m_controller.Init(); }
    bool Start() override { return m_controller.Start(); }
    bool Stop() override { return m_controller.Stop(); }
    bool Close() override { return m_controller.Close(); }

    void Version();
    void Usage();

private:
    CEQMidController m_controller;
};

#endif
