#include "tests/support/FaultBench.h"

#include <cstdlib>
#include <sstream>

#include "tests/support/Published.h"
#include "tests/system/ReferenceModel.h"
#include "tools/mcusim/Orders.h"

namespace {

/// Which volume changed last is history, not a setting.
std::string WithoutVolType(std::string line) {
    const std::size_t begin = line.find("\"vol_type\":");
    return begin == std::string::npos ? line : line.erase(begin, line.find(',', begin) - begin + 1);
}

std::string Settings(const std::map<std::string, std::string>& lines) {
    std::string text;
    for (const auto& [name, line] : lines) {
        text += WithoutVolType(line) + "\n";
    }
    return text;
}

/// What must be published where the MCU has these records.
std::string Expected(const std::map<int, Payload>& records) {
    ReferenceModel reference(1);
    for (const auto& [group, payload] : records) {
        reference.Receive(137, static_cast<int>(payload.size()), payload);
    }
    return Settings(reference.Lines());
}

} // namespace

int Rounds() {
    const char* rounds = std::getenv("TLG_FAULT_ROUNDS");
    return rounds == nullptr ? 1 : std::stoi(rounds);
}

void Order(const std::string& line) {
    const mcusim::OrderResult result = mcusim::GiveOrder(line);
    EXPECT_TRUE(result.isObeyed) << line << ": " << result.text;
}

std::map<int, Payload> McuRecords() {
    std::map<int, Payload> records;
    std::istringstream lines(mcusim::GiveOrder("show").text);
    for (std::string line; std::getline(lines, line);) {
        const Payload payload = line.find('[') == std::string::npos ? Payload{} : PayloadIn(line);
        if (payload.size() > 3) {
            records[payload[2]] = payload;
        }
    }
    return records;
}

int Received(const std::string& kind) {
    const std::string text = mcusim::GiveOrder("show").text;
    const std::size_t count = text.rfind(kind + "=");
    return count == std::string::npos ? 0 : std::stoi(text.substr(count + kind.size() + 1));
}

void WaitForQueries(int queries) {
    EXPECT_TRUE(WaitUntil("the service has queried", [queries] { return Received("queries") >= queries; }));
}

testing::AssertionResult IsTrueSoon() {
    std::string expected;
    std::string published;
    return WaitUntil("what is published is true",
                     [&] {
                         expected = Expected(McuRecords());
                         published = Settings(PublishedLines());
                         return expected == published && expected == Expected(McuRecords());
                     })
           << ": the MCU has\n"
           << expected << "but published is\n"
           << published;
}
