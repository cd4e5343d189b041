#include "platform/pps/Line.h"

#include <algorithm>

namespace pps {

namespace {

bool IsLetter(char c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
}

bool IsName(std::string_view text) {
    const auto inName = [](char c) { return IsLetter(c) || (c >= '0' && c <= '9') || c == '_' || c == '.'; };
    return !text.empty() && (IsLetter(text[0]) || text[0] == '_') && std::all_of(text.begin(), text.end(), inName);
}

/// An object's name is a file's name: it may hold a hyphen and begin with a digit.
bool IsObjectName(std::string_view text) {
    const auto inName = [](char c) {
        return IsLetter(c) || (c >= '0' && c <= '9') || c == '_' || c == '.' || c == '-';
    };
    return !text.empty() && text[0] != '.' && std::all_of(text.begin(), text.end(), inName);
}

/// Parses "[...]" at the front of @p text, if there is one, and removes it. False when the brackets hold anything but
/// letters, each with an optional hyphen before it. Letters other than "n" have no meaning here.
bool ParseQualifiers(std::string_view& text, Persistence& persistence) {
    if (text.empty() || text[0] != '[') {
        return true;
    }
    const std::size_t end = text.find(']');
    if (end == std::string_view::npos) {
        return false;
    }
    for (std::size_t i = 1; i < end; ++i) {
        const bool clears = text[i] == '-';
        i += clears ? 1 : 0;
        if (i >= end || !IsLetter(text[i])) {
            return false;
        }
        if (text[i] == 'n') {
            persistence = clears ? Persistence::Kept : Persistence::NotKept;
        }
    }
    text.remove_prefix(end + 1);
    return true;
}

/// The kind of the object line @p text, whose mark, if any, is removed. Nothing where it is not an object line.
std::optional<LineKind> ParseObjectMark(std::string_view& text) {
    static constexpr std::string_view kMarks = "+-#|";
    static constexpr LineKind kKinds[] = {LineKind::Created, LineKind::Deleted, LineKind::Truncated,
                                          LineKind::Overflowed};
    const std::size_t mark = text.empty() ? std::string_view::npos : kMarks.find(text[0]);
    const std::string_view rest = text.substr(mark == std::string_view::npos ? 0 : 1);
    if (rest.empty() || (rest[0] != '@' && (rest[0] != '[' || rest.find("]@") != rest.find(']')))) {
        return std::nullopt;
    }
    text = rest;
    return mark == std::string_view::npos ? LineKind::Object : kKinds[mark];
}

std::optional<Line> ParseObject(std::string_view text, LineKind kind) {
    Line line;
    line.kind = kind;
    if (!ParseQualifiers(text, line.persistence) || text.empty() || text[0] != '@') {
        return std::nullopt;
    }
    line.name = text.substr(1);
    return IsObjectName(line.name) ? std::optional(line) : std::nullopt;
}

std::optional<Line> ParseAttribute(std::string_view text) {
    Line line;
    line.kind = LineKind::Attribute;
    if (!ParseQualifiers(text, line.persistence)) {
        return std::nullopt;
    }
    const std::size_t nameEnd = text.find(':');
    if (nameEnd == std::string_view::npos) {
        return std::nullopt;
    }
    const std::size_t encodingEnd = text.find(':', nameEnd + 1);
    if (encodingEnd == std::string_view::npos) {
        return std::nullopt;
    }
    line.name = text.substr(0, nameEnd);
    line.encoding = text.substr(nameEnd + 1, encodingEnd - nameEnd - 1);
    line.value = text.substr(encodingEnd + 1);
    return IsName(line.name) ? std::optional(line) : std::nullopt;
}

} // namespace

std::optional<Line> ParseLine(std::string_view text) {
    if (text.find('\0') != std::string_view::npos) {
        return std::nullopt;
    }
    if (const std::optional<LineKind> kind = ParseObjectMark(text)) {
        return ParseObject(text, *kind);
    }
    if (!text.empty() && text[0] == '-') {
        Line line;
        line.kind = LineKind::AttributeDeleted;
        line.name = text.substr(1);
        return IsName(line.name) ? std::optional(line) : std::nullopt;
    }
    return ParseAttribute(text);
}

std::string_view NextLine(std::string_view& text) {
    const std::size_t end = text.find('\n');
    const std::string_view line = text.substr(0, end);
    text.remove_prefix(end == std::string_view::npos ? text.size() : end + 1);
    return line;
}

std::string Quoted(std::string_view text) {
    constexpr std::size_t kQuotedBytes = 60;
    std::string quoted = "'";
    for (const char c : text.substr(0, kQuotedBytes)) {
        quoted += c >= ' ' && c <= '~' ? c : '?';
    }
    return quoted + (text.size() > kQuotedBytes ? "...'" : "'");
}

} // namespace pps
