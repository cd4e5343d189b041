#ifndef TLG_TOOLS_COMMON_OUTPUT_H
#define TLG_TOOLS_COMMON_OUTPUT_H

#include <cstdio>
#include <string>

/// Prints a text at once. False where nobody reads it.
inline bool Print(const std::string& text) {
    std::fwrite(text.data(), 1, text.size(), stdout);
    return std::fflush(stdout) == 0;
}

inline bool PrintLine(const std::string& line) {
    return Print(line + "\n");
}

#endif
