// Values of control attributes and percentages of the navigation service, over a store in many states: whatever a
// handler accepts is a record that the MCU side accepts too, and differs from the stored settings only in the fields
// that the command may change.
//
// Byte 0 chooses the attribute, with the navigation volume after the commands, byte 1 the store's state, the rest is
// the value.
#include <algorithm>
#include <cstdint>
#include <map>
#include <string>

#include "control/CEQControlPPSModule.h"
#include "fuzz/FilledStore.h"
#include "fuzz/QuietLog.h"
#include "fuzz/Require.h"
#include "model/RecordPayload.h"
#include "status/GpsStatusPPSModule.h"

namespace {

using Payload = std::vector<unsigned char>;
using Names = std::vector<std::string_view>;

/// The fields that a command may change in the stored record; a command without a row sends none.
const std::map<std::string_view, Names> kMayChange{
    {"zovolume", {"main", "system_mute"}},
    {"zomaxpower_vol", {"max_power", "system_mute"}},
    {"zosrc_vol", {"main", "navi", "call", "voice", "ext0", "ext1", "ext2", "ext3"}},
    {"zofade_balance", {"ff", "fr", "bl", "br"}},
    {"zosubwoofer_gain", {"subwoofer_gain"}},
    {"zocenter_gain", {"center_gain"}},
    {"zoloud", {"loud"}},
    {"zolisten_pos", {"listen_pos"}},
    {"zosrs", {"srs"}},
    {"zodbb", {"dbb"}},
    {"zosubwoofer", {"subwoofer", "phase", "filter"}},
    {"zospeaker_mode", {"mode", "channel"}},
    {"zofront_stereo_filter", {"front", "front_cutoff"}},
    {"zorear_stereo_filter", {"rear", "rear_cutoff"}},
    {"zoalc", {"alc"}},
    {"navivolume", {"navi"}},
};

void CheckFields(std::string_view command, const Payload& payload, const CEQData& store) {
    RecordValues values = VolumeAndFadeValues(store);
    values.audio = store.GetAudioData();
    values.alc = store.GetALCData();
    Payload stored;
    const auto type = static_cast<RecordType>(payload[0]);
    WriteRecord(type, values, stored);
    Require(payload.size() == stored.size());
    const Names& names = kMayChange.at(command);
    int changes = 0;
    for (const RecordField& field : LayoutOf(type)->fields) {
        const unsigned char content = payload[PayloadIndex(field)];
        const bool isChanged = field.ValueIn(content) != field.ValueIn(stored[PayloadIndex(field)]);
        Require(!isChanged || std::find(names.begin(), names.end(), field.name) != names.end());
        Require(field.Allows(field.ValueIn(content)));
        Require(field.IsMarked(content) == (command == "zovolume" && field.name == std::string_view("main")));
        changes += isChanged ? 1 : 0;
    }
    Require(changes <= 1 || command != "zosrc_vol");
}

/// Source gains and curves: what the MCU side makes of them shows that they are well formed.
void CheckEntries(const Payload& payload) {
    const RecordLayout& layout = *LayoutOf(payload[0]);
    const std::size_t rest = payload.size() - static_cast<std::size_t>(layout.FixedSize() - kRecordTypeByte);
    Require(rest % static_cast<std::size_t>(layout.entries.GroupSize()) == 0);
    Require(payload[0] != SOURCE_GAIN || rest == 2U * payload[1]);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size < 2) {
        return 0;
    }
    CEQData store;
    CEQControlPPSModule control(nullptr);
    control.AttachData(&store);
    CEQMcuFile link(nullptr);
    link.AttachData(&store);
    FillStore(store, link, data[1]);
    std::vector<const char*> names = CEQControlPPSModule::CommandNames();
    names.push_back("navivolume");
    std::string name = names[data[0] % names.size()];
    std::string encoding = "json";
    std::string value(reinterpret_cast<const char*>(data) + 2, size - 2);
    pps_attrib_t attribute{};
    attribute.attr_name = name.data();
    attribute.encoding = encoding.data();
    attribute.value = value.data();
    GpsStatusPPSModule navigation(nullptr);
    navigation.m_pEQData = &store;
    unsigned char id = 0;
    bool isKey = false;
    Payload payload;
    if (!(name == names.back() ? navigation.OnGpsStatus(&attribute, payload)
                               : control.OnPPSCmd(&attribute, id, isKey, payload))) {
        return 0;
    }
    if (isKey) {
        Require(payload.size() == 3 && payload[0] == 160 && payload[1] <= 1 && (payload[2] == 0 || payload[2] == 4));
    } else if (id == 50) {
        Require(payload.size() == 1 && payload[0] <= 1);
    } else {
        if (LayoutOf(payload[0])->entries.fields.IsEmpty()) {
            CheckFields(name, payload, store);
        } else {
            CheckEntries(payload);
        }
        Require(McuAccepts(link, payload));
    }
    return 0;
}
