#ifndef TLG_CONTROL_AUDIOSETTINGPAYLOAD_H
#define TLG_CONTROL_AUDIOSETTINGPAYLOAD_H

#include <vector>

#include "model/SettingRecords.h"

/// Whether the record can carry this subwoofer phase: 0 or 180 degrees.
bool IsPhaseKnown(int phase);

/// Empties @p payload and appends the audio setting record from its type on:
///
///   byte 0   4, the record type
///   byte 1   bit 0 DBB; bit 1 subwoofer switch; bit 2 phase 180; bits 3 to 5 subwoofer filter
///   byte 2   bit 0 speaker mode; bits 1 to 3 channel
///   byte 3   bits 0 to 2 front cut-off; bit 3 front switch; bits 4 to 6 rear cut-off; bit 7 rear switch
void WriteAudioSetting(const tagAudioData& audio, std::vector<unsigned char>& payload);

#endif
