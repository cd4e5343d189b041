// Percentages of the navigation service and power words, over a store in many states: a percentage gives a record of
// 16 bytes that the MCU side accepts and that differs from the stored settings in the navigation volume alone.
//
// Byte 0 chooses the store's state, byte 1 the percentage last published, the rest is the value.
#include <algorithm>
#include <cstdint>
#include <string>

#include "fuzz/FilledStore.h"
#include "fuzz/QuietLog.h"
#include "fuzz/Require.h"
#include "model/RecordPayload.h"
#include "status/GpsStatusPPSModule.h"
#include "status/PowerOnStatusPPSModule.h"

namespace {

constexpr std::size_t kNavigationVolume = 4;

pps_attrib_t Attribute(std::string& name, std::string& value) {
    pps_attrib_t attribute{};
    attribute.attr_name = name.data();
    attribute.value = value.data();
    return attribute;
}

void CheckRecord(std::vector<unsigned char> payload, const CEQData& store) {
    std::vector<unsigned char> stored;
    WriteRecord(VOLUME_AND_FADE_BALANCE, VolumeAndFadeValues(store), stored);
    Require(payload.size() == 16 && stored.size() == 16);
    Require(payload[kNavigationVolume] <= store.GetVolumeData().tSrcVol.Max);
    Require(payload[kNavigationVolume] != stored[kNavigationVolume]);
    payload[kNavigationVolume] = stored[kNavigationVolume];
    Require(payload == stored);
}

void CheckPower(std::string word, CEQData& store) {
    PowerOnStatusPPSModule power(nullptr);
    power.AttachData(&store);
    std::string name = "zopoweroff";
    pps_attrib_t attribute = Attribute(name, word);
    Require(power.OnPowerStatus(&attribute));
    const T_POWER_ON_STATUS status = store.GetPowerStatus();
    const bool isKnown = word == "off" || word == "poweroff" || word == "fakepowerOff";
    Require(isKnown == (status != POWER_STATUS_IS_UNKNOWN));
    Require(store.GetFakePowerOffFlag() == (word == "fakepowerOff"));
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size < 2) {
        return 0;
    }
    CEQData store;
    CEQMcuFile link(nullptr);
    link.AttachData(&store);
    FillStore(store, link, data[0]);
    std::string value(data + 2, std::find(data + 2, data + size, std::uint8_t{0}));
    CheckPower(value, store);

    GpsStatusPPSModule navigation(nullptr);
    navigation.m_pEQData = &store;
    const int published = data[1];
    navigation.PublishNaviVol(published, 100);
    std::string name = published % 2 == 0 ? "navivolume" : "[n]navivolume";
    pps_attrib_t attribute = Attribute(name, value);
    std::vector<unsigned char> payload;
    if (navigation.OnGpsStatus(&attribute, payload)) {
        Require(value != std::to_string(published));
        CheckRecord(payload, store);
        Require(McuAccepts(link, payload));
    }
    return 0;
}
