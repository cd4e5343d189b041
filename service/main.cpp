#include <memory>

#include "service/CEQRunService.h"

int main(int argc, char** argv) {
    const auto service = std::make_unique<CEQRunService>();
    if (service->DealArgvs(argc, argv) == 0) {
        service->DoWork();
    }
    return 0;
}
