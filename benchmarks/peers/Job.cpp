#include "benchmarks/peers/Job.h"

#include <algorithm>

#include "model/McuCommands.h"
#include "model/RecordFields.h"
#include "tools/mcusim/Settings.h"

namespace peers {

namespace {

mculink::Bytes CommandOf(RecordType type) {
    mculink::Bytes payload = mcusim::Settings().Get(type).FromType();
    payload.insert(payload.begin(), {kControlCommand, kControlRecordMark});
    return payload;
}

std::size_t PlaceOf(RecordType type, const char* field) {
    for (const RecordField& each : LayoutOf(type)->fields) {
        if (each.name == std::string_view(field)) {
            return static_cast<std::size_t>(each.byte);
        }
    }
    throw std::logic_error(field);
}

} // namespace

const std::vector<Job>& Jobs() {
    static const std::vector<Job> jobs = [] {
        const mculink::Bytes levels = CommandOf(VOLUME_AND_FADE_BALANCE);
        const std::size_t main = PlaceOf(VOLUME_AND_FADE_BALANCE, "main");
        // Gain, frequency and quality factor of each band, in the curve of EQ type 3.
        const RecordLayout& eq = Layout<EQ>();
        constexpr std::size_t kType = 3;
        const std::size_t curve =
            static_cast<std::size_t>(eq.FixedSize()) + kType * static_cast<std::size_t>(eq.entries.GroupSize());
        const Values bands{8, 0, 3, 9, 5, 4, 10, 7, 0, 11, 11, 2, 12, 12, 1};
        Values otherBands = bands;
        otherBands[0] = 7;
        return std::vector<Job>{
            {"zosubwoofer_gain",
             "zosubwoofer_gain",
             {Values{9}, Values{8}},
             levels,
             PlaceOf(VOLUME_AND_FADE_BALANCE, "subwoofer_gain"),
             1},
            {"zofade_balance",
             "zofade_balance",
             {Values{12, 12, 0, 24}, Values{12, 12, 0, 23}},
             levels,
             PlaceOf(VOLUME_AND_FADE_BALANCE, "ff"),
             1},
            {"zoeqtype", "zoeqtype", {bands, otherBands}, CommandOf(EQ), curve, 1},
            {"zovolume", "zovolume", {Values{21}, Values{20}}, levels, main, 1},
            {"zovolume, as many messages", "zovolume", {Values{21}, Values{20}}, levels, main, 5},
            {"report", "report", {}, {}, 0, 1},
        };
    }();
    return jobs;
}

const Job& JobOf(const std::string& name) {
    return *std::find_if(Jobs().begin(), Jobs().end(), [&name](const Job& job) { return job.name == name; });
}

} // namespace peers
