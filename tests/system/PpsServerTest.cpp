// The PPS server and its command line client as others use them.
#include <fcntl.h>

#include <cerrno>

#include "tests/support/Chain.h"

namespace {

constexpr const char* kObject = "/pps/test/object";

int Ctl(const std::vector<std::string>& arguments, std::string& output) {
    return RunProgram("ppsctl", arguments, output);
}

TEST(PpsServerTest, ADeltaSubscriberGetsTheStateThenEveryPublication) {
    const Chain chain;
    ASSERT_TRUE(WriteObject(kObject, "a:n:1\n[n]b::x"));
    const PpsObjectClient delta(std::string(kObject) + "?delta");
    const PpsObjectClient full(kObject);
    EXPECT_EQ(delta.Read(), "@object\na:n:1\n[n]b::x\n");
    EXPECT_EQ(full.Read(), "@object\na:n:1\n[n]b::x\n");
    ASSERT_TRUE(WriteObject(kObject, "a:n:1"));
    ASSERT_TRUE(WriteObject(kObject, "@object\na:n:1\nb::y\n-a"));
    EXPECT_EQ(delta.Read(), "@object\na:n:1\n") << "also an equal value";
    EXPECT_EQ(delta.Read(), "@object\na:n:1\n[n]b::y\n-a\n") << "one write, one group";
    EXPECT_EQ(full.ReadUntil("b::y"), "@object\na:n:1\n[n]b::x\n@object\n[n]b::y\n");
    EXPECT_TRUE(delta.Write("own:n:1"));
    EXPECT_NE(full.ReadUntil("own").find("own:n:1"), std::string::npos);
    EXPECT_TRUE(PpsObjectClient(kObject, 0x302));
    EXPECT_EQ(delta.Read(), "#@object\n") << "not its own write, but that the object was emptied";
    EXPECT_EQ(StateOf(kObject), "@object\n");
}

TEST(PpsServerTest, OpensAndWritesAreRefusedWithAReason) {
    const Chain chain;
    EXPECT_EQ(PpsObjectClient("/pps/none", PpsObjectClient::kReadOnly).Error(), ENOENT);
    EXPECT_EQ(PpsObjectClient("/pps/none", 0x2).Error(), ENOENT);
    EXPECT_EQ(PpsObjectClient("/pps/../etc/passwd").Error(), EINVAL);
    ASSERT_TRUE(WriteObject(kObject, "a:n:1"));
    const PpsObjectClient checked(std::string(kObject) + "?ack");
    EXPECT_TRUE(checked.Write("b:n:1\nbroken"));
    EXPECT_EQ(checked.Read(), "error 22 malformed line 'broken'");
    EXPECT_TRUE(checked.Write("b::" + std::string(70000, 'x')));
    EXPECT_EQ(checked.Read().substr(0, 9), "error 90 ");
    const PpsObjectClient reader(kObject, PpsObjectClient::kReadOnly);
    EXPECT_TRUE(reader.Write("b:n:1"));
    EXPECT_TRUE(chain.ppsd->WaitFor("ppsd: /pps/test/object: write refused: not open for writing"));
    EXPECT_EQ(StateOf(kObject), "@object\na:n:1\n");
}

TEST(PpsServerTest, WhatIsPersistentSurvivesARestart) {
    Chain chain;
    ASSERT_TRUE(WriteObject(kObject, "a:json:{\"x\":\"1:2\"}\n[n]b::x"));
    ASSERT_TRUE(WriteObject("/pps/test/gone?nopersist", "a:n:1"));
    EXPECT_EQ(StateOf("/pps/test/gone"), "@gone\na:n:1\n");
    EXPECT_EQ(chain.ppsd->Stop(SIGINT), 0);
    chain.ppsd = std::make_unique<Process>("ppsd", std::vector<std::string>{"--save", "1"});
    ASSERT_TRUE(chain.ppsd->WaitFor("ppsd: ready\n"));
    EXPECT_EQ(StateOf(kObject), "@object\na:json:{\"x\":\"1:2\"}\n");
    std::string output;
    EXPECT_EQ(Ctl({"list"}, output), 0);
    EXPECT_EQ(output, "/pps/test/object\n");
    EXPECT_EQ(RunProgram("ppsd", {}, output), 1);
    EXPECT_NE(output.find("another server runs there"), std::string::npos) << output;
}

TEST(PpsServerTest, ASlowReaderBlocksNobodyAndGetsTheNewestValues) {
    const Chain chain;
    const PpsObjectClient slow(std::string(kObject) + "?delta");
    const PpsObjectClient writer(std::string(kObject) + "?ack");
    const std::string big(20000, 'x');
    for (int i = 0; i < 200; ++i) {
        EXPECT_TRUE(writer.Write("a:n:" + std::to_string(i) + "\nb::" + big));
        EXPECT_EQ(writer.Read(), "ok");
    }
    EXPECT_TRUE(writer.Write("last::1"));
    EXPECT_EQ(writer.Read(), "ok");
    const std::string text = slow.ReadUntil("last::1");
    EXPECT_NE(text.find("|@object\na:n:199\n"), std::string::npos);
    EXPECT_LT(Count(text, "a:n:"), 100U);
    ASSERT_TRUE(WriteObject(kObject, "after::1"));
    EXPECT_EQ(slow.Read(), "@object\nafter::1\n");
}

TEST(PpsServerTest, TheClientTellsWhatItDoesAndWhyItFails) {
    Chain chain;
    std::string output;
    EXPECT_EQ(Ctl({"write", kObject, "a:n:-1", "b:json:{\"x\": 1}"}, output), 0);
    EXPECT_EQ(Ctl({"write", kObject, "-a", "c::"}, output), 0);
    EXPECT_EQ(Ctl({"read", kObject}, output), 0);
    EXPECT_EQ(output, "@object\nb:json:{\"x\": 1}\nc::\n");
    const std::pair<std::vector<std::string>, std::string> failures[] = {
        {{"read", "/pps/none"}, "ppsctl: /pps/none: No such file or directory\n"},
        {{"read", "/tmp/x"}, "ppsctl: /tmp/x: not an object's path\n"},
        {{"watch", "/pps/none"}, "ppsctl: /pps/none: No such file or directory\n"},
        {{"delete", "/pps/none"}, "ppsctl: /pps/none: No such file or directory\n"},
        {{"write", kObject, "broken"}, "ppsctl: /pps/test/object: malformed line 'broken'\n"},
        {{"write", kObject},
         "ppsctl: write: needs an object and at least one attribute line; see ppsctl write --help\n"}};
    for (const auto& [arguments, message] : failures) {
        EXPECT_EQ(Ctl(arguments, output), 1);
        EXPECT_EQ(output, message);
    }
    EXPECT_EQ(Ctl({"write", "/pps/test/refused", "broken"}, output), 1);
    std::string listed;
    for (int i = 100; i < 400; ++i) {
        const std::string path = "/pps/test/" + std::string(300, 'x') + std::to_string(i);
        ASSERT_TRUE(WriteObject(path, "a::"));
        listed += path + "\n";
    }
    EXPECT_EQ(Ctl({"list"}, output), 0);
    EXPECT_EQ(output, "/pps/test/object\n" + listed) << "all, but none for a refused write";
    EXPECT_EQ(Ctl({"nonsense"}, output), 1);
    EXPECT_EQ(Count(output, "\n"), 1U) << output;
    for (const char* program : {"ppsctl", "ppsd", "mcusim"}) {
        EXPECT_EQ(RunProgram(program, {"--help"}, output), 0);
        EXPECT_EQ(RunProgram(program, {"--version"}, output), 0);
        EXPECT_EQ(output, std::string(program) + " 1.0.0\n");
        EXPECT_EQ(RunProgram(program, {"--nonsense"}, output), 1) << output;
        EXPECT_EQ(Count(output, "\n"), 1U) << output;
    }
    Process watch("ppsctl", {"watch", kObject});
    ASSERT_TRUE(watch.WaitFor("c::\n"));
    EXPECT_EQ(Ctl({"write", kObject, "d:n:1"}, output), 0);
    ASSERT_TRUE(watch.WaitFor("@object\nd:n:1\n"));
    EXPECT_EQ(watch.Stop(SIGINT), 0);
    Process orphan("ppsctl", {"watch", kObject});
    ASSERT_TRUE(orphan.WaitFor("d:n:1\n"));
    EXPECT_EQ(chain.ppsd->Stop(SIGTERM), 0);
    EXPECT_EQ(orphan.WaitForEnd(), 1);
    EXPECT_EQ(Ctl({"list"}, output), 1);
    EXPECT_NE(output.find("no PPS server at "), std::string::npos) << output;
}

TEST(PpsServerTest, TheTargetsOpenWorksOnLongRoots) {
    const TemporaryRoot root;
    std::string path = root.Path();
    for (int i = 0; i < 8; ++i) {
        path += "/a-rather-long-directory-name";
    }
    std::filesystem::create_directories(path);
    ::setenv("TLG_ROOT", path.c_str(), 1);
    Process ppsd("ppsd");
    ASSERT_TRUE(ppsd.WaitFor("ppsd: ready\n"));
    const UniqueFd object(::open("/pps/test/object?delta", 0x102, 0666));
    ASSERT_TRUE(object);
    char text[64] = {};
    EXPECT_EQ(::read(object.Get(), text, sizeof text), 8);
    EXPECT_STREQ(text, "@object\n");
    EXPECT_LT(::read(object.Get(), text, sizeof text), 0) << "reads do not block";
    EXPECT_EQ(errno, EAGAIN);
    const UniqueFd file(::open("/dir/file", 0x102, 0600));
    EXPECT_FALSE(file) << "no directory below the root";
    std::filesystem::create_directory(path + "/dir");
    const UniqueFd made(::open("/dir/file", 0x102, 0600));
    EXPECT_TRUE(made);
    EXPECT_TRUE(std::filesystem::exists(path + "/dir/file"));
}

} // namespace
