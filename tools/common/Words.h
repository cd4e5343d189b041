#ifndef TLG_TOOLS_COMMON_WORDS_H
#define TLG_TOOLS_COMMON_WORDS_H

#include <charconv>
#include <iterator>
#include <optional>
#include <sstream>
#include <string>
#include <string_view>
#include <vector>

using Words = std::vector<std::string>;

/// The words of a line, which blanks separate.
inline Words WordsOf(std::string_view line) {
    std::istringstream words{std::string(line)};
    return {std::istream_iterator<std::string>(words), {}};
}

/// A whole text as a number; nothing where it is none.
inline std::optional<long> NumberOf(std::string_view text) {
    long number = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    return error == std::errc() && end == text.data() + text.size() ? std::optional(number) : std::nullopt;
}

/// A whole text as a number of this range; nothing where it is none.
inline std::optional<long> NumberIn(std::string_view text, long min, long max) {
    const std::optional<long> number = NumberOf(text);
    return number && *number >= min && *number <= max ? number : std::nullopt;
}

#endif
