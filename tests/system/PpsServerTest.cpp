// The PPS server and its command line client as others use them.
#include <fcntl.h>

#include <cerrno>
#include <sstream>

#include "platform/host/Root.h"
#include "tests/support/Cases.h"
#include "tests/support/Chain.h"

namespace {

constexpr const char* kObject = "/pps/test/object";

TEST(PpsServerTest, WhatWasWrittenBeforeTheEndSurvivesARestart) {
    Chain chain;
    const PpsObjectClient writer("/pps/test/last");
    chain.ppsd->Signal(SIGSTOP);
    for (int number = 1; number <= 100; ++number) {
        ASSERT_TRUE(writer.Write("a:n:" + std::to_string(number)));
    }
    chain.ppsd->Signal(SIGINT);
    EXPECT_EQ(chain.ppsd->Stop(SIGCONT), 0);
    chain.ppsd = StartReady("ppsd", {"--save", "1"});
    EXPECT_EQ(StateOf("/pps/test/last"), "@last\na:n:100\n");
    std::string output;
    EXPECT_EQ(RunProgram("ppsd", {}, output), 1);
    EXPECT_NE(output.find("another server runs there"), std::string::npos) << output;
}

TEST(PpsServerTest, ASlowReaderBlocksNobodyAndGetsTheNewestValues) {
    const Chain chain;
    const PpsObjectClient slow(std::string(kObject) + "?delta");
    for (int i = 0; i < 100; ++i) {
        ASSERT_TRUE(WriteObject(kObject, "a:n:" + std::to_string(i) + "\nb::" + std::string(20000, 'x')));
    }
    EXPECT_TRUE(slow.Hears("|@object\na:n:99\n"));
}

TEST(PpsServerTest, TheClientTellsWhatItDoesAndWhyItFails) {
    Chain chain;
    std::string listed = "/pps/test/object\n";
    for (int i = 100; i < 400; ++i) {
        const std::string path = "/pps/test/" + std::string(300, 'x') + std::to_string(i);
        ASSERT_TRUE(WriteObject(path, "a::"));
        listed += path + "\n";
    }
    std::string output;
    for (const std::vector<std::string>& row : Cases("ppsctl.txt")) {
        SCOPED_TRACE(row.back());
        std::vector<std::string> arguments;
        std::istringstream words(row[0]);
        for (std::string word; std::getline(words, word, ',');) {
            arguments.push_back(word);
        }
        EXPECT_EQ(RunProgram("ppsctl", arguments, output), std::stoi(row[1]));
        EXPECT_EQ(output, row.size() > 3 ? row[2] : "");
    }
    EXPECT_EQ(RunProgram("ppsctl", {"list"}, output), 0);
    EXPECT_EQ(output, listed) << "all, but none for a refused write";
    Process watch("ppsctl", {"watch", kObject});
    Process counting("ppsctl", {"watch", "/pps/t*t/**", "--count", "3"});
    ASSERT_TRUE(watch.WaitFor("c::\n"));
    ASSERT_TRUE(counting.WaitFor("/pps/test/object c::\n"));
    ASSERT_TRUE(WriteObject(kObject, "d:n:1"));
    ASSERT_TRUE(watch.WaitFor("@object\nd:n:1\n"));
    EXPECT_EQ(watch.Stop(SIGINT), 0);
    EXPECT_EQ(chain.ppsd->Stop(SIGTERM), 0);
    ASSERT_TRUE(counting.WaitFor("ppsctl: the PPS server has ended; waiting until it is back\n"));
    EXPECT_EQ(RunProgram("ppsctl", {"list"}, output), 1);
    EXPECT_NE(output.find("no PPS server at "), std::string::npos) << output;
    chain.ppsd = StartReady("ppsd");
    ASSERT_TRUE(counting.WaitFor("/pps/test/object d:n:1\n", 2));
    ASSERT_TRUE(WriteObject("/pps/test/later", "e::"));
    ASSERT_TRUE(counting.WaitFor("/pps/test/later e::\n")) << "the second change";
    EXPECT_EQ(DeleteObject(kObject), 0);
    EXPECT_EQ(counting.WaitForEnd(), 0);
    EXPECT_EQ(Count(counting.Output(), "/pps/test/object -@object\n"), 1U);
}

TEST(PpsServerTest, CommandLinesThatAreNoneAreRefusedInOneLine) {
    std::string output;
    for (const std::string program : {"ppsctl", "ppsd", "mcusim", "mculink", "eqctl"}) {
        EXPECT_EQ(RunProgram(program, {"--help"}, output), 0);
        EXPECT_EQ(RunProgram(program, {"--version"}, output), 0);
        EXPECT_EQ(output, program + " 1.0.0\n");
        for (const char* argument : {"nonsense", "--nonsense", "--umask=1000"}) {
            EXPECT_EQ(RunProgram(program, {argument}, output), 1);
            EXPECT_EQ(Count(output, "\n"), 1U) << output;
        }
    }
}

TEST(PpsServerTest, TheTargetsOpenWorksOnLongRoots) {
    const TemporaryRoot root;
    std::string path = root.Path();
    for (int i = 0; i < 8; ++i) {
        path += "/a-rather-long-directory-name";
    }
    std::filesystem::create_directories(path);
    ::setenv("TLG_ROOT", (path + "//").c_str(), 1);
    EXPECT_EQ(host::BelowRoot("/x"), path + "/x");
    const auto ppsd = StartReady("ppsd");
    const UniqueFd object(::open("/pps/test/object?delta", 0x102, 0666));
    ASSERT_TRUE(object);
    char text[64] = {};
    EXPECT_EQ(::read(object.Get(), text, sizeof text), 8);
    EXPECT_STREQ(text, "@object\n");
    EXPECT_LT(::read(object.Get(), text, sizeof text), 0) << "reads do not block";
    EXPECT_EQ(errno, EAGAIN);
    EXPECT_FALSE(UniqueFd(::open("/dir/file", 0x102, 0600))) << "no directory below the root";
    std::filesystem::create_directory(path + "/dir");
    EXPECT_TRUE(UniqueFd(::open("/dir/file", 0x102, 0600)));
    EXPECT_FALSE(UniqueFd(::open("/dir/file", 0x502, 0600))) << "it is there already";
    EXPECT_TRUE(std::filesystem::exists(path + "/dir/file"));
}

} // namespace
