// Random valid and invalid reports: the published objects must hold what the rules give. TLG_RANDOM_REPORTS in the
// environment says how many reports a run sends.
#include <cstdlib>
#include <sstream>

#include "tests/support/Chain.h"
#include "tests/support/Published.h"
#include "tests/system/ReferenceModel.h"

namespace {

/// Feeds the reference with what the simulated MCU says that it sent.
void TakeTrace(const std::string& trace, ReferenceModel& reference) {
    std::istringstream lines(trace);
    for (std::string line; std::getline(lines, line);) {
        const std::size_t bytes = line.rfind('[');
        if (line.compare(0, 3, "-> ") != 0 || bytes == std::string::npos) {
            continue;
        }
        std::istringstream numbers(line.substr(line.find("size=") + 5));
        int size = 0;
        int command = 0;
        std::string word;
        numbers >> size >> word;
        command = std::stoi(word.substr(4));
        reference.Take(command, size, PayloadIn(line));
    }
}

class RandomReportsTest : public testing::TestWithParam<int> {};

TEST_P(RandomReportsTest, ThePublishedObjectsFollowTheRules) {
    const int scheme = GetParam();
    const char* wanted = std::getenv("TLG_RANDOM_REPORTS");
    const std::string count = wanted == nullptr ? "3000" : wanted;
    Chain chain;
    chain.root.WriteFile("/zoapps/etc/volume.conf", "scheme=" + std::to_string(scheme) + ";");
    ASSERT_TRUE(WriteObject("/pps/services/app-launcher", "started::1"));
    Process launches("ppsctl", {"watch", "/pps/services/app-launcher"});
    ASSERT_TRUE(launches.WaitFor("started"));
    const std::string seed = std::to_string(1000 + scheme);
    chain.StartMcu({"--trace", "--seed", seed, "--rate", "2000", "--count", count});
    chain.service = std::make_unique<Process>("melvane");
    // Seven answers, the random reports, and one that nobody can mistake.
    const std::size_t packets = 7 + std::stoul(count);
    ASSERT_TRUE(chain.mcu->WaitFor("-> ", packets));
    chain.mcu->Type("volume max 126\n");
    ASSERT_TRUE(chain.service->WaitFor("receive MCU data", packets + 1)) << chain.service->Output().size();
    ASSERT_TRUE(WriteObject(kControl, "zoalc::201"));
    ASSERT_TRUE(chain.service->WaitFor("packet no = 1"));
    ASSERT_TRUE(chain.mcu->WaitFor("acknowledgement status=0"));
    const PpsObjectClient status(std::string(kStatus) + "?delta");
    status.ReadUntil("zoalc:n:201");

    ReferenceModel reference(scheme);
    TakeTrace(chain.mcu->Output(), reference);
    reference.Take(138, 4, {138, 2, 5, 201});
    const std::map<std::string, std::string> published = PublishedLines();
    EXPECT_EQ(TextOf(published), TextOf(reference.Lines()));
    EXPECT_GE(published.size(), 18U + 7U + 1U);
    EXPECT_TRUE(launches.WaitFor("req:json:", static_cast<std::size_t>(reference.Launches())));
    EXPECT_EQ(Count(launches.Output(), "req:json:"), static_cast<std::size_t>(reference.Launches()));
    chain.StopService();
}

INSTANTIATE_TEST_SUITE_P(Schemes, RandomReportsTest, testing::Values(0, 1));

} // namespace
