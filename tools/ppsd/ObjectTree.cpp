#include "tools/ppsd/ObjectTree.h"

#include <algorithm>

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

Node* ObjectTree::Find(const std::string& path, bool create) {
    const auto found = m_nodes.find(path);
    if (found != m_nodes.end()) {
        return found->second.get();
    }
    if (!create || m_nodes.size() >= kMaxObjects) {
        return nullptr;
    }
    auto node = std::make_unique<Node>(path, path.substr(path.rfind('/') + 1));
    return m_nodes.emplace(path, std::move(node)).first->second.get();
}

void ObjectTree::DropIfUnused(const Node* node) {
    if (!node->exists && node->clients.empty()) {
        m_nodes.erase(m_nodes.find(node->path));
    }
}

std::vector<std::string> ObjectTree::Paths() const {
    std::vector<std::string> paths;
    for (const auto& [path, node] : m_nodes) {
        if (node->exists) {
            paths.push_back(path);
        }
    }
    return paths;
}

std::string ObjectTree::PersistentText() const {
    std::string text;
    for (const auto& [path, node] : m_nodes) {
        const std::string state = node->exists ? node->object.PersistentState() : std::string();
        if (!state.empty()) {
            text.append(path).append("\n").append(state);
        }
    }
    return text;
}

std::vector<std::string> ObjectTree::Load(std::string_view text) {
    std::vector<std::string> complaints;
    while (!text.empty()) {
        // An object reaches up to the next line that begins a path; no line of an object does.
        const std::size_t next = text.find("\n/");
        const std::string_view entry = text.substr(0, next);
        text.remove_prefix(next == std::string_view::npos ? text.size() : next + 1);
        const std::string path(entry.substr(0, entry.find('\n')));
        Node* node = IsPath(path) ? Find(path, true) : nullptr;
        std::string error = node == nullptr ? "not an object's path" : "";
        std::string_view lines = entry.substr(std::min(path.size() + 1, entry.size()));
        while (error.empty() && !lines.empty()) {
            // Line by line, since the object may be larger than one write.
            const std::string_view rest = lines;
            const std::size_t end = rest.find('\n');
            error = node->object.Apply(rest.substr(0, end)).error;
            lines.remove_prefix(end == std::string_view::npos ? lines.size() : end + 1);
        }
        if (node != nullptr) {
            node->exists = true;
        }
        if (!error.empty()) {
            complaints.push_back(std::string(path).append(": ").append(error));
        }
    }
    return complaints;
}
