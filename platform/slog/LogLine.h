#ifndef TLG_PLATFORM_SLOG_LOGLINE_H
#define TLG_PLATFORM_SLOG_LOGLINE_H

#include <array>
#include <climits>
#include <string_view>

/// One message as it is written: severity, code, text, a line feed. Where the environment variable TLG_SLOG_TIME is
/// set, and not 0, the seconds since the epoch come first, so that a log can be read beside other records.
class LogLine {
public:
    /// A pipe takes at most this number of bytes in one piece.
    static constexpr std::size_t kMaxLength = PIPE_BUF;

    /// @param text control bytes other than tabs are shown as "\xNN", so that the message stays one line. What does not
    ///             fit is cut off
    LogLine(int severity, int opcode, std::string_view text);

    /// At most kMaxLength bytes with the line feed.
    std::string_view Text() const { return {m_bytes.data(), m_length}; }

private:
    std::array<char, kMaxLength> m_bytes;
    std::size_t m_length;
};

#endif
