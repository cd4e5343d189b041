#include <poll.h>
#include <rapidjson/stringbuffer.h>
#include <rapidjson/writer.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <iostream>
#include <iterator>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "platform/host/PpsConnection.h"
#include "tools/common/CommandLine.h"
#include "tools/common/Output.h"
#include "tools/common/StopSignals.h"
#include "tools/common/Words.h"
#include "tools/eqctl/Presence.h"
#include "tools/eqctl/Settings.h"

namespace {

using eqctl::Arguments;
using eqctl::Published;
using eqctl::Reading;
using eqctl::Setting;
using std::chrono::milliseconds;

constexpr const char* kControl = "/pps/tolvyn/eq/control";

int Fail(const std::string& text) {
    std::fprintf(stderr, "eqctl: %s\n", text.c_str());
    return 1;
}

/// Writes a line into the control object. False, with the reason in @p error, on failure.
bool WriteControl(const std::string& line, std::string& error) {
    host::PpsReply reply;
    const UniqueFd object =
        host::OpenPpsObject(std::string(kControl) + "?wait,ack", host::target_flags::kReadWrite, reply);
    std::string answer;
    if (object && ::write(object.Get(), line.data(), line.size()) > 0 && host::ReceivePacket(object.Get(), answer)) {
        reply = host::ParseReply(answer);
    }
    error = reply.reason;
    return object && reply.error == 0;
}

/// The present value of what is published as this attribute, for people.
std::string LineOf(const char* name, const Published& published, const std::string& attribute) {
    return std::string(name) + " " + eqctl::Plain(published.Get(attribute));
}

/// Writes a setting and waits until it shows.
int Apply(const Setting& setting, const Arguments& arguments, milliseconds timeout) {
    Published published;
    std::string error;
    if (!published.Open(error)) {
        return Fail(std::string(setting.name) + ": " + error);
    }
    const eqctl::Plan plan = setting.plan(setting, arguments, published);
    if (!plan.error.empty()) {
        return Fail(std::string(setting.name) + ": " + plan.error);
    }
    if (!eqctl::IsServiceRunning()) {
        return Fail(std::string(setting.name) + ": the service does not run below this root");
    }
    const auto end = std::chrono::steady_clock::now() + timeout;
    if (!plan.hasCome(published) && !WriteControl(plan.line, error)) {
        return Fail(std::string(kControl) + ": " + error);
    }
    while (!plan.hasCome(published)) {
        const auto left = std::chrono::ceil<milliseconds>(end - std::chrono::steady_clock::now());
        if (left.count() <= 0 || !error.empty()) {
            const std::string known = LineOf(setting.name, published, plan.published);
            return Fail(std::string(setting.name) + ": " +
                        (!error.empty()               ? error
                         : !eqctl::IsServiceRunning() ? "the service has ended"
                         : eqctl::IsMcuThere()
                             ? "not accepted within the time" + plan.otherwise + "; published is: " + known
                             : "the MCU is away; published is: " + known));
        }
        published.WaitForChange(left, -1, error);
    }
    PrintLine(LineOf(setting.name, published, plan.published));
    return 0;
}

/// Separates options from words. A number may begin with a hyphen. Every option has a value.
Arguments Split(const std::vector<std::string>& all) {
    Arguments arguments;
    for (std::size_t i = 0; i < all.size(); ++i) {
        const std::size_t equal = all[i].find('=');
        if (all[i].compare(0, 2, "--") != 0) {
            arguments.words.push_back(all[i]);
        } else if (equal != std::string::npos) {
            arguments.options[all[i].substr(0, equal)] = all[i].substr(equal + 1);
        } else {
            arguments.options[all[i]] = i + 1 < all.size() ? all[i + 1] : "";
            ++i;
        }
    }
    return arguments;
}

/// Takes the option for the time out of the others. Nothing where it is no time.
std::optional<milliseconds> TakeTimeout(Arguments& arguments, double timeout) {
    const auto option = arguments.options.find("--timeout");
    if (option != arguments.options.end()) {
        char* end = nullptr;
        timeout = std::strtod(option->second.c_str(), &end);
        if (option->second.empty() || *end != '\0') {
            return std::nullopt;
        }
        arguments.options.erase(option);
    }
    constexpr double kLongest = 1e6;
    return timeout >= 0 && timeout <= kLongest ? std::optional(milliseconds(static_cast<long>(timeout * 1000)))
                                               : std::nullopt;
}

int ApplyWords(const std::string& name, const std::vector<std::string>& words, double timeout) {
    const auto& settings = eqctl::Settings();
    const auto setting =
        std::find_if(settings.begin(), settings.end(), [&name](const Setting& each) { return each.name == name; });
    if (setting == settings.end()) {
        return Fail("'" + name + "' is no setting; eqctl --help lists them");
    }
    Arguments arguments = Split(words);
    const std::optional<milliseconds> limit = TakeTimeout(arguments, timeout);
    if (!limit) {
        return Fail("--timeout is a number of seconds");
    }
    for (const auto& [option, value] : arguments.options) {
        if (std::string(setting->arguments).find(option + " ") == std::string::npos) {
            return Fail(name + ": it has no option " + option);
        }
    }
    return Apply(*setting, arguments, *limit);
}

/// Applies a setting for each line of a file or of standard input, until one fails.
int ApplyLines(const std::string& path, double timeout) {
    std::ifstream file(path);
    if (path != "-" && !file) {
        return Fail(path + ": " + std::strerror(errno));
    }
    std::istream& lines = path == "-" ? std::cin : file;
    int number = 0;
    for (std::string line; std::getline(lines, line);) {
        ++number;
        const Words words = WordsOf(line);
        if (words.empty() || words[0][0] == '#') {
            continue;
        }
        if (ApplyWords(words[0], {words.begin() + 1, words.end()}, timeout) != 0) {
            return Fail(path + ", line " + std::to_string(number) + ": the lines from here on are not written");
        }
    }
    return lines.eof() ? 0 : Fail(path + ": " + std::strerror(errno));
}

/// The named readings, or all, that are published.
std::string JsonOf(const Published& published, const std::vector<Reading>& readings) {
    rapidjson::StringBuffer buffer;
    rapidjson::Writer<rapidjson::StringBuffer> json(buffer);
    json.StartObject();
    for (const Reading& reading : readings) {
        if (!published.Get(reading.attribute).IsNull()) {
            json.Key(reading.name);
            published.Get(reading.attribute).Accept(json);
        }
    }
    json.EndObject();
    return buffer.GetString();
}

int Get(const std::string& name, bool isJson) {
    std::vector<Reading> readings = eqctl::Readings();
    if (!name.empty()) {
        readings.erase(std::remove_if(readings.begin(), readings.end(),
                                      [&name](const Reading& each) { return each.name != name; }),
                       readings.end());
        if (readings.empty()) {
            return Fail("'" + name + "' is not published under such a name; eqctl get lists all");
        }
    }
    Published published;
    std::string error;
    if (!published.Open(error)) {
        return Fail(error);
    }
    if (!eqctl::IsServiceRunning()) {
        std::fprintf(stderr, "eqctl: the service does not run; these are the last values\n");
    }
    if (isJson) {
        return PrintLine(JsonOf(published, readings)) ? 0 : 1;
    }
    for (const Reading& reading : readings) {
        if (!published.Get(reading.attribute).IsNull()) {
            PrintLine(LineOf(reading.name, published, reading.attribute));
        } else if (!name.empty()) {
            return Fail(name + ": not published yet");
        }
    }
    return 0;
}

bool IsStopped(const UniqueFd& stop, milliseconds limit) {
    pollfd state{stop.Get(), POLLIN, 0};
    return ::poll(&state, 1, static_cast<int>(limit.count())) == 1;
}

/// Opens the objects again, once they are there. Nothing where it is stopped before.
std::optional<Published> OpenAgain(const UniqueFd& stop) {
    constexpr milliseconds kPause(100);
    while (!IsStopped(stop, kPause)) {
        Published published;
        std::string error;
        if (published.Open(error)) {
            return published;
        }
    }
    return std::nullopt;
}

int Watch(bool isJson) {
    const UniqueFd stop = StopSignals();
    std::optional<Published> opened(std::in_place);
    std::string error;
    if (!opened->Open(error)) {
        return Fail(error);
    }
    while (!IsStopped(stop, milliseconds(0))) {
        const auto names = opened->WaitForChange(milliseconds(-1), stop.Get(), error);
        if (!error.empty()) {
            Fail(std::exchange(error, {}) + "; waiting until it is back");
            opened = OpenAgain(stop);
            if (!opened) {
                return 0;
            }
        }
        const Published& published = *opened;
        for (const Reading& reading : eqctl::Readings()) {
            if (std::find(names.begin(), names.end(), reading.attribute) == names.end()) {
                continue;
            }
            if (!PrintLine(isJson ? JsonOf(published, {reading})
                                  : LineOf(reading.name, published, reading.attribute))) {
                return 0;
            }
        }
    }
    return 0;
}

/// The words among the arguments of a setting, and the names of what can be read.
std::vector<std::string> NextWords(const std::vector<std::string>& before) {
    std::vector<std::string> words;
    if (before == std::vector<std::string>{"get"}) {
        std::transform(eqctl::Readings().begin(), eqctl::Readings().end(), std::back_inserter(words),
                       [](const Reading& reading) { return reading.name; });
    }
    const auto& settings = eqctl::Settings();
    const auto setting = std::find_if(settings.begin(), settings.end(), [&before](const Setting& each) {
        return !before.empty() && before[0] == each.name;
    });
    return setting == settings.end() ? words : eqctl::ChoicesOf(*setting, before.size() - 1);
}

} // namespace

