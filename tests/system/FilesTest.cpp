// The server's objects as files of a mounted ppsfs: what a shell and a program see, and what is left after each end.
#include <fcntl.h>
#include <poll.h>
#include <sys/epoll.h>
#include <sys/stat.h>
#include <sys/time.h>
#include <sys/uio.h>

#include <cstring>
#include <fstream>

#include "tests/support/Chain.h"
#include "tests/support/Patience.h"

namespace {

bool IsFuseThere() {
    return ::access("/dev/fuse", R_OK | W_OK) == 0;
}

constexpr const char* kSkipped = "skipped: no /dev/fuse";

/// Where the whole chain is to run on files, and can't, no test says anything.
class NeedsFuse : public testing::Environment {
    void SetUp() override {
        if (AreObjectsFiles() && !IsFuseThere()) {
            GTEST_SKIP() << kSkipped;
        }
    }
};
[[maybe_unused]] testing::Environment* const g_needsFuse = testing::AddGlobalTestEnvironment(new NeedsFuse);

/// A server whose objects are mounted.
class FilesTest : public testing::Test {
protected:
    void SetUp() override {
        if (!IsFuseThere()) {
            GTEST_SKIP() << kSkipped;
        }
        chain = std::make_unique<Chain>();
        if (!chain->mounted) {
            chain->mounted = std::make_unique<MountedObjects>();
        }
    }

    std::string PathOf(const std::string& object) const { return chain->root.Path() + "/pps/" + object; }

    /// Opens a file with Linux's flags; the descriptor, or minus an errno number.
    int Open(const std::string& object, int flags) const {
        const int fd = ::openat(AT_FDCWD, PathOf(object).c_str(), flags | O_CLOEXEC, 0666);
        return fd < 0 ? -errno : fd;
    }

