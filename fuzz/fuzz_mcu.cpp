// Blocks from the MCU, one after the other, in both volume schemes: nothing is read past a block, and the store
// stays within its ranges.
#include <algorithm>
#include <cstdint>
#include <vector>

#include "fuzz/QuietLog.h"
#include "fuzz/Require.h"
#include "mcu/CEQMcuFile.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    CEQData store;
    CEQMcuFile link(nullptr);
    link.AttachData(&store);
    if (size > 0) {
        store.SetVolumeScheme(data[0] & 1);
    }
    link.SendCtrCmd(8, {0, 1, 2, 3});
    // A length byte in front of each block.
    for (std::size_t at = 1; at < size;) {
        const std::size_t length = std::min<std::size_t>(data[at], size - at - 1);
        std::vector<unsigned char> block(data + at + 1, data + at + 1 + length);
        block.shrink_to_fit();
        link.ProcessDataPacket(block.data(), static_cast<int>(block.size()));
        at += 1 + length;
    }
    const tagFadeBalance fade = store.GetFadeBalData();
    const tagAudioData audio = store.GetAudioData();
    const bool isInRange = fade.FF <= 24 && fade.FR <= 24 && fade.BL <= 24 && fade.BR <= 24 &&
                           store.GetVolumeData().CenterGain <= 12 && store.GetVolumeData().Loud <= 1 &&
                           store.GetSrcData().Count <= 32 && store.GetEqTypeDate().TypeNum <= 7 &&
                           audio.Subwoofer.Filter <= 4 && audio.SpeakerMode.Channel <= 4;
    Require(isInRange);
    return 0;
}
