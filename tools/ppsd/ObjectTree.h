#ifndef TLG_TOOLS_PPSD_OBJECTTREE_H
#define TLG_TOOLS_PPSD_OBJECTTREE_H

#include <chrono>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "tools/ppsd/Object.h"
#include "tools/ppsd/Permissions.h"
#include "tools/ppsd/Quota.h"

namespace ppsd {

struct Client;

/// An object of the tree and the clients that have it open. A deleted object that is still open stays as a
/// node, so that its subscribers are notified when it is made again.
struct Node {
    Node(std::string objectPath, std::string name) : path(std::move(objectPath)), object(std::move(name)) {}

    std::string path;
    Object object;
    bool exists = false;
    Permissions permissions;                       ///< of the object; after its deletion, the last ones
    std::size_t charged = 0;                       ///< the bytes that its owner is charged for
    std::chrono::system_clock::time_point changed; ///< when it was made, written or truncated last
    std::vector<Client*> clients;
};

/// All objects by their path. What they take is charged to their owners. Not thread-safe.
class ObjectTree {
public:
    static constexpr std::size_t kMaxPath = 1024; ///< in bytes

    /// @param quota what each user has acquired; outlives the tree
    explicit ObjectTree(Quota& quota) : m_quota(quota) {}

    /// Whether @p path can name an object: "/pps/" and components of letters, digits, "_", "-", ".",
    /// none of which begins with a dot.
    static bool IsPath(std::string_view path);

    /// The node at the path; null where there is none.
    Node* Find(std::string_view path) const;

    /// The node at the path, made where it is missing.
    Node& Reach(std::string_view path);

    /// Whether the user may own one more object, at that node.
    bool HasRoom(const Node& node, uid_t owner) const noexcept;

    /// Makes the node an object, charged to its owner. False where the owner has no room.
    bool Make(Node& node, const Permissions& permissions);

    /// Applies a write. The owner of the object must have room for what it adds. Where the object does not exist yet,
    /// @p writer must have the room.
    ApplyResult Apply(Node& node, std::string_view text, uid_t writer);

    void Truncate(Node& node) noexcept;

    /// Deletes the object; its node stays.
    void Delete(Node& node) noexcept;

    /// Drops the node if it neither exists as an object nor is open.
    void DropIfUnused(const Node* node) noexcept;

    /// Whether the path is that of the root, or of a directory with an object below it. There are no others.
    bool IsDirectory(std::string_view path) const;

    /// Whether an object is at a part of the path.
    bool IsBelowObject(std::string_view path) const;

    /// Calls @p visit(name, isDirectory) for what a directory holds, as long as it returns true.
    ///
    /// @param after begins after this one, a directory with a slash after its name; empty: at the first
    void ForEachEntry(std::string_view directory, std::string_view after,
                      const std::function<bool(std::string_view, bool)>& visit) const;

    /// Calls @p visit for the existing objects with a path after @p path, in order, as long as it returns true.
    void ForEachAfter(std::string_view path, const std::function<bool(const Node&)>& visit) const;

private:
    static std::size_t BaseBytes(const Node& node) noexcept;
    void Charge(Node& node) noexcept;

    Quota& m_quota;
    std::map<std::string, std::unique_ptr<Node>, std::less<>> m_nodes;
};

} // namespace ppsd

#endif
