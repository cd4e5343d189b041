// The orders of the simulated MCU: as its user gives them, and what comes of them.
#include <pty.h>
#include <sys/socket.h>
#include <sys/wait.h>

#include <array>
#include <cstdlib>
#include <fstream>

#include "platform/host/UnixSocket.h"
#include "tests/support/Cases.h"
#include "tests/support/FaultBench.h"
#include "tests/support/Published.h"
#include "tools/mcusim/OrderDesk.h"
#include "tools/mcusim/Orders.h"
#include "tools/mcusim/SettingOrders.h"

namespace {

TEST(SimulatorTest, ItsOrdersDoWhatTheCasesSay) {
    FaultBench bench;
    for (const std::vector<std::string>& row : Cases("orders.txt")) {
        SCOPED_TRACE(row.back());
        const mcusim::OrderResult result = mcusim::GiveOrder(row[0]);
        EXPECT_EQ(result.isObeyed ? "ok" : "no", row[1]);
        if (row[1] == "no") {
            EXPECT_EQ(result.text.substr(0, row[2].size()), row[2]);
            continue;
        }
        const std::string name = row[2].substr(0, row[2].find(':'));
        const auto isPublished = [&] { return PublishedLines()[name] == row[2]; };
        EXPECT_TRUE(WaitUntil("it is published", isPublished)) << PublishedLines()[name];
    }
    bench.StopService();
}

TEST(SimulatorTest, SavedSettingsAreTheSameWhenLoaded) {
    const TemporaryRoot root;
    const std::string path = root.Path() + "/settings";
    std::string error;
    for (std::uint32_t seed = 0; seed < 200; ++seed) {
        const mcusim::Settings settings(seed);
        mcusim::Settings loaded;
        ASSERT_TRUE(mcusim::SaveSettings(path, settings, error)) << error;
        ASSERT_TRUE(mcusim::LoadSettings(path, loaded, error)) << error;
        for (const RecordLayout& layout : kRecordLayouts) {
            EXPECT_EQ(loaded.Answer(layout.type), settings.Answer(layout.type)) << "seed " << seed;
        }
    }
    std::ofstream(path, std::ios::app) << "\n# comment\nalc 300\n";
    mcusim::Settings settings(7);
    EXPECT_FALSE(mcusim::LoadSettings(path, settings, error));
    EXPECT_EQ(error, path + ", line 37: '300' is not 0 to 255; the order is: alc ALC: ALC 0 to 255");
    EXPECT_EQ(settings.Answer(ALC), mcusim::Settings(7).Answer(ALC)) << "nothing of a file with a wrong line";
    EXPECT_FALSE(mcusim::SaveSettings(root.Path(), settings, error));
    EXPECT_EQ(error, root.Path() + ": Is a directory");
}

TEST(SimulatorTest, AScriptIsCarriedOutWithItsWaits) {
    Chain chain;
    const std::string saved = chain.root.Path() + "/saved settings";
    chain.root.WriteFile("/script", "# the MCU of a test\nvolume main 30\nwait service\nwait queries 7\nalc 33\n"
                                    "wait commands\nsave " +
                                        saved + "\nvolume main 5\nwait 1\nrestart " + saved + "\n");
    chain.StartMcu({"--script", chain.root.Path() + "/script"});
    chain.StartService();
    EXPECT_TRUE(PpsObjectClient(std::string(kStatus) + "?delta").Hears("zoalc:n:33"));
    ASSERT_TRUE(WriteObject(kControl, "zosrs::9"));
    EXPECT_TRUE(chain.service->WaitFor("[UpdatePPS]-end", 7 + 1 + 1 + 1 + 7)) << "the restart is the script's last";
    const auto areSaved = [] {
        auto lines = PublishedLines();
        return lines["zosrs"] == "zosrs:n:9" && lines["zovolume"].find("\"current\":30") != std::string::npos;
    };
    EXPECT_TRUE(WaitUntil("the settings are the saved ones", areSaved));
    Order("srs 3");
    Order("volume main 5");
    EXPECT_TRUE(WaitUntil("they are others", [] { return LineOf(StateOf(kStatus), "zosrs") == "zosrs:n:3"; }));
    Order("load " + saved);
    EXPECT_TRUE(WaitUntil("the settings are the saved ones", areSaved));
    chain.StopService();

    chain.mcu.reset();
    chain.root.WriteFile("/script", "volume main 30\nvolume main\nvolume main 5\n");
    std::string output;
    EXPECT_EQ(RunProgram("mcusim", {"--script", chain.root.Path() + "/script"}, output), 1);
    EXPECT_NE(output.find("mcusim: " + chain.root.Path() + "/script, line 2: the order is: volume main|max"),
              std::string::npos)
        << output;
}

TEST(SimulatorTest, ItsOrdersCanBeMisused) {
    const TemporaryRoot root;
    const auto mcu = StartReady("mcusim");
    const UniqueFd impatient = host::ConnectTo(root.Path() + std::string(mcusim::kOrderSocket));
    for (const std::string order : {"wait 60000", "volume main 33"}) {
        EXPECT_EQ(::send(impatient.Get(), order.data(), order.size(), 0), static_cast<ssize_t>(order.size()));
    }
    EXPECT_EQ(mcusim::GiveOrder("raw " + std::string(199000, '0')).text, "the order is too long");
    mcu->Type(std::string(300000, 'y') + "\nvolume call 7\n");
    EXPECT_TRUE(mcu->WaitFor("mcusim: the order is too long\n"));
    EXPECT_TRUE(WaitUntil("the next line is obeyed", [] { return McuRecords()[0][7] == 7; }));
    EXPECT_EQ(McuRecords()[0][4], 12) << "not before the wait is over";
    EXPECT_FALSE(mcusim::GiveOrder("").isObeyed);
    EXPECT_EQ(mcu->Stop(SIGTERM), 0);

    const std::string out = root.Path() + "/out";
    const std::string closed = TLG_BIN_DIR "/mcusim <&- > " + out + " & until grep -q ready " + out +
                               "; do sleep 0.01; done; kill $!; wait $!";
    EXPECT_EQ(std::system(closed.c_str()), 0) << "it ends also where it has no standard input";
}

/// A simulator on a terminal of its own.
class Terminal {
public:
    explicit Terminal(const std::string& home) {
        int end = -1;
        m_pid = ::forkpty(&end, nullptr, nullptr, nullptr);
        if (m_pid == 0) {
            ::setenv("HOME", home.c_str(), 1);
            ::setenv("TERM", "xterm", 1);
            ::execl(TLG_BIN_DIR "/mcusim", "mcusim", nullptr);
            ::_exit(127);
        }
        m_end.Reset(end);
    }

