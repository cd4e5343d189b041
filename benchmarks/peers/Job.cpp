#include "benchmarks/peers/Job.h"

#include <array>
#include <stdexcept>
#include <string_view>

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

/// A curve as the chain's command gives it: gain, frequency index and Q index of each band.
Values BandsOf(const std::array<int, kEqBandCount>& gains) {
    constexpr std::array<int, kEqBandCount> kFreqs{0, 5, 7, 11, 12};
    constexpr std::array<int, kEqBandCount> kQIndexes{3, 4, 0, 2, 1};
    Values bands;
    for (std::size_t band = 0; band < gains.size(); ++band) {
        bands.insert(bands.end(), {gains[band], kFreqs[band], kQIndexes[band]});
    }
    return bands;
}

} // namespace

const std::vector<Job>& Jobs() {
    static const std::vector<Job> jobs = [] {
        const mculink::Bytes levels = CommandOf(VOLUME_AND_FADE_BALANCE);
        const std::size_t main = PlaceOf(VOLUME_AND_FADE_BALANCE, "main");
        const RecordLayout& eq = Layout<EQ>();
        constexpr std::size_t kType = 3;
        const std::size_t curve =
            static_cast<std::size_t>(eq.FixedSize()) + kType * static_cast<std::size_t>(eq.entries.GroupSize());
        const Values bands = BandsOf({8, 9, 10, 11, 12});
        const Values otherBands = BandsOf({7, 9, 10, 11, 12});
        return std::vector<Job>{
            {"zosubwoofer_gain",
             "zosubwoofer_gain",
             {Values{9}, Values{8}},
             levels,
             PlaceOf(VOLUME_AND_FADE_BALANCE, "subwoofer_gain"),
             1,
             0},
            {"zofade_balance",
             "zofade_balance",
             {Values{12, 12, 0, 24}, Values{12, 12, 0, 23}},
             levels,
             PlaceOf(VOLUME_AND_FADE_BALANCE, "ff"),
             1,
             0},
            {"zoeqtype", "zoeqtype", {bands, otherBands}, CommandOf(EQ), curve, 1, 0},
            {"zovolume", "zovolume", {Values{21}, Values{20}}, levels, main, 1, 0},
            {"zovolume, as many messages", "zovolume", {Values{21}, Values{20}}, levels, main, 2, 2},
            {"report", "report", {}, {}, 0, 1, 0},
        };
    }();
    return jobs;
}

const Job& JobOf(const std::string& name) {
    for (const Job& job : Jobs()) {
        if (job.name == name) {
            return job;
        }
    }
    throw std::runtime_error("no job is called " + name);
}

} // namespace peers
