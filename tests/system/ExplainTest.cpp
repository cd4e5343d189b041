// scripts/explain: the log, a recording and a watch of a running chain, read as one.
#include <algorithm>
#include <array>
#include <cstdio>
#include <fstream>
#include <initializer_list>
#include <sstream>

#include "tests/support/FaultBench.h"

namespace {

/// What a shell command prints, on either stream.
std::string Printed(const std::string& command) {
    const std::unique_ptr<std::FILE, int (*)(std::FILE*)> output(::popen((command + " 2>&1").c_str(), "r"), ::pclose);
    std::string text;
    std::array<char, 4096> piece{};
    while (std::fgets(piece.data(), piece.size(), output.get()) != nullptr) {
        text += piece.data();
    }
    return text;
}

/// Without folded lines, and with what is published at one time in the order of the alphabet.
std::vector<std::string> Comparable(const std::string& text) {
    std::istringstream in(text);
    std::vector<std::string> lines;
    for (std::string line; std::getline(in, line);) {
        const std::size_t begin = line.find_first_not_of(' ');
        if (begin == std::string::npos) {
            continue; // between two commands
        }
        if (begin > 20 && !lines.empty()) {
            lines.back() += " " + line.substr(begin);
        } else {
            lines.push_back(line);
        }
    }
    const auto isPublished = [](const std::string& line) { return line.find("  published") == 0; };
    for (auto first = lines.begin(); first != lines.end();) {
        first = std::find_if(first, lines.end(), isPublished);
        const auto end = std::find_if_not(first, lines.end(), isPublished);
        std::sort(first, end);
        first = end;
    }
    return lines;
}

TEST(ExplainTest, ShowsForEachCommandWhatCameOfIt) {
    ::setenv("TLG_SLOG_TIME", "1", 1);
    Chain chain;
    const std::string path = chain.root.Path();
    chain.root.WriteFile("/zoapps/etc/volume.conf", "scheme=1;");
    ASSERT_TRUE(WriteObject("/pps/services/app-launcher", "started::1"));
    chain.StartMcu({"--at", path + "/mcu"});
    const auto link = StartReady("mculink", {"--to", path + "/mcu", "--record", path + "/link"});
    chain.StartService();
    ::unsetenv("TLG_SLOG_TIME");
    Process watch("ppsctl", {"watch", "--time", "/pps/**"});
    EXPECT_TRUE(watch.WaitFor(" zoalc:n:1"));
    std::size_t cycles = 7;
    const auto follows = [&](std::initializer_list<const char*> published) {
        EXPECT_TRUE(chain.service->WaitFor("[UpdatePPS]-end", ++cycles));
        for (const char* line : published) {
            EXPECT_TRUE(watch.WaitFor(line));
        }
    };
    WriteObject(kControl, "zoalc::9");
    follows({"status zoalc:n:9"});
    WriteObject(kControl, "zofade_balance:json:3");
    EXPECT_TRUE(chain.service->WaitFor("cmdVector.empty():1"));
    EXPECT_TRUE(watch.WaitFor("zofade_balance:json:3"));
    Order("refuse");
    WriteObject(kControl, "zosrs::3");
    EXPECT_TRUE(chain.service->WaitFor("Function return error"));
    EXPECT_TRUE(watch.WaitFor("control zosrs::3"));
    WriteObject(kControl, "zofade_balance:json:4\nzosrs::4");
    follows({"status zosrs:n:4"});
    WriteObject(kControl, "zoaudiomix::on");
    follows({"status [n]zoaudiomix::on"});
    WriteObject(kNavigation, "navivolume:n:75");
    follows({"\"val\":[12,30,15,20]", "status [n]zoextra_vol:json:{\"vol_type\":5"});
    EXPECT_TRUE(watch.WaitFor("[n]navivolume:n:75", 2)); // the navigation's own line, and what is published
    Order("fade 1 2 3 4");
    follows({"zofade_balance:json:{\"ff\":1,"});
    chain.StopService();
    watch.Stop(SIGTERM);
    std::ofstream(path + "/log") << chain.service->Output();
    std::ofstream(path + "/watch") << watch.Output();
    const std::string explain =
        std::string("COLUMNS=100 " TLG_SOURCE_DIR "/scripts/explain --mculink " TLG_BIN_DIR "/mculink --link ") + path +
        "/link --watch " + path + "/watch --log " + path + "/log ";
    std::ifstream expected(TLG_SOURCE_DIR "/tests/cases/explain.txt");
    std::ostringstream text;
    text << expected.rdbuf();
    // From the first command on, and without times.
    const std::string sed = "sed -E -e '1,/HMI writes/{/HMI writes/!d}' -e 's/^ +[0-9.]+ ms//' -e 's/, [0-9.]+ ms/,/'";
    EXPECT_EQ(Comparable(Printed(explain + "--all | " + sed)), Comparable(text.str()));
}

} // namespace
