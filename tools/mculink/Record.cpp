#include "tools/mculink/Record.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <string>

namespace mculink {

Record::Record(RecordType type) : m_payload(static_cast<std::size_t>(LayoutOf(type)->FixedSize())) {
    m_payload[1] = kControlRecordMark;
    m_payload[kRecordTypeByte] = type;
}

Record::Place Record::Find(std::string_view name) const {
    const RecordLayout* layout = LayoutOf(Type());
    if (layout != nullptr) {
        if (const RecordField* field = layout->fields.Find(name)) {
            return {*field, static_cast<std::size_t>(field->byte)};
        }
        const std::size_t digits = name.find_last_not_of("0123456789") + 1;
        const RecordField* field = layout->entries.fields.Find(name.substr(0, digits));
        if (field != nullptr && digits < name.size()) {
            const int entry = std::stoi(std::string(name.substr(digits)));
            return {*field,
                    static_cast<std::size_t>(layout->FixedSize() + entry * layout->entries.EntrySize() + field->byte)};
        }
    }
    std::fprintf(stderr, "record %d has no field '%.*s'\n", Type(), static_cast<int>(name.size()), name.data());
    std::abort();
}

Record& Record::With(std::string_view name, int value) {
    const auto [field, byte] = Find(name);
    std::uint8_t& content = m_payload.at(byte);
    const int others = content & ~(field.bits.Mask() << field.bits.first);
    content = static_cast<std::uint8_t>(others | field.BitsOf(value));
    return *this;
}

Record& Record::Marked(std::string_view name) {
    m_payload.at(Find(name).byte) |= kChangeMark;
    return *this;
}

Record& Record::Unmarked() {
    ForEachField(*LayoutOf(Type()), m_payload.size(),
                 [this](const RecordField& field, std::size_t byte, int /*entry*/) {
                     m_payload[byte] &= field.bits.isVolume ? kLevelMask : 0xFF;
                 });
    return *this;
}

Record& Record::Add(std::initializer_list<int> values) {
    for (const int value : values) {
        m_payload.push_back(static_cast<std::uint8_t>(value));
    }
    return *this;
}

Record& Record::Cut(std::size_t size) {
    m_payload.resize(std::min(size, m_payload.size()));
    return *this;
}

int Record::Get(std::string_view name) const {
    const auto [field, byte] = Find(name);
    return byte < m_payload.size() ? field.ValueIn(m_payload[byte]) : 0;
}

bool Record::IsAcceptable() const {
    const RecordLayout* layout = LayoutOf(Type());
    if (layout == nullptr || m_payload.size() < static_cast<std::size_t>(layout->FixedSize())) {
        return false;
    }
    const RepeatedEntries& entries = layout->entries;
    const std::size_t rest = m_payload.size() - static_cast<std::size_t>(layout->FixedSize());
    if (entries.fields.IsEmpty()
            ? rest != 0
            : rest % static_cast<std::size_t>(entries.GroupSize()) != 0 ||
                  rest / static_cast<std::size_t>(entries.GroupSize()) > static_cast<std::size_t>(entries.maxGroups)) {
        return false;
    }
    bool isAcceptable = true;
    ForEachField(*layout, m_payload.size(), [&](const RecordField& field, std::size_t byte, int entry) {
        const int band = entry < 0 ? 0 : entry % entries.perGroup;
        isAcceptable &= field.Allows(field.ValueIn(m_payload[byte]), band);
    });
    const RecordField* count = layout->fields.Find("count");
    return isAcceptable &&
           (count == nullptr ||
            m_payload[static_cast<std::size_t>(count->byte)] * static_cast<std::size_t>(entries.EntrySize()) == rest);
}

Bytes Record::Payload(McuCommand command) const {
    Bytes payload = m_payload;
    payload[0] = command;
    return payload;
}

} // namespace mculink
