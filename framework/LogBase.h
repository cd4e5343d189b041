#ifndef TLG_FRAMEWORK_LOGBASE_H
#define TLG_FRAMEWORK_LOGBASE_H

#include <sys/slog.h>

#include <cstdarg>
#include <cstdint>
#include <cstdio>

/// Severity of a message, in the system logger's numbers.
enum LOG_LEV_EN {
    LOG_LEV_ERROR = 2,  ///< a rejected input, a failed write, an unknown key or attribute
    LOG_LEV_NOTICE = 4, ///< trace of a decision
    LOG_LEV_INFO = 5    ///< trace of traffic
};

/// Logs one printf-style message of at most 511 characters, prefix included, to the system logger.
///
/// Every module (translation unit) has its own copy of this function and of its message counter, which also counts what
/// the logger's level drops; those are not formatted, where the logger can be asked for its level. The event code
/// carries the low 12 bits of the counter and only serves to distinguish messages. Any thread may call it; nothing is
/// allocated.
///
/// @param function name of the calling function
__attribute__((unused, format(printf, 3, 4))) static void LOGBASE(LOG_LEV_EN level, const char* function,
                                                                  const char* format, ...) {
    static int minor = 0;

    // Two threads may get the same number, which does no harm. Relaxed accesses say so to the compiler
    // and cost no more than plain ones.
    const auto count = static_cast<std::uint32_t>(__atomic_load_n(&minor, __ATOMIC_RELAXED));
    __atomic_store_n(&minor, static_cast<int>(count + 1U), __ATOMIC_RELAXED);
#ifdef TLG_SLOG_IS_LOGGED
    if (TLG_SLOG_IS_LOGGED(level) == 0) {
        return;
    }
#endif
    char line[512] = {};
    int prefix = std::snprintf(line, sizeof line, "%s[%s]-", "_Melvane_", function);
    if (prefix >= static_cast<int>(sizeof line)) {
        prefix = static_cast<int>(sizeof line) - 1;
    }
    va_list arguments;
    va_start(arguments, format);
    std::vsnprintf(line + prefix, sizeof line - static_cast<std::size_t>(prefix), format, arguments);
    va_end(arguments);

    slogf(static_cast<int>((count << 20U) | 0x4E33U), level, "%s", line);
}

#endif
