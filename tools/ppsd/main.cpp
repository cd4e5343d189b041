#include <charconv>
#include <csignal>
#include <cstdio>
#include <string>

#include "tools/common/CommandLine.h"
#include "tools/common/Ready.h"
#include "tools/common/StopSignals.h"
#include "tools/ppsd/Server.h"

namespace {

/// Parses an octal mode of nine bits; the result is what is wrong with it.
std::string ParseMode(const std::string& text, mode_t& mode) {
    constexpr mode_t kMost = 0777;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), mode, 8);
    const bool isMode = error == std::errc() && end == text.data() + text.size() && mode <= kMost;
    return isMode ? "" : "'" + text + "' is not an octal mode from 0 to 777";
}

} // namespace

int main(int argc, char** argv) {
    CLI::App app("The publish/subscribe server of a test bench. It serves the objects below $TLG_ROOT/pps and keeps "
                 "what survives a restart in $TLG_ROOT/var/pps.",
                 "ppsd");
    int saveSeconds = 0;
    std::string umask = "0";
    ppsd::ServerOptions options;
    app.add_option("--save", saveSeconds, "also save the objects each time this number of seconds has passed")
        ->check(CLI::Range(1, 86400));
    app.add_option("--umask", umask, "permissions that new objects don't get, octal (default 0)")
        ->check([&options](const std::string& text) { return ParseMode(text, options.umask); });
    if (const auto status = ParseCommandLine(app, argc, argv)) {
        return *status;
    }
    options.saveInterval = std::chrono::seconds(saveSeconds);

    const UniqueFd stop = StopSignals();
    // A file that may grow no further is an error of the write, not the end of the server.
    std::signal(SIGXFSZ, SIG_IGN);
    ppsd::Server server{options};
    std::string error;
    if (!server.Start(error)) {
        std::fprintf(stderr, "ppsd: %s\n", error.c_str());
        return 1;
    }
    SayReady("ppsd");
    return server.Run(stop.Get()) ? 0 : 1;
}
