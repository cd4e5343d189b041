#ifndef TLG_PLATFORM_SLOG_LOGSINK_H
#define TLG_PLATFORM_SLOG_LOGSINK_H

#include <sys/stat.h>

#include <array>
#include <atomic>
#include <string_view>

#include "platform/posix/Mutex.h"
#include "platform/posix/UniqueFd.h"
#include "platform/slog/LogLine.h"

/// Standard error, as a place for lines that never waits for whoever reads it.
///
/// Whether there is room can't be asked beforehand: another thread, or another process that shares the pipe, may take
/// the room between the question and the write, and then the write waits. And standard error itself can't be set
/// non-blocking, as that would show in every process that shares it. So each kind of file has its own way:
///
///   pipe, terminal   a file description of our own, opened non-blocking through /proc; where that is not allowed,
///                    as for anything else. A pipe is made as large as it may be, so that a burst is not lost
///   socket           a send that does not wait
///   regular file     a plain write, without the lock: it does not wait for a reader
///   anything else    a write after a question, under the lock; only another process could still take the room
///
/// A line that finds no room is dropped and counted, and the number is told in a line of its own before the next
/// line that finds room. Terminals and stream sockets may take part of a line; the rest is kept and goes out before
/// anything else, so that lines stay whole. What standard error is, is looked up for each line, as it may be
/// redirected at any time.
///
/// Any thread may call it. The lock is held over nothing that waits, but for that last case.
class LogSink {
public:
    /// @param reportsLoss whether the number of dropped lines is told
    explicit LogSink(bool reportsLoss) noexcept : m_reportsLoss(reportsLoss) {}

    /// Writes a line in a single write; false when it was dropped.
    bool Write(std::string_view line) noexcept TLG_EXCLUDES(m_mutex);

    /// Writes what is due as far as there is room: the rest of a line, and the number of those dropped.
    void Flush() noexcept TLG_EXCLUDES(m_mutex) { Write({}); }

private:
    enum class Way { Own, Socket, Asking };

    void Follow(const struct stat& standardError) noexcept TLG_REQUIRES(m_mutex);
    bool WriteWhole(std::string_view line) noexcept TLG_REQUIRES(m_mutex);
    ssize_t TryWrite(std::string_view bytes) const noexcept TLG_REQUIRES(m_mutex);
    bool WriteRest() noexcept TLG_REQUIRES(m_mutex);

    template <typename Put>
    bool ReportLoss(Put put) noexcept;

    const bool m_reportsLoss;
    std::atomic<unsigned long> m_dropped{0}; // since the number was last told
    Mutex m_mutex;

    // What the sink knows of the file that standard error is.
    dev_t m_device TLG_GUARDED_BY(m_mutex) = 0;
    ino_t m_inode TLG_GUARDED_BY(m_mutex) = 0;
    Way m_way TLG_GUARDED_BY(m_mutex) = Way::Asking;
    UniqueFd m_own TLG_GUARDED_BY(m_mutex);                                 // the file description of our own, if any
    std::array<char, LogLine::kMaxLength> m_rest TLG_GUARDED_BY(m_mutex){}; // of a line that was taken in part
    std::size_t m_restLength TLG_GUARDED_BY(m_mutex) = 0;
};

#endif
