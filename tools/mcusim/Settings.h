#ifndef TLG_TOOLS_MCUSIM_SETTINGS_H
#define TLG_TOOLS_MCUSIM_SETTINGS_H

#include <map>
#include <string>

#include "tools/mculink/Record.h"

namespace mcusim {

using mculink::Bytes;
using mculink::Record;

/// The settings of the simulated MCU, kept as setting records. Change marks are set in reports only, and not kept.
class Settings {
public:
    Settings();
    /// Settings that differ with the seed; the same seed gives the same settings.
    explicit Settings(std::uint32_t seed);

    /// The payload of a query's answer: the whole record of the group; empty for an unknown group.
    Bytes Answer(int group) const;

    /// Stores the record of a control command (its whole payload). False, and nothing is changed, when the record is
    /// not one that the MCU accepts.
    bool Apply(const Bytes& payload);

    /// Handles a mute key (its whole payload) and returns the report that follows, with the main volume
    /// marked as changed; empty when the key is unknown.
    Bytes PressKey(const Bytes& payload);

    /// Handles an audio mixing command (its whole payload) and returns the report that follows; empty
    /// when the state is unknown.
    static Bytes Mix(const Bytes& payload);

    /// The record of a type that the MCU has.
    const Record& Get(RecordType type) const { return m_records.at(type); }
    /// Replaces a record by one of the same type that the MCU accepts.
    void Set(const Record& record) { m_records.at(record.Type()) = record; }

    /// The report of a record.
    /// @param marked the volume that has the change mark; empty where there is none
    static Bytes ReportOf(Record record, std::string_view marked);

private:
    Record& Volumes() { return m_records.at(VOLUME_AND_FADE_BALANCE); }

    std::map<int, Record> m_records; // by type
};

} // namespace mcusim

#endif
