// The system logger's client interface, as far as this system uses it.
#ifndef TLG_SYS_SLOG_H
#define TLG_SYS_SLOG_H

#ifdef __cplusplus
extern "C" {
#endif

// NOLINTBEGIN(bugprone-reserved-identifier): the platform's names
enum {
    _SLOG_SHUTDOWN = 0,
    _SLOG_CRITICAL = 1,
    _SLOG_ERROR = 2,
    _SLOG_WARNING = 3,
    _SLOG_NOTICE = 4,
    _SLOG_INFO = 5,
    _SLOG_DEBUG1 = 6,
    _SLOG_DEBUG2 = 7
};
// NOLINTEND(bugprone-reserved-identifier)

/// Logs one printf-style message.
///
/// On the host each message is one line on standard error, in a single write: the severity number, the code in
/// hexadecimal, the text. A line feed at the end of the text is not doubled. Other control bytes, except tabs, are
/// shown as "\xNN". A message of more than 4096 bytes is cut. The environment variable TLG_SLOG_LEVEL (0 to 7, default
/// 7) drops messages of a higher severity number before they are formatted. Any thread may call it.
///
/// No call waits for the reader of the log. A message that finds no room is dropped. Then a line such as
/// "3 0x0 slogf: 17 messages dropped" is written before the next message that finds room, or at the end of the
/// process. errno stays as it was.
///
/// @param opcode   the message's code, free for the caller
/// @param severity 0 (shutdown) to 7 (debug)
/// @return the bytes logged, 0 for a message above TLG_SLOG_LEVEL, -1 when nothing could be written
int slogf(int opcode, int severity, const char* format, ...) __attribute__((format(printf, 3, 4)));

/// The host's alone: whether messages of this severity are logged, so that callers need not format the others. Where
/// the macro is missing, the logger has no level to ask.
int slogIsLogged(int severity);
#define TLG_SLOG_IS_LOGGED(severity) slogIsLogged(severity)

#ifdef __cplusplus
}
#endif

#endif
