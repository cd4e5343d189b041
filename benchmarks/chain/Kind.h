// What is measured: a kind of command for each of the HMI's nineteen, and a report of the MCU.
#ifndef TLG_BENCHMARKS_CHAIN_KIND_H
#define TLG_BENCHMARKS_CHAIN_KIND_H

#include <string>
#include <vector>

namespace chain {

constexpr const char* kControl = "/pps/tolvyn/eq/control";
constexpr const char* kStatus = "/pps/tolvyn/eq/status";
constexpr const char* kSettings = "/pps/tolvyn/eq/settings";
constexpr const char* kDevice = "/pps/tolvyn/system/dev_status";
constexpr const char* kLauncher = "/pps/services/app-launcher";

/// A command that is written with two values in turns, so that each changes something.
struct Kind {
    const char* name;
    const char* first; ///< the line that is written; empty: the MCU reports on its own
    const char* second;
    const char* heardAt;              ///< the object in which its last message is published
    const char* lastLine;             ///< how the last message's line begins
    std::vector<const char*> unheard; ///< an object for each further message, which nobody reads
};

/// All of them, the commands in the order of their page.
const std::vector<Kind>& Kinds();

/// The one of that name. Throws where there is none.
const Kind& KindOf(const std::string& name);

} // namespace chain

#endif
