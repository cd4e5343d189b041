#include "benchmarks/chain/Kind.h"

#include <stdexcept>

namespace chain {

namespace {

constexpr const char* kSystemMute = R"(zovolume_mute:json:{"mutetype":"system","mute":"mute"})";
constexpr const char* kSystemUnmute = R"(zovolume_mute:json:{"mutetype":"system","mute":"unmute"})";
constexpr const char* kCurve =
    R"(zoeqtype:json:{"type":"type_3","freqs":[0,5,7,11,12],"gain":[8,9,10,11,12],"q":[1.5,2.0,0.75,1.25,1.0]})";
constexpr const char* kOtherCurve =
    R"(zoeqtype:json:{"type":"type_3","freqs":[0,5,7,11,12],"gain":[7,9,10,11,12],"q":[1.5,2.0,0.75,1.25,1.0]})";

} // namespace

const std::vector<Kind>& Kinds() {
    // clang-format off
    static const std::vector<Kind> kinds{
        {"zovolume", "zovolume::1", "zovolume::-1", kStatus, "[n]zosrc_vol", {kDevice, kLauncher}},
        {"zovolume_mute", kSystemMute, kSystemUnmute, kStatus, "[n]zosrc_vol", {kDevice, kLauncher}},
        {"zosrc_vol", R"(zosrc_vol:json:{"type":0,"val":20})", R"(zosrc_vol:json:{"type":0,"val":21})", kStatus, "[n]zosrc_vol", {kDevice}},
        {"zomaxpower_vol", "zomaxpower_vol::25", "zomaxpower_vol::26", kStatus, "zovolume", {kDevice}},
        {"zofade_balance", R"(zofade_balance:json:{"ff":12,"fr":12,"bl":0,"br":24})", R"(zofade_balance:json:{"ff":12,"fr":12,"bl":0,"br":23})", kStatus, "zofade_balance", {}},
        {"zosubwoofer_gain", "zosubwoofer_gain::9", "zosubwoofer_gain::8", kStatus, "zosubwoofer_gain", {}},
        {"zocenter_gain", "zocenter_gain::12", "zocenter_gain::11", kStatus, "zocenter_gain", {}},
        {"zoloud", "zoloud::on", "zoloud::off", kStatus, "zoloud", {}},
        {"zosource_gain", R"(zosource_gain:json:{"count":2,"src":["btaudio","navi"],"gain":[5,12]})", R"(zosource_gain:json:{"count":2,"src":["btaudio","navi"],"gain":[5,11]})", kStatus, "zosource_gain", {}},
        {"zolisten_pos", "zolisten_pos::2", "zolisten_pos::3", kStatus, "zolisten_pos", {}},
        {"zosrs", "zosrs::2", "zosrs::3", kStatus, "zosrs", {}},
        {"zoeqtype", kCurve, kOtherCurve, kSettings, "zoeqtype_3", {}},
        {"zodbb", "zodbb::on", "zodbb::off", kStatus, "zodbb", {}},
        {"zosubwoofer", R"(zosubwoofer:json:{"status":"on","phase":180,"filter":3})", R"(zosubwoofer:json:{"status":"on","phase":0,"filter":3})", kStatus, "zosubwoofer", {}},
        {"zospeaker_mode", R"(zospeaker_mode:json:{"mode":1,"channel":4})", R"(zospeaker_mode:json:{"mode":1,"channel":3})", kStatus, "zospeaker_mode", {}},
        {"zofront_stereo_filter", R"(zofront_stereo_filter:json:{"status":"on","cutoff_freq":7})", R"(zofront_stereo_filter:json:{"status":"on","cutoff_freq":6})", kStatus, "zofront_stereo_filter", {}},
        {"zorear_stereo_filter", R"(zorear_stereo_filter:json:{"status":"on","cutoff_freq":7})", R"(zorear_stereo_filter:json:{"status":"on","cutoff_freq":6})", kStatus, "zorear_stereo_filter", {}},
        {"zoalc", "zoalc::2", "zoalc::3", kStatus, "zoalc", {}},
        {"zoaudiomix", "zoaudiomix::on", "zoaudiomix::off", kStatus, "[n]zoaudiomix", {}},
        {"report", "", "", kStatus, "zoalc", {}},
    };
    // clang-format on
    return kinds;
}

const Kind& KindOf(const std::string& name) {
    for (const Kind& kind : Kinds()) {
        if (kind.name == name) {
            return kind;
        }
    }
    throw std::runtime_error("no command is called " + name);
}

} // namespace chain
