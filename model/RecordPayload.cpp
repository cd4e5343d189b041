#include "model/RecordPayload.h"

RecordValues VolumeAndFadeValues(const CEQData& data) {
    RecordValues values;
    values.audioIC = data.GetAudioICStatus();
    values.speaker = data.GetVolumeData();
    values.fade = data.GetFadeBalData();
    return values;
}

void WriteRecord(RecordType type, const RecordValues& values, std::vector<unsigned char>& payload) {
    const RecordLayout& layout = *LayoutOf(type);
    payload.assign(static_cast<std::size_t>(layout.FixedSize() - kRecordTypeByte), 0);
    payload[0] = type;
    for (const RecordField& field : layout.fields) {
        const int value = field.stored == nullptr ? 0 : field.stored(values);
        unsigned char& content = payload[PayloadIndex(field)];
        content = static_cast<unsigned char>(content | field.BitsOf(value));
    }
}
