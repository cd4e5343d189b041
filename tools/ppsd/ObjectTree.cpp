#include "tools/ppsd/ObjectTree.h"

#include <algorithm>

namespace ppsd {

namespace {

constexpr std::string_view kDirectory = "/pps/";
constexpr std::size_t kMaxPath = 1024;

bool IsComponent(std::string_view text) {
    return !text.empty() && text[0] != '.' && std::all_of(text.begin(), text.end(), [](char c) {
        return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '_' || c == '-' ||
               c == '.';
    });
}

} // namespace

bool ObjectTree::IsPath(std::string_view path) {
    if (path.size() > kMaxPath || path.substr(0, kDirectory.size()) != kDirectory) {
        return false;
    }
    path.remove_prefix(kDirectory.size());
    for (;;) {
        const std::size_t end = path.find('/');
        if (!IsComponent(path.substr(0, end))) {
            return false;
        }
        if (end == std::string_view::npos) {
            return true;
        }
        path.remove_prefix(end + 1);
    }
}

Node* ObjectTree::Find(std::string_view path) const {
    const auto found = m_nodes.find(path);
    return found == m_nodes.end() ? nullptr : found->second.get();
}

Node& ObjectTree::Reach(std::string_view path) {
    if (Node* node = Find(path)) {
        return *node;
    }
    auto node = std::make_unique<Node>(std::string(path), std::string(path.substr(path.rfind('/') + 1)));
    return *m_nodes.emplace(path, std::move(node)).first->second;
}

/// The memory that a node takes besides its attributes: itself, its name, and its path in two places.
std::size_t ObjectTree::BaseBytes(const Node& node) noexcept {
    return sizeof(Node) + 3 * node.path.size();
}

bool ObjectTree::HasRoom(const Node& node, uid_t owner) const noexcept {
    return m_quota.Room(owner, Bound::Objects) > 0 && m_quota.Room(owner, Bound::Bytes) >= BaseBytes(node);
}

bool ObjectTree::Make(Node& node, const Permissions& permissions) {
    if (!HasRoom(node, permissions.owner) || !m_quota.Acquire(permissions.owner, Bound::Objects, 1)) {
        return false;
    }
    node.exists = true;
    node.permissions = permissions;
    Charge(node);
    return true;
}

/// Charges the owner of an existing object for what it takes now.
void ObjectTree::Charge(Node& node) noexcept {
    const std::size_t bytes = BaseBytes(node) + node.object.Footprint();
    m_quota.Change(node.permissions.owner, Bound::Bytes, node.charged, bytes);
    node.charged = bytes;
}

ApplyResult ObjectTree::Apply(Node& node, std::string_view text, uid_t writer) {
    const std::size_t left = m_quota.Room(node.exists ? node.permissions.owner : writer, Bound::Bytes);
    const std::size_t base = node.exists ? 0 : BaseBytes(node);
    ApplyResult result = node.object.Apply(text, left - std::min(left, base));
    if (node.exists && result.error.empty()) {
        Charge(node);
    }
    return result;
}

void ObjectTree::Truncate(Node& node) noexcept {
    node.object.Truncate();
    if (node.exists) {
        Charge(node);
    }
}

void ObjectTree::Delete(Node& node) noexcept {
    node.exists = false;
    node.object.Reset();
    m_quota.Release(node.permissions.owner, Bound::Bytes, node.charged);
    m_quota.Release(node.permissions.owner, Bound::Objects, 1);
    node.charged = 0;
}

void ObjectTree::DropIfUnused(const Node* node) noexcept {
    if (!node->exists && node->clients.empty()) {
        m_nodes.erase(m_nodes.find(node->path));
    }
}

void ObjectTree::ForEachAfter(std::string_view path, const std::function<bool(const Node&)>& visit) const {
    for (auto at = m_nodes.upper_bound(path); at != m_nodes.end(); ++at) {
        if (at->second->exists && !visit(*at->second)) {
            return;
        }
    }
}

} // namespace ppsd
