// The orders that change settings, and files of them: saved settings are the orders that lead to them.
#ifndef TLG_TOOLS_MCUSIM_SETTINGORDERS_H
#define TLG_TOOLS_MCUSIM_SETTINGORDERS_H

#include "tools/mcusim/Knobs.h"

namespace mcusim {

/// Whether the first word of an order is that of a setting.
bool IsSettingOrder(std::string_view word);

/// What an order of a setting changes. Nothing, with what is allowed in @p error, where its arguments are wrong.
std::optional<Change> ChangeOf(const Words& order, const Settings& settings, std::string& error);

/// Makes or replaces a file with the orders that lead to these settings. False, with the reason in @p error, on
/// failure.
bool SaveSettings(const std::string& path, const Settings& settings, std::string& error);

/// Carries out the orders of a file on @p settings. False, with the place and the reason in @p error and the settings
/// left alone, where the file can't be read or a line is no such order.
bool LoadSettings(const std::string& path, Settings& settings, std::string& error);

/// A line for each order: its word, arguments, and what those may be.
std::vector<std::string> SettingOrderHelp();

/// What may come after these words of an order; all first words after none.
std::vector<std::string> SettingWordsAfter(const Words& words);

} // namespace mcusim

#endif
