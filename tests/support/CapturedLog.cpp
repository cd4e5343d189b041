#include "tests/support/CapturedLog.h"

#include <sys/slog.h>

#include <atomic>
#include <cstdarg>
#include <cstdio>
#include <mutex>
#include <utility>

namespace {

std::mutex g_mutex;
std::vector<LogLine> g_lines;
std::atomic<int> g_level{_SLOG_DEBUG2};

} // namespace

// Takes the place of the host's logger in this program.
int slogf(int opcode, int severity, const char* format, ...) {
    char text[1024] = {};
    va_list arguments;
    va_start(arguments, format);
    std::vsnprintf(text, sizeof text, format, arguments);
    va_end(arguments);
    std::string line = text;
    if (!line.empty() && line.back() == '\n') {
        line.pop_back();
    }
    const std::lock_guard<std::mutex> lock(g_mutex);
    g_lines.push_back({opcode, severity, line});
    return static_cast<int>(line.size());
}

int slogIsLogged(int severity) {
    return severity <= g_level ? 1 : 0;
}

void SetLogLevel(int level) {
    g_level = level;
}

std::vector<LogLine> TakeLog() {
    const std::lock_guard<std::mutex> lock(g_mutex);
    return std::exchange(g_lines, {});
}

std::string TakeErrors(int severity) {
    std::string texts;
    for (const LogLine& line : TakeLog()) {
        if (line.severity == severity) {
            texts.append(texts.empty() ? "" : "\n").append(line.text);
        }
    }
    return texts;
}
