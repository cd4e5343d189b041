#ifndef TLG_TOOLS_PPSCTL_JSON_H
#define TLG_TOOLS_PPSCTL_JSON_H

#include <string>
#include <string_view>

namespace ppsctl {

/// An object's text, or a change of it, as a JSON object on one line: "object", "attributes" with "encoding", "value"
/// and "options" of each, and in changes also "deleted" (the names of deleted attributes) and "event" ("created",
/// "deleted", "truncated" or "overflowed", of the object).
///
/// @param time comes first as "time" where it is not empty: a number as text
std::string JsonOf(const std::string& path, std::string_view text, const std::string& time);

} // namespace ppsctl

#endif
