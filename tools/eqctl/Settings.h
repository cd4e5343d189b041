// The settings by plain names: what is written for each, and how one sees that it came about.
#ifndef TLG_TOOLS_EQCTL_SETTINGS_H
#define TLG_TOOLS_EQCTL_SETTINGS_H

#include <functional>
#include <map>
#include <string>
#include <vector>

#include "tools/eqctl/Published.h"

namespace eqctl {

/// The words after the setting's name, and the options among them ("--gains 1,2,3,4,5").
struct Arguments {
    std::vector<std::string> words;
    std::map<std::string, std::string> options; // by name, with the hyphens
};

/// What a command line leads to: a line for the control object, and what is then published.
struct Plan {
    std::string error; ///< what is allowed, where the arguments are not; then there is nothing else
    std::string line;
    std::string published; ///< the attribute that shows it
    std::string otherwise; ///< what else may keep it from showing
    std::function<bool(const Published&)> hasCome;
};

struct Setting {
    const char* name;
    const char* arguments;
    const char* meaning;   ///< with units and ranges
    const char* command;   ///< the attribute of the control object
    const char* published; ///< the attribute that shows it
    std::function<Plan(const Setting& setting, const Arguments& arguments, const Published& published)> plan;
};

/// All that can be set, in the order of the commands' page.
const std::vector<Setting>& Settings();

/// The words that an argument of a setting may be, by its place from 0 on, and its options; empty where it has none.
std::vector<std::string> ChoicesOf(const Setting& setting, std::size_t place);

/// What can be read: names, and the attributes that are published. Settings that share an attribute have one name.
struct Reading {
    const char* name;
    const char* attribute;
};
const std::vector<Reading>& Readings();

} // namespace eqctl

#endif