    ~Terminal() {
        if (m_pid > 0) {
            ::kill(m_pid, SIGKILL);
            ::waitpid(m_pid, nullptr, 0);
        }
    }
    Terminal(const Terminal&) = delete;
    Terminal& operator=(const Terminal&) = delete;

    void Type(const std::string& keys) const {
        EXPECT_EQ(::write(m_end.Get(), keys.data(), keys.size()), static_cast<ssize_t>(keys.size()));
    }

    /// Waits for a text in what the terminal shows after the last such text.
    testing::AssertionResult Shows(const std::string& text) {
        pollfd state{m_end.Get(), POLLIN, 0};
        while (m_shown.find(text) == std::string::npos) {
            std::array<char, 256> piece{};
            const ssize_t length =
                ::poll(&state, 1, kTestTimeoutMs) == 1 ? ::read(m_end.Get(), piece.data(), piece.size()) : 0;
            if (length <= 0) {
                return testing::AssertionFailure() << "shown was: " << m_shown;
            }
            m_shown.append(piece.data(), static_cast<std::size_t>(length));
        }
        m_shown.erase(0, m_shown.find(text) + text.size());
        return testing::AssertionSuccess();
    }

    int ExitStatus() {
        int status = 0;
        EXPECT_TRUE(WaitUntil("it has ended", [&] { return ::waitpid(m_pid, &status, WNOHANG) == m_pid; }));
        m_pid = 0;
        return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    }

private:
    pid_t m_pid = -1;
    UniqueFd m_end;
    std::string m_shown;
};

TEST(SimulatorTest, ATerminalHasAPromptThatCompletesAndRemembers) {
    const TemporaryRoot root;
    {
        Terminal terminal(root.Path());
        ASSERT_TRUE(terminal.Shows("mcusim> "));
        terminal.Type("vol\tma\tin 22\n");
        EXPECT_TRUE(WaitUntil("the order is obeyed", [] { return McuRecords()[0][4] == 22; }));
        terminal.Type("fade 1\n");
        EXPECT_TRUE(terminal.Shows("mcusim: the order is: fade FF FR BL BR"));
        EXPECT_TRUE(terminal.Shows("mcusim> "));
        terminal.Type("\x04");
        EXPECT_EQ(terminal.ExitStatus(), 0) << "the end of the input is that of the simulator";
    }
    Terminal terminal(root.Path());
    ASSERT_TRUE(terminal.Shows("mcusim> "));
    terminal.Type("\x1B[A\x1B[A\x7F"
                  "3\n");
    EXPECT_TRUE(WaitUntil("the former order is given again, changed", [] { return McuRecords()[0][4] == 23; }));
    terminal.Type("\x03");
    EXPECT_EQ(terminal.ExitStatus(), 0);
}

} // namespace
