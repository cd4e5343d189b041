#include <sys/slog.h>

#include <poll.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <string_view>

namespace {

constexpr int kDefaultLevel = 7;
constexpr std::size_t kMaxLine = 4096;
constexpr int kPatienceMs = 1000;

/// The highest severity number that is logged; read once.
int Level() {
    static const int level = [] {
        const char* text = std::getenv("TLG_SLOG_LEVEL");
        if (text == nullptr || *text == '\0') {
            return kDefaultLevel;
        }
        char* end = nullptr;
        const long value = std::strtol(text, &end, 10);
        return *end == '\0' && value >= 0 && value <= kDefaultLevel ? static_cast<int>(value) : kDefaultLevel;
    }();
    return level;
}

/// Writes one line; drops it when nobody takes the log for a second, and then all until somebody does.
int Write(std::string_view line) {
    static std::atomic<bool> isStuck{false};
    pollfd standardError{STDERR_FILENO, POLLOUT, 0};
    if (::poll(&standardError, 1, isStuck ? 0 : kPatienceMs) == 0) {
        isStuck = true;
        return -1;
    }
    isStuck = false;
    ssize_t written = 0;
    do {
        written = ::write(STDERR_FILENO, line.data(), line.size());
    } while (written < 0 && errno == EINTR);
    return static_cast<int>(written);
}

} // namespace

int slogf(int opcode, int severity, const char* format, ...) {
    if (severity > Level()) {
        return 0;
    }
    // One byte stays free for the line feed.
    std::array<char, kMaxLine + 1> line{};
    const int head = std::snprintf(line.data(), kMaxLine, "%d 0x%x ", severity, static_cast<unsigned int>(opcode));
    auto length = static_cast<std::size_t>(head);
    va_list arguments;
    va_start(arguments, format);
    const int text = std::vsnprintf(line.data() + length, kMaxLine - length, format, arguments);
    va_end(arguments);
    if (text < 0) {
        return -1;
    }
    length += static_cast<std::size_t>(text);
    if (length > kMaxLine - 1) {
        length = kMaxLine - 1;
    }
    if (line[length - 1] != '\n') {
        line[length++] = '\n';
    }
    // A message is one line whatever a logged value holds.
    std::replace(line.begin() + head, line.begin() + static_cast<std::ptrdiff_t>(length) - 1, '\n', ' ');
    return Write({line.data(), length});
}
