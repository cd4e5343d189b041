#include <sys/resource.h>

#include <cstdio>
#include <cstring>

#include "platform/host/Root.h"
#include "tools/common/CommandLine.h"
#include "tools/common/Ready.h"
#include "tools/common/StopSignals.h"
#include "tools/ppsfs/Mount.h"
#include "tools/ppsfs/MountPoint.h"

namespace {

int Fail(const std::string& subject, const std::string& reason) {
    std::fprintf(stderr, "ppsfs: %s: %s\n", subject.c_str(), reason.c_str());
    return 1;
}

/// Each open file has a connection to the server.
void RaiseDescriptorLimit() {
    rlimit limit{};
    if (::getrlimit(RLIMIT_NOFILE, &limit) == 0) {
        limit.rlim_cur = limit.rlim_max;
        ::setrlimit(RLIMIT_NOFILE, &limit);
    }
}

/// Ends the loop when a signal to stop has come.
class Stop : public ppsfs::Watched {
public:
    void OnEvents(std::uint32_t /*events*/) override { m_hasCome = true; }
    bool HasCome() const { return m_hasCome; }

private:
    bool m_hasCome = false;
};

/// Serves until a signal comes or somebody unmounts it.
int Serve(const std::string& path, int stopSignals) {
    ppsfs::Loop loop;
    const auto stop = std::make_shared<Stop>();
    if (!loop.Open() || loop.Add(stopSignals, stop) == 0) {
        return Fail(path, std::strerror(errno));
    }
    ppsfs::FileSystem fileSystem(loop);
    const auto mount = std::make_shared<ppsfs::Mount>(fileSystem, loop);
    const std::string error = mount->Open(path);
    if (!error.empty()) {
        return Fail(path, error);
    }
    SayReady("ppsfs");
    while (!stop->HasCome() && !mount->IsOver()) {
        loop.Turn();
    }
    // While the mount is there, all that waits in it is answered.
    fileSystem.Close();
    loop.End();
    return 0;
}

} // namespace

int main(int argc, char** argv) {
    CLI::App app("Mounts the PPS server's objects as files, so that cat, echo and any language's file calls work on "
                 "them. Serves in the foreground until it is stopped or unmounted.",
                 "ppsfs");
    std::string path = host::BelowRoot("/pps");
    app.add_option("MOUNTPOINT", path, "where to mount (default: $TLG_ROOT/pps)")->type_name("");
    if (const auto status = ParseCommandLine(app, argc, argv)) {
        return *status;
    }
    RaiseDescriptorLimit();
    const std::string missing = ppsfs::MissingForMounting();
    if (!missing.empty()) {
        return Fail(path, "can't mount: " + missing);
    }
    ppsfs::MountPoint mountPoint;
    const std::string taken = mountPoint.Take(path);
    if (!taken.empty()) {
        return Fail(path, taken);
    }
    // Not before: a look at the mount point may wait for a ppsfs that does not answer, until a signal comes.
    const UniqueFd stopSignals = StopSignals();
    return Serve(mountPoint.Path(), stopSignals.Get());
}
