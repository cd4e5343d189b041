#ifndef TLG_TESTS_SUPPORT_CAPTUREDLOG_H
#define TLG_TESTS_SUPPORT_CAPTUREDLOG_H

#include <string>
#include <vector>

/// One message of the service; in unit tests the logger keeps them here instead of writing them.
struct LogLine {
    int code;
    int severity;
    std::string text; ///< prefix and message, without a line feed at the end
};

/// Takes what was logged since the last call.
std::vector<LogLine> TakeLog();

/// From now on, messages of a higher severity number are not logged (7 at first: all are).
void SetLogLevel(int level);

/// Takes the texts of the given severity (2 by default: errors), joined by line feeds.
std::string TakeErrors(int severity = 2);

#endif
