#include "service/SyncLaunch.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "framework/LogBase.h"
#include "platform/posix/UniqueFd.h"

int SyncLaunch::ShowModule(const char* app, const char* dat) {
    constexpr const char* kPath = "/pps/services/app-launcher";
    const UniqueFd launcher(::open(kPath, O_WRONLY));
    if (!launcher) {
        LOGBASE(LOG_LEV_ERROR, __FUNCTION__, "open('%s') failed: %s\n", kPath, std::strerror(errno));
        return -1;
    }
    std::array<char, 256> line{};
    const int length = std::snprintf(line.data(), line.size(), R"(req:json:{"id":%d,"cmd":"%s","app":"%s","dat":"%s"})",
                                     std::rand(), "launch sync", app, dat);
    const auto size = std::min(static_cast<std::size_t>(std::max(length, 0)), line.size() - 1);
    // Whether anybody takes the request is the launcher's affair.
    [[maybe_unused]] const ssize_t written = ::write(launcher.Get(), line.data(), size);
    return 0;
}
