// The orders that change the records with tables: the curves and the source gains.
#ifndef TLG_TOOLS_MCUSIM_TABLEORDERS_H
#define TLG_TOOLS_MCUSIM_TABLEORDERS_H

#include "tools/mcusim/Knobs.h"

namespace mcusim {

/// Such an order: the record that it changes, and how.
struct TableOrder {
    const char* word;
    std::string help;
    std::optional<Change> (*change)(const Words& arguments, const Settings& settings, std::string& reason);
    /// The orders that lead to the table as it is.
    std::vector<std::string> (*ordersOf)(const Settings& settings);
};

const std::vector<TableOrder>& TableOrders();

} // namespace mcusim

#endif
