#include "tools/mculink/McuPort.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <termios.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <iterator>

#include "platform/host/UnixSocket.h"

namespace mculink {

namespace {

struct BaudRate {
    int rate;
    speed_t code;
};

constexpr BaudRate kBaudRates[] = {{1200, B1200},       {2400, B2400},       {4800, B4800},       {9600, B9600},
                                   {19200, B19200},     {38400, B38400},     {57600, B57600},     {115200, B115200},
                                   {230400, B230400},   {460800, B460800},   {921600, B921600},   {1000000, B1000000},
                                   {1500000, B1500000}, {2000000, B2000000}, {3000000, B3000000}, {4000000, B4000000}};

const BaudRate* Find(int rate) {
    const auto* found = std::find_if(std::begin(kBaudRates), std::end(kBaudRates),
                                     [rate](const BaudRate& each) { return each.rate == rate; });
    return found == std::end(kBaudRates) ? nullptr : found;
}

bool MakeRaw(int fd, std::optional<int> baud) {
    termios settings{};
    if (::tcgetattr(fd, &settings) != 0) {
        return errno == ENOTTY; // a device without such settings
    }
    ::cfmakeraw(&settings);
    settings.c_cflag |= CLOCAL | CREAD;
    if (const BaudRate* rate = baud ? Find(*baud) : nullptr) {
        ::cfsetspeed(&settings, rate->code);
    }
    return ::tcsetattr(fd, TCSANOW, &settings) == 0;
}

} // namespace

bool IsBaudRate(int rate) {
    return Find(rate) != nullptr;
}

McuPort OpenMcuPort(const std::string& path, std::optional<int> baud, std::string& error) {
    McuPort port;
    struct stat file {};
    if (::stat(path.c_str(), &file) != 0) {
        error = std::strerror(errno);
        return port;
    }
    port.isStream = S_ISCHR(file.st_mode);
    if (!port.isStream && !S_ISSOCK(file.st_mode)) {
        error = "neither a socket nor a character device";
        return port;
    }
    port.fd = port.isStream ? UniqueFd(::openat(AT_FDCWD, path.c_str(), O_RDWR | O_NOCTTY | O_NONBLOCK | O_CLOEXEC))
                            : host::ConnectTo(path);
    if (!port.fd || (port.isStream && !MakeRaw(port.fd.Get(), baud)) ||
        ::fcntl(port.fd.Get(), F_SETFL, O_NONBLOCK) != 0) {
        error = std::strerror(errno);
        port.fd.Reset();
    }
    return port;
}

} // namespace mculink
