#include "tools/mcusim/Knobs.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <iterator>
#include <utility>

namespace mcusim {

namespace {

/// A knob that sets fields of a record.
struct Knob {
    const char* word;
    const char* which; ///< the second word, where several knobs share the first; otherwise empty
    RecordType type;
    std::array<const char*, 4> fields; ///< in the order of the arguments
    const char* marked = "";
};

constexpr Knob kKnobs[] = {
    {"volume", "main", VOLUME_AND_FADE_BALANCE, {"main"}, "main"},
    {"volume", "max", VOLUME_AND_FADE_BALANCE, {"max"}, "main"},
    {"volume", "navi", VOLUME_AND_FADE_BALANCE, {"navi"}, "navi"},
    {"volume", "call", VOLUME_AND_FADE_BALANCE, {"call"}, "call"},
    {"volume", "voice", VOLUME_AND_FADE_BALANCE, {"voice"}, "voice"},
    {"volume", "ext0", EQ_EXPEND, {"ext0"}, "ext0"},
    {"volume", "ext1", EQ_EXPEND, {"ext1"}, "ext1"},
    {"volume", "ext2", EQ_EXPEND, {"ext2"}, "ext2"},
    {"volume", "ext3", EQ_EXPEND, {"ext3"}, "ext3"},
    {"maxpower", "", VOLUME_AND_FADE_BALANCE, {"max_power"}},
    {"mute", "system", VOLUME_AND_FADE_BALANCE, {"system_mute"}, "main"},
    {"mute", "source", VOLUME_AND_FADE_BALANCE, {"source_mute"}, "main"},
    {"ic", "", VOLUME_AND_FADE_BALANCE, {"ic"}},
    {"fade", "", VOLUME_AND_FADE_BALANCE, {"ff", "fr", "bl", "br"}},
    {"subgain", "", VOLUME_AND_FADE_BALANCE, {"subwoofer_gain"}},
    {"center", "", VOLUME_AND_FADE_BALANCE, {"center_gain"}},
    {"loud", "", VOLUME_AND_FADE_BALANCE, {"loud"}},
    {"listen", "", LISTEN_POS, {"listen_pos"}},
    {"srs", "", LISTEN_POS, {"srs"}},
    {"dbb", "", AUDIO_SETTING, {"dbb"}},
    {"subwoofer", "", AUDIO_SETTING, {"subwoofer", "phase", "filter"}},
    {"mode", "", AUDIO_SETTING, {"mode", "channel"}},
    {"filter", "front", AUDIO_SETTING, {"front", "front_cutoff"}},
    {"filter", "rear", AUDIO_SETTING, {"rear", "rear_cutoff"}},
    {"alc", "", ALC, {"alc"}},
};

std::size_t FieldCount(const Knob& knob) {
    return static_cast<std::size_t>(
        std::count_if(knob.fields.begin(), knob.fields.end(), [](const char* name) { return name != nullptr; }));
}

const RecordField& FieldOf(const Knob& knob, std::size_t index) {
    return *LayoutOf(knob.type)->fields.Find(knob.fields.at(index));
}

/// Whether 1 means that something is on.
bool IsSwitch(const RecordField& field) {
    return field.range.max == 1 && field.meaning[0] == '1';
}

std::optional<int> ValueOf(const RecordField& field, const std::string& text) {
    if (IsSwitch(field)) {
        return text == "on" ? std::optional(1) : text == "off" ? std::optional(0) : std::nullopt;
    }
    const std::optional<long> value = NumberIn(text, field.range.min, field.range.max);
    return value && *value % field.bits.unit == 0 ? std::optional(static_cast<int>(*value)) : std::nullopt;
}

std::string TextOf(const RecordField& field, int value) {
    return !IsSwitch(field) ? std::to_string(value) : value == 1 ? "on" : "off";
}

/// What a field may be, in words.
std::string RangeOf(const RecordField& field) {
    const char* between = field.range.max == field.bits.unit ? " or " : " to "; // of two values, or of many
    return IsSwitch(field) ? "on or off" : std::to_string(field.range.min) + between + std::to_string(field.range.max);
}

/// An argument's name: the last part of its field's.
std::string ArgumentOf(const RecordField& field) {
    std::string name = field.bits.isVolume ? "level" : field.name;
    name.erase(0, name.rfind('_') + 1);
    std::transform(name.begin(), name.end(), name.begin(), [](unsigned char c) { return std::toupper(c); });
    return name;
}

/// The arguments of a knob, and what they may be: "on|off PHASE FILTER: PHASE 0 or 180, FILTER 0 to 4".
std::string ArgumentsOf(const Knob& knob) {
    std::string names;
    std::string ranges;
    for (std::size_t i = 0; i < FieldCount(knob); ++i) {
        const RecordField& field = FieldOf(knob, i);
        if (IsSwitch(field)) {
            names += " on|off";
            continue;
        }
        const std::string name = ArgumentOf(field);
        names += " " + name;
        ranges.append(ranges.empty() ? ": " : ", ").append(name).append(" ").append(RangeOf(field));
    }
    return names + ranges;
}

/// The line that tells how an order is given.
std::string HelpOf(const char* word) {
    std::string which;
    const Knob* last = nullptr;
    for (const Knob& knob : kKnobs) {
        if (std::string_view(word) == knob.word) {
            which.append(which.empty() ? "" : "|").append(knob.which);
            last = &knob;
        }
    }
    return word + (which.empty() ? "" : " " + which) + ArgumentsOf(*last);
}

bool HasWhich(const Knob& knob) {
    return *knob.which != '\0';
}

/// The knob that an order names, or null.
const Knob* Find(const Words& order) {
    const auto* knob = std::find_if(std::begin(kKnobs), std::end(kKnobs), [&order](const Knob& each) {
        return !order.empty() && order[0] == each.word &&
               (!HasWhich(each) || (order.size() > 1 && order[1] == each.which));
    });
    return knob == std::end(kKnobs) ? nullptr : knob;
}

/// The place of a knob's first argument among the words.
std::size_t FirstArgument(const Knob& knob) {
    return HasWhich(knob) ? 2 : 1;
}

} // namespace

bool IsKnob(std::string_view word) {
    return std::any_of(std::begin(kKnobs), std::end(kKnobs), [word](const Knob& knob) { return word == knob.word; });
}

std::optional<Change> TurnKnob(const Words& order, const Settings& settings, std::string& error) {
    const Knob* knob = Find(order);
    error = "the order is: " + HelpOf(order[0].c_str());
    if (knob == nullptr || order.size() != FirstArgument(*knob) + FieldCount(*knob)) {
        return std::nullopt;
    }
    Record record = settings.Get(knob->type);
    for (std::size_t i = 0; i < FieldCount(*knob); ++i) {
        const RecordField& field = FieldOf(*knob, i);
        const std::string& text = order[FirstArgument(*knob) + i];
        const std::optional<int> value = ValueOf(field, text);
        if (!value) {
            error = "'" + text + "' is not " + RangeOf(field) + "; " + error;
            return std::nullopt;
        }
        record.With(field.name, *value);
    }
    return Change{record, knob->marked};
}

std::vector<std::string_view> MarksOf(const Record& before, const Record& after) {
    std::vector<std::string_view> marks;
    for (const Knob& knob : kKnobs) {
        const bool isTurned = knob.type == after.Type() && before.Get(knob.fields[0]) != after.Get(knob.fields[0]);
        if (isTurned && *knob.marked != '\0') {
            marks.emplace_back(knob.marked);
        }
    }
    return marks;
}

std::vector<std::string> KnobOrdersOf(const Settings& settings) {
    std::vector<std::string> orders;
    for (const Knob& knob : kKnobs) {
        std::string order = knob.word + (HasWhich(knob) ? " " + std::string(knob.which) : "");
        for (std::size_t i = 0; i < FieldCount(knob); ++i) {
            const RecordField& field = FieldOf(knob, i);
            order += " " + TextOf(field, settings.Get(knob.type).Get(field.name));
        }
        orders.push_back(order);
    }
    return orders;
}

std::vector<std::string> KnobHelp() {
    std::vector<std::string> lines;
    std::string_view last;
    for (const Knob& knob : kKnobs) {
        if (std::exchange(last, knob.word) != knob.word) {
            lines.push_back(HelpOf(knob.word));
        }
    }
    return lines;
}

std::vector<std::string> KnobWordsAfter(const Words& words) {
    std::vector<std::string> next;
    if (const Knob* knob = Find(words)) {
        const std::size_t argument = words.size() - FirstArgument(*knob);
        return argument < FieldCount(*knob) && IsSwitch(FieldOf(*knob, argument)) ? Words{"on", "off"} : Words{};
    }
    for (const Knob& knob : kKnobs) {
        const std::string word = words.empty()                                ? knob.word
                                 : words.size() == 1 && words[0] == knob.word ? knob.which
                                                                              : "";
        if (!word.empty() && (next.empty() || next.back() != word)) {
            next.push_back(word);
        }
    }
    return next;
}

} // namespace mcusim
