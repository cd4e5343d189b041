#include "platform/slog/LogLine.h"

#include <algorithm>
#include <cstdio>

namespace {

bool IsControl(char c) {
    return (static_cast<unsigned char>(c) < 0x20 && c != '\t') || c == 0x7F;
}

} // namespace

LogLine::LogLine(int severity, int opcode, std::string_view text) {
    static constexpr char kDigits[] = "0123456789abcdef";
    const int head = std::snprintf(m_bytes.data(), kMaxLength, "%d 0x%x ", severity, static_cast<unsigned int>(opcode));
    m_length = static_cast<std::size_t>(head);
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
