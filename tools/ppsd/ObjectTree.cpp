#include "tools/ppsd/ObjectTree.h"

#include <algorithm>

namespace ppsd {

namespace {

constexpr std::string_view kDirectory = "/pps/";

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
    node.changed = std::chrono::system_clock::now();
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
        node.changed = std::chrono::system_clock::now();
        Charge(node);
    }
    return result;
}

void ObjectTree::Truncate(Node& node) noexcept {
    node.object.Truncate();
    if (node.exists) {
        node.changed = std::chrono::system_clock::now();
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

bool ObjectTree::IsDirectory(std::string_view path) const {
    bool isDirectory = path == kDirectory.substr(0, kDirectory.size() - 1);
    if (!isDirectory) {
        ForEachEntry(path, {}, [&isDirectory](std::string_view /*name*/, bool /*isDirectory*/) {
            isDirectory = true;
            return false;
        });
    }
    return isDirectory;
}

bool ObjectTree::IsBelowObject(std::string_view path) const {
    for (std::size_t end = path.find('/', kDirectory.size()); end != std::string_view::npos;
         end = path.find('/', end + 1)) {
        const Node* const node = Find(path.substr(0, end));
        if (node != nullptr && node->exists) {
            return true;
        }
    }
    return false;
}

void ObjectTree::ForEachEntry(std::string_view directory, std::string_view after,
                              const std::function<bool(std::string_view, bool)>& visit) const {
    const std::string prefix = std::string(directory) + "/";
    // What follows everything below a directory.
    const auto past = [&prefix](std::string_view name) { return prefix + std::string(name) + char{'/' + 1}; };
    const bool isAfterDirectory = !after.empty() && after.back() == '/';
    auto at = isAfterDirectory ? m_nodes.lower_bound(past(after.substr(0, after.size() - 1)))
                               : m_nodes.upper_bound(prefix + std::string(after));
    while (at != m_nodes.end() && at->first.compare(0, prefix.size(), prefix) == 0) {
        const std::string_view rest = std::string_view(at->first).substr(prefix.size());
        const std::string_view name = rest.substr(0, rest.find('/'));
        const bool isDirectory = name.size() < rest.size();
        if (at->second->exists && !visit(name, isDirectory)) {
            return;
        }
        at = at->second->exists && isDirectory ? m_nodes.lower_bound(past(name)) : std::next(at);
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
