#include <sys/eventfd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <thread>

#include "platform/host/Root.h"
#include "tools/common/CommandLine.h"
#include "tools/common/Ready.h"
#include "tools/common/StopSignals.h"
#include "tools/panel/LinkFollower.h"
#include "tools/panel/ObjectsWatch.h"
#include "tools/panel/WebServer.h"

namespace {

/// Serves until a signal comes.
int Serve(int port, const std::string& link, panel::Users users, int signals) {
    panel::Feed feed;
    panel::WebServer server(feed, users);
    const int bound = server.Start(port);
    if (bound == 0) {
        std::fprintf(stderr, "melvane-panel: 127.0.0.1:%d: %s\n", port,
                     errno == 0 ? "it can't be bound" : std::strerror(errno));
        return 1;
    }
    const UniqueFd stop(::eventfd(0, EFD_CLOEXEC));
    std::thread objects([&] { panel::ObjectsWatch(feed).Run(stop.Get()); });
    std::thread packets([&] {
        if (link.empty()) {
            feed.SetLink("the panel was started without --link, so it has no packets");
        } else {
            panel::LinkFollower(link, feed).Run(stop.Get());
        }
    });
    PrintLine("melvane-panel: ready at http://127.0.0.1:" + std::to_string(bound) + "/");
    NotifyReady();
    signalfd_siginfo signal{};
    while (::read(signals, &signal, sizeof signal) < 0 && errno == EINTR) {
    }
    ::eventfd_write(stop.Get(), 1);
    feed.Stop();
    objects.join();
    packets.join();
    server.Stop();
    return 0;
}

} // namespace

int main(int argc, char** argv) {
    constexpr int kDefaultPort = 8480;
    CLI::App app("The bench in a browser of this machine: the settings below $TLG_ROOT to see and to set, and the link "
                 "to the MCU as it goes by.",
                 "melvane-panel");
    int port = kDefaultPort;
    std::string link;
    app.add_option("--port", port, "where to listen, at 127.0.0.1; 0: at a free port")
        ->check(CLI::Range(0, 65535).description(""))
        ->type_name("N")
        ->capture_default_str();
    app.add_option("--link", link, "show the packets of this recording as it grows: what mculink --record writes")
        ->type_name("FILE_OR_PIPE");
    bool isForAnyUser = false;
    app.add_flag(
        "--any-user", isForAnyUser,
        "serve every user of this machine, who can then do what the panel's user may; otherwise that user and root");
    if (const auto status = ParseCommandLine(app, argc, argv)) {
        return *status;
    }
    const UniqueFd signals = StopSignals();
    return Serve(port, link, isForAnyUser ? panel::Users::Any : panel::Users::Own, signals.Get());
}
