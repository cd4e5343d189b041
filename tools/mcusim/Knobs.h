// The orders that set fields of a record, as a user of the unit does with its knobs.
#ifndef TLG_TOOLS_MCUSIM_KNOBS_H
#define TLG_TOOLS_MCUSIM_KNOBS_H

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "tools/common/Words.h"
#include "tools/mcusim/Settings.h"

namespace mcusim {

/// A record as an order changes it.
struct Change {
    Record record;
    std::string_view marked; ///< the volume whose change mark the report has; empty where there is none
};

/// Whether the first word of an order is a knob's.
bool IsKnob(std::string_view word);

/// What a knob's order changes. Nothing, with what is allowed in @p error, where its arguments are wrong.
std::optional<Change> TurnKnob(const Words& order, const Settings& settings, std::string& error);

/// The volumes whose change marks a report has where a record became another one.
std::vector<std::string_view> MarksOf(const Record& before, const Record& after);

/// The orders that set all knobs as they are.
std::vector<std::string> KnobOrdersOf(const Settings& settings);

/// A line for each knob: its word, arguments, and what those may be.
std::vector<std::string> KnobHelp();

/// What may come after these words of a knob's order; all knobs' words after none.
std::vector<std::string> KnobWordsAfter(const Words& words);

} // namespace mcusim

#endif
