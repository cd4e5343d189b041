#ifndef TLG_TOOLS_PPSD_OBJECTTREE_H
#define TLG_TOOLS_PPSD_OBJECTTREE_H

#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "platform/pps/Object.h"

struct Client;

/// An object of the tree and those who have it open. A deleted object that is still open stays as a
/// node, so that its subscribers hear of it when it is made again.
struct Node {
    Node(std::string objectPath, std::string name) : path(std::move(objectPath)), object(std::move(name)) {}

    std::string path;
    pps::Object object;
    bool exists = false;
    std::vector<Client*> clients;
};

/// All objects by their path. Not thread-safe.
class ObjectTree {
public:
    static constexpr std::size_t kMaxObjects = 4096;

    /// Whether @p path can name an object: "/pps/" and components of letters, digits, "_", "-", ".",
    /// none of which begins with a dot.
    static bool IsPath(std::string_view path);

    /// The node at the path, made where @p create; null where there is none or no room.
    Node* Find(const std::string& path, bool create);

    /// Drops the node if it neither exists as an object nor is open.
    void DropIfUnused(const Node* node);

    /// Paths of the existing objects, in order.
    std::vector<std::string> Paths() const;

    /// What survives a restart, as text: for each object its path on a line, then its own text.
    std::string PersistentText() const;

    /// Takes the text of PersistentText() in; returns a line for each object that is not well-formed.
    std::vector<std::string> Load(std::string_view text);

private:
    std::map<std::string, std::unique_ptr<Node>> m_nodes;
};

#endif
