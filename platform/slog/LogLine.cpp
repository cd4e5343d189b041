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
    while (!text.empty()) {
        const auto control = std::find_if(text.begin(), text.end(), IsControl);
        const auto plain = static_cast<std::size_t>(control - text.begin());
        const std::size_t room = kMaxLength - 1 - m_length; // one byte stays free for the line feed
        std::copy_n(text.data(), std::min(plain, room), m_bytes.data() + m_length);
        m_length += std::min(plain, room);
        constexpr std::size_t kShown = 4;
        if (plain == text.size() || room < plain + kShown) {
            break;
        }
        const char shown[kShown] = {'\\', 'x', kDigits[*control >> 4 & 0xF], kDigits[*control & 0xF]};
        std::copy_n(shown, kShown, m_bytes.data() + m_length);
        m_length += kShown;
        text.remove_prefix(plain + 1);
    }
    m_bytes[m_length++] = '\n';
}
