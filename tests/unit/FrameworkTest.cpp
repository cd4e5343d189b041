#include <gtest/gtest.h>

#include <atomic>
#include <csignal>

#include "framework/FilesControlBase.h"
#include "framework/PPSFileBase.h"
#include "framework/RunService.h"
#include "tests/support/Bench.h"
#include "tests/support/NotingController.h"

namespace {

using TLG::ZOCAR::fileTagInfo;
using TLG::ZOCAR::PPSFileBase;

const fileTagInfo kOne{2, "/pps/test/one?delta", 0x302, 0666};
const fileTagInfo kTwo{4, "/pps/test/two?delta", 0x102, 0666};

class MultiplexerTest : public testing::Test {
protected:
    MultiplexerTest() {
        EXPECT_TRUE(m_one.Open());
        EXPECT_TRUE(m_two.Open());
        EXPECT_TRUE(m_listener.Init());
        EXPECT_TRUE(m_listener.AddFile(m_one.GetKey(), &m_one));
        EXPECT_TRUE(m_listener.Start());
        EXPECT_TRUE(m_listener.AddFile(m_two.GetKey(), &m_two));
    }
    void TearDown() override {
        m_listener.Stop();
        m_listener.Close();
    }

    TemporaryRoot m_root;
    const LocalServer m_server;
    NotingController m_listener;
    PPSFileBase m_one{kOne, &m_listener};
    PPSFileBase m_two{kTwo, &m_listener};
};

TEST_F(MultiplexerTest, DeliversAttributesWithTheKeyOfTheirObject) {
    WriteObject("/pps/test/one", "a:json:{\"x\":\"y:z\"}\n-gone\n[n]b::\na:n:1");
    m_listener.Wait(3);
    WriteObject("/pps/test/two", "c::1");
    EXPECT_EQ(m_listener.Wait(4), (std::vector<std::string>{"2 a:json:{\"x\":\"y:z\"}", "2 b::", "2 a:n:1", "4 c::1"}));
    m_two.SetPPSIntAttr("@two", "[n]mine", 3);
    EXPECT_FALSE(m_two.SetPPSStringAttr("@two", "text", "a\nb"));
    WriteObject("/pps/test/two", "d::2");
    EXPECT_EQ(m_listener.Wait(5).back(), "4 d::2") << "its own writes do not come back";
    EXPECT_EQ(StateOf("/pps/test/two"), "@two\nc::1\n[n]mine:n:3\nd::2\n");
}

TEST_F(MultiplexerTest, AClosedFileIsNotHeardOfAgain) {
    WriteObject("/pps/test/one", "a::1");
    m_listener.Wait(1);
    m_one.Close();
    WriteObject("/pps/test/one", "a::2");
    WriteObject("/pps/test/two", "c::1");
    EXPECT_EQ(m_listener.Wait(2), (std::vector<std::string>{"2 a::1", "4 c::1"}));
    EXPECT_TRUE(m_listener.RemoveFile(2));
    EXPECT_FALSE(m_listener.RemoveFile(2));
    EXPECT_TRUE(m_listener.Stop());
    EXPECT_FALSE(m_listener.Stop());
}

TEST_F(MultiplexerTest, ADeliveryMayCloseAndRemoveItsOwnFile) {
    m_listener.m_during = [this] {
        m_one.Close();
        m_listener.RemoveFile(2);
    };
    WriteObject("/pps/test/one", "a::1\nb::1");
    m_listener.Wait(1);
    WriteObject("/pps/test/one", "a::2");
    WriteObject("/pps/test/two", "c::1");
    EXPECT_EQ(m_listener.Wait(2), (std::vector<std::string>{"2 a::1", "4 c::1"})) << "nor the rest of the text";
}

TEST_F(MultiplexerTest, ClosingWaitsForADeliveryUnderWay) {
    std::atomic<bool> isDelivering{false};
    std::atomic<bool> mayEnd{false};
    std::atomic<bool> hasEnded{false};
    m_listener.m_during = [&] {
        isDelivering = true;
        while (!mayEnd) {
            std::this_thread::yield();
        }
        hasEnded = true;
    };
    WriteObject("/pps/test/one", "a::1");
    while (!isDelivering) {
        std::this_thread::yield();
    }
    std::thread closer([&] {
        m_one.Close();
        EXPECT_TRUE(hasEnded);
    });
    while (m_one.SetPPSIntAttr("@one", "open", 1)) {
        std::this_thread::yield(); // until the closing is under way
    }
    mayEnd = true;
    closer.join();
}

TEST_F(MultiplexerTest, AFileWithoutAReceiverIsRefused) {
    PPSFileBase deaf(kTwo, nullptr);
    EXPECT_FALSE(m_listener.AddFile(9, &deaf));
    EXPECT_FALSE(m_listener.AddFile(9, nullptr));
    EXPECT_FALSE(m_listener.AddFile(2, &m_two)) << "the key is taken";
}

TEST(EncodingIsJson, IsExact) {
    EXPECT_TRUE(PPSFileBase::EncodingIsJson("json"));
    for (const char* other : {"JSON", "", "json ", "jso"}) {
        EXPECT_FALSE(PPSFileBase::EncodingIsJson(other)) << other;
    }
    EXPECT_FALSE(PPSFileBase::EncodingIsJson(nullptr));
}

/// A service that notes how it is driven, and fails where it is told to.
class NotingService : public TLG::ZOCAR::RunService {
public:
    explicit NotingService(std::string failing) : m_failing(std::move(failing)) {}
    int DealArgvs(int /*argc*/, char** /*argv*/) override { return 0; }
    bool Init() override { return Note("Init"); }
    bool Start() override {
        ::kill(::getpid(), SIGTERM); // blocked, and taken when the service waits
        return Note("Start");
    }
    bool Stop() override { return Note("Stop"); }
    bool Close() override { return Note("Close"); }
    std::string Calls() const { return m_calls; }

private:
    bool Note(const std::string& call) {
        m_calls += call + " ";
        return call != m_failing;
    }

    std::string m_failing;
    std::string m_calls;
};

TEST(RunService, DrivesTheServiceInOrder) {
    const TemporaryRoot root;
    const std::pair<const char*, const char*> cases[] = {
        {"", "Init Start Stop Close "}, {"Init", "Init Close "}, {"Stop", "Init Start Stop Close "}};
    for (const auto& [failing, calls] : cases) {
        NotingService service(failing);
        service.DoWork();
        EXPECT_EQ(service.Calls(), calls);
    }
    NotingService outer("Start");
    outer.DoWork();
    EXPECT_EQ(outer.Calls(), "Init Start Stop Close ");
    sigset_t pending;
    sigpending(&pending);
    EXPECT_TRUE(sigismember(&pending, SIGTERM)) << "a service that failed to start does not wait";
}

} // namespace
