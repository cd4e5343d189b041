#ifndef TLG_TOOLS_PPSCTL_PATTERN_H
#define TLG_TOOLS_PPSCTL_PATTERN_H

#include <string_view>

namespace ppsctl {

/// Whether the pattern stands for more than one path.
bool HasWildcard(std::string_view pattern);

/// Whether an object's path matches: "**" stands for any number of components, "*" within a component for any text.
bool Matches(std::string_view pattern, std::string_view path);

} // namespace ppsctl

#endif
