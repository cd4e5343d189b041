#include <cstdio>
#include <string>

#include "tools/common/CommandLine.h"
#include "tools/common/StopSignals.h"
#include "tools/ppsd/Server.h"

int main(int argc, char** argv) {
    CLI::App app("The publish/subscribe server of a test bench. It serves the objects below $TLG_ROOT/pps and keeps "
                 "what survives a restart in $TLG_ROOT/var/pps.",
                 "ppsd");
    int saveSeconds = 0;
    app.add_option("--save", saveSeconds, "also save the objects every so many seconds")->check(CLI::Range(1, 86400));
    if (const auto status = ParseCommandLine(app, argc, argv)) {
        return *status;
    }

    const UniqueFd stop = StopSignals();
    Server server{std::chrono::seconds(saveSeconds)};
    std::string error;
    if (!server.Start(error)) {
        std::fprintf(stderr, "ppsd: %s\n", error.c_str());
        return 1;
    }
    std::puts("ppsd: ready");
    std::fflush(stdout);
    return server.Run(stop.Get()) ? 0 : 1;
}
