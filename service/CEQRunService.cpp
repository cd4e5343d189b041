#include "service/CEQRunService.h"

#include <unistd.h>

#include <cstdio>

int CEQRunService::DealArgvs(int argc, char** argv) {
    const int option = ::getopt(argc, argv, "vh:");
    int result = -1;
    switch (option) {
    case -1:
        result = 0;
        break;
    case 'v':
        Version();
        break;
    default:
        Usage();
        break;
    }
    optind = 0;
    return result;
}

void CEQRunService::Version() {
    std::printf("%s:%s\n", "TolvynEQ", "Melvane for MAIN_LINE_Build2015-10-20");
}

void CEQRunService::Usage() {
    Version();
    std::puts("  -v    get version");
    std::puts("  -h    get help");
}
