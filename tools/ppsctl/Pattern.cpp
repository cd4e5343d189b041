#include "tools/ppsctl/Pattern.h"

#include <algorithm>

namespace ppsctl {

namespace {

/// Removes the first component, with the slash before it, and returns it.
std::string_view TakeComponent(std::string_view& path) {
    path.remove_prefix(path.empty() || path[0] != '/' ? 0 : 1);
    const std::string_view component = path.substr(0, path.find('/'));
    path.remove_prefix(component.size());
    return component;
}

bool ComponentMatches(std::string_view pattern, std::string_view text) {
    if (pattern.empty() || pattern[0] != '*') {
        return pattern.empty()
                   ? text.empty()
                   : !text.empty() && pattern[0] == text[0] && ComponentMatches(pattern.substr(1), text.substr(1));
    }
    const std::string_view rest = pattern.substr(1);
    return ComponentMatches(rest, text) || (!text.empty() && ComponentMatches(pattern, text.substr(1)));
}

} // namespace

bool HasWildcard(std::string_view pattern) {
    return pattern.find('*') != std::string_view::npos;
}

bool Matches(std::string_view pattern, std::string_view path) {
    if (pattern.empty() || path.empty()) {
        return path.empty() && (pattern.empty() || pattern == "/**");
    }
    std::string_view patternRest = pattern;
    std::string_view pathRest = path;
    const std::string_view component = TakeComponent(patternRest);
    const std::string_view name = TakeComponent(pathRest);
    if (component == "**") {
        return Matches(patternRest, path) || Matches(pattern, pathRest);
    }
    return ComponentMatches(component, name) && Matches(patternRest, pathRest);
}

} // namespace ppsctl
