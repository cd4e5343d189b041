// What the PPS server lets whom do, and how much of it, without sockets. That backlogs stay within their bounds, and
// that a request happens whole or not at all where memory runs out, is what the corpus of its fuzzer checks.
#include <gtest/gtest.h>

#include <cerrno>
#include <cstring>

#include "tests/support/BrokerClient.h"

namespace {

constexpr uid_t kOwn = 100;
constexpr uid_t kAnna = 1000;
constexpr uid_t kBert = 1001;
constexpr ppsd::Limits kSmall{{{2, 6, 2}, {20000, 200000, 4000}, {3, 100, 5}, {5000, 50000, 5000}}};

std::string g_reported;

struct BrokerTest : testing::Test {
    ppsd::Broker broker{kSmall, kOwn, 027, [](std::string_view, std::string_view text) noexcept { g_reported = text; }};

    /// The answer to the user's one request.
    std::string Ask(uid_t user, const std::string& request, const std::vector<gid_t>& groups = {}) {
        return BrokerClient(broker, user, groups).Ask(request);
    }
    std::string StateOf(const std::string& path) { return broker.Tree().Find(path)->object.State(); }
    /// Makes an object that everybody may read and write, whatever the umask.
    void MakeShared() {
        ASSERT_EQ(Ask(0, "open 258 666 /pps/a"), "ok");
        broker.Tree().Find("/pps/a")->permissions.mode = 0666;
    }
    std::string PersistentState() {
        std::string text;
        broker.Tree().Find("/pps/a")->object.AppendPersistentState(text);
        return text;
    }
};

std::string Error(int number) {
    return "error " + std::to_string(number) + " " + std::strerror(number);
}

TEST_F(BrokerTest, AnObjectIsAFileToItsOwnerItsGroupAndOthers) {
    ASSERT_EQ(Ask(kAnna, "open 258 777 /pps/a"), "ok") << "750 after the umask";
    ASSERT_EQ(Ask(kAnna, "open 258 206 /pps/b"), "ok") << "200 after the umask";
    const struct {
        std::vector<gid_t> groups;
        std::string request;
        uid_t user;
        int error;
    } cases[] = {{{}, "open 2 0 /pps/a", kAnna, 0},
                 {{}, "open 0 0 /pps/b", kAnna, EACCES},
                 {{}, "open 1 0 /pps/b", kAnna, 0},
                 {{kAnna}, "open 0 0 /pps/a", kBert, 0},
                 {{7, kAnna}, "open 258 777 /pps/a", kBert, EACCES},
                 {{kAnna}, "open 512 0 /pps/a", kBert, EACCES},
                 {{}, "open 0 0 /pps/a", kBert, EACCES},
                 {{}, "open 1 0 /pps/b", kBert, EACCES},
                 {{}, "open 1 0 /pps/a", kOwn, EACCES},
                 {{}, "open 514 0 /pps/b", 0, 0},
                 {{}, "open 1282 600 /pps/a", kAnna, EEXIST},
                 {{kAnna}, "delete /pps/a", kBert, EACCES},
                 {{}, "delete /pps/a", kAnna, 0},
                 {{}, "delete /pps/b", 0, 0}};
    for (const auto& [groups, request, user, error] : cases) {
        EXPECT_EQ(Ask(user, request, groups), error == 0 ? "ok" : Error(error)) << user << " " << request;
    }
}

TEST_F(BrokerTest, RequestsThatDoNotParseAreRefused) {
    const std::string flags = "open flags that don't parse";
    const std::string noFlags = "open flags that mean nothing: ";
    const std::string mode = "an open mode that doesn't parse";
    const std::pair<std::string, std::string> cases[] = {{"open x 0 /pps/a", flags},
                                                         {"open -1 0 /pps/a", flags},
                                                         {"open 2x 0 /pps/a", flags},
                                                         {"open 99999999999 0 /pps/a", flags},
                                                         {"open 258", flags},
                                                         {"open 259 666 /pps/a", noFlags + "259"},
                                                         {"open 4096 666 /pps/a", noFlags + "4096"},
                                                         {"open 258 /pps/a", mode},
                                                         {"open 258 688 /pps/a", mode},
                                                         {"open 258 10000 /pps/a", mode},
                                                         {"open 258 666 /etc/passwd", "not an object's path"}};
    for (const auto& [request, reason] : cases) {
        EXPECT_EQ(Ask(0, request), "error 22 " + reason) << request;
    }
    EXPECT_EQ(Ask(0, "open 258 666 /pps/" + std::string(5000, 'a')), "error 90 too long a request");
    EXPECT_EQ(Ask(0, "open 0 0 /pps/none"), Error(ENOENT));
    EXPECT_EQ(Ask(0, "open 2 0 /pps/none"), Error(ENOENT));
}

TEST_F(BrokerTest, WritesAreRefusedWithAReason) {
    MakeShared();
    BrokerClient checked(broker, kAnna);
    ASSERT_EQ(checked.Ask("open 2 0 /pps/a?ack"), "ok");
    EXPECT_EQ(checked.Ask("b:n:1\nbroken" + std::string(100, '!')),
              "error 22 malformed line 'broken" + std::string(54, '!') + "...'");
    EXPECT_EQ(checked.Ask("b::" + std::string(70000, 'x')).substr(0, 9), "error 90 ");
    BrokerClient reader(broker, kAnna);
    ASSERT_EQ(reader.Ask("open 0 0 /pps/a"), "ok");
    reader.Write("b:n:1");
    EXPECT_EQ(g_reported, "write refused: not open for writing");
    EXPECT_EQ(StateOf("/pps/a"), "@a\n");
}

TEST_F(BrokerTest, AnObjectMadeAgainByAnotherIsNotToldToThoseWhoHadItButStaysNotPersistentForThem) {
    MakeShared();
    BrokerClient reader(broker, kBert);
    BrokerClient writer(broker, kBert);
    BrokerClient service(broker, 0);
    ASSERT_EQ(reader.Ask("open 0 0 /pps/a?delta,nopersist"), "ok");
    EXPECT_EQ(PersistentState(), "@a\n") << "a reader does not decide about that";
    ASSERT_EQ(writer.Ask("open 2 0 /pps/a?ack"), "ok");
    ASSERT_EQ(service.Ask("open 1 0 /pps/a?nopersist"), "ok");
    ASSERT_EQ(Ask(0, "delete /pps/a"), "ok");
    BrokerClient anna(broker, kAnna);
    ASSERT_EQ(anna.Ask("open 258 600 /pps/a?ack"), "ok");
    EXPECT_EQ(anna.Ask("secret::1"), "ok");
    EXPECT_EQ(reader.received, (std::vector<std::string>{"ok", "@a\n", "-@a\n"}));
    EXPECT_EQ(writer.Ask("a::1"), Error(EACCES));
    EXPECT_EQ(StateOf("/pps/a"), "@a\nsecret::1\n");
    EXPECT_EQ(PersistentState(), "");
    service.Leave();
    ASSERT_EQ(Ask(0, "delete /pps/a"), "ok");
    MakeShared();
    EXPECT_EQ(PersistentState(), "@a\n") << "nobody asks for it any more";
}

TEST_F(BrokerTest, EachUserIsBoundedAndRootHasAReserve) {
    const std::string noRoom = "error 28 the user has too many objects, or too large ones";
    EXPECT_EQ(Ask(kAnna, "open 258 600 /pps/a1"), "ok");
    BrokerClient anna(broker, kAnna);
    ASSERT_EQ(anna.Ask("open 258 600 /pps/a2?ack"), "ok") << "not yet made";
    EXPECT_EQ(Ask(kAnna, "open 258 600 /pps/a3"), "ok");
    EXPECT_EQ(anna.Ask("x::1"), noRoom);
    EXPECT_EQ(Ask(kAnna, "delete /pps/a3"), "ok");
    EXPECT_EQ(anna.Ask("x::1"), "ok");
    EXPECT_EQ(anna.Ask("x::" + std::string(20000, 'x')), "error 28 more than the object or its owner may hold");
    EXPECT_EQ(anna.Ask("x::" + std::string(10500, 'x')), "ok");
    EXPECT_EQ(anna.Ask("y::" + std::string(10500, 'x')), "error 28 more than the object or its owner may hold");
    EXPECT_EQ(anna.Ask("-x\ny::" + std::string(10500, 'x')), "ok");
    EXPECT_EQ(Ask(kBert, "open 258 600 /pps/b1"), "ok");
    EXPECT_EQ(Ask(kBert, "open 258 600 /pps/b2"), "ok");
    EXPECT_EQ(Ask(1002, "open 258 600 /pps/c1"), noRoom) << "the rest is the reserve";
    EXPECT_EQ(Ask(0, "open 258 600 /pps/r1"), "ok");
    EXPECT_EQ(Ask(kOwn, "open 258 600 /pps/r2"), "ok");
    EXPECT_EQ(Ask(0, "open 258 600 /pps/r3"), noRoom);
    EXPECT_EQ(ppsd::Quota(ppsd::LimitsWith(100), kOwn).Room(kAnna, ppsd::Bound::Connections), 63U);
    const BrokerClient second(broker, kAnna);
    const BrokerClient third(broker, kAnna);
    EXPECT_TRUE(third.IsIn());
    EXPECT_FALSE(BrokerClient(broker, kAnna).IsIn());
    EXPECT_TRUE(BrokerClient(broker, kBert).IsIn());
}

} // namespace
