#ifndef TLG_TOOLS_PPSFS_NODES_H
#define TLG_TOOLS_PPSFS_NODES_H

#include <cstdint>
#include <string>
#include <string_view>
#include <unordered_map>

namespace ppsfs {

/// The numbers by which the kernel knows files and directories. The name of a file is its path with its options, so
/// that the same object with other options has another number. The name of a directory ends with a slash.
class Nodes {
public:
    using Number = std::uint64_t;

    /// @param root the name of the directory that the mount point stands for
    explicit Nodes(const std::string& root);

    /// The name that has the number. Only for a number that is not forgotten.
    const std::string& NameOf(Number number) const { return m_nodes.at(number).name; }

    /// The number of a name, which the kernel then has once more.
    Number Remember(const std::string& name);

    /// The kernel has given up the number so many times.
    void Forget(Number number, std::uint64_t times);

private:
    struct Node {
        std::string name;
        std::uint64_t known = 0; // how often the kernel has the number
    };
    Number m_last;
    std::unordered_map<Number, Node> m_nodes;
    std::unordered_map<std::string_view, Number> m_numbers; // by the nodes' names
};

} // namespace ppsfs

#endif
