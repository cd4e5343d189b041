#include <sys/slog.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <new>

#include "platform/slog/LogLine.h"
#include "platform/slog/LogSink.h"

namespace {

constexpr int kDefaultLevel = 7;

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

std::atomic<bool> g_hasLogged{false};

/// The sink of the process. It is never destroyed, as threads and destructors may log until the process ends.
LogSink& Sink() {
    alignas(LogSink) static unsigned char place[sizeof(LogSink)];
    static LogSink* const sink = new (place) LogSink(Level() >= _SLOG_WARNING);
    return *sink;
}

/// Destroyed at the end of the process, after the objects of the program itself.
struct FlushAtExit {
    FlushAtExit() = default;
    FlushAtExit(const FlushAtExit&) = delete;
    FlushAtExit& operator=(const FlushAtExit&) = delete;
    ~FlushAtExit() {
        if (g_hasLogged) {
            Sink().Flush();
        }
    }
} g_flushAtEnd;

} // namespace

int slogIsLogged(int severity) {
    return severity <= Level() ? 1 : 0;
}

int slogf(int opcode, int severity, const char* format, ...) {
    if (severity > Level()) {
        return 0;
    }
    const int callersError = errno;
    char text[LogLine::kMaxLength];
    va_list arguments;
    va_start(arguments, format);
    const int formatted = std::vsnprintf(text, sizeof text, format, arguments);
    va_end(arguments);
    if (formatted < 0) {
        return -1;
    }
    auto length = std::min(static_cast<std::size_t>(formatted), sizeof text - 1);
    if (length > 0 && length == static_cast<std::size_t>(formatted) && text[length - 1] == '\n') {
        --length;
    }
    const LogLine line(severity, opcode, {text, length});
    g_hasLogged = true;
    const bool isWritten = Sink().Write(line.Text());
    errno = callersError;
    return isWritten ? static_cast<int>(line.Text().size()) : -1;
}
