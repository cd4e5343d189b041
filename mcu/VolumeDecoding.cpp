// The two records with volumes. The first volume of a report that has a change mark is the one that was changed.
#include <algorithm>
#include <array>

#include "framework/LogBase.h"
#include "mcu/CEQMcuFile.h"
#include "model/RecordFields.h"

namespace {

constexpr int kFollowMcuScheme = 1;

bool IsMarked(std::uint8_t volume) {
    return (volume & kChangeMark) != 0;
}

/// Decodes the levels and which of them was changed.
void DecodeVolumes(const std::array<std::uint8_t, kVolumeCount>& bytes, T_SRC_VOL& volumes) {
    std::transform(bytes.begin(), bytes.end(), volumes.SrcVol,
                   [](std::uint8_t byte) { return static_cast<std::uint8_t>(byte & kLevelMask); });
    const auto* marked = std::find_if(bytes.begin(), bytes.end(), IsMarked);
    const bool isMarked = marked != bytes.end();
    volumes.ChangeStatus = isMarked ? 1 : 0;
    volumes.VolType = isMarked ? static_cast<std::uint8_t>(marked - bytes.begin()) : kNoVolumeChanged;
}

} // namespace

bool CEQMcuFile::DealVolumeData(const unsigned char* data, int size, int& consumed) {
    constexpr const FieldList& kFields = Layout<VOLUME_AND_FADE_BALANCE>().fields;
    constexpr RecordField kLevels[kVolumeCount] = {kFields["main"], kFields["navi"], kFields["call"], kFields["voice"]};
    constexpr int kFirstByte = kLevels[0].byte;
    constexpr RecordField kMax = kFields["max"];
    constexpr RecordField kMaxPower = kFields["max_power"];
    constexpr RecordField kSystemMute = kFields["system_mute"];
    constexpr RecordField kSourceMute = kFields["source_mute"];
    constexpr int kLength = kFields.BytesOf("main", "source_mute");
    if (!FieldIsThere(__FUNCTION__, data, size, kLength, consumed)) {
        return false;
    }
    LOGBASE(LOG_LEV_NOTICE, __FUNCTION__, "nLength:%d", kLength);
    const auto byteOf = [data](const RecordField& field) { return data[field.byte - kFirstByte]; };
    std::array<std::uint8_t, kVolumeCount> bytes{};
    std::transform(std::begin(kLevels), std::end(kLevels), bytes.begin(), byteOf);
    if (m_pEQData->GetVolumeScheme() != kFollowMcuScheme) {
        std::fill(bytes.begin() + 1, bytes.end(), std::uint8_t{0});
    }
    tagSpeaker speakerLocal;
    T_SRC_VOL& volumes = speakerLocal.tSrcVol;
    DecodeVolumes(bytes, volumes);
    const auto value = [byteOf](const RecordField& field) {
        return static_cast<std::uint8_t>(field.ValueIn(byteOf(field)));
    };
    volumes.Max = value(kMax);
    volumes.MaxPowerVol = value(kMaxPower);
    volumes.SysMute = value(kSystemMute);
    volumes.SrcMute = value(kSourceMute);
    for (int i = 0; i < kVolumeCount; ++i) {
        if (volumes.SrcVol[i] > volumes.Max) {
            LOGBASE(LOG_LEV_ERROR, __FUNCTION__, "Param error, speakerLocal.tSrcVol.SrcVol[%d]:%d, maxVoume:%d\n", i,
                    volumes.SrcVol[i], volumes.Max);
        }
    }
    LOGBASE(LOG_LEV_NOTICE, __FUNCTION__, "---------------mainChange:%d-------------------", IsMarked(bytes[0]));
    LOGBASE(LOG_LEV_NOTICE, __FUNCTION__, "---------------naviChange:%d-------------------", IsMarked(bytes[1]));
    LOGBASE(LOG_LEV_NOTICE, __FUNCTION__, "---------------callChange:%d-------------------", IsMarked(bytes[2]));
    LOGBASE(LOG_LEV_NOTICE, __FUNCTION__, "---------------voiceChange:%d-------------------", IsMarked(bytes[3]));
    LOGBASE(LOG_LEV_NOTICE, __FUNCTION__, "---------------speakerLocal.tSrcVol.Max :%d-------------------",
            volumes.Max);
    LOGBASE(LOG_LEV_NOTICE, __FUNCTION__, "---------------speakerLocal.tSrcVol.MaxPowerVol :%d-------------------",
            volumes.MaxPowerVol);
    m_pEQData->SetVolumeData(speakerLocal);
    return true;
}

bool CEQMcuFile::ParseEQEXtendDataPacket(const unsigned char* data, int size) {
    // The record's type and the four volumes; a shorter record is taken for nothing.
    constexpr int kLength = Layout<EQ_EXPEND>().FixedSize() - kRecordTypeByte;
    int consumed = 0;
    if (!FieldIsThere(__FUNCTION__, data, size, kLength, consumed)) {
        return false;
    }
    std::array<std::uint8_t, kVolumeCount> bytes{};
    if (m_pEQData->GetVolumeScheme() == kFollowMcuScheme) {
        std::copy_n(data + 1, kVolumeCount, bytes.begin());
    }
    tagSpeaker speaker;
    DecodeVolumes(bytes, speaker.tCarPlayVol);
    m_pEQData->SetCarplayVolumeData(speaker);
    return true;
}
