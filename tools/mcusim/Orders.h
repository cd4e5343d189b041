#ifndef TLG_TOOLS_MCUSIM_ORDERS_H
#define TLG_TOOLS_MCUSIM_ORDERS_H

#include <string>
#include <string_view>

namespace mcusim {

class Simulator;

struct OrderResult {
    bool isObeyed = false;
    std::string text; ///< what was asked for, or why the order was not obeyed
};

/// Obeys one order, such as "volume navi 20"; "help" lists them all.
OrderResult Obey(Simulator& simulator, std::string_view line);

/// Gives an order to the simulator that runs below this root.
OrderResult GiveOrder(const std::string& line);

/// One line for each order: its words and what it does.
std::string OrderHelp();

} // namespace mcusim

#endif
