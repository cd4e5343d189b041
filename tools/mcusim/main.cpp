#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <cstdio>
#include <string>
#include <vector>

#include "tools/common/CommandLine.h"
#include "tools/common/Ready.h"
#include "tools/common/StopSignals.h"
#include "tools/mcusim/Orders.h"
#include "tools/mcusim/Simulator.h"

namespace {

int Order(const std::vector<std::string>& words) {
    const mcusim::OrderResult result = mcusim::GiveOrder(mcusim::OrderLine(words));
    if (!result.isObeyed) {
        std::fprintf(stderr, "mcusim: %s\n", result.text.c_str());
        return 1;
    }
    if (!result.text.empty()) {
        std::puts(result.text.c_str());
    }
    return 0;
}

/// Opens those of the three standard streams that are closed, so that nothing else gets their numbers.
void OpenStandardStreams() {
    int last = STDIN_FILENO;
    while (last >= 0 && last <= STDERR_FILENO) {
        last = ::openat(AT_FDCWD, "/dev/null", O_RDWR);
    }
    ::close(last);
}

int Simulate(const mcusim::Options& options) {
    OpenStandardStreams();
    const UniqueFd stop = StopSignals();
    // In the background of a shell, reading the terminal fails instead of stopping the program.
    std::signal(SIGTTIN, SIG_IGN);
    mcusim::Simulator simulator(options);
    std::string error;
    if (!simulator.Start(error)) {
        std::fprintf(stderr, "mcusim: %s\n", error.c_str());
        return 1;
    }
    SayReady("mcusim");
    return simulator.Run(stop.Get(), STDIN_FILENO) ? 0 : 1;
}

} // namespace

int main(int argc, char** argv) {
    CLI::App app("The simulated audio MCU of a test bench, at the MCU device below $TLG_ROOT. It answers queries, "
                 "acknowledges commands and keeps its own settings. Lines on standard input are orders: knobs to turn "
                 "and faults to show; 'help' lists them.",
                 "mcusim");
    mcusim::Options options;
    app.add_option("--at", options.at, "listen at this socket instead of the MCU device below $TLG_ROOT")
        ->type_name("PATH");
    app.add_flag("--trace", options.trace, "print every packet, decoded field by field, on one line");
    auto* seed = app.add_option("--seed", options.seed, "send random reports, valid and invalid, from this seed")
                     ->type_name("N");
    app.add_option("--rate", options.reportsPerSecond, "random reports a second")
        ->needs(seed)
        ->check(CLI::Range(1, 1000000).description(""))
        ->type_name("N")
        ->capture_default_str();
    app.add_option("--count", options.reportCount, "end the random reports after this number")
        ->needs(seed)
        ->check(CLI::Range(0, 1000000000).description(""))
        ->type_name("N");
    app.add_option("--script", options.script, "carry out the orders of this file; a wrong one ends the simulator")
        ->type_name("FILE");
    std::vector<std::string> words;
    CLI::App* order = app.add_subcommand("order", "gives one order to the simulator that runs below $TLG_ROOT");
    order->add_option("WORD", words, "the order; 'mcusim order help' lists them")->required();
    const auto nextWords = [](const std::vector<std::string>& before) {
        const auto word = std::find(before.begin(), before.end(), "order");
        return word != before.end() ? mcusim::OrderWordsAfter({word + 1, before.end()}) : std::vector<std::string>();
    };
    if (const auto status = ParseCommandLine(app, argc, argv, nextWords)) {
        return *status;
    }
    return order->parsed() ? Order(words) : Simulate(options);
}
