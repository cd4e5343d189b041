#include <csignal>
#include <cstdio>
#include <string>

#include "tools/common/CommandLine.h"
#include "tools/common/StopSignals.h"
#include "tools/mcusim/Simulator.h"

int main(int argc, char** argv) {
    CLI::App app("The simulated audio MCU of a test bench, at the MCU device below $TLG_ROOT. It answers queries, "
                 "acknowledges commands and keeps its own settings. A line 'volume NAME LEVEL' on standard input "
                 "changes a volume (main, max, navi, call, voice, ext0 to ext3; 0 to 127) as a user at the unit would.",
                 "mcusim");
    mcusim::Options options;
    app.add_flag("--trace", options.trace, "print every packet, decoded field by field, on one line");
    auto* seed = app.add_option("--seed", options.seed, "send random reports, valid and invalid, from this seed");
    app.add_option("--rate", options.reportsPerSecond, "random reports a second")
        ->needs(seed)
        ->check(CLI::Range(1, 1000000))
        ->capture_default_str();
    app.add_option("--count", options.reportCount, "end the random reports after so many")
        ->needs(seed)
        ->check(CLI::NonNegativeNumber);
    if (const auto status = ParseCommandLine(app, argc, argv)) {
        return *status;
    }

    const UniqueFd stop = StopSignals();
    // In the background of a shell, reading the terminal fails instead of stopping the program.
    std::signal(SIGTTIN, SIG_IGN);
    mcusim::Simulator simulator(options);
    std::string error;
    if (!simulator.Start(error)) {
        std::fprintf(stderr, "mcusim: %s\n", error.c_str());
        return 1;
    }
    std::puts("mcusim: ready");
    std::fflush(stdout);
    simulator.Run(stop.Get(), STDIN_FILENO);
    return 0;
}
