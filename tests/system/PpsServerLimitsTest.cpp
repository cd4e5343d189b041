// What the PPS server stands: other users, greedy clients, and a system that runs out of room.
#include <fcntl.h>
#include <sys/socket.h>
#include <sys/syscall.h>

#include <cerrno>

#include "platform/host/Root.h"
#include "platform/host/UnixSocket.h"
#include "tests/support/Chain.h"

namespace {

constexpr const char* kObject = "/pps/test/object";
constexpr uid_t kNobody = 65534;

/// Runs @p act as another user, on a thread whose credentials alone are changed; false where that is not allowed.
template <typename Act>
bool AsUser(uid_t user, Act act) {
    bool isAllowed = false;
    std::thread([&] {
        isAllowed = ::syscall(SYS_setgroups, 0, nullptr) == 0 && ::syscall(SYS_setresgid, -1, user, -1) == 0 &&
                    ::syscall(SYS_setresuid, -1, user, -1) == 0;
        if (isAllowed) {
            act();
        }
    }).join();
    return isAllowed;
}

std::string Content(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

TEST(PpsServerLimitsTest, OtherUsersHaveTheirOwnObjectsAndConnections) {
    if (!AsUser(kNobody, [] {})) {
        GTEST_SKIP() << "needs the right to become another user, which root has";
    }
    const TemporaryRoot root;
    std::filesystem::permissions(root.Path(), std::filesystem::perms(0755));
    const mode_t former = ::umask(077); // which is not for what others need of the server
    auto server = StartReady("ppsd", {"--umask", "022"});
    ::umask(former);
    ASSERT_TRUE(WriteObject(kObject, "a::1"));
    AsUser(kNobody, [] {
        EXPECT_EQ(StateOf(kObject), "@object\na::1\n");
        EXPECT_EQ(PpsObjectClient(kObject, PpsObjectClient::kCreate).Error(), EACCES);
        EXPECT_EQ(DeleteObject(kObject), EACCES);
        const UniqueFd mine(::open("/pps/test/mine", 0x102, 0600));
        EXPECT_TRUE(mine);
        std::vector<PpsObjectClient> many;
        while (many.emplace_back("/pps/test/mine", PpsObjectClient::kReadOnly)) {
            ASSERT_LT(many.size(), 1000U);
        }
        EXPECT_EQ(many.back().Error(), ENOSPC);
        EXPECT_EQ(many.size(), 256U);
        EXPECT_EQ(::open("/run/.ppsd.lock", 0), -1) << "who can open it could lock it";
    });
    AsUser(kNobody - 1, [] { EXPECT_EQ(PpsObjectClient("/pps/test/mine", 0).Error(), EACCES); });
    EXPECT_EQ(server->Stop(SIGTERM), 0);
    server = StartReady("ppsd");
    AsUser(kNobody - 1, [] { EXPECT_EQ(PpsObjectClient("/pps/test/mine", 0).Error(), EACCES) << "after a restart"; });
    AsUser(kNobody, [] { EXPECT_EQ(StateOf("/pps/test/mine"), "@mine\n"); });
}

TEST(PpsServerLimitsTest, WhatIsInTheWayOfTheServerStaysAndIsNamed) {
    for (const auto& [made, complaint] :
         {std::pair("/run/ppsd", "cannot listen at "), {"/var/pps/objects/other", "/var/pps/objects: not a file\n"}}) {
        const TemporaryRoot root;
        root.WriteFile(made, "");
        std::string output;
        EXPECT_EQ(RunProgram("ppsd", {}, output), 1);
        EXPECT_NE(output.find(complaint), std::string::npos) << output;
        EXPECT_TRUE(std::filesystem::is_regular_file(root.Path() + made));
    }
}

TEST(PpsServerLimitsTest, SavingAndLoadingFollowNoLinkAndAFullDiskLeavesTheFormerFile) {
    const TemporaryRoot root;
    const std::string victim = root.Path() + "/victim";
    const std::string saved = root.Path() + "/var/pps/objects";
    root.WriteFile("/victim", "/pps/stolen\n@stolen\n");
    root.WriteFile("/var/pps/other", "");
    std::filesystem::create_symlink(victim, saved);
    std::filesystem::create_symlink(victim, saved + ".new");
    auto server = StartReady("ppsd");
    ASSERT_TRUE(WriteObject(kObject, "a::1"));
    EXPECT_EQ(server->Stop(SIGTERM), 0);
    EXPECT_EQ(Content(victim), "/pps/stolen\n@stolen\n");
    EXPECT_EQ(std::filesystem::symlink_status(saved).permissions(), std::filesystem::perms(0600)) << "no link either";
    std::ofstream(saved, std::ios::app) << "bro\x1b[31mken\n";
    const std::string before = Content(saved);
    server = StartReady("ppsd");
    server->Limit(RLIMIT_FSIZE, 4096);
    EXPECT_EQ(StateOf(kObject), "@object\na::1\n");
    EXPECT_NE(PpsObjectClient("/pps/stolen", 0).Error(), 0);
    ASSERT_TRUE(WriteObject(kObject, "a::" + std::string(10000, 'x')));
    EXPECT_EQ(server->Stop(SIGTERM), 1);
    EXPECT_EQ(server->Output(), "ppsd: " + saved + ": line 4: malformed line 'bro?[31mken'\nppsd: ready\nppsd: " +
                                    saved + ": cannot save the objects: File too large\n");
    EXPECT_EQ(Content(saved), before);
    EXPECT_FALSE(std::filesystem::exists(saved + ".new"));
}

TEST(PpsServerLimitsTest, WithoutDescriptorsNewcomersWaitAndClientsAreServed) {
#ifdef __SANITIZE_ADDRESS__
    GTEST_SKIP() << "the sanitizer's checks of types need a descriptor";
#endif
    const TemporaryRoot root;
    const auto server = StartReady("ppsd", {"--save", "1"});
    server->Limit(RLIMIT_NOFILE, 16);
    const PpsObjectClient client(std::string(kObject) + "?ack");
    std::vector<UniqueFd> newcomers;
    for (int i = 0; i < 30; ++i) {
        newcomers.push_back(host::ConnectTo(host::BelowRoot(host::kPpsSocket)));
        const std::string request = host::RenderOpen(PpsObjectClient::kCreate, 0600, kObject);
        EXPECT_GT(::send(newcomers.back().Get(), request.data(), request.size(), MSG_NOSIGNAL), 0);
    }
    ASSERT_TRUE(server->WaitFor("accept: Too many open files"));
    const std::string saved = root.Path() + "/var/pps/objects";
    EXPECT_TRUE(WaitUntil("it has saved with descriptors of its own", [&] {
        EXPECT_TRUE(client.Write("a::1"));
        EXPECT_EQ(client.Read(), "ok");
        return Content(saved).find("a::1") != std::string::npos;
    }));
    for (UniqueFd& newcomer : newcomers) {
        pollfd answer{newcomer.Get(), POLLIN, 0};
        std::string text;
        ASSERT_TRUE(::poll(&answer, 1, kTestTimeoutMs) == 1 && host::ReceivePacket(newcomer.Get(), text));
        EXPECT_EQ(text, "ok");
        newcomer.Reset();
    }
    EXPECT_EQ(server->Stop(SIGTERM), 0);
    EXPECT_LE(Count(server->Output(), "Too many open files"), 30U);
}

TEST(PpsServerLimitsTest, WithoutMemoryClientsAreRefusedAndTheServerGoesOn) {
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
    GTEST_SKIP() << "a sanitizer needs more address space than there is memory";
#endif
    const TemporaryRoot root;
    const auto server = StartReady("ppsd");
    server->Limit(RLIMIT_AS, 40U << 20U);
    const PpsObjectClient reader("/pps/test/0?delta");
    std::string lines;
    for (int i = 0; lines.size() < 60000; ++i) {
        lines += "attribute" + std::to_string(i) + "::" + std::string(20, 'x') + "\n";
    }
    int made = 0;
    while (made < 1000 && WriteObject("/pps/test/" + std::to_string(made), lines)) {
        ++made;
    }
    EXPECT_GT(made, 5);
    EXPECT_LT(made, 1000);
    for (int i = 0; i < made; ++i) {
        EXPECT_EQ(DeleteObject("/pps/test/" + std::to_string(i)), 0);
    }
    EXPECT_TRUE(WriteObject("/pps/test/0", "after::1"));
    EXPECT_TRUE(reader.Hears("after::1\n"));
    EXPECT_EQ(server->Stop(SIGTERM), 0);
}

TEST(PpsServerLimitsTest, WhoWritesMuchWaitsForOthersToHaveTheirTurn) {
    const Chain chain;
    const PpsObjectClient observer(std::string(kObject) + "?delta");
    const PpsObjectClient busy(kObject);
    const PpsObjectClient other(kObject);
    EXPECT_EQ(observer.Read(), "@object\n");
    const int room = 200000;
    ASSERT_EQ(::setsockopt(busy.Fd(), SOL_SOCKET, SO_SNDBUF, &room, sizeof room), 0);
    std::string large;
    while (large.size() < 16000) {
        large += "-no_such_attribute\n";
    }
    // The server finds all of it at once.
    chain.ppsd->Signal(SIGSTOP);
    for (int i = 1; i <= 20; ++i) {
        ASSERT_TRUE(busy.Write(large + "busy::" + std::to_string(i))) << i;
    }
    ASSERT_TRUE(other.Write("other::1"));
    chain.ppsd->Signal(SIGCONT);
    const std::string order = observer.ReadUntil("busy::20\n");
    EXPECT_LT(order.find("other::1\n"), order.find("busy::6\n"));
}

} // namespace
