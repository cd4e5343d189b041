#ifndef TLG_PLATFORM_SLOG_LOGSINK_H
#define TLG_PLATFORM_SLOG_LOGSINK_H

#include <sys/stat.h>

#include <array>
#include <atomic>
#include <cstdint>
#include <string_view>

#include "platform/posix/Mutex.h"
#include "platform/posix/UniqueFd.h"
#include "platform/slog/LogLine.h"

/// Writes lines to standard error without ever waiting for its reader.
///
/// Asking for room before a write is not enough: another thread, or another process that shares the pipe, may fill
/// it between the question and the write, and then the write waits. Nor can standard error itself be set to
/// non-blocking, as that would change it for every process that shares it. So each kind of file has its own way:
///
///   pipe, terminal   opened a second time through /proc, non-blocking; where that is not allowed, as for anything
///                    else. A pipe is made as large as allowed, so that a burst is not lost
///   socket           a send that does not wait
///   regular file     a plain write, without the lock: it does not wait for a reader. For each line it is looked up
///                    whether standard error still is one
///   anything else    under the lock, a write if poll() reports room; only another process could still fill it
///
/// A line that finds no room is dropped and counted. Before the next line that finds room, a separate line reports
/// the number. A terminal or stream socket may accept only part of a line. The rest is kept and written first, so that
/// lines stay whole. Standard error may be redirected at any time. It is looked at again for a line that comes
/// kFollowMs or later after the last look, but not for each line, which would take as long as the write itself: lines
/// of that time may still go to the file that it was. That may be a pipe without a reader, so a program that redirects
/// standard error ignores SIGPIPE.
///
/// Any thread may call it. No call waits while it holds the lock, except in the last case of the table.
class LogSink {
public:
    /// @param reportsLoss whether the number of dropped lines is reported
    explicit LogSink(bool reportsLoss) noexcept : m_reportsLoss(reportsLoss) {}

    /// Writes a line in a single write; false when it was dropped.
    bool Write(std::string_view line) noexcept TLG_EXCLUDES(m_mutex);

    /// Writes the rest of a line and the number of dropped lines, as far as there is room.
    void Flush() noexcept TLG_EXCLUDES(m_mutex) { Write({}); }

private:
    enum class Way { Own, Socket, Plain, Asking };
    static constexpr std::int64_t kFollowMs = 10;

    void Follow() noexcept TLG_EXCLUDES(m_mutex);
    void Choose(const struct stat& standardError) noexcept TLG_REQUIRES(m_mutex);
    bool WriteWhole(std::string_view line) noexcept TLG_REQUIRES(m_mutex);
    ssize_t TryWrite(std::string_view bytes) const noexcept TLG_REQUIRES(m_mutex);
    bool WriteRest() noexcept TLG_REQUIRES(m_mutex);

    template <typename Put>
    bool ReportLoss(Put put) noexcept;

    const bool m_reportsLoss;
    std::atomic<unsigned long> m_dropped{0}; // since the number was last reported
    Mutex m_mutex;

    // About the file that standard error was when it was last looked at.
    std::atomic<std::int64_t> m_nextLookMs{0};
    std::atomic<Way> m_way{Way::Asking};
    dev_t m_device TLG_GUARDED_BY(m_mutex) = 0;
    ino_t m_inode TLG_GUARDED_BY(m_mutex) = 0;
    UniqueFd m_own TLG_GUARDED_BY(m_mutex); // standard error opened a second time, if it is
    std::array<char, LogLine::kMaxLength> m_rest TLG_GUARDED_BY(m_mutex){}; // of a line that was written in part
    std::size_t m_restLength TLG_GUARDED_BY(m_mutex) = 0;
};

#endif
