#include "platform/pps/Object.h"

#include "platform/pps/Line.h"

namespace pps {

namespace {

constexpr std::size_t kQuotedBytes = 60;

std::string Quoted(std::string_view text) {
    std::string quoted = "'";
    for (const char c : text.substr(0, kQuotedBytes)) {
        quoted += c >= ' ' ? c : '?';
    }
    return quoted + (text.size() > kQuotedBytes ? "...'" : "'");
}

} // namespace

std::string Object::Refusal(std::string_view text) const {
    if (text.empty()) {
        return "an empty write";
    }
    if (text.size() > kMaxWrite) {
        return "a write of more than " + std::to_string(kMaxWrite) + " bytes";
    }
    std::string_view rest = text;
    for (bool first = true; !rest.empty(); first = false) {
        const std::string_view lineText = TakeLine(rest);
        const std::optional<Line> line = ParseLine(lineText);
        const bool isHead = line && line->kind == LineKind::Object && first && line->name == m_name;
        const bool isChange = line && (line->kind == LineKind::Attribute || line->kind == LineKind::AttributeDeleted);
        if (!isHead && !isChange) {
            return "malformed line " + Quoted(lineText);
        }
    }
    return SizeAfter(text) > kMaxObjectText ? "more than the object can hold" : "";
}

/// The size of the attributes' text after a well-formed write.
std::size_t Object::SizeAfter(std::string_view text) const {
    // Nothing that is written can be larger than its own line and a qualifier.
    if (m_textSize + 4 * text.size() <= kMaxObjectText) {
        return m_textSize + text.size();
    }
    std::unordered_map<std::string_view, std::size_t> written;
    while (!text.empty()) {
        const std::string_view lineText = TakeLine(text);
        const Line line = *ParseLine(lineText);
        if (line.kind != LineKind::Object) {
            written[line.name] = line.kind == LineKind::Attribute ? lineText.size() + 4 : 0;
        }
    }
    std::size_t size = m_textSize;
    for (const auto& [name, after] : written) {
        const auto found = m_byName.find(name);
        size = size + after - (found == m_byName.end() ? 0 : found->second->TextSize());
    }
    return size;
}

ApplyResult Object::Apply(std::string_view text) {
    ApplyResult result;
    result.error = Refusal(text);
    while (result.error.empty() && !text.empty()) {
        const Line line = *ParseLine(TakeLine(text));
        switch (line.kind) {
        case LineKind::Attribute:
            Set(line, result);
            break;
        case LineKind::AttributeDeleted:
            Delete(line.name, result);
            break;
        default:
            if (line.persistence != Persistence::Unsaid) {
                m_persistent = line.persistence == Persistence::Kept;
            }
            break;
        }
    }
    return result;
}

void Object::Set(const Line& line, ApplyResult& result) {
    auto found = m_byName.find(line.name);
    if (found == m_byName.end()) {
        m_attributes.push_back(Attribute{std::string(line.name), {}, {}, true});
        const auto added = std::prev(m_attributes.end());
        found = m_byName.emplace(added->name, added).first;
    } else {
        m_textSize -= found->second->TextSize();
    }
    Attribute& attribute = *found->second;
    attribute.encoding = line.encoding;
    attribute.value = line.value;
    if (line.persistence != Persistence::Unsaid) {
        attribute.persistent = line.persistence == Persistence::Kept;
    }
    m_textSize += attribute.TextSize();
    Append(result.changes, attribute);
}

void Object::Delete(std::string_view name, ApplyResult& result) {
    const auto found = m_byName.find(name);
    if (found == m_byName.end()) {
        return;
    }
    result.changes.append("-").append(name).append("\n");
    const Attributes::iterator attribute = found->second;
    m_textSize -= attribute->TextSize();
    m_byName.erase(found);
    m_attributes.erase(attribute);
}

void Object::Truncate() {
    m_byName.clear();
    m_attributes.clear();
    m_textSize = 0;
}

void Object::Append(std::string& text, const Attribute& attribute) {
    text.append(attribute.persistent ? "" : "[n]").append(attribute.name).append(":");
    text.append(attribute.encoding).append(":").append(attribute.value).append("\n");
}

std::string Object::Head(std::string_view mark) const {
    return std::string(mark).append(m_persistent ? "@" : "[n]@").append(m_name).append("\n");
}

std::string Object::State() const {
    std::string text = Head();
    for (const Attribute& attribute : m_attributes) {
        Append(text, attribute);
    }
    return text;
}

std::string Object::Lines(const std::vector<std::string>& names) const {
    std::string text;
    for (const std::string& name : names) {
        const auto found = m_byName.find(name);
        if (found != m_byName.end()) {
            Append(text, *found->second);
        } else {
            text.append("-").append(name).append("\n");
        }
    }
    return text;
}

std::string Object::PersistentState() const {
    if (m_notPersistentByOption || !m_persistent) {
        return {};
    }
    std::string text = Head();
    for (const Attribute& attribute : m_attributes) {
        if (attribute.persistent) {
            Append(text, attribute);
        }
    }
    return text;
}

} // namespace pps
