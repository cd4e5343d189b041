#include "tools/eqctl/Presence.h"

#include <sys/stat.h>
#include <sys/sysmacros.h>

#include <array>
#include <cstdio>
#include <fstream>
#include <string>

#include "framework/SystemFiles.h"
#include "platform/host/Root.h"
#include "tools/mcusim/OrderDesk.h"

namespace eqctl {

namespace {

/// Whether a process holds the lock of this file.
bool IsLocked(const struct stat& file) {
    std::array<char, 64> id{};
    std::snprintf(id.data(), id.size(), " %02x:%02x:%llu ", major(file.st_dev), minor(file.st_dev),
                  static_cast<unsigned long long>(file.st_ino));
    std::ifstream locks("/proc/locks");
    for (std::string line; std::getline(locks, line);) {
        if (line.find(id.data()) != std::string::npos) {
            return true;
        }
    }
    return false;
}

/// Whether a file is there, and where it is a socket with a lock beside it, somebody serves it.
bool IsServed(const std::string& path) {
    const std::size_t name = path.rfind('/') + 1;
    const std::string lock = path.substr(0, name) + "." + path.substr(name) + ".lock";
    struct stat file {};
    return ::stat(path.c_str(), &file) == 0 && (::stat(lock.c_str(), &file) != 0 || IsLocked(file));
}

} // namespace

bool IsServiceRunning() {
    struct stat file {};
    return ::stat(host::BelowRoot("/run/melvane.lock").c_str(), &file) == 0 && IsLocked(file);
}

bool IsMcuThere() {
    return IsServed(host::BelowRoot(TLG::ZOCAR::g_eqMCU.path));
}

bool IsSimulatorThere() {
    return IsServed(host::BelowRoot(mcusim::kOrderSocket));
}

} // namespace eqctl
