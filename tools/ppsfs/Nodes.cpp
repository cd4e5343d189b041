#include "tools/ppsfs/Nodes.h"

#include <algorithm>

#include "tools/ppsfs/Fuse.h"

namespace ppsfs {

Nodes::Nodes(const std::string& root) : m_last(FUSE_ROOT_ID) {
    const Node& node = m_nodes[FUSE_ROOT_ID] = {root, 1};
    m_numbers[node.name] = FUSE_ROOT_ID;
}

Nodes::Number Nodes::Remember(const std::string& name) {
    const auto found = m_numbers.find(name);
    const Number number = found == m_numbers.end() ? ++m_last : found->second;
    Node& node = m_nodes[number];
    if (node.known++ == 0) {
        node.name = name;
        m_numbers[node.name] = number;
    }
    return number;
}

void Nodes::Forget(Number number, std::uint64_t times) {
    const auto found = m_nodes.find(number);
    if (found == m_nodes.end() || number == FUSE_ROOT_ID) {
        return;
    }
    found->second.known -= std::min(times, found->second.known);
    if (found->second.known == 0) {
        m_numbers.erase(found->second.name);
        m_nodes.erase(found);
    }
}

} // namespace ppsfs
