// Records as a command sends them: all fields as the store has them but for those that the command changes.
#ifndef TLG_MODEL_RECORDPAYLOAD_H
#define TLG_MODEL_RECORDPAYLOAD_H

#include <vector>

#include "model/CEQData.h"
#include "model/RecordFields.h"

/// The stored values of the volume and fade record, each group read under its own hold of the store's lock.
RecordValues VolumeAndFadeValues(const CEQData& data);

/// Empties @p payload and appends the record from its type byte on. Records with entries get their fixed fields as 0.
void WriteRecord(RecordType type, const RecordValues& values, std::vector<unsigned char>& payload);

/// The place of a field in a payload that begins with the record's type.
constexpr std::size_t PayloadIndex(const RecordField& field) {
    return static_cast<std::size_t>(field.byte - kRecordTypeByte);
}

#endif
