#include "tools/mcusim/Orders.h"

#include <sys/socket.h>

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <cstring>
#include <optional>
#include <sstream>
#include <vector>

#include "platform/host/PpsConnection.h"
#include "platform/host/Root.h"
#include "tools/mcusim/Simulator.h"

namespace mcusim {

namespace {

using Words = std::vector<std::string>;

constexpr std::size_t kMaxQuoted = 60;

struct Order {
    const char* word;
    const char* arguments;
    const char* meaning;
    /// Carries the order out; nothing where it has no such arguments.
    std::optional<std::string> (*carryOut)(Simulator& simulator, const Words& arguments);
};

template <typename Number>
std::optional<Number> NumberOf(const std::string& text) {
    Number number{};
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    return error == std::errc() && end == text.data() + text.size() ? std::optional(number) : std::nullopt;
}

std::optional<std::string> Volume(Simulator& simulator, const Words& arguments) {
    const std::optional<int> level = arguments.size() == 2 ? NumberOf<int>(arguments[1]) : std::nullopt;
    return level && simulator.ChangeVolume(arguments[0], *level) ? std::optional<std::string>("") : std::nullopt;
}

std::optional<std::string> Delay(Simulator& simulator, const Words& arguments) {
    constexpr long kLongest = 60000;
    const std::optional<long> delay = arguments.size() == 1 ? NumberOf<long>(arguments[0]) : std::nullopt;
    if (!delay || *delay < 0 || *delay > kLongest) {
        return std::nullopt;
    }
    simulator.SetDelay(std::chrono::milliseconds(*delay));
    return "";
}

std::optional<std::string> ClearFaults(Simulator& simulator, const Words& arguments) {
    if (!arguments.empty()) {
        return std::nullopt;
    }
    simulator.ClearFaults();
    return "";
}

std::optional<std::string> HangUp(Simulator& simulator, const Words& arguments) {
    if (!arguments.empty()) {
        return std::nullopt;
    }
    simulator.HangUp();
    return "";
}

std::optional<std::string> Restart(Simulator& simulator, const Words& arguments) {
    const auto seed = arguments.size() == 1 ? NumberOf<std::uint32_t>(arguments[0]) : std::nullopt;
    if (!arguments.empty() && !seed) {
        return std::nullopt;
    }
    simulator.Restart(seed);
    return "";
}

std::optional<std::string> Show(Simulator& simulator, const Words& arguments) {
    return arguments.empty() ? std::optional(simulator.Show()) : std::nullopt;
}

std::optional<std::string> Help(Simulator& /*simulator*/, const Words& /*arguments*/) {
    return OrderHelp();
}

constexpr Order kOrders[] = {
    {"volume", "NAME LEVEL", "turns a knob: main, max, navi, call, voice, ext0 to ext3; 0 to 127", Volume},
    {"delay", "MS", "answers come this number of milliseconds later; 0: at once", Delay},
    {"clear", "", "ends all faults", ClearFaults},
    {"hangup", "", "ends the connection to the service", HangUp},
    {"restart", "[SEED]", "hangs up and goes on with the first settings, or with others that follow from SEED",
     Restart},
    {"show", "", "prints the settings and what was received so far", Show},
    {"help", "", "prints this", Help},
};

/// A fault's argument: how often it happens from now on.
std::optional<long> CountOf(const FaultWord& fault, const Words& arguments) {
    if (arguments.size() == 1 && (arguments[0] == "on" || arguments[0] == "off")) {
        return arguments[0] == "on" ? Faults::kAlways : 0;
    }
    if (fault.isState || arguments.size() > 1) {
        return std::nullopt;
    }
    if (arguments.empty()) {
        return 1;
    }
    const std::optional<long> count = NumberOf<long>(arguments[0]);
    return count && *count >= 0 ? count : std::nullopt;
}

OrderResult Refused(std::string_view line) {
    return {false, "not an order: '" + std::string(line.substr(0, kMaxQuoted)) + "'; 'help' lists them"};
}

} // namespace

std::string OrderHelp() {
    std::string text;
    for (const Order& order : kOrders) {
        text.append(order.word).append(" ").append(order.arguments).append(": ").append(order.meaning).append("\n");
    }
    const char* separator = "";
    for (const FaultWord& fault : kFaultWords) {
        text.append(separator).append(fault.word).append(fault.isState ? " on|off" : " [COUNT|on|off]");
        separator = ", ";
    }
    return text + ": what happens to the next COUNT answers, or to the next one without a count";
}

OrderResult Obey(Simulator& simulator, std::string_view line) {
    std::istringstream stream{std::string(line)};
    std::string word;
    Words arguments;
    stream >> word;
    for (std::string argument; stream >> argument;) {
        arguments.push_back(argument);
    }
    for (const Order& order : kOrders) {
        if (word == order.word) {
            const std::optional<std::string> text = order.carryOut(simulator, arguments);
            return text ? OrderResult{true, *text} : Refused(line);
        }
    }
    const auto* fault = std::find_if(kFaultWords.begin(), kFaultWords.end(),
                                     [&word](const FaultWord& each) { return each.word == word; });
    const std::optional<long> count = fault == kFaultWords.end() ? std::nullopt : CountOf(*fault, arguments);
    if (!count) {
        return Refused(line);
    }
    simulator.SetFault(fault->fault, *count);
    return {true, ""};
}

OrderResult GiveOrder(const std::string& line) {
    const std::string path = host::BelowRoot(kOrderSocket);
    const UniqueFd connection = host::ConnectTo(path);
    std::string answer;
    if (!connection || ::send(connection.Get(), line.data(), line.size(), MSG_NOSIGNAL) < 0 ||
        !host::ReceivePacket(connection.Get(), answer)) {
        return {false,
                "no simulator takes orders at " + path + ": " + (errno == 0 ? "it has ended" : std::strerror(errno))};
    }
    return {answer.compare(0, 3, "ok ") == 0, answer.substr(std::min<std::size_t>(answer.size(), 3))};
}

} // namespace mcusim
