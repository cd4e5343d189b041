#include "platform/slog/LogLine.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>

namespace {

bool IsControl(char c) {
    return (static_cast<unsigned char>(c) < 0x20 && c != '\t') || c == 0x7F;
}

/// Whether TLG_SLOG_TIME asks for the time; read once.
bool IsTimed() {
    static const bool isTimed = [] {
        const char* text = std::getenv("TLG_SLOG_TIME");
        return text != nullptr && *text != '\0' && std::strcmp(text, "0") != 0;
    }();
    return isTimed;
}

/// Begins a line with the seconds since the epoch, where they are asked for. The number of bytes.
std::size_t WriteTime(char* line) {
    if (!IsTimed()) {
        return 0;
    }
    timespec now{};
    ::clock_gettime(CLOCK_REALTIME, &now);
    constexpr std::size_t kRoom = 40;
    return static_cast<std::size_t>(
        std::snprintf(line, kRoom, "%lld.%06ld ", static_cast<long long>(now.tv_sec), now.tv_nsec / 1000));
}

} // namespace

LogLine::LogLine(int severity, int opcode, std::string_view text) {
    static constexpr char kDigits[] = "0123456789abcdef";
    m_length = WriteTime(m_bytes.data());
    m_length += static_cast<std::size_t>(std::snprintf(m_bytes.data() + m_length, kMaxLength - m_length, "%d 0x%x ",
                                                       severity, static_cast<unsigned int>(opcode)));
    for (const char c : text) {
        const char shown[] = {'\\', 'x', kDigits[c >> 4 & 0xF], kDigits[c & 0xF]};
        const std::string_view piece = IsControl(c) ? std::string_view(shown, sizeof shown) : std::string_view(&c, 1);
        // One byte stays free for the line feed.
        if (m_length + piece.size() > kMaxLength - 1) {
            break;
        }
        std::copy(piece.begin(), piece.end(), m_bytes.begin() + static_cast<std::ptrdiff_t>(m_length));
        m_length += piece.size();
    }
    m_bytes[m_length++] = '\n';
}
