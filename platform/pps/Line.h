// One line of PPS text:
//
//   object     = [mark] [qualifiers] "@" name          mark: + created, - deleted, # truncated, | overflowed
//   attribute  = [qualifiers] name ":" encoding ":" value
//   deletion   = "-" name
//   qualifiers = "[" *( ["-"] letter ) "]"             n: non-persistent; "-" clears
//   name       = ( letter / "_" ) *( letter / digit / "_" / "." )
//
// The name ends at the first colon and the encoding at the second; later colons belong to the value,
// which is any text without a line feed or a zero byte.
#ifndef TLG_PLATFORM_PPS_LINE_H
#define TLG_PLATFORM_PPS_LINE_H

#include <optional>
#include <string>
#include <string_view>

namespace pps {

enum class LineKind { Object, Created, Deleted, Truncated, Overflowed, Attribute, AttributeDeleted };

/// Whether a line sets or clears the qualifier "n".
enum class Persistence { Unspecified, NotKept, Kept };

/// A parsed line; the views point into the parsed text.
struct Line {
    LineKind kind = LineKind::Object;
    Persistence persistence = Persistence::Unspecified;
    std::string_view name; ///< of the object or the attribute, without "@" and qualifiers
    std::string_view encoding;
    std::string_view value;
};

/// Parses one line, given without its line feed. Nothing for a malformed line.
std::optional<Line> ParseLine(std::string_view text);

/// Removes the first line from @p text and returns it without its line feed. The last line may lack one.
std::string_view NextLine(std::string_view& text);

/// The text in single quotes, for messages to people. Bytes that are not printable ASCII characters become question
/// marks, and a long text is cut.
std::string Quoted(std::string_view text);

} // namespace pps

#endif
