#ifndef TLG_TOOLS_MCULINK_RECORD_H
#define TLG_TOOLS_MCULINK_RECORD_H

#include <initializer_list>
#include <string_view>

#include "model/McuCommands.h"
#include "model/RecordFields.h"
#include "tools/mculink/Packet.h"

namespace mculink {

/// A setting record that is built and read by the names of its fields. Those of an entry have its number after the
/// name, from 0 on: "gain3".
class Record {
public:
    /// All fields are 0, and there are no entries.
    explicit Record(RecordType type);
    /// @param payload from the command id on; missing bytes read as 0
    explicit Record(Bytes payload) : m_payload(std::move(payload)) {}

    /// Sets a field to any value that its bits hold; an unknown name is a mistake of the caller and ends the program.
    Record& With(std::string_view name, int value);
    /// Sets a volume's change mark.
    Record& Marked(std::string_view name);
    /// Adds an entry, with the values in the order of its fields. The field that counts the entries is not changed.
    Record& Add(std::initializer_list<int> values);
    /// Cuts the payload to @p size bytes.
    Record& Cut(std::size_t size);
    /// Removes all change marks.
    Record& Unmarked();

    int Get(std::string_view name) const;

    /// Whether the MCU accepts it: its length and each field.
    bool IsAcceptable() const;

    int Type() const { return m_payload.size() > kRecordTypeByte ? m_payload[kRecordTypeByte] : -1; }
    /// The whole payload; byte 0 is the id of @p command.
    Bytes Payload(McuCommand command = kReport) const;
    /// The payload of a control command as the control side builds it: from the type on.
    Bytes FromType() const { return {m_payload.begin() + kRecordTypeByte, m_payload.end()}; }

private:
    struct Place {
        const RecordField& field;
        std::size_t byte;
    };
    Place Find(std::string_view name) const;

    Bytes m_payload;
};

/// Calls @p visit(field, byte, entry) for each field of a record that the layout has, in the order of the table; the
/// entry is -1 for the fixed fields. Entries go on as long as there are bytes.
template <typename Visit>
void ForEachField(const RecordLayout& layout, std::size_t size, Visit visit) {
    for (const RecordField& field : layout.fields) {
        visit(field, static_cast<std::size_t>(field.byte), -1);
    }
    if (layout.entries.fields.IsEmpty()) {
        return;
    }
    const auto entrySize = static_cast<std::size_t>(layout.entries.EntrySize());
    int entry = 0;
    for (auto first = static_cast<std::size_t>(layout.FixedSize()); first < size; first += entrySize) {
        for (const RecordField& field : layout.entries.fields) {
            visit(field, first + static_cast<std::size_t>(field.byte), entry);
        }
        ++entry;
    }
}

} // namespace mculink

#endif
