#ifndef TLG_TOOLS_PPSFS_NODES_H
#define TLG_TOOLS_PPSFS_NODES_H

#include <cstdint>
#include <string>
#include <string_view>
#include <unordered_map>

namespace ppsfs {

/// The numbers by which the kernel knows files and directories. A name with options has a number of its own.
class Nodes {
public:
    using Number = std::uint64_t;

    /// @param root what the mount point stands for
    explicit Nodes(const std::string& root);

    /// The path, with its options, that has the number. Only for a number that is not forgotten.
    const std::string& PathOf(Number number) const { return m_nodes.at(number).path; }

    /// The number of a path, which the kernel then has once more.
    Number Remember(const std::string& path);

    /// The kernel has given up the number so many times.
    void Forget(Number number, std::uint64_t times);

private:
    struct Node {
        std::string path;
        std::uint64_t known = 0; // how often the kernel has the number
    };
    Number m_last;
    std::unordered_map<Number, Node> m_nodes;
    std::unordered_map<std::string_view, Number> m_numbers; // by the paths of the nodes
};

} // namespace ppsfs

#endif