int main(int argc, char** argv) {
    CLI::App app("The audio settings of the service below $TLG_ROOT by plain names. A setting is written, and printed "
                 "once the service has published it; exit 1, with the reason, where it does not within the time.",
                 "eqctl");
    app.require_subcommand(1);
    double timeout = 1;
    for (const Setting& setting : eqctl::Settings()) {
        const std::string text = std::string(setting.name) + " " + setting.arguments + ": " + setting.meaning;
        // Numbers may begin with a hyphen, so nothing after the name is parsed as an option here.
        app.add_subcommand(setting.name, text)->prefix_command();
    }
    app.add_option("--timeout", timeout, "how long to wait for a setting")->type_name("SECONDS")->capture_default_str();
    std::string name;
    std::string file = "-";
    bool isJson = false;
    CLI::App* get = app.add_subcommand("get", "prints what is published, or one of it");
    get->add_option("NAME", name, "of a setting; 'eqctl get' shows all");
    get->add_flag("--json", isJson, "as a JSON object");
    CLI::App* watch = app.add_subcommand("watch", "prints what is published from now on, until ended");
    watch->add_flag("--json", isJson, "each as a JSON object");
    CLI::App* set = app.add_subcommand("set", "writes the settings that a file or standard input holds, one a line");
    set->add_option("FILE", file, "lines such as 'volume +3'; - is standard input")->capture_default_str();
    if (const auto status = ParseCommandLine(app, argc, argv, NextWords)) {
        return *status;
    }
    if (get->parsed()) {
        return Get(name, isJson);
    }
    if (watch->parsed()) {
        return Watch(isJson);
    }
    if (set->parsed()) {
        return ApplyLines(file, timeout);
    }
    const CLI::App* setting = app.get_subcommands().front();
    return ApplyWords(setting->get_name(), setting->remaining(), timeout);
}