    std::unique_ptr<Chain> chain;
};

/// What one read returns, or the error's text.
std::string ReadOnce(int fd, std::size_t size = 4096) {
    std::string text(size, '\0');
    const ssize_t length = ::read(fd, text.data(), size);
    return length < 0 ? std::strerror(errno) : text.substr(0, static_cast<std::size_t>(length));
}

int WriteOnce(int fd, const std::string& text) {
    return ::write(fd, text.data(), text.size()) == static_cast<ssize_t>(text.size()) ? 0 : errno;
}

short EventsOf(int fd, int timeoutMs = 0) {
    pollfd state{fd, POLLIN | POLLOUT, 0};
    return ::poll(&state, 1, timeoutMs) < 0 ? short{-1} : state.revents;
}

TEST_F(FilesTest, ThePagesShellLinesDoWhatItSays) {
    chain->StartMcu();
    chain->StartService();
    std::ifstream page(TLG_SOURCE_DIR "/docs/files.md");
    std::string script = "cd $TLG_ROOT/pps/tolvyn/eq; set +o history\n";
    std::string expected;
    bool isShown = false;
    for (std::string line; std::getline(page, line);) {
        if (line.substr(0, 3) == "```") {
            isShown = line == "```console";
        } else if (isShown && line.substr(0, 2) == "$ ") {
            script += "cat << 'SHOWN'\n" + line + "\nSHOWN\n" + line.substr(2) + "\n";
            expected += line + "\n";
        } else if (isShown) {
            expected += line + "\n";
        }
    }
    std::string output;
    RunProgram("/bin/bash", {"-c", script}, output);
    // In a script the shell also names the line.
    const std::string place = "/bin/bash: line ";
    for (std::size_t at = 0; (at = output.find(place)) != std::string::npos;) {
        output.replace(at, output.find(':', at + place.size()) - at, "bash");
    }
    EXPECT_EQ(output, expected);
    chain->StopService();
}

TEST_F(FilesTest, ReadsWaitPollAndGoOnAsTheTableSays) {
    const UniqueFd writer(Open("a", O_RDWR | O_CREAT));
    ASSERT_EQ(WriteOnce(writer.Get(), "a:n:1\n"), 0);
    EXPECT_EQ(EventsOf(writer.Get()), POLLOUT | POLLIN) << "the state, which is not read yet";
    for (const char* options : {"", "?delta", "?delta,wait"}) {
        SCOPED_TRACE(options);
        const bool isDelta = options[0] != '\0';
        const UniqueFd reader(Open(std::string("a") + options, O_RDONLY | O_NONBLOCK));
        EXPECT_EQ(EventsOf(reader.Get()), POLLOUT | POLLIN);
        EXPECT_EQ(ReadOnce(reader.Get(), 3), "@a\n") << "a small buffer gets the rest with the next read";
        EXPECT_EQ(EventsOf(reader.Get()), POLLOUT | POLLIN);
        EXPECT_EQ(ReadOnce(reader.Get()), "a:n:1\n");
        EXPECT_EQ(ReadOnce(reader.Get()), std::strerror(EAGAIN));
        EXPECT_EQ(EventsOf(reader.Get()), POLLOUT);
        UniqueFd epoll(::epoll_create1(EPOLL_CLOEXEC));
        epoll_event event{};
        event.events = EPOLLIN;
        ::epoll_ctl(epoll.Get(), EPOLL_CTL_ADD, reader.Get(), &event);
        EXPECT_EQ(::epoll_wait(epoll.Get(), &event, 1, 0), 0);
        EXPECT_EQ(WriteOnce(writer.Get(), "a:n:2\n"), 0);
        EXPECT_EQ(WriteOnce(writer.Get(), "a:n:1\n"), 0);
        EXPECT_EQ(::epoll_wait(epoll.Get(), &event, 1, kTestTimeoutMs), 1);
        EXPECT_EQ(ReadOnce(reader.Get()), isDelta ? "@a\na:n:2\n" : "@a\na:n:1\n");
        EXPECT_EQ(ReadOnce(reader.Get()), isDelta ? "@a\na:n:1\n" : std::strerror(EAGAIN));
        ::fcntl(reader.Get(), F_SETFL, 0);
        if (std::string(options).find("wait") == std::string::npos) {
            EXPECT_EQ(ReadOnce(reader.Get()), "") << "the end, as far as it goes now";
        }
        EXPECT_EQ(::lseek(reader.Get(), 0, SEEK_SET), 0);
        ::fcntl(reader.Get(), F_SETFL, O_NONBLOCK);
        EXPECT_EQ(ReadOnce(reader.Get()), isDelta ? std::strerror(EAGAIN) : "@a\na:n:1\n");
    }
    EXPECT_EQ(ReadOnce(writer.Get()), "@a\na:n:1\n");
    EXPECT_EQ(ReadOnce(writer.Get()), "") << "a client does not get its own writes back";
}

TEST_F(FilesTest, BadNamesAreRefused) {
    const UniqueFd object(Open("a", O_RDWR | O_CREAT));
    const std::pair<std::string, int> names[] = {{"b c", EINVAL},
                                                 {"b,c", EINVAL},
                                                 {".b", EINVAL},
                                                 {"b\n", EINVAL},
                                                 {"none/b", ENOENT},
                                                 {"a/b", ENOTDIR},
                                                 {"../pps/a/..", ENOTDIR},
                                                 {"?delta", EINVAL},
                                                 {std::string(256, 'b'), ENAMETOOLONG},
                                                 {std::string(5000, 'b'), ENAMETOOLONG}};
    for (const auto& [name, error] : names) {
        EXPECT_EQ(Open(name, O_RDWR | O_CREAT), -error) << name;
    }
    for (const std::string& name : {std::string(255, 'b'), std::string("c?unknown,,f=,f=++")}) {
        EXPECT_GE(UniqueFd(Open(name, O_RDWR | O_CREAT)).Get(), 0) << name;
    }
    EXPECT_EQ(Open("a", O_RDWR | O_CREAT | O_EXCL), -EEXIST);
    EXPECT_EQ(::rename(PathOf("a").c_str(), PathOf("b").c_str()), -1);
    // A directory in the place of a file that is open.
    EXPECT_EQ(::unlink(PathOf("a").c_str()), 0);
    EXPECT_EQ(::mkdir(PathOf("a").c_str(), 0777), 0);
    EXPECT_EQ(ReadOnce(object.Get()), "-@a\n");
    EXPECT_EQ(::rmdir(PathOf("a").c_str()), 0);
}

TEST_F(FilesTest, BadWritesAreRefusedWholeAndChangeNothing) {
    const UniqueFd object(Open("a", O_RDWR | O_CREAT));
    ASSERT_EQ(WriteOnce(object.Get(), "a:n:1\n"), 0);
    const std::pair<std::string, int> writes[] = {{"", 0},
                                                  {"b", EINVAL},
                                                  {"a:n:2\nb", EINVAL},
                                                  {"b::" + std::string(65536 - 3, 'x'), 0},
                                                  {"c::" + std::string(65537 - 3, 'x'), EMSGSIZE},
                                                  {"c::" + std::string(1 << 20, 'x'), EMSGSIZE}};
    for (const auto& [text, error] : writes) {
        EXPECT_EQ(WriteOnce(object.Get(), text), error) << text.substr(0, 9) << text.size();
    }
    std::string line = "a:n:2\n";
    std::string bad = "bad\n";
    std::vector<iovec> pieces(200, {line.data(), line.size()});
    pieces.back() = {bad.data(), bad.size()};
    EXPECT_EQ(::writev(object.Get(), pieces.data(), static_cast<int>(pieces.size())), -1);
    EXPECT_EQ(StateOf("/pps/a").substr(0, 9) + "...", "@a\na:n:1\n...");
    EXPECT_TRUE(chain->ppsd->WaitFor("/pps/a: write refused: malformed line 'b'", 2));
    const UniqueFd whole(Open("a?f=b", O_RDONLY));
    EXPECT_EQ(ReadOnce(whole.Get(), 1 << 20).size(), 3U + 65536U + 1U) << "one read returns the whole text";
    struct stat status {};
    EXPECT_EQ(::fstat(whole.Get(), &status), 0);
    EXPECT_EQ(status.st_size, 9 + 65537);
    EXPECT_EQ(::ftruncate(object.Get(), 1), -1);
    EXPECT_EQ(::ftruncate(object.Get(), 0), 0);
    EXPECT_EQ(StateOf("/pps/a"), "@a\n");
}

TEST_F(FilesTest, AThousandFilesAndAReaderThatReadsNothingDisturbNobody) {
    const UniqueFd writer(Open("a", O_RDWR | O_CREAT));
    std::vector<UniqueFd> files;
    while (files.size() < 1000) {
        files.emplace_back(Open("a?delta", O_RDONLY));
        ASSERT_TRUE(files.back()) << files.size() << ": " << std::strerror(-files.back().Get());
    }
    const std::string large(60000, 'x');
    for (int i = 0; i < 10; ++i) {
        ASSERT_EQ(WriteOnce(writer.Get(), "a::" + large + std::to_string(i)), 0);
    }
    const std::string merged = "|@a\na::" + large + "9\n";
    for (const UniqueFd& file : files) {
        ASSERT_TRUE(ReadOnce(file.Get(), 99999) == merged) << "the state and ten changes are more than is kept";
    }
}

TEST_F(FilesTest, ASignalEndsNoWriteHalfDone) {
    const UniqueFd reader(Open("a?delta", O_RDWR | O_CREAT));
    const UniqueFd writer(Open("a", O_WRONLY));
    struct sigaction ignoring {};
    struct sigaction former {};
    ignoring.sa_handler = [](int /*signal*/) {}; // a call that it ends is not begun again
    ::sigaction(SIGALRM, &ignoring, &former);
    const itimerval often{{0, 131}, {0, 131}};
    ::setitimer(ITIMER_REAL, &often, nullptr);
    std::string expected;
    for (int i = 0; i < 500; ++i) {
        const std::string line = "a:n:" + std::to_string(i) + "\n";
        expected += line;
        EXPECT_EQ(WriteOnce(writer.Get(), line), 0);
    }
    const itimerval never{};
    ::setitimer(ITIMER_REAL, &never, nullptr);
    ::sigaction(SIGALRM, &former, nullptr);
    std::string seen;
    for (std::string text = ReadOnce(reader.Get()); !text.empty(); text = ReadOnce(reader.Get())) {
        seen += text.substr(3);
    }
    EXPECT_EQ(seen, expected);
}

TEST_F(FilesTest, WhateverEndsNothingHangs) {
    const UniqueFd writer(Open("a", O_RDWR | O_CREAT));
    Process reader("/bin/cat", {PathOf("a?delta,wait")});
    Process interrupted("/bin/cat", {PathOf("a?wait")});
    ASSERT_TRUE(reader.WaitFor("@a"));
    ASSERT_TRUE(interrupted.WaitFor("@a"));
    EXPECT_EQ(interrupted.Stop(SIGINT), -SIGINT);
    const UniqueFd nonBlocking(Open("a?delta", O_RDWR | O_NONBLOCK));

    chain->ppsd->Signal(SIGSTOP);
    Process stuck("/bin/cat", {PathOf("a")});
    EXPECT_EQ(WriteOnce(nonBlocking.Get(), "a:n:1"), EAGAIN);
    EXPECT_EQ(EventsOf(nonBlocking.Get()) & POLLOUT, 0);
    EXPECT_EQ(WriteOnce(writer.Get(), "a:n:2"), ETIMEDOUT);
    ::fcntl(nonBlocking.Get(), F_SETFL, 0);
    EXPECT_EQ(ReadOnce(nonBlocking.Get()), std::strerror(ETIMEDOUT));
    EXPECT_EQ(ReadOnce(nonBlocking.Get()), std::strerror(ETIMEDOUT)) << "the next one does not wait at all";
    ::fcntl(nonBlocking.Get(), F_SETFL, O_NONBLOCK);
    EXPECT_TRUE(stuck.WaitFor("Connection timed out"));
    chain->ppsd->Signal(SIGCONT);
    EXPECT_TRUE(WaitUntil("there is room", [&] { return (EventsOf(nonBlocking.Get()) & POLLOUT) != 0; }));
    EXPECT_TRUE(reader.WaitFor("a:n:2")) << "what was late came through";

    EXPECT_EQ(chain->ppsd->Stop(SIGKILL), -SIGKILL);
    EXPECT_TRUE(reader.WaitFor("Connection reset by peer"));
    EXPECT_EQ(EventsOf(writer.Get()), POLLIN | POLLOUT | POLLERR | POLLHUP);
    EXPECT_EQ(WriteOnce(writer.Get(), "a:n:3"), ECONNRESET);
    EXPECT_EQ(Open("a", O_RDONLY), -ECONNREFUSED);
    chain->ppsd = StartReady("ppsd");
    EXPECT_GE(UniqueFd(Open("b", O_RDWR | O_CREAT)).Get(), 0);

    Process last("/bin/cat", {PathOf("b?wait")});
    ASSERT_TRUE(last.WaitFor("@b"));
    std::string output;
    EXPECT_EQ(RunProgram("ppsfs", {}, output), 1);
    EXPECT_EQ(output, "ppsfs: " + chain->root.Path() + "/pps: another ppsfs serves it\n");
    Process busy("/bin/sh", {"-c", "cd $TLG_ROOT/pps; while echo n::1 >> b; do echo done; done"});
    ASSERT_TRUE(busy.WaitFor("done\n", 3));
    chain->mounted.reset();
    busy.WaitForEnd();
    EXPECT_EQ(last.WaitForEnd(), 1);
    EXPECT_TRUE(std::filesystem::is_empty(chain->root.Path() + "/pps"));
    {
        Process killed("ppsfs");
        ASSERT_TRUE(killed.WaitFor("ready"));
    }
    EXPECT_EQ(Open("b", O_RDONLY), -ENOTCONN);
    chain->mounted = std::make_unique<MountedObjects>();
    EXPECT_GE(UniqueFd(Open("b", O_RDONLY)).Get(), 0);
}

TEST_F(FilesTest, OtherUsersHaveWhatTheObjectsAllow) {
    if (::geteuid() != 0) {
        GTEST_SKIP() << "needs the right to become another user, which root has";
    }
    const UniqueFd mine(Open("mine", O_RDWR | O_CREAT));
    EXPECT_EQ(::chmod(chain->root.Path().c_str(), 0711), 0);
    const std::string script = R"(
cd "$TLG_ROOT/pps"
(echo 'a::1' > theirs) && stat -c '%u %g %a' theirs && rm mine; umask 077; echo 'a::1' > new && stat -c '%a' new
[ -w theirs ] && [ -r mine ] && [ ! -x mine ] && rm theirs new && echo done)";
    std::string output;
    RunProgram("/usr/bin/setpriv", {"--reuid=65534", "--regid=65533", "--clear-groups", "sh", "-c", script}, output);
    EXPECT_EQ(output, "65534 65533 666\nrm: cannot remove 'mine': Permission denied\n666\ndone\n");
}

} // namespace
