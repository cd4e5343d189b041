// A write is prepared first and then applied. Preparing checks everything and allocates all the memory, but changes
// nothing. Applying only moves what was prepared into place and can't fail. So a write is applied whole or not at all,
// also where memory runs out.
#include "tools/ppsd/Object.h"

#include <algorithm>

namespace ppsd {

std::string Object::Prepare(std::string_view text, Write& write) const {
    if (text.empty()) {
        return "an empty write";
    }
    if (text.size() > kMaxWrite) {
        return "a write of more than " + std::to_string(kMaxWrite) + " bytes";
    }
    for (bool isFirst = true; !text.empty(); isFirst = false) {
        std::string error = PrepareLine(pps::NextLine(text), isFirst, write);
        if (!error.empty()) {
            return error;
        }
    }
    return {};
}

std::string Object::PrepareLine(std::string_view text, bool isFirst, Write& write) const {
    const std::optional<pps::Line> line = pps::ParseLine(text);
    if (line && line->kind == pps::LineKind::Object && isFirst && line->name == m_name) {
        write.persistence = line->persistence;
        return {};
    }
    if (!line || (line->kind != pps::LineKind::Attribute && line->kind != pps::LineKind::AttributeDeleted)) {
        return "malformed line " + pps::Quoted(text);
    }
    Change change;
    change.name = line->name;
    change.persistence = line->persistence;
    change.isDeletion = line->kind == pps::LineKind::AttributeDeleted;
    write.deletes |= change.isDeletion;
    if (!change.isDeletion) {
        Attributes& made = change.attribute;
        made.push_back({std::string(line->name), std::string(line->encoding), std::string(line->value), true});
        write.textSize += made.front().TextSize();
        if (write.deletes || m_byName.find(line->name) == m_byName.end()) {
            Index index;
            index.emplace(made.front().name, made.begin());
            change.indexed = index.extract(index.begin());
            ++write.newNames;
        }
    }
    write.changes.push_back(std::move(change));
    return {};
}

/// Whether the object stays within its bounds when the write is applied.
bool Object::Fits(const Write& write, std::size_t room) const {
    const std::size_t most = write.textSize + write.changes.size() * kAttributeBytes;
    if (m_textSize + write.textSize <= kMaxObjectText && most <= room) {
        return true;
    }
    std::unordered_map<std::string_view, std::size_t> written;
    for (const Change& change : write.changes) {
        written[change.name] = change.isDeletion ? 0 : change.attribute.front().TextSize();
    }
    std::size_t text = m_textSize;
    std::size_t attributes = m_attributes.size();
    for (const auto& [name, after] : written) {
        const auto found = m_byName.find(name);
        if (found != m_byName.end()) {
            text -= found->second->TextSize();
            --attributes;
        }
        text += after;
        attributes += after > 0 ? 1 : 0;
    }
    const std::size_t after = text + attributes * kAttributeBytes;
    return text <= kMaxObjectText && (after <= Footprint() || after - Footprint() <= room);
}

ApplyResult Object::Apply(std::string_view text, std::size_t room) {
    ApplyResult result;
    Write write;
    result.error = Prepare(text, write);
    if (result.error.empty() && !Fits(write, room)) {
        result.error = "more than the object or its owner may hold";
        result.noRoom = true;
    }
    if (!result.error.empty()) {
        return result;
    }
    // The published lines are those written, each with at most a qualifier ("[n]") and a line feed more.
    constexpr std::size_t kAddedBytes = 4;
    result.changes.reserve(text.size() + write.changes.size() * kAddedBytes);
    const std::size_t entries = m_byName.size() + write.newNames;
    const float held = static_cast<float>(m_byName.bucket_count()) * m_byName.max_load_factor();
    if (write.newNames > 0 && (m_byName.empty() || static_cast<float>(entries) > held)) {
        m_byName.reserve(2 * entries);
    }
    if (write.persistence != pps::Persistence::Unspecified) {
        m_persistent = write.persistence == pps::Persistence::Kept;
    }
    for (Change& change : write.changes) {
        change.isDeletion ? Delete(change.name, result.changes) : Set(change, result.changes);
    }
    return result;
}

void Object::Set(Change& change, std::string& published) noexcept {
    auto found = m_byName.find(change.name);
    if (found == m_byName.end()) {
        m_attributes.splice(m_attributes.end(), change.attribute);
        found = m_byName.insert(std::move(change.indexed)).position;
    } else {
        m_textSize -= found->second->TextSize();
        found->second->encoding.swap(change.attribute.front().encoding);
        found->second->value.swap(change.attribute.front().value);
    }
    Attribute& attribute = *found->second;
    if (change.persistence != pps::Persistence::Unspecified) {
        attribute.persistent = change.persistence == pps::Persistence::Kept;
    }
    m_textSize += attribute.TextSize();
    Append(published, attribute);
}

void Object::Delete(std::string_view name, std::string& published) noexcept {
    const auto found = m_byName.find(name);
    if (found == m_byName.end()) {
        return;
    }
    published.append("-").append(name).append("\n");
    const Attributes::iterator attribute = found->second;
    m_textSize -= attribute->TextSize();
    m_byName.erase(found);
    m_attributes.erase(attribute);
}

void Object::Truncate() noexcept {
    Index().swap(m_byName);
    m_attributes.clear();
    m_textSize = 0;
}

void Object::Reset() noexcept {
    Truncate();
    m_persistent = true;
    m_notPersistentByOption = false;
}

void Object::Append(std::string& text, const Attribute& attribute) {
    text.append(attribute.persistent ? "" : "[n]").append(attribute.name).append(":");
    text.append(attribute.encoding).append(":").append(attribute.value).append("\n");
}

std::string Object::Head(std::string_view mark) const {
    std::string text;
    AppendHead(text, mark);
    return text;
}

void Object::AppendHead(std::string& text, std::string_view mark) const {
    text.append(mark).append(m_persistent ? "@" : "[n]@").append(m_name).append("\n");
}

std::size_t Object::StateSize() const noexcept {
    std::size_t size = m_name.size() + (m_persistent ? 2 : 5);
    for (const Attribute& attribute : m_attributes) {
        size += attribute.TextSize() - (attribute.persistent ? 3 : 0);
    }
    return size;
}

std::string Object::State() const {
    std::string text;
    AppendState(text);
    return text;
}

void Object::AppendState(std::string& text) const {
    AppendHead(text);
    for (const Attribute& attribute : m_attributes) {
        Append(text, attribute);
    }
}

void Object::AppendLines(std::string& text, const std::list<std::string>& names) const {
    for (const std::string& name : names) {
        const auto found = m_byName.find(name);
        if (found != m_byName.end()) {
            Append(text, *found->second);
        } else {
            text.append("-").append(name).append("\n");
        }
    }
}

void Object::AppendPersistentState(std::string& text) const {
    if (m_notPersistentByOption || !m_persistent) {
        return;
    }
    AppendHead(text);
    for (const Attribute& attribute : m_attributes) {
        if (attribute.persistent) {
            Append(text, attribute);
        }
    }
}

} // namespace ppsd
