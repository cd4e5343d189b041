#include "tools/ppsd/AttributeFilter.h"

#include <algorithm>

#include "platform/pps/Line.h"

namespace ppsd {

AttributeFilter::AttributeFilter(std::string_view names) {
    while (!names.empty()) {
        const std::string_view name = names.substr(0, names.find('+'));
        if (!name.empty()) {
            m_names.emplace(name);
        }
        names.remove_prefix(std::min(name.size() + 1, names.size()));
    }
}

bool AttributeFilter::Wants(std::string_view line) const {
    const auto parsed = pps::ParseLine(line);
    return parsed && m_names.find(parsed->name) != m_names.end();
}

bool AttributeFilter::LetsThrough(std::string_view lines) const {
    bool isWanted = m_names.empty();
    while (!isWanted && !lines.empty()) {
        isWanted = Wants(pps::NextLine(lines));
    }
    return isWanted;
}

void AttributeFilter::Apply(std::string& packet) const {
    if (m_names.empty()) {
        return;
    }
    // A packet consists of groups, each headed by the object's line, the only ones with an "@".
    std::size_t kept = 0;
    for (std::size_t at = 0; at < packet.size();) {
        const std::size_t end = std::min(packet.find('\n', at), packet.size() - 1) + 1;
        const std::string_view line(packet.data() + at, end - at);
        const std::string_view name = line.substr(0, line.find(':'));
        if (name.find('@') != std::string_view::npos || Wants(line.substr(0, line.size() - 1))) {
            std::copy(line.begin(), line.end(), packet.begin() + static_cast<std::ptrdiff_t>(kept));
            kept += line.size();
        }
        at = end;
    }
    packet.resize(kept);
}

} // namespace ppsd
