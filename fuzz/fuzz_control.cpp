// Values of control attributes: whatever a handler accepts is a record that the MCU side accepts too.
#include <cstdint>
#include <cstdlib>
#include <string>

#include "control/CEQControlPPSModule.h"
#include "mcu/CEQMcuFile.h"

extern "C" int LLVMFuzzerInitialize(int* /*argc*/, char*** /*argv*/) {
    return ::setenv("TLG_SLOG_LEVEL", "0", 1);
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const char* const kNames[] = {"zovolume",
                                         "zovolume_mute",
                                         "zoaudiomix",
                                         "zosrc_vol",
                                         "zofade_balance",
                                         "zosubwoofer_gain",
                                         "zocenter_gain",
                                         "zosource_gain",
                                         "zolisten_pos",
                                         "zoeqtype",
                                         "zoloud",
                                         "zodbb",
                                         "zosubwoofer",
                                         "zospeaker_mode",
                                         "zofront_stereo_filter",
                                         "zosrs",
                                         "zorear_stereo_filter",
                                         "zoalc",
                                         "zomaxpower_vol"};
    if (size == 0) {
        return 0;
    }
    CEQData store;
    CEQControlPPSModule control(nullptr);
    control.AttachData(&store);
    CEQMcuFile link(nullptr);
    link.AttachData(&store);
    std::string name = kNames[data[0] % std::size(kNames)];
    std::string encoding = "json";
    std::string value(reinterpret_cast<const char*>(data) + 1, size - 1);
    pps_attrib_t attribute{};
    attribute.attr_name = name.data();
    attribute.encoding = encoding.data();
    attribute.value = value.data();
    unsigned char id = 0;
    bool isKey = false;
    std::vector<unsigned char> payload;
    if (control.OnPPSCmd(&attribute, id, isKey, payload) && id == 8 && !isKey) {
        std::vector<unsigned char> record{8, 2};
        record.insert(record.end(), payload.begin(), payload.end());
        if (!link.ParseRecDataPacket(record.data(), static_cast<int>(record.size()))) {
            std::abort();
        }
    }
    return 0;
}
