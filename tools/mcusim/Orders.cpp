#include "tools/mcusim/Orders.h"

#include <sys/socket.h>
#include <sys/time.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <iterator>
#include <limits>

#include "platform/host/PpsConnection.h"
#include "platform/host/Root.h"
#include "tools/mcusim/SettingOrders.h"
#include "tools/mcusim/Simulator.h"

namespace mcusim {

namespace {

/// What follows the word of an order.
enum class Takes {
    Words,
    File,       ///< the rest of the line
    SeedOrFile, ///< a number, or otherwise the rest of the line
};

struct Order {
    const char* word;
    const char* arguments;
    const char* meaning;
    Takes takes;
    /// Carries the order out; nothing where it has no such arguments.
    std::optional<OrderResult> (*carryOut)(Simulator& simulator, const Words& arguments);
};

OrderResult Done() {
    return {true, ""};
}

/// The bytes of hexadecimal words; empty where they are none.
Bytes BytesOf(const Words& words) {
    std::string digits;
    for (const std::string& word : words) {
        digits += word;
    }
    Bytes bytes;
    for (std::size_t i = 0; i + 1 < digits.size(); i += 2) {
        std::uint8_t byte = 0;
        const auto [end, error] = std::from_chars(digits.data() + i, digits.data() + i + 2, byte, 16);
        if (error != std::errc() || end != digits.data() + i + 2) {
            return {};
        }
        bytes.push_back(byte);
    }
    return digits.size() % 2 == 0 && bytes.size() <= kMaxBlock ? bytes : Bytes();
}

std::string Joined(const Words& words) {
    std::string text;
    for (const std::string& word : words) {
        text.append(text.empty() ? "" : " ").append(word);
    }
    return text;
}

std::optional<OrderResult> Mix(Simulator& simulator, const Words& arguments) {
    if (arguments != Words{"on"} && arguments != Words{"off"}) {
        return std::nullopt;
    }
    simulator.Send(mculink::MakePacket({kAudioMixReport, static_cast<std::uint8_t>(arguments[0] == "on" ? 1 : 0)}, 0));
    return Done();
}

std::optional<OrderResult> SendReport(Simulator& simulator, const Words& arguments) {
    const Bytes payload = BytesOf(arguments);
    if (payload.empty()) {
        return std::nullopt;
    }
    simulator.Send(mculink::MakePacket(payload, 0));
    return Done();
}

std::optional<OrderResult> SendRaw(Simulator& simulator, const Words& arguments) {
    const Bytes block = BytesOf(arguments);
    if (block.empty()) {
        return std::nullopt;
    }
    simulator.Send(block);
    return Done();
}

std::optional<OrderResult> Delay(Simulator& simulator, const Words& arguments) {
    constexpr long kLongest = 60000;
    const std::optional<long> delay = arguments.size() == 1 ? NumberIn(arguments[0], 0, kLongest) : std::nullopt;
    if (!delay) {
        return std::nullopt;
    }
    simulator.SetDelay(std::chrono::milliseconds(*delay));
    return Done();
}

template <void (Simulator::*action)()>
std::optional<OrderResult> WithoutArguments(Simulator& simulator, const Words& arguments) {
    if (!arguments.empty()) {
        return std::nullopt;
    }
    (simulator.*action)();
    return Done();
}

std::optional<OrderResult> Restart(Simulator& simulator, const Words& arguments) {
    const std::optional<long> seed =
        arguments.size() == 1 ? NumberIn(arguments[0], 0, std::numeric_limits<std::uint32_t>::max()) : std::nullopt;
    Settings settings = seed ? Settings(static_cast<std::uint32_t>(*seed)) : Settings();
    std::string error;
    if (!arguments.empty() && !seed && !LoadSettings(arguments[0], settings, error)) {
        return OrderResult{false, error};
    }
    simulator.Restart(settings);
    return Done();
}

std::optional<OrderResult> Save(Simulator& simulator, const Words& arguments) {
    std::string error;
    return arguments.empty()                                                ? std::nullopt
           : SaveSettings(arguments[0], simulator.CurrentSettings(), error) ? std::optional(Done())
                                                                            : OrderResult{false, error};
}

std::optional<OrderResult> Load(Simulator& simulator, const Words& arguments) {
    if (arguments.empty()) {
        return std::nullopt;
    }
    Settings settings = simulator.CurrentSettings();
    std::string error;
    if (!LoadSettings(arguments[0], settings, error)) {
        return OrderResult{false, error};
    }
    simulator.TakeAndReport(settings);
    return Done();
}

std::optional<OrderResult> WaitFor(Simulator& simulator, const Words& arguments) {
    constexpr long kLongest = 3600 * 1000;
    constexpr long kMost = 1000000000;
    if (arguments.empty() || arguments.size() > 2) {
        return std::nullopt;
    }
    const std::optional<long> time = arguments.size() == 1 ? NumberIn(arguments[0], 0, kLongest) : std::nullopt;
    const std::optional<long> count = arguments.size() == 1 ? 1 : NumberIn(arguments[1], 1, kMost);
    const long* counter = simulator.CounterOf(arguments[0]);
    OrderResult result = Done();
    if (time) {
        const auto due = std::chrono::steady_clock::now() + std::chrono::milliseconds(*time);
        result.wait = Wait{[due] { return std::chrono::steady_clock::now() >= due; }, due};
    } else if (arguments == Words{"service"}) {
        result.wait = Wait{[&simulator] { return simulator.HasService(); }, std::nullopt};
    } else if (counter != nullptr && count) {
        result.wait = Wait{[counter, until = *counter + *count] { return *counter >= until; }, std::nullopt};
    } else {
        return std::nullopt;
    }
    return result;
}

std::optional<OrderResult> Show(Simulator& simulator, const Words& arguments) {
    return arguments.empty() ? std::optional(OrderResult{true, simulator.Show()}) : std::nullopt;
}

std::optional<OrderResult> Help(Simulator& /*simulator*/, const Words& /*arguments*/) {
    return OrderResult{true, OrderHelp()};
}

constexpr Order kOrders[] = {
    {"mix", "on|off", "reports that audio mixing is on or off", Takes::Words, Mix},
    {"report", "HEX", "sends a packet with this payload, from the command id on", Takes::Words, SendReport},
    {"raw", "HEX", "sends these bytes as they are", Takes::Words, SendRaw},
    {"delay", "MS", "answers come this number of milliseconds later; 0: at once", Takes::Words, Delay},
    {"clear", "", "ends all faults", Takes::Words, WithoutArguments<&Simulator::ClearFaults>},
    {"hangup", "", "ends the connection to the service", Takes::Words, WithoutArguments<&Simulator::HangUp>},
    {"restart", "[SEED|FILE]",
     "hangs up, ends all faults, and goes on with the first settings, those that follow from SEED, or those of FILE",
     Takes::SeedOrFile, Restart},
    {"save", "FILE", "writes the settings into a file, as orders", Takes::File, Save},
    {"load", "FILE", "takes settings from a file, and reports what changed", Takes::File, Load},
    {"wait", "MS|service|commands|keys|queries [COUNT]",
     "the next order waits for this time, a service, or so many further packets", Takes::Words, WaitFor},
    {"show", "", "prints the settings and what was received so far", Takes::Words, Show},
    {"help", "", "prints this", Takes::Words, Help},
};

const Order* FindOrder(std::string_view word) {
    const auto* order =
        std::find_if(std::begin(kOrders), std::end(kOrders), [word](const Order& each) { return word == each.word; });
    return order == std::end(kOrders) ? nullptr : order;
}

const FaultWord* FindFault(std::string_view word) {
    const auto* fault = std::find_if(kFaultWords.begin(), kFaultWords.end(),
                                     [word](const FaultWord& each) { return word == each.word; });
    return fault == kFaultWords.end() ? nullptr : fault;
}

/// A fault's argument: how often it happens from now on.
std::optional<long> CountOf(const FaultWord& fault, const Words& arguments) {
    if (arguments == Words{"on"} || arguments == Words{"off"}) {
        return arguments[0] == "on" ? Faults::kAlways : 0;
    }
    if (fault.isState || arguments.size() > 1) {
        return std::nullopt;
    }
    return arguments.empty() ? 1 : NumberIn(arguments[0], 0, Faults::kAlways);
}

std::string HelpOf(const Order& order) {
    return std::string(order.word) + (*order.arguments == '\0' ? "" : " ") + order.arguments + ": " + order.meaning;
}

std::string HelpOf(const FaultWord& fault) {
    return std::string(fault.word) + (fault.isState ? " on|off" : " [COUNT|on|off]") + ": " + fault.meaning;
}

/// What follows the first word of a line, without the blanks around it.
std::string RestOf(std::string_view line) {
    constexpr const char* kBlanks = " \t\r\n";
    const std::size_t word = std::min(line.find_first_not_of(kBlanks), line.size());
    const std::size_t end = std::min(line.find_first_of(kBlanks, word), line.size());
    const std::size_t begin = std::min(line.find_first_not_of(kBlanks, end), line.size());
    return std::string(line.substr(begin, line.find_last_not_of(kBlanks) + 1 - begin));
}

OrderResult Wrong(const std::string& help) {
    return {false, "the order is: " + help};
}

OrderResult ObeySetting(Simulator& simulator, const Words& words) {
    std::string error;
    const std::optional<Change> change = ChangeOf(words, simulator.CurrentSettings(), error);
    if (change) {
        simulator.Turn(*change);
    }
    return {change.has_value(), change ? "" : error};
}

} // namespace

std::string OrderHelp() {
    std::string text = "What the user at the unit changes, and the MCU reports:\n";
    for (const std::string& line : SettingOrderHelp()) {
        text.append("  ").append(line).append("\n");
    }
    text += "Packets, faults, and the simulator itself:\n";
    for (const Order& order : kOrders) {
        text.append("  ").append(HelpOf(order)).append("\n");
    }
    text += "What happens to the next COUNT answers, or to the next one without a count:";
    for (const FaultWord& fault : kFaultWords) {
        text.append("\n  ").append(HelpOf(fault));
    }
    return text;
}

Words OrderWordsAfter(const Words& words) {
    Words next = SettingWordsAfter(words);
    const FaultWord* fault = words.size() == 1 ? FindFault(words[0]) : nullptr;
    if (words.empty()) {
        std::transform(std::begin(kOrders), std::end(kOrders), std::back_inserter(next),
                       [](const Order& order) { return order.word; });
        std::transform(kFaultWords.begin(), kFaultWords.end(), std::back_inserter(next),
                       [](const FaultWord& each) { return std::string(each.word); });
    } else if (fault != nullptr || words == Words{"mix"}) {
        next = {"on", "off"};
    } else if (words == Words{"wait"}) {
        next = {"service", "commands", "keys", "queries"};
    }
    return next;
}

OrderResult Obey(Simulator& simulator, std::string_view line) {
    const Words words = WordsOf(line);
    const std::string word = words.empty() ? "" : words[0];
    if (IsSettingOrder(word)) {
        return ObeySetting(simulator, words);
    }
    Words arguments(words.begin() + (words.empty() ? 0 : 1), words.end());
    if (const Order* order = FindOrder(word)) {
        if (order->takes != Takes::Words && !arguments.empty()) {
            arguments = {RestOf(line)};
        }
        return order->carryOut(simulator, arguments).value_or(Wrong(HelpOf(*order)));
    }
    if (const FaultWord* fault = FindFault(word)) {
        const std::optional<long> count = CountOf(*fault, arguments);
        if (!count) {
            return Wrong(HelpOf(*fault));
        }
        simulator.SetFault(fault->fault, *count);
        return Done();
    }
    constexpr std::size_t kMaxQuoted = 60;
    return {false, "'" + word.substr(0, kMaxQuoted) + "' is no order; these are: " + Joined(OrderWordsAfter({}))};
}

std::string OrderLine(const Words& commandLine) {
    std::string line = Joined(commandLine);
    const Words words = WordsOf(line);
    const Order* order = words.size() > 1 ? FindOrder(words[0]) : nullptr;
    const bool isSeed = order != nullptr && order->takes == Takes::SeedOrFile && NumberOf(RestOf(line));
    if (order == nullptr || order->takes == Takes::Words || isSeed) {
        return line;
    }
    std::error_code error;
    const std::filesystem::path path = std::filesystem::absolute(RestOf(line), error);
    return error ? line : words[0] + " " + path.string();
}

OrderResult GiveOrder(const std::string& line, std::chrono::seconds limit) {
    if (line.empty()) {
        return {false, "an order is missing; 'help' lists them"};
    }
    const std::string path = host::BelowRoot(kOrderSocket);
    const UniqueFd connection = host::ConnectTo(path);
    std::string answer;
    if (connection) {
        const timeval patience{static_cast<time_t>(limit.count()), 0};
        ::setsockopt(connection.Get(), SOL_SOCKET, SO_RCVTIMEO, &patience, sizeof patience);
    }
    if (!connection || ::send(connection.Get(), line.data(), line.size(), MSG_NOSIGNAL) < 0 ||
        !host::ReceivePacket(connection.Get(), answer)) {
        return {false,
                "no simulator takes orders at " + path + ": " + (errno == 0 ? "it has ended" : std::strerror(errno))};
    }
    return {answer.compare(0, 3, "ok ") == 0, answer.substr(std::min<std::size_t>(answer.size(), 3))};
}

} // namespace mcusim
