// What the PPS server lets whom do, and how much of it, without sockets.
#include <gtest/gtest.h>

#include <cerrno>
#include <cstring>
#include <memory>

#include "tests/support/BrokerClient.h"

namespace {

constexpr uid_t kOwn = 100;
constexpr uid_t kAnna = 1000;
constexpr uid_t kBert = 1001;
constexpr ppsd::Limits kSmall{{{2, 6, 2}, {20000, 200000, 4000}, {3, 100, 5}, {5000, 50000, 5000}}};

struct BrokerTest : testing::Test {
    ppsd::Broker broker{kSmall, kOwn, 027, [](std::string_view, std::string_view) noexcept {}};

    /// The answer to the user's one request.
    std::string Ask(uid_t user, const std::string& request, const std::vector<gid_t>& groups = {}) {
        return BrokerClient(broker, user, groups).Ask(request);
    }
    std::string StateOf(const std::string& path) { return broker.Tree().Find(path)->object.State(); }
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
    const std::string mode = "an open mode that doesn't parse";
    const std::pair<std::string, std::string> cases[] = {{"open x 0 /pps/a", flags},
                                                         {"open -1 0 /pps/a", flags},
                                                         {"open 2x 0 /pps/a", flags},
                                                         {"open 99999999999 0 /pps/a", flags},
                                                         {"open 258", flags},
                                                         {"open 259 666 /pps/a", "open flags that mean nothing: 259"},
                                                         {"open 4096 666 /pps/a", "open flags that mean nothing: 4096"},
                                                         {"open 258 /pps/a", mode},
                                                         {"open 258 688 /pps/a", mode},
                                                         {"open 258 10000 /pps/a", mode},
                                                         {"open 258 666 /etc/passwd", "not an object's path"}};
    for (const auto& [request, reason] : cases) {
        EXPECT_EQ(Ask(0, request), "error 22 " + reason) << request;
    }
    EXPECT_EQ(Ask(0, "open 258 666 /pps/" + std::string(5000, 'a')), "error 90 too long a request");
}

TEST_F(BrokerTest, AnObjectMadeAgainByAnotherIsNotToldToThoseWhoHadIt) {
    BrokerClient reader(broker, kBert);
    BrokerClient writer(broker, kBert);
    ASSERT_EQ(Ask(0, "open 258 666 /pps/a"), "ok");
    broker.Tree().Find("/pps/a")->permissions.mode = 0666;
    ASSERT_EQ(reader.Ask("open 0 0 /pps/a?delta"), "ok");
    ASSERT_EQ(writer.Ask("open 2 0 /pps/a?ack"), "ok");
    ASSERT_EQ(Ask(0, "delete /pps/a"), "ok");
    BrokerClient anna(broker, kAnna);
    ASSERT_EQ(anna.Ask("open 258 600 /pps/a?ack"), "ok");
    EXPECT_EQ(anna.Ask("secret::1"), "ok");
    EXPECT_EQ(reader.received, (std::vector<std::string>{"ok", "@a\n", "-@a\n"}));
    EXPECT_EQ(writer.Ask("a::1"), Error(EACCES));
    EXPECT_EQ(StateOf("/pps/a"), "@a\nsecret::1\n");
}

TEST_F(BrokerTest, AnObjectMadeAgainByAnotherStaysNotPersistentForWhoeverHasItOpenSo) {
    BrokerClient service(broker, kAnna);
    ASSERT_EQ(service.Ask("open 770 666 /pps/a?nopersist"), "ok");
    ASSERT_EQ(Ask(kAnna, "delete /pps/a"), "ok");
    BrokerClient other(broker, kAnna);
    ASSERT_EQ(other.Ask("open 258 666 /pps/a?ack"), "ok");
    ASSERT_EQ(other.Ask("step::1"), "ok");
    std::string saved;
    broker.Tree().Find("/pps/a")->object.AppendPersistentState(saved);
    EXPECT_EQ(saved, "");
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
    const BrokerClient second(broker, kAnna);
    const BrokerClient third(broker, kAnna);
    EXPECT_TRUE(third.IsIn());
    EXPECT_FALSE(BrokerClient(broker, kAnna).IsIn());
    EXPECT_TRUE(BrokerClient(broker, kBert).IsIn());
}

TEST_F(BrokerTest, BacklogsOfAUserStayWithinItsShare) {
    ASSERT_EQ(Ask(0, "open 258 666 /pps/a"), "ok");
    broker.Tree().Find("/pps/a")->permissions.mode = 0666;
    std::vector<std::unique_ptr<BrokerClient>> readers;
    for (const char* options : {"?delta", "?delta", ""}) {
        readers.push_back(std::make_unique<BrokerClient>(broker, kAnna));
        ASSERT_EQ(readers.back()->Ask(std::string("open 0 0 /pps/a") + options), "ok");
        readers.back()->MakeRoom(0);
    }
    BrokerClient writer(broker, kBert);
    ASSERT_EQ(writer.Ask("open 1 0 /pps/a"), "ok");
    for (int i = 0; i < 300; ++i) {
        writer.Write("n" + std::to_string(i % 50) + "::" + std::to_string(i));
        EXPECT_LE(broker.Usage().Total(ppsd::Bound::Backlog), 5000U);
    }
    for (const auto& reader : readers) {
        reader->MakeRoom(100000);
        EXPECT_NE(reader->received.back().find("\nn49::299\n"), std::string::npos) << reader->received.back();
    }
    EXPECT_EQ(broker.Usage().Total(ppsd::Bound::Backlog), 0U);
}

TEST_F(BrokerTest, WithoutMemoryARequestHappensWholeOrNotAtAll) {
    const std::string write = "a_name_that_is_long::" + std::string(50, 'a') + "\nb::" + std::string(50, 'b');
    bool hasFailed = true;
    for (int allocations = 0; hasFailed; ++allocations) {
        ASSERT_LT(allocations, 200);
        BrokerClient reader(broker, 0);
        BrokerClient creator(broker, 0);
        BrokerClient writer(broker, 0);
        ASSERT_EQ(reader.Ask("open 256 666 /pps/a?delta"), "ok");
        ASSERT_EQ(writer.Ask("open 2 0 /pps/a?ack"), "ok");
        {
            const FailingMemory failing(allocations);
            writer.Write(write);
            hasFailed = FailingMemory::HasFailed();
        }
        {
            const FailingMemory failing(allocations);
            creator.Write("open 258 666 /pps/new");
        }
        const std::string state = StateOf("/pps/a");
        const std::string whole = "@a\n" + write + "\n";
        EXPECT_TRUE(state == "@a\n" || state == whole) << state;
        const std::string& told = reader.received.back();
        EXPECT_TRUE(state != whole || told == whole || told == "#@a\n" + whole) << told;
        creator.Leave();
        const ppsd::Node* made = broker.Tree().Find("/pps/new");
        EXPECT_TRUE(made == nullptr || made->exists) << "no node that is neither an object nor open";
        EXPECT_EQ(Ask(0, "delete /pps/a"), "ok");
        if (made != nullptr) {
            EXPECT_EQ(Ask(0, "delete /pps/new"), "ok");
        }
    }
    EXPECT_EQ(broker.Usage().Total(ppsd::Bound::Objects), 0U);
    EXPECT_EQ(broker.Usage().Total(ppsd::Bound::Bytes), 0U);
}

} // namespace
