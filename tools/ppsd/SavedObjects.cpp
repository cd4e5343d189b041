#include "tools/ppsd/SavedObjects.h"

#include <array>
#include <charconv>
#include <limits>
#include <new>
#include <optional>

#include "platform/pps/Line.h"

namespace ppsd {

namespace {

constexpr unsigned long kMaxComplaints = 50;
constexpr mode_t kPermissionBits = 0777;

std::string Octal(mode_t mode) {
    std::array<char, 16> text{};
    return {text.data(), std::to_chars(text.data(), text.data() + text.size(), mode, 8).ptr};
}

/// Parses a blank and a number, and removes both from @p text. False when they are not there.
bool ParseNumber(std::string_view& text, unsigned& number, int base) {
    if (text.empty() || text[0] != ' ') {
        return false;
    }
    const auto [after, error] = std::from_chars(text.data() + 1, text.data() + text.size(), number, base);
    text.remove_prefix(static_cast<std::size_t>(after - text.data()));
    return error == std::errc();
}

/// Parses what follows the path: owner, group and mode, or nothing.
std::optional<Permissions> ParsePermissions(std::string_view text, const Permissions& own) {
    constexpr unsigned kNobody = std::numeric_limits<uid_t>::max();
    if (text.empty()) {
        return own;
    }
    Permissions permissions;
    const bool isWhole = ParseNumber(text, permissions.owner, 10) && ParseNumber(text, permissions.group, 10) &&
                         ParseNumber(text, permissions.mode, 8) && text.empty();
    const bool isValid =
        permissions.owner != kNobody && permissions.group != kNobody && permissions.mode <= kPermissionBits;
    return isWhole && isValid ? std::optional(permissions) : std::nullopt;
}

} // namespace

bool SaveObjects(const ObjectTree& tree, std::string& scratch, const TextSink& sink) {
    bool isWritten = true;
    tree.ForEachAfter({}, [&](const Node& node) {
        const Permissions& whose = node.permissions;
        scratch.assign(node.path).append(" ").append(std::to_string(whose.owner)).append(" ");
        scratch.append(std::to_string(whose.group)).append(" ").append(Octal(whose.mode)).append("\n");
        const std::size_t head = scratch.size();
        node.object.AppendPersistentState(scratch);
        isWritten = scratch.size() == head || sink(scratch);
        return isWritten;
    });
    return isWritten;
}

void ObjectLoader::LoadLine(std::string_view line) {
    ++m_line;
    try {
        if (!line.empty() && line[0] == '/') {
            StartObject(line);
        } else if (m_node != nullptr) {
            Complain(m_tree.Apply(*m_node, line, m_node->permissions.owner).error);
        } else if (!m_isSkipping) {
            m_isSkipping = true;
            Complain("belongs to no object: " + pps::Quoted(line));
        }
    } catch (const std::bad_alloc&) {
        m_complain("no memory for a saved object");
    }
}

void ObjectLoader::StartObject(std::string_view line) {
    m_node = nullptr;
    m_isSkipping = true;
    const std::string_view path = line.substr(0, line.find(' '));
    if (!ObjectTree::IsPath(path)) {
        Complain("not an object's path: " + pps::Quoted(line));
        return;
    }
    const std::optional<Permissions> permissions = ParsePermissions(line.substr(path.size()), m_own);
    if (!permissions) {
        Complain("owner, group and mode that don't parse: " + pps::Quoted(line));
        return;
    }
    if (m_tree.Find(path) != nullptr) {
        Complain("an object that is there already: " + pps::Quoted(line));
        return;
    }
    Node& node = m_tree.Reach(path);
    if (!m_tree.Make(node, *permissions)) {
        Complain("more than its owner may have: " + pps::Quoted(line));
        m_tree.DropIfUnused(&node);
        return;
    }
    m_node = &node;
}

void ObjectLoader::Complain(std::string_view text) {
    if (!text.empty() && ++m_complaints <= kMaxComplaints) {
        m_complain("line " + std::to_string(m_line) + ": " + std::string(text));
    }
}

void ObjectLoader::Finish() {
    if (m_complaints > kMaxComplaints) {
        m_complain("and " + std::to_string(m_complaints - kMaxComplaints) + " lines more");
    }
}

} // namespace ppsd
