#ifndef TLG_TOOLS_MCUSIM_ORDERS_H
#define TLG_TOOLS_MCUSIM_ORDERS_H

#include <chrono>
#include <functional>
#include <optional>
#include <string>
#include <string_view>

#include "tools/common/Words.h"

namespace mcusim {

class Simulator;

/// What an order waits for, before it counts as obeyed.
struct Wait {
    std::function<bool()> isOver;
    std::optional<std::chrono::steady_clock::time_point> due; ///< when it is over at the latest, where that is known
};

struct OrderResult {
    bool isObeyed = false;
    std::string text; ///< what was asked for, or why the order was not obeyed
    std::optional<Wait> wait = std::nullopt;
};

/// Obeys one order, such as "volume navi 20"; "help" lists them all.
OrderResult Obey(Simulator& simulator, std::string_view line);

/// The line of an order whose words stand on a command line. Names of files become whole paths, as the simulator may
/// run in another directory.
std::string OrderLine(const Words& commandLine);

/// Gives an order to the simulator that runs below this root.
/// @param limit how long the answer may take; 0: as long as the order waits
OrderResult GiveOrder(const std::string& line, std::chrono::seconds limit = std::chrono::seconds(0));

/// One line for each order: its words and what it does.
std::string OrderHelp();

/// What may come after these words of an order; the first words of all orders after none.
Words OrderWordsAfter(const Words& words);

} // namespace mcusim

#endif
