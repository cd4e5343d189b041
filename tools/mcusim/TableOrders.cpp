#include "tools/mcusim/TableOrders.h"

#include <algorithm>
#include <iterator>
#include <utility>

#include "model/SourcesNameIdMap.h"

namespace mcusim {

namespace {

/// The parts of "4=10,1,1" on the two sides of the sign.
std::pair<std::string_view, std::string_view> Split(std::string_view word) {
    const std::size_t equal = std::min(word.find('='), word.size());
    return {word.substr(0, equal), word.substr(std::min(equal + 1, word.size()))};
}

/// The bytes of "1,2,3"; empty where one is none.
std::vector<int> BytesOf(std::string_view text) {
    std::vector<int> bytes;
    for (;;) {
        const std::size_t comma = text.find(',');
        const std::optional<long> number = NumberIn(text.substr(0, comma), 0, 0xFF);
        if (!number) {
            return {};
        }
        bytes.push_back(static_cast<int>(*number));
        if (comma == std::string_view::npos) {
            return bytes;
        }
        text.remove_prefix(comma + 1);
    }
}

std::optional<Change> ChangeCurve(const Words& arguments, const Settings& settings, std::string& reason) {
    Record record = settings.Get(EQ);
    const std::optional<long> type = arguments.empty() ? std::nullopt : NumberIn(arguments[0], 0, kEqTypeCount - 1);
    if (!type) {
        return std::nullopt;
    }
    record.With("type", static_cast<int>(*type));
    for (auto word = arguments.begin() + 1; word != arguments.end(); ++word) {
        const auto [bandText, valueText] = Split(*word);
        const std::optional<long> band = NumberIn(bandText, 1, kEqBandCount);
        const std::vector<int> values = BytesOf(valueText);
        if (!band || values.size() != std::size(kEqBandFields)) {
            reason = "'" + *word + "' is no band";
            return std::nullopt;
        }
        const std::string entry = std::to_string(*type * kEqBandCount + *band - 1);
        for (std::size_t i = 0; i < values.size(); ++i) {
            record.With(kEqBandFields[i].name + entry, values[i]);
        }
        if (!record.IsAcceptable()) {
            reason = "the band does not have the frequency or Q of '" + *word + "'";
            return std::nullopt;
        }
    }
    return Change{record, ""};
}

std::vector<std::string> CurveOrdersOf(const Settings& settings) {
    const Record& curves = settings.Get(EQ);
    std::vector<std::string> orders;
    for (int type = 0; type < kEqTypeCount; ++type) {
        std::string order = "eq " + std::to_string(type);
        for (int band = 0; band < kEqBandCount; ++band) {
            order += " " + std::to_string(band + 1);
            const char* separator = "=";
            for (const RecordField& field : kEqBandFields) {
                const std::string name = field.name + std::to_string(type * kEqBandCount + band);
                order += std::exchange(separator, ",") + std::to_string(curves.Get(name));
            }
        }
        orders.push_back(order);
    }
    orders.push_back("eq " + std::to_string(curves.Get("type")));
    return orders;
}

const TLG::ZOCAR::SourcesNameIdMap& Sources() {
    static const TLG::ZOCAR::SourcesNameIdMap sources = [] {
        TLG::ZOCAR::SourcesNameIdMap map;
        map.Init();
        return map;
    }();
    return sources;
}

/// The id of a source, given by its name or as a number.
std::optional<int> SourceOf(std::string_view text) {
    unsigned char id = 0;
    if (Sources().GetSrcIdByName(std::string(text), id)) {
        return id;
    }
    const std::optional<long> number = NumberIn(text, 0, 0xFF);
    return number ? std::optional(static_cast<int>(*number)) : std::nullopt;
}

std::optional<Change> ChangeSourceGains(const Words& arguments, const Settings& /*settings*/, std::string& reason) {
    Record record(SOURCE_GAIN);
    for (const std::string& word : arguments) {
        const auto [sourceText, gainText] = Split(word);
        const std::optional<int> source = SourceOf(sourceText);
        const std::optional<long> gain = NumberIn(gainText, 0, kMaxSourceGain);
        if (!source || !gain) {
            reason = "'" + word + "' is no source and gain";
            return std::nullopt;
        }
        record.Add({*source, static_cast<int>(*gain)});
    }
    if (arguments.size() > kSourceCount) {
        reason = std::to_string(arguments.size()) + " sources are too many";
        return std::nullopt;
    }
    return Change{record.With("count", static_cast<int>(arguments.size())), ""};
}

std::vector<std::string> SourceGainOrdersOf(const Settings& settings) {
    const Record& gains = settings.Get(SOURCE_GAIN);
    std::string order = "gain";
    for (int i = 0; i < gains.Get("count"); ++i) {
        const int id = gains.Get("id" + std::to_string(i));
        std::string name = std::to_string(id);
        Sources().GetSrcNameById(static_cast<unsigned char>(id), name);
        order += " " + name + "=" + std::to_string(gains.Get("gain" + std::to_string(i)));
    }
    return {order};
}

} // namespace

const std::vector<TableOrder>& TableOrders() {
    static const std::vector<TableOrder> orders{
        {"eq",
         "eq TYPE [BAND=GAIN,FREQ,Q]...: TYPE, 0 to " + std::to_string(kEqTypeCount - 1) +
             ", is in use, with these bands, 1 to " + std::to_string(kEqBandCount) +
             "; GAIN 0 to 255, FREQ and Q are indices",
         ChangeCurve, CurveOrdersOf},
        {"gain",
         "gain [SOURCE=GAIN]...: the whole table of up to " + std::to_string(kSourceCount) +
             " sources, by name or number; GAIN 0 to " + std::to_string(kMaxSourceGain),
         ChangeSourceGains, SourceGainOrdersOf}};
    return orders;
}

} // namespace mcusim
