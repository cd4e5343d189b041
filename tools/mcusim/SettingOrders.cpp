#include "tools/mcusim/SettingOrders.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <fstream>

#include "tools/mcusim/TableOrders.h"

namespace mcusim {

namespace {

const TableOrder* FindTable(std::string_view word) {
    const auto& orders = TableOrders();
    const auto order =
        std::find_if(orders.begin(), orders.end(), [word](const TableOrder& each) { return word == each.word; });
    return order == orders.end() ? nullptr : &*order;
}

} // namespace

bool IsSettingOrder(std::string_view word) {
    return IsKnob(word) || FindTable(word) != nullptr;
}

std::optional<Change> ChangeOf(const Words& order, const Settings& settings, std::string& error) {
    const TableOrder* table = FindTable(order[0]);
    if (table == nullptr) {
        return TurnKnob(order, settings, error);
    }
    std::string reason;
    std::optional<Change> change = table->change({order.begin() + 1, order.end()}, settings, reason);
    error = reason + (reason.empty() ? "" : "; ") + "the order is: " + table->help;
    return change;
}

bool SaveSettings(const std::string& path, const Settings& settings, std::string& error) {
    const std::string beside = path + ".new"; // a full disk leaves the former file
    std::ofstream file(beside);
    for (const std::string& order : KnobOrdersOf(settings)) {
        file << order << '\n';
    }
    for (const TableOrder& table : TableOrders()) {
        for (const std::string& order : table.ordersOf(settings)) {
            file << order << '\n';
        }
    }
    file.close();
    if (!file.fail() && std::rename(beside.c_str(), path.c_str()) == 0) {
        return true;
    }
    error = path + ": " + std::strerror(errno);
    std::remove(beside.c_str());
    return false;
}

bool LoadSettings(const std::string& path, Settings& settings, std::string& error) {
    std::error_code ignored;
    const std::filesystem::file_status status = std::filesystem::status(path, ignored);
    if (std::filesystem::exists(status) && !std::filesystem::is_regular_file(status)) {
        error = path + ": not a file of settings"; // a pipe would be waited for
        return false;
    }
    std::ifstream file(path);
    Settings loaded = settings;
    std::string line;
    for (int number = 1; std::getline(file, line); ++number) {
        const Words order = WordsOf(line);
        if (order.empty() || order[0][0] == '#') {
            continue;
        }
        std::string reason = "'" + order[0] + "' is no setting";
        const std::optional<Change> change = IsSettingOrder(order[0]) ? ChangeOf(order, loaded, reason) : std::nullopt;
        if (!change) {
            error = path + ", line " + std::to_string(number) + ": " + reason;
            return false;
        }
        loaded.Set(change->record);
    }
    if (!file.eof()) {
        error = path + ": " + std::strerror(errno);
        return false;
    }
    settings = loaded;
    return true;
}

std::vector<std::string> SettingOrderHelp() {
    std::vector<std::string> lines = KnobHelp();
    for (const TableOrder& table : TableOrders()) {
        lines.push_back(table.help);
    }
    return lines;
}

std::vector<std::string> SettingWordsAfter(const Words& words) {
    std::vector<std::string> next = KnobWordsAfter(words);
    for (const TableOrder& table : TableOrders()) {
        if (words.empty()) {
            next.emplace_back(table.word);
        }
    }
    return next;
}

} // namespace mcusim
