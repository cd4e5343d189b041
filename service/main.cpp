#include <memory>

#include "service/CEQRunService.h"

namespace {

/// Done before main begins, so that a signal that comes at any moment from then on ends the service in order.
const bool g_areSignalsBlocked = (TLG::ZOCAR::RunService::BlockStopSignals(), true);

} // namespace

int main(int argc, char** argv) {
    const auto service = std::make_unique<CEQRunService>();
    if (service->DealArgvs(argc, argv) == 0) {
        service->DoWork();
    }
    return 0;
}
