// The two places where the MCU tells volumes. A volume byte holds the level in bits 0 to 6 and the change mark
// in bit 7; the first marked volume of a report is the one that was changed.
#include <algorithm>
#include <array>

#include "framework/LogBase.h"
#include "mcu/CEQMcuFile.h"
#include "model/RecordTypes.h"

namespace {

constexpr int kFollowMcuScheme = 1;

bool IsMarked(std::uint8_t volume) {
    return (volume & kChangeMark) != 0;
}

/// Takes the levels and what was changed from the four volume bytes.
void TakeVolumes(const std::array<std::uint8_t, kVolumeCount>& bytes, T_SRC_VOL& volumes) {
    std::transform(bytes.begin(), bytes.end(), volumes.SrcVol,
                   [](std::uint8_t byte) { return static_cast<std::uint8_t>(byte & kLevelMask); });
    const auto* marked = std::find_if(bytes.begin(), bytes.end(), IsMarked);
    const bool isMarked = marked != bytes.end();
    volumes.ChangeStatus = isMarked ? 1 : 0;
    volumes.VolType = isMarked ? static_cast<std::uint8_t>(marked - bytes.begin()) : kNoVolumeChanged;
}

} // namespace

// The volume block:
//   byte 0       main volume
//   byte 1       maximum volume, bit 7 ignored
//   byte 2 to 4  navigation, call and voice volume
//   byte 5       maximum power volume, the whole byte
//   byte 6       bit 0 system mute, bit 1 source mute
bool CEQMcuFile::DealVolumeData(const unsigned char* data, int size, int& consumed) {
    constexpr int kLength = 7;
    if (!FieldIsThere(__FUNCTION__, data, size, kLength, consumed)) {
        return false;
    }
    LOGBASE(LOG_LEV_NOTICE, __FUNCTION__, "nLength:%d", kLength);
    std::array<std::uint8_t, kVolumeCount> bytes{data[0], data[2], data[3], data[4]};
    if (m_pEQData->GetVolumeScheme() != kFollowMcuScheme) {
        std::fill(bytes.begin() + 1, bytes.end(), std::uint8_t{0});
    }
    tagSpeaker speakerLocal;
    T_SRC_VOL& volumes = speakerLocal.tSrcVol;
    TakeVolumes(bytes, volumes);
    volumes.Max = data[1] & kLevelMask;
    volumes.MaxPowerVol = data[5];
    volumes.SysMute = data[6] & 0x01;
    volumes.SrcMute = data[6] >> 1 & 0x01;
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
    constexpr int kLength = 1 + kVolumeCount;
    int consumed = 0;
    if (!FieldIsThere(__FUNCTION__, data, size, kLength, consumed)) {
        return false;
    }
    std::array<std::uint8_t, kVolumeCount> bytes{};
    if (m_pEQData->GetVolumeScheme() == kFollowMcuScheme) {
        std::copy_n(data + 1, kVolumeCount, bytes.begin());
    }
    tagSpeaker speaker;
    TakeVolumes(bytes, speaker.tCarPlayVol);
    m_pEQData->SetCarplayVolumeData(speaker);
    return true;
}
