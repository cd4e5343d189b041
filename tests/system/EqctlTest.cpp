// The settings by plain names, as a user gives them.
#include <fstream>
#include <sstream>

#include "tests/support/Cases.h"
#include "tests/support/FaultBench.h"
#include "tools/eqctl/Settings.h"

namespace {

/// Runs eqctl. The exit status.
int Eqctl(const std::string& line, std::string& output) {
    std::istringstream words(line);
    return RunProgram("eqctl", {std::istream_iterator<std::string>(words), {}}, output);
}

TEST(EqctlTest, DoesWhatTheCasesSay) {
    const FaultBench bench;
    std::string output;
    for (const std::vector<std::string>& row : Cases("eqctl.txt")) {
        SCOPED_TRACE(row.back());
        EXPECT_EQ(std::to_string(Eqctl(row[0], output)), row[1]);
        EXPECT_EQ(output, row[2]);
    }
    bench.root.WriteFile("/lines", "# comment\n\nalc 7\nvolume -1\nalc 300\nalc 8\n");
    EXPECT_EQ(Eqctl("set " + bench.root.Path() + "/lines", output), 1);
    EXPECT_EQ(output.substr(0, 6), "alc 7\n");
    EXPECT_EQ(LineOf(StateOf(kStatus), "zoalc"), "zoalc:n:7") << "nothing after the line that failed";
}

TEST(EqctlTest, SaysWhyASettingDoesNotCome) {
    FaultBench bench;
    std::string output;
    Process watch("eqctl", {"watch", "--json"});
    const auto fails = [&output](const std::string& reason) {
        EXPECT_EQ(Eqctl("--timeout 0.2 alc 77", output), 1);
        EXPECT_EQ(output, "eqctl: alc: " + reason + "\n");
    };
    Order("refuse on");
    fails("not accepted within the time; published is: alc 1");
    Order("clear");
    ASSERT_EQ(Eqctl("alc 78", output), 0);
    EXPECT_TRUE(watch.WaitFor("{\"alc\":78}\n"));
    bench.RestartServer(SIGTERM);
    EXPECT_TRUE(watch.WaitFor("eqctl: the PPS server has ended; waiting until it is back\n"));
    EXPECT_TRUE(WaitUntil("the watch is back", [&] {
        return Eqctl("alc 79", output) == 0 && Eqctl("alc 78", output) == 0 &&
               watch.Output().rfind("{\"alc\":78}\n") > watch.Output().find("until it is back");
    }));
    bench.KillMcu();
    fails("the MCU is away; published is: alc 78");
    bench.StopService();
    fails("the service does not run below this root");
    EXPECT_EQ(watch.Stop(SIGTERM), 0);
}

TEST(EqctlTest, ThePageOfTheCommandsAndExplainHaveThem) {
    std::ostringstream page;
    page << std::ifstream(TLG_SOURCE_DIR "/docs/commands.md").rdbuf();
    std::ostringstream explain;
    explain << std::ifstream(TLG_SOURCE_DIR "/scripts/explain").rdbuf();
    for (const eqctl::Setting& setting : eqctl::Settings()) {
        std::string row = std::string("| `eqctl ") + setting.name + " ";
        for (const char c : std::string(setting.arguments)) {
            row += c == '|' ? "\\|" : std::string(1, c);
        }
        row += std::string("` | `") + setting.command + "` |\n";
        EXPECT_NE(page.str().find(row), std::string::npos) << "it must have " << row;
        EXPECT_NE(explain.str().find(std::string("    \"") + setting.command + "\": ["), std::string::npos)
            << setting.command;
    }
}

} // namespace
